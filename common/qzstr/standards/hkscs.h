// HKSCS-1999 and the additions of HKSCS-2001. Code points may lie beyond the BMP; the two-byte lookups do not find those.
#pragma once

#include "standards/big5_bytes.h"
#include "tables/hkscs1999.h"
#include "tables/hkscs2001.h"

namespace qzstr {

constexpr std::uint16_t hkscs_bmp_only(std::uint32_t wc) {
    return wc > 0xFFFF ? no_character : static_cast<std::uint16_t>(wc);
}

/// Code point of a lead byte and a trail index, `no_character` when unmapped.
constexpr std::uint32_t qzstr_hkscs1999_to_ucs4(unsigned lead, std::uint32_t trail_index) {
    return based_value<tables::hkscs1999_2uni_pages, tables::hkscs1999_2uni_upages, 6>(
        big5_index(lead, trail_index, 0x80));
}

constexpr std::uint16_t qzstr_hkscs1999_to_ucs2(unsigned lead, std::uint32_t trail_index) {
    return hkscs_bmp_only(qzstr_hkscs1999_to_ucs4(lead, trail_index));
}

/// The two bytes (lead in the high byte), 0 when unmapped.
constexpr std::uint16_t qzstr_hkscs1999_from_ucs4(std::uint32_t wc) {
    return paged_code<tables::hkscs1999_uni2indx_pages, tables::hkscs1999_2charset>(wc);
}

constexpr std::uint16_t qzstr_hkscs1999_from_ucs2(std::uint16_t wc) {
    return qzstr_hkscs1999_from_ucs4(wc);
}

/// Row 0x8C only, trail indexes up to `hkscs2001_last_trail_index`.
inline constexpr std::uint32_t hkscs2001_last_trail_index = 122;

constexpr std::uint32_t qzstr_hkscs2001_to_ucs4(unsigned lead, std::uint32_t trail_index) {
    return based_value<tables::hkscs2001_2uni_pages, tables::hkscs2001_2uni_upages, 6>(
        big5_index(lead, trail_index, 0x80));
}

constexpr std::uint16_t qzstr_hkscs2001_to_ucs2(unsigned lead, std::uint32_t trail_index) {
    return hkscs_bmp_only(qzstr_hkscs2001_to_ucs4(lead, trail_index));
}

constexpr std::uint16_t qzstr_hkscs2001_from_ucs4(std::uint32_t wc) {
    return paged_code<tables::hkscs2001_uni2indx_pages, tables::hkscs2001_2charset>(wc);
}

static_assert(sizeof tables::hkscs1999_2uni_page88 == 627 * 2 && sizeof tables::hkscs1999_2uni_page8d == 3140 * 2);
static_assert(sizeof tables::hkscs1999_2uni_pagec6 == 471 * 2 && sizeof tables::hkscs1999_2uni_pagef9 == 942 * 2);
static_assert(sizeof tables::hkscs2001_2uni_page8c == 123 * 2);

static_assert(qzstr_hkscs1999_to_ucs4(0xFA, 0) == 0x20547 && qzstr_hkscs1999_to_ucs2(0xFA, 0) == no_character &&
              qzstr_hkscs1999_from_ucs4(0x20547) == 0xFA40);
static_assert(qzstr_hkscs1999_to_ucs4(0x8E, 0) == 0x23ED7 && qzstr_hkscs1999_to_ucs2(0x88, 0) == 0x31C0);
static_assert(qzstr_hkscs1999_to_ucs4(0x88, big5_trail_index(0x62)) == no_character);
static_assert(qzstr_hkscs1999_to_ucs4(0x8C, 0) == no_character && qzstr_hkscs2001_to_ucs4(0x8C, 0) == 0x503B);
static_assert(qzstr_hkscs2001_to_ucs4(0x8C, 2) == 0x29C73 && qzstr_hkscs2001_from_ucs4(0x29C73) == 0x8C42);
static_assert(qzstr_hkscs2001_to_ucs4(0x8C, 123) == no_character && qzstr_hkscs2001_to_ucs4(0x8B, 156) == no_character);

} // namespace qzstr
