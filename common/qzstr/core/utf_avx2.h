// Encoding UTF-8 on AVX2, 16 units at a time. Included by kernel_utf.cpp alone.
#pragma once

#include "core/units.h"
#include "core/vector.h"

#include <algorithm>
#include <bit>
#include <cstring>

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx2

namespace qzstr::core::avx2 {
namespace {

/// By eight flags, how to press those of 16 bytes together that count.
struct pressing {
    alignas(16) uchar shuffle[256][16];

    template <class Counts>
    consteval explicit pressing(Counts counts) : shuffle{} {
        for (unsigned flags = 0; flags < 256; ++flags) {
            unsigned n = 0;
            for (unsigned i = 0; i < 16; ++i)
                if (counts(flags, i)) shuffle[flags][n++] = static_cast<uchar>(i);
            while (n < 16)
                shuffle[flags][n++] = 0x80;
        }
    }
    /// Stores 16 bytes.
    void store(std::uint64_t flags, __m128i bytes, uchar* dst) const {
        const __m128i order = _mm_load_si128(reinterpret_cast<const __m128i*>(shuffle[flags & 0xFF]));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), _mm_shuffle_epi8(bytes, order));
    }
};
/// Of eight words the first byte counts, and by a flag the second.
constexpr pressing words([](unsigned flags, unsigned i) { return i % 2 == 0 || (flags >> i / 2 & 1) != 0; });
/// Of four double words the third byte counts, by a flag the fourth, and by another the first.
constexpr pressing double_words([](unsigned flags, unsigned i) {
    return i % 4 == 2 || (i % 4 == 3 && (flags >> i / 4 * 2 & 1) != 0) || (i % 4 == 0 && (flags >> i / 2 & 2) != 0);
});

/// Encodes 16 units; writes up to 52 bytes. 0 where `Pairs` and one is a surrogate.
template <bool Pairs>
[[gnu::always_inline]] inline std::size_t encode_units(__m256i c, uchar* dst) {
    const auto all = [](unsigned v) { return _mm256_set1_epi16(static_cast<short>(v)); };
    const auto above_0 = [](__m256i v) { return _mm256_cmpgt_epi16(v, _mm256_setzero_si256()); };
    const auto flags_of = [](__m256i v) { return std::uint64_t{static_cast<unsigned>(_mm256_movemask_epi8(v))}; };
    const auto count = [](std::uint64_t flags) { return std::size_t{static_cast<unsigned>(std::popcount(flags))}; };
    const auto low = [](__m256i v) { return _mm256_castsi256_si128(v); };
    const auto high = [](__m256i v) { return _mm256_extracti128_si256(v, 1); };

    const __m256i six_bits = _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi16(c, 6), all(0x3F)),
                                             _mm256_slli_epi16(_mm256_and_si256(c, all(0x3F)), 8));
    // The last two bytes of characters, ASCII as the first of the two. No blend by the sign of a byte here: g++ 12 takes
    // it for that of char, which an option can change.
    const auto last_two = [=](__m256i beyond_ascii, __m256i prefix) {
        return _mm256_or_si256(_mm256_and_si256(beyond_ascii, _mm256_or_si256(six_bits, prefix)),
                               _mm256_andnot_si256(beyond_ascii, c));
    };
    if (_mm256_testz_si256(c, all(0xF800))) {
        const __m256i two = _mm256_cmpgt_epi16(c, all(0x7F)), bytes = last_two(two, all(0x80C0));
        const std::uint64_t flags = flags_of(_mm256_packs_epi16(two, two));
        const std::size_t half = 8 + count(flags & 0xFF);
        words.store(flags, low(bytes), dst);
        words.store(flags >> 16, high(bytes), dst + half);
        return half + 8 + count(flags >> 24);
    }
    const __m256i top = _mm256_srli_epi16(c, 11), two = above_0(_mm256_srli_epi16(c, 7)), three = above_0(top);
    if constexpr (Pairs) {
        const __m256i surrogates = _mm256_cmpeq_epi16(top, all(0xD800 >> 11));
        if (!_mm256_testz_si256(surrogates, surrogates)) return 0;
    }
    // E0 for three, and behind it C0 or 80, and 80.
    const __m256i first = _mm256_or_si256(_mm256_srli_epi16(c, 12), _mm256_slli_epi16(three, 5));
    const __m256i last = last_two(two, _mm256_add_epi16(all(0x80C0), _mm256_slli_epi16(three, 6)));
    const __m256i even = _mm256_unpacklo_epi16(first, last), odd = _mm256_unpackhi_epi16(first, last);
    const std::uint64_t flags = flags_of(_mm256_or_si256(_mm256_srli_epi16(two, 8), _mm256_slli_epi16(three, 8)));
    double_words.store(flags, low(even), dst);
    double_words.store(flags >> 8, low(odd), dst + 4 + count(flags & 0xFF));
    double_words.store(flags >> 16, high(even), dst + 8 + count(flags & 0xFFFF));
    double_words.store(flags >> 24, high(odd), dst + 12 + count(flags & 0xFFFFFF));
    return 16 + count(flags);
}

/// Loads 16 code points of the BMP as units; false when one is beyond it.
template <form Form, order Order>
bool load_units(const uchar* src, __m256i& units) {
    const __m256i a = block::load(src).v;
    if constexpr (Form == form::ucs4) {
        const __m256i b = block::load(src + block::size).v;
        const auto host = [](__m256i v) { return Order == order::big ? swap_bytes_32(v) : v; };
        constexpr unsigned beyond_bmp = Order == order::big ? 0x0000FFFF : 0xFFFF0000;
        units = _mm256_permute4x64_epi64(_mm256_packus_epi32(host(a), host(b)), 0xD8);
        return _mm256_testz_si256(_mm256_or_si256(a, b), _mm256_set1_epi32(static_cast<int>(beyond_bmp))) != 0;
    } else {
        units = Order == order::big ? swap_bytes_16(a) : a;
        return true;
    }
}

constexpr std::size_t group = 16;

/// Encodes the last units of a text, or of those for which there is room, at most 16. `read` counts units.
template <form Form, order Order>
moved encode_last(const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
    constexpr std::size_t unit = unit_size<Form>;
    const std::size_t taken = std::min(n, group), first = std::min(taken * unit, block::size);
    uchar last[group * unit], out[group * 4];
    block::load_first(src, first).store(last);
    if constexpr (Form == form::ucs4) block::load_first(src + first, taken * unit - first).store(last + block::size);
    __m256i units;
    if (!load_units<Form, Order>(last, units)) return {};
    const bool fits = room >= sizeof out;
    const std::size_t bytes = encode_units<Form == form::utf16>(units, fits ? dst : out);
    const std::size_t length = bytes - (group - taken); // the zeros behind the last have a byte each
    if (bytes == 0 || length > room) return {};
    if (!fits) std::memcpy(dst, out, length);
    return {taken, length};
}

/// Encodes the BMP up to a surrogate in UTF-16. `read` counts units.
template <form Form, order Order>
moved encode_run(const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
    constexpr std::size_t unit = unit_size<Form>;
    std::size_t i = 0, written = 0;
    for (std::size_t most = 1;; most = 4) {
        std::size_t groups = std::min({most, (n - i) / group, (room - written) / (4 * group)});
        if (groups == 0) break;
        const std::size_t ahead = written - i;
        for (; groups > 0; --groups) {
            __m256i units;
            if (!load_units<Form, Order>(src + i * unit, units)) return {i, written};
            const std::size_t length = encode_units<Form == form::utf16>(units, dst + written);
            if (length == 0) return {i, written};
            i += group;
            written += length;
        }
        if (Form == form::ucs4 || written - i != ahead) continue;
        for (; std::min(n - i, room - written) >= block::size; i += block::size, written += block::size)
            if (!block::narrow_ascii<Order>(src + i * unit, dst + written)) break;
    }
    if (i == n) return {i, written};
    const moved last = encode_last<Form, Order>(src + i * unit, n - i, dst + written, room - written);
    return {i + last.read, written + last.written};
}

} // namespace
} // namespace qzstr::core::avx2

#endif
