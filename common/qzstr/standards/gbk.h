// GBK: GB 2312, its two extensions and the CP936 additions. Shared by GBK and GB18030, which add their own user-defined areas.
#pragma once

#include "core/paged.h"
#include "standards/cp936ext.h"
#include "standards/gb2312.h"
#include "standards/gbk_bytes.h"
#include "tables/gbkext.h"

namespace qzstr {

/// Extension 1: leads 0x81..0xA0. The code point, `no_character` when unmapped.
constexpr std::uint16_t qzstr_gbkext1_to_ucs2(unsigned lead, unsigned trail) {
    return paged_value<tables::gbkext1_2uni_pages>(gbk_index(lead, trail));
}

/// Extension 2: leads 0xA8..0xFE with trails below 0xA1.
constexpr std::uint16_t qzstr_gbkext2_to_ucs2(unsigned lead, unsigned trail) {
    const std::uint32_t t = gbk_trail_index(trail);
    if (t >= 96 || lead - 0xA8 >= 0x57) return no_character;
    return paged_value<tables::gbkext2_2uni_pages>(96 * (lead - 0x81) + t);
}

/// The two bytes (lead in the high byte) in either extension, 0 when unmapped.
constexpr std::uint16_t qzstr_gbkext_inv_from_ucs2(std::uint32_t wc) {
    return paged_code<tables::gbkext_inv_uni2indx_pages, tables::gbkext_inv_2charset>(wc);
}

/// Where GBK reads rows 0xA1 and 0xA2 otherwise than GB 2312, and the small Roman numerals.
inline constexpr std::uint32_t gbk_roman_first = 0x2170;
inline constexpr std::uint32_t gbk_roman_count = 10;

/// Code point of a pair of bytes, `no_character` when unmapped; user-defined areas are the caller's.
constexpr std::uint16_t qzstr_gbk_to_ucs2(unsigned lead, unsigned trail) {
    if (lead <= 0xA0) return qzstr_gbkext1_to_ucs2(lead, trail);
    if (trail < 0xA1) return qzstr_gbkext2_to_ucs2(lead, trail);
    if (lead == 0xA1 && trail == 0xA4) return 0x00B7;
    if (lead == 0xA1 && trail == 0xAA) return 0x2014;
    const std::uint16_t wc = qzstr_gb2312_to_ucs2(lead - 0x80, trail - 0x80);
    if (wc != no_character) return wc;
    if (lead == 0xA6 || lead == 0xA8) return qzstr_cp936ext_to_ucs2(lead, trail);
    if (lead == 0xA2 && trail - 0xA1 < gbk_roman_count)
        return static_cast<std::uint16_t>(gbk_roman_first + (trail - 0xA1));
    return no_character;
}

/// The two bytes by way of GB 2312 or an extension, 0 when unmapped. The code points that GBK decodes otherwise are not GB 2312's here.
constexpr std::uint16_t qzstr_gbk_from_ucs2(std::uint32_t wc) {
    if (wc != 0x2015 && wc != 0x30FB) {
        const unsigned code = qzstr_gb2312_from_ucs2(wc);
        if (code != 0) return static_cast<std::uint16_t>(code | 0x8080);
    }
    return qzstr_gbkext_inv_from_ucs2(wc);
}

static_assert(sizeof tables::gbkext1_2uni_page81 == 6080 * 2 && sizeof tables::gbkext2_2uni_pagea8 == 8272 * 2);
static_assert(sizeof tables::gbkext_inv_2charset == 14313 * 2);

static_assert(qzstr_gbk_to_ucs2(0x81, 0x40) == 0x4E02 && qzstr_gbk_from_ucs2(0x4E02) == 0x8140);
static_assert(qzstr_gbk_to_ucs2(0xA1, 0xA4) == 0x00B7 && qzstr_gbk_to_ucs2(0xA1, 0xAA) == 0x2014);
static_assert(qzstr_gbk_from_ucs2(0x2015) == 0xA844 && qzstr_gbk_from_ucs2(0x30FB) == 0 &&
              qzstr_gbk_from_ucs2(0x2014) == 0);
static_assert(qzstr_gbk_to_ucs2(0xA2, 0xA1) == 0x2170 && qzstr_gbk_to_ucs2(0xA2, 0xAA) == 0x2179 &&
              qzstr_gbk_to_ucs2(0xA2, 0xAB) == no_character);
static_assert(qzstr_gbk_to_ucs2(0xA6, 0xE0) == 0xFE35 && qzstr_gbk_to_ucs2(0xAA, 0xA1) == no_character);
static_assert(qzstr_gbk_to_ucs2(0x81, 0x0A) == no_character && qzstr_gbk_to_ucs2(0xA8, 0x7F) == no_character &&
              qzstr_gbk_to_ucs2(0xB0, 0xFF) == no_character);

} // namespace qzstr
