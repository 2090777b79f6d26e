// CP950: its own reading of rows 0xA1 and 0xA2, and its additions in row 0xF9.
#pragma once

#include "standards/big5_bytes.h"
#include "tables/cp950.h"

namespace qzstr {

/// Code point of a pair in rows 0xA1 and 0xA2 by lead byte and trail index, `no_character` elsewhere.
constexpr std::uint16_t qzstr_cp950_to_ucs2(unsigned lead, std::uint32_t trail_index) {
    return paged_value<tables::cp950_2uni_pages>(big5_index(lead, trail_index, 0xA1));
}

/// Code points that CP950 codes otherwise than Big5, or that Big5 lacks: an encoder tries them first. 0 for others.
constexpr std::uint16_t qzstr_cp950_fixed_from_ucs2(std::uint32_t wc) {
    switch (wc) {
    case 0x00AF:
        return 0xA1C2;
    case 0x02CD:
        return 0xA1C5;
    case 0x2027:
        return 0xA145;
    case 0x20AC:
        return 0xA3E1;
    case 0x2215:
        return 0xA241;
    case 0x2295:
        return 0xA1F2;
    case 0x2299:
        return 0xA1F3;
    case 0x2574:
        return 0xA15A;
    case 0xFE51:
        return 0xA14E;
    case 0xFE68:
        return 0xA242;
    case 0xFF0F:
        return 0xA1FE;
    case 0xFF3C:
        return 0xA240;
    case 0xFF5E:
        return 0xA1E3;
    case 0xFFE0:
        return 0xA246;
    case 0xFFE1:
        return 0xA247;
    case 0xFFE3:
        return 0xA1C3;
    case 0xFFE5:
        return 0xA244;
    default:
        return 0;
    }
}

/// Additions in row 0xF9, trails 0xD6 and above.
constexpr std::uint16_t qzstr_cp950ext_to_ucs2(unsigned lead, std::uint32_t trail_index) {
    return paged_value<tables::cp950ext_2uni_pages>(big5_index(lead, trail_index, 0xA1));
}

constexpr std::uint16_t qzstr_cp950ext_from_ucs2(std::uint32_t wc) {
    return paged_code<tables::cp950ext_uni2indx_pages, tables::cp950ext_2charset>(wc);
}

/// The fixed pairs, the Euro sign's aside, are those that rows 0xA1 and 0xA2 decode to the same code point.
consteval int cp950_fixed_pairs_in_rows() {
    int pairs = 0;
    for (std::uint32_t i = 0; i < 2 * big5_columns; ++i)
        pairs += qzstr_cp950_fixed_from_ucs2(tables::cp950_2uni_pagea1[i]) == big5_pair(i, 0xA1);
    return pairs;
}

static_assert(cp950_fixed_pairs_in_rows() == 16 && qzstr_cp950_fixed_from_ucs2(0x20AC) == 0xA3E1);
static_assert(sizeof tables::cp950_2uni_pagea1 == 314 * 2 && sizeof tables::cp950ext_2uni_pagef9 == 41 * 2);

static_assert(qzstr_cp950_to_ucs2(0xA1, 5) == 0x2027 && qzstr_cp950_to_ucs2(0xA3, 0) == no_character);
static_assert(qzstr_cp950ext_to_ucs2(0xF9, big5_trail_index(0xD6)) == 0x7881 &&
              qzstr_cp950ext_from_ucs2(0x7881) == 0xF9D6);
static_assert(qzstr_cp950ext_to_ucs2(0xF9, big5_trail_index(0xD5)) == no_character &&
              qzstr_cp950ext_from_ucs2(0x256D) == 0);

} // namespace qzstr
