// What must hold for every row and every input: all vector levels agree with the exact routines, nothing outside the
// buffers is touched, counts stay within bounds, and a conversion resumed at read_len equals one pass.
#pragma once

#include "support.h"

#include <algorithm>
#include <functional>

namespace support {

/// One call to make in every level: a row, an operation, the bytes, and numbers that the operation uses.
struct trial {
    int row;
    unsigned operation;
    std::string input;
    int size;      ///< room of the target, or a count
    unsigned mode; ///< byte order, case mode, matrix target
};

inline constexpr unsigned operations = 14;

/// The outcome of a trial at one level, printable and comparable.
inline std::string outcome(const qzstr_charset_info_t* catalogue, const trial& t) {
    static const guarded text(1 << 17), target(1 << 20);
    const qzstr_charset_info_t& row = catalogue[t.row];
    const int n = static_cast<int>(t.input.size());
    const auto side = t.mode & 4 ? guarded::at_start : guarded::at_end;
    char* const in = text.place(t.input, side);
    std::vector<int> numbers;
    std::string bytes;
    const auto convert = [&](auto slot, auto... arguments) {
        const int size = std::clamp(t.size, 0, 1 << 19);
        char* const out = target.room(static_cast<std::size_t>(size), side);
        std::memset(out, 0x5A, static_cast<std::size_t>(size)); // one conversion leaves its target alone
        int read = -1, written = -1;
        const conv_status_t status = slot(in, n, out, size, &read, &written, arguments...);
        if (written < 0 || written > size || read < 0 || read > n + 1) bytes = "counts out of bounds ";
        bytes.append(out, static_cast<std::size_t>(std::clamp(written, 0, size)));
        numbers = {static_cast<int>(status), read, written};
    };
    const auto cell = [&](int to) {
        convert([&](char* str, int len, char* buf, int size, int* read, int* written) {
            return row.qzstr_get_another_charset_str_fn[to](static_cast<qzstr_charset_t>(t.row), str, len,
                                                            static_cast<qzstr_charset_t>(to), buf, size, read, written);
        });
    };
    int a = -9, b = -9, c = -9;
    uchar flag = 9;
    const uchar big_end = t.mode & 1;
    const std::function<void()> calls[operations] = {
        [&] { convert(row.qzstr_to_ucs2_fn, big_end); },
        [&] { convert(row.qzstr_to_ucs4_fn, big_end); },
        [&] { convert(row.qzstr_from_ucs2_fn, big_end); },
        [&] { convert(row.qzstr_from_ucs4_fn, big_end); },
        [&] { cell(QZSTR_CHARSET_ASCII); },
        [&] { cell(QZSTR_CHARSET_UTF16); },
        [&] { cell(static_cast<int>(t.mode % QZSTR_CHARSET_MAX)); },
        [&] { numbers = {row.qzstr_count_char_fn(in, n)}; },
        [&] {
            row.qzstr_get_byte_pos_fn(in, n, t.size, &a, &b, &c), numbers = {a, b, c};
        },
        [&] {
            row.qzstr_get_byte_pos_with_disp_size_fn(in, n, t.size, &a, &b, &flag), numbers = {a, b, flag};
        },
        [&] {
            char* const cased = text.place(t.input + '~'); // TRIM_UPPER may need one byte more
            row.qzstr_convert_case_fn(static_cast<qzstr_case_t>(1 + t.mode % 4), cased, n);
            bytes.assign(cased, t.input.size() + 1);
        },
        [&] { numbers = {row.qzstr_get_first_trailing_space_fn(in, n)}; },
        [&] {
            for (int i = 0; i < n && i < 70; ++i)
                numbers.push_back(row.qzstr_is_char_leading_byte(in, i) << 8 | row.qzstr_is_char_ending_byte(in, i));
        },
        [&] {
            for (int i = 0; i + 3 < n && i < 70; ++i)
                numbers.push_back(row.qzstr_get_char_leading_byte(in, i) << 16 ^
                                  row.qzstr_get_char_ending_byte(in, i, t.mode & 1));
        },
    };
    try {
        calls[t.operation % operations]();
    } catch (const raised_error& error) {
        numbers = {error.code};
    }
    std::string shown;
    for (const int number : numbers)
        shown += std::to_string(number) + " ";
    return shown + hex(bytes);
}

/// What is wrong with a trial: the first level that differs from the exact routines, else nothing.
inline std::string disagreement(const trial& t) {
    const std::string exact = outcome(levels()[0].catalogue, t);
    if (exact.find("out of bounds") != std::string::npos) return exact;
    for (const level& l : levels())
        if (const std::string found = outcome(l.catalogue, t); found != exact)
            return "row " + std::to_string(t.row) + " operation " + std::to_string(t.operation % operations) +
                   " size " + std::to_string(t.size) + " mode " + std::to_string(t.mode) + " input " + hex(t.input) +
                   "\nplain:  " + exact + "\n" + l.name + ": " + found;
    return {};
}

} // namespace support
