// One- and two-byte characters in blocks of 64 bytes, found without a branch per character.
//
// A byte is a lead when it is in the lead set and the byte before it is not a lead, so leads alternate inside every run of
// set members. Runs that begin at an even position are found with one addition whose carry runs through the run; the
// state of the last byte is carried to the next block. Character starts are the bytes that do not follow a lead.
#pragma once

#include "core/kernels.h"
#include "core/units.h"
#include "core/vector.h"

#include <algorithm>
#include <bit>

#if QZSTR_LEVEL_NUMBER > QZSTR_IS_plain

namespace qzstr::core::QZSTR_LEVEL {
namespace {

constexpr std::uint64_t even_bits = 0x5555555555555555;

/// Makes masks of the members of a set.
inline auto in(const byte_set& set) {
    return [&set](block b) {
        block::bits bits = 0;
        for (int r = 0; r < set.ranges(); ++r)
            bits |= b.within(set.range(r));
        return bits;
    };
}

/// The members of a set in the block at p, where `left` bytes are left of the text.
inline std::uint64_t members(const byte_set& set, const uchar* p, std::size_t left) {
    return over_block(p, left, [&](auto text) { return text.mask(in(set)); }) & first_bits(left);
}

/// The leads of a block, from its members of the lead set. `carry` is 1 when the block's first byte is a trail.
inline std::uint64_t leads_among(std::uint64_t members, std::uint64_t carry) {
    const std::uint64_t candidates = members & ~carry;
    const std::uint64_t run_starts = candidates & ~(candidates << 1);
    const std::uint64_t past_even_runs = candidates + (run_starts & even_bits);
    return (candidates & ~past_even_runs & even_bits) | (candidates & past_even_runs & ~even_bits);
}

/// The bytes that begin a character: those that do not follow a lead.
constexpr std::uint64_t starts_after(std::uint64_t leads, std::uint64_t carry) {
    return ~(leads << 1 | carry);
}

/// The characters of one and two bytes in a block that begins with one. The trail of a lead at the end is behind the block;
/// where it is missing, the lead is left out.
struct block_of_pairs {
    std::uint64_t leads, start;
    std::size_t end; ///< of the last one

    /// `left` bytes are left of the text.
    static block_of_pairs of(std::uint64_t in_set, std::size_t left) {
        const std::size_t here = std::min(left, block_size);
        const std::uint64_t leads = leads_among(in_set, 0);
        const std::size_t lead_at_end = leads >> (here - 1) & 1;
        const std::size_t end = left > block_size ? here + lead_at_end : here - lead_at_end;
        return {leads, starts_after(leads, 0) & first_bits(end), end};
    }

    /// The characters with which longer codes may begin. `mask(of)` and `mask_behind(of)` make masks of the bytes, and of
    /// those behind each.
    template <class Text>
    std::uint64_t telling(const long_code_shape& longer, const Text& text) const {
        const uchar first = longer.first[0];
        const byte_range second{longer.first[1], static_cast<uchar>(longer.first[1] + longer.radix[1] - 1)};
        return start &
               (longer.told_by_lead() ? text.mask([first](block b) { return b.equal_to(first); })
                                      : leads & text.mask_behind([second](block b) { return b.within(second); }));
    }
};

/// The characters of a block, with longer codes among them.
struct block_characters {
    std::uint64_t start, long_ones;
    std::size_t end;

    /// Longer codes are pairs to begin with. Where they are two that both tell it, every second one begins such a code.
    static block_characters of(const long_code_shape& longer, const block_of_pairs& pairs, std::uint64_t telling) {
        std::uint64_t firsts = telling;
        if (!longer.told_by_lead()) {
            const std::uint64_t bytes = telling | telling << 1, run_start = bytes & ~(bytes << 1);
            firsts = 0;
#pragma GCC unroll 4
            for (int i = 0; i < 4; ++i) {
                const std::uint64_t every_fourth = 0x1111111111111111ULL << i;
                firsts |= bytes & ~(bytes + (run_start & every_fourth)) & every_fourth;
            }
        }
        const std::size_t last = static_cast<std::size_t>(std::bit_width(firsts));
        return {pairs.start & ~(firsts << (longer.bytes - 2)), firsts,
                firsts == 0 ? pairs.end : std::max(pairs.end, last + longer.bytes - 1)};
    }

    /// Only up to a longer one whose last pair is not in the block, or tells such a one itself, or is none.
    static block_characters closed(const long_code_shape& longer, const block_of_pairs& pairs, std::uint64_t telling) {
        if (telling == 0) return {pairs.start, 0, pairs.end};
        block_characters all = of(longer, pairs, telling);
        const std::uint64_t may_end = pairs.leads & pairs.start & ~all.long_ones;
        const std::uint64_t open = all.long_ones & ~(may_end >> (longer.bytes - 2));
        all.end = pairs.end;
        if (open != 0) all.keep(lowest(open));
        return all;
    }
    /// Only those in the first n bytes.
    void keep(std::size_t n) {
        start &= first_bits(n);
        end = n;
    }
};

} // namespace
} // namespace qzstr::core::QZSTR_LEVEL

#endif
