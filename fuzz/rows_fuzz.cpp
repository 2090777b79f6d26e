// Arbitrary bytes through any slot of any row: every vector level must agree with the exact routines, a stopped conversion
// must go on as if it had not stopped, and nothing outside the buffers may be touched (they lie between guard pages). The
// first bytes of an input choose the call.
#include "invariants.h"

#include <cstdint>

extern "C" void qz_assert_msg(const char*, const char*, int) {}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static support::judge judge;
    static const int at_exit = std::atexit([] { std::printf("stat::calls_of_the_library:     %lu\n", judge.calls); });
    (void)at_exit;
    constexpr std::size_t header = 5;
    if (size < header) return 0;
    support::trial t{};
    t.row = data[0] % QZSTR_CHARSET_MAX;
    t.mode = data[2] | static_cast<unsigned>(data[3]) << 8;
    t.input = {reinterpret_cast<const char*>(data + header), size - header};
    t.size = data[3] & 1 ? static_cast<int>(4 * size + 16) : data[4] + (data[3] & 2 ? static_cast<int>(size) : 0);
    const unsigned chosen = data[1] % support::operations;
    for (unsigned what = 0; what < support::operations; ++what) {
        if (what != chosen && size > 100) continue; // short inputs go through every operation
        t.what = what;
        judge.agreed(t);
        judge.resumes(t);
    }
    if (judge.findings > 0) std::abort();
    return 0;
}
