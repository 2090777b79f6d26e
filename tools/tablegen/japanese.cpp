#include "builders.h"
#include "regions.h"

#include <algorithm>
#include <set>

namespace tablegen {

namespace {

Header jisx0208(const MappingDirectory& mappings) {
    Header header("jisx0208.h", {"jisx0208"});
    const Mapping mapping = mappings.mapping("jisx0208");
    forward_pages(header, "jisx0208_2uni_", mapping, index94, {{"21", 0, 689}, {"30", 1410, 7807}});
    backward_pages(header, "jisx0208_uni2indx_", "jisx0208_2charset", mapping,
                   {{"00", 0x0000, 0x00FF},
                    {"03", 0x0300, 0x045F},
                    {"20", 0x2000, 0x231F},
                    {"25", 0x2500, 0x266F},
                    {"30", 0x3000, 0x30FF},
                    {"4e", 0x4E00, 0x9FAF},
                    {"ff", 0xFF00, 0xFFEF}},
                   6879);
    return header;
}

Header jisx0212(const MappingDirectory& mappings) {
    Header header("jisx0212.h", {"jisx0212"});
    const Mapping mapping = mappings.mapping("jisx0212");
    forward_pages(header, "jisx0212_2uni_", mapping, index94,
                  {{"22", 94, 174}, {"26", 470, 657}, {"29", 752, 1026}, {"30", 1410, 7210}});
    backward_pages(header, "jisx0212_uni2indx_", "jisx0212_2charset", mapping,
                   {{"00", 0x0000, 0x045F}, {"21", 0x2100, 0x212F}, {"4e", 0x4E00, 0x9FAF}, {"ff", 0xFF00, 0xFF5F}},
                   6067);
    return header;
}

/// Linear index of a Shift-JIS pair.
std::uint32_t shift_jis_index(std::uint32_t code) {
    const std::uint32_t lead = code >> 8;
    const std::uint32_t trail = code & 0xFF;
    return (lead - (lead < 0xE0 ? 0x81 : 0xC1)) * 188 + trail - (trail < 0x80 ? 0x40 : 0x41);
}

Header cp932ext(const MappingDirectory& mappings) {
    Header header("cp932ext.h", {"cp932ext"});
    const Mapping mapping = mappings.mapping("cp932ext");
    forward_pages(header, "cp932ext_2uni_", mapping, shift_jis_index,
                  {{"87", 1128, 1219}, {"ed", 8272, 8647}, {"fa", 10716, 11103}});
    backward_pages(header, "cp932ext_uni2indx_", "cp932ext_2charset", mapping,
                   {{"21", 0x2100, 0x22BF},
                    {"24", 0x2400, 0x247F},
                    {"30", 0x3000, 0x301F},
                    {"32", 0x3200, 0x33CF},
                    {"4e", 0x4E00, 0x558F},
                    {"57", 0x5700, 0x59BF},
                    {"5b", 0x5B00, 0x5DDF},
                    {"5f", 0x5F00, 0x7B9F},
                    {"7d", 0x7D00, 0x7FAF},
                    {"83", 0x8300, 0x85BF},
                    {"88", 0x8800, 0x8ECF},
                    {"90", 0x9000, 0x9EDF},
                    {"f9", 0xF900, 0xFA2F},
                    {"ff", 0xFF00, 0xFFEF}},
                   448);
    return header;
}

// JIS X 0213: 120 table rows, all of plane 1 and those rows of plane 2 that hold characters.
constexpr std::uint32_t table_rows = 120;

std::uint32_t jisx0213_cell(std::uint32_t code) {
    static const std::vector<std::uint32_t> plane2_rows = {1,  3,  4,  5,  8,  12, 13, 14, 15, 78, 79, 80, 81,
                                                           82, 83, 84, 85, 86, 87, 88, 89, 90, 91, 92, 93, 94};
    std::uint32_t row = (code >> 8 & 0xFF) - 0x21;
    if (code >> 16 == 2) {
        const auto found = std::find(plane2_rows.begin(), plane2_rows.end(), row + 1);
        if (found == plane2_rows.end()) fail("jisx0213: plane 2 row without a table row");
        row = 94 + static_cast<std::uint32_t>(found - plane2_rows.begin());
    }
    return row * 94 + (code & 0xFF) - 0x21;
}

/// Cells hold a page number and an offset. Pages start where the previous ones end covering, which needs fewer than 256
/// of them.
void jisx0213_forward(Header& header, const Mapping& mapping) {
    std::vector<std::uint32_t> values(table_rows * 94, unmapped);
    std::vector<std::string> pairs;
    for (const Entry& entry : mapping.entries) {
        std::uint32_t value = entry.unicode;
        if (entry.mark != 0) {
            pairs.push_back("{" + hex(entry.unicode, 4) + ", " + hex(entry.mark, 4) + "}");
            value = static_cast<std::uint32_t>(pairs.size());
        } else if (value < 0x80) {
            fail("jisx0213: a character that would read as the index of a pair");
        }
        values[jisx0213_cell(entry.code)] = value;
    }
    if (pairs.size() != 25) fail("jisx0213: wrong number of pairs");

    std::vector<std::uint32_t> starts = {0};
    for (std::uint32_t value : std::set<std::uint32_t>(values.begin(), values.end()))
        if (value - starts.back() > 0xFF) starts.push_back(value);
    if (starts.size() > 256) fail("jisx0213: too many pages");
    for (std::uint32_t& value : values) {
        const auto page = std::upper_bound(starts.begin(), starts.end(), value) - 1;
        value = static_cast<std::uint32_t>(page - starts.begin()) << 8 | (value - *page);
    }
    header.values(Element::u16, "jisx0213_to_ucs_main", values);
    header.values(Element::u32, "jisx0213_to_ucs_pagestart", starts);
    header.records("std::uint16_t", "jisx0213_to_ucs_combining", "[2]", pairs);
}

/// Level 1 numbers the stretches of 64 code points that hold characters, level 2 has four summaries for each.
void jisx0213_backward(Header& header, const Mapping& mapping) {
    constexpr std::uint32_t none = 0xFFFF;
    const std::map<std::uint32_t, std::uint32_t> codes = mapping.inverse();
    if (codes.size() != 11208) fail("jisx0213: wrong number of characters");
    std::vector<std::uint32_t> level1((codes.rbegin()->first >> 6) + 1, none);
    std::vector<Summary> summaries;
    std::vector<std::uint32_t> data;
    for (const auto& [unicode, code] : codes) {
        if (level1[unicode >> 6] == none) {
            level1[unicode >> 6] = static_cast<std::uint32_t>(summaries.size() / 4);
            summaries.resize(summaries.size() + 4);
        }
        Summary& block = summaries[summaries.size() - 4 + (unicode >> 4 & 3)];
        if (block.used == 0) block.idx = static_cast<std::uint16_t>(data.size());
        block.used = static_cast<std::uint16_t>(block.used | 1u << (unicode & 0x0F));
        data.push_back((code & 0x7F7F) | (code >> 16 == 2 ? 0x8000 : 0));
    }
    header.values(Element::u16, "jisx0213_from_ucs_level1", level1);
    header.summaries("jisx0213_from_ucs_level2_2idx", summaries);
    header.line("/// Row and column in 7-bit form; the top bit is set for plane 2.");
    header.values(Element::u16, "jisx0213_from_ucs_level2_data", data);
}

std::uint32_t shift_jis_pair(std::uint32_t code) {
    const std::uint32_t row = (code >> 8 & 0xFF) - 0x21;
    const std::uint32_t trail = (code & 0xFF) - 0x21 + (row % 2) * 94;
    return (row / 2 + (row / 2 < 31 ? 0x81 : 0xC1)) << 8 | (trail + (trail < 63 ? 0x40 : 0x41));
}

/// Every base and mark with the code of the composition, ordered by mark so that a reader sees the five groups.
void compositions(Header& header, const Mapping& mapping, const char* name, std::uint32_t (*bytes)(std::uint32_t)) {
    std::vector<Entry> pairs = mapping.filtered([](const Entry& entry) { return entry.mark != 0; }).entries;
    std::stable_sort(pairs.begin(), pairs.end(), [](const Entry& a, const Entry& b) { return a.mark < b.mark; });
    std::vector<std::string> rows;
    for (const Entry& pair : pairs) {
        if (pair.code >> 16 != 1) fail("jisx0213: a pair outside plane 1");
        rows.push_back("{" + hex(pair.unicode, 4) + ", " + hex(pair.mark, 4) + ", " + hex(bytes(pair.code), 4) + "}");
    }
    header.records("jisx0213_composition", name, "", rows);
}

/// Code points that an encoder must not take from JIS X 0208: parts of pairs, and characters that JIS X 0213 codes
/// otherwise.
void not_from_jisx0208(Header& header, const Mapping& jisx0213, const Mapping& jisx0208) {
    std::set<std::uint32_t> excluded;
    for (const Entry& entry : jisx0213.entries)
        if (entry.mark != 0) excluded.insert({entry.unicode, entry.mark});
    const std::map<std::uint32_t, std::uint32_t> codes = jisx0213.inverse();
    for (const Entry& entry : jisx0208.entries) {
        const auto found = codes.find(entry.unicode);
        if (found == codes.end() || found->second != (0x10000 | entry.code)) excluded.insert(entry.unicode);
    }
    if (excluded.size() != 25) fail("sjis_x0213_chk_ucs: wrong number of code points");
    header.values(Element::u16, "sjis_x0213_chk_ucs", {excluded.begin(), excluded.end()});
}

Header jisx0213(const MappingDirectory& mappings) {
    Header header("jisx0213.h", {"jisx0213", "jisx0208"});
    const Mapping mapping = mappings.mapping("jisx0213");
    jisx0213_forward(header, mapping);
    jisx0213_backward(header, mapping);
    header.line("/// A base and a combining mark that JIS X 0213 codes as one character.");
    header.line("struct jisx0213_composition {\n    std::uint16_t base;\n    std::uint16_t mark;\n    std::uint16_t "
                "code;\n};\n");
    compositions(header, mapping, "shift_jisx0213_comp_table_data", shift_jis_pair);
    compositions(header, mapping, "euc_jisx0213_comp_table_data",
                 [](std::uint32_t code) { return (code & 0xFFFF) | 0x8080; });
    not_from_jisx0208(header, mapping, mappings.mapping("jisx0208"));
    return header;
}

} // namespace

Headers japanese(const MappingDirectory& mappings) {
    return {jisx0208(mappings), jisx0212(mappings), jisx0213(mappings), cp932ext(mappings)};
}

} // namespace tablegen
