// What the pivots know of a charset beyond its slots, derived from its family: shortcuts past the slots' checks and the
// buffer of units, and what must stay together in the middle of a text.
#pragma once

#include "core/transcode.h"

namespace qzstr {

struct resumable;

/// One for each family; a row takes the decoding half of the family that decodes it and the encoding half of the one that
/// encodes it.
struct stages {
    /// Conversions that carry a shift state, for a charset that has one.
    const resumable* shifts = nullptr;
    /// Whether every byte below 0x80 is its own code point, wherever it stands: as a source, as a target.
    bool decodes_ascii = false, encodes_ascii = false;
    /// Whether the charset encodes these two units together, so that no piece may end between them.
    bool (*joins)(char32_t first, char32_t second) = nullptr;
    /// How one- and two-byte characters decode.
    const core::pair_decoding* pairs = nullptr;
    /// How each byte decodes to one unit, and each unit encodes into one byte.
    const core::byte_decoding* from_bytes = nullptr;
    const core::byte_encoding* to_bytes = nullptr;
    /// How units encode into one or two bytes.
    const core::pair_encoding* to_pairs = nullptr;
    /// UCS-2BE to bytes. May stop anywhere between two characters; never takes a unit that belongs to the next one.
    core::converted (*encode_units)(const uchar* src, std::size_t n, uchar* dst, std::size_t room) = nullptr;
    /// Whether that is what its UCS-4 routine would do, too. (A row may have that of another family.)
    bool same_in_ucs4 = false;
    /// The same from UCS-4BE, where that takes characters beyond the BMP.
    core::converted (*encode_wide)(const uchar* src, std::size_t n, uchar* dst, std::size_t room) = nullptr;
};

namespace core {

template <class F>
consteval bool decodes_ascii() {
    if constexpr (requires(const uchar* p) { F::template decode<form::ucs2>(p, 1); })
        for (unsigned b = 0; b < 0x80; ++b) {
            const uchar text[1] = {static_cast<uchar>(b)};
            const decoded d = F::template decode<form::ucs2>(text, 1);
            if (d.what != outcome::ok || d.units != 1 || d.consumed != 1 || d.unit[0] != b) return false;
        }
    else
        return false;
    return true;
}

template <class F>
consteval bool encodes_ascii() {
    if constexpr (requires { F::template encode<form::ucs2>(0, none); })
        for (unsigned b = 0; b < 0x80; ++b) {
            const encoded e = F::template encode<form::ucs2>(b, none);
            if (e.what != outcome::ok || e.bytes != 1 || e.room != 1 || e.byte[0] != b) return false;
        }
    else
        return false;
    return true;
}

template <class F, form Form>
converted encode_units(const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
    progress at;
    const conv_status_t status = encode_fast<F, Form, order::big>(src, static_cast<offset_t>(unit_size<Form> * n), dst,
                                                                  static_cast<offset_t>(room), at);
    return {static_cast<std::size_t>(at.read), static_cast<std::size_t>(at.written), status != exact};
}

template <class F>
consteval stages stages_of() {
    stages s;
    s.decodes_ascii = decodes_ascii<F>();
    s.encodes_ascii = encodes_ascii<F>();
    if constexpr (requires { F::shifts; }) s.shifts = &F::shifts;
    if constexpr (requires { F::joins(none, none); }) s.joins = F::joins;
    if constexpr (requires { F::from_bytes(); }) s.from_bytes = F::from_bytes();
    if constexpr (requires { F::to_bytes(); }) s.to_bytes = F::to_bytes();
    if constexpr (decodes_pairs<F>) {
        s.pairs = &pair_decoding_of<F>;
        if constexpr (requires { F::ucs4_mask; }) {
            s.to_pairs = &pair_encoding_of<F>;
            s.encode_units = encode_units<F, form::ucs2>;
        }
        if constexpr (longer_codes<F>().supplementary != no_supplementary) s.encode_wide = encode_units<F, form::ucs4>;
        s.same_in_ucs4 = requires {
            F::same_in_ucs4;
        };
    }
    return s;
}

} // namespace core
} // namespace qzstr
