// UTF-16: surrogates in conversions and walks, width, case, blanks.
#include "support.h"

#include <array>

using namespace support;

namespace {

const qzstr_charset_info_t& utf16 = _charset_info[QZSTR_CHARSET_UTF16];

TEST(Utf16, Conversions) {
    const struct {
        const char* what;
        decltype(utf16.qzstr_to_ucs2_fn) slot;
        const char* source;
        int room;
        conv_status_t status;
        int read;
        const char* result;
        bool big_end = true;
    } cases[] = {
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
    };
    for (const auto& c : cases) {
        const std::string result = unhex(c.result);
        EXPECT_EQ(run_slot(c.slot, unhex(c.source), c.room, c.big_end),
                  (converted{c.status, c.read, static_cast<int>(result.size()), result}))
            << c.what;
    }
    EXPECT_EQ(run_cell(_charset_info, QZSTR_CHARSET_UTF16, QZSTR_CHARSET_ASCII, unhex("00 41 00 E9 AC 00")),
              (converted{2, 6, 3, "Ae?"}));
}

TEST(Utf16, WalksTakeEveryHighSurrogateForAPair) {
    const struct {
        const char* text;
        int n, start, end, count;
    } cases[] = {
        {"00 41 D8 3D DE 00", 2, 2, 5, 2},
        {"00 41 D8 3D DE 00", 7, 2, 5, 2},
        {"D8 3D 00 41", 1, 2, 3, 1}, // the second half of a false pair is found alone
        {"00 41 DC 00", 2, 0, 1, 2}, // a low surrogate belongs to what is before it
        {"D8 3D", 1, 0, 1, 1},
        {"00 41 D8 3D DE", 2, 2, 4, 2},
    };
    for (const auto& c : cases) {
        std::string text = unhex(c.text);
        int start = -9, end = -9, count = -9;
        static const guarded memory;
        utf16.qzstr_get_byte_pos_fn(memory.place(text), static_cast<int>(text.size()), c.n, &start, &end, &count);
        EXPECT_EQ((std::array{start, end, count}), (std::array{c.start, c.end, c.count})) << c.text << " " << c.n;
    }
    EXPECT_TRUE(take_assertions().empty());
    std::string text = unhex("D8 3D DE 00 00 41");
    EXPECT_EQ(utf16.qzstr_count_char_fn(text.data(), 6), 2);
    EXPECT_EQ(utf16.qzstr_count_byte_fn(text.data(), 1), 4);
    for (const int length : {0, 6}) { // no such character
        int start = 7, end = 7, count = 7;
        utf16.qzstr_get_byte_pos_fn(text.data(), length, 0, &start, &end, &count);
        EXPECT_EQ((std::array{start, end, count}), (std::array{0, length == 0 ? -1 : 3, 0}));
        EXPECT_EQ(take_assertions().size(), 1U);
    }
    std::string leads, ends;
    std::vector<int> start, forward, back;
    for (int i = 0; i < 6; ++i) {
        leads += utf16.qzstr_is_char_leading_byte(text.data(), i) != 0 ? 'x' : '.';
        ends += utf16.qzstr_is_char_ending_byte(text.data(), i) != 0 ? 'x' : '.';
        start.push_back(utf16.qzstr_get_char_leading_byte(text.data(), i));
        forward.push_back(utf16.qzstr_get_char_ending_byte(text.data(), i, 0));
        back.push_back(utf16.qzstr_get_char_ending_byte(text.data(), i, 1));
    }
    EXPECT_EQ(leads + ends, "x...x."
                            "...x.x");
    EXPECT_EQ(start, (std::vector{0, 0, 0, 0, 4, 4}));
    EXPECT_EQ(forward, (std::vector{3, 3, 3, 3, 5, 5}));
    EXPECT_EQ(back, (std::vector{-1, -1, -1, 3, 3, 5}));
}

TEST(Utf16, WidthGoesByTheHighByteOfUnits) {
    std::string text = unhex("4E 00 AC 00 D8 3D DE 00");
    for (const auto& [limit, at, width, found] :
         {std::array{1, 2, 1, 1}, {2, 2, 1, 1}, {3, 4, 3, 1}, {5, 6, 5, 1}, {7, 8, 7, 1}, {8, 8, 7, 0}}) {
        int byte_pos = -1, columns = -1;
        uchar reached = 9;
        utf16.qzstr_get_byte_pos_with_disp_size_fn(text.data(), 8, limit, &byte_pos, &columns, &reached);
        EXPECT_EQ((std::array{byte_pos, columns, int{reached}}), (std::array{at, width, found})) << limit;
    }
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
    for (const auto& [units, offset] : {std::pair{"00 41 00 20 00 20", 2},
                                        {"00 41", -1},
                                        {"00 20 00 20", 0},
                                        {"", -1},
                                        {"20 20", -1},
                                        {"20 00 00 20", 2}}) {
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
