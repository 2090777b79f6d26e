// UTF-8 and UTF-16, 64 bytes at a time. A block of UTF-8 is taken as bit masks of its byte classes (utf8_blocks.h), which also
// tell how far each malformed character goes.
#include "core/kernels.h"
#include "core/letter_pages.h"
#include "core/pair_encoding_avx512.h"
#include "core/units.h"
#include "core/utf8_blocks.h"
#include "core/utf8_width.h"
#include "core/vector.h"

#include <algorithm>
#include <bit>
#include <cstring>

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512
#include "core/utf_avx512.h"
#elif QZSTR_LEVEL_NUMBER == QZSTR_IS_avx2
#include "core/utf_avx2.h"
#endif

namespace qzstr::core::QZSTR_LEVEL {

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_plain

recoded_run short_utf8_to_pairs(const pair_encoding&, const uchar*, std::size_t, uchar*, std::size_t) {
    return {};
}
converted decode_utf8(unit_layout, const uchar*, std::size_t, uchar*, std::size_t, bool) {
    return {};
}
moved encode_utf8(unit_layout, const uchar*, std::size_t, uchar*, std::size_t) {
    return {};
}
converted decode_utf8_to_utf16(const uchar*, std::size_t, uchar*, std::size_t) {
    return {};
}
moved encode_utf16_as_utf8(const uchar*, std::size_t, uchar*, std::size_t) {
    return {};
}
moved bytes_to_utf8(const byte_decoding&, const uchar*, std::size_t, uchar*, std::size_t) {
    return {};
}
converted utf8_to_bytes(const byte_encoding&, const uchar*, std::size_t, uchar*, std::size_t) {
    return {};
}
moved skip_utf8(const uchar*, std::size_t, std::size_t) {
    return {};
}
moved fit_utf8(const uchar*, std::size_t, std::size_t) {
    return {};
}
moved fit_units(const uchar*, std::size_t, std::size_t) {
    return {};
}
moved skip_units(const uchar*, std::size_t, std::size_t) {
    return {};
}
std::size_t change_letters_utf8(const letter_pages&, uchar, uchar*, std::size_t) {
    return 0;
}
moved utf16_to_ucs4(unit_layout, const uchar*, std::size_t, uchar*, std::size_t) {
    return {};
}
moved ucs4_to_utf16(unit_layout, const uchar*, std::size_t, uchar*, std::size_t) {
    return {};
}

#else

namespace {

#if QZSTR_LEVEL_NUMBER < QZSTR_IS_avx512

/// By the high half of a lead: the payload bits of its character, when the 24 bits of a four-byte one are joined, and how
/// far they must be shifted down.
constexpr struct {
    std::uint32_t payload;
    int shift;
} joined_by_lead[16] = {{0x7F, 18},  {0x7F, 18},  {0x7F, 18},  {0x7F, 18},   {0x7F, 18}, {0x7F, 18},
                        {0x7F, 18},  {0x7F, 18},  {0, 0},      {0, 0},       {0, 0},     {0, 0},
                        {0x7FF, 12}, {0x7FF, 12}, {0xFFFF, 6}, {0x1FFFFF, 0}};

/// Decodes the marked characters without a branch by length; each may be read four bytes long.
template <form Form, order Order>
void decode_one_by_one(const uchar* p, std::uint64_t starts, uchar* dst) {
    for (; starts != 0; starts &= starts - 1) {
        std::uint32_t raw;
        std::memcpy(&raw, p + lowest(starts), 4);
        raw = __builtin_bswap32(raw);
        const auto [payload, shift] = joined_by_lead[raw >> 28];
        const std::uint32_t joined = (raw & 0x3F) | (raw >> 2 & 0xFC0) | (raw >> 4 & 0x3F000) | (raw >> 6 & 0x1FC0000);
        store_unit<Form, Order>(dst, joined >> shift & payload);
        dst += unit_size<Form>;
    }
}

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx2

/// The positions of the bits of a byte, in order.
struct bit_positions {
    std::uint64_t of[256] = {};
    consteval bit_positions() {
        for (unsigned bits = 0; bits < 256; ++bits)
            for (unsigned bit = 0, n = 0; bit < 8; ++bit)
                if ((bits >> bit & 1) != 0) of[bits] |= std::uint64_t{bit} << (8 * n++);
    }
};
constexpr bit_positions positions;

/// Decodes up to eight characters that lie within 16 bytes: each is brought into one lane, and joined by multiplication.
/// Stores eight units.
template <form Form, order Order>
void decode_eight(const uchar* p, std::uint64_t positions_of_starts, uchar* dst) {
    const auto pattern = [](__m128i bytes) { return _mm256_broadcastsi128_si256(bytes); };
    const __m256i four_times = _mm256_setr_epi8(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5,
                                                6, 6, 6, 6, 7, 7, 7, 7);
    const __m256i at = _mm256_add_epi8(
        _mm256_shuffle_epi8(_mm256_set1_epi64x(static_cast<long long>(positions_of_starts)), four_times),
        _mm256_set1_epi32(0x03020100));
    const __m256i raw = _mm256_shuffle_epi8(pattern(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))), at);
    // By the high half of the lead: its payload bits, and how far 24 joined bits must be shifted down.
    const __m256i lead = _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi32(raw, 4), _mm256_set1_epi32(0x0F)),
                                         _mm256_set1_epi32(static_cast<int>(0x80808000)));
    const __m256i payload_of_lead =
        pattern(_mm_setr_epi8(0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0x7F, 0, 0, 0, 0, 0x1F, 0x1F, 0x0F, 0x07));
    const __m256i shift_of_lead = pattern(_mm_setr_epi8(18, 18, 18, 18, 18, 18, 18, 18, 0, 0, 0, 0, 12, 12, 6, 0));
    const __m256i payload = _mm256_and_si256(
        raw, _mm256_or_si256(_mm256_shuffle_epi8(payload_of_lead, lead), _mm256_set1_epi32(0x3F3F3F00)));
    const __m256i halves = _mm256_maddubs_epi16(payload, _mm256_set1_epi16(0x0140));
    const __m256i joined = _mm256_madd_epi16(halves, _mm256_set1_epi32(0x00011000));
    const __m256i c = _mm256_srlv_epi32(joined, _mm256_shuffle_epi8(shift_of_lead, lead));
    if constexpr (Form == form::ucs4) {
        block{Order == order::big ? swap_bytes_32(c) : c}.store(dst);
    } else {
        const __m256i units = _mm256_permute4x64_epi64(
            _mm256_shuffle_epi8(c,
                                pattern(Order == order::big
                                            ? _mm_setr_epi8(1, 0, 5, 4, 9, 8, 13, 12, -1, -1, -1, -1, -1, -1, -1, -1)
                                            : _mm_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, -1, -1, -1, -1, -1, -1, -1, -1))),
            0x08);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm256_castsi256_si128(units));
    }
}

/// Decodes the marked characters, those that begin in eight bytes at a time. Stores up to seven units too many.
template <form Form, order Order>
void decode_by_eight(const uchar* p, std::uint64_t starts, uchar* dst) {
    for (; starts != 0; starts >>= 8, p += 8) {
        decode_eight<Form, Order>(p, positions.of[starts & 0xFF], dst);
        dst += static_cast<std::size_t>(std::popcount(starts & 0xFF)) * unit_size<Form>;
    }
}

#endif

template <form Form, order Order>
void decode_marked(const uchar* p, std::uint64_t starts, std::size_t, uchar* dst, bool has_room) {
#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx2
    if (has_room) return decode_by_eight<Form, Order>(p, starts, dst);
#endif
    (void)has_room;
    decode_one_by_one<Form, Order>(p, starts, dst);
}

#endif

bool is_ascii_block(const uchar* p) {
    return mask_64(p, [](block b) { return b.high_bits(); }) == 0;
}

/// A well-formed character beyond the BMP.
char32_t join_four(const uchar* p) {
    return (p[0] & 0x07U) << 18 | (p[1] & 0x3FU) << 12 | (p[2] & 0x3FU) << 6 | (p[3] & 0x3FU);
}

/// Where it `stops`, only up to the first character of four bytes.
template <form Form, order Order>
[[gnu::noinline]] converted decode_utf8_by_starts(const uchar* src, std::size_t n, uchar* dst, std::size_t units,
                                                  bool stops) {
    constexpr std::size_t unit = unit_size<Form>, group = 8;
    std::size_t base = 0, done = 0;
    std::uint64_t replaced = 0; // a byte would be stored, and read back as eight
    // Decodes what a block of `taken` bytes has; false at the end, at four bytes where that stops, or in a full target.
    const auto block_done = [&](const uchar* p, std::size_t taken) {
        if (is_ascii_block(p)) {
            const std::size_t fits = std::min(taken, units - done);
            QZSTR_LEVEL::widen_bytes(layout_of<Form, Order>, p, fits, dst + done * unit);
            base += fits;
            done += fits;
            return fits == taken;
        }
        const structure s = structure::of(text_at{p}, 0);
        whole_characters c = whole_characters::of(s, s.wrong(text_at{p}) | (Form == form::ucs2 ? s.four : 0), taken);
        if (stops && s.four != 0) c.keep(c.number(lowest(s.four)));
        bool goes_on = c.bytes + 3 >= taken;
        if (Form == form::utf16 && s.four != 0 && c.bytes != 0) {
            if ((s.four & 1) != 0 && (c.wrong & 15) == 0) {
                if (units - done < 2) return false;
                store_pair<Order>(dst + done * unit, join_four(p));
                base += 4;
                done += 2;
                return true;
            }
            c.keep(std::max<std::size_t>(c.number(lowest(s.four)), 1));
            goes_on = true;
        }
        const std::size_t wanted = c.bytes;
        c.keep(units - done);
        uchar* const to = dst + done * unit;
        decode_marked<Form, Order>(p, c.starts, c.bytes, to, units - done >= block_size + group);
        replaced |= c.wrong;
        for (std::uint64_t wrong = c.wrong; wrong != 0; wrong &= wrong - 1)
            store_unit<Form, Order>(to + c.number(lowest(wrong)) * unit, 0xFFFD);
        base += c.bytes;
        done += static_cast<std::size_t>(std::popcount(c.starts));
        return goes_on && c.bytes == wanted;
    };
    while (n - base >= block_size + beyond)
        if (!block_done(src + base, block_size)) return {base, done * unit, replaced != 0};
    while (base < n && done < units) {
        const std::size_t taken = std::min(n - base, block_size), before = base;
        const padded last(src + base, taken);
        if (!block_done(last.bytes, taken) || base == before) break;
    }
    return {base, done * unit, replaced != 0};
}

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512

/// A text of at most 64 bytes: its units, when it is usual and they have room.
template <form Form, order Order>
[[gnu::always_inline]] inline bool decode_short(const uchar* src, std::size_t n, uchar* dst, std::size_t units,
                                                std::size_t& count) {
    const short_text<Form == form::utf16> text(src, n);
    if (!text.usual || text.count > units) return false;
    if constexpr (Form == form::ucs4)
        store_wide<Order>(dst, text.units, text.count);
    else
        store_units<Order>(dst, text.units, text.count, units);
    count = text.count;
    return true;
}

/// Any text; of a short one it may be only the end that is unusual, by a character that it cuts.
template <form Form, order Order>
[[gnu::noinline]] converted decode_any_utf8(const uchar* src, std::size_t n, uchar* dst, std::size_t units,
                                            bool stops) {
    if (n > 3 && n <= block_size) {
        std::size_t count = 0;
        // In malformed text it may be any number.
        if (const std::size_t cut = bytes_of_cut(src + n);
            cut != 0 && cut < n && decode_short<Form, Order>(src, n - cut, dst, units, count))
            return {n - cut, unit_size<Form> * count, false};
    }
    if constexpr (Form != form::ucs4)
        return decode_utf8_units<Form == form::utf16, Order>(src, n, dst, units, stops);
    else
        return decode_utf8_by_starts<Form, Order>(src, n, dst, units, stops);
}

#endif

template <form Form, order Order>
converted decode_utf8_as(const uchar* src, std::size_t n, uchar* dst, std::size_t units, bool stops) {
#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512
    std::size_t count = 0;
    if (n <= block_size && decode_short<Form, Order>(src, n, dst, units, count))
        return {n, unit_size<Form> * count, false};
    return decode_any_utf8<Form, Order>(src, n, dst, units, stops);
#else
    return decode_utf8_by_starts<Form, Order>(src, n, dst, units, stops);
#endif
}

#if QZSTR_LEVEL_NUMBER < QZSTR_IS_avx512

/// By the number of bits of a code point, its bytes; by these, what they get in a word, last byte last, and the bits that
/// the last one takes.
constexpr uchar length_of_width[22] = {1, 1, 1, 1, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3, 3, 4, 4, 4, 4, 4};
constexpr std::uint32_t prefix_of_length[5] = {0, 0, 0x80C00000, 0x8080E000, 0x808080F0};
constexpr uchar last_of_length[5] = {0, 0x7F, 0x3F, 0x3F, 0x3F};

/// Encodes one code point without a branch by length; writes four bytes.
std::size_t encode_one(char32_t c, uchar* dst) {
    const unsigned length = length_of_width[std::bit_width(std::uint32_t{c} | 1)];
    const std::uint32_t low = c & last_of_length[length];
    const std::uint32_t spread = low << 24 | (c << 10 & 0x3F0000) | (c >> 4 & 0x3F00) | (c >> 18 & 0x3F);
    const std::uint32_t word = (spread | prefix_of_length[length]) >> (8 * (4 - length));
    std::memcpy(dst, &word, 4);
    return length;
}

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_sse2

/// Whole blocks of 16-bit ASCII units. `read` counts units.
template <form Form, order Order>
moved encode_run(const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
    std::size_t i = 0;
    if constexpr (Form != form::ucs4)
        while (std::min(n, room) - i >= block::size && block::narrow_ascii<Order>(src + 2 * i, dst + i))
            i += block::size;
    return {i, i};
}

#endif

template <form Form, order Order>
moved encode_utf8_as(const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
    constexpr std::size_t unit = unit_size<Form>, group = 8;
    std::size_t i = 0, written = 0;
    const auto one = [&] {
        char32_t c = load_unit<Form, Order>(src + i * unit);
        if (c > 0x10FFFF) return false;
        if (Form == form::utf16 && is_surrogate(c)) {
            c = join_pair<Order>(c, src + (i + 1) * unit, n - i - 1);
            if (c == 0) return false;
            ++i;
        }
        written += encode_one(c, dst + written);
        ++i;
        return true;
    };
    for (;;) {
        const moved run = encode_run<Form, Order>(src + i * unit, n - i, dst + written, room - written);
        i += run.read;
        written += run.written;
        if (i == n || room - written < 4) return {i * unit, written};
        for (std::size_t left = std::min(group, (room - written) / 4); left > 0 && i < n; --left)
            if (!one()) return {i * unit, written};
    }
}

#endif

constexpr std::size_t unit_group = 32;

/// Widens a group without surrogates, in loops that the compiler turns into vectors.
template <order Order>
bool widen_units(const uchar* src, uchar* dst) {
    constexpr std::uint64_t high_bytes = Order == order::big ? 0x5555555555555555 : 0xAAAAAAAAAAAAAAAA;
    if ((inside(text_at{src}, 0xD8, 0xDF) & high_bytes) != 0) return false;
    std::uint16_t raw[unit_group];
    std::uint32_t wide[unit_group];
    std::memcpy(raw, src, sizeof raw);
    for (std::size_t k = 0; k < unit_group; ++k)
        wide[k] = Order == order::big ? static_cast<std::uint32_t>(raw[k]) << 16 : raw[k];
    std::memcpy(dst, wide, sizeof wide);
    return true;
}

/// Whether 16 UCS-4 units are one UTF-16 unit each.
template <order Order>
bool narrows(const uchar* p) {
    constexpr std::uint64_t upper_halves = Order == order::big ? 0x3333333333333333 : 0xCCCCCCCCCCCCCCCC;
    constexpr std::uint64_t high_bytes = Order == order::big ? 0x4444444444444444 : 0x2222222222222222;
    return (equal(text_at{p}, 0) & upper_halves) == upper_halves && (inside(text_at{p}, 0xD8, 0xDF) & high_bytes) == 0;
}

/// Narrows a group of the BMP without surrogates to big-endian units.
template <order Order>
bool narrow_units(const uchar* src, uchar* dst) {
    if (!narrows<Order>(src) || !narrows<Order>(src + 64)) return false;
    std::uint32_t raw[unit_group];
    std::uint16_t units[unit_group];
    std::memcpy(raw, src, sizeof raw);
    for (std::size_t k = 0; k < unit_group; ++k) {
        const std::uint32_t c = Order == order::big ? raw[k] >> 16 : raw[k];
        units[k] = static_cast<std::uint16_t>(Order == order::big ? c : c << 8 | c >> 8);
    }
    std::memcpy(dst, units, sizeof units);
    return true;
}

/// Of 16 units with pairs among them, up to one that is cut or a surrogate alone: units read and written.
template <order Order>
moved join_group([[maybe_unused]] const uchar* src, [[maybe_unused]] uchar* dst) {
#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512
    std::size_t count = 16;
    __m512i c = load_group<form::utf16, Order>(src, count);
    const __mmask16 second = join_pairs(c, count), kept = first_lanes(count) & static_cast<__mmask16>(~second);
    _mm512_storeu_si512(dst, _mm512_maskz_compress_epi32(kept, Order == order::big ? swap_bytes_32(c) : c));
    return {count, static_cast<std::size_t>(std::popcount(kept))};
#else
    return {};
#endif
}

/// Groups without surrogates at once, others unit by unit.
template <order Order>
moved utf16_to_ucs4_as(const uchar* src, std::size_t n, uchar* dst, std::size_t units) {
    std::size_t i = 0, done = 0;
    while (i < n && done < units) {
        if (n - i >= unit_group && units - done >= unit_group && widen_units<Order>(src + i * 2, dst + done * 4)) {
            i += unit_group;
            done += unit_group;
            continue;
        }
        if (n - i >= 16 && units - done >= 16)
            if (const moved group = join_group<Order>(src + i * 2, dst + done * 4); group.read != 0) {
                i += group.read;
                done += group.written;
                continue;
            }
        for (const std::size_t until = std::min(n, i + unit_group); i < until && done < units; ++done) {
            char32_t c = load_unit<form::utf16, Order>(src + i * 2);
            const bool pair = is_surrogate(c);
            if (pair) c = join_pair<Order>(c, src + i * 2 + 2, n - i - 1);
            if (pair && c == 0) return {i * 2, done * 4};
            store_unit<form::ucs4, Order>(dst + done * 4, c);
            i += pair ? 2 : 1;
        }
    }
    return {i * 2, done * 4};
}

/// To big-endian UTF-16, the same way.
template <order Order>
moved ucs4_to_utf16_as(const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
    std::size_t i = 0, written = 0;
    while (i < n) {
        if (n - i >= unit_group && room - written >= 2 * unit_group &&
            narrow_units<Order>(src + i * 4, dst + written)) {
            i += unit_group;
            written += 2 * unit_group;
            continue;
        }
        for (const std::size_t until = std::min(n, i + unit_group); i < until; ++i) {
            const char32_t c = load_unit<form::ucs4, Order>(src + i * 4);
            if (room - written < 4 || c >= 0x110000 || is_surrogate(c)) return {i * 4, written};
            const bool pair = c > 0xFFFF;
            store_pair<order::big>(dst + written, c);
            if (!pair) store_unit<form::utf16, order::big>(dst + written, c);
            written += pair ? 4 : 2;
        }
    }
    return {i * 4, written};
}

#if QZSTR_LEVEL_NUMBER < QZSTR_IS_avx512

using lead_bounds = structure; // which keeps none

/// The characters that take two columns. Reads two bytes behind the block.
template <class Text>
inline std::uint64_t wide_characters(Text p, const structure& s) {
    const std::uint64_t triples = s.three();
    if (triples == 0) return 0;
    const std::uint64_t ea = equal(p, 0xEA), ed = equal(p, 0xED), e3 = equal(p, 0xE3), ef = equal(p, 0xEF);
    const std::uint64_t ideographs = inside(p, 0xE4, 0xE9) | inside(p, 0xEB, 0xEC);
    const std::uint64_t symbols = inside(p + 1, 0x80, 0x83), full_width = equal(p + 1, 0xBC);
    std::uint64_t wide = ideographs | (ea & inside(p + 1, 0xB0, 0xBF)) | (ed & inside(p + 1, 0x80, 0x9D)) |
                         (e3 & ~(equal(p + 1, 0x80) & equal(p + 2, 0xBF))) | (ef & full_width);
    for (std::uint64_t asked = triples & ~wide & ~(equal(p, 0xE2) & symbols); asked != 0; asked &= asked - 1)
        if (is_wide_triple(p.p + lowest(asked))) wide |= asked & ~(asked - 1);
    return wide & triples;
}

struct block_letters {
    const uchar* text;
    std::uint64_t leads; ///< that letters may begin with

    template <class Text>
    block_letters(const letter_pages&, Text p, const structure& s) : text(p.p) {
        // No letters follow leads C2 and D6 to DF; in E2 and EF there is much punctuation, in EA much Hangul.
        leads = inside(p, 0xC3, 0xD5);
        if (s.three_or_four != 0) {
            leads |= equal(p, 0xE1) | (equal(p, 0xE2) & from(p + 1, 0x84)) | (equal(p, 0xEA) & ~from(p + 1, 0xB0));
            leads |= equal(p, 0xEF) & (equal(p + 1, 0xBD) | (equal(p + 1, 0xBC) & from(p + 2, 0xA0)));
        }
    }
    /// Changes ASCII letters in the n bytes of the block and the characters that `asked` marks.
    void change(const letter_pages& letters, uchar first, uchar* p, std::size_t n, std::uint64_t asked) const {
        alignas(64) uchar flipped[block_size];
        uchar* const to = n == block_size ? p : flipped;
        for (std::size_t i = 0; i < block_size; i += block::size)
            block::load(text + i).flip_letters(first).store(to + i);
        if (to != p) std::memcpy(p, flipped, n);
        for (; asked != 0; asked &= asked - 1)
            change_letter(letters, p + lowest(asked), p[lowest(asked)] < 0xE0 ? 2 : 3);
    }
};

#endif

/// Of each unit.
constexpr std::uint64_t first_bytes = 0x5555555555555555;

/// The characters of a block and what they take, one column or two.
struct block_columns {
    std::uint64_t starts, wide;

    std::size_t before(std::size_t byte) const {
        return static_cast<std::size_t>(std::popcount(starts & first_bits(byte)) +
                                        std::popcount(wide & first_bits(byte)));
    }
    /// Where the character begins with which `limit` columns are reached; they are reached in the block.
    std::size_t place_of(std::size_t limit) const {
        // A wide character has the bit of its second column behind the first, where none begins.
        const std::size_t at = nth_bit(starts | wide << 1, limit - 1);
        return at - (at == block_size || (starts >> at & 1) == 0 ? 1 : 0);
    }
};

} // namespace

converted decode_utf8(unit_layout layout, const uchar* src, std::size_t n, uchar* dst, std::size_t units, bool stops) {
    return leaving([&] {
        return in_layout(
            layout, [&]<form Form, order Order> { return decode_utf8_as<Form, Order>(src, n, dst, units, stops); });
    });
}

moved encode_utf8(unit_layout layout, const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
    return leaving([&] {
        return in_layout(layout,
                         [&]<form Form, order Order> { return encode_utf8_as<Form, Order>(src, n, dst, room); });
    });
}

converted decode_utf8_to_utf16(const uchar* src, std::size_t n, uchar* dst, std::size_t units) {
    return leaving([&] { return decode_utf8_as<form::utf16, order::big>(src, n, dst, units, false); });
}

moved encode_utf16_as_utf8(const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
    return leaving([&] { return encode_utf8_as<form::utf16, order::big>(src, n, dst, room); });
}

moved bytes_to_utf8(const byte_decoding& plan, const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512
    return leaving([&] { return decode_bytes_as_utf8(plan, src, n, dst, room); });
#else
    constexpr std::size_t group = 8;
    moved done{};
    const auto one = [&] {
        const std::uint32_t sequence = plan.utf8[src[done.read++]];
        std::memcpy(dst + done.written, &sequence, 4);
        done.written += sequence >> 24;
    };
    while (n - done.read >= group && room - done.written >= 4 * group) {
        const std::size_t left = std::min(n - done.read, room - done.written);
        if (left >= block::size)
            if (const block bytes = block::load(src + done.read); bytes.high_bits() == 0) {
                bytes.store(dst + done.written);
                done = {done.read + block::size, done.written + block::size};
                continue;
            }
#pragma GCC unroll 8
        for (std::size_t k = 0; k < group; ++k)
            one();
    }
    while (done.read < n && room - done.written >= 4)
        one();
    return done;
#endif
}

converted utf8_to_bytes(const byte_encoding& plan, const uchar* src, std::size_t n, uchar* dst, std::size_t units) {
#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512
    return leaving([&] {
        if (n <= block_size) {
            const short_text<false> text(src, n);
            if (text.usual && text.count <= units) {
                const bool replaced = store_bytes(plan, dst, text.units, text.count);
                return converted{n, text.count, replaced};
            }
        }
        return decode_utf8_bytes(plan, src, n, dst, units);
    });
#else
    // By way of some units at a time, with room to store a few too many.
    constexpr std::size_t piece = 1024, capacity = piece + 128;
    alignas(64) uchar buffer[2 * capacity];
    converted done{};
    while (done.read < n && done.written < units) {
        const converted in =
            QZSTR_LEVEL::decode_utf8(unit_layout::ucs2_big, src + done.read, std::min(n - done.read, piece), buffer,
                                     std::min(units - done.written, capacity), false);
        if (in.read == 0) break;
        const encoded_bytes out =
            QZSTR_LEVEL::encode_bytes(plan, unit_layout::ucs2_big, buffer, in.written / 2, dst + done.written);
        done = {done.read + in.read, done.written + out.units, done.replaced || in.replaced || out.replaced};
    }
    return done;
#endif
}

recoded_run short_utf8_to_pairs([[maybe_unused]] const pair_encoding& plan, [[maybe_unused]] const uchar* src,
                                [[maybe_unused]] std::size_t n, [[maybe_unused]] uchar* dst,
                                [[maybe_unused]] std::size_t room) {
#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512
    return leaving([&]() -> recoded_run {
        const short_text<false> text(src, n);
        if (!text.usual) return {};
        std::size_t written = 0;
        std::uint64_t replaced = 0;
        for (std::size_t done = 0; done < text.count; done += 32) {
            const auto half = [done](__m512i plane) {
                return _mm512_cvtepu8_epi16(done == 0 ? _mm512_castsi512_si256(plane)
                                                      : _mm512_extracti64x4_epi64(plane, 1));
            };
            const __m512i units = _mm512_or_si512(half(text.units.low), _mm512_slli_epi16(half(text.units.high), 8));
            const std::size_t here = std::min<std::size_t>(text.count - done, 32);
            const encoded_group group =
                encode_group<form::ucs2>(plan, units, _mm512_setzero_si512(), here, dst + written, room - written);
            if (group.units < here) return {};
            written += group.written;
            replaced |= group.replaced;
        }
        return {n, written, text.count, replaced != 0};
    });
#else
    return {};
#endif
}

moved utf16_to_ucs4(unit_layout layout, const uchar* src, std::size_t n, uchar* dst, std::size_t units) {
    return leaving([&] {
        return layout == unit_layout::ucs4_big ? utf16_to_ucs4_as<order::big>(src, n, dst, units)
                                               : utf16_to_ucs4_as<order::little>(src, n, dst, units);
    });
}

moved ucs4_to_utf16(unit_layout layout, const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
    return leaving([&] {
        return layout == unit_layout::ucs4_big ? ucs4_to_utf16_as<order::big>(src, n, dst, room)
                                               : ucs4_to_utf16_as<order::little>(src, n, dst, room);
    });
}

moved skip_utf8(const uchar* p, std::size_t n, std::size_t chars) {
    return leaving([&]() -> moved {
        std::size_t base = 0, passed = 0;
        std::uint64_t carry = 0;
        while (base < n && passed < chars) {
            const std::size_t taken = std::min(n - base, block_size);
            const structure s =
                over_block(p + base, n - base, [carry](auto text) { return structure::of(text, carry); });
            const std::uint64_t starts = s.starts() & first_bits(taken);
            const auto here = static_cast<std::size_t>(std::popcount(starts));
            if (here > chars - passed) return {base + nth_bit(starts, chars - passed), chars};
            passed += here;
            base += taken;
            carry = taken < block_size ? s.expected >> taken | s.spill() << (block_size - taken) : s.spill();
        }
        return {base + static_cast<std::size_t>(std::popcount(carry)), passed};
    });
}

moved fit_utf8(const uchar* p, std::size_t n, std::size_t limit) {
    return leaving([=]() -> moved {
        const lead_bounds bounds{};
        const uchar *at = p, *const end = p + n;
        std::size_t room = limit, room_before = limit;
        std::uint64_t carry = 0, carry_before = 0;
        const auto passed = [=](const uchar* until, std::size_t columns_left) -> moved {
            return {static_cast<std::size_t>(until - p), limit - columns_left};
        };
        moved result{};
        // False where it ends, with `result`. What goes on behind a block counts in it, and is looked at in the next one.
        const auto pass_block = [&]<bool GoesOn> {
            const auto left = static_cast<std::size_t>(end - at);
            std::size_t bytes = GoesOn ? block_size : std::min(left, block_size);
            std::uint64_t wrong = 0, spill = 0;
            const auto look = [&](auto text) -> block_columns {
                const structure s = bounds.of(text, carry);
                wrong = s.misplaced() & bytes_before(bytes);
                if (GoesOn)
                    spill = s.spill();
                else
                    bytes = s.whole_bytes(bytes);
                return {s.starts() & bytes_before(bytes), wide_characters(text, s) & bytes_before(bytes)};
            };
            const block_columns block = GoesOn ? look(text_at{at}) : over_block(at, left, look);
            const std::size_t here = block.before(block_size);
            if (wrong != 0) [[unlikely]] {
                result = (wrong & carry) == 0 ? passed(at + std::popcount(carry), room)
                                              : passed(at - block_size + std::popcount(carry_before), room_before);
                return false;
            }
            if (here >= room) [[unlikely]] {
                const std::size_t fits = block.place_of(room);
                result = passed(at + fits, room - block.before(fits));
                return false;
            }
            room_before = room;
            carry_before = carry;
            room -= here;
            at += bytes;
            carry = spill;
            result = passed(at, room);
            return bytes != 0;
        };
        if (limit == 0) return result;
        while (end - at >= static_cast<std::ptrdiff_t>(block_size + beyond))
            if (!pass_block.template operator()<true>()) return result;
        while (at < end)
            if (!pass_block.template operator()<false>()) break;
        return result;
    });
}

moved skip_units(const uchar* p, std::size_t n, std::size_t chars) {
    return leaving([&]() -> moved {
        std::size_t base = 0, passed = 0;
        std::uint64_t carry = 0; // 1 where a block begins with the second unit of a pair
        n &= ~std::size_t{1};
        while (base < n && passed < chars) {
            const std::size_t taken = std::min(n - base, block_size);
            const std::uint64_t units = first_bytes & first_bits(taken);
            const std::uint64_t high =
                over_block(p + base, n - base, [](auto text) { return inside(text, 0xD8, 0xDB); }) & units & ~carry;
            if ((high & high << 2) != 0) break;
            const std::uint64_t starts = units & ~(high << 2 | carry);
            const auto here = static_cast<std::size_t>(std::popcount(starts));
            if (here > chars - passed) return {base + nth_bit(starts, chars - passed), chars};
            passed += here;
            base += taken;
            carry = high >> (taken - 2) & 1;
        }
        return {base + static_cast<std::size_t>(2 * carry), passed};
    });
}

moved fit_units(const uchar* p, std::size_t n, std::size_t limit) {
    return leaving([&]() -> moved {
        std::size_t base = 0, columns = 0;
        while (base < n && columns < limit) {
            const std::size_t taken = std::min(n - base, block_size);
            const std::uint64_t high = over_block(
                p + base, n - base, [](auto text) { return text.mask([](block b) { return b.high_bits(); }); });
            const block_columns block{first_bytes & first_bits(taken), high & first_bytes & first_bits(taken)};
            const std::size_t here = block.before(block_size);
            if (here >= limit - columns) {
                const std::size_t passed = block.place_of(limit - columns);
                return {base + passed, columns + block.before(passed)};
            }
            columns += here;
            base += taken;
        }
        return {base, columns};
    });
}

std::size_t change_letters_utf8(const letter_pages& letters, uchar first, uchar* p, std::size_t n) {
    return leaving([&letters, first, p, n] {
        const lead_bounds bounds{};
        std::uint64_t carry = 0;
        for (std::size_t base = 0;;) {
            uchar* const at = p + base;
            const std::size_t left = n - base, here = std::min(left, block_size);
            const bool goes_on = left >= block_size + beyond;
            std::uint64_t wrong = 0, spill = 0;
            const std::size_t bytes = over_block(at, left, [&](auto text) {
                const structure s = bounds.of(text, carry);
                wrong = s.misplaced() & bytes_before(here);
                if (wrong != 0) return here;
                if (goes_on) spill = s.spill();
                const std::size_t whole = goes_on ? block_size : s.whole_bytes(here);
                const block_letters found(letters, text, s);
                const std::uint64_t leads = found.leads & bytes_before(whole);
                const std::uint64_t cut = goes_on ? leads & (s.three_or_four >> 62 << 62 | 1ULL << 63) : 0;
                found.change(letters, first, at, here, leads & ~cut);
                if (cut != 0) // the last one, where it goes on in the next block
                    change_letter(letters, at + lowest(cut), at[lowest(cut)] < 0xE0 ? 2 : 3);
                return whole;
            });
            if (wrong != 0)
                return (wrong & carry) == 0 ? base + static_cast<std::size_t>(std::popcount(carry))
                                            : base - bytes_of_cut(p + base);
            base += bytes;
            if (left <= block_size) return base;
            carry = spill;
        }
    });
}

#endif
} // namespace qzstr::core::QZSTR_LEVEL
