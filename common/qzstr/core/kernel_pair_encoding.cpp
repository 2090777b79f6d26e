// Encoding into one or two bytes by one table read a unit, and into longer codes by a second one.
#include "core/bytes_avx512.h"
#include "core/kernels.h"
#include "core/lanes.h"
#include "core/pair_blocks.h"
#include "core/units.h"
#include "core/vector.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace qzstr::core::QZSTR_LEVEL {

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_plain

converted encode_pairs(const pair_encoding&, unit_layout, const uchar*, std::size_t, uchar*, std::size_t) {
    return {};
}

#else

namespace {

std::size_t bytes_of(std::uint32_t cell) {
    return 1 + static_cast<std::size_t>(cell > 0xFF);
}

/// A unit as far as it counts.
template <form Form, order Order>
char32_t load_masked(const pair_encoding& plan, const uchar* src) {
    const char32_t c = load_unit<Form, Order>(src);
    return Form == form::ucs4 ? c & plan.unit_mask : c;
}

/// The four-byte code of U+10000 + n, the first byte low.
std::uint32_t supplementary_code(const pair_encoding& plan, std::uint32_t n) {
    constexpr std::uint32_t pair = supplementary_pair_weight, radix = supplementary_radix;
    const std::uint32_t high = n / pair, low = n % pair;
    return plan.supplementary + (high / radix | high % radix << 8 | low / radix << 16 | low % radix << 24);
}

template <bool LongCodes, form Form, order Order>
std::size_t encode_one_by_one(pair_encoding plan, const uchar* src, std::size_t n, uchar* dst, std::size_t room,
                              std::size_t& written, bool& replaced) {
    constexpr std::size_t longest = LongCodes ? 4 : 2;
    std::size_t i = 0;
    for (; i < n && room - written >= longest; ++i) {
        const char32_t c = load_masked<Form, Order>(plan, src + i * unit_size<Form>);
        if (c > 0xFFFF) {
            if (plan.supplementary == 0 || c - 0x10000 >= supplementary_count) break;
            const std::uint32_t code = supplementary_code(plan, c - 0x10000);
            std::memcpy(dst + written, &code, 4);
            written += 4;
            continue;
        }
        std::uint32_t cell = plan.cell[plan.page[c >> 8] + (c & 0xFF)];
        if constexpr (LongCodes) {
            // Both are read, without a branch: which codes are long is chance.
            const std::uint32_t longer = plan.long_cell[plan.long_page_number[c >> 8] * 256U + (c & 0xFF)];
            cell ^= (cell ^ longer) & -static_cast<std::uint32_t>(cell == ask);
        }
        if (cell == (LongCodes ? ask_again : ask)) break;
        if (cell == substituted) {
            cell = '?';
            replaced = true;
        }
        std::memcpy(dst + written, &cell, longest);
        written += bytes_of(cell);
        if constexpr (LongCodes)
            written += static_cast<std::size_t>(cell > 0xFFFF) + static_cast<std::size_t>(cell > 0xFFFFFF);
    }
    return i;
}

/// Encodes up to n units one by one, up to the first that must be asked for or has no room; returns their number.
template <form Form, order Order>
std::size_t encode_carefully(const pair_encoding& plan, const uchar* src, std::size_t n, uchar* dst, std::size_t room,
                             std::size_t& written, bool& replaced) {
    return plan.long_cell != nullptr
               ? encode_one_by_one<true, Form, Order>(plan, src, n, dst, room, written, replaced)
               : encode_one_by_one<false, Form, Order>(plan, src, n, dst, room, written, replaced);
}

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512

/// Up to 32 units as 16-bit ones in the host's order, and what else of them counts.
template <form Form, order Order>
__m512i load_units(const uchar* src, std::size_t n, char32_t unit_mask, __m512i& upper) {
    const auto lanes = static_cast<__mmask32>(first_bits(n));
    if constexpr (Form == form::ucs2) {
        upper = _mm512_setzero_si512();
        const __m512i units = _mm512_maskz_loadu_epi16(lanes, src);
        if constexpr (Order == order::little) return units;
        return _mm512_or_si512(_mm512_srli_epi16(units, 8), _mm512_slli_epi16(units, 8));
    } else {
        __m512i low = _mm512_maskz_loadu_epi32(static_cast<__mmask16>(lanes), src);
        __m512i high = _mm512_maskz_loadu_epi32(static_cast<__mmask16>(lanes >> 16), src + 64);
        if constexpr (Order == order::big) {
            low = swap_bytes_32(low);
            high = swap_bytes_32(high);
        }
        const auto words = [low, high](int odd) {
            const __m512i even_ones = _mm512_set_epi16(62, 60, 58, 56, 54, 52, 50, 48, 46, 44, 42, 40, 38, 36, 34, 32,
                                                       30, 28, 26, 24, 22, 20, 18, 16, 14, 12, 10, 8, 6, 4, 2, 0);
            return _mm512_permutex2var_epi16(low, _mm512_add_epi16(even_ones, _mm512_set1_epi16(odd)), high);
        };
        upper = _mm512_and_si512(words(1), _mm512_set1_epi16(static_cast<short>(unit_mask >> 16)));
        return words(0);
    }
}

/// Where units have their cells: the number of the page and the low byte.
__m512i cell_indices(const uchar* page_number, __m512i units) {
    const __m512i number = look_up_256(page_number, units); // what it makes of the low bytes is not used
    return _mm512_ternarylogic_epi32(_mm512_set1_epi16(static_cast<short>(0xFF00)), number, units, 0xCA);
}

/// The cells of n units, at most 32, as 16-bit ones.
__m512i cells_of(const pair_encoding& plan, __m512i units, std::size_t n) {
    const __m512i index = cell_indices(plan.page_number, units);
    const auto half = [&plan](__m256i indices) {
        return _mm512_cvtepi32_epi16(gather(plan.cell, _mm512_cvtepu16_epi32(indices)));
    };
    const __m512i low = _mm512_zextsi256_si512(half(_mm512_castsi512_si256(index)));
    return n <= 16 ? low : _mm512_inserti64x4(low, half(_mm512_extracti64x4_epi64(index, 1)), 1);
}

/// The four-byte codes of U+10000 + `number`, the first byte low.
__m512i supplementary_codes(const pair_encoding& plan, __m512i number) {
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

/// The bytes of each cell that count are pressed together.
template <form Form, order Order>
converted encode_pairs_as(pair_encoding plan, const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
    constexpr std::size_t unit = unit_size<Form>, group = 32;
    const auto all = [](std::uint16_t v) { return _mm512_set1_epi16(static_cast<short>(v)); };
    std::size_t i = 0, written = 0;
    std::uint64_t replaced = 0; // a byte would be stored, and read back as eight
    while (i < n) {
        if constexpr (Form == form::ucs2) {
            // One byte more than they take: a charset may ask for two bytes of room for each.
            if (n - i >= block::size && room - written > block::size &&
                block::template narrow_ascii<Order>(src + i * unit, dst + written)) {
                i += block::size;
                written += block::size;
                continue;
            }
        }
        __m512i beyond;
        const std::size_t here = std::min(n - i, group);
        const __m512i units = load_units<Form, Order>(src + i * unit, here, plan.unit_mask, beyond);
        if (Form == form::ucs2 && n - i < block::size && room - written > group &&
            _mm512_test_epi16_mask(units, all(0xFF80)) == 0) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + written), _mm512_cvtepi16_epi8(units));
            i += here;
            written += here;
            continue;
        }
        const __mmask32 outside = Form == form::ucs4 ? _mm512_test_epi16_mask(beyond, beyond) : 0;
        __m512i cells = cells_of(plan, units, here);
        std::uint32_t missing = 0;
        if ((_mm512_cmpge_epu16_mask(cells, all(substituted)) | outside) != 0) [[unlikely]] {
            if (((_mm512_cmpeq_epi16_mask(cells, all(ask)) | outside) & first_bits(here)) != 0) {
                const converted some = encode_unusual(plan, units, cells, beyond, here, dst + written, room - written);
                i += some.read;
                written += some.written;
                replaced |= some.replaced;
                if (some.read < here) break;
                continue;
            }
            missing = _mm512_cmpeq_epi16_mask(cells, all(substituted));
            cells = _mm512_mask_mov_epi16(cells, missing, all('?'));
        }
        const std::uint64_t kept = (_mm512_test_epi8_mask(cells, cells) | even_bits) & first_bits(2 * here);
        const auto length = static_cast<std::size_t>(std::popcount(kept));
        if (room - written <= length) break;
        store_first(dst + written, room - written, _mm512_maskz_compress_epi8(kept, cells), length);
        written += length;
        replaced |= missing;
        i += here;
    }
    bool replaced_in_rest = false;
    i += encode_carefully<Form, Order>(plan, src + i * unit, n - i, dst, room, written, replaced_in_rest);
    return {i * unit, written, replaced != 0 || replaced_in_rest};
}

#else

template <form Form, order Order>
converted encode_pairs_as(pair_encoding plan, const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
    constexpr std::size_t unit = unit_size<Form>;
    constexpr std::size_t group = 16;
    std::size_t stretch = group; // units to go one by one where a group has unusual ones; long codes are seldom alone
    std::size_t i = 0, written = 0;
    bool replaced = false;
    while (n - i >= group && room - written >= 2 * group) {
        if constexpr (Form == form::ucs2) {
            // One byte more than they take: a charset may ask for two bytes of room for each.
            if (n - i >= block::size && room - written > block::size &&
                block::template narrow_ascii<Order>(src + i * unit, dst + written)) {
                i += block::size;
                written += block::size;
                continue;
            }
        }
        uchar* out = dst + written;
        std::uint32_t unusual = 0;
#pragma GCC unroll 16
        for (std::size_t k = 0; k < group; ++k) {
            const char32_t c = load_masked<Form, Order>(plan, src + (i + k) * unit);
            const std::uint32_t cell = plan.cell[plan.page[c >> 8 & 0xFF] + (c & 0xFF)];
            const auto two_bytes = static_cast<std::uint16_t>(cell);
            std::memcpy(out, &two_bytes, 2);
            out += bytes_of(cell);
            unusual |= cell + 2;
            if constexpr (Form == form::ucs4) unusual |= c > 0xFFFF ? ~0U : 0U;
        }
        if (unusual >> 16 == 0) {
            i += group;
            written = static_cast<std::size_t>(out - dst);
            stretch = group;
        } else {
            const std::size_t here = std::min(stretch, n - i);
            const std::size_t passed =
                encode_carefully<Form, Order>(plan, src + i * unit, here, dst, room, written, replaced);
            i += passed;
            if (passed < here) return {i * unit, written, replaced};
            if (plan.long_cell != nullptr) stretch = std::min(2 * stretch, 16 * group);
        }
    }
    i += encode_carefully<Form, Order>(plan, src + i * unit, n - i, dst, room, written, replaced);
    return {i * unit, written, replaced};
}

#endif

} // namespace

converted encode_pairs(const pair_encoding& plan, unit_layout layout, const uchar* src, std::size_t n, uchar* dst,
                       std::size_t room) {
    return leaving([&] {
        return in_layout(layout,
                         [&]<form Form, order Order> { return encode_pairs_as<Form, Order>(plan, src, n, dst, room); });
    });
}
#endif
} // namespace qzstr::core::QZSTR_LEVEL
