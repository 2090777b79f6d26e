// ISO-2022-KR: conversions with shifts, positions, and what it refuses.
#include "repertoire.h"

using namespace support;

namespace {

const qzstr_charset_info_t& iso = _charset_info[QZSTR_CHARSET_ISO2022KR];

TEST(Iso2022kr, Repertoire) {
    const std::string begin = unhex("1B 24 29 43 0E");
    std::string text = begin, euc, wide_text;
    for (unsigned pair = 0; pair <= 0xFFFF; ++pair) { // in SO, every pair of bytes
        const std::string bytes = {static_cast<char>(pair >> 8), static_cast<char>(pair)};
        const auto c = decoded(_charset_info[QZSTR_CHARSET_EUCKR], code_bytes(pair + 0x8080));
        const unsigned lead = pair >> 8;
        if ((pair & 0x8080) == 0 && lead > 0x20 && c) {
            text += bytes, euc += code_bytes(pair + 0x8080), wide_text += units({*c}, 2);
        } else if (lead != 0x0E && lead != 0x0F && lead != 0x1B) {
            const converted got = run_slot(iso.qzstr_to_ucs2_fn, begin + bytes);
            ASSERT_EQ(got.bytes.substr(0, 2), std::string("\0?", 2)) << std::hex << pair;
            ASSERT_EQ(got.status & 2, 2);
        }
    }
    text += '\x0F';
    const int len = static_cast<int>(text.size()), wide = static_cast<int>(wide_text.size());
    EXPECT_EQ(run_slot(iso.qzstr_to_ucs2_fn, text), (converted{0, len, wide, wide_text}));
    EXPECT_EQ(run_slot(iso.qzstr_from_ucs2_fn, wide_text), (converted{0, wide, len, text}));
    EXPECT_EQ(run_cell(_charset_info, 33, 1, text), (converted{0, len, wide, euc}));
    EXPECT_EQ(run_cell(_charset_info, 1, 33, euc), (converted{0, wide, len, text}));
}

TEST(Iso2022kr, Decodes) {
    const struct {
        const char* source;
        converted ucs2, euckr, ascii;
    } cases[] = {
        {"1B 24 29 43 0E 30 21 0F 41", gives(0, 9, "AC 00 00 41"), gives(0, 9, "B0 A1 41"), gives(2, 9, "3F 41")},
        {"0E 30 21", gives(2, 3, "00 3F 00 30 00 21"), gives(2, 3, "3F 30 21"), gives(2, 3, "3F 30 21")},
        {"1B 28 42 41", gives(2, 4, "00 3F 00 28 00 42 00 41"), gives(2, 4, "3F 28 42 41"), gives(2, 4, "3F 28 42 41")},
        {"1B 28 42", gives(1, 0, ""), gives(1, 0, ""), gives(1, 0, "")},
        {"1B 24 29 43 0E 30", gives(1, 5, ""), gives(1, 5, ""), gives(1, 5, "")},
        {"B0 41", gives(2, 2, "00 3F 00 41"), gives(2, 2, "3F 41"), gives(2, 2, "3F 41")},
        // The designator holds over line ends; in SO a line end is half of a pair.
        {"1B 24 29 43 41 0F 0A 0E 30 21", gives(0, 10, "00 41 00 0A AC 00"), gives(0, 10, "41 0A B0 A1"),
         gives(2, 10, "41 0A 3F")},
        {"1B 24 29 43 0E 30 0F 41", gives(2, 8, "00 3F 00 41"), gives(2, 8, "3F 41"), gives(2, 8, "3F 41")},
        {"1B 24 29 43 0E 21 7F 30 21", gives(2, 9, "00 3F 00 3F AC 00"), gives(2, 9, "3F 3F B0 A1"),
         gives(2, 9, "3F 3F 3F")},
        {"", gives(0, 0, ""), gives(0, 0, ""), gives(0, 0, "")},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(run_slot(iso.qzstr_to_ucs2_fn, unhex(c.source)), c.ucs2) << c.source;
        EXPECT_EQ(run_cell(_charset_info, 33, 4, unhex(c.source)), c.ucs2) << c.source;
        for (const int cs : {1, 2})
            EXPECT_EQ(run_cell(_charset_info, 33, cs, unhex(c.source)), c.euckr) << c.source;
        for (const int cs : {0, 10})
            EXPECT_EQ(run_cell(_charset_info, 33, cs, unhex(c.source)), c.ascii) << c.source;
    }
}

// The same wherever it stands among well-formed text, at every vector level; of some, with every size of the target.
TEST(Iso2022kr, DecodesInLongText) {
    const struct {
        const char *source, *ucs2, *euckr;
        bool replaces;
    } cases[] = {
        {"0E 30 21 30 22 0F", "AC 00 AC 01", "B0 A1 B0 A2", false},
        {"0E 30 21 30 0F", "AC 00 00 3F", "B0 A1 3F", true}, // an odd run
        {"0E 30 0F 0E 30 21 0F", "00 3F AC 00", "3F B0 A1", true},
        {"0E 0E 30 21 0E 30 22 0F", "AC 00 AC 01", "B0 A1 B0 A2", false}, // shifted out already
        {"0F 0F 41", "00 41", "41", false},
        {"0E 0F 0E 0F", "", "", false},
        {"0E 30 21 22 7E 30 21 0F", "AC 00 00 3F 00 3F AC 00", "B0 A1 3F 3F B0 A1", true}, // no character
        {"0E 30 7F 30 21 0F", "00 3F 00 3F AC 00", "3F 3F B0 A1", true},
        {"0E B0 21 0F", "00 3F 00 3F", "3F 3F", true},
        {"0E 30 21 0A 30 21 0F", "AC 00 00 3F AC 00", "B0 A1 3F B0 A1", true},
        {"B0 41", "00 3F 00 41", "3F 41", true},
        {"1B 24 29 43 0E 30 21 1B 24 29 43 30 22 0F", "AC 00 AC 01", "B0 A1 B0 A2", false},
        {"1B 24 29 41", "00 3F 00 24 00 29 00 41", "3F 24 29 41", true},
    };
    const auto repeated = [](const char* text, int times) {
        std::string all;
        for (const std::string one = unhex(text); times > 0; --times)
            all += one;
        return all;
    };
    const auto check = [](std::string_view source, std::string_view ucs2, std::string_view euckr, int status,
                          bool sizes) {
        const auto& iso_exact = levels()[0].catalogue[QZSTR_CHARSET_ISO2022KR];
        const int len = static_cast<int>(source.size()), wide = static_cast<int>(ucs2.size());
        for (const level& at : levels()) {
            SCOPED_TRACE(at.name);
            const auto& row = at.catalogue[QZSTR_CHARSET_ISO2022KR];
            ASSERT_EQ(run_slot(row.qzstr_to_ucs2_fn, source), (converted{status, len, wide, std::string(ucs2)}));
            const converted bytes = run_cell(at.catalogue, 33, 1, source);
            ASSERT_EQ(bytes, (converted{status, len, static_cast<int>(euckr.size()), std::string(euckr)}));
            for (int size = 0; sizes && size < wide; ++size) {
                ASSERT_EQ(run_slot(row.qzstr_to_ucs2_fn, source, size),
                          run_slot(iso_exact.qzstr_to_ucs2_fn, source, size));
                ASSERT_EQ(run_cell(at.catalogue, 33, 1, source, size),
                          run_cell(levels()[0].catalogue, 33, 1, source, size));
            }
        }
    };
    const std::string before = repeated("0E 30 21 30 22 0F 41", 8), ucs2_before = repeated("AC 00 AC 01 00 41", 8),
                      euckr_before = repeated("B0 A1 B0 A2 41", 8), designator = unhex("1B 24 29 43");
    for (const auto& c : cases)
        for (std::size_t shift = 0; shift < 66; ++shift) {
            SCOPED_TRACE(c.source + (" behind " + std::to_string(shift)));
            const std::string some(shift, 'a'), source = some + unhex(c.source), euckr = some + unhex(c.euckr);
            const std::string ucs2 = units(std::u32string(shift, U'a'), 2) + unhex(c.ucs2);
            const int status = c.replaces ? 2 : 0;
            check(designator + before + source + before, ucs2_before + ucs2 + ucs2_before,
                  euckr_before + euckr + euckr_before, status, shift == 0);
        }
    // Before a designator, nothing is shifted out.
    for (std::size_t shift = 0; shift < 66; ++shift) {
        const std::string some(shift, 'a'), wide = units(std::u32string(shift, U'a'), 2);
        check(some + unhex("0E 30 21") + some + designator + before,
              wide + unhex("00 3F 00 30 00 21") + wide + ucs2_before, some + "?0!" + some + euckr_before, 2,
              shift == 65);
    }
}

TEST(Iso2022kr, Encodes) {
    const struct {
        const char* units;
        converted expected;
    } cases[] = {
        {"AC 00 00 41 AC 00", gives(0, 6, "1B 24 29 43 0E 30 21 0F 41 0E 30 21 0F")},
        {"AC 00 00 0D AC 00", gives(0, 6, "1B 24 29 43 0E 30 21 0F 0D 1B 24 29 43 0E 30 21 0F")},
        {"AC 00 AC 02 AC 00", gives(2, 6, "1B 24 29 43 0E 30 21 0F 3F 0E 30 21 0F")},
        {"AC 00 41", gives(1, 2, "1B 24 29 43 0E 30 21 0F")}, // closed before an odd trailing byte, too
        {"00 0E 00 0F 00 1B", gives(0, 6, "0E 0F 1B")},       // written as they are
        {"41", gives(1, 0, "")},
        {"", gives(0, 0, "")},
    };
    for (const auto& c : cases)
        EXPECT_EQ(run_slot(iso.qzstr_from_ucs2_fn, unhex(c.units)), c.expected) << c.units;
    EXPECT_EQ(run_slot(iso.qzstr_from_ucs4_fn, unhex("00 01 AC 00")), // KEPT: the high half is ignored
              gives(0, 4, "1B 24 29 43 0E 30 21 0F"));
}

// What fits is the beginning of the whole result, and it is what the bytes read give.
TEST(Iso2022kr, EveryTargetSize) {
    const std::string euc = unhex("41 B0 A1 B0 A2 0A B0 A1 42 43 B0 A3 44 0D 0A B0 A4");
    const auto from_euckr = [](std::string_view text, int room = -1) {
        return run_cell(_charset_info, 1, 33, text, room);
    };
    const auto from_ucs2 = [](std::string_view text, int room = -1) {
        return run_slot(iso.qzstr_from_ucs2_fn, text, room);
    };
    const auto check = [](std::string_view text, auto convert) {
        const std::string whole = convert(text, -1).bytes;
        for (int size = 0; size <= static_cast<int>(whole.size()); ++size) {
            const converted r = convert(text, size);
            std::string redone = convert(text.substr(0, static_cast<std::size_t>(r.read)), -1).bytes;
            EXPECT_EQ(r.status, r.bytes == whole ? 0 : 1) << size;
            EXPECT_EQ(whole.find(r.bytes), 0U) << size;
            if (r.status == 1 && redone.ends_with('\x0F')) redone.pop_back(); // not closed at a full target
            EXPECT_EQ(r.bytes, redone) << size;
            EXPECT_GT(8, size - r.written) << "more would fit";
        }
    };
    const std::string units = run_slot(_charset_info[1].qzstr_to_ucs2_fn, euc).bytes, shifted = from_euckr(euc).bytes;
    check(euc, from_euckr);
    check(units, from_ucs2);
    for (int size = 0; size <= static_cast<int>(units.size()); ++size)
        EXPECT_EQ(run_slot(iso.qzstr_to_ucs2_fn, shifted, size).bytes,
                  units.substr(0, static_cast<std::size_t>(size) / 2 * 2));
    EXPECT_EQ(run_cell(_charset_info, 33, 1, shifted, 4), (converted{1, 8, 3, "A\xB0\xA1"})); // a pair needs both bytes
    EXPECT_EQ(run_slot(iso.qzstr_to_ucs2_fn, "A\x0F", 2), gives(1, 1, "00 41"));              // a shift needs room, too
}

TEST(Iso2022kr, Positions) {
    const struct {
        const char* text;
        int n;
        ints expected;
    } cases[] = {
        {"41 42 43", 2, {0, 1, 2}}, // KEPT: one character behind
        {"41 42 43", 1, {1, 2, 2}},
        {"41 42 43", 9, {1, 2, 2}},
        {"41", 1, {0, 0, 1}},
        {"0F", 1, {0, 0, 0}},
        {"41 0E", 1, {0, 1, 1}},
        {"0F 41 42 0F", 5, {2, 3, 2}},
        {"0E 30 21 30 22 30 23", 3, {3, 5, 3}},
        {"1B 24 29 43 0E", 2, {0, 4, 0}},
        {"1B 24 29 43 0E 30 21 0F", 2, {5, 7, 2}},
        {"1B 24 29 43 41 42 43 44 45 46 47", 2, {4, 8, 2}}, // KEPT: four bytes behind a designator
        {"", 1, {-9, -9, -9}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(position(iso, unhex(c.text), c.n), c.expected) << c.text << " " << c.n;
    }
    iso.qzstr_get_byte_pos_fn(nullptr, 1, 1, nullptr, nullptr, nullptr);
    const std::string at = "@common/qzstr/qzstr_iso2022kr:";
    EXPECT_EQ(take_assertions(), (std::vector<std::string>{"str != NULL" + at + "368", "start_pos != NULL" + at + "369",
                                                           "end_pos != NULL" + at + "370"}));
}

TEST(Iso2022kr, RefusesWhatNeedsCharacters) {
    expect_refusals(iso, "iso2022kr", {252, 269, 286, 303, 320, 339, 858, 864, 878, 894});
}

} // namespace
