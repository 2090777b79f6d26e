#include "builders.h"
#include "regions.h"

namespace tablegen {

namespace {

/// Linear index of a Big5 pair, 157 in a row.
std::uint32_t big5_index(std::uint32_t code, std::uint32_t first_lead) {
    const std::uint32_t trail = code & 0xFF;
    return 157 * ((code >> 8) - first_lead) + trail - (trail >= 0xA1 ? 0x62 : 0x40);
}

std::uint32_t big5_index_a1(std::uint32_t code) {
    return big5_index(code, 0xA1);
}
std::uint32_t big5_index_c6(std::uint32_t code) {
    return big5_index(code, 0xC6);
}
std::uint32_t hkscs_index(std::uint32_t code) {
    return big5_index(code, 0x80);
}

/// Summary pages that follow the data, named by the high byte that they begin with.
std::vector<BackwardPage> summary_partition(const Mapping& mapping) {
    constexpr std::uint32_t longest_gap = 0x800;
    std::vector<BackwardPage> pages;
    for (const auto& [unicode, code] : mapping.inverse()) {
        if (pages.empty() || unicode > pages.back().last + longest_gap)
            pages.push_back({lower_hex(unicode >> 8, 2), unicode & ~0xFFu, 0});
        pages.back().last = unicode | 0x0F;
    }
    return pages;
}

Header big5(const MappingDirectory& mappings) {
    Header header("big5.h", {"big5"});
    const Mapping mapping = mappings.mapping("big5");
    forward_pages(header, "big5_2uni_", mapping, big5_index_a1, {{"a1", 0, 6120}, {"c9", 6280, 13931}});
    backward_pages(header, "big5_uni2indx_", "big5_2charset", mapping,
                   {{"00", 0x0000, 0x00FF},
                    {"02", 0x0200, 0x045F},
                    {"20", 0x2000, 0x22BF},
                    {"24", 0x2400, 0x264F},
                    {"30", 0x3000, 0x33DF},
                    {"4e", 0x4E00, 0x9FAF},
                    {"fa", 0xFA00, 0xFA0F},
                    {"fe", 0xFE00, 0xFF6F}},
                   13703);
    return header;
}

Header cp950(const MappingDirectory& mappings) {
    Header header("cp950.h", {"cp950_a1a2", "cp950ext"});
    forward_pages(header, "cp950_2uni_", mappings.mapping("cp950_a1a2"), big5_index_a1, {{"a1", 0, 313}});
    const Mapping additions = mappings.mapping("cp950ext");
    forward_pages(header, "cp950ext_2uni_", additions, big5_index_a1, {{"f9", 13932, 13972}});
    backward_pages(header, "cp950ext_uni2indx_", "cp950ext_2charset", additions, summary_partition(additions), 37);
    return header;
}

/// Two formulas stand for the kana; what remains goes into tables, the box drawing characters into a page of their own.
Header big5_2003(const MappingDirectory& mappings) {
    constexpr std::uint32_t kana_first = 133;
    constexpr std::uint32_t katakana_first = 216;
    constexpr std::uint32_t kana_last = 301;
    Header header("big5_2003.h", {"big5_2003"});
    Mapping tabled{"big5_2003", {}};
    Mapping boxes{"big5_2003", {}};
    Mapping others{"big5_2003", {}};
    std::size_t kana = 0;
    for (const Entry& entry : mappings.mapping("big5_2003").entries) {
        const std::uint32_t index = big5_index_c6(entry.code);
        if (index >= kana_first && index <= kana_last) {
            if (entry.unicode != (index < katakana_first ? 0x3041 - kana_first : 0x30A1 - katakana_first) + index)
                fail("big5_2003: kana out of order");
            ++kana;
            continue;
        }
        tabled.entries.push_back(entry);
        (entry.unicode >= 0x2550 && entry.unicode <= 0x256C ? boxes : others).entries.push_back(entry);
    }
    if (kana != kana_last - kana_first + 1) fail("big5_2003: kana are missing");
    forward_pages(header, "big5_2003_2uni_", tabled, big5_index_c6, {{"c6", 63, 132}, {"f9", 8123, 8163}});
    code_pages(header, "big5_2003_2charset_", boxes, {{"25", 0x2550, 0x256C}});
    backward_pages(header, "big5_2003_uni2indx_", "big5_2003_2charset", others, summary_partition(others), 76);
    return header;
}

constexpr unsigned hkscs_base_bits = 6;

Header hkscs1999(const MappingDirectory& mappings) {
    Header header("hkscs1999.h", {"hkscs1999"});
    const Mapping mapping = mappings.mapping("hkscs1999");
    based_forward_pages(header, "hkscs1999_2uni_", "hkscs1999_2uni_upages", hkscs_base_bits, mapping, hkscs_index,
                        {{"88", 1256, 1882}, {"8d", 2041, 5180}, {"c6", 10990, 11460}, {"f9", 18997, 19938}});
    backward_pages(header, "hkscs1999_uni2indx_", "hkscs1999_2charset", mapping, summary_partition(mapping), 4698);
    return header;
}

Header hkscs2001(const MappingDirectory& mappings) {
    Header header("hkscs2001.h", {"hkscs2001"});
    const Mapping mapping = mappings.mapping("hkscs2001");
    based_forward_pages(header, "hkscs2001_2uni_", "hkscs2001_2uni_upages", hkscs_base_bits, mapping, hkscs_index,
                        {{"8c", 1884, 2006}});
    backward_pages(header, "hkscs2001_uni2indx_", "hkscs2001_2charset", mapping, summary_partition(mapping), 116);
    return header;
}

/// A stretch of a plane that shares one set of bases.
struct CnsPart {
    std::uint32_t plane;
    const char* name; // as in cns11643_4a_2uni_page21
    std::uint32_t first;
    std::uint32_t last;
    std::vector<ForwardPage> pages;
};

Mapping cns_plane(const Mapping& mapping, std::uint32_t plane) {
    Mapping result{mapping.name, {}};
    for (Entry entry : mapping.entries) {
        if (entry.code >> 16 != plane) continue;
        entry.code &= 0xFFFF;
        result.entries.push_back(entry);
    }
    return result;
}

/// Plane 1 has three characters far from any page; the lookup names them itself.
void cns_plane1(Header& header, const Mapping& plane) {
    static const std::map<std::uint32_t, std::uint32_t> singles = {{571, 0x4EA0}, {578, 0x51AB}, {583, 0x52F9}};
    for (const Entry& entry : plane.entries) {
        const auto single = singles.find(index94(entry.code));
        if (single != singles.end() && single->second != entry.unicode) fail("cns11643: a single has changed");
    }
    const auto index_of = [](std::uint32_t code) -> std::optional<std::uint32_t> {
        if (singles.contains(index94(code))) return std::nullopt;
        return index94(code);
    };
    forward_pages(header, "cns11643_1_2uni_", plane, index_of,
                  {{"21", 0, 499}, {"42", 3102, 3135}, {"44", 3290, 8690}});
}

void cns_inverse(Header& header, const Mapping& mapping) {
    const std::map<std::uint32_t, std::uint32_t> codes = mapping.inverse();
    if (codes.size() != 55442) fail("cns11643: wrong number of code points");
    summary_pages(header, "cns11643_inv_uni2indx_", codes,
                  {{"00", 0x0000, 0x00FF},
                   {"02", 0x0200, 0x03CF},
                   {"20", 0x2000, 0x22BF},
                   {"24", 0x2400, 0x264F},
                   {"30", 0x3000, 0x9FAF},
                   {"fa", 0xFA00, 0xFA2F},
                   {"fe", 0xFE00, 0xFFEF},
                   {"200", 0x20000, 0x2A6DF},
                   {"2f8", 0x2F800, 0x2FA1F}});
    std::vector<std::string> rows;
    for (const auto& [unicode, code] : codes)
        rows.push_back("{" + std::to_string(code >> 16) + ", " + hex(code >> 8 & 0xFF, 2) + ", " + hex(code & 0xFF, 2) +
                       "}");
    header.line("/// Plane number, row and column in 7-bit form.");
    header.records("std::uint8_t", "cns11643_inv_2charset", "[3]", rows);
}

Header cns11643(const MappingDirectory& mappings) {
    static const CnsPart parts[] = {
        {3, "3", 0, 6589, {{"21", 0, 6147}, {"64", 6298, 6589}}},
        {4, "4a", 0, 2913, {{"21", 0, 2913}}},
        {4, "4b", 2914, 7297, {{"40", 2914, 7297}}},
        {5, "5", 0, 8602, {{"21", 0, 8602}}},
        {6, "6", 0, 6387, {{"21", 0, 6387}}},
        {7, "7", 0, 6538, {{"21", 0, 6538}}},
        {15, "15", 0, 7168, {{"21", 0, 7168}}},
    };
    Header header("cns11643.h", {"cns11643"});
    const Mapping mapping = mappings.mapping("cns11643");
    cns_plane1(header, cns_plane(mapping, 1));
    forward_pages(header, "cns11643_2_2uni_", cns_plane(mapping, 2), index94, {{"21", 0, 7649}});
    std::size_t placed = cns_plane(mapping, 1).entries.size() + cns_plane(mapping, 2).entries.size();
    for (const CnsPart& part : parts) {
        Mapping stretch = cns_plane(mapping, part.plane);
        std::erase_if(stretch.entries, [&part](const Entry& entry) {
            return index94(entry.code) < part.first || index94(entry.code) > part.last;
        });
        placed += stretch.entries.size();
        const std::string prefix = std::string("cns11643_") + part.name + "_2uni_";
        based_forward_pages(header, prefix, prefix + "upages", 8, stretch, index94, part.pages);
    }
    if (placed != mapping.entries.size()) fail("cns11643: characters outside the planes");
    cns_inverse(header, mapping);
    return header;
}

} // namespace

Headers traditional_chinese(const MappingDirectory& mappings) {
    return {big5(mappings),      cp950(mappings),     big5_2003(mappings),
            hkscs1999(mappings), hkscs2001(mappings), cns11643(mappings)};
}

} // namespace tablegen
