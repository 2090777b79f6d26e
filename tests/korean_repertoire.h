// The Korean mapping files as the tests read them.
#pragma once

#include "support.h"

#include <cstdint>
#include <fstream>
#include <iconv.h>
#include <map>

namespace korean {

/// Code to code point.
using repertoire = std::map<unsigned, unsigned>;

inline void read_mapping(const char* name, unsigned added, repertoire& into) {
    std::ifstream file(std::string(MAPPINGS_DIR "/") + name);
    for (std::string line; std::getline(file, line);)
        if (unsigned code = 0, c = 0; sscanf(line.c_str(), "0x%x 0x%x", &code, &c) == 2) into[code + added] = c;
}

inline const repertoire& euckr() {
    static const repertoire all = [] {
        repertoire r;
        read_mapping("ksx1001.txt", 0x8080, r);
        return r;
    }();
    return all;
}

/// With the user-defined rows.
inline const repertoire& mswin949() {
    static const repertoire all = [] {
        repertoire r = euckr();
        read_mapping("uhc.txt", 0, r);
        for (unsigned i = 0; i < 94; ++i) {
            r[0xC9A1 + i] = 0xE000 + i;
            r[0xFEA1 + i] = 0xE05E + i;
        }
        return r;
    }();
    return all;
}

/// A conversion's report, its bytes in hexadecimal.
inline support::converted gives(conv_status_t status, int read, const char* hex) {
    const std::string bytes = support::unhex(hex);
    return {status, read, static_cast<int>(bytes.size()), bytes};
}

inline std::string two(unsigned v) {
    return {static_cast<char>(v >> 8), static_cast<char>(v)};
}

/// Every pair of bytes with a lead from `first_lead` to FE decodes, and every code point encodes, as the repertoire says; the
/// whole repertoire as one text, too, at every vector level.
inline void check_repertoire(const repertoire& all, qzstr_charset_t cs, unsigned first_lead) {
    const qzstr_charset_info_t& row = _charset_info[cs];
    for (unsigned code = first_lead << 8; code < 0xFF00; ++code) {
        const auto found = all.find(code);
        const support::converted expected{found == all.end() ? 2 : 0, 2, 2,
                                          two(found == all.end() ? 0xFFFD : found->second)};
        ASSERT_EQ(support::run_slot(row.qzstr_to_ucs2_fn, two(code)), expected) << std::hex << code;
    }
    std::map<unsigned, unsigned> inverse;
    std::string text, units;
    for (const auto& [code, c] : all) {
        inverse[c] = code;
        text += two(code);
        units += two(c);
    }
    ASSERT_EQ(inverse.size(), all.size());
    for (unsigned c = 0x80; c <= 0xFFFF; ++c) {
        const auto found = inverse.find(c);
        const bool mapped = found != inverse.end();
        const support::converted expected{mapped ? 0 : 2, 2, mapped ? 2 : 1, mapped ? two(found->second) : "?"};
        ASSERT_EQ(support::run_slot(row.qzstr_from_ucs2_fn, two(c)), expected) << std::hex << c;
    }
    const int len = static_cast<int>(text.size());
    for (const support::level& level : support::levels()) {
        const qzstr_charset_info_t& at_level = level.catalogue[cs];
        EXPECT_EQ(support::run_slot(at_level.qzstr_to_ucs2_fn, text), (support::converted{0, len, len, units}));
        EXPECT_EQ(support::run_slot(at_level.qzstr_from_ucs2_fn, units), (support::converted{0, len, len, text}));
    }
}

/// What the C library's converter makes of a character; empty where it refuses.
inline std::string by_iconv(iconv_t converter, std::string text) {
    char out[8], *from = text.data(), *to = out;
    std::size_t in_left = text.size(), out_left = sizeof out;
    iconv(converter, nullptr, nullptr, nullptr, nullptr);
    if (iconv(converter, &from, &in_left, &to, &out_left) != 0) return {};
    return {out, sizeof out - out_left};
}

/// Compares every pair and every code point with the C library; `differs` names the codes that differ on purpose.
inline void check_against_iconv(const repertoire& all, const char* name, unsigned first_lead,
                                bool (*differs)(unsigned code, unsigned c)) {
    const iconv_t decode = iconv_open("UTF-16BE", name), encode = iconv_open(name, "UTF-16BE");
    if (decode == iconv_t(-1) || encode == iconv_t(-1)) GTEST_SKIP() << "no converter for " << name;
    std::map<unsigned, unsigned> inverse;
    for (const auto& [code, c] : all)
        inverse[c] = code;
    for (unsigned code = first_lead << 8; code < 0xFF00; ++code) {
        const auto found = all.find(code);
        const unsigned c = found == all.end() ? 0 : found->second;
        const std::string theirs = by_iconv(decode, two(code));
        const bool same = (theirs.size() == 2 ? theirs : "") == (c == 0 ? "" : two(c));
        ASSERT_NE(same, differs(code, c)) << std::hex << code;
    }
    for (unsigned c = 0xA0; c < 0xFFFE; ++c) {
        const auto found = inverse.find(c);
        const unsigned code = found == inverse.end() ? 0 : found->second;
        const bool same = by_iconv(encode, two(c)) == (code == 0 ? "" : two(code));
        ASSERT_NE(same, differs(code, c)) << std::hex << c;
    }
    iconv_close(decode);
    iconv_close(encode);
}

/// Pieces of text joined at random, from a fixed seed.
inline std::string random_text(std::uint64_t& seed, std::size_t pieces, std::initializer_list<const char*> choice) {
    std::string text;
    while (pieces-- > 0) {
        seed = seed * 6364136223846793005 + 1442695040888963407;
        text += support::unhex(choice.begin()[(seed >> 33) % choice.size()]);
    }
    return text;
}

} // namespace korean
