// Counting, positions, boundaries and width of a multibyte family, from its character steps.
//
// F supplies `step(p, left)`, the bytes of the character at p whatever is left of the text (a family whose positions or
// widths follow other steps also supplies `pos_step` and `columns`), `starts_character(p, offset)` and
// `ends_character(p, offset)`.
#pragma once

#include "core/byte_set.h"
#include "core/contract.h"
#include "core/kernels.h"

#include <limits>

namespace qzstr::core {

inline constexpr offset_t unbounded = std::numeric_limits<offset_t>::max();

/// The n-th character of a text (the last when there are fewer, or when n is below 1).
struct char_position {
    offset_t start;
    offset_t end; ///< behind its last byte
    offset_t number;
};

/// The bytes of the first `chars` characters by `step`.
template <class Step>
offset_t walk_bytes(const uchar* p, offset_t chars, Step step) {
    offset_t at = 0;
    for (; chars > 0; --chars)
        at += step(p + at, unbounded);
    return at;
}

/// Walks by `step`; the text is not empty. The end may lie behind the text.
template <class Step>
char_position find_char(const uchar* p, offset_t len, offset_t n, Step step) {
    char_position at{0, step(p, len), 1};
    while (at.number != n && at.end < len) {
        at.start = at.end;
        at.end += step(p + at.start, len - at.start);
        ++at.number;
    }
    return at;
}

/// The longest prefix of at most `limit` columns; `reached` when the text was cut there or fits exactly.
struct prefix {
    offset_t bytes = 0;
    offset_t columns = 0;
    bool reached = false;
};

/// Only characters that begin before `until`.
template <class Step, class Columns>
prefix cut_to_columns(const uchar* p, offset_t len, offset_t limit, Step step, Columns columns,
                      offset_t until = unbounded) {
    prefix cut;
    while (cut.bytes < len && cut.bytes < until) {
        const offset_t size = step(p + cut.bytes, len - cut.bytes);
        if (cut.bytes + size > len) break;
        const offset_t width = columns(p + cut.bytes);
        if (cut.columns + width > limit) return {cut.bytes, cut.columns, true};
        cut.bytes += size;
        cut.columns += width;
        if (cut.columns == limit) return {cut.bytes, limit, true};
    }
    return cut;
}

/// The same, where `fast(p, len, limit)` passes characters by blocks: the bytes and columns of whole ones, fewer than the
/// limit.
template <class Fast, class Step, class Columns>
prefix cut_by_blocks(const uchar* p, offset_t len, offset_t limit, Fast fast, Step step, Columns columns) {
    prefix cut;
    for (;;) {
        const moved m = fast(p + cut.bytes, len - cut.bytes, limit - cut.columns);
        cut.bytes += static_cast<offset_t>(m.read);
        cut.columns += static_cast<offset_t>(m.written);
        const prefix more =
            cut_to_columns(p + cut.bytes, len - cut.bytes, limit - cut.columns, step, columns, m.read >= 32 ? 4 : 64);
        cut = {cut.bytes + more.bytes, cut.columns + more.columns, more.reached};
        if (more.reached || more.bytes == 0) return cut;
    }
}

inline void store_prefix(prefix cut, int* byte_pos, int* real_dis_size, uchar* disp_size_is_less) {
    *byte_pos = static_cast<int>(cut.bytes);
    *real_dis_size = static_cast<int>(cut.columns);
    *disp_size_is_less = cut.reached ? 1 : 0;
}

/// Whether the run of bytes with the high bit that ends at the offset has even length; a byte below 0x80 ends a
/// character.
inline bool ends_even_high_run(const uchar* p, offset_t offset) {
    offset_t run = 0;
    while (run <= offset && p[offset - run] >= 0x80)
        ++run;
    return run % 2 == 0;
}

/// Whether a walk from byte 0 by one byte, or two at a lead, lands on the offset. The byte after one that is no lead
/// always begins a character, so only the run of leads before the offset matters.
inline bool walk_lands_on(const byte_set& leads, const uchar* p, offset_t offset) {
    offset_t run = 0;
    while (run < offset && leads.contains(p[offset - run - 1]))
        ++run;
    return run % 2 == 0;
}

/// The eight position slots of family F.
template <class F>
struct multibyte {
    static int count_char(char* str, int byte_cnt) {
        if (!require(str != nullptr, "str != NULL", F::where.source, F::where.count_char)) return 0;
        if (!require(byte_cnt >= 0, "byte_cnt >= 0", F::where.source, nth(F::where.count_char, 1))) return 0;
        return static_cast<int>(F::characters(bytes(str), byte_cnt));
    }

    static int count_byte(char* str, int char_cnt) {
        if (!require(str != nullptr, "str != NULL", F::where.source, F::where.count_byte)) return 0;
        if (!require(char_cnt >= 0, "char_cnt >= 0", F::where.source, nth(F::where.count_byte, 1))) return 0;
        return static_cast<int>(F::bytes_of(bytes(str), char_cnt));
    }

    static uchar is_char_leading_byte(char* str, int byte_offset) {
        if (!has_offset(str, byte_offset, F::where.is_char_leading_byte)) return 1;
        return F::starts_character(bytes(str), byte_offset) ? 1 : 0;
    }

    static int get_char_leading_byte(char* str, int byte_offset) {
        if (!has_offset(str, byte_offset, F::where.get_char_leading_byte)) return byte_offset;
        return F::starts_character(bytes(str), byte_offset) ? byte_offset : byte_offset - 1;
    }

    static uchar is_char_ending_byte(char* str, int byte_offset) {
        if (!has_offset(str, byte_offset, F::where.is_char_ending_byte)) return 1;
        return F::ends_character(bytes(str), byte_offset) ? 1 : 0;
    }

    static int get_char_ending_byte(char* str, int byte_offset, uchar is_ahead) {
        if (!has_offset(str, byte_offset, F::where.get_char_ending_byte)) return byte_offset;
        if (F::ends_character(bytes(str), byte_offset)) return byte_offset;
        return is_ahead != 0 ? byte_offset - 1 : byte_offset + 1;
    }

    static void get_byte_pos(char* str, int str_len, int char_cnt, int* start_pos, int* end_pos, int* real_char_cnt) {
        if (!has_positions(str, start_pos, end_pos) || str_len < 1) return;
        char_position at = F::find(bytes(str), str_len, char_cnt);
        if (at.end > str_len) at.end = str_len;
        store_position(at, start_pos, end_pos, real_char_cnt);
    }

    static void get_byte_pos_with_disp_size(char* str, int byte_len, int dis_size, int* byte_pos, int* real_dis_size,
                                            uchar* disp_size_is_less) {
        store_prefix(F::fit(bytes(str), at_least_0(byte_len), at_least_0(dis_size)), byte_pos, real_dis_size,
                     disp_size_is_less);
    }

    /// The walks behind the slots, by F's steps.
    static offset_t characters(const uchar* p, offset_t len) {
        offset_t count = 0;
        for (offset_t at = 0; at < len; ++count)
            at += F::step(p + at, len - at);
        return count;
    }
    static offset_t bytes_of(const uchar* p, offset_t chars) { return walk_bytes(p, chars, F::step); }
    static char_position find(const uchar* p, offset_t len, offset_t n) { return find_char(p, len, n, F::step); }
    static prefix fit(const uchar* p, offset_t len, offset_t limit) {
        return cut_to_columns(p, len, limit, F::step, F::columns);
    }

    /// Case and blanks go by the same steps unless F says otherwise.
    static offset_t case_step(const uchar* p, offset_t left) { return F::step(p, left); }

    static uchar isspace(char* str, int offset) {
        return F::is_char_leading_byte(str, offset) != 0 && qzstr_ascii_isspace(str, offset) != 0 ? 1 : 0;
    }

protected:
    static bool has_offset(const char* str, int byte_offset, int line) {
        const bool has_str = require(str != nullptr, "str != NULL", F::where.source, line);
        return require(byte_offset >= 0, "byte_offset >= 0", F::where.source, nth(line, 1)) && has_str;
    }
    static bool has_positions(const char* str, const int* start_pos, const int* end_pos) {
        const int line = F::where.get_byte_pos;
        const bool has_str = require(str != nullptr, "str != NULL", F::where.source, line);
        const bool has_start = require(start_pos != nullptr, "start_pos != NULL", F::where.source, nth(line, 1));
        const bool has_end = require(end_pos != nullptr, "end_pos != NULL", F::where.source, nth(line, 2));
        return has_str && has_start && has_end;
    }
    static void store_position(char_position at, int* start_pos, int* end_pos, int* real_char_cnt) {
        *start_pos = static_cast<int>(at.start);
        *end_pos = static_cast<int>(at.end - 1);
        if (real_char_cnt != nullptr) *real_char_cnt = static_cast<int>(at.number);
    }
};

/// The same for a family with a walk by blocks: `F::skip(p, n, chars)` passes at most `chars` characters that begin in the
/// first n bytes, as far as it can; F's steps do the rest.
template <class F>
struct block_walks : multibyte<F> {
    static offset_t count_step(const uchar* p, offset_t left) { return F::step(p, left); }
    static moved count_skip(const uchar* p, std::size_t n, std::size_t chars) { return F::skip(p, n, chars); }
    static offset_t pos_step(const uchar* p, offset_t left) { return F::step(p, left); }

    /// Passes characters by `skip` and `step`, all that there are; `left` bytes are there from p on.
    template <class Skip, class Step>
    static moved pass(const uchar* p, std::size_t n, offset_t left, std::size_t chars, Skip skip, Step step) {
        moved at{};
        while (at.read < n && at.written < chars) {
            const moved fast = skip(p + at.read, n - at.read, chars - at.written);
            at.read += fast.read;
            at.written += fast.written;
            for (int k = fast.read >= 32 ? 1 : 32; k > 0 && at.read < n && at.written < chars; --k) {
                at.read += static_cast<std::size_t>(step(p + at.read, left - static_cast<offset_t>(at.read)));
                ++at.written;
            }
        }
        return at;
    }

    static offset_t characters(const uchar* p, offset_t len) {
        return static_cast<offset_t>(
            pass(p, static_cast<std::size_t>(len), len, ~std::size_t{0}, F::count_skip, F::count_step).written);
    }
    /// k characters take at least k bytes, so no read goes further than the characters require.
    static offset_t bytes_of(const uchar* p, offset_t chars) {
        constexpr std::size_t few = 16; // sooner walked than looked at as a block
        std::size_t at = 0;
        auto left = static_cast<std::size_t>(chars);
        while (left > few) {
            const moved m = pass(p + at, left, unbounded, left, F::count_skip, F::count_step);
            at += m.read;
            left -= m.written;
        }
        return static_cast<offset_t>(at) + walk_bytes(p + at, static_cast<offset_t>(left), F::count_step);
    }

    /// By blocks up to the last few bytes, where the walk must see which character is the last.
    static char_position find(const uchar* p, offset_t len, offset_t n) {
        const std::size_t before = n < 1 ? ~std::size_t{0} : static_cast<std::size_t>(n - 1);
        const moved m = pass(p, before_last(len), len, before, F::skip, F::pos_step);
        const auto from = static_cast<offset_t>(m.read), passed = static_cast<offset_t>(m.written);
        const char_position at = find_char(p + from, len - from, n - passed, F::pos_step);
        return {at.start + from, at.end + from, at.number + passed};
    }

    /// Where the character begins that holds the byte at an offset; looks at no byte behind it.
    template <class Step>
    static offset_t start_of(const uchar* p, offset_t offset, Step step) {
        auto at = static_cast<offset_t>(pass(p, before_last(offset), offset, ~std::size_t{0}, F::skip, step).read);
        for (offset_t next = at; next <= offset; next += step(p + at, offset - at)) {
            at = next;
            if (at == offset) break;
        }
        return at;
    }

    /// Where a column is a byte, so that only the character at the limit matters; one that the end cuts takes no column.
    template <class Step>
    static prefix fit_bytes(const uchar* p, offset_t len, offset_t limit, Step step) {
        if (len < 1) return {};
        const offset_t at = start_of(p, limit < len ? limit : len, step);
        if (at == len) return {at, at, limit == len};
        const bool next_is_whole = step(p + at, len - at) <= len - at;
        return {at, at, (at == limit && at > 0) || next_is_whole};
    }

    /// Changes the case of the ASCII letters from `first` on: what F::skip passes is pairs to the vector code.
    static void flip_case(uchar first, uchar* p, offset_t len) {
        constexpr offset_t piece = 4096; // passed twice
        for (offset_t at = 0; at < len;) {
            const offset_t n = len - at < piece ? len - at : piece;
            const auto passed =
                static_cast<offset_t>(F::skip(p + at, static_cast<std::size_t>(n), ~std::size_t{0}).read);
            flip_letters_pairs(F::pair_leads, first, p + at, static_cast<std::size_t>(passed < n ? passed : n));
            at += passed;
            for (int k = passed >= 32 ? 1 : 32; k > 0 && at < len; --k) {
                const offset_t size = F::case_step(p + at, len - at);
                if (size == 1) flip_letters(first, p + at, 1);
                at += size;
            }
        }
    }

private:
    /// No character is longer than four bytes.
    static std::size_t before_last(offset_t len) { return len < 8 ? 0 : static_cast<std::size_t>(len - 4); }
};

/// The same for a family whose characters are one byte, or two after a byte of `F::leads`, and as many columns.
template <class F>
struct double_byte : block_walks<F> {
    static constexpr offset_t step(const uchar* p, offset_t) { return F::leads.contains(*p) ? 2 : 1; }

    static moved skip(const uchar* p, std::size_t n, std::size_t chars) { return skip_pairs(F::leads, p, n, chars); }

    /// Changes the case of the ASCII letters from `first` on, by the same steps.
    static void flip_case(uchar first, uchar* p, offset_t len) {
        flip_letters_pairs(F::leads, first, p, static_cast<std::size_t>(len));
    }

    /// A column is a byte, so only the character at the limit matters; a lead alone at the end takes no column.
    static prefix fit(const uchar* p, offset_t len, offset_t limit) {
        if (len < 1) return {};
        const offset_t at = limit < len ? limit : len;
        const bool splits = !walk_lands_on(F::leads, p, at);
        const offset_t fits = at - (splits ? 1 : 0);
        const bool lone_lead = splits ? at == len : limit == 0 && len == 1 && F::leads.contains(p[0]);
        return {fits, fits, !lone_lead && limit <= len};
    }
};

} // namespace qzstr::core
