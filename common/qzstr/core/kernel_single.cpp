// Characters of one byte: to units through two planes of bytes, from units through pages, to other bytes through a map.
#include "core/bytes_avx512.h"
#include "core/kernels.h"
#include "core/units.h"
#include "core/vector.h"

#include <cstring>

namespace qzstr::core::QZSTR_LEVEL {

namespace {

/// The rest that fills no block.
template <form Form, order Order>
void decode_each(const byte_decoding& plan, const uchar* src, std::size_t n, uchar* dst) {
    for (std::size_t i = 0; i < n; ++i)
        store_unit<Form, Order>(dst + i * unit_size<Form>, plan.unit[src[i]]);
}

template <form Form, order Order>
std::uint64_t cell_of(const byte_encoding& plan, const uchar* unit) {
    const char32_t c = load_unit<Form, Order>(unit);
    return c <= 0xFFFF ? plan.cell[plan.page[c >> 8] + (c & 0xFF)] : uchar{0};
}

/// The units of a block without cells; tells whether one was replaced.
template <form Form, order Order>
bool substitute(const byte_encoding& plan, const uchar* src, std::size_t n, uchar* dst) {
    bool replaced = false;
    for (std::size_t i = 0; i < n; ++i) {
        if (dst[i] != 0 || load_unit<Form, Order>(src + i * unit_size<Form>) == 0) continue;
        dst[i] = plan.substitute;
        replaced = true;
    }
    return replaced;
}

template <form Form, order Order>
bool encode_each(const byte_encoding& plan, const uchar* src, std::size_t n, uchar* dst) {
    constexpr std::size_t unit = unit_size<Form>;
    constexpr std::size_t at_once = 8;
    bool replaced = false;
    std::size_t i = 0;
    for (; i + at_once <= n; i += at_once) {
        std::uint64_t all = 0;
        for (std::size_t k = 0; k < at_once; ++k)
            all |= cell_of<Form, Order>(plan, src + (i + k) * unit) << 8 * k;
        std::memcpy(dst + i, &all, at_once);
        constexpr std::uint64_t ones = 0x0101010101010101;
        if (((all - ones) & ~all & (ones << 7)) != 0)
            replaced |= substitute<Form, Order>(plan, src + i * unit, at_once, dst + i);
    }
    for (std::size_t k = i; k < n; ++k)
        dst[k] = static_cast<uchar>(cell_of<Form, Order>(plan, src + k * unit));
    return substitute<Form, Order>(plan, src + i * unit, n - i, dst + i) || replaced;
}

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512

constexpr std::size_t wide = 64;

/// The lanes of a block of which n bytes are left.
__mmask64 lanes(std::size_t n) {
    return n >= wide ? ~__mmask64{0} : (__mmask64{1} << n) - 1;
}

template <order Order>
void decode_units(const byte_decoding& plan, const uchar* src, std::size_t n, uchar* dst) {
    const half_table low(plan.low), high(plan.high);
    // Unpacking works within 16-byte lanes: eight bytes of each half go into every lane first.
    const __m512i spread = _mm512_setr_epi64(0, 4, 1, 5, 2, 6, 3, 7);
    for (std::size_t i = 0; i < n; i += wide) {
        const __mmask64 here = lanes(n - i);
        const __m512i in = _mm512_permutexvar_epi64(spread, _mm512_maskz_loadu_epi8(here, src + i));
        const __mmask64 upper = _mm512_movepi8_mask(in);
        const __m512i l = _mm512_mask_mov_epi8(in, upper, low.at(in));
        const __m512i h = _mm512_maskz_mov_epi8(upper, high.at(in));
        const __m512i a = Order == order::big ? h : l, b = Order == order::big ? l : h;
        _mm512_mask_storeu_epi16(dst + 2 * i, static_cast<__mmask32>(here), _mm512_unpacklo_epi8(a, b));
        _mm512_mask_storeu_epi16(dst + 2 * i + wide, static_cast<__mmask32>(here >> 32), _mm512_unpackhi_epi8(a, b));
    }
}

/// Every second byte of two blocks of units: the first or the second byte of each.
__m512i bytes_of(__m512i a, __m512i b, bool second) {
    const __m512i byte = _mm512_set1_epi16(0x00FF);
    const __m512i packed = second ? _mm512_packus_epi16(_mm512_srli_epi16(a, 8), _mm512_srli_epi16(b, 8))
                                  : _mm512_packus_epi16(_mm512_and_si512(a, byte), _mm512_and_si512(b, byte));
    return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), packed);
}

template <order Order>
bool encode_units(const byte_encoding& plan, const uchar* src, std::size_t n, uchar* dst) {
    bool replaced = false;
    constexpr bool big = Order == order::big;
    for (std::size_t i = 0; i < n; i += wide) {
        const __mmask64 here = lanes(n - i);
        const __m512i a = _mm512_maskz_loadu_epi16(static_cast<__mmask32>(here), src + 2 * i);
        const __m512i b = _mm512_maskz_loadu_epi16(static_cast<__mmask32>(here >> 32), src + 2 * i + wide);
        const __m512i high = bytes_of(a, b, !big), low = bytes_of(a, b, big);
        const encoded_block e = encode_planes(plan, high, low, here);
        _mm512_mask_storeu_epi8(dst + i, here, e.bytes);
        replaced |= e.replaced;
    }
    return replaced;
}

void map_all(const byte_map& map, const uchar* src, std::size_t n, uchar* dst) {
    for (std::size_t i = 0; i < n; i += wide) {
        const __mmask64 here = lanes(n - i);
        _mm512_mask_storeu_epi8(dst + i, here, look_up_256(map.to, _mm512_maskz_loadu_epi8(here, src + i)));
    }
}

#else

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx2

/// ORs the bytes at `index` (of those from `first` to `first` + 127; zero for others) of tables of 128 bytes.
template <std::size_t Tables>
void look_up_128(const uchar* const (&table)[Tables], unsigned first, __m256i index, __m256i (&out)[Tables]) {
    for (unsigned row = 0; row < 8; ++row) {
        // A byte in the row comes out as 0x70 to 0x7F, any other with the high bit, for which the shuffle gives zero.
        const __m256i from = _mm256_sub_epi8(index, block::all(first + 16 * row));
        const __m256i at = _mm256_adds_epu8(from, block::all(0x70));
        for (std::size_t t = 0; t < Tables; ++t) {
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(table[t] + 16 * row));
            out[t] = _mm256_or_si256(out[t], _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(bytes), at));
        }
    }
}

template <order Order>
void decode_block(const byte_decoding& plan, const uchar* src, uchar* dst) {
    const __m256i v = _mm256_permute4x64_epi64(block::load(src).v, 0xD8);
    __m256i plane[2] = {_mm256_andnot_si256(_mm256_cmpgt_epi8(_mm256_setzero_si256(), v), v), _mm256_setzero_si256()};
    look_up_128({plan.low, plan.high}, 0x80, v, plane);
    const __m256i a = plane[Order == order::big], b = plane[Order != order::big];
    block{_mm256_unpacklo_epi8(a, b)}.store(dst);
    block{_mm256_unpackhi_epi8(a, b)}.store(dst + block::size);
}

std::size_t map_blocks(const byte_map& map, const uchar* src, std::size_t n, uchar* dst) {
    std::size_t i = 0;
    for (; i + block::size <= n; i += block::size) {
        const block in = block::load(src + i);
        __m256i out[1] = {_mm256_setzero_si256()};
        look_up_128({map.to}, 0, in.v, out);
        if (in.high_bits() != 0) look_up_128({map.to + 128}, 0x80, in.v, out);
        block{out[0]}.store(dst + i);
    }
    return i;
}

#else

template <order Order>
void decode_block(const byte_decoding& plan, const uchar* src, uchar* dst) {
    decode_each<form::ucs2, Order>(plan, src, block::size, dst);
}
/// There is no shuffle by bytes: the table is read byte by byte.
std::size_t map_blocks(const byte_map&, const uchar*, std::size_t, uchar*) {
    return 0;
}

#endif

template <order Order>
void decode_units(const byte_decoding& plan, const uchar* src, std::size_t n, uchar* dst) {
    std::size_t i = 0;
    for (; i + block::size <= n; i += block::size) {
        const block in = block::load(src + i);
        if (in.high_bits() == 0)
            in.template widen<Order>(dst + 2 * i);
        else
            decode_block<Order>(plan, src + i, dst + 2 * i);
    }
    decode_each<form::ucs2, Order>(plan, src + i, n - i, dst + 2 * i);
}

template <order Order>
bool encode_units(const byte_encoding& plan, const uchar* src, std::size_t n, uchar* dst) {
    bool replaced = false;
    std::size_t i = 0;
    for (; i + block::size <= n; i += block::size)
        if (!plan.over_ascii || !block::template narrow_ascii<Order>(src + 2 * i, dst + i))
            replaced |= encode_each<form::ucs2, Order>(plan, src + 2 * i, block::size, dst + i);
    return encode_each<form::ucs2, Order>(plan, src + 2 * i, n - i, dst + i) || replaced;
}

void map_all(const byte_map& map, const uchar* src, std::size_t n, uchar* dst) {
    for (std::size_t i = map_blocks(map, src, n, dst); i < n; ++i)
        dst[i] = map.to[src[i]];
}

#endif

constexpr std::size_t group = 64;

/// A group to UCS-4 by way of 16-bit units, in a loop that the compiler turns into vectors. (On its own, so that short texts
/// pay no room for it.)
template <order Order>
[[gnu::noinline, maybe_unused]] void decode_group(const byte_decoding& plan, const uchar* src, uchar* dst) {
    uchar bytes[2 * group];
    std::uint16_t unit[group];
    std::uint32_t unit_32[group];
    decode_units<order::little>(plan, src, group, bytes);
    std::memcpy(unit, bytes, sizeof unit);
    for (std::size_t k = 0; k < group; ++k)
        unit_32[k] = Order == order::big ? __builtin_bswap32(unit[k]) : unit[k];
    std::memcpy(dst, unit_32, sizeof unit_32);
}

template <order Order>
[[maybe_unused]] void decode_wide(const byte_decoding& plan, const uchar* src, std::size_t n, uchar* dst) {
    std::size_t i = 0;
    for (; i + group <= n; i += group)
        decode_group<Order>(plan, src + i, dst + i * 4);
    decode_each<form::ucs4, Order>(plan, src + i, n - i, dst + i * 4);
}

} // namespace

std::size_t decode_bytes(const byte_decoding& plan, unit_layout layout, const uchar* src, std::size_t n, uchar* dst) {
    if constexpr (has_vectors) {
        leaving([&] {
            return in_layout(layout, [&]<form Form, order Order> {
                if constexpr (Form == form::ucs2)
                    return decode_units<Order>(plan, src, n, dst);
                else
                    return decode_wide<Order>(plan, src, n, dst);
            });
        });
        return n;
    }
    return 0;
}

encoded_bytes encode_bytes(const byte_encoding& plan, unit_layout layout, const uchar* src, std::size_t n, uchar* dst) {
    if constexpr (has_vectors) {
        const bool replaced = leaving([&] {
            return in_layout(layout, [&]<form Form, order Order> {
                if constexpr (Form == form::ucs2)
                    return encode_units<Order>(plan, src, n, dst);
                else
                    return encode_each<Form, Order>(plan, src, n, dst);
            });
        });
        return {n, replaced};
    }
    return {0, false};
}

void map_bytes(const byte_map& map, const uchar* src, std::size_t n, uchar* dst) {
    map_all(map, src, n, dst);
}

} // namespace qzstr::core::QZSTR_LEVEL
