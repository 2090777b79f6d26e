// Big5, CP950 and HKSCS text: the whole repertoire against the C library, round trips, the oddities that are kept.
#include "repertoire.h"

using namespace support;

namespace {

constexpr int big5 = QZSTR_CHARSET_ZHT16BIG5, hkscs = QZSTR_CHARSET_MSWIN950, cp950 = QZSTR_CHARSET_ZHT16MSWIN950;
constexpr int all[] = {big5, hkscs, cp950};

const qzstr_charset_info_t& row(int id) {
    return _charset_info[id];
}
bool is_user_defined(char32_t c) {
    return c - 0xE000 < 0x1900;
}

bool is_pair(unsigned code) {
    const unsigned trail = code & 0xFF;
    return code < 0xFF00 && trail >= 0x40 && trail <= 0xFE && (trail <= 0x7E || trail >= 0xA1);
}

TEST(Big5, EveryPairAndEveryCodePoint) {
    // CP950's reading of rows A1 and A2, and codes of Big5-2003.
    const std::string added = "A15A A1C3 A1C5 A1FE-A240 A2CC A2CE A3C0-A3E1 C6CF C6D3 C6D5 C6D7";
    const std::string other = "A145 A14E A1C2 A1E3 A1F2-A1F3 A241-A242 A244 A246-A247";
    const std::string returning = "A2CC A2CE F9E9-F9EB F9F9-F9FD";
    const std::string otherwise = "A2-A3 A5 2022 203E 223C 2593 2609 2641 2F02-2F03 2F05 2F07 2F0C-2F0E 2F13 2F16 2F19 "
                                  "2F1B 2F22 2F27 2F2E 2F34 2F39-2F3A 2F41 2F67 2FA1 FF3E FF64";
    EXPECT_EQ(compare(big5, "BIG5", 0x8100, is_pair, 0x10000, is_user_defined),
              (comparison{19271, 19269, "C6A1-C8FE F9D6-F9FE", "", "", "A2CC A2CE",
                          "A2-A3 A5 2022 203E 223C 2609 2641 FF64"}));
    // In 16 bits, what lies beyond the BMP and HKSCS-2001 are lacking. Codes for two characters count as none. HKSCS-2001 ends before the peer's edition does. Code points of the
    // user-defined areas whose codes HKSCS has taken over do not come back.
    EXPECT_EQ(compare(hkscs, "BIG5-HKSCS", 0x8100, is_pair, 0x30000, is_user_defined),
              (comparison{19674, 17925, "8CDD-8CE4 8CE6-8CFE", added, other, returning, otherwise}));
    EXPECT_EQ(compare(cp950, "BIG5-HKSCS", 0x8100, is_pair, 0x30000, is_user_defined),
              (comparison{19708, 18075, "", added, other, returning, otherwise}));
}

TEST(Big5, DecodesToUcs2AndUcs4) {
    const struct {
        std::vector<int> ids;
        const char* text;
        int read;
        conv_status_t status;
        std::initializer_list<char32_t> ucs2, ucs4;
        int ucs4_read;
    } cases[] = {
        {{big5, hkscs, cp950}, "A3 E1", 2, 0, {0x20AC}, {0x20AC}, 2},
        {{big5, hkscs, cp950}, "81 40 A1 45", 4, 0, {0xEEB8, 0x2027}, {0xEEB8, 0x2027}, 4},
        {{big5, hkscs, cp950}, "41 80 FF 42", 4, 2, {'A', 0xFFFD, 0xFFFD, 'B'}, {'A', 0xFFFD, 0xFFFD, 'B'}, 4},
        {{big5, hkscs, cp950}, "41 C8", 1, 1, {'A'}, {'A'}, 1},
        {{big5}, "8E 40 FA 40", 4, 0, {0xE311, 0xE000}, {0xE311, 0xE000}, 4},
        // Beyond the BMP in UCS-4, the user-defined area in UCS-2.
        {{hkscs, cp950}, "8E 40 FA 40", 4, 0, {0xE311, 0xE000}, {0x23ED7, 0x20547}, 4},
        // An invalid pair: in UCS-2 the byte behind it goes along, also where there is none.
        {{big5}, "C7 A1 41 42", 4, 2, {0xFFFD, 0xFFFD, 'B'}, {0xFFFD, 'A', 'B'}, 4},
        {{big5}, "C8 41", 3, 2, {0xFFFD, 0xFFFD}, {0xFFFD}, 2},
        {{big5}, "A4 39 A4 40", 4, 2, {0xFFFD, 0xFFFD, '@'}, {0xFFFD, 0x4E00}, 4},
        // In the others an invalid trail is no trail, an unmapped pair two bytes.
        {{hkscs, cp950}, "A4 39 A4 40", 4, 2, {0xFFFD, '9', 0x4E00}, {0xFFFD, '9', 0x4E00}, 4},
        {{hkscs, cp950}, "A3 E2 41", 3, 2, {0xFFFD, 'A'}, {0xFFFD, 'A'}, 3},
        {{hkscs, cp950}, "C6 E7 A3 C0 A3 E0", 6, 0, {0x3041, 0x2400, 0x2421}, {0x3041, 0x2400, 0x2421}, 6},
        // HKSCS-2001: of the BMP, beyond it, behind the last code.
        {{hkscs}, "8C 40 8C 42 8C FE", 6, 2, {0x503B, 0xF579, 0xFFFD}, {0x503B, 0x29C73, 0xFFFD}, 6},
        {{cp950}, "8C 40 8C 42 8C FE", 6, 0, {0xF577, 0xF579, 0xF613}, {0xF577, 0xF579, 0xF613}, 6},
    };
    for (const auto& c : cases)
        for (const int id : c.ids) {
            EXPECT_EQ(run_slot(row(id).qzstr_to_ucs2_fn, unhex(c.text)),
                      (converted{c.status, c.read, static_cast<int>(c.ucs2.size() * 2), units(c.ucs2, 2)}))
                << id << ": " << c.text;
            EXPECT_EQ(run_cell(_charset_info, id, QZSTR_CHARSET_UTF16, unhex(c.text)).bytes, units(c.ucs2, 2));
            const converted u4 = run_slot(row(id).qzstr_to_ucs4_fn, unhex(c.text));
            EXPECT_EQ(hex(u4.bytes), hex(units(c.ucs4, 4))) << id << ": " << c.text;
            EXPECT_EQ(u4.read, c.ucs4_read) << id << ": " << c.text;
        }
    // Both units of an invalid pair must fit.
    EXPECT_EQ(run_slot(row(big5).qzstr_to_ucs2_fn, "\xC7\xA1\x41", 3), (converted{1, 0, 0, ""}));
}

TEST(Big5, Encodes) {
    const struct {
        std::vector<int> ids;
        std::initializer_list<char32_t> text;
        const char *from_ucs2, *from_ucs4 = from_ucs2;
    } cases[] = {
        {{big5, hkscs, cp950},
         {0xAF, 0x2CD, 0x2027, 0x20AC, 0x2215, 0x2295, 0x2299, 0x2574, 0xFE51, 0xFE68},
         "A1 C2 A1 C5 A1 45 A3 E1 A2 41 A1 F2 A1 F3 A1 5A A1 4E A2 42"},
        {{big5, hkscs, cp950},
         {0xFF0F, 0xFF3C, 0xFF5E, 0xFFE0, 0xFFE1, 0xFFE3, 0xFFE5},
         "A1 FE A2 40 A1 E3 A2 46 A2 47 A1 C3 A2 44"},
        {{big5, hkscs, cp950}, {0xE000, 0xE311, 0xEEB8, 0xF6B0, 0xF6B1}, "FA 40 8E 40 81 40 8D FE 3F"},
        // Rows that vendors disagree about are Big5-2003's, or nobody's.
        {{big5}, {0x2460, 0x3041}, "3F 3F"},
        {{hkscs, cp950}, {0x2460, 0x3041, 0x241F, 0x2420}, "C6 A1 C6 E7 A3 DF 3F"},
        {{hkscs, cp950}, {0x2550, 0x7881}, "A2 A4 F9 D6"},
        // HKSCS-2001 is reached from 32-bit units only.
        {{hkscs}, {0x503B}, "3F", "8C 40"},
        {{big5, cp950}, {0x503B}, "3F"},
    };
    for (const auto& c : cases)
        for (const int id : c.ids) {
            EXPECT_EQ(hex(run_slot(row(id).qzstr_from_ucs2_fn, units(c.text, 2)).bytes), c.from_ucs2) << id;
            EXPECT_EQ(hex(run_slot(row(id).qzstr_from_ucs4_fn, units(c.text, 4)).bytes), c.from_ucs4) << id;
        }
    EXPECT_EQ(encoded(row(big5), 0x10041), "A"); // the high half is ignored
    EXPECT_EQ(encoded(row(hkscs), 0x10041), std::nullopt);
    EXPECT_EQ(encoded(row(hkscs), 0x29C73), "\x8C\x42");
    EXPECT_EQ(encoded(row(cp950), 0x29C73), std::nullopt);
    EXPECT_EQ(encoded(row(cp950), 0x20547), "\xFA\x40");
    EXPECT_EQ(run_slot(row(big5).qzstr_from_ucs2_fn, units({0x20AC}, 2), 1), (converted{1, 0, 0, ""}));
}

TEST(Big5, ReducesToAsciiAndStaysAtAByteThatIsNoLead) {
    const struct {
        const char* text;
        int room;
        converted expected;
    } cases[] = {{"C8", 4, {3, 0, 4, "????"}},
                 {"41 FF 42", 3, {3, 1, 3, "A??"}},
                 {"41 A4 0A 42", 8, {2, 4, 3, "A?B"}},
                 {"41 A4", 8, {1, 1, 1, "A"}}};
    for (const int id : all)
        for (const int target : {QZSTR_CHARSET_ASCII, QZSTR_CHARSET_TCVN3})
            for (const auto& c : cases)
                EXPECT_EQ(run_cell(_charset_info, id, target, unhex(c.text), c.room), c.expected) << id << c.text;
}

TEST(Big5, Positions) {
    const std::string text = unhex("41 C7 A4 40 A4 39 C8 41 A4");
    for (const int id : all) {
        guarded buffer;
        char* const p = buffer.place(text);
        // C7 and C8 count alone, though they decode as leads.
        EXPECT_EQ(row(id).qzstr_count_char_fn(p, static_cast<int>(text.size())), 7);
        EXPECT_EQ(row(id).qzstr_count_byte_fn(p, 3), 4);
        const boundaries found = boundaries_of(row(id), text);
        // 39 is no trail for a leading byte, and a byte below 0x80 always ends a character.
        EXPECT_EQ(found.leading, "111011111");
        EXPECT_EQ(found.ending, "101101010");
        EXPECT_EQ(position(row(id), text, 9), (ints{8, 8, 7}));
        EXPECT_EQ(fit(row(id), text, 3), (ints{2, 2, 1}));
    }
}

TEST(Big5, CaseSkipsTrailBytes) {
    for (const int id : all) {
        std::string text = unhex("61 A4 61 C7 61 20 A4 20 7A 55");
        row(id).qzstr_convert_case_fn(QZSTR_CASE_TRIM_UPPER, text.data(), static_cast<int>(text.size()) - 1);
        EXPECT_EQ(hex(text.substr(0, 9)), "41 A4 61 C7 41 A4 20 5A 00") << id;
    }
}

TEST(Big5, Diagnostics) {
    take_assertions();
    row(hkscs).qzstr_count_char_fn(nullptr, -1);
    row(hkscs).qzstr_to_ucs2_fn(nullptr, 0, nullptr, 0, nullptr, nullptr, 1);
    const std::string source = "@common/qzstr/qzstr_mswin950:";
    EXPECT_EQ(take_assertions(), (std::vector{"str != NULL" + source + "146", "str != NULL" + source + "380",
                                              "ucs2 != NULL" + source + "381", "write_len != NULL" + source + "382"}));
}

} // namespace
