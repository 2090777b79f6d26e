// UTF-8 as bit masks of 64 bytes: which bytes begin characters, whatever the bytes are, and where one is malformed.
#pragma once

#include "core/units.h"
#include "core/vector.h"

#include <algorithm>
#include <bit>
#include <cstring>

#if QZSTR_LEVEL_NUMBER > QZSTR_IS_plain

namespace qzstr::core::QZSTR_LEVEL {
namespace {

template <class Text>
std::uint64_t inside(Text p, uchar first, uchar last) {
    return p.mask([=](block b) { return b.within({first, last}); });
}
template <class Text>
std::uint64_t from(Text p, uchar first) {
    return p.mask([=](block b) { return b.at_least(first); });
}
template <class Text>
std::uint64_t equal(Text p, uchar value) {
    return p.mask([=](block b) { return b.equal_to(value); });
}

/// The first n bytes of a block, without a branch: where characters end in it is chance.
inline std::uint64_t bytes_before(std::size_t n) {
#if QZSTR_LEVEL_NUMBER >= QZSTR_IS_avx2
    return _bzhi_u64(~std::uint64_t{0}, static_cast<unsigned>(n));
#else
    return ((std::uint64_t{1} << n % block_size) - 1) | -static_cast<std::uint64_t>(n / block_size);
#endif
}

/// Of a text of three bytes or more, well-formed but for its end: how many it has of a character that goes on behind it.
/// Without a branch; `least`: only where the lead is as high.
inline std::size_t bytes_of_cut(const uchar* end, uchar least = 0xC0) {
    const auto is_lead = [=](std::ptrdiff_t back, uchar lowest) {
        return static_cast<std::size_t>(end[-back] >= std::max(least, lowest) ? back : 0);
    };
    return is_lead(1, 0xC0) + is_lead(2, 0xE0) + is_lead(3, 0xF0);
}

/// The structure of 64 bytes. A lead takes as many bytes along as it asks for, whatever they are: `leads` are those that no
/// other one takes, `expected` what they take.
struct structure {
    std::uint64_t continuations, impossible, leads, three_or_four, four, expected = 0;

    /// `carry`: what a character of the block before takes, as low bits.
    template <class Text>
    static structure of(Text p, std::uint64_t carry) {
        const std::uint64_t high = p.mask([](block b) { return b.high_bits(); });
        const std::uint64_t c0 = from(p, 0xC0), c2 = from(p, 0xC2), f5 = from(p, 0xF5);
        structure s{high & ~c0, (c0 & ~c2) | f5, c2 & ~f5, from(p, 0xE0) & ~f5, from(p, 0xF0) & ~f5};
        for (;;) {
            s.expected = s.leads << 1 | s.three_or_four << 2 | s.four << 3 | carry;
            const std::uint64_t taken = s.leads & s.expected;
            if (taken == 0) [[likely]]
                return s;
            // The first of them certainly is: nothing takes the lead that takes it.
            const std::uint64_t others = ~(taken & -taken);
            s.leads &= others;
            s.three_or_four &= others;
            s.four &= others;
        }
    }
    std::uint64_t starts() const { return ~expected; }
    std::uint64_t three() const { return three_or_four & ~four; }
    std::uint64_t misplaced() const { return continuations ^ expected; }
    /// What the next block must begin with, as low bits.
    std::uint64_t spill() const { return leads >> 63 | three_or_four >> 62 | four >> 61; }
    /// Of the first n bytes, those before a character that they cut.
    std::size_t whole_bytes(std::size_t n) const {
        const bool cuts = n < block_size ? (expected >> n & 1) != 0 : spill() != 0;
        const std::uint64_t begun = starts() & first_bits(n);
        const std::size_t last = begun == 0 ? 0 : 63 - static_cast<std::size_t>(std::countl_zero(begun));
        return n - ((n - last) & -static_cast<std::size_t>(cuts));
    }

    /// Where a character shows that it is malformed.
    template <class Text>
    std::uint64_t wrong(Text p) const {
        const std::uint64_t upper_half = from(p, 0xA0);
        std::uint64_t seconds = (equal(p, 0xE0) << 1 & ~upper_half) | (equal(p, 0xED) << 1 & upper_half);
        if (four != 0) {
            const std::uint64_t from_90 = from(p, 0x90);
            seconds |= (equal(p, 0xF0) << 1 & ~from_90) | (equal(p, 0xF4) << 1 & from_90);
        }
        return misplaced() | impossible | (seconds & leads << 1);
    }
};

/// The characters of n bytes that begin with one, up to one that the end cuts.
struct whole_characters {
    std::uint64_t starts;
    std::uint64_t wrong; ///< in malformed ones, a byte or more of each
    std::size_t bytes;

    static whole_characters of(const structure& s, std::uint64_t wrong, std::size_t n) {
        const std::size_t bytes = s.whole_bytes(n);
        return {s.starts() & bytes_before(bytes), wrong & bytes_before(bytes), bytes};
    }
    /// The number of the character that has the byte.
    std::size_t number(std::size_t byte) const {
        return static_cast<std::size_t>(std::popcount(starts & first_bits(byte + 1))) - 1;
    }
    /// Only those before the n-th, counted from 0.
    void keep(std::size_t n) {
        if (n >= static_cast<std::size_t>(std::popcount(starts))) return;
        bytes = nth_bit(starts, n);
        starts &= bytes_before(bytes);
        wrong &= bytes_before(bytes);
    }
};

} // namespace
} // namespace qzstr::core::QZSTR_LEVEL

#endif
