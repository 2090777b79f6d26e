// Shift-JIS and its tilde row: the repertoire from the mapping files, compositions, room, boundaries, the oddities kept.
#include "japanese.h"

using namespace japanese;

namespace {

constexpr int sjis = QZSTR_CHARSET_SJIS, tilde = QZSTR_CHARSET_SJIS_TILDE;

row_under_test expected(int row) {
    row_under_test t{row, {}, {}, 1, true};
    shift_jis_layers::jisx0213(t, [](char32_t) { return true; });
    t.encodes[{0x2225}] = "\x81\x61", t.encodes[{0xFF0D}] = "\x81\x7C", t.encodes[{0xFF5E}] = "\x81\x60";
    shift_jis_layers::user_defined(t);
    shift_jis_layers::jisx0208(t);
    shift_jis_layers::single_bytes(t);
    t.encodes[{0xA5}] = "\\", t.encodes[{0x203E}] = "~";
    t.decodes["\\"] = {0xA5}, t.decodes["~"] = {0x203E};
    if (row == tilde)
        t.decodes["\x81\x60"] = {0xFF5E}, t.decodes["\x81\x61"] = {0x2225}, t.decodes["\x81\x7C"] = {0xFF0D};
    return t;
}

class ShiftJis : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Rows, ShiftJis, testing::Values(sjis, tilde));

TEST_P(ShiftJis, EverySequenceCodePointAndComposition) {
    const row_under_test t = expected(GetParam());
    t.expect_repertoire(shift_jis_sequences(), t.encodes);
}

TEST(ShiftJisRows, AgreeWithTheCLibraryButFor) {
    const decoding mine = expected(sjis).decodes;
    EXPECT_EQ(read_otherwise("SJIS", mine, shift_jis_sequences()), "");
    // In leads F0 to F9 it has JIS X 0213's plane 2 where the row has the user-defined area.
    std::vector<std::string> rest = shift_jis_sequences();
    std::erase_if(rest, [](const std::string& s) { return s[0] >= '\xF0' && s[0] <= '\xF9'; });
    EXPECT_EQ(read_otherwise("SHIFT_JISX0213", mine, rest), "815C"); // U+2015, not U+2014
}

TEST(ShiftJisRows, Conversions) {
    expect_conversions({
        {"backslash and tilde are not what they were", decoder(sjis), "5C 7E", -1, 0, 2, "00 A5 20 3E"},
        {"backslash and tilde pass", encoder(sjis), "00 5C 00 7E", -1, 0, 4, "5C 7E"},
        {"a lone lead", decoder(sjis), "41 81", -1, 1, 1, "00 41"},
        {"a lone user-defined lead", decoder(sjis), "F0", -1, 1, 0, ""},
        {"a lone JIS X 0213 lead", decoder(sjis), "FC", -1, 1, 0, ""},
        {"no lead", decoder(sjis), "FD 80 A0", -1, 2, 3, "FF FD FF FD FF FD"},
        {"beyond 16 bits the next byte is lost", decoder(sjis), "F4 E4 88 61 41 42", -1, 2, 6, "E3 93 FF FD 00 42"},
        {"read past the end", decoder(sjis), "88 61", -1, 2, 3, "FF FD"},
        {"a base and its mark need room for both", decoder(sjis), "41 82 F5", 4, 1, 1, "00 41"},
        {"a stray byte", encoder(sjis), "00 41 30", -1, 1, 2, "41"},
        {"ASCII asks for two bytes", encoder(sjis), "00 41 00 42 00 43", 2, 1, 2, "41"},
        {"so does the replacement", encoder(sjis), "0E 01 0E 01", 2, 3, 2, "3F"},
        {"katakana do not", encoder(sjis), "FF 71 FF 72", 2, 0, 4, "B1 B2"},
        {"one byte that asks for two of room", encoder(sjis), "00 41", 1, 1, 0, ""},
        {"a composition in its room", encoder(sjis), "30 4B 30 9A", 2, 0, 4, "82 F5"},
        {"a composition without room", encoder(sjis), "FF 71 30 4B 30 9A", 2, 1, 2, "B1"},
        {"a base at the end", encoder(sjis), "30 4B", -1, 0, 2, "82 A9"},
        {"a base before half a mark", encoder(sjis), "30 4B 30", -1, 1, 2, "82 A9"},
        {"a mark alone", encoder(sjis), "30 9A 03 00", -1, 2, 4, "3F 86 7B"},
        {"tilde row", decoder(tilde), "81 60 81 61 81 7C", -1, 0, 6, "FF 5E 22 25 FF 0D"},
    });
    EXPECT_EQ(run_slot(_charset_info[sjis].qzstr_to_ucs4_fn, "\x82\xF5", 7), (converted{1, 0, 0, ""}));
    EXPECT_EQ(run_cell(_charset_info, tilde, QZSTR_CHARSET_UTF16, "\x81\x60").bytes, "\x30\x1C");
}

TEST(ShiftJisRows, ComposeAcrossAPivotsChunks) {
    // U+0254 and U+0300 in EUC-JP, then the same with the tone letters, which are base and mark at once.
    for (const auto& [source, composed] : {std::pair("\xAB\xB8\xAB\xDC", "\x86\x67"), {"\xAB\xE4\xAB\xE0", "\x86\x85"}})
        for (const int row : {sjis, tilde})
            for (std::size_t before = 15996; before < 16003; ++before) {
                const std::string text(before, 'a');
                const converted c = run_cell(_charset_info, QZSTR_CHARSET_EUCJP, row, text + source + "b");
                ASSERT_EQ(hex(c.bytes.substr(before - 1)), hex("a" + std::string(composed) + "b")) << before;
                ASSERT_EQ(std::pair(c.status, c.read), std::pair(0L, static_cast<int>(before) + 5)) << before;
            }
}

TEST(ShiftJisRows, ReducesToAscii) {
    EXPECT_EQ(run_cell(_charset_info, sjis, 0, unhex("41 5C 7E B1 83 41 EB 42 FD 43")),
              (converted{2, 10, 9, "A?????B?C"}));
    EXPECT_EQ(run_cell(_charset_info, sjis, QZSTR_CHARSET_TCVN3, unhex("41 83")), (converted{1, 1, 1, "A"}));
}

TEST(ShiftJisRows, PositionsCountFewerLeadsThanTheDecoder) {
    const auto size = [](uchar b) {
        return (b >= 0x81 && b <= 0x9F) || (b >= 0xE0 && b <= 0xEA) || (b >= 0xF0 && b <= 0xF9) ? 2 : 1;
    };
    each_string(unhex("20 5C 80 81 B1 EA EB F0 F9 FC"), 4,
                [&](const std::string& text) { expect_positions(sjis, text, size, true); });
}

TEST(ShiftJisRows, BoundariesGoByTheRunOfBytesThatAreNoCharacterAlone) {
    static const guarded memory;
    const auto& row = _charset_info[sjis];
    each_string(unhex("20 41 7F 83 A0 B1 FD"), 5, [&](const std::string& text) {
        char* const p = memory.place(text);
        boundaries expected;
        for (int at = 0, run = 0; at < 5; ++at) { // run: such bytes before `at`
            const auto b = static_cast<uchar>(text[static_cast<std::size_t>(at)]);
            const bool alone = b < 0x80 || b == 0xB1;
            const bool starts = run % 2 == 0 || b == 0x20 || b == 0x7F, ends = alone || run % 2 != 0;
            expected.leading += starts ? '1' : '0';
            expected.ending += ends ? '1' : '0';
            expected.start.push_back(starts ? at : at - 1);
            expected.behind.push_back(ends ? at : at + 1);
            expected.ahead.push_back(ends ? at : at - 1);
            ASSERT_EQ(row.qzstr_isspace_fn(p, at), starts && b == 0x20) << hex(text) << " " << at;
            run = alone ? 0 : run + 1;
        }
        ASSERT_TRUE(boundaries_of(row, text) == expected) << hex(text);
    });
}

TEST(ShiftJisRows, Case) {
    std::string text = unhex("61 5C 62 B1 63 83 61 64 20 EB 65");
    const auto& row = _charset_info[tilde];
    row.qzstr_convert_case_fn(QZSTR_CASE_INITCAP, text.data(), 11);
    EXPECT_EQ(hex(text), "41 5C 42 B1 43 83 61 44 20 EB 45");
    row.qzstr_convert_case_fn(QZSTR_CASE_LOWER, text.data(), 11);
    EXPECT_EQ(hex(text), "61 5C 62 B1 63 83 61 64 20 EB 65");
    row.qzstr_convert_case_fn(QZSTR_CASE_TRIM_UPPER, text.data(), 11);
    EXPECT_EQ(hex(text), "41 5C 42 B1 43 83 61 44 EB 45 00");
}

TEST(ShiftJisRows, NameTheirSources) {
    char byte = 'a';
    int length = 0;
    _charset_info[sjis].qzstr_to_ucs2_fn(nullptr, 1, &byte, 1, &length, &length, 1);
    _charset_info[tilde].qzstr_is_char_leading_byte(&byte, -1);
    _charset_info[tilde].qzstr_to_ucs4_fn(&byte, 1, nullptr, 1, &length, &length, 1);
    const auto reported = take_assertions();
    ASSERT_EQ(reported.size(), 3U);
    EXPECT_EQ(reported[0], "str != NULL@common/qzstr/qzstr_sjis:462");
    EXPECT_EQ(reported[1], "byte_offset >= 0@common/qzstr/qzstr_sjis:274");
    EXPECT_TRUE(reported[2].starts_with("ucs4 != NULL@common/qzstr/qzstr_sjis_tld:")) << reported[2];
}

} // namespace
