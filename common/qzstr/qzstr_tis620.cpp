// TIS-620: Thai. Only the letters of ASCII change case.
#include "core/letter_case.h"
#include "core/multibyte.h"
#include "core/single_byte.h"
#include "core/surface.h"
#include "tables/tis620.h"

namespace qzstr::families {

using namespace core;

// KEPT: a shift out (0x0E) forms one character with the byte after it; stored character positions count it so.
struct shift_out_pairs : double_byte<shift_out_pairs> {
    static constexpr byte_set leads{byte_range{0x0E, 0x0E}};
};

struct tis620 : code_page<tis620>, letter_case<tis620> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_tis620"};
    static constexpr auto& to_unicode = tables::tis620_2uni;
    static constexpr auto& from_unicode = tables::tis620_pages;

    // KEPT: unlike in the other code pages, a NUL does not end the count.
    static int count_char(char* str, int byte_cnt) {
        if (!require(str != nullptr, "str != NULL", where.source, 0)) return 0;
        if (!require(byte_cnt >= 0, "byte_cnt >= 0", where.source, 0)) return 0;
        return static_cast<int>(shift_out_pairs::characters(bytes(str), byte_cnt));
    }
    static int count_byte(char* str, int char_cnt) {
        if (!require(str != nullptr, "str != NULL", where.source, 0)) return 0;
        if (!require(char_cnt >= 0, "char_cnt >= 0", where.source, 0)) return 0;
        return static_cast<int>(shift_out_pairs::bytes_of(bytes(str), char_cnt));
    }

    static uchar is_char_leading_byte(char* str, int byte_offset) {
        const uchar always = code_page::is_char_leading_byte(str, byte_offset);
        return str == nullptr || byte_offset < 0 ? always : starts_character(bytes(str), byte_offset);
    }
    // KEPT: looks two bytes back at most, so a long run of shift outs is not paired as counting pairs it.
    static bool starts_character(const uchar* p, int offset) {
        if (offset == 0 || p[offset - 1] != 0x0E) return true;
        return offset > 1 && p[offset - 2] == 0x0E;
    }

    static void get_byte_pos(char* str, int str_len, int char_cnt, int* start_pos, int* end_pos, int* real_char_cnt) {
        if (str == nullptr || start_pos == nullptr || end_pos == nullptr || str_len < 1 || char_cnt < 1)
            return code_page::get_byte_pos(str, 0, 0, start_pos, end_pos, real_char_cnt);
        const char_position at = shift_out_pairs::find(bytes(str), str_len, char_cnt);
        *start_pos = static_cast<int>(at.start);
        *end_pos = static_cast<int>(at.end < str_len ? at.end : str_len) - 1;
        if (real_char_cnt != nullptr) *real_char_cnt = static_cast<int>(at.number);
    }

    // KEPT: only LOWER passes over the byte after a shift out; the other modes take it for a character.
    static void convert_case(qzstr_case_t case_type, char* str, int str_len) {
        if (case_type != QZSTR_CASE_LOWER) return letter_case::convert_case(case_type, str, str_len);
        for (offset_t at = 0; at < str_len;) {
            const std::size_t run = run_before(bytes(str) + at, static_cast<std::size_t>(str_len - at), 0x0E);
            ascii_letters::lower_all(bytes(str) + at, run);
            at += static_cast<offset_t>(run) + 2;
        }
    }

    static constexpr auto get_tis620_str = qzstr_get_same_charset_str;
};

} // namespace qzstr::families

QZSTR_EXPORT(tis620)
