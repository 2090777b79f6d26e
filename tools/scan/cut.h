// Cutting a text at a character boundary so that it fits. Charsets that refuse positions are measured through conversion.
#pragma once

#include <qzstr.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace qzscan {

/// The characters of a text as the charset's position slots see them.
class Characters {
public:
    Characters(qzstr_charset_t charset, std::string_view text);

    std::size_t count() const { return count_; }
    /// Bytes of the first `count` characters.
    std::size_t end_of(std::size_t count) const;
    /// The first `count` characters as a text of their own: ISO-2022-KR is brought back to its initial state.
    std::string first(std::size_t count) const;

private:
    qzstr_charset_t charset_;
    std::string_view text_;
    std::size_t count_ = 0;
    std::vector<std::size_t> ends_; ///< of ISO-2022-KR, which cannot be asked for them
    std::vector<bool> shifted_;     ///< whether Korean could go on after each of them
};

std::string cut_to_bytes(qzstr_charset_t charset, std::string_view text, std::size_t limit);
std::string cut_to_characters(qzstr_charset_t charset, std::string_view text, std::size_t limit);
std::string cut_to_columns(qzstr_charset_t charset, std::string_view text, std::size_t limit);
/// The longest text that takes at most `limit` bytes once it is converted.
std::string cut_to_converted_bytes(qzstr_charset_t charset, std::string_view text, qzstr_charset_t to,
                                   std::size_t limit);

/// Display columns of a text.
std::size_t columns(qzstr_charset_t charset, std::string_view text);

} // namespace qzscan
