// ASCII, the reference for the operation contract.
#include "support.h"

#include <utility>

using namespace support;

namespace {

const qzstr_charset_info_t& ascii = _charset_info[QZSTR_CHARSET_ASCII];

std::string cased(qzstr_case_t mode, std::string text) {
    text += '\x7F'; // the byte that TRIM_UPPER may need
    ascii.qzstr_convert_case_fn(mode, text.data(), static_cast<int>(text.size()) - 1);
    return text;
}

TEST(Ascii, CountsUpToANul) {
    char text[] = "ab\0cd";
    EXPECT_EQ(ascii.qzstr_count_char_fn(text, 5), 2);
    EXPECT_EQ(ascii.qzstr_count_char_fn(text, 1), 1);
}

TEST(Ascii, Positions) {
    char text[] = "abc";
    int start = 9, end = 9, count = 9;
    ascii.qzstr_get_byte_pos_fn(text, 3, 5, &start, &end, &count);
    EXPECT_EQ(std::vector({start, end, count}), std::vector({2, 2, 3}));
    ascii.qzstr_get_byte_pos_fn(text, 0, 5, &start, &end, nullptr);
    EXPECT_EQ(std::vector({start, end}), std::vector({-1, -1}));
    uchar cut = 9;
    ascii.qzstr_get_byte_pos_with_disp_size_fn(text, 3, 3, &start, &end, &cut);
    EXPECT_EQ(std::vector({start, end, int{cut}}), std::vector({3, 3, 1}));
    ascii.qzstr_get_byte_pos_with_disp_size_fn(text, 3, 4, &start, &end, &cut);
    EXPECT_EQ(std::vector({start, end, int{cut}}), std::vector({3, 3, 0}));
}

TEST(Ascii, TrailingBlanksAreOnlyBlanks) {
    for (const auto& [text, offset] : {std::pair{"ab\t ", 3}, {"   ", 0}, {"", -1}, {"ab\t", -1}, {"ab", -1}})
        EXPECT_EQ(ascii.qzstr_get_first_trailing_space_fn(const_cast<char*>(text), static_cast<int>(strlen(text))),
                  offset)
            << text;
    for (std::size_t blanks = 0; blanks < 200; ++blanks)
        for (const std::string& text : {std::string(), std::string("ab \tc")}) {
            const guarded memory;
            const int begin = static_cast<int>(text.size()), len = begin + static_cast<int>(blanks);
            char* const p = memory.place(text + std::string(blanks, ' '));
            for (const level& l : levels())
                EXPECT_EQ(l.catalogue[QZSTR_CHARSET_ASCII].qzstr_get_first_trailing_space_fn(p, len),
                          blanks == 0 ? -1 : begin)
                    << l.name << " " << blanks;
        }
    char spaces[] = "\t\v \x85\xA0"
                    "a";
    std::string found;
    for (int i = 0; i < 6; ++i)
        found += ascii.qzstr_isspace_fn(spaces, i) != 0 ? '1' : '0';
    EXPECT_EQ(found, "111000");
}

TEST(Ascii, CaseModes) {
    EXPECT_EQ(cased(QZSTR_CASE_UPPER, "a\xE9z{`"), "A\xE9Z{`\x7F");
    EXPECT_EQ(cased(QZSTR_CASE_LOWER, "A\xC9Z[@"), "a\xC9z[@\x7F");
    EXPECT_EQ(cased(QZSTR_CASE_INITCAP, "hello wORLD o'neil 2ND \xE9tE"), "Hello World O'Neil 2nd \xE9Te\x7F");
    EXPECT_EQ(cased(QZSTR_CASE_TRIM_UPPER, " a b ").substr(0, 3), std::string("AB\0", 3));
    EXPECT_EQ(cased(QZSTR_CASE_TRIM_UPPER, "ab"), std::string("AB\0", 3));
    EXPECT_EQ(cased(QZSTR_CASE_NONE, "ab"), "ab\x7F");
    EXPECT_EQ(take_assertions().size(), 1U);
}

TEST(Ascii, Decodes) {
    EXPECT_EQ(run_slot(ascii.qzstr_to_ucs2_fn, "A\xE9"), (converted{0, 2, 4, std::string("\0A\0\xE9", 4)}));
    EXPECT_EQ(run_slot(ascii.qzstr_to_ucs2_fn, "AB", 3, false), (converted{1, 1, 2, std::string("A\0", 2)}));
    EXPECT_EQ(run_slot(ascii.qzstr_to_ucs2_fn, "", 0), (converted{0, 0, 0, ""}));
    EXPECT_EQ(run_slot(ascii.qzstr_to_ucs4_fn, "A", 3), (converted{1, 0, 0, ""}));
}

TEST(Ascii, Encodes) {
    const struct {
        const char* units;
        converted expected;
    } cases[] = {
        {"00 41 00 BF 00 E9 01 60 00 C3 00 C6",
         {0, 12, 6,
          "A\xBF"
          "eS??"}}, // the folding's "?" is no replacement
        {"01 7F 20 AC", {2, 4, 2, "??"}},
        {"00", {1, 0, 0, ""}},
        {"00 41 00 42 00", {1, 4, 2, "AB"}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(run_slot(ascii.qzstr_from_ucs2_fn, unhex(c.units)), c.expected) << c.units;
    EXPECT_EQ(run_slot(ascii.qzstr_from_ucs4_fn, unhex("00 00 00 E9 00 01 00 41")), (converted{2, 8, 2, "?A"}));
}

TEST(Ascii, ToEbcdicRewritesItsSource) {
    char text[] = "A?\xE9", target[] = "xyz";
    int read = -1, written = -1;
    EXPECT_EQ(
        qzstr_ascii_get_us8icl_str(QZSTR_CHARSET_ASCII, text, 3, QZSTR_CHARSET_US8ICL, target, 2, &read, &written), 3);
    EXPECT_EQ(std::string(text), "\xC1\x6F\xE9");
    EXPECT_STREQ(target, "xyz");
    EXPECT_EQ(std::pair(read, written), std::pair(2, 2));
}

} // namespace
