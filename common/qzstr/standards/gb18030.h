// GB 18030 beyond GBK: the two-byte additions, the private-use codes, and the four-byte codes of the BMP.
#pragma once

#include "core/paged.h"
#include "standards/gbk_bytes.h"
#include "tables/gb18030.h"

namespace qzstr {

/// Code point of a two-byte addition, `no_character` when the pair is none.
constexpr std::uint16_t qzstr_gb18030ext_to_ucs2(unsigned lead, unsigned trail) {
    return paged_value<tables::gb18030ext_2uni_pages>(gbk_index(lead, trail));
}

/// The two bytes of an addition (lead in the high byte), 0 when unmapped.
constexpr std::uint16_t qzstr_gb18030ext_from_ucs4(std::uint32_t wc) {
    return page_entry<tables::gb18030ext_pages>(wc, std::uint16_t{0});
}

/// For every block of 64 values, the first of ascending [first, last, ...] rows that does not lie wholly before it.
template <const auto& Rows>
struct row_index {
    static constexpr unsigned count = sizeof Rows / sizeof Rows[0];
    std::uint8_t first_row[0x10000 / 64] = {};

    consteval row_index() {
        static_assert(count <= 0xFF);
        for (unsigned block = 0, row = 0; block < sizeof first_row; ++block) {
            while (row < count && Rows[row][1] < block * 64)
                ++row;
            first_row[block] = static_cast<std::uint8_t>(row);
        }
    }
};
template <const auto& Rows>
inline constexpr row_index<Rows> row_index_of{};

/// The row that holds a value, or -1.
template <const auto& Rows>
constexpr int row_of(std::uint32_t value) {
    if (value > 0xFFFF) return -1;
    unsigned row = row_index_of<Rows>.first_row[value / 64];
    while (row < row_index<Rows>::count && Rows[row][1] < value)
        ++row;
    return row < row_index<Rows>::count && Rows[row][0] <= value ? static_cast<int>(row) : -1;
}

/// The two bytes of a private-use code point U+E766..U+E864, 0 when it has none.
constexpr std::uint16_t qzstr_gb18030_pua_from_ucs2(std::uint32_t wc) {
    const int row = row_of<tables::gb18030_pua2charset>(wc);
    if (row < 0) return 0;
    const auto& [first, last, code] = tables::gb18030_pua2charset[row];
    return static_cast<std::uint16_t>(code + (wc - first));
}

/// Number of a four-byte code; `b1` counts from the first lead byte of its block, the others are bytes.
constexpr std::uint32_t gb18030_linear(unsigned b1, unsigned b2, unsigned b3, unsigned b4) {
    return ((b1 * 10 + (b2 - 0x30)) * 126 + (b3 - 0x81)) * 10 + (b4 - 0x30);
}

/// U+E7C7 has the four-byte code that the runs give to U+1E3F, whose own code is a two-byte addition.
inline constexpr std::uint32_t gb18030_swapped_linear = 7457;
inline constexpr std::uint32_t gb18030_swapped_code_point = 0xE7C7;

/// Code point of a four-byte code of the BMP block (leads 0x81..0x84), no_index when it is none: U+FFFD is one of them.
constexpr std::uint32_t qzstr_gb18030uni_to_ucs2(std::uint32_t linear) {
    if (linear == gb18030_swapped_linear) return gb18030_swapped_code_point;
    const int row = row_of<tables::gb18030uni_charset2uni_ranges>(linear);
    if (row < 0) return no_index;
    const std::uint32_t wc = linear + tables::gb18030uni_ranges[row];
    // KEPT: U+FFFF is encoded but never decoded.
    return wc > 0xFFFE ? no_index : wc;
}

/// Number of the four-byte code of a BMP code point, no_index when it is in no run.
constexpr std::uint32_t qzstr_gb18030uni_from_ucs2(std::uint32_t wc) {
    if (wc == gb18030_swapped_code_point) return gb18030_swapped_linear;
    const int row = row_of<tables::gb18030uni_uni2charset_ranges>(wc);
    return row < 0 ? no_index : wc - tables::gb18030uni_ranges[row];
}

static_assert(sizeof tables::gb18030ext_2uni_pagea9 == 13 * 2 && sizeof tables::gb18030ext_2uni_pagefe == 192);
static_assert(sizeof tables::gb18030uni_ranges == 206 * 2 && sizeof tables::gb18030_pua2charset == 31 * 6);

static_assert(qzstr_gb18030ext_to_ucs2(0xA2, 0xE3) == 0x20AC && qzstr_gb18030ext_from_ucs4(0x20AC) == 0xA2E3);
static_assert(qzstr_gb18030ext_to_ucs2(0xA6, 0xDA) == 0xFE12 && qzstr_gb18030ext_to_ucs2(0xA6, 0xDB) == 0xFE11);
static_assert(qzstr_gb18030ext_to_ucs2(0xA8, 0xBC) == 0x1E3F && qzstr_gb18030ext_from_ucs4(0x1E3F) == 0xA8BC);
static_assert(qzstr_gb18030ext_to_ucs2(0xFE, 0x40) == no_character && qzstr_gb18030ext_to_ucs2(0xFE, 0x50) == 0x2E81);
static_assert(qzstr_gb18030_pua_from_ucs2(0xE766) == 0xA2AB && qzstr_gb18030_pua_from_ucs2(0xE864) == 0xFEA0 &&
              qzstr_gb18030_pua_from_ucs2(0xE76C) == 0 && qzstr_gb18030_pua_from_ucs2(0xE865) == 0);
static_assert(qzstr_gb18030uni_to_ucs2(0) == 0x0080 && qzstr_gb18030uni_from_ucs2(0x0080) == 0);
static_assert(gb18030_linear(0, 0x35, 0xF4, 0x37) == 7457 && qzstr_gb18030uni_to_ucs2(7457) == 0xE7C7);
static_assert(qzstr_gb18030uni_to_ucs2(39417) == 0xFFFD && qzstr_gb18030uni_to_ucs2(39418) == 0xFFFE &&
              qzstr_gb18030uni_to_ucs2(39419) == no_index && qzstr_gb18030uni_from_ucs2(0xFFFF) == 39419 &&
              qzstr_gb18030uni_to_ucs2(39420) == no_index);
static_assert(qzstr_gb18030uni_from_ucs2(0xD800) == no_index && qzstr_gb18030uni_from_ucs2(0x4E00) == no_index);

} // namespace qzstr
