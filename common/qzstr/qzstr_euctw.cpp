// EUC-TW: CNS 11643 plane 1 in two bytes, any plane in four bytes that begin with 0x8E, ASCII in one.
#include "core/letter_case.h"
#include "core/multibyte.h"
#include "core/surface.h"
#include "core/transcode.h"
#include "standards/cns11643.h"

namespace qzstr::families {

using namespace core;

struct euctw : block_walks<euctw>,
               surrogate_decoders<euctw>,
               encoders<euctw>,
               ascii_reduction<euctw>,
               letter_case<euctw> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_euctw"};

    static constexpr byte_set leads{byte_range{0xA1, 0xFE}};
    static constexpr unsigned four_byte_lead = 0x8E;
    static constexpr char32_t ucs4_mask = 0xFFFFFFFF;
    static constexpr bool same_in_ucs4 = true;
    static constexpr unsigned plane_size = 94 * 94;
    /// Planes 1 to 4, which have most of the BMP.
    static constexpr long_code_shape long_codes{
        {four_byte_lead, 0xA1, 0xA1, 0xA1}, {1, 16, 94, 94}, 4, 4 * plane_size, 2 * plane_size};

    static constexpr offset_t step(const uchar* p, offset_t) {
        return p[0] == four_byte_lead ? 4 : leads.contains(p[0]) ? 2 : 1;
    }

    template <form Form>
    static constexpr decoded decode(const uchar* p, offset_t left) {
        if (p[0] < 0x80) return one(p[0], 1);
        const offset_t size = step(p, left);
        if (size == 1) return bad(1);
        if (left < size) return cut();
        const unsigned plane = size == 2 ? 1 : p[1] - 0xA0U;
        const char32_t c = qzstr_cns11643_to_ucs4(plane, p[size - 2] - 0x80U, p[size - 1] - 0x80U);
        // KEPT: UCS-2 holds planes 1 and 2 only, although characters of other planes lie in the BMP too.
        if (c == no_character || (Form == form::ucs2 && plane > 2)) return bad(static_cast<int>(size));
        return c > 0xFFFF ? supplementary<Form>(c, 4) : one(c, static_cast<int>(size));
    }

    template <form>
    static constexpr encoded encode(char32_t c, char32_t) {
        if (c < 0x80) return single(c);
        const cns11643_code code = qzstr_cns11643_from_unicode(c);
        if (code.plane == 0) return unmappable();
        if (code.plane == 1) return pair(code.row | 0x80U, code.col | 0x80U);
        return quad(four_byte_lead, 0xA0U + code.plane, code.row | 0x80U, code.col | 0x80U);
    }

    static constexpr auto get_euctw_str = qzstr_get_same_charset_str;

    /// Seen as pairs, a form of four bytes is two.
    static constexpr byte_set pair_leads{byte_range{four_byte_lead, four_byte_lead}, byte_range{0xA1, 0xFE}};
    static constexpr const byte_set& decode_leads = pair_leads;
    static constexpr long_forms forms{&pair_leads, four_byte_lead, 2};
    static moved skip(const uchar* p, std::size_t n, std::size_t chars) { return skip_long_forms(forms, p, n, chars); }

    /// Bytes and columns of a character for positions and width.
    // KEPT: every high byte outside 0xA1 to 0xFE begins four bytes here, but in counting only 0x8E does.
    static offset_t columns(const uchar* p, offset_t) { return p[0] < 0x80 ? 1 : leads.contains(p[0]) ? 2 : 4; }
    static offset_t pos_step(const uchar* p, offset_t left) { return left == 1 ? 1 : columns(p, left); }

    static prefix fit(const uchar* p, offset_t len, offset_t limit) { return fit_bytes(p, len, limit, columns); }
    static void get_byte_pos(char* str, int str_len, int char_cnt, int* start_pos, int* end_pos, int* real_char_cnt) {
        if (!has_positions(str, start_pos, end_pos) || str_len < 1) return;
        // KEPT: the end of a character of four bytes is not clipped to the text.
        store_position(find(bytes(str), str_len, char_cnt), start_pos, end_pos, real_char_cnt);
    }

    static bool starts_character(const uchar* p, offset_t offset) {
        if (offset == 0 || p[offset] < 0x80 || p[offset] == four_byte_lead) return true;
        // KEPT: other high bytes begin no character, although they are counted as characters.
        if (!leads.contains(p[offset])) return false;
        offset_t j = offset - 1;
        while (j >= 1 && leads.contains(p[j]))
            --j;
        // KEPT: byte 0 is never examined, stored positions depend on it: A4 A1 begins a character at offset 1.
        if (j < 1) return true;
        const offset_t run = offset - j;
        return p[j] == four_byte_lead ? run > 3 && run % 2 == 0 : run % 2 != 0;
    }
    static int get_char_leading_byte(char* str, int byte_offset) {
        if (!has_offset(str, byte_offset, where.get_char_leading_byte)) return byte_offset;
        while (!starts_character(bytes(str), byte_offset))
            --byte_offset;
        return byte_offset;
    }

    // By the steps of counting, unlike leading bytes.
    static bool ends_character(const uchar* p, offset_t offset) {
        const offset_t start = start_of(p, offset, step);
        return start + step(p + start, unbounded) == offset + 1;
    }
    static int get_char_ending_byte(char* str, int byte_offset, uchar is_ahead) {
        if (!has_offset(str, byte_offset, where.get_char_ending_byte)) return byte_offset;
        const offset_t start = start_of(bytes(str), byte_offset, step),
                       end = start + step(bytes(str) + start, unbounded);
        if (end == offset_t{byte_offset} + 1) return byte_offset;
        return static_cast<int>((is_ahead != 0 ? start : end) - 1);
    }
};

} // namespace qzstr::families

QZSTR_EXPORT(euctw)
