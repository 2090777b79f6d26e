// Reads the mapping files: published facts in, nothing computed yet.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace tablegen {

[[noreturn]] void fail(const std::string& message);

/// One line of a mapping file. `mark` is the combining mark of a two code point sequence, else 0.
struct Entry {
    std::uint32_t code = 0;
    std::uint32_t unicode = 0;
    std::uint32_t mark = 0;
    bool decode_only = false;
};

struct Mapping {
    std::string name; // file name without its extension
    std::vector<Entry> entries;

    /// Code point to code, two-way lines only.
    std::map<std::uint32_t, std::uint32_t> inverse() const;
    Mapping filtered(bool (*keep)(const Entry&)) const;
};

using Row = std::vector<std::string>;

class MappingDirectory {
public:
    explicit MappingDirectory(std::filesystem::path path) : path_(std::move(path)) {}

    Mapping mapping(const std::string& name) const;
    /// The columns of every line that is not a comment.
    std::vector<Row> rows(const std::string& name) const;

private:
    std::filesystem::path path_;
};

std::uint32_t parse_number(const std::string& text, int base);

} // namespace tablegen
