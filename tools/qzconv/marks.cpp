#include "marks.h"

#include "catalogue.h"

#include <algorithm>
#include <string>

namespace qzconv {

namespace {

std::size_t count(std::string_view text, char byte) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), byte));
}

std::size_t count(std::string_view text, std::string_view pattern) {
    std::size_t found = 0;
    for (std::size_t at = 0; (at = text.find(pattern, at)) != std::string_view::npos; at += pattern.size())
        ++found;
    return found;
}

std::size_t count_units(std::string_view text) {
    std::size_t found = 0;
    for (std::size_t at = 0; at + 1 < text.size(); at += 2)
        found += (text[at] == 0 && text[at + 1] == '?') || (text[at] == '\xFF' && text[at + 1] == '\xFD');
    return found;
}

/// Between SO and SI the byte is half of a Korean character.
std::size_t count_unshifted(std::string_view text) {
    std::size_t found = 0;
    bool shifted = false;
    for (const char c : text) {
        if (c == 0x0E || c == 0x0F) shifted = c == 0x0E;
        found += c == '?' && !shifted;
    }
    return found;
}

} // namespace

std::size_t count_replacement_marks(qzstr_charset_t charset, std::string_view text) {
    switch (charset) {
    case QZSTR_CHARSET_UTF16:
        return count_units(text);
    case QZSTR_CHARSET_UTF8:
        return count(text, '?') + count(text, "\xEF\xBF\xBD");
    case QZSTR_CHARSET_GB18030:
        return count(text, '?') + count(text, "\x84\x31\xA4\x37");
    case QZSTR_CHARSET_ISO2022KR:
        return count_unshifted(text);
    case QZSTR_CHARSET_US8ICL:
        return count(text, '\x6F');
    default:
        return count(text, '?'); // 3F is no trail byte anywhere
    }
}

bool holds_undefined_bytes(qzstr_charset_t charset, std::string_view text) {
    if (charset == QZSTR_CHARSET_US8ICL) return false; // flags a question mark of the text like an undefined byte
    std::string window(16 * 1024, '\0');
    while (!text.empty()) {
        int read = 0, written = 0;
        const conv_status_t status =
            info(charset).qzstr_to_ucs4_fn(const_cast<char*>(text.data()), static_cast<int>(text.size()), window.data(),
                                           static_cast<int>(window.size()), &read, &written, 1);
        if (status & QZSTR_CONV_REPLACED) return true;
        if (read <= 0) break;
        text.remove_prefix(std::min(static_cast<std::size_t>(read), text.size()));
    }
    return false;
}

} // namespace qzconv
