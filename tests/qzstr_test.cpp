// Conversion through Unicode: a long text gives what one pass gives, and a full target stops where it should.
#include "repertoire.h"

using namespace support;

namespace {

constexpr int chunk_units = 16000;

/// The two stages in one pass each, with room for everything. What a pivot adds: a cut tail sets no bit.
converted one_pass(int from, int to, std::string_view text) {
    const converted units = run_slot(_charset_info[from].qzstr_to_ucs2_fn, text);
    converted whole = run_slot(_charset_info[to].qzstr_from_ucs2_fn, units.bytes);
    whole.status = (whole.status | units.status) & 2;
    whole.read = units.read;
    return whole;
}

converted pivot(int from, int to, std::string_view text, int room = -1) {
    return run_slot(
        [=](char* str, int len, char* buf, int size, int* read, int* written, uchar) {
            return qzstr_convert_through_ucs2(static_cast<qzstr_charset_t>(from), str, len,
                                              static_cast<qzstr_charset_t>(to), buf, size, read, written);
        },
        text, room);
}

const std::string shifted = unhex("41 1B 24 29 43 0E 30 21 30 22 0F 42 0E 30 23 0F 0A 0E 30 24 30 25 0F 0E");
const std::string mixed = unhex("41 B0 A1 81 41 20 C9 A1 FF 41 B0 A2 0A B0 A3");

// A short text on every side of the border between two chunks, whole and cut at every byte.
TEST(Pivot, ChunkBordersAreInvisible) {
    const struct {
        int from, to;
        std::string text;
    } cases[] = {{33, 33, shifted}, {33, 11, shifted}, {33, 2, shifted}, {2, 33, mixed}, {2, 11, mixed}, {1, 2, mixed}};
    for (const auto& c : cases)
        for (std::size_t before = 0; before <= 20; ++before)
            for (std::size_t length = 0; length <= c.text.size(); length += before % 4 == 0 ? 1 : c.text.size()) {
                const std::string text = std::string(chunk_units - before, 'x') + c.text.substr(0, length);
                ASSERT_EQ(pivot(c.from, c.to, text), one_pass(c.from, c.to, text)) << c.from << " " << before;
            }
}

// A base and its mark, and a run of tone letters, which are both, on every side of a border: into the Japanese rows.
TEST(Pivot, JoinedUnitsStayTogether) {
    const std::string joined = "\xE3\x81\x8B\xE3\x82\x9A"
                               "a"
                               "\xCB\xA9\xCB\xA5\xCB\xA9\xCB\xA5\xCB\xA9"
                               "b"
                               "\xC3\xA6\xCC\x80"
                               "\xE3\x81\x8B"
                               "c";
    for (const int to : {5, 6, 7, 8, 9, 27})
        for (std::size_t before = 0; before <= 14; ++before) {
            const std::string text = std::string(chunk_units - before, 'x') + joined;
            ASSERT_EQ(pivot(3, to, text), one_pass(3, to, text)) << to << " " << before;
        }
    EXPECT_EQ(hex(pivot(3, 5, joined.substr(0, 6)).bytes), "82 F5");
    // The same before what no shortcut takes.
    for (const int to : {5, 6, 7, 8, 9, 27})
        for (std::size_t length = 0; length <= joined.size(); ++length) {
            const std::string text = joined.substr(0, length) + "\xF0\x9F\x98\x80\xFF" + joined;
            ASSERT_EQ(pivot(3, to, text), one_pass(3, to, text)) << to << " " << length;
            const std::string wide = one_pass(3, 4, text).bytes + "\xD8\x3D" + one_pass(3, 4, joined).bytes;
            ASSERT_EQ(pivot(4, to, wide), one_pass(4, to, wide)) << to << " " << length;
        }
}

TEST(Pivot, ManyChunks) {
    std::uint64_t seed = 3;
    const std::string broken = random_text(seed, 40000, {"0E 30 21", "0F 41", "1B 24 29 43", "1B", "30", "0A"});
    for (const int to : {1, 2, 11, 33})
        EXPECT_EQ(pivot(33, to, broken), one_pass(33, to, broken)) << to;
    const std::string only_shifts = unhex("1B 24 29 43 0E 0F 0E");
    EXPECT_EQ(pivot(33, 11, only_shifts), (converted{0, 7, 0, ""}));
}

TEST(Pivot, FullTarget) {
    const std::string text = std::string(chunk_units - 3, 'x') + unhex("41 B0 A1 81 41 20 C9 A1 80 41 B0 A2 0A B0 A3");
    for (const int to : {33, 11}) {
        const converted whole = one_pass(2, to, text);
        for (int size = whole.written; size-- > chunk_units - 12;) {
            const converted r = pivot(2, to, text, size);
            ASSERT_EQ(r.status & 1, 1);
            ASSERT_EQ(r.bytes, whole.bytes.substr(0, r.bytes.size())) << size;
            ASSERT_LE(whole.bytes.size() - r.bytes.size() - static_cast<std::size_t>(whole.written - size), 8U);
            // One unit a character: what was read gives what was written.
            const std::string done = one_pass(2, to, text.substr(0, static_cast<std::size_t>(r.read))).bytes;
            ASSERT_EQ(r.bytes, done.substr(0, r.bytes.size())) << size;
            ASSERT_LE(done.size() - r.bytes.size(), to == 33 ? 1U : 0U) << size;
        }
    }
    // A bad byte later in the chunk is reported although it was not written; one in the next chunk is not.
    EXPECT_EQ(pivot(2, 11, "ab\xFF\xFF", 1), (converted{3, 1, 1, "a"}));
    EXPECT_EQ(pivot(2, 11, std::string(chunk_units, 'x') + "\xFF\xFF", 1), (converted{1, 1, 1, "x"}));
    EXPECT_EQ(pivot(2, 11, std::string(chunk_units - 1, 'x') + "\xFF\xFF", 1), (converted{3, 1, 1, "x"}));
    // KEPT: positions of a text with shifts are counted from the chunk's start without state.
    EXPECT_EQ(pivot(33, 2, unhex("41 1B 24 29 43 0E 30 21 30 22 0F"), 3), (converted{1, 2, 3, "A\xB0\xA1"}));
}

TEST(Pivot, ClosesTheShiftOnce) {
    EXPECT_EQ(pivot(2, 33, unhex("B0 A1 B0")), gives(0, 2, "1B 24 29 43 0E 30 21 0F")); // also before a cut tail
    EXPECT_EQ(pivot(2, 33, unhex("B0 A1"), 7), gives(1, 2, "1B 24 29 43 0E 30 21"));
    EXPECT_EQ(pivot(2, 33, unhex("B0 A1 B0 A2"), 8), gives(1, 2, "1B 24 29 43 0E 30 21"));
}

TEST(Pivot, Arguments) {
    int written = 9;
    char text[] = "A";
    EXPECT_EQ(pivot(2, 11, "", 0), (converted{0, 0, 0, ""}));
    EXPECT_EQ(qzstr_convert_through_ucs2(QZSTR_CHARSET_MSWIN949, text, -1, QZSTR_CHARSET_MSWIN936, text, -1, nullptr,
                                         &written),
              0);
    EXPECT_EQ(written, 0);
    // The row's routines for UCS-2 and UCS-4 are of two families, and a pivot takes those of its own units.
    char tilde[] = "\xEF\xBD\x9E", out[3];
    EXPECT_EQ(
        qzstr_convert_through_ucs4(QZSTR_CHARSET_UTF8, tilde, 3, QZSTR_CHARSET_EUCJP_TILDE, out, 3, nullptr, &written),
        0);
    EXPECT_EQ(std::string(out, 3), "\x8F\xA2\xB7");
    EXPECT_EQ(pivot(3, 4, "\xF0\x9F\x98\x80", 4), gives(2, 4, "FF FD"));
}

TEST(Dump, TenBytesALine) {
    char text[] = "\x01\xFF"
                  "23456789A";
    testing::internal::CaptureStdout();
    qzstr_dump_str(text, 11);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\n0x01 0xFF 0x32 0x33 0x34 0x35 0x36 0x37 0x38 0x39 \n0x41 ");
}

} // namespace
