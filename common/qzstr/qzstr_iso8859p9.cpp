// ISO/IEC 8859-9: Western Europe with the letters of Turkish.
#include "core/letter_case.h"
#include "core/single_byte.h"
#include "core/surface.h"
#include "tables/iso8859p9.h"

namespace qzstr::families {

using namespace core;

struct iso8859p9 : code_page<iso8859p9>, letter_case<iso8859p9, page_letters<iso8859p9>> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_iso8859p9"};
    static constexpr auto& to_unicode = tables::iso8859p9_2uni;
    static constexpr auto& from_unicode = tables::iso8859p9_pages;
    static constexpr auto& lower_case = tables::iso8859p9_lower;
    static constexpr auto& upper_case = tables::iso8859p9_upper;
    static constexpr auto& letters = tables::qzstr_iso8859p9_latin_alphabet_map;

    static constexpr auto get_iso8859p9_str = qzstr_get_same_charset_str;
};

} // namespace qzstr::families

QZSTR_EXPORT(iso8859p9)
