// Windows-1256: Arabic. Only the letters of ASCII change case.
#include "core/letter_case.h"
#include "core/single_byte.h"
#include "core/surface.h"
#include "tables/mswin1256.h"

namespace qzstr::families {

using namespace core;

struct mswin1256 : code_page<mswin1256>, letter_case<mswin1256> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_mswin1256"};
    static constexpr auto& to_unicode = tables::cp1256_2uni;
    static constexpr auto& from_unicode = tables::cp1256_pages;

    static constexpr auto get_mswin1256_str = qzstr_get_same_charset_str;
};

} // namespace qzstr::families

QZSTR_EXPORT(mswin1256)
