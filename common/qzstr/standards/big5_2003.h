// The additions of Big5-2003: control pictures, list markers and kana in rows 0xC6 and 0xC7, and row 0xF9.
#pragma once

#include "standards/big5_bytes.h"
#include "tables/big5_2003.h"

namespace qzstr {

/// Positions from row 0xC6 on that are kana in code point order.
inline constexpr std::uint32_t big5_2003_hiragana_index = 133;
inline constexpr std::uint32_t big5_2003_katakana_index = 216;
inline constexpr std::uint32_t big5_2003_kana_end = 302;
inline constexpr std::uint32_t big5_2003_hiragana = 0x3041;
inline constexpr std::uint32_t big5_2003_katakana = 0x30A1;

/// Code point of a lead byte and a trail index, `no_character` when unmapped.
constexpr std::uint16_t qzstr_big5_2003_to_ucs2(unsigned lead, std::uint32_t trail_index) {
    const std::uint32_t i = big5_index(lead, trail_index, 0xC6);
    if (i - big5_2003_hiragana_index < big5_2003_katakana_index - big5_2003_hiragana_index)
        return static_cast<std::uint16_t>(big5_2003_hiragana + (i - big5_2003_hiragana_index));
    if (i - big5_2003_katakana_index < big5_2003_kana_end - big5_2003_katakana_index)
        return static_cast<std::uint16_t>(big5_2003_katakana + (i - big5_2003_katakana_index));
    return paged_value<tables::big5_2003_2uni_pages>(i);
}

/// The control pictures 0xA3C0..0xA3E0: U+2400..U+241F, then U+2421.
constexpr std::uint16_t qzstr_big5_2003_control_to_ucs2(unsigned lead, unsigned trail) {
    if (lead != 0xA3 || trail - 0xC0 > 0x20) return no_character;
    return static_cast<std::uint16_t>(trail == 0xE0 ? 0x2421 : 0x2400 + (trail - 0xC0));
}

/// The two bytes (lead in the high byte), 0 when unmapped; control pictures included.
constexpr std::uint16_t qzstr_big5_2003_from_ucs2(std::uint32_t wc) {
    if (wc - 0x2400 < 0x20) return static_cast<std::uint16_t>(0xA3C0 + (wc - 0x2400));
    if (wc == 0x2421) return 0xA3E0;
    if (wc - big5_2003_hiragana < big5_2003_katakana_index - big5_2003_hiragana_index)
        return big5_pair(wc - big5_2003_hiragana + big5_2003_hiragana_index, 0xC6);
    if (wc - big5_2003_katakana < big5_2003_kana_end - big5_2003_katakana_index)
        return big5_pair(wc - big5_2003_katakana + big5_2003_katakana_index, 0xC6);
    const std::uint16_t box = page_entry<tables::big5_2003_2charset_pages>(wc, std::uint16_t{0});
    return box != 0 ? box : paged_code<tables::big5_2003_uni2indx_pages, tables::big5_2003_2charset>(wc);
}

static_assert(sizeof tables::big5_2003_2uni_pagec6 == 70 * 2 && sizeof tables::big5_2003_2uni_pagef9 == 41 * 2);
static_assert(sizeof tables::big5_2003_2charset_page25 == 29 * 2);

static_assert(qzstr_big5_2003_to_ucs2(0xC6, big5_trail_index(0xA1)) == 0x2460 &&
              qzstr_big5_2003_from_ucs2(0x2460) == 0xC6A1);
static_assert(qzstr_big5_2003_to_ucs2(0xC6, big5_trail_index(0xE7)) == 0x3041 &&
              qzstr_big5_2003_from_ucs2(0x3041) == 0xC6E7);
static_assert(qzstr_big5_2003_to_ucs2(0xC7, big5_trail_index(0xF2)) == 0x30F6 &&
              qzstr_big5_2003_from_ucs2(0x30F6) == 0xC7F2);
static_assert(qzstr_big5_2003_to_ucs2(0xC7, big5_trail_index(0xF3)) == no_character &&
              qzstr_big5_2003_from_ucs2(0x30F7) == 0);
static_assert(qzstr_big5_2003_to_ucs2(0xC6, 62) == no_character &&
              qzstr_big5_2003_to_ucs2(0xC6, no_index) == no_character);
static_assert(qzstr_big5_2003_control_to_ucs2(0xA3, 0xDF) == 0x241F &&
              qzstr_big5_2003_control_to_ucs2(0xA3, 0xE0) == 0x2421 && qzstr_big5_2003_from_ucs2(0x2421) == 0xA3E0 &&
              qzstr_big5_2003_from_ucs2(0x2420) == 0);

} // namespace qzstr
