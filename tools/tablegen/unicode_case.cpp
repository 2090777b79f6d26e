#include "emit.h"
#include "regions.h"

namespace tablegen {

namespace {

using Sections = std::map<std::string, std::vector<Row>>;

Sections read_sections(const MappingDirectory& mappings) {
    Sections sections;
    std::string current;
    for (const Row& row : mappings.rows("utf8_case_tables")) {
        if (row[0][0] == '[')
            current = row[0].substr(1, row[0].size() - 2);
        else
            sections[current].push_back(row);
    }
    return sections;
}

std::string utf8(std::uint32_t c) {
    if (c < 0x800) return {static_cast<char>(0xC0 | c >> 6), static_cast<char>(0x80 | (c & 0x3F))};
    return {static_cast<char>(0xE0 | c >> 12), static_cast<char>(0x80 | (c >> 6 & 0x3F)),
            static_cast<char>(0x80 | (c & 0x3F))};
}

std::string quoted(const std::string& bytes) {
    std::string text = "\"";
    for (unsigned char byte : bytes)
        text += "\\x" + hex(byte, 2).substr(2);
    return text + "\"";
}

/// Sorted by `from`, as the binary search of the case conversion needs it.
void three_byte_table(Header& header, const std::string& name, const std::vector<Row>& rows, std::size_t count,
                      std::size_t two_byte_targets) {
    std::vector<std::string> items;
    std::string last;
    for (const Row& row : rows) {
        const std::string from = utf8(parse_number(row[0], 16));
        const std::string to = utf8(parse_number(row[1], 16));
        if (from.size() != 3 || from <= last) fail(name + ": bad row " + row[0]);
        two_byte_targets -= to.size() == 2;
        last = from;
        items.push_back("{" + quoted(from) + ", " + quoted(to) + "}");
    }
    if (items.size() != count || two_byte_targets != 0) fail(name + ": wrong rows");
    header.records("qzstr_case_table_elem_t", name, "", items);
}

/// Pairs of bytes, as the rows give them in their last column.
void pair_table(Header& header, const std::string& name, const std::vector<Row>& rows, std::size_t count) {
    std::vector<std::string> items;
    for (const Row& row : rows) {
        if (parse_number(row[0], 10) != items.size()) fail(name + ": rows are not in order");
        items.push_back("{0x" + row[3].substr(0, 2) + ", 0x" + row[3].substr(2, 2) + "}");
    }
    if (items.size() != count) fail(name + ": wrong rows");
    header.records("std::uint8_t", name, "[2]", items);
}

constexpr std::uint32_t first_two_byte = 0xC0; // leads C3..D5
constexpr std::uint32_t last_two_byte = 0x57F;

/// The code point that each two-byte character becomes, itself where nothing changes.
std::vector<std::uint32_t> two_byte_results(const std::vector<Row>& rows, std::size_t column) {
    std::vector<std::uint32_t> results;
    for (std::uint32_t c = first_two_byte; c <= last_two_byte; ++c)
        results.push_back(c);
    for (const Row& row : rows) {
        const std::uint32_t from = parse_number(row[0], 16);
        if (from > last_two_byte || row[column] == "-") continue;
        const std::uint32_t to = parse_number(row[column], 16);
        if (from < first_two_byte || to < 0x80 || to > 0x7FF) fail("utf8_case_tables: bad two-byte row " + row[0]);
        results[from - first_two_byte] = to;
    }
    return results;
}

/// Lead C6 goes through the pair tables at (second byte - 0x81): both forms of the same rule must agree.
void check_lead_c6(const std::vector<std::uint32_t>& results, const std::vector<Row>& pairs) {
    for (std::uint32_t c = 0x181; c <= 0x1BD; ++c) {
        const std::size_t index = c - 0x181;
        std::uint32_t expected = c;
        if (index < pairs.size() && pairs[index][3] != "0000") {
            const std::uint32_t bytes = parse_number(pairs[index][3], 16);
            expected = (bytes >> 8 & 0x1F) << 6 | (bytes & 0x3F);
        }
        if (results[c - first_two_byte] != expected) fail("utf8_case_tables: two answers for " + hex(c, 4));
    }
}

Header utf8_case(const MappingDirectory& mappings) {
    Header header("utf8_case.h", {"utf8_case_tables"});
    const Sections sections = read_sections(mappings);
    header.line("/// UTF-8 text, NUL padded.");
    header.line("struct qzstr_case_table_elem_t {\n    char from[7];\n    char to[7];\n};\n");
    three_byte_table(header, "qzstr_case_to_lower_table", sections.at("LOWER3"), 502, 15);
    three_byte_table(header, "qzstr_case_to_upper_table", sections.at("UPPER3"), 489, 2);
    pair_table(header, "qzstr_utf8_lower_table_c6", sections.at("LOWER_C6"), 60);
    pair_table(header, "qzstr_utf8_upper_table_c6", sections.at("UPPER_C6"), 62);
    std::vector<std::uint32_t> c9;
    for (const Row& row : sections.at("UPPER_C9"))
        c9.push_back(parse_number(row[3], 16));
    if (c9.size() != 23) fail("qzstr_utf8_upper_table_c9: wrong rows");
    header.values(Element::u8, "qzstr_utf8_upper_table_c9", c9);

    const std::vector<std::uint32_t> lower = two_byte_results(sections.at("TWO_BYTE"), 1);
    const std::vector<std::uint32_t> upper = two_byte_results(sections.at("TWO_BYTE"), 2);
    check_lead_c6(lower, sections.at("LOWER_C6"));
    check_lead_c6(upper, sections.at("UPPER_C6"));
    header.values(Element::u16, "utf8_lower_two_byte", lower);
    header.values(Element::u16, "utf8_upper_two_byte", upper);
    return header;
}

} // namespace

Headers unicode_case(const MappingDirectory& mappings) {
    return {utf8_case(mappings)};
}

} // namespace tablegen
