// The additions of CP936 to GB 2312 in rows 0xA6 and 0xA8.
#pragma once

#include "core/paged.h"
#include "standards/gbk_bytes.h"
#include "tables/cp936ext.h"

namespace qzstr {

/// Code point of a pair of bytes, `no_character` when unmapped.
constexpr std::uint16_t qzstr_cp936ext_to_ucs2(unsigned lead, unsigned trail) {
    return paged_value<tables::cp936ext_2uni_pages>(gbk_index(lead, trail));
}

/// The two bytes (lead in the high byte), 0 when unmapped.
constexpr std::uint16_t qzstr_cp936ext_from_ucs2(std::uint32_t wc) {
    return page_entry<tables::cp936ext_pages>(wc, std::uint16_t{0});
}

static_assert(sizeof tables::cp936ext_2uni_pagea6 == 22 * 2 && sizeof tables::cp936ext_2uni_pagea8 == 6 * 2);
static_assert(sizeof tables::cp936ext_page01 == 16 * 2 && sizeof tables::cp936ext_page02 == 24 * 2 &&
              sizeof tables::cp936ext_pagefe == 24 * 2);

static_assert(qzstr_cp936ext_to_ucs2(0xA6, 0xE0) == 0xFE35 && qzstr_cp936ext_from_ucs2(0xFE35) == 0xA6E0);
static_assert(qzstr_cp936ext_to_ucs2(0xA8, 0xC0) == 0x0261 && qzstr_cp936ext_from_ucs2(0x0261) == 0xA8C0);
static_assert(qzstr_cp936ext_to_ucs2(0xA8, 0xBC) == no_character && qzstr_cp936ext_from_ucs2(0x0145) == 0);

} // namespace qzstr
