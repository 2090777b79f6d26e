// The catalogue: 35 rows, the conversion matrix, the lookups by name.
#include "core/contract.h"
#include "qzstr_stages.h"

#include <iterator>

#define QZSTR_DECLARE_STAGES(result, cs, operation, field, parameters, arguments) extern const stages cs##_stages;
#define QZSTR_NO_CELL(cs, target)
namespace qzstr {
QZSTR_FAMILIES(QZSTR_DECLARE_STAGES, QZSTR_NO_CELL)
} // namespace qzstr

namespace {

/// A row, and what the pivots know of its families.
struct catalogue_row {
    qzstr_charset_info_t info;
    qzstr::row_stages stages;
};

using convert_fn = qzstr_get_another_charset_str_fn_t;

#define QZSTR_SET_SLOT(result, cs, operation, field, parameters, arguments) row.info.field = qzstr_##cs##_##operation;
#define QZSTR_POSITIONS(cs) QZSTR_POSITION_SLOTS(QZSTR_SET_SLOT, cs)
#define QZSTR_DECODERS(cs) QZSTR_DECODE_SLOTS(QZSTR_SET_SLOT, cs)
#define QZSTR_ENCODERS(cs) QZSTR_ENCODE_SLOTS(QZSTR_SET_SLOT, cs)
#define QZSTR_CASE(cs) QZSTR_CASE_SLOT(QZSTR_SET_SLOT, cs)
#define QZSTR_TRAILING(cs) QZSTR_TRAILING_SLOT(QZSTR_SET_SLOT, cs)
#define QZSTR_ISSPACE(cs) QZSTR_ISSPACE_SLOT(QZSTR_SET_SLOT, cs)

/// The slots of a row, group by group: the family that provides its positions, decoders, encoders, case, trailing
/// blanks and white space.
#define QZSTR_ROW_SLOTS(row_name, positions, decoding, encoding, casing, trailing, space)                              \
    constexpr void row_name##_slots(catalogue_row& row) {                                                              \
        row.stages = {&qzstr::decoding##_stages, &qzstr::encoding##_stages};                                           \
        QZSTR_POSITIONS(positions)                                                                                     \
        QZSTR_DECODERS(decoding)                                                                                       \
        QZSTR_ENCODERS(encoding) QZSTR_CASE(casing) QZSTR_TRAILING(trailing) QZSTR_ISSPACE(space)                      \
    }
QZSTR_ROW_SLOTS(ascii, ascii, ascii, ascii, ascii, ascii, ascii)
QZSTR_ROW_SLOTS(utf16, utf16, utf16, utf16, utf16, utf16, utf16)
QZSTR_ROW_SLOTS(iso2022kr, iso2022kr, iso2022kr, iso2022kr, iso2022kr, iso2022kr, iso2022kr)
QZSTR_ROW_SLOTS(us8icl, us8icl, us8icl, us8icl, us8icl, us8icl, us8icl)
QZSTR_ROW_SLOTS(euckr, euckr, euckr, euckr, euckr, ascii, euckr)
QZSTR_ROW_SLOTS(mswin949, mswin949, mswin949, mswin949, mswin949, ascii, mswin949)
QZSTR_ROW_SLOTS(utf8, utf8, utf8, utf8, utf8, ascii, utf8)
QZSTR_ROW_SLOTS(sjis, sjis, sjis, sjis, sjis, ascii, sjis)
QZSTR_ROW_SLOTS(mswin932, mswin932, mswin932, mswin932, mswin932, ascii, mswin932)
QZSTR_ROW_SLOTS(eucjp, eucjp, eucjp, eucjp, eucjp, ascii, eucjp)
QZSTR_ROW_SLOTS(mswin936, mswin936, mswin936, mswin936, mswin936, ascii, mswin936)
QZSTR_ROW_SLOTS(mswin1252, mswin1252, mswin1252, mswin1252, mswin1252, ascii, mswin1252)
QZSTR_ROW_SLOTS(mswin1251, mswin1251, mswin1251, mswin1251, mswin1251, ascii, mswin1251)
QZSTR_ROW_SLOTS(iso8859p1, iso8859p1, iso8859p1, iso8859p1, iso8859p1, ascii, iso8859p1)
QZSTR_ROW_SLOTS(iso8859p2, iso8859p2, iso8859p2, iso8859p2, iso8859p2, ascii, iso8859p2)
QZSTR_ROW_SLOTS(iso8859p9, iso8859p9, iso8859p9, iso8859p9, iso8859p9, ascii, iso8859p9)
QZSTR_ROW_SLOTS(iso8859p15, iso8859p15, iso8859p15, iso8859p15, iso8859p15, ascii, iso8859p15)
QZSTR_ROW_SLOTS(koi8r, koi8r, koi8r, koi8r, koi8r, ascii, koi8r)
QZSTR_ROW_SLOTS(iso8859p5, iso8859p5, iso8859p5, iso8859p5, iso8859p5, ascii, iso8859p5)
QZSTR_ROW_SLOTS(msdos866, msdos866, msdos866, msdos866, msdos866, ascii, msdos866)
QZSTR_ROW_SLOTS(mswin1253, mswin1253, mswin1253, mswin1253, mswin1253, ascii, mswin1253)
QZSTR_ROW_SLOTS(iso8859p7, iso8859p7, iso8859p7, iso8859p7, iso8859p7, ascii, iso8859p7)
QZSTR_ROW_SLOTS(tis620, tis620, tis620, tis620, tis620, ascii, tis620)
QZSTR_ROW_SLOTS(mswin1256, mswin1256, mswin1256, mswin1256, mswin1256, ascii, mswin1256)
QZSTR_ROW_SLOTS(iso8859p6, iso8859p6, iso8859p6, iso8859p6, iso8859p6, ascii, iso8859p6)
QZSTR_ROW_SLOTS(iso8859p8, iso8859p8, iso8859p8, iso8859p8, iso8859p8, ascii, iso8859p8)
QZSTR_ROW_SLOTS(zht16big5, zht16big5, zht16big5, zht16big5, zht16big5, ascii, ascii)
QZSTR_ROW_SLOTS(mswin950, mswin950, mswin950, mswin950, mswin950, ascii, ascii)
QZSTR_ROW_SLOTS(zht16mswin950, zht16mswin950, zht16mswin950, zht16mswin950, zht16mswin950, ascii, ascii)
QZSTR_ROW_SLOTS(gb18030, gb18030, gb18030, gb18030, gb18030, ascii, ascii)
QZSTR_ROW_SLOTS(euctw, euctw, euctw, euctw, euctw, ascii, ascii)
QZSTR_ROW_SLOTS(sjis_tld, sjis, sjis_tld, sjis, sjis, ascii, sjis)
QZSTR_ROW_SLOTS(mswin932_tld, mswin932, mswin932_tld, mswin932, mswin932, ascii, mswin932)
QZSTR_ROW_SLOTS(tcvn3, ascii, tcvn3, tcvn3, tcvn3, ascii, ascii)

constexpr void eucjp_tld_slots(catalogue_row& row) {
    eucjp_slots(row);
    row.stages = {&qzstr::eucjp_tld_stages, &qzstr::eucjp_tld_stages};
    QZSTR_DECODERS(eucjp_tld)
    row.info.qzstr_from_ucs2_fn = qzstr_eucjp_tld_from_ucs2;
}

/// Attributes of a row, in the order of the descriptor.
struct attributes {
    const char* name;
    const char* canonical_name;
    const char* ora_compat_name;
    int ora_charset_id;
    int max_bytes_per_char;
    bool is_superset_of_ascii;
    bool usable_national_charset = false;
    qz_scanner_id_type_t scanner = QZ_SCANNER_ID_COMMON_ASCII;
};

/// A direct conversion into one or more targets.
struct direct {
    convert_fn convert;
    int target[3];

    constexpr direct(convert_fn fn, int a, int b = -1, int c = -1) : convert(fn), target{a, b, c} {}
};

consteval void copy_name(char (&to)[17], const char* from) {
    for (int i = 0; from[i] != 0; ++i)
        to[i] = from[i];
}

/// A row begins full of the UCS-2 pivot; then come its direct conversions and its UCS-4 targets.
template <std::size_t Directs, std::size_t Wides = 1>
consteval catalogue_row make_row(attributes a, void (*set_slots)(catalogue_row&), const direct (&directs)[Directs],
                                 const int (&ucs4_targets)[Wides] = {-1}) {
    catalogue_row made{};
    qzstr_charset_info_t& row = made.info;
    copy_name(row.name, a.name);
    copy_name(row.canonical_name, a.canonical_name);
    copy_name(row.ora_compat_name, a.ora_compat_name);
    row.ora_charset_id = a.ora_charset_id;
    row.max_bytes_per_char = a.max_bytes_per_char;
    row.bytes_per_char_in_clob = 2;
    row.is_superset_of_ascii = a.is_superset_of_ascii;
    row.usable_national_charset = a.usable_national_charset;
    row.scanner_id_type = a.scanner;
    for (auto& cell : row.qzstr_get_another_charset_str_fn)
        cell = qzstr_convert_through_ucs2;
    for (const int target : ucs4_targets)
        if (target >= 0) row.qzstr_get_another_charset_str_fn[target] = qzstr_convert_through_ucs4;
    for (const direct& d : directs)
        for (const int target : d.target)
            if (target >= 0) row.qzstr_get_another_charset_str_fn[target] = d.convert;
    set_slots(made);
    return made;
}

// KEPT: UTF8 is reached through UCS-2 although its bytes would be equal; all others but UTF16 and EBCDIC get a copy.
consteval catalogue_row make_ascii_row() {
    catalogue_row row = make_row(
        {"ASCII", "US-ASCII", "US7ASCII", 1, 1, true}, ascii_slots,
        {{qzstr_ascii_get_utf16_str, QZSTR_CHARSET_UTF16}, {qzstr_ascii_get_us8icl_str, QZSTR_CHARSET_US8ICL}});
    for (int target = 0; target < QZSTR_CHARSET_MAX; ++target)
        if (target != QZSTR_CHARSET_UTF8 && target != QZSTR_CHARSET_UTF16 && target != QZSTR_CHARSET_US8ICL)
            row.info.qzstr_get_another_charset_str_fn[target] = qzstr_ascii_get_ascii_str;
    return row;
}

#define QZSTR_SINGLE_BYTE_ROW(enumerator, cs, name, canonical, ora_id)                                                 \
    make_row({name, canonical, name, ora_id, 1, true}, cs##_slots,                                                     \
             {{qzstr_##cs##_get_ascii_str, QZSTR_CHARSET_ASCII},                                                       \
              {qzstr_##cs##_get_utf16_str, QZSTR_CHARSET_UTF16},                                                       \
              {qzstr_##cs##_get_##cs##_str, QZSTR_CHARSET_##enumerator}})

/* The rows in catalogue order. A multibyte row sends VN8VN3 (TCVN3) to its own ASCII reduction. */
constexpr catalogue_row rows[] = {
    make_ascii_row(),
    make_row({"EUCKR", "EUC-KR", "KO16KSC5601", 840, 2, true, false, QZ_SCANNER_ID_MSWIN949}, euckr_slots,
             {{qzstr_euckr_get_ascii_str, QZSTR_CHARSET_ASCII, QZSTR_CHARSET_TCVN3},
              {qzstr_euckr_get_euckr_str, QZSTR_CHARSET_EUCKR, QZSTR_CHARSET_MSWIN949},
              {qzstr_euckr_get_utf16_str, QZSTR_CHARSET_UTF16},
              {qzstr_euckr_get_iso2022kr_str, QZSTR_CHARSET_ISO2022KR}}),
    make_row({"MSWIN949", "CP949", "KO16MSWIN949", 846, 2, false, false, QZ_SCANNER_ID_MSWIN949}, mswin949_slots,
             {{qzstr_mswin949_get_ascii_str, QZSTR_CHARSET_ASCII, QZSTR_CHARSET_TCVN3},
              {qzstr_mswin949_get_euckr_str, QZSTR_CHARSET_EUCKR},
              {qzstr_euckr_get_euckr_str, QZSTR_CHARSET_MSWIN949},
              {qzstr_mswin949_get_utf16_str, QZSTR_CHARSET_UTF16},
              {qzstr_euckr_get_iso2022kr_str, QZSTR_CHARSET_ISO2022KR}}),
    make_row({"UTF8", "UTF-8", "AL32UTF8", 873, 4, true, true, QZ_SCANNER_ID_UTF8}, utf8_slots,
             {{qzstr_utf8_get_utf8_str, QZSTR_CHARSET_UTF8}},
             {QZSTR_CHARSET_UTF16, QZSTR_CHARSET_GB18030, QZSTR_CHARSET_EUCTW}),
    make_row({"UTF16", "UTF-16BE", "AL16UTF16", 2000, 2, false, true}, utf16_slots,
             {{qzstr_utf16_get_ascii_str, QZSTR_CHARSET_ASCII},
              {qzstr_utf16_get_utf16_str, QZSTR_CHARSET_UTF16},
              {qzstr_utf16_get_tcvn3_str, QZSTR_CHARSET_TCVN3},
              {qzstr_utf16_get_mswin1252_str, QZSTR_CHARSET_MSWIN1252},
              {qzstr_utf16_get_mswin950_str, QZSTR_CHARSET_MSWIN950},
              {qzstr_utf16_get_mswin1251_str, QZSTR_CHARSET_MSWIN1251}},
             {QZSTR_CHARSET_UTF8, QZSTR_CHARSET_GB18030, QZSTR_CHARSET_EUCTW}),
    make_row({"SJIS", "SHIFT-JIS", "", 832, 2, false, false, QZ_SCANNER_ID_SJIS}, sjis_slots,
             {{qzstr_sjis_get_ascii_str, QZSTR_CHARSET_ASCII, QZSTR_CHARSET_TCVN3},
              {qzstr_sjis_get_utf16_str, QZSTR_CHARSET_UTF16},
              {qzstr_sjis_get_sjis_str, QZSTR_CHARSET_SJIS, QZSTR_CHARSET_SJIS_TILDE}}),
    make_row({"JA16SJIS", "CP932", "JA16SJIS", 832, 2, false, false, QZ_SCANNER_ID_SJIS}, mswin932_slots,
             {{qzstr_mswin932_get_ascii_str, QZSTR_CHARSET_ASCII, QZSTR_CHARSET_TCVN3},
              {qzstr_mswin932_get_utf16_str, QZSTR_CHARSET_UTF16},
              {qzstr_mswin932_get_mswin932_str, QZSTR_CHARSET_MSWIN932, QZSTR_CHARSET_MSWIN932_TILDE}}),
    make_row({"JA16SJISTILDE", "CP932", "JA16SJISTILDE", 838, 2, false, false, QZ_SCANNER_ID_SJIS}, mswin932_tld_slots,
             {{qzstr_mswin932_get_ascii_str, QZSTR_CHARSET_ASCII, QZSTR_CHARSET_TCVN3},
              {qzstr_mswin932_get_utf16_str, QZSTR_CHARSET_UTF16},
              {qzstr_mswin932_get_mswin932_str, QZSTR_CHARSET_MSWIN932, QZSTR_CHARSET_MSWIN932_TILDE}}),
    make_row({"JA16EUC", "EUC-JP", "JA16EUC", 830, 3, true}, eucjp_slots,
             {{qzstr_eucjp_get_ascii_str, QZSTR_CHARSET_ASCII, QZSTR_CHARSET_TCVN3},
              {qzstr_eucjp_get_utf16_str, QZSTR_CHARSET_UTF16},
              {qzstr_eucjp_get_eucjp_str, QZSTR_CHARSET_EUCJP, QZSTR_CHARSET_EUCJP_TILDE}}),
    make_row({"JA16EUCTILDE", "EUC-JP", "JA16EUCTILDE", 837, 3, true}, eucjp_tld_slots,
             {{qzstr_eucjp_get_ascii_str, QZSTR_CHARSET_ASCII, QZSTR_CHARSET_TCVN3},
              {qzstr_eucjp_tld_get_utf16_str, QZSTR_CHARSET_UTF16},
              {qzstr_eucjp_get_eucjp_str, QZSTR_CHARSET_EUCJP, QZSTR_CHARSET_EUCJP_TILDE}}),
    make_row({"VN8VN3", "TCVN", "VN8VN3", 44, 1, true}, tcvn3_slots,
             {{qzstr_tcvn3_get_ascii_str, QZSTR_CHARSET_ASCII},
              {qzstr_tcvn3_get_utf16_str, QZSTR_CHARSET_UTF16},
              {qzstr_tcvn3_get_tcvn3_str, QZSTR_CHARSET_TCVN3}}),
    make_row({"GBK", "CP936", "ZHS16GBK", 852, 2, false}, mswin936_slots,
             {{qzstr_mswin936_get_ascii_str, QZSTR_CHARSET_ASCII, QZSTR_CHARSET_TCVN3},
              {qzstr_mswin936_get_utf16_str, QZSTR_CHARSET_UTF16},
              {qzstr_mswin936_get_mswin936_str, QZSTR_CHARSET_MSWIN936}}),
    QZSTR_SINGLE_BYTE_ROW(MSWIN1252, mswin1252, "WE8MSWIN1252", "CP1252", 178),
    make_row({"ZHT16HKSCS", "CP950", "ZHT16HKSCS", 868, 2, true}, mswin950_slots,
             {{qzstr_mswin950_get_ascii_str, QZSTR_CHARSET_ASCII, QZSTR_CHARSET_TCVN3},
              {qzstr_mswin950_get_utf16_str, QZSTR_CHARSET_UTF16},
              {qzstr_mswin950_get_mswin950_str, QZSTR_CHARSET_MSWIN950}}),
    QZSTR_SINGLE_BYTE_ROW(MSWIN1251, mswin1251, "CL8MSWIN1251", "CP1251", 171),
    QZSTR_SINGLE_BYTE_ROW(ISO8859P1, iso8859p1, "WE8ISO8859P1", "ISO-8859-1", 31),
    QZSTR_SINGLE_BYTE_ROW(ISO8859P2, iso8859p2, "EE8ISO8859P2", "ISO-8859-2", 32),
    // KEPT: the byte copy stands in the column of EE8ISO8859P2, and the own column goes through UCS-2.
    make_row({"WE8ISO8859P9", "ISO-8859-9", "WE8ISO8859P9", 39, 1, true}, iso8859p9_slots,
             {{qzstr_iso8859p9_get_ascii_str, QZSTR_CHARSET_ASCII},
              {qzstr_iso8859p9_get_utf16_str, QZSTR_CHARSET_UTF16},
              {qzstr_iso8859p9_get_iso8859p9_str, QZSTR_CHARSET_ISO8859P2}}),
    QZSTR_SINGLE_BYTE_ROW(ISO8859P15, iso8859p15, "WE8ISO8859P15", "ISO-8859-15", 46),
    QZSTR_SINGLE_BYTE_ROW(KOI8R, koi8r, "CL8KOI8R", "KOI8-R", 196),
    QZSTR_SINGLE_BYTE_ROW(ISO8859P5, iso8859p5, "CL8ISO8859P5", "ISO-8859-5", 35),
    QZSTR_SINGLE_BYTE_ROW(MSDOS866, msdos866, "RU8PC866", "CP866", 152),
    QZSTR_SINGLE_BYTE_ROW(MSWIN1253, mswin1253, "EL8MSWIN1253", "CP1253", 174),
    QZSTR_SINGLE_BYTE_ROW(ISO8859P7, iso8859p7, "EL8ISO8859P7", "ISO-8859-7", 37),
    QZSTR_SINGLE_BYTE_ROW(TIS620, tis620, "TH8TISASCII", "TIS-620", 41),
    QZSTR_SINGLE_BYTE_ROW(MSWIN1256, mswin1256, "AR8MSWIN1256", "CP1256", 560),
    QZSTR_SINGLE_BYTE_ROW(ISO8859P6, iso8859p6, "AR8ISO8859P6", "ISO-8859-6", 36),
    make_row({"SJISTILDE", "SHIFT-JIS", "", 838, 2, false, false, QZ_SCANNER_ID_SJIS}, sjis_tld_slots,
             {{qzstr_sjis_get_ascii_str, QZSTR_CHARSET_ASCII, QZSTR_CHARSET_TCVN3},
              {qzstr_sjis_get_utf16_str, QZSTR_CHARSET_UTF16},
              {qzstr_sjis_get_sjis_str, QZSTR_CHARSET_SJIS, QZSTR_CHARSET_SJIS_TILDE}}),
    make_row({"ZHT16BIG5", "BIG5", "ZHT16BIG5", 865, 2, true}, zht16big5_slots,
             {{qzstr_zht16big5_get_ascii_str, QZSTR_CHARSET_ASCII, QZSTR_CHARSET_TCVN3},
              {qzstr_zht16big5_get_utf16_str, QZSTR_CHARSET_UTF16},
              {qzstr_zht16big5_get_zht16big5_str, QZSTR_CHARSET_ZHT16BIG5}}),
    make_row({"ZHT16MSWIN950", "CP950", "ZHT16MSWIN950", 867, 2, true}, zht16mswin950_slots,
             {{qzstr_zht16mswin950_get_ascii_str, QZSTR_CHARSET_ASCII, QZSTR_CHARSET_TCVN3},
              {qzstr_zht16mswin950_get_utf16_str, QZSTR_CHARSET_UTF16},
              {qzstr_zht16mswin950_get_zht16mswin950_str, QZSTR_CHARSET_ZHT16MSWIN950}}),
    make_row({"GB18030", "GB18030", "ZHS32GB18030", 0, 4, true}, gb18030_slots,
             {{qzstr_gb18030_get_ascii_str, QZSTR_CHARSET_ASCII, QZSTR_CHARSET_TCVN3},
              {qzstr_gb18030_get_utf16_str, QZSTR_CHARSET_UTF16},
              {qzstr_gb18030_get_gb18030_str, QZSTR_CHARSET_GB18030}},
             {QZSTR_CHARSET_UTF8, QZSTR_CHARSET_EUCTW}),
    QZSTR_SINGLE_BYTE_ROW(ISO8859P8, iso8859p8, "IW8ISO8859P8", "ISO-8859-8", 38),
    make_row({"EUCTW", "EUC-TW", "ZHT32EUC", 860, 4, true}, euctw_slots,
             {{qzstr_euctw_get_ascii_str, QZSTR_CHARSET_ASCII, QZSTR_CHARSET_TCVN3},
              {qzstr_euctw_get_utf16_str, QZSTR_CHARSET_UTF16},
              {qzstr_euctw_get_euctw_str, QZSTR_CHARSET_EUCTW}},
             {QZSTR_CHARSET_UTF8, QZSTR_CHARSET_GB18030}),
    make_row({"ISO2022-KR", "ISO-2022-KR", "ISO2022-KR", 9997, 2, false}, iso2022kr_slots,
             {{qzstr_iso2022kr_get_ascii_str, QZSTR_CHARSET_ASCII, QZSTR_CHARSET_TCVN3},
              {qzstr_iso2022kr_get_euckr_str, QZSTR_CHARSET_EUCKR, QZSTR_CHARSET_MSWIN949},
              {qzstr_iso2022kr_get_utf16_str, QZSTR_CHARSET_UTF16},
              {qzstr_iso2022kr_get_iso2022kr_str, QZSTR_CHARSET_ISO2022KR}}),
    make_row({"US8ICL", "US8ICL", "US8ICL", 277, 1, false}, us8icl_slots,
             {{qzstr_us8icl_get_ascii_str, QZSTR_CHARSET_ASCII, QZSTR_CHARSET_TCVN3},
              {qzstr_us8icl_get_utf16_str, QZSTR_CHARSET_UTF16},
              {qzstr_us8icl_get_us8icl_str, QZSTR_CHARSET_US8ICL}}),
};

/* Both tables are made of the rows, element by element as C++ wants it. */
#define QZSTR_ROWS(R)                                                                                                  \
    R(0), R(1), R(2), R(3), R(4), R(5), R(6), R(7), R(8), R(9), R(10), R(11), R(12), R(13), R(14), R(15), R(16),       \
        R(17), R(18), R(19), R(20), R(21), R(22), R(23), R(24), R(25), R(26), R(27), R(28), R(29), R(30), R(31),       \
        R(32), R(33), R(34)
#define QZSTR_ROW_INFO(n) rows[n].info
#define QZSTR_ROW_STAGES(n) rows[n].stages
#define QZSTR_ROW_NUMBER(n) n
static_assert(std::size(rows) == QZSTR_CHARSET_MAX && std::size({QZSTR_ROWS(QZSTR_ROW_NUMBER)}) == QZSTR_CHARSET_MAX);

} // namespace

constinit const qzstr_charset_info_t _charset_info[QZSTR_CHARSET_MAX] = {QZSTR_ROWS(QZSTR_ROW_INFO)};
constinit const qzstr::stage_table qzstr::row_stages_of{{QZSTR_ROWS(QZSTR_ROW_STAGES)}};

namespace {

/// A name to look up, always NUL-terminated; stored names have at most 16 characters, so a longer one matches none.
struct sought_name {
    char text[18] = {};

    sought_name(const char* str, int str_len) {
        if (str_len > 0) memcpy(text, str, static_cast<size_t>(str_len < 17 ? str_len : 17));
    }

    bool is(const char* name) const {
        for (int i = 0;; ++i) {
            if (fold(text[i]) != fold(name[i])) return false;
            if (text[i] == 0) return true;
        }
    }

private:
    // CHOSEN: case is folded for ASCII letters only, whatever the locale.
    static char fold(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 0x20) : c; }
};

template <class Matches>
int first_row(Matches matches) {
    int row = 0;
    while (row < QZSTR_CHARSET_MAX && !matches(_charset_info[row]))
        ++row;
    return row;
}

} // namespace

// KEPT: an empty name finds SJIS, the first row whose Oracle name is empty.
int qzstr_charset_get_id(char* str, int str_len) {
    const sought_name sought(str, str_len);
    return first_row(
        [&](const qzstr_charset_info_t& row) { return sought.is(row.name) || sought.is(row.ora_compat_name); });
}

int qzstr_charset_get_id_from_canonical_name(char* str, int str_len) {
    const sought_name sought(str, str_len);
    return first_row([&](const qzstr_charset_info_t& row) { return sought.is(row.canonical_name); });
}

int qzstr_charset_get_oracle_id(char* str, int str_len) {
    int row = qzstr_charset_get_id(str, str_len);
    if (row == QZSTR_CHARSET_MAX) row = qzstr_charset_get_id_from_canonical_name(str, str_len);
    return row == QZSTR_CHARSET_MAX ? 0 : _charset_info[row].ora_charset_id;
}
