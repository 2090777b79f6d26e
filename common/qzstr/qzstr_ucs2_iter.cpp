// The UCS-2 iterator: a long string of any charset, a slice of characters at a time.
#include "core/contract.h"

namespace {
constexpr const char* source = "common/qzstr/qzstr_ucs2_iter";
}

using qzstr::core::require;

void qzstr_ucs2_iter_init(qzstr_ucs2_iter_t* ucs2_iter, qzstr_charset_t charset, char* str, int str_len, char* ucs2_buf,
                          int ucs2_buf_size) {
    if (!require(ucs2_iter != nullptr, "ucs2_iter != NULL", source, 0)) return;
    *ucs2_iter = {.charset = charset,
                  .str = str,
                  .str_len = str_len,
                  .cur_str_offset = 0,
                  .ucs2_buf = ucs2_buf,
                  .ucs2_buf_size = ucs2_buf_size,
                  .ucs2_len = 0,
                  .ucs2_buf_is_valid = 0,
                  .conv_status = 0};
}

uchar qzstr_ucs2_iter_next(qzstr_ucs2_iter_t* ucs2_iter, int char_cnt) {
    if (!require(ucs2_iter != nullptr, "ucs2_iter != NULL", source, 0)) return 0;
    qzstr_ucs2_iter_t& it = *ucs2_iter;
    it.ucs2_buf_is_valid = 0;
    if (it.str == nullptr || it.cur_str_offset >= it.str_len) return 0;
    const qzstr_charset_info_t& row = _charset_info[it.charset];
    char* const rest = it.str + it.cur_str_offset;
    const int rest_len = it.str_len - it.cur_str_offset;
    int start = 0, end = -1, count = 0; // some charsets write nothing
    row.qzstr_get_byte_pos_fn(rest, rest_len, char_cnt, &start, &end, &count);
    // A charset may report an end behind the text: the slice is cut there.
    const int slice = end + 1 < rest_len ? end + 1 : rest_len;
    int read = 0, written = 0;
    it.conv_status = row.qzstr_to_ucs2_fn(rest, slice, it.ucs2_buf, it.ucs2_buf_size, &read, &written, 1);
    it.ucs2_buf_is_valid = 1;
    // KEPT: the whole slice counts as consumed, whatever fitted into the buffer.
    it.cur_str_offset += end + 1;
    it.ucs2_len = written;
    return 1;
}

conv_status_t qzstr_ucs2_iter_get_ucs2_str(qzstr_ucs2_iter_t* ucs2_iter, char** pucs2, int* ucs2_len) {
    require(ucs2_iter->ucs2_buf_is_valid != 0, "ucs2_iter->ucs2_buf_is_valid", source, 0);
    *pucs2 = ucs2_iter->ucs2_buf;
    *ucs2_len = ucs2_iter->ucs2_len;
    return ucs2_iter->conv_status;
}
