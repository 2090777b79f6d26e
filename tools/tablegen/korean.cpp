#include "builders.h"
#include "regions.h"

namespace tablegen {

namespace {

Header ksx1001(const MappingDirectory& mappings) {
    Header header("ksx1001.h", {"ksx1001"});
    const Mapping mapping = mappings.mapping("ksx1001");
    forward_pages(header, "ksc5601_2uni_", mapping, index94, {{"21", 0, 1114}, {"30", 1410, 3759}, {"4a", 3854, 8741}});
    backward_pages(header, "ksc5601_uni2idx_", "ksc5601_2charset", mapping,
                   {{"00", 0x0000, 0x045F},
                    {"20", 0x2000, 0x266F},
                    {"30", 0x3000, 0x33DF},
                    {"4e", 0x4E00, 0x9F9F},
                    {"ac", 0xAC00, 0xD79F},
                    {"f9", 0xF900, 0xFA0F},
                    {"ff", 0xFF00, 0xFFEF}},
                   8226);
    return header;
}

/// Column of a trail byte: letters twice, then the high bytes.
std::uint32_t uhc_column(std::uint32_t trail) {
    return trail - (trail > 0x80 ? 0x4D : trail > 0x60 ? 0x47 : 0x41);
}

struct UhcArea {
    std::string number;
    std::string forward_suffix;
    std::uint32_t first_lead;
    std::uint32_t columns;
    std::size_t cells;
    std::size_t bases;
    BackwardPage page;
    std::size_t codes_per_base;
    std::size_t code_bases;
};

/// Both directions keep an 8-bit delta per cell and a 16-bit base per group of cells.
void uhc_area(Header& header, const Mapping& area, const UhcArea& shape) {
    std::vector<std::uint32_t> code_points(shape.cells, 0);
    std::vector<std::uint32_t> codes;
    for (const Entry& entry : area.entries) {
        const std::uint32_t cell =
            ((entry.code >> 8) - shape.first_lead) * shape.columns + uhc_column(entry.code & 0xFF);
        code_points.at(cell) = entry.unicode;
        codes.push_back(entry.code);
    }
    if (area.entries.size() != shape.cells) fail("uhc: an area has holes");
    const std::string prefix = "uhc_" + shape.number + "_";
    const std::size_t half_row = shape.columns / 2;
    delta_table(
        header, prefix + "2uni_" + shape.forward_suffix, prefix + "2uni_main_" + shape.forward_suffix, code_points,
        [half_row](std::size_t cell) { return cell / half_row; }, shape.bases);
    summary_pages(header, prefix + "uni2indx_", area.inverse(), {shape.page});
    // Code order is Unicode order in both areas, so the first code of a group is the least one.
    delta_table(
        header, prefix + "2charset", prefix + "2charset_main", codes,
        [&shape](std::size_t i) { return i / shape.codes_per_base; }, shape.code_bases);
}

Header uhc(const MappingDirectory& mappings) {
    Header header("uhc.h", {"uhc"});
    const Mapping mapping = mappings.mapping("uhc");
    uhc_area(header, mapping.filtered([](const Entry& entry) { return entry.code < 0xA100; }),
             {"1", "page81", 0x81, 178, 5696, 64, {"ac", 0xAC00, 0xC8AF}, 128, 45});
    uhc_area(header, mapping.filtered([](const Entry& entry) { return entry.code >= 0xA100; }),
             {"2", "pagea1", 0xA1, 84, 3126, 76, {"c8", 0xC800, 0xD7AF}, 64, 49});
    return header;
}

} // namespace

Headers korean(const MappingDirectory& mappings) {
    return {ksx1001(mappings), uhc(mappings)};
}

} // namespace tablegen
