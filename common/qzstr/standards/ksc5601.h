// KS X 1001 (KS C 5601), the Korean national set.
#pragma once

#include "core/paged.h"
#include "standards/plane94.h"
#include "tables/ksx1001.h"

namespace qzstr {

/// Code point of a row and column in 7-bit form, `no_character` when unmapped.
constexpr std::uint16_t qzstr_ksc5601_to_ucs2(unsigned row, unsigned col) {
    return paged_value<tables::ksc5601_2uni_pages>(plane94_index(row, col));
}

/// Code in 7-bit form (row in the high byte), 0 when unmapped.
constexpr std::uint16_t qzstr_ksc5601_from_ucs2(std::uint32_t wc) {
    return paged_code<tables::ksc5601_uni2idx_pages, tables::ksc5601_2charset>(wc);
}

static_assert(sizeof tables::ksc5601_2uni_page21 == 1115 * 2 && sizeof tables::ksc5601_2uni_page30 == 2350 * 2);
static_assert(sizeof tables::ksc5601_2uni_page4a == 4888 * 2 && sizeof tables::ksc5601_2charset == 8226 * 2);
static_assert(sizeof tables::ksc5601_uni2idx_page00 == 70 * 4 && sizeof tables::ksc5601_uni2idx_page20 == 103 * 4);
static_assert(sizeof tables::ksc5601_uni2idx_page30 == 62 * 4 && sizeof tables::ksc5601_uni2idx_page4e == 1306 * 4);
static_assert(sizeof tables::ksc5601_uni2idx_pageac == 698 * 4 && sizeof tables::ksc5601_uni2idx_pagef9 == 17 * 4);
static_assert(sizeof tables::ksc5601_uni2idx_pageff == 15 * 4);

static_assert(qzstr_ksc5601_to_ucs2(0x30, 0x21) == 0xAC00 && qzstr_ksc5601_from_ucs2(0xAC00) == 0x3021);
static_assert(qzstr_ksc5601_to_ucs2(0x7D, 0x7E) == 0x8A70 && qzstr_ksc5601_from_ucs2(0x8A70) == 0x7D7E);
static_assert(qzstr_ksc5601_to_ucs2(0x22, 0x68) == no_character && qzstr_ksc5601_from_ucs2(0x327E) == 0);
static_assert(qzstr_ksc5601_to_ucs2(0x2D, 0x21) == no_character && qzstr_ksc5601_to_ucs2(0x49, 0x21) == no_character);
static_assert(qzstr_ksc5601_to_ucs2(0x7E, 0x21) == no_character && qzstr_ksc5601_to_ucs2(0x30, 0x7F) == no_character);
static_assert(qzstr_ksc5601_from_ucs2(0xD7A0) == 0 && qzstr_ksc5601_from_ucs2(0x1AC00) == 0);

} // namespace qzstr
