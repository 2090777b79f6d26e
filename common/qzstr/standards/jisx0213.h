// JIS X 0213: two planes, characters beyond the BMP, and 25 characters that Unicode writes as a base and a combining
// mark.
#pragma once

#include "core/paged.h"
#include "standards/plane94.h"
#include "tables/jisx0213.h"

namespace qzstr {

inline constexpr std::uint32_t jisx0213_table_rows = 120;

/// Row of the forward table for plane 1 or 2 and a row in 7-bit form; plane 2 has rows 1, 3-5, 8, 12-15 and 78-94 only.
constexpr std::uint32_t jisx0213_table_row(unsigned plane, unsigned row) {
    const unsigned r = row - 0x20;
    if (r - 1 >= 94) return no_index;
    if (plane == 1) return r - 1;
    if (r == 1) return 94;
    if (r - 3 < 3) return r + 92;
    if (r == 8) return 98;
    if (r - 12 < 4) return r + 87;
    return r >= 78 ? r + 25 : no_index;
}

/// A code point, the number of a pair (1 to 25, see `qzstr_jisx0213_pair`), or `no_character`. `col` counts from 0.
constexpr std::uint32_t qzstr_jisx0213_to_ucs(std::uint32_t table_row, std::uint32_t col) {
    if (table_row >= jisx0213_table_rows || col >= 94) return no_character;
    const unsigned value = tables::jisx0213_to_ucs_main[table_row * 94 + col];
    return tables::jisx0213_to_ucs_pagestart[value >> 8] + (value & 0xFF);
}

/// Whether a decoded value is the number of a pair.
constexpr bool qzstr_jisx0213_is_pair(std::uint32_t value) {
    return value < 0x80;
}

struct jisx0213_pair {
    std::uint16_t base;
    std::uint16_t mark;
};

constexpr jisx0213_pair qzstr_jisx0213_pair(std::uint32_t number) {
    const auto& pair = tables::jisx0213_to_ucs_combining[number - 1];
    return {pair[0], pair[1]};
}

inline constexpr unsigned jisx0213_plane2 = 0x8000;

/// Row and column in 7-bit form with `jisx0213_plane2` set for plane 2, 0 when unmapped.
constexpr std::uint16_t qzstr_jisx0213_from_ucs(std::uint32_t wc) {
    constexpr std::uint32_t stretches = sizeof tables::jisx0213_from_ucs_level1 / sizeof(std::uint16_t);
    if (wc >> 6 >= stretches || tables::jisx0213_from_ucs_level1[wc >> 6] == 0xFFFF) return 0;
    const std::size_t block_number = tables::jisx0213_from_ucs_level1[wc >> 6] * 4u + (wc >> 4 & 3);
    const _summary16_t block = tables::jisx0213_from_ucs_level2_2idx[block_number];
    const unsigned bit = 1u << (wc & 0x0F);
    if ((block.used & bit) == 0) return 0;
    return tables::jisx0213_from_ucs_level2_data[block.idx + std::popcount(block.used & (bit - 1))];
}

/// The five combining marks that end a pair.
constexpr bool qzstr_jisx0213_is_mark(std::uint32_t wc) {
    return wc == 0x309A || wc == 0x0300 || wc == 0x0301 || wc == 0x02E5 || wc == 0x02E9;
}

/// The code of a base and a mark in one of the two composition tables, 0 when they do not compose.
template <const auto& Table>
constexpr std::uint16_t jisx0213_compose(std::uint32_t base, std::uint32_t mark) {
    if (!qzstr_jisx0213_is_mark(mark)) return 0;
    for (const tables::jisx0213_composition& pair : Table)
        if (pair.base == base && pair.mark == mark) return pair.code;
    return 0;
}

/// The two bytes in Shift-JIS form.
constexpr std::uint16_t qzstr_shift_jisx0213_compose(std::uint32_t base, std::uint32_t mark) {
    return jisx0213_compose<tables::shift_jisx0213_comp_table_data>(base, mark);
}

/// The two bytes in EUC form.
constexpr std::uint16_t qzstr_euc_jisx0213_compose(std::uint32_t base, std::uint32_t mark) {
    return jisx0213_compose<tables::euc_jisx0213_comp_table_data>(base, mark);
}

// CHOSEN: parts of pairs must reach the composition step, and U+2015 is the one character that JIS X 0213 codes otherwise.
/// Whether the Shift-JIS encoder must leave a JIS X 0208 character to JIS X 0213.
constexpr bool qzstr_sjis_x0213_chk_ucs(std::uint32_t wc) {
    for (std::uint16_t excluded : tables::sjis_x0213_chk_ucs)
        if (excluded == wc) return true;
    return false;
}

static_assert(sizeof tables::jisx0213_to_ucs_main == 120 * 94 * 2 &&
              sizeof tables::jisx0213_to_ucs_combining == 25 * 4);
static_assert(sizeof tables::sjis_x0213_chk_ucs == 25 * 2);

static_assert(qzstr_jisx0213_to_ucs(0, 0) == 0x3000 && qzstr_jisx0213_to_ucs(13, 0) == 0x4FF1);
static_assert(qzstr_jisx0213_to_ucs(94, 0) == 0x20089 && qzstr_jisx0213_from_ucs(0x20089) == 0xA121);
static_assert(qzstr_jisx0213_to_ucs(119, 93) == no_character && qzstr_jisx0213_to_ucs(120, 0) == no_character);
static_assert(qzstr_jisx0213_is_pair(qzstr_jisx0213_to_ucs(3, 0x77 - 0x21)) &&
              qzstr_jisx0213_pair(qzstr_jisx0213_to_ucs(3, 0x77 - 0x21)).base == 0x304B);
static_assert(qzstr_shift_jisx0213_compose(0x304B, 0x309A) == 0x82F5 &&
              qzstr_euc_jisx0213_compose(0x304B, 0x309A) == 0xA4F7);
static_assert(qzstr_shift_jisx0213_compose(0x304B, 0x0300) == 0 && qzstr_jisx0213_from_ucs(0x309A) == 0);
static_assert(qzstr_sjis_x0213_chk_ucs(0x2015) && qzstr_sjis_x0213_chk_ucs(0x304B) &&
              !qzstr_sjis_x0213_chk_ucs(0x3042));
static_assert(jisx0213_table_row(2, 0x21) == 94 && jisx0213_table_row(2, 0x25) == 97 &&
              jisx0213_table_row(2, 0x28) == 98 && jisx0213_table_row(2, 0x2F) == 102 &&
              jisx0213_table_row(2, 0x6E) == 103 && jisx0213_table_row(2, 0x7E) == 119 &&
              jisx0213_table_row(2, 0x22) == no_index && jisx0213_table_row(1, 0x7E) == 93);

} // namespace qzstr
