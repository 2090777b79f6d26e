// GBK as CP936 has it: GB 2312 and its extensions, the Euro in one byte, user-defined areas by formula.
#include "core/letter_case.h"
#include "core/multibyte.h"
#include "core/surface.h"
#include "core/transcode.h"
#include "standards/gbk.h"

namespace qzstr::families {

using namespace core;

struct mswin936 : double_byte<mswin936>,
                  decoders<mswin936>,
                  encoders<mswin936>,
                  ascii_reduction<mswin936>,
                  letter_case<mswin936> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_mswin936"};

    static constexpr byte_set leads{byte_range{0x81, 0xFE}};
    /// FF is no lead, but takes the byte behind it along when it is replaced.
    static constexpr byte_set decode_leads{byte_range{0x81, 0xFF}};
    static constexpr unsigned euro_byte = 0x80;
    static constexpr char32_t euro = 0x20AC;
    // KEPT: the high half of a 32-bit unit is ignored, so U+10041 is stored as U+0041.
    static constexpr char32_t ucs4_mask = 0xFFFF;

    /// User-defined code points; those of rows 0xA1 and 0xA2 have the columns that GB 2312 leaves free.
    static constexpr std::uint16_t user_to_ucs2(unsigned lead, unsigned trail) {
        if (lead - 0xA1 < 2 && trail <= 0xA0 && gbk_trail_index(trail) != no_index)
            return gbk_user_columns_to_ucs2(lead, trail);
        return gbk_user_rows_to_ucs2(lead, trail);
    }

    static constexpr std::uint16_t user_from_ucs2(char32_t c) {
        if (c - gbk_user_columns_first > 0xE585 - gbk_user_columns_first) return gbk_user_rows_from_ucs2(c);
        // KEPT: 94 columns in a row where decoding has 96: what follows the first row comes back as another code.
        return gbk_user_columns_from_ucs2(c, 94);
    }

    template <form>
    static constexpr decoded decode(const uchar* p, offset_t left) {
        if (p[0] < 0x80) return one(p[0], 1);
        if (p[0] == euro_byte) return one(euro, 1);
        // KEPT: 0xFF costs two bytes like an invalid pair, so the read count may exceed the source by one.
        if (p[0] == 0xFF) return bad(2);
        if (left < 2) return cut();
        char32_t c = qzstr_gbk_to_ucs2(p[0], p[1]);
        if (c == no_character) c = user_to_ucs2(p[0], p[1]);
        return c != no_character ? one(c, 2) : bad(2);
    }

    template <form>
    static constexpr encoded encode(char32_t c, char32_t) {
        if (c < 0x80) return single(c);
        unsigned code = qzstr_gbk_from_ucs2(c);
        // KEPT: the small Roman numerals are decoded but not encoded, even where an array holds them.
        if (code == 0 && c - gbk_roman_first >= gbk_roman_count) code = qzstr_cp936ext_from_ucs2(c);
        if (code == 0) code = user_from_ucs2(c);
        if (code != 0) return pair(code);
        return c == euro ? single(euro_byte) : unmappable();
    }

    static constexpr recoded reduce(const uchar* p, offset_t left) {
        // KEPT: the Euro byte passes into ASCII text as it is.
        if (p[0] == euro_byte) return {{p[0]}, 1, 1, outcome::ok};
        return ascii_reduction::reduce(p, left);
    }

    static constexpr auto get_mswin936_str = qzstr_get_same_charset_str;

    static bool starts_character(const uchar* p, offset_t offset) {
        // KEPT: a byte that is no valid trail begins a character, even where counting takes it for a trail.
        if (p[offset] < 0x40 || p[offset] == 0x7F) return true;
        return walk_lands_on(leads, p, offset);
    }
    // KEPT: ending bytes go by the high bit alone, so a trail byte below 0x80 always ends a character.
    static bool ends_character(const uchar* p, offset_t offset) { return ends_even_high_run(p, offset); }
};

} // namespace qzstr::families

QZSTR_EXPORT(mswin936)
