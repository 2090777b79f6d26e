// Searching text of fixed-width characters: the linear algorithm, patterns with wildcards, and the vector scan that finds
// where either is worth trying.
#pragma once

#include "core/kernels.h"
#include "core/units.h"

#include <array>
#include <bit>
#include <limits>

namespace qzstr::core {

enum class direction { forward, backward };

/// The numbered run of occurrences that a caller asked for, and the count of those seen.
class occurrences {
public:
    occurrences(int bpc, int start, int count, int* result)
        : bpc_(bpc), first_(start), asked_(count), result_(result) {}

    bool wide() const { return bpc_ > 1; }
    bool is_character(offset_t bytes) const { return bytes == bpc_; }
    /// Whether a match that begins at byte `start` begins a character.
    bool aligned(offset_t start) const { return bpc_ <= 2 ? (start & (bpc_ - 1)) == 0 : start % bpc_ == 0; }

    /// Counts the occurrence at byte `start`; true when it was the last one asked for.
    bool add(offset_t start) {
        ++seen_;
        const offset_t slot = seen_ - first_;
        if (result_ != nullptr && slot >= 0 && slot < asked_) result_[slot] = static_cast<int>(start / bpc_);
        return asked_ >= 0 && slot == offset_t{asked_} - 1;
    }

    /// How many more occurrences only count: neither stored nor the last one asked for.
    offset_t only_counted() const {
        if (asked_ < 0) return std::numeric_limits<offset_t>::max();
        return first_ - 2 - seen_;
    }
    void count(offset_t more) { seen_ += more; }

    /// Stores the count and clears the slots behind the last occurrence.
    void report(int* result_count) const { close(result_count, seen_ - first_ + 1); }
    /// The same where nothing was searched.
    void report_none(int* result_count) const { close(result_count, 0); }

private:
    void close(int* result_count, offset_t first_unused) const {
        if (result_count != nullptr) *result_count = static_cast<int>(seen_);
        if (result_ == nullptr) return;
        for (offset_t slot = first_unused > 0 ? first_unused : 0; slot < asked_; ++slot)
            result_[slot] = -1;
    }

    offset_t bpc_, first_, asked_, seen_ = 0;
    int* result_;
};

struct text_view {
    const uchar* p;
    offset_t len;
    bool holds(offset_t at) const { return static_cast<std::uint64_t>(at) < static_cast<std::uint64_t>(len); }
};

// ---- The linear algorithm -------------------------------------------------------------------------------------------

/// Entries before index 0 and behind the pattern's length, in a table that serves both directions.
inline constexpr int table_margin = 1;

/// The improved failure table: next[k] is where the pattern goes on after a mismatch at k, known to differ from it. The
/// backward table is the mirror image of the reversed pattern's, so that it begins at next[-1].
template <direction D>
void build_failure_table(text_view pattern, int* next) {
    const auto mirror = [&](offset_t k) { return D == direction::forward ? k : pattern.len - 1 - k; };
    const auto entry = [&](offset_t k) -> int& { return next[mirror(k)]; };
    const auto same = [&](offset_t a, offset_t b) { return pattern.p[mirror(a)] == pattern.p[mirror(b)]; };
    offset_t border = -1;
    entry(0) = static_cast<int>(mirror(-1));
    for (offset_t k = 0; k < pattern.len;) {
        while (border >= 0 && !same(k, border))
            border = mirror(entry(border));
        ++k;
        ++border;
        entry(k) = k < pattern.len && same(k, border) ? entry(border) : static_cast<int>(mirror(border));
    }
}

/// Searches from byte i of the text with the pattern at j. Every full match restarts the pattern, also one that begins
/// inside a character and so does not count.
template <direction D>
void search_linear(text_view text, text_view pattern, offset_t i, offset_t j, bool overlapped, const int* next,
                   occurrences& found) {
    constexpr bool forward = D == direction::forward;
    constexpr offset_t step = forward ? 1 : -1;
    while (text.holds(i)) {
        while (pattern.holds(j) && pattern.p[j] != text.p[i])
            j = next[j];
        i += step;
        j += step;
        if (pattern.holds(j)) continue;
        const offset_t start = forward ? i - pattern.len : i + 1;
        if (found.aligned(start) && found.add(start)) return;
        if (overlapped)
            j = next[forward ? pattern.len : -1];
        else
            j = forward ? 0 : pattern.len - 1;
    }
}

/// Builds the table on the stack and searches; never inlined, so that only searches that need the table pay for it.
template <direction D, int LongestPattern>
[[gnu::noinline]] void search_with_table(text_view text, text_view pattern, offset_t i, bool overlapped,
                                         occurrences& found) {
    int table[LongestPattern + 2 * table_margin]; // only what the pattern needs is written and read
    int* const next = table + table_margin;
    build_failure_table<D>(pattern, next);
    search_linear<D>(text, pattern, i, D == direction::forward ? 0 : pattern.len - 1, overlapped, next, found);
}

// ---- The vector scan ------------------------------------------------------------------------------------------------

/// Where three probes stand.
using probe_offsets = std::array<offset_t, 3>;

inline probe_bytes probes_at(const probe_offsets& in_text, const uchar* pattern, const probe_offsets& in_pattern) {
    probe_bytes probes;
    for (std::size_t k = 0; k < 3; ++k) {
        probes.offset[k] = static_cast<std::size_t>(in_text[k]);
        probes.byte[k] = pattern[in_pattern[k]];
    }
    return probes;
}

/// Starts of matches still to be looked at, both ends included.
struct start_range {
    offset_t first, last;
    bool empty() const { return first > last; }
};

/// The first group of starts, in the direction of the search, where all probes hold.
template <direction D>
candidates candidates_in(const probe_bytes& probes, const uchar* text, start_range left) {
    if (left.empty()) return {0, 0};
    const auto n = static_cast<std::size_t>(left.last - left.first + 1);
    const uchar* const from = text + left.first;
    return D == direction::forward ? first_candidates(probes, from, n) : last_candidates(probes, from, n);
}

/// Shows the visitor every start in the range where all probes hold, in order, from the `group` found first on. The
/// visitor answers with the distance to the next start that it wants to see, 0 to end the scan.
template <direction D, class Visitor>
[[gnu::always_inline]] inline void scan(const probe_bytes& probes, const uchar* text, start_range left,
                                        candidates group, Visitor& visit) {
    constexpr bool forward = D == direction::forward;
    for (; group.bits != 0; group = candidates_in<D>(probes, text, left)) {
        std::uint64_t bits = group.bits;
        const offset_t base = left.first + static_cast<offset_t>(group.first);
        if (forward)
            left.first = base + 64;
        else
            left.last = base - 1;
        if constexpr (requires { visit.counted(base, bits); })
            if (visit.counted(base, bits)) continue;
        while (bits != 0) {
            const int bit = forward ? std::countr_zero(bits) : 63 - std::countl_zero(bits);
            const offset_t start = base + bit;
            const offset_t distance = visit(start);
            if (distance == 0) return;
            if (distance == 1) {
                bits = forward ? bits & (bits - 1) : bits ^ std::uint64_t{1} << bit;
                continue;
            }
            const offset_t next = forward ? bit + distance : bit - distance; // relative to the group
            if (forward)
                bits = next < 64 ? bits >> next << next : 0;
            else
                bits = next >= 0 ? bits & ((std::uint64_t{2} << next) - 1) : 0;
            if (forward && base + next > left.first) left.first = base + next;
            if (!forward && base + next < left.last) left.last = base + next;
        }
    }
}

/// Where n bytes differ last (searching forward) or first (backward), -1: nowhere; adds the words compared to `work`.
template <direction D, class Word>
offset_t difference_by(const uchar* a, const uchar* b, offset_t n, offset_t& work) {
    constexpr bool forward = D == direction::forward;
    constexpr offset_t size = sizeof(Word);
    const offset_t first = forward ? n - size : 0, last = n - size - first;
    const auto differing = [&](offset_t at) {
        Word x, y;
        std::memcpy(&x, a + at, size);
        std::memcpy(&y, b + at, size);
        return static_cast<Word>(x ^ y);
    };
    const auto place = [](offset_t at, Word bits) {
        return at + (forward ? std::bit_width(bits) - 1 : std::countr_zero(bits)) / 8;
    };
    ++work;
    for (offset_t at = first; forward ? at > last : at < last; at += forward ? -size : size, ++work)
        if (const Word bits = differing(at); bits != 0) return place(at, bits);
    const Word bits = differing(last);
    return bits != 0 ? place(last, bits) : -1;
}

/// The same of two bytes at least.
template <direction D>
offset_t difference(const uchar* a, const uchar* b, offset_t n, offset_t& work) {
    if (n >= 8) return difference_by<D, std::uint64_t>(a, b, n, work);
    if (n >= 4) return difference_by<D, std::uint32_t>(a, b, n, work);
    return difference_by<D, std::uint16_t>(a, b, n, work);
}

/// Compares the whole pattern at each candidate. Where many fail, probes move to bytes that told them apart, and starts
/// that the differing byte of text rules out are skipped; if that is of no use, the linear algorithm is to go on.
template <direction D>
struct exact_visitor {
    text_view text, pattern;
    bool overlapped;
    occurrences& found;
    probe_bytes &probes, &best_probes;
    offset_t origin; ///< the start from which on work and failures are counted
    offset_t work = 0, failures = 0;
    offset_t best_passed = -1; ///< how far the best probes came
    int probes_tried = 0;
    offset_t skipping = 1024; ///< bytes that looking for distances may still lose
    bool abandoned = false;   ///< the linear algorithm is to go on
    offset_t resume_at = -1;  ///< where the scan ended early, the start to go on from; below 0: nowhere

    static constexpr int most_tried = 16;
    static constexpr offset_t words_a_failure = 128; ///< more than one in 64 starts is too many
    static constexpr offset_t bytes_a_skip = 8;      ///< what looking for a distance costs

    static offset_t beyond(offset_t start, offset_t distance) {
        return D == direction::forward ? start + distance : start - distance;
    }
    offset_t passed(offset_t start) const { return D == direction::forward ? start - origin : origin - start; }
    /// The words that may have been compared when `start` is reached: in all, a multiple of the text and the pattern.
    offset_t allowed(offset_t start) const { return 2 * passed(start) + 4096 + pattern.len / 8; }

    /// Whether the candidates of a group have been counted at once: all are one character of which nobody asks where it is.
    bool counted(offset_t base, std::uint64_t group) {
        if (pattern.len > 2 || !found.is_character(pattern.len) || std::popcount(group) > found.only_counted())
            return false;
        constexpr std::uint64_t odd = 0xAAAAAAAAAAAAAAAA;
        if (found.wide() && (group & (base % 2 == 0 ? odd : odd >> 1)) != 0) return false;
        found.count(std::popcount(group));
        return true;
    }

    offset_t operator()(offset_t start) {
        // Without overlaps, a match that begins inside a character still hides the text that it covers.
        const bool counts = found.aligned(start);
        if (overlapped && !counts) return 1;
        // Of so short a pattern the probes are all bytes.
        const offset_t differs =
            pattern.len <= (found.wide() ? 2 : 3) ? -1 : difference<D>(text.p + start, pattern.p, pattern.len, work);
        if (differs >= 0) return failed(start, differs);
        if (counts && found.add(start)) return 0;
        if (!overlapped) return pattern.len;
        if (work <= allowed(start)) return 1;
        abandoned = true;
        resume_at = beyond(start, 1);
        return 0;
    }

    /// Goes on from a candidate that differs from the pattern at byte `differs`.
    offset_t failed(offset_t start, offset_t differs) {
        offset_t distance = 1;
        if (probes_tried > 0 && skipping > 0) {
            distance = distance_after(start, differs);
            skipping += distance - bytes_a_skip;
        }
        const offset_t next = beyond(start, distance);
        ++failures;
        if (work + words_a_failure * failures <= allowed(next)) return distance;
        if (probes_tried < most_tried) {
            try_probes(next, static_cast<std::size_t>(differs));
        } else if (work <= allowed(next)) {
            return distance;
        } else {
            abandoned = true;
        }
        resume_at = next;
        return 0;
    }

    /// What told this candidate apart may tell many: probes it in place of one of the best probes so far.
    void try_probes(offset_t next, std::size_t differs) {
        if (passed(next) > best_passed) {
            best_passed = passed(next);
            best_probes = probes;
        }
        probes = best_probes;
        const int k = probes_tried++ % 3;
        if (probes_tried < most_tried) {
            probes.offset[k] = differs;
            probes.byte[k] = pattern.p[differs];
        }
        origin = next;
        work = failures = 0;
    }

    /// How far off the next start is that puts an equal byte of the pattern where the text differed, or is past it.
    offset_t distance_after(offset_t start, offset_t differs) const {
        constexpr bool forward = D == direction::forward;
        constexpr offset_t near = 8;
        const uchar seen = text.p[start + differs];
        const offset_t room = forward ? differs : pattern.len - 1 - differs;
        for (offset_t distance = 1; distance <= near; ++distance)
            if (distance > room || pattern.p[forward ? differs - distance : differs + distance] == seen)
                return distance;
        const probe_bytes same{{0, 0, 0}, {seen, seen, seen}};
        const auto n = static_cast<std::size_t>(room - near);
        const auto far =
            forward ? last_candidates(same, pattern.p, n) : first_candidates(same, pattern.p + differs + near + 1, n);
        if (far.bits == 0) return room + 1;
        const auto place = static_cast<offset_t>(far.first);
        return forward ? differs - place - (63 - std::countl_zero(far.bits))
                       : near + 1 + place + std::countr_zero(far.bits);
    }
};

inline constexpr int short_pattern = 1022;

/// Searches from the first group of candidates on; never inlined, so that only searches that have any pay for it.
template <direction D, int LongestPattern>
[[gnu::noinline]] void search_candidates(probe_bytes& probes, candidates group, text_view text, text_view pattern,
                                         start_range left, bool overlapped, occurrences& found) {
    constexpr bool forward = D == direction::forward;
    probe_bytes best;
    exact_visitor<D> visit{text, pattern, overlapped, found, probes, best, forward ? left.first : left.last};
    for (;;) {
        visit.resume_at = -1;
        scan<D>(probes, text.p, left, group, visit);
        if (visit.resume_at < 0) return;
        if (visit.abandoned) break;
        (forward ? left.first : left.last) = visit.resume_at;
        group = candidates_in<D>(probes, text.p, left);
    }
    const offset_t resume = forward ? visit.resume_at : visit.resume_at + pattern.len - 1;
    if (pattern.len <= short_pattern)
        search_with_table<D, short_pattern>(text, pattern, resume, overlapped, found);
    else
        search_with_table<D, LongestPattern>(text, pattern, resume, overlapped, found);
}

/// Searches from byte i of the text and returns `found` with what was; the pattern is not empty and no longer than the
/// text. Most searches find no candidate: inlined, they keep all in registers.
template <direction D, int LongestPattern>
[[gnu::always_inline]] inline occurrences search_exact(text_view text, text_view pattern, offset_t i, bool overlapped,
                                                       const occurrences& before) {
    constexpr bool forward = D == direction::forward;
    const offset_t last_start = text.len - pattern.len;
    const start_range range{forward ? i : 0, forward ? last_start : i - pattern.len + 1};
    if (i < 0) return before;
    // In big-endian UCS-2 the second byte of a character tells more than the first.
    const offset_t tell = before.wide() && pattern.len > 2 ? 1 : 0;
    const probe_offsets at{tell, pattern.len - 1, pattern.len / 2 | tell};
    probe_bytes probes = probes_at(at, pattern.p, at);
    const candidates group = candidates_in<D>(probes, text.p, range);
    if (group.bits == 0) return before;
    occurrences found = before;
    search_candidates<D, LongestPattern>(probes, group, text, pattern, range, overlapped, found);
    return found;
}

// ---- Patterns with wildcards ----------------------------------------------------------------------------------------

/// A pattern of units of `bpc` bytes, of which the first two count (bpc 1: the one).
struct wildcard_pattern {
    text_view units;
    const uchar* escape; ///< one unit, or null
    offset_t bpc;

    bool same(const uchar* a, const uchar* b) const { return a[0] == b[0] && (bpc == 1 || a[1] == b[1]); }
    bool is_escape(const uchar* unit) const { return escape != nullptr && same(unit, escape); }
    /// The big-endian UCS-2 "_": single bytes are never wildcards.
    bool is_wildcard(const uchar* unit) const { return bpc != 1 && unit[0] == 0x00 && unit[1] == 0x5F; }
};

enum class attempt { matched, differed, ran_out, misused_escape };

/// Tries the pattern at byte s of the text; `matched_bytes` is how far in the pattern the attempt got.
inline attempt try_wildcards(const wildcard_pattern& pattern, text_view text, offset_t s, offset_t& matched_bytes) {
    const offset_t bpc = pattern.bpc;
    for (offset_t j = 0;;) {
        const uchar* literal = pattern.units.p + j;
        if (pattern.is_escape(literal)) {
            j += bpc;
            if (j >= pattern.units.len) return attempt::misused_escape;
            literal += bpc;
        } else if (pattern.is_wildcard(literal)) {
            literal = nullptr;
        }
        if (literal != nullptr && !pattern.same(literal, text.p + s)) return attempt::differed;
        j += bpc;
        s += bpc;
        if (j >= pattern.units.len) return attempt::matched;
        if (s >= text.len) {
            matched_bytes = j;
            return attempt::ran_out;
        }
    }
}

/// Where the units compared literally stand: in the pattern and, from its start, in the text.
struct literals {
    offset_t count = 0;
    offset_t in_pattern[3] = {}, in_text[3] = {}; ///< the first, the last, the second (where there are so many)
};

/// Literals at the head of a pattern, up to an escape character that nothing follows. A few are enough: starts nearer to
/// the end of the text than the last of them are not scanned.
inline literals literals_of(const wildcard_pattern& pattern) {
    constexpr int enough = 64;
    literals found;
    offset_t j = 0;
    for (offset_t unit = 0; unit < enough && j < pattern.units.len; ++unit, j += pattern.bpc) {
        if (pattern.is_escape(pattern.units.p + j)) {
            j += pattern.bpc;
            if (j >= pattern.units.len) break;
        } else if (pattern.is_wildcard(pattern.units.p + j)) {
            continue;
        }
        const bool taken[3] = {found.count == 0, true, found.count < 2};
        ++found.count;
        for (int place = 0; place < 3; ++place) {
            if (!taken[place]) continue;
            found.in_pattern[place] = j;
            found.in_text[place] = unit * pattern.bpc;
        }
    }
    return found;
}

/// What is tested at many starts at once; the pattern has a literal.
inline probe_bytes probes_of(const wildcard_pattern& pattern, const literals& found) {
    // In big-endian UCS-2 the second byte of a unit tells more than the first.
    const offset_t tell = pattern.bpc > 1 ? 1 : 0;
    const offset_t skip[3] = {found.count > 1 ? tell : 0, tell, tell};
    probe_offsets in_text, in_pattern;
    for (std::size_t k = 0; k < 3; ++k) {
        in_text[k] = found.in_text[k] + skip[k];
        in_pattern[k] = found.in_pattern[k] + skip[k];
    }
    return probes_at(in_text, pattern.units.p, in_pattern);
}

/// Tries the pattern at each candidate.
template <direction D>
struct wildcard_visitor {
    const wildcard_pattern& pattern;
    text_view text;
    bool overlapped;
    occurrences& found;
    int* last_match_bytes; ///< may be null
    offset_t next;         ///< the start to look at next
    bool ended = false, misused = false;

    offset_t operator()(offset_t start) {
        if (!found.aligned(start)) return 1;
        offset_t matched_bytes = 0;
        const attempt outcome = try_wildcards(pattern, text, start, matched_bytes);
        if (outcome == attempt::ran_out && last_match_bytes != nullptr)
            *last_match_bytes = static_cast<int>(matched_bytes);
        misused = outcome == attempt::misused_escape;
        const bool match = outcome == attempt::matched;
        ended = misused || (match && found.add(start));
        if (ended) return 0;
        // KEPT: a match hides as many bytes as the pattern has, escape characters included.
        const offset_t distance = match && !overlapped ? pattern.units.len : pattern.bpc;
        next = D == direction::forward ? start + distance : start - distance;
        return distance;
    }

    /// Visits every start in the range that is still to come.
    void walk(start_range range) {
        while (!ended && next >= range.first && next <= range.last)
            (*this)(next);
    }
};

/// Tries every character from `lowest` on; pattern and text are not empty and hold whole units. False where the pattern
/// ends in its escape character and an attempt got there.
template <direction D>
bool search_wildcards(text_view text, const wildcard_pattern& pattern, offset_t lowest, bool overlapped,
                      occurrences& found, int* last_match_bytes) {
    constexpr bool forward = D == direction::forward;
    wildcard_visitor<D> visit{
        pattern, text, overlapped, found, last_match_bytes, forward ? lowest : text.len - pattern.bpc};
    const literals fixed = literals_of(pattern);
    // Up to here all probes lie inside the text. Behind it an attempt may run out of text early: all are made.
    const offset_t scanned = fixed.count == 0 ? lowest - pattern.bpc : text.len - pattern.bpc - fixed.in_text[1];
    const start_range beyond{scanned + pattern.bpc > lowest ? scanned + pattern.bpc : lowest, text.len - 1};
    const auto scan_rest = [&] {
        const start_range range{forward ? visit.next : lowest, forward ? scanned : visit.next};
        if (fixed.count == 0) return;
        const probe_bytes probes = probes_of(pattern, fixed);
        scan<D>(probes, text.p, range, candidates_in<D>(probes, text.p, range), visit);
    };
    if (forward) {
        scan_rest();
        if (visit.next < beyond.first) visit.next = beyond.first;
        visit.walk(beyond);
    } else {
        visit.walk(beyond);
        if (!visit.ended) scan_rest();
    }
    return !visit.misused;
}

} // namespace qzstr::core
