// The byte scheme of Shift-JIS and CP932: how a pair of bytes names a row and a column, and the areas that need no
// table.
#pragma once

#include "standards/jisx0208.h"
#include "standards/jisx0213.h"
#include "standards/plane94.h"

namespace qzstr {

/// Index 0..187 of a trail byte 0x40..0x7E or 0x80..0xFC; no_index for others.
constexpr std::uint32_t shift_jis_trail_index(unsigned trail) {
    if (trail - 0x40 < 0x3F) return trail - 0x40;
    return trail - 0x80 < 0x7D ? trail - 0x41 : no_index;
}

constexpr unsigned shift_jis_trail(std::uint32_t index) {
    return index + (index < 63 ? 0x40 : 0x41);
}

/// Linear index of a lead byte and a trail index, 188 in a row; no_index for bytes that lead no pair.
constexpr std::uint32_t shift_jis_index(unsigned lead, std::uint32_t trail_index) {
    const bool is_lead = lead - 0x81 < 0x1F || lead - 0xE0 < 0x1D;
    return is_lead && trail_index < 188 ? (lead - (lead < 0xE0 ? 0x81 : 0xC1)) * 188 + trail_index : no_index;
}

/// A position in the grid of rows that leads 0x81..0x9F and 0xE0..0xFC number; both count from 0.
struct shift_jis_cell {
    std::uint32_t row;
    std::uint32_t col;
};

/// The cell of a lead byte and a trail index.
constexpr shift_jis_cell shift_jis_cell_of(unsigned lead, std::uint32_t trail_index) {
    const std::uint32_t row = 2 * (lead - (lead < 0xE0 ? 0x81 : 0xC1));
    return trail_index < 94 ? shift_jis_cell{row, trail_index} : shift_jis_cell{row + 1, trail_index - 94};
}

/// The two bytes of a cell, lead in the high byte.
constexpr std::uint16_t shift_jis_pair(shift_jis_cell cell) {
    const std::uint32_t half = cell.row / 2;
    const unsigned lead = half + (half < 31 ? 0x81 : 0xC1);
    return static_cast<std::uint16_t>(lead << 8 | shift_jis_trail(cell.col + cell.row % 2 * 94));
}

/// The two bytes of a row and column in 7-bit form.
constexpr std::uint16_t shift_jis_pair_of_code(unsigned code) {
    return shift_jis_pair({(code >> 8) - 0x21, (code & 0xFF) - 0x21});
}

/// Row of the JIS X 0213 table for a cell row; plane 2 begins at row 94, with its row 8 ahead of rows 3 to 5.
constexpr std::uint32_t shift_jisx0213_table_row(std::uint32_t row) {
    if (row == 95) return 98;
    return row - 96 < 3 ? row - 1 : row;
}

/// The character of a pair in JIS X 0208, `no_character` when unmapped.
constexpr std::uint16_t qzstr_shift_jisx0208_to_ucs2(unsigned lead, std::uint32_t trail_index) {
    const shift_jis_cell cell = shift_jis_cell_of(lead, trail_index);
    return qzstr_jisx0208_to_ucs2(cell.row + 0x21, cell.col + 0x21);
}

/// The two bytes for a code point by way of JIS X 0208, 0 when unmapped.
constexpr std::uint16_t qzstr_shift_jisx0208_from_ucs2(std::uint32_t wc) {
    const unsigned code = qzstr_jisx0208_from_ucs2(wc);
    return code != 0 ? shift_jis_pair_of_code(code) : std::uint16_t{0};
}

/// The character of a pair in JIS X 0213, in the form of `qzstr_jisx0213_to_ucs`.
constexpr std::uint32_t qzstr_shift_jisx0213_to_ucs(unsigned lead, std::uint32_t trail_index) {
    const shift_jis_cell cell = shift_jis_cell_of(lead, trail_index);
    return qzstr_jisx0213_to_ucs(shift_jisx0213_table_row(cell.row), cell.col);
}

/// The two bytes for a code point by way of JIS X 0213, 0 when unmapped.
constexpr std::uint16_t qzstr_shift_jisx0213_from_ucs(std::uint32_t wc) {
    const unsigned code = qzstr_jisx0213_from_ucs(wc);
    if (code == 0) return 0;
    if ((code & jisx0213_plane2) == 0) return shift_jis_pair_of_code(code);
    const std::uint32_t table_row = jisx0213_table_row(2, code >> 8 & 0x7F);
    const std::uint32_t row = table_row == 98 ? 95 : table_row - 95 < 3 ? table_row + 1 : table_row;
    return shift_jis_pair({row, (code & 0xFF) - 0x21});
}

/// The user-defined area, leads 0xF0..0xF9: U+E000..U+E757.
inline constexpr std::uint32_t shift_jis_user_first = 0xE000;
inline constexpr std::uint32_t shift_jis_user_count = 10 * 188;

constexpr bool is_shift_jis_user_lead(unsigned lead) {
    return lead - 0xF0 < 10;
}
constexpr std::uint16_t shift_jis_user_to_ucs2(unsigned lead, std::uint32_t trail_index) {
    return static_cast<std::uint16_t>(shift_jis_user_first + (lead - 0xF0) * 188 + trail_index);
}

/// The two bytes of a user-defined code point, 0 for others.
constexpr std::uint16_t shift_jis_user_from_ucs2(std::uint32_t wc) {
    const std::uint32_t i = wc - shift_jis_user_first;
    if (i >= shift_jis_user_count) return 0;
    return static_cast<std::uint16_t>((0xF0 + i / 188) << 8 | shift_jis_trail(i % 188));
}

static_assert(shift_jis_trail_index(0x40) == 0 && shift_jis_trail_index(0x7E) == 62 &&
              shift_jis_trail_index(0x80) == 63 && shift_jis_trail_index(0xFC) == 187);
static_assert(shift_jis_trail_index(0x3F) == no_index && shift_jis_trail_index(0x7F) == no_index &&
              shift_jis_trail_index(0xFD) == no_index);
static_assert(shift_jis_pair_of_code(0x2121) == 0x8140 && shift_jis_pair_of_code(0x2160) == 0x8180 &&
              shift_jis_pair_of_code(0x2221) == 0x819F && shift_jis_pair_of_code(0x7426) == 0xEAA4);
static_assert(shift_jis_cell_of(0xE0, 94).row == 63 && shift_jis_cell_of(0xE0, 94).col == 0);
static_assert(shift_jis_user_from_ucs2(0xE000) == 0xF040 && shift_jis_user_from_ucs2(0xE757) == 0xF9FC &&
              shift_jis_user_from_ucs2(0xE758) == 0 && shift_jis_user_to_ucs2(0xF9, 187) == 0xE757);
static_assert(qzstr_shift_jisx0213_from_ucs(0x20089) == 0xF040);

} // namespace qzstr
