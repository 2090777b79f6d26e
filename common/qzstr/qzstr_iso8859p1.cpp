// ISO/IEC 8859-1: the languages of Western Europe; every byte is the code point of the same value.
#include "core/letter_case.h"
#include "core/single_byte.h"
#include "core/surface.h"
#include "tables/iso8859p1.h"

namespace qzstr::families {

using namespace core;

struct iso8859p1 : code_page<iso8859p1>, letter_case<iso8859p1, page_letters<iso8859p1>> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_iso8859p1"};
    static constexpr auto& from_unicode = tables::iso8859p1_pages;
    static constexpr auto& lower_case = tables::iso8859p1_lower;
    static constexpr auto& upper_case = tables::iso8859p1_upper;
    static constexpr auto& letters = tables::qzstr_iso8859p1_latin_alphabet_map;

    template <form>
    static constexpr decoded decode(const uchar* p, offset_t) {
        return one(p[0], 1);
    }

    static constexpr auto get_iso8859p1_str = qzstr_get_same_charset_str;
};

} // namespace qzstr::families

QZSTR_EXPORT(iso8859p1)
