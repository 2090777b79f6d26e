// ISO-2022-KR: Korean text in 7 bits with shifts, for conversion only. Its two conversions take the state of the text
// before, so that the pivots can go through a long text in pieces; what needs single characters is refused.
#include "core/surface.h"
#include "core/transcode.h"
#include "qzstr_stages.h"
#include "standards/ksc5601_text.h"

#include <algorithm>

namespace qzstr::families {

using namespace core;

/// KS X 1001 in 7-bit pairs, for a table of them.
struct ksc5601_pairs {
    template <form>
    static constexpr encoded encode(char32_t c, char32_t) {
        const unsigned code = qzstr_ksc5601_from_ucs2(c);
        return code != 0 ? pair(code) : unmappable();
    }
    /// 0 where there is none.
    static unsigned code(char32_t c) {
        const auto& pages = encode_pages_of<ksc5601_pairs>;
        const std::uint16_t cell = pages.cell[pages.page[c >> 8] + (c & 0xFF)];
        return cell < substituted ? __builtin_bswap16(cell) : 0;
    }
};

struct iso2022kr : decoders<iso2022kr>, encoders<iso2022kr> {
    static const resumable shifts;

    static constexpr diagnostics where{.source = "common/qzstr/qzstr_iso2022kr", .get_byte_pos = 368};

    /// One step of the text: its unit, or none after a shift or designator.
    // KEPT: what is malformed becomes "?", not U+FFFD.
    static decoded next(shift_state& state, const uchar* p, offset_t left) {
        constexpr decoded unknown{{'?', 0}, 1, 1, outcome::bad};
        switch (p[0]) {
        case escape:
            if (left < offset_t{sizeof ksc5601_designator}) return cut();
            if (std::memcmp(p, ksc5601_designator, sizeof ksc5601_designator) != 0) return unknown;
            // KEPT: once seen, the designator holds to the end of the text; line ends do not reset it.
            state.designated = true;
            return {{}, 0, sizeof ksc5601_designator, outcome::ok};
        case shift_out:
            if (!state.designated) return unknown;
            state.out = true;
            return {{}, 0, 1, outcome::ok};
        case shift_in:
            state.out = false;
            return {{}, 0, 1, outcome::ok};
        default:
            if (!state.out) return p[0] < 0x80 ? one(p[0], 1) : unknown;
            if (left < 2) return cut();
            const char32_t c = qzstr_ksc5601_to_ucs2(p[0], p[1]);
            return c != no_character ? one(c, 2) : unknown;
        }
    }

    /// ASCII that is a character, outside of a shift.
    static constexpr bool is_plain(uchar b) { return b < 0x80 && b != escape && b != shift_out && b != shift_in; }

    /// Passes characters that change no state and are exact, up to the first that is not. (The state and the counts are
    /// kept from the stores to the target, which could be stores to them for all that the compiler knows.)
    template <form Form, order Order>
    static void pass_plain(shift_state state, const uchar* src, offset_t len, uchar* dst, offset_t size, progress& at) {
        constexpr int unit = unit_size<Form>;
        progress here = at;
        if (state.out)
            for (; len - here.read >= 2 && size - here.written >= unit; here.read += 2, here.written += unit) {
                const uchar* const p = src + here.read;
                const char32_t c = p[0] > ' ' ? qzstr_ksc5601_to_ucs2(p[0], p[1]) : no_character;
                if (c == no_character) break;
                store_unit<Form, Order>(dst + here.written, c);
            }
        else
            for (; here.read < len && size - here.written >= unit; ++here.read, here.written += unit) {
                const uchar b = src[here.read];
                if (!is_plain(b)) break;
                store_unit<Form, Order>(dst + here.written, b);
            }
        at = here;
    }

    static constexpr offset_t shortest_piece = 64, longest_piece = ksc5601_text::piece;

    /// Takes well-formed text a piece at a time: `convert(piece, n)` gets n bytes of it without shifts, and takes those up
    /// to the first pair that is no character.
    template <int Unit, class Convert>
    [[gnu::noinline]] static conv_status_t take_pieces(shift_state& state, const uchar* src, offset_t len,
                                                       offset_t size, progress& at, Convert convert) {
        uchar piece[longest_piece + 64];
        conv_status_t status = exact;
        for (offset_t most = 2 * shortest_piece;; most = std::min<offset_t>(2 * most, longest_piece)) {
            // No byte becomes more than one unit: there is room for one wherever a shift is read.
            const offset_t n = std::min({len - at.read, (size - at.written) / Unit, most});
            if (n < shortest_piece) return status;
            const uchar* const p = src + at.read;
            const unshifted text = unshift_pairs(iso2022kr_codes, state, p, static_cast<std::size_t>(n), piece);
            const converted done = convert(piece, text.written);
            const bool whole = done.read == text.written;
            if (whole) state = text.state;
            const offset_t read = whole ? static_cast<offset_t>(text.read) : pass(state, p, done.read);
            at.read += read;
            at.written += static_cast<offset_t>(done.written);
            if (done.replaced) status |= replaced;
            if (!whole || n - read >= offset_t{sizeof ksc5601_designator}) return status;
        }
    }

    /// Passes well-formed text up to where its n-th byte without shifts ends.
    static offset_t pass(shift_state& state, const uchar* p, std::size_t n) {
        offset_t at = 0;
        while (n > 0) {
            if (p[at] == escape) {
                state.designated = true;
                at += sizeof ksc5601_designator;
                continue;
            }
            if (p[at] == shift_out || p[at] == shift_in)
                state.out = p[at] == shift_out;
            else
                --n;
            ++at;
        }
        return at;
    }

    /// Decodes from a state on. Shifts, too, are only read while there is room for a unit.
    template <form Form, order Order>
    static conv_status_t decode(shift_state& state, const uchar* src, offset_t len, uchar* dst, offset_t size,
                                progress& at) {
        constexpr int unit = unit_size<Form>;
        conv_status_t status = exact;
        exact_stretch stretch;
        while (at.read < len && (status & stopped) == 0) {
            offset_t until = len;
            if (len - at.read >= shortest_piece) {
                const offset_t before = at.read;
                const auto convert = [&](const uchar* piece, std::size_t n) {
                    return decode_pairs(pair_decoding_of<ksc5601_text>, layout_of<Form, Order>, piece, n,
                                        dst + at.written, static_cast<std::size_t>((size - at.written) / unit));
                };
                status |= take_pieces<unit>(state, src, len, size, at, convert);
                until = std::min(len, at.read + stretch.after(at.read - before));
            }
            status |= decode_until<Form, Order>(state, src, len, until, dst, size, at);
        }
        return status;
    }

    /// The same by single characters of which the last one begins before `until`.
    template <form Form, order Order>
    [[gnu::always_inline]] static conv_status_t decode_until(shift_state& state, const uchar* src, offset_t len,
                                                             offset_t until, uchar* dst, offset_t size, progress& at) {
        constexpr int unit = unit_size<Form>;
        conv_status_t status = exact;
        while (at.read < until) {
            pass_plain<Form, Order>(state, src, until, dst, size, at);
            if (at.read == until) break;
            if (size - at.written < unit) return status | stopped;
            const decoded d = next(state, src + at.read, len - at.read);
            if (d.what == outcome::cut) return status | stopped;
            if (d.what == outcome::bad) status |= replaced;
            store_unit<Form, Order>(dst + at.written, d.unit[0]);
            at.written += d.units * unit;
            at.read += d.consumed;
        }
        return status;
    }

    /// Encodes from a state on; the shift is closed behind the last piece. (State and counts as in pass_plain.)
    template <form Form, order Order>
    static conv_status_t encode(shift_state& state, const uchar* src, offset_t len, uchar* dst, offset_t size,
                                progress& at, bool last) {
        shift_state now = state;
        progress here = at;
        const conv_status_t status = encode_units<Form, Order>(now, src, len, dst, size, here, last);
        state = now;
        at = here;
        return status;
    }

    template <form Form, order Order>
    [[gnu::always_inline]] static conv_status_t encode_units(shift_state& state, const uchar* src, offset_t len,
                                                             uchar* dst, offset_t size, progress& at, bool last) {
        constexpr int unit = unit_size<Form>;
        shift_writer out(state, dst, size, at.written);
        conv_status_t status = exact;
        for (; len - at.read >= unit; at.read += unit) {
            // KEPT: the high half of a 32-bit unit is ignored, so U+1AC00 is stored as U+AC00.
            const char32_t c = load_unit<Form, Order>(src + at.read) & 0xFFFF;
            if (c < 0x80 && !state.out) {
                const offset_t units = (len - at.read) / unit, room = size - at.written;
                const std::size_t run =
                    narrow_ascii(layout_of<Form, Order>, src + at.read,
                                 static_cast<std::size_t>(units < room ? units : room), dst + at.written);
                if (run > 0) {
                    out.passed(run);
                    at.read += static_cast<offset_t>(run - 1) * unit;
                    continue;
                }
            }
            const unsigned code = c < 0x80 ? 0 : ksc5601_pairs::code(c);
            const bool mapped = c < 0x80 || code != 0;
            if (!(code != 0 ? out.korean(code) : out.ascii(mapped ? static_cast<uchar>(c) : '?')))
                return status | stopped;
            if (!mapped) status |= replaced;
        }
        if (last && !out.close()) status |= stopped;
        return at.read < len ? status | stopped : status;
    }

    template <form Form, order Order>
    static conv_status_t decode_text(const uchar* src, offset_t len, uchar* dst, offset_t size, progress& at) {
        shift_state state;
        return decode<Form, Order>(state, src, len, dst, size, at);
    }
    template <form Form, order Order>
    static conv_status_t encode_text(const uchar* src, offset_t len, uchar* dst, offset_t size, progress& at) {
        shift_state state;
        return encode<Form, Order>(state, src, len, dst, size, at, true);
    }

    /// Into bytes: `korean(p)` is what a character of KS X 1001 becomes, `convert(piece, n, dst)` what text becomes that
    /// is without shifts and replacements.
    template <class Korean, class Convert>
    static conv_status_t recode_text(char* str, int str_len, char* buf, int buf_size, int* read_len, int* write_len,
                                     Korean korean, Convert convert) {
        progress at;
        if (!require_buffers(str, "str != NULL", buf, "buf != NULL", write_len, where.source, 0))
            return report(exact, at, read_len, write_len);
        const offset_t len = at_least_0(str_len), size = at_least_0(buf_size);
        const conv_status_t status = len < shortest_piece
                                         ? recode_bytes<false>(bytes(str), len, bytes(buf), size, at, korean, convert)
                                         : recode_bytes<true>(bytes(str), len, bytes(buf), size, at, korean, convert);
        return report(status, at, read_len, write_len);
    }
    template <bool InPieces, class Korean, class Convert>
    [[gnu::noinline]] static conv_status_t recode_bytes(const uchar* src, offset_t len, uchar* dst, offset_t size,
                                                        progress& at, Korean korean, Convert convert) {
        shift_state state;
        const auto step = [&state, korean](const uchar* p, offset_t left) -> recoded {
            if (state.out && p[0] > ' ' && left >= 2 && qzstr_ksc5601_to_ucs2(p[0], p[1]) != no_character)
                return korean(p);
            const decoded d = next(state, p, left);
            if (d.consumed == 2) return korean(p);
            return {{static_cast<uchar>(d.unit[0])}, d.units, d.consumed, d.what};
        };
        const auto pass_ascii = [&state](const uchar* p, std::size_t n, uchar* to, std::size_t room) -> converted {
            std::size_t i = 0;
            if (!state.out)
                for (; i < n && i < room && is_plain(p[i]); ++i)
                    to[i] = p[i];
            return {i, i, false};
        };
        if constexpr (!InPieces) return recode(src, len, dst, size, at, pass_ascii, step);
        exact_stretch stretch;
        const uchar* until = src;
        const auto run = [&](const uchar* p, std::size_t n, uchar* to, std::size_t room) -> converted {
            if (p >= until) {
                shift_state now = state; // what is referred to would not stay in registers
                const converted done = recode_pieces(now, p, n, to, room, convert);
                state = now;
                const auto then = static_cast<std::size_t>(stretch.after(static_cast<offset_t>(done.read)));
                until = p + std::min(n, done.read + then);
                if (done.read > 0) return done;
            }
            return pass_ascii(p, static_cast<std::size_t>(until - p), to, room);
        };
        return recode(src, len, dst, size, at, run, step);
    }
    template <class Convert>
    static converted recode_pieces(shift_state& state, const uchar* src, std::size_t n, uchar* dst, std::size_t room,
                                   Convert convert) {
        progress at;
        const conv_status_t status =
            take_pieces<1>(state, src, static_cast<offset_t>(n), static_cast<offset_t>(room), at,
                           [dst, convert, &at](const uchar* piece, std::size_t m) {
                               return convert(piece, ksc5601_text::characters_in(piece, m), dst + at.written);
                           });
        return {static_cast<std::size_t>(at.read), static_cast<std::size_t>(at.written), status != exact};
    }
    static conv_status_t get_ascii_str QZSTR_CELL_PARAMETERS {
        (void)from_charset, (void)to_charset;
        return recode_text(
            str, str_len, buf, buf_size, read_len, write_len,
            [](const uchar*) {
                return recoded{{'?'}, 1, 2, outcome::bad};
            },
            [](const uchar* piece, std::size_t n, uchar* dst) {
                return reduce_pairs(reduction_of<ksc5601_text>, piece, n, dst, n);
            });
    }
    static conv_status_t get_euckr_str QZSTR_CELL_PARAMETERS {
        (void)from_charset, (void)to_charset;
        return recode_text(
            str, str_len, buf, buf_size, read_len, write_len,
            [](const uchar* p) {
                return recoded{{static_cast<uchar>(p[0] | 0x80), static_cast<uchar>(p[1] | 0x80)}, 2, 2, outcome::ok};
            },
            [](const uchar* piece, std::size_t n, uchar* dst) -> converted {
                std::memcpy(dst, piece, n);
                return {n, n, false};
            });
    }
    static constexpr auto get_iso2022kr_str = qzstr_get_same_charset_str;

    static void get_byte_pos(char* str, int str_len, int char_cnt, int* start_pos, int* end_pos, int* real_char_cnt) {
        constexpr int line = where.get_byte_pos;
        const bool has_str = require(str != nullptr, "str != NULL", where.source, line);
        const bool has_start = require(start_pos != nullptr, "start_pos != NULL", where.source, nth(line, 1));
        const bool has_end = require(end_pos != nullptr, "end_pos != NULL", where.source, nth(line, 2));
        if (!has_str || !has_start || !has_end || str_len < 1) return;
        const char_place at = find(bytes(str), str_len, char_cnt);
        *start_pos = at.start;
        *end_pos = at.end;
        if (real_char_cnt != nullptr) *real_char_cnt = at.count;
    }

    struct char_place {
        int start, end, count;
    };
    // KEPT: for n from 2 on the answer is character n - 1 with its end at the byte behind it; clients of stored read
    // lengths rely on it. Character 1 is never found: the walk then ends at the last character.
    static char_place find(const uchar* p, int len, int n) {
        const int last = len - 1;
        for (int pos = 0, size = 1, count = 0;;) {
            if (p[pos] == shift_in || p[pos] == shift_out) {
                if (pos == last) return {pos, last, count};
                size = p[pos] == shift_in ? 1 : 2;
                pos += 1;
            } else if (p[pos] == escape) {
                if (len - pos < 6) return {pos, last, count};
                // KEPT: a character that follows a designator without a shift takes four bytes.
                size = 4;
                pos += 4;
            } else {
                const int behind = len - pos > size ? pos + size : last;
                if (count + 2 == n) return {pos, behind, n};
                ++count;
                if (len - pos - size < 2) return {pos, last, count};
                pos += size;
            }
        }
    }

    // What would have to walk the shifts from the start of the text.
    static uchar refused(int line, const char* function) {
        refuse(where.source, line, function);
        return 0;
    }
    static int count_char(char*, int) { return refused(252, "qzstr_iso2022kr_count_char"); }
    static int count_byte(char*, int) { return refused(269, "qzstr_iso2022kr_count_byte"); }
    static uchar is_char_leading_byte(char*, int) { return refused(286, "qzstr_iso2022kr_is_char_leading_byte"); }
    static int get_char_leading_byte(char*, int) { return refused(303, "qzstr_iso2022kr_get_char_leading_byte"); }
    static uchar is_char_ending_byte(char*, int) { return refused(320, "qzstr_iso2022kr_is_char_ending_byte"); }
    static int get_char_ending_byte(char*, int, uchar) { return refused(339, "qzstr_iso2022kr_get_char_ending_byte"); }
    static void get_byte_pos_with_disp_size(char*, int, int, int*, int*, uchar*) {
        refused(858, "qzstr_iso2022kr_get_byte_pos_with_disp_size");
    }
    static void convert_case(qzstr_case_t, char*, int) { refused(864, "qzstr_iso2022kr_convert_case"); }
    static int get_first_trailing_space(char*, int) { return refused(878, "qzstr_iso2022kr_get_first_trailing_space"); }
    static uchar isspace(char*, int) { return refused(894, "qzstr_iso2022kr_isspace"); }
};

} // namespace qzstr::families

namespace qzstr::families {

constexpr resumable iso2022kr::shifts{
    .from_bytes_ucs2 = decode<form::ucs2, order::big>,
    .from_bytes_ucs4 = decode<form::ucs4, order::big>,
    .to_bytes_ucs2 = encode<form::ucs2, order::big>,
    .to_bytes_ucs4 = encode<form::ucs4, order::big>,
};

} // namespace qzstr::families

QZSTR_EXPORT(iso2022kr)
