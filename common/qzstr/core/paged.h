// The paged layout of the generated tables, and the one lookup that reads it.
//
// Forward, code to Unicode: dense pages of values, chosen by a linear index. Backward, Unicode to code: one summary per
// block of 16 code points, whose bitmap says which of them are mapped and where their codes begin in one dense array in
// Unicode order.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace qzstr {

/// Bit k of `used` is set when the k-th code point of the block is mapped; `idx` is the position of the block's first
/// code.
struct _summary16_t {
    std::uint16_t idx;
    std::uint16_t used;
};

/// `count` entries for the indexes from `first` on.
template <typename T>
struct table_page {
    std::uint32_t first;
    std::uint32_t count;
    const T* entries;
};

/// A code without a mapping, in every code to Unicode table and lookup.
inline constexpr std::uint16_t no_character = 0xFFFD;

/// The entry for an index, or `fallback` outside every page. The pages are a template argument, so their bounds are
/// constants in the code.
template <const auto& Pages>
constexpr auto page_entry(std::uint32_t index, auto fallback) {
    const auto search = [&]<std::size_t... P>(std::index_sequence<P...>) {
        (void)((index - Pages[P].first < Pages[P].count &&
                ((fallback = Pages[P].entries[index - Pages[P].first]), true)) ||
               ...);
    };
    search(std::make_index_sequence<sizeof(Pages) / sizeof(Pages[0])>{});
    return fallback;
}

/// The value for a linear index, `no_character` when it has none.
template <const auto& Pages>
constexpr std::uint16_t paged_value(std::uint32_t index) {
    return page_entry<Pages>(index, no_character);
}

/// For code points of more than 16 bits: an entry's upper bits choose a base, its low `Bits` bits are joined to it.
template <const auto& Pages, const auto& Bases, unsigned Bits>
constexpr std::uint32_t based_value(std::uint32_t index) {
    const std::uint16_t value = paged_value<Pages>(index);
    if (value == no_character) return no_character;
    return Bases[value >> Bits] | (value & ((1u << Bits) - 1));
}

/// Position of a code point in the code array, or -1 when it has no code.
template <const auto& Pages>
constexpr int paged_position(std::uint32_t code_point) {
    const _summary16_t block = page_entry<Pages>(code_point >> 4, _summary16_t{0, 0});
    const unsigned bit = 1u << (code_point & 0x0F);
    if ((block.used & bit) == 0) return -1;
    return block.idx + std::popcount(block.used & (bit - 1));
}

/// The code for a code point, 0 when it has none.
template <const auto& Pages, const auto& Codes>
constexpr std::uint16_t paged_code(std::uint32_t code_point) {
    const int position = paged_position<Pages>(code_point);
    return position < 0 ? std::uint16_t{0} : Codes[position];
}

} // namespace qzstr
