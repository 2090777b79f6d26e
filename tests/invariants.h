// What must hold for every row and every input: all vector levels agree with the exact routines, nothing outside the
// buffers is touched, counts stay within bounds, and a conversion resumed at read_len equals one pass.
#pragma once

#include "levels.h"

#include <algorithm>
#include <initializer_list>

#if defined(__has_feature)
#if __has_feature(memory_sanitizer)
#include <sanitizer/msan_interface.h>
#define QZSTR_UNINITIALISED(p, n) __msan_poison(p, n)
#endif
#endif
#ifndef QZSTR_UNINITIALISED
#define QZSTR_UNINITIALISED(p, n) (void)0
#endif

namespace support {

enum operation : unsigned {
    to_ucs2,
    to_ucs4,
    from_ucs2,
    from_ucs4,
    cell,
    to_wchar,
    from_wchar,
    count_char,
    count_byte,
    byte_pos,
    width,
    change_case,
    trailing_space,
    boundaries,
    character_at,
    operations
};

/// One call to make in every level: a row, an operation, the bytes, and numbers that the operation uses.
struct trial {
    int row;
    unsigned what;
    std::string_view input;
    int size;      ///< room of the target, or a count
    unsigned mode; ///< byte order or size of units, case mode, matrix target; bit 2: at the lower guard page
};

/// What came out: the numbers that were returned, and the bytes that were written.
struct outcome {
    int numbers[3 * 70 + 3];
    int count = 0;
    const char* broken = nullptr; ///< what cannot be right at any level
    std::string_view bytes;

    outcome(std::initializer_list<int> some = {}) {
        for (const int number : some)
            add(number);
    }
    void add(int number) { numbers[count++] = number; }
    bool operator==(const outcome& other) const {
        return std::equal(numbers, numbers + count, other.numbers, other.numbers + other.count) && bytes == other.bytes;
    }
    std::uint64_t hash() const {
        std::uint64_t h = 0x9E3779B97F4A7C15 + bytes.size();
        const auto mix = [&h](unsigned value) { h = (h ^ value) * 0xD6E8FEB86659FD93, h ^= h >> 32; };
        for (int i = 0; i < count; ++i)
            mix(static_cast<unsigned>(numbers[i]));
        for (const char b : bytes)
            mix(static_cast<uchar>(b));
        return h;
    }
};

/// Buffers for one trial at a time.
class arena {
public:
    explicit arena(std::size_t text_size = 1 << 13, std::size_t target_size = 1 << 15)
        : text_(text_size), target_(target_size), largest_(static_cast<int>(target_size)) {}

    outcome run(const qzstr_charset_info_t* catalogue, const trial& t) const {
        outcome found;
        try {
            call(catalogue, t, found);
        } catch (const raised_error& error) {
            found.add(error.code);
        }
        return found;
    }

private:
    void call(const qzstr_charset_info_t* catalogue, const trial& t, outcome& found) const {
        const qzstr_charset_info_t& row = catalogue[t.row];
        const int n = static_cast<int>(t.input.size());
        const auto side = t.mode & 4 ? guarded::at_start : guarded::at_end;
        char* const in = text_.place(t.input, side);
        const uchar big_end = t.mode & 1;
        const int wide = t.mode & 1 ? 2 : 4;
        const auto to = static_cast<qzstr_charset_t>(t.mode / 8 % QZSTR_CHARSET_MAX);
        const auto convert = [&](auto slot) {
            const int size = std::clamp(t.size, 0, largest_);
            char* const out = target_.room(static_cast<std::size_t>(size), side);
            QZSTR_UNINITIALISED(out, static_cast<std::size_t>(size));
            if (t.row == QZSTR_CHARSET_ASCII && to == QZSTR_CHARSET_US8ICL && t.what == cell)
                std::memset(out, 0x5A, static_cast<std::size_t>(size)); // leaves its target alone
            int read = -1, written = -1;
            found.add(static_cast<int>(slot(out, size, &read, &written)));
            found.add(read);
            found.add(written);
            if (written < 0 || written > size || read < 0 || read > n + 1) found.broken = "counts out of bounds";
            found.bytes = {out, static_cast<std::size_t>(std::clamp(written, 0, size))};
        };
        int a = -9, b = -9, c = -9;
        uchar flag = 9;
        const auto with_numbers = [&](auto... number) { (found.add(number), ...); };
        switch (t.what % operations) {
        case to_ucs2:
            return convert([&](auto... out) { return row.qzstr_to_ucs2_fn(in, n, out..., big_end); });
        case to_ucs4:
            return convert([&](auto... out) { return row.qzstr_to_ucs4_fn(in, n, out..., big_end); });
        case from_ucs2:
            return convert([&](auto... out) { return row.qzstr_from_ucs2_fn(in, n, out..., big_end); });
        case from_ucs4:
            return convert([&](auto... out) { return row.qzstr_from_ucs4_fn(in, n, out..., big_end); });
        case cell:
            return convert([&](auto... out) {
                return row.qzstr_get_another_charset_str_fn[to](static_cast<qzstr_charset_t>(t.row), in, n, to, out...);
            });
        case to_wchar:
            return convert([&](char* out, int size, int* read, int* written) {
                return row.qzstr_to_wchar_fn(in, n, out, size, wide, read, written);
            });
        case from_wchar:
            return convert([&](char* out, int size, int* read, int* written) {
                return row.qzstr_from_wchar_fn(in, n, out, size, wide, read, written);
            });
        case count_char:
            return found.add(row.qzstr_count_char_fn(in, n));
        case count_byte: { // knows no length: at most as many characters as the NULs behind the text allow
            constexpr std::size_t pad = 4 * 64;
            char* const ended = text_.room(t.input.size() + pad);
            t.input.copy(ended, t.input.size());
            std::memset(ended + n, 0, pad);
            return found.add(row.qzstr_count_byte_fn(ended, std::clamp(t.size, 0, 64)));
        }
        case byte_pos:
            row.qzstr_get_byte_pos_fn(in, n, t.size, &a, &b, &c);
            return with_numbers(a, b, c);
        case width:
            row.qzstr_get_byte_pos_with_disp_size_fn(in, n, t.size, &a, &b, &flag);
            return with_numbers(a, b, static_cast<int>(flag));
        case change_case: { // TRIM_UPPER may need one byte more
            char* const cased = text_.room(t.input.size() + 1);
            t.input.copy(cased, t.input.size());
            cased[n] = '~';
            row.qzstr_convert_case_fn(static_cast<qzstr_case_t>(1 + t.mode / 8 % 4), cased, n);
            found.bytes = {cased, t.input.size() + 1};
            return;
        }
        case trailing_space:
            return found.add(row.qzstr_get_first_trailing_space_fn(in, n));
        case boundaries:
            for (int i = 0; i < n && i < 70; ++i)
                with_numbers(row.qzstr_is_char_leading_byte(in, i), row.qzstr_is_char_ending_byte(in, i));
            return;
        case character_at: // looks behind the byte that it is asked about
            for (int i = 0; i + 3 < n && i < 70; ++i)
                with_numbers(row.qzstr_get_char_leading_byte(in, i), row.qzstr_get_char_ending_byte(in, i, big_end),
                             static_cast<int>(row.qzstr_isspace_fn(in, i)));
            return;
        }
    }

    guarded text_, target_;
    int largest_;
};

inline void print(const char* name, const outcome& o) {
    std::printf("%8s:", name);
    for (int i = 0; i < o.count; ++i)
        std::printf(" %d", o.numbers[i]);
    for (std::size_t i = 0; i < o.bytes.size() && i < 400; ++i)
        std::printf("%s%02X", i == 0 ? " / " : " ", static_cast<uchar>(o.bytes[i]));
    std::puts(o.broken == nullptr ? "" : o.broken);
}

inline void print(const trial& t) {
    std::printf("row %d operation %u size %d mode %u input", t.row, t.what, t.size, t.mode);
    for (std::size_t i = 0; i < t.input.size() && i < 400; ++i)
        std::printf(" %02X", static_cast<uchar>(t.input[i]));
    std::printf(" (%zu bytes)\n", t.input.size());
}

/// Holds trials to what must be; prints what does not.
class judge {
public:
    explicit judge(std::size_t text_size = 1 << 13, std::size_t target_size = 1 << 15)
        : exact_(text_size, target_size), other_(text_size, target_size) {}

    /// What the exact routines give, after every level gave the same.
    outcome agreed(const trial& t) {
        const outcome expected = run(levels()[0], t);
        hold(expected.broken == nullptr, t, "plain", expected);
        for (std::size_t i = 1; i < levels().size(); ++i, ++calls) {
            const outcome found = other_.run(levels()[i].catalogue, t);
            if (hold(found == expected, t, levels()[i].name, found)) continue;
            print("plain", expected);
            break;
        }
        return expected;
    }

    /// A conversion into or from units that a full target stopped and that goes on at read_len gives what one pass gives.
    /// (A text of ISO-2022-KR goes on in SI without a designator.)
    void resumes(const trial& t) {
        if (t.row == QZSTR_CHARSET_ISO2022KR || t.what > from_ucs4) return;
        const qzstr_charset_info_t* const catalogue = levels().back().catalogue;
        const int ample = static_cast<int>(t.input.size()) * 4 + 16;
        const outcome whole = run(levels().back(), {t.row, t.what, t.input, ample, t.mode});
        const outcome part = other_.run(catalogue, t);
        const bool complete = part.numbers[2] == whole.numbers[2] && part.numbers[1] == whole.numbers[1];
        bool same = (part.numbers[0] & 1) == (complete ? whole.numbers[0] & 1 : 1) &&
                    whole.bytes.substr(0, part.bytes.size()) == part.bytes;
        const auto read = std::min(static_cast<std::size_t>(std::max(part.numbers[1], 0)), t.input.size());
        const std::string_view left = whole.bytes.substr(std::min(part.bytes.size(), whole.bytes.size()));
        const outcome rest = other_.run(catalogue, {t.row, t.what, t.input.substr(read), ample, t.mode});
        same &= left == rest.bytes;
        calls += 2;
        if (!hold(same, t, "rest", rest)) print("one pass", whole);
    }

    outcome run(const level& l, const trial& t) {
        ++calls;
        return exact_.run(l.catalogue, t);
    }

    bool hold(bool right, const trial& t, const char* what, const outcome& found) {
        if (!right && ++findings <= 10) print(t), print(what, found);
        return right;
    }

    std::uint64_t calls = 0;
    int findings = 0;

private:
    arena exact_, other_;
};

} // namespace support
