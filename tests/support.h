// What every test shares: a runtime that records, and calls that return everything a slot reports. Include it from the one source of a test program.
#pragma once

#include "levels.h"

#include <gtest/gtest.h>

/// Assertions reported since the last `take_assertions`, as "expression@source:line".
inline std::vector<std::string> reported_assertions;

extern "C" {
void qz_assert_msg(const char* expr, const char* file, int line) {
    reported_assertions.push_back(std::string(expr) + "@" + file + ":" + std::to_string(line));
}
}

namespace support {

inline std::vector<std::string> take_assertions() {
    return std::exchange(reported_assertions, {});
}

/// Everything that a conversion reports.
struct converted {
    conv_status_t status;
    int read, written;
    std::string bytes;
    bool operator==(const converted&) const = default;
};

inline std::string hex(std::string_view bytes) {
    std::string text;
    for (const unsigned char b : bytes) {
        char item[4];
        snprintf(item, sizeof item, text.empty() ? "%02X" : " %02X", b);
        text += item;
    }
    return text;
}

inline void PrintTo(const converted& c, std::ostream* out) {
    *out << "status " << c.status << " read " << c.read << " written " << c.written << ": " << hex(c.bytes);
}

/// "B0 A1" to two bytes.
inline std::string unhex(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 3)
        bytes += static_cast<char>(std::stoi(std::string(text.substr(i, 2)), nullptr, 16));
    return bytes;
}

using ints = std::vector<int>;

/// A conversion's report, its bytes in hexadecimal.
inline converted gives(conv_status_t status, int read, std::string_view result) {
    const std::string bytes = unhex(result);
    return {status, read, static_cast<int>(bytes.size()), bytes};
}

/// Calls a UCS slot (to_* or from_*) between guard pages; `room` -1 gives ample room.
template <class Slot>
converted run_slot(Slot slot, std::string_view source, int room = -1, bool big_end = true) {
    static const guarded in(1 << 20), out(1 << 22);
    const int size = room < 0 ? static_cast<int>(source.size() * 4 + 16) : room;
    converted c{0, -1, -1, {}};
    char* const target = out.room(static_cast<std::size_t>(size));
    c.status = slot(in.place(source), static_cast<int>(source.size()), target, size, &c.read, &c.written, big_end);
    c.bytes.assign(target, static_cast<std::size_t>(c.written));
    return c;
}

/// Calls a cell of the matrix the same way.
inline converted run_cell(const qzstr_charset_info_t* catalogue, int from, int to, std::string_view source,
                          int room = -1) {
    return run_slot(
        [=](char* str, int len, char* buf, int size, int* read, int* written, uchar) {
            return catalogue[from].qzstr_get_another_charset_str_fn[to](static_cast<qzstr_charset_t>(from), str, len,
                                                                        static_cast<qzstr_charset_t>(to), buf, size,
                                                                        read, written);
        },
        source, room);
}

/// A row of a table of single conversions.
struct conversion_case {
    const char* what;
    decltype(qzstr_charset_info_t::qzstr_to_ucs2_fn) slot;
    const char* source;
    int room;
    conv_status_t status;
    int read;
    const char* result;
    bool big_end = true;
};
inline void expect_conversions(std::initializer_list<conversion_case> cases) {
    for (const auto& c : cases)
        EXPECT_EQ(run_slot(c.slot, unhex(c.source), c.room, c.big_end), gives(c.status, c.read, c.result)) << c.what;
}

/// Where the n-th character begins and ends, and its number; -9 where nothing is reported.
inline ints position(const qzstr_charset_info_t& row, std::string_view text, int n) {
    static const guarded memory;
    int start = -9, end = -9, count = -9;
    row.qzstr_get_byte_pos_fn(memory.place(text), static_cast<int>(text.size()), n, &start, &end, &count);
    return {start, end, count};
}

/// The prefix of at most `columns`: its bytes, its columns, whether the limit was reached.
inline ints fit(const qzstr_charset_info_t& row, std::string_view text, int columns) {
    static const guarded memory;
    int bytes = -9, width = -9;
    uchar reached = 9;
    row.qzstr_get_byte_pos_with_disp_size_fn(memory.place(text), static_cast<int>(text.size()), columns, &bytes, &width,
                                             &reached);
    return {bytes, width, reached};
}

/// What the boundary slots answer at every offset.
struct boundaries {
    std::string leading, ending; ///< a '1' where a character begins or ends
    ints start, behind, ahead;   ///< where the character begins; where it ends, or the one before it
    bool operator==(const boundaries&) const = default;
};
inline boundaries boundaries_of(const qzstr_charset_info_t& row, std::string_view text) {
    static const guarded memory(1 << 12);
    boundaries found;
    std::string with_next(text); // the slots know no length
    with_next.append(4, '\0');
    char* const p = memory.place(with_next);
    for (int at = 0; at < static_cast<int>(text.size()); ++at) {
        found.leading += row.qzstr_is_char_leading_byte(p, at) != 0 ? '1' : '0';
        found.ending += row.qzstr_is_char_ending_byte(p, at) != 0 ? '1' : '0';
        found.start.push_back(row.qzstr_get_char_leading_byte(p, at));
        found.behind.push_back(row.qzstr_get_char_ending_byte(p, at, 0));
        found.ahead.push_back(row.qzstr_get_char_ending_byte(p, at, 1));
    }
    return found;
}

/// Every operation that counts, cases or trims is refused, by name; where `lines` are given, from these. Where the error
/// comes back, nothing is counted or written.
inline void expect_refusals(const qzstr_charset_info_t& row, const std::string& family, const ints& lines = {}) {
    char text[] = "abc";
    int n = 0;
    uchar flag = 0;
    std::size_t next = 0;
    const auto expect = [&](const char* operation, auto call) {
        try {
            call();
            ADD_FAILURE() << operation;
        } catch (const raised_error& error) {
            EXPECT_EQ(std::string(error.source) + " " + error.function,
                      "common/qzstr/qzstr_" + family + " qzstr_" + family + "_" + operation);
            EXPECT_EQ(error.code, ERROR_NOT_IMPLEMENTED);
            EXPECT_TRUE(lines.empty() || error.line == lines[next]) << operation << " " << error.line;
        }
        ++next;
        errors_return = true;
        if constexpr (std::is_void_v<decltype(call())>)
            call();
        else
            EXPECT_EQ(call(), 0) << operation;
        errors_return = false;
    };
    expect("count_char", [&] { return row.qzstr_count_char_fn(text, 3); });
    expect("count_byte", [&] { return row.qzstr_count_byte_fn(text, 3); });
    expect("is_char_leading_byte", [&] { return row.qzstr_is_char_leading_byte(text, 0); });
    expect("get_char_leading_byte", [&] { return row.qzstr_get_char_leading_byte(text, 0); });
    expect("is_char_ending_byte", [&] { return row.qzstr_is_char_ending_byte(text, 0); });
    expect("get_char_ending_byte", [&] { return row.qzstr_get_char_ending_byte(text, 0, 1); });
    expect("get_byte_pos_with_disp_size", [&] { row.qzstr_get_byte_pos_with_disp_size_fn(text, 3, 1, &n, &n, &flag); });
    expect("convert_case", [&] { row.qzstr_convert_case_fn(QZSTR_CASE_UPPER, text, 3); });
    expect("get_first_trailing_space", [&] { return row.qzstr_get_first_trailing_space_fn(text, 3); });
    expect("isspace", [&] { return row.qzstr_isspace_fn(text, 0); });
    EXPECT_STREQ(text, "abc");
    EXPECT_EQ(n + flag, 0);
}

} // namespace support
