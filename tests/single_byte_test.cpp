// The code pages, TCVN3 and US8ICL: each against its published mapping, the letters' data and the C library's iconv.
#include "repertoire.h"

using namespace support;

namespace {

struct member {
    int row;
    const char* file;
    const char* iconv_name; // null where the C library has no such page
};

const member members[] = {
    {QZSTR_CHARSET_MSWIN1252, "mswin1252", "CP1252"},
    {QZSTR_CHARSET_MSWIN1251, "mswin1251", "CP1251"},
    {QZSTR_CHARSET_ISO8859P1, "iso8859p1", "ISO-8859-1"},
    {QZSTR_CHARSET_ISO8859P2, "iso8859p2", "ISO-8859-2"},
    {QZSTR_CHARSET_ISO8859P9, "iso8859p9", "ISO-8859-9"},
    {QZSTR_CHARSET_ISO8859P15, "iso8859p15", "ISO-8859-15"},
    {QZSTR_CHARSET_KOI8R, "koi8r", "KOI8-R"},
    {QZSTR_CHARSET_ISO8859P5, "iso8859p5", "ISO-8859-5"},
    {QZSTR_CHARSET_MSDOS866, "msdos866", "IBM866"},
    {QZSTR_CHARSET_MSWIN1253, "mswin1253", "CP1253"},
    {QZSTR_CHARSET_ISO8859P7, "iso8859p7", "ISO-8859-7"},
    {QZSTR_CHARSET_TIS620, "tis620", "TIS-620"},
    {QZSTR_CHARSET_MSWIN1256, "mswin1256", "CP1256"},
    {QZSTR_CHARSET_ISO8859P6, "iso8859p6", "ISO-8859-6"},
    {QZSTR_CHARSET_ISO8859P8, "iso8859p8", "ISO-8859-8"},
    {QZSTR_CHARSET_TCVN3, "tcvn3", nullptr},
    {QZSTR_CHARSET_US8ICL, "us8icl", nullptr},
};

std::string unit(unsigned c, int size = 2) {
    return units({c}, size);
}

const std::string every_byte = [] {
    std::string bytes;
    for (int b = 0; b < 256; ++b)
        bytes += static_cast<char>(b);
    return bytes;
}();

std::string cased(const qzstr_charset_info_t& row, qzstr_case_t mode, std::string text) {
    text += '\x7F'; // the byte that TRIM_UPPER may need
    row.qzstr_convert_case_fn(mode, text.data(), static_cast<int>(text.size()) - 1);
    return text.substr(0, text.size() - 1);
}

class SingleByte : public testing::TestWithParam<member> {
protected:
    const int row = GetParam().row;
    const bool ebcdic = row == QZSTR_CHARSET_US8ICL;
};

INSTANTIATE_TEST_SUITE_P(Members, SingleByte, testing::ValuesIn(members),
                         [](const auto& info) { return std::string(info.param.file); });

TEST_P(SingleByte, EveryByteAndEveryCodePointIsThatOfTheMappingFile) {
    std::string narrow, wide;
    std::map<unsigned, char> byte_of;
    for (const auto& line : mapping_lines(GetParam().file)) {
        const unsigned c = hex_number(line[1]);
        narrow += unit(c);
        wide += unit(c, 4);
        if (line.size() == 2) byte_of[c] = static_cast<char>(hex_number(line[0]));
    }
    std::string source, source4, encoded;
    for (unsigned c = 0; c <= 0x1FFFF; ++c) {
        if (c <= 0xFFFF) source += unit(c);
        source4 += unit(c, 4);
        encoded += byte_of.contains(c) ? byte_of[c] : ebcdic ? '\x6F' : '?';
    }
    const qzstr_charset_info_t& info = _charset_info[row];
    const conv_status_t status = ebcdic ? 2 : 0;
    EXPECT_EQ(run_slot(info.qzstr_to_ucs2_fn, every_byte), (converted{status, 256, 512, narrow}));
    EXPECT_EQ(run_slot(info.qzstr_to_ucs4_fn, every_byte), (converted{status, 256, 1024, wide}));
    EXPECT_EQ(run_slot(info.qzstr_from_ucs2_fn, source), (converted{2, 0x20000, 0x10000, encoded.substr(0, 0x10000)}));
    EXPECT_EQ(run_slot(info.qzstr_from_ucs4_fn, source4), (converted{2, 0x80000, 0x20000, encoded}));
}

TEST_P(SingleByte, DecodesAsTheCLibraryDoes) {
    if (GetParam().iconv_name == nullptr) GTEST_SKIP();
    const peer theirs(GetParam().iconv_name);
    for (const char b : every_byte)
        EXPECT_EQ(run_slot(_charset_info[row].qzstr_to_ucs4_fn, {&b, 1}).bytes,
                  unit(theirs.decoded({b}).value_or(0xFFFD), 4))
            << hex({&b, 1});
}

TEST_P(SingleByte, CaseFollowsTheLettersOfThePage) {
    if (ebcdic) GTEST_SKIP();
    std::string lower = every_byte, upper = every_byte, letters;
    for (int b = 'a'; b <= 'z'; ++b) {
        lower[static_cast<std::size_t>(b - 0x20)] = static_cast<char>(b);
        upper[static_cast<std::size_t>(b)] = static_cast<char>(b - 0x20);
    }
    for (const auto& line : mapping_lines("single_byte_case")) {
        if (line[0] != GetParam().file) continue;
        if (line[1] == "LETTERS") letters = line[2];
        if (line[1] != "LOWER" && line[1] != "UPPER") continue;
        for (std::size_t i = 0; i + 5 <= line[2].size(); i += 6)
            (line[1] == "LOWER" ? lower : upper)[hex_number(line[2].substr(i, 2))] =
                static_cast<char>(hex_number(line[2].substr(i + 3, 2)));
    }
    if (letters.size() == 64) { // where the page has a case map, it is Unicode's within the page
        std::map<unsigned, unsigned> byte_of;
        for (const auto& line : mapping_lines(GetParam().file))
            byte_of[hex_number(line[1])] = hex_number(line[0]);
        for (const bool to_upper : {false, true}) {
            std::string mapped = every_byte;
            for (const auto& [from, to] : unicode_case(to_upper))
                if (byte_of.contains(from) && byte_of.contains(to) && from >= 0x80)
                    mapped[byte_of[from]] = static_cast<char>(byte_of[to]);
            EXPECT_EQ(hex(mapped.substr(0x80)), hex((to_upper ? upper : lower).substr(0x80)));
        }
    }
    if (row == QZSTR_CHARSET_TCVN3) letters = std::string(33, '0') + std::string(31, '1');
    const bool has_letters = letters.size() == 64;
    EXPECT_EQ(hex(cased(_charset_info[row], QZSTR_CASE_LOWER, every_byte)), hex(lower));
    EXPECT_EQ(hex(cased(_charset_info[row], QZSTR_CASE_UPPER, every_byte)), hex(upper));
    for (unsigned b = 0x80; b < 0x100; ++b) {
        const bool letter = has_letters && (b >= 0xC0 || letters[b - 0x80] == '1');
        const std::string word = {'k', static_cast<char>(b), 'k'}, first = {static_cast<char>(b)};
        const std::string expected = {'K', letter ? lower[b] : first[0], letter ? 'k' : 'K'};
        EXPECT_EQ(hex(cased(_charset_info[row], QZSTR_CASE_INITCAP, word)), hex(expected));
        EXPECT_EQ(cased(_charset_info[row], QZSTR_CASE_INITCAP, first)[0], letter ? upper[b] : first[0]);
        EXPECT_EQ(cased(_charset_info[row], QZSTR_CASE_TRIM_UPPER, "\t" + first + " "),
                  upper[b] + std::string("\0 ", 2));
    }
    cased(_charset_info[row], QZSTR_CASE_NONE, "a");
    EXPECT_EQ(take_assertions().size(), 1u);
}

TEST_P(SingleByte, ReducesToAscii) {
    std::string expected;
    const std::string decoded = run_slot(_charset_info[row].qzstr_to_ucs2_fn, every_byte).bytes;
    for (std::size_t b = 0; b < 256; ++b)
        expected += decoded[2 * b] == 0 && decoded[2 * b + 1] >= 0 ? decoded[2 * b + 1] : '?';
    EXPECT_EQ(run_cell(_charset_info, row, QZSTR_CHARSET_ASCII, every_byte), (converted{2, 256, 256, expected}));
    EXPECT_EQ(run_cell(_charset_info, row, QZSTR_CHARSET_ASCII, every_byte, 2),
              (converted{1, 2, 2, every_byte.substr(0, 2)}));
    EXPECT_EQ(run_cell(_charset_info, row, QZSTR_CHARSET_ASCII, "", 0), (converted{0, 0, 0, ""}));
}

TEST(SingleByteSlots, CountingStopsAtANulAndDiagnosticsNameTheSource) {
    char text[] = "A\0B  ";
    for (const member& m : members) {
        if (m.row >= QZSTR_CHARSET_US8ICL || m.row == QZSTR_CHARSET_TCVN3) continue;
        const qzstr_charset_info_t& info = _charset_info[m.row];
        EXPECT_EQ(info.qzstr_count_char_fn(text, 3), m.row == QZSTR_CHARSET_TIS620 ? 3 : 1) << m.file;
        EXPECT_EQ(info.qzstr_count_byte_fn(text, 3), 3) << m.file;
        EXPECT_EQ(info.qzstr_get_first_trailing_space_fn(text, 5), 3) << m.file;
        EXPECT_EQ(info.qzstr_isspace_fn(text, 3), 1) << m.file;
        EXPECT_EQ(position(info, {text, 5}, 7), (ints{4, 4, 5})) << m.file;
        EXPECT_EQ(position(info, {text, 5}, 0), (ints{-1, -1, 0})) << m.file;
        EXPECT_TRUE(take_assertions().empty());
        info.qzstr_count_char_fn(text, -1);
        EXPECT_TRUE(take_assertions()[0].starts_with(std::string("byte_cnt >= 0@common/qzstr/qzstr_") + m.file + ':'));
    }
}

TEST(Iso8859p9, IsCopiedIntoIso8859p2AndConvertedIntoItself) {
    const std::string text = "\xD0\xDD\xFF";
    EXPECT_EQ(run_cell(_charset_info, QZSTR_CHARSET_ISO8859P9, QZSTR_CHARSET_ISO8859P2, text).bytes, text);
    EXPECT_EQ(run_cell(_charset_info, QZSTR_CHARSET_ISO8859P9, QZSTR_CHARSET_ISO8859P9, text),
              (converted{0, 3, 3, text}));
}

TEST(Tis620, AShiftOutPairsWithTheByteAfterIt) {
    const qzstr_charset_info_t& tis = _charset_info[QZSTR_CHARSET_TIS620];
    struct {
        const char* text;
        int characters;
        const char* leading; // is_char_leading_byte of each offset
        int n;
        ints position;
    } const cases[] = {
        {"41 0E 42 43", 3, "1101", 2, {1, 2, 2}},
        {"0E 41 42", 2, "101", 1, {0, 1, 1}},
        {"0E 0E 41", 2, "101", 2, {2, 2, 2}},
        {"41 0E 0E 0E 42", 3, "11011", 3, {3, 4, 3}},
        {"41 0E", 2, "11", 5, {1, 1, 2}},
        {"0E 0E 0E", 2, "101", 9, {2, 2, 2}},
        {"41 00 0E 00 A1", 4, "11101", 3, {2, 3, 3}},
    };
    for (const auto& c : cases) {
        std::string text = unhex(c.text);
        EXPECT_EQ(tis.qzstr_count_char_fn(text.data(), static_cast<int>(text.size())), c.characters) << c.text;
        EXPECT_EQ(boundaries_of(tis, text).leading, c.leading) << c.text;
        EXPECT_EQ(position(tis, text, c.n), c.position) << c.text;
    }
    std::string text = unhex("41 0E 41 41 0E 0E 41 0E");
    EXPECT_EQ(tis.qzstr_count_byte_fn(text.data(), 4), 6);
    EXPECT_EQ(hex(cased(tis, QZSTR_CASE_LOWER, text)), "61 0E 41 61 0E 0E 61 0E");
    EXPECT_EQ(cased(tis, QZSTR_CASE_UPPER,
                    "\x0E"
                    "a"),
              "\x0E"
              "A");
}

TEST(Us8icl, RefusesWhatCountsCasesOrTrims) {
    expect_refusals(_charset_info[QZSTR_CHARSET_US8ICL], "us8icl");
    EXPECT_EQ(position(_charset_info[QZSTR_CHARSET_US8ICL], "abc", 2), (ints{2, 2, 2}));
}

TEST(Us8icl, ReportsGenuineQuestionMarks) {
    const qzstr_charset_info_t& us8icl = _charset_info[QZSTR_CHARSET_US8ICL];
    EXPECT_EQ(run_slot(us8icl.qzstr_to_ucs2_fn, "\xC1"), (converted{0, 1, 2, unit('A')}));
    EXPECT_EQ(run_slot(us8icl.qzstr_to_ucs2_fn, "\x6F"), (converted{2, 1, 2, unit('?')}));
    EXPECT_EQ(run_slot(us8icl.qzstr_from_ucs2_fn, unit('?')), (converted{2, 2, 1, "\x6F"}));
    EXPECT_EQ(run_slot(us8icl.qzstr_from_ucs2_fn, unit('A')), (converted{0, 2, 1, "\xC1"}));
    EXPECT_EQ(run_cell(_charset_info, QZSTR_CHARSET_US8ICL, QZSTR_CHARSET_TCVN3, "\xC1\x6F"),
              (converted{2, 2, 2, "A?"}));
}

TEST(Tcvn3, UpperLosesToneMarks) {
    const qzstr_charset_info_t& tcvn3 = _charset_info[QZSTR_CHARSET_TCVN3];
    EXPECT_EQ(cased(tcvn3, QZSTR_CASE_UPPER, "\xB5\xCA\xA8"), "A\xA2\xA1");
    EXPECT_EQ(cased(tcvn3, QZSTR_CASE_LOWER, "\xA1\xB5"), "\xA8\xB5");
    EXPECT_EQ(run_slot(tcvn3.qzstr_from_ucs2_fn, unit(0xE0) + unit(0x300)), (converted{2, 4, 2, "\xB5?"}));
    EXPECT_EQ(run_slot(tcvn3.qzstr_to_ucs2_fn, "\xA0"), (converted{0, 1, 2, unit(0xFFFD)}));
}

} // namespace
