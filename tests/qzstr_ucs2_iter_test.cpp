// The UCS-2 iterator.
#include "support.h"

using namespace support;

namespace {

struct step {
    int produced;
    conv_status_t status;
    int offset;
    std::string units;
    bool operator==(const step&) const = default;
};

/// Steps through the text between guard pages until the end, or for ten steps.
std::vector<step> steps(qzstr_charset_t charset, const std::string& text, int chars, int room) {
    const guarded in, out;
    qzstr_ucs2_iter_t it;
    qzstr_ucs2_iter_init(&it, charset, in.place(text), static_cast<int>(text.size()),
                         out.room(static_cast<std::size_t>(room)), room);
    std::vector<step> taken;
    while (taken.size() < 10 && qzstr_ucs2_iter_next(&it, chars) != 0) {
        char* units = nullptr;
        int len = 0;
        const conv_status_t status = qzstr_ucs2_iter_get_ucs2_str(&it, &units, &len);
        taken.push_back({1, status, it.cur_str_offset, hex({units, static_cast<std::size_t>(len)})});
    }
    return taken;
}

TEST(Ucs2Iterator, Slices) {
    const struct {
        qzstr_charset_t charset;
        std::string text;
        int chars, room;
        std::vector<step> expected;
    } cases[] = {
        {QZSTR_CHARSET_ASCII, "abcde", 2, 4, {{1, 0, 2, "00 61 00 62"}, {1, 0, 4, "00 63 00 64"}, {1, 0, 5, "00 65"}}},
        {QZSTR_CHARSET_MSWIN949, "a\xB0\xA1\x81\x41", 2, 4, {{1, 0, 3, "00 61 AC 00"}, {1, 0, 5, "AC 02"}}},
        {QZSTR_CHARSET_EUCKR, "a\xB0\xA1z", 9, 8, {{1, 0, 4, "00 61 AC 00 00 7A"}}},
        {QZSTR_CHARSET_EUCKR, "ab\xB0\xA1z", 3, 4, {{1, 1, 4, "00 61 00 62"}, {1, 0, 5, "00 7A"}}}, // KEPT: skipped
        {QZSTR_CHARSET_EUCKR, "a\xB0", 2, 8, {{1, 1, 2, "00 61"}}},
        {QZSTR_CHARSET_EUCKR, "\xFF", 1, 2, {{1, 2, 1, "FF FD"}}},
        {QZSTR_CHARSET_EUCKR, "", 1, 2, {}},
    };
    for (const auto& c : cases)
        EXPECT_TRUE(steps(c.charset, c.text, c.chars, c.room) == c.expected) << hex(c.text);
}

TEST(Ucs2Iterator, Assertions) {
    qzstr_ucs2_iter_t it;
    char* units = nullptr;
    int len = 9;
    char buffer[4];
    qzstr_ucs2_iter_init(nullptr, QZSTR_CHARSET_ASCII, buffer, 1, buffer, 4);
    EXPECT_EQ(qzstr_ucs2_iter_next(nullptr, 1), 0);
    qzstr_ucs2_iter_init(&it, QZSTR_CHARSET_ASCII, nullptr, 5, buffer, 4);
    EXPECT_EQ(qzstr_ucs2_iter_next(&it, 1), 0);
    qzstr_ucs2_iter_get_ucs2_str(&it, &units, &len);
    EXPECT_EQ(len, 0);
    std::vector<std::string> expressions;
    for (const std::string& a : take_assertions())
        expressions.push_back(a.substr(0, a.rfind(':')));
    const std::string at = "@common/qzstr/qzstr_ucs2_iter";
    EXPECT_EQ(expressions, (std::vector<std::string>{"ucs2_iter != NULL" + at, "ucs2_iter != NULL" + at,
                                                     "ucs2_iter->ucs2_buf_is_valid" + at}));
}

} // namespace
