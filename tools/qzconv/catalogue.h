// The library's catalogue as the commands see it.
#pragma once

#include <qzstr.h>

#include <string>
#include <string_view>
#include <vector>

namespace qzconv {

inline const qzstr_charset_info_t& info(qzstr_charset_t charset) {
    return _charset_info[charset];
}

/// The charset of any name that the library's lookups know; a Failure that suggests near names otherwise.
qzstr_charset_t charset_named(std::string name);

/// Known names that look like `name`, nearest first, at most three.
std::vector<std::string> near_names(std::string_view name);

/// Positions, widths and counts work in every charset but these two, which only convert.
inline bool has_positions(qzstr_charset_t charset) {
    return charset != QZSTR_CHARSET_ISO2022KR && charset != QZSTR_CHARSET_US8ICL;
}

/// The charsets whose encoders join a mark with the character before it.
inline bool is_japanese(qzstr_charset_t charset) {
    return (charset >= QZSTR_CHARSET_SJIS && charset <= QZSTR_CHARSET_EUCJP_TILDE) ||
           charset == QZSTR_CHARSET_SJIS_TILDE;
}

/// Characters of a text in a charset with positions. The count of single-byte charsets ends at a NUL, this one does not.
inline std::size_t count_characters(qzstr_charset_t charset, std::string_view text) {
    if (info(charset).max_bytes_per_char == 1) return text.size();
    return static_cast<std::size_t>(
        info(charset).qzstr_count_char_fn(const_cast<char*>(text.data()), static_cast<int>(text.size())));
}

/// What ends a line. LF is no trail byte in any charset.
inline std::string_view line_feed(qzstr_charset_t charset) {
    if (charset == QZSTR_CHARSET_UTF16) return {"\0\n", 2};
    return charset == QZSTR_CHARSET_US8ICL ? "\x25" : "\n";
}

/// Offset of the first line feed, at a whole unit, or npos.
inline std::size_t find_line_feed(qzstr_charset_t charset, std::string_view text) {
    const std::string_view unit = line_feed(charset);
    std::size_t at = text.find(unit);
    while (at != std::string_view::npos && at % unit.size() != 0)
        at = text.find(unit, at + 1);
    return at;
}

} // namespace qzconv
