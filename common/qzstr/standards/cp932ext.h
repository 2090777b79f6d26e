// The additions of CP932 to Shift-JIS: NEC row 13, the IBM extensions that NEC selected, and the IBM extensions.
#pragma once

#include "core/paged.h"
#include "standards/shift_jis.h"
#include "tables/cp932ext.h"

namespace qzstr {

/// Code point of a lead byte and a trail index (see `shift_jis_trail_index`), `no_character` when unmapped.
constexpr std::uint16_t qzstr_cp932ext_to_ucs2(unsigned lead, std::uint32_t trail_index) {
    return paged_value<tables::cp932ext_2uni_pages>(shift_jis_index(lead, trail_index));
}

/// The two bytes (lead in the high byte), 0 when unmapped.
constexpr std::uint16_t qzstr_cp932ext_from_ucs2(std::uint32_t wc) {
    return paged_code<tables::cp932ext_uni2indx_pages, tables::cp932ext_2charset>(wc);
}

static_assert(sizeof tables::cp932ext_2uni_page87 == 92 * 2 && sizeof tables::cp932ext_2uni_pageed == 376 * 2);
static_assert(sizeof tables::cp932ext_2uni_pagefa == 388 * 2 && sizeof tables::cp932ext_uni2indx_pages / 16 == 14);

static_assert(qzstr_cp932ext_to_ucs2(0x87, 0) == 0x2460 && qzstr_cp932ext_from_ucs2(0x2460) == 0x8740);
static_assert(qzstr_cp932ext_to_ucs2(0xFA, 0) == 0x2170 && qzstr_cp932ext_from_ucs2(0x2170) == 0xFA40);
static_assert(qzstr_cp932ext_to_ucs2(0x88, 0) == no_character && qzstr_cp932ext_to_ucs2(0x86, 188) == no_character);
static_assert(qzstr_cp932ext_from_ucs2(0xFFE2) == 0xFA54 && qzstr_cp932ext_from_ucs2(0x2252) == 0);

} // namespace qzstr
