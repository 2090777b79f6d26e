// ISO/IEC 8859-5: Cyrillic.
#include "core/letter_case.h"
#include "core/single_byte.h"
#include "core/surface.h"
#include "tables/iso8859p5.h"

namespace qzstr::families {

using namespace core;

struct iso8859p5 : code_page<iso8859p5>, letter_case<iso8859p5, page_letters<iso8859p5>> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_iso8859p5"};
    static constexpr auto& to_unicode = tables::iso8859p5_2uni;
    static constexpr auto& from_unicode = tables::iso8859p5_pages;
    static constexpr auto& lower_case = tables::iso8859p5_lower;
    static constexpr auto& upper_case = tables::iso8859p5_upper;
    static constexpr auto& letters = tables::qzstr_iso8859p5_latin_alphabet_map;

    static constexpr auto get_iso8859p5_str = qzstr_get_same_charset_str;
};

} // namespace qzstr::families

QZSTR_EXPORT(iso8859p5)
