// Conversion through Unicode for every pair of charsets without a direct routine, and the debug dump.
#include "core/kernels.h"
#include "qzstr_stages.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

using namespace qzstr::core;
using qzstr::resumable;
using qzstr::row_stages_of;
using qzstr::shift_state;
using qzstr::stages;

namespace {

constexpr const char* source = "common/qzstr/qzstr";

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

constexpr std::size_t unlimited = ~std::size_t{0};

/// So many units stay close even where those of a text go one way and come back.
constexpr std::size_t short_text_units = 256;

/// What a stage did: bytes it read, bytes it wrote.
struct stage_result {
    conv_status_t status;
    int read = 0;
    int written = 0;
};

/// The way around the buffer of units for what is usual in a text.
class shortcut {
public:
    shortcut(qzstr_charset_t from, qzstr_charset_t to, form units)
        : from_(from), to_(to), units_(units), decoding_(*row_stages_of.row[from].decoding),
          encoding_(*row_stages_of.row[to].encoding) {}

    bool exists() const { return way() != none; }

    /// Converts what is usual at the beginning of a text without the buffer of units; at most `most` of them. (Inlined, and
    /// so is what it calls: a short value would feel the call.)
    [[gnu::always_inline]] recoded_run take(const uchar* src, std::size_t n, uchar* dst, std::size_t room,
                                            std::size_t most) const {
        std::size_t ascii = 0;
        if (src[0] < 0x80 && decoding_.decodes_ascii && encoding_.encodes_ascii)
            ascii = copy_ascii(src, std::min({n, room, most}), dst);
        recoded_run rest{};
        if (ascii < n) rest = take_units(src + ascii, n - ascii, dst + ascii, room - ascii, most - ascii);
        return {ascii + rest.read, ascii + rest.written, ascii + rest.units, rest.replaced};
    }

    /// The same with characters beyond the BMP, in a target that has them all; begins with one where `wide`.
    recoded_run take_mixed(const uchar* src, std::size_t n, uchar* dst, std::size_t room, std::size_t most,
                           bool wide) const {
        recoded_run done{};
        for (;; wide = !wide) {
            const uchar* const from = src + done.read;
            uchar* const to = dst + done.written;
            const std::size_t left = n - done.read, bytes = room - done.written, units = most - done.units;
            const recoded_run some =
                wide ? take_wide(from, left, to, bytes, units) : take(from, left, to, bytes, units);
            done = {done.read + some.read, done.written + some.written, done.units + some.units,
                    done.replaced || some.replaced};
            if (done.read == n || done.units == most || (wide && some.units == 0)) return done;
        }
    }

private:
    enum { none, to_utf8, from_utf8, from_utf16, bytes_utf8, utf8_bytes, utf16_bytes, if_short };

    decltype(none) way() const {
        if (to_ == QZSTR_CHARSET_UTF8)
            return takes_pairs() ? to_utf8 : decoding_.from_bytes != nullptr ? bytes_utf8 : none;
        // By UCS-4, others may take a wide unit otherwise.
        const bool to_bytes = encoding_.to_bytes != nullptr && units_ == form::ucs2;
        const bool to_units = encoding_.encode_units != nullptr && (units_ == form::ucs2 || encoding_.same_in_ucs4);
        if (from_ == QZSTR_CHARSET_UTF8) return to_bytes ? utf8_bytes : to_units ? from_utf8 : none;
        if (from_ == QZSTR_CHARSET_UTF16) return to_bytes ? utf16_bytes : to_units ? from_utf16 : none;
        const bool from_pairs =
            decoding_.pairs != nullptr && (units_ == form::ucs2 || decoding_.pairs->longer.same_in_ucs2());
        return (from_pairs || decoding_.from_bytes != nullptr) && (to_bytes || to_units) ? if_short : none;
    }

    /// To UCS-2 no character beyond the BMP would go.
    bool takes_pairs() const {
        return decoding_.pairs != nullptr && (units_ == form::ucs4 || decoding_.pairs->longer.same_in_ucs2());
    }

    [[gnu::always_inline]] recoded_run take_units(const uchar* src, std::size_t n, uchar* dst, std::size_t room,
                                                  std::size_t most) const {
        switch (way()) {
        case none:
            return {};
        case to_utf8:
            return pairs_to_utf8(*decoding_.pairs, src, n, dst, room, most);
        case from_utf8:
            if (n <= std::min(short_text_bytes, most))
                if (const recoded_run all = short_utf8_to_pairs(*encoding_.to_pairs, src, n, dst, room); all.read != 0)
                    return all;
            return take_utf8(encoding_, src, n, dst, room, most);
        case from_utf16:
            return take_utf16(src, n, dst, room, most);
        case if_short:
            return n <= std::min(short_text_units, most) ? take_short(decoding_, encoding_, src, n, dst, room)
                                                         : recoded_run{};
        case bytes_utf8: {
            const moved m = bytes_to_utf8(*decoding_.from_bytes, src, std::min(n, most), dst, room);
            return {m.read, m.written, m.read, false};
        }
        case utf8_bytes: {
            const converted m = utf8_to_bytes(*encoding_.to_bytes, src, n, dst, std::min(room, most));
            return {m.read, m.written, m.written, m.replaced};
        }
        case utf16_bytes: {
            const encoded_bytes e =
                encode_bytes(*encoding_.to_bytes, unit_layout::ucs2_big, src, std::min({n / 2, room, most}), dst);
            return {2 * e.units, e.units, e.units, e.replaced};
        }
        }
        return {};
    }

    /// Of n big-endian 16-bit units before a text that goes on: how many the target encodes as it would with the rest in
    /// sight. The last one may belong to the next, and those before it to the last one.
    static std::size_t settled(const stages& encoding, const uchar* units, std::size_t n, bool goes_on) {
        if (n == 0 || !goes_on || encoding.joins == nullptr) return n;
        const auto at = [units](std::size_t i) { return load_unit<form::ucs2, order::big>(units + 2 * i); };
        do
            --n;
        while (n > 0 && encoding.joins(at(n - 1), at(n)));
        return n;
    }

    recoded_run take_utf16(const uchar* src, std::size_t n, uchar* dst, std::size_t room, std::size_t most) const {
        const std::size_t units = std::min(n / 2, most);
        const converted m = encoding_.encode_units(src, settled(encoding_, src, units, 2 * units < n), dst, room);
        return {m.read, m.written, m.read / 2, m.replaced};
    }

    /// By way of a few units at a time, which stay close; up to a character that UCS-4 has and they have not.
    [[gnu::noinline]] static recoded_run take_utf8(const stages& encoding, const uchar* src, std::size_t n, uchar* dst,
                                                   std::size_t room, std::size_t most) {
        constexpr std::size_t piece = 512;
        alignas(64) uchar units[2 * piece];
        recoded_run done{};
        while (done.read < n && done.units < most) {
            const converted in = decode_utf8(unit_layout::ucs2_big, src + done.read, n - done.read, units,
                                             std::min(piece, most - done.units), encoding.same_in_ucs4);
            const std::size_t decoded = in.written / 2,
                              wanted = settled(encoding, units, decoded, done.read + in.read < n);
            const converted out = encoding.encode_units(units, wanted, dst + done.written, room - done.written);
            const std::size_t taken = out.read / 2;
            done.read += taken == decoded ? in.read : skip_utf8(src + done.read, in.read, taken).read;
            done.written += out.written;
            done.units += taken;
            done.replaced |= in.replaced || out.replaced;
            if (taken < wanted || taken == 0) break;
        }
        return done;
    }

    /// At most `limit` units of two bytes.
    static converted decode(const stages& decoding, const uchar* src, std::size_t n, uchar* units, std::size_t limit) {
        constexpr unit_layout layout = unit_layout::ucs2_big;
        if (decoding.pairs != nullptr) return decode_pairs(*decoding.pairs, layout, src, n, units, limit);
        const std::size_t decoded = decode_bytes(*decoding.from_bytes, layout, src, std::min(n, limit), units);
        return {decoded, 2 * decoded, false};
    }
    static converted encode(const stages& encoding, const uchar* units, std::size_t n, uchar* dst, std::size_t room) {
        if (encoding.encode_units != nullptr) return encoding.encode_units(units, n, dst, room);
        const encoded_bytes e = encode_bytes(*encoding.to_bytes, unit_layout::ucs2_big, units, std::min(n, room), dst);
        return {2 * e.units, e.units, e.replaced};
    }

    /// A whole text by way of its units, of which UCS-2 has as many as UCS-4; a longer one fills the large buffer as well.
    [[gnu::noinline]] static recoded_run take_short(const stages& decoding, const stages& encoding, const uchar* src,
                                                    std::size_t n, uchar* dst, std::size_t room) {
        constexpr std::size_t spare = 64; // for the decoder to go by blocks
        alignas(64) uchar units[2 * (short_text_units + spare)];
        converted in = decode(decoding, src, n, units, short_text_units + spare);
        const std::size_t decoded = in.written / 2, wanted = settled(encoding, units, decoded, in.read < n);
        const converted out = encode(encoding, units, wanted, dst, room);
        const std::size_t taken = out.read / 2;
        if (taken < decoded) in = decode(decoding, src, in.read, units, taken);
        return {in.read, out.written, taken, in.replaced || out.replaced};
    }

    /// Characters beyond the BMP, and what follows them, by way of a few UCS-4 units.
    recoded_run take_wide(const uchar* src, std::size_t n, uchar* dst, std::size_t room, std::size_t most) const {
        constexpr std::size_t piece = 256;
        alignas(64) uchar units[4 * piece];
        const std::size_t wanted = std::min(piece, most);
        converted in{};
        if (from_ == QZSTR_CHARSET_UTF8) in = decode_utf8(unit_layout::ucs4_big, src, n, units, wanted, false);
        if (from_ == QZSTR_CHARSET_UTF16) {
            const moved m = utf16_to_ucs4(unit_layout::ucs4_big, src, n / 2, units, wanted);
            in = {m.read, m.written, false};
        }
        const converted out = encoding_.encode_wide(units, in.written / 4, dst, room);
        const std::size_t taken = out.read / 4;
        if (out.read < in.written)
            in.read = (from_ == QZSTR_CHARSET_UTF8 ? skip_utf8 : skip_units)(src, in.read, taken).read;
        return {in.read, out.written, taken, in.replaced || out.replaced};
    }

    qzstr_charset_t from_, to_;
    form units_;
    const stages& decoding_;
    const stages& encoding_;
};

/// The stages of one call of a pivot, with what they carry from chunk to chunk.
template <class Pivot>
class conversion {
public:
    conversion(qzstr_charset_t from, qzstr_charset_t to)
        : pivot_(from, to), decoding_(*row_stages_of.row[from].decoding), encoding_(*row_stages_of.row[to].encoding) {}

    static constexpr int unit = unit_size<Pivot::units>;

    /// Decodes up to `units` more of a chunk of which `done` are elsewhere already. Two units that the target encodes
    /// together stay in one chunk.
    stage_result decode(char* str, int len, char* chunk, int units, int done) {
        const shift_state before = from_state_;
        stage_result r = decode_some(str, len, chunk, units * unit);
        while (encoding_.joins != nullptr && r.written + done * unit >= 2 * unit && r.written > 0 && r.read < len &&
               splits_pair(chunk, r.written, str + r.read, len - r.read)) {
            from_state_ = before;
            r = decode_some(str, len, chunk, r.written - unit);
        }
        return r;
    }

    stage_result encode(char* chunk, int len, char* buf, int size) {
        if (encoding_.shifts == nullptr) {
            int read = 0, written = 0;
            const conv_status_t status = pivot_.encode(chunk, len, buf, size, &read, &written, 1);
            return {status, read, written};
        }
        return encode_shifting(bytes(chunk), len, buf, size, false);
    }

    /// What the target needs behind the text.
    stage_result finish(char* buf, int size) {
        if (encoding_.shifts == nullptr) return {};
        return encode_shifting(nullptr, 0, buf, size, true);
    }

    /// Source bytes of the first `units` units of a chunk that begins at str.
    int source_bytes(char* str, int len, int unit_bytes) const {
        int start = 0, end = -1, count = 0; // some charsets write nothing
        if (unit_bytes > 0) pivot_.get_byte_pos(str, len, unit_bytes / unit, &start, &end, &count);
        return end + 1 < len ? end + 1 : len;
    }

private:
    stage_result decode_some(char* str, int len, char* out, int size) {
        if (decoding_.shifts == nullptr) {
            int read = 0, written = 0;
            const conv_status_t status = pivot_.decode(str, len, out, size, &read, &written, 1);
            return {status, read, written};
        }
        progress at;
        const conv_status_t status =
            (decoding_.shifts->*Pivot::resume_decode)(from_state_, bytes(str), len, bytes(out), size, at);
        return {status, static_cast<int>(at.read), static_cast<int>(at.written)};
    }

    stage_result encode_shifting(const uchar* chunk, int len, char* buf, int size, bool ends) {
        progress at;
        const conv_status_t status =
            (encoding_.shifts->*Pivot::resume_encode)(to_state_, chunk, len, bytes(buf), at_least_0(size), at, ends);
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
        if (next.written < unit || !encoding_.joins(unit_at(chunk, last), unit_at(ahead, 0))) return false;
        // The tone letters are bases and marks: in a run of them every second one is taken already.
        bool taken = false;
        for (; last >= unit && encoding_.joins(unit_at(chunk, last - unit), unit_at(chunk, last)); last -= unit)
            taken = !taken;
        return !taken;
    }

    Pivot pivot_;
    const stages& decoding_;
    const stages& encoding_;
    shift_state from_state_, to_state_;
};

/// Units for the buffer where a target cannot fill: few while the shortcut gets on, more and more while it does not.
class patience {
public:
    int after(std::size_t bytes) {
        constexpr std::size_t far = 64;
        return units_ = bytes >= far ? least : std::min(units_ * 2, most);
    }

private:
    static constexpr int least = 4, most = 2048;
    int units_ = least;
};

/// The bytes of the longest character in a charset to which a pivot leads. (What takes four in UTF-8 took two at least.)
int longest_character(qzstr_charset_t to) {
    return to == QZSTR_CHARSET_UTF8 ? 3 : _charset_info[to].max_bytes_per_char;
}

/// How a text was converted, and how far.
struct converted_text {
    conv_status_t status = exact;
    progress at;
};

/// Goes on where a text is, through the buffer of units.
template <class Pivot>
[[gnu::noinline]] converted_text convert_in_chunks(qzstr_charset_t from, char* str, int str_len, qzstr_charset_t to,
                                                   char* buf, int buf_size, bool cannot_fill, progress at) {
    const shortcut around(from, to, Pivot::units);
    conversion<Pivot> stage(from, to);
    const std::size_t chunk_units = static_cast<std::size_t>(chunk_bytes / stage.unit);
    const std::size_t most = cannot_fill ? unlimited : chunk_units;
    patience careful;
    alignas(64) char chunk[chunk_bytes]; // never cleared: only what a stage wrote is read
    const bool wide = Pivot::units == form::ucs4 && row_stages_of.row[to].encoding->encode_wide != nullptr;
    conv_status_t status = exact;
    while (at.read < str_len) {
        char* const rest = str + at.read;
        const int rest_len = str_len - static_cast<int>(at.read);
        const int room = at_least_0(buf_size - static_cast<int>(at.written));
        const auto past_buffer = [&](auto... bounds) {
            return wide ? around.take_mixed(bounds..., cannot_fill) : around.take(bounds...);
        };
        const recoded_run past = past_buffer(bytes(rest), static_cast<std::size_t>(rest_len), bytes(buf) + at.written,
                                             static_cast<std::size_t>(room), most);
        const int read = static_cast<int>(past.read), written = static_cast<int>(past.written);
        at.written += written;
        if (past.replaced) status |= replaced;
        if (read == rest_len || past.units >= most) {
            at.read += read;
            continue;
        }
        const int here = !cannot_fill      ? static_cast<int>(chunk_units - past.units)
                         : around.exists() ? careful.after(past.read)
                                           : short_chunk_bytes / stage.unit;
        const int before = cannot_fill ? 0 : static_cast<int>(past.units);
        const stage_result decoded = stage.decode(rest + read, rest_len - read, chunk, here, before);
        status |= decoded.status & replaced;
        // CHOSEN: a pass that consumed only shifts or designators goes on.
        if (decoded.written == 0 && decoded.read == 0 && read == 0) break;
        const stage_result encoded = stage.encode(chunk, decoded.written, buf + at.written, room - written);
        status |= encoded.status & replaced;
        at.written += encoded.written;
        if ((encoded.status & stopped) != 0) {
            at.read += stage.source_bytes(rest, rest_len, before * stage.unit + encoded.read);
            return {status | stopped, at};
        }
        at.read += read + decoded.read;
    }
    const stage_result end = stage.finish(buf + at.written, buf_size - static_cast<int>(at.written));
    at.written += end.written;
    return {status | end.status, at};
}

template <class Pivot>
converted_text convert_text(qzstr_charset_t from, char* str, int str_len, qzstr_charset_t to, char* buf, int buf_size) {
    const shortcut around(from, to, Pivot::units);
    // No byte becomes more than one unit, shifts aside. Where nobody sees where chunks end, they end where it suits.
    const bool cannot_fill =
        row_stages_of.row[to].encoding->shifts == nullptr && buf_size >= offset_t{str_len} * longest_character(to);
    converted_text done;
    if (cannot_fill && str_len > 0) {
        const auto length = static_cast<std::size_t>(str_len);
        const recoded_run past =
            around.take(bytes(str), length, bytes(buf), static_cast<std::size_t>(buf_size), unlimited);
        done.at = {static_cast<offset_t>(past.read), static_cast<offset_t>(past.written)};
        done.status = past.replaced ? replaced : exact;
        if (past.read == length) return done;
    }
    const converted_text rest = convert_in_chunks<Pivot>(from, str, str_len, to, buf, buf_size, cannot_fill, done.at);
    return {done.status | rest.status, {rest.at.read, rest.at.written}};
}

template <class Pivot>
[[gnu::noinline]] conv_status_t convert QZSTR_CELL_PARAMETERS {
    if (!require_buffers(str, "str != NULL", buf, "buf != NULL", write_len, source, 0))
        return report(exact, {}, read_len, write_len);
    const converted_text done = convert_text<Pivot>(from_charset, str, at_least_0(str_len), to_charset, buf, buf_size);
    return report(done.status, done.at, read_len, write_len);
}

/// UTF-8 to UTF-16 for a target that cannot fill.
conv_status_t utf8_to_utf16(char* str, int str_len, char* buf, int buf_size, int* read_len, int* write_len) {
    const auto n = static_cast<std::size_t>(str_len);
    const converted fast = decode_utf8_to_utf16(bytes(str), n, bytes(buf), static_cast<std::size_t>(buf_size) / 2);
    progress at{static_cast<offset_t>(fast.read), static_cast<offset_t>(fast.written)};
    conv_status_t status = fast.replaced ? replaced : exact;
    if (fast.read < n) status |= qzstr::finish_utf8_to_utf16(bytes(str), str_len, bytes(buf), buf_size, at) & replaced;
    return report(status, at, read_len, write_len);
}

/// What the fast routine leaves of UTF-16 goes by UCS-4, a stretch at a time.
[[gnu::noinline]] conv_status_t finish_utf16_to_utf8(char* str, int str_len, char* buf, int buf_size, progress& at) {
    conv_status_t status = exact;
    while (str_len - at.read >= 2) {
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
        const moved fast =
            encode_utf16_as_utf8(bytes(str) + at.read, static_cast<std::size_t>(str_len - at.read) / 2,
                                 bytes(buf) + at.written, static_cast<std::size_t>(buf_size - at.written));
        at.read += static_cast<offset_t>(fast.read);
        at.written += static_cast<offset_t>(fast.written);
    }
    return status;
}

/// UTF-16 to UTF-8 for a target that cannot fill.
conv_status_t utf16_to_utf8(char* str, int str_len, char* buf, int buf_size, int* read_len, int* write_len) {
    const moved fast = encode_utf16_as_utf8(bytes(str), static_cast<std::size_t>(str_len) / 2, bytes(buf),
                                            static_cast<std::size_t>(buf_size));
    progress at{static_cast<offset_t>(fast.read), static_cast<offset_t>(fast.written)};
    const conv_status_t status = str_len - at.read < 2 ? exact : finish_utf16_to_utf8(str, str_len, buf, buf_size, at);
    return report(status, at, read_len, write_len);
}

} // namespace

conv_status_t qzstr_convert_through_ucs2 QZSTR_CELL_PARAMETERS {
    return convert<ucs2_pivot> QZSTR_CELL_ARGUMENTS;
}
conv_status_t qzstr_convert_through_ucs4 QZSTR_CELL_PARAMETERS {
    const bool usual = str != nullptr && buf != nullptr && write_len != nullptr && str_len >= 0;
    const offset_t len = str_len, size = buf_size;
    if (usual && from_charset == QZSTR_CHARSET_UTF8 && to_charset == QZSTR_CHARSET_UTF16 && size >= 2 * len)
        return utf8_to_utf16(str, str_len, buf, buf_size, read_len, write_len);
    if (usual && from_charset == QZSTR_CHARSET_UTF16 && to_charset == QZSTR_CHARSET_UTF8 && size >= (len + 1) / 2 * 3)
        return utf16_to_utf8(str, str_len, buf, buf_size, read_len, write_len);
    return convert<ucs4_pivot> QZSTR_CELL_ARGUMENTS;
}

void qzstr_dump_str(char* str, int str_len) {
    for (int i = 0; i < str_len; ++i) {
        if (i % 10 == 0) putchar('\n');
        printf("0x%02X ", bytes(str)[i]);
    }
}
