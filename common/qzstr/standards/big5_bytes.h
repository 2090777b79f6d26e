// The byte scheme of Big5, CP950 and HKSCS: trail bytes, and the user-defined areas that need no table.
#pragma once

#include "core/paged.h"
#include "standards/plane94.h"

namespace qzstr {

inline constexpr std::uint32_t big5_columns = 157;

/// Index 0..156 of a trail byte 0x40..0x7E or 0xA1..0xFE; no_index for others.
constexpr std::uint32_t big5_trail_index(unsigned trail) {
    if (trail - 0x40 < 0x3F) return trail - 0x40;
    return trail - 0xA1 < 0x5E ? trail - 0x62 : no_index;
}

constexpr unsigned big5_trail(std::uint32_t index) {
    return index + (index < 0x3F ? 0x40 : 0x62);
}

/// Linear index of a lead byte and a trail index; no_index when the lead lies before the first one.
constexpr std::uint32_t big5_index(unsigned lead, std::uint32_t trail_index, unsigned first_lead) {
    return lead < first_lead || trail_index >= big5_columns ? no_index
                                                            : big5_columns * (lead - first_lead) + trail_index;
}

/// The two bytes of a linear index, lead in the high byte.
constexpr std::uint16_t big5_pair(std::uint32_t index, unsigned first_lead) {
    return static_cast<std::uint16_t>((first_lead + index / big5_columns) << 8 | big5_trail(index % big5_columns));
}

/// The user-defined areas, in the order of their code points: leads 0xFA..0xFE, 0x8E..0xA0, 0x81..0x8D are U+E000..U+F6B0.
inline constexpr std::uint32_t big5_user_first = 0xE000;
inline constexpr std::uint32_t big5_user_count = 37 * big5_columns;

/// Code point of a pair with one of those leads, `no_character` for other leads.
constexpr std::uint16_t big5_user_to_ucs2(unsigned lead, std::uint32_t trail_index) {
    if (trail_index >= big5_columns) return no_character;
    std::uint32_t row = 0;
    if (lead - 0xFA < 5)
        row = lead - 0xFA;
    else if (lead - 0x8E < 19)
        row = lead - 0x8E + 5;
    else if (lead - 0x81 < 13)
        row = lead - 0x81 + 24;
    else
        return no_character;
    return static_cast<std::uint16_t>(big5_user_first + row * big5_columns + trail_index);
}

/// The two bytes of a user-defined code point, 0 for others.
constexpr std::uint16_t big5_user_from_ucs2(std::uint32_t wc) {
    const std::uint32_t i = wc - big5_user_first;
    if (i >= big5_user_count) return 0;
    const std::uint32_t row = i / big5_columns;
    const unsigned lead = row + (row < 5 ? 0xFA : row < 24 ? 0x89 : 0x69);
    return static_cast<std::uint16_t>(lead << 8 | big5_trail(i % big5_columns));
}

static_assert(big5_trail_index(0x7E) == 62 && big5_trail_index(0xA1) == 63 && big5_trail_index(0xFE) == 156);
static_assert(big5_trail_index(0x3F) == no_index && big5_trail_index(0x7F) == no_index &&
              big5_trail_index(0xA0) == no_index && big5_trail_index(0xFF) == no_index);
static_assert(big5_user_to_ucs2(0x81, 0) == 0xEEB8 && big5_user_to_ucs2(0x8E, 0) == 0xE311 &&
              big5_user_to_ucs2(0xFA, 0) == 0xE000 && big5_user_to_ucs2(0xA1, 0) == no_character);
static_assert(big5_user_from_ucs2(0xE000) == 0xFA40 && big5_user_from_ucs2(0xE311) == 0x8E40 &&
              big5_user_from_ucs2(0xEEB8) == 0x8140 && big5_user_from_ucs2(0xF6B0) == 0x8DFE &&
              big5_user_from_ucs2(0xF6B1) == 0);

} // namespace qzstr
