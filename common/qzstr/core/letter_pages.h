// Letter case of two- and three-byte UTF-8 characters, by pages of 64 code points: those of a lead byte, or of a lead and a
// second byte.
#pragma once

#include "core/contract.h"

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
