// Units into one or two bytes and longer codes on AVX-512, 32 at a time.
#pragma once

#include "core/bytes_avx512.h"
#include "core/kernels.h"
#include "core/lanes.h"
#include "core/vector.h"

#include <algorithm>
#include <bit>

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512

namespace qzstr::core::avx512 {
namespace {

/// Where units have their cells: the number of the page and the low byte.
inline __m512i cell_indices(const uchar* page_number, __m512i units) {
    const __m512i number = look_up_256(page_number, units); // what it makes of the low bytes is not used
    return _mm512_ternarylogic_epi32(_mm512_set1_epi16(static_cast<short>(0xFF00)), number, units, 0xCA);
}

/// The cells of n units, at most 32, as 16-bit ones.
inline __m512i cells_of(const pair_encoding& plan, __m512i units, std::size_t n) {
    const __m512i index = cell_indices(plan.page_number, units);
    const auto half = [&plan](__m256i indices) {
        return _mm512_cvtepi32_epi16(gather(plan.cell, _mm512_cvtepu16_epi32(indices)));
    };
    const __m512i low = _mm512_zextsi256_si512(half(_mm512_castsi512_si256(index)));
    return n <= 16 ? low : _mm512_inserti64x4(low, half(_mm512_extracti64x4_epi64(index, 1)), 1);
}

/// The four-byte codes of U+10000 + `number`, the first byte low.
inline __m512i supplementary_codes(const pair_encoding& plan, __m512i number) {
    constexpr int pair = supplementary_pair_weight, radix = supplementary_radix;
    const auto all = [](int v) { return _mm512_set1_epi32(v); };
    // Exact: the quotients of numbers below 2^20 and a half are farther from a whole number than they are rounded.
    const __m512 halved = _mm512_add_ps(_mm512_cvtepi32_ps(number), _mm512_set1_ps(0.5F));
    const __m512i high = _mm512_cvttps_epi32(_mm512_mul_ps(halved, _mm512_set1_ps(1.0F / pair)));
    const __m512i low = _mm512_sub_epi32(number, _mm512_mullo_epi32(high, all(pair)));
    const __m512i both = _mm512_or_si512(high, _mm512_slli_epi32(low, 16));
    const __m512i firsts = _mm512_mulhi_epu16(both, _mm512_set1_epi16(0x10000 / radix + 1)); // exact up to 16388
    const __m512i seconds = _mm512_sub_epi16(both, _mm512_mullo_epi16(firsts, _mm512_set1_epi16(radix)));
    return _mm512_add_epi32(_mm512_or_si512(firsts, _mm512_slli_epi16(seconds, 8)),
                            all(static_cast<int>(plan.supplementary)));
}

/// Encodes up to n units, at most 32, with their cells: codes of four bytes and replacements among them, up to one that
/// must be asked for or has no room. `beyond` has the upper halves of units.
[[gnu::noinline]] converted encode_unusual(const pair_encoding& plan, __m512i units, __m512i cells, __m512i beyond,
                                           std::size_t n, uchar* dst, std::size_t room) {
    const auto all = [](std::uint32_t v) { return _mm512_set1_epi32(static_cast<int>(v)); };
    const auto upper = [](__m512i words) { return _mm512_zextsi256_si512(_mm512_extracti64x4_epi64(words, 1)); };
    const auto wide = [](__m512i words) { return _mm512_cvtepu16_epi32(_mm512_castsi512_si256(words)); };
    __m512i index = plan.long_cell != nullptr ? cell_indices(plan.long_page_number, units) : units;
    std::size_t written = 0;
    bool replaced = false;
    for (std::size_t done = 0; done < n; done += 16) {
        __m512i bytes = wide(cells);
        const __mmask16 asks = _mm512_cmpeq_epi32_mask(bytes, all(ask));
        __mmask16 missing = _mm512_cmpeq_epi32_mask(bytes, all(substituted));
        bytes = _mm512_mask_mov_epi32(bytes, missing, all('?'));
        bytes = _mm512_mask_mov_epi32(bytes, asks, all(ask_again));
        if (plan.long_cell != nullptr) bytes = _mm512_mask_i32gather_epi32(bytes, asks, wide(index), plan.long_cell, 4);
        if (const __m512i high = wide(beyond); _mm512_test_epi32_mask(high, high) != 0) {
            const __mmask16 outside = _mm512_test_epi32_mask(high, high);
            const __m512i c = _mm512_or_si512(wide(units), _mm512_slli_epi32(high, 16));
            const __m512i number = _mm512_sub_epi32(c, all(0x10000));
            const __mmask16 has_code =
                plan.supplementary == 0 ? 0 : _mm512_mask_cmplt_epu32_mask(outside, number, all(supplementary_count));
            bytes = _mm512_mask_mov_epi32(bytes, outside, all(ask_again));
            bytes = _mm512_mask_mov_epi32(bytes, has_code, supplementary_codes(plan, number));
            missing &= ~outside;
        }
        const std::uint32_t stops = _mm512_cmpeq_epi32_mask(bytes, all(ask_again));
        const std::size_t here = std::min<std::size_t>(n - done, 16), count = std::min(lowest(stops), here);
        const std::uint64_t kept = (_mm512_test_epi8_mask(bytes, bytes) | 0x1111111111111111) & first_bits(4 * count);
        const auto length = static_cast<std::size_t>(std::popcount(kept));
        if (room - written <= length) return {done, written, replaced};
        store_first(dst + written, room - written, _mm512_maskz_compress_epi8(kept, bytes), length);
        written += length;
        replaced |= (missing & first_lanes(count)) != 0;
        if (count < here) return {done + count, written, replaced};
        units = upper(units);
        cells = upper(cells);
        index = upper(index);
        beyond = upper(beyond);
    }
    return {n, written, replaced};
}

/// Units encoded, bytes written, and not zero where one was replaced: a byte would be stored, and read back as eight.
struct encoded_group {
    std::size_t units, written;
    std::uint64_t replaced;
};

/// Encodes n units, at most 32, up to one that must be asked for or has no room; none without room for them all where
/// they are usual. The bytes of each cell that count are pressed together.
template <form Form>
[[gnu::always_inline]] inline encoded_group encode_group(const pair_encoding& plan, __m512i units, __m512i beyond,
                                                         std::size_t n, uchar* dst, std::size_t room) {
    const auto all = [](std::uint16_t v) { return _mm512_set1_epi16(static_cast<short>(v)); };
    const __mmask32 outside = Form == form::ucs4 ? _mm512_test_epi16_mask(beyond, beyond) : 0;
    __m512i cells = cells_of(plan, units, n);
    std::uint32_t missing = 0;
    if ((_mm512_cmpge_epu16_mask(cells, all(substituted)) | outside) != 0) [[unlikely]] {
        if (((_mm512_cmpeq_epi16_mask(cells, all(ask)) | outside) & first_bits(n)) != 0) {
            const converted some = encode_unusual(plan, units, cells, beyond, n, dst, room);
            return {some.read, some.written, some.replaced};
        }
        missing = _mm512_cmpeq_epi16_mask(cells, all(substituted));
        cells = _mm512_mask_mov_epi16(cells, missing, all('?'));
    }
    const std::uint64_t kept = (_mm512_test_epi8_mask(cells, cells) | 0x5555555555555555) & first_bits(2 * n);
    const auto length = static_cast<std::size_t>(std::popcount(kept));
    // One byte more than they take: a charset may ask for two bytes of room for each.
    if (room <= length) return {};
    store_first(dst, room, _mm512_maskz_compress_epi8(kept, cells), length);
    return {n, length, missing};
}

} // namespace
} // namespace qzstr::core::avx512

#endif
