#include "builders.h"
#include "regions.h"

namespace tablegen {

namespace {

Header gb2312(const MappingDirectory& mappings) {
    Header header("gb2312.h", {"gb2312"});
    const Mapping mapping = mappings.mapping("gb2312");
    forward_pages(header, "gb2312_2uni_", mapping, index94, {{"21", 0, 830}, {"30", 1410, 8177}});
    backward_pages(header, "gb2312_uni2indx_", "gb2312_2charset", mapping,
                   {{"00", 0x0000, 0x045F},
                    {"20", 0x2000, 0x264F},
                    {"30", 0x3000, 0x322F},
                    {"4e", 0x4E00, 0x9CEF},
                    {"9e", 0x9E00, 0x9FAF},
                    {"ff", 0xFF00, 0xFFEF}},
                   7445);
    return header;
}

/// Index of a GBK pair in rows of `columns` cells; 0x7F is no trail byte.
std::uint32_t gbk_index(std::uint32_t code, std::uint32_t columns) {
    const std::uint32_t trail = code & 0xFF;
    return columns * ((code >> 8) - 0x81) + trail - (trail >= 0x80 ? 0x41 : 0x40);
}

std::uint32_t gbk_full_index(std::uint32_t code) {
    return gbk_index(code, 190);
}

Header gbkext(const MappingDirectory& mappings) {
    Header header("gbkext.h", {"gbkext1", "gbkext2"});
    const Mapping first = mappings.mapping("gbkext1");
    const Mapping second = mappings.mapping("gbkext2");
    forward_pages(header, "gbkext1_2uni_", first, gbk_full_index, {{"81", 0, 6079}});
    // Extension 2 has trails up to 0xA0 only, 96 in a row.
    forward_pages(header, "gbkext2_2uni_", second, [](std::uint32_t code) { return gbk_index(code, 96); },
                  {{"a8", 3744, 12015}});

    Mapping both = first;
    both.entries.insert(both.entries.end(), second.entries.begin(), second.entries.end());
    backward_pages(header, "gbkext_inv_uni2indx_", "gbkext_inv_2charset", both,
                   {{"02", 0x0200, 0x02DF},
                    {"20", 0x2000, 0x22BF},
                    {"25", 0x2500, 0x260F},
                    {"30", 0x3000, 0x30FF},
                    {"32", 0x3200, 0x33DF},
                    {"4e", 0x4E00, 0x9FAF},
                    {"f9", 0xF900, 0xFA2F},
                    {"fe", 0xFE00, 0xFFEF}},
                   14313);
    return header;
}

Header cp936ext(const MappingDirectory& mappings) {
    Header header("cp936ext.h", {"cp936ext"});
    const Mapping mapping = mappings.mapping("cp936ext");
    forward_pages(header, "cp936ext_2uni_", mapping, gbk_full_index, {{"a6", 7189, 7210}, {"a8", 7532, 7537}});
    code_pages(header, "cp936ext_", mapping, {{"01", 0x0140, 0x014F}, {"02", 0x0250, 0x0267}, {"fe", 0xFE30, 0xFE47}});
    return header;
}

/// The two-byte additions of GB 18030: two pages that have names of their own, and the other rows cut where they have long holes.
std::vector<ForwardPage> addition_pages(const Mapping& mapping) {
    constexpr std::uint32_t longest_hole = 16;
    const std::uint32_t pagea9 = gbk_full_index(0xA989);
    const std::uint32_t pagefe = gbk_full_index(0xFE40);
    std::vector<ForwardPage> pages = {{"a9", pagea9, pagea9 + 12}, {"fe", pagefe, pagefe + 95}};
    const std::size_t named = pages.size();
    for (const Entry& entry : mapping.entries) {
        const std::uint32_t index = gbk_full_index(entry.code);
        if (index - pagea9 < 13 || index - pagefe < 96) continue;
        const bool across = pages.back().first < pagea9 && index > pagea9;
        if (pages.size() > named && index - pages.back().last <= longest_hole && !across) {
            pages.back().last = index;
            continue;
        }
        pages.push_back({lower_hex(entry.code, 4), index, index});
    }
    return pages;
}

/// One page of codes for each 256 code points that hold an addition; U+47xx is cut in its middle.
std::vector<BackwardPage> addition_code_pages(const Mapping& mapping) {
    constexpr std::uint32_t cut = 0x4740;
    std::vector<BackwardPage> pages;
    const auto codes = mapping.inverse();
    for (const auto& [unicode, code] : codes) {
        const bool same_row = !pages.empty() && pages.back().first >> 8 == unicode >> 8;
        if (same_row && !(pages.back().first < cut && unicode >= cut)) {
            pages.back().last = unicode;
            continue;
        }
        const char* half = unicode >> 8 != cut >> 8 ? "" : unicode < cut ? "_1" : "_2";
        pages.push_back({lower_hex(unicode >> 8, 2) + half, unicode, unicode});
    }
    return pages;
}

/// The four-byte codes of the BMP as runs of consecutive code points.
void four_byte_ranges(Header& header, const std::vector<Row>& rows) {
    std::vector<std::string> linear;
    std::vector<std::string> code_points;
    std::vector<std::uint32_t> differences;
    std::uint32_t next = 0;
    for (const Row& row : rows) {
        const std::uint32_t first = parse_number(row.at(0), 10);
        const std::uint32_t last = parse_number(row.at(1), 10);
        const std::uint32_t unicode = parse_number(row.at(2), 16);
        if (first != next || last < first) fail("gb18030_ranges: gap at " + row[0]);
        next = last + 1;
        linear.push_back("{" + std::to_string(first) + ", " + std::to_string(last) + "}");
        code_points.push_back("{" + hex(unicode, 4) + ", " + hex(unicode + last - first, 4) + "}");
        differences.push_back(unicode - first);
    }
    if (rows.size() != 206 || next != 39420) fail("gb18030_ranges: wrong rows");
    header.records("std::uint16_t", "gb18030uni_charset2uni_ranges", "[2]", linear);
    header.records("std::uint16_t", "gb18030uni_uni2charset_ranges", "[2]", code_points);
    header.values(Element::u16, "gb18030uni_ranges", differences);
}

void private_use(Header& header, const std::vector<Row>& rows) {
    std::vector<std::string> items;
    for (const Row& row : rows)
        items.push_back("{" + row.at(0) + ", " + row.at(1) + ", " + row.at(2) + "}");
    if (items.size() != 31) fail("gb18030_pua: wrong rows");
    header.records("std::uint16_t", "gb18030_pua2charset", "[3]", items);
}

Header gb18030(const MappingDirectory& mappings) {
    Header header("gb18030.h", {"gb18030ext", "gb18030_ranges", "gb18030_pua"});
    const Mapping additions = mappings.mapping("gb18030ext");
    if (additions.entries.size() != 255) fail("gb18030ext: wrong number of additions");
    forward_pages(header, "gb18030ext_2uni_", additions, gbk_full_index, addition_pages(additions));
    code_pages(header, "gb18030ext_", additions, addition_code_pages(additions));
    four_byte_ranges(header, mappings.rows("gb18030_ranges"));
    private_use(header, mappings.rows("gb18030_pua"));
    return header;
}

} // namespace

Headers simplified_chinese(const MappingDirectory& mappings) {
    return {gb2312(mappings), gbkext(mappings), cp936ext(mappings), gb18030(mappings)};
}

} // namespace tablegen
