// GB 18030: all scalar values, pairs and four-byte forms against the C library's converter, positions against plain walks.
#include "repertoire.h"

#include <algorithm>
#include <set>
#include <utility>

using namespace support;

namespace {

const qzstr_charset_info_t& gb = _charset_info[QZSTR_CHARSET_GB18030];

std::string bytes_of(std::initializer_list<int> list) {
    return {list.begin(), list.end()};
}
std::string wide(unsigned c) {
    return units({c}, 4);
}

const peer to_gb("UCS-4BE", "GB18030"), from_gb("GB18030", "UCS-4BE");
const std::string replacement = wide(0xFFFD);

/// Six pairs keep the private-use value of the first edition, since their later one lies beyond the BMP.
const std::map<unsigned, unsigned> kept_private{{0xFE51, 0xE816}, {0xFE52, 0xE817}, {0xFE53, 0xE818},
                                                {0xFE6C, 0xE831}, {0xFE76, 0xE83B}, {0xFE91, 0xE855}};
/// Private-use code points that share a pair with the characters that pushed them out; those win in decoding.
const std::map<unsigned, unsigned> pushed_out{
    {0xE78D, 0xFE10}, {0xE78E, 0xFE12}, {0xE78F, 0xFE11}, {0xE790, 0xFE13}, {0xE791, 0xFE14}, {0xE792, 0xFE15},
    {0xE793, 0xFE16}, {0xE794, 0xFE17}, {0xE795, 0xFE18}, {0xE796, 0xFE19}, {0xE81E, 0x9FB4}, {0xE826, 0x9FB5},
    {0xE82B, 0x9FB6}, {0xE82C, 0x9FB7}, {0xE832, 0x9FB8}, {0xE843, 0x9FB9}, {0xE854, 0x9FBA}, {0xE864, 0x9FBB}};

/// What the editions of the standard, and so the C libraries, disagree about.
bool disputed(unsigned c) {
    static const std::set<unsigned> found = [] {
        std::set<unsigned> all{0x20087, 0x20089, 0x200CC, 0x215D7, 0x2298F, 0x241FE};
        for (const auto& [code, c] : kept_private)
            all.insert(c);
        for (const auto& [loser, winner] : pushed_out)
            all.insert({loser, winner});
        return all;
    }();
    return found.count(c) != 0;
}

TEST(Gb18030, EveryScalarValueGoesThereAndBack) {
    int one_way = 0;
    for (unsigned c = 0; c < 0x110000; ++c) {
        const bool surrogate = c >= 0xD800 && c < 0xE000;
        const converted code = run_slot(gb.qzstr_from_ucs4_fn, wide(c));
        ASSERT_EQ(std::pair(code.status, code.bytes == "?"), std::pair(surrogate ? 2L : 0L, surrogate || c == '?'))
            << c;
        if (surrogate) continue;
        const converted back = run_slot(gb.qzstr_to_ucs4_fn, code.bytes);
        const auto pushed = pushed_out.find(c);
        // U+FFFF has a code that is never decoded.
        const unsigned expected = c == 0xFFFF ? 0xFFFD : pushed == pushed_out.end() ? c : pushed->second;
        ASSERT_EQ(back, (converted{c == 0xFFFF ? 2 : 0, static_cast<int>(code.bytes.size()), 4, wide(expected)}))
            << std::hex << c;
        one_way += expected != c ? 1 : 0;
        ASSERT_EQ(hex(disputed(c) ? code.bytes : to_gb.bytes(wide(c))), hex(code.bytes)) << std::hex << c;
        if (c < 0x10000) {
            const std::string unit = wide(c).substr(2);
            ASSERT_EQ(run_slot(gb.qzstr_from_ucs2_fn, unit), (converted{0, 2, code.written, code.bytes})) << c;
            ASSERT_EQ(run_slot(gb.qzstr_to_ucs2_fn, code.bytes).bytes, wide(expected).substr(2)) << c;
        }
    }
    EXPECT_EQ(one_way, 19);
}

TEST(Gb18030, EveryPairDecodesAsTheCLibrarySays) {
    for (int lead = 0x81; lead <= 0xFF; ++lead)
        for (int trail = 0; trail < 0x100; ++trail) {
            if (trail >= '0' && trail <= '9') continue;
            const std::string pair = bytes_of({lead, trail});
            std::string expected = from_gb.bytes(pair);
            const auto kept = kept_private.find(static_cast<unsigned>(lead << 8 | trail));
            if (kept != kept_private.end()) expected = wide(kept->second);
            ASSERT_EQ(run_slot(gb.qzstr_to_ucs4_fn, pair),
                      (converted{expected.empty() ? 2 : 0, 2, 4, expected.empty() ? replacement : expected}))
                << hex(pair);
        }
}

TEST(Gb18030, EveryFourByteFormDecodesAsTheCLibrarySays) {
    std::vector<unsigned> winners, found;
    for (const auto& [loser, winner] : pushed_out)
        winners.push_back(winner);
    std::sort(winners.begin(), winners.end());
    for (int a = 0x81; a <= 0xFF; ++a)
        for (int b = '0'; b <= '9'; ++b)
            for (int c = 0x80; c <= 0xFF; ++c)
                for (int d = '0' - 1; d <= '9' + 1; ++d) {
                    const std::string form = bytes_of({a, b, c, d});
                    const converted got = run_slot(gb.qzstr_to_ucs4_fn, form);
                    std::string expected = from_gb.bytes(form);
                    if (expected == wide(0xFFFF)) expected.clear();
                    if (const unsigned value = number(got.bytes); disputed(value)) {
                        if (value < 0x10000) found.push_back(value);
                        expected = got.bytes;
                    }
                    ASSERT_EQ(got,
                              (converted{expected.empty() ? 2 : 0, 4, 4, expected.empty() ? replacement : expected}))
                        << hex(form);
                }
    EXPECT_EQ(found, winners);
    for (const auto& [loser, winner] : pushed_out)
        EXPECT_EQ(run_slot(gb.qzstr_from_ucs4_fn, wide(winner)).bytes,
                  run_slot(gb.qzstr_from_ucs4_fn, wide(loser)).bytes);
}

TEST(Gb18030, ConversionsAtTheEdges) {
    const auto utf16 = [](char* str, int len, char* buf, int size, int* read, int* written, uchar) {
        return qzstr_gb18030_get_utf16_str(QZSTR_CHARSET_GB18030, str, len, QZSTR_CHARSET_UTF16, buf, size, read,
                                           written);
    };
    const auto ascii = [](char* str, int len, char* buf, int size, int* read, int* written, uchar) {
        return qzstr_gb18030_get_ascii_str(QZSTR_CHARSET_GB18030, str, len, QZSTR_CHARSET_ASCII, buf, size, read,
                                           written);
    };
    expect_conversions({
        {"beyond the BMP in UCS-2", gb.qzstr_to_ucs2_fn, "90 30 81 30 41", -1, 2, 5, "FF FD 00 41"},
        {"a surrogate pair", utf16, "E3 32 9A 35 41", -1, 0, 5, "DB FF DF FF 00 41"},
        {"no room for both halves", utf16, "41 E3 32 9A 35", 5, 1, 1, "00 41"},
        {"behind the last", utf16, "E3 32 9A 36", -1, 2, 4, "FF FD"},
        {"0x80 takes one byte, but not the last", gb.qzstr_to_ucs2_fn, "80 41 80", -1, 3, 2, "FF FD 00 41"},
        {"0xFF takes two", gb.qzstr_to_ucs2_fn, "FF 41 42 FF", -1, 3, 3, "FF FD 00 42"},
        {"0xFF and a digit take four", gb.qzstr_to_ucs2_fn, "FF 30 41 42 43", -1, 2, 5, "FF FD 00 43"},
        {"three bytes of four", gb.qzstr_to_ucs2_fn, "41 81 30 81", -1, 1, 1, "00 41"},
        {"two bytes of four", gb.qzstr_to_ucs4_fn, "81 39", -1, 1, 0, ""},
        {"a bad fourth byte", gb.qzstr_to_ucs2_fn, "81 30 81 41 42", -1, 2, 5, "FF FD 00 42"},
        {"no room for four", gb.qzstr_from_ucs2_fn, "00 41 00 80", 4, 1, 2, "41"},
        {"surrogates stand alone", gb.qzstr_from_ucs2_fn, "D8 00 DC 00", -1, 2, 4, "3F 3F"},
        {"behind Unicode", gb.qzstr_from_ucs4_fn, "00 11 00 00 00 10 FF FF", -1, 2, 8, "3F E3 32 9A 35"},
        {"one question mark a character", ascii, "41 B0 A1 81 39 81 30 80 FF 41 81", -1, 3, 10, "41 3F 3F 3F 3F"},
        {"not half a form", ascii, "90 30 81", -1, 1, 0, ""},
    });
}

// Characters of every length side by side, in targets of every size: whole ones only, and all that have room.
TEST(Gb18030, MixedLengthsInAnyRoom) {
    std::uint64_t seed = 30;
    const std::string text =
        random_text(seed, 150, {"41", "B0 A1", "81 30 81 30", "90 30 81 30", "95 32 82 36", "E3 32 9A 35"});
    for (const int other : {3, 4})
        for (const bool back : {false, true}) {
            const int from = back ? other : 30, to = back ? 30 : other;
            const std::string source = back ? run_cell(_charset_info, 30, other, text).bytes : text;
            const std::string whole = run_cell(_charset_info, from, to, source).bytes;
            ASSERT_TRUE(!back || whole == text) << other;
            for (int size = static_cast<int>(whole.size()); size-- > 0;) {
                const converted r = run_cell(_charset_info, from, to, source, size);
                ASSERT_EQ(r.status, 1) << size;
                ASSERT_LT(size - r.written, 4) << size;
                ASSERT_EQ(r.bytes, whole.substr(0, r.bytes.size())) << size;
            }
        }
}

/// Where the characters begin, and where the last one ends (behind the text when that cuts it); by the forms, or by the
/// counter's own rule.
std::vector<int> borders(const std::string& text, bool counted) {
    const int len = static_cast<int>(text.size());
    std::vector<int> found{0};
    for (int at = 0; at < len; found.push_back(at)) {
        const bool lead = static_cast<uchar>(text[static_cast<std::size_t>(at)]) > 0x80;
        const int next = at + 1 < len ? text[static_cast<std::size_t>(at) + 1] : 0;
        const bool four = lead && next >= '0' && next <= (counted ? '8' : '9') && (!counted || at + 3 <= len);
        at += four ? 4 : lead ? 2 : 1;
    }
    return found;
}

void expect_forms(const guarded& memory, const std::string& text) {
    const ints border = borders(text, false), counted = borders(text, true);
    const int len = static_cast<int>(text.size()), count = static_cast<int>(border.size()) - 1;
    char* const p = memory.place(text);
    ASSERT_EQ(gb.qzstr_count_char_fn(p, len), static_cast<int>(counted.size()) - 1) << hex(text);
    for (std::size_t n = 0; n + 1 < counted.size(); n += 1 + n / 8)
        ASSERT_EQ(gb.qzstr_count_byte_fn(p, static_cast<int>(n)), counted[n]) << hex(text);
    for (int n = 0; n <= count + 1; n += 1 + n / 8) {
        const int k = n < 1 || n > count ? count : n;
        const auto at = static_cast<std::size_t>(k);
        ASSERT_EQ(position(gb, text, n), (ints{border[at - 1], std::min(border[at], len) - 1, k}))
            << hex(text) << " " << n;
    }
    for (std::size_t k = 0; k + 1 < border.size(); ++k) {
        const int start = border[k], end = border[k + 1] - 1;
        for (int at = start; at <= end && at < len; ++at) {
            const int fills = (at == start && at > 0) || end < len ? 1 : 0; // one that the end cuts takes no column
            ASSERT_EQ(fit(gb, text, at), (ints{start, start, fills})) << hex(text);
            ASSERT_EQ(gb.qzstr_is_char_leading_byte(p, at), at == start) << hex(text) << " " << at;
            ASSERT_EQ(gb.qzstr_get_char_leading_byte(p, at), start) << hex(text) << " " << at;
            ASSERT_EQ(gb.qzstr_is_char_ending_byte(p, at), at == end) << hex(text) << " " << at;
            if (end >= len) continue; // the form of a lead alone depends on the byte behind the text
            ASSERT_EQ(gb.qzstr_get_char_ending_byte(p, at, 0), end) << hex(text) << " " << at;
            ASSERT_EQ(gb.qzstr_get_char_ending_byte(p, at, 1), at == end ? at : start - 1) << hex(text) << " " << at;
        }
    }
}

TEST(Gb18030, PositionsFollowTheForms) {
    const std::string telling = unhex("41 38 39 80 81 FF");
    const guarded memory;
    each_string(telling, 6, [&](const std::string& text) { expect_forms(memory, text); });
    std::string text; // across blocks of a kernel
    for (std::uint64_t i = 0, seed = 1; i < 150; ++i) {
        text += random_text(seed, 1, {"41", "B0 A1", "B0 A1", "FE 40", "81 30 81 30", "81 39 FE 39", "FF FF", "B0 A1"});
        expect_forms(memory, text);
    }
    EXPECT_TRUE(take_assertions().empty());
}

TEST(Gb18030, WithoutALengthTheDigitAloneDecides) {
    const guarded memory;
    EXPECT_EQ(gb.qzstr_count_byte_fn(memory.place("\x81\x30"), 1), 4);
}

TEST(Gb18030, CaseSkipsWholeForms) {
    std::string text = unhex("61 81 61 80 62 FF 7A 81 39 81 20 20 7A FF 7F");
    gb.qzstr_convert_case_fn(QZSTR_CASE_TRIM_UPPER, text.data(), 14);
    EXPECT_EQ(hex(text), "41 81 61 80 42 FF 7A 81 39 81 20 5A FF 00 7F");
    text = "one \x90"
           "0ab two";
    gb.qzstr_convert_case_fn(QZSTR_CASE_INITCAP, text.data(), static_cast<int>(text.size()));
    EXPECT_EQ(text, "One \x90"
                    "0ab Two");
}

} // namespace
