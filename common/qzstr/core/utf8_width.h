// The display width of UTF-8 characters.
#pragma once

#include "core/contract.h"

namespace qzstr::core {

/// Characters of three bytes that take two columns, as ranges of their bytes.
inline constexpr struct {
    std::uint32_t first, last;
} wide_triples[] = {{0xE18480, 0xE1859F}, {0xE28CA9, 0xE28CAA}, {0xE2BA80, 0xE380BE}, {0xE380C0, 0xEA938F},
                    {0xEAB080, 0xED9EA3}, {0xEFA480, 0xEFABBF}, {0xEFB890, 0xEFB899}, {0xEFB8B0, 0xEFB9AF},
                    {0xEFBC80, 0xEFBDA0}, {0xEFBFA0, 0xEFBFA6}};

// KEPT: the bytes are compared, not a code point, so that malformed triples keep their column.
[[gnu::always_inline]] constexpr bool is_wide_triple(const uchar* p) {
    const std::uint32_t triple = static_cast<std::uint32_t>(p[0] << 16 | p[1] << 8 | p[2]);
    for (const auto& range : wide_triples)
        if (triple >= range.first && triple <= range.last) return true;
    return false;
}

} // namespace qzstr::core
