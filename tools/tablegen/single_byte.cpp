#include "builders.h"
#include "regions.h"

#include <set>

namespace tablegen {

namespace {

struct Member {
    const char* family;    // as in qzstr_<family>_to_ucs2, and the mapping file
    const char* code_page; // prefix of the conversion tables
    bool identity;         // every byte is its own code point: no to-Unicode table
    bool letters;          // has a letter map and case rules of its own
};

constexpr Member members[] = {
    {"mswin1252", "cp1252", false, true},     {"mswin1251", "cp1251", false, true},
    {"iso8859p1", "iso8859p1", true, true},   {"iso8859p2", "iso8859p2", false, true},
    {"iso8859p9", "iso8859p9", false, true},  {"iso8859p15", "iso8859p15", false, true},
    {"koi8r", "koi8r", false, true},          {"iso8859p5", "iso8859p5", false, true},
    {"msdos866", "cp866", false, true},       {"mswin1253", "cp1253", false, true},
    {"iso8859p7", "iso8859p7", false, true},  {"tis620", "tis620", false, false},
    {"mswin1256", "cp1256", false, false},    {"iso8859p6", "iso8859p6", false, false},
    {"iso8859p8", "iso8859p8", false, false},
};

/// The Windows-1251 pages are fixed; the three single code points make pages of one entry.
const std::vector<BackwardPage> cp1251_pages = {{"00", 0x00A0, 0x00BF},   {"04", 0x0400, 0x0497},
                                                {"20", 0x2010, 0x203F},   {"20ac", 0x20AC, 0x20AC},
                                                {"2116", 0x2116, 0x2116}, {"2122", 0x2122, 0x2122}};

using Codes = std::map<std::uint32_t, std::uint32_t>;

/// Pages that follow the data: a new one begins where a longer gap would only hold zeros.
std::vector<BackwardPage> partition(const Codes& codes) {
    constexpr std::uint32_t longest_gap = 64;
    std::vector<BackwardPage> pages;
    std::set<std::string> suffixes;
    for (const auto& [unicode, code] : codes) {
        if (!pages.empty() && unicode - pages.back().last <= longest_gap) {
            pages.back().last = unicode;
            continue;
        }
        std::string suffix = lower_hex(unicode >> 8, 2);
        if (!suffixes.insert(suffix).second) suffix = lower_hex(unicode, 4);
        pages.push_back({suffix, unicode, unicode});
    }
    return pages;
}

/// The bytes of a code point stretch, `none` where a code point has no byte.
std::vector<std::uint32_t> bytes_of(const Codes& codes, std::uint32_t first, std::uint32_t last, std::uint32_t none) {
    std::vector<std::uint32_t> bytes;
    for (std::uint32_t unicode = first; unicode <= last; ++unicode) {
        const auto found = codes.find(unicode);
        bytes.push_back(found == codes.end() ? none : found->second);
    }
    return bytes;
}

/// Two-way codes of the high half.
Codes high_codes(const Mapping& mapping) {
    return mapping.filtered([](const Entry& entry) { return entry.code >= 0x80; }).inverse();
}

/// Code points of the bytes from `first` on; the file must name every byte once and hold ASCII below 0x80.
std::vector<std::uint32_t> code_points(const Mapping& mapping, std::size_t first, bool ascii = true) {
    if (mapping.entries.size() != 256) fail(mapping.name + ": not 256 bytes");
    std::vector<std::uint32_t> values;
    for (const Entry& entry : mapping.entries) {
        if (ascii && entry.code < 0x80 && entry.unicode != entry.code) fail(mapping.name + ": not ASCII below 0x80");
        if (entry.code >= first) values.push_back(entry.unicode);
    }
    return values;
}

void from_unicode(Header& header, const std::string& code_page, const Codes& codes,
                  const std::vector<BackwardPage>& pages) {
    std::size_t placed = 0;
    std::vector<Page> list;
    for (const BackwardPage& page : pages) {
        const std::string name = code_page + "_page" + page.suffix;
        const std::vector<std::uint32_t> bytes = bytes_of(codes, page.first, page.last, 0);
        header.values(Element::u8, name, bytes);
        list.push_back({name, page.first, bytes.size()});
        for (std::uint32_t byte : bytes)
            placed += byte != 0;
    }
    if (placed != codes.size()) fail(code_page + ": code points outside the pages");
    header.pages("std::uint8_t", code_page + "_pages", list);
}

/// The values column of a line of single_byte_case.txt.
std::string case_values(const std::vector<Row>& rows, const std::string& family, const std::string& kind) {
    for (const Row& row : rows)
        if (row.size() == 3 && row[0] == family && row[1] == kind) return row[2];
    fail("single_byte_case: no " + kind + " of " + family);
}

/// Bytes `first`..0xFF after applying "from>to" pairs, identity where none.
std::vector<std::uint32_t> case_bytes(const std::string& pairs, std::uint32_t first, std::uint32_t last) {
    std::vector<std::uint32_t> bytes;
    for (std::uint32_t byte = first; byte <= last; ++byte)
        bytes.push_back(byte);
    for (std::size_t at = 0; pairs != "-" && at < pairs.size(); at += 6) {
        const std::uint32_t from = parse_number(pairs.substr(at, 2), 16);
        if (pairs.at(at + 2) != '>') fail("single_byte_case: bad pair in " + pairs);
        if (from >= first && from <= last) bytes[from - first] = parse_number(pairs.substr(at + 3, 2), 16);
    }
    return bytes;
}

void letter_case(Header& header, const std::string& family, const std::vector<Row>& rows) {
    std::vector<std::uint32_t> letters;
    for (char digit : case_values(rows, family, "LETTERS"))
        letters.push_back(static_cast<std::uint32_t>(digit - '0'));
    if (letters.size() != 64) fail(family + ": letter map of " + std::to_string(letters.size()));
    header.values(Element::u8, "qzstr_" + family + "_latin_alphabet_map", letters);
    header.values(Element::u8, family + "_lower", case_bytes(case_values(rows, family, "LOWER"), 0x80, 0xFF));
    header.values(Element::u8, family + "_upper", case_bytes(case_values(rows, family, "UPPER"), 0x80, 0xFF));
}

Header member(const MappingDirectory& mappings, const Member& shape) {
    const std::string family = shape.family;
    const std::string code_page = shape.code_page;
    std::vector<std::string> sources = {family};
    if (shape.letters) sources.push_back("single_byte_case");
    Header header(family + ".h", sources);

    const Mapping mapping = mappings.mapping(family);
    const std::vector<std::uint32_t> values = code_points(mapping, 0x80);
    for (std::uint32_t i = 0; shape.identity && i < 128; ++i)
        if (values[i] != 0x80 + i) fail(family + ": not the identity");
    if (!shape.identity) header.values(Element::u16, code_page + "_2uni", values);
    const Codes codes = high_codes(mapping);
    from_unicode(header, code_page, codes, family == "mswin1251" ? cp1251_pages : partition(codes));
    if (shape.letters) letter_case(header, family, mappings.rows("single_byte_case"));
    return header;
}

Header tcvn3(const MappingDirectory& mappings) {
    Header header("tcvn3.h", {"tcvn3", "single_byte_case"});
    const Mapping mapping = mappings.mapping("tcvn3");
    const Codes codes = high_codes(mapping);
    header.values(Element::u16, "tcvn3_2uni_page", code_points(mapping, 0x80));
    std::size_t placed = 0;
    for (const BackwardPage& page :
         {BackwardPage{"1", 0x00C0, 0x00FE}, BackwardPage{"2", 0x0100, 0x01BE}, BackwardPage{"3", 0x1EA0, 0x1EFE}}) {
        const std::vector<std::uint32_t> bytes = bytes_of(codes, page.first, page.last, '?');
        header.values(Element::u8, "tcvn3_uni2idx_page" + page.suffix, bytes);
        for (std::uint32_t byte : bytes)
            placed += byte != '?';
    }
    if (placed != codes.size()) fail("tcvn3: code points outside the pages");
    const std::vector<Row> rows = mappings.rows("single_byte_case");
    header.values(Element::u8, "tcvn3_lower_page", case_bytes(case_values(rows, "tcvn3", "LOWER"), 0xA1, 0xA7));
    header.values(Element::u8, "tcvn3_upper_page", case_bytes(case_values(rows, "tcvn3", "UPPER"), 0xA0, 0xFF));
    return header;
}

Header us8icl(const MappingDirectory& mappings) {
    constexpr std::uint32_t question_mark = 0x6F;
    Header header("us8icl.h", {"us8icl"});
    const Mapping mapping = mappings.mapping("us8icl");
    const Codes codes = mapping.inverse();
    if (codes.size() != 128 || codes.rbegin()->first != 0x7F || codes.at('?') != question_mark)
        fail("us8icl: not exactly ASCII");
    header.values(Element::u8, "us8icl_2uni_page", code_points(mapping, 0, false));
    header.values(Element::u8, "us8icl_uni2idx_page", bytes_of(codes, 0, 0xFF, question_mark));
    return header;
}

} // namespace

Headers single_byte(const MappingDirectory& mappings) {
    Headers headers;
    for (const Member& shape : members)
        headers.push_back(member(mappings, shape));
    headers.push_back(tcvn3(mappings));
    headers.push_back(us8icl(mappings));
    return headers;
}

} // namespace tablegen
