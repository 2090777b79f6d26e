// CP932: Shift-JIS with plain ASCII and the NEC and IBM extensions.
#include "core/letter_case.h"
#include "core/multibyte.h"
#include "core/surface.h"
#include "core/transcode.h"
#include "standards/shift_jis_rules.h"

namespace qzstr::families {

using namespace core;

struct mswin932 : double_byte<mswin932>,
                  shift_jis_boundaries,
                  cp932_rules,
                  shift_jis_decoding<mswin932>,
                  decoders<mswin932>,
                  shift_jis_marks,
                  encoders<mswin932>,
                  ascii_reduction<mswin932>,
                  letter_case<mswin932> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_mswin932"};

    using shift_jis_boundaries::ends_character;
    using shift_jis_boundaries::starts_character;

    // KEPT: FD to FF count as leads, though the decoder takes one byte; EB, EC and EF count as one, though it takes two.
    static constexpr byte_set leads{byte_range{0x81, 0x9F}, byte_range{0xE0, 0xEA}, byte_range{0xED, 0xEE},
                                    byte_range{0xF0, 0xFF}};
    static constexpr char32_t ucs4_mask = 0xFFFFFFFF;

    template <form>
    static constexpr encoded encode(char32_t c, char32_t next) {
        if (c < 0x80) return single(c);
        if (c == 0xA5) return single(0x5C);
        if (is_half_width_kana(c)) return single(c - half_width_kana_offset);
        encoded e = encode_wide(c, next);
        // KEPT: the "?" of a character without a code asks for two bytes of room as well.
        e.room = 2;
        return e;
    }

    static constexpr auto get_mswin932_str = qzstr_get_same_charset_str;

private:
    static constexpr encoded encode_wide(char32_t c, char32_t next) {
        if (const unsigned code = qzstr_shift_jisx0208_from_ucs2(c); code != 0) return pair(code);
        if (const unsigned code = qzstr_cp932ext_from_ucs2(c); code != 0) return pair(code);
        switch (c) { // what other tables give for JIS X 0208's wave dash, double bar and minus
        case 0xFF5E:
            return pair(0x8160);
        case 0x2225:
            return pair(0x8161);
        case 0xFF0D:
            return pair(0x817C);
        }
        if (const unsigned user = shift_jis_user_from_ucs2(c); user != 0) return pair(user);
        return encode_shift_jisx0213(c, next);
    }
};

} // namespace qzstr::families

QZSTR_EXPORT(mswin932)
