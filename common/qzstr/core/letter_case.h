// Letter case in place. A family whose only letters are ASCII's supplies the steps over its characters; a family with
// letters of its own supplies `letters` (core/letter_case.h: ascii_letters shows the shape).
#pragma once

#include "core/ascii.h"
#include "core/contract.h"
#include "core/kernels.h"

#include <cstring>

namespace qzstr::core {

/// Only the letters of ASCII: what a byte below 0x80 becomes, and whether it continues a word.
struct ascii_letters {
    static uchar lower(uchar b) { return to_lower(b); }
    static uchar upper(uchar b) { return to_upper(b); }
    static bool in_word(uchar b) { return is_ascii(b) && is_alnum(b); }
    /// The same over n bytes that are all characters.
    static void lower_all(uchar* p, std::size_t n) { flip_letters('A', p, n); }
    static void upper_all(uchar* p, std::size_t n) { flip_letters('a', p, n); }
};

template <class Letters, class Step>
void init_cap(uchar* p, offset_t len, Step step) {
    bool at_word_start = true;
    for (offset_t at = 0; at < len;) {
        const offset_t size = step(p + at, len - at);
        const bool in_word = size == 1 && Letters::in_word(p[at]);
        if (in_word) p[at] = at_word_start ? Letters::upper(p[at]) : Letters::lower(p[at]);
        at_word_start = !in_word;
        at += size;
    }
}

/// Removes white space, upper-cases, writes a NUL behind the result.
template <class Letters, class Step>
void trim_upper(uchar* p, offset_t len, Step step) {
    offset_t kept = 0;
    for (offset_t at = 0; at < len;) {
        offset_t size = step(p + at, len - at);
        if (size > len - at) size = len - at;
        if (size > 1) {
            std::memmove(p + kept, p + at, static_cast<std::size_t>(size));
            kept += size;
        } else if (!is_space(p[at])) {
            p[kept++] = Letters::upper(p[at]);
        }
        at += size;
    }
    p[kept] = 0;
}

/// Whether every byte of F's text is a character.
template <class F>
concept single_byte_text = requires {
    F::single_byte_text;
};

/// The case slot of a family: letters of one byte, over whatever is longer. Of a family with longer characters only ASCII's
/// change, by F's `flip_case`.
template <class F, class Letters = ascii_letters>
struct letter_case {
    static void convert_case(qzstr_case_t case_type, char* str, int str_len) {
        const auto step = [](const uchar* p, offset_t left) { return F::case_step(p, left); };
        uchar* const p = bytes(str);
        const offset_t len = at_least_0(str_len);
        switch (case_type) {
        case QZSTR_CASE_LOWER:
            if constexpr (single_byte_text<F>)
                return Letters::lower_all(p, static_cast<std::size_t>(len));
            else
                return F::flip_case('A', p, len);
        case QZSTR_CASE_UPPER:
            if constexpr (single_byte_text<F>)
                return Letters::upper_all(p, static_cast<std::size_t>(len));
            else
                return F::flip_case('a', p, len);
        case QZSTR_CASE_INITCAP:
            return init_cap<Letters>(p, len, step);
        case QZSTR_CASE_TRIM_UPPER:
            return trim_upper<Letters>(p, len, step);
        default:
            require(false, "false", F::where.source, F::where.convert_case);
        }
    }
};

} // namespace qzstr::core
