// Arbitrary bytes through any slot of any row: every vector level must agree with the exact routines, and nothing
// outside the buffers may be touched (they lie between guard pages). The first bytes of an input choose the call.
#include "invariants.h"

#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t header = 5;
    if (size < header) return 0;
    support::trial t;
    t.row = data[0] % QZSTR_CHARSET_MAX;
    t.operation = data[1];
    t.mode = data[2] | static_cast<unsigned>(data[2]) << 8;
    t.input.assign(reinterpret_cast<const char*>(data + header), size - header);
    t.size = data[3] & 1 ? static_cast<int>(4 * size + 16) : data[4] + (data[3] & 2 ? static_cast<int>(size) : 0);
    if (const std::string found = support::disagreement(t); !found.empty()) {
        std::fprintf(stderr, "%s\n", found.c_str());
        std::abort();
    }
    reported_assertions.clear();
    return 0;
}
