// EUC-KR: KS X 1001 in two bytes with the high bit set, ASCII in one. The reference double-byte family.
#include "core/letter_case.h"
#include "core/multibyte.h"
#include "core/surface.h"
#include "core/transcode.h"
#include "standards/iso2022kr.h"

namespace qzstr::families {

using namespace core;

struct euckr : double_byte<euckr>, decoders<euckr>, encoders<euckr>, ascii_reduction<euckr>, letter_case<euckr> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_euckr",
                                       .count_char = 238,
                                       .count_byte = 265,
                                       .is_char_leading_byte = 295,
                                       .get_char_leading_byte = 318,
                                       .is_char_ending_byte = 341,
                                       .get_char_ending_byte = 368,
                                       .get_byte_pos = 401,
                                       .to_ucs2 = 464,
                                       .from_ucs2 = 534,
                                       .convert_case = 931,
                                       .get_ascii_str = 45};

    static constexpr byte_set leads{byte_range{0xA1, 0xFE}};
    // KEPT: the high half of a 32-bit unit is ignored, so U+1AC00 is stored as U+AC00.
    static constexpr char32_t ucs4_mask = 0xFFFF;

    template <form>
    static constexpr decoded decode(const uchar* p, offset_t left) {
        if (p[0] < 0x80) return one(p[0], 1);
        if (!leads.contains(p[0])) return bad(1);
        if (left < 2) return cut();
        const char32_t c = qzstr_ksc5601_to_ucs2(p[0] - 0x80U, p[1] - 0x80U);
        return c != replacement ? one(c, 2) : bad(2);
    }

    template <form>
    static constexpr encoded encode(char32_t c, char32_t) {
        if (c < 0x80) return single(c);
        const unsigned code = qzstr_ksc5601_from_ucs2(c);
        return code != 0 ? pair(code + 0x8080) : unmappable();
    }

    // KEPT: bytes are copied without looking at characters, also into MSWIN949, which contains EUC-KR.
    static constexpr auto get_euckr_str = qzstr_get_same_charset_str;

    static conv_status_t get_iso2022kr_str QZSTR_CELL_PARAMETERS {
        (void)from_charset;
        (void)to_charset;
        constexpr int line = 147;
        progress at;
        if (!require_buffers(str, "str != NULL", buf, "buf != NULL", write_len, where.source, line))
            return report(exact, at, read_len, write_len);
        const conv_status_t status =
            write_shifted(bytes(str), at_least_0(str_len), bytes(buf), at_least_0(buf_size), at);
        return report(status, at, read_len, write_len);
    }

    static conv_status_t write_shifted(const uchar* src, offset_t len, uchar* dst, offset_t size, progress& at) {
        shift_state state;
        shift_writer out(state, dst, size, at.written);
        conv_status_t status = exact;
        while (at.read < len) {
            const uchar* const p = src + at.read;
            if (p[0] < 0x80) {
                const offset_t room = size - at.written, left = len - at.read;
                if (!state.out && left > 1 && p[1] < 0x80) { // between words there is one
                    const std::size_t run =
                        copy_ascii(p, static_cast<std::size_t>(left < room ? left : room), dst + at.written);
                    out.passed(run);
                    at.read += static_cast<offset_t>(run);
                    if (run > 0) continue;
                }
                if (!out.ascii(p[0])) return status | stopped;
                at.read += 1;
                continue;
            }
            if (len - at.read < 2) return status | stopped;
            if (qzstr_ksc5601_to_ucs2(p[0] - 0x80U, p[1] - 0x80U) != no_character) {
                if (!out.korean((p[0] & 0x7FU) << 8 | (p[1] & 0x7FU))) return status | stopped;
                at.read += 2;
                continue;
            }
            if (!out.ascii('?')) return status | stopped;
            status |= replaced;
            // KEPT: only the first byte is replaced, the next one is looked at as a character of its own.
            at.read += 1;
        }
        return out.close() ? status : status | stopped;
    }

    static bool starts_character(const uchar* p, offset_t offset) {
        if (offset == 0 || !leads.contains(p[offset])) return true;
        offset_t j = offset - 1;
        while (j >= 1 && leads.contains(p[j]))
            --j;
        // KEPT: byte 0 is never examined, stored positions depend on it: B0 A1 begins a character at offset 1.
        return j < 1 ? offset % 2 != 0 : (offset - j) % 2 != 0;
    }
    // KEPT: ending bytes go by the high bit alone, unlike leading bytes.
    static bool ends_character(const uchar* p, offset_t offset) { return ends_even_high_run(p, offset); }
};

} // namespace qzstr::families

QZSTR_EXPORT(euckr)
