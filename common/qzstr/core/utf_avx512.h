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

/// What to add to a second byte, by the low six bits of its lead: what may not follow that goes beyond BF.
struct second_bytes {
    alignas(64) uchar shift_after[64] = {};

    consteval explicit second_bytes(bool four) {
        const auto allow = [this](unsigned lead, unsigned first, unsigned last) {
            const unsigned shift = first > last ? 0x40 : first > 0x80 ? 0x100 - first : 0xBF - last;
            shift_after[lead & 0x3F] = static_cast<uchar>(shift);
        };
        allow(0xE0, 0xA0, 0xBF);
        allow(0xED, 0x80, 0x9F);
        for (unsigned never : {0xC0, 0xC1, 0xF0, 0xF1, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6, 0xF7, 0xF8, 0xF9, 0xFA, 0xFB, 0xFC,
                               0xFD, 0xFE, 0xFF})
            allow(never, 1, 0);
        if (!four) return;
        allow(0xF0, 0x90, 0xBF);
        for (unsigned lead : {0xF1, 0xF2, 0xF3})
            allow(lead, 0x80, 0xBF);
        allow(0xF4, 0x80, 0x8F);
    }
};
constexpr second_bytes seconds(true), seconds_within_bmp(false);

inline __m512i bits_where(__m512i mask, __m512i set, __m512i clear) {
    return _mm512_ternarylogic_epi32(mask, set, clear, 0xCA);
}
inline bool is_continuation(uchar b) {
    return (b & 0xC0) == 0x80;
}

/// A constant that stays in its register: g++ 12 makes those of one repeated byte anew in every round of a loop.
inline __m512i held(unsigned byte) {
    __m512i bytes = block::all(byte);
    asm("" : "+v"(bytes));
    return bytes;
}

/// A mask as a word, by one move; g++ otherwise moves it again for each use.
inline std::uint64_t word(__mmask64 mask) {
    std::uint64_t bits;
    asm("kmovq %1, %0" : "=r"(bits) : "k"(mask));
    return bits;
}

/// What decoding compares with and takes bits by.
struct decoding_bytes {
    const __m512i c0 = held(0xC0), e0 = held(0xE0), low_six = held(0x3F), low_four = held(0x0F);

    __mmask64 continuations(__m512i text) const { return _mm512_cmplt_epi8_mask(text, c0); }
    /// Which of the continuations `second` may not follow the leads `before`.
    __mmask64 forbidden(__m512i text, __m512i before, __mmask64 second, const second_bytes& allowed) const {
        const __m512i shift = _mm512_permutexvar_epi8(before, _mm512_load_si512(allowed.shift_after));
        const __m512i shifted = _mm512_add_epi8(text, shift);
        return _mm512_mask_cmpge_epu8_mask(second, shifted, c0);
    }
};

/// 64 bytes, those one and two places before each, and one behind.
struct surroundings {
    __m512i text, back_1, back_2, next;

    template <class Mask>
    std::uint64_t mask(Mask mask) const {
        return mask(block{text});
    }
};

/// A block with bytes before and behind it.
struct inner_block {
    const uchar* p;

    __m512i text() const { return _mm512_loadu_si512(p); }
    __m512i next() const { return _mm512_loadu_si512(p + 1); }
    surroundings all() const { return {text(), _mm512_loadu_si512(p - 1), _mm512_loadu_si512(p - 2), next()}; }
};

/// A block of a text of which `left` bytes are left, and which `began` before or begins here. What is not there is zero.
struct edge_block {
    const uchar* p;
    std::size_t left;
    bool began;

    std::uint64_t inside() const { return bytes_before(std::min(left, block_size)); }
    __m512i text() const { return _mm512_maskz_loadu_epi8(inside(), p); }
    __m512i next() const { return _mm512_maskz_loadu_epi8(left > block_size ? inside() : inside() >> 1, p + 1); }
    surroundings all() const {
        return {text(), _mm512_maskz_loadu_epi8(inside() << 1 | (began ? 1 : 0), p - 1),
                _mm512_maskz_loadu_epi8(inside() << 2 | (began ? 3 : 0), p - 2), next()};
    }
};

/// The bytes of the units that characters give, where they end.
struct unit_planes {
    __m512i low, high;

    /// As if each byte ended a character of two or three.
    static unit_planes of(const surroundings& t, const decoding_bytes& bytes) {
        // Only leads of three have bits above E0 to give, E0 has none.
        const __m512i top = _mm512_slli_epi16(_mm512_subs_epu8(t.back_2, bytes.e0), 4);
        return {bits_where(bytes.low_six, t.text, _mm512_slli_epi16(t.back_1, 6)),
                bits_where(bytes.low_four, _mm512_srli_epi16(t.back_1, 2), top)};
    }
    /// Pairs, of which the `first` units stand where the third bytes are.
    void put_pairs(const surroundings& t, std::uint64_t first, std::uint64_t second) {
        // The second unit has two bits of the third byte; the first is D7C0 + (code point >> 10), F0 leads to D8 or D7.
        const __m512i second_high = _mm512_ternarylogic_epi32(high, block::all(0x03), block::all(0xDC), 0xEA);
        const __m512i bits = bits_where(block::all(0x03), _mm512_srli_epi16(t.text, 4), _mm512_slli_epi16(t.back_1, 2));
        const __m512i borrow = _mm512_movm_epi8(_mm512_cmplt_epu8_mask(bits, block::all(0x40)));
        const __m512i first_high = _mm512_add_epi8(_mm512_add_epi8(t.back_2, block::all(0xD8 - 0xF0)), borrow);
        low = _mm512_mask_sub_epi8(low, first, bits, block::all(0x40));
        high = _mm512_mask_mov_epi8(_mm512_mask_mov_epi8(high, second, second_high), first, first_high);
    }
    /// Bytes that continue nothing are units themselves.
    void keep_singles(__m512i text, __mmask64 continued) {
        low = _mm512_mask_mov_epi8(text, continued, low);
        high = _mm512_maskz_mov_epi8(continued, high);
    }
    void replace(std::uint64_t bad) {
        low = _mm512_mask_mov_epi8(low, bad, block::all(0xFD));
        high = _mm512_mask_mov_epi8(high, bad, block::all(0xFF));
    }
    unit_planes pressed(__mmask64 marks) const {
        return {_mm512_maskz_compress_epi8(marks, low), _mm512_maskz_compress_epi8(marks, high)};
    }
};

/// The bytes that none continues, as a mask and as a word.
struct character_ends {
    __mmask64 mask;
    std::uint64_t marks;

    static character_ends of(__m512i next, const decoding_bytes& bytes) {
        const __mmask64 mask = _mm512_cmpge_epi8_mask(next, bytes.c0);
        return {mask, word(mask)};
    }
};

/// What becomes of 64 bytes, if they are well-formed up to the byte behind them. A character gives its unit where it ends, and
/// the first of a surrogate pair one byte before.
struct usual_block {
    unit_planes units;
    character_ends ends;
    __mmask64 leads, expected;
    bool within_bmp; ///< false where they are malformed or have characters of four bytes

    [[gnu::always_inline]] usual_block(const surroundings& t, character_ends e, const decoding_bytes& bytes)
        : units(unit_planes::of(t, bytes)), ends(e), leads(_mm512_cmpge_epu8_mask(t.text, bytes.c0)),
          expected(_kor_mask64(leads, _mm512_cmpge_epu8_mask(t.back_1, bytes.e0))),
          within_bmp(_kortestz_mask64_u8(_kxnor_mask64(expected, ends.mask),
                                         bytes.forbidden(t.next, t.text, leads, seconds_within_bmp)) != 0) {}

    /// False where they are malformed. `cut`: the bytes before of a character of four.
    bool find_pairs(const surroundings& t, std::size_t cut, const decoding_bytes& bytes) {
        const std::uint64_t first = _mm512_cmpge_epu8_mask(t.back_2, block::all(0xF0));
        if ((expected | first) != ~ends.marks || bytes.forbidden(t.next, t.text, leads, seconds) != 0) return false;
        units.put_pairs(t, first, first << 1 | (cut == 3 ? 1 : 0));
        ends.mask = ends.marks |= first;
        return true;
    }
};

/// What becomes of up to 64 bytes of any text that begin with a character.
struct any_block {
    unit_planes units;
    std::uint64_t marks, first_of_pair = 0, bad = 0; ///< `bad`: the ends of malformed characters
    std::size_t bytes; ///< those of whole characters, and before one of four where that `stops`

    template <bool Pairs>
    static any_block of(surroundings t, std::size_t n, bool stops, const decoding_bytes& bytes) {
        const structure s = structure::of(t, 0);
        any_block b{{}, ~(s.expected >> 1), 0, 0, s.whole_bytes(n)};
        std::uint64_t wrong = s.misplaced() | s.impossible | (Pairs ? 0 : s.four << 3) |
                              bytes.forbidden(t.text, t.back_1, s.leads << 1, seconds);
        wrong &= bytes_before(b.bytes);
        wrong |= (wrong & ~b.marks) << 1;
        wrong |= (wrong & ~b.marks) << 1;
        b.bad = wrong & b.marks;
        // What is malformed may have leads of three elsewhere.
        t.back_2 = _mm512_maskz_mov_epi8(s.three_or_four << 2, t.back_2);
        b.units = unit_planes::of(t, bytes);
        if (Pairs) b.first_of_pair = s.four << 2 & ~(wrong >> 1);
        if (Pairs && b.first_of_pair != 0) b.units.put_pairs(t, b.first_of_pair, b.first_of_pair << 1);
        b.units.keep_singles(t.text, s.expected);
        b.units.replace(b.bad);
        b.marks |= b.first_of_pair;
        b.keep(stops && s.four != 0 ? std::min(b.bytes, lowest(s.four)) : b.bytes);
        return b;
    }
    void keep(std::size_t n) {
        bytes = n;
        marks &= bytes_before(n);
        bad &= bytes_before(n);
    }
    std::size_t count() const { return static_cast<std::size_t>(std::popcount(marks)); }
    /// Only the characters whose units have room.
    void fit(std::size_t room) {
        if (count() <= room) return;
        const std::size_t next = nth_bit(marks, room); // the unit that has none
        const std::uint64_t before = marks & ~first_of_pair & bytes_before(next);
        keep(before == 0 ? 0 : 64 - static_cast<std::size_t>(std::countl_zero(before)));
    }
};

/// By a byte of a unit's place among 32, where it comes from: their low bytes stand before the high ones.
template <order Order>
struct unit_turns {
    alignas(64) uchar from[64] = {};

    consteval unit_turns() {
        for (unsigned i = 0; i < 64; ++i)
            from[i] = static_cast<uchar>(i / 2 + (i % 2 == (Order == order::big ? 0 : 1) ? 32 : 0));
    }
};
template <order Order>
constexpr unit_turns<Order> turns;

/// Stores the units of up to 64 marks, and more where there is room for all.
template <order Order>
void store_units(uchar* dst, unit_planes units, std::size_t count, std::size_t room) {
    const auto store_half = [](uchar* to, __m512i half, std::size_t here, std::size_t space) {
        if (space >= 32)
            _mm512_storeu_si512(to, half);
        else
            _mm512_mask_storeu_epi16(to, static_cast<__mmask32>(bytes_before(here)), half);
    };
    if (count <= 32) {
        const __m512i both = _mm512_inserti64x4(units.low, _mm512_castsi512_si256(units.high), 1);
        store_half(dst, _mm512_permutexvar_epi8(_mm512_load_si512(turns<Order>.from), both), count, room);
        return;
    }
    // Quarters for the first store and for the second one side by side, as they are interleaved.
    const __m512i quarters = _mm512_setr_epi64(0, 4, 1, 5, 2, 6, 3, 7);
    __m512i first = _mm512_permutexvar_epi64(quarters, units.low),
            second = _mm512_permutexvar_epi64(quarters, units.high);
    if (Order == order::big) std::swap(first, second);
    _mm512_storeu_si512(dst, _mm512_unpacklo_epi8(first, second));
    store_half(dst + 64, _mm512_unpackhi_epi8(first, second), count - 32, room - 32);
}

/// The same as UCS-4, one store for 16.
template <order Order>
void store_wide(uchar* dst, unit_planes units, std::size_t count) {
    const auto next_16 = [](__m512i& plane) {
        const __m512i wide = _mm512_cvtepu8_epi32(_mm512_castsi512_si128(plane));
        plane = _mm512_alignr_epi32(plane, plane, 4);
        return wide;
    };
    for (std::size_t done = 0; done < count; done += 16) {
        const __m512i low = next_16(units.low), c = _mm512_or_si512(low, _mm512_slli_epi32(next_16(units.high), 8));
        _mm512_mask_storeu_epi32(dst + 4 * done, first_lanes(count - done), Order == order::big ? swap_bytes_32(c) : c);
    }
}

/// The units of a text of at most 64 bytes, when it is well-formed and, without `Pairs`, within the BMP.
template <bool Pairs>
struct short_text {
    unit_planes units;
    std::size_t count;
    bool usual;

    short_text(const uchar* p, std::size_t n) {
        const decoding_bytes bytes;
        const surroundings t = edge_block{p, n, false}.all();
        usual_block b(t, character_ends::of(t.next, bytes), bytes);
        const __mmask64 continuations = bytes.continuations(t.text);
        usual = (b.within_bmp || (Pairs && b.find_pairs(t, 0, bytes))) && (continuations & 1) == 0;
        b.units.keep_singles(t.text, continuations);
        const std::uint64_t marks = b.ends.marks & bytes_before(n);
        units = b.units.pressed(marks);
        count = static_cast<std::size_t>(std::popcount(marks));
    }
};

/// Decodes block by block. `store(at, units, count, room)` gets the units that come behind `at` of them, and tells whether
/// it replaced one.
template <bool Pairs, class Store>
struct block_decoder {
    const uchar* src;
    std::size_t n, units;
    Store store;
    std::size_t base = 0, done = 0; ///< bytes read and units stored
    std::size_t cut_four = 0;       ///< bytes before of a character of four that goes on
    std::uint64_t replaced = 0;     ///< or 1: a byte that is spilt and read back as a word holds everything up
    decoding_bytes bytes{};

    /// As far as there is room; what the end of the text cuts stays. With `stops`, only up to the first character of four
    /// bytes.
    [[gnu::always_inline]] converted decode(bool stops) {
        bool began = false; // what stands before is well-formed, and may go on
        while (base < n) {
            if (decode_usual_blocks(began)) {
                began = true;
                continue;
            }
            if (began) take_back_cut();
            if (!decode_any(stops)) break;
            began = false;
        }
        return {base, done, replaced != 0};
    }

private:
    /// Those with bytes before and behind and room for all that they may give, and the one behind them or at the beginning.
    /// False where one is malformed, or has no room.
    [[gnu::always_inline]] bool decode_usual_blocks(bool began) {
        while (began && n - base > block_size && units - done >= block_size)
            if (!decode_usual(inner_block{src + base}, block_size, units - done)) return false;
        if (!began && is_continuation(src[base])) return false;
        const edge_block at{src + base, n - base, began};
        return decode_usual(at, std::min(n - base, block_size), units - done);
    }
    template <class Block>
    [[gnu::always_inline]] bool decode_usual(const Block& at, std::size_t taken, std::size_t room) {
        const character_ends ends = character_ends::of(at.next(), bytes);
        if (~ends.marks == 0 && _mm512_movepi8_mask(at.text()) == 0) {
            if (taken > room) return false;
            put_ascii(at.text(), taken, room);
            if (taken == block_size) decode_ascii();
            return true;
        }
        const surroundings t = at.all();
        usual_block b(t, ends, bytes);
        if (!b.within_bmp || cut_four != 0) [[unlikely]] {
            if (!Pairs || !b.find_pairs(t, cut_four, bytes)) return false;
            cut_four = bytes_of_cut(at.p + taken, 0xF0);
        }
        b.units.keep_singles(t.text, bytes.continuations(t.text));
        const std::uint64_t inside = taken == block_size ? ~std::uint64_t{0} : bytes_before(taken);
        const auto count = static_cast<std::size_t>(std::popcount(b.ends.marks & inside));
        if (count > room) return false;
        put(b.units.pressed(b.ends.mask & inside), count, room);
        base += taken;
        return true;
    }
    /// Blocks of ASCII before what is no continuation.
    [[gnu::always_inline]] void decode_ascii() {
        while (n - base > block_size && units - done >= block_size && !is_continuation(src[base + block_size])) {
            const __m512i text = inner_block{src + base}.text();
            if (_mm512_movepi8_mask(text) != 0) return;
            put_ascii(text, block_size, units - done);
        }
    }
    /// A block that begins with a character. False where there is no room, no whole character, or one that stops.
    [[gnu::always_inline]] bool decode_any(bool stops) {
        const surroundings t = edge_block{src + base, n - base, false}.all();
        any_block b = any_block::of<Pairs>(t, std::min(n - base, block_size), stops, bytes);
        b.fit(units - done);
        put(b.units.pressed(b.marks), b.count(), units - done);
        replaced |= b.bad != 0;
        base += b.bytes;
        return b.bytes != 0;
    }
    /// Of a character that goes on, the bytes and the first unit of its pair.
    void take_back_cut() {
        const std::size_t cut = bytes_of_cut(src + base);
        base -= cut;
        done -= cut == 3 ? 1 : 0;
        cut_four = 0;
    }
    [[gnu::always_inline]] void put(const unit_planes& planes, std::size_t count, std::size_t room) {
        replaced |= store(done, planes, count, room);
        done += count;
    }
    [[gnu::always_inline]] void put_ascii(__m512i text, std::size_t count, std::size_t room) {
        put({text, _mm512_setzero_si512()}, count, room);
        base += count;
    }
};

/// Into 16-bit units; counts bytes on both sides.
template <bool Pairs, order Order>
[[gnu::noinline]] converted decode_utf8_units(const uchar* src, std::size_t n, uchar* dst, std::size_t units,
                                              bool stops) {
    const auto store = [=](std::size_t at, const unit_planes& planes, std::size_t count, std::size_t room) {
        // Stores that lie across two lines would wait for each of them.
        for (const std::size_t ahead : {1024, 1088})
            __builtin_prefetch(dst + 2 * at + ahead);
        store_units<Order>(dst + 2 * at, planes, count, room);
        return false;
    };
    block_decoder<Pairs, decltype(store)> decoder{src, n, units, store};
    const converted m = decoder.decode(stops);
    return {m.read, 2 * m.written, m.replaced};
}

/// Stores the bytes of `count` units; tells whether one was replaced.
inline bool store_bytes(const byte_encoding& plan, uchar* dst, unit_planes units, std::size_t count) {
    const encoded_block e = encode_planes(plan, units.high, units.low, bytes_before(count));
    _mm512_mask_storeu_epi8(dst, bytes_before(count), e.bytes);
    return e.replaced;
}

/// Into bytes.
[[gnu::noinline]] converted decode_utf8_bytes(const byte_encoding& plan, const uchar* src, std::size_t n, uchar* dst,
                                              std::size_t units) {
    const auto store = [&plan, dst](std::size_t at, const unit_planes& planes, std::size_t count, std::size_t) {
        return store_bytes(plan, dst + at, planes, count);
    };
    block_decoder<false, decltype(store)> decoder{src, n, units, store};
    return decoder.decode(false);
}

// ---- Decoding the marked characters of a block -----------------------------------------------------------------------

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
    static_assert(Form == form::ucs4);
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
        _mm512_mask_storeu_epi32(dst, first_lanes(static_cast<std::size_t>(left)),
                                 Order == order::big ? swap_bytes_32(c) : c);
        dst += 16 * unit_size<form::ucs4>;
        positions = _mm512_alignr_epi32(positions, positions, 4);
    }
}

// ---- Encoding -------------------------------------------------------------------------------------------------------

/// Up to 16 code points.
template <form Form, order Order>
__m512i load_group(const uchar* src, std::size_t count) {
    const auto lanes = static_cast<__mmask16>(first_bits(count));
    if constexpr (Form == form::ucs4) {
        const __m512i c = _mm512_maskz_loadu_epi32(lanes, src);
        return Order == order::big ? swap_bytes_32(c) : c;
    } else {
        const __m256i units = _mm256_maskz_loadu_epi16(lanes, src);
        return _mm512_cvtepu16_epi32(Order == order::big ? swap_bytes_16(units) : units);
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

    template <order Order>
    static few_units of(__m512i units) {
        return few_units(Order == order::big ? swap_bytes_16(units) : units);
    }
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
        const auto u = few_units<Form>::template of<Order>(_mm512_loadu_si512(src + 2 * i));
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
    return few_units<Form>::template of<Order>(_mm512_maskz_loadu_epi16(inside, src));
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
    c = _mm512_mask_sub_epi32(c, first, _mm512_add_epi32(_mm512_slli_epi32(c, 10), next), all(pair_excess));
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
        while (asked != 0) {
            const uchar* const c = p + lowest(asked);
            const bool three = c[0] >= 0xE0;
            std::uint64_t same = _mm512_mask_cmpeq_epi8_mask(asked, text, block::all(c[0]));
            if (three) same = _mm512_mask_cmpeq_epi8_mask(same, lanes.second, block::all(c[1]));
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
