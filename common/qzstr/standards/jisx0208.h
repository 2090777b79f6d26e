// JIS X 0208, the Japanese national set.
#pragma once

#include "core/paged.h"
#include "standards/plane94.h"
#include "tables/jisx0208.h"

namespace qzstr {

/// Code point of a row and column in 7-bit form, `no_character` when unmapped.
constexpr std::uint16_t qzstr_jisx0208_to_ucs2(unsigned row, unsigned col) {
    return paged_value<tables::jisx0208_2uni_pages>(plane94_index(row, col));
}

/// Code in 7-bit form (row in the high byte), 0 when unmapped.
constexpr std::uint16_t qzstr_jisx0208_from_ucs2(std::uint32_t wc) {
    return paged_code<tables::jisx0208_uni2indx_pages, tables::jisx0208_2charset>(wc);
}

static_assert(sizeof tables::jisx0208_2uni_page21 == 690 * 2 && sizeof tables::jisx0208_2uni_page30 == 6398 * 2);
static_assert(sizeof tables::jisx0208_uni2indx_page4e == 1307 * 4 && sizeof tables::jisx0208_2charset == 6879 * 2);

static_assert(qzstr_jisx0208_to_ucs2(0x21, 0x41) == 0x301C && qzstr_jisx0208_from_ucs2(0x301C) == 0x2141);
static_assert(qzstr_jisx0208_to_ucs2(0x30, 0x21) == 0x4E9C && qzstr_jisx0208_from_ucs2(0x4E9C) == 0x3021);
static_assert(qzstr_jisx0208_to_ucs2(0x74, 0x26) == 0x7199 && qzstr_jisx0208_to_ucs2(0x74, 0x27) == no_character);
static_assert(qzstr_jisx0208_to_ucs2(0x2D, 0x21) == no_character && qzstr_jisx0208_from_ucs2(0xFF5E) == 0);

} // namespace qzstr
