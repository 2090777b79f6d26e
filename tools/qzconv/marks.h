// What a flagged block is examined for: how many replacement characters, and whether the source was to blame.
#pragma once

#include <qzstr.h>

#include <string_view>

namespace qzconv {

/// Question marks and U+FFFD in text of a charset.
std::size_t count_replacement_marks(qzstr_charset_t charset, std::string_view text);

/// True when text holds a byte sequence that decodes to a replacement.
bool holds_undefined_bytes(qzstr_charset_t charset, std::string_view text);

} // namespace qzconv
