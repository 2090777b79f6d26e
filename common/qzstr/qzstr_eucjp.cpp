// EUC-JP: ASCII in one byte, JIS X 0208 and half-width katakana in two, JIS X 0212 in three, user-defined areas, and what
// JIS X 0213 adds.
#include "core/letter_case.h"
#include "core/multibyte.h"
#include "core/surface.h"
#include "core/transcode.h"
#include "standards/euc_jp.h"

namespace qzstr::families {

using namespace core;

struct eucjp : multibyte<eucjp>,
               decoders<eucjp>,
               japanese_marks,
               encoders<eucjp>,
               ascii_reduction<eucjp>,
               letter_case<eucjp> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_eucjp", .count_char = 195};

    static constexpr byte_set leads = euc_jp_pair_leads;
    static constexpr char32_t ucs4_mask = 0xFFFFFFFF;

    template <form Form>
    static constexpr decoded decode(const uchar* p, offset_t left) {
        return decode_euc_jp<Form>(p, left);
    }
    template <form>
    static constexpr encoded encode(char32_t c, char32_t next) {
        return encode_euc_jp(c, next);
    }

    static offset_t step(const uchar* p, offset_t) { return *p == euc_jp_triple ? 3 : leads.contains(*p) ? 2 : 1; }
    static offset_t columns(const uchar* p) { return step(p, unbounded) == 1 ? 1 : 2; }

    /// Walks over at most `chars` characters that begin in the first n bytes: between bytes 8F a text of pairs.
    static moved skip(const uchar* p, std::size_t n, std::size_t chars) {
        moved at{};
        while (at.read < n && at.written < chars) {
            if (p[at.read] == euc_jp_triple) {
                at.read += 3;
                ++at.written;
                continue;
            }
            const std::size_t run = run_before(p + at.read, n - at.read, euc_jp_triple);
            const moved m = skip_pairs(leads, p + at.read, run, chars - at.written);
            at.read += m.read;
            at.written += m.written;
        }
        return at;
    }
    static offset_t characters(const uchar* p, offset_t len) {
        return static_cast<offset_t>(skip(p, static_cast<std::size_t>(len), ~std::size_t{0}).written);
    }
    static offset_t bytes_of(const uchar* p, offset_t chars) {
        offset_t at = 0;
        while (chars > 0) { // k characters take at least k bytes, so no read goes further than they require
            const moved m = skip(p + at, static_cast<std::size_t>(chars), static_cast<std::size_t>(chars));
            at += static_cast<offset_t>(m.read);
            chars -= static_cast<offset_t>(m.written);
        }
        return at;
    }
    static char_position find(const uchar* p, offset_t len, offset_t n) {
        const auto size = static_cast<std::size_t>(len);
        moved before = skip(p, size, n < 1 ? ~std::size_t{0} : static_cast<std::size_t>(n - 1));
        if (before.read >= size) before = skip(p, size, before.written - 1); // fewer characters: the last one
        const auto start = static_cast<offset_t>(before.read);
        return {start, start + step(p + start, len - start), static_cast<offset_t>(before.written) + 1};
    }

    /// Where the character that holds the offset begins. Bytes outside A1 to FE always begin one; after them, or after
    /// the form that they lead, characters take two bytes each.
    static offset_t start_of(const uchar* p, offset_t offset) {
        if (!is_euc_jp_high(p[offset])) return offset;
        offset_t run = offset;
        while (run > 0 && is_euc_jp_high(p[run - 1]))
            --run;
        if (run > 0 && (p[run - 1] == euc_jp_kana || p[run - 1] == euc_jp_triple)) {
            const offset_t form = run - 1;
            run = form + step(p + form, unbounded);
            if (offset < run) return form;
        }
        return offset - (offset - run) % 2;
    }
    static offset_t end_of(const uchar* p, offset_t offset) {
        const offset_t start = start_of(p, offset);
        return start + step(p + start, unbounded) - 1;
    }
    static bool starts_character(const uchar* p, offset_t offset) { return start_of(p, offset) == offset; }
    static bool ends_character(const uchar* p, offset_t offset) { return end_of(p, offset) == offset; }

    static int get_char_leading_byte(char* str, int byte_offset) {
        if (!has_offset(str, byte_offset, where.get_char_leading_byte)) return byte_offset;
        return static_cast<int>(start_of(bytes(str), byte_offset));
    }
    static int get_char_ending_byte(char* str, int byte_offset, uchar is_ahead) {
        if (!has_offset(str, byte_offset, where.get_char_ending_byte)) return byte_offset;
        const offset_t end = end_of(bytes(str), byte_offset);
        if (end == byte_offset || is_ahead == 0) return static_cast<int>(end);
        return static_cast<int>(start_of(bytes(str), byte_offset)) - 1;
    }

    static constexpr auto get_eucjp_str = qzstr_get_same_charset_str;
};

} // namespace qzstr::families

QZSTR_EXPORT(eucjp)
