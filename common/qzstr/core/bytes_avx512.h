// Tables on AVX-512, and the encoding of units that stand in two planes of bytes.
#pragma once

#include "core/kernels.h"
#include "core/vector.h"

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512

namespace qzstr::core::avx512 {
namespace {

/// 128 bytes to look up by the low seven bits of an index.
struct half_table {
    __m512i first, second;

    explicit half_table(const uchar* p) : first(_mm512_loadu_si512(p)), second(_mm512_loadu_si512(p + 64)) {}
    __m512i at(__m512i index) const { return _mm512_permutex2var_epi8(first, index, second); }
};

inline __m512i look_up_256(const uchar* table, __m512i index) {
    const __m512i lower = half_table(table).at(index), upper = half_table(table + 128).at(index);
    return _mm512_mask_mov_epi8(lower, _mm512_movepi8_mask(index), upper);
}

/// The cells of 16 indices, each with the next one in the upper half of its lane.
inline __m512i gather(const std::uint16_t* cells, __m512i index) {
    return _mm512_i32gather_epi32(index, cells, 2);
}

/// The cells of the units `here` one by one.
[[gnu::noinline]] __m512i cells_one_by_one(const byte_encoding& plan, __m512i high, __m512i low, __mmask64 here) {
    alignas(64) uchar page[64], byte[64];
    _mm512_store_si512(page, high);
    _mm512_store_si512(byte, low);
    for (std::uint64_t left = here; left != 0; left &= left - 1)
        byte[lowest(left)] = plan.cell[plan.page[page[lowest(left)]] + byte[lowest(left)]];
    return _mm512_load_si512(byte);
}

struct encoded_block {
    __m512i bytes;
    bool replaced;
};

/// The bytes of the units `here`, whose high and low bytes are given.
inline encoded_block encode_planes(const byte_encoding& plan, __m512i high, __m512i low, __mmask64 here) {
    __m512i out = low;
    __mmask64 todo = here;
    if (plan.over_ascii) {
        const __m512i beyond_ascii = _mm512_ternarylogic_epi32(high, low, block::all(0x80), 0xF8);
        todo = _mm512_mask_test_epi8_mask(here, beyond_ascii, beyond_ascii);
        if (todo == 0) return {out, false};
    }
    // One look-up for each page that occurs; text of one language needs one or two.
    const __mmask64 looked_up = todo;
    for (int pages = 0; todo != 0; ++pages) {
        if (pages == 8) {
            out = _mm512_mask_mov_epi8(out, todo, cells_one_by_one(plan, high, low, todo));
            break;
        }
        const __m512i waiting = _mm512_maskz_compress_epi8(todo, high);
        const auto page = static_cast<uchar>(_mm_cvtsi128_si32(_mm512_castsi512_si128(waiting)));
        const __mmask64 same = _mm512_mask_cmpeq_epi8_mask(todo, high, block::all(page));
        out = _mm512_mask_mov_epi8(out, same, look_up_256(plan.cell + plan.page[page], low));
        todo &= ~same;
    }
    if (__mmask64 none = _mm512_mask_testn_epi8_mask(looked_up, out, out); none != 0) [[unlikely]] {
        const __m512i unit = _mm512_or_si512(high, low);
        none = _mm512_mask_test_epi8_mask(none, unit, unit); // U+0000 is itself
        out = _mm512_mask_mov_epi8(out, none, block::all(plan.substitute));
        return {out, none != 0};
    }
    return {out, false};
}

} // namespace
} // namespace qzstr::core::avx512

#endif
