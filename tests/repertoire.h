// Whole repertoires in a few lines: the mapping files, one character at a time through a row and through the C library's
// converter, and sets of codes written as ranges.
#pragma once

#include "support.h"

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

/// The C library's converter into UTF-32.
class peer {
public:
    explicit peer(const char* charset) : converter_(iconv_open("UTF-32BE", charset)) {
        if (converter_ == reinterpret_cast<iconv_t>(-1)) std::abort();
    }
    peer(const peer&) = delete;
    ~peer() { iconv_close(converter_); }

    std::optional<char32_t> decoded(std::string sequence) const {
        char out[16], *in_at = sequence.data(), *out_at = out;
        std::size_t in_left = sequence.size(), out_left = sizeof out;
        iconv(converter_, nullptr, nullptr, nullptr, nullptr);
        const bool done = iconv(converter_, &in_at, &in_left, &out_at, &out_left) == 0 && in_left == 0 &&
                          iconv(converter_, nullptr, nullptr, &out_at, &out_left) == 0;
        if (!done || out_at - out != 4) return {};
        return number({out, 4});
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

} // namespace support
