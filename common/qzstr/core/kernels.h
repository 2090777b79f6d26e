// The vector routines, listed once. Each kernel_*.cpp is compiled for every level; the loader picks the best one that
// the machine has (dispatch.cpp). A kernel only takes what it can do exactly and fast, and says how far it got: zero is
// always a right answer, and what it leaves is the exact routine's.
#pragma once

#include "core/byte_set.h"
#include "core/units.h"

#include <cstddef>

namespace qzstr::core {

/// Bytes read and bytes written by a kernel.
struct moved {
    std::size_t read;
    std::size_t written;
};

/// The same of a kernel that replaces what has no place on the other side, and whether it did.
struct converted {
    std::size_t read;
    std::size_t written : 63; ///< together with the flag in one of two registers
    bool replaced : 1;
};

/// The same of a kernel that goes past the units of a pivot, and how many of them there would have been.
struct recoded_run {
    std::size_t read, written, units;
    bool replaced;
};

/// No code has this number or one of the 2^20 above, nor what is invalid.
inline constexpr std::uint32_t no_supplementary = 0x40000000;
/// The characters beyond the BMP.
inline constexpr std::uint32_t supplementary_count = 0x100000;

/// Codes of three or four bytes, which count up by their bytes, the last one fastest. Where the first byte is always the
/// same, that tells them, and the last two are a pair; elsewhere they are two pairs, and the second byte tells.
struct long_code_shape {
    uchar first[4]; ///< the first one
    uchar radix[4]; ///< how many values each byte has, from there on
    unsigned bytes = 2;
    std::uint32_t count;                            ///< how many of them are decoded by a table
    std::uint32_t ucs2;                             ///< how many of these UCS-2 has; it replaces the others
    std::uint32_t supplementary = no_supplementary; ///< number of the one for U+10000, from which other planes go on

    struct code {
        uchar byte[4];
    };
    constexpr code at(std::uint32_t number) const {
        code c{};
        for (int i = 4; i-- > 0; number /= radix[i])
            c.byte[i] = static_cast<uchar>(first[i] + number % radix[i]);
        return c;
    }
    constexpr bool same_in_ucs2() const { return ucs2 == count && supplementary == no_supplementary; }
    constexpr bool told_by_lead() const { return radix[0] == 1; }
    /// Whether these bytes tell one, of which the first one may be the lead of a pair.
    constexpr bool told_by(uchar byte, bool is_lead, uchar behind) const {
        if (count == 0) return false;
        return told_by_lead() ? byte == first[0] : is_lead && behind >= first[1] && behind - first[1] < radix[1];
    }
    constexpr std::uint32_t pair_weight() const { return std::uint32_t{radix[2]} * radix[3]; }
};

/// How codes of characters beyond the BMP count up, for the kernels to divide by constants: each pair by its second byte, and
/// the first pair when the second one is through.
inline constexpr std::uint32_t supplementary_radix = 10, supplementary_pair_weight = 1260;

/// Decoding of one- and two-byte characters by one table read a character.
struct pair_decoding {
    const std::uint16_t* cell;            ///< units in big-endian order, or `lead_substituted` and what is above it
    const byte_set* leads;                ///< what takes a second byte
    uchar row_base[byte_set::max_ranges]; ///< for a lead of one of its ranges: what to add for its row
    const uchar* row;      ///< for a first byte from 0x80 on: its cell index / 256; 0: a single byte, the index itself
    uchar unlike_ascii[2]; ///< bytes below 0x80 that are not themselves (0xFF: none)
    std::uint32_t long_cells; ///< where the cells of longer codes begin, behind which one asks
    long_code_shape longer;   ///< none of them where its count is 0
};

/// Encoding into one or two bytes by one table read a unit; where that asks, into four by a second one.
struct pair_encoding {
    const std::uint32_t* page;      ///< for the high byte of a unit: index of its page's first cell
    const std::uint16_t* cell;      ///< first byte low, second byte high (0: one byte), `ask`, or `substituted`
    const uchar* page_number;       ///< the same as `page` / 256
    char32_t unit_mask;             ///< what of a unit counts: the low half, or all
    const std::uint32_t* long_cell; ///< four bytes, the first one low, or `ask_again`; none where all codes are shorter
    const uchar* long_page_number;  ///< as `page_number`
    std::uint32_t supplementary;    ///< as `long_cell` for U+10000, from where codes count on; 0: there are none
};

/// The texts for which there may be a way of their own.
inline constexpr std::size_t short_text_bytes = 64;

/// Where a text with shifts stands between two characters. A decoder keeps the designator to the end; a writer repeats it
/// on every line with pairs.
struct shift_state {
    bool out = false;
    bool designated = false;
};

/// Codes of 7-bit text: what shifts out to pairs and in to ASCII, and what designates the set of the pairs.
struct shift_codes {
    uchar out, in;
    uchar designator[4];
};

/// Bytes read and written by a kernel that goes through shifts, and where it left them.
struct unshifted {
    std::size_t read, written;
    shift_state state;
};

/// Three bytes of a pattern and where they stand in it (not all need differ): what a search tests at once for many
/// starts, the third only where the first two leave any.
struct probe_bytes {
    std::size_t offset[3];
    uchar byte[3];
};

/// Bit i: a match may begin at `first` + i. No bit set: nowhere.
struct candidates {
    std::size_t first;
    std::uint64_t bits;
};

/// Decoding where a byte is a character of one 16-bit unit: the unit of each, and in two planes those of 0x80 to 0xFF; in
/// UTF-8 the bytes of each, the first one low, and above them their number.
struct byte_decoding {
    alignas(64) uchar low[128];
    alignas(64) uchar high[128];
    std::uint16_t unit[256];
    std::uint32_t utf8[256];
};

/// Encoding of a unit into one byte by one table read.
struct byte_encoding {
    const std::uint32_t* page; ///< for the high byte of a unit: index of its page's first cell; 0 for the empty page
    const uchar* cell;         ///< 0 where there is none, and for U+0000, which is itself
    uchar substitute;          ///< what stands for a unit without a cell
    bool over_ascii;           ///< every unit below 0x80 is itself
};

/// Units encoded, and whether one of them was replaced.
struct encoded_bytes {
    std::size_t units;
    bool replaced;
};

/// A byte for each character, by its first one; zero where there is none. What becomes "?" is replaced.
struct pair_reduction {
    alignas(64) uchar to[256];
    const byte_set* leads; ///< of pairs, among them those that longer characters are made of
    long_code_shape longer;
    bool copies_ascii; ///< every byte below 0x80 stays
};

/// A byte for each byte.
struct byte_map {
    alignas(64) uchar to[256];
};

/// In the cells of pairs, where the exact routine must look, and where it would put its replacement (U+FFFD, or "?") for
/// just these bytes or this unit, or for the lead alone. No charset here has FE FF or FF FF for a pair.
inline constexpr std::uint16_t ask = 0xFFFF, substituted = 0xFFFE, lead_substituted = 0xFFFD;
inline constexpr std::uint32_t ask_again = 0xFFFFFFFF;

struct letter_pages;

/// Text of pairs with longer characters: each begins with a byte `lead` and takes the pair along that begins `to_pair`
/// bytes behind it.
struct long_forms {
    const byte_set* leads; ///< of pairs
    uchar lead;
    uchar to_pair;
};

// K(result, name, parameters, arguments)
#define QZSTR_KERNELS(K)                                                                                               \
    /* Copies the run of bytes below 0x80, at most n. */                                                               \
    K(std::size_t, copy_ascii, (const uchar* src, std::size_t n, uchar* dst), (src, n, dst))                           \
    /* Widens n bytes to units. */                                                                                     \
    K(void, widen_bytes, (unit_layout layout, const uchar* src, std::size_t n, uchar* dst), (layout, src, n, dst))     \
    /* Narrows the run of units below 0x80, at most n units; returns units. */                                         \
    K(std::size_t, narrow_ascii, (unit_layout layout, const uchar* src, std::size_t n, uchar* dst),                    \
      (layout, src, n, dst))                                                                                           \
    /* Length of the run before the first byte equal to b, at most n. */                                               \
    K(std::size_t, run_before, (const uchar* p, std::size_t n, uchar b), (p, n, b))                                    \
    /* Length of the run of bytes equal to b that ends at p + n. */                                                    \
    K(std::size_t, trailing_run, (const uchar* p, std::size_t n, uchar b), (p, n, b))                                  \
    /* Writes well-formed 7-bit text without shifts and designators, the bytes of pairs with the high bit: whole */    \
    /* characters, but no shift twice. The target has room for n bytes and a block of 64 more. */                      \
    K(unshifted, unshift_pairs,                                                                                        \
      (const shift_codes& codes, shift_state state, const uchar* src, std::size_t n, uchar* dst),                      \
      (codes, state, src, n, dst))                                                                                     \
    /* Decodes up to `units` units from n bytes of one- and two-byte characters. */                                    \
    K(converted, decode_pairs,                                                                                         \
      (const pair_decoding& plan, unit_layout layout, const uchar* src, std::size_t n, uchar* dst, std::size_t units), \
      (plan, layout, src, n, dst, units))                                                                              \
    /* Encodes up to n units into at most `room` bytes. */                                                             \
    K(converted, encode_pairs,                                                                                         \
      (const pair_encoding& plan, unit_layout layout, const uchar* src, std::size_t n, uchar* dst, std::size_t room),  \
      (plan, layout, src, n, dst, room))                                                                               \
    /* The same for UTF-8 of at most `short_text_bytes`: all of it, or nothing. */                                     \
    K(recoded_run, short_utf8_to_pairs,                                                                                \
      (const pair_encoding& plan, const uchar* src, std::size_t n, uchar* dst, std::size_t room),                      \
      (plan, src, n, dst, room))                                                                                       \
    /* Converts up to `units` one- and two-byte characters to UTF-8. */                                                \
    K(recoded_run, pairs_to_utf8,                                                                                      \
      (const pair_decoding& plan, const uchar* src, std::size_t n, uchar* dst, std::size_t room, std::size_t units),   \
      (plan, src, n, dst, room, units))                                                                                \
    /* Decodes n bytes to as many units; zero where there is nothing faster than the exact routine. */                 \
    K(std::size_t, decode_bytes,                                                                                       \
      (const byte_decoding& plan, unit_layout layout, const uchar* src, std::size_t n, uchar* dst),                    \
      (plan, layout, src, n, dst))                                                                                     \
    /* Encodes n units into as many bytes; none where there is nothing faster than the exact routine. */               \
    K(encoded_bytes, encode_bytes,                                                                                     \
      (const byte_encoding& plan, unit_layout layout, const uchar* src, std::size_t n, uchar* dst),                    \
      (plan, layout, src, n, dst))                                                                                     \
    /* Converts bytes that are a unit each to UTF-8; may leave the last ones. */                                       \
    K(moved, bytes_to_utf8,                                                                                            \
      (const byte_decoding& plan, const uchar* src, std::size_t n, uchar* dst, std::size_t room),                      \
      (plan, src, n, dst, room))                                                                                       \
    /* UTF-8, malformed or not, but for its last bytes, into up to `units` bytes, as by UCS-2 units. */                \
    K(converted, utf8_to_bytes,                                                                                        \
      (const byte_encoding& plan, const uchar* src, std::size_t n, uchar* dst, std::size_t units),                     \
      (plan, src, n, dst, units))                                                                                      \
    /* Maps n bytes, also in place. */                                                                                 \
    K(void, map_bytes, (const byte_map& map, const uchar* src, std::size_t n, uchar* dst), (map, src, n, dst))         \
    /* Converts characters to bytes, up to one for which the plan has none or a malformed longer one. */               \
    K(converted, reduce_pairs,                                                                                         \
      (const pair_reduction& plan, const uchar* src, std::size_t n, uchar* dst, std::size_t room),                     \
      (plan, src, n, dst, room))                                                                                       \
    /* Walks over at most `chars` characters that begin in the first n bytes: `read` is where the next one begins */   \
    /* (n + 1 after a lead in the last byte), `written` the characters passed. Takes all that there is. */             \
    K(moved, skip_pairs, (const byte_set& leads, const uchar* p, std::size_t n, std::size_t chars),                    \
      (leads, p, n, chars))                                                                                            \
    /* The same, but stops before a pair whose trail is in `stops` and before a lead in the last byte. */              \
    K(moved, skip_pairs_before,                                                                                        \
      (const byte_set& leads, const byte_set& stops, const uchar* p, std::size_t n, std::size_t chars),                \
      (leads, stops, p, n, chars))                                                                                     \
    /* As skip_pairs over codes of two pairs, by blocks while these have some; stops before cut or malformed ones. */  \
    K(moved, skip_quads,                                                                                               \
      (const byte_set& leads, const long_code_shape& longer, const uchar* p, std::size_t n, std::size_t chars),        \
      (leads, longer, p, n, chars))                                                                                    \
    /* As skip_pairs over long forms; stops before cut or malformed ones and high bytes that lead nothing. */          \
    K(moved, skip_long_forms, (const long_forms& forms, const uchar* p, std::size_t n, std::size_t chars),             \
      (forms, p, n, chars))                                                                                            \
    /* The first 64 of the starts p .. p + n - 1 with a candidate among them (the last group may be shorter). */       \
    K(candidates, first_candidates, (const probe_bytes& probes, const uchar* p, std::size_t n), (probes, p, n))        \
    /* The same from the end: groups of 64 are counted from start p + n - 1 downwards. */                              \
    K(candidates, last_candidates, (const probe_bytes& probes, const uchar* p, std::size_t n), (probes, p, n))         \
    /* Decodes UTF-8, malformed or not, but for its last bytes, into up to `units` units; where it `stops`, only */    \
    /* up to the first character of four bytes. The second one to big-endian UTF-16. */                                \
    K(converted, decode_utf8,                                                                                          \
      (unit_layout layout, const uchar* src, std::size_t n, uchar* dst, std::size_t units, bool stops),                \
      (layout, src, n, dst, units, stops))                                                                             \
    K(converted, decode_utf8_to_utf16, (const uchar* src, std::size_t n, uchar* dst, std::size_t units),               \
      (src, n, dst, units))                                                                                            \
    /* Encodes up to n units as UTF-8 into at most `room` bytes. */                                                    \
    K(moved, encode_utf8, (unit_layout layout, const uchar* src, std::size_t n, uchar* dst, std::size_t room),         \
      (layout, src, n, dst, room))                                                                                     \
    /* The same for big-endian UTF-16; surrogate pairs may be taken or left. */                                        \
    K(moved, encode_utf16_as_utf8, (const uchar* src, std::size_t n, uchar* dst, std::size_t room),                    \
      (src, n, dst, room))                                                                                             \
    /* Passes at most `chars` characters of UTF-8 that begin in the first n bytes, as skip_pairs. */                   \
    K(moved, skip_utf8, (const uchar* p, std::size_t n, std::size_t chars), (p, n, chars))                             \
    /* The same over big-endian UTF-16, where a high surrogate takes the unit behind it along. */                      \
    K(moved, skip_units, (const uchar* p, std::size_t n, std::size_t chars), (p, n, chars))                            \
    /* Passes whole characters of UTF-8 in the first n bytes that take less than `limit` columns: bytes, columns. */   \
    K(moved, fit_utf8, (const uchar* p, std::size_t n, std::size_t limit), (p, n, limit))                              \
    /* The same over big-endian units, of which those from 8000 on take two columns. */                                \
    K(moved, fit_units, (const uchar* p, std::size_t n, std::size_t limit), (p, n, limit))                             \
    /* n units of UTF-16 into up to `units` UCS-4 units of the same order; n UCS-4 units into big-endian UTF-16. */    \
    K(moved, utf16_to_ucs4, (unit_layout layout, const uchar* src, std::size_t n, uchar* dst, std::size_t units),      \
      (layout, src, n, dst, units))                                                                                    \
    K(moved, ucs4_to_utf16, (unit_layout layout, const uchar* src, std::size_t n, uchar* dst, std::size_t room),       \
      (layout, src, n, dst, room))                                                                                     \
    /* Changes the case of UTF-8, of ASCII letters from `first` on, up to the first malformed or cut character. */     \
    K(std::size_t, change_letters_utf8, (const letter_pages& letters, uchar first, uchar* p, std::size_t n),           \
      (letters, first, p, n))                                                                                          \
    /* Changes the case of the ASCII letters from `first` on, where a lead takes the byte behind it along. */          \
    K(void, flip_letters_pairs, (const byte_set& leads, uchar first, uchar* p, std::size_t n), (leads, first, p, n))   \
    /* As flip_letters in n big-endian units. */                                                                       \
    K(void, flip_letters_units, (uchar first, uchar * p, std::size_t n), (first, p, n))                                \
    /* Changes the case of ASCII letters in n bytes: of those from `first` to `first` + 25, in the other case. */      \
    K(void, flip_letters, (uchar first, uchar * p, std::size_t n), (first, p, n))

#define QZSTR_DECLARE_KERNEL(result, name, parameters, arguments) result name parameters;
QZSTR_KERNELS(QZSTR_DECLARE_KERNEL)
namespace plain {
QZSTR_KERNELS(QZSTR_DECLARE_KERNEL)
}
namespace sse2 {
QZSTR_KERNELS(QZSTR_DECLARE_KERNEL)
}
namespace avx2 {
QZSTR_KERNELS(QZSTR_DECLARE_KERNEL)
}
namespace avx512 {
QZSTR_KERNELS(QZSTR_DECLARE_KERNEL)
}
#undef QZSTR_DECLARE_KERNEL

} // namespace qzstr::core
