/* Charset catalogue of libqzstr: enumerations, the descriptor record, the operation contract, the same-charset copy.
 *
 * Conventions that hold for every operation:
 *  - Text is passed as a byte pointer and an `int` length in bytes; it need not end in a NUL. A negative length counts
 * as 0.
 *  - Offsets are byte offsets from 0; character numbers count from 1; widths are terminal columns.
 *  - Bad bytes are never failures: they are replaced and flagged in the returned status.
 *  - A broken precondition (a null pointer, a negative offset) calls qz_assert_msg with the expression named in the
 *    descriptions below, then qz_thr_assert_cmd. Where those return, the function touches no text and answers as for an
 *    empty string.
 *  - No function allocates, keeps state or takes a lock: all may be called from any number of threads at once.
 */
#ifndef QZSTR_CHARSET_H
#define QZSTR_CHARSET_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#if defined(__GNUC__)
#define QZSTR_API __attribute__((visibility("default")))
#else
#define QZSTR_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef unsigned char uchar;

/* ---- The runtime that the program supplies (a default one is in libqzstr_runtime.a) ------------------------------ */

/** Reports a failed assertion: expression text, source path without extension, line. */
void qz_assert_msg(const char* expr, const char* file, int line);
/** Acts on a reported assertion in the calling thread: ends it, raises, or returns. */
void qz_thr_assert_cmd(void);
/** Raises error `code` by a non-local exit; `func` names the refusing function, `a` and `b` are 0. */
void qz_err_and_jmp(const char* file, int line, const char* func, int a, int b, int code);

/** The charset does not support the operation. */
#define ERROR_NOT_IMPLEMENTED (-3006)
/** A search pattern ends in its escape character. */
#define ERROR_INVALID_USE_OF_ESCCHAR (-5050)

/* ---- Enumerations ----------------------------------------------------------------------------------------------- */

/** The database charsets, in catalogue order. The values are stored in database metadata and never change. */
typedef enum qzstr_charset_e {
    QZSTR_CHARSET_ASCII = 0,
    QZSTR_CHARSET_EUCKR = 1,
    QZSTR_CHARSET_MSWIN949 = 2,
    QZSTR_CHARSET_UTF8 = 3,
    QZSTR_CHARSET_UTF16 = 4,
    QZSTR_CHARSET_SJIS = 5,
    QZSTR_CHARSET_MSWIN932 = 6,
    QZSTR_CHARSET_MSWIN932_TILDE = 7,
    QZSTR_CHARSET_EUCJP = 8,
    QZSTR_CHARSET_EUCJP_TILDE = 9,
    QZSTR_CHARSET_TCVN3 = 10,
    QZSTR_CHARSET_MSWIN936 = 11,
    QZSTR_CHARSET_MSWIN1252 = 12,
    QZSTR_CHARSET_MSWIN950 = 13,
    QZSTR_CHARSET_MSWIN1251 = 14,
    QZSTR_CHARSET_ISO8859P1 = 15,
    QZSTR_CHARSET_ISO8859P2 = 16,
    QZSTR_CHARSET_ISO8859P9 = 17,
    QZSTR_CHARSET_ISO8859P15 = 18,
    QZSTR_CHARSET_KOI8R = 19,
    QZSTR_CHARSET_ISO8859P5 = 20,
    QZSTR_CHARSET_MSDOS866 = 21,
    QZSTR_CHARSET_MSWIN1253 = 22,
    QZSTR_CHARSET_ISO8859P7 = 23,
    QZSTR_CHARSET_TIS620 = 24,
    QZSTR_CHARSET_MSWIN1256 = 25,
    QZSTR_CHARSET_ISO8859P6 = 26,
    QZSTR_CHARSET_SJIS_TILDE = 27,
    QZSTR_CHARSET_ZHT16BIG5 = 28,
    QZSTR_CHARSET_ZHT16MSWIN950 = 29,
    QZSTR_CHARSET_GB18030 = 30,
    QZSTR_CHARSET_ISO8859P8 = 31,
    QZSTR_CHARSET_EUCTW = 32,
    QZSTR_CHARSET_ISO2022KR = 33,
    QZSTR_CHARSET_US8ICL = 34,
    QZSTR_CHARSET_DB_MAX = 33, /**< end of the database charsets: ISO2022KR and US8ICL lie at or above it */
    QZSTR_CHARSET_MAX = 35     /**< number of rows; what the lookups return for an unknown name */
} qzstr_charset_t;

/** The lexical scanner that the SQL layer uses for text in a charset; the library only stores it. */
typedef enum qz_scanner_id_type_e {
    QZ_SCANNER_ID_COMMON_ASCII = 0,
    QZ_SCANNER_ID_SJIS = 1,
    QZ_SCANNER_ID_UTF8 = 2,
    QZ_SCANNER_ID_MSWIN949 = 3,
    QZ_SCANNER_ID_MAX = 4
} qz_scanner_id_type_t;

/** Modes of `convert_case`. */
typedef enum qzstr_case_e {
    QZSTR_CASE_NONE = 0,       /**< rejected with the assertion "false" */
    QZSTR_CASE_LOWER = 1,      /**< every letter to lower case */
    QZSTR_CASE_UPPER = 2,      /**< every letter to upper case */
    QZSTR_CASE_INITCAP = 3,    /**< the first alphanumeric of a word to upper case, the others to lower case */
    QZSTR_CASE_TRIM_UPPER = 4, /**< removes all white space, upper-cases, writes a NUL after the new end */
    QZSTR_CASE_MAX = 5
} qzstr_case_t;

/** Bit set that every conversion returns: 0 is exact and complete. */
typedef int64_t conv_status_t;
/** Stopped before the whole source was consumed: the target is full, or the source ends inside a character. */
#define QZSTR_CONV_STOPPED ((conv_status_t)1)
/** At least one character was replaced: by U+FFFD towards Unicode, by "?" towards a charset. */
#define QZSTR_CONV_REPLACED ((conv_status_t)2)

/* ---- The operation contract: 17 slots ---------------------------------------------------------------------------- */

/*
 * The slots, listed once, in groups that families share or replace as a whole. An entry is
 *     X(result type, family, operation, field of the descriptor record, parameters, arguments)
 * Declarations, exported definitions and catalogue rows all derive from these lists.
 *
 * - count_char: number of characters in the first byte_cnt bytes. Asserts "str != NULL", "byte_cnt >= 0"; a negative
 *   count returns 0. The single-byte families stop at a NUL.
 * - count_byte: number of bytes that the first char_cnt characters take. It has no length and reads as far as the
 *   characters require. Asserts "str != NULL", "char_cnt >= 0".
 * - is_char_leading_byte: 1 when the byte at byte_offset begins a character.
 * - get_char_leading_byte: offset of the first byte of the character that contains byte_offset.
 * - is_char_ending_byte: 1 when the byte at byte_offset ends a character.
 * - get_char_ending_byte: byte_offset itself when it ends a character; otherwise the ending byte of the character before
 *   it (is_ahead nonzero) or of the one that contains it (zero). These four assert "str != NULL", "byte_offset >= 0".
 * - get_byte_pos: offsets of the first and last byte of the char_cnt-th character (from 1), or of the last character when
 *   there are fewer; real_char_cnt (may be NULL) receives the number of characters counted. Asserts "str != NULL",
 *   "start_pos != NULL", "end_pos != NULL".
 * - get_byte_pos_with_disp_size: the longest prefix that is at most dis_size columns wide: its bytes, its width, and in
 *   disp_size_is_less 1 when the string was cut there or fits exactly, else 0.
 */
#define QZSTR_POSITION_SLOTS(X, cs)                                                                                    \
    X(int, cs, count_char, qzstr_count_char_fn, (char* str, int byte_cnt), (str, byte_cnt))                            \
    X(int, cs, count_byte, qzstr_count_byte_fn, (char* str, int char_cnt), (str, char_cnt))                            \
    X(uchar, cs, is_char_leading_byte, qzstr_is_char_leading_byte, (char* str, int byte_offset), (str, byte_offset))   \
    X(int, cs, get_char_leading_byte, qzstr_get_char_leading_byte, (char* str, int byte_offset), (str, byte_offset))   \
    X(uchar, cs, is_char_ending_byte, qzstr_is_char_ending_byte, (char* str, int byte_offset), (str, byte_offset))     \
    X(int, cs, get_char_ending_byte, qzstr_get_char_ending_byte, (char* str, int byte_offset, uchar is_ahead),         \
      (str, byte_offset, is_ahead))                                                                                    \
    X(void, cs, get_byte_pos, qzstr_get_byte_pos_fn,                                                                   \
      (char* str, int str_len, int char_cnt, int* start_pos, int* end_pos, int* real_char_cnt),                        \
      (str, str_len, char_cnt, start_pos, end_pos, real_char_cnt))                                                     \
    X(void, cs, get_byte_pos_with_disp_size, qzstr_get_byte_pos_with_disp_size_fn,                                     \
      (char* str, int byte_len, int dis_size, int* byte_pos, int* real_dis_size, uchar* disp_size_is_less),            \
      (str, byte_len, dis_size, byte_pos, real_dis_size, disp_size_is_less))

/*
 * - to_ucs2, to_ucs4: decode into 16-bit or 32-bit units, high byte first when is_big_end is nonzero. A malformed
 *   sequence becomes U+FFFD and sets QZSTR_CONV_REPLACED. read_len (may be NULL) and write_len receive bytes, on both
 *   sides. Only whole units are written; bytes of the target between write_len and its size may be overwritten.
 *   Assert "str != NULL", "ucs2 != NULL" / "ucs4 != NULL", "write_len != NULL".
 * - to_wchar: to_ucs2 when wchar_size is 2, else to_ucs4, in host (little-endian) order.
 */
#define QZSTR_DECODE_SLOTS(X, cs)                                                                                      \
    X(conv_status_t, cs, to_ucs2, qzstr_to_ucs2_fn,                                                                    \
      (char* str, int str_len, char* ucs2, int ucs2_buf_size, int* read_len, int* write_len, uchar is_big_end),        \
      (str, str_len, ucs2, ucs2_buf_size, read_len, write_len, is_big_end))                                            \
    X(conv_status_t, cs, to_ucs4, qzstr_to_ucs4_fn,                                                                    \
      (char* str, int str_len, char* ucs4, int ucs4_buf_size, int* read_len, int* write_len, uchar is_big_end),        \
      (str, str_len, ucs4, ucs4_buf_size, read_len, write_len, is_big_end))                                            \
    X(conv_status_t, cs, to_wchar, qzstr_to_wchar_fn,                                                                  \
      (char* str, int str_len, char* wcs, int wcs_buf_size, int wchar_size, int* read_len, int* write_len),            \
      (str, str_len, wcs, wcs_buf_size, wchar_size, read_len, write_len))

/*
 * - from_ucs2, from_ucs4: encode 16-bit or 32-bit units. A code point that the charset does not hold becomes "?" and
 *   sets QZSTR_CONV_REPLACED. A character that does not fit is not begun: QZSTR_CONV_STOPPED. Assert "str != NULL",
 *   "ucs2 != NULL" / "ucs4 != NULL", "write_len != NULL".
 * - from_wchar: from_ucs2 when wchar_size is 2, else from_ucs4, in host (little-endian) order.
 */
#define QZSTR_FROM_UCS2_SLOT(X, cs)                                                                                    \
    X(conv_status_t, cs, from_ucs2, qzstr_from_ucs2_fn,                                                                \
      (char* ucs2, int ucs2_len, char* str, int str_buf_size, int* read_len, int* write_len, uchar is_big_end),        \
      (ucs2, ucs2_len, str, str_buf_size, read_len, write_len, is_big_end))
#define QZSTR_ENCODE_SLOTS(X, cs)                                                                                      \
    QZSTR_FROM_UCS2_SLOT(X, cs)                                                                                        \
    X(conv_status_t, cs, from_ucs4, qzstr_from_ucs4_fn,                                                                \
      (char* ucs4, int ucs4_len, char* str, int str_buf_size, int* read_len, int* write_len, uchar is_big_end),        \
      (ucs4, ucs4_len, str, str_buf_size, read_len, write_len, is_big_end))                                            \
    X(conv_status_t, cs, from_wchar, qzstr_from_wchar_fn,                                                              \
      (char* wcs, int wcs_len, char* str, int str_buf_size, int wchar_size, int* read_len, int* write_len),            \
      (wcs, wcs_len, str, str_buf_size, wchar_size, read_len, write_len))

/*
 * - convert_case: changes letter case in place, never the length, but for QZSTR_CASE_TRIM_UPPER: it compacts the text and
 *   writes a NUL after it, at str[str_len] when nothing was removed, so the caller provides that byte. A mode outside
 *   1 to 4 asserts "false".
 */
#define QZSTR_CASE_SLOT(X, cs)                                                                                         \
    X(void, cs, convert_case, qzstr_convert_case_fn, (qzstr_case_t case_type, char* str, int str_len),                 \
      (case_type, str, str_len))

/*
 * - get_first_trailing_space: offset of the first byte of the run of blanks (U+0020 only) that ends the string, -1 when it
 *   does not end in a blank.
 */
#define QZSTR_TRAILING_SLOT(X, cs)                                                                                     \
    X(int, cs, get_first_trailing_space, qzstr_get_first_trailing_space_fn, (char* str, int str_len), (str, str_len))

/*
 * - isspace: 1 when the character at the offset is white space (the C library's class, wider than the blanks of
 *   get_first_trailing_space).
 */
#define QZSTR_ISSPACE_SLOT(X, cs) X(uchar, cs, isspace, qzstr_isspace_fn, (char* str, int offset), (str, offset))

#define QZSTR_SLOT_POINTER(result, cs, operation, field, parameters, arguments)                                        \
    typedef result(*qzstr_##operation##_fn_t) parameters;
QZSTR_POSITION_SLOTS(QZSTR_SLOT_POINTER, )
QZSTR_DECODE_SLOTS(QZSTR_SLOT_POINTER, )
QZSTR_ENCODE_SLOTS(QZSTR_SLOT_POINTER, )
QZSTR_CASE_SLOT(QZSTR_SLOT_POINTER, )
QZSTR_TRAILING_SLOT(QZSTR_SLOT_POINTER, )
QZSTR_ISSPACE_SLOT(QZSTR_SLOT_POINTER, )
#undef QZSTR_SLOT_POINTER

/** Parameters of a conversion into another charset: one cell of the 35 x 35 matrix. `read_len` may be NULL. */
#define QZSTR_CELL_PARAMETERS                                                                                          \
    (qzstr_charset_t from_charset, char* str, int str_len, qzstr_charset_t to_charset, char* buf, int buf_size,        \
     int* read_len, int* write_len)
/** The same, as arguments. */
#define QZSTR_CELL_ARGUMENTS (from_charset, str, str_len, to_charset, buf, buf_size, read_len, write_len)
/** Converts str_len bytes into to_charset; lengths are bytes on both sides. A full target stops it between characters,
 * except into the same charset, where bytes are copied. Asserts "str != NULL", "buf != NULL", "write_len != NULL". */
typedef conv_status_t(*qzstr_get_another_charset_str_fn_t) QZSTR_CELL_PARAMETERS;

/** One row of the catalogue. */
typedef struct qzstr_charset_info_s {
    char name[17];            /**< the library's own name, primary key of qzstr_charset_get_id */
    char canonical_name[17];  /**< the common (IANA style) name; several rows share one */
    char ora_compat_name[17]; /**< name of the equivalent Oracle charset, empty for two rows */
    int ora_charset_id;       /**< Oracle's number of that charset, 0 where there is none */
    int max_bytes_per_char;   /**< longest character, in bytes */
    int bytes_per_char_in_clob;
    uchar is_superset_of_ascii;
    uchar usable_national_charset;
    qz_scanner_id_type_t scanner_id_type;
    /** The row of the conversion matrix, indexed by target charset. */
    qzstr_get_another_charset_str_fn_t qzstr_get_another_charset_str_fn[QZSTR_CHARSET_MAX];
    qzstr_count_char_fn_t qzstr_count_char_fn;
    qzstr_count_byte_fn_t qzstr_count_byte_fn;
    qzstr_is_char_leading_byte_fn_t qzstr_is_char_leading_byte;
    qzstr_get_char_leading_byte_fn_t qzstr_get_char_leading_byte;
    qzstr_is_char_ending_byte_fn_t qzstr_is_char_ending_byte;
    qzstr_get_char_ending_byte_fn_t qzstr_get_char_ending_byte;
    qzstr_get_byte_pos_fn_t qzstr_get_byte_pos_fn;
    qzstr_to_ucs2_fn_t qzstr_to_ucs2_fn;
    qzstr_from_ucs2_fn_t qzstr_from_ucs2_fn;
    qzstr_to_ucs4_fn_t qzstr_to_ucs4_fn;
    qzstr_from_ucs4_fn_t qzstr_from_ucs4_fn;
    qzstr_to_wchar_fn_t qzstr_to_wchar_fn;
    qzstr_from_wchar_fn_t qzstr_from_wchar_fn;
    qzstr_get_byte_pos_with_disp_size_fn_t qzstr_get_byte_pos_with_disp_size_fn;
    qzstr_convert_case_fn_t qzstr_convert_case_fn;
    qzstr_get_first_trailing_space_fn_t qzstr_get_first_trailing_space_fn;
    qzstr_isspace_fn_t qzstr_isspace_fn;
} qzstr_charset_info_t;

/** The catalogue, indexed by qzstr_charset_t; constant. */
extern QZSTR_API const qzstr_charset_info_t _charset_info[QZSTR_CHARSET_MAX];

/**
 * The byte copy behind every conversion of a charset into itself: min(str_len, buf_size) bytes, QZSTR_CONV_STOPPED when
 * the source was longer. It copies bytes, not characters: a character may be cut at the end of the buffer.
 * Asserts "str != NULL", "buf != NULL", "write_len != NULL".
 */
static inline conv_status_t qzstr_get_same_charset_str QZSTR_CELL_PARAMETERS {
    const char* const source = "include/qzstr_charset";
    int bytes = str_len < buf_size ? str_len : buf_size;
    (void)from_charset;
    (void)to_charset;
    if (str == NULL) {
        qz_assert_msg("str != NULL", source, 401);
        qz_thr_assert_cmd();
    }
    if (buf == NULL) {
        qz_assert_msg("buf != NULL", source, 402);
        qz_thr_assert_cmd();
    }
    if (write_len == NULL) {
        qz_assert_msg("write_len != NULL", source, 403);
        qz_thr_assert_cmd();
    }
    if (str == NULL || buf == NULL || write_len == NULL) str_len = bytes = 0;
    if (bytes < 0) bytes = 0;
    if (bytes > 0) memcpy(buf, str, (size_t)bytes);
    if (read_len != NULL) *read_len = bytes;
    if (write_len != NULL) *write_len = bytes;
    return str_len > bytes ? QZSTR_CONV_STOPPED : 0;
}

#ifdef __cplusplus
}
#endif

#endif
