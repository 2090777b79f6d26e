// GBK: the whole repertoire against the C library's converter, user-defined areas, positions, the oddities that are kept.
#include "repertoire.h"

#include <algorithm>
#include <utility>

using namespace support;

namespace {

const qzstr_charset_info_t& gbk = _charset_info[QZSTR_CHARSET_MSWIN936];

constexpr int unmapped = 0xFFFD;

/// The code point of a sequence, big-endian on the way; `unmapped` when it is replaced.
int decode(std::string_view sequence) {
    const converted c = run_slot(gbk.qzstr_to_ucs4_fn, sequence);
    EXPECT_EQ(std::pair(c.status, c.read), std::pair(c.bytes == unhex("00 00 FF FD") ? 2L : 0L, 2)) << hex(sequence);
    return static_cast<uchar>(c.bytes[2]) << 8 | static_cast<uchar>(c.bytes[3]);
}

std::string encode(int c) {
    const std::string unit{static_cast<char>(c >> 8), static_cast<char>(c)};
    const converted e = run_slot(gbk.qzstr_from_ucs2_fn, unit);
    EXPECT_EQ(e.status, e.bytes == "?" && c != '?' ? 2 : 0) << std::hex << c;
    return e.bytes;
}

std::string two(int lead, int trail) {
    return {static_cast<char>(lead), static_cast<char>(trail)};
}
int index(int trail, int first, int hole) {
    return trail - first - (trail > hole ? 1 : 0);
}

TEST(Gbk, EveryPairDecodesAsTheCLibrarySaysOrIsUserDefined) {
    const peer theirs("GBK");
    int mapped = 0;
    for (int lead = 0x81; lead <= 0xFE; ++lead)
        for (int trail = 0; trail < 0x100; ++trail) {
            const auto c = theirs.decoded(two(lead, trail));
            int expected = unmapped;
            if (c)
                expected = static_cast<int>(*c);
            else if (lead == 0xA2 && trail >= 0xA1 && trail <= 0xAA)
                expected = 0x2170 + trail - 0xA1;
            else if (lead >= 0xAA && lead <= 0xAF && trail >= 0xA1 && trail < 0xFF)
                expected = 0xE000 + 94 * (lead - 0xAA) + trail - 0xA1;
            else if (lead >= 0xF8 && trail >= 0xA1 && trail < 0xFF)
                expected = 0xE000 + 94 * (lead - 0xF2) + trail - 0xA1;
            else if ((lead == 0xA1 || lead == 0xA2) && trail >= 0x40 && trail <= 0xA0 && trail != 0x7F)
                expected = 0xE4C6 + 96 * (lead - 0xA1) + index(trail, 0x40, 0x7F);
            mapped += expected != unmapped ? 1 : 0;
            ASSERT_EQ(decode(two(lead, trail)), expected) << hex(two(lead, trail));
        }
    EXPECT_EQ(mapped, 23205);
}

TEST(Gbk, EveryCodePointEncodesAsTheCLibrarySaysOrIsUserDefined) {
    const peer theirs("UTF-16BE", "GBK");
    for (int c = 0x80; c < 0x10000; ++c) {
        std::string expected = theirs.bytes(two(c >> 8, c & 0xFF));
        const bool one_way = c == 0x00B7 || c == 0x2014 || (c >= 0x2170 && c <= 0x2179);
        if (one_way || expected.empty()) expected = "?";
        if (c == 0x20AC) expected = "\x80";
        if (c >= 0xE000 && c <= 0xE4C5) {
            const int row = (c - 0xE000) / 94;
            expected = two(row + (row < 6 ? 0xAA : 0xF2), (c - 0xE000) % 94 + 0xA1);
        } else if (c >= 0xE4C6 && c <= 0xE585) { // 94 in a row, not the 96 of decoding
            const int column = (c - 0xE4C6) % 94;
            expected = two(0xA1 + (c - 0xE4C6) / 94, column + (column < 0x3F ? 0x40 : 0x41));
        }
        ASSERT_EQ(hex(encode(c)), hex(expected)) << std::hex << c;
    }
}

TEST(Gbk, ConversionsAtTheEdges) {
    expect_conversions({
        {"the Euro in one byte", gbk.qzstr_to_ucs2_fn, "80", -1, 0, 1, "20 AC"},
        {"0xFF costs two bytes", gbk.qzstr_to_ucs2_fn, "41 FF", -1, 2, 3, "00 41 FF FD"},
        {"0xFF takes the byte after it along", gbk.qzstr_to_ucs2_fn, "FF 41 42", -1, 2, 3, "FF FD 00 42"},
        {"0xFF without room", gbk.qzstr_to_ucs2_fn, "41 FF", 3, 1, 1, "00 41"},
        {"an ASCII byte in a bad pair is lost", gbk.qzstr_to_ucs2_fn, "81 0A 42", -1, 2, 3, "FF FD 00 42"},
        {"a lone lead", gbk.qzstr_to_ucs2_fn, "41 81", -1, 1, 1, "00 41"},
        {"nothing into nothing", gbk.qzstr_to_ucs2_fn, "", 0, 0, 0, ""},
        {"wide units", gbk.qzstr_to_ucs4_fn, "B0 A1 80", 8, 0, 3, "00 00 55 4A 00 00 20 AC"},
        {"no room for a pair", gbk.qzstr_from_ucs2_fn, "00 41 55 4A", 2, 1, 2, "41"},
        {"a stray byte", gbk.qzstr_from_ucs2_fn, "20 AC 00", -1, 1, 2, "80"},
        {"only 16 bits count", gbk.qzstr_from_ucs4_fn, "00 01 00 41 00 02 55 4A", -1, 0, 8, "41 B0 A1"},
        {"Roman numerals are one-way", gbk.qzstr_from_ucs2_fn, "21 70 20 15 30 FB", -1, 2, 6, "3F A8 44 3F"},
    });
}

TEST(Gbk, ReducesToAscii) {
    for (const int target : {QZSTR_CHARSET_ASCII, QZSTR_CHARSET_TCVN3}) {
        const auto reduce = [&](const char* source, int room) {
            return run_cell(_charset_info, QZSTR_CHARSET_MSWIN936, target, unhex(source), room);
        };
        EXPECT_EQ(reduce("41 80 B0 A1 FF 42", -1), (converted{2, 6, 5, "A\x80??B"}));
        EXPECT_EQ(reduce("41 81", -1), (converted{1, 1, 1, "A"}));
        EXPECT_EQ(reduce("B0 A1 41", 1), (converted{3, 2, 1, "?"}));
    }
}

TEST(Gbk, PositionsFollowTheWalk) {
    const auto size = [](uchar b) { return b >= 0x81 && b <= 0xFE ? 2 : 1; };
    each_string(unhex("0A 40 7F 80 81 FE FF"), 5, [&](const std::string& text) {
        expect_positions(QZSTR_CHARSET_MSWIN936, text, size, true);
        const boundaries found = boundaries_of(gbk, text);
        static const guarded memory;
        char* const p = memory.place(text);
        std::size_t run = 0, walked = 0; // bytes with the high bit, which alone decides an end; the next character
        for (std::size_t i = 0; i < text.size(); ++i) {
            const auto b = static_cast<uchar>(text[i]);
            // A byte that is no valid trail begins a character wherever it stands.
            const bool leading = i == walked || b < 0x40 || b == 0x7F;
            if (i == walked) walked += static_cast<std::size_t>(size(b));
            run = b >= 0x80 ? run + 1 : 0;
            const int at = static_cast<int>(i);
            const bool ending = run % 2 == 0;
            ASSERT_EQ(std::pair(found.leading[i], found.ending[i]), std::pair(leading ? '1' : '0', ending ? '1' : '0'))
                << hex(text) << " " << at;
            ASSERT_EQ((ints{found.start[i], found.behind[i], found.ahead[i]}),
                      (ints{leading ? at : at - 1, ending ? at : at + 1, ending ? at : at - 1}))
                << hex(text) << " " << at;
            ASSERT_EQ(gbk.qzstr_isspace_fn(p, at), leading && b == 0x0A) << hex(text) << " " << at;
        }
    });
    EXPECT_TRUE(take_assertions().empty());
}

TEST(Gbk, CaseSkipsTrails) {
    std::string text = unhex("61 81 61 80 62 FF 63 B0 20 20 81 7A 7F");
    gbk.qzstr_convert_case_fn(QZSTR_CASE_TRIM_UPPER, text.data(), 12);
    EXPECT_EQ(hex(text), "41 81 61 80 42 FF 43 B0 20 81 7A 00 7F");
}

TEST(Gbk, NamesItsSource) {
    gbk.qzstr_count_char_fn(nullptr, 1);
    EXPECT_TRUE(take_assertions()[0].starts_with("str != NULL@common/qzstr/qzstr_mswin936:"));
}

} // namespace
