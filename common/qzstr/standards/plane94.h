// Planes of 94 rows and 94 columns: the shape of the ISO/IEC 2022 national sets.
#pragma once

#include <cstdint>

namespace qzstr {

/// An index that no page holds.
inline constexpr std::uint32_t no_index = 0xFFFFFFFF;

/// Linear index of a row and column in 7-bit form (0x21..0x7E each).
constexpr std::uint32_t plane94_index(unsigned row, unsigned col) {
    return row - 0x21 < 94 && col - 0x21 < 94 ? (row - 0x21) * 94 + (col - 0x21) : no_index;
}

} // namespace qzstr
