// TCVN3: Vietnamese TCVN 5712 in its VN3 form. Counting, positions and blanks are ASCII's.
#include "core/letter_case.h"
#include "core/single_byte.h"
#include "core/surface.h"
#include "tables/tcvn3.h"

namespace qzstr::families {

using namespace core;

namespace {

constexpr table_page<std::uint8_t> from_unicode[] = {{0x00C0, 63, tables::tcvn3_uni2idx_page1},
                                                     {0x0100, 191, tables::tcvn3_uni2idx_page2},
                                                     {0x1EA0, 95, tables::tcvn3_uni2idx_page3}};

struct tcvn3_letters {
    static constexpr uchar lower(uchar b) { return b - 0xA1U < 7 ? tables::tcvn3_lower_page[b - 0xA1] : to_lower(b); }
    // KEPT: only seven marked letters have capitals, so the capital of a toned vowel is its letter without the tone.
    static constexpr uchar upper(uchar b) { return b >= 0xA0 ? tables::tcvn3_upper_page[b - 0xA0] : to_upper(b); }
    // CHOSEN: 0xA1 and above continue a word, undefined bytes too, as 0xC0 and above do in the code pages.
    static bool in_word(uchar b) { return is_ascii(b) ? is_alnum(b) : b >= 0xA1; }
    static void lower_all(uchar* p, std::size_t n) { map_bytes(byte_map_of<lower>, p, n, p); }
    static void upper_all(uchar* p, std::size_t n) { map_bytes(byte_map_of<upper>, p, n, p); }
};

} // namespace

struct tcvn3 : code_page<tcvn3>, letter_case<tcvn3, tcvn3_letters> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_tcvn3"};
    static constexpr auto& to_unicode = tables::tcvn3_2uni_page;

    template <form>
    static constexpr encoded encode(char32_t c, char32_t) {
        if (c < 0x80) return single(c);
        const unsigned byte = page_entry<from_unicode>(c, std::uint8_t{'?'});
        return byte != '?' ? single(byte) : unmappable();
    }

    static constexpr auto get_tcvn3_str = qzstr_get_same_charset_str;
};

} // namespace qzstr::families

QZSTR_EXPORT(tcvn3)
