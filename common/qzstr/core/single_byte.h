// Counting, positions and width where every byte is a character of one column.
#pragma once

#include "core/contract.h"
#include "core/kernels.h"

namespace qzstr::core {

/// Number of bytes before the first NUL: a NUL ends the count of a single-byte text.
inline offset_t characters_before_nul(const uchar* p, int len) {
    return static_cast<offset_t>(run_before(p, static_cast<std::size_t>(at_least_0(len)), 0));
}

/// The position slots of a single-byte family F.
template <class F>
struct single_byte_positions {
    // KEPT: a NUL ends the count.
    static int count_char(char* str, int byte_cnt) {
        if (!require(str != nullptr, "str != NULL", F::where.source, F::where.count_char)) return 0;
        if (!require(byte_cnt >= 0, "byte_cnt >= 0", F::where.source, nth(F::where.count_char, 1))) return 0;
        return static_cast<int>(characters_before_nul(bytes(str), byte_cnt));
    }
    static int count_byte(char* str, int char_cnt) {
        if (!require(str != nullptr, "str != NULL", F::where.source, F::where.count_byte)) return 0;
        return require(char_cnt >= 0, "char_cnt >= 0", F::where.source, nth(F::where.count_byte, 1)) ? char_cnt : 0;
    }
    static uchar is_char_leading_byte(char* str, int byte_offset) {
        check_offset(str, byte_offset);
        return 1;
    }
    static int get_char_leading_byte(char* str, int byte_offset) {
        check_offset(str, byte_offset);
        return byte_offset;
    }
    static uchar is_char_ending_byte(char* str, int byte_offset) {
        check_offset(str, byte_offset);
        return 1;
    }
    static int get_char_ending_byte(char* str, int byte_offset, uchar) {
        check_offset(str, byte_offset);
        return byte_offset;
    }
    static void get_byte_pos(char* str, int str_len, int char_cnt, int* start_pos, int* end_pos, int* real_char_cnt) {
        const bool has_str = require(str != nullptr, "str != NULL", F::where.source, 0);
        const bool has_start = require(start_pos != nullptr, "start_pos != NULL", F::where.source, 0);
        const bool has_end = require(end_pos != nullptr, "end_pos != NULL", F::where.source, 0);
        const int number = has_str ? at_least_0(str_len < char_cnt ? str_len : char_cnt) : 0;
        if (has_start) *start_pos = number - 1;
        if (has_end) *end_pos = number - 1;
        if (real_char_cnt != nullptr) *real_char_cnt = number;
    }
    static void get_byte_pos_with_disp_size(char*, int byte_len, int dis_size, int* byte_pos, int* real_dis_size,
                                            uchar* disp_size_is_less) {
        const int len = at_least_0(byte_len), columns = at_least_0(dis_size);
        *disp_size_is_less = len >= columns ? 1 : 0;
        *byte_pos = *real_dis_size = len >= columns ? columns : len;
    }
    static offset_t case_step(const uchar*, offset_t) { return 1; }

private:
    static void check_offset(const char* str, int byte_offset) {
        require(str != nullptr, "str != NULL", F::where.source, 0);
        require(byte_offset >= 0, "byte_offset >= 0", F::where.source, 0);
    }
};

} // namespace qzstr::core
