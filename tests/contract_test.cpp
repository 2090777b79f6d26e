// The contract over all rows: vector levels against the exact routines, every target size, resuming, shifting across
// vector borders. The texts are valid characters of each row mixed with ASCII and damage.
#include "invariants.h"

#include <random>

using namespace support;

namespace {

/// Characters of a row as bytes, in the order of their code points: all of the BMP and some of what lies beyond.
const std::vector<std::string>& repertoire(int row) {
    static std::vector<std::string> characters[QZSTR_CHARSET_MAX];
    auto& mine = characters[row];
    for (unsigned c = 1; mine.empty() || (c != 1 && c < 0x110000); c += c < 0x10000 ? 1 : 31) {
        const char unit[] = {0, static_cast<char>(c >> 16), static_cast<char>(c >> 8), static_cast<char>(c)};
        if (const converted e = run_slot(levels()[0].catalogue[row].qzstr_from_ucs4_fn, std::string(unit, 4), 16);
            e.status == 0)
            mine.push_back(e.bytes);
    }
    return mine;
}

/// Text of about n bytes: characters (all kinds, or neighbours such as a script), ASCII and stray bytes in proportions that
/// vary from text to text.
std::string make_text(int row, std::size_t n, std::mt19937& random) {
    const auto& characters = repertoire(row);
    const unsigned ascii = random() % 101, stray = random() % 3 == 0 ? random() % 12 : 0;
    const std::size_t first = random() % std::max<std::size_t>(characters.size() >> random() % 12, 1);
    const std::size_t span = random() % 3 == 0 ? 1 + random() % 300 : characters.size();
    const std::size_t past = std::min(first + span, characters.size());
    std::string text;
    while (text.size() < n) {
        if (random() % 100 < stray)
            text += static_cast<char>(random());
        else if (random() % 100 < ascii)
            text += static_cast<char>(' ' + random() % 95);
        else
            text += characters[first + random() % (past - first)];
    }
    text.resize(n);
    return text;
}

class EveryRow : public testing::TestWithParam<int> {
protected:
    void TearDown() override { take_assertions(); }
};

TEST_P(EveryRow, LevelsAgreeWithTheExactRoutines) {
    std::mt19937 random(20);
    for (int round = 0; round < 6000; ++round) {
        trial t{GetParam(), static_cast<unsigned>(round), {}, 0, static_cast<unsigned>(random())};
        std::string text = make_text(t.row, random() % (round % 16 == 0 ? 3000 : 300), random);
        if (t.operation % operations == 2) // units for the encoder: of this row's text, at times damaged
            text = run_slot(levels()[0].catalogue[t.row].qzstr_to_ucs2_fn, text, -1, t.mode & 1).bytes;
        if (t.operation % operations == 3)
            text = run_slot(levels()[0].catalogue[t.row].qzstr_to_ucs4_fn, text, -1, t.mode & 1).bytes;
        if (random() % 8 == 0 && !text.empty()) text[random() % text.size()] = static_cast<char>(random());
        t.size = static_cast<int>(random() % 3 == 0 ? text.size() * 4 + 16 : random() % (text.size() * 2 + 4));
        t.input = std::move(text);
        const std::string found = disagreement(t);
        ASSERT_EQ(found, "");
    }
}

TEST_P(EveryRow, EveryTargetSizeStopsAtACharacterAndResumes) {
    if (GetParam() == QZSTR_CHARSET_ISO2022KR) GTEST_SKIP() << "a resumed text begins in SI without a designator";
    std::mt19937 random(7);
    const auto& row = _charset_info[GetParam()];
    const auto resumes = [](auto slot, const std::string& source) {
        const converted whole = run_slot(slot, source, static_cast<int>(source.size() * 4 + 16));
        for (int room = 0; room <= whole.written + 2; ++room) {
            const converted part = run_slot(slot, source, room);
            ASSERT_LE(part.written, room);
            ASSERT_EQ(part.bytes, whole.bytes.substr(0, part.bytes.size())) << "room " << room;
            const bool complete = part.written == whole.written && part.read == whole.read;
            ASSERT_EQ(part.status & 1, complete ? whole.status & 1 : 1) << "room " << room;
            const auto rest = std::min<std::size_t>(static_cast<std::size_t>(part.read), source.size());
            const converted more = run_slot(slot, source.substr(rest), -1);
            ASSERT_EQ(part.bytes + more.bytes, whole.bytes) << "room " << room << " source " << hex(source);
        }
    };
    for (int round = 0; round < 40; ++round) {
        const std::string text = make_text(GetParam(), 1 + random() % 90, random);
        resumes(row.qzstr_to_ucs2_fn, text);
        resumes(row.qzstr_to_ucs4_fn, text);
        resumes(row.qzstr_from_ucs2_fn, run_slot(row.qzstr_to_ucs2_fn, text).bytes);
        resumes(row.qzstr_from_ucs4_fn, run_slot(row.qzstr_to_ucs4_fn, text).bytes);
    }
}

TEST_P(EveryRow, ShiftedAcrossVectorBorders) {
    std::mt19937 random(3);
    const auto& row = _charset_info[GetParam()];
    for (int round = 0; round < 30; ++round) {
        const std::string text = make_text(GetParam(), random() % 40, random);
        const converted alone = run_slot(row.qzstr_to_ucs2_fn, text);
        const std::string letter = run_slot(row.qzstr_from_ucs2_fn, std::string("\0a", 2)).bytes;
        std::string shift, shifted_units;
        for (int k = 0; k <= 65; ++k, shift += letter, shifted_units += std::string("\0a", 2)) {
            const converted c = run_slot(row.qzstr_to_ucs2_fn, shift + text);
            const int by = static_cast<int>(shift.size());
            ASSERT_EQ(c, (converted{alone.status, alone.read + by, alone.written + 2 * k, shifted_units + alone.bytes}))
                << "shift " << k << " text " << hex(text);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Rows, EveryRow, testing::Range(0, static_cast<int>(QZSTR_CHARSET_MAX)),
                         [](const auto& info) { return "row" + std::to_string(info.param); });

} // namespace
