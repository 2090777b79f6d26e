// CNS 11643, the Chinese national set of Taiwan: planes 1 to 7 and 15.
#pragma once

#include "core/paged.h"
#include "standards/plane94.h"
#include "tables/cns11643.h"

namespace qzstr {

/// Plane 1. Rows and columns are in 7-bit form; the code point, `no_character` when unmapped. Three characters stand apart from the pages.
constexpr std::uint16_t qzstr_cns11643_1_to_ucs2(unsigned row, unsigned col) {
    const std::uint32_t i = plane94_index(row, col);
    if (i == 571) return 0x4EA0;
    if (i == 578) return 0x51AB;
    if (i == 583) return 0x52F9;
    return paged_value<tables::cns11643_1_2uni_pages>(i);
}

constexpr std::uint16_t qzstr_cns11643_2_to_ucs2(unsigned row, unsigned col) {
    return paged_value<tables::cns11643_2_2uni_pages>(plane94_index(row, col));
}

/// Planes 3 to 7 and 15, whose code points may lie beyond the BMP.
constexpr std::uint32_t qzstr_cns11643_3_to_ucs4(unsigned row, unsigned col) {
    return based_value<tables::cns11643_3_2uni_pages, tables::cns11643_3_2uni_upages, 8>(plane94_index(row, col));
}

constexpr std::uint32_t qzstr_cns11643_4_to_ucs4(unsigned row, unsigned col) {
    const std::uint32_t i = plane94_index(row, col);
    if (i < 2914) return based_value<tables::cns11643_4a_2uni_pages, tables::cns11643_4a_2uni_upages, 8>(i);
    return based_value<tables::cns11643_4b_2uni_pages, tables::cns11643_4b_2uni_upages, 8>(i);
}

constexpr std::uint32_t qzstr_cns11643_5_to_ucs4(unsigned row, unsigned col) {
    return based_value<tables::cns11643_5_2uni_pages, tables::cns11643_5_2uni_upages, 8>(plane94_index(row, col));
}

constexpr std::uint32_t qzstr_cns11643_6_to_ucs4(unsigned row, unsigned col) {
    return based_value<tables::cns11643_6_2uni_pages, tables::cns11643_6_2uni_upages, 8>(plane94_index(row, col));
}

constexpr std::uint32_t qzstr_cns11643_7_to_ucs4(unsigned row, unsigned col) {
    return based_value<tables::cns11643_7_2uni_pages, tables::cns11643_7_2uni_upages, 8>(plane94_index(row, col));
}

constexpr std::uint32_t qzstr_cns11643_15_to_ucs4(unsigned row, unsigned col) {
    return based_value<tables::cns11643_15_2uni_pages, tables::cns11643_15_2uni_upages, 8>(plane94_index(row, col));
}

/// Any plane, `no_character` for planes that hold nothing.
constexpr std::uint32_t qzstr_cns11643_to_ucs4(unsigned plane, unsigned row, unsigned col) {
    switch (plane) {
    case 1:
        return qzstr_cns11643_1_to_ucs2(row, col);
    case 2:
        return qzstr_cns11643_2_to_ucs2(row, col);
    case 3:
        return qzstr_cns11643_3_to_ucs4(row, col);
    case 4:
        return qzstr_cns11643_4_to_ucs4(row, col);
    case 5:
        return qzstr_cns11643_5_to_ucs4(row, col);
    case 6:
        return qzstr_cns11643_6_to_ucs4(row, col);
    case 7:
        return qzstr_cns11643_7_to_ucs4(row, col);
    case 15:
        return qzstr_cns11643_15_to_ucs4(row, col);
    default:
        return no_character;
    }
}

struct cns11643_code {
    std::uint8_t plane; // 0 when unmapped
    std::uint8_t row;
    std::uint8_t col;
};

constexpr cns11643_code qzstr_cns11643_from_unicode(std::uint32_t wc) {
    const int i = paged_position<tables::cns11643_inv_uni2indx_pages>(wc);
    if (i < 0) return {0, 0, 0};
    const auto& [plane, row, col] = tables::cns11643_inv_2charset[i];
    return {plane, row, col};
}

static_assert(sizeof tables::cns11643_1_2uni_page21 == 500 * 2 && sizeof tables::cns11643_1_2uni_page42 == 34 * 2);
static_assert(sizeof tables::cns11643_1_2uni_page44 == 5401 * 2 && sizeof tables::cns11643_2_2uni_page21 == 7650 * 2);
static_assert(sizeof tables::cns11643_3_2uni_page21 == 6148 * 2 && sizeof tables::cns11643_3_2uni_page64 == 292 * 2);
static_assert(sizeof tables::cns11643_4a_2uni_page21 == 2914 * 2 && sizeof tables::cns11643_4b_2uni_page40 == 4384 * 2);
static_assert(sizeof tables::cns11643_inv_2charset == 55442 * 3 &&
              sizeof tables::cns11643_inv_uni2indx_pages / 16 == 9);

static_assert(qzstr_cns11643_1_to_ucs2(0x44, 0x21) == 0x4E00 && qzstr_cns11643_1_to_ucs2(0x27, 0x28) == 0x4EA0);
static_assert(qzstr_cns11643_1_to_ucs2(0x28, 0x21) == no_character &&
              qzstr_cns11643_2_to_ucs2(0x73, 0x21) == no_character);
static_assert(qzstr_cns11643_from_unicode(0x4E00).plane == 1 && qzstr_cns11643_from_unicode(0x4EA0).row == 0x27);
static_assert(qzstr_cns11643_from_unicode(0x5344).plane == 1 && qzstr_cns11643_to_ucs4(3, 0x21, 0x38) == 0x5344);
static_assert(qzstr_cns11643_to_ucs4(4, 0x40, 0x21) != no_character &&
              qzstr_cns11643_to_ucs4(8, 0x21, 0x21) == no_character);
static_assert(qzstr_cns11643_from_unicode(0x2FA20).plane == 0 && qzstr_cns11643_from_unicode(0xE000).plane == 0);

} // namespace qzstr
