// One-character rules that EUC-JP and its tilde row share.
#pragma once

#include "core/transcode.h"
#include "standards/japanese.h"
#include "standards/jisx0208.h"
#include "standards/jisx0212.h"

namespace qzstr {

/// 8E leads half-width katakana, 8F three bytes, A1 to FE a pair.
inline constexpr unsigned euc_jp_kana = 0x8E;
inline constexpr unsigned euc_jp_triple = 0x8F;
constexpr bool is_euc_jp_high(unsigned b) {
    return b - 0xA1 < 94;
}

/// The user-defined areas, rows F5 to FE: U+E000 on in two bytes, then U+E3AC on in three.
inline constexpr std::uint32_t euc_jp_user_first = 0xE000;
inline constexpr std::uint32_t euc_jp_user_area = 10 * 94;

/// What two bytes after A1 (plane 1) or after 8F (plane 2) mean, in the form of `qzstr_jisx0213_to_ucs`.
constexpr std::uint32_t euc_jp_value(unsigned plane, unsigned row, unsigned col) {
    if (!is_euc_jp_high(row) || !is_euc_jp_high(col)) return no_character;
    if (row >= 0xF5) return euc_jp_user_first + (plane - 1) * euc_jp_user_area + (row - 0xF5) * 94 + (col - 0xA1);
    const std::uint16_t c =
        plane == 1 ? qzstr_jisx0208_to_ucs2(row - 0x80, col - 0x80) : qzstr_jisx0212_to_ucs2(row - 0x80, col - 0x80);
    return c != no_character ? c : qzstr_jisx0213_to_ucs(jisx0213_table_row(plane, row - 0x80), col - 0xA1);
}

/// `value` is what the bytes of a sequence mean, which takes `consumed` bytes right or wrong.
template <core::form Form>
constexpr core::decoded euc_jp_decoded(std::uint32_t value, int consumed) {
    if (value == no_character) return core::bad(consumed);
    // KEPT: towards 16 bits a pair is replaced like a character beyond the BMP, unlike in Shift-JIS.
    if (qzstr_jisx0213_is_pair(value)) {
        const jisx0213_pair pair = qzstr_jisx0213_pair(value);
        return Form == core::form::ucs4 ? core::two(pair.base, pair.mark, consumed) : core::bad(consumed);
    }
    return value > 0xFFFF && Form != core::form::ucs4 ? core::bad(consumed) : core::one(value, consumed);
}

template <core::form Form>
constexpr core::decoded decode_euc_jp(const uchar* p, core::offset_t left) {
    if (p[0] < 0x80) return core::one(p[0], 1);
    if (p[0] == euc_jp_kana) {
        if (left < 2) return core::cut();
        return is_half_width_kana_byte(p[1]) ? core::one(p[1] + half_width_kana_offset, 2) : core::bad(2);
    }
    if (p[0] == euc_jp_triple) {
        if (left < 3) return core::cut();
        return euc_jp_decoded<Form>(euc_jp_value(2, p[1], p[2]), 3);
    }
    if (!is_euc_jp_high(p[0])) return core::bad(1);
    if (left < 2) return core::cut();
    return euc_jp_decoded<Form>(euc_jp_value(1, p[0], p[1]), 2);
}

/// A code in 7-bit form with its high bits set, in two bytes or behind 8F.
constexpr core::encoded euc_jp_pair(unsigned code) {
    return core::pair((code >> 8 & 0x7F) | 0x80, (code & 0x7F) | 0x80);
}
constexpr core::encoded euc_jp_three(unsigned code) {
    return core::triple(euc_jp_triple, (code >> 8 & 0x7F) | 0x80, (code & 0x7F) | 0x80);
}

constexpr core::encoded encode_euc_jp(char32_t c, char32_t next) {
    if (c < 0x80) return core::single(c);
    if (is_half_width_kana(c)) return core::pair(euc_jp_kana, c - half_width_kana_offset);
    if (const unsigned code = qzstr_jisx0208_from_ucs2(c); code != 0) return euc_jp_pair(code);
    if (const unsigned code = qzstr_jisx0212_from_ucs2(c); code != 0) return euc_jp_three(code);
    if (const unsigned code = qzstr_euc_jisx0213_compose(c, next); code != 0) return composed(code);
    if (const unsigned code = qzstr_jisx0213_from_ucs(c); code != 0)
        return (code & jisx0213_plane2) != 0 ? euc_jp_three(code) : euc_jp_pair(code);
    if (const std::uint32_t user = c - euc_jp_user_first; user < 2 * euc_jp_user_area) {
        const std::uint32_t cell = user % euc_jp_user_area;
        const unsigned code = (0x75 + cell / 94) << 8 | (0x21 + cell % 94);
        return user < euc_jp_user_area ? euc_jp_pair(code) : euc_jp_three(code);
    }
    // CHOSEN: yen sign and overline become the ASCII characters in whose place JIS X 0201 has them, where no code is left.
    if (c == 0xA5) return core::single(0x5C);
    return c == 0x203E ? core::single(0x7E) : core::unmappable();
}

/// What joins the character before it in EUC-JP.
struct euc_jp_marks : japanese_marks {
    static constexpr core::long_code_shape long_codes{
        {euc_jp_triple, 0xA1, 0xA1, 0}, {1, 94, 94, 1}, 3, 94 * 94, 94 * 94};
    static bool joins(char32_t first, char32_t second) { return qzstr_euc_jisx0213_compose(first, second) != 0; }
};

/// What takes a second byte when only pairs are looked at.
inline constexpr core::byte_set euc_jp_pair_leads{core::byte_range{euc_jp_kana, euc_jp_kana},
                                                  core::byte_range{0xA1, 0xFE}};

} // namespace qzstr
