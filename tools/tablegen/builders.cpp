#include "builders.h"

#include <algorithm>

namespace tablegen {

namespace {

/// The cells of one page range, `unmapped` where the mapping has no line.
std::vector<std::uint32_t> cells(const std::map<std::uint32_t, std::uint32_t>& values, const ForwardPage& page) {
    std::vector<std::uint32_t> result(page.last - page.first + 1, unmapped);
    for (auto it = values.lower_bound(page.first); it != values.end() && it->first <= page.last; ++it)
        result[it->first - page.first] = it->second;
    return result;
}

void emit_forward(Header& header, const std::string& prefix, const std::map<std::uint32_t, std::uint32_t>& values,
                  const std::vector<ForwardPage>& pages) {
    std::size_t placed = 0;
    std::vector<Page> list;
    for (const ForwardPage& page : pages) {
        const std::vector<std::uint32_t> entries = cells(values, page);
        const std::string name = prefix + "page" + page.suffix;
        header.values(Element::u16, name, entries);
        list.push_back({name, page.first, entries.size()});
        placed +=
            static_cast<std::size_t>(std::distance(values.lower_bound(page.first), values.upper_bound(page.last)));
    }
    if (placed != values.size()) fail(prefix + ": codes outside the pages");
    header.pages("std::uint16_t", prefix + "pages", list);
}

std::map<std::uint32_t, std::uint32_t> indexed(const Mapping& mapping, const IndexOf& index_of) {
    std::map<std::uint32_t, std::uint32_t> values;
    for (const Entry& entry : mapping.entries) {
        if (entry.unicode == unmapped) continue;
        const std::optional<std::uint32_t> index = index_of(entry.code);
        if (index && !values.emplace(*index, entry.unicode).second) fail(mapping.name + ": two codes share an index");
    }
    return values;
}

} // namespace

std::uint32_t index94(std::uint32_t code) {
    return ((code >> 8) - 0x21) * 94 + ((code & 0xFF) - 0x21);
}

void forward_pages(Header& header, const std::string& prefix, const Mapping& mapping, const IndexOf& index_of,
                   const std::vector<ForwardPage>& pages) {
    emit_forward(header, prefix, indexed(mapping, index_of), pages);
}

void based_forward_pages(Header& header, const std::string& prefix, const std::string& upages, unsigned bits,
                         const Mapping& mapping, const IndexOf& index_of, const std::vector<ForwardPage>& pages) {
    std::map<std::uint32_t, std::uint32_t> values = indexed(mapping, index_of);
    std::vector<std::uint32_t> bases;
    for (const auto& [index, unicode] : values)
        bases.push_back(unicode >> bits << bits);
    std::sort(bases.begin(), bases.end());
    bases.erase(std::unique(bases.begin(), bases.end()), bases.end());
    const std::uint32_t low_bits = (1u << bits) - 1;
    if (((bases.size() - 1) << bits | low_bits) >= unmapped) fail(prefix + ": too many bases");
    for (auto& [index, value] : values) {
        const auto base = std::lower_bound(bases.begin(), bases.end(), value & ~low_bits);
        value = static_cast<std::uint32_t>(base - bases.begin()) << bits | (value & low_bits);
    }
    emit_forward(header, prefix, values, pages);
    header.values(Element::u32, upages, bases);
}

void summary_pages(Header& header, const std::string& prefix, const std::map<std::uint32_t, std::uint32_t>& codes,
                   const std::vector<BackwardPage>& pages) {
    std::size_t position = 0;
    std::vector<Page> list;
    for (const BackwardPage& page : pages) {
        std::vector<Summary> blocks((page.last - page.first + 1) / 16);
        if (page.first % 16 != 0 || page.last % 16 != 15) fail(prefix + page.suffix + ": not whole blocks");
        for (std::size_t j = 0; j < blocks.size(); ++j) {
            blocks[j].idx = static_cast<std::uint16_t>(position);
            for (std::uint32_t k = 0; k < 16; ++k) {
                if (!codes.contains(page.first + 16 * static_cast<std::uint32_t>(j) + k)) continue;
                blocks[j].used = static_cast<std::uint16_t>(blocks[j].used | 1u << k);
                ++position;
            }
        }
        if (blocks.back().used == 0) fail(prefix + "page" + page.suffix + ": last block is empty");
        header.summaries(prefix + "page" + page.suffix, blocks);
        list.push_back({prefix + "page" + page.suffix, page.first / 16, blocks.size()});
    }
    if (position != codes.size()) fail(prefix + ": code points outside the pages");
    header.pages("_summary16_t", prefix + "pages", list);
}

void backward_pages(Header& header, const std::string& prefix, const std::string& code_array, const Mapping& mapping,
                    const std::vector<BackwardPage>& pages, std::size_t count) {
    const std::map<std::uint32_t, std::uint32_t> codes = mapping.inverse();
    if (codes.size() != count) fail(code_array + ": " + std::to_string(codes.size()) + " code points");
    summary_pages(header, prefix, codes, pages);
    std::vector<std::uint32_t> array;
    for (const auto& [unicode, code] : codes)
        array.push_back(code);
    header.values(Element::u16, code_array, array);
}

void code_pages(Header& header, const std::string& prefix, const Mapping& mapping,
                const std::vector<BackwardPage>& pages) {
    const std::map<std::uint32_t, std::uint32_t> codes = mapping.inverse();
    std::size_t placed = 0;
    std::vector<Page> list;
    for (const BackwardPage& page : pages) {
        std::vector<std::uint32_t> entries(page.last - page.first + 1, 0);
        for (auto it = codes.lower_bound(page.first); it != codes.end() && it->first <= page.last; ++it, ++placed)
            entries[it->first - page.first] = it->second;
        header.values(Element::u16, prefix + "page" + page.suffix, entries);
        list.push_back({prefix + "page" + page.suffix, page.first, entries.size()});
    }
    if (placed != codes.size()) fail(prefix + ": code points outside the pages");
    header.pages("std::uint16_t", prefix + "pages", list);
}

void delta_table(Header& header, const std::string& deltas, const std::string& bases,
                 const std::vector<std::uint32_t>& values, const std::function<std::size_t(std::size_t)>& group_of,
                 std::size_t group_count) {
    std::vector<std::uint32_t> base_values(group_count, 0);
    std::vector<std::uint32_t> delta_values;
    std::size_t next_group = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const std::size_t group = group_of(i);
        if (group == next_group && next_group < group_count) base_values[next_group++] = values[i];
        if (group >= next_group || values[i] < base_values[group] || values[i] - base_values[group] > 0xFF)
            fail(deltas + ": no 8-bit delta at cell " + std::to_string(i));
        delta_values.push_back(values[i] - base_values[group]);
    }
    header.values(Element::u8, deltas, delta_values);
    header.values(Element::u16, bases, base_values);
}

} // namespace tablegen
