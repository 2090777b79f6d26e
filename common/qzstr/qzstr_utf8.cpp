// UTF-8: characters of one to four bytes, whose length is told by their first byte alone.
#include "core/ascii.h"
#include "core/multibyte.h"
#include "core/surface.h"
#include "core/transcode.h"
#include "core/utf8_width.h"
#include "qzstr_stages.h"
#include "standards/utf8_letters.h"

namespace qzstr::families {

using namespace core;

namespace {

constexpr bool is_continuation(unsigned b) {
    return (b & 0xC0) == 0x80;
}

/// Length by class. Whatever leads nothing (80 to C1, F5 to FF) is a character of its own.
constexpr int length_of(unsigned lead) {
    if (lead < 0xC2 || lead > 0xF4) return 1;
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}
constexpr bool is_lead(unsigned b) {
    return b < 0x80 || length_of(b) > 1;
}

/// What the second byte may be after each lead: no overlong forms, no surrogates, nothing above U+10FFFF.
constexpr bool is_second(unsigned lead, unsigned b) {
    const unsigned first = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned last = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    return b >= first && b <= last;
}

} // namespace

struct utf8 : block_walks<utf8>, decoders<utf8>, encoders<utf8>, ascii_reduction<utf8> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_utf8"};

    static constexpr char32_t ucs4_mask = 0xFFFFFFFF;

    static offset_t step(const uchar* p, offset_t) { return length_of(*p); }

    // KEPT: a malformed sequence is replaced as a whole, by the length that its lead names.
    template <form Form>
    static constexpr decoded decode(const uchar* p, offset_t left) {
        if (p[0] < 0x80) return one(p[0], 1);
        const int length = length_of(p[0]);
        if (length == 1) return bad(1);
        if (left < length) return cut();
        // KEPT: characters beyond the BMP never reach UCS-2, whatever their bytes.
        if (Form == form::ucs2 && length == 4) return bad(4);
        if (!is_second(p[0], p[1])) return bad(length);
        char32_t c = (p[0] & (0x7FU >> length)) << 6 | (p[1] & 0x3F);
        for (int i = 2; i < length; ++i) {
            if (!is_continuation(p[i])) return bad(length);
            c = c << 6 | (p[i] & 0x3F);
        }
        return length == 4 ? supplementary<Form>(c, 4) : one(c, length);
    }

    // KEPT: surrogates get their three-byte form, and values above U+10FFFF four bytes of their low bits; nothing is
    // replaced in this direction.
    template <form>
    static constexpr encoded encode(char32_t c, char32_t) {
        const auto continuation = [c](int shift) { return 0x80U | (c >> shift & 0x3F); };
        if (c < 0x80) return single(c);
        if (c < 0x800) return pair(0xC0 | c >> 6, continuation(0));
        if (c < 0x10000) return triple(0xE0 | c >> 12, continuation(6), continuation(0));
        return quad(0xF0 | c >> 18, continuation(12), continuation(6), continuation(0));
    }

    /// The vector code takes malformed characters too, and leaves at most the end of the text or of the target.
    template <form Form, order Order>
    static conv_status_t decode_text(const uchar* src, offset_t len, uchar* dst, offset_t size, progress& at) {
        const auto n = static_cast<std::size_t>(len), units = static_cast<std::size_t>(size) / unit_size<Form>;
        const converted fast = Form == form::utf16 ? decode_utf8_to_utf16(src, n, dst, units)
                                                   : decode_utf8(layout_of<Form, Order>, src, n, dst, units, false);
        at = {static_cast<offset_t>(fast.read), static_cast<offset_t>(fast.written)};
        const conv_status_t status = fast.replaced ? replaced : exact;
        return at.read == len ? status : status | core::decode<utf8, Form, Order>(src, len, dst, size, at);
    }
    template <form Form, order Order>
    static moved encode_run(const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
        return encode_utf8(layout_of<Form, Order>, src, n, dst, room);
    }

    static constexpr auto get_utf8_str = qzstr_get_same_charset_str;

    static moved skip(const uchar* p, std::size_t n, std::size_t chars) { return skip_utf8(p, n, chars); }

    // Boundaries: by the nearest leading byte at or before the offset, however far it is.
    static bool starts_character(const uchar* p, offset_t offset) { return is_lead(p[offset]); }
    static offset_t start_of(const uchar* p, offset_t offset) {
        while (offset > 0 && !is_lead(p[offset]))
            --offset;
        return offset;
    }
    static bool ends_character(const uchar* p, offset_t offset) {
        const offset_t start = start_of(p, offset);
        return start + length_of(p[start]) - 1 == offset;
    }
    static int get_char_leading_byte(char* str, int byte_offset) {
        if (!has_offset(str, byte_offset, 0)) return at_least_0(byte_offset);
        return static_cast<int>(start_of(bytes(str), byte_offset));
    }
    static int get_char_ending_byte(char* str, int byte_offset, uchar is_ahead) {
        if (!has_offset(str, byte_offset, 0)) return byte_offset;
        const auto start = static_cast<int>(start_of(bytes(str), byte_offset));
        const int length = length_of(bytes(str)[start]);
        const int end = start + length - 1;
        // KEPT: a stray byte ends its own character, but seen forward it belongs to the multibyte one before it.
        if (length == 1 || (is_ahead != 0 && byte_offset >= end)) return byte_offset;
        return is_ahead != 0 ? start - 1 : end;
    }

    // KEPT: near the end of the text a stray byte takes two or three bytes, where the walks of the other slots take one.
    static offset_t pos_step(const uchar* p, offset_t left) {
        const offset_t length = length_of(*p);
        const bool stray = !is_lead(*p);
        if (stray && left <= 3) return left;
        return length < left ? length : left;
    }
    static char_position find(const uchar* p, offset_t len, offset_t n) {
        char_position at = block_walks::find(p, len, n);
        // KEPT: asked for as such, a stray byte with three more behind it ends with the text; walked over, it is one byte.
        if (at.number == n && !is_lead(p[at.start]) && len - at.start == 4) at.end = len;
        return at;
    }

    // KEPT: only characters of three bytes can be wide; ideographs of four bytes take one column.
    static int columns(const uchar* p) { return p[0] >= 0xE1 && p[0] <= 0xEF ? 1 + is_wide_triple(p) : 1; }

    static prefix fit(const uchar* p, offset_t len, offset_t limit) {
        const auto fast = [](const uchar* at, offset_t left, offset_t room) {
            return fit_utf8(at, static_cast<std::size_t>(left), static_cast<std::size_t>(room));
        };
        return cut_by_blocks(p, len, limit, fast, step, columns);
    }

    static void convert_case(qzstr_case_t case_type, char* str, int str_len);
};

namespace {

enum class letter_change { lower, upper };

/// Changes the whole character at p in place; its length stays.
template <letter_change To>
void change(uchar* p, int length) {
    if (length == 1)
        *p = To == letter_change::lower ? to_lower(*p) : to_upper(*p);
    else if constexpr (To == letter_change::lower)
        change_letter(utf8_to_lower, p, length);
    else
        change_letter(utf8_to_upper, p, length);
}

/// Runs `each(p, length)` over the characters that begin in the first n bytes; where the next one begins. One that the end
/// cuts is left alone.
template <class Each>
offset_t each_character(uchar* p, offset_t n, offset_t len, Each each) {
    offset_t at = 0;
    while (at < n) {
        const int length = length_of(p[at]);
        if (length > len - at) return len;
        each(p + at, length);
        at += length;
    }
    return at;
}

template <letter_change To>
void change_all(uchar* p, offset_t len) {
    constexpr bool lower = To == letter_change::lower;
    for (offset_t at = 0; at < len;) {
        at += static_cast<offset_t>(change_letters_utf8(lower ? utf8_to_lower : utf8_to_upper, lower ? 'A' : 'a',
                                                        p + at, static_cast<std::size_t>(len - at)));
        at += each_character(p + at, len - at < 64 ? len - at : 64, len - at, change<To>);
    }
}

/// Every multibyte character continues a word.
void init_cap(uchar* p, offset_t len) {
    bool at_word_start = true;
    each_character(p, len, len, [&at_word_start](uchar* c, int length) {
        const bool in_word = length > 1 || (is_ascii(*c) && is_alnum(*c));
        if (in_word) at_word_start ? change<letter_change::upper>(c, length) : change<letter_change::lower>(c, length);
        at_word_start = !in_word;
    });
}

void trim_upper(uchar* p, offset_t len) {
    offset_t kept = 0;
    for (offset_t at = 0; at < len;) {
        const int length = length_of(p[at]);
        const bool whole = length <= len - at;
        const int size = whole ? length : static_cast<int>(len - at);
        if (!is_space(p[at])) {
            std::memmove(p + kept, p + at, static_cast<std::size_t>(size));
            if (whole) change<letter_change::upper>(p + kept, length);
            kept += size;
        }
        at += size;
    }
    p[kept] = 0;
}

} // namespace

void utf8::convert_case(qzstr_case_t case_type, char* str, int str_len) {
    uchar* const p = bytes(str);
    const offset_t len = at_least_0(str_len);
    switch (case_type) {
    case QZSTR_CASE_LOWER:
        return change_all<letter_change::lower>(p, len);
    case QZSTR_CASE_UPPER:
        return change_all<letter_change::upper>(p, len);
    case QZSTR_CASE_INITCAP:
        return init_cap(p, len);
    case QZSTR_CASE_TRIM_UPPER:
        return trim_upper(p, len);
    default:
        require(false, "false", where.source, where.convert_case);
    }
}

} // namespace qzstr::families

conv_status_t qzstr::finish_utf8_to_utf16(const uchar* src, core::offset_t len, uchar* dst, core::offset_t size,
                                          core::progress& at) {
    return core::decode<families::utf8, core::form::utf16, core::order::big>(src, len, dst, size, at);
}

QZSTR_EXPORT(utf8)

uchar qzstr_calc_utf8_disp_size(char* str) {
    return qzstr::core::is_wide_triple(qzstr::core::bytes(str)) ? 2 : 1;
}
