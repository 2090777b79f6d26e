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

/// The starts p .. p + 63.
[[maybe_unused, gnu::always_inline]] inline std::uint64_t group_at(const probe_bytes& probes, const uchar* p) {
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

/// The starts p .. p + n - 1: fewer than 64 where there are vectors, else at most 64.
std::uint64_t short_group(const probe_bytes& probes, const uchar* p, std::size_t n) {
#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512
    // All three at once: none waits for the one before.
    const std::uint64_t starts = (std::uint64_t{1} << n) - 1;
    std::uint64_t bits = starts;
    for (int k = 0; k < 3; ++k)
        bits &= block{_mm512_maskz_loadu_epi8(starts, p + probes.offset[k])}.equal_to(probes.byte[k]);
    return bits;
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

} // namespace

candidates first_candidates(const probe_bytes& probes, const uchar* p, std::size_t n) {
    return leaving([&]() -> candidates {
        const probe_bytes local = probes; // in registers
        std::size_t i = 0;
        if constexpr (has_vectors)
            for (; i + group <= n; i += group)
                if (const std::uint64_t bits = group_at(local, p + i); bits != 0) return {i, bits};
        for (; i < n; i += group)
            if (const std::uint64_t bits = short_group(local, p + i, n - i < group ? n - i : group); bits != 0)
                return {i, bits};
        return {0, 0};
    });
}

candidates last_candidates(const probe_bytes& probes, const uchar* p, std::size_t n) {
    return leaving([&]() -> candidates {
        const probe_bytes local = probes;
        if constexpr (has_vectors)
            for (; n >= group; n -= group)
                if (const std::uint64_t bits = group_at(local, p + n - group); bits != 0) return {n - group, bits};
        while (n > 0) {
            const std::size_t some = n < group ? n : group;
            n -= some;
            if (const std::uint64_t bits = short_group(local, p + n, some); bits != 0) return {n, bits};
        }
        return {0, 0};
    });
}

} // namespace qzstr::core::QZSTR_LEVEL
