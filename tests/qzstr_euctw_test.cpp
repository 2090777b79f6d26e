// EUC-TW: every position of every plane against the C library, round trips, four-byte forms, the oddities that are kept.
#include "repertoire.h"

using namespace support;

namespace {

constexpr int id = QZSTR_CHARSET_EUCTW;
const qzstr_charset_info_t& euctw = _charset_info[id];

template <class Each>
void each_position(Each each) {
    for (unsigned row = 0xA1; row <= 0xFE; ++row)
        for (unsigned column = 0xA1; column <= 0xFE; ++column)
            each(row << 8 | column);
}

unsigned four_byte_code(unsigned plane, unsigned position) {
    return 0x8EA00000 + (plane << 16) + position;
}

TEST(EucTw, EveryPositionOfEveryPlane) {
    const peer theirs("EUC-TW");
    std::map<unsigned, int> mapped;
    code_set differing, not_returning;
    for (unsigned plane = 0; plane <= 16; ++plane)
        each_position([&](unsigned position) {
            // Plane 0 here: the two-byte form of plane 1.
            const std::string code = code_bytes(plane == 0 ? position : four_byte_code(plane, position));
            const auto c = decoded(euctw, code);
            if (c) ++mapped[plane];
            differing.visit(number(code), c != theirs.decoded(code));
            const std::string shorter = plane == 1 ? code.substr(2) : code;
            not_returning.visit(number(code), c && encoded(euctw, *c) != shorter);
            // UCS-2 holds planes 1 and 2, UTF-16 everything.
            const converted u2 = run_slot(euctw.qzstr_to_ucs2_fn, code);
            EXPECT_EQ(u2.bytes, units({c && plane <= 2 ? *c : 0xFFFD}, 2)) << hex(code);
            EXPECT_EQ(u2.read, static_cast<int>(code.size()));
            const converted u16 = run_cell(_charset_info, id, QZSTR_CHARSET_UTF16, code);
            if (c && *c > 0xFFFF) {
                EXPECT_EQ(u16.bytes, units({0xD800 + ((*c - 0x10000) >> 10), 0xDC00 + (*c & 0x3FF)}, 2)) << hex(code);
            } else {
                EXPECT_EQ(u16.bytes, units({c.value_or(0xFFFD)}, 2)) << hex(code);
            }
        });
    EXPECT_EQ(mapped,
              (std::map<unsigned, int>{
                  {0, 5868}, {1, 5868}, {2, 7650}, {3, 6394}, {4, 7286}, {5, 8601}, {6, 6386}, {7, 6537}, {15, 6721}}));
    EXPECT_EQ(differing.text(), "C2C2 8EA1C2C2"); // the Euro sign
    EXPECT_EQ(not_returning.text(), "8EA3A1B8");  // U+5344 stands in plane 1 too
}

TEST(EucTw, EveryCodePointReturns) {
    int four_bytes_only = 0;
    for (char32_t c = 0x80; c < 0x30000; ++c) {
        const auto code = encoded(euctw, c);
        if (!code) continue;
        EXPECT_EQ(decoded(euctw, *code), c) << std::hex << static_cast<unsigned>(c);
        if (c > 0xFFFF) continue;
        EXPECT_EQ(run_slot(euctw.qzstr_from_ucs2_fn, units({c}, 2)).bytes, *code);
        four_bytes_only += (*code)[0] == '\x8E' && run_slot(euctw.qzstr_to_ucs2_fn, *code).status != 0;
    }
    EXPECT_EQ(four_bytes_only, 11211); // encoded from UCS-2, but not decoded to it
}

TEST(EucTw, DecodesToUcs2) {
    const struct {
        const char* text;
        int room;
        converted expected;
    } cases[] = {
        {"8E A1 C4 A1 C4 A1", -1, {0, 6, 4, unhex("4E 00 4E 00")}},
        {"8E A3 A1 A1 41", -1, {2, 5, 4, unhex("FF FD 00 41")}},
        {"41 8E A2", -1, {1, 1, 2, unhex("00 41")}},
        {"41 C4", -1, {1, 1, 2, unhex("00 41")}},
        {"80 8D FF 41", -1, {2, 4, 8, unhex("FF FD FF FD FF FD 00 41")}},
        {"C4 41 41", -1, {2, 3, 4, unhex("FF FD 00 41")}},
        {"8E 41 42 43 44", -1, {2, 5, 4, unhex("FF FD 00 44")}},
        {"8E B0 A1 A1 8E A0 A1 A1", -1, {2, 8, 4, unhex("FF FD FF FD")}},
        {"C4 A1 C4 A1", 3, {1, 2, 2, unhex("4E 00")}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(run_slot(euctw.qzstr_to_ucs2_fn, unhex(c.text), c.room), c.expected) << c.text;
}

TEST(EucTw, KeepsSurrogatePairsAndLongFormsWhole) {
    const std::string beyond = unhex("8E A6 C2 E7");
    EXPECT_EQ(encoded(euctw, 0x2F958), beyond);
    EXPECT_EQ(run_cell(_charset_info, id, QZSTR_CHARSET_UTF16, beyond, 3), (converted{1, 0, 0, ""}));
    EXPECT_EQ(run_slot(euctw.qzstr_from_ucs4_fn, units({0x2F958}, 4), 3), (converted{1, 0, 0, ""}));
    EXPECT_EQ(run_slot(euctw.qzstr_from_ucs2_fn, units({'A', 0x4E00}, 2), 2), (converted{1, 2, 1, "A"}));
    EXPECT_EQ(run_slot(euctw.qzstr_from_ucs2_fn, units({0xD87E, 0xDD58}, 2)), (converted{2, 4, 2, "??"}));
    EXPECT_EQ(run_slot(euctw.qzstr_from_ucs4_fn, units({0x10041}, 4)), (converted{2, 4, 1, "?"}));
}

TEST(EucTw, ReducesToAscii) {
    const std::string text = unhex("41 C4 0A 8E 41 42 43 80 FF 44");
    EXPECT_EQ(run_cell(_charset_info, id, QZSTR_CHARSET_ASCII, text), (converted{2, 10, 6, "A????D"}));
    EXPECT_EQ(run_cell(_charset_info, id, QZSTR_CHARSET_TCVN3, text, 2), (converted{3, 3, 2, "A?"}));
    EXPECT_EQ(run_cell(_charset_info, id, QZSTR_CHARSET_ASCII, unhex("41 8E A2 A1")), (converted{1, 1, 1, "A"}));
}

TEST(EucTw, Counts) {
    const struct {
        const char* text;
        int characters, bytes;
    } cases[] = {{"41 C4 A1 8E A2 A1 A1 80 FF", 5, 9}, {"C4", 1, 2}, {"8E", 1, 4}, {"C4 8E A1 A1", 2, 4}};
    for (const auto& c : cases) {
        std::string text = unhex(c.text) + std::string(8, '\0'); // a count of bytes has no length to stop at
        const int size = static_cast<int>(text.size()) - 8;
        EXPECT_EQ(euctw.qzstr_count_char_fn(text.data(), size), c.characters) << c.text;
        EXPECT_EQ(euctw.qzstr_count_byte_fn(text.data(), c.characters), c.bytes) << c.text;
    }
}

TEST(EucTw, Boundaries) {
    const struct {
        const char* text;
        boundaries expected;
    } cases[] = {
        {"41 A1 A2", {"111", "101", {0, 1, 2}, {0, 2, 2}, {0, 0, 2}}}, // byte 0 is never examined
        {"8E A2 A1 A1 A1", {"11111", "00010", {0, 1, 2, 3, 4}, {3, 3, 3, 3, 5}, {-1, -1, -1, 3, 3}}},
        {"41 8E A2 A1 A1 C4 A1",
         {"1100010", "1000101", {0, 1, 1, 1, 1, 5, 5}, {0, 4, 4, 4, 4, 6, 6}, {0, 0, 0, 0, 4, 4, 6}}},
        {"41 42 C4 A1 80 FF", {"111000", "110111", {0, 1, 2, 2, 2, 2}, {0, 1, 3, 3, 4, 5}, {0, 1, 1, 3, 4, 5}}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(boundaries_of(euctw, unhex(c.text)), c.expected) << c.text;
}

TEST(EucTw, PositionsAndWidthTakeFourBytesAtEveryOtherHighByte) {
    const struct {
        const char* text;
        int n;
        std::vector<int> position;
        int columns;
        std::vector<int> prefix;
    } cases[] = {
        {"41 C4 A1 8E A2 A1 A1 42", 3, {3, 6, 3}, 6, {3, 3, 1}},
        {"80 41 42 43 44", 2, {4, 4, 2}, 4, {4, 4, 1}},
        {"41 FF 42", 2, {1, 4, 2}, 9, {1, 1, 0}}, // the end is not clipped
        {"41 8E", 0, {1, 1, 2}, 9, {1, 1, 0}},
        {"41 C4", 5, {1, 1, 2}, 2, {1, 1, 0}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(position(euctw, unhex(c.text), c.n), c.position) << c.text;
        EXPECT_EQ(fit(euctw, unhex(c.text), c.columns), c.prefix) << c.text;
    }
}

TEST(EucTw, CaseSkipsWholeCharacters) {
    const struct {
        qzstr_case_t mode;
        const char *text, *expected;
    } cases[] = {{QZSTR_CASE_UPPER, "61 C4 61 8E 61 61 61 80 61 C4", "41 C4 61 8E 61 61 61 80 41 C4"},
                 {QZSTR_CASE_LOWER, "8E 41", "8E 41"},
                 {QZSTR_CASE_TRIM_UPPER, "20 61 8E 20 61 20 20 8E 61", "41 8E 20 61 20 8E 61 00"},
                 {QZSTR_CASE_INITCAP, "61 62 C4 A1 63 64 80 65", "41 62 C4 A1 43 64 80 45"}};
    for (const auto& c : cases) {
        std::string text = unhex(c.text) + '\x55'; // the byte that TRIM_UPPER may need
        euctw.qzstr_convert_case_fn(c.mode, text.data(), static_cast<int>(text.size()) - 1);
        EXPECT_EQ(hex(text).substr(0, strlen(c.expected)), c.expected);
    }
}

} // namespace
