// GBK: the whole repertoire against the C library's converter, user-defined areas, positions, the oddities that are kept.
#include "support.h"

#include <algorithm>
#include <iconv.h>
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

/// The converter of the C library for one sequence; an empty string where it refuses.
std::string by_iconv(iconv_t converter, std::string text) {
    char out[16], *in_at = text.data(), *out_at = out;
    std::size_t in_left = text.size(), out_left = sizeof out;
    iconv(converter, nullptr, nullptr, nullptr, nullptr);
    const bool done = iconv(converter, &in_at, &in_left, &out_at, &out_left) == 0 && in_left == 0;
    return done ? std::string(out, out_at) : std::string();
}

TEST(Gbk, EveryPairDecodesAsTheCLibrarySaysOrIsUserDefined) {
    const iconv_t converter = iconv_open("UTF-16BE", "GBK");
    ASSERT_NE(converter, reinterpret_cast<iconv_t>(-1));
    int mapped = 0;
    for (int lead = 0x81; lead <= 0xFE; ++lead)
        for (int trail = 0; trail < 0x100; ++trail) {
            const std::string unit = by_iconv(converter, two(lead, trail));
            int expected = unmapped;
            if (!unit.empty())
                expected = static_cast<uchar>(unit[0]) << 8 | static_cast<uchar>(unit[1]);
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
    iconv_close(converter);
}

TEST(Gbk, EveryCodePointEncodesAsTheCLibrarySaysOrIsUserDefined) {
    const iconv_t converter = iconv_open("GBK", "UTF-16BE");
    ASSERT_NE(converter, reinterpret_cast<iconv_t>(-1));
    for (int c = 0x80; c < 0x10000; ++c) {
        std::string expected = by_iconv(converter, two(c >> 8, c & 0xFF));
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
    iconv_close(converter);
}

TEST(Gbk, ConversionsAtTheEdges) {
    const struct {
        const char* what;
        decltype(gbk.qzstr_to_ucs2_fn) slot;
        const char* source;
        int room;
        conv_status_t status;
        int read;
        const char* result;
    } cases[] = {
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
    };
    for (const auto& c : cases) {
        const std::string result = unhex(c.result);
        EXPECT_EQ(run_slot(c.slot, unhex(c.source), c.room),
                  (converted{c.status, c.read, static_cast<int>(result.size()), result}))
            << c.what;
    }
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

/// Character starts by the plain walk that counting defines.
std::vector<int> starts(const std::string& text) {
    std::vector<int> found;
    for (std::size_t at = 0; at < text.size(); at += static_cast<uchar>(text[at] - 0x81) < 0x7E ? 2 : 1)
        found.push_back(static_cast<int>(at));
    return found;
}

TEST(Gbk, PositionsFollowTheWalk) {
    const std::string telling = unhex("0A 40 7F 80 81 FE FF");
    static const guarded memory;
    for (int code = 0; code < 7 * 7 * 7 * 7 * 7; ++code) {
        std::string text;
        for (int rest = code, i = 0; i < 5; ++i, rest /= 7)
            text += telling[static_cast<std::size_t>(rest % 7)];
        const std::vector<int> chars = starts(text);
        const int count = static_cast<int>(chars.size());
        char* const p = memory.place(text);
        ASSERT_EQ(gbk.qzstr_count_char_fn(p, 5), count) << hex(text);
        for (int n = 1; n <= 6; ++n) {
            int start = -1, end = -1, number = -1;
            gbk.qzstr_get_byte_pos_fn(p, 5, n, &start, &end, &number);
            const int k = std::min(n, count);
            ASSERT_EQ(std::vector({start, end, number}), std::vector({chars[k - 1], (k < count ? chars[k] : 5) - 1, k}))
                << hex(text) << " " << n;
            const int bytes = k < count ? gbk.qzstr_count_byte_fn(p, k) : -1;
            ASSERT_EQ(bytes, k < count ? chars[k] : -1) << hex(text);
        }
        for (int at = 0; at < 5; ++at) {
            const uchar b = static_cast<uchar>(text[at]);
            const bool walked = std::find(chars.begin(), chars.end(), at) != chars.end();
            // A byte that is no valid trail begins a character wherever it stands.
            const bool leading = walked || b < 0x40 || b == 0x7F;
            ASSERT_EQ(gbk.qzstr_is_char_leading_byte(p, at), leading) << hex(text) << " " << at;
            ASSERT_EQ(gbk.qzstr_get_char_leading_byte(p, at), leading ? at : at - 1) << hex(text) << " " << at;
            ASSERT_EQ(gbk.qzstr_isspace_fn(p, at), leading && b == 0x0A) << hex(text) << " " << at;
            int run = 0; // the high bit alone decides
            while (run <= at && text[static_cast<std::size_t>(at - run)] < 0)
                ++run;
            ASSERT_EQ(gbk.qzstr_is_char_ending_byte(p, at), run % 2 == 0) << hex(text) << " " << at;
            for (const uchar ahead : {0, 1})
                ASSERT_EQ(gbk.qzstr_get_char_ending_byte(p, at, ahead), run % 2 == 0 ? at
                                                                        : ahead != 0 ? at - 1
                                                                                     : at + 1)
                    << hex(text) << " " << at;
        }
    }
    EXPECT_TRUE(take_assertions().empty());
}

TEST(Gbk, CaseSkipsTrails) {
    std::string text = unhex("61 81 61 80 62 FF 63 B0 20 20 81 7A 7F");
    gbk.qzstr_convert_case_fn(QZSTR_CASE_TRIM_UPPER, text.data(), 12);
    EXPECT_EQ(hex(text), "41 81 61 80 42 FF 43 B0 20 81 7A 00 7F");
}

TEST(Gbk, NamesItsSource) {
    char byte = 'a';
    int length = 0;
    EXPECT_EQ(gbk.qzstr_count_char_fn(&byte, -1), 0);
    EXPECT_EQ(gbk.qzstr_to_ucs4_fn(&byte, 1, nullptr, 4, &length, &length, 1), 0);
    const auto reported = take_assertions();
    ASSERT_EQ(reported.size(), 2U);
    EXPECT_TRUE(reported[0].starts_with("byte_cnt >= 0@common/qzstr/qzstr_mswin936:")) << reported[0];
    EXPECT_TRUE(reported[1].starts_with("ucs4 != NULL@common/qzstr/qzstr_mswin936:")) << reported[1];
}

} // namespace
