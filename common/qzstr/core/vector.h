// One block of bytes at the level being compiled: the few operations that the kernels need, under one set of names.
#pragma once

#include "core/byte_set.h"
#include "core/units.h"

#include <bit>
#include <cstddef>
#include <cstring>

#define QZSTR_IS_plain 1
#define QZSTR_IS_sse2 2
#define QZSTR_IS_avx2 3
#define QZSTR_IS_avx512 4
#define QZSTR_JOIN_(a, b) a##b
#define QZSTR_JOIN(a, b) QZSTR_JOIN_(a, b)
#define QZSTR_LEVEL_NUMBER QZSTR_JOIN(QZSTR_IS_, QZSTR_LEVEL)

#if QZSTR_LEVEL_NUMBER > QZSTR_IS_plain
#include <immintrin.h>
#endif

namespace qzstr::core::QZSTR_LEVEL {
namespace {

inline constexpr bool has_vectors = QZSTR_LEVEL_NUMBER > QZSTR_IS_plain;

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512

struct block {
    static constexpr std::size_t size = 64;
    using bits = std::uint64_t;
    __m512i v;

    static __m512i all(unsigned b) { return _mm512_set1_epi8(static_cast<char>(b)); }
    static block load(const uchar* p) { return {_mm512_loadu_si512(p)}; }
    void store(uchar* p) const { _mm512_storeu_si512(p, v); }
    /// Fewer bytes than a block has.
    static block load_first(const uchar* p, std::size_t n) { return {_mm512_maskz_loadu_epi8((1ULL << n) - 1, p)}; }
    void store_first(uchar* p, std::size_t n) const { _mm512_mask_storeu_epi8(p, (1ULL << n) - 1, v); }
    bits high_bits() const { return _mm512_movepi8_mask(v); }
    bits equal_to(uchar b) const { return _mm512_cmpeq_epi8_mask(v, all(b)); }
    bits at_least(uchar b) const { return _mm512_cmpge_epu8_mask(v, all(b)); }
    bits within(byte_range r) const {
        const __m512i from = _mm512_sub_epi8(v, all(r.first));
        return _mm512_cmple_epu8_mask(from, all(r.last - r.first));
    }
    block flip_letters(uchar first) const {
        const __m512i flipped = _mm512_xor_si512(v, all(0x20));
        return {_mm512_mask_mov_epi8(v, within({first, static_cast<uchar>(first + 25)}), flipped)};
    }
    template <order Order>
    void widen(uchar* out) const {
        _mm512_storeu_si512(out, half_widened<Order>(0));
        _mm512_storeu_si512(out + 64, half_widened<Order>(1));
    }
    template <order Order>
    void widen_first(uchar* out, std::size_t n) const {
        const std::uint64_t units = (1ULL << n) - 1;
        _mm512_mask_storeu_epi16(out, static_cast<__mmask32>(units), half_widened<Order>(0));
        _mm512_mask_storeu_epi16(out + 64, static_cast<__mmask32>(units >> 32), half_widened<Order>(1));
    }
    template <order Order>
    __m512i half_widened(int half) const {
        const __m512i wide =
            _mm512_cvtepu8_epi16(half == 0 ? _mm512_castsi512_si256(v) : _mm512_extracti64x4_epi64(v, 1));
        return Order == order::big ? _mm512_slli_epi16(wide, 8) : wide;
    }
    /// Narrows `size` units when all are below 0x80.
    template <order Order>
    static bool narrow_ascii(const uchar* src, uchar* dst) {
        const __m512i a = _mm512_loadu_si512(src), b = _mm512_loadu_si512(src + 64);
        const __m512i not_ascii =
            _mm512_set1_epi16(Order == order::big ? static_cast<short>(0x80FF) : static_cast<short>(0xFF80));
        if (_mm512_test_epi16_mask(_mm512_or_si512(a, b), not_ascii) != 0) return false;
        constexpr int shift = Order == order::big ? 8 : 0;
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), _mm512_cvtepi16_epi8(_mm512_srli_epi16(a, shift)));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + 32), _mm512_cvtepi16_epi8(_mm512_srli_epi16(b, shift)));
        return true;
    }
};

#elif QZSTR_LEVEL_NUMBER == QZSTR_IS_avx2

struct block {
    static constexpr std::size_t size = 32;
    using bits = std::uint32_t;
    __m256i v;

    static __m256i all(unsigned b) { return _mm256_set1_epi8(static_cast<char>(b)); }
    static block load(const uchar* p) { return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))}; }
    void store(uchar* p) const { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
    static block load_first(const uchar* p, std::size_t n) {
        if (n < 4) {
            std::uint32_t bytes = 0;
            for (std::size_t i = 0; i < n; ++i)
                bytes |= std::uint32_t{p[i]} << 8 * i;
            return {_mm256_zextsi128_si256(_mm_cvtsi32_si128(static_cast<int>(bytes)))};
        }
        // Whole words, and of one that is cut the bytes that end the last four.
        const auto all_words = [](std::size_t v) { return _mm256_set1_epi32(static_cast<int>(v)); };
        const __m256i place = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7), cut = all_words(n / 4);
        const __m256i words = _mm256_maskload_epi32(reinterpret_cast<const int*>(p), _mm256_cmpgt_epi32(cut, place));
        std::uint32_t end;
        std::memcpy(&end, p + n - 4, 4);
        const __m256i bytes = all_words(std::uint64_t{end} >> (32 - n % 4 * 8));
        return {_mm256_or_si256(words, _mm256_and_si256(_mm256_cmpeq_epi32(cut, place), bytes))};
    }
    void store_first(uchar* p, std::size_t n) const {
        uchar bytes[size];
        store(bytes);
        std::memcpy(p, bytes, n);
    }
    bits high_bits() const { return static_cast<bits>(_mm256_movemask_epi8(v)); }
    bits equal_to(uchar b) const { return block{_mm256_cmpeq_epi8(v, all(b))}.high_bits(); }
    __m256i inside(byte_range r) const {
        return _mm256_cmpeq_epi8(_mm256_min_epu8(_mm256_max_epu8(v, all(r.first)), all(r.last)), v);
    }
    bits at_least(uchar b) const { return block{_mm256_cmpeq_epi8(_mm256_max_epu8(v, all(b)), v)}.high_bits(); }
    bits within(byte_range r) const { return block{inside(r)}.high_bits(); }
    block plus(uchar b) const { return {_mm256_add_epi8(v, all(b))}; }
    /// Bytes of low and high in turns.
    static void interleave(block low, block high, uchar* out) {
        const __m256i even = _mm256_unpacklo_epi8(low.v, high.v), odd = _mm256_unpackhi_epi8(low.v, high.v);
        block{_mm256_permute2x128_si256(even, odd, 0x20)}.store(out);
        block{_mm256_permute2x128_si256(even, odd, 0x31)}.store(out + size);
    }
    block flip_letters(uchar first) const {
        const __m256i letters = inside({first, static_cast<uchar>(first + 25)});
        return {_mm256_xor_si256(v, _mm256_and_si256(letters, all(0x20)))};
    }
    template <order Order>
    void widen(uchar* out) const {
        for (int half = 0; half < 2; ++half) {
            const __m128i bytes = half == 0 ? _mm256_castsi256_si128(v) : _mm256_extracti128_si256(v, 1);
            __m256i wide = _mm256_cvtepu8_epi16(bytes);
            if constexpr (Order == order::big) wide = _mm256_slli_epi16(wide, 8);
            block{wide}.store(out + 32 * half);
        }
    }
    template <order Order>
    static bool narrow_ascii(const uchar* src, uchar* dst) {
        const __m256i a = load(src).v, b = load(src + 32).v;
        const __m256i not_ascii =
            _mm256_set1_epi16(Order == order::big ? static_cast<short>(0x80FF) : static_cast<short>(0xFF80));
        if (!_mm256_testz_si256(_mm256_or_si256(a, b), not_ascii)) return false;
        constexpr int shift = Order == order::big ? 8 : 0;
        const __m256i packed = _mm256_packus_epi16(_mm256_srli_epi16(a, shift), _mm256_srli_epi16(b, shift));
        block{_mm256_permute4x64_epi64(packed, 0xD8)}.store(dst);
        return true;
    }
};

#elif QZSTR_LEVEL_NUMBER == QZSTR_IS_sse2

struct block {
    static constexpr std::size_t size = 16;
    using bits = std::uint16_t;
    __m128i v;

    static __m128i all(unsigned b) { return _mm_set1_epi8(static_cast<char>(b)); }
    static block load(const uchar* p) { return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))}; }
    void store(uchar* p) const { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
    static block load_first(const uchar* p, std::size_t n) {
        uchar bytes[size] = {};
        std::memcpy(bytes, p, n);
        return load(bytes);
    }
    void store_first(uchar* p, std::size_t n) const {
        uchar bytes[size];
        store(bytes);
        std::memcpy(p, bytes, n);
    }
    bits high_bits() const { return static_cast<bits>(_mm_movemask_epi8(v)); }
    bits equal_to(uchar b) const { return block{_mm_cmpeq_epi8(v, all(b))}.high_bits(); }
    __m128i inside(byte_range r) const {
        return _mm_cmpeq_epi8(_mm_min_epu8(_mm_max_epu8(v, all(r.first)), all(r.last)), v);
    }
    bits at_least(uchar b) const { return block{_mm_cmpeq_epi8(_mm_max_epu8(v, all(b)), v)}.high_bits(); }
    bits within(byte_range r) const { return block{inside(r)}.high_bits(); }
    block plus(uchar b) const { return {_mm_add_epi8(v, all(b))}; }
    /// Bytes of low and high in turns.
    static void interleave(block low, block high, uchar* out) {
        block{_mm_unpacklo_epi8(low.v, high.v)}.store(out);
        block{_mm_unpackhi_epi8(low.v, high.v)}.store(out + size);
    }
    block flip_letters(uchar first) const {
        const __m128i letters = inside({first, static_cast<uchar>(first + 25)});
        return {_mm_xor_si128(v, _mm_and_si128(letters, all(0x20)))};
    }
    template <order Order>
    void widen(uchar* out) const {
        const __m128i zero = _mm_setzero_si128();
        const bool big = Order == order::big;
        block{big ? _mm_unpacklo_epi8(zero, v) : _mm_unpacklo_epi8(v, zero)}.store(out);
        block{big ? _mm_unpackhi_epi8(zero, v) : _mm_unpackhi_epi8(v, zero)}.store(out + 16);
    }
    template <order Order>
    static bool narrow_ascii(const uchar* src, uchar* dst) {
        const __m128i a = load(src).v, b = load(src + 16).v;
        const __m128i not_ascii =
            _mm_set1_epi16(Order == order::big ? static_cast<short>(0x80FF) : static_cast<short>(0xFF80));
        const __m128i found = _mm_and_si128(_mm_or_si128(a, b), not_ascii);
        if (block{_mm_cmpeq_epi8(found, _mm_setzero_si128())}.high_bits() != 0xFFFF) return false;
        constexpr int shift = Order == order::big ? 8 : 0;
        block{_mm_packus_epi16(_mm_srli_epi16(a, shift), _mm_srli_epi16(b, shift))}.store(dst);
        return true;
    }
};

#else

/// Never used: `has_vectors` is false.
struct block {
    static constexpr std::size_t size = 1;
    using bits = std::uint16_t;
    static block load(const uchar*) { return {}; }
    static block load_first(const uchar*, std::size_t) { return {}; }
    void store(uchar*) const {}
    void store_first(uchar*, std::size_t) const {}
    bits high_bits() const { return 0; }
    bits equal_to(uchar) const { return 0; }
    bits at_least(uchar) const { return 0; }
    bits within(byte_range) const { return 0; }
    block flip_letters(uchar) const { return {}; }
    template <order Order>
    void widen(uchar*) const {}
    template <order Order>
    static bool narrow_ascii(const uchar*, uchar*) {
        return {};
    }
};

#endif

#if QZSTR_LEVEL_NUMBER >= QZSTR_IS_avx2

/// Where the bytes of each unit of 16 or 32 bits are in the other order.
inline __m128i swapped_bytes(int unit) {
    return unit == 2 ? _mm_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14)
                     : _mm_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12);
}
inline __m256i swap_bytes_16(__m256i v) {
    return _mm256_shuffle_epi8(v, _mm256_broadcastsi128_si256(swapped_bytes(2)));
}
inline __m256i swap_bytes_32(__m256i v) {
    return _mm256_shuffle_epi8(v, _mm256_broadcastsi128_si256(swapped_bytes(4)));
}
#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512
inline __m512i swap_bytes_16(__m512i v) {
    return _mm512_shuffle_epi8(v, _mm512_broadcast_i32x4(swapped_bytes(2)));
}
inline __m512i swap_bytes_32(__m512i v) {
    return _mm512_shuffle_epi8(v, _mm512_broadcast_i32x4(swapped_bytes(4)));
}
#endif

#endif

/// Runs a kernel and cleans the upper vector halves: the compiler leaves them dirty on some ways out of a large one, and
/// the caller's SSE code then pays for every entry and every return.
template <class Kernel>
inline auto leaving(Kernel kernel) {
    struct cleaning {
        ~cleaning() {
#if QZSTR_LEVEL_NUMBER >= QZSTR_IS_avx2
            _mm256_zeroupper();
#endif
        }
    } at_exit;
    return kernel();
}

#if QZSTR_LEVEL_NUMBER > QZSTR_IS_plain

constexpr std::uint64_t first_bits(std::size_t n) {
    return n >= 64 ? ~0ULL : (1ULL << n) - 1;
}

/// 64 bytes as bit masks, whatever the level's block size.
template <class Mask>
inline std::uint64_t mask_64(const uchar* p, Mask mask) {
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < 64; i += block::size)
        bits |= static_cast<std::uint64_t>(static_cast<block::bits>(mask(block::load(p + i)))) << i;
    return bits;
}

/// A place in a text, of which 64 bytes and some behind them may be looked at.
struct text_at {
    const uchar* p;

    text_at operator+(std::size_t n) const { return {p + n}; }
    template <class Mask>
    std::uint64_t mask(Mask mask) const {
        return mask_64(p, mask);
    }
    template <class Mask>
    std::uint64_t mask_behind(Mask mask) const {
        return mask_64(p + 1, mask);
    }
#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512
    __m512i bytes() const {
        return block::load(p).v;
    }
#endif
};

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512
/// The same near the end of a text, of which `left` bytes are there; what would follow them reads as zero.
struct text_end {
    const uchar* p;
    std::size_t left;

    text_end operator+(std::size_t n) const { return {p + n, left > n ? left - n : 0}; }
    __m512i bytes() const { return _mm512_maskz_loadu_epi8(first_bits(left), p); }
    template <class Mask>
    std::uint64_t mask(Mask mask) const {
        return mask(block{bytes()});
    }
    template <class Mask>
    std::uint64_t mask_behind(Mask mask) const {
        return (*this + 1).mask(mask);
    }
};
#endif

constexpr std::size_t block_size = 64;
/// Bytes behind a block that may be read with it.
constexpr std::size_t beyond = 16;

/// The last bytes of a text, with room to read a block and a character.
struct padded {
    alignas(64) uchar bytes[block_size + beyond];
    padded(const uchar* p, std::size_t n) {
#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512
        // One store, which the loads that follow need not wait for.
        _mm512_store_si512(bytes, _mm512_maskz_loadu_epi8(first_bits(n), p));
        std::memset(bytes + block_size, 0, beyond);
#else
        std::memset(bytes, 0, sizeof bytes);
        std::memcpy(bytes, p, n);
#endif
    }
};

/// Runs work(text) over the block at p, where `left` bytes are left of the text.
template <class Work>
auto over_block(const uchar* p, std::size_t left, Work work) {
    if (left >= block_size + beyond) return work(text_at{p});
#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512
    return work(text_end{p, left});
#else
    const padded last(p, left);
    return work(text_at{last.bytes});
#endif
}

constexpr std::size_t lowest(std::uint64_t bits) {
    return static_cast<std::size_t>(std::countr_zero(bits));
}
/// The place of the n-th bit that is set, counted from 0; 64 where there are not so many.
[[maybe_unused]] std::size_t nth_bit(std::uint64_t bits, std::size_t n) {
#if QZSTR_LEVEL_NUMBER >= QZSTR_IS_avx2
    return lowest(_pdep_u64(n < 64 ? 1ULL << n : 0, bits));
#else
    for (; n > 0; --n)
        bits &= bits - 1;
    return lowest(bits);
#endif
}

#endif

} // namespace
} // namespace qzstr::core::QZSTR_LEVEL
