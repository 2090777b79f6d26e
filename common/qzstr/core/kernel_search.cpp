// Starts of possible matches: bytes of the pattern compared over whole blocks of text.
#include "core/kernels.h"
#include "core/vector.h"

#include <bit>

namespace qzstr::core::QZSTR_LEVEL {

namespace {

constexpr std::size_t group = 64;

/// The starts of one block where the k-th probe holds.
[[maybe_unused, gnu::always_inline]] inline std::uint64_t probe(const probe_bytes& probes, int k, const uchar* p) {
    return static_cast<block::bits>(block::load(p + probes.offset[k]).equal_to(probes.byte[k]));
}

/// The starts p .. p + n - 1: fewer than 64 where there are vectors, else at most 64.
[[gnu::always_inline]] inline std::uint64_t short_group(const probe_bytes& probes, const uchar* p, std::size_t n) {
#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512
    // All three at once: none waits for the one before. Half vectors end in the next cache line half as often.
    const std::uint64_t starts = (std::uint64_t{1} << n) - 1;
    const auto in_half = [&](int k) -> std::uint64_t {
        const __m256i text = _mm256_maskz_loadu_epi8(static_cast<__mmask32>(starts), p + probes.offset[k]);
        return _mm256_cmpeq_epi8_mask(text, _mm256_set1_epi8(static_cast<char>(probes.byte[k])));
    };
    const auto in_whole = [&](int k) {
        return block{_mm512_maskz_loadu_epi8(starts, p + probes.offset[k])}.equal_to(probes.byte[k]);
    };
    if (n <= group / 2) return starts & in_half(0) & in_half(1) & in_half(2);
    return starts & in_whole(0) & in_whole(1) & in_whole(2);
#else
    std::uint64_t bits = 0;
    std::size_t i = 0;
    if constexpr (has_vectors) {
        const auto block_at = [&](const uchar* at) {
            return probe(probes, 0, at) & probe(probes, 1, at) & probe(probes, 2, at);
        };
        for (; i + block::size <= n; i += block::size)
            bits |= block_at(p + i) << i;
        // The rest is the end of a block that overlaps the one before.
        if (n > block::size) return bits | block_at(p + n - block::size) << (n - block::size);
    }
    for (; i < n; ++i) {
        bool hit = true;
        for (int k = 0; k < 3; ++k)
            hit &= p[i + probes.offset[k]] == probes.byte[k];
        bits |= std::uint64_t{hit} << i;
    }
    return bits;
#endif
}

/// The starts p + i .. p + n - 1; never inlined, so that a search in a short text saves no registers for a long one.
[[gnu::noinline]] candidates rest(const probe_bytes& probes, const uchar* p, std::size_t i, std::size_t n) {
    return {i, short_group(probes, p + i, n - i)};
}

/// The starts p .. p + 63.
[[gnu::always_inline]] inline std::uint64_t group_at(const probe_bytes& probes, const uchar* p) {
    if constexpr (!has_vectors) return short_group(probes, p, group);
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < group; i += block::size)
        bits |= (probe(probes, 0, p + i) & probe(probes, 1, p + i)) << i;
    if (bits == 0) [[likely]]
        return 0;
    std::uint64_t third = 0;
    for (std::size_t i = 0; i < group; i += block::size)
        third |= probe(probes, 2, p + i) << i;
    return bits & third;
}

} // namespace

candidates first_candidates(const probe_bytes& probes, const uchar* p, std::size_t n) {
    std::size_t i = 0;
    for (; i + group <= n; i += group)
        if (const std::uint64_t bits = group_at(probes, p + i); bits != 0) return {i, bits};
    return rest(probes, p, i, n);
}

candidates last_candidates(const probe_bytes& probes, const uchar* p, std::size_t n) {
    for (; n >= group; n -= group)
        if (const std::uint64_t bits = group_at(probes, p + n - group); bits != 0) return {n - group, bits};
    return rest(probes, p, 0, n);
}

} // namespace qzstr::core::QZSTR_LEVEL
