// One-character rules that Shift-JIS, CP932 and their tilde rows share.
#pragma once

#include "core/transcode.h"
#include "standards/cp932ext.h"
#include "standards/japanese.h"
#include "standards/shift_jis.h"

namespace qzstr {

/// Decoding by the byte scheme. C supplies `roman(b)`, the character of a byte below 0x80, and `value(lead,
/// trail_index)`, that of a pair in the form of `qzstr_jisx0213_to_ucs`.
template <class C>
struct shift_jis_decoding {
    static constexpr core::byte_set decode_leads{core::byte_range{0x81, 0x9F}, core::byte_range{0xE0, 0xFC}};

    template <core::form Form>
    static constexpr core::decoded decode(const uchar* p, core::offset_t left) {
        if (p[0] < 0x80) return core::one(C::roman(p[0]), 1);
        if (is_half_width_kana_byte(p[0])) return core::one(p[0] + half_width_kana_offset, 1);
        if (!decode_leads.contains(p[0])) return core::bad(1);
        if (left < 2) return core::cut();
        const std::uint32_t trail = shift_jis_trail_index(p[1]);
        if (trail == no_index) return core::bad(2);
        const std::uint32_t value = C::value(p[0], trail);
        if (value == no_character) return core::bad(2);
        if (qzstr_jisx0213_is_pair(value)) {
            const jisx0213_pair pair = qzstr_jisx0213_pair(value);
            return core::two(pair.base, pair.mark, 2);
        }
        // KEPT: where 16 bits cannot hold the character, the byte after the pair is skipped with it.
        if (value > 0xFFFF && Form != core::form::ucs4) return core::bad(3);
        return core::one(value, 2);
    }
};

/// What joins the character before it in Shift-JIS and CP932.
struct shift_jis_marks : japanese_marks {
    static bool joins(char32_t first, char32_t second) { return qzstr_shift_jisx0213_compose(first, second) != 0; }
};

/// Shift-JIS: JIS X 0201 Roman, JIS X 0208, the user-defined area, JIS X 0213 where those leave a gap.
struct shift_jis_rules {
    static constexpr char32_t roman(unsigned b) { return b == 0x5C ? 0xA5 : b == 0x7E ? 0x203E : b; }

    static constexpr std::uint32_t value(unsigned lead, std::uint32_t trail) {
        if (is_shift_jis_user_lead(lead)) return shift_jis_user_to_ucs2(lead, trail);
        const std::uint16_t c = qzstr_shift_jisx0208_to_ucs2(lead, trail);
        return c != no_character ? c : qzstr_shift_jisx0213_to_ucs(lead, trail);
    }
};

/// CP932: ASCII, the NEC and IBM extensions, JIS X 0208, the user-defined area, JIS X 0213.
struct cp932_rules {
    static constexpr char32_t roman(unsigned b) { return b; }

    static constexpr std::uint32_t value(unsigned lead, std::uint32_t trail) {
        const std::uint16_t c = qzstr_cp932ext_to_ucs2(lead, trail);
        return c != no_character ? c : shift_jis_rules::value(lead, trail);
    }
};

/// Leading and ending bytes of Shift-JIS and CP932: a byte that is ASCII or half-width katakana breaks every run of
/// pairs, and inside such a run characters begin at even distances.
struct shift_jis_boundaries {
    static constexpr bool is_single(unsigned b) { return b < 0x80 || is_half_width_kana_byte(b); }

    static bool after_whole_pairs(const uchar* p, core::offset_t offset) {
        core::offset_t run = 0;
        while (run < offset && !is_single(p[offset - run - 1]))
            ++run;
        return run % 2 == 0;
    }
    static bool starts_character(const uchar* p, core::offset_t offset) {
        const bool never_a_trail = p[offset] < 0x21 || p[offset] == 0x7F;
        return never_a_trail || after_whole_pairs(p, offset);
    }
    static bool ends_character(const uchar* p, core::offset_t offset) {
        return is_single(p[offset]) || !after_whole_pairs(p, offset);
    }
};

/// The last resort of both encoders: JIS X 0213, a base and its mark together where they compose.
constexpr core::encoded encode_shift_jisx0213(char32_t c, char32_t next) {
    if (const unsigned code = qzstr_shift_jisx0213_compose(c, next); code != 0) return composed(code);
    const unsigned code = qzstr_shift_jisx0213_from_ucs(c);
    return code != 0 ? core::pair(code) : core::unmappable();
}

} // namespace qzstr
