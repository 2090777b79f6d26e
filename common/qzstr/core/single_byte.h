// Charsets where every byte is a character of one column: positions, and the conversions and letters of a code page.
#pragma once

#include "core/ascii.h"
#include "core/contract.h"
#include "core/kernels.h"
#include "core/paged.h"
#include "core/transcode.h"

namespace qzstr::core {

/// Number of bytes before the first NUL: a NUL ends the count of a single-byte text.
inline offset_t characters_before_nul(const uchar* p, int len) {
    return static_cast<offset_t>(run_before(p, static_cast<std::size_t>(at_least_0(len)), 0));
}

/// The position slots of a single-byte family F.
template <class F>
struct single_byte_positions {
    static constexpr bool single_byte_text = true;

    // KEPT: a NUL ends the count, where the family has no count of its own.
    static int count_char(char* str, int byte_cnt) {
        if (!require(str != nullptr, "str != NULL", F::where.source, F::where.count_char)) return 0;
        if (!require(byte_cnt >= 0, "byte_cnt >= 0", F::where.source, nth(F::where.count_char, 1))) return 0;
        return static_cast<int>(characters_before_nul(bytes(str), byte_cnt));
    }
    static int count_byte(char* str, int char_cnt) {
        if (!require(str != nullptr, "str != NULL", F::where.source, F::where.count_byte)) return 0;
        return require(char_cnt >= 0, "char_cnt >= 0", F::where.source, nth(F::where.count_byte, 1)) ? char_cnt : 0;
    }
    static uchar is_char_leading_byte(char* str, int byte_offset) {
        check_offset(str, byte_offset);
        return 1;
    }
    static int get_char_leading_byte(char* str, int byte_offset) {
        check_offset(str, byte_offset);
        return byte_offset;
    }
    static uchar is_char_ending_byte(char* str, int byte_offset) {
        check_offset(str, byte_offset);
        return 1;
    }
    static int get_char_ending_byte(char* str, int byte_offset, uchar) {
        check_offset(str, byte_offset);
        return byte_offset;
    }
    static void get_byte_pos(char* str, int str_len, int char_cnt, int* start_pos, int* end_pos, int* real_char_cnt) {
        const bool has_str = require(str != nullptr, "str != NULL", F::where.source, 0);
        const bool has_start = require(start_pos != nullptr, "start_pos != NULL", F::where.source, 0);
        const bool has_end = require(end_pos != nullptr, "end_pos != NULL", F::where.source, 0);
        const bool counts = has_str && has_start && has_end;
        const int number = counts ? at_least_0(str_len < char_cnt ? str_len : char_cnt) : 0;
        if (has_start) *start_pos = number - 1;
        if (has_end) *end_pos = number - 1;
        if (real_char_cnt != nullptr) *real_char_cnt = number;
    }
    static void get_byte_pos_with_disp_size(char*, int byte_len, int dis_size, int* byte_pos, int* real_dis_size,
                                            uchar* disp_size_is_less) {
        const int len = at_least_0(byte_len), columns = at_least_0(dis_size);
        *disp_size_is_less = len >= columns ? 1 : 0;
        *byte_pos = *real_dis_size = len >= columns ? columns : len;
    }
    static offset_t case_step(const uchar*, offset_t) { return 1; }

private:
    static void check_offset(const char* str, int byte_offset) {
        require(str != nullptr, "str != NULL", F::where.source, 0);
        require(byte_offset >= 0, "byte_offset >= 0", F::where.source, 0);
    }
};

template <uchar (*Rule)(uchar)>
consteval byte_map make_byte_map() {
    byte_map map{};
    for (unsigned b = 0; b < 256; ++b)
        map.to[b] = Rule(static_cast<uchar>(b));
    return map;
}
template <uchar (*Rule)(uchar)>
inline constexpr byte_map byte_map_of = make_byte_map<Rule>();

template <class F>
consteval byte_decoding make_byte_decoding() {
    byte_decoding plan{};
    for (unsigned b = 0; b < 256; ++b) {
        const uchar byte = static_cast<uchar>(b);
        const char32_t c = F::template decode<form::ucs2>(&byte, 1).unit[0];
        plan.unit[b] = static_cast<std::uint16_t>(c);
        plan.utf8[b] = c < 0x80    ? c | 1 << 24
                       : c < 0x800 ? (c >> 6 | (c & 0x3F) << 8 | 0x80C0) | 2 << 24
                                   : (c >> 12 | (c & 0xFC0) << 2 | (c & 0x3F) << 16 | 0x8080E0) | 3 << 24;
        if (b < 0x80) continue;
        plan.low[b - 0x80] = static_cast<uchar>(plan.unit[b]);
        plan.high[b - 0x80] = static_cast<uchar>(plan.unit[b] >> 8);
    }
    return plan;
}
template <class F>
inline constexpr byte_decoding byte_decoding_of = make_byte_decoding<F>();

template <class F>
consteval byte_encoding make_byte_encoding() {
    const auto& pages = encode_pages_of<F, uchar>;
    byte_encoding plan{pages.page, pages.cell, F::substitute, true};
    for (unsigned c = 0; c < 0x80; ++c)
        plan.over_ascii = plan.over_ascii && plan.cell[plan.page[0] + c] == c;
    return plan;
}
template <class F>
inline constexpr byte_encoding byte_encoding_of = make_byte_encoding<F>();

/// Encoders for a family that makes one byte of every unit: nothing stops them but an end.
template <class F>
struct one_byte_encoders : encoders<F> {
    static constexpr char32_t ucs4_mask = 0xFFFFFFFF;

    static constexpr const byte_encoding* to_bytes() { return &byte_encoding_of<F>; }

    template <form Form, order Order>
    static conv_status_t encode_text(const uchar* src, offset_t len, uchar* dst, offset_t size, progress& at) {
        const offset_t units = len / unit_size<Form>;
        const offset_t n = units < size ? units : size;
        const encoded_bytes e =
            encode_bytes(byte_encoding_of<F>, layout_of<Form, Order>, src, static_cast<std::size_t>(n), dst);
        if (e.units == 0) return core::encode<F, Form, Order>(src, len, dst, size, at);
        at = {n * unit_size<Form>, n};
        return (e.replaced ? replaced : exact) | (at.read < len ? stopped : exact);
    }
};

/// A code page over ASCII. F supplies `to_unicode`, the code points of 0x80 to 0xFF, and `from_unicode`, the pages of
/// bytes for code points from U+0080 on (0: none), or its own one-character rules.
template <class F>
struct code_page : single_byte_positions<F>, decoders<F>, one_byte_encoders<F> {
    static constexpr uchar substitute = '?';

    // KEPT: an undefined byte becomes U+FFFD without a flag.
    template <form>
    static constexpr decoded decode(const uchar* p, offset_t) {
        return one(p[0] < 0x80 ? p[0] : F::to_unicode[p[0] - 0x80], 1);
    }

    template <form>
    static constexpr encoded encode(char32_t c, char32_t) {
        if (c < 0x80) return single(c);
        const unsigned byte = page_entry<F::from_unicode>(c, uchar{0});
        return byte != 0 ? single(byte) : unmappable();
    }

    static constexpr const byte_decoding* from_bytes() { return &byte_decoding_of<F>; }

    template <form Form, order Order>
    static conv_status_t decode_text(const uchar* src, offset_t len, uchar* dst, offset_t size, progress& at) {
        const offset_t room = size / unit_size<Form>;
        const offset_t n = room < len ? room : len;
        const std::size_t done =
            decode_bytes(byte_decoding_of<F>, layout_of<Form, Order>, src, static_cast<std::size_t>(n), dst);
        if (done == 0) return core::decode<F, Form, Order>(src, len, dst, size, at);
        at = {n, n * unit_size<Form>};
        return n < len ? stopped : exact;
    }

    static conv_status_t get_ascii_str QZSTR_CELL_PARAMETERS {
        (void)from_charset;
        (void)to_charset;
        if (!require_buffers(str, "str != NULL", buf, "buf != NULL", write_len, F::where.source, 0))
            return report(exact, {}, read_len, write_len);
        const int len = at_least_0(str_len), room = at_least_0(buf_size);
        const int done = room < len ? room : len;
        const auto n = static_cast<std::size_t>(done);
        const std::size_t ascii = copy_ascii(bytes(str), n, bytes(buf));
        map_bytes(byte_map_of<or_question_mark>, bytes(str) + ascii, n - ascii, bytes(buf) + ascii);
        return report((done < len ? stopped : exact) | (ascii < n ? replaced : exact), {done, done}, read_len,
                      write_len);
    }

    static uchar isspace(char* str, int offset) { return qzstr_ascii_isspace(str, offset); }

private:
    static constexpr uchar or_question_mark(uchar b) { return is_ascii(b) ? b : '?'; }
};

/// The letters of a code page: F's `lower_case` and `upper_case` of 0x80 to 0xFF, and `letters`, which tells them among
/// 0x80 to 0xBF.
template <class F>
struct page_letters {
    static constexpr uchar lower(uchar b) { return is_ascii(b) ? to_lower(b) : F::lower_case[b - 0x80]; }
    static constexpr uchar upper(uchar b) { return is_ascii(b) ? to_upper(b) : F::upper_case[b - 0x80]; }
    // KEPT: every byte from 0xC0 up continues a word, the multiplication sign and box drawing too.
    static bool in_word(uchar b) { return is_ascii(b) ? is_alnum(b) : b >= 0xC0 || F::letters[b - 0x80] != 0; }
    static void lower_all(uchar* p, std::size_t n) { map_bytes(byte_map_of<lower>, p, n, p); }
    static void upper_all(uchar* p, std::size_t n) { map_bytes(byte_map_of<upper>, p, n, p); }
};

} // namespace qzstr::core
