// Big5 as published, without any vendor's additions.
#pragma once

#include "standards/big5_bytes.h"
#include "tables/big5.h"

namespace qzstr {

/// Code point of a lead byte and a trail index (see `big5_trail_index`), `no_character` when unmapped.
constexpr std::uint16_t qzstr_big5_to_ucs2(unsigned lead, std::uint32_t trail_index) {
    return paged_value<tables::big5_2uni_pages>(big5_index(lead, trail_index, 0xA1));
}

/// The two bytes (lead in the high byte), 0 when unmapped.
constexpr std::uint16_t qzstr_big5_from_ucs2(std::uint32_t wc) {
    return paged_code<tables::big5_uni2indx_pages, tables::big5_2charset>(wc);
}

static_assert(sizeof tables::big5_2uni_pagea1 == 6121 * 2 && sizeof tables::big5_2uni_pagec9 == 7652 * 2);
static_assert(sizeof tables::big5_2charset == 13703 * 2 && sizeof tables::big5_uni2indx_page4e == 1307 * 4);

static_assert(qzstr_big5_to_ucs2(0xA4, 0) == 0x4E00 && qzstr_big5_from_ucs2(0x4E00) == 0xA440);
static_assert(qzstr_big5_to_ucs2(0xA1, 5) == 0x2022 && qzstr_big5_from_ucs2(0x2027) == 0);
static_assert(qzstr_big5_to_ucs2(0xA0, 0) == no_character &&
              qzstr_big5_to_ucs2(0xA3, big5_trail_index(0xE1)) == no_character);
static_assert(qzstr_big5_to_ucs2(0xF9, big5_trail_index(0xD5)) == 0x9F98 &&
              qzstr_big5_to_ucs2(0xF9, big5_trail_index(0xD6)) == no_character);

} // namespace qzstr
