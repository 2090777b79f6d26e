// Conversion through Unicode for every pair of charsets without a direct routine, and the debug dump.
#include "core/contract.h"

#include <cstdio>

using namespace qzstr::core;

namespace {

constexpr const char* source = "common/qzstr/qzstr";

/// The two stages of a conversion and the routine that maps units back to source bytes.
struct ucs2_pivot {
    static constexpr int unit = 2;
    qzstr_to_ucs2_fn_t decode;
    qzstr_from_ucs2_fn_t encode;
    qzstr_get_byte_pos_fn_t get_byte_pos;

    ucs2_pivot(qzstr_charset_t from, qzstr_charset_t to)
        : decode(_charset_info[from].qzstr_to_ucs2_fn), encode(_charset_info[to].qzstr_from_ucs2_fn),
          get_byte_pos(_charset_info[from].qzstr_get_byte_pos_fn) {}
};

struct ucs4_pivot {
    static constexpr int unit = 4;
    qzstr_to_ucs4_fn_t decode;
    qzstr_from_ucs4_fn_t encode;
    // KEPT: units are mapped back by UTF-8's routine, whatever the source charset is.
    qzstr_get_byte_pos_fn_t get_byte_pos = qzstr_utf8_get_byte_pos;

    ucs4_pivot(qzstr_charset_t from, qzstr_charset_t to)
        : decode(_charset_info[from].qzstr_to_ucs4_fn), encode(_charset_info[to].qzstr_from_ucs4_fn) {}
};

constexpr int chunk_bytes = 32000;

/// Source bytes of the first `units` units of a chunk that begins at str.
template <class Pivot>
int source_bytes(const Pivot& pivot, char* str, int str_len, int units) {
    int start = 0, end = -1, count = 0; // some charsets write nothing
    pivot.get_byte_pos(str, str_len, units, &start, &end, &count);
    return end + 1 < str_len ? end + 1 : str_len;
}

template <class Pivot>
conv_status_t convert(qzstr_charset_t from, char* str, int str_len, qzstr_charset_t to, char* buf, int buf_size,
                      int* read_len, int* write_len) {
    progress at;
    if (!require_buffers(str, "str != NULL", buf, "buf != NULL", write_len, source, 0))
        return report(exact, at, read_len, write_len);
    const Pivot pivot(from, to);
    alignas(64) char intermediate[chunk_bytes]; // never cleared: only what a stage wrote is read
    conv_status_t status = exact;
    while (at.read < str_len) {
        char* const rest = str + at.read;
        const int rest_len = str_len - static_cast<int>(at.read);
        int decoded_bytes = 0, units_bytes = 0, encoded_units = 0, encoded_bytes = 0;
        status |= pivot.decode(rest, rest_len, intermediate, chunk_bytes, &decoded_bytes, &units_bytes, 1) & replaced;
        if (units_bytes == 0) break;
        const conv_status_t full =
            pivot.encode(intermediate, units_bytes, buf + at.written, buf_size - static_cast<int>(at.written),
                         &encoded_units, &encoded_bytes, 1);
        status |= full & replaced;
        at.written += encoded_bytes;
        if ((full & stopped) != 0) {
            if (encoded_units > 0) at.read += source_bytes(pivot, rest, rest_len, encoded_units / Pivot::unit);
            status |= stopped;
            break;
        }
        at.read += decoded_bytes;
    }
    return report(status, at, read_len, write_len);
}

} // namespace

conv_status_t qzstr_convert_through_ucs2 QZSTR_CELL_PARAMETERS {
    return convert<ucs2_pivot> QZSTR_CELL_ARGUMENTS;
}
conv_status_t qzstr_convert_through_ucs4 QZSTR_CELL_PARAMETERS {
    return convert<ucs4_pivot> QZSTR_CELL_ARGUMENTS;
}

void qzstr_dump_str(char* str, int str_len) {
    for (int i = 0; i < str_len; ++i) {
        if (i % 10 == 0) putchar('\n');
        printf("0x%02X ", bytes(str)[i]);
    }
}
