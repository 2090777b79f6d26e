// The faults that converters are known for, a row each; the row says which test tries all cases. Others have tests of their
// own:
//   state lost between chunks         Pivot.ChunkBordersAreInvisible
//   a table indexed by a signed char  trust, built with either sign
//   the tail behind the last vector   trust texts, trust cells
//   a change in place that grows      Utf8.EveryLetterChangesCaseAsTheMappingSays
//   four-byte arithmetic              Gb18030.EveryFourByteFormDecodesAsTheCLibrarySays
//   characters dropped in silence     trust encode: the column one_way of trust.figures
#include "support.h"

#include <climits>

using namespace support;

namespace {

const auto& euckr = _charset_info[QZSTR_CHARSET_EUCKR];
const auto& utf8 = _charset_info[QZSTR_CHARSET_UTF8];
const auto& utf16 = _charset_info[QZSTR_CHARSET_UTF16];
const auto& sjis = _charset_info[QZSTR_CHARSET_SJIS];
const auto& big5 = _charset_info[QZSTR_CHARSET_ZHT16BIG5];
const auto& gb18030 = _charset_info[QZSTR_CHARSET_GB18030];
const auto& euctw = _charset_info[QZSTR_CHARSET_EUCTW];
const auto& iso2022kr = _charset_info[QZSTR_CHARSET_ISO2022KR];

converted cell(int from, int to, const char* source, int room = -1) {
    return run_cell(_charset_info, from, to, unhex(source), room);
}
const struct {
    const char* fault;
    const char* all_cases; ///< the test that tries every case of the class
    void (*check)();
} faults[] = {
    {"escape and shift bytes written without a look at the room", "trust encode, Iso2022kr.EveryTargetSize",
     [] {
         for (int room = 0; room < 9; ++room)
             EXPECT_LE(cell(QZSTR_CHARSET_EUCKR, QZSTR_CHARSET_ISO2022KR, "B0 A1", room).written, room);
         EXPECT_EQ(run_slot(iso2022kr.qzstr_from_ucs2_fn, unhex("AC 00"), 6), gives(1, 0, ""));
     }},
    {"a bad trail byte that reaches a table", "trust forms",
     [] {
         for (const char* pair : {"A1 00", "A1 40", "A1 A0", "FE FF", "C9 A1", "FF FF"})
             EXPECT_EQ(run_slot(euckr.qzstr_to_ucs2_fn, unhex(pair)).bytes.substr(0, 2), "\xFF\xFD") << pair;
     }},
    {"a cut tail read on", "trust forms, between guard pages",
     [] {
         EXPECT_EQ(run_slot(utf8.qzstr_to_ucs2_fn, unhex("41 F0 9F 92")), gives(1, 1, "00 41"));
         EXPECT_EQ(run_slot(gb18030.qzstr_to_ucs2_fn, unhex("41 81 30 81")), gives(1, 1, "00 41"));
     }},
    {"no progress, so a loop without end", "trust cells, rows_fuzz",
     [] {
         for (int to = 0; to < QZSTR_CHARSET_MAX; ++to)
             for (int from = 0; from < QZSTR_CHARSET_MAX; ++from)
                 for (const int room : {0, 1})
                     EXPECT_LE(cell(from, to, "8E A1 80 FF 1B 0E 0E", room).written, room);
     }},
    {"an assertion that text can reach", "trust, in every part",
     [] {
         for (const auto* row : {&euckr, &utf8, &utf16, &gb18030})
             row->qzstr_count_char_fn(guarded().place("\xFF"), 1);
         EXPECT_TRUE(take_assertions().empty());
     }},
    {"two outputs of one character, of which one fits", "trust forms",
     [] {
         EXPECT_EQ(run_slot(big5.qzstr_to_ucs2_fn, unhex("41 A1 20"), 4), gives(1, 1, "00 41"));
         EXPECT_EQ(run_slot(sjis.qzstr_to_ucs4_fn, unhex("82 F5"), 7), gives(1, 0, ""));
     }},
    {"a declared maximum below what a walk accepts", "the columns of trust.figures",
     [] {
         EXPECT_EQ(utf16.max_bytes_per_char, 2); // and a surrogate pair takes four
         EXPECT_EQ(position(utf16, unhex("D8 3D DC 96"), 1), (ints{0, 3, 1}));
         EXPECT_EQ(position(euctw, unhex("8E A2 A1 A1 41"), 1), (ints{0, euctw.max_bytes_per_char - 1, 1}));
     }},
    {"lengths that overflow", "trust lengths, KmpSearch.AbsurdArgumentsAssertAndStayInsideTheirBuffers",
     [] {
         char text[] = "ab", out[16];
         for (const auto& row : _charset_info)
             for (const int length : {INT_MIN, -1}) {
                 int read = 9, written = 9, width = 9;
                 uchar reached = 9;
                 EXPECT_EQ(row.qzstr_to_ucs2_fn(text, length, out, 16, &read, &written, 1), 0) << row.name;
                 EXPECT_EQ((ints{read, written}), (ints{0, 0})) << row.name;
                 EXPECT_EQ(row.qzstr_from_ucs4_fn(text, 2, out, length, &read, &written, 1), 1) << row.name;
                 EXPECT_EQ((ints{read, written}), (ints{0, 0})) << row.name;
                 if (row.max_bytes_per_char == 1 || &row == &utf16 || &row == &iso2022kr) continue;
                 row.qzstr_get_byte_pos_with_disp_size_fn(text, 2, INT_MAX, &read, &width, &reached);
                 EXPECT_EQ((ints{read, width, reached}), (ints{2, 2, 0})) << row.name;
             }
     }},
    {"a malformed form that the border of two blocks hides", "trust forms --long",
     [] {
         for (const char* form : {"F0 80 BD 9E", "F4 90 80 80", "ED A0 80 41", "E0 9F BF 41", "EA B0 41 41"})
             for (std::size_t before = 0; before < 130; ++before)
                 for (const level& l : levels()) {
                     const std::string text = std::string(before, 'a') + unhex(form) + std::string(70, 'b');
                     ASSERT_EQ(run_cell(l.catalogue, QZSTR_CHARSET_UTF8, QZSTR_CHARSET_UTF16, text).status, 2)
                         << l.name << " " << form << " behind " << before;
                     for (int columns = 0; columns < 140; ++columns)
                         ASSERT_EQ(fit(l.catalogue[QZSTR_CHARSET_UTF8], text, columns),
                                   fit(levels()[0].catalogue[QZSTR_CHARSET_UTF8], text, columns))
                             << l.name << " " << form << " behind " << before;
                 }
     }},
};

TEST(Faults, AreNotHere) {
    for (const auto& f : faults) {
        SCOPED_TRACE(std::string(f.fault) + ", all cases: " + f.all_cases);
        f.check();
    }
    take_assertions();
}

/// A call that breaks one precondition: what it asserts, and what it answers, which is what an empty text gives.
void expect_broken(const std::string& what, const std::string& expression, const ints& answer, const ints& found) {
    std::string reported;
    for (const std::string& assertion : take_assertions())
        reported += assertion.substr(0, assertion.find('@'));
    EXPECT_EQ(reported, expression) << what;
    EXPECT_EQ(found, answer) << what;
}

// A null pointer is reported, and never followed.
TEST(BrokenPreconditions, OfConversions) {
    char text[] = "abcd";
    const auto expect = [&](const std::string& what, auto slot, const char* source, const char* target) {
        for (const int missing : {0, 1, 2}) {
            char buf[16] = "";
            int read = 9, written = 9;
            const int status = static_cast<int>(slot(missing == 0 ? nullptr : text, 4, missing == 1 ? nullptr : buf, 16,
                                                     &read, missing == 2 ? nullptr : &written));
            expect_broken(what,
                          missing == 0   ? source
                          : missing == 1 ? target
                                         : "write_len != NULL",
                          {0, 0, missing == 2 ? 9 : 0}, {status, read, written});
            EXPECT_STREQ(buf, "") << what;
        }
    };
    for (int i = 0; i < QZSTR_CHARSET_MAX; ++i) {
        const auto& row = _charset_info[i];
        const std::string name = row.name;
        const auto in_order = [](auto slot) { return [=](auto... a) { return slot(a..., uchar{1}); }; };
        expect(name + " to_ucs2", in_order(row.qzstr_to_ucs2_fn), "str != NULL", "ucs2 != NULL");
        expect(name + " to_ucs4", in_order(row.qzstr_to_ucs4_fn), "str != NULL", "ucs4 != NULL");
        expect(name + " from_ucs2", in_order(row.qzstr_from_ucs2_fn), "ucs2 != NULL", "str != NULL");
        expect(name + " from_ucs4", in_order(row.qzstr_from_ucs4_fn), "ucs4 != NULL", "str != NULL");
        const bool is_utf16 = i == QZSTR_CHARSET_UTF16;
        for (int to = 0; to < QZSTR_CHARSET_MAX; ++to) {
            // These cells are a slot of the other row, and name its arguments.
            const bool encodes = is_utf16 && (to == 0 || to == 10 || (to >= 12 && to <= 14));
            const bool decodes = to == QZSTR_CHARSET_UTF16 && row.max_bytes_per_char != 4 && !is_utf16;
            expect(
                name + " to " + _charset_info[to].name,
                [&](char* str, int len, auto... out) {
                    return row.qzstr_get_another_charset_str_fn[to](static_cast<qzstr_charset_t>(i), str, len,
                                                                    static_cast<qzstr_charset_t>(to), out...);
                },
                encodes ? "ucs2 != NULL" : "str != NULL",
                encodes   ? "str != NULL"
                : decodes ? "ucs2 != NULL"
                          : "buf != NULL");
        }
    }
}

TEST(BrokenPreconditions, OfPositions) {
    char text[] = "abcd", *const none = nullptr;
    for (const auto& row : _charset_info) {
        const std::string name = row.name;
        const bool counts_all =
            &row == &_charset_info[QZSTR_CHARSET_ASCII] || &row == &_charset_info[QZSTR_CHARSET_TCVN3];
        const bool starts_at_0 = &row == &utf8 || &row == &utf16;
        for (const int missing : {0, 1, 2, 3}) {
            ints answer = position(row, missing == 3 ? "abcd" : "", 2);
            if (missing != 3 && &row == &utf16) answer = {-9, -9, -9}; // of an empty text it asserts
            take_assertions();
            int start = -9, end = -9, count = -9;
            row.qzstr_get_byte_pos_fn(missing == 0 ? none : text, 4, 2, missing == 1 ? nullptr : &start,
                                      missing == 2 ? nullptr : &end, missing == 3 ? nullptr : &count);
            const char* const asserted[] = {"str != NULL", "start_pos != NULL", "end_pos != NULL", ""};
            if (missing != 0) answer[static_cast<std::size_t>(missing - 1)] = -9;
            expect_broken(name + " get_byte_pos", asserted[missing], answer, {start, end, count});
        }
        if (&row == &iso2022kr || &row == &_charset_info[QZSTR_CHARSET_US8ICL]) continue; // refuse
        const auto call = [&](auto slot, char* str, auto... more) {
            return ints{static_cast<int>(slot(str, more...))};
        };
        const uchar ahead = 1;
        expect_broken(name + " count_char", "str != NULL", {0}, call(row.qzstr_count_char_fn, none, 1));
        expect_broken(name + " count_byte", "str != NULL", {0}, call(row.qzstr_count_byte_fn, none, 1));
        expect_broken(name + " count_char", counts_all ? "" : "byte_cnt >= 0", {0},
                      call(row.qzstr_count_char_fn, text, -1));
        expect_broken(name + " count_byte", counts_all ? "" : "char_cnt >= 0", {counts_all ? -1 : 0},
                      call(row.qzstr_count_byte_fn, text, -1));
        for (const int offset : {2, -2}) {
            char* const str = offset < 0 ? text : none;
            const char* const expression = offset < 0 ? "byte_offset >= 0" : "str != NULL";
            const int leading = starts_at_0 && offset < 0 ? 0 : offset;
            expect_broken(name + " starts", expression, {1}, call(row.qzstr_is_char_leading_byte, str, offset));
            expect_broken(name + " start", expression, {leading}, call(row.qzstr_get_char_leading_byte, str, offset));
            expect_broken(name + " ends", expression, {1}, call(row.qzstr_is_char_ending_byte, str, offset));
            expect_broken(name + " end", expression, {offset},
                          call(row.qzstr_get_char_ending_byte, str, offset, ahead));
        }
    }
    EXPECT_EQ(utf16.qzstr_get_first_trailing_space_fn(none, 2), -1);
    EXPECT_EQ(take_assertions().size(), 1U);
}

} // namespace
