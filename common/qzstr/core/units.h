// Units of the Unicode side of a conversion: 16 or 32 bits, either byte order.
#pragma once

#include "core/contract.h"

#include <bit>
#include <cstring>

namespace qzstr::core {

/// What a decoder is asked for: UCS-2 units, UCS-4 units, or UTF-16 units (surrogate pairs beyond the BMP).
enum class form { ucs2, ucs4, utf16 };
enum class order { little, big };

template <form Form>
inline constexpr int unit_size = Form == form::ucs4 ? 4 : 2;

template <form Form, order Order>
inline char32_t load_unit(const uchar* p) {
    if constexpr (Form == form::ucs4) {
        std::uint32_t v;
        std::memcpy(&v, p, 4);
        return Order == order::big ? __builtin_bswap32(v) : v;
    } else {
        std::uint16_t v;
        std::memcpy(&v, p, 2);
        return Order == order::big ? __builtin_bswap16(v) : v;
    }
}

template <form Form, order Order>
inline void store_unit(uchar* p, char32_t c) {
    if constexpr (Form == form::ucs4) {
        const std::uint32_t v = Order == order::big ? __builtin_bswap32(c) : static_cast<std::uint32_t>(c);
        std::memcpy(p, &v, 4);
    } else {
        const auto low = static_cast<std::uint16_t>(c);
        const std::uint16_t v = Order == order::big ? __builtin_bswap16(low) : low;
        std::memcpy(p, &v, 2);
    }
}

constexpr bool is_surrogate(char32_t c) {
    return c >> 11 == 0xD800 >> 11;
}
/// By how much the units of a pair, the first one shifted by ten bits, add up to more than its character.
inline constexpr std::uint32_t pair_excess = 0x35FDC00;

/// The character of a pair whose first unit is a surrogate, and whose second one would be the first of n units; 0 where it
/// is none.
template <order Order>
inline char32_t join_pair(char32_t first, const uchar* p, std::size_t n) {
    const char32_t second = n == 0 ? 0 : load_unit<form::utf16, Order>(p);
    return first < 0xDC00 && second >> 10 == 0xDC00 >> 10 ? (first << 10) + second - pair_excess : 0;
}
template <order Order>
inline void store_pair(uchar* p, char32_t c) {
    store_unit<form::utf16, Order>(p, 0xD7C0 + (c >> 10));
    store_unit<form::utf16, Order>(p + 2, 0xDC00 + (c & 0x3FF));
}

/// The one of UTF-16 is for decoders that tell it from UCS-2.
enum class unit_layout { ucs2_big, ucs2_little, ucs4_big, ucs4_little, utf16_big };

template <form Form, order Order>
inline constexpr unit_layout layout_of = Form == form::ucs4
                                             ? (Order == order::big ? unit_layout::ucs4_big : unit_layout::ucs4_little)
                                             : (Order == order::big ? unit_layout::ucs2_big : unit_layout::ucs2_little);
template <>
inline constexpr unit_layout layout_of<form::utf16, order::big> = unit_layout::utf16_big;

/// Runs work.operator()<Form, Order>() for a layout.
template <class Work>
inline auto in_layout(unit_layout layout, Work work) {
    switch (layout) {
    case unit_layout::ucs2_big:
    case unit_layout::utf16_big:
        break;
    case unit_layout::ucs2_little:
        return work.template operator()<form::ucs2, order::little>();
    case unit_layout::ucs4_big:
        return work.template operator()<form::ucs4, order::big>();
    case unit_layout::ucs4_little:
        return work.template operator()<form::ucs4, order::little>();
    }
    return work.template operator()<form::ucs2, order::big>();
}

} // namespace qzstr::core
