// Sets of characters of three bytes.
#pragma once

#include "core/contract.h"

namespace qzstr::core {

/// Products of sets: a character is in it when its lead, its second and its third byte share one of eight classes. By the
/// low six bits of each.
struct triple_classes {
    alignas(64) uchar lead[64] = {}, second[64] = {}, third[64] = {};

    constexpr void add(unsigned number, unsigned lead_byte, std::uint64_t seconds, std::uint64_t thirds) {
        const auto bit = static_cast<uchar>(1U << number);
        lead[lead_byte & 0x3F] |= bit;
        for (unsigned i = 0; i < 64; ++i) {
            if ((seconds >> i & 1) != 0) second[i] |= bit;
            if ((thirds >> i & 1) != 0) third[i] |= bit;
        }
    }
};

} // namespace qzstr::core
