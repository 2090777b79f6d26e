// Encoding into one or two bytes by one table read a unit, and into longer codes by a second one.
#include "core/kernels.h"
#include "core/lanes.h"
#include "core/pair_encoding_avx512.h"
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

template <form Form, order Order>
converted encode_pairs_as(pair_encoding plan, const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
    constexpr std::size_t unit = unit_size<Form>, most = 32;
    std::size_t i = 0, written = 0;
    std::uint64_t replaced = 0;
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
        const std::size_t here = std::min(n - i, most);
        const __m512i units = load_units<Form, Order>(src + i * unit, here, plan.unit_mask, beyond);
        if (Form == form::ucs2 && n - i < block::size && room - written > most &&
            _mm512_test_epi16_mask(units, _mm512_set1_epi16(static_cast<short>(0xFF80))) == 0) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + written), _mm512_cvtepi16_epi8(units));
            i += here;
            written += here;
            continue;
        }
        const encoded_group group = encode_group<Form>(plan, units, beyond, here, dst + written, room - written);
        i += group.units;
        written += group.written;
        replaced |= group.replaced;
        if (group.units < here) break;
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
