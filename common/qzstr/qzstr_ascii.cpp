// ASCII: every byte is a character. The reference for the operation contract.
#include "core/letter_case.h"
#include "core/single_byte.h"
#include "core/surface.h"
#include "core/transcode.h"
#include "tables/us8icl.h"

namespace qzstr::families {

using namespace core;

namespace {

// U+00C0 to U+017E folded to the letter of ASCII that they are written with, "?" where there is none.
constexpr char qz_latin_to_ascii[] = "AAA?A??CEEEEIIII??OOO?O??UUUUY??aaa?a??ceeeeiiii??ooo?o??uuuuy?y??AaAaCc????"
                                     "CcDdDd??????EeEe?????????????????????????"
                                     "????Ll??Ll??LlNn??Nn???????Oo??Rr??RrSs??SsSsTtTt????????UuUu???????ZzZzZz";
static_assert(sizeof qz_latin_to_ascii == 0x17E - 0xC0 + 1 + 1);

} // namespace

struct ascii : single_byte_positions<ascii>, decoders<ascii>, one_byte_encoders<ascii>, letter_case<ascii> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_ascii"};

    // KEPT: bytes above 7F pass as the code points of the same value.
    static constexpr bool widens = true;
    // KEPT: only the low half of a 32-bit unit is examined, so U+10041 is stored as "A".
    static constexpr char32_t ucs4_mask = 0xFFFF;
    static constexpr uchar substitute = '?';

    template <form>
    static constexpr decoded decode(const uchar* p, offset_t) {
        return one(p[0], 1);
    }

    template <form Form>
    static constexpr encoded encode(char32_t c, char32_t) {
        if (c < 0x80) return single(c);
        // KEPT: 32-bit units are not folded to letters, 16-bit ones are.
        if (Form == form::ucs4) return unmappable();
        // KEPT: U+0080 to U+00BF pass as raw bytes.
        if (c < 0xC0) return single(c);
        // KEPT: the "?" of the folding table is an answer, not a replacement.
        if (c < 0x17F) return single(static_cast<uchar>(qz_latin_to_ascii[c - 0xC0]));
        return unmappable();
    }

    /// The vector code's table is that of 16-bit units.
    template <form Form, order Order>
    static conv_status_t encode_text(const uchar* src, offset_t len, uchar* dst, offset_t size, progress& at) {
        if constexpr (Form == form::ucs4) return core::encode<ascii, Form, Order>(src, len, dst, size, at);
        return one_byte_encoders::encode_text<Form, Order>(src, len, dst, size, at);
    }

    static int count_char(char* str, int byte_cnt) {
        if (!require(str != nullptr, "str != NULL", where.source, 0)) return 0;
        return static_cast<int>(characters_before_nul(bytes(str), byte_cnt));
    }
    // KEPT: a negative count comes back unchanged.
    static int count_byte(char* str, int char_cnt) {
        return require(str != nullptr, "str != NULL", where.source, 0) ? char_cnt : 0;
    }

    static int get_first_trailing_space(char* str, int str_len) {
        if (str_len < 1) return -1;
        const auto blanks = static_cast<int>(trailing_run(bytes(str), static_cast<std::size_t>(str_len), ' '));
        return blanks == 0 ? -1 : str_len - blanks;
    }
    static uchar isspace(char* str, int offset) { return is_space(bytes(str)[offset]) ? 1 : 0; }

    static constexpr auto get_ascii_str = qzstr_get_same_charset_str;

    // KEPT: the result replaces the source in place and the target stays untouched; clients read it from there.
    static conv_status_t get_us8icl_str QZSTR_CELL_PARAMETERS {
        (void)from_charset;
        (void)to_charset;
        progress at;
        if (!require_buffers(str, "str != NULL", buf, "buf != NULL", write_len, where.source, 0))
            return report(exact, at, read_len, write_len);
        const offset_t len = at_least_0(str_len);
        const offset_t done = at_least_0(buf_size) < len ? at_least_0(buf_size) : len;
        conv_status_t status = done < len ? stopped : exact;
        for (uchar* p = bytes(str); p != bytes(str) + done; ++p) {
            *p = tables::us8icl_uni2idx_page[*p];
            if (*p == 0x6F) status |= replaced;
        }
        return report(status, {done, done}, read_len, write_len);
    }
};

} // namespace qzstr::families

QZSTR_EXPORT(ascii)
