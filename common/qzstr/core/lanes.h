// 16 code points at a time, one in each 32-bit lane: what the kernels share at the AVX-512 level.
#pragma once

#include "core/vector.h"

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512

#include <bit>

namespace qzstr::core::avx512 {
namespace {

/// The first n of 16 lanes, or all.
inline __mmask16 first_lanes(std::size_t n) {
    return static_cast<__mmask16>(first_bits(n));
}

/// Stores the first n bytes, and more where there is room for all.
inline void store_first(uchar* dst, std::size_t room, __m512i bytes, std::size_t n) {
    if (room >= 64)
        _mm512_storeu_si512(dst, bytes);
    else
        _mm512_mask_storeu_epi8(dst, first_bits(n), bytes);
}

/// UTF-8 bytes in their order, of which only those marked count.
struct spread_bytes {
    __m512i bytes;
    std::uint64_t marks;

    __m512i pressed() const { return _mm512_maskz_compress_epi8(marks, bytes); }
    std::size_t length() const { return static_cast<std::size_t>(std::popcount(marks)); }
    /// Writes 64 bytes.
    std::size_t store(uchar* dst) const {
        _mm512_storeu_si512(dst, pressed());
        return length();
    }
};

/// 16 code points in the four bytes of a lane each, last byte last, by masks of those that take two bytes, three, four.
inline spread_bytes spread_group(__m512i c, __mmask16 two, __mmask16 three, __mmask16 four) {
    const auto all = [](unsigned v) { return _mm512_set1_epi32(static_cast<int>(v)); };
    __m512i prefix = _mm512_maskz_mov_epi32(two, all(0x80C00000));
    prefix = _mm512_mask_mov_epi32(prefix, three, all(0x8080E000));
    prefix = _mm512_mask_mov_epi32(prefix, four, all(0x808080F0));
    const __mmask64 prefixed = _mm512_test_epi8_mask(prefix, prefix);
    const __m512i fields = _mm512_multishift_epi64_epi8(_mm512_set1_epi64(0x20262C32'00060C12), c);
    const __m512i six_bits = _mm512_ternarylogic_epi32(prefix, fields, all(0x3F3F3F3F), 0xF8);
    return {_mm512_mask_mov_epi8(_mm512_slli_epi32(c, 24), prefixed, six_bits), prefixed | 0x8888888888888888};
}

} // namespace
} // namespace qzstr::core::avx512

#endif
