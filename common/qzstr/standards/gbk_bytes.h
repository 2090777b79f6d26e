// The byte scheme of GBK and GB18030: trail bytes, and the user-defined areas that need no table.
#pragma once

#include "core/paged.h"
#include "standards/plane94.h"

namespace qzstr {

/// Index 0..189 of a trail byte 0x40..0x7E or 0x80..0xFE; no_index for others.
constexpr std::uint32_t gbk_trail_index(unsigned trail) {
    if (trail - 0x40 < 0x3F) return trail - 0x40;
    return trail - 0x80 < 0x7F ? trail - 0x41 : no_index;
}

constexpr unsigned gbk_trail(std::uint32_t index) {
    return index + (index < 0x3F ? 0x40 : 0x41);
}

/// Linear index of a pair, 190 in a row.
constexpr std::uint32_t gbk_index(unsigned lead, unsigned trail) {
    const std::uint32_t t = gbk_trail_index(trail);
    return t == no_index || lead - 0x81 >= 0x7E ? no_index : 190 * (lead - 0x81) + t;
}

/// User-defined rows 0xAA..0xAF and 0xF8..0xFE with trails from 0xA1: U+E000..U+E4C5.
inline constexpr std::uint32_t gbk_user_rows_first = 0xE000;
inline constexpr std::uint32_t gbk_user_columns_first = 0xE4C6;

constexpr std::uint16_t gbk_user_rows_to_ucs2(unsigned lead, unsigned trail) {
    const bool upper = lead - 0xF8 < 7;
    if ((!upper && lead - 0xAA >= 6) || trail - 0xA1 >= 94) return no_character;
    return static_cast<std::uint16_t>(gbk_user_rows_first + 94 * (lead - (upper ? 0xF2 : 0xAA)) + (trail - 0xA1));
}

/// The two bytes of U+E000..U+E4C5, 0 for others.
constexpr std::uint16_t gbk_user_rows_from_ucs2(std::uint32_t wc) {
    const std::uint32_t i = wc - gbk_user_rows_first;
    if (i >= 13 * 94) return 0;
    return static_cast<std::uint16_t>((i / 94 + (i / 94 < 6 ? 0xAA : 0xF2)) << 8 | (i % 94 + 0xA1));
}

/// User-defined columns below 0xA1 in rows from 0xA1, 96 in a row. The caller knows how many rows and columns its charset has.
constexpr std::uint16_t gbk_user_columns_to_ucs2(unsigned lead, unsigned trail) {
    return static_cast<std::uint16_t>(gbk_user_columns_first + 96 * (lead - 0xA1) + gbk_trail_index(trail));
}

/// The two bytes of a code point from U+E4C6 on with `columns` code points in a row.
constexpr std::uint16_t gbk_user_columns_from_ucs2(std::uint32_t wc, std::uint32_t columns) {
    const std::uint32_t i = wc - gbk_user_columns_first;
    return static_cast<std::uint16_t>((0xA1 + i / columns) << 8 | gbk_trail(i % columns));
}

static_assert(gbk_index(0x81, 0x40) == 0 && gbk_index(0xA6, 0xE0) == 7189 && gbk_index(0xFE, 0xFE) == 23939);
static_assert(gbk_index(0x81, 0x7F) == no_index && gbk_index(0x81, 0xFF) == no_index &&
              gbk_index(0xFF, 0x40) == no_index && gbk_index(0x80, 0x40) == no_index);
static_assert(gbk_user_rows_to_ucs2(0xAA, 0xA1) == 0xE000 && gbk_user_rows_from_ucs2(0xE000) == 0xAAA1);
static_assert(gbk_user_rows_to_ucs2(0xFE, 0xFE) == 0xE4C5 && gbk_user_rows_from_ucs2(0xE4C5) == 0xFEFE);
static_assert(gbk_user_rows_to_ucs2(0xB0, 0xA1) == no_character && gbk_user_rows_from_ucs2(0xE4C6) == 0);
static_assert(gbk_user_columns_to_ucs2(0xA2, 0x40) == 0xE526 && gbk_user_columns_from_ucs2(0xE526, 96) == 0xA240 &&
              gbk_user_columns_from_ucs2(0xE526, 94) == 0xA242);

} // namespace qzstr
