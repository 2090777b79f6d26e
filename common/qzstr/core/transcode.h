// The conversion loops: every bound, every room check and every status bit of the multibyte conversions lives here. A
// family supplies one-character rules and never sees a buffer.
#pragma once

#include "core/accelerate.h"
#include "core/contract.h"
#include "core/units.h"

namespace qzstr::core {

enum class outcome : uchar { ok, bad, cut };

/// One decoded character: 0 to 2 units, the bytes it took, and whether it was exact, replaced or cut by the end.
struct decoded {
    char32_t unit[2];
    uchar units;
    uchar consumed;
    outcome what;
};

constexpr decoded one(char32_t c, int consumed) {
    return {{c, 0}, 1, static_cast<uchar>(consumed), outcome::ok};
}
constexpr decoded two(char32_t a, char32_t b, int consumed) {
    return {{a, b}, 2, static_cast<uchar>(consumed), outcome::ok};
}
constexpr decoded bad(int consumed) {
    return {{replacement, 0}, 1, static_cast<uchar>(consumed), outcome::bad};
}
constexpr decoded cut() {
    return {{0, 0}, 0, 0, outcome::cut};
}
/// A character beyond the BMP in the asked form; UCS-2 cannot hold it.
template <form Form>
constexpr decoded supplementary(char32_t c, int consumed) {
    if constexpr (Form == form::ucs4) return one(c, consumed);
    if constexpr (Form == form::utf16) return two(0xD7C0 + (c >> 10), 0xDC00 + (c & 0x3FF), consumed);
    return bad(consumed);
}

/// The unit after the one being encoded, or none at the end of the source.
inline constexpr char32_t none = 0xFFFFFFFF;

/// One encoded character: its bytes, the room it asks for (at least its bytes), the source units it took.
struct encoded {
    uchar byte[4];
    uchar bytes;
    uchar room;
    uchar units;
    outcome what;
};

constexpr encoded single(unsigned b) {
    return {{static_cast<uchar>(b)}, 1, 1, 1, outcome::ok};
}
constexpr encoded pair(unsigned lead, unsigned trail) {
    return {{static_cast<uchar>(lead), static_cast<uchar>(trail)}, 2, 2, 1, outcome::ok};
}
constexpr encoded pair(unsigned code) {
    return pair(code >> 8, code & 0xFF);
}
constexpr encoded triple(unsigned a, unsigned b, unsigned c) {
    return {{static_cast<uchar>(a), static_cast<uchar>(b), static_cast<uchar>(c)}, 3, 3, 1, outcome::ok};
}
constexpr encoded quad(unsigned a, unsigned b, unsigned c, unsigned d) {
    return {{static_cast<uchar>(a), static_cast<uchar>(b), static_cast<uchar>(c), static_cast<uchar>(d)},
            4,
            4,
            1,
            outcome::ok};
}
constexpr encoded unmappable() {
    return {{'?'}, 1, 1, 1, outcome::bad};
}

/// How many source bytes the exact routine takes before the fast one is tried again: one character when the fast one got
/// far, a stretch that doubles as long as it hardly moves.
class exact_stretch {
public:
    constexpr offset_t after(offset_t moved) {
        if (moved >= 32) return bytes_ = 1;
        return bytes_ = bytes_ == 1 ? 32 : bytes_ < 512 ? bytes_ * 2 : bytes_;
    }

private:
    offset_t bytes_ = 1;
};

/// Decodes until the source is used up, is cut inside a character, or the target has no room for the next character.
template <class F, form Form, order Order>
conv_status_t decode(const uchar* src, offset_t len, uchar* dst, offset_t size, progress& at) {
    constexpr int unit = unit_size<Form>;
    conv_status_t status = exact;
    exact_stretch stretch;
    while (at.read < len) {
        const offset_t before = at.read;
        status |= decode_fast<F, Form, Order>(src, len, dst, size, at);
        const offset_t until = at.read + stretch.after(at.read - before);
        while (at.read < len && at.read < until) {
            if (size - at.written < unit) return status | stopped;
            const decoded d = F::template decode<Form>(src + at.read, len - at.read);
            if (d.what == outcome::cut || size - at.written < d.units * unit) return status | stopped;
            for (int i = 0; i < d.units; ++i)
                store_unit<Form, Order>(dst + at.written + i * unit, d.unit[i]);
            if (d.what == outcome::bad) status |= replaced;
            at.written += d.units * unit;
            at.read += d.consumed;
        }
    }
    return status;
}

/// Encodes until whole units are used up or the target has no room for the next character.
template <class F, form Form, order Order>
conv_status_t encode(const uchar* src, offset_t len, uchar* dst, offset_t size, progress& at) {
    constexpr int unit = unit_size<Form>;
    constexpr char32_t mask = Form == form::ucs4 ? F::ucs4_mask : 0xFFFF;
    conv_status_t status = exact;
    exact_stretch stretch;
    while (len - at.read >= unit) {
        const offset_t before = at.read;
        status |= encode_fast<F, Form, Order>(src, len, dst, size, at);
        const offset_t until = at.read + stretch.after(at.read - before);
        while (len - at.read >= unit && at.read < until) {
            const uchar* const p = src + at.read;
            const char32_t next = len - at.read >= 2 * unit ? load_unit<Form, Order>(p + unit) & mask : none;
            const encoded e = F::template encode<Form>(load_unit<Form, Order>(p) & mask, next);
            if (size - at.written < e.room) return status | stopped;
            std::memcpy(dst + at.written, e.byte, e.bytes);
            if (e.what == outcome::bad) status |= replaced;
            at.written += e.bytes;
            at.read += e.units * unit;
        }
    }
    return at.read < len ? status | stopped : status;
}

/// One step of a byte-to-byte conversion: bytes written, bytes consumed (0 stays at the character).
struct recoded {
    uchar byte[2];
    uchar bytes;
    uchar consumed;
    outcome what;
};

/// Converts bytes to bytes by a family's rule `step(p, left)` until source or target end, and before each step what
/// `run(src, n, dst, room)` takes.
template <class Run, class Step>
conv_status_t recode(const uchar* src, offset_t len, uchar* dst, offset_t size, progress& at, Run run, Step step) {
    conv_status_t status = exact;
    while (at.read < len) {
        if (at.written >= size) return status | stopped;
        const converted fast = run(src + at.read, static_cast<std::size_t>(len - at.read), dst + at.written,
                                   static_cast<std::size_t>(size - at.written));
        at.read += static_cast<offset_t>(fast.read);
        at.written += static_cast<offset_t>(fast.written);
        if (fast.replaced) status |= replaced;
        if (fast.read != 0) continue;
        const recoded r = step(src + at.read, len - at.read);
        if (r.what == outcome::cut || size - at.written < r.bytes) return status | stopped;
        if (r.bytes > 0) dst[at.written] = r.byte[0]; // cheaper than a copy of unknown length
        if (r.bytes > 1) dst[at.written + 1] = r.byte[1];
        if (r.what == outcome::bad) status |= replaced;
        if (r.consumed == 0) { // the same again until the target is full
            std::memset(dst + at.written, r.byte[0], static_cast<std::size_t>(size - at.written));
            at.written = size;
            return status | stopped;
        }
        at.written += r.bytes;
        at.read += r.consumed;
    }
    return status;
}

/// A run of ASCII, which is itself.
inline converted recode_ascii(const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
    const std::size_t run = src[0] < 0x80 ? copy_ascii(src, n < room ? n : room, dst) : 0;
    return {run, run, false};
}

/// What the first byte of a character becomes by F's `reduce`; zero where that is not all, or another length than leads and
/// the shape of longer codes tell.
template <class F>
consteval pair_reduction make_reduction() {
    pair_reduction plan{{}, &pair_leads<F>(), longer_codes<F>(), true};
    for (unsigned b = 0; b < 256; ++b) {
        bool usual = true;
        for (unsigned trail = 0; trail < 256; ++trail) {
            const uchar text[4] = {static_cast<uchar>(b), static_cast<uchar>(trail), 0xA1, 0xA1};
            const bool is_lead = plan.leads->contains(b);
            const unsigned of_pairs = is_lead ? 2 : 1;
            const unsigned length = plan.longer.told_by(text[0], is_lead, text[1]) ? plan.longer.bytes : of_pairs;
            const recoded r = F::reduce(text, 4);
            const bool is_replacement = r.byte[0] == '?' && b != '?';
            usual &= r.bytes == 1 && r.consumed == length && (r.what == outcome::bad) == is_replacement;
            plan.to[b] = r.byte[0];
        }
        if (!usual) plan.to[b] = 0;
        if (b < 0x80 && plan.to[b] != b) plan.copies_ascii = false;
    }
    return plan;
}

template <class F>
inline constexpr pair_reduction reduction_of = make_reduction<F>();

/// The reduction to ASCII: one "?" for each character that is none. A family may replace `reduce`.
template <class F>
struct ascii_reduction {
    static constexpr recoded reduce(const uchar* p, offset_t left) {
        if (p[0] < 0x80) return {{p[0]}, 1, 1, outcome::ok};
        const offset_t size = F::step(p, left);
        if (size > left) return {{}, 0, 0, outcome::cut};
        return {{'?'}, 1, static_cast<uchar>(size), outcome::bad};
    }

    static conv_status_t get_ascii_str QZSTR_CELL_PARAMETERS {
        (void)from_charset;
        (void)to_charset;
        progress at;
        if (!require_buffers(str, "str != NULL", buf, "buf != NULL", write_len, F::where.source,
                             F::where.get_ascii_str))
            return report(exact, at, read_len, write_len);
        const auto run = [](const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
            if constexpr (decodes_pairs<F>)
                if (src[0] >= 0x80 || !reduction_of<F>.copies_ascii)
                    return reduce_pairs(reduction_of<F>, src, n, dst, room);
            return recode_ascii(src, n, dst, room);
        };
        const auto step = [](const uchar* p, offset_t left) { return F::reduce(p, left); };
        const conv_status_t status =
            recode(bytes(str), at_least_0(str_len), bytes(buf), at_least_0(buf_size), at, run, step);
        return report(status, at, read_len, write_len);
    }
};

/// The decoding slots of family F.
template <class F>
struct decoders {
    static conv_status_t to_ucs2(char* str, int str_len, char* ucs2, int ucs2_buf_size, int* read_len, int* write_len,
                                 uchar is_big_end) {
        return run<form::ucs2>(str, str_len, ucs2, "ucs2 != NULL", ucs2_buf_size, read_len, write_len, is_big_end,
                               F::where.to_ucs2);
    }
    static conv_status_t to_ucs4(char* str, int str_len, char* ucs4, int ucs4_buf_size, int* read_len, int* write_len,
                                 uchar is_big_end) {
        return run<form::ucs4>(str, str_len, ucs4, "ucs4 != NULL", ucs4_buf_size, read_len, write_len, is_big_end, 0);
    }
    static conv_status_t to_wchar(char* str, int str_len, char* wcs, int wcs_buf_size, int wchar_size, int* read_len,
                                  int* write_len) {
        return wchar_size == 2 ? F::to_ucs2(str, str_len, wcs, wcs_buf_size, read_len, write_len, 0)
                               : F::to_ucs4(str, str_len, wcs, wcs_buf_size, read_len, write_len, 0);
    }
    /// Into UTF-16BE, as UCS-2 has it.
    static conv_status_t get_utf16_str QZSTR_CELL_PARAMETERS {
        (void)from_charset;
        (void)to_charset;
        return F::to_ucs2(str, str_len, buf, buf_size, read_len, write_len, 1);
    }

protected:
    /// The text between the checks and the report; a family whose text has state of its own brings its own loop.
    template <form Form, order Order>
    static conv_status_t decode_text(const uchar* src, offset_t len, uchar* dst, offset_t size, progress& at) {
        return core::decode<F, Form, Order>(src, len, dst, size, at);
    }

    template <form Form>
    static conv_status_t run(char* str, int str_len, char* out, const char* out_expr, int size, int* read_len,
                             int* write_len, uchar is_big_end, int line) {
        progress at;
        if (!require_buffers(str, "str != NULL", out, out_expr, write_len, F::where.source, line))
            return report(exact, at, read_len, write_len);
        const conv_status_t status =
            is_big_end != 0 ? F::template decode_text<Form, order::big>(bytes(str), at_least_0(str_len), bytes(out),
                                                                        at_least_0(size), at)
                            : F::template decode_text<Form, order::little>(bytes(str), at_least_0(str_len), bytes(out),
                                                                           at_least_0(size), at);
        return report(status, at, read_len, write_len);
    }
};

/// The same for a family with characters beyond the BMP: UTF-16 holds them as surrogate pairs.
template <class F>
struct surrogate_decoders : decoders<F> {
    static conv_status_t get_utf16_str QZSTR_CELL_PARAMETERS {
        (void)from_charset;
        (void)to_charset;
        return decoders<F>::template run<form::utf16>(str, str_len, buf, "buf != NULL", buf_size, read_len, write_len,
                                                      1, 0);
    }
};

/// The encoding slots of family F.
template <class F>
struct encoders {
    static conv_status_t from_ucs2(char* ucs2, int ucs2_len, char* str, int str_buf_size, int* read_len, int* write_len,
                                   uchar is_big_end) {
        return run<form::ucs2>(ucs2, "ucs2 != NULL", ucs2_len, str, str_buf_size, read_len, write_len, is_big_end,
                               F::where.from_ucs2);
    }
    static conv_status_t from_ucs4(char* ucs4, int ucs4_len, char* str, int str_buf_size, int* read_len, int* write_len,
                                   uchar is_big_end) {
        return run<form::ucs4>(ucs4, "ucs4 != NULL", ucs4_len, str, str_buf_size, read_len, write_len, is_big_end, 0);
    }
    static conv_status_t from_wchar(char* wcs, int wcs_len, char* str, int str_buf_size, int wchar_size, int* read_len,
                                    int* write_len) {
        return wchar_size == 2 ? F::from_ucs2(wcs, wcs_len, str, str_buf_size, read_len, write_len, 0)
                               : F::from_ucs4(wcs, wcs_len, str, str_buf_size, read_len, write_len, 0);
    }

protected:
    template <form Form, order Order>
    static conv_status_t encode_text(const uchar* src, offset_t len, uchar* dst, offset_t size, progress& at) {
        return core::encode<F, Form, Order>(src, len, dst, size, at);
    }

    template <form Form>
    static conv_status_t run(char* in, const char* in_expr, int in_len, char* str, int size, int* read_len,
                             int* write_len, uchar is_big_end, int line) {
        progress at;
        if (!require_buffers(str, "str != NULL", in, in_expr, write_len, F::where.source, line))
            return report(exact, at, read_len, write_len);
        const conv_status_t status =
            is_big_end != 0 ? F::template encode_text<Form, order::big>(bytes(in), at_least_0(in_len), bytes(str),
                                                                        at_least_0(size), at)
                            : F::template encode_text<Form, order::little>(bytes(in), at_least_0(in_len), bytes(str),
                                                                           at_least_0(size), at);
        return report(status, at, read_len, write_len);
    }
};

} // namespace qzstr::core
