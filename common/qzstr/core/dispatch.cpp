// The loader resolves every kernel once, before any code of the library runs: no mutable state, no test per call.
#include "core/kernels.h"

#include <cpuid.h>

namespace {

enum class level { sse2, avx2, avx512 };

// Runs while the loader relocates: it may use nothing that is itself relocated or instrumented.
#if defined(__clang__)
#define QZSTR_BEFORE_RELOCATION                                                                                        \
    __attribute__((no_sanitize("address", "memory", "thread", "undefined", "coverage"),                                \
                   disable_sanitizer_instrumentation, no_profile_instrument_function))
#else
#define QZSTR_BEFORE_RELOCATION                                                                                        \
    __attribute__((no_sanitize("address", "thread", "undefined"), no_profile_instrument_function))
#endif

[[maybe_unused]] QZSTR_BEFORE_RELOCATION inline level best_level() {
    unsigned a = 0, b = 0, c = 0, d = 0;
    __cpuid(1, a, b, c, d);
    constexpr unsigned needed_1 = bit_OSXSAVE | bit_AVX | bit_POPCNT | bit_MOVBE | bit_FMA | bit_F16C;
    if ((c & needed_1) != needed_1) return level::sse2;
    unsigned low = 0, high = 0;
    __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    if ((low & 0x06) != 0x06) return level::sse2;
    __cpuid_count(7, 0, a, b, c, d);
    constexpr unsigned needed_avx2 = bit_AVX2 | bit_BMI | bit_BMI2;
    if ((b & needed_avx2) != needed_avx2) return level::sse2;
    constexpr unsigned needed_512b = bit_AVX512F | bit_AVX512BW | bit_AVX512DQ | bit_AVX512VL | bit_AVX512CD;
    constexpr unsigned needed_512c = bit_AVX512VBMI | bit_AVX512VBMI2 | bit_AVX512BITALG | bit_AVX512VPOPCNTDQ;
    if ((low & 0xE6) == 0xE6 && (b & needed_512b) == needed_512b && (c & needed_512c) == needed_512c)
        return level::avx512;
    return level::avx2;
}

} // namespace

namespace qzstr::core {

#if defined(QZSTR_FORCE_LEVEL)
#define QZSTR_RESOLVE(result, name, parameters, arguments)                                                             \
    result name parameters {                                                                                           \
        return QZSTR_FORCE_LEVEL::name arguments;                                                                      \
    }
#else
#define QZSTR_RESOLVE(result, name, parameters, arguments)                                                             \
    extern "C" __attribute__((visibility("hidden")))                                                                   \
    QZSTR_BEFORE_RELOCATION decltype(&sse2::name) qz_resolve_##name() {                                                \
        const level best = best_level();                                                                               \
        return best == level::avx512 ? &avx512::name : best == level::avx2 ? &avx2::name : &sse2::name;                \
    }                                                                                                                  \
    __attribute__((ifunc("qz_resolve_" #name))) result name parameters;
#endif
QZSTR_KERNELS(QZSTR_RESOLVE)

} // namespace qzstr::core
