// ISO/IEC 8859-6: Arabic; its digits are those of ASCII. Only the letters of ASCII change case.
#include "core/letter_case.h"
#include "core/single_byte.h"
#include "core/surface.h"
#include "tables/iso8859p6.h"

namespace qzstr::families {

using namespace core;

struct iso8859p6 : code_page<iso8859p6>, letter_case<iso8859p6> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_iso8859p6"};
    static constexpr auto& to_unicode = tables::iso8859p6_2uni;
    static constexpr auto& from_unicode = tables::iso8859p6_pages;

    static constexpr auto get_iso8859p6_str = qzstr_get_same_charset_str;
};

} // namespace qzstr::families

QZSTR_EXPORT(iso8859p6)
