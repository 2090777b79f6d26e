// Letter case of two- and three-byte UTF-8 characters: pages of 64 code points, which are a lead byte (or a lead and a second
// byte) each, derived from the case tables.
#pragma once

#include "core/contract.h"
#include "tables/utf8_case.h"

#include <cstddef>
#include <iterator>

namespace qzstr {

/// For each character of the BMP, the difference to what it becomes; pages without letters share page 0.
template <std::size_t Pages>
struct utf8_case_pages {
    uchar page[1024] = {};
    std::uint16_t difference[(Pages + 1) * 64] = {};
};

namespace utf8_case_detail {

constexpr char32_t triple(const char (&text)[7]) {
    const auto b = [&text](int i) { return static_cast<char32_t>(static_cast<uchar>(text[i])) & 0x3F; };
    return (b(0) & 0x0F) << 12 | b(1) << 6 | b(2);
}

/// Runs `found(from, to)` over the letters that change.
// KEPT: lead C6 goes one code point too far in UPPER (C6 81 becomes C9 83), so do stored keys; the two-byte table holds it.
// KEPT: a character never changes its length, so rows with a shorter target have no effect.
template <std::size_t Rows, class Found>
constexpr void each_letter(const std::uint16_t (&two_bytes)[1216],
                           const tables::qzstr_case_table_elem_t (&three_bytes)[Rows], Found found) {
    for (char32_t i = 0; i < std::size(two_bytes); ++i)
        if (two_bytes[i] != 0xC0 + i) found(0xC0 + i, char32_t{two_bytes[i]});
    for (const auto& row : three_bytes)
        if (row.to[2] != 0) found(triple(row.from), triple(row.to));
}

template <class Letters>
consteval std::size_t count_pages(Letters letters) {
    bool used[1024] = {};
    letters([&used](char32_t from, char32_t) { used[from >> 6] = true; });
    std::size_t pages = 0;
    for (const bool u : used)
        pages += u;
    return pages;
}

template <std::size_t Pages, class Letters>
consteval utf8_case_pages<Pages> make(Letters letters) {
    utf8_case_pages<Pages> made;
    uchar next = 0;
    letters([&](char32_t from, char32_t to) {
        uchar& page = made.page[from >> 6];
        if (page == 0) page = ++next;
        made.difference[page * 64U + (from & 0x3F)] = static_cast<std::uint16_t>(to - from);
    });
    return made;
}

inline constexpr auto lower_letters = [](auto found) {
    each_letter(tables::utf8_lower_two_byte, tables::qzstr_case_to_lower_table, found);
};
inline constexpr auto upper_letters = [](auto found) {
    each_letter(tables::utf8_upper_two_byte, tables::qzstr_case_to_upper_table, found);
};

} // namespace utf8_case_detail

inline constexpr auto utf8_to_lower =
    utf8_case_detail::make<utf8_case_detail::count_pages(utf8_case_detail::lower_letters)>(
        utf8_case_detail::lower_letters);
inline constexpr auto utf8_to_upper =
    utf8_case_detail::make<utf8_case_detail::count_pages(utf8_case_detail::upper_letters)>(
        utf8_case_detail::upper_letters);

/// Changes the character of `length` bytes at p in place; anything malformed, and whatever has no case, stays.
template <std::size_t Pages>
inline void change_letter(const utf8_case_pages<Pages>& pages, uchar* p, int length) {
    if (length > 3 || p[0] == 0xE0)
        return; // below U+1000 no letter of three bytes has case, and overlong forms have none
    const bool three = length == 3;
    const unsigned top = three ? (p[0] & 0x0FU) << 6 | (p[1] & 0x3FU) : p[0] & 0x1FU;
    const uchar page = pages.page[top];
    uchar& last = p[length - 1];
    const bool well_formed = (p[1] & 0xC0) == 0x80 && (last & 0xC0) == 0x80;
    if (page == 0 || !well_formed) return;
    const unsigned from = top << 6 | (last & 0x3FU);
    const unsigned to = (from + pages.difference[page * 64U + (last & 0x3FU)]) & 0xFFFF;
    if (three) {
        p[0] = static_cast<uchar>(0xE0 | to >> 12);
        p[1] = static_cast<uchar>(0x80 | (to >> 6 & 0x3F));
    } else {
        p[0] = static_cast<uchar>(0xC0 | to >> 6);
    }
    last = static_cast<uchar>(0x80 | (to & 0x3F));
}

} // namespace qzstr
