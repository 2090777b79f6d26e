// What the Japanese charsets have in common: half-width katakana and the characters that only JIS X 0213 has.
#pragma once

#include "core/transcode.h"
#include "standards/jisx0213.h"

namespace qzstr {

/// Half-width katakana: bytes 0xA1..0xDF are U+FF61..U+FF9F.
inline constexpr std::uint32_t half_width_kana_offset = 0xFEC0;
constexpr bool is_half_width_kana_byte(unsigned byte) {
    return byte - 0xA1 < 0x3F;
}
constexpr bool is_half_width_kana(std::uint32_t wc) {
    return wc - 0xFF61 < 0x3F;
}

/// Units of the Unicode side that may join the character before them.
struct japanese_marks {
    static constexpr bool composes(char32_t c) { return qzstr_jisx0213_is_mark(c); }
};

/// A base and the mark after it, written as one character.
constexpr core::encoded composed(unsigned code) {
    core::encoded both = core::pair(code);
    both.units = 2;
    return both;
}

} // namespace qzstr
