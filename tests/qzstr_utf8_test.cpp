// UTF-8: conversions at the edges, walks, boundaries, width, case.
#include "repertoire.h"

#include <array>

using namespace support;

namespace {

const qzstr_charset_info_t& utf8 = _charset_info[QZSTR_CHARSET_UTF8];

/// U+FFFF and below in one to three bytes, the rest in four.
std::string sequence(unsigned c) {
    const auto more = [c](int shift) { return static_cast<char>(0x80 | (c >> shift & 0x3F)); };
    if (c < 0x80) return {static_cast<char>(c)};
    if (c < 0x800) return {static_cast<char>(0xC0 | c >> 6), more(0)};
    if (c < 0x10000) return {static_cast<char>(0xE0 | c >> 12), more(6), more(0)};
    return {static_cast<char>(0xF0 | c >> 18), more(12), more(6), more(0)};
}

TEST(Utf8, EveryCodePointGoesBothWays) {
    for (unsigned c = 0; c < 0x110000; c = c == 0xD7FF ? 0xE000 : c + 1) {
        const converted wide = run_slot(utf8.qzstr_to_ucs4_fn, sequence(c));
        ASSERT_EQ(wide, (converted{0, static_cast<int>(sequence(c).size()), 4, units({c}, 4)})) << std::hex << c;
        ASSERT_EQ(run_slot(utf8.qzstr_from_ucs4_fn, wide.bytes).bytes, sequence(c)) << std::hex << c;
    }
}

TEST(Utf8, ConversionsAtTheEdges) {
    expect_conversions({
        {"never a lead", utf8.qzstr_to_ucs2_fn, "C0 80 F5", -1, 2, 3, "FF FD FF FD FF FD"},
        {"overlong", utf8.qzstr_to_ucs2_fn, "E0 80 80 41", -1, 2, 4, "FF FD 00 41"},
        {"a surrogate", utf8.qzstr_to_ucs2_fn, "ED A0 80", -1, 2, 3, "FF FD"},
        {"the byte after a lead is taken along", utf8.qzstr_to_ucs2_fn, "C3 41 42", -1, 2, 3, "FF FD 00 42"},
        {"beyond the BMP, unread", utf8.qzstr_to_ucs2_fn, "F0 41 41 41 42", -1, 2, 5, "FF FD 00 42"},
        {"beyond the BMP", utf8.qzstr_to_ucs4_fn, "F0 9F 98 80", -1, 0, 4, "00 01 F6 00"},
        {"above U+10FFFF", utf8.qzstr_to_ucs4_fn, "F4 90 80 80", -1, 2, 4, "00 00 FF FD"},
        {"overlong in four", utf8.qzstr_to_ucs4_fn, "F0 8F BF BF", -1, 2, 4, "00 00 FF FD"},
        {"cut by the end", utf8.qzstr_to_ucs2_fn, "41 E4 B8", -1, 1, 1, "00 41"},
        {"no room for a unit", utf8.qzstr_to_ucs2_fn, "41 42", 3, 1, 1, "00 41"},
        {"nothing into nothing", utf8.qzstr_to_ucs2_fn, "", 0, 0, 0, ""},
        {"a surrogate pair, unit by unit", utf8.qzstr_from_ucs2_fn, "D8 3D DE 00", -1, 0, 4, "ED A0 BD ED B8 80"},
        {"above U+10FFFF, low bits", utf8.qzstr_from_ucs4_fn, "81 23 45 67", -1, 0, 4, "F8 B4 95 A7"},
        {"no room for three bytes", utf8.qzstr_from_ucs2_fn, "00 41 AC 00", 3, 1, 2, "41"},
        {"a stray byte", utf8.qzstr_from_ucs4_fn, "00 00 00 41 00", -1, 1, 4, "41"},
    });
    const auto to_ascii = [](char* s, int n, char* t, int size, int* r, int* w, uchar) {
        return qzstr_utf8_get_ascii_str(QZSTR_CHARSET_UTF8, s, n, QZSTR_CHARSET_ASCII, t, size, r, w);
    };
    EXPECT_EQ(run_slot(to_ascii, unhex("41 EA B0 80 C0 E4 B8")), (converted{3, 5, 3, "A??"}));
}

/// As each of its characters alone, by the lengths that leads name.
std::string by_characters(qzstr_to_ucs2_fn_t decode, const std::string& text) {
    std::string out;
    for (std::size_t at = 0, size; at < text.size(); at += size) {
        const auto lead = static_cast<unsigned char>(text[at]);
        size = lead < 0xC2 || lead > 0xF4 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        out += run_slot(decode, text.substr(at, size)).bytes;
    }
    return out;
}

TEST(Utf8, DamageAnywhereInALongText) {
    const auto to_utf16 = [](char* s, int n, char* t, int size, int* r, int* w, uchar) {
        return utf8.qzstr_get_another_charset_str_fn[QZSTR_CHARSET_UTF16](QZSTR_CHARSET_UTF8, s, n, QZSTR_CHARSET_UTF16,
                                                                          t, size, r, w);
    };
    for (const std::string repeated : {"\xEA\xB0\x80", "a", "\xC3\xA9", "\xF0\x9F\x98\x80", "\xED\x9F\xBF-"})
        for (const char damage : {'\xFF', '\xC1', '\xC3', '\xE4', '\xF0', '\x80', 'A'})
            for (std::size_t at = 0; at < 140; ++at) {
                std::string text;
                while (text.size() < 200)
                    text += repeated;
                text[at] = damage;
                text += "text"; // so that no character is cut
                for (const qzstr_to_ucs2_fn_t decode : {utf8.qzstr_to_ucs2_fn, utf8.qzstr_to_ucs4_fn, +to_utf16})
                    ASSERT_EQ(hex(run_slot(decode, text).bytes), hex(by_characters(decode, text)))
                        << hex(text) << " " << at;
            }
}

// A: a byte of ASCII, 2/3/4: a lead, c: a byte that leads nothing.
TEST(Utf8, PositionsNearTheEnd) {
    const struct {
        const char* text;
        int n;
        ints expected;
    } cases[] = {
        {"41 C3 A9 EA B0 80", 3, {3, 5, 3}}, {"41 C3 A9 EA B0 80", 9, {3, 5, 3}}, {"41 C3 A9", 0, {1, 2, 2}},
        {"41 80 80", 2, {1, 2, 2}},          {"41 80 80 80", 2, {1, 3, 2}},       {"41 F0 80 80", 2, {1, 3, 2}},
        {"80 80 80 80", 1, {0, 3, 1}}, // asked for, a stray byte with three behind it takes them along
        {"80 80 80 80", 2, {1, 3, 2}}, // walked over, it does not
        {"80 80 80 80 80", 1, {0, 0, 1}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(position(utf8, unhex(c.text), c.n), c.expected) << c.text << " " << c.n;
    }
    std::string stray = unhex("C0 80 C3 41");
    EXPECT_EQ(utf8.qzstr_count_char_fn(stray.data(), 4), 3);
    EXPECT_EQ(utf8.qzstr_count_byte_fn(stray.data(), 3), 4);
    EXPECT_EQ(utf8.qzstr_count_char_fn(stray.data(), 3), 3);
}

TEST(Utf8, Boundaries) {
    std::string text = unhex("41 C3 A9 A9 EA B0 80 F0 9F 98 80");
    EXPECT_EQ(boundaries_of(utf8, text), (boundaries{"11001001000", // the stray byte belongs to U+00E9
                                                     "10100010001",
                                                     {0, 1, 1, 1, 4, 4, 4, 7, 7, 7, 7},
                                                     {0, 2, 2, 2, 6, 6, 6, 10, 10, 10, 10},
                                                     {0, 0, 2, 3, 3, 3, 6, 6, 6, 6, 10}}));
    EXPECT_EQ(utf8.qzstr_get_char_leading_byte(text.data(), -2), 0);
    EXPECT_EQ(utf8.qzstr_get_char_ending_byte(text.data(), -2, 0), -2);
    const std::vector<std::string> reported = take_assertions();
    ASSERT_EQ(reported.size(), 2U);
    EXPECT_EQ(reported[0].find("byte_offset >= 0@common/qzstr/qzstr_utf8:"), 0U);
}

TEST(Utf8, Width) {
    const struct {
        unsigned c;
        int columns;
    } cases[] = {{0xAC00, 2}, {0xFF01, 2}, {0x303F, 1}, {0x3040, 2}, {0x20000, 1}, {0xA4CF, 2},
                 {0xA4D0, 1}, {0x2329, 2}, {0x232B, 1}, {0xFFE6, 2}, {0xFFE7, 1},  {0x115F, 2},
                 {0x1160, 1}, {0xD7A3, 2}, {0xD7A4, 1}, {0xE9, 1},   {0xE01, 1}};
    for (const auto& [c, columns] : cases)
        EXPECT_EQ(fit(utf8, sequence(c), 9), (ints{static_cast<int>(sequence(c).size()), columns, 0})) << std::hex << c;
    for (const auto& [limit, at, width] : {std::array{0, 0, 0}, {1, 1, 1}, {2, 1, 1}, {3, 4, 3}, {5, 7, 5}})
        EXPECT_EQ(fit(utf8, unhex("41 EA B0 80 EA B0 81"), limit), (ints{at, width, 1})) << limit;
    int bytes = -1, columns_of_none = -1;
    uchar found = 9;
    char text[] = "a";
    utf8.qzstr_get_byte_pos_with_disp_size_fn(text, -1, 100, &bytes, &columns_of_none, &found);
    EXPECT_EQ((ints{bytes, columns_of_none, found}), (ints{0, 0, 0}));
    // by bytes, also malformed ones
    for (const auto& [triple, columns] :
         {std::pair{"E3 80 BF", 1}, {"E3 80 C0", 2}, {"E3 81 7F", 2}, {"E9 41 41", 2}, {"EA 93 90", 1}})
        EXPECT_EQ(qzstr_calc_utf8_disp_size(unhex(triple).data()), columns) << triple;
    for (int k = 58; k < 66; ++k) // and across the border of a block
        EXPECT_EQ(fit(utf8, std::string(k, 'a') + "\xEA\xB0" + std::string(99, 'A'), 999), (ints{k + 101, k + 99, 0}))
            << k;
}

std::string cased(qzstr_case_t mode, std::string text) {
    const auto size = static_cast<int>(text.size());
    text += '\x7F'; // the byte that TRIM_UPPER may need
    utf8.qzstr_convert_case_fn(mode, text.data(), size);
    if (mode == QZSTR_CASE_TRIM_UPPER) return text.substr(0, text.find('\0'));
    EXPECT_EQ(text.back(), '\x7F');
    text.pop_back();
    return text;
}

/// What the mapping file says each character becomes: for two bytes in [TWO_BYTE], for three in the tables, unless the target
/// is shorter.
std::map<unsigned, unsigned> letters(const std::string& table, int two_byte_column) {
    std::map<unsigned, unsigned> found;
    std::ifstream file(MAPPINGS_DIR "/utf8_case_tables.txt");
    for (std::string line, section; std::getline(file, line);) {
        if (!line.empty() && line[0] == '[') section = line;
        std::istringstream fields(line);
        std::string from, column[3];
        fields >> from >> column[1] >> column[2];
        const bool two_bytes = section == "[TWO_BYTE]";
        const std::string to = column[two_bytes ? two_byte_column : 1];
        if (line.empty() || line[0] == '[' || line[0] == '#' || (!two_bytes && section != table) || to == "-") continue;
        const unsigned c = static_cast<unsigned>(std::stoul(from, nullptr, 16));
        const unsigned result = static_cast<unsigned>(std::stoul(to, nullptr, 16));
        if (c < 0x580 || (!two_bytes && result >= 0x800)) found[c] = result;
    }
    return found;
}

TEST(Utf8, EveryLetterChangesCaseAsTheMappingSays) {
    const auto lower = letters("[LOWER3]", 1), upper = letters("[UPPER3]", 2);
    EXPECT_EQ(lower.size() > 800 && upper.size() > 800, true);
    for (unsigned c = 0x80; c < 0x10000; ++c) {
        const auto to_lower = lower.find(c), to_upper = upper.find(c);
        ASSERT_EQ(hex(cased(QZSTR_CASE_LOWER, sequence(c))),
                  hex(sequence(to_lower == lower.end() ? c : to_lower->second)));
        ASSERT_EQ(hex(cased(QZSTR_CASE_UPPER, sequence(c))),
                  hex(sequence(to_upper == upper.end() ? c : to_upper->second)));
    }
}

TEST(Utf8, TwoBytesChangeCaseAsUnicodeSaysOutsideLeadC6) {
    for (const bool upper : {false, true}) {
        const auto unicode = unicode_case(upper);
        for (unsigned c = 0xC0; c < 0x580; ++c) {
            if (c >> 6 == 6) continue;
            const auto found = unicode.find(c);
            const bool changes = found != unicode.end() && found->second >= 0x80 && found->second < 0x800;
            EXPECT_EQ(hex(cased(upper ? QZSTR_CASE_UPPER : QZSTR_CASE_LOWER, sequence(c))),
                      hex(sequence(changes ? found->second : c)));
        }
    }
}

TEST(Utf8, CaseModes) {
    EXPECT_EQ(cased(QZSTR_CASE_UPPER, "\xC6\x81"), "\xC9\x83");                         // one code point too far
    EXPECT_EQ(cased(QZSTR_CASE_LOWER, "\xC6\x80"), "\xC6\xBC");                         // the pair before the table
    EXPECT_EQ(cased(QZSTR_CASE_LOWER, "\xE2\x84\xA6\xC4\xB0"), "\xE2\x84\xA6\xC4\xB0"); // lengths never change
    EXPECT_EQ(cased(QZSTR_CASE_LOWER, "\xEF\xBC\xA1"
                                      "A\xC3"),
              "\xEF\xBD\x81"
              "a\xC3");
    EXPECT_EQ(cased(QZSTR_CASE_UPPER, "\xE0\x83\xA9\xE1\x62\x63"), "\xE0\x83\xA9\xE1\x62\x63"); // malformed
    EXPECT_EQ(cased(QZSTR_CASE_UPPER, "a\xE1z"), "A\xE1z");                                     // cut by the end
    EXPECT_EQ(cased(QZSTR_CASE_INITCAP, "\xC3\xA9\xC3\x89 2ND \xEA\xB0\x80Zo o'NEIL a\x80z"),
              "\xC3\x89\xC3\xA9 2nd \xEA\xB0\x80zo O'Neil A\x80Z");
    EXPECT_EQ(cased(QZSTR_CASE_TRIM_UPPER, " a\t\xC3\xA9 "), "A\xC3\x89");
    EXPECT_EQ(cased(QZSTR_CASE_TRIM_UPPER, ""), "");
    EXPECT_TRUE(take_assertions().empty());
    EXPECT_EQ(cased(QZSTR_CASE_NONE, "a"), "a");
    EXPECT_EQ(take_assertions().size(), 1U);
}

} // namespace
