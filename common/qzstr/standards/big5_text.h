// Text in the byte scheme of Big5: what Big5, CP950 and HKSCS text have in common.
#pragma once

#include "core/letter_case.h"
#include "core/multibyte.h"
#include "core/transcode.h"
#include "standards/big5.h"
#include "standards/big5_2003.h"
#include "standards/cp950.h"
#include "standards/hkscs.h"

namespace qzstr {

/// From here to the end of lead 0xC7 the published Big5 tables do not count: vendors disagree about these rows.
inline constexpr unsigned big5_disputed_first = 0xC6A1;
inline constexpr unsigned big5_disputed_end = 0xC800;

/// Code point of a lead byte and a trail index: CP950's rows 0xA1 and 0xA2, Big5, the Euro sign; `no_character` for others.
constexpr char32_t big5_text_to_ucs2(unsigned lead, std::uint32_t trail_index) {
    if (const char32_t c = qzstr_cp950_to_ucs2(lead, trail_index); c != no_character) return c;
    const unsigned code = lead << 8 | big5_trail(trail_index);
    if (code == 0xA3E1) return 0x20AC;
    return code - big5_disputed_first < big5_disputed_end - big5_disputed_first ? no_character
                                                                                : qzstr_big5_to_ucs2(lead, trail_index);
}

/// The two bytes, 0 for others.
constexpr unsigned big5_text_from_ucs2(char32_t c) {
    if (const unsigned fixed = qzstr_cp950_fixed_from_ucs2(c); fixed != 0) return fixed;
    const unsigned code = qzstr_big5_from_ucs2(c);
    return code - big5_disputed_first < big5_disputed_end - big5_disputed_first ? 0 : code;
}

/// A family in this byte scheme. F supplies `decode`, `encode`, `ucs4_mask` and `where`.
template <class F>
struct big5_text : core::double_byte<F>,
                   core::decoders<F>,
                   core::encoders<F>,
                   core::ascii_reduction<F>,
                   core::letter_case<F> {
    // KEPT: 0xC7 and 0xC8 are counted as characters of one byte, but decoded as leads.
    static constexpr core::byte_set leads{core::byte_range{0x81, 0xC6}, core::byte_range{0xC9, 0xFE}};
    static constexpr core::byte_set decode_leads{core::byte_range{0x81, 0xFE}};

    static constexpr core::recoded reduce(const uchar* p, core::offset_t left) {
        // KEPT: a high byte that is no lead is never consumed; its "?" fills the target.
        if (p[0] >= 0x80 && !leads.contains(p[0])) return {{'?'}, 1, 0, core::outcome::bad};
        return core::ascii_reduction<F>::reduce(p, left);
    }

    static bool starts_character(const uchar* p, core::offset_t offset) {
        // KEPT: a byte that is no valid trail begins a character, even where counting takes it for a trail.
        return p[offset] < 0x40 || core::walk_lands_on(leads, p, offset);
    }
    // KEPT: ending bytes go by the high bit alone, so a trail byte below 0x80 always ends a character.
    static bool ends_character(const uchar* p, core::offset_t offset) { return core::ends_even_high_run(p, offset); }
};

/// CP950 with the additions of Big5-2003 and HKSCS-1999. A family with more hides `character` or `code`.
template <class F>
struct cp950_text : big5_text<F> {
    static constexpr char32_t ucs4_mask = 0xFFFFFFFF;

    template <core::form Form>
    static constexpr core::decoded decode(const uchar* p, core::offset_t left) {
        if (p[0] < 0x80) return core::one(p[0], 1);
        if (!cp950_text::decode_leads.contains(p[0])) return core::bad(1);
        if (left < 2) return core::cut();
        const std::uint32_t trail_index = big5_trail_index(p[1]);
        if (trail_index == no_index) return core::bad(1);
        const char32_t c = F::template character<Form>(p[0], trail_index);
        return c != core::replacement ? core::one(c, 2) : core::bad(2);
    }

    template <core::form Form>
    static constexpr core::encoded encode(char32_t c, char32_t) {
        if (c < 0x80) return core::single(c);
        const unsigned code = F::template code<Form>(c);
        return code != 0 ? core::pair(code) : core::unmappable();
    }

    /// A code whose character does not fit into the form goes on to the next stage, down to the user-defined areas.
    template <core::form Form>
    static constexpr char32_t fitting(char32_t c) {
        return Form == core::form::ucs4 ? c : hkscs_bmp_only(c);
    }

    template <core::form Form>
    static constexpr char32_t character(unsigned lead, std::uint32_t trail_index) {
        char32_t c = fitting<Form>(qzstr_hkscs1999_to_ucs4(lead, trail_index));
        if (c == no_character) c = big5_text_to_ucs2(lead, trail_index);
        if (c == no_character) c = qzstr_big5_2003_control_to_ucs2(lead, big5_trail(trail_index));
        if (c == no_character) c = qzstr_big5_2003_to_ucs2(lead, trail_index);
        if (c == no_character) c = big5_user_to_ucs2(lead, trail_index);
        return c;
    }

    template <core::form>
    static constexpr unsigned code(char32_t c) {
        unsigned found = big5_text_from_ucs2(c);
        if (found == 0) found = qzstr_cp950ext_from_ucs2(c);
        if (found == 0) found = qzstr_big5_2003_from_ucs2(c);
        if (found == 0) found = qzstr_hkscs1999_from_ucs4(c);
        if (found == 0) found = big5_user_from_ucs2(c);
        return found;
    }
};

} // namespace qzstr
