// The scanner's findings: what they say of known texts, that they do not depend on how a text arrives, and that they agree
// with what the conversion of the whole text does, for every pair of charsets on well-formed and malformed text.
#include "cut.h"
#include "samples.h"
#include "scan.h"

#include <gtest/gtest.h>

namespace {

using namespace std::literals;
using qzscan::Scanner;

/// "reason@offset/character/line:column=bytes" of each finding.
std::string told(const std::vector<qzscan::Finding>& findings) {
    std::string text;
    for (const auto& [place, bytes, reason] : findings) {
        text += (text.empty() ? ""s : " "s) + name_of(reason) + "@" + std::to_string(place.offset) + "/" +
                std::to_string(place.character) + "/" + std::to_string(place.line) + ":" +
                std::to_string(place.column) + "=";
        for (const unsigned char byte : bytes)
            text += "0123456789ABCDEF"[byte >> 4], text += "0123456789ABCDEF"[byte & 15];
    }
    return text;
}

/// The text in pieces of `size` bytes.
Scanner scan_in_pieces(qzstr_charset_t from, qzstr_charset_t to, std::string_view text, std::size_t size) {
    Scanner scanner(from, to);
    std::string pending;
    for (bool at_end = false; !at_end;) {
        pending += text.substr(0, size);
        at_end = text.empty();
        text.remove_prefix(std::min(size, text.size()));
        while (const std::size_t length = scanner.step(pending, at_end))
            pending.erase(0, length);
    }
    EXPECT_TRUE(pending.empty());
    return scanner;
}

TEST(Scan, TellsWhatAndWhere) {
    const std::string many(10000, 'x');
    const struct {
        qzstr_charset_t from, to;
        std::string text;
        const char* findings;
        bool returns;
    } cases[] = {
        {QZSTR_CHARSET_UTF8, QZSTR_CHARSET_EUCKR, "안녕 abc\n", "", true},
        {QZSTR_CHARSET_UTF8, QZSTR_CHARSET_EUCKR, "안\n녕é🍣x\xFF",
         "unmappable@7/4/2:2=C3A9 unmappable@9/5/2:3=F09F8DA3 bad@14/7/2:5=FF", false},
        {QZSTR_CHARSET_UTF8, QZSTR_CHARSET_UTF16, "🍣é\xE3\x81", "truncated@6/3/1:3=E381", false},
        {QZSTR_CHARSET_UTF8, QZSTR_CHARSET_UTF8, "a\xE3!zz", "bad@1/2/1:2=E3217A", true},
        {QZSTR_CHARSET_UTF8, QZSTR_CHARSET_ASCII, "é?Ãẵ",
         "altered@0/1/1:1=C3A9 unmappable@3/3/1:3=C383 unmappable@5/4/1:4=E1BAB5", false},
        {QZSTR_CHARSET_UTF8, QZSTR_CHARSET_EUCKR, many + "\n\n" + many + "é" + many,
         "unmappable@20002/20003/3:10001=C3A9", false},
        {QZSTR_CHARSET_ASCII, QZSTR_CHARSET_EUCKR, "a\xB0\xA1", "bad@1/2/1:2=B0 bad@2/3/1:3=A1", false},
        {QZSTR_CHARSET_ASCII, QZSTR_CHARSET_US8ICL, "What?\n", "", true},
        {QZSTR_CHARSET_US8ICL, QZSTR_CHARSET_ASCII, "\xC1\x6F\x81", "", true},
        {QZSTR_CHARSET_US8ICL, QZSTR_CHARSET_UTF8, "\xC1\xFF", "bad@1/2/1:2=FF", false},
        {QZSTR_CHARSET_TCVN3, QZSTR_CHARSET_TCVN3, "a\x80", "bad@1/2/1:2=80", true},
        {QZSTR_CHARSET_EUCKR, QZSTR_CHARSET_EUCKR, "\xB0\xA1\xB0", "truncated@2/2/1:2=B0", true},
        {QZSTR_CHARSET_MSWIN936, QZSTR_CHARSET_UTF8, "\xB0\xA1\xB0", "truncated@2/2/1:2=B0", false},
        // In UCS-2 an invalid pair takes the byte behind it along; the reduction to ASCII never gets over C8 or 80.
        {QZSTR_CHARSET_ZHT16BIG5, QZSTR_CHARSET_UTF8, "\xC7\xA1z\n", "bad@0/1/1:1=C7A17A", false},
        {QZSTR_CHARSET_ZHT16BIG5, QZSTR_CHARSET_TCVN3, "a\x80z", "bad@1/2/1:2=80", false},
        {QZSTR_CHARSET_GB18030, QZSTR_CHARSET_EUCKR, "\x90\x30\x81\x30z", "unmappable@0/1/1:1=90308130", false},
        {QZSTR_CHARSET_GB18030, QZSTR_CHARSET_UTF16, "\x90\x30\x81\x30z", "", true},
        {QZSTR_CHARSET_UTF16, QZSTR_CHARSET_UTF8, "\0a\n\x0A\0\n\xD8\0\0z\0"s,
         "bad@6/4/2:1=D800007A truncated@10/5/2:2=00", false},
        {QZSTR_CHARSET_ISO8859P9, QZSTR_CHARSET_ISO8859P2, "A\xD0", "altered@1/2/1:2=D0", false},
        {QZSTR_CHARSET_ISO2022KR, QZSTR_CHARSET_UTF8,
         "\x1B$)C\x0E"
         "0!\x0F"
         "a\n",
         "", true},
        {QZSTR_CHARSET_ISO2022KR, QZSTR_CHARSET_ASCII,
         "\x1B$)C\x0E"
         "0!0!\x0F"
         "a\n",
         "unmappable@5/1/1:1=3021 unmappable@7/2/1:2=3021", false},
        {QZSTR_CHARSET_ISO2022KR, QZSTR_CHARSET_EUCKR,
         "\x0E"
         "a\x1B(B\x1B$)C\n\x0E"
         "0!\x80\x0F",
         "bad@0/1/1:1=0E bad@2/3/1:3=1B bad@13/8/2:2=80", false},
        {QZSTR_CHARSET_ISO2022KR, QZSTR_CHARSET_ISO2022KR,
         "\x1B$)C\x0E"
         "0",
         "truncated@5/1/1:1=30", true},
        {QZSTR_CHARSET_UTF8, QZSTR_CHARSET_ISO2022KR, "가a\x0E나", "unmappable@4/3/1:3=0E", false},
        // か゚ is one code. æ and a grave are one too, so their two codes do not come back.
        {QZSTR_CHARSET_SJIS, QZSTR_CHARSET_UTF8, "\x82\xF5\n", "", true},
        {QZSTR_CHARSET_SJIS, QZSTR_CHARSET_UTF8, "\x85\x7B\x86\x7Bz", "altered@0/1/1:1=857B867B", false},
        {QZSTR_CHARSET_SJIS, QZSTR_CHARSET_UTF8, many.substr(0, 4095) + "\x85\x7B\x86\x7B" + many,
         "altered@4095/4096/1:4096=857B867B", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(qzconv::info(c.from).name + " to "s + qzconv::info(c.to).name);
        const Scanner scanner = qzscan::scan(c.from, c.to, c.text);
        EXPECT_EQ(told(scanner.findings), c.findings);
        EXPECT_EQ(scanner.totals().round_trip_exact, c.returns);
        EXPECT_EQ(scanner.totals().all(), scanner.findings.size());
    }
}

TEST(Scan, AgreesWithTheConversionOfTheWhole) {
    std::mt19937 random(7);
    for (int a = 0; a < QZSTR_CHARSET_MAX; ++a)
        for (int b = 0; b < QZSTR_CHARSET_MAX; ++b) {
            const auto from = static_cast<qzstr_charset_t>(a), to = static_cast<qzstr_charset_t>(b);
            SCOPED_TRACE(qzconv::info(from).name + " to "s + qzconv::info(to).name);
            for (const std::string& text : {sample(from), telling_bytes(random, 200), telling_bytes(random, 300, true),
                                            telling_bytes(random, 3)}) {
                const Scanner scanner = qzscan::scan(from, to, text);
                const std::string findings = told(scanner.findings);
                ASSERT_EQ(scanner.place().offset, text.size());
                for (const std::size_t size : {3, 37})
                    ASSERT_EQ(told(scan_in_pieces(from, to, text, size).findings), findings);

                qzscan::Buffer there, back;
                const qzscan::Converted whole = qzscan::convert(from, to, text, there);
                const bool returns = qzscan::convert(to, from, whole.output, back).output == text;
                const bool us8icl = from == QZSTR_CHARSET_US8ICL || to == QZSTR_CHARSET_US8ICL;
                if (findings.empty()) {
                    EXPECT_TRUE(us8icl || whole.status == 0);
                    EXPECT_EQ(whole.read, text.size());
                    EXPECT_TRUE(returns || from == QZSTR_CHARSET_ISO2022KR);
                }
                EXPECT_TRUE(from == QZSTR_CHARSET_ISO2022KR || scanner.totals().round_trip_exact == returns)
                    << findings;
                EXPECT_FALSE(whole.status != 0 && !us8icl && findings.empty());
            }
        }
}

TEST(Cut, KeepsWholeCharacters) {
    const std::string korean = "\x1B$)C\x0E"
                               "0!0\"\x0F"
                               "a";
    const struct {
        qzstr_charset_t charset;
        std::string text;
        std::string (*cut)(qzstr_charset_t, std::string_view, std::size_t);
        std::size_t limit;
        std::string left;
    } cases[] = {
        {QZSTR_CHARSET_UTF8, "a가나", qzscan::cut_to_bytes, 6, "a가"},
        {QZSTR_CHARSET_UTF8, "a가나", qzscan::cut_to_bytes, 7, "a가나"},
        {QZSTR_CHARSET_UTF8, "가", qzscan::cut_to_bytes, 0, ""},
        {QZSTR_CHARSET_MSWIN949,
         "\x81"
         "A\x81"
         "A",
         qzscan::cut_to_bytes, 3,
         "\x81"
         "A"},
        {QZSTR_CHARSET_UTF16, "\0a\xD8\x3C\xDF\x63\0b"s, qzscan::cut_to_bytes, 5, "\0a"s},
        {QZSTR_CHARSET_GB18030, "\x90\x30\x81\x30z", qzscan::cut_to_bytes, 3, ""},
        {QZSTR_CHARSET_UTF8, "a가나", qzscan::cut_to_characters, 2, "a가"},
        {QZSTR_CHARSET_ASCII, "a\0b"s, qzscan::cut_to_characters, 3, "a\0b"s},
        {QZSTR_CHARSET_UTF8, "a가나", qzscan::cut_to_columns, 4, "a가"},
        {QZSTR_CHARSET_US8ICL, "\xC1\xC2\xC3", qzscan::cut_to_bytes, 2, "\xC1\xC2"},
        {QZSTR_CHARSET_US8ICL, "\xC1\xC2\xC3", qzscan::cut_to_columns, 1, "\xC1"},
        {QZSTR_CHARSET_ISO2022KR, korean, qzscan::cut_to_bytes, 7, ""}, // no room for the closing shift
        {QZSTR_CHARSET_ISO2022KR, korean, qzscan::cut_to_bytes, 8, korean.substr(0, 7) + "\x0F"},
        {QZSTR_CHARSET_ISO2022KR, korean, qzscan::cut_to_characters, 3, korean},
        {QZSTR_CHARSET_ISO2022KR, korean, qzscan::cut_to_columns, 3, korean.substr(0, 7) + "\x0F"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.cut(c.charset, c.text, c.limit), c.left) << qzconv::info(c.charset).name << " " << c.limit;

    const auto after = [](qzstr_charset_t to, std::size_t limit) {
        return qzscan::cut_to_converted_bytes(QZSTR_CHARSET_UTF8, "가나a", to, limit);
    };
    EXPECT_EQ(after(QZSTR_CHARSET_EUCKR, 4), "가나");
    EXPECT_EQ(after(QZSTR_CHARSET_UTF16, 3), "가");
    EXPECT_EQ(after(QZSTR_CHARSET_ISO2022KR, 7), ""); // designator, shift, two bytes, shift
    EXPECT_EQ(after(QZSTR_CHARSET_ISO2022KR, 8), "가");
    EXPECT_EQ(after(QZSTR_CHARSET_ISO2022KR, 9), "가"); // 10 bytes for both
}

} // namespace
