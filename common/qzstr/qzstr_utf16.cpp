// UTF-16, big-endian: characters of one unit, or of two where the first is a high surrogate. What follows a high
// surrogate is not looked at when text is walked.
#include "core/ascii.h"
#include "core/multibyte.h"
#include "core/surface.h"
#include "core/transcode.h"

namespace qzstr::families {

using namespace core;

namespace {

constexpr bool is_high_surrogate(char32_t c) {
    return c >> 10 == 0xD800 >> 10;
}
constexpr bool is_low_surrogate(char32_t c) {
    return c >> 10 == 0xDC00 >> 10;
}
/// The same of a unit's first byte.
constexpr bool leads_pair(unsigned b) {
    return (b & 0xFC) == 0xD8;
}
constexpr bool ends_pair(unsigned b) {
    return (b & 0xFC) == 0xDC;
}

constexpr offset_t even(offset_t n) {
    return n & ~offset_t{1};
}

/// From UTF-16 to UCS-4, by one-character rules.
// KEPT: here little-endian means both sides, although stored text is big-endian.
template <order Order>
struct reader {
    template <form>
    static decoded decode(const uchar* p, offset_t left) {
        if (left < 2) return cut();
        const char32_t c = load_unit<form::utf16, Order>(p);
        if (is_low_surrogate(c)) return bad(2);
        if (!is_high_surrogate(c)) return one(c, 2);
        if (left < 4) return cut();
        const char32_t low = load_unit<form::utf16, Order>(p + 2);
        return is_low_surrogate(low) ? one((c << 10) + low - 0x35FDC00, 4) : bad(4);
    }
    template <form Form, order>
    static moved decode_run(const uchar* src, std::size_t n, uchar* dst, std::size_t units) {
        return utf16_to_ucs4(layout_of<Form, Order>, src, n / 2, dst, units);
    }
};

} // namespace

struct utf16 : block_walks<utf16>, decoders<utf16>, encoders<utf16> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_utf16"};

    static constexpr char32_t ucs4_mask = 0xFFFFFFFF;

    static offset_t step(const uchar* p, offset_t) { return leads_pair(*p) ? 4 : 2; }
    static moved skip(const uchar* p, std::size_t n, std::size_t chars) { return skip_units(p, n, chars); }

    static constexpr encoded unit(char32_t c) { return pair(c >> 8, c & 0xFF); }

    // KEPT: what is no character becomes "?", not U+FFFD.
    template <form>
    static constexpr encoded encode(char32_t c, char32_t) {
        if (c >= 0x110000 || c >> 11 == 0xD800 >> 11) return {{0, '?'}, 2, 2, 1, outcome::bad};
        if (c < 0x10000) return unit(c);
        const char32_t high = 0xD7C0 + (c >> 10), low = 0xDC00 + (c & 0x3FF);
        return quad(high >> 8, high & 0xFF, low >> 8, low & 0xFF);
    }

    template <form Form, order Order>
    static moved encode_run(const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
        return ucs4_to_utf16(layout_of<Form, Order>, src, n, dst, room);
    }

    template <form Form, order Order>
    static conv_status_t decode_text(const uchar* src, offset_t len, uchar* dst, offset_t size, progress& at) {
        return decode<reader<Order>, Form, Order>(src, len, dst, size, at);
    }

    static conv_status_t to_ucs2(char* str, int str_len, char* ucs2, int ucs2_buf_size, int* read_len, int* write_len,
                                 uchar is_big_end) {
        if (!require_buffers(str, "str != NULL", ucs2, "ucs2 != NULL", write_len, where.source, 0))
            return report(exact, {}, read_len, write_len);
        return copy_units(str, str_len, ucs2, ucs2_buf_size, read_len, write_len, is_big_end);
    }
    static conv_status_t from_ucs2(char* ucs2, int ucs2_len, char* str, int str_buf_size, int* read_len, int* write_len,
                                   uchar is_big_end) {
        if (!require_buffers(str, "str != NULL", ucs2, "ucs2 != NULL", write_len, where.source, 0))
            return report(exact, {}, read_len, write_len);
        return copy_units(ucs2, ucs2_len, str, str_buf_size, read_len, write_len, is_big_end);
    }

    static constexpr auto get_utf16_str = qzstr_get_same_charset_str;
    static conv_status_t get_ascii_str QZSTR_CELL_PARAMETERS {
        return hand_over<qzstr_ascii_from_ucs2> QZSTR_CELL_ARGUMENTS;
    }
    static conv_status_t get_tcvn3_str QZSTR_CELL_PARAMETERS {
        return hand_over<qzstr_tcvn3_from_ucs2> QZSTR_CELL_ARGUMENTS;
    }
    static conv_status_t get_mswin1252_str QZSTR_CELL_PARAMETERS {
        return hand_over<qzstr_mswin1252_from_ucs2> QZSTR_CELL_ARGUMENTS;
    }
    static conv_status_t get_mswin950_str QZSTR_CELL_PARAMETERS {
        return hand_over<qzstr_mswin950_from_ucs2> QZSTR_CELL_ARGUMENTS;
    }
    static conv_status_t get_mswin1251_str QZSTR_CELL_PARAMETERS {
        return hand_over<qzstr_mswin1251_from_ucs2> QZSTR_CELL_ARGUMENTS;
    }

    // Boundaries: by the nearest leading byte at or before the offset, whatever leads a pair there.
    static bool starts_character(const uchar* p, offset_t offset) { return offset % 2 == 0 && !ends_pair(p[offset]); }
    static offset_t start_of(const uchar* p, offset_t offset) {
        offset = even(offset);
        while (offset > 0 && ends_pair(p[offset]))
            offset -= 2;
        return offset;
    }
    static bool ends_character(const uchar* p, offset_t offset) {
        const offset_t start = start_of(p, offset);
        return start + step(p + start, 0) - 1 == offset;
    }
    static int get_char_leading_byte(char* str, int byte_offset) {
        if (!has_offset(str, byte_offset, 0)) return at_least_0(byte_offset);
        return static_cast<int>(start_of(bytes(str), byte_offset));
    }
    static int get_char_ending_byte(char* str, int byte_offset, uchar is_ahead) {
        if (!has_offset(str, byte_offset, 0)) return byte_offset;
        const auto start = static_cast<int>(start_of(bytes(str), byte_offset));
        const int end = start + step(bytes(str) + start, 0) - 1;
        return is_ahead != 0 && end != byte_offset ? start - 1 : end;
    }

    static void get_byte_pos(char* str, int str_len, int char_cnt, int* start_pos, int* end_pos, int* real_char_cnt) {
        if (!has_positions(str, start_pos, end_pos)) return;
        const uchar* const p = bytes(str);
        const offset_t len = at_least_0(str_len);
        const moved passed =
            pass(p, static_cast<std::size_t>(len), len, static_cast<std::size_t>(at_least_0(char_cnt)), skip, step);
        const auto number = static_cast<offset_t>(passed.written);
        auto at = static_cast<offset_t>(passed.read);
        if (at > len) at = len;
        require(at > 0, "byte_offset >= 0", where.source, 0);
        // KEPT: the character is looked for from its last byte, so the second half of a false pair is found alone.
        char_position found{at > 0 ? start_of(p, at - 1) : 0, 0, number};
        if (len > 0) found.end = found.start + step(p + found.start, len - found.start);
        if (found.end > len) found.end = len;
        store_position(found, start_pos, end_pos, real_char_cnt);
    }

    // KEPT: width goes by units and their high byte: U+8000 and above take two columns, ideographs below one, a
    // surrogate pair four.
    static prefix fit(const uchar* p, offset_t len, offset_t limit) {
        const auto fast = [](const uchar* at, offset_t left, offset_t room) {
            return fit_units(at, static_cast<std::size_t>(even(left)), static_cast<std::size_t>(room));
        };
        return cut_by_blocks(
            p, len, limit, fast, [](const uchar*, offset_t) { return 2; },
            [](const uchar* unit) { return unit[0] >= 0x80 ? 2 : 1; });
    }

    static void convert_case(qzstr_case_t case_type, char* str, int str_len);

    static int get_first_trailing_space(char* str, int str_len) {
        const bool has_str = require(str != nullptr, "str != NULL", where.source, 0);
        const int len = at_least_0(str_len);
        if (!require(len % 2 == 0, "str_len % 2 == 0", where.source, 0) || !has_str) return -1;
        int start = len;
        while (start > 0 && load_unit<form::utf16, order::big>(bytes(str) + start - 2) == ' ')
            start -= 2;
        return start < len ? start : -1;
    }

    // KEPT: the byte at the offset and the one after it are tested, although the offset must end a character.
    static uchar isspace(char* str, int offset) {
        return is_char_ending_byte(str, offset) != 0 && str[offset] == 0 && is_space(bytes(str)[offset + 1]) ? 1 : 0;
    }

private:
    /// Both directions between UTF-16 and UCS-2.
    static conv_status_t copy_units(char* from, int from_len, char* to, int to_size, int* read_len, int* write_len,
                                    uchar is_big_end) {
        const int len = at_least_0(from_len), size = at_least_0(to_size);
        const offset_t n = even(len < size ? len : size);
        if (is_big_end != 0)
            std::memmove(to, from, static_cast<std::size_t>(n));
        else
            for (offset_t i = 0; i < n; i += 2)
                store_unit<form::ucs2, order::little>(bytes(to) + i,
                                                      load_unit<form::ucs2, order::big>(bytes(from) + i));
        return report(n < len ? stopped : exact, {n, n}, read_len, write_len);
    }

    /// UTF-16 is big-endian UCS-2 to a family that knows no surrogates.
    template <qzstr_from_ucs2_fn_t FromUcs2>
    static conv_status_t hand_over QZSTR_CELL_PARAMETERS {
        (void)from_charset;
        (void)to_charset;
        return FromUcs2(str, str_len, buf, buf_size, read_len, write_len, 1);
    }
};

namespace {

/// A unit of ASCII, which is all that has case here.
bool is_ascii_unit(const uchar* p) {
    return p[0] == 0 && p[1] < 0x80;
}

void init_cap(uchar* p, offset_t len) {
    bool at_word_start = true;
    for (uchar* const end = p + even(len); p != end; p += 2) {
        const bool in_word = is_ascii_unit(p) && is_alnum(p[1]);
        if (in_word) p[1] = at_word_start ? to_upper(p[1]) : to_lower(p[1]);
        at_word_start = !in_word;
    }
}

// KEPT: one zero byte ends the result, not a whole unit.
void trim_upper(uchar* p, offset_t len) {
    const uchar* const end = p + even(len);
    uchar* kept = p;
    for (; p != end; p += 2) {
        const bool ascii = is_ascii_unit(p);
        if (ascii && is_space(p[1])) continue;
        const uchar low = ascii ? to_upper(p[1]) : p[1];
        *kept++ = p[0];
        *kept++ = low;
    }
    *kept = 0;
}

} // namespace

void utf16::convert_case(qzstr_case_t case_type, char* str, int str_len) {
    uchar* const p = bytes(str);
    const offset_t len = at_least_0(str_len);
    const auto units = static_cast<std::size_t>(len / 2);
    switch (case_type) {
    case QZSTR_CASE_LOWER:
        return flip_letters_units('A', p, units);
    case QZSTR_CASE_UPPER:
        return flip_letters_units('a', p, units);
    case QZSTR_CASE_INITCAP:
        return init_cap(p, len);
    case QZSTR_CASE_TRIM_UPPER:
        return trim_upper(p, len);
    default:
        require(false, "false", where.source, where.convert_case);
    }
}

} // namespace qzstr::families

QZSTR_EXPORT(utf16)
