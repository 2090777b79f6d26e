// The catalogue: rows as stored in database metadata, the conversion matrix by symbol name, the lookups.
#include "support.h"

#include <algorithm>
#include <sstream>
#include <utility>

using namespace support;

namespace {

template <class Fn>
std::string symbol(Fn fn) {
    Dl_info info{};
    return dladdr(reinterpret_cast<void*>(fn), &info) != 0 && info.dli_sname != nullptr ? info.dli_sname : "?";
}

// name | canonical | Oracle name | Oracle id | longest | superset of ASCII | national | scanner | families of the position,
// decoding, encoding, case, trailing and space slots (one name: its own but for the trailing slot, which is ASCII's) | cells "target:symbol", the rest is the UCS-2 pivot; "4:" the UCS-4 one
struct row {
    const char *name, *canonical, *oracle;
    int id, longest, superset, national, scanner;
    const char *families, *cells;
};

const row rows[] = {
    {"ASCII", "US-ASCII", "US7ASCII", 1, 1, 1, 0, 0, "ascii",
     "*:ascii_get_ascii_str 4:ascii_get_utf16_str 34:ascii_get_us8icl_str"},
    {"EUCKR", "EUC-KR", "KO16KSC5601", 840, 2, 1, 0, 3, "euckr",
     "0,10:euckr_get_ascii_str 1,2:euckr_get_euckr_str 4:euckr_get_utf16_str 33:euckr_get_iso2022kr_str"},
    {"MSWIN949", "CP949", "KO16MSWIN949", 846, 2, 0, 0, 3, "mswin949",
     "0,10:mswin949_get_ascii_str 1:mswin949_get_euckr_str 2:euckr_get_euckr_str 4:mswin949_get_utf16_str "
     "33:euckr_get_iso2022kr_str"},
    {"UTF8", "UTF-8", "AL32UTF8", 873, 4, 1, 1, 2, "utf8", "3:utf8_get_utf8_str 4,30,32:convert_through_ucs4"},
    {"UTF16", "UTF-16BE", "AL16UTF16", 2000, 2, 0, 1, 0, "utf16 utf16 utf16 utf16 utf16 utf16",
     "0:utf16_get_ascii_str 4:utf16_get_utf16_str 10:utf16_get_tcvn3_str 12:utf16_get_mswin1252_str "
     "13:utf16_get_mswin950_str 14:utf16_get_mswin1251_str 3,30,32:convert_through_ucs4"},
    {"SJIS", "SHIFT-JIS", "", 832, 2, 0, 0, 1, "sjis",
     "0,10:sjis_get_ascii_str 4:sjis_get_utf16_str 5,27:sjis_get_sjis_str"},
    {"JA16SJIS", "CP932", "JA16SJIS", 832, 2, 0, 0, 1, "mswin932",
     "0,10:mswin932_get_ascii_str 4:mswin932_get_utf16_str 6,7:mswin932_get_mswin932_str"},
    {"JA16SJISTILDE", "CP932", "JA16SJISTILDE", 838, 2, 0, 0, 1,
     "mswin932 mswin932_tld mswin932 mswin932 ascii mswin932",
     "0,10:mswin932_get_ascii_str 4:mswin932_get_utf16_str 6,7:mswin932_get_mswin932_str"},
    {"JA16EUC", "EUC-JP", "JA16EUC", 830, 3, 1, 0, 0, "eucjp",
     "0,10:eucjp_get_ascii_str 4:eucjp_get_utf16_str 8,9:eucjp_get_eucjp_str"},
    {"JA16EUCTILDE", "EUC-JP", "JA16EUCTILDE", 837, 3, 1, 0, 0, "eucjp eucjp_tld eucjp_tld eucjp ascii eucjp",
     "0,10:eucjp_get_ascii_str 4:eucjp_tld_get_utf16_str 8,9:eucjp_get_eucjp_str"},
    {"VN8VN3", "TCVN", "VN8VN3", 44, 1, 1, 0, 0, "ascii tcvn3 tcvn3 tcvn3 ascii ascii",
     "0:tcvn3_get_ascii_str 4:tcvn3_get_utf16_str 10:tcvn3_get_tcvn3_str"},
    {"GBK", "CP936", "ZHS16GBK", 852, 2, 0, 0, 0, "mswin936",
     "0,10:mswin936_get_ascii_str 4:mswin936_get_utf16_str 11:mswin936_get_mswin936_str"},
    {"WE8MSWIN1252", "CP1252", "WE8MSWIN1252", 178, 1, 1, 0, 0, "mswin1252", "1"},
    {"ZHT16HKSCS", "CP950", "ZHT16HKSCS", 868, 2, 1, 0, 0, "mswin950 mswin950 mswin950 mswin950 ascii ascii",
     "0,10:mswin950_get_ascii_str 4:mswin950_get_utf16_str 13:mswin950_get_mswin950_str"},
    {"CL8MSWIN1251", "CP1251", "CL8MSWIN1251", 171, 1, 1, 0, 0, "mswin1251", "1"},
    {"WE8ISO8859P1", "ISO-8859-1", "WE8ISO8859P1", 31, 1, 1, 0, 0, "iso8859p1", "1"},
    {"EE8ISO8859P2", "ISO-8859-2", "EE8ISO8859P2", 32, 1, 1, 0, 0, "iso8859p2", "1"},
    {"WE8ISO8859P9", "ISO-8859-9", "WE8ISO8859P9", 39, 1, 1, 0, 0, "iso8859p9",
     "0:iso8859p9_get_ascii_str 4:iso8859p9_get_utf16_str 16:iso8859p9_get_iso8859p9_str"},
    {"WE8ISO8859P15", "ISO-8859-15", "WE8ISO8859P15", 46, 1, 1, 0, 0, "iso8859p15", "1"},
    {"CL8KOI8R", "KOI8-R", "CL8KOI8R", 196, 1, 1, 0, 0, "koi8r", "1"},
    {"CL8ISO8859P5", "ISO-8859-5", "CL8ISO8859P5", 35, 1, 1, 0, 0, "iso8859p5", "1"},
    {"RU8PC866", "CP866", "RU8PC866", 152, 1, 1, 0, 0, "msdos866", "1"},
    {"EL8MSWIN1253", "CP1253", "EL8MSWIN1253", 174, 1, 1, 0, 0, "mswin1253", "1"},
    {"EL8ISO8859P7", "ISO-8859-7", "EL8ISO8859P7", 37, 1, 1, 0, 0, "iso8859p7", "1"},
    {"TH8TISASCII", "TIS-620", "TH8TISASCII", 41, 1, 1, 0, 0, "tis620", "1"},
    {"AR8MSWIN1256", "CP1256", "AR8MSWIN1256", 560, 1, 1, 0, 0, "mswin1256", "1"},
    {"AR8ISO8859P6", "ISO-8859-6", "AR8ISO8859P6", 36, 1, 1, 0, 0, "iso8859p6", "1"},
    {"SJISTILDE", "SHIFT-JIS", "", 838, 2, 0, 0, 1, "sjis sjis_tld sjis sjis ascii sjis",
     "0,10:sjis_get_ascii_str 4:sjis_get_utf16_str 5,27:sjis_get_sjis_str"},
    {"ZHT16BIG5", "BIG5", "ZHT16BIG5", 865, 2, 1, 0, 0, "zht16big5 zht16big5 zht16big5 zht16big5 ascii ascii",
     "0,10:zht16big5_get_ascii_str 4:zht16big5_get_utf16_str 28:zht16big5_get_zht16big5_str"},
    {"ZHT16MSWIN950", "CP950", "ZHT16MSWIN950", 867, 2, 1, 0, 0,
     "zht16mswin950 zht16mswin950 zht16mswin950 zht16mswin950 ascii ascii",
     "0,10:zht16mswin950_get_ascii_str 4:zht16mswin950_get_utf16_str 29:zht16mswin950_get_zht16mswin950_str"},
    {"GB18030", "GB18030", "ZHS32GB18030", 0, 4, 1, 0, 0, "gb18030 gb18030 gb18030 gb18030 ascii ascii",
     "0,10:gb18030_get_ascii_str 4:gb18030_get_utf16_str 30:gb18030_get_gb18030_str 3,32:convert_through_ucs4"},
    {"IW8ISO8859P8", "ISO-8859-8", "IW8ISO8859P8", 38, 1, 1, 0, 0, "iso8859p8", "1"},
    {"EUCTW", "EUC-TW", "ZHT32EUC", 860, 4, 1, 0, 0, "euctw euctw euctw euctw ascii ascii",
     "0,10:euctw_get_ascii_str 4:euctw_get_utf16_str 32:euctw_get_euctw_str 3,30:convert_through_ucs4"},
    {"ISO2022-KR", "ISO-2022-KR", "ISO2022-KR", 9997, 2, 0, 0, 0,
     "iso2022kr iso2022kr iso2022kr iso2022kr iso2022kr iso2022kr",
     "0,10:iso2022kr_get_ascii_str 1,2:iso2022kr_get_euckr_str 4:iso2022kr_get_utf16_str "
     "33:iso2022kr_get_iso2022kr_str"},
    {"US8ICL", "US8ICL", "US8ICL", 277, 1, 0, 0, 0, "us8icl us8icl us8icl us8icl us8icl us8icl",
     "0,10:us8icl_get_ascii_str 4:us8icl_get_utf16_str 34:us8icl_get_us8icl_str"},
};
static_assert(std::size(rows) == QZSTR_CHARSET_MAX);

std::vector<std::string> words(const std::string& text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}

TEST(Catalogue, RowsAreTheStoredOnes) {
    for (int i = 0; i < QZSTR_CHARSET_MAX; ++i) {
        const auto& is = _charset_info[i];
        const row& want = rows[i];
        SCOPED_TRACE(want.name);
        EXPECT_STREQ(is.name, want.name);
        EXPECT_STREQ(is.canonical_name, want.canonical);
        EXPECT_STREQ(is.ora_compat_name, want.oracle);
        EXPECT_EQ(std::vector({is.ora_charset_id, is.max_bytes_per_char, int{is.is_superset_of_ascii},
                               int{is.usable_national_charset}, int{is.scanner_id_type}, is.bytes_per_char_in_clob}),
                  std::vector({want.id, want.longest, want.superset, want.national, want.scanner, 2}));
    }
}

TEST(Catalogue, SlotsByName) {
    for (int i = 0; i < QZSTR_CHARSET_MAX; ++i) {
        const auto& is = _charset_info[i];
        SCOPED_TRACE(rows[i].name);
        auto family = words(rows[i].families);
        if (family.size() == 1) family = {family[0], family[0], family[0], family[0], "ascii", family[0]};
        std::string from_ucs2 = family[2];
        if (family[2] == "eucjp_tld") family[2] = "eucjp"; // the tilde row shares its other encoders
#define QZSTR_EXPECT_SLOT(result, cs, operation, field, parameters, arguments)                                         \
    EXPECT_EQ(symbol(is.field), "qzstr_" + family[cs] + "_" #operation);
        QZSTR_POSITION_SLOTS(QZSTR_EXPECT_SLOT, 0)
        QZSTR_DECODE_SLOTS(QZSTR_EXPECT_SLOT, 1)
        QZSTR_CASE_SLOT(QZSTR_EXPECT_SLOT, 3)
        QZSTR_TRAILING_SLOT(QZSTR_EXPECT_SLOT, 4)
        QZSTR_ISSPACE_SLOT(QZSTR_EXPECT_SLOT, 5)
        EXPECT_EQ(symbol(is.qzstr_from_ucs2_fn), "qzstr_" + from_ucs2 + "_from_ucs2");
        EXPECT_EQ(symbol(is.qzstr_from_ucs4_fn), "qzstr_" + family[2] + "_from_ucs4");
        EXPECT_EQ(symbol(is.qzstr_from_wchar_fn), "qzstr_" + family[2] + "_from_wchar");
    }
}

TEST(Catalogue, MatrixByName) {
    for (int from = 0; from < QZSTR_CHARSET_MAX; ++from) {
        std::vector<std::string> want(QZSTR_CHARSET_MAX, "convert_through_ucs2");
        std::string cells = rows[from].cells;
        const std::string family = words(rows[from].families)[0];
        if (cells == "1") // the usual row of a single-byte charset
            cells = "0:" + family + "_get_ascii_str 4:" + family + "_get_utf16_str " + std::to_string(from) + ":" +
                    family + "_get_" + family + "_str";
        for (const std::string& cell : words(cells)) {
            const auto colon = cell.find(':');
            std::istringstream targets(cell.substr(0, colon));
            for (std::string target; std::getline(targets, target, ',');)
                for (int to = 0; to < QZSTR_CHARSET_MAX; ++to)
                    if (target == "*" ? to != QZSTR_CHARSET_UTF8 : to == std::stoi(target))
                        want[static_cast<std::size_t>(to)] = cell.substr(colon + 1);
        }
        for (int to = 0; to < QZSTR_CHARSET_MAX; ++to)
            EXPECT_EQ(symbol(_charset_info[from].qzstr_get_another_charset_str_fn[to]),
                      "qzstr_" + want[static_cast<std::size_t>(to)])
                << from << " to " << to;
    }
}

TEST(Catalogue, Lookups) {
    constexpr int none = QZSTR_CHARSET_MAX;
    const struct {
        std::string name;
        int id, canonical_id, oracle_id;
    } cases[] = {
        {"ASCII", 0, none, 1},
        {"us7ascii", 0, none, 1},
        {"us-ascii", none, 0, 1},
        {"JA16SJIS", 6, none, 832},
        {"CP932", none, 6, 832},
        {"euc-jp", none, 8, 830},
        {"SHIFT-JIS", none, 5, 832},
        {"CP950", none, 13, 868},
        {"GB18030", 30, 30, 0},
        {"ISO2022-KR", 33, none, 9997},
        {"US8ICL", 34, 34, 277},
        {"utf-16be", none, 4, 2000},
        {"", 5, none, 832},
        {"KO16MSWIN949", 2, none, 846},
        {"MSWIN949x", none, none, 0},
        {"12345678901234567", none, none, 0},
        {std::string("GBK\0x", 5), 11, none, 852},
        {"unknown", none, none, 0},
    };
    const guarded memory;
    for (const auto& c : cases) {
        char* const name = memory.place(c.name);
        const int len = static_cast<int>(c.name.size());
        EXPECT_EQ(qzstr_charset_get_id(name, len), c.id) << c.name;
        EXPECT_EQ(qzstr_charset_get_id_from_canonical_name(name, len), c.canonical_id) << c.name;
        EXPECT_EQ(qzstr_charset_get_oracle_id(name, len), c.oracle_id) << c.name;
    }
    EXPECT_EQ(qzstr_charset_get_id(memory.place("GBKX"), 3), 11);
}

} // namespace
