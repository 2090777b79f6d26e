// Letter case of two- and three-byte UTF-8 characters, by pages of 64 code points: those of a lead byte, or of a lead and a
// second byte.
#pragma once

#include "core/triple_classes.h"

#include <algorithm>
#include <iterator>

namespace qzstr::core {

/// What the bytes of a character become, by the low six bits of its last byte; characters without case stay.
struct letter_page {
    alignas(64) uchar first[64];
    alignas(64) uchar second[64]; ///< of three
    alignas(64) uchar last[64];
};

struct letter_pages {
    const uchar* page_of; ///< of a character's upper ten bits; 0: no letters
    const letter_page* page;
    triple_classes may_change; ///< all that do and some others; what follows two bytes counts for a third one

    consteval letter_pages(const uchar* number_of, const letter_page* pages) : page_of(number_of), page(pages) {
        // In these, much of running text does not change. The others share a class.
        constexpr uchar apart[] = {0xC3, 0xCF, 0xD0, 0xD1, 0xE2, 0xEA, 0xEF};
        for (unsigned upper = 0; upper < 1024; ++upper) {
            if (page_of[upper] == 0) continue;
            const bool three = upper >= 0x20;
            const unsigned lead = three ? 0xE0 | upper >> 6 : 0xC0 | upper, second = 0x80 | (upper & 0x3F);
            const auto number = static_cast<unsigned>(std::find(apart, std::end(apart), lead) - apart);
            const letter_page& to = page[page_of[upper]];
            for (unsigned i = 0; i < 64; ++i) {
                if (to.first[i] == lead && (!three || to.second[i] == second) && to.last[i] == (0x80 | i)) continue;
                const std::uint64_t last = 1ULL << i;
                may_change.add(number, lead, three ? 1ULL << (second & 0x3F) : last, three ? last : ~0ULL);
            }
        }
    }
};

/// The upper ten bits of a well-formed character of two or three bytes.
constexpr unsigned upper_bits(const uchar* p, int length) {
    return length == 3 ? (p[0] & 0x0FU) << 6 | (p[1] & 0x3FU) : p[0] & 0x1FU;
}

/// Changes the character of `length` bytes, two at least, at p in place; anything malformed, and whatever has no case, stays.
inline void change_letter(const letter_pages& letters, uchar* p, int length) {
    if (length > 3 || p[0] == 0xE0)
        return; // below U+1000 no letter of three bytes has case, and overlong forms have none
    const uchar page = letters.page_of[upper_bits(p, length)];
    uchar& last = p[length - 1];
    if (page == 0 || (p[1] & 0xC0) != 0x80 || (last & 0xC0) != 0x80) return;
    const letter_page& to = letters.page[page];
    const unsigned i = last & 0x3F;
    p[0] = to.first[i];
    if (length == 3) p[1] = to.second[i];
    last = to.last[i];
}

} // namespace qzstr::core
