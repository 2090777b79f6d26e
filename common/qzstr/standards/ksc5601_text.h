// KS X 1001 as 8-bit text: pairs with the high bit among ASCII.
#pragma once

#include "core/transcode.h"
#include "standards/ksc5601.h"

#include <algorithm>

namespace qzstr {

/// Rules for the tables only: the replacement makes them ask for what is no character, which each charset replaces its way.
struct ksc5601_text {
    static constexpr core::byte_set leads{core::byte_range{0xA1, 0xFE}};

    template <core::form>
    static constexpr core::decoded decode(const uchar* p, core::offset_t) {
        if (p[0] < 0x80) return core::one(p[0], 1);
        const char32_t c = qzstr_ksc5601_to_ucs2(p[0] - 0x80U, p[1] - 0x80U);
        return c != no_character ? core::one(c, 2) : core::decoded{{'?', 0}, 1, 1, core::outcome::bad};
    }
    static constexpr core::recoded reduce(const uchar* p, core::offset_t) {
        return p[0] < 0x80 ? core::recoded{{p[0]}, 1, 1, core::outcome::ok}
                           : core::recoded{{'?'}, 1, 2, core::outcome::bad};
    }

    /// Bytes that are looked at together.
    static constexpr std::size_t piece = 1024;
    /// The bytes of a piece up to the first pair that is no character, as far as vector code tells.
    static std::size_t characters_in(const uchar* p, std::size_t n) {
        uchar units[2 * piece];
        return core::decode_pairs(core::pair_decoding_of<ksc5601_text>, core::unit_layout::ucs2_little, p,
                                  std::min(n, piece), units, piece)
            .read;
    }
};

} // namespace qzstr
