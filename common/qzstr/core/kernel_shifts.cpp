// Text in 7 bits with shifts, 64 bytes at a time into 8-bit form, without a branch per shift.
#include "core/kernels.h"
#include "core/pair_blocks.h"
#include "core/vector.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace qzstr::core::QZSTR_LEVEL {

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_plain

unshifted unshift_pairs(const shift_codes&, shift_state state, const uchar*, std::size_t, uchar*) {
    return {0, 0, state};
}

#else

namespace {

/// The state of a text in words: a byte that is spilt and read back would hold everything up.
struct shift_words {
    std::uint64_t out, designated;
    std::uint64_t begun; ///< whether the byte before leads a pair
};

/// What there is in a block that is well-formed; a pair may go on in the next one.
struct shifted_block {
    std::uint64_t kept, shifted; ///< bytes that are no shift or designator; those of pairs
    std::size_t end;
    shift_words state; ///< there, where that is not 0

    template <class Text>
    static shifted_block of(const shift_codes& codes, const Text& text, std::size_t left, shift_words before) {
        const auto equal_to = [&text](uchar code) { return text.mask([code](block b) { return b.equal_to(code); }); };
        const std::uint64_t outs = equal_to(codes.out), ins = equal_to(codes.in);
        // Where the shifts take turns, each borrow runs from one out to the next in. Up to the first that does not, all
        // of this is right, and that one, where it is an in, becomes a byte of a pair that it cannot be.
        const std::uint64_t out_behind = ins - outs - before.out, out_before = out_behind << 1 | before.out;
        const std::uint64_t shifted = out_behind & ~outs;
        const std::uint64_t escapes = equal_to(codes.designator[0]);
        const std::uint64_t designators = escapes & equal_to(codes.designator[1]) >> 1 &
                                          equal_to(codes.designator[2]) >> 2 & equal_to(codes.designator[3]) >> 3;
        const std::uint64_t undesignated = below(designators) & (before.designated - 1);
        const std::uint64_t no_pair = ~text.mask([](block b) { return b.within({0x21, 0x7E}); });
        const std::uint64_t wrong = (outs & (out_before | undesignated)) | (ins & before.begun) |
                                    (escapes & ~designators) | (shifted & no_pair) |
                                    text.mask([](block b) { return b.high_bits(); }) | ~first_bits(left);
        const std::uint64_t pairs = shifted & below(wrong), leads = leads_among(pairs, before.begun);
        const std::uint64_t lone = leads & ~(pairs >> 1) & first_bits(block_size - 1);
        const std::uint64_t stop = wrong | lone, here = below(stop), last = here ^ here >> 1;
        return {here & ~(outs | ins | designators * 0xF),
                shifted,
                lowest(stop),
                {is_any(out_behind & last), before.designated | is_any(designators & here), (leads & here) >> 63}};
    }

    /// The bits below the lowest one, or all.
    static constexpr std::uint64_t below(std::uint64_t bits) { return ~bits & (bits - 1); }
    static constexpr std::uint64_t is_any(std::uint64_t bits) { return bits != 0 ? 1 : 0; }

#if QZSTR_LEVEL_NUMBER < QZSTR_IS_avx512
    /// The low eight bits as one byte each.
    static std::uint64_t in_bytes(std::uint64_t bits) {
        constexpr std::uint64_t ones = 0x0101010101010101;
#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx2
        return _pdep_u64(bits, ones);
#else
        return (((bits & 0xFF) * ones & 0x8040201008040201) + 0x7F * ones) >> 7 & ones;
#endif
    }
#endif

    /// Stores the kept bytes, those of pairs with the high bit; may write a whole block.
    template <class Text>
    void store(const Text& text, uchar* dst) const {
#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512
        const __m512i byte = text.bytes(), high = _mm512_maskz_mov_epi8(shifted, _mm512_set1_epi8(-0x80));
        _mm512_storeu_si512(dst, _mm512_maskz_compress_epi8(kept, _mm512_or_si512(byte, high)));
#else
        for (std::size_t i = 0; i < end; i += 8) {
            std::uint64_t bytes;
            std::memcpy(&bytes, text.p + i, 8);
            bytes |= in_bytes(shifted >> i) << 7;
#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx2
            const std::uint64_t marks = in_bytes(kept >> i);
            bytes = _pext_u64(bytes, marks * 0xFF);
            std::memcpy(dst, &bytes, 8);
            dst += std::popcount(marks);
#else
            std::uint64_t marks = kept >> i;
#pragma GCC unroll 8
            for (int k = 0; k < 8; ++k, bytes >>= 8, marks >>= 1) {
                *dst = static_cast<uchar>(bytes);
                dst += marks & 1;
            }
#endif
        }
#endif
    }
};

} // namespace

unshifted unshift_pairs(const shift_codes& codes, shift_state state, const uchar* src, std::size_t n, uchar* dst) {
    return leaving([&]() -> unshifted {
        const shift_codes code = codes; // a store to the target could change what a reference leads to
        const auto unlike_ascii = [code](block b) {
            return b.high_bits() | b.equal_to(code.out) | b.equal_to(code.in) | b.equal_to(code.designator[0]);
        };
        shift_words now{state.out ? 1U : 0U, state.designated ? 1U : 0U, 0};
        std::size_t read = 0, written = 0;
        while (read < n) {
            const uchar* const p = src + read;
            const std::size_t left = n - read;
            if (left >= block_size && (mask_64(p, unlike_ascii) | now.out) == 0) {
                std::memcpy(dst + written, p, block_size);
                read += block_size;
                written += block_size;
                continue;
            }
            const auto unshift = [&](auto text) {
                const auto found = shifted_block::of(code, text, left, now);
                found.store(text, dst + written);
                return found;
            };
            const shifted_block found = over_block(p, left, unshift);
            if (found.end == 0) break;
            written += static_cast<std::size_t>(std::popcount(found.kept));
            now = found.state;
            // Where all is well, the next block need not wait for what is found in this one.
            if (found.end == block_size) [[likely]] {
                read += block_size;
                continue;
            }
            read += found.end;
        }
        // Whole characters only.
        return {read - now.begun, written - now.begun, {now.out != 0, now.designated != 0}};
    });
}

#endif
} // namespace qzstr::core::QZSTR_LEVEL
