// MSWIN949 (Unified Hangul Code): EUC-KR, the other modern Hangul syllables in two extension areas, two user-defined
// rows; and the server's substring and replace routines over such text.
#include "core/letter_case.h"
#include "core/multibyte.h"
#include "core/surface.h"
#include "core/transcode.h"
#include "standards/ksc5601.h"
#include "standards/ksc5601_text.h"
#include "standards/uhc.h"

#include <algorithm>
#include <cstring>

namespace qzstr::families {

using namespace core;

struct mswin949 : double_byte<mswin949>,
                  decoders<mswin949>,
                  encoders<mswin949>,
                  ascii_reduction<mswin949>,
                  letter_case<mswin949> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_mswin949"};

    static constexpr byte_set leads{byte_range{0x81, 0xFE}};
    /// FF is no lead, but takes the byte behind it along when it is replaced.
    static constexpr byte_set decode_leads{byte_range{0x81, 0xFF}};
    // KEPT: the high half of a 32-bit unit is ignored, so U+1AC00 is stored as U+AC00.
    static constexpr char32_t ucs4_mask = 0xFFFF;

    // KEPT: A2 E8 and U+327E are not mapped onto each other, although the code page has grown that far.
    static_assert(qzstr_ksc5601_to_ucs2(0x22, 0x68) == no_character && qzstr_ksc5601_from_ucs2(0x327E) == 0);

    /// User-defined characters: 94 in row C9, then 94 in row FE.
    static constexpr char32_t user_defined = 0xE000;
    static constexpr unsigned row_size = 94;

    template <form>
    static constexpr decoded decode(const uchar* p, offset_t left) {
        if (p[0] < 0x80) return one(p[0], 1);
        if (p[0] == 0x80) return bad(1);
        if (p[0] == 0xFF) return bad(left < 2 ? 1 : 2);
        if (left < 2) return cut();
        const char32_t c = pair_to_ucs2(p[0], p[1]);
        return c != no_character ? one(c, 2) : bad(2);
    }

    static constexpr char32_t pair_to_ucs2(unsigned lead, unsigned trail) {
        if (lead < 0xA1) return qzstr_uhc_1_to_ucs2(lead, trail);
        if (trail < 0xA1) return qzstr_uhc_2_to_ucs2(lead, trail);
        if (trail == 0xFF) return no_character;
        if (lead == 0xC9) return user_defined + (trail - 0xA1);
        if (lead == 0xFE) return user_defined + row_size + (trail - 0xA1);
        return qzstr_ksc5601_to_ucs2(lead - 0x80, trail - 0x80);
    }

    template <form>
    static constexpr encoded encode(char32_t c, char32_t) {
        if (c < 0x80) return single(c);
        if (const unsigned code = qzstr_ksc5601_from_ucs2(c)) return pair(code + 0x8080);
        if (const unsigned code = qzstr_uhc_1_from_ucs2(c)) return pair(code);
        if (const unsigned code = qzstr_uhc_2_from_ucs2(c)) return pair(code);
        const char32_t user = c - user_defined;
        if (user < row_size) return pair(0xC9, 0xA1 + user);
        if (user < 2 * row_size) return pair(0xFE, 0xA1 + user - row_size);
        return unmappable();
    }

    static recoded to_euckr(const uchar* p, offset_t left) {
        // KEPT: only the lead of what EUC-KR lacks is replaced, so the letter behind it is copied as a letter.
        constexpr recoded lead_replaced{{'?'}, 1, 1, outcome::bad};
        if (!leads.contains(p[0]) || p[0] < 0xA1) return lead_replaced;
        if (left < 2) return {{}, 0, 0, outcome::cut};
        if (qzstr_ksc5601_to_ucs2(p[0] - 0x80U, p[1] - 0x80U) == no_character) return lead_replaced;
        return {{p[0], p[1]}, 2, 2, outcome::ok};
    }

    static conv_status_t get_euckr_str QZSTR_CELL_PARAMETERS {
        (void)from_charset;
        (void)to_charset;
        progress at;
        if (!require_buffers(str, "str != NULL", buf, "buf != NULL", write_len, where.source, 0))
            return report(exact, at, read_len, write_len);
        const auto copy_characters = [](const uchar* src, std::size_t n, uchar* dst, std::size_t room) -> converted {
            if (src[0] < 0x80) return recode_ascii(src, n, dst, room);
            const std::size_t same = ksc5601_text::characters_in(src, std::min(n, room));
            std::memcpy(dst, src, same);
            return {same, same, false};
        };
        const conv_status_t status =
            recode(bytes(str), at_least_0(str_len), bytes(buf), at_least_0(buf_size), at, copy_characters, to_euckr);
        return report(status, at, read_len, write_len);
    }

    /// Bytes below 0x80 that no trail can be.
    static bool never_trails(unsigned b) { return b < 0x41 || b - 0x5B < 6 || b - 0x7B < 5; }

    static bool starts_character(const uchar* p, offset_t offset) {
        const auto starts_surely = [p](offset_t k) { // not of byte 0
            return (p[k] < 0x80 && p[k - 1] < 0x80) || never_trails(p[k]);
        };
        // KEPT: the walk back stops at two bytes below 0x80, of which the first may be a trail, and takes every other
        // byte for half a character: stored positions depend on these answers.
        offset_t k = offset;
        while (k > 0 && !starts_surely(k))
            --k;
        if (k == offset) return true;
        const bool from_lead = k == 0 && p[0] >= 0x80;
        return (offset - k) % 2 == (from_lead ? 0 : 1);
    }
    // KEPT: ending bytes go by the high bit alone, unlike leading bytes.
    static bool ends_character(const uchar* p, offset_t offset) { return ends_even_high_run(p, offset); }
};

namespace {

/// Bytes before the character number `chars`, from 0; one more than there are when a lead in the last byte is passed.
moved skip_characters(const char* str, int len, int chars) {
    return skip_pairs(mswin949::leads, bytes(str), static_cast<std::size_t>(at_least_0(len)),
                      static_cast<std::size_t>(at_least_0(chars)));
}

/// A character of a pattern against the text, which holds a byte more than its length.
bool matches(const uchar* text, const uchar* pattern, int pattern_size) {
    const int size = mswin949::leads.contains(text[0]) ? 2 : 1;
    return size == pattern_size && text[0] == pattern[0] && (size == 1 || text[1] == pattern[1]);
}

} // namespace
} // namespace qzstr::families

QZSTR_EXPORT(mswin949)

using namespace qzstr::core;
using qzstr::families::matches;
using qzstr::families::mswin949;
using qzstr::families::skip_characters;

void qzsvr_mswin949_substr(char* str, int str_len, int char_pos, int* out_pos, int* out_len) {
    const moved skipped = skip_characters(str, str_len, char_pos);
    const int len = at_least_0(str_len);
    const auto pos = static_cast<int>(skipped.read);
    const bool found = char_pos < len && static_cast<int>(skipped.written) == at_least_0(char_pos) && pos != len;
    *out_pos = found ? pos : len;
    // KEPT: a lone lead that was passed leaves position len + 1 and length -1; the server tests for it.
    *out_len = found ? len - pos : 0;
}

void qzsvr_mswin949_substr_len(char* str, int str_len, int char_pos, int char_len, int* out_pos, int* out_len) {
    int rest = 0;
    qzsvr_mswin949_substr(str, str_len, char_pos, out_pos, &rest);
    // KEPT: a lone lead at the end counts two bytes when it is the last character asked for.
    *out_len =
        at_least_0(char_len) >= rest ? rest : static_cast<int>(skip_characters(str + *out_pos, rest, char_len).read);
}

void qzsvr_mswin949_replace_build_table(char* str, int str_len_inbyte, int* table, int* str_pos_map, int* str_len_map,
                                        int* str_len_inchar) {
    const uchar* const p = bytes(str);
    int chars = 0, pos = 0;
    for (; pos < str_len_inbyte; ++chars) {
        str_pos_map[chars] = pos;
        str_len_map[chars] = mswin949::leads.contains(p[pos]) ? 2 : 1;
        pos += str_len_map[chars];
    }
    str_pos_map[chars] = pos;
    *str_len_inchar = chars;
    table[0] = -1;
    table[1] = 0;
    for (int k = 2, prefix = 0; k < chars;) {
        if (matches(p + str_pos_map[k - 1], p + str_pos_map[prefix], str_len_map[prefix]))
            table[k++] = ++prefix;
        else if (prefix > 0)
            prefix = table[prefix];
        else
            table[k++] = 0;
    }
}

uchar qzsvr_mswin949_find_next_to_replace(char* s, int s_len_inbyte, char* w, int w_len_inchar, int* w_pos_map,
                                          int* w_len_map, int* table, int m_byte, int* out_m_byte) {
    int matched = 0;
    for (int pos = at_least_0(m_byte); pos < s_len_inbyte && w_len_inchar > 0;) {
        const uchar* const text = bytes(s) + pos;
        while (matched >= 0 && !matches(text, bytes(w) + w_pos_map[matched], w_len_map[matched]))
            matched = table[matched];
        ++matched;
        pos += mswin949::leads.contains(*text) ? 2 : 1;
        if (matched >= w_len_inchar) {
            *out_m_byte = pos - w_pos_map[w_len_inchar];
            return 1;
        }
    }
    *out_m_byte = s_len_inbyte;
    return 0;
}
