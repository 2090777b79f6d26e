// EUC-JP: ASCII in one byte, JIS X 0208 and half-width katakana in two, JIS X 0212 in three, user-defined areas, and what
// JIS X 0213 adds.
#include "core/letter_case.h"
#include "core/multibyte.h"
#include "core/surface.h"
#include "core/transcode.h"
#include "standards/euc_jp.h"

namespace qzstr::families {

using namespace core;

struct eucjp : block_walks<eucjp>,
               decoders<eucjp>,
               euc_jp_marks,
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

    static constexpr offset_t step(const uchar* p, offset_t) {
        return *p == euc_jp_triple ? 3 : leads.contains(*p) ? 2 : 1;
    }
    static offset_t columns(const uchar* p) { return step(p, unbounded) == 1 ? 1 : 2; }

    static constexpr const byte_set& pair_leads = leads;
    static constexpr long_forms forms{&leads, euc_jp_triple, 1};
    static moved skip(const uchar* p, std::size_t n, std::size_t chars) { return skip_long_forms(forms, p, n, chars); }

    static prefix fit(const uchar* p, offset_t len, offset_t limit) {
        // Between bytes 8F a column is a byte; up to four bytes before the limit and the end no character is cut.
        const auto fast = [](const uchar* at, offset_t left, offset_t room) -> moved {
            const offset_t safe = (left < room ? left : room) - 4;
            if (safe < 1) return {};
            const std::size_t run = run_before(at, static_cast<std::size_t>(safe), euc_jp_triple);
            const std::size_t passed = skip_pairs(leads, at, run, ~std::size_t{0}).read;
            return {passed, passed};
        };
        return cut_by_blocks(p, len, limit, fast, step, columns);
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
