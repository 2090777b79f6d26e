// US8ICL: an EBCDIC code page cut to the characters of ASCII. It converts; counting, positions, case and blanks refuse.
#include "core/single_byte.h"
#include "core/surface.h"
#include "tables/us8icl.h"

namespace qzstr::families {

using namespace core;

constexpr uchar to_ascii(uchar b) {
    return tables::us8icl_2uni_page[b];
}

struct us8icl : decoders<us8icl>, one_byte_encoders<us8icl> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_us8icl"};
    static constexpr uchar substitute = 0x6F;

    // KEPT: a question mark is reported as a replacement in both directions, also a genuine one.
    static conv_status_t reduce(const uchar* src, std::size_t n, uchar* ascii) {
        map_bytes(byte_map_of<to_ascii>, src, n, ascii);
        return run_before(ascii, n, '?') < n ? replaced : exact;
    }
    template <form>
    static constexpr encoded encode(char32_t c, char32_t) {
        const uchar byte = c < 0x100 ? tables::us8icl_uni2idx_page[c] : substitute;
        return {{byte}, 1, 1, 1, byte == substitute ? outcome::bad : outcome::ok};
    }

    template <form Form, order Order>
    static conv_status_t decode_text(const uchar* src, offset_t len, uchar* dst, offset_t size, progress& at) {
        constexpr offset_t unit = unit_size<Form>;
        const offset_t room = size / unit;
        const offset_t n = room < len ? room : len;
        conv_status_t status = n < len ? stopped : exact;
        uchar ascii[256];
        while (at.read < n) {
            const offset_t block = n - at.read < offset_t{sizeof ascii} ? n - at.read : offset_t{sizeof ascii};
            status |= reduce(src + at.read, static_cast<std::size_t>(block), ascii);
            widen_bytes(layout_of<Form, Order>, ascii, static_cast<std::size_t>(block), dst + at.written);
            at.read += block;
            at.written += block * unit;
        }
        return status;
    }

    static conv_status_t get_ascii_str QZSTR_CELL_PARAMETERS {
        (void)from_charset;
        (void)to_charset;
        if (!require_buffers(str, "str != NULL", buf, "buf != NULL", write_len, where.source, 0))
            return report(exact, {}, read_len, write_len);
        const int len = at_least_0(str_len), room = at_least_0(buf_size);
        const int n = room < len ? room : len;
        const conv_status_t status = reduce(bytes(str), static_cast<std::size_t>(n), bytes(buf));
        return report(n < len ? status | stopped : status, {n, n}, read_len, write_len);
    }

    static void get_byte_pos(char* str, int str_len, int char_cnt, int* start_pos, int* end_pos, int* real_char_cnt) {
        const bool has_str = require(str != nullptr, "str != NULL", where.source, 0);
        const bool has_start = require(start_pos != nullptr, "start_pos != NULL", where.source, 0);
        const bool has_end = require(end_pos != nullptr, "end_pos != NULL", where.source, 0);
        const int len = has_str && has_start && has_end ? at_least_0(str_len) : 0, count = at_least_0(char_cnt);
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
