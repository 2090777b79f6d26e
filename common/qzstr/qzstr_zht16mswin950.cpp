// CP950 with Big5-2003 and HKSCS-1999.
#include "core/surface.h"
#include "standards/big5_text.h"

namespace qzstr::families {

using namespace core;

struct zht16mswin950 : cp950_text<zht16mswin950> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_zht16mswin950"};

    static constexpr auto get_zht16mswin950_str = qzstr_get_same_charset_str;
};

} // namespace qzstr::families

QZSTR_EXPORT(zht16mswin950)
