// Decoding beside ICU: every sequence of one and two bytes, counted by what differs. Where charsets are older than
// vendors' additions to them, only one of the two has a character; where they differ, the reason stands beside the count.
#include "support.h"

#include <unicode/ucnv.h>

using namespace support;

namespace {

const struct {
    qzstr_charset_t charset;
    const char* icu;
    int only_ours, only_icu, other; ///< sequences that one of them maps, or that they map to different characters
    const char* reason;
} rows[] = {
    {QZSTR_CHARSET_EUCKR, "euc-kr", 2, 218, 0,
     "ours has the two signs of 1998; ICU the user-defined rows and C1 controls"},
    {QZSTR_CHARSET_MSWIN949, "windows-949", 0, 2, 0, "80 and FF are no characters here"},
    {QZSTR_CHARSET_SJIS, "ibm-943_P130-1999", 1578, 71, 708, "JIS X 0213 here; IBM's rows and control codes there"},
    {QZSTR_CHARSET_MSWIN932, "windows-31j", 1578, 0, 9, "JIS X 0213 here; vendor readings of five signs, IBM's 1A 1C"},
    {QZSTR_CHARSET_EUCJP, "euc-jp-2007", 1438, 43, 380, "JIS X 0213 and user-defined rows here; vendor readings there"},
    {QZSTR_CHARSET_MSWIN936, "windows-936-2000", 0, 736, 0, "user-defined codes of A2AB to A7A0 and unassigned ones"},
    {QZSTR_CHARSET_MSWIN1252, "windows-1252", 0, 5, 0, "undefined bytes are C1 controls there"},
    {QZSTR_CHARSET_MSWIN1251, "windows-1251", 0, 1, 0, "undefined bytes are C1 controls there"},
    {QZSTR_CHARSET_ISO8859P1, "iso-8859-1", 0, 0, 0, ""},
    {QZSTR_CHARSET_ISO8859P2, "iso-8859-2", 0, 0, 0, ""},
    {QZSTR_CHARSET_ISO8859P9, "iso-8859-9", 0, 0, 0, ""},
    {QZSTR_CHARSET_ISO8859P15, "iso-8859-15", 0, 0, 0, ""},
    {QZSTR_CHARSET_KOI8R, "koi8-r", 0, 0, 0, ""},
    {QZSTR_CHARSET_ISO8859P5, "iso-8859-5", 0, 0, 0, ""},
    {QZSTR_CHARSET_MSDOS866, "ibm-866", 0, 0, 3, "IBM exchanges 1A, 1C and 7F"},
    {QZSTR_CHARSET_MSWIN1253, "windows-1253", 0, 15, 0, "undefined bytes are C1 controls there"},
    {QZSTR_CHARSET_ISO8859P7, "iso-8859-7", 0, 0, 0, ""},
    {QZSTR_CHARSET_TIS620, "tis-620", 0, 41, 0, "80 to A0 and six more bytes are undefined here"},
    {QZSTR_CHARSET_MSWIN1256, "windows-1256", 0, 0, 0, ""},
    {QZSTR_CHARSET_ISO8859P6, "iso-8859-6", 0, 0, 0, ""},
    {QZSTR_CHARSET_ZHT16BIG5, "big5", 0, 451, 0, "user-defined C6A1 to C8FE, F9D6 to F9FE, and the bytes 80 and FF"},
    {QZSTR_CHARSET_ZHT16MSWIN950, "windows-950", 33, 50, 3039, "Hong Kong characters have their own code points here"},
    {QZSTR_CHARSET_MSWIN950, "ibm-1375_P100-2008", 2310, 23, 134, "user-defined areas here; another edition there"},
    {QZSTR_CHARSET_GB18030, "gb18030", 0, 0, 18, "the 2005 code points of A6D9 to A6F3 and FE59 to FEA0"},
    {QZSTR_CHARSET_ISO8859P8, "iso-8859-8", 0, 0, 0, ""},
    {QZSTR_CHARSET_EUCTW, "euc-tw", 0, 463, 13,
     "other readings of thirteen signs; unassigned positions and C1 controls"},
};

constexpr int none = -1;

/// The one BMP character that a sequence is.
int ours(const qzstr_charset_info_t& row, const std::string& code) {
    const converted c = run_slot(row.qzstr_to_ucs2_fn, code);
    if (c.status != 0 || c.written != 2 || c.read != static_cast<int>(code.size())) return none;
    const int unit = static_cast<uchar>(c.bytes[0]) << 8 | static_cast<uchar>(c.bytes[1]);
    return unit == 0xFFFD ? none : unit;
}

int icus(UConverter* converter, const std::string& code) {
    UChar units[8];
    UErrorCode error = U_ZERO_ERROR;
    ucnv_reset(converter);
    const int n = ucnv_toUChars(converter, units, 8, code.data(), static_cast<int>(code.size()), &error);
    return U_FAILURE(error) || n != 1 || units[0] == 0xFFFD ? none : units[0];
}

TEST(Icu, DecodesTheSameButForWhatIsListed) {
    for (const auto& r : rows) {
        SCOPED_TRACE(std::string(r.icu) + ": " + r.reason);
        UErrorCode error = U_ZERO_ERROR;
        UConverter* const converter = ucnv_open(r.icu, &error);
        ASSERT_TRUE(U_SUCCESS(error));
        ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
        int only_ours = 0, only_icu = 0, other = 0;
        const auto compare = [&](const std::string& code) {
            const int a = ours(_charset_info[r.charset], code), b = icus(converter, code);
            only_ours += a != none && b == none;
            only_icu += a == none && b != none;
            other += a != none && b != none && a != b;
        };
        for (int lead = 0; lead < 256; ++lead) {
            compare({static_cast<char>(lead)});
            if (lead >= 0x80 && _charset_info[r.charset].max_bytes_per_char > 1)
                for (int trail = 0x30; trail < 256; ++trail)
                    compare({static_cast<char>(lead), static_cast<char>(trail)});
        }
        EXPECT_EQ(std::vector({only_ours, only_icu, other}), std::vector({r.only_ours, r.only_icu, r.other}));
        ucnv_close(converter);
    }
}

} // namespace
