// Arbitrary bytes through any slot of any row: every vector level must agree with the exact routines, and nothing
// outside the buffers may be touched (they lie between guard pages). The first bytes of an input choose the call.
#include "invariants.h"

#include <cstdint>
#include <cstdio>

namespace {

[[noreturn]] void fail(const std::string& what) {
    std::fprintf(stderr, "%s\n", what.c_str());
    std::abort();
}

/// A conversion stopped by a full target and resumed at read_len gives what one pass gives. (ISO-2022-KR is resumed in
/// SI without a designator.)
void check_resuming(const support::trial& t) {
    if (t.row == QZSTR_CHARSET_ISO2022KR) return;
    const qzstr_charset_info_t& row = support::levels().back().catalogue[t.row];
    const auto slot = t.operation % 2 == 0 ? row.qzstr_to_ucs2_fn : row.qzstr_from_ucs2_fn;
    const auto whole = support::run_slot(slot, t.input), part = support::run_slot(slot, t.input, t.size);
    const auto read = std::min(static_cast<std::size_t>(part.read), t.input.size());
    const auto rest = support::run_slot(slot, std::string_view(t.input).substr(read));
    if (part.bytes + rest.bytes != whole.bytes)
        fail("row " + std::to_string(t.row) + " resumed after " + std::to_string(part.read) + " of " +
             support::hex(t.input));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t header = 5;
    if (size < header) return 0;
    support::trial t;
    t.row = data[0] % QZSTR_CHARSET_MAX;
    t.operation = data[1];
    t.mode = data[2] | static_cast<unsigned>(data[2]) << 8;
    t.input.assign(reinterpret_cast<const char*>(data + header), size - header);
    t.size = data[3] & 1 ? static_cast<int>(4 * size + 16) : data[4] + (data[3] & 2 ? static_cast<int>(size) : 0);
    if (const std::string found = support::disagreement(t); !found.empty()) fail(found);
    if (t.operation % support::operations < 4) check_resuming(t);
    reported_assertions.clear();
    return 0;
}
