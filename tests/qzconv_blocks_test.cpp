// Text converted in blocks gives what one pass over the whole gives, for every pair of charsets and wherever the blocks
// end, on well-formed and on malformed text.
#include "blocks.h"
#include "samples.h"

#include <gtest/gtest.h>
#include <qzstr_runtime.h>

#include <array>
#include <string>
#include <vector>

namespace {

using qzconv::Block;
using qzconv::BlockConverter;

bool not_implemented = false;
void note_error(const qzstr_error_t*, void*) {
    not_implemented = true;
}

struct Converted {
    std::string output;
    std::size_t consumed = 0;
    bool operator==(const Converted&) const = default;
};

/// One call, with a target that cannot fill. The Big5-like reductions, which can fill any, are not asked.
Converted one_pass(qzstr_charset_t from, qzstr_charset_t to, std::string text) {
    Converted result{std::string(text.size() * 8 + 64, '\0')};
    int read = 0, written = 0;
    qzconv::info(from).qzstr_get_another_charset_str_fn[to](from, text.data(), static_cast<int>(text.size()), to,
                                                            result.output.data(),
                                                            static_cast<int>(result.output.size()), &read, &written);
    if (from == QZSTR_CHARSET_ASCII && to == QZSTR_CHARSET_US8ICL) result.output = text; // rewritten in place
    result.output.resize(static_cast<std::size_t>(written));
    result.consumed = std::min(static_cast<std::size_t>(read), text.size());
    return result;
}

/// In pieces of `size` bytes, or of random sizes when it is 0.
Converted in_blocks(qzstr_charset_t from, qzstr_charset_t to, std::string_view text, std::size_t size,
                    std::mt19937& random) {
    BlockConverter converter(from, to);
    Converted result;
    std::string pending;
    for (bool at_end = false; !at_end;) {
        const std::size_t take = std::min(size != 0 ? size : 1 + random() % 90, text.size());
        pending += text.substr(0, take);
        text.remove_prefix(take);
        at_end = take == 0;
        const Block block = converter.convert(pending, at_end);
        result.output += block.output;
        result.consumed += block.consumed;
        pending.erase(0, block.consumed);
    }
    return result;
}

TEST(Blocks, OfAnySizeGiveTheResultOfOnePass) {
    qzstr_runtime_set_error_handler(note_error, nullptr, nullptr, nullptr);
    std::mt19937 random(20);
    int compared = 0;
    for (int f = 0; f < QZSTR_CHARSET_MAX; ++f)
        for (int t = 0; t < QZSTR_CHARSET_MAX; ++t) {
            const auto from = static_cast<qzstr_charset_t>(f), to = static_cast<qzstr_charset_t>(t);
            const bool fills_any_target = (from == QZSTR_CHARSET_MSWIN950 || from == QZSTR_CHARSET_ZHT16BIG5 ||
                                           from == QZSTR_CHARSET_ZHT16MSWIN950) &&
                                          (to == QZSTR_CHARSET_ASCII || to == QZSTR_CHARSET_TCVN3);
            if (fills_any_target) continue; // below
            const std::string own = sample(from);
            not_implemented = false;
            std::vector<std::string> texts{own, own + own + own};
            for (int n = 0; n < 4; ++n) {
                texts.push_back(telling_bytes(random, 300));
                texts.push_back(std::string(own).replace(random() % (own.size() + 1), 2, telling_bytes(random, 3)));
            }
            for (const std::string& text : texts) {
                const Converted whole = one_pass(from, to, text);
                for (const std::size_t size : {0, 0, 1, 2, 3, 7, 31, 64}) {
                    const Converted blocks = in_blocks(from, to, text, size, random);
                    if (not_implemented) break;
                    ++compared;
                    ASSERT_EQ(testing::PrintToString(whole.output), testing::PrintToString(blocks.output))
                        << qzconv::info(from).name << " to " << qzconv::info(to).name << ", block size " << size
                        << ", text " << testing::PrintToString(text);
                    ASSERT_EQ(whole.consumed, blocks.consumed) << qzconv::info(from).name;
                }
            }
        }
    qzstr_runtime_set_error_handler(nullptr, nullptr, nullptr, nullptr);
    EXPECT_GT(compared, 0);
}

TEST(Blocks, StepOverBytesThatTheBig5ReductionsNeverConsume) {
    qzstr_runtime_set_error_handler(note_error, nullptr, nullptr, nullptr);
    for (const auto from : {QZSTR_CHARSET_MSWIN950, QZSTR_CHARSET_ZHT16BIG5, QZSTR_CHARSET_ZHT16MSWIN950}) {
        not_implemented = false;
        std::mt19937 random(1);
        const std::string text = "ab\x80\xFF"
                                 "c\xA4\xA4" +
                                 std::string(200, '\xFF') + "d\n\xA4";
        for (const std::size_t size : {1, 5, 1000}) {
            const Converted result = in_blocks(from, QZSTR_CHARSET_ASCII, text, size, random);
            if (not_implemented) break;
            EXPECT_EQ(result.output, "ab??c?" + std::string(200, '?') + "d\n");
            EXPECT_EQ(result.consumed, text.size() - 1);
        }
    }
    qzstr_runtime_set_error_handler(nullptr, nullptr, nullptr, nullptr);
}

TEST(Blocks, CountReplacementsAndTellWhoIsToBlame) {
    const struct {
        qzstr_charset_t from, to;
        std::string text;
        std::size_t replacements, characters;
        bool malformed;
    } cases[] = {
        {QZSTR_CHARSET_ASCII, QZSTR_CHARSET_UTF16, "a?b", 0, 3, false},
        {QZSTR_CHARSET_EUCKR, QZSTR_CHARSET_UTF16, "a\x80?\xFF", 2, 4, true},
        {QZSTR_CHARSET_EUCKR, QZSTR_CHARSET_ASCII, "?\xB0\xA1?\xB0\xA2", 2, 4, false},
        {QZSTR_CHARSET_EUCKR, QZSTR_CHARSET_ASCII, "\xFF", 1, 1, true},
        {QZSTR_CHARSET_EUCKR, QZSTR_CHARSET_UTF16, "\xB0\xA1\xC9\xA1?", 1, 3, true},
    };
    for (const auto& c : cases) {
        const Block block = BlockConverter(c.from, c.to).convert(c.text, true);
        SCOPED_TRACE(testing::PrintToString(c.text));
        EXPECT_EQ(block.replacements, c.replacements);
        EXPECT_EQ(block.characters, c.characters);
        EXPECT_EQ(block.malformed, c.malformed);
        EXPECT_EQ(block.consumed, c.text.size());
    }
}

TEST(NearNames, AreSuggested) {
    const struct {
        const char *name, *first;
    } cases[] = {{"utf-9", "UTF-8"}, {"euc_kr", "EUC-KR"}, {"1252", "CP1252"}, {"gb1803", "GB18030"}, {"zzzzzzzz", ""}};
    for (const auto& c : cases) {
        const std::vector<std::string> near = qzconv::near_names(c.name);
        EXPECT_EQ(near.empty() ? "" : near.front(), c.first) << c.name;
    }
}

} // namespace
