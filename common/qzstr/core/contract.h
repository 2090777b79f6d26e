// The contract's common ground: status bits, assertions, refusals, and the lengths that a conversion reports.
#pragma once

#include "qzstr.h"

#include <cstdint>

namespace qzstr::core {

/// Offsets inside core are 64-bit: a decoder may consume one byte more than the source holds, and sums cannot overflow.
using offset_t = std::int64_t;

inline constexpr conv_status_t exact = 0;
inline constexpr conv_status_t stopped = QZSTR_CONV_STOPPED;
inline constexpr conv_status_t replaced = QZSTR_CONV_REPLACED;

inline constexpr char32_t replacement = 0xFFFD;

/// What a family's diagnostics name: its source, and the line of a function's first assertion where that line is part of
/// the diagnostic's identity (0: the line of the check; further assertions of the function count up from the first).
struct diagnostics {
    const char* source;
    int count_char = 0;
    int count_byte = 0;
    int is_char_leading_byte = 0;
    int get_char_leading_byte = 0;
    int is_char_ending_byte = 0;
    int get_char_ending_byte = 0;
    int get_byte_pos = 0;
    int to_ucs2 = 0;
    int from_ucs2 = 0;
    int convert_case = 0;
    int get_ascii_str = 0;
};

/// Reports a broken precondition; returns whether it holds, for functions that regain control.
inline bool require(bool holds, const char* expr, const char* source, int line, int here = __builtin_LINE()) {
    if (holds) [[likely]]
        return true;
    qz_assert_msg(expr, source, line != 0 ? line : here);
    qz_thr_assert_cmd();
    return false;
}

/// The line of a function's n-th assertion (from 0).
constexpr int nth(int first_line, int n) {
    return first_line != 0 ? first_line + n : 0;
}

/// Raises ERROR_NOT_IMPLEMENTED for an operation that a charset does not support.
inline void refuse(const char* source, int line, const char* function) {
    qz_err_and_jmp(source, line, function, 0, 0, ERROR_NOT_IMPLEMENTED);
}

constexpr int at_least_0(int length) {
    return length > 0 ? length : 0;
}

inline const uchar* bytes(const char* str) {
    return reinterpret_cast<const uchar*>(str);
}
inline uchar* bytes(char* str) {
    return reinterpret_cast<uchar*>(str);
}

/// How far a conversion got: bytes of the source, bytes of the target.
struct progress {
    offset_t read = 0;
    offset_t written = 0;
};

/// Stores a conversion's lengths where the caller wants them.
inline conv_status_t report(conv_status_t status, progress at, int* read_len, int* write_len) {
    if (read_len != nullptr) *read_len = static_cast<int>(at.read);
    if (write_len != nullptr) *write_len = static_cast<int>(at.written);
    return status;
}

/// The three preconditions of every conversion; `str_expr` and `buf_expr` name its two buffers.
inline bool require_buffers(const void* str, const char* str_expr, const void* buf, const char* buf_expr,
                            const int* write_len, const char* source, int line) {
    const bool has_str = require(str != nullptr, str_expr, source, line);
    const bool has_buf = require(buf != nullptr, buf_expr, source, nth(line, 1));
    const bool has_len = require(write_len != nullptr, "write_len != NULL", source, nth(line, 2));
    return has_str && has_buf && has_len;
}

} // namespace qzstr::core
