#include "mapping.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace tablegen {

void fail(const std::string& message) {
    throw std::runtime_error(message);
}

std::uint32_t parse_number(const std::string& text, int base) {
    std::size_t used = 0;
    unsigned long value = 0;
    try {
        value = std::stoul(text, &used, base);
    } catch (const std::exception&) {
        fail("not a number: " + text);
    }
    if (used != text.size()) fail("not a number: " + text);
    return static_cast<std::uint32_t>(value);
}

std::map<std::uint32_t, std::uint32_t> Mapping::inverse() const {
    std::map<std::uint32_t, std::uint32_t> codes;
    for (const Entry& entry : entries) {
        if (entry.decode_only || entry.mark != 0) continue;
        if (!codes.emplace(entry.unicode, entry.code).second) fail(name + ": a code point is two-way twice");
    }
    return codes;
}

Mapping Mapping::filtered(bool (*keep)(const Entry&)) const {
    Mapping result{name, {}};
    for (const Entry& entry : entries)
        if (keep(entry)) result.entries.push_back(entry);
    return result;
}

std::vector<Row> MappingDirectory::rows(const std::string& name) const {
    std::ifstream file(path_ / (name + ".txt"));
    if (!file) fail("cannot read " + (path_ / (name + ".txt")).string());
    std::vector<Row> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') continue;
        Row row;
        std::istringstream columns(line);
        for (std::string column; std::getline(columns, column, '\t');)
            row.push_back(column);
        rows.push_back(row);
    }
    return rows;
}

Mapping MappingDirectory::mapping(const std::string& name) const {
    Mapping result{name, {}};
    for (const Row& row : rows(name)) {
        if (row.size() < 2 || (row.size() > 2 && row[2] != ">")) fail(name + ": bad line " + row[0]);
        Entry entry;
        entry.code = parse_number(row[0], 16);
        const std::size_t plus = row[1].find('+');
        entry.unicode = parse_number(row[1].substr(0, plus), 16);
        if (plus != std::string::npos) entry.mark = parse_number(row[1].substr(plus + 1), 16);
        entry.decode_only = row.size() > 2;
        if (!result.entries.empty() && result.entries.back().code >= entry.code)
            fail(name + ": not sorted at " + row[0]);
        result.entries.push_back(entry);
    }
    if (result.entries.empty()) fail(name + ": no entries");
    return result;
}

} // namespace tablegen
