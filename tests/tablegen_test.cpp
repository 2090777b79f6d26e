// The generated tables against the mapping files: the committed headers are what the generator makes, and the lookups of every standard
// answer as the files say, over the whole space of codes and of code points.
#include "standards/big5.h"
#include "standards/big5_2003.h"
#include "standards/cns11643.h"
#include "standards/cp932ext.h"
#include "standards/cp950.h"
#include "standards/gb18030.h"
#include "standards/gbk.h"
#include "standards/hkscs.h"
#include "standards/jisx0208.h"
#include "standards/jisx0212.h"
#include "standards/jisx0213.h"
#include "standards/ksc5601.h"
#include "standards/shift_jis.h"
#include "standards/uhc.h"
#include "tables/iso8859p1.h"
#include "tables/iso8859p15.h"
#include "tables/iso8859p2.h"
#include "tables/iso8859p5.h"
#include "tables/iso8859p6.h"
#include "tables/iso8859p7.h"
#include "tables/iso8859p8.h"
#include "tables/iso8859p9.h"
#include "tables/koi8r.h"
#include "tables/msdos866.h"
#include "tables/mswin1251.h"
#include "tables/mswin1252.h"
#include "tables/mswin1253.h"
#include "tables/mswin1256.h"
#include "tables/tcvn3.h"
#include "tables/tis620.h"
#include "tables/us8icl.h"
#include "tables/utf8_case.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace qzstr;
using Row = std::vector<std::string>;
using Map = std::map<std::uint32_t, std::uint32_t>;

std::vector<Row> read_rows(const std::string& name) {
    std::ifstream file(fs::path(MAPPINGS_DIR) / (name + ".txt"));
    std::vector<Row> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream columns(line);
        rows.emplace_back();
        for (std::string column; std::getline(columns, column, '\t');)
            rows.back().push_back(column);
    }
    EXPECT_FALSE(rows.empty()) << name;
    return rows;
}

std::uint32_t number(const std::string& text, int base = 16) {
    return static_cast<std::uint32_t>(std::stoul(text, nullptr, base));
}

int run_check(const std::string& tables, const fs::path& report) {
    const std::string command = std::string("'") + TABLEGEN_EXECUTABLE + "' --check '" + MAPPINGS_DIR + "' '" + tables +
                                "' 2> '" + report.string() + "'";
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string read_file(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(Tablegen, CommittedHeadersAreWhatTheGeneratorMakes) {
    const fs::path report = fs::path(testing::TempDir()) / "tablegen_report.txt";
    EXPECT_EQ(run_check(TABLES_DIR, report), 0) << read_file(report);
}

TEST(Tablegen, CheckNamesWhatDiffers) {
    const fs::path copy = fs::path(testing::TempDir()) / "tablegen_tables";
    fs::remove_all(copy);
    fs::copy(TABLES_DIR, copy);
    std::ofstream(copy / "uhc.h", std::ios::app) << " ";
    fs::rename(copy / "koi8r.h", copy / "koi8u.h");
    const fs::path report = fs::path(testing::TempDir()) / "tablegen_differences.txt";
    EXPECT_EQ(run_check(copy.string(), report), 1);
    EXPECT_EQ(read_file(report), "tablegen: uhc.h differs from the mappings\ntablegen: koi8r.h is missing\n"
                                 "tablegen: koi8u.h is not generated\n");
    fs::remove_all(copy);
}

// ---- mapping walk

constexpr unsigned high(std::uint32_t code) {
    return code >> 8 & 0xFF;
}
constexpr unsigned low(std::uint32_t code) {
    return code & 0xFF;
}

/// A pair of code points, in one number that no single code point has.
constexpr std::uint32_t pair_value(std::uint32_t base, std::uint32_t mark) {
    return 0x80000000 | base << 16 | mark;
}

std::uint32_t jisx0213_to(std::uint32_t code) {
    const std::uint32_t row =
        code >> 16 == 1 || code >> 16 == 2 ? jisx0213_table_row(code >> 16, high(code)) : no_index;
    const std::uint32_t value = qzstr_jisx0213_to_ucs(row, low(code) - 0x21);
    if (!qzstr_jisx0213_is_pair(value)) return value;
    const jisx0213_pair pair = qzstr_jisx0213_pair(value);
    return pair_value(pair.base, pair.mark);
}

std::uint32_t jisx0213_from(std::uint32_t wc) {
    const std::uint32_t code = wc < 0x80000000 ? qzstr_jisx0213_from_ucs(wc)
                                               : qzstr_euc_jisx0213_compose(wc >> 16 & 0x7FFF, wc & 0xFFFF) & 0x7F7Fu;
    return code == 0 ? 0 : (code & jisx0213_plane2 ? 0x20000 : 0x10000) | (code & 0x7FFF);
}

std::uint32_t gbk_from(std::uint32_t wc) {
    const std::uint32_t code = qzstr_gbk_from_ucs2(wc);
    return code != 0 ? code : qzstr_cp936ext_from_ucs2(wc);
}

std::uint32_t cns11643_from(std::uint32_t wc) {
    const cns11643_code code = qzstr_cns11643_from_unicode(wc);
    return static_cast<std::uint32_t>(code.plane << 16 | code.row << 8 | code.col);
}

template <const auto& Table>
std::uint32_t byte_to(std::uint32_t code) {
    return code > 0xFF ? no_character : code < 0x80 ? code : Table[code - 0x80];
}

template <const auto& Pages>
std::uint32_t byte_from(std::uint32_t wc) {
    return wc < 0x80 ? wc : page_entry<Pages>(wc, std::uint8_t{0});
}

std::uint32_t tcvn3_from(std::uint32_t wc) {
    static constexpr table_page<std::uint8_t> pages[] = {{0x00C0, 63, tables::tcvn3_uni2idx_page1},
                                                         {0x0100, 191, tables::tcvn3_uni2idx_page2},
                                                         {0x1EA0, 95, tables::tcvn3_uni2idx_page3}};
    const std::uint32_t byte = wc < 0x80 ? wc : page_entry<pages>(wc, std::uint8_t{'?'});
    return wc >= 0x80 && byte == '?' ? 0 : byte;
}

struct Walk {
    std::vector<std::string> files;
    std::uint32_t (*to)(std::uint32_t code);
    std::uint32_t (*from)(std::uint32_t wc); // null: the file is only decoded
    Map decode_exceptions = {};
    Map encode_exceptions = {};
    std::uint32_t high_bits = 0; // what the lookup's codes have and the first file's lack
};

/// Codes of rows 0xA2A1..0xA2AA are the small Roman numerals; two symbols of GB 2312 have other code points in GBK.
const Map gbk_decode_exceptions = {{0xA1A4, 0x00B7}, {0xA1AA, 0x2014}, {0xA2A1, 0x2170}, {0xA2A2, 0x2171},
                                   {0xA2A3, 0x2172}, {0xA2A4, 0x2173}, {0xA2A5, 0x2174}, {0xA2A6, 0x2175},
                                   {0xA2A7, 0x2176}, {0xA2A8, 0x2177}, {0xA2A9, 0x2178}, {0xA2AA, 0x2179}};

const Walk walks[] = {
    {{"ksx1001"},
     [](auto c) -> std::uint32_t { return qzstr_ksc5601_to_ucs2(c >> 8, low(c)); },
     [](auto wc) -> std::uint32_t { return qzstr_ksc5601_from_ucs2(wc); }},
    {{"uhc"},
     [](auto c) -> std::uint32_t {
         const std::uint32_t wc = qzstr_uhc_1_to_ucs2(c >> 8, low(c));
         return wc != no_character ? wc : qzstr_uhc_2_to_ucs2(c >> 8, low(c));
     },
     [](auto wc) -> std::uint32_t { return qzstr_uhc_1_from_ucs2(wc) + qzstr_uhc_2_from_ucs2(wc); }},
    {{"jisx0208"},
     [](auto c) -> std::uint32_t { return qzstr_jisx0208_to_ucs2(c >> 8, low(c)); },
     [](auto wc) -> std::uint32_t { return qzstr_jisx0208_from_ucs2(wc); }},
    {{"jisx0212"},
     [](auto c) -> std::uint32_t { return qzstr_jisx0212_to_ucs2(c >> 8, low(c)); },
     [](auto wc) -> std::uint32_t { return qzstr_jisx0212_from_ucs2(wc); }},
    {{"jisx0213"}, jisx0213_to, jisx0213_from},
    {{"cp932ext"},
     [](auto c) -> std::uint32_t { return qzstr_cp932ext_to_ucs2(c >> 8, shift_jis_trail_index(low(c))); },
     [](auto wc) -> std::uint32_t { return qzstr_cp932ext_from_ucs2(wc); }},
    {{"gb2312"},
     [](auto c) -> std::uint32_t { return qzstr_gb2312_to_ucs2(c >> 8, low(c)); },
     [](auto wc) -> std::uint32_t { return qzstr_gb2312_from_ucs2(wc); }},
    {{"gb2312", "gbkext1", "gbkext2", "cp936ext"},
     [](auto c) -> std::uint32_t { return qzstr_gbk_to_ucs2(c >> 8, low(c)); },
     gbk_from,
     gbk_decode_exceptions,
     {{0x2015, 0xA844}, {0x30FB, 0}},
     0x8080}, // decoded otherwise, so not GB 2312's
    {{"cp936ext"},
     [](auto c) -> std::uint32_t { return qzstr_cp936ext_to_ucs2(c >> 8, low(c)); },
     [](auto wc) -> std::uint32_t { return qzstr_cp936ext_from_ucs2(wc); }},
    {{"gb18030ext"},
     [](auto c) -> std::uint32_t { return qzstr_gb18030ext_to_ucs2(c >> 8, low(c)); },
     [](auto wc) -> std::uint32_t { return qzstr_gb18030ext_from_ucs4(wc); }},
    {{"big5"},
     [](auto c) -> std::uint32_t { return qzstr_big5_to_ucs2(c >> 8, big5_trail_index(low(c))); },
     [](auto wc) -> std::uint32_t { return qzstr_big5_from_ucs2(wc); }},
    {{"cp950_a1a2"},
     [](auto c) -> std::uint32_t { return qzstr_cp950_to_ucs2(c >> 8, big5_trail_index(low(c))); },
     nullptr},
    {{"cp950ext"},
     [](auto c) -> std::uint32_t { return qzstr_cp950ext_to_ucs2(c >> 8, big5_trail_index(low(c))); },
     [](auto wc) -> std::uint32_t { return qzstr_cp950ext_from_ucs2(wc); }},
    {{"big5_2003"},
     [](auto c) -> std::uint32_t { return qzstr_big5_2003_to_ucs2(c >> 8, big5_trail_index(low(c))); },
     [](auto wc) -> std::uint32_t { // the control pictures are a rule, not data
         return wc >> 8 == 0x24 && wc <= 0x2421 ? 0 : qzstr_big5_2003_from_ucs2(wc);
     }},
    {{"hkscs1999"},
     [](auto c) { return qzstr_hkscs1999_to_ucs4(c >> 8, big5_trail_index(low(c))); },
     [](auto wc) -> std::uint32_t { return qzstr_hkscs1999_from_ucs4(wc); }},
    {{"hkscs2001"},
     [](auto c) { return qzstr_hkscs2001_to_ucs4(c >> 8, big5_trail_index(low(c))); },
     [](auto wc) -> std::uint32_t { return qzstr_hkscs2001_from_ucs4(wc); }},
    {{"cns11643"}, [](auto c) { return qzstr_cns11643_to_ucs4(c >> 16, high(c), low(c)); }, cns11643_from},
    {{"mswin1252"}, byte_to<tables::cp1252_2uni>, byte_from<tables::cp1252_pages>},
    {{"mswin1251"}, byte_to<tables::cp1251_2uni>, byte_from<tables::cp1251_pages>},
    {{"iso8859p1"},
     [](auto c) -> std::uint32_t { return c < 0x100 ? c : no_character; },
     byte_from<tables::iso8859p1_pages>},
    {{"iso8859p2"}, byte_to<tables::iso8859p2_2uni>, byte_from<tables::iso8859p2_pages>},
    {{"iso8859p9"}, byte_to<tables::iso8859p9_2uni>, byte_from<tables::iso8859p9_pages>},
    {{"iso8859p15"}, byte_to<tables::iso8859p15_2uni>, byte_from<tables::iso8859p15_pages>},
    {{"koi8r"}, byte_to<tables::koi8r_2uni>, byte_from<tables::koi8r_pages>},
    {{"iso8859p5"}, byte_to<tables::iso8859p5_2uni>, byte_from<tables::iso8859p5_pages>},
    {{"msdos866"}, byte_to<tables::cp866_2uni>, byte_from<tables::cp866_pages>},
    {{"mswin1253"}, byte_to<tables::cp1253_2uni>, byte_from<tables::cp1253_pages>},
    {{"iso8859p7"}, byte_to<tables::iso8859p7_2uni>, byte_from<tables::iso8859p7_pages>},
    {{"tis620"}, byte_to<tables::tis620_2uni>, byte_from<tables::tis620_pages>},
    {{"mswin1256"}, byte_to<tables::cp1256_2uni>, byte_from<tables::cp1256_pages>},
    {{"iso8859p6"}, byte_to<tables::iso8859p6_2uni>, byte_from<tables::iso8859p6_pages>},
    {{"iso8859p8"}, byte_to<tables::iso8859p8_2uni>, byte_from<tables::iso8859p8_pages>},
    {{"tcvn3"}, byte_to<tables::tcvn3_2uni_page>, tcvn3_from},
    {{"us8icl"},
     [](auto c) -> std::uint32_t { return c > 0xFF ? no_character : tables::us8icl_2uni_page[c]; },
     [](auto wc) -> std::uint32_t { // 0x6F is the answer for every other code point too
         return wc < 0x100 && (wc == '?' || tables::us8icl_uni2idx_page[wc] != 0x6F) ? tables::us8icl_uni2idx_page[wc]
                                                                                     : 0;
     }},
};

std::uint32_t value_or(const Map& map, std::uint32_t key, std::uint32_t none) {
    const auto found = map.find(key);
    return found == map.end() ? none : found->second;
}

class MappingWalk : public testing::TestWithParam<Walk> {};

TEST_P(MappingWalk, EveryCodeAndEveryCodePoint) {
    const Walk& walk = GetParam();
    Map decoded;
    Map encoded;
    std::uint32_t high_bits = walk.high_bits;
    for (const std::string& file : walk.files) {
        for (const Row& row : read_rows(file)) {
            const std::size_t plus = row[1].find('+');
            const std::uint32_t code = number(row[0]) | high_bits;
            const std::uint32_t wc = plus == std::string::npos
                                         ? number(row[1])
                                         : pair_value(number(row[1].substr(0, plus)), number(row[1].substr(plus + 1)));
            decoded[code] = wc;
            if (row.size() < 3) encoded[wc] = code;
        }
        high_bits = 0;
    }
    for (const auto& [code, wc] : walk.decode_exceptions)
        decoded[code] = wc;
    for (const auto& [wc, code] : walk.encode_exceptions)
        encoded[wc] = code;

    int failures = 0;
    const auto report = [&](const char* what, std::uint32_t key, std::uint32_t got, std::uint32_t expected) {
        if (got == expected || ++failures > 10) return;
        ADD_FAILURE() << walk.files[0] << ": " << what << std::hex << key << " gives " << got << ", not " << expected;
    };
    for (std::uint32_t code = 0; code < 0x100000; ++code) {
        if (code > 0xFFFF && decoded.rbegin()->first <= 0xFFFF) break;
        report("code ", code, walk.to(code), value_or(decoded, code, no_character));
    }
    if (walk.from == nullptr) return;
    for (std::uint32_t wc = 0; wc < 0x30000; ++wc)
        report("U+", wc, walk.from(wc), value_or(encoded, wc, 0));
    for (auto pair = encoded.lower_bound(0x30000); pair != encoded.end(); ++pair)
        report("pair ", pair->first, walk.from(pair->first), pair->second);
    EXPECT_EQ(failures, 0);
}

INSTANTIATE_TEST_SUITE_P(Files, MappingWalk, testing::ValuesIn(walks), [](const auto& info) {
    return info.param.files[0] + (info.param.files.size() > 1 ? "_and_extensions" : "");
});

// ---- rules beside the tables

TEST(Standards, Gb18030FourByteCodesFollowTheRuns) {
    Map to;
    for (const Row& row : read_rows("gb18030_ranges"))
        for (std::uint32_t linear = number(row[0], 10); linear <= number(row[1], 10); ++linear)
            to[linear] = number(row[2]) + linear - number(row[0], 10);
    Map from;
    for (const auto& [linear, wc] : to)
        from[wc] = linear;
    to[7457] = 0xE7C7;    // swapped with a two-byte addition
    to[39419] = no_index; // U+FFFF is encoded, never decoded
    from[0xE7C7] = 7457;
    for (std::uint32_t i = 0; i <= 0x10000; ++i) {
        ASSERT_EQ(qzstr_gb18030uni_to_ucs2(i), value_or(to, i, no_index)) << i;
        ASSERT_EQ(qzstr_gb18030uni_from_ucs2(i), value_or(from, i, no_index)) << i;
    }
}

TEST(Standards, Gb18030PrivateUseCodesAreThoseOfTheAdditions) {
    Map codes;
    for (const Row& row : read_rows("gb18030_pua"))
        for (std::uint32_t wc = number(row[0]); wc <= number(row[1]); ++wc)
            codes[wc] = number(row[2]) + wc - number(row[0]);
    ASSERT_EQ(codes.size(), 173u);
    for (std::uint32_t wc = 0xE000; wc < 0xF000; ++wc) {
        ASSERT_EQ(qzstr_gb18030_pua_from_ucs2(wc), value_or(codes, wc, 0)) << wc;
        const std::uint32_t addition = qzstr_gb18030ext_from_ucs4(wc);
        if (addition != 0) {
            ASSERT_EQ(addition, value_or(codes, wc, 0)) << wc;
        }
    }
}

/// A user-defined area: every code point of it has a code of its own, and no other pair of bytes claims to be in it.
struct UserArea {
    const char* name;
    std::uint32_t first;
    std::uint32_t last;
    std::uint32_t (*to)(std::uint32_t code);
    std::uint32_t (*from)(std::uint32_t wc);
};

TEST(Standards, UserDefinedAreasAreOneToOne) {
    const UserArea areas[] = {
        {"shift_jis", 0xE000, 0xE757,
         [](auto c) -> std::uint32_t {
             const std::uint32_t t = shift_jis_trail_index(low(c));
             return c >> 8 < 0xF0 || c >> 8 > 0xF9 || t == no_index ? no_character : shift_jis_user_to_ucs2(c >> 8, t);
         },
         [](auto wc) -> std::uint32_t { return shift_jis_user_from_ucs2(wc); }},
        {"gbk", 0xE000, 0xE4C5, [](auto c) -> std::uint32_t { return gbk_user_rows_to_ucs2(c >> 8, low(c)); },
         [](auto wc) -> std::uint32_t { return gbk_user_rows_from_ucs2(wc); }},
        {"big5", 0xE000, 0xF6B0,
         [](auto c) -> std::uint32_t { return big5_user_to_ucs2(c >> 8, big5_trail_index(low(c))); },
         [](auto wc) -> std::uint32_t { return big5_user_from_ucs2(wc); }},
    };
    for (const UserArea& area : areas) {
        std::uint32_t decodable = 0;
        for (std::uint32_t code = 0; code <= 0xFFFF; ++code)
            decodable += area.to(code) != no_character;
        EXPECT_EQ(decodable, area.last - area.first + 1) << area.name;
        for (std::uint32_t wc = 0; wc <= 0xFFFF; ++wc) {
            const std::uint32_t code = area.from(wc);
            ASSERT_EQ(code != 0, wc >= area.first && wc <= area.last) << area.name << std::hex << wc;
            if (code != 0) {
                ASSERT_EQ(area.to(code), wc) << area.name;
            }
        }
    }
}

TEST(Standards, ShiftJisPairsAndJisx0213RowsComeBack) {
    for (const Row& row : read_rows("jisx0213")) {
        const std::uint32_t code = number(row[0]);
        const std::uint32_t value = qzstr_jisx0213_to_ucs(jisx0213_table_row(code >> 16, high(code)), low(code) - 0x21);
        const jisx0213_pair pair = qzstr_jisx0213_is_pair(value) ? qzstr_jisx0213_pair(value) : jisx0213_pair{0, 0};
        const std::uint32_t bytes =
            pair.base != 0 ? qzstr_shift_jisx0213_compose(pair.base, pair.mark) : qzstr_shift_jisx0213_from_ucs(value);
        const shift_jis_cell cell = shift_jis_cell_of(bytes >> 8, shift_jis_trail_index(low(bytes)));
        ASSERT_EQ(qzstr_jisx0213_to_ucs(shift_jisx0213_table_row(cell.row), cell.col), value) << row[0];
        ASSERT_EQ(shift_jis_pair(cell), bytes) << row[0];
    }
}

// ---- case

struct CaseMaps {
    Map lower;
    Map upper;
};

CaseMaps unicode_case() {
    CaseMaps maps;
    for (const Row& row : read_rows("unicode_case")) {
        maps.lower[number(row[0])] = number(row[1]);
        maps.upper[number(row[0])] = number(row[2]);
    }
    return maps;
}

TEST(CaseTables, SingleByteRulesAreTheUnicodeMappingsWithinThePage) {
    struct Member {
        const char* family;
        const std::uint8_t* lower;
        const std::uint8_t* upper;
    };
    const Member members[] = {
        {"mswin1252", tables::mswin1252_lower, tables::mswin1252_upper},
        {"mswin1251", tables::mswin1251_lower, tables::mswin1251_upper},
        {"iso8859p1", tables::iso8859p1_lower, tables::iso8859p1_upper},
        {"iso8859p2", tables::iso8859p2_lower, tables::iso8859p2_upper},
        {"iso8859p9", tables::iso8859p9_lower, tables::iso8859p9_upper},
        {"iso8859p15", tables::iso8859p15_lower, tables::iso8859p15_upper},
        {"koi8r", tables::koi8r_lower, tables::koi8r_upper},
        {"iso8859p5", tables::iso8859p5_lower, tables::iso8859p5_upper},
        {"msdos866", tables::msdos866_lower, tables::msdos866_upper},
        {"mswin1253", tables::mswin1253_lower, tables::mswin1253_upper},
        {"iso8859p7", tables::iso8859p7_lower, tables::iso8859p7_upper},
    };
    const CaseMaps unicode = unicode_case();
    for (const Member& member : members) {
        const Walk* walk = nullptr;
        for (const Walk& candidate : walks)
            if (candidate.files[0] == member.family) walk = &candidate;
        ASSERT_NE(walk, nullptr);
        for (std::uint32_t byte = 0x80; byte <= 0xFF; ++byte) {
            const std::uint32_t wc = walk->to(byte);
            const std::uint32_t lower = walk->from(value_or(unicode.lower, wc, wc));
            const std::uint32_t upper = walk->from(value_or(unicode.upper, wc, wc));
            EXPECT_EQ(member.lower[byte - 0x80], lower != 0 ? lower : byte) << member.family << std::hex << byte;
            EXPECT_EQ(member.upper[byte - 0x80], upper != 0 ? upper : byte) << member.family << std::hex << byte;
        }
    }
}

TEST(CaseTables, TwoByteRulesAreTheUnicodeMappingsOutsideLeadC6) {
    const CaseMaps unicode = unicode_case();
    const auto two_bytes = [](std::uint32_t to, std::uint32_t wc) { return to >= 0x80 && to <= 0x7FF ? to : wc; };
    for (std::uint32_t wc = 0xC0; wc <= 0x57F; ++wc) {
        if (wc >> 6 == 0x180 >> 6) continue;
        EXPECT_EQ(tables::utf8_lower_two_byte[wc - 0xC0], two_bytes(value_or(unicode.lower, wc, wc), wc))
            << std::hex << wc;
        EXPECT_EQ(tables::utf8_upper_two_byte[wc - 0xC0], two_bytes(value_or(unicode.upper, wc, wc), wc))
            << std::hex << wc;
    }
    EXPECT_EQ(tables::utf8_upper_two_byte[0x181 - 0xC0], 0x243);
}

template <std::size_t N>
std::map<std::string, std::string> active_rows(const tables::qzstr_case_table_elem_t (&table)[N]) {
    std::map<std::string, std::string> rows;
    for (std::size_t i = 0; i < N; ++i) {
        EXPECT_TRUE(i == 0 || std::string(table[i - 1].from) < table[i].from) << i;
        if (std::string(table[i].to).size() == 3) rows[table[i].from] = table[i].to;
    }
    return rows;
}

TEST(CaseTables, ThreeByteRowsAreInverse) {
    const auto lower = active_rows(tables::qzstr_case_to_lower_table);
    const auto upper = active_rows(tables::qzstr_case_to_upper_table);
    EXPECT_EQ(lower.size(), 487u);
    EXPECT_EQ(upper.size(), 487u);
    for (const auto& [from, to] : lower)
        EXPECT_TRUE(upper.contains(to) && upper.at(to) == from);
}

} // namespace
