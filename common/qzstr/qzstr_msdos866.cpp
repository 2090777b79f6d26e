// Code page 866: Cyrillic and box drawing.
#include "core/letter_case.h"
#include "core/single_byte.h"
#include "core/surface.h"
#include "tables/msdos866.h"

namespace qzstr::families {

using namespace core;

struct msdos866 : code_page<msdos866>, letter_case<msdos866, page_letters<msdos866>> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_msdos866"};
    static constexpr auto& to_unicode = tables::cp866_2uni;
    static constexpr auto& from_unicode = tables::cp866_pages;
    static constexpr auto& lower_case = tables::msdos866_lower;
    static constexpr auto& upper_case = tables::msdos866_upper;
    static constexpr auto& letters = tables::qzstr_msdos866_latin_alphabet_map;

    static constexpr auto get_msdos866_str = qzstr_get_same_charset_str;
};

} // namespace qzstr::families

QZSTR_EXPORT(msdos866)
