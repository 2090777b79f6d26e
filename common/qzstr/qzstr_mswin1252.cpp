// Windows-1252: the languages of Western Europe.
#include "core/letter_case.h"
#include "core/single_byte.h"
#include "core/surface.h"
#include "tables/mswin1252.h"

namespace qzstr::families {

using namespace core;

struct mswin1252 : code_page<mswin1252>, letter_case<mswin1252, page_letters<mswin1252>> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_mswin1252"};
    static constexpr auto& to_unicode = tables::cp1252_2uni;
    static constexpr auto& from_unicode = tables::cp1252_pages;
    static constexpr auto& lower_case = tables::mswin1252_lower;
    static constexpr auto& upper_case = tables::mswin1252_upper;
    static constexpr auto& letters = tables::qzstr_mswin1252_latin_alphabet_map;

    static constexpr auto get_mswin1252_str = qzstr_get_same_charset_str;
};

} // namespace qzstr::families

QZSTR_EXPORT(mswin1252)
