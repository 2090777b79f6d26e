// EUC-JP and its tilde row: the repertoire from the mapping files with every form of two and three bytes, compositions,
// positions and boundaries, the oddities kept.
#include "japanese.h"

using namespace japanese;

namespace {

constexpr int eucjp = QZSTR_CHARSET_EUCJP, tilde = QZSTR_CHARSET_EUCJP_TILDE;

std::string euc(unsigned plane, unsigned code) {
    const std::string pair = sequence({(code >> 8 & 0xFF) + 0x80, (code & 0xFF) + 0x80});
    return plane == 1 ? pair : "\x8F" + pair;
}

row_under_test expected(int row) {
    row_under_test t{row, {}, {}, 0, false};
    t.encodes[{0xA5}] = "\\", t.encodes[{0x203E}] = "~";
    char32_t user = 0xE000;
    const auto user_defined = [&](bool encodes) {
        user = 0xE000;
        for (const unsigned plane : {1, 2})
            for (unsigned code = 0x7521; code <= 0x7E7E; code += (code & 0xFF) == 0x7E ? 0xA3 : 1) {
                t.decodes[euc(plane, code)] = {user};
                if (encodes) t.encodes[{user}] = euc(plane, code);
                ++user;
            }
    };
    user_defined(true);
    std::vector<mapping_line> sets[] = {read_mapping("jisx0212"), read_mapping("jisx0208")};
    for (const auto& line : read_mapping("jisx0213")) {
        const auto has_base = [&](const mapping_line& other) { return other.to[0] == line.to[0]; };
        const std::string bytes = euc(line.code >> 16, line.code & 0xFFFF);
        t.decodes[bytes] = line.to;
        // A base that an older set has is written before it can meet its mark.
        if (line.to.size() == 2 && (std::any_of(sets[0].begin(), sets[0].end(), has_base) ||
                                    std::any_of(sets[1].begin(), sets[1].end(), has_base)))
            continue;
        t.encodes[line.to] = bytes;
    }
    user_defined(false);
    for (const unsigned plane : {2, 1})
        for (const auto& line : sets[2 - plane])
            t.decodes[euc(plane, line.code)] = line.to, t.encodes[line.to] = euc(plane, line.code);
    for (unsigned b = 0; b < 0x80; ++b)
        t.decodes[sequence({b})] = {b}, t.encodes[{b}] = sequence({b});
    for (unsigned b = 0xA1; b < 0xE0; ++b)
        t.decodes[sequence({0x8E, b})] = {0xFEC0 + b}, t.encodes[{0xFEC0 + b}] = sequence({0x8E, b});
    if (row == tilde) t.decodes["\xA1\xC1"] = {0xFF5E}, t.encodes[{0xFF5E}] = "\xA1\xC1";
    return t;
}

std::vector<std::string> all_sequences() {
    std::vector<std::string> all;
    for (unsigned b = 0; b < 0x100; ++b)
        for (unsigned second = 0; second < 0x100; ++second) {
            if (b == 0x8F)
                for (unsigned third = 0; third < 0x100; ++third)
                    all.push_back(sequence({b, second, third}));
            else if (b == 0x8E || (b >= 0xA1 && b <= 0xFE))
                all.push_back(sequence({b, second}));
            else if (second == 0)
                all.push_back(sequence({b}));
        }
    return all;
}

class EucJp : public testing::TestWithParam<int> {};
INSTANTIATE_TEST_SUITE_P(Rows, EucJp, testing::Values(eucjp, tilde));

TEST_P(EucJp, EverySequenceCodePointAndComposition) {
    const row_under_test t = expected(GetParam());
    // The tilde row's from_ucs4 is the base row's.
    t.expect_repertoire(all_sequences(), expected(eucjp).encodes);
}

TEST(EucJpRows, AgreeWithTheCLibraryButFor) {
    std::vector<std::string> longer = all_sequences(); // it takes bytes 80 to A0 for control characters
    std::erase_if(longer, [](const std::string& s) { return s.size() == 1; });
    EXPECT_EQ(read_otherwise("EUC-JP", expected(eucjp).decodes, longer), "");
}

TEST(EucJpRows, Conversions) {
    expect_conversions({
        {"no kana", decoder(eucjp), "8E E0 41", -1, 2, 3, "FF FD 00 41"},
        {"three bytes at a time, right or wrong", decoder(eucjp), "8F 41 42 43", -1, 2, 4, "FF FD 00 43"},
        {"cut after the first", decoder(eucjp), "41 8F", -1, 1, 1, "00 41"},
        {"cut after the second", decoder(eucjp), "8F A1", -1, 1, 0, ""},
        {"cut before it shows to be wrong", decoder(eucjp), "8F 41", -1, 1, 0, ""},
        {"a lone lead", decoder(eucjp), "8E", -1, 1, 0, ""},
        {"bytes that lead nothing", decoder(eucjp), "80 A0 FF", -1, 2, 3, "FF FD FF FD FF FD"},
        {"no base and mark towards 16 bits", decoder(eucjp), "A4 F7 41", -1, 2, 3, "FF FD 00 41"},
        {"yen sign and overline come without a flag", encoder(eucjp), "00 A5 20 3E", -1, 0, 4, "5C 7E"},
        {"three bytes need their room", encoder(eucjp), "4E 02", 2, 1, 0, ""},
        {"a base of JIS X 0212 stays alone", encoder(eucjp), "00 E6 03 00", -1, 0, 4, "8F A9 C1 AB DC"},
        {"full-width tilde", encoder(eucjp), "FF 5E 30 1C", -1, 0, 4, "8F A2 B7 A1 C1"},
        {"tilde row decodes", decoder(tilde), "A1 C1 A1", -1, 1, 2, "FF 5E"},
        {"tilde row encodes", encoder(tilde), "FF 5E 30 1C", -1, 0, 4, "A1 C1 A1 C1"},
    });
    EXPECT_EQ(run_cell(_charset_info, tilde, QZSTR_CHARSET_UTF16, "\xA1\xC1").bytes, "\xFF\x5E");
    EXPECT_EQ(run_slot(_charset_info[eucjp].qzstr_to_ucs4_fn, "\xA4\xF7", 7), (converted{1, 0, 0, ""}));
    EXPECT_EQ(run_cell(_charset_info, eucjp, 0, unhex("41 8E B1 8F A1 A1 80 A1 41 8F A1")),
              (converted{3, 9, 5, "A????"}));
}

int size_of(uchar b) {
    return b == 0x8F ? 3 : b == 0x8E || (b >= 0xA1 && b <= 0xFE) ? 2 : 1;
}

TEST(EucJpRows, Positions) {
    for (const std::size_t length : {1, 3, 5})
        each_string(unhex("20 80 8E 8F A1 FE FF"), length,
                    [&](const std::string& text) { expect_positions(eucjp, text, size_of, false); });
}

TEST(EucJpRows, BoundariesGoByRunsOfHighBytes) {
    static const guarded memory;
    const auto& row = _charset_info[tilde];
    each_string(unhex("20 8E 8F A1 FE"), 6, [&](const std::string& text) {
        char* const p = memory.place(text);
        for (int at = 0, start = 0, end = -1; at < 6; ++at) { // the character that holds `at`
            const auto b = static_cast<uchar>(text[static_cast<std::size_t>(at)]);
            if (at > end || b < 0xA1) start = at, end = at + size_of(b) - 1;
            ASSERT_EQ(row.qzstr_is_char_leading_byte(p, at), at == start) << hex(text) << " " << at;
            ASSERT_EQ(row.qzstr_get_char_leading_byte(p, at), start) << hex(text) << " " << at;
            ASSERT_EQ(row.qzstr_is_char_ending_byte(p, at), at == end) << hex(text) << " " << at;
            ASSERT_EQ(row.qzstr_get_char_ending_byte(p, at, 0), end) << hex(text) << " " << at;
            ASSERT_EQ(row.qzstr_get_char_ending_byte(p, at, 1), at == end ? at : start - 1) << hex(text) << " " << at;
            ASSERT_EQ(row.qzstr_isspace_fn(p, at), b == 0x20) << hex(text) << " " << at;
        }
    });
}

TEST(EucJpRows, CaseStepsOverThreeBytes) {
    std::string text = unhex("61 20 8F A1 61 8E 62 80 63 20 20 A1 20 64");
    _charset_info[eucjp].qzstr_convert_case_fn(QZSTR_CASE_TRIM_UPPER, text.data(), 13);
    EXPECT_EQ(hex(text), "41 8F A1 61 8E 62 80 43 A1 20 00 A1 20 64");
}

TEST(EucJpRows, NameTheirSources) {
    char byte = 'a';
    int length = 0;
    EXPECT_EQ(_charset_info[tilde].qzstr_count_char_fn(&byte, -1), 0);
    _charset_info[tilde].qzstr_from_ucs2_fn(&byte, 1, nullptr, 1, &length, &length, 1);
    const auto reported = take_assertions();
    ASSERT_EQ(reported.size(), 2U);
    EXPECT_EQ(reported[0], "byte_cnt >= 0@common/qzstr/qzstr_eucjp:196");
    EXPECT_TRUE(reported[1].starts_with("str != NULL@common/qzstr/qzstr_eucjp_tld:")) << reported[1];
}

} // namespace
