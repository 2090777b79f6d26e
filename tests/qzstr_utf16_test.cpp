// UTF-16: surrogates in conversions and walks, width, case, blanks.
#include "support.h"

#include <array>

using namespace support;

namespace {

const qzstr_charset_info_t& utf16 = _charset_info[QZSTR_CHARSET_UTF16];

TEST(Utf16, Conversions) {
    expect_conversions({
        {"a pair", utf16.qzstr_to_ucs4_fn, "D8 3D DE 00", -1, 0, 4, "00 01 F6 00"},
        {"a false pair takes both units", utf16.qzstr_to_ucs4_fn, "D8 3D 00 41", -1, 2, 4, "00 00 FF FD"},
        {"a lone low surrogate", utf16.qzstr_to_ucs4_fn, "DC 00 00 41", -1, 2, 4, "00 00 FF FD 00 00 00 41"},
        {"a pair cut by the end", utf16.qzstr_to_ucs4_fn, "00 41 D8 3D DE", -1, 1, 2, "00 00 00 41"},
        {"little-endian on both sides", utf16.qzstr_to_ucs4_fn, "3D D8 00 DE", -1, 0, 4, "00 F6 01 00", false},
        {"no room", utf16.qzstr_to_ucs4_fn, "00 41 00 42", 7, 1, 2, "00 00 00 41"},
        {"replaced by a question mark", utf16.qzstr_from_ucs4_fn, "00 11 00 00 00 00 D8 00", -1, 2, 8, "00 3F 00 3F"},
        {"back to a pair", utf16.qzstr_from_ucs4_fn, "00 F6 01 00", -1, 0, 4, "D8 3D DE 00", false},
        {"half the room of a pair", utf16.qzstr_from_ucs4_fn, "00 01 F6 00", 2, 1, 0, ""},
        {"a stray byte", utf16.qzstr_from_ucs4_fn, "00 00 AC 00 00", -1, 1, 4, "AC 00"},
        {"units are copied", utf16.qzstr_to_ucs2_fn, "D8 3D 00", 10, 1, 2, "D8 3D"},
        {"or swapped", utf16.qzstr_from_ucs2_fn, "00 AC 3D D8", 3, 1, 2, "AC 00", false},
        {"nothing into nothing", utf16.qzstr_to_ucs2_fn, "", 0, 0, 0, ""},
    });
    EXPECT_EQ(run_cell(_charset_info, QZSTR_CHARSET_UTF16, QZSTR_CHARSET_ASCII, unhex("00 41 00 E9 AC 00")),
              (converted{2, 6, 3, "Ae?"}));
}

TEST(Utf16, WalksTakeEveryHighSurrogateForAPair) {
    const struct {
        const char* text;
        int n;
        ints expected;
    } cases[] = {
        {"00 41 D8 3D DE 00", 2, {2, 5, 2}},
        {"00 41 D8 3D DE 00", 7, {2, 5, 2}},
        {"D8 3D 00 41", 1, {2, 3, 1}}, // the second half of a false pair is found alone
        {"00 41 DC 00", 2, {0, 1, 2}}, // a low surrogate belongs to what is before it
        {"D8 3D", 1, {0, 1, 1}},
        {"00 41 D8 3D DE", 2, {2, 4, 2}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(position(utf16, unhex(c.text), c.n), c.expected) << c.text << " " << c.n;
    EXPECT_TRUE(take_assertions().empty());
    std::string text = unhex("D8 3D DE 00 00 41");
    EXPECT_EQ(utf16.qzstr_count_char_fn(text.data(), 6), 2);
    EXPECT_EQ(utf16.qzstr_count_byte_fn(text.data(), 1), 4);
    EXPECT_EQ(position(utf16, "", 0), (ints{0, -1, 0})); // no such character
    EXPECT_EQ(position(utf16, text, 0), (ints{0, 3, 0}));
    EXPECT_EQ(take_assertions().size(), 2U);
    EXPECT_EQ(boundaries_of(utf16, text),
              (boundaries{"100010", "000101", {0, 0, 0, 0, 4, 4}, {3, 3, 3, 3, 5, 5}, {-1, -1, -1, 3, 3, 5}}));
}

TEST(Utf16, WidthGoesByTheHighByteOfUnits) {
    for (const auto& [limit, at, width, found] :
         {std::array{1, 2, 1, 1}, {2, 2, 1, 1}, {3, 4, 3, 1}, {5, 6, 5, 1}, {7, 8, 7, 1}, {8, 8, 7, 0}})
        EXPECT_EQ(fit(utf16, unhex("4E 00 AC 00 D8 3D DE 00"), limit), (ints{at, width, found})) << limit;
}

std::string cased(qzstr_case_t mode, std::string_view units) {
    std::string text = unhex(units) + '\x7F';
    utf16.qzstr_convert_case_fn(mode, text.data(), static_cast<int>(text.size()) - 1);
    return hex(text);
}

TEST(Utf16, OnlyUnitsOfAsciiHaveCase) {
    EXPECT_EQ(cased(QZSTR_CASE_UPPER, "00 61 00 E9 61 61"), "00 41 00 E9 61 61 7F");
    EXPECT_EQ(cased(QZSTR_CASE_LOWER, "00 41 00 5A 41 41 00"), "00 61 00 7A 41 41 00 7F");
    EXPECT_EQ(cased(QZSTR_CASE_INITCAP, "00 61 00 42 AC 00 00 62 00 E9 00 63"),
              "00 41 00 62 AC 00 00 42 00 E9 00 43 7F");
    EXPECT_EQ(cased(QZSTR_CASE_TRIM_UPPER, "00 20 00 61 20 20"), "00 41 20 20 00 20 7F");
    EXPECT_EQ(cased(QZSTR_CASE_TRIM_UPPER, "00 61"), "00 41 00"); // one byte ends it
    EXPECT_EQ(cased(QZSTR_CASE_TRIM_UPPER, ""), "00");
    EXPECT_TRUE(take_assertions().empty());
    EXPECT_EQ(cased(QZSTR_CASE_NONE, "00 61"), "00 61 7F");
    EXPECT_EQ(take_assertions().size(), 1U);
}

TEST(Utf16, Blanks) {
    const struct {
        const char* units;
        int offset;
    } cases[] = {{"00 41 00 20 00 20", 2}, {"00 41", -1}, {"00 20 00 20", 0}, {"", -1}, {"20 20", -1},
                 {"20 00 00 20", 2}};
    for (const auto& [units, offset] : cases) {
        std::string text = unhex(units);
        EXPECT_EQ(utf16.qzstr_get_first_trailing_space_fn(text.data(), static_cast<int>(text.size())), offset) << units;
    }
    EXPECT_TRUE(take_assertions().empty());
    char odd[] = {0, 0x20, 0};
    EXPECT_EQ(utf16.qzstr_get_first_trailing_space_fn(odd, 3), -1);
    EXPECT_EQ(take_assertions().size(), 1U);
    char text[] = {0x01, 0x00, 0x20, 0x00, 0x00, 0x20};
    std::string found;
    for (int i = 0; i < 5; ++i)
        found += utf16.qzstr_isspace_fn(text, i) != 0 ? '1' : '0';
    EXPECT_EQ(found, "01000"); // a zero at a character's end, white space behind it
}

} // namespace
