// GB 18030: GBK and its two-byte additions, and four-byte codes for all the rest of Unicode.
#include "core/letter_case.h"
#include "core/multibyte.h"
#include "core/surface.h"
#include "core/transcode.h"
#include "standards/gb18030.h"
#include "standards/gbk.h"

namespace qzstr::families {

using namespace core;

struct gb18030 : block_walks<gb18030>,
                 surrogate_decoders<gb18030>,
                 encoders<gb18030>,
                 ascii_reduction<gb18030>,
                 letter_case<gb18030> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_gb18030"};

    static constexpr byte_set leads{byte_range{0x81, 0xFF}};
    static constexpr byte_set digits{byte_range{'0', '9'}};
    static constexpr char32_t ucs4_mask = 0xFFFFFFFF;
    static constexpr bool same_in_ucs4 = true;
    /// 81 30 81 30 to 84 31 A4 39 for the BMP, from 90 30 81 30 on for the other planes.
    static constexpr long_code_shape long_codes{{0x81, '0', 0x81, '0'}, {126, 10, 126, 10}, 4, 39420, 39420, 189000};

    /// A lead with a digit behind it has four bytes, valid or not.
    static constexpr offset_t step(const uchar* p, offset_t left) {
        if (!leads.contains(p[0])) return 1;
        return left >= 2 && digits.contains(p[1]) ? 4 : 2;
    }
    /// KEPT: the counter takes 0x39 for a trail and a four-byte form of two bytes for a pair; stored lengths depend on it.
    static offset_t count_step(const uchar* p, offset_t left) {
        const offset_t size = step(p, left);
        return size == 4 && (left < 3 || p[1] == '9') ? 2 : size;
    }

    // ---- One character ----

    static constexpr std::uint16_t user_to_ucs2(unsigned lead, unsigned trail) {
        // KEPT: trail 0xA1 counts among the columns, though in these rows it always has a code of its own.
        if (lead - 0xA1 < 7 && trail <= 0xA1 && gbk_trail_index(trail) != no_index)
            return gbk_user_columns_to_ucs2(lead, trail);
        return gbk_user_rows_to_ucs2(lead, trail);
    }

    static constexpr std::uint16_t pair_to_ucs2(unsigned lead, unsigned trail) {
        std::uint16_t c = qzstr_gbk_to_ucs2(lead, trail);
        if (c == no_character) c = qzstr_gb18030ext_to_ucs2(lead, trail);
        return c != no_character ? c : user_to_ucs2(lead, trail);
    }

    template <form Form>
    static constexpr decoded decode_four(const uchar* p) {
        if (p[2] - 0x81U >= 0x7E || !digits.contains(p[3])) return bad(4);
        if (p[0] <= 0x84) {
            const char32_t c = qzstr_gb18030uni_to_ucs2(gb18030_linear(p[0] - 0x81U, p[1], p[2], p[3]));
            return c != no_index ? one(c, 4) : bad(4);
        }
        if (p[0] - 0x90U > 0xE3 - 0x90) return bad(4);
        const std::uint32_t linear = gb18030_linear(p[0] - 0x90U, p[1], p[2], p[3]);
        return linear < 0x100000 ? supplementary<Form>(0x10000 + linear, 4) : bad(4);
    }

    template <form Form>
    static constexpr decoded decode(const uchar* p, offset_t left) {
        if (p[0] < 0x80) return one(p[0], 1);
        if (left < 2) return cut();
        const offset_t size = step(p, left);
        if (size > left) return cut();
        if (size == 1) return bad(1);
        if (size == 4) return decode_four<Form>(p);
        const char32_t c = pair_to_ucs2(p[0], p[1]);
        return c != no_character ? one(c, 2) : bad(2);
    }

    static constexpr unsigned pair_from_ucs2(char32_t c) {
        if (const unsigned code = qzstr_gbk_from_ucs2(c); code != 0) return code;
        if (c - gbk_roman_first < gbk_roman_count) return 0xA2A1 + (c - gbk_roman_first);
        if (const unsigned code = qzstr_cp936ext_from_ucs2(c); code != 0) return code;
        if (c == 0x00B7) return 0xA1A4;
        if (c == 0x2014) return 0xA1AA;
        if (const unsigned code = qzstr_gb18030ext_from_ucs4(c); code != 0) return code;
        if (c - 0xE766 <= 0xE864 - 0xE766) return qzstr_gb18030_pua_from_ucs2(c);
        if (c - gbk_user_columns_first <= 0xE765 - gbk_user_columns_first) return gbk_user_columns_from_ucs2(c, 96);
        return gbk_user_rows_from_ucs2(c);
    }

    /// Members of the four-byte runs for which a later edition has a pair, which goes first.
    static constexpr bool got_pair_later(char32_t c) {
        return c == 0x1E3F || c - 0x9FB4 <= 0x9FBB - 0x9FB4 || c - 0xFE10 <= 0xFE19 - 0xFE10;
    }

    static constexpr encoded four(unsigned b1, std::uint32_t linear) {
        return quad(b1 + linear / 12600, linear / 1260 % 10 + 0x30, linear / 10 % 126 + 0x81, linear % 10 + 0x30);
    }

    template <form>
    static constexpr encoded encode(char32_t c, char32_t) {
        if (c < 0x80) return single(c);
        if (c > 0x10FFFF) return unmappable();
        if (c > 0xFFFF) return four(0x90, c - 0x10000);
        const std::uint32_t linear = qzstr_gb18030uni_from_ucs2(c);
        if (linear != no_index && !got_pair_later(c)) return four(0x81, linear);
        const unsigned code = pair_from_ucs2(c);
        return code != 0 ? pair(code) : unmappable();
    }

    // ---- Positions ----

    static moved skip(const uchar* p, std::size_t n, std::size_t chars) {
        return skip_both(digits, long_codes, p, n, chars);
    }
    /// As count_step: 0x39 behind a lead tells nothing.
    static moved count_skip(const uchar* p, std::size_t n, std::size_t chars) {
        static constexpr byte_set told_by{byte_range{'0', '8'}};
        static constexpr long_code_shape codes = [] {
            long_code_shape counted = long_codes;
            counted.radix[1] = 9;
            return counted;
        }();
        return skip_both(told_by, codes, p, n, chars);
    }
    /// Pairs, and then four-byte codes, where they begin.
    static moved skip_both(const byte_set& told_by, const long_code_shape& codes, const uchar* p, std::size_t n,
                           std::size_t chars) {
        const bool begins_long = n >= 2 && leads.contains(p[0]) && told_by.contains(p[1]);
        const moved pairs = begins_long ? moved{} : skip_pairs_before(leads, told_by, p, n, chars);
        if (pairs.read + 4 > n || pairs.written == chars) return pairs;
        const moved both = skip_quads(leads, codes, p + pairs.read, n - pairs.read, chars - pairs.written);
        return {pairs.read + both.read, pairs.written + both.written};
    }
    static constexpr const byte_set& pair_leads = leads;

    static offset_t start_of(const uchar* p, offset_t offset) { return block_walks::start_of(p, offset, step); }
    static offset_t last_of(const uchar* p, offset_t start) { return start + step(p + start, unbounded) - 1; }

    static bool starts_character(const uchar* p, offset_t offset) { return start_of(p, offset) == offset; }
    static bool ends_character(const uchar* p, offset_t offset) {
        const offset_t start = start_of(p, offset);
        return start == offset ? !leads.contains(p[offset]) : last_of(p, start) == offset;
    }

    static int get_char_leading_byte(char* str, int byte_offset) {
        if (!has_offset(str, byte_offset, where.get_char_leading_byte)) return byte_offset;
        return static_cast<int>(start_of(bytes(str), byte_offset));
    }

    static int get_char_ending_byte(char* str, int byte_offset, uchar is_ahead) {
        if (!has_offset(str, byte_offset, where.get_char_ending_byte)) return byte_offset;
        const offset_t start = start_of(bytes(str), byte_offset);
        const offset_t last = last_of(bytes(str), start);
        return static_cast<int>(last == byte_offset || is_ahead == 0 ? last : start - 1);
    }

    static prefix fit(const uchar* p, offset_t len, offset_t limit) { return fit_bytes(p, len, limit, step); }

    static constexpr auto get_gb18030_str = qzstr_get_same_charset_str;
};

} // namespace qzstr::families

QZSTR_EXPORT(gb18030)
