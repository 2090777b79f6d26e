// What ISO-2022-KR remembers from one character to the next, carried across the blocks of a text. The library keeps no
// state between calls, so a block that does not begin in the initial state is converted behind a prefix that makes it.
#pragma once

#include <qzstr.h>

#include <string>
#include <string_view>

namespace qzconv {

/// The state of ISO-2022-KR text that is read.
class SourceShift {
public:
    /// Bytes that bring a decoder into the state; they decode to nothing.
    std::string prefix() const;
    /// Moves on over text that ends outside an escape sequence. Outside those sequences every shift and escape byte
    /// acts as one, even between the two bytes of a character.
    void pass(std::string_view text);

private:
    bool designated_ = false, shifted_ = false;
};

/// The state of ISO-2022-KR text that is written.
class TargetShift {
public:
    explicit TargetShift(qzstr_charset_t from);
    /// Source text that brings an encoder into the state.
    std::string prefix() const;
    /// Source text to put behind a block that is not the last: what the encoder does then tells its state.
    std::string suffix() const { return korean_.empty() ? "" : blank_; }
    /// The part of `output` that belongs into the file: without what prefix and suffix gave. `ends_with_literal`: the
    /// block's last source character is itself U+000F.
    std::string_view pass(std::string_view output, bool ends_with_literal, bool at_end);
    /// What is still to be written when no text follows.
    std::string_view closing() const { return shifted_ ? "\x0F" : ""; }

private:
    std::string_view strip_prefix(std::string_view output) const;

    std::string korean_; ///< one character of the source charset that has a KS X 1001 code; empty: none has
    std::string blank_;  ///< one character of the source charset that has not
    bool announced_ = false, shifted_ = false;
};

} // namespace qzconv
