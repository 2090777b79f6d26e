// What the tests of the Japanese rows share: repertoires laid out from the mapping files, and walks that hold a row to them.
#pragma once

#include "repertoire.h"

#include <algorithm>
#include <functional>

namespace japanese {

using namespace support;

using characters = std::u32string;
using decoding = std::map<std::string, characters>; ///< sequence to what it means
using encoding = std::map<characters, std::string>; ///< character, or base and mark, to its sequence

struct mapping_line {
    unsigned code;
    characters to;
    bool decode_only;
};

inline std::vector<mapping_line> read_mapping(const std::string& name) {
    std::vector<mapping_line> lines;
    for (const auto& columns : mapping_lines(name)) {
        characters text;
        std::istringstream parts(columns[1]);
        for (std::string part; std::getline(parts, part, '+');)
            text.push_back(hex_number(part));
        lines.push_back({hex_number(columns[0]), text, columns.size() > 2});
    }
    return lines;
}

inline std::string sequence(std::initializer_list<unsigned> bytes) {
    return {bytes.begin(), bytes.end()};
}

inline const characters marks = {0x2E5, 0x2E9, 0x300, 0x301, 0x309A};

struct row_under_test {
    int row;
    decoding decodes;
    encoding encodes;
    int beyond_bmp_extra;  ///< bytes swallowed after a character that 16 bits cannot hold
    bool pairs_in_16_bits; ///< whether a base with a mark comes out of to_ucs2

    const qzstr_charset_info_t& slots() const { return _charset_info[row]; }

    /// A whole sequence of `length` bytes, whatever it means.
    void expect_decoded(const std::string& sequence) const {
        const auto found = decodes.find(sequence);
        const characters to = found == decodes.end() ? characters{0xFFFD} : found->second;
        const bool fits16 = to.size() == 2 ? pairs_in_16_bits : to[0] < 0x10000;
        const int read16 = static_cast<int>(sequence.size()) + (to[0] > 0xFFFF ? beyond_bmp_extra : 0);
        const int read32 = static_cast<int>(sequence.size());
        const conv_status_t bad = found == decodes.end() ? 2 : 0;
        for (const bool big_end : {false, true}) {
            const std::string narrow = units(fits16 ? to : characters{0xFFFD}, 2, big_end);
            const std::string wide = units(to, 4, big_end);
            ASSERT_EQ(run_slot(slots().qzstr_to_ucs2_fn, sequence, -1, big_end),
                      (converted{fits16 ? bad : 2, read16, static_cast<int>(narrow.size()), narrow}))
                << "row " << row << ": " << hex(sequence);
            ASSERT_EQ(run_slot(slots().qzstr_to_ucs4_fn, sequence, -1, big_end),
                      (converted{bad, read32, static_cast<int>(wide.size()), wide}))
                << "row " << row << ": " << hex(sequence);
        }
    }

    /// Every code point alone, in both unit sizes; `wide` is what 32-bit units encode to.
    void expect_every_code_point_encoded(const encoding& wide) const {
        for (char32_t c = 0; c < 0x30000; ++c) {
            const auto outcome = [c](const encoding& from, int read) {
                const auto found = from.find({c});
                const std::string to = found == from.end() ? "?" : found->second;
                return converted{found == from.end() ? 2 : 0, read, static_cast<int>(to.size()), to};
            };
            ASSERT_EQ(run_slot(slots().qzstr_from_ucs4_fn, units({c}, 4)), outcome(wide, 4))
                << "row " << row << ": " << std::hex << static_cast<unsigned>(c);
            if (c > 0xFFFF) continue;
            const converted expected = outcome(encodes, 2);
            ASSERT_EQ(run_slot(slots().qzstr_from_ucs2_fn, units({c}, 2)), expected)
                << "row " << row << ": " << std::hex << static_cast<unsigned>(c);
        }
    }

    std::string encoded(const characters& text) const {
        std::string bytes;
        for (std::size_t i = 0; i < text.size(); ++i) {
            auto found = encodes.find(text.substr(i, 2));
            if (found != encodes.end() && i + 1 < text.size())
                ++i;
            else
                found = encodes.find(text.substr(i, 1));
            bytes += found == encodes.end() ? "?" : found->second;
        }
        return bytes;
    }

    /// Runs of bases, marks and ordinary characters at every place around a vector's border, in every level.
    void expect_compositions() const {
        characters telling = U"aか一ﾊ" + marks;
        for (const auto& line : read_mapping("jisx0213"))
            if (line.to.size() == 2 && telling.find(line.to[0]) == characters::npos) telling += line.to[0];
        for (const char32_t a : telling)
            for (const char32_t b : telling)
                for (const char32_t c : characters{'a'} + marks)
                    for (const std::size_t before : {0, 1, 14, 31}) {
                        const characters text = characters(before, U'あ') + characters{a, b, c};
                        const std::string expected = encoded(text);
                        for (const level& l : levels()) {
                            const auto& at = l.catalogue[row];
                            ASSERT_EQ(hex(run_slot(at.qzstr_from_ucs2_fn, units(text, 2)).bytes), hex(expected))
                                << l.name << " " << hex(units(text, 2));
                            ASSERT_EQ(hex(run_slot(at.qzstr_from_ucs4_fn, units(text, 4, false), -1, false).bytes),
                                      hex(expected))
                                << l.name << " " << hex(units(text, 2));
                        }
                    }
    }

    /// Everything of the above; `wide` is what 32-bit units encode to.
    void expect_repertoire(const std::vector<std::string>& sequences, const encoding& wide) const {
        for (const std::string& sequence : sequences)
            expect_decoded(sequence);
        expect_every_code_point_encoded(wide);
        expect_compositions();
    }
};

/// The sequences among `all` that the C library reads differently from `decodes`.
template <class Sequences>
std::string read_otherwise(const char* charset, const decoding& decodes, const Sequences& all) {
    const peer theirs(charset);
    code_set found;
    for (const std::string& one : all) {
        const characters meaning = theirs.characters(one);
        const auto ours = decodes.find(one);
        found.visit(number(one), !meaning.empty() && (ours == decodes.end() || ours->second != meaning));
    }
    return found.text();
}

/// All pairs of bytes, and single bytes, that the decoder of Shift-JIS or CP932 takes whole.
inline std::vector<std::string> shift_jis_sequences() {
    std::vector<std::string> all;
    for (unsigned b = 0; b < 0x100; ++b)
        if ((b >= 0x81 && b <= 0x9F) || (b >= 0xE0 && b <= 0xFC))
            for (unsigned trail = 0; trail < 0x100; ++trail)
                all.push_back(sequence({b, trail}));
        else
            all.push_back(sequence({b}));
    return all;
}

/// A pair of Shift-JIS: rows 1 to 94 of plane 1, or of plane 2.
inline std::string shift_jis_pair(unsigned plane, unsigned row, unsigned col) {
    static const std::string plane_2 = {1, 8, 3, 4, 5, 12, 13, 14, 15}; // then 78 to 94
    unsigned line = plane == 1  ? row - 1
                    : row >= 78 ? row - 78 + 9
                                : static_cast<unsigned>(plane_2.find(static_cast<char>(row)));
    const unsigned lead = plane == 2 ? 0xF0 + line / 2 : line < 62 ? 0x81 + line / 2 : 0xC1 + line / 2;
    // Odd rows take the trails 40 to 7E and 80 to 9E, even rows those from 9F on.
    return sequence({lead, line % 2 != 0 ? 0x9E + col : col + (col < 64 ? 0x3F : 0x40)});
}

/// What Shift-JIS and CP932 have in common; a later layer takes the place of an earlier one.
struct shift_jis_layers {
    static void jisx0213(row_under_test& t, const std::function<bool(char32_t)>& composes) {
        for (const auto& line : read_mapping("jisx0213")) {
            const std::string bytes =
                shift_jis_pair(line.code >> 16, (line.code >> 8 & 0xFF) - 0x20, (line.code & 0xFF) - 0x20);
            t.decodes[bytes] = line.to;
            if (line.to.size() == 1 || composes(line.to[0])) t.encodes[line.to] = bytes;
        }
    }
    static void user_defined(row_under_test& t, bool decoder = true) {
        char32_t c = 0xE000;
        for (unsigned lead = 0xF0; lead <= 0xF9; ++lead)
            for (unsigned trail = 0x40; trail <= 0xFC; ++trail) {
                if (trail == 0x7F) continue;
                if (decoder) t.decodes[sequence({lead, trail})] = {c};
                t.encodes[{c++}] = sequence({lead, trail});
            }
    }
    static void jisx0208(row_under_test& t) {
        for (const auto& line : read_mapping("jisx0208")) {
            const std::string bytes = shift_jis_pair(1, (line.code >> 8) - 0x20, (line.code & 0xFF) - 0x20);
            t.decodes[bytes] = line.to;
            t.encodes[line.to] = bytes;
        }
    }
    static void single_bytes(row_under_test& t) {
        for (unsigned b = 0; b < 0x80; ++b)
            t.encodes[{b}] = sequence({b}), t.decodes[sequence({b})] = {b};
        for (unsigned b = 0xA1; b < 0xE0; ++b)
            t.encodes[{0xFEC0 + b}] = sequence({b}), t.decodes[sequence({b})] = {0xFEC0 + b};
    }
};

using ucs_slot = decltype(conversion_case::slot);
inline ucs_slot decoder(int row) {
    return _charset_info[row].qzstr_to_ucs2_fn;
}
inline ucs_slot encoder(int row) {
    return _charset_info[row].qzstr_from_ucs2_fn;
}

} // namespace japanese
