// CP932 and its tilde row: the repertoire from the mapping files, what differs from Shift-JIS, the oddities kept.
#include "japanese.h"

using namespace japanese;

namespace {

constexpr int cp932 = QZSTR_CHARSET_MSWIN932, tilde = QZSTR_CHARSET_MSWIN932_TILDE;

row_under_test expected(int row) {
    row_under_test t{row, {}, {}, 1, true};
    row_under_test standard = t;
    shift_jis_layers::jisx0208(standard);
    // Kana are JIS X 0208's before they can meet their mark.
    shift_jis_layers::jisx0213(t, [&](char32_t base) { return !standard.encodes.contains({base}); });
    shift_jis_layers::user_defined(t);
    t.encodes[{0x2225}] = "\x81\x61", t.encodes[{0xFF0D}] = "\x81\x7C", t.encodes[{0xFF5E}] = "\x81\x60";
    for (const auto& line : read_mapping("cp932ext")) {
        const std::string bytes = sequence({line.code >> 8, line.code & 0xFF});
        t.decodes[bytes] = line.to;
        if (!line.decode_only) t.encodes[line.to] = bytes;
    }
    shift_jis_layers::jisx0208(t);
    shift_jis_layers::single_bytes(t);
    t.encodes[{0xA5}] = "\\";
    if (row == tilde) t.decodes["\x81\x60"] = {0xFF5E};
    return t;
}

class Cp932 : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Rows, Cp932, testing::Values(cp932, tilde));

TEST_P(Cp932, EverySequenceCodePointAndComposition) {
    const row_under_test t = expected(GetParam());
    t.expect_repertoire(shift_jis_sequences(), t.encodes);
}

TEST(Cp932Rows, AgreeWithTheCLibraryButFor) {
    // JIS X 0208's own reading of six signs; the tilde row follows in the first.
    const std::vector<std::string> all = shift_jis_sequences();
    EXPECT_EQ(read_otherwise("WINDOWS-31J", expected(cp932).decodes, all), "8160-8161 817C 8191-8192 81CA");
    EXPECT_EQ(read_otherwise("WINDOWS-31J", expected(tilde).decodes, all), "8161 817C 8191-8192 81CA");
}

TEST(Cp932Rows, Conversions) {
    expect_conversions({
        {"ASCII is itself", decoder(cp932), "5C 7E", -1, 0, 2, "00 5C 00 7E"},
        {"the yen sign in one byte of room", encoder(cp932), "00 A5", 1, 0, 2, "5C"},
        {"the overline has no code", encoder(cp932), "20 3E", -1, 2, 2, "3F"},
        {"and its replacement asks for two bytes", encoder(cp932), "20 3E", 1, 1, 0, ""},
        {"NEC before IBM before NEC-selected", encoder(cp932), "21 60 21 70 7E 8A", -1, 0, 6, "87 54 FA 40 FA 5C"},
        {"the not sign of both sets", encoder(cp932), "00 AC FF E2", -1, 0, 4, "81 CA FA 54"},
        {"a hole among the extensions", decoder(cp932), "ED 7F EE ED 41", -1, 2, 5, "FF FD 91 23 00 41"},
        {"kana and mark stay two", encoder(cp932), "30 4B 30 9A", -1, 2, 4, "82 A9 3F"},
        {"an ainu kana composes", encoder(cp932), "31 F7 30 9A", -1, 0, 4, "83 F6"},
        {"FD is one byte", decoder(cp932), "FD 41", -1, 2, 2, "FF FD 00 41"},
        {"tilde row", decoder(tilde), "81 60 81 61", -1, 0, 4, "FF 5E 20 16"},
    });
    EXPECT_EQ(run_cell(_charset_info, tilde, QZSTR_CHARSET_UTF16, "\x81\x60").bytes, "\x30\x1C");
    EXPECT_EQ(run_cell(_charset_info, cp932, 0, unhex("41 5C 7E B1 83 41 EC 42 FD 43")),
              (converted{2, 10, 8, "A\\~???B?"}));
}

TEST(Cp932Rows, PositionsCountOtherLeadsThanTheDecoder) {
    const auto size = [](uchar b) {
        const bool lead = (b >= 0x81 && b <= 0x9F) || (b >= 0xE0 && b <= 0xEA) || b == 0xED || b == 0xEE || b >= 0xF0;
        return lead ? 2 : 1;
    };
    each_string(unhex("20 80 87 B1 EB EC ED EF F0 FF"), 4,
                [&](const std::string& text) { expect_positions(cp932, text, size, true); });
}

TEST(Cp932Rows, CaseStepsOverThem) {
    std::string text = unhex("61 5C 62 FF 61 EC 61");
    _charset_info[cp932].qzstr_convert_case_fn(QZSTR_CASE_UPPER, text.data(), 7);
    EXPECT_EQ(hex(text), "41 5C 42 FF 61 EC 41");
}

} // namespace
