// GB 2312-80, the Chinese national set.
#pragma once

#include "core/paged.h"
#include "standards/plane94.h"
#include "tables/gb2312.h"

namespace qzstr {

/// Code point of a row and column in 7-bit form, `no_character` when unmapped.
constexpr std::uint16_t qzstr_gb2312_to_ucs2(unsigned row, unsigned col) {
    return paged_value<tables::gb2312_2uni_pages>(plane94_index(row, col));
}

/// Code in 7-bit form (row in the high byte), 0 when unmapped.
constexpr std::uint16_t qzstr_gb2312_from_ucs2(std::uint32_t wc) {
    return paged_code<tables::gb2312_uni2indx_pages, tables::gb2312_2charset>(wc);
}

static_assert(sizeof tables::gb2312_2uni_page21 == 831 * 2 && sizeof tables::gb2312_2uni_page30 == 6768 * 2);
static_assert(sizeof tables::gb2312_2charset == 7445 * 2);

static_assert(qzstr_gb2312_to_ucs2(0x21, 0x24) == 0x30FB && qzstr_gb2312_from_ucs2(0x30FB) == 0x2124);
static_assert(qzstr_gb2312_to_ucs2(0x30, 0x21) == 0x554A && qzstr_gb2312_from_ucs2(0x554A) == 0x3021);
static_assert(qzstr_gb2312_to_ucs2(0x77, 0x7E) == 0x9F44 && qzstr_gb2312_to_ucs2(0x78, 0x21) == no_character);
static_assert(qzstr_gb2312_to_ucs2(0x2A, 0x21) == no_character && qzstr_gb2312_from_ucs2(0x00B7) == 0);

} // namespace qzstr
