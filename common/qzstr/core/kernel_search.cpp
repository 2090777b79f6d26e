// Starts of possible matches: two bytes of the pattern compared over whole blocks of text.
#include "core/kernels.h"
#include "core/vector.h"

#include <bit>

namespace qzstr::core::QZSTR_LEVEL {

namespace {

constexpr std::size_t group = 64;

/// The starts of one block.
[[gnu::always_inline]] inline std::uint64_t block_at(const probe_pair& probes, const uchar* p) {
    return static_cast<block::bits>(block::load(p + probes.offset[0]).equal_to(probes.byte[0]) &
                                    block::load(p + probes.offset[1]).equal_to(probes.byte[1]));
}

/// The starts p .. p + 63.
[[gnu::always_inline]] inline std::uint64_t group_at(const probe_pair& probes, const uchar* p) {
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < group; i += block::size)
        bits |= block_at(probes, p + i) << i;
    return bits;
}

/// The starts p .. p + n - 1: fewer than 64 where there are vectors, else at most 64.
std::uint64_t short_group(const probe_pair& probes, const uchar* p, std::size_t n) {
#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512
    const __mmask64 starts = (std::uint64_t{1} << n) - 1;
    const block near{_mm512_maskz_loadu_epi8(starts, p + probes.offset[0])};
    const block far{_mm512_maskz_loadu_epi8(starts, p + probes.offset[1])};
    return near.equal_to(probes.byte[0]) & far.equal_to(probes.byte[1]) & starts;
#else
    std::uint64_t bits = 0;
    std::size_t i = 0;
    if constexpr (has_vectors) {
        for (; i + block::size <= n; i += block::size)
            bits |= block_at(probes, p + i) << i;
        // The rest is the end of a block that overlaps the one before.
        if (n > block::size) return bits | block_at(probes, p + n - block::size) << (n - block::size);
    }
    for (; i < n; ++i) {
        const bool hit = (p[i + probes.offset[0]] == probes.byte[0]) & (p[i + probes.offset[1]] == probes.byte[1]);
        bits |= std::uint64_t{hit} << i;
    }
    return bits;
#endif
}

} // namespace

candidates first_candidates(const probe_pair& probes, const uchar* p, std::size_t n) {
    const probe_pair local = probes; // in registers
    std::size_t i = 0;
    if constexpr (has_vectors)
        for (; i + group <= n; i += group)
            if (const std::uint64_t bits = group_at(local, p + i); bits != 0) return {i, bits};
    for (; i < n; i += group)
        if (const std::uint64_t bits = short_group(local, p + i, n - i < group ? n - i : group); bits != 0)
            return {i, bits};
    return {0, 0};
}

candidates last_candidates(const probe_pair& probes, const uchar* p, std::size_t n) {
    const probe_pair local = probes;
    if constexpr (has_vectors)
        for (; n >= group; n -= group)
            if (const std::uint64_t bits = group_at(local, p + n - group); bits != 0) return {n - group, bits};
    while (n > 0) {
        const std::size_t some = n < group ? n : group;
        n -= some;
        if (const std::uint64_t bits = short_group(local, p + n, some); bits != 0) return {n, bits};
    }
    return {0, 0};
}

} // namespace qzstr::core::QZSTR_LEVEL
