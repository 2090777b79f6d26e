// Unified Hangul Code: the Hangul syllables that KS X 1001 lacks, in two areas of codes.
#pragma once

#include "core/paged.h"
#include "tables/uhc.h"

namespace qzstr {

/// A trail byte that no area has.
inline constexpr unsigned no_column = 0xFFFFFFFF;

/// Column of a trail byte below 0xFF: capital letters, small letters, high bytes.
constexpr unsigned uhc_column(unsigned trail) {
    if (trail - 0x41 < 26) return trail - 0x41;
    if (trail - 0x61 < 26) return trail - 0x47;
    return trail - 0x81 < 0x7E ? trail - 0x4D : no_column;
}

/// Area 1: leads 0x81..0xA0, trails up to 0xFE. The code point, `no_character` when unmapped.
constexpr std::uint16_t qzstr_uhc_1_to_ucs2(unsigned lead, unsigned trail) {
    const unsigned row = lead - 0x81;
    const unsigned col = uhc_column(trail);
    if (row >= 32 || col >= 178) return no_character;
    return static_cast<std::uint16_t>(tables::uhc_1_2uni_main_page81[2 * row + (col >= 89)] +
                                      tables::uhc_1_2uni_page81[row * 178 + col]);
}

/// Area 2: leads 0xA1..0xC6, trails up to 0xA0.
constexpr std::uint16_t qzstr_uhc_2_to_ucs2(unsigned lead, unsigned trail) {
    const unsigned row = lead - 0xA1;
    const unsigned col = uhc_column(trail);
    const unsigned cell = row * 84 + col;
    if (row >= 38 || col >= 84 || cell >= sizeof tables::uhc_2_2uni_pagea1) return no_character;
    return static_cast<std::uint16_t>(tables::uhc_2_2uni_main_pagea1[2 * row + (col >= 42)] +
                                      tables::uhc_2_2uni_pagea1[cell]);
}

/// The two bytes as they stand (lead in the high byte), 0 when unmapped.
constexpr std::uint16_t qzstr_uhc_1_from_ucs2(std::uint32_t wc) {
    const int i = paged_position<tables::uhc_1_uni2indx_pages>(wc);
    if (i < 0) return 0;
    return static_cast<std::uint16_t>(tables::uhc_1_2charset_main[i >> 7] + tables::uhc_1_2charset[i]);
}

constexpr std::uint16_t qzstr_uhc_2_from_ucs2(std::uint32_t wc) {
    const int i = paged_position<tables::uhc_2_uni2indx_pages>(wc);
    if (i < 0) return 0;
    return static_cast<std::uint16_t>(tables::uhc_2_2charset_main[i >> 6] + tables::uhc_2_2charset[i]);
}

static_assert(sizeof tables::uhc_1_2uni_page81 == 5696 && sizeof tables::uhc_1_2uni_main_page81 == 64 * 2);
static_assert(sizeof tables::uhc_2_2uni_pagea1 == 3126 && sizeof tables::uhc_2_2uni_main_pagea1 == 76 * 2);
static_assert(sizeof tables::uhc_1_uni2indx_pageac == 459 * 4 && sizeof tables::uhc_1_2charset == 5696);
static_assert(sizeof tables::uhc_2_uni2indx_pagec8 == 251 * 4 && sizeof tables::uhc_2_2charset == 3126);
static_assert(sizeof tables::uhc_1_2charset_main == 45 * 2 && sizeof tables::uhc_2_2charset_main == 49 * 2);

static_assert(qzstr_uhc_1_to_ucs2(0x81, 0x41) == 0xAC02 && qzstr_uhc_1_from_ucs2(0xAC02) == 0x8141);
static_assert(qzstr_uhc_1_to_ucs2(0xA0, 0xFE) == 0xC8A4 && qzstr_uhc_1_from_ucs2(0xC8A4) == 0xA0FE);
static_assert(qzstr_uhc_2_to_ucs2(0xA1, 0x41) == 0xC8A5 && qzstr_uhc_2_from_ucs2(0xC8A5) == 0xA141);
static_assert(qzstr_uhc_2_to_ucs2(0xC6, 0x52) == 0xD7A3 && qzstr_uhc_2_from_ucs2(0xD7A3) == 0xC652);
static_assert(qzstr_uhc_2_to_ucs2(0xC6, 0x53) == no_character && qzstr_uhc_2_to_ucs2(0xA1, 0xA1) == no_character);
static_assert(qzstr_uhc_1_to_ucs2(0x81, 0x80) == no_character && qzstr_uhc_1_to_ucs2(0x81, 0xFF) == no_character);
static_assert(qzstr_uhc_1_from_ucs2(0xC8A5) == 0 && qzstr_uhc_2_from_ucs2(0xC8A4) == 0);

} // namespace qzstr
