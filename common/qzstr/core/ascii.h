// ASCII rules that every family shares: letters, and the C library's classes of bytes below 0x80.
#pragma once

#include "core/contract.h"

#include <cctype>

namespace qzstr::core {

constexpr bool is_ascii(unsigned b) {
    return b < 0x80;
}
constexpr bool is_upper(unsigned b) {
    return b - 'A' < 26;
}
constexpr bool is_lower(unsigned b) {
    return b - 'a' < 26;
}
constexpr uchar to_lower(uchar b) {
    return is_upper(b) ? static_cast<uchar>(b + 0x20) : b;
}
constexpr uchar to_upper(uchar b) {
    return is_lower(b) ? static_cast<uchar>(b - 0x20) : b;
}

/// White space below 0x80: the same in every locale.
constexpr bool is_space(unsigned b) {
    return b == ' ' || b - '\t' < 5;
}

/// Letters and digits below 0x80; only for a control byte can a locale have another opinion.
inline bool is_alnum(unsigned b) {
    if (b - ' ' < 0x5F) return is_upper(b) || is_lower(b) || b - '0' < 10;
    return std::isalnum(static_cast<int>(b)) != 0;
}

} // namespace qzstr::core
