// Windows-1251: Cyrillic.
#include "core/letter_case.h"
#include "core/single_byte.h"
#include "core/surface.h"
#include "tables/mswin1251.h"

namespace qzstr::families {

using namespace core;

struct mswin1251 : code_page<mswin1251>, letter_case<mswin1251, page_letters<mswin1251>> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_mswin1251"};
    static constexpr auto& to_unicode = tables::cp1251_2uni;
    static constexpr auto& from_unicode = tables::cp1251_pages;
    static constexpr auto& lower_case = tables::mswin1251_lower;
    static constexpr auto& upper_case = tables::mswin1251_upper;
    static constexpr auto& letters = tables::qzstr_mswin1251_latin_alphabet_map;

    static constexpr auto get_mswin1251_str = qzstr_get_same_charset_str;
};

} // namespace qzstr::families

QZSTR_EXPORT(mswin1251)
