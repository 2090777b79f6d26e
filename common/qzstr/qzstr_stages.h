// What the pivots must know of a charset beyond its slots, so that a long text converts as in one pass although it goes
// through a buffer piece by piece. Units are big-endian.
#pragma once

#include "core/units.h"
#include "standards/iso2022kr.h"

namespace qzstr {

/// Conversions that carry a shift state from one piece of a text to the next.
struct resumable {
    using decode_fn = conv_status_t (*)(shift_state& state, const uchar* src, core::offset_t len, uchar* units,
                                        core::offset_t size, core::progress& at);
    using encode_fn = conv_status_t (*)(shift_state& state, const uchar* units, core::offset_t len, uchar* dst,
                                        core::offset_t size, core::progress& at, bool last);
    decode_fn from_bytes_ucs2 = nullptr, from_bytes_ucs4 = nullptr;
    encode_fn to_bytes_ucs2 = nullptr, to_bytes_ucs4 = nullptr;
};

extern const resumable iso2022kr_stages;

/// What makes a row special in the middle of a text; nothing for most rows.
struct stages {
    const resumable* shifts = nullptr;
    /// Whether every byte below 0x80 is its own code point, both ways and in any place.
    bool ascii_is_itself = true;
    /// As a target: whether the row encodes these two units together, so that no piece may end between them.
    bool (*joins)(char32_t first, char32_t second) = nullptr;
};

/// UTF-8 to UTF-16 in one step.
conv_status_t utf8_to_utf16(const uchar* src, core::offset_t len, uchar* dst, core::offset_t size, core::progress& at);

} // namespace qzstr
