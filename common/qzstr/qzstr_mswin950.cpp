// Hong Kong text: CP950 with Big5-2003, HKSCS-1999 and HKSCS-2001.
#include "core/surface.h"
#include "standards/big5_text.h"

namespace qzstr::families {

using namespace core;

struct mswin950 : cp950_text<mswin950> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_mswin950", .count_char = 146, .to_ucs2 = 380};

    static constexpr unsigned hkscs2001_lead = 0x8C;

    template <form Form>
    static constexpr char32_t character(unsigned lead, std::uint32_t trail_index) {
        if (lead == hkscs2001_lead) {
            // KEPT: behind the last character of the row there is no user-defined area.
            if (trail_index > hkscs2001_last_trail_index) return replacement;
            const char32_t c = fitting<Form>(qzstr_hkscs2001_to_ucs4(lead, trail_index));
            if (c != no_character) return c;
        }
        return cp950_text::character<Form>(lead, trail_index);
    }

    template <form Form>
    static constexpr unsigned code(char32_t c) {
        const unsigned found = cp950_text::code<Form>(c);
        // KEPT: 16-bit units never reach HKSCS-2001, not even its characters of the BMP, which do decode.
        return found != 0 || Form != form::ucs4 ? found : qzstr_hkscs2001_from_ucs4(c);
    }

    static constexpr auto get_mswin950_str = qzstr_get_same_charset_str;
};

} // namespace qzstr::families

QZSTR_EXPORT(mswin950)
