// MSWIN949, and the server's substring and replace routines.
#include "repertoire.h"

using namespace support;

namespace {

const qzstr_charset_info_t& mswin949 = _charset_info[QZSTR_CHARSET_MSWIN949];

TEST(Mswin949, EveryPairAndEveryCodePoint) {
    EXPECT_EQ(compare(
                  QZSTR_CHARSET_MSWIN949, "CP949", 0x8100, [](unsigned code) { return code < 0xFF00; }, 0x10000,
                  [](char32_t) { return false; }),
              (comparison{17236, 17236, "", "C9A1-C9FE FEA1-FEFE", "", "", ""}));
    for (unsigned i = 0; i < 94; ++i) {
        EXPECT_EQ(decoded(mswin949, code_bytes(0xC9A1 + i)), 0xE000 + i);
        EXPECT_EQ(decoded(mswin949, code_bytes(0xFEA1 + i)), 0xE05E + i);
    }
}

TEST(Mswin949, ConvertsTellingBytes) {
    const struct {
        const char* source;
        int room;
        converted to_ucs2, to_euckr, to_ascii;
    } cases[] = {
        {"81 41", -1, gives(0, 2, "AC 02"), gives(2, 2, "3F 41"), gives(2, 2, "3F")}, // KEPT: the trail stays a letter
        {"A2 E8", -1, gives(2, 2, "FF FD"), gives(3, 1, "3F"), gives(2, 2, "3F")},    // KEPT: never mapped
        {"80 B0 A1", -1, gives(2, 3, "FF FD AC 00"), gives(2, 3, "3F B0 A1"), gives(2, 3, "3F 3F")},
        {"FF 41", -1, gives(2, 2, "FF FD"), gives(2, 2, "3F 41"), gives(2, 2, "3F 41")},
        {"FF", -1, gives(2, 1, "FF FD"), gives(2, 1, "3F"), gives(2, 1, "3F")},
        {"41 B0", -1, gives(1, 1, "00 41"), gives(1, 1, "41"), gives(1, 1, "41")},
        {"41 81", -1, gives(1, 1, "00 41"), gives(2, 2, "41 3F"), gives(1, 1, "41")},
        {"41 B0 A1", 2, gives(1, 1, "00 41"), gives(1, 1, "41"), gives(2, 3, "41 3F")},
        {"41 42", 1, gives(1, 0, ""), gives(1, 1, "41"), gives(1, 1, "41")},
    };
    for (const auto& c : cases) {
        const std::string source = unhex(c.source);
        EXPECT_EQ(run_slot(mswin949.qzstr_to_ucs2_fn, source, c.room), c.to_ucs2) << c.source;
        EXPECT_EQ(run_cell(_charset_info, 2, 1, source, c.room), c.to_euckr) << c.source;
        for (const int target : {0, 10})
            EXPECT_EQ(run_cell(_charset_info, 2, target, source, c.room), c.to_ascii) << c.source;
        EXPECT_EQ(run_cell(_charset_info, 2, 4, source, c.room), c.to_ucs2) << c.source;
    }
    // KEPT: the high half of a 32-bit unit is ignored.
    EXPECT_EQ(run_slot(mswin949.qzstr_from_ucs4_fn, unhex("00 01 AC 02 00 00 E0 5E")), gives(0, 8, "81 41 FE A1"));
    EXPECT_EQ(run_slot(mswin949.qzstr_to_ucs4_fn, "\x81\x41", 4, false), gives(0, 2, "02 AC 00 00"));
    EXPECT_EQ(run_slot(mswin949.qzstr_from_ucs2_fn, unhex("AC 02 41"), 1), gives(1, 0, ""));
    EXPECT_EQ(run_slot(mswin949.qzstr_from_ucs2_fn, unhex("AC 02 41")), gives(1, 2, "81 41"));
}

TEST(Mswin949, Boundaries) {
    const struct {
        const char *text, *leading, *ending;
    } cases[] = {
        {"81 41", "10", "01"},
        {"81 20", "11", "01"},
        {"41 42 81 41 42", "11101", "11011"},
        {"B0 A1 B0 A1", "1010", "0101"},
        {"41 B0 A1 5A 5A", "11011", "10111"}, // 5A behind A1: half of what the walk back takes for a pair
        {"80 41 80 20", "1011", "0101"},      // KEPT: 80 is taken for a lead here, though counting takes it alone
    };
    for (const auto& c : cases) {
        const boundaries found = boundaries_of(mswin949, unhex(c.text));
        EXPECT_EQ(found.leading, c.leading) << c.text;
        EXPECT_EQ(found.ending, c.ending) << c.text;
    }
    std::string text = unhex("80 41 FF 81 41 20 81");
    EXPECT_EQ(mswin949.qzstr_count_char_fn(text.data(), 7), 6);
    EXPECT_EQ(mswin949.qzstr_count_byte_fn(text.data(), 4), 5);
    mswin949.qzstr_convert_case_fn(QZSTR_CASE_LOWER, text.data(), 7);
    EXPECT_EQ(hex(text), "80 61 FF 81 41 20 81");
    EXPECT_EQ(mswin949.qzstr_isspace_fn(text.data(), 5), 1);
}

TEST(ServerRoutines, Substr) {
    const struct {
        const char* text;
        int skip, take;
        ints rest, part;
    } cases[] = {
        {"B0 A1 41", 0, 2, {0, 3}, {0, 3}},
        {"B0 A1 41", 1, 1, {2, 1}, {2, 1}},
        {"B0 A1 41", 2, 1, {3, 0}, {3, 0}},
        {"B0 A1 41", 3, 1, {3, 0}, {3, 0}},
        {"B0 A1 B0 A1", 3, 1, {4, 0}, {4, 0}},
        {"B0 A1 41 42", 0, 2, {0, 4}, {0, 3}},
        {"80 FF 41 81 41 81 42", 2, 2, {2, 5}, {2, 3}}, // the first two are characters of one byte
        {"41 42 43 44 B0 A1", 3, 0, {3, 3}, {3, 0}},
        {"", 0, 5, {0, 0}, {0, 0}},
        {"41", -2, -1, {0, 1}, {0, 0}},
        {"B0", 1, 1, {1, 0}, {1, 0}},
        {"B0 A1 B0", 2, 1, {4, -1}, {4, -1}}, // KEPT: a lone lead that was passed
        {"B0 A1 B0", 0, 2, {0, 3}, {0, 4}},   // KEPT: a lone lead counts two bytes
        {"B0 A1 B0 A1 B0 A1 41 42", 2147483647, 2147483647, {8, 0}, {8, 0}},
    };
    for (const auto& c : cases) {
        const std::string text = unhex(c.text);
        const guarded memory;
        char* const p = memory.place(text);
        const int len = static_cast<int>(text.size());
        int pos = -9, out = -9;
        qzsvr_mswin949_substr(p, len, c.skip, &pos, &out);
        EXPECT_EQ((ints{pos, out}), c.rest) << c.text << " from " << c.skip;
        qzsvr_mswin949_substr_len(p, len, c.skip, c.take, &pos, &out);
        EXPECT_EQ((ints{pos, out}), c.part) << c.text << " from " << c.skip << " take " << c.take;
    }
}

struct pattern {
    std::string bytes;
    ints table, pos, len;
    int chars = -1;

    explicit pattern(std::string text) : bytes(std::move(text)), table(bytes.size() + 2), pos(table), len(table) {
        qzsvr_mswin949_replace_build_table(bytes.data(), static_cast<int>(bytes.size()), table.data(), pos.data(),
                                           len.data(), &chars);
    }
    int find(std::string text, int from, uchar& found) {
        int at = -9;
        const int size = static_cast<int>(text.size());
        found = qzsvr_mswin949_find_next_to_replace(text.data(), size, bytes.data(), chars, pos.data(), len.data(),
                                                    table.data(), from, &at);
        return at;
    }
};

TEST(ServerRoutines, PatternMaps) {
    const pattern p(unhex("41 41 81 41 41 41 81 41 42"));
    EXPECT_EQ(p.chars, 7);
    EXPECT_EQ(ints(p.table.begin(), p.table.begin() + 7), (ints{-1, 0, 1, 0, 1, 2, 3}));
    EXPECT_EQ(ints(p.pos.begin(), p.pos.begin() + 8), (ints{0, 1, 2, 4, 5, 6, 8, 9}));
    EXPECT_EQ(ints(p.len.begin(), p.len.begin() + 7), (ints{1, 1, 2, 1, 1, 2, 1}));
    const pattern none("");
    EXPECT_EQ((ints{none.chars, none.pos[0], none.table[0], none.table[1]}), (ints{0, 0, -1, 0}));
}

TEST(ServerRoutines, FindsWholeCharacters) {
    const struct {
        const char *text, *pattern;
        int from;
        ints found;
    } cases[] = {
        {"C1 41 41 42", "41 42", 0, {1, 2}}, // the 41 behind C1 is no character
        {"41 42 41 42", "41 42", 1, {1, 2}},
        {"41 42", "41 42", 2, {0, 2}},
        {"41 42", "", 0, {0, 2}}, // an empty pattern is never found
        {"80 41 FF", "FF", 0, {1, 2}},
        {"81 42 81 41 81", "81 41", 0, {1, 2}},
    };
    for (const auto& c : cases) {
        pattern p(unhex(c.pattern));
        uchar found = 9;
        const int at = p.find(unhex(c.text), c.from, found);
        EXPECT_EQ((ints{found, at}), c.found) << c.pattern << " in " << c.text;
    }
    // Against a plain comparison character by character, on texts that repeat themselves.
    std::uint64_t seed = 1;
    for (int round = 0; round < 3000; ++round) {
        const std::string text = random_text(seed, 24, {"41", "81 41", "42", "41 81"});
        pattern p(random_text(seed, 1 + round % 5, {"41", "81 41", "42"}));
        int expected = 0, start = 0, size = static_cast<int>(text.size());
        for (; start < size; start += expected) {
            if (text.compare(static_cast<std::size_t>(start), p.bytes.size(), p.bytes) == 0) break;
            const auto b = static_cast<uchar>(text[static_cast<std::size_t>(start)]);
            expected = b >= 0x81 && b <= 0xFE ? 2 : 1;
        }
        uchar found = 9;
        ASSERT_EQ(p.find(text, 0, found), std::min(start, size)) << hex(p.bytes) << " in " << hex(text);
        ASSERT_EQ(found, start < size ? 1 : 0);
    }
}

} // namespace
