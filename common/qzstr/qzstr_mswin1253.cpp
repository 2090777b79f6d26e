// Windows-1253: Greek.
#include "core/letter_case.h"
#include "core/single_byte.h"
#include "core/surface.h"
#include "tables/mswin1253.h"

namespace qzstr::families {

using namespace core;

struct mswin1253 : code_page<mswin1253>, letter_case<mswin1253, page_letters<mswin1253>> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_mswin1253"};
    static constexpr auto& to_unicode = tables::cp1253_2uni;
    static constexpr auto& from_unicode = tables::cp1253_pages;
    static constexpr auto& lower_case = tables::mswin1253_lower;
    static constexpr auto& upper_case = tables::mswin1253_upper;
    static constexpr auto& letters = tables::qzstr_mswin1253_latin_alphabet_map;

    static constexpr auto get_mswin1253_str = qzstr_get_same_charset_str;
};

} // namespace qzstr::families

QZSTR_EXPORT(mswin1253)
