// The C++ header: that views, spans and units reach the C interface and come back right; what a charset does is tested
// in its own file.
#include "qzstr.hpp"

#include <array>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using qzstr::charset;

const charset utf8 = QZSTR_CHARSET_UTF8, utf16 = QZSTR_CHARSET_UTF16, ascii = QZSTR_CHARSET_ASCII;

TEST(QzstrHpp, FindsCharsetsByAnyName) {
    const struct {
        const char* name;
        int id;
    } rows[] = {{"MSWIN949", QZSTR_CHARSET_MSWIN949},
                {"ko16mswin949", QZSTR_CHARSET_MSWIN949},
                {"Shift-JIS", QZSTR_CHARSET_SJIS},
                {"UTF-16BE", QZSTR_CHARSET_UTF16},
                {"", -1},
                {"UTF-8 ", -1}};
    for (const auto& row : rows) {
        const auto found = charset::named(row.name);
        ASSERT_EQ(found.has_value(), row.id >= 0) << row.name;
        if (found) {
            EXPECT_EQ(found->id(), row.id) << row.name;
        }
    }
    EXPECT_EQ(charset::named(std::string_view("UTF8...", 4)), utf8);
    EXPECT_FALSE(charset::numbered(-1) || charset::numbered(QZSTR_CHARSET_MAX));
    EXPECT_EQ(charset::numbered(3), utf8);
    EXPECT_EQ(utf8.name(), "UTF8");
    EXPECT_EQ(utf16.canonical_name(), "UTF-16BE");
    EXPECT_EQ(utf8.max_bytes_per_char(), 4u);
    EXPECT_FALSE(charset(QZSTR_CHARSET_US8ICL).has_positions());
}

TEST(QzstrHpp, MeasuresViews) {
    const std::string_view text = "a한글  ";
    EXPECT_EQ(utf8.count(text), 5u);
    EXPECT_EQ(utf8.count({}), 0u);
    const struct {
        std::size_t number, begin, end, found;
    } characters[] = {{1, 0, 1, 1}, {3, 4, 7, 3}, {9, 8, 9, 5}, {std::size_t(1) << 40, 8, 9, 5}};
    for (const auto& row : characters) {
        const qzstr::character c = utf8.find(text, row.number);
        EXPECT_EQ(c.begin, row.begin);
        EXPECT_EQ(c.end, row.end);
        EXPECT_EQ(c.number, row.found);
    }
    EXPECT_EQ(utf8.find({}, 1).end, 0u);
    const qzstr::prefix cut = utf8.fit(text, 4);
    EXPECT_EQ(cut.bytes, 4u);
    EXPECT_EQ(cut.columns, 3u);
    EXPECT_TRUE(cut.filled);
    EXPECT_LE(charset(QZSTR_CHARSET_MSWIN949).fit("a\xC7", 9).bytes, 2u); // never beyond the view
    EXPECT_EQ(utf8.without_trailing_blanks(text), "a한글");
    EXPECT_EQ(utf8.without_trailing_blanks("x"), "x");
    EXPECT_EQ(utf8.without_trailing_blanks({}), "");
}

TEST(QzstrHpp, ChangesCaseInPlace) {
    std::string text = "der Äpfel";
    utf8.upper(text);
    EXPECT_EQ(text, "DER ÄPFEL");
    utf8.initcap(text);
    EXPECT_EQ(text.substr(0, 3), "Der");
    std::array<char, 3> array = {'A', 'B', 'C'};
    ascii.lower(array);
    EXPECT_EQ(std::string(array.data(), 3), "abc");
    utf8.lower({});
}

TEST(QzstrHpp, ConvertsAndResumes) {
    const std::string_view text = "한글!";
    char small[4];
    qzstr::result r = utf8.convert(text, utf16, small);
    EXPECT_TRUE(r.stopped() && !r.replaced() && !r.exact());
    EXPECT_EQ(r.read, 6u);
    EXPECT_EQ(std::string(small, r.written), std::string("\xD5\x5C\xAE\0", 4));
    r = utf8.convert(text.substr(r.read), utf16, small);
    EXPECT_TRUE(r.exact());
    EXPECT_EQ(std::string(small, r.written), std::string("\0!", 2));
    r = utf8.convert(text, charset(QZSTR_CHARSET_KOI8R), small);
    EXPECT_TRUE(r.replaced());
    EXPECT_EQ(std::string(small, r.written), std::string(2, '?') + "!");
    EXPECT_TRUE(utf8.convert(text, utf16, {}).stopped());
    EXPECT_TRUE(utf8.convert({}, utf16, {}).exact());
    r = utf8.convert("한\xEA\xB8", charset(QZSTR_CHARSET_EUCKR), small); // the C interface reports status 0
    EXPECT_TRUE(r.stopped() && !r.exact());
    EXPECT_EQ(r.read, 3u);
    const std::string lone_lead = "a\xC7";
    std::array<char, 16> out;
    EXPECT_LE(charset(QZSTR_CHARSET_MSWIN949).convert(lone_lead, utf8, out).read, lone_lead.size());
}

TEST(QzstrHpp, AsciiToEbcdicLeavesTheSourceAlone) {
    const std::string source = "AB?\x80";
    std::array<char, 3> target;
    const qzstr::result r = ascii.convert(source, charset(QZSTR_CHARSET_US8ICL), target);
    EXPECT_EQ(source, "AB?\x80");
    EXPECT_EQ(std::string(target.data(), 3), "\xC1\xC2\x6F");
    EXPECT_TRUE(r.stopped());
    EXPECT_EQ(r.read, 3u);
    EXPECT_EQ(r.written, 3u);
}

TEST(QzstrHpp, CountsUnits) {
    char16_t narrow[8];
    std::vector<char32_t> wide(8);
    const qzstr::result in16 = utf8.decode("a한", narrow), in32 = utf8.decode("a한\xF0\x9F\x98\x80", wide);
    EXPECT_EQ(std::u16string(narrow, in16.written), u"a한");
    EXPECT_EQ(std::u32string(wide.data(), in32.written), U"a한\U0001F600");
    EXPECT_EQ(in32.read, 8u);
    std::string back(8, '\0');
    qzstr::result r = utf8.encode(std::u32string_view(wide.data(), in32.written), back);
    EXPECT_EQ(r.read, 3u);
    EXPECT_EQ(back.substr(0, r.written), "a한\xF0\x9F\x98\x80");
    r = charset(QZSTR_CHARSET_EUCKR).encode(u"한", back);
    EXPECT_EQ(back.substr(0, r.written), "\xC7\xD1");
}

} // namespace
