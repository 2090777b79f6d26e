// ISO/IEC 8859-15: Western Europe with the euro sign.
#include "core/letter_case.h"
#include "core/single_byte.h"
#include "core/surface.h"
#include "tables/iso8859p15.h"

namespace qzstr::families {

using namespace core;

struct iso8859p15 : code_page<iso8859p15>, letter_case<iso8859p15, page_letters<iso8859p15>> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_iso8859p15"};
    static constexpr auto& to_unicode = tables::iso8859p15_2uni;
    static constexpr auto& from_unicode = tables::iso8859p15_pages;
    static constexpr auto& lower_case = tables::iso8859p15_lower;
    static constexpr auto& upper_case = tables::iso8859p15_upper;
    static constexpr auto& letters = tables::qzstr_iso8859p15_latin_alphabet_map;

    static constexpr auto get_iso8859p15_str = qzstr_get_same_charset_str;
};

} // namespace qzstr::families

QZSTR_EXPORT(iso8859p15)
