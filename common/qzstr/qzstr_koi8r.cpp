// KOI8-R: Russian, in the order of the Latin alphabet.
#include "core/letter_case.h"
#include "core/single_byte.h"
#include "core/surface.h"
#include "tables/koi8r.h"

namespace qzstr::families {

using namespace core;

struct koi8r : code_page<koi8r>, letter_case<koi8r, page_letters<koi8r>> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_koi8r"};
    static constexpr auto& to_unicode = tables::koi8r_2uni;
    static constexpr auto& from_unicode = tables::koi8r_pages;
    static constexpr auto& lower_case = tables::koi8r_lower;
    static constexpr auto& upper_case = tables::koi8r_upper;
    static constexpr auto& letters = tables::qzstr_koi8r_latin_alphabet_map;

    static constexpr auto get_koi8r_str = qzstr_get_same_charset_str;
};

} // namespace qzstr::families

QZSTR_EXPORT(koi8r)
