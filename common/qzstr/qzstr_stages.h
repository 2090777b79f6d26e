// What the pivots must know beyond the slots, so that a long text converts as in one pass although it goes through a
// buffer piece by piece. Units are big-endian.
#pragma once

#include "core/stages.h"
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

/// What the row's decoding family knows, what its encoding family knows.
struct row_stages {
    const stages *decoding, *encoding;
};
struct stage_table {
    row_stages row[QZSTR_CHARSET_MAX];
};
extern const stage_table row_stages_of;

/// UTF-8 to UTF-16 by one-character rules, from `at` on.
conv_status_t finish_utf8_to_utf16(const uchar* src, core::offset_t len, uchar* dst, core::offset_t size,
                                   core::progress& at);

} // namespace qzstr
