// Decoding of pairs on AVX-512: what only this level has the instructions for. Included by kernel_pair_decoding.cpp alone.
#pragma once

#include "core/bytes_avx512.h"
#include "core/kernels.h"
#include "core/lanes.h"
#include "core/pair_blocks.h"
#include "core/pair_targets.h"
#include "core/units.h"
#include "core/vector.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace qzstr::core::QZSTR_LEVEL {
namespace {

/// The same as UTF-8, up to a number of units and of bytes.
struct utf8_target {
    static constexpr bool holds_supplementary = true;
    uchar* dst;
    std::size_t size, limit;
    std::size_t written = 0, units = 0;
    bool replaced = false;

    utf8_target copy() const { return {dst, size, limit, written, units, replaced}; }

    struct place_in_both {
        std::size_t written, units;
    };
    place_in_both place() const { return {written, units}; }
    void back_to(place_in_both before) {
        written = before.written;
        units = before.units;
    }

    std::size_t room() const { return limit - units; }

    bool put_ascii(const uchar* p, std::size_t n) {
        if (size - written < n || room() < n) return false;
        store_first(dst + written, size - written, _mm512_maskz_loadu_epi8(first_bits(n), p), n);
        written += n;
        units += n;
        return true;
    }

    bool put_replacement() {
        if (room() == 0 || size - written < 3) return false;
        std::memcpy(dst + written, "\xEF\xBF\xBD", 3);
        written += 3;
        ++units;
        return true;
    }
};
/// The code points of cells.
__m512i code_points(__m512i cells) {
    return _mm512_shuffle_epi8(
        cells, _mm512_broadcast_i32x4(_mm_setr_epi8(1, 0, -1, -1, 5, 4, -1, -1, 9, 8, -1, -1, 13, 12, -1, -1)));
}

/// Takes the first n of 16 cells, for which there is room as units; false without room for their bytes.
template <form Form, order Order>
bool put_group(unit_target<Form, Order>& target, __m512i cells, std::size_t n) {
    constexpr std::size_t unit = unit_size<Form>;
    uchar* const dst = target.dst + target.units * unit;
    // A masked store could not be read back without waiting.
    const __mmask16 lanes = first_lanes(target.room() >= 16 ? 16 : n);
    if constexpr (Form == form::ucs4) {
        _mm512_mask_storeu_epi32(dst, lanes, Order == order::big ? _mm512_slli_epi32(cells, 16) : code_points(cells));
    } else {
        const __m256i units = _mm512_cvtepi32_epi16(Order == order::big ? cells : code_points(cells));
        if (lanes == first_lanes(16))
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), units);
        else
            _mm256_mask_storeu_epi16(dst, lanes, units);
    }
    target.units += n;
    return true;
}
bool put_code_points(utf8_target& target, __m512i c, __mmask16 supplementary, std::size_t n) {
    spread_bytes utf8 = spread_group(c, _mm512_cmpgt_epu32_mask(c, _mm512_set1_epi32(0x7F)),
                                     _mm512_cmpgt_epu32_mask(c, _mm512_set1_epi32(0x7FF)), supplementary);
    utf8.marks &= first_bits(4 * n);
    const std::size_t room = target.size - target.written;
    if (room < utf8.length()) return false;
    store_first(target.dst + target.written, room, utf8.pressed(), utf8.length());
    target.written += utf8.length();
    target.units += n;
    return true;
}
bool put_group(utf8_target& target, __m512i cells, std::size_t n) {
    return put_code_points(target, code_points(cells), 0, n);
}

/// The same with those of U+10000 + `number` where `supplementary` says so.
template <order Order>
bool put_mixed(unit_target<form::ucs4, Order>& target, __m512i cells, __mmask16 supplementary, __m512i number,
               std::size_t n) {
    const __m512i c = _mm512_mask_add_epi32(code_points(cells), supplementary, number, _mm512_set1_epi32(0x10000));
    const __m512i units = Order == order::big ? swap_bytes_32(c) : c;
    _mm512_mask_storeu_epi32(target.dst + target.units * 4, first_lanes(target.room() >= 16 ? 16 : n), units);
    target.units += n;
    return true;
}
template <order Order>
bool put_mixed(unit_target<form::utf16, Order>& target, __m512i cells, __mmask16 supplementary, __m512i number,
               std::size_t n) {
    static_assert(Order == order::big);
    const auto all = [](int v) { return _mm512_set1_epi32(v); };
    const __m512i high = _mm512_or_si512(_mm512_srli_epi32(number, 10), all(0xD800));
    const __m512i low = _mm512_or_si512(_mm512_and_si512(number, all(0x3FF)), all(0xDC00));
    const __m512i pair = _mm512_or_si512(_mm512_slli_epi32(high, 16), low);
    const __m512i words = _mm512_mask_mov_epi32(cells, supplementary, swap_bytes_32(pair));
    const std::uint64_t kept = (_mm512_test_epi16_mask(words, words) | even_bits) & first_bits(2 * n);
    const auto length = static_cast<std::size_t>(std::popcount(kept));
    if (target.room() < length) return false;
    const __mmask32 stored = static_cast<__mmask32>(first_bits(target.room() >= 32 ? 32 : length));
    _mm512_mask_storeu_epi16(target.dst + target.units * 2, stored,
                             _mm512_maskz_compress_epi16(static_cast<__mmask32>(kept), words));
    target.units += length;
    return true;
}
bool put_mixed(utf8_target& target, __m512i cells, __mmask16 supplementary, __m512i number, std::size_t n) {
    const __m512i c = _mm512_mask_add_epi32(code_points(cells), supplementary, number, _mm512_set1_epi32(0x10000));
    return put_code_points(target, c, supplementary, n);
}

/// 64 bytes of text, or what is left of it: the row of each as a lead (0: no lead), the byte, the one behind it.
struct paired_bytes {
    const uchar* p;
    std::size_t left;
    __m512i byte, behind, row;

    // Masked loads read nothing behind the text, and need no copy of it.
    paired_bytes(const pair_decoding& plan, const uchar* text, std::size_t n)
        : p(text), left(n), byte(from(0)), behind(from(1)),
          row(_mm512_maskz_mov_epi8(_mm512_movepi8_mask(byte), half_table(plan.row).at(byte))) {}

    __m512i from(std::size_t at) const {
        return _mm512_maskz_loadu_epi8(first_bits(left - std::min(left, at)), p + at);
    }
    template <class Mask>
    std::uint64_t mask(Mask of) const {
        return of(block{byte});
    }
    std::uint64_t in_set() const { return _mm512_test_epi8_mask(row, row); }
    template <class Mask>
    std::uint64_t mask_behind(Mask of) const {
        return of(block{behind});
    }
    __m512i cell_in_row() const { return _mm512_mask_mov_epi8(byte, in_set(), behind); }
};

__m512i widened(__m512i bytes) {
    return _mm512_cvtepu8_epi32(_mm512_castsi512_si128(bytes));
}
void drop_16(__m512i& bytes) {
    bytes = _mm512_alignr_epi32(bytes, bytes, 4);
}
__m512i index_of(__m512i row, __m512i cell_in_row) {
    return _mm512_or_si512(_mm512_slli_epi32(widened(row), 8), widened(cell_in_row));
}

/// Decodes all characters that `start` marks; false when one of them must be asked for or replaced, or there is no room
/// for all.
template <class Target>
bool decode_block(const pair_decoding& plan, const paired_bytes& text, std::uint64_t start, Target& target) {
    const auto count = static_cast<std::size_t>(std::popcount(start));
    if (target.room() < count) return false;
    const auto before = target.place();
    const auto failed = [&] {
        target.back_to(before);
        return false;
    };
    __m512i row = _mm512_maskz_compress_epi8(start, text.row);
    __m512i cell_in_row = _mm512_maskz_compress_epi8(start, text.cell_in_row());
    __m512i highest = _mm512_setzero_si512();
    for (std::size_t done = 0; done < count; done += 16) {
        const __m512i cells = gather(plan.cell, index_of(row, cell_in_row));
        highest = _mm512_max_epu16(highest, cells);
        if (!put_group(target, cells, std::min<std::size_t>(count - done, 16))) return failed();
        drop_16(row);
        drop_16(cell_in_row);
    }
    const __mmask32 special = _mm512_cmpge_epu16_mask(highest, _mm512_set1_epi16(static_cast<short>(lead_substituted)));
    return (special & static_cast<std::uint32_t>(even_bits)) == 0 || failed();
}

/// The numbers of longer codes.
struct long_code_bytes {
    __m512i first, second, third, fourth;
    std::uint64_t valid;
    std::uint32_t radix, pair_weight;

    /// Of those that begin where `start` says. The second byte need not be looked at: invalid ones give high numbers.
    long_code_bytes(const long_code_shape& longer, const paired_bytes& text, std::uint64_t start)
        : radix(longer.radix[3]), pair_weight(longer.pair_weight()) {
        const auto all = [](uchar b) { return _mm512_set1_epi8(static_cast<char>(b)); };
        const auto value = [&](int at, __m512i bytes) {
            return _mm512_sub_epi8(_mm512_maskz_compress_epi8(start, bytes), all(longer.first[at]));
        };
        first = value(0, text.byte);
        second = value(1, text.behind);
        third = value(2, text.from(2));
        fourth = longer.bytes == 4 ? value(3, text.from(3)) : _mm512_setzero_si512();
        valid =
            _mm512_cmplt_epu8_mask(third, all(longer.radix[2])) & _mm512_cmplt_epu8_mask(fourth, all(longer.radix[3]));
    }
    /// Of 16 of them, and -1 where one is invalid.
    __m512i number() const {
        const auto combined = [](__m512i high, __m512i low, std::uint32_t weight) {
            return _mm512_madd_epi16(_mm512_or_si512(high, _mm512_slli_epi32(low, 16)),
                                     _mm512_set1_epi32(static_cast<int>(1 << 16 | weight)));
        };
        const __m512i high = combined(widened(first), widened(second), radix);
        const __m512i low = combined(widened(third), widened(fourth), radix);
        return _mm512_mask_mov_epi32(_mm512_set1_epi32(-1), static_cast<__mmask16>(valid),
                                     combined(high, low, pair_weight));
    }
    void drop() {
        for (__m512i* const each : {&first, &second, &third, &fourth})
            drop_16(*each);
        valid >>= 16;
    }
};

/// The same for any characters, which are replaced where a cell says so, up to one that must be asked for or has no room.
template <bool LongCodes, class Target>
[[gnu::noinline]] decoded_block decode_unusual(const pair_decoding& plan, const uchar* p, std::size_t left,
                                               block_of_pairs pairs, std::uint64_t telling, Target& target) {
    const auto characters = block_characters::of(plan.longer, pairs, telling);
    const paired_bytes text(plan, p, left);
    const auto all_of = [](std::uint32_t v) { return _mm512_set1_epi32(static_cast<int>(v)); };
    const auto equal_to = [all_of](__m512i cells, std::uint16_t value) {
        return _mm512_cmpeq_epi32_mask(cells, all_of(value));
    };
    const std::uint64_t start = characters.start;
    const auto all = static_cast<std::size_t>(std::popcount(start)), count = std::min(all, target.room());
    __m512i row = _mm512_maskz_compress_epi8(start, text.row);
    __m512i cell_in_row = _mm512_maskz_compress_epi8(start, text.cell_in_row());
    long_code_bytes long_code(plan.longer, text, LongCodes ? start : 0);
    std::uint64_t is_long = LongCodes ? _pext_u64(characters.long_ones, start) : 0;
    for (std::size_t done = 0; done < count; done += 16) {
        __m512i index = index_of(row, cell_in_row), number{};
        __mmask16 supplementary = 0;
        if constexpr (LongCodes) {
            const auto here = static_cast<__mmask16>(is_long);
            number = long_code.number();
            index = _mm512_mask_add_epi32(index, here, _mm512_min_epu32(number, all_of(plan.longer.count)),
                                          all_of(plan.long_cells));
            if constexpr (!Target::holds_supplementary) {
                const __mmask16 known = _mm512_mask_cmplt_epu32_mask(here, number, all_of(plan.longer.count));
                supplementary = _mm512_mask_cmpge_epu32_mask(known, number, all_of(plan.longer.ucs2));
            }
            number = _mm512_sub_epi32(number, all_of(plan.longer.supplementary));
            supplementary |= _mm512_mask_cmplt_epu32_mask(here, number, all_of(supplementary_count));
            is_long >>= 16;
            long_code.drop();
        }
        drop_16(row);
        drop_16(cell_in_row);
        __m512i cells = _mm512_and_si512(gather(plan.cell, index), all_of(0xFFFF));
        cells = _mm512_mask_mov_epi32(cells, supplementary, all_of(substituted));
        const std::size_t here = std::min<std::size_t>(count - done, 16);
        const __mmask16 lead_alone = equal_to(cells, lead_substituted), special = lead_alone | equal_to(cells, ask);
        const std::size_t n = std::min(lowest(special), here);
        __mmask16 replaced = equal_to(cells, substituted) & first_lanes(n);
        cells = _mm512_mask_mov_epi32(cells, replaced, all_of(replacement_cell));
        const auto put = [&] {
            if constexpr (LongCodes && Target::holds_supplementary) {
                if (target.room() < n) return false; // pairs before may have taken what was for these
                if (supplementary != 0) {
                    replaced &= static_cast<__mmask16>(~supplementary);
                    return put_mixed(target, cells, supplementary, number, n);
                }
            }
            return put_group(target, cells, n);
        };
        if (!put()) return {nth_bit(start, done), true};
        target.replaced |= replaced != 0;
        if (n < here) {
            const std::size_t at = nth_bit(start, done + n);
            if ((lead_alone >> n & 1) == 0 || !target.put_replacement()) return {at, true};
            target.replaced = true;
            return {at + 1, false};
        }
    }
    return {count < all ? nth_bit(start, count) : characters.end, count < all};
}

} // namespace
} // namespace qzstr::core::QZSTR_LEVEL
