// UTF-8 on AVX-512: what only this level has the instructions for. Included by kernel_utf.cpp alone.
#pragma once

#include "core/bytes_avx512.h"
#include "core/kernels.h"
#include "core/lanes.h"
#include "core/letter_pages.h"
#include "core/triple_classes.h"
#include "core/units.h"
#include "core/utf8_blocks.h"
#include "core/utf8_width.h"
#include "core/vector.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace qzstr::core::QZSTR_LEVEL {
namespace {

// ---- Decoding into 16-bit units -------------------------------------------------------------------------------------

/// The bytes `Back` places before those of p that are `inside` a text; a text that `began` before goes on there. Lanes
/// without such a byte are zero.
template <int Back>
__m512i load_edge(const uchar* p, std::uint64_t inside, bool began) {
    return _mm512_maskz_loadu_epi8(inside << Back | (began ? first_bits(Back) : 0), p - Back);
}

/// Second bytes, as one bit for 80 to 8F, 90 to 9F and A0 to BF, and which of them may not follow a lead; by the low six bits
/// of each byte, which tell a lead from all others.
struct second_bytes {
    alignas(64) uchar kind[64] = {}, forbidden_after[64] = {};

    consteval second_bytes() {
        constexpr uchar low = 1, middle = 2, high = 4, any = low | middle | high;
        for (unsigned second = 0; second < 64; ++second)
            kind[second] = second < 0x10 ? low : second < 0x20 ? middle : high;
        const auto forbid = [this](unsigned lead, uchar seconds) { forbidden_after[lead & 0x3F] = seconds; };
        forbid(0xC0, any);
        forbid(0xC1, any);
        forbid(0xE0, low | middle);
        forbid(0xED, high);
        forbid(0xF0, low);
        forbid(0xF4, middle | high);
        for (unsigned lead = 0xF5; lead <= 0xFF; ++lead)
            forbid(lead, any);
    }
};
constexpr second_bytes seconds;

/// Whether bytes_of_cut finds some in text that ends at p.
inline bool seems_cut(const uchar* p) {
    return ((p[-1] >= 0xC0) | (p[-2] >= 0xE0) | (p[-3] >= 0xF0)) != 0;
}

/// A constant that stays in its register: g++ 12 makes those of one repeated byte anew in every round of a loop.
inline __m512i held(unsigned byte) {
    __m512i bytes = _mm512_set1_epi8(static_cast<char>(byte));
    asm("" : "+v"(bytes));
    return bytes;
}

/// A mask as a word, once; g++ otherwise moves it again for each use.
inline std::uint64_t word(__mmask64 mask) {
    std::uint64_t bits = mask;
    asm("" : "+r"(bits));
    return bits;
}

/// What lets others wait for bytes but is no lead.
inline bool leads_nothing(uchar b) {
    return (b & 0xFE) == 0xC0 || b >= 0xF5;
}

/// 64 bytes and those one, two, three places before each.
struct text_and_before {
    __m512i text, back_1, back_2, back_3;

    template <class Mask>
    std::uint64_t mask(Mask mask) const {
        return mask(block{text});
    }
    std::uint64_t forbidden(std::uint64_t second) const {
        return _mm512_mask_test_epi8_mask(second, _mm512_permutexvar_epi8(text, _mm512_load_si512(seconds.kind)),
                                          _mm512_permutexvar_epi8(back_1, _mm512_load_si512(seconds.forbidden_after)));
    }
};

/// The places of bytes in their characters, by the bytes before them: what is true of well-formed text.
struct places {
    std::uint64_t second, third, fourth, third_of_four;

    std::uint64_t expected() const { return second | third | fourth; }
};

/// What decoding compares with and takes bits by.
struct decoding_bytes {
    const __m512i c0 = held(0xC0), e0 = held(0xE0), f0 = held(0xF0), low_six = held(0x3F), low_four = held(0x0F);
};

/// What becomes of 64 bytes. A character gives its unit where it ends, and the first of a surrogate pair one byte before.
struct block_plan {
    places at;
    std::uint64_t expected; ///< to continue a character
    std::uint64_t bad;      ///< the ends of malformed characters
    std::uint64_t marks;
    std::size_t bytes;

    /// Well-formed text of n bytes.
    static block_plan of_usual(const text_and_before& t, const uchar* p, std::size_t n, const decoding_bytes& b) {
        const std::uint64_t fourth = word(_mm512_cmpge_epu8_mask(t.back_3, b.f0));
        const bool full = n == block_size, cuts_four = full && p[61] >= 0xF0;
        const places at{_mm512_cmpge_epu8_mask(t.back_1, b.c0), _mm512_cmpge_epu8_mask(t.back_2, b.e0), fourth,
                        fourth >> 1 | std::uint64_t{cuts_four} << 63};
        const std::uint64_t expected = at.expected(), cut = full ? seems_cut(p + n) : expected >> n & 1;
        return {at, _mm512_cmplt_epi8_mask(t.text, b.c0), 0, ~(expected >> 1 | cut << 63), n};
    }
    /// Or 1: its end cuts a character.
    std::uint64_t is_cut() const { return ~marks >> (bytes - 1) & 1; }
    /// Not zero where that is not what the text is.
    template <bool Pairs>
    std::uint64_t wrong(const text_and_before& t) const {
        const std::uint64_t beyond_bmp = Pairs ? 0 : at.fourth | at.third_of_four;
        return (expected ^ at.expected()) | t.forbidden(at.second) | beyond_bmp;
    }

    /// Any text: true places, of whole characters; those before the block take what `seen` says of its first bytes.
    template <bool Pairs>
    static block_plan of_any(const text_and_before& t, const places& seen, std::size_t n, bool stops) {
        const std::uint64_t carry = (seen.second & 1) | (seen.third & 3) | (seen.fourth & 7);
        const structure s = structure::of(t, carry);
        block_plan plan{{s.leads << 1 | (seen.second & 1), s.three_or_four << 2 | (seen.third & 3),
                         s.four << 3 | (seen.fourth & 7), s.four << 2 | (seen.third_of_four & 3)},
                        s.expected,
                        0,
                        ~(s.expected >> 1),
                        s.whole_bytes(n)};
        std::uint64_t wrong = s.misplaced() | s.impossible | t.forbidden(plan.at.second) | (Pairs ? 0 : plan.at.fourth);
        wrong &= bytes_before(plan.bytes);
        wrong |= (wrong & ~plan.marks) << 1;
        wrong |= (wrong & ~plan.marks) << 1;
        plan.bad = wrong & plan.marks;
        plan.at.third_of_four &= ~(wrong >> 1);
        if (stops && (seen.fourth & 7) != 0)
            plan.bytes = 0; // it began in the block before
        else if (stops && s.four != 0)
            plan.bytes = std::min(plan.bytes, lowest(s.four));
        return plan;
    }
};

struct joined_units {
    __m512i low, high;
    std::uint64_t marks;

    template <bool Pairs>
    static joined_units of(const text_and_before& t, const block_plan& plan, const decoding_bytes& bytes) {
        const auto all = [](unsigned b) { return _mm512_set1_epi8(static_cast<char>(b)); };
        const auto where = [](__m512i mask, __m512i set, __m512i clear) {
            return _mm512_ternarylogic_epi32(mask, set, clear, 0xCA);
        };
        __m512i low = where(bytes.low_six, t.text, _mm512_slli_epi16(t.back_1, 6));
        __m512i high = where(bytes.low_four, _mm512_srli_epi16(t.back_1, 2),
                             _mm512_slli_epi16(_mm512_maskz_mov_epi8(plan.at.third, t.back_2), 4));
        std::uint64_t marks = plan.marks;
        if (Pairs && (plan.at.fourth | plan.at.third_of_four) != 0) [[unlikely]] {
            const std::uint64_t first = plan.at.third_of_four;
            // The second unit has two bits of the second byte; the first is D7C0 + (code point >> 10).
            const __m512i second_high = _mm512_ternarylogic_epi32(high, all(0x03), all(0xDC), 0xEA);
            const __m512i bits = where(all(0x03), _mm512_srli_epi16(t.text, 4), _mm512_slli_epi16(t.back_1, 2));
            const std::uint64_t borrow = _mm512_cmplt_epu8_mask(bits, all(0x40));
            __m512i first_high = _mm512_add_epi8(_mm512_and_si512(t.back_2, all(0x07)), all(0xD8));
            first_high = _mm512_mask_sub_epi8(first_high, borrow, first_high, all(1));
            low = _mm512_mask_sub_epi8(low, first, bits, all(0x40));
            high = _mm512_mask_mov_epi8(_mm512_mask_mov_epi8(high, plan.at.fourth, second_high), first, first_high);
            marks |= first;
        }
        low = _mm512_mask_mov_epi8(t.text, plan.expected, low);
        high = _mm512_maskz_mov_epi8(plan.expected, high);
        if (plan.bad != 0) [[unlikely]] {
            low = _mm512_mask_mov_epi8(low, plan.bad, all(0xFD));
            high = _mm512_mask_mov_epi8(high, plan.bad, all(0xFF));
        }
        return {low, high, marks & bytes_before(plan.bytes)};
    }
};

/// Stores the units of up to 64 marks.
template <order Order>
void store_units(uchar* dst, __m512i low, __m512i high, std::size_t count, std::size_t room) {
    // Quarters for the first store and for the second one side by side, as they are interleaved.
    const __m512i quarters = _mm512_setr_epi64(0, 4, 1, 5, 2, 6, 3, 7);
    low = _mm512_permutexvar_epi64(quarters, low);
    high = _mm512_permutexvar_epi64(quarters, high);
    if (Order == order::big) std::swap(low, high);
    for (int which = 0; which < 2; ++which) {
        const __m512i units = which == 0 ? _mm512_unpacklo_epi8(low, high) : _mm512_unpackhi_epi8(low, high);
        if (room >= 32)
            _mm512_storeu_si512(dst, units);
        else
            _mm512_mask_storeu_epi16(dst, static_cast<__mmask32>(first_bits(count)), units);
        if (count <= 32) return;
        dst += 64, count -= 32, room -= 32;
    }
}

/// The units of a text of at most 64 bytes in two planes, when it is well-formed and within the BMP.
struct short_text {
    __m512i low, high;
    std::size_t count;
    bool usual;

    short_text(const uchar* p, std::size_t n) {
        const decoding_bytes bytes;
        const __m512i text = _mm512_maskz_loadu_epi8(bytes_before(n), p);
        const __m512i lane_before = _mm512_alignr_epi64(text, _mm512_setzero_si512(), 6);
        const text_and_before t{
            text, _mm512_alignr_epi8(text, lane_before, 15), _mm512_alignr_epi8(text, lane_before, 14), {}};
        const std::uint64_t leads = _mm512_cmpge_epu8_mask(text, bytes.c0);
        const std::uint64_t leads_of_three = _mm512_cmpge_epu8_mask(text, bytes.e0);
        // A character that the end cuts waits for a byte behind it, which is no continuation.
        const std::uint64_t cut = leads >> 63 | leads_of_three >> 62, four = _mm512_cmpge_epu8_mask(text, bytes.f0);
        const places at{leads << 1, leads_of_three << 2, 0, 0};
        const block_plan plan{at, _mm512_cmplt_epi8_mask(text, bytes.c0), 0, ~(at.expected() >> 1), n};
        usual = (plan.wrong<false>(t) | cut | four) == 0;
        const joined_units joined = joined_units::of<false>(t, plan, bytes);
        low = _mm512_maskz_compress_epi8(joined.marks, joined.low);
        high = _mm512_maskz_compress_epi8(joined.marks, joined.high);
        count = static_cast<std::size_t>(std::popcount(joined.marks));
    }
};

/// Decodes block by block, up to one without room for its units, and the rest of the text; what the end of the text cuts
/// stays. With `stops`, only up to the first character of four bytes. `store(at, low, high, count)` gets the bytes of the
/// units that come behind `at` of them, and tells whether it replaced one. Bytes read and units stored.
template <bool Pairs, class Store>
[[gnu::always_inline]] inline converted decode_utf8_blocks(const uchar* src, std::size_t n, std::size_t units,
                                                           bool stops, Store store) {
    const decoding_bytes bytes;
    std::size_t base = 0, done = 0;
    std::size_t whole = 0;                   // up to here the text ends with a character for certain
    std::uint64_t goes_on = 0, replaced = 0; // or 1: a byte that is spilt and read back as a word holds everything up
    bool careful = true;                     // not all of what stands before the block counts or is there
    const auto put_ascii = [&](__m512i text, std::size_t count) {
        replaced |= store(done, text, _mm512_setzero_si512(), count);
        base += count;
        done += count;
    };
    const auto put = [&](const joined_units& joined, std::size_t count) {
        replaced |= store(done, _mm512_maskz_compress_epi8(joined.marks, joined.low),
                          _mm512_maskz_compress_epi8(joined.marks, joined.high), count);
        done += count;
    };
    while (base < n) {
        // The usual blocks, with all bytes and room that they may ask for.
        while (!careful && n - base >= block_size && units - done >= block_size) {
            const uchar* const p = src + base;
            const __m512i text = _mm512_loadu_si512(p);
            if (_mm512_movepi8_mask(text) == 0 && goes_on == 0) {
                put_ascii(text, block_size);
                continue;
            }
            const text_and_before t{text, _mm512_loadu_si512(p - 1), _mm512_loadu_si512(p - 2),
                                    _mm512_loadu_si512(p - 3)};
            const block_plan plan = block_plan::of_usual(t, p, block_size, bytes);
            if (plan.wrong<Pairs>(t) != 0) break;
            const joined_units joined = joined_units::of<Pairs>(t, plan, bytes);
            put(joined, static_cast<std::size_t>(std::popcount(joined.marks)));
            base += block_size;
            goes_on = plan.is_cut();
        }
        if (base == n) break;
        // Any other.
        const uchar* const p = src + base;
        const std::size_t taken = std::min(n - base, block_size);
        const std::uint64_t inside = bytes_before(taken);
        const bool began = base > whole;
        const text_and_before t{load_edge<0>(p, inside, began), load_edge<1>(p, inside, began),
                                load_edge<2>(p, inside, began), load_edge<3>(p, inside, began)};
        if (_mm512_movepi8_mask(t.text) == 0 && goes_on == 0 && units - done >= taken) {
            put_ascii(t.text, taken);
            careful = false;
            continue;
        }
        block_plan plan = block_plan::of_usual(t, p, taken, bytes);
        const places seen = plan.at;
        careful = (plan.wrong<Pairs>(t) & inside) != 0;
        const std::uint64_t is_cut = careful ? 0 : plan.is_cut();
        if (careful) {
            if (began && leads_nothing(p[-1])) { // what would have told stands here
                whole = --base;
                goes_on = 0;
                continue;
            }
            plan = block_plan::of_any<Pairs>(t, seen, taken, stops);
        }
        const joined_units joined = joined_units::of<Pairs>(t, plan, bytes);
        const auto count = static_cast<std::size_t>(std::popcount(joined.marks));
        if (count > units - done || plan.bytes == 0) break;
        if (careful) {
            done -= plan.bad & seen.fourth & 1; // the first unit of its pair is there already
            whole = base + plan.bytes;
            replaced |= (plan.bad & bytes_before(plan.bytes)) != 0;
        }
        put(joined, count);
        base += plan.bytes;
        goes_on = is_cut;
    }
    if (goes_on != 0) { // the character is taken back, and the first unit of its pair with it
        const std::size_t cut = bytes_of_cut(src + whole, base - whole);
        base -= cut;
        done -= cut == 3 ? 1 : 0;
    }
    return {base, done, replaced != 0};
}

/// Into 16-bit units; counts bytes on both sides.
template <bool Pairs, order Order>
[[gnu::always_inline]] inline converted decode_utf8_units(const uchar* src, std::size_t n, uchar* dst,
                                                          std::size_t units, bool stops) {
    const converted m = decode_utf8_blocks<Pairs>(src, n, units, stops,
                                                  [=](std::size_t at, __m512i low, __m512i high, std::size_t count) {
                                                      store_units<Order>(dst + 2 * at, low, high, count, units - at);
                                                      return false;
                                                  });
    return {m.read, 2 * m.written, m.replaced};
}

/// Stores the bytes of `count` units; tells whether one was replaced.
inline bool store_bytes(const byte_encoding& plan, uchar* dst, __m512i low, __m512i high, std::size_t count) {
    const encoded_block e = encode_planes(plan, high, low, bytes_before(count));
    _mm512_mask_storeu_epi8(dst, bytes_before(count), e.bytes);
    return e.replaced;
}

/// Into bytes.
[[gnu::noinline]] converted decode_utf8_bytes(const byte_encoding& plan, const uchar* src, std::size_t n, uchar* dst,
                                              std::size_t units) {
    return decode_utf8_blocks<false>(src, n, units, false,
                                     [&plan, dst](std::size_t at, __m512i low, __m512i high, std::size_t count) {
                                         return store_bytes(plan, dst + at, low, high, count);
                                     });
}

// ---- Decoding the marked characters of a block -----------------------------------------------------------------------

/// Stores the 16 code points of a group in the asked form, the first `count` of them.
template <form Form, order Order>
void store_group(uchar* dst, __m512i c, std::size_t count) {
    const auto lanes = static_cast<__mmask16>(first_bits(count));
    if constexpr (Form == form::ucs4) {
        if constexpr (Order == order::big)
            c = _mm512_shuffle_epi8(
                c, _mm512_broadcast_i32x4(_mm_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12)));
        _mm512_mask_storeu_epi32(dst, lanes, c);
    } else {
        __m256i units = _mm512_cvtepi32_epi16(c);
        if constexpr (Order == order::big)
            units = _mm256_shuffle_epi8(units, _mm256_broadcastsi128_si256(_mm_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8,
                                                                                         11, 10, 13, 12, 15, 14)));
        _mm256_mask_storeu_epi16(dst, lanes, units);
    }
}

/// By the high half of a lead: the payload bits of its character, and how far they must be shifted down.
alignas(64) constexpr std::uint32_t payload_of_lead[16] = {0x7F,      0x7F,   0x7F, 0x7F,
                                                           0x7F,      0x7F,   0x7F, 0x7F, // one byte
                                                           0,         0,      0,    0,    // no lead
                                                           0x3F1F,    0x3F1F,             // two
                                                           0x3F3F0F,                      // three
                                                           0x3F3F3F07};
alignas(64) constexpr std::uint32_t shift_of_lead[16] = {18, 18, 18, 18, 18, 18, 18, 18, 0, 0, 0, 0, 12, 12, 6, 0};

/// Decodes the marked characters, 16 at a time: their bytes are brought into one lane each and joined by multiplication.
template <form Form, order Order>
void decode_marked(const uchar* p, std::uint64_t starts, std::size_t bytes, uchar* dst, bool) {
    const __m512i text = _mm512_maskz_loadu_epi8(first_bits(bytes), p);
    const __m512i iota =
        _mm512_set_epi8(63, 62, 61, 60, 59, 58, 57, 56, 55, 54, 53, 52, 51, 50, 49, 48, 47, 46, 45, 44, 43, 42, 41, 40,
                        39, 38, 37, 36, 35, 34, 33, 32, 31, 30, 29, 28, 27, 26, 25, 24, 23, 22, 21, 20, 19, 18, 17, 16,
                        15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
    __m512i positions = _mm512_maskz_compress_epi8(starts, iota);
    const __m512i four_times = _mm512_set_epi8(15, 15, 15, 15, 14, 14, 14, 14, 13, 13, 13, 13, 12, 12, 12, 12, 11, 11,
                                               11, 11, 10, 10, 10, 10, 9, 9, 9, 9, 8, 8, 8, 8, 7, 7, 7, 7, 6, 6, 6, 6,
                                               5, 5, 5, 5, 4, 4, 4, 4, 3, 3, 3, 3, 2, 2, 2, 2, 1, 1, 1, 1, 0, 0, 0, 0);
    const __m512i payloads = _mm512_load_si512(payload_of_lead), shifts = _mm512_load_si512(shift_of_lead);
    for (int left = std::popcount(starts); left > 0; left -= 16) {
        const __m512i at =
            _mm512_add_epi8(_mm512_permutexvar_epi8(four_times, positions), _mm512_set1_epi32(0x03020100));
        const __m512i raw = _mm512_permutexvar_epi8(at, text);
        const __m512i lead = _mm512_srli_epi32(raw, 4);
        const __m512i payload = _mm512_and_si512(raw, _mm512_permutexvar_epi32(lead, payloads));
        const __m512i halves = _mm512_maddubs_epi16(payload, _mm512_set1_epi16(0x0140));
        const __m512i joined = _mm512_madd_epi16(halves, _mm512_set1_epi32(0x00011000));
        const __m512i c = _mm512_srlv_epi32(joined, _mm512_permutexvar_epi32(lead, shifts));
        store_group<Form, Order>(dst, c, static_cast<std::size_t>(std::min(left, 16)));
        dst += 16 * unit_size<Form>;
        positions = _mm512_alignr_epi32(positions, positions, 4);
    }
}

// ---- Encoding -------------------------------------------------------------------------------------------------------

/// Units of 16 bits.
template <order Order>
__m512i in_host_order(__m512i units) {
    if constexpr (Order == order::little) return units;
    return _mm512_shuffle_epi8(
        units, _mm512_broadcast_i32x4(_mm_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14)));
}

/// Up to 16 code points.
template <form Form, order Order>
__m512i load_group(const uchar* src, std::size_t count) {
    const auto lanes = static_cast<__mmask16>(first_bits(count));
    if constexpr (Form == form::ucs4) {
        const __m512i c = _mm512_maskz_loadu_epi32(lanes, src);
        if constexpr (Order == order::little) return c;
        return _mm512_shuffle_epi8(
            c, _mm512_broadcast_i32x4(_mm_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12)));
    } else {
        const __m512i c = _mm512_cvtepu16_epi32(_mm256_maskz_loadu_epi16(lanes, src));
        if constexpr (Order == order::little) return c;
        return _mm512_shuffle_epi8(
            c, _mm512_broadcast_i32x4(_mm_setr_epi8(1, 0, -1, -1, 5, 4, -1, -1, 9, 8, -1, -1, 13, 12, -1, -1)));
    }
}

/// 32 units below 0x800 in their two bytes.
inline spread_bytes spread_twos(__m512i c, __mmask32 two) {
    const __m512i both =
        _mm512_ternarylogic_epi32(_mm512_slli_epi16(c, 8), _mm512_set1_epi16(0x3F00), _mm512_srli_epi16(c, 6), 0xEA);
    const __m512i marked = _mm512_or_si512(both, _mm512_set1_epi16(static_cast<short>(0x80C0)));
    return {_mm512_mask_slli_epi16(marked, ~two, c, 8), _pdep_u64(two, 0x5555555555555555) | 0xAAAAAAAAAAAAAAAA};
}

constexpr std::size_t few = 32;

/// 32 units, and which of them take two bytes or more, and three.
template <form Form>
struct few_units {
    __m512i c;
    __mmask32 two, three;

    explicit few_units(__m512i units)
        : c(units), two(_mm512_cmpgt_epu16_mask(c, _mm512_set1_epi16(0x7F))),
          three(_mm512_cmpgt_epu16_mask(c, _mm512_set1_epi16(0x7FF))) {}

    bool has_surrogate() const {
        return Form == form::utf16 &&
               _mm512_cmpeq_epi16_mask(_mm512_and_si512(c, _mm512_set1_epi16(static_cast<short>(0xF800))),
                                       _mm512_set1_epi16(static_cast<short>(0xD800))) != 0;
    }
    /// Writes up to 128 bytes.
    [[gnu::always_inline]] std::size_t store(uchar* dst) const {
        if (three == 0) return spread_twos(c, two).store(dst);
        const std::size_t length = first_half().store(dst);
        return length + second_half().store(dst + length);
    }
    spread_bytes first_half() const {
        return spread_group(_mm512_cvtepu16_epi32(_mm512_castsi512_si256(c)), static_cast<__mmask16>(two),
                            static_cast<__mmask16>(three), 0);
    }
    spread_bytes second_half() const {
        return spread_group(_mm512_cvtepu16_epi32(_mm512_extracti64x4_epi64(c, 1)), static_cast<__mmask16>(two >> 16),
                            static_cast<__mmask16>(three >> 16), 0);
    }
};

/// Encodes 32 units at a time while there is room for what any may become; in UTF-16 up to surrogates.
template <form Form, order Order>
void encode_full_groups(const uchar* src, std::size_t n, uchar* dst, std::size_t room, std::size_t& i,
                        std::size_t& written) {
    while (n - i >= few && room - written >= 4 * few) {
        const few_units<Form> u(in_host_order<Order>(_mm512_loadu_si512(src + 2 * i)));
        if (u.two == 0) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + written), _mm512_cvtepi16_epi8(u.c));
            written += few;
        } else if (u.three != 0 && u.has_surrogate()) {
            return;
        } else {
            written += u.store(dst + written);
        }
        i += few;
    }
}

template <form Form, order Order>
few_units<Form> load_few(const uchar* src, std::size_t n) {
    const auto inside = static_cast<__mmask32>(bytes_before(n));
    return few_units<Form>(in_host_order<Order>(_mm512_maskz_loadu_epi16(inside, src)));
}

/// Encodes up to 32 units without asking whether they are ASCII, which is chance in a short text. 0 where there is a
/// surrogate in UTF-16, or no room for all.
template <form Form>
[[gnu::always_inline]] inline std::size_t encode_few(few_units<Form> u, std::size_t n, uchar* dst, std::size_t room) {
    // The first `bytes` of a spread behind `at`; 0 where there is no room for them.
    const auto store = [=](spread_bytes spread, std::size_t bytes, std::size_t at) -> std::size_t {
        spread.marks &= bytes_before(bytes);
        if (spread.length() > room - at) return 0;
        store_first(dst + at, room - at, spread.pressed(), spread.length());
        return at + spread.length();
    };
    if (u.three == 0) return store(spread_twos(u.c, u.two), 2 * n, 0);
    if (u.has_surrogate()) return 0;
    const std::size_t first = std::min<std::size_t>(n, few / 2);
    const std::size_t length = store(u.first_half(), 4 * first, 0);
    return length == 0 || n == first ? length : store(u.second_half(), 4 * (n - first), length);
}

/// The code points of surrogate pairs in the lanes of their first units; `count` loses what is no pair or not whole.
/// Returns the lanes of second units.
inline __mmask16 join_pairs(__m512i& c, std::size_t& count) {
    const auto all = [](unsigned v) { return _mm512_set1_epi32(static_cast<int>(v)); };
    const auto inside = static_cast<__mmask16>(first_bits(count));
    const __m512i kind = _mm512_and_si512(c, all(0xFC00));
    const __mmask16 first = _mm512_mask_cmpeq_epi32_mask(inside, kind, all(0xD800));
    const __mmask16 second = _mm512_mask_cmpeq_epi32_mask(inside, kind, all(0xDC00));
    if ((first | second) == 0) return 0;
    const auto alone = static_cast<__mmask16>((first & ~(second >> 1)) | (second & ~(first << 1)));
    if (alone != 0) [[unlikely]] // where the next group begins must not wait for this one
        count = std::min(count, lowest(alone));
    const __m512i next = _mm512_alignr_epi32(c, c, 1);
    c = _mm512_mask_sub_epi32(c, first, _mm512_add_epi32(_mm512_slli_epi32(c, 10), next), all(0x35FDC00));
    return second;
}

/// Encodes until something is no code point, or the target has no room for the next group.
template <form Form, order Order>
[[gnu::noinline]] moved encode_utf8_by_groups(const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
    constexpr std::size_t unit = unit_size<Form>;
    std::size_t i = 0, written = 0;
    while (i < n) {
        if constexpr (Form != form::ucs4) {
            encode_full_groups<Form, Order>(src, n, dst, room, i, written);
            const std::size_t left = n - i;
            if (left <= few)
                if (const std::size_t length =
                        encode_few(load_few<Form, Order>(src + i * unit, left), left, dst + written, room - written);
                    length != 0)
                    return {n * unit, written + length};
        }
        std::size_t count = std::min<std::size_t>(n - i, 16);
        __m512i c = load_group<Form, Order>(src + i * unit, count);
        __mmask16 dropped = 0;
        if constexpr (Form == form::ucs4) {
            const __mmask16 too_high = _mm512_cmpgt_epu32_mask(c, _mm512_set1_epi32(0x10FFFF));
            count = std::min(count, lowest(too_high));
        }
        if constexpr (Form == form::utf16) dropped = join_pairs(c, count);
        const __mmask16 two = _mm512_cmpgt_epu32_mask(c, _mm512_set1_epi32(0x7F));
        if (two == 0) {
            const std::size_t run = QZSTR_LEVEL::narrow_ascii(layout_of<Form, Order>, src + i * unit,
                                                              std::min(n - i, room - written), dst + written);
            i += run;
            written += run;
            if (run < count) break;
            continue;
        }
        const __mmask16 three = _mm512_cmpgt_epu32_mask(c, _mm512_set1_epi32(0x7FF));
        const __mmask16 four = _mm512_cmpgt_epu32_mask(c, _mm512_set1_epi32(0xFFFF));
        spread_bytes spread = spread_group(c, two, three, four);
        spread.marks &= first_bits(4 * count) & ~(_pdep_u64(dropped, 0x1111111111111111) * 15);
        const auto length = static_cast<std::size_t>(std::popcount(spread.marks));
        if (length > room - written) break;
        store_first(dst + written, room - written, spread.pressed(), length);
        i += count;
        written += length;
        if (count == 0) break;
    }
    return {i * unit, written};
}

template <form Form, order Order>
moved encode_utf8_as(const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
    if (Form != form::ucs4 && n <= few)
        if (const std::size_t length = encode_few(load_few<Form, Order>(src, n), n, dst, room); length != 0)
            return {2 * n, length};
    return encode_utf8_by_groups<Form, Order>(src, n, dst, room);
}

/// Bytes by way of their units.
inline moved decode_bytes_as_utf8(const byte_decoding& plan, const uchar* src, std::size_t n, uchar* dst,
                                  std::size_t room) {
    const half_table low(plan.low), high(plan.high);
    const auto units = [&](__m256i bytes) {
        const __m512i in = _mm512_zextsi256_si512(bytes);
        const __mmask64 upper = _mm512_movepi8_mask(in);
        const auto wide = [](__m512i plane) { return _mm512_cvtepu8_epi16(_mm512_castsi512_si256(plane)); };
        return _mm512_or_si512(wide(_mm512_mask_mov_epi8(in, upper, low.at(in))),
                               _mm512_slli_epi16(wide(_mm512_maskz_mov_epi8(upper, high.at(in))), 8));
    };
    std::size_t i = 0, written = 0;
    for (; n - i >= few && room - written >= 4 * few; i += few) {
        const __m256i in = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i));
        if (_mm256_movepi8_mask(in) == 0) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + written), in);
            written += few;
        } else {
            written += few_units<form::ucs2>(units(in)).store(dst + written);
        }
    }
    while (i < n) {
        const std::size_t taken = std::min(n - i, few);
        const auto inside = static_cast<__mmask32>(bytes_before(taken));
        const few_units<form::ucs2> u(units(_mm256_maskz_loadu_epi8(inside, src + i)));
        const std::size_t length = encode_few(u, taken, dst + written, room - written);
        if (length == 0) break;
        i += taken;
        written += length;
    }
    return {i, written};
}

// ---- Width and letter case ------------------------------------------------------------------------------------------

/// The bytes of a block, and those one and two places behind each.
struct triple_lanes {
    __m512i first, second, third;

    template <class Text>
    static triple_lanes of(Text p) {
        return {p.bytes(), (p + 1).bytes(), (p + 2).bytes()};
    }
    /// Not zero where the bytes share a class.
    __m512i shared(const triple_classes& of) const {
        const auto classes = [](__m512i bytes, const uchar* table) {
            return _mm512_permutexvar_epi8(bytes, _mm512_load_si512(table));
        };
        return _mm512_ternarylogic_epi32(classes(first, of.lead), classes(second, of.second), classes(third, of.third),
                                         0x80);
    }
};

/// As structure::of, except where something is malformed: there it only shows that it is, by a byte misplaced.
struct lead_bounds {
    const __m512i c0 = held(0xC0), c2 = held(0xC2), c2_to_f4 = held(0xF4 - 0xC2), from_e0 = held(0xE0 - 0xC2),
                  from_f0 = held(0xF0 - 0xC2);

    template <class Text>
    structure of(Text p, std::uint64_t carry) const {
        const __m512i text = p.bytes(), lead = _mm512_sub_epi8(text, c2);
        const __mmask64 leads = _mm512_cmple_epu8_mask(lead, c2_to_f4);
        structure s{word(_mm512_cmplt_epi8_mask(text, c0)), 0, word(leads),
                    word(_mm512_mask_cmpge_epu8_mask(leads, lead, from_e0)),
                    word(_mm512_mask_cmpge_epu8_mask(leads, lead, from_f0))};
        s.expected = s.leads << 1 | s.three_or_four << 2 | s.four << 3 | carry;
        return s;
    }
};

/// The wide characters of three bytes in 16 classes.
struct wide_classes {
    triple_classes half[2];

    consteval wide_classes() {
        std::uint64_t seconds_of[16] = {}, thirds_of[16] = {}; // leads with the same followers share a class
        const auto add = [&](unsigned lead, std::uint64_t seconds, std::uint64_t thirds) {
            unsigned c = 0;
            while (seconds_of[c] != 0 && (seconds_of[c] != seconds || thirds_of[c] != thirds))
                ++c;
            seconds_of[c] = seconds;
            thirds_of[c] = thirds;
            half[c / 8].add(c % 8, lead, seconds, thirds);
        };
        for (unsigned lead = 0xE1; lead <= 0xEF; ++lead) {
            std::uint64_t all_wide = 0;
            for (unsigned second = 0; second < 64; ++second) {
                std::uint64_t thirds = 0;
                for (unsigned third = 0; third < 64; ++third) {
                    const uchar triple[3] = {static_cast<uchar>(lead), static_cast<uchar>(0x80 | second),
                                             static_cast<uchar>(0x80 | third)};
                    thirds |= std::uint64_t{is_wide_triple(triple)} << third;
                }
                if (thirds == ~std::uint64_t{0})
                    all_wide |= std::uint64_t{1} << second;
                else if (thirds != 0)
                    add(lead, std::uint64_t{1} << second, thirds);
            }
            if (all_wide != 0) add(lead, all_wide, ~std::uint64_t{0});
        }
    }
};
constexpr wide_classes wide_by_class;

/// The characters that take two columns.
template <class Text>
inline std::uint64_t wide_characters(Text p, const structure& s) {
    if (s.three_or_four == 0) return 0;
    const auto lanes = triple_lanes::of(p);
    const __m512i both = _mm512_or_si512(lanes.shared(wide_by_class.half[0]), lanes.shared(wide_by_class.half[1]));
    return word(_mm512_test_epi8_mask(both, both)) & s.three_or_four; // no class has a lead of four
}

struct block_letters {
    triple_lanes lanes;
    std::uint64_t leads; ///< that letters may begin with

    template <class Text>
    block_letters(const letter_pages& letters, Text p, const structure& s) : lanes(triple_lanes::of(p)) {
        const __m512i may_change = lanes.shared(letters.may_change);
        leads = word(_mm512_test_epi8_mask(may_change, may_change)) & s.leads;
    }
    /// Changes ASCII letters in the n bytes of the block and the characters that `asked` marks, those of one page at a time.
    void change(const letter_pages& letters, uchar first, uchar* p, std::size_t n, std::uint64_t asked) const {
        const __m512i text = lanes.first;
        __m512i changed = block{text}.flip_letters(first).v;
        const auto all = [](uchar b) { return _mm512_set1_epi8(static_cast<char>(b)); };
        while (asked != 0) {
            const uchar* const c = p + lowest(asked);
            const bool three = c[0] >= 0xE0;
            std::uint64_t same = _mm512_mask_cmpeq_epi8_mask(asked, text, all(c[0]));
            if (three) same = _mm512_mask_cmpeq_epi8_mask(same, lanes.second, all(c[1]));
            asked &= ~same;
            const uchar number = letters.page_of[upper_bits(c, three ? 3 : 2)];
            if (number == 0) continue;
            const letter_page& page = letters.page[number];
            const auto change_bytes = [&](std::uint64_t where, __m512i last_bytes, const uchar* to) {
                changed = _mm512_mask_permutexvar_epi8(changed, where, last_bytes, _mm512_load_si512(to));
            };
            change_bytes(same, three ? lanes.third : lanes.second, page.first);
            if (three) change_bytes(same << 1, lanes.second, page.second);
            change_bytes(same << (three ? 2 : 1), text, page.last);
        }
        _mm512_mask_storeu_epi8(p, bytes_before(n), changed);
    }
};

} // namespace
} // namespace qzstr::core::QZSTR_LEVEL
