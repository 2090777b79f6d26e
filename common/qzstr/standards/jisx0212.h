// JIS X 0212, the supplementary Japanese set.
#pragma once

#include "core/paged.h"
#include "standards/plane94.h"
#include "tables/jisx0212.h"

namespace qzstr {

/// Code point of a row and column in 7-bit form, `no_character` when unmapped.
constexpr std::uint16_t qzstr_jisx0212_to_ucs2(unsigned row, unsigned col) {
    return paged_value<tables::jisx0212_2uni_pages>(plane94_index(row, col));
}

/// Code in 7-bit form (row in the high byte), 0 when unmapped.
constexpr std::uint16_t qzstr_jisx0212_from_ucs2(std::uint32_t wc) {
    return paged_code<tables::jisx0212_uni2indx_pages, tables::jisx0212_2charset>(wc);
}

static_assert(sizeof tables::jisx0212_2uni_page22 == 81 * 2 && sizeof tables::jisx0212_2uni_page26 == 188 * 2);
static_assert(sizeof tables::jisx0212_2uni_page29 == 275 * 2 && sizeof tables::jisx0212_2uni_page30 == 5801 * 2);
static_assert(sizeof tables::jisx0212_2charset == 6067 * 2);

static_assert(qzstr_jisx0212_to_ucs2(0x22, 0x37) == 0xFF5E && qzstr_jisx0212_from_ucs2(0xFF5E) == 0x2237);
static_assert(qzstr_jisx0212_to_ucs2(0x30, 0x21) == 0x4E02 && qzstr_jisx0212_from_ucs2(0x4E02) == 0x3021);
static_assert(qzstr_jisx0212_to_ucs2(0x21, 0x21) == no_character && qzstr_jisx0212_to_ucs2(0x6E, 0x21) == no_character);

} // namespace qzstr
