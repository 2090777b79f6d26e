/* The whole exported interface of libqzstr. The operations are described in qzstr_charset.h. */
#ifndef QZSTR_H
#define QZSTR_H

#include "qzstr_charset.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Catalogue lookups ------------------------------------------------------------------------------------------- */

/**
 * The first charset whose `name` or `ora_compat_name` equals the first str_len bytes of `str` (ASCII case is folded,
 * a NUL ends the name early), else QZSTR_CHARSET_MAX. An empty name finds QZSTR_CHARSET_SJIS, whose Oracle name is
 * empty.
 */
QZSTR_API int qzstr_charset_get_id(char* str, int str_len);
/** The first charset whose `canonical_name` equals the name, else QZSTR_CHARSET_MAX. */
QZSTR_API int qzstr_charset_get_id_from_canonical_name(char* str, int str_len);
/** The Oracle charset id of the charset so named (own, Oracle or canonical name), else 0. */
QZSTR_API int qzstr_charset_get_oracle_id(char* str, int str_len);

/** Prints str_len bytes to standard output for debugging: "0x%02X " each, a line feed before every tenth byte. */
QZSTR_API void qzstr_dump_str(char* str, int str_len);

/* ---- Conversion through Unicode: the cells of the matrix without a direct routine -------------------------------- */

/**
 * Decodes into a 32000-byte stack buffer of big-endian UCS-2 and encodes from there, chunk by chunk. On a full target
 * read_len counts the source bytes of the characters written, mapped by the source charset's get_byte_pos.
 */
QZSTR_API conv_status_t qzstr_convert_through_ucs2 QZSTR_CELL_PARAMETERS;
/** The same through UCS-4, for pairs whose characters leave the Basic Multilingual Plane; maps by UTF-8's get_byte_pos.
 */
QZSTR_API conv_status_t qzstr_convert_through_ucs4 QZSTR_CELL_PARAMETERS;

/* ---- UCS-2 iterator -----------------------------------------------------------------------------------------------
 */

/** A walk over a string of any charset that converts a slice of characters at a time; owns nothing. */
typedef struct qzstr_ucs2_iter_s {
    qzstr_charset_t charset;   /**< charset of the source string */
    char* str;                 /**< source string, not owned */
    int str_len;               /**< its length in bytes */
    int cur_str_offset;        /**< offset of the next unconverted source byte */
    char* ucs2_buf;            /**< caller's buffer for big-endian UCS-2, not owned */
    int ucs2_buf_size;         /**< its size in bytes */
    int ucs2_len;              /**< bytes produced by the last step */
    int ucs2_buf_is_valid;     /**< 1 after a step, until the next one */
    conv_status_t conv_status; /**< status of the last step's conversion */
} qzstr_ucs2_iter_t;

/** Starts a walk. Asserts "ucs2_iter != NULL". */
QZSTR_API void qzstr_ucs2_iter_init(qzstr_ucs2_iter_t* ucs2_iter, qzstr_charset_t charset, char* str, int str_len,
                                    char* ucs2_buf, int ucs2_buf_size);
/**
 * Converts the next char_cnt characters: 1 when a slice was produced, 0 at the end. The slice counts as consumed even
 * when the buffer was too small for it (QZSTR_CONV_STOPPED). Stop when a step does not advance cur_str_offset.
 */
QZSTR_API uchar qzstr_ucs2_iter_next(qzstr_ucs2_iter_t* ucs2_iter, int char_cnt);
/** The slice of the last step and its status. Asserts "ucs2_iter->ucs2_buf_is_valid". */
QZSTR_API conv_status_t qzstr_ucs2_iter_get_ucs2_str(qzstr_ucs2_iter_t* ucs2_iter, char** pucs2, int* ucs2_len);

/* ---- Search -------------------------------------------------------------------------------------------------------
 */

/** Longest pattern that qzstr_kmp_search takes, in bytes. */
#define SESS_BIG_CHUNK_SIZE 131064

/**
 * Finds occurrences of a pattern in text of fixed-width characters, linear in src_len + ptn_len.
 * @param bpc bytes per character; a byte match that begins inside a character does not count
 * @param left_to_right nonzero searches forward from character `pos`, zero backward with `pos` counted from the end
 * @param occ_start number (from 1) of the first occurrence to report; @param occ_count how many (negative: count only)
 * @param overlapped nonzero lets occurrences overlap
 * @param result_count may be NULL; receives the number of occurrences seen, those before occ_start included
 * @param result may be NULL; receives occ_count 0-based character positions, -1 in unused slots
 * Asserts "src != NULL && ptn != NULL", "pos >= 0 && occ_start >= 1", "ptn_len <= (int)SESS_BIG_CHUNK_SIZE".
 */
QZSTR_API void qzstr_kmp_search(char* src, int src_len, char* ptn, int ptn_len, int bpc, uchar left_to_right, int pos,
                                int occ_start, int occ_count, uchar overlapped, int* result_count, int* result);
/** Fills the failure table of ptn_len + 1 entries (backward: from next_idx[-1]). Asserts "ptn != NULL && ptn_len >= 0".
 */
QZSTR_API void qzstr_kmp_compute_next(char* ptn, int ptn_len, uchar left_to_right, int* next_idx);
/** First byte offsets to compare, in the source and in the pattern. */
QZSTR_API void qzstr_kmp_set_start_pos(char* src, int src_len, char* ptn, int ptn_len, int bpc, uchar left_to_right,
                                       int pos, int* src_start_pos, int* ptn_start_pos);
/** The search proper. Asserts "src != NULL && ptn != NULL && src_len >= 0 && ptn_len >= 0". */
QZSTR_API void qzstr_kmp_main_loop(char* src, int src_len, char* ptn, int ptn_len, int bpc, uchar left_to_right,
                                   int src_start_pos, int ptn_start_pos, int occ_start, int occ_count, uchar overlapped,
                                   int* next_idx, int* result_count, int* result);

/**
 * Finds occurrences of a pattern with the single-character wildcard "_" (the big-endian UCS-2 unit) and an escape
 * character of one unit (esc_len below 1: none). `result` may not be NULL. last_match_bytes (may be NULL) receives the
 * pattern bytes matched by the last candidate that ran into the end of the source, and is never cleared.
 * Asserts "src != NULL && ptn != NULL && result != NULL", "pos >= 0 && occ_start >= 1". Raises
 * ERROR_INVALID_USE_OF_ESCCHAR when the pattern ends in the escape character.
 */
QZSTR_API void qzstr_naive_search_with_wc(char* src, int src_len, char* ptn, int ptn_len, char* esc_ucs2, int esc_len,
                                          int bpc, uchar left_to_right, int pos, int occ_start, int occ_count,
                                          uchar overlapped, int* result_count, int* result, int* last_match_bytes);

/** get_byte_pos_with_disp_size for big-endian UCS-2: U+8000 and above are 2 columns wide, all other units 1. */
QZSTR_API void qzstr_ucs2_get_byte_pos_with_disp_size(char* str, int byte_len, int dis_size, int* byte_size,
                                                      int* real_dis_size, uchar* disp_size_is_less);

/* ---- Substring and replace on MSWIN949 text, by characters --------------------------------------------------------
 */

/** Byte offset of character char_pos (from 0) and the bytes from there to the end. */
QZSTR_API void qzsvr_mswin949_substr(char* str, int str_len, int char_pos, int* out_pos, int* out_len);
/** The same, with out_len the bytes of at most char_len characters; it may exceed the rest by one after a lone lead. */
QZSTR_API void qzsvr_mswin949_substr_len(char* str, int str_len, int char_pos, int char_len, int* out_pos,
                                         int* out_len);
/**
 * Splits a pattern of n characters and builds its failure table. The caller provides `table` and `str_len_map` with
 * max(n, 2) entries and `str_pos_map` with n + 1; n is at most the pattern's bytes.
 */
QZSTR_API void qzsvr_mswin949_replace_build_table(char* str, int str_len_inbyte, int* table, int* str_pos_map,
                                                  int* str_len_map, int* str_len_inchar);
/**
 * Finds the next occurrence of a prepared pattern at or after byte m_byte: 1 and its offset, or 0 and s_len_inbyte. The
 * buffer must hold one byte after s_len_inbyte.
 */
QZSTR_API uchar qzsvr_mswin949_find_next_to_replace(char* s, int s_len_inbyte, char* w, int w_len_inchar,
                                                    int* w_pos_map, int* w_len_map, int* table, int m_byte,
                                                    int* out_m_byte);

/* ---- The families: which operations each one exports ---------------------------------------------------------------
 */

/** All slots but get_first_trailing_space and isspace. */
#define QZSTR_COMMON_SLOTS(X, cs)                                                                                      \
    QZSTR_POSITION_SLOTS(X, cs)                                                                                        \
    QZSTR_DECODE_SLOTS(X, cs)                                                                                          \
    QZSTR_ENCODE_SLOTS(X, cs)                                                                                          \
    QZSTR_CASE_SLOT(X, cs)
/** The cells that most rows have: into ASCII, into UTF16, into the charset itself. */
#define QZSTR_COMMON_CELLS(C, cs) C(cs, ascii) C(cs, utf16) C(cs, cs)

#define QZSTR_SINGLE_BYTE_FAMILY(X, C, cs) QZSTR_COMMON_SLOTS(X, cs) QZSTR_ISSPACE_SLOT(X, cs) QZSTR_COMMON_CELLS(C, cs)

/* One line a family: X takes the slots (as in qzstr_charset.h), C(family, target) the direct conversions
 * qzstr_<family>_get_<target>_str. */
#define QZSTR_FAMILY_ascii(X, C)                                                                                       \
    QZSTR_COMMON_SLOTS(X, ascii)                                                                                       \
    QZSTR_TRAILING_SLOT(X, ascii) QZSTR_ISSPACE_SLOT(X, ascii) C(ascii, ascii) C(ascii, utf16) C(ascii, us8icl)
#define QZSTR_FAMILY_utf8(X, C) QZSTR_COMMON_SLOTS(X, utf8) QZSTR_ISSPACE_SLOT(X, utf8) C(utf8, ascii) C(utf8, utf8)
#define QZSTR_FAMILY_utf16(X, C)                                                                                       \
    QZSTR_COMMON_SLOTS(X, utf16)                                                                                       \
    QZSTR_TRAILING_SLOT(X, utf16)                                                                                      \
    QZSTR_ISSPACE_SLOT(X, utf16)                                                                                       \
    C(utf16, ascii) C(utf16, utf16) C(utf16, tcvn3) C(utf16, mswin1252) C(utf16, mswin950) C(utf16, mswin1251)
#define QZSTR_FAMILY_euckr(X, C)                                                                                       \
    QZSTR_COMMON_SLOTS(X, euckr) QZSTR_ISSPACE_SLOT(X, euckr) QZSTR_COMMON_CELLS(C, euckr) C(euckr, iso2022kr)
#define QZSTR_FAMILY_mswin949(X, C)                                                                                    \
    QZSTR_COMMON_SLOTS(X, mswin949)                                                                                    \
    QZSTR_ISSPACE_SLOT(X, mswin949) C(mswin949, ascii) C(mswin949, euckr) C(mswin949, utf16)
#define QZSTR_FAMILY_iso2022kr(X, C)                                                                                   \
    QZSTR_COMMON_SLOTS(X, iso2022kr)                                                                                   \
    QZSTR_TRAILING_SLOT(X, iso2022kr)                                                                                  \
    QZSTR_ISSPACE_SLOT(X, iso2022kr) QZSTR_COMMON_CELLS(C, iso2022kr) C(iso2022kr, euckr)
#define QZSTR_FAMILY_sjis(X, C) QZSTR_COMMON_SLOTS(X, sjis) QZSTR_ISSPACE_SLOT(X, sjis) QZSTR_COMMON_CELLS(C, sjis)
#define QZSTR_FAMILY_sjis_tld(X, C) QZSTR_DECODE_SLOTS(X, sjis_tld)
#define QZSTR_FAMILY_mswin932(X, C)                                                                                    \
    QZSTR_COMMON_SLOTS(X, mswin932) QZSTR_ISSPACE_SLOT(X, mswin932) QZSTR_COMMON_CELLS(C, mswin932)
#define QZSTR_FAMILY_mswin932_tld(X, C) QZSTR_DECODE_SLOTS(X, mswin932_tld)
#define QZSTR_FAMILY_eucjp(X, C) QZSTR_COMMON_SLOTS(X, eucjp) QZSTR_ISSPACE_SLOT(X, eucjp) QZSTR_COMMON_CELLS(C, eucjp)
#define QZSTR_FAMILY_eucjp_tld(X, C)                                                                                   \
    QZSTR_DECODE_SLOTS(X, eucjp_tld) QZSTR_FROM_UCS2_SLOT(X, eucjp_tld) C(eucjp_tld, utf16)
#define QZSTR_FAMILY_mswin936(X, C)                                                                                    \
    QZSTR_COMMON_SLOTS(X, mswin936) QZSTR_ISSPACE_SLOT(X, mswin936) QZSTR_COMMON_CELLS(C, mswin936)
#define QZSTR_FAMILY_gb18030(X, C) QZSTR_COMMON_SLOTS(X, gb18030) QZSTR_COMMON_CELLS(C, gb18030)
#define QZSTR_FAMILY_zht16big5(X, C) QZSTR_COMMON_SLOTS(X, zht16big5) QZSTR_COMMON_CELLS(C, zht16big5)
#define QZSTR_FAMILY_mswin950(X, C) QZSTR_COMMON_SLOTS(X, mswin950) QZSTR_COMMON_CELLS(C, mswin950)
#define QZSTR_FAMILY_zht16mswin950(X, C) QZSTR_COMMON_SLOTS(X, zht16mswin950) QZSTR_COMMON_CELLS(C, zht16mswin950)
#define QZSTR_FAMILY_euctw(X, C) QZSTR_COMMON_SLOTS(X, euctw) QZSTR_COMMON_CELLS(C, euctw)
#define QZSTR_FAMILY_tcvn3(X, C)                                                                                       \
    QZSTR_DECODE_SLOTS(X, tcvn3) QZSTR_ENCODE_SLOTS(X, tcvn3) QZSTR_CASE_SLOT(X, tcvn3) QZSTR_COMMON_CELLS(C, tcvn3)
#define QZSTR_FAMILY_us8icl(X, C)                                                                                      \
    QZSTR_COMMON_SLOTS(X, us8icl)                                                                                      \
    QZSTR_TRAILING_SLOT(X, us8icl) QZSTR_ISSPACE_SLOT(X, us8icl) QZSTR_COMMON_CELLS(C, us8icl)
#define QZSTR_FAMILY_mswin1252(X, C) QZSTR_SINGLE_BYTE_FAMILY(X, C, mswin1252)
#define QZSTR_FAMILY_mswin1251(X, C) QZSTR_SINGLE_BYTE_FAMILY(X, C, mswin1251)
#define QZSTR_FAMILY_iso8859p1(X, C) QZSTR_SINGLE_BYTE_FAMILY(X, C, iso8859p1)
#define QZSTR_FAMILY_iso8859p2(X, C) QZSTR_SINGLE_BYTE_FAMILY(X, C, iso8859p2)
#define QZSTR_FAMILY_iso8859p9(X, C) QZSTR_SINGLE_BYTE_FAMILY(X, C, iso8859p9)
#define QZSTR_FAMILY_iso8859p15(X, C) QZSTR_SINGLE_BYTE_FAMILY(X, C, iso8859p15)
#define QZSTR_FAMILY_koi8r(X, C) QZSTR_SINGLE_BYTE_FAMILY(X, C, koi8r)
#define QZSTR_FAMILY_iso8859p5(X, C) QZSTR_SINGLE_BYTE_FAMILY(X, C, iso8859p5)
#define QZSTR_FAMILY_msdos866(X, C) QZSTR_SINGLE_BYTE_FAMILY(X, C, msdos866)
#define QZSTR_FAMILY_mswin1253(X, C) QZSTR_SINGLE_BYTE_FAMILY(X, C, mswin1253)
#define QZSTR_FAMILY_iso8859p7(X, C) QZSTR_SINGLE_BYTE_FAMILY(X, C, iso8859p7)
#define QZSTR_FAMILY_tis620(X, C) QZSTR_SINGLE_BYTE_FAMILY(X, C, tis620)
#define QZSTR_FAMILY_mswin1256(X, C) QZSTR_SINGLE_BYTE_FAMILY(X, C, mswin1256)
#define QZSTR_FAMILY_iso8859p6(X, C) QZSTR_SINGLE_BYTE_FAMILY(X, C, iso8859p6)
#define QZSTR_FAMILY_iso8859p8(X, C) QZSTR_SINGLE_BYTE_FAMILY(X, C, iso8859p8)

/** Every family of the library. */
#define QZSTR_FAMILIES(X, C)                                                                                           \
    QZSTR_FAMILY_ascii(X, C) QZSTR_FAMILY_utf8(X, C) QZSTR_FAMILY_utf16(X, C) QZSTR_FAMILY_euckr(X, C)                 \
        QZSTR_FAMILY_mswin949(X, C) QZSTR_FAMILY_iso2022kr(X, C) QZSTR_FAMILY_sjis(X, C) QZSTR_FAMILY_sjis_tld(X, C)   \
            QZSTR_FAMILY_mswin932(X, C) QZSTR_FAMILY_mswin932_tld(X, C) QZSTR_FAMILY_eucjp(X, C)                       \
                QZSTR_FAMILY_eucjp_tld(X, C) QZSTR_FAMILY_mswin936(X, C) QZSTR_FAMILY_gb18030(X, C)                    \
                    QZSTR_FAMILY_zht16big5(X, C) QZSTR_FAMILY_mswin950(X, C) QZSTR_FAMILY_zht16mswin950(X, C)          \
                        QZSTR_FAMILY_euctw(X, C) QZSTR_FAMILY_tcvn3(X, C) QZSTR_FAMILY_us8icl(X, C)                    \
                            QZSTR_FAMILY_mswin1252(X, C) QZSTR_FAMILY_mswin1251(X, C) QZSTR_FAMILY_iso8859p1(X, C)     \
                                QZSTR_FAMILY_iso8859p2(X, C) QZSTR_FAMILY_iso8859p9(X, C)                              \
                                    QZSTR_FAMILY_iso8859p15(X, C) QZSTR_FAMILY_koi8r(X, C)                             \
                                        QZSTR_FAMILY_iso8859p5(X, C) QZSTR_FAMILY_msdos866(X, C)                       \
                                            QZSTR_FAMILY_mswin1253(X, C) QZSTR_FAMILY_iso8859p7(X, C)                  \
                                                QZSTR_FAMILY_tis620(X, C) QZSTR_FAMILY_mswin1256(X, C)                 \
                                                    QZSTR_FAMILY_iso8859p6(X, C) QZSTR_FAMILY_iso8859p8(X, C)

#define QZSTR_DECLARE_SLOT(result, cs, operation, field, parameters, arguments)                                        \
    QZSTR_API result qzstr_##cs##_##operation parameters;
#define QZSTR_DECLARE_CELL(cs, target) QZSTR_API conv_status_t qzstr_##cs##_get_##target##_str QZSTR_CELL_PARAMETERS;
QZSTR_FAMILIES(QZSTR_DECLARE_SLOT, QZSTR_DECLARE_CELL)
#undef QZSTR_DECLARE_SLOT
#undef QZSTR_DECLARE_CELL

/**
 * Display width, in columns (1 or 2), of the three-byte UTF-8 character at `str` with a leading byte 0xE1-0xEF; decided
 * on the byte triple.
 */
QZSTR_API uchar qzstr_calc_utf8_disp_size(char* str);

#ifdef __cplusplus
}
#endif

#endif
