// What the library does with a charset, found by asking it: byte classes, and what does not survive a move to UTF-8 and
// back.
#pragma once

#include "qzstr.h"

#include <cstdint>
#include <string>
#include <vector>

namespace docgen {

/// Consecutive codes with consecutive code points: first and last of each.
struct CodeRun {
    std::string first_code, last_code;
    char32_t first, last;
    /// Where the character ends up instead: other bytes (the first code's), or none.
    std::string instead;
};

struct RoundTrip {
    /// Codes that decode to a character which the charset encodes as other bytes, or as "?".
    std::vector<CodeRun> other_code, decode_only;
    /// Characters that encode without a replacement to bytes which decode to another character.
    std::vector<CodeRun> other_character;
    std::size_t codes = 0, characters = 0; ///< that decode, that encode
};

/// Moves every code of the charset to UTF-8 and back, and every code point from UTF-8 there and back.
RoundTrip move_everything(int charset);

/// "00-7F one byte, 81-FE first of two bytes, ..." as counting sees them, or why there is none.
std::string byte_classes(int charset);

std::string hex(const std::string& bytes);

} // namespace docgen
