// EUC-KR, the reference double-byte family.
#include "repertoire.h"

using namespace support;

namespace {

const qzstr_charset_info_t& euckr = _charset_info[QZSTR_CHARSET_EUCKR];

TEST(Euckr, EveryPairAndEveryCodePoint) {
    // A2E8 is a later addition to the standard, here kept out.
    EXPECT_EQ(compare(
                  QZSTR_CHARSET_EUCKR, "EUC-KR", 0xA100, [](unsigned code) { return code < 0xFF00; }, 0x10000,
                  [](char32_t) { return false; }),
              (comparison{8226, 8226, "A2E8", "", "", "", ""}));
}

TEST(Euckr, ConvertsTellingBytes) {
    const struct {
        const char* source;
        int room;
        converted to_ucs2, to_ascii;
    } cases[] = {
        {"B0 A1", -1, gives(0, 2, "AC 00"), gives(2, 2, "3F")},
        {"B0", -1, gives(1, 0, ""), gives(1, 0, "")},
        {"C9 A1", -1, gives(2, 2, "FF FD"), gives(2, 2, "3F")},
        {"B0 41", -1, gives(2, 2, "FF FD"), gives(2, 2, "3F")},
        {"80", -1, gives(2, 1, "FF FD"), gives(2, 1, "3F")},
        {"FF", -1, gives(2, 1, "FF FD"), gives(2, 1, "3F")},
        {"B0 A1 B0 A1", 3, gives(1, 2, "AC 00"), gives(2, 4, "3F 3F")},
        {"", 0, gives(0, 0, ""), gives(0, 0, "")},
        {"B0 A1", 0, gives(1, 0, ""), gives(1, 0, "")},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(run_slot(euckr.qzstr_to_ucs2_fn, unhex(c.source), c.room), c.to_ucs2) << c.source;
        EXPECT_EQ(run_cell(_charset_info, 1, 10, unhex(c.source), c.room), c.to_ascii) << c.source;
    }
    EXPECT_EQ(run_slot(euckr.qzstr_to_ucs4_fn, "\xB0\x41", 4, false), gives(2, 2, "FD FF 00 00"));
    EXPECT_EQ(run_slot(euckr.qzstr_from_ucs4_fn, unhex("00 01 AC 00")),
              gives(0, 4, "B0 A1")); // KEPT: high half ignored
    EXPECT_EQ(run_slot(euckr.qzstr_from_ucs2_fn, unhex("AC 00"), 1), gives(1, 0, ""));
    EXPECT_EQ(run_slot(euckr.qzstr_from_ucs2_fn, unhex("41"), 4), gives(1, 0, ""));
    EXPECT_EQ(run_slot(euckr.qzstr_from_ucs2_fn, unhex("D8 00 00 41")), gives(2, 4, "3F 41"));
    EXPECT_EQ(run_cell(_charset_info, 1, 2, "\xB0\xA1", 1), gives(1, 1, "B0")); // KEPT: the copy looks at no character
}

TEST(Euckr, ShiftsInto7Bits) {
    const struct {
        const char* source;
        int room;
        converted expected;
    } cases[] = {
        {"41 B0 A1 0A B0 A1", -1, gives(0, 6, "41 1B 24 29 43 0E 30 21 0F 0A 1B 24 29 43 0E 30 21 0F")},
        {"B0 A1 41 B0 A1", -1, gives(0, 5, "1B 24 29 43 0E 30 21 0F 41 0E 30 21 0F")},
        {"B0 A1", 8, gives(0, 2, "1B 24 29 43 0E 30 21 0F")},
        {"B0 A1", 7, gives(1, 2, "1B 24 29 43 0E 30 21")}, // nothing can resume this: only the closing shift is missing
        {"B0 A1", 6, gives(1, 0, "")},
        {"B0 A1 41", 8, gives(1, 2, "1B 24 29 43 0E 30 21")},
        {"B0 A1 B0", -1, gives(1, 2, "1B 24 29 43 0E 30 21")}, // no closing shift at an incomplete end
        {"B0 A1 80", -1, gives(1, 2, "1B 24 29 43 0E 30 21")},
        {"B0 A1 81 41", -1, gives(2, 4, "1B 24 29 43 0E 30 21 0F 3F 41")}, // KEPT: only the lead is replaced
        {"B0 A1 81 B0 A1", -1, gives(2, 5, "1B 24 29 43 0E 30 21 0F 3F 0E 30 21 0F")},
    };
    for (const auto& c : cases)
        for (const int from : {1, 2})
            EXPECT_EQ(run_cell(_charset_info, from, 33, unhex(c.source), c.room), c.expected) << c.source;
}

TEST(Euckr, Boundaries) {
    const struct {
        const char *text, *leading, *ending;
        int chars;
    } cases[] = {
        {"B0 A1", "11", "01", 1}, // KEPT: byte 0 is not examined; ending bytes go by the high bit alone
        {"41 B0 A1", "110", "101", 2},      {"80 41", "11", "01", 2},
        {"41 80 A1 B0", "1110", "1010", 3}, {"B0 A1 B0 A1 B0", "11010", "01010", 3},
        {"A0 FF B0", "111", "010", 3},
    };
    for (const auto& c : cases) {
        std::string text = unhex(c.text);
        const auto [leading, ending, start, behind, ahead] = boundaries_of(euckr, text);
        for (std::size_t i = 0; i < text.size(); ++i) {
            const int at = static_cast<int>(i);
            EXPECT_EQ(start[i], leading[i] == '1' ? at : at - 1);
            EXPECT_EQ(ahead[i], ending[i] == '1' ? at : at - 1);
            EXPECT_EQ(behind[i], ending[i] == '1' ? at : at + 1);
        }
        EXPECT_EQ(leading, c.leading) << c.text;
        EXPECT_EQ(ending, c.ending) << c.text;
        EXPECT_EQ(euckr.qzstr_count_char_fn(text.data(), static_cast<int>(text.size())), c.chars) << c.text;
        EXPECT_EQ(euckr.qzstr_count_byte_fn(text.data(), 1), c.text[0] == 'B' ? 2 : 1);
    }
}

TEST(Euckr, PositionsAndWidth) {
    const struct {
        const char* text;
        int n;
        ints position, cut; // the n-th character; the prefix of n columns
    } cases[] = {
        {"41 B0 A1", 1, {0, 0, 1}, {1, 1, 1}}, {"41 B0 A1", 2, {1, 2, 2}, {1, 1, 1}},
        {"41 B0 A1", 3, {1, 2, 2}, {3, 3, 1}}, {"41 B0 A1", 4, {1, 2, 2}, {3, 3, 0}},
        {"41 B0", 2, {1, 1, 2}, {1, 1, 0}}, // a lead alone is a character without a column
        {"B0 A1 41", 0, {2, 2, 2}, {0, 0, 1}}, {"", 1, {-9, -9, -9}, {0, 0, 0}},
        {"80 FF 41", 2, {1, 1, 2}, {2, 2, 1}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(position(euckr, unhex(c.text), c.n), c.position) << c.text << " " << c.n;
        EXPECT_EQ(fit(euckr, unhex(c.text), c.n), c.cut) << c.text << " " << c.n;
    }
}

TEST(Euckr, Case) {
    const struct {
        qzstr_case_t mode;
        const char *before, *after;
    } cases[] = {
        {QZSTR_CASE_LOWER, "41 B0 41 5A 80 41 FF 42", "61 B0 41 7A 80 61 FF 62"},
        {QZSTR_CASE_UPPER, "61 B0 61 7A 80 61", "41 B0 61 5A 80 41"},
        {QZSTR_CASE_INITCAP, "61 42 B0 A1 63 64 31 61 27 65", "41 62 B0 A1 43 64 31 61 27 45"},
        {QZSTR_CASE_TRIM_UPPER, "20 61 09 B0 20 62 B0", "41 B0 20 42 B0 00"},
        {QZSTR_CASE_MAX, "41 61", "41 61"},
    };
    for (const auto& c : cases) {
        std::string text = unhex(c.before) + '\x7F';
        euckr.qzstr_convert_case_fn(c.mode, text.data(), static_cast<int>(text.size()) - 1);
        EXPECT_EQ(hex(text).substr(0, strlen(c.after)), c.after);
    }
    EXPECT_EQ(take_assertions(), std::vector<std::string>{"false@common/qzstr/qzstr_euckr:931"});
}

TEST(Euckr, Assertions) {
    char text[] = "A";
    int n = 0;
    euckr.qzstr_count_char_fn(nullptr, 1);
    euckr.qzstr_count_byte_fn(text, -1);
    euckr.qzstr_is_char_leading_byte(text, -1);
    EXPECT_EQ(euckr.qzstr_get_char_ending_byte(text, -4, 0), -4);
    euckr.qzstr_get_byte_pos_fn(text, 1, 1, &n, nullptr, nullptr);
    euckr.qzstr_from_ucs2_fn(text, 0, text, 1, nullptr, nullptr, 1);
    qzstr_euckr_get_ascii_str(QZSTR_CHARSET_EUCKR, text, 1, QZSTR_CHARSET_ASCII, nullptr, 1, &n, &n);
    qzstr_euckr_get_iso2022kr_str(QZSTR_CHARSET_EUCKR, nullptr, 1, QZSTR_CHARSET_ISO2022KR, text, 1, &n, &n);
    const std::string at = "@common/qzstr/qzstr_euckr:";
    EXPECT_EQ(take_assertions(),
              (std::vector<std::string>{"str != NULL" + at + "238", "char_cnt >= 0" + at + "266",
                                        "byte_offset >= 0" + at + "296", "byte_offset >= 0" + at + "369",
                                        "end_pos != NULL" + at + "403", "write_len != NULL" + at + "536",
                                        "buf != NULL" + at + "46", "str != NULL" + at + "147"}));
}

} // namespace
