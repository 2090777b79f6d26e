// Conversion through Unicode for every pair of charsets without a direct routine, and the debug dump.
#include "core/kernels.h"
#include "qzstr_stages.h"
#include "standards/jisx0213.h"

#include <cstdio>
#include <cstring>

using namespace qzstr::core;
using qzstr::resumable;
using qzstr::shift_state;
using qzstr::stages;

namespace {

constexpr const char* source = "common/qzstr/qzstr";

bool joins_in_shift_jis(char32_t first, char32_t second) {
    return qzstr::qzstr_shift_jisx0213_compose(first, second) != 0;
}
bool joins_in_euc(char32_t first, char32_t second) {
    return qzstr::qzstr_euc_jisx0213_compose(first, second) != 0;
}

struct stage_table {
    stages row[QZSTR_CHARSET_MAX];

    consteval stage_table() : row{} {
        row[QZSTR_CHARSET_ISO2022KR].shifts = &qzstr::iso2022kr_stages;
        for (const auto cs :
             {QZSTR_CHARSET_SJIS, QZSTR_CHARSET_SJIS_TILDE, QZSTR_CHARSET_MSWIN932, QZSTR_CHARSET_MSWIN932_TILDE})
            row[cs].joins = joins_in_shift_jis;
        for (const auto cs : {QZSTR_CHARSET_EUCJP, QZSTR_CHARSET_EUCJP_TILDE})
            row[cs].joins = joins_in_euc;
        for (const auto cs : {QZSTR_CHARSET_UTF16, QZSTR_CHARSET_SJIS, QZSTR_CHARSET_SJIS_TILDE,
                              QZSTR_CHARSET_ISO2022KR, QZSTR_CHARSET_US8ICL})
            row[cs].ascii_is_itself = false;
    }
};
constinit const stage_table special;

/// The two stages of a conversion and the routine that maps units back to source bytes.
struct ucs2_pivot {
    static constexpr form units = form::ucs2;
    static constexpr auto resume_decode = &resumable::from_bytes_ucs2;
    static constexpr auto resume_encode = &resumable::to_bytes_ucs2;
    qzstr_to_ucs2_fn_t decode;
    qzstr_from_ucs2_fn_t encode;
    qzstr_get_byte_pos_fn_t get_byte_pos;

    ucs2_pivot(qzstr_charset_t from, qzstr_charset_t to)
        : decode(_charset_info[from].qzstr_to_ucs2_fn), encode(_charset_info[to].qzstr_from_ucs2_fn),
          get_byte_pos(_charset_info[from].qzstr_get_byte_pos_fn) {}
};

struct ucs4_pivot {
    static constexpr form units = form::ucs4;
    static constexpr auto resume_decode = &resumable::from_bytes_ucs4;
    static constexpr auto resume_encode = &resumable::to_bytes_ucs4;
    qzstr_to_ucs4_fn_t decode;
    qzstr_from_ucs4_fn_t encode;
    // KEPT: units are mapped back by UTF-8's routine, whatever the source charset is.
    qzstr_get_byte_pos_fn_t get_byte_pos = qzstr_utf8_get_byte_pos;

    ucs4_pivot(qzstr_charset_t from, qzstr_charset_t to)
        : decode(_charset_info[from].qzstr_to_ucs4_fn), encode(_charset_info[to].qzstr_from_ucs4_fn) {}
};

constexpr int chunk_bytes = 32000;
/// Where a target cannot fill, nobody sees how long the pieces are: these stay in the first cache with their texts.
constexpr int short_chunk_bytes = 8192;

/// What a stage did: bytes it read, bytes it wrote.
struct stage_result {
    conv_status_t status;
    int read = 0;
    int written = 0;
};

/// One call of a pivot: the stages with what they carry from chunk to chunk.
template <class Pivot>
class conversion {
public:
    conversion(qzstr_charset_t from, qzstr_charset_t to)
        : pivot_(from, to), from_(special.row[from].shifts), to_(special.row[to].shifts),
          joins_(special.row[to].joins) {}

    static constexpr int unit = unit_size<Pivot::units>;

    /// Room for `units` of a chunk of which `done` are elsewhere already. Two units that the target encodes together stay
    /// in one chunk.
    stage_result decode(char* str, int len, char* chunk, int units, int done) {
        const shift_state before = from_state_;
        stage_result r = decode_some(str, len, chunk, (units - done) * unit);
        while (joins_ != nullptr && r.written + done * unit >= 2 * unit && r.written > 0 && r.read < len &&
               splits_pair(chunk, r.written, str + r.read, len - r.read)) {
            from_state_ = before;
            r = decode_some(str, len, chunk, r.written - unit);
        }
        return r;
    }

    stage_result encode(char* chunk, int len, char* buf, int size) {
        if (to_ == nullptr) {
            stage_result r{};
            r.status = pivot_.encode(chunk, len, buf, size, &r.read, &r.written, 1);
            return r;
        }
        progress at;
        const conv_status_t status =
            (to_->*Pivot::resume_encode)(to_state_, bytes(chunk), len, bytes(buf), at_least_0(size), at, false);
        return {status, static_cast<int>(at.read), static_cast<int>(at.written)};
    }

    /// What the target needs behind the text.
    stage_result finish(char* buf, int size) {
        if (to_ == nullptr) return {};
        progress at;
        const conv_status_t status =
            (to_->*Pivot::resume_encode)(to_state_, nullptr, 0, bytes(buf), at_least_0(size), at, true);
        return {status, 0, static_cast<int>(at.written)};
    }

    /// Source bytes of the first `units` units of a chunk that begins at str.
    int source_bytes(char* str, int len, int unit_bytes) const {
        int start = 0, end = -1, count = 0; // some charsets write nothing
        if (unit_bytes > 0) pivot_.get_byte_pos(str, len, unit_bytes / unit, &start, &end, &count);
        return end + 1 < len ? end + 1 : len;
    }

private:
    stage_result decode_some(char* str, int len, char* out, int size) {
        if (from_ == nullptr) {
            stage_result r{};
            r.status = pivot_.decode(str, len, out, size, &r.read, &r.written, 1);
            return r;
        }
        progress at;
        const conv_status_t status = (from_->*Pivot::resume_decode)(from_state_, bytes(str), len, bytes(out), size, at);
        return {status, static_cast<int>(at.read), static_cast<int>(at.written)};
    }

    static char32_t unit_at(const char* chunk, int offset) {
        return load_unit<Pivot::units, order::big>(bytes(chunk) + offset);
    }

    /// Whether the last unit of a chunk goes with the first one of the rest.
    bool splits_pair(const char* chunk, int len, char* rest, int rest_len) {
        const shift_state before = from_state_;
        char ahead[2 * unit]; // a character may give two units
        const stage_result next = decode_some(rest, rest_len, ahead, sizeof ahead);
        from_state_ = before;
        int last = len - unit;
        if (next.written < unit || !joins_(unit_at(chunk, last), unit_at(ahead, 0))) return false;
        // The tone letters are bases and marks: in a run of them every second one is taken already.
        bool taken = false;
        for (; last >= unit && joins_(unit_at(chunk, last - unit), unit_at(chunk, last)); last -= unit)
            taken = !taken;
        return !taken;
    }

    Pivot pivot_;
    const resumable* from_;
    const resumable* to_;
    bool (*joins_)(char32_t, char32_t);
    shift_state from_state_, to_state_;
};

/// Copies the ASCII that a chunk begins with, where both charsets have it as it is; returns bytes.
int copy_ascii_part(const char* str, int len, char* buf, int size) {
    return static_cast<int>(copy_ascii(bytes(str), static_cast<std::size_t>(len < size ? len : size), bytes(buf)));
}

template <class Pivot>
conv_status_t convert_in_chunks(qzstr_charset_t from, char* str, int str_len, qzstr_charset_t to, char* buf,
                                int buf_size, progress& at) {
    conversion<Pivot> stage(from, to);
    const bool copies_ascii = special.row[from].ascii_is_itself && special.row[to].ascii_is_itself;
    // No byte becomes more than four, shifts aside.
    const bool cannot_fill = special.row[to].shifts == nullptr && buf_size / 4 >= str_len;
    const int chunk_units = (cannot_fill ? short_chunk_bytes : chunk_bytes) / stage.unit;
    alignas(64) char chunk[chunk_bytes]; // never cleared: only what a stage wrote is read
    conv_status_t status = exact;
    while (at.read < str_len) {
        char* const rest = str + at.read;
        const int rest_len = str_len - static_cast<int>(at.read);
        const int room = at_least_0(buf_size - static_cast<int>(at.written));
        const int most = cannot_fill ? room : room < chunk_units ? room : chunk_units;
        const int copied = copies_ascii ? copy_ascii_part(rest, rest_len, buf + at.written, most) : 0;
        at.written += copied;
        if (copied >= chunk_units || copied == rest_len) {
            at.read += copied;
            continue;
        }
        const stage_result decoded = stage.decode(rest + copied, rest_len - copied, chunk, chunk_units, copied);
        status |= decoded.status & replaced;
        // CHOSEN: a pass that consumed only shifts or designators goes on.
        if (decoded.written == 0 && decoded.read == 0 && copied == 0) break;
        const stage_result encoded = stage.encode(chunk, decoded.written, buf + at.written, room - copied);
        status |= encoded.status & replaced;
        at.written += encoded.written;
        if ((encoded.status & stopped) != 0) {
            at.read += stage.source_bytes(rest, rest_len, copied * stage.unit + encoded.read);
            return status | stopped;
        }
        at.read += copied + decoded.read;
    }
    const stage_result end = stage.finish(buf + at.written, buf_size - static_cast<int>(at.written));
    at.written += end.written;
    return status | end.status;
}

/// UTF-16 to UTF-8 for a target that cannot fill; what the fast routine leaves goes by UCS-4.
conv_status_t utf16_to_utf8(char* str, int str_len, char* buf, int buf_size, progress& at) {
    conv_status_t status = exact;
    while (str_len - at.read >= 2) {
        const moved fast =
            encode_utf16_as_utf8(bytes(str) + at.read, static_cast<std::size_t>(str_len - at.read) / 2,
                                 bytes(buf) + at.written, static_cast<std::size_t>(buf_size - at.written));
        at.read += static_cast<offset_t>(fast.read);
        at.written += static_cast<offset_t>(fast.written);
        constexpr int stretch = 64;
        char units[stretch / 2 * 4];
        const auto left = static_cast<int>(str_len - at.read);
        int read = 0, unit_bytes = 0, written = 0;
        status |= qzstr_utf16_to_ucs4(str + at.read, left < stretch ? left : stretch, units, sizeof units, &read,
                                      &unit_bytes, 1) &
                  replaced;
        if (read == 0) break; // the end, or a pair that it cuts
        qzstr_utf8_from_ucs4(units, unit_bytes, buf + at.written, buf_size - static_cast<int>(at.written), nullptr,
                             &written, 1);
        at.read += read;
        at.written += written;
    }
    return status;
}

template <class Pivot>
conv_status_t convert(qzstr_charset_t from, char* str, int str_len, qzstr_charset_t to, char* buf, int buf_size,
                      int* read_len, int* write_len) {
    progress at;
    conv_status_t status = exact;
    if (!require_buffers(str, "str != NULL", buf, "buf != NULL", write_len, source, 0))
        return report(exact, at, read_len, write_len);
    if (from == QZSTR_CHARSET_UTF8 && to == QZSTR_CHARSET_UTF16 && buf_size / 2 >= at_least_0(str_len))
        status = qzstr::utf8_to_utf16(bytes(str), at_least_0(str_len), bytes(buf), buf_size, at) & replaced;
    else if (from == QZSTR_CHARSET_UTF16 && to == QZSTR_CHARSET_UTF8 && buf_size / 3 >= (at_least_0(str_len) + 1) / 2)
        status = utf16_to_utf8(str, str_len, buf, buf_size, at);
    else
        status = convert_in_chunks<Pivot>(from, str, str_len, to, buf, buf_size, at);
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
