// Whole repertoires in a few lines: the mapping files, one character at a time through a row and through the C library's
// converter, and sets of codes written as ranges.
#pragma once

#include "support.h"

#include <algorithm>
#include <fstream>
#include <iconv.h>
#include <map>
#include <optional>
#include <sstream>

namespace support {

/// The lines of a mapping file as their columns.
inline std::vector<std::vector<std::string>> mapping_lines(const std::string& name) {
    std::ifstream file(MAPPINGS_DIR "/" + name + ".txt");
    std::vector<std::vector<std::string>> lines;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream columns(line);
        lines.emplace_back();
        for (std::string column; std::getline(columns, column, '\t');)
            lines.back().push_back(column);
    }
    EXPECT_FALSE(lines.empty()) << name;
    return lines;
}

inline unsigned hex_number(const std::string& text) {
    return static_cast<unsigned>(std::stoul(text, nullptr, 16));
}

/// What Unicode says each character becomes, where it changes.
inline std::map<unsigned, unsigned> unicode_case(bool upper) {
    std::map<unsigned, unsigned> to;
    for (const auto& line : mapping_lines("unicode_case"))
        to[hex_number(line[0])] = hex_number(line[upper ? 2 : 1]);
    return to;
}

/// A code as its bytes, without leading zero bytes.
inline std::string code_bytes(unsigned code) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        if (code >> shift != 0) bytes += static_cast<char>(code >> shift);
    return bytes;
}

inline std::string units(std::u32string_view characters, int size, bool big_end = true) {
    std::string bytes;
    for (const char32_t c : characters)
        for (int i = 0; i < size; ++i)
            bytes += static_cast<char>(c >> 8 * (big_end ? size - 1 - i : i));
    return bytes;
}
inline std::string units(std::initializer_list<char32_t> characters, int size) {
    return units(std::u32string_view(characters.begin(), characters.size()), size);
}

inline char32_t number(std::string_view bytes) {
    char32_t value = 0;
    for (const unsigned char b : bytes)
        value = value << 8 | b;
    return value;
}

/// The one code point that a whole sequence decodes to, exactly.
inline std::optional<char32_t> decoded(const qzstr_charset_info_t& row, std::string_view sequence) {
    const converted c = run_slot(row.qzstr_to_ucs4_fn, sequence);
    if (c.status != 0 || c.read != static_cast<int>(sequence.size()) || c.written != 4) return {};
    return number(c.bytes);
}

inline std::optional<std::string> encoded(const qzstr_charset_info_t& row, char32_t c) {
    const converted e = run_slot(row.qzstr_from_ucs4_fn, units({c}, 4));
    if (e.status != 0) return {};
    return e.bytes;
}

/// The C library's converter, into UTF-32 if not told otherwise.
class peer {
public:
    explicit peer(const char* from, const char* to = "UTF-32BE") : converter_(iconv_open(to, from)) {
        if (converter_ == reinterpret_cast<iconv_t>(-1)) std::abort();
    }
    peer(const peer&) = delete;
    ~peer() { iconv_close(converter_); }

    /// What a whole sequence becomes; empty where it refuses.
    std::string bytes(std::string sequence) const {
        char out[16], *in_at = sequence.data(), *out_at = out;
        std::size_t in_left = sequence.size(), out_left = sizeof out;
        iconv(converter_, nullptr, nullptr, nullptr, nullptr);
        const bool done = iconv(converter_, &in_at, &in_left, &out_at, &out_left) == 0 && in_left == 0 &&
                          iconv(converter_, nullptr, nullptr, &out_at, &out_left) == 0;
        return done ? std::string(out, out_at) : std::string();
    }
    std::u32string characters(const std::string& sequence) const {
        const std::string wide = bytes(sequence);
        std::u32string found;
        for (std::size_t at = 0; at < wide.size(); at += 4)
            found += number(wide.substr(at, 4));
        return found;
    }
    std::optional<char32_t> decoded(const std::string& sequence) const {
        const std::u32string found = characters(sequence);
        if (found.size() != 1) return {};
        return found[0];
    }

private:
    iconv_t converter_;
};

/// Codes in the order they were added, as "A1-A3 B0": a run follows the order of the walk, whatever the codes skip.
class code_set {
public:
    void visit(unsigned code, bool belongs) {
        if (belongs && open_)
            last_ = code;
        else if (belongs)
            first_ = last_ = code;
        else
            close();
        open_ = belongs;
    }
    std::string text() {
        close();
        return text_;
    }

private:
    void close() {
        if (!std::exchange(open_, false)) return;
        char run[32];
        snprintf(run, sizeof run, first_ == last_ ? "%X" : "%X-%X", first_, last_);
        text_ += (text_.empty() ? "" : " ") + std::string(run);
    }
    bool open_ = false;
    unsigned first_ = 0, last_ = 0;
    std::string text_;
};

/// A row beside the C library's converter, code by code. What is `own` counts neither as added nor as differing.
struct comparison {
    int mapped, both_ways_in_16_bits;
    std::string only_peer, only_row, otherwise;    ///< codes
    std::string return_as_another, read_otherwise; ///< codes, and code points, that do not come back
    bool operator==(const comparison&) const = default;
};
inline void PrintTo(const comparison& c, std::ostream* out) {
    *out << c.mapped << ", " << c.both_ways_in_16_bits << "; " << c.only_peer << "; " << c.only_row << "; "
         << c.otherwise << "; " << c.return_as_another << "; " << c.read_otherwise;
}

inline comparison compare(int id, const char* charset, unsigned first, bool (*is_code)(unsigned), char32_t end,
                          bool (*own)(char32_t)) {
    const auto& row = _charset_info[id];
    const peer theirs(charset);
    code_set lacking, added, differing, other_code, other_character;
    comparison found{};
    for (unsigned code = first; code <= 0xFFFF; ++code) {
        if (!is_code(code)) continue;
        const std::string bytes = code_bytes(code);
        const auto ours = decoded(row, bytes), expected = theirs.decoded(bytes);
        lacking.visit(code, !ours && expected);
        added.visit(code, ours && !expected && !own(*ours));
        differing.visit(code, ours && expected && *ours != *expected && !own(*ours));
        other_code.visit(code, ours && encoded(row, *ours) != bytes);
        found.mapped += ours.has_value();
        const std::string unit = units({ours.value_or(0xFFFD)}, 2);
        const converted in_16_bits = run_slot(row.qzstr_to_ucs2_fn, bytes);
        EXPECT_TRUE(ours || (in_16_bits.status == 2 && in_16_bits.bytes.starts_with(unit))) << hex(bytes);
        if (in_16_bits != converted{0, 2, 2, unit} || run_slot(row.qzstr_from_ucs2_fn, unit).bytes != bytes) continue;
        ++found.both_ways_in_16_bits;
    }
    for (char32_t c = 0x80; c < end; ++c) {
        const auto code = encoded(row, c);
        other_character.visit(c, code && !own(c) && decoded(row, *code) != c);
        if (c > 0xFFFF) continue;
        const converted from_16_bits = run_slot(row.qzstr_from_ucs2_fn, units({c}, 2));
        EXPECT_TRUE(from_16_bits.status == 0 ? from_16_bits.bytes == code : from_16_bits == gives(2, 2, "3F")) << +c;
    }
    found.only_peer = lacking.text(), found.only_row = added.text(), found.otherwise = differing.text();
    found.return_as_another = other_code.text(), found.read_otherwise = other_character.text();
    return found;
}

/// A string of `length` bytes out of `telling`, for each combination.
template <class Each>
void each_string(const std::string& telling, std::size_t length, Each each) {
    std::vector<std::size_t> digit(length);
    for (std::size_t at = 0; at < length;) {
        std::string text;
        for (const std::size_t d : digit)
            text += telling[d];
        each(text);
        for (at = 0; at < length && ++digit[at] == telling.size(); ++at)
            digit[at] = 0;
    }
}

/// Pieces of text joined at random, from a fixed seed.
inline std::string random_text(std::uint64_t& seed, std::size_t pieces, std::initializer_list<const char*> choice) {
    std::string text;
    while (pieces-- > 0) {
        seed = seed * 6364136223846793005 + 1442695040888963407;
        text += unhex(choice.begin()[(seed >> 33) % choice.size()]);
    }
    return text;
}

/// Counting and positions by a plain walk over `size(byte)`.
template <class Size>
void expect_positions(int row, const std::string& text, Size size, bool wide_by_bytes) {
    static const guarded memory;
    const auto& slots = _charset_info[row];
    const int length = static_cast<int>(text.size());
    char* const p = memory.place(text);
    ints start;
    int at = 0;
    for (; at < length; at += size(static_cast<uchar>(text[static_cast<std::size_t>(at)])))
        start.push_back(at);
    const int count = static_cast<int>(start.size());
    ASSERT_EQ(slots.qzstr_count_char_fn(p, length), count) << hex(text);
    start.push_back(at);
    int columns = 0;
    for (int n = 1; n <= count + 1; ++n) {
        const int k = std::min(n, count);
        const int begin = start[static_cast<std::size_t>(k - 1)], end = start[static_cast<std::size_t>(k)];
        ASSERT_EQ(position(slots, text, n), (ints{begin, std::min(end, length) - 1, k})) << hex(text) << " " << n;
        if (n > count || end > length) continue;
        ASSERT_EQ(slots.qzstr_count_byte_fn(p, k), end) << hex(text) << " " << n;
        columns += wide_by_bytes ? end - begin : std::min(end - begin, 2);
        ASSERT_EQ(fit(slots, text, columns), (ints{end, columns, 1})) << hex(text) << " " << n;
        if (end - begin == 1) continue;
        ASSERT_EQ(fit(slots, text, columns - 1), (ints{begin, columns - 2, 1})) << hex(text);
    }
}

} // namespace support
