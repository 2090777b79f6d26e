// The pages of letters of UTF-8, derived from the case tables.
#pragma once

#include "core/letter_pages.h"
#include "tables/utf8_case.h"

#include <cstddef>
#include <iterator>

namespace qzstr {

/// Characters without letters share page 0, which is never read.
template <std::size_t Pages>
struct utf8_case_pages {
    uchar page_of[1024] = {};
    core::letter_page page[Pages + 1] = {};
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

constexpr void set(core::letter_page& page, char32_t from, char32_t to) {
    const char32_t i = from & 0x3F;
    const bool three = from >= 0x800;
    page.first[i] = static_cast<uchar>(three ? 0xE0 | to >> 12 : 0xC0 | to >> 6);
    page.second[i] = static_cast<uchar>(0x80 | (to >> 6 & 0x3F));
    page.last[i] = static_cast<uchar>(0x80 | (to & 0x3F));
}

template <std::size_t Pages, class Letters>
consteval utf8_case_pages<Pages> make(Letters letters) {
    utf8_case_pages<Pages> made;
    uchar next = 0;
    letters([&](char32_t from, char32_t to) {
        uchar& page = made.page_of[from >> 6];
        if (page == 0) {
            page = ++next;
            for (char32_t c = from & ~char32_t{0x3F}, i = 0; i < 64; ++i)
                set(made.page[page], c + i, c + i);
        }
        set(made.page[page], from, to & 0xFFFF);
    });
    return made;
}

inline constexpr auto lower_letters = [](auto found) {
    each_letter(tables::utf8_lower_two_byte, tables::qzstr_case_to_lower_table, found);
};
inline constexpr auto upper_letters = [](auto found) {
    each_letter(tables::utf8_upper_two_byte, tables::qzstr_case_to_upper_table, found);
};

inline constexpr auto lower_pages = make<count_pages(lower_letters)>(lower_letters);
inline constexpr auto upper_pages = make<count_pages(upper_letters)>(upper_letters);

} // namespace utf8_case_detail

inline constexpr core::letter_pages utf8_to_lower{utf8_case_detail::lower_pages.page_of,
                                                  utf8_case_detail::lower_pages.page};
inline constexpr core::letter_pages utf8_to_upper{utf8_case_detail::upper_pages.page_of,
                                                  utf8_case_detail::upper_pages.page};

} // namespace qzstr
