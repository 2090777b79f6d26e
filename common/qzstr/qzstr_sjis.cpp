// Shift-JIS: JIS X 0201 (Roman letters with the yen sign and the overline, half-width katakana) in one byte, JIS X 0208,
// a user-defined area and what JIS X 0213 adds in two.
#include "core/letter_case.h"
#include "core/multibyte.h"
#include "core/surface.h"
#include "core/transcode.h"
#include "standards/shift_jis_rules.h"

namespace qzstr::families {

using namespace core;

struct sjis : double_byte<sjis>,
              shift_jis_boundaries,
              shift_jis_rules,
              shift_jis_decoding<sjis>,
              decoders<sjis>,
              shift_jis_marks,
              encoders<sjis>,
              ascii_reduction<sjis>,
              letter_case<sjis> {
    static constexpr diagnostics where{
        .source = "common/qzstr/qzstr_sjis", .is_char_leading_byte = 273, .to_ucs2 = 462};

    using shift_jis_boundaries::ends_character;
    using shift_jis_boundaries::starts_character;

    // KEPT: leads that only JIS X 0213 uses (EB to EF, FA to FC) count as one byte, though the decoder takes two.
    static constexpr byte_set leads{byte_range{0x81, 0x9F}, byte_range{0xE0, 0xEA}, byte_range{0xF0, 0xF9}};
    static constexpr char32_t ucs4_mask = 0xFFFFFFFF;

    template <form>
    static constexpr encoded encode(char32_t c, char32_t next) {
        // KEPT: backslash and tilde pass unchanged, though the decoder reads these bytes as yen sign and overline.
        if (c == 0x5C || c == 0x7E) return single(c);
        if (is_half_width_kana(c)) return single(c - half_width_kana_offset);
        encoded e = encode_wide(c, next);
        // KEPT: all others ask for two bytes of room, also those that take one.
        e.room = 2;
        return e;
    }

    // KEPT: the yen sign and the overline are no ASCII, so 5C and 7E become "?".
    static constexpr recoded reduce(const uchar* p, offset_t left) {
        if (p[0] == 0x5C || p[0] == 0x7E) return {{'?'}, 1, 1, outcome::bad};
        return ascii_reduction::reduce(p, left);
    }

    static constexpr auto get_sjis_str = qzstr_get_same_charset_str;

private:
    static constexpr encoded encode_wide(char32_t c, char32_t next) {
        const unsigned code = qzstr_shift_jisx0208_from_ucs2(c);
        if (code != 0 && !qzstr_sjis_x0213_chk_ucs(c)) return pair(code);
        if (const unsigned user = shift_jis_user_from_ucs2(c); user != 0) return pair(user);
        switch (c) { // what other tables give for JIS X 0208's dash, wave dash, double bar and minus
        case 0x2015:
            return pair(0x815C);
        case 0xFF5E:
            return pair(0x8160);
        case 0x2225:
            return pair(0x8161);
        case 0xFF0D:
            return pair(0x817C);
        case 0xA5:
            return single(0x5C);
        case 0x203E:
            return single(0x7E);
        }
        return c < 0x80 ? single(c) : encode_shift_jisx0213(c, next);
    }
};

} // namespace qzstr::families

QZSTR_EXPORT(sjis)
