// ISO/IEC 8859-8 in its edition of 1999: Hebrew. Only the letters of ASCII change case.
#include "core/letter_case.h"
#include "core/single_byte.h"
#include "core/surface.h"
#include "tables/iso8859p8.h"

namespace qzstr::families {

using namespace core;

struct iso8859p8 : code_page<iso8859p8>, letter_case<iso8859p8> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_iso8859p8"};
    static constexpr auto& to_unicode = tables::iso8859p8_2uni;
    static constexpr auto& from_unicode = tables::iso8859p8_pages;

    static constexpr auto get_iso8859p8_str = qzstr_get_same_charset_str;
};

} // namespace qzstr::families

QZSTR_EXPORT(iso8859p8)
