// Search: occurrences of a pattern, of a pattern with wildcards, and the display-width cut of UCS-2 text.
#include "core/search.h"

#include <limits>

using namespace qzstr::core;

namespace {

constexpr const char* source = "common/qzstr/qzstr";

text_view view(char* p, int len) {
    return {bytes(p), at_least_0(len)};
}

/// CHOSEN: a character width below 1 counts as 1, so that nothing divides by zero.
int width_of(int bpc) {
    return bpc > 1 ? bpc : 1;
}

int saturated(offset_t value) {
    using limits = std::numeric_limits<int>;
    return static_cast<int>(value > limits::max() ? limits::max() : value < limits::min() ? limits::min() : value);
}

/// Byte of the text to compare first. Forward below 0: nothing is searched.
offset_t first_byte(offset_t text_len, offset_t pattern_len, offset_t p, bool forward) {
    if (forward) return p;
    // KEPT: a match may end up to pattern_len - 2 bytes behind the byte that `pos` names.
    const offset_t end = pattern_len + (text_len - 1) - p;
    return text_len > end ? end - 1 : text_len - 1;
}

} // namespace

void qzstr_kmp_search(char* src, int src_len, char* ptn, int ptn_len, int bpc, uchar left_to_right, int pos,
                      int occ_start, int occ_count, uchar overlapped, int* result_count, int* result) {
    const bool has_text = require(src != nullptr && ptn != nullptr, "src != NULL && ptn != NULL", source, 0);
    require(pos >= 0 && occ_start >= 1, "pos >= 0 && occ_start >= 1", source, 0);
    const bool fits = require(ptn_len <= SESS_BIG_CHUNK_SIZE, "ptn_len <= (int)SESS_BIG_CHUNK_SIZE", source, 0);
    occurrences found(width_of(bpc), occ_start, occ_count, result);
    if (!has_text || !fits || ptn_len < 1 || ptn_len > src_len) return found.report_none(result_count);
    const text_view text = view(src, src_len), pattern = view(ptn, ptn_len);
    if (occ_count != 0) {
        const offset_t p = offset_t{pos} * width_of(bpc);
        const offset_t i = first_byte(text.len, pattern.len, p, left_to_right != 0);
        if (left_to_right != 0)
            found = search_exact<direction::forward, SESS_BIG_CHUNK_SIZE>(text, pattern, i, overlapped != 0, found);
        else
            found = search_exact<direction::backward, SESS_BIG_CHUNK_SIZE>(text, pattern, i, overlapped != 0, found);
    }
    found.report(result_count);
}

void qzstr_kmp_compute_next(char* ptn, int ptn_len, uchar left_to_right, int* next_idx) {
    const bool holds = require(ptn != nullptr && ptn_len >= 0, "ptn != NULL && ptn_len >= 0", source, 0);
    const text_view pattern = view(ptn, holds ? ptn_len : 0);
    if (left_to_right != 0)
        build_failure_table<direction::forward>(pattern, next_idx);
    else
        build_failure_table<direction::backward>(pattern, next_idx);
}

void qzstr_kmp_set_start_pos(char*, int src_len, char*, int ptn_len, int bpc, uchar left_to_right, int pos,
                             int* src_start_pos, int* ptn_start_pos) {
    const offset_t p = offset_t{pos} * width_of(bpc);
    *src_start_pos = saturated(first_byte(at_least_0(src_len), at_least_0(ptn_len), p, left_to_right != 0));
    *ptn_start_pos = left_to_right != 0 ? 0 : at_least_0(ptn_len) - 1;
}

void qzstr_kmp_main_loop(char* src, int src_len, char* ptn, int ptn_len, int bpc, uchar left_to_right,
                         int src_start_pos, int ptn_start_pos, int occ_start, int occ_count, uchar overlapped,
                         int* next_idx, int* result_count, int* result) {
    require(src != nullptr && ptn != nullptr && src_len >= 0 && ptn_len >= 0,
            "src != NULL && ptn != NULL && src_len >= 0 && ptn_len >= 0", source, 0);
    const bool has_text = src != nullptr && ptn != nullptr;
    const text_view text = view(src, has_text ? src_len : 0), pattern = view(ptn, has_text ? ptn_len : 0);
    occurrences found(width_of(bpc), occ_start, occ_count, result);
    if (occ_count != 0) {
        if (left_to_right != 0)
            search_linear<direction::forward>(text, pattern, src_start_pos, ptn_start_pos, overlapped != 0, next_idx,
                                              found);
        else
            search_linear<direction::backward>(text, pattern, src_start_pos, ptn_start_pos, overlapped != 0, next_idx,
                                               found);
    }
    found.report(result_count);
}

void qzstr_naive_search_with_wc(char* src, int src_len, char* ptn, int ptn_len, char* esc_ucs2, int esc_len, int bpc,
                                uchar left_to_right, int pos, int occ_start, int occ_count, uchar overlapped,
                                int* result_count, int* result, int* last_match_bytes) {
    const bool has_text = require(src != nullptr && ptn != nullptr && result != nullptr,
                                  "src != NULL && ptn != NULL && result != NULL", source, 0);
    require(pos >= 0 && occ_start >= 1, "pos >= 0 && occ_start >= 1", source, 0);
    const int width = width_of(bpc);
    text_view text = view(src, src_len), units = view(ptn, ptn_len);
    text.len -= text.len % width; // a partial unit at the end does not take part
    units.len -= units.len % width;
    occurrences found(width, occ_start, occ_count, result);
    if (!has_text || text.len == 0 || units.len == 0) return found.report_none(result_count);
    const wildcard_pattern pattern{units, esc_len >= width ? bytes(esc_ucs2) : nullptr, width};
    if (occ_count != 0) {
        const offset_t lowest = offset_t{at_least_0(pos)} * width;
        const bool well_formed =
            left_to_right != 0
                ? search_wildcards<direction::forward>(text, pattern, lowest, overlapped != 0, found, last_match_bytes)
                : search_wildcards<direction::backward>(text, pattern, lowest, overlapped != 0, found,
                                                        last_match_bytes);
        if (!well_formed)
            return qz_err_and_jmp("qzstr", __LINE__, "qzstr_naive_search_with_wc", 0, 0, ERROR_INVALID_USE_OF_ESCCHAR);
    }
    found.report(result_count);
}

void qzstr_ucs2_get_byte_pos_with_disp_size(char* str, int byte_len, int dis_size, int* byte_size, int* real_dis_size,
                                            uchar* disp_size_is_less) {
    const uchar* const p = bytes(str);
    const offset_t units = at_least_0(byte_len) / 2;
    // KEPT: U+8000 and above are 2 columns wide, whatever the character.
    const auto columns = [p](offset_t unit) { return 1 + (p[2 * unit] >> 7); };
    const moved fast =
        fit_units(p, static_cast<std::size_t>(2 * units), static_cast<std::size_t>(at_least_0(dis_size)));
    auto unit = static_cast<offset_t>(fast.read / 2), width = static_cast<offset_t>(fast.written);
    *disp_size_is_less = 0;
    for (; unit < units; ++unit) {
        const offset_t wider = width + columns(unit);
        if (wider >= dis_size) {
            const bool whole = wider == dis_size;
            *byte_size = static_cast<int>(2 * (unit + whole));
            *real_dis_size = static_cast<int>(whole ? wider : width);
            *disp_size_is_less = 1;
            return;
        }
        width = wider;
    }
    *byte_size = static_cast<int>(2 * units);
    *real_dis_size = static_cast<int>(width);
}
