// Big5 with CP950's reading of rows 0xA1 and 0xA2, the Euro sign and the user-defined areas.
#include "core/surface.h"
#include "standards/big5_text.h"

namespace qzstr::families {

using namespace core;

struct zht16big5 : big5_text<zht16big5> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_zht16big5"};

    // KEPT: the high half of a 32-bit unit is ignored, so U+10041 is stored as U+0041.
    static constexpr char32_t ucs4_mask = 0xFFFF;

    template <form Form>
    static constexpr decoded invalid_pair() {
        if constexpr (Form == form::ucs4) return bad(2);
        // KEPT: in 16-bit units an invalid pair takes the byte after it along, and is two replacements.
        return {{replacement, replacement}, 2, 3, outcome::bad};
    }

    template <form Form>
    static constexpr decoded decode(const uchar* p, offset_t left) {
        if (p[0] < 0x80) return one(p[0], 1);
        if (!decode_leads.contains(p[0])) return bad(1);
        if (left < 2) return cut();
        const std::uint32_t trail_index = big5_trail_index(p[1]);
        if (trail_index == no_index) return invalid_pair<Form>();
        char32_t c = big5_text_to_ucs2(p[0], trail_index);
        if (c == no_character) c = big5_user_to_ucs2(p[0], trail_index);
        return c != no_character ? one(c, 2) : invalid_pair<Form>();
    }

    template <form>
    static constexpr encoded encode(char32_t c, char32_t) {
        if (c < 0x80) return single(c);
        unsigned code = big5_text_from_ucs2(c);
        if (code == 0) code = big5_user_from_ucs2(c);
        return code != 0 ? pair(code) : unmappable();
    }

    static constexpr auto get_zht16big5_str = qzstr_get_same_charset_str;
};

} // namespace qzstr::families

QZSTR_EXPORT(zht16big5)
