// US8ICL: an EBCDIC code page cut to the characters of ASCII. It converts; counting, positions, case and blanks refuse.
#include "core/single_byte.h"
#include "core/surface.h"
#include "tables/us8icl.h"

namespace qzstr::families {

using namespace core;

struct us8icl : decoders<us8icl>, encoders<us8icl>, ascii_reduction<us8icl> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_us8icl"};
    static constexpr char32_t ucs4_mask = 0xFFFFFFFF;
    static constexpr bool ascii_is_itself = false;
    static constexpr uchar question_mark = 0x6F;

    // KEPT: a question mark is reported as a replacement in both directions, also a genuine one.
    template <form>
    static constexpr decoded decode(const uchar* p, offset_t) {
        decoded d = one(tables::us8icl_2uni_page[p[0]], 1);
        if (d.unit[0] == '?') d.what = outcome::bad;
        return d;
    }
    template <form>
    static constexpr encoded encode(char32_t c, char32_t) {
        encoded e = single(c < 0x100 ? tables::us8icl_uni2idx_page[c] : question_mark);
        if (e.byte[0] == question_mark) e.what = outcome::bad;
        return e;
    }
    static recoded reduce(const uchar* p, offset_t) {
        const uchar b = tables::us8icl_2uni_page[p[0]];
        return {{b}, 1, 1, b == '?' ? outcome::bad : outcome::ok};
    }

    static void get_byte_pos(char* str, int str_len, int char_cnt, int* start_pos, int* end_pos, int* real_char_cnt) {
        const bool has_str = require(str != nullptr, "str != NULL", where.source, 0);
        const bool has_start = require(start_pos != nullptr, "start_pos != NULL", where.source, 0);
        const bool has_end = require(end_pos != nullptr, "end_pos != NULL", where.source, 0);
        const int len = has_str ? at_least_0(str_len) : 0, count = at_least_0(char_cnt);
        // KEPT: always the last byte, whichever character is asked for.
        if (has_start) *start_pos = len - 1;
        if (has_end) *end_pos = len - 1;
        if (real_char_cnt != nullptr) *real_char_cnt = len < count ? len : count;
    }

    static int count_char(char*, int) { return refused(__LINE__, "qzstr_us8icl_count_char"); }
    static int count_byte(char*, int) { return refused(__LINE__, "qzstr_us8icl_count_byte"); }
    static uchar is_char_leading_byte(char*, int) { return refused(__LINE__, "qzstr_us8icl_is_char_leading_byte"); }
    static int get_char_leading_byte(char*, int) { return refused(__LINE__, "qzstr_us8icl_get_char_leading_byte"); }
    static uchar is_char_ending_byte(char*, int) { return refused(__LINE__, "qzstr_us8icl_is_char_ending_byte"); }
    static int get_char_ending_byte(char*, int, uchar) {
        return refused(__LINE__, "qzstr_us8icl_get_char_ending_byte");
    }
    static void get_byte_pos_with_disp_size(char*, int, int, int*, int*, uchar*) {
        refused(__LINE__, "qzstr_us8icl_get_byte_pos_with_disp_size");
    }
    static void convert_case(qzstr_case_t, char*, int) { refused(__LINE__, "qzstr_us8icl_convert_case"); }
    static int get_first_trailing_space(char*, int) {
        return refused(__LINE__, "qzstr_us8icl_get_first_trailing_space");
    }
    static uchar isspace(char*, int) { return refused(__LINE__, "qzstr_us8icl_isspace"); }

    static constexpr auto get_us8icl_str = qzstr_get_same_charset_str;

private:
    static uchar refused(int line, const char* function) {
        refuse(where.source, line, function);
        return 0;
    }
};

} // namespace qzstr::families

QZSTR_EXPORT(us8icl)
