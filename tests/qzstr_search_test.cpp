// Search against references that enumerate matches by comparing at every byte: exhaustively over short strings, randomly
// over long ones, at every vector level.
#include "support.h"

#include <algorithm>
#include <array>
#include <climits>
#include <functional>
#include <pthread.h>
#include <random>

namespace {

using support::levels, support::take_assertions;
using ints = std::vector<int>;

/// The exported functions of one level.
struct functions {
    const char* name;
    decltype(&qzstr_kmp_search) search;
    decltype(&qzstr_kmp_compute_next) compute_next;
    decltype(&qzstr_kmp_set_start_pos) set_start_pos;
    decltype(&qzstr_kmp_main_loop) main_loop;
    decltype(&qzstr_naive_search_with_wc) wildcards;
    decltype(&qzstr_ucs2_get_byte_pos_with_disp_size) fit;
};

const std::vector<functions>& all_levels() {
    static const std::vector<functions> all = [] {
        std::vector<functions> found;
        for (const auto& level : levels()) {
            const auto loaded = [&]<class F>(F*, const char* name) {
                return reinterpret_cast<F*>(dlsym(level.module, name));
            };
#define QZSTR_LOADED(name) loaded(&name, #name)
            found.push_back({level.name, QZSTR_LOADED(qzstr_kmp_search), QZSTR_LOADED(qzstr_kmp_compute_next),
                             QZSTR_LOADED(qzstr_kmp_set_start_pos), QZSTR_LOADED(qzstr_kmp_main_loop),
                             QZSTR_LOADED(qzstr_naive_search_with_wc),
                             QZSTR_LOADED(qzstr_ucs2_get_byte_pos_with_disp_size)});
        }
        return found;
    }();
    return all;
}

struct query {
    int bpc = 1;
    bool forward = true;
    int pos = 0, occ_start = 1, occ_count = -1;
    bool overlapped = false;
};

void PrintTo(const query& q, std::ostream* out) {
    *out << "bpc " << q.bpc << (q.forward ? " forward" : " backward") << " pos " << q.pos << " start " << q.occ_start
         << " count " << q.occ_count << (q.overlapped ? " overlapped" : "");
}

constexpr int untouched = -77;

/// What a search reports.
struct found {
    int count = untouched;
    ints slots;
    int last_match_bytes = untouched;
    bool raised = false;
    bool operator==(const found&) const = default;
};

void PrintTo(const found& f, std::ostream* out) {
    *out << "count " << f.count << " partial " << f.last_match_bytes << (f.raised ? " raised" : "") << " slots";
    for (const int slot : f.slots)
        *out << ' ' << slot;
}

char* chars(std::string_view text) {
    return const_cast<char*>(text.data());
}
int len(std::string_view text) {
    return static_cast<int>(text.size());
}

/// Slots with a word of margin behind them, which must stay as it is.
struct slot_buffer {
    ints slots;
    explicit slot_buffer(int n) : slots(static_cast<std::size_t>(std::max(n, 0)) + 1, untouched) {}
    ints taken() {
        EXPECT_EQ(slots.back(), untouched);
        slots.pop_back();
        return slots;
    }
};

found search(const functions& level, std::string_view text, std::string_view pattern, const query& q) {
    found f;
    slot_buffer slots(q.occ_count);
    level.search(chars(text), len(text), chars(pattern), len(pattern), q.bpc, q.forward, q.pos, q.occ_start,
                 q.occ_count, q.overlapped, &f.count, slots.slots.data());
    f.slots = slots.taken();
    return f;
}

found search_by_steps(const functions& level, std::string_view text, std::string_view pattern, const query& q) {
    found f;
    slot_buffer slots(q.occ_count);
    ints table(pattern.size() + 2, untouched);
    int i = untouched, j = untouched;
    int* const next = table.data() + 1;
    level.compute_next(chars(pattern), len(pattern), q.forward, next);
    level.set_start_pos(chars(text), len(text), chars(pattern), len(pattern), q.bpc, q.forward, q.pos, &i, &j);
    level.main_loop(chars(text), len(text), chars(pattern), len(pattern), q.bpc, q.forward, i, j, q.occ_start,
                    q.occ_count, q.overlapped, next, &f.count, slots.slots.data());
    f.slots = slots.taken();
    return f;
}

/// Character positions of all occurrences that count, in order: every byte offset is compared, misaligned matches too.
ints positions(std::string_view text, std::string_view pattern, const query& q) {
    ints at;
    const long n = len(text), m = len(pattern), p = long{q.pos} * q.bpc;
    const auto consider = [&](long start) {
        if (text.compare(static_cast<std::size_t>(start), pattern.size(), pattern) != 0) return false;
        if (start % q.bpc == 0) at.push_back(static_cast<int>(start / q.bpc));
        return true;
    };
    if (q.forward)
        for (long start = p; start + m <= n;)
            start += consider(start) && !q.overlapped ? m : 1;
    else
        for (long start = (p >= m ? n + m - 2 - p : n - 1) - (m - 1); start >= 0;)
            start -= consider(start) && !q.overlapped ? m : 1;
    return at;
}

/// What a caller sees of the occurrences `at`.
found select(const ints& at, const query& q) {
    found f;
    if (q.occ_count == 0) return f.count = 0, f;
    if (q.occ_count < 0) return f.count = static_cast<int>(at.size()), f;
    f.count = static_cast<int>(std::min<long>(static_cast<long>(at.size()), long{q.occ_start} + q.occ_count - 1));
    for (int number = q.occ_start; number < q.occ_start + q.occ_count; ++number)
        f.slots.push_back(number <= f.count ? at[static_cast<std::size_t>(number - 1)] : -1);
    return f;
}

/// All strings of up to `longest` letters, shortest first.
std::vector<std::string> strings(const std::vector<std::string>& letters, int shortest, int longest) {
    std::vector<std::string> all, last{""};
    for (int n = 0; n <= longest; ++n) {
        if (n >= shortest) all.insert(all.end(), last.begin(), last.end());
        std::vector<std::string> longer;
        for (const auto& head : last)
            for (const auto& letter : letters)
                longer.push_back(head + letter);
        last = std::move(longer);
    }
    return all;
}

constexpr std::array<std::array<int, 2>, 6> runs{{{1, -1}, {1, 0}, {1, 1}, {2, 1}, {1, 9}, {3, 2}}};

TEST(KmpSearch, EveryShortStringOfTwoLettersWithEveryArgument) {
    const auto patterns = strings({"a", "b"}, 1, 4);
    for (const auto& text : strings({"a", "b"}, 0, 7))
        for (const auto& pattern : patterns)
            for (int choice = 0; choice < 4 * 3 * 5; ++choice) {
                query q{1 + choice / 4 % 3, choice % 2 == 0, choice / 12, 1, -1, choice / 2 % 2 == 0};
                const ints at = pattern.size() > text.size() ? ints{} : positions(text, pattern, q);
                for (const auto& [occ_start, occ_count] : runs) {
                    q.occ_start = occ_start;
                    q.occ_count = occ_count;
                    const found expected = select(at, q);
                    for (const auto& level : {all_levels().front(), all_levels().back()})
                        ASSERT_EQ(search(level, text, pattern, q), expected)
                            << level.name << ' ' << pattern << " in " << text << ' ' << testing::PrintToString(q);
                    if (pattern.size() <= text.size()) {
                        ASSERT_EQ(search_by_steps(all_levels().front(), text, pattern, q), expected)
                            << pattern << " in " << text << ' ' << testing::PrintToString(q);
                    }
                }
            }
}

TEST(KmpSearch, LongTextsOfEveryKind) {
    std::mt19937 random(7);
    const auto below = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    const support::guarded text_room, pattern_room;
    for (int round = 0; round < 6000; ++round) {
        std::string text(below(round % 3 == 0 ? 140 : 4000) + 1, ' ');
        const std::size_t letters = 1 + below(4), period = 1 + below(40);
        for (std::size_t i = 0; i < text.size(); ++i) // random, or periodic with a few damaged places
            text[i] = round % 2 == 0 || i < period || below(500) == 0 ? static_cast<char>('a' + below(letters))
                                                                      : text[i - period];
        const std::size_t length = 1 + below(std::min<std::size_t>(text.size(), round % 5 == 0 ? 2500 : 24));
        std::string pattern = text.substr(below(text.size() - length + 1), length);
        if (below(4) == 0) pattern[below(length)] = 'b';
        const query q{1 + static_cast<int>(below(3)),         below(2) == 0,
                      static_cast<int>(below(3) * below(60)), 1 + static_cast<int>(below(5)),
                      static_cast<int>(below(12)) - 1,        below(2) == 0};
        const found expected = select(positions(text, pattern, q), q);
        const auto side = round % 2 == 0 ? support::guarded::at_end : support::guarded::at_start;
        const std::string_view placed(text_room.place(text, side), text.size());
        const std::string_view wanted(pattern_room.place(pattern, side), pattern.size());
        for (const auto& level : all_levels())
            ASSERT_EQ(search(level, placed, wanted, q), expected)
                << level.name << ' ' << pattern << " in " << text << ' ' << testing::PrintToString(q);
        ASSERT_EQ(search_by_steps(all_levels().front(), text, pattern, q), expected);
    }
}

/// The table of the definition: borders found by comparison.
ints improved_table(const std::string& pattern) {
    const int m = len(pattern);
    ints border(pattern.size() + 1, -1), next(pattern.size() + 1, -1);
    for (int k = 1; k <= m; ++k)
        for (int b = 0; b < k; ++b)
            if (pattern.compare(0, static_cast<std::size_t>(b), pattern, static_cast<std::size_t>(k - b),
                                static_cast<std::size_t>(b)) == 0)
                border[static_cast<std::size_t>(k)] = b;
    for (std::size_t k = 1; k <= pattern.size(); ++k) {
        const auto b = static_cast<std::size_t>(border[k]);
        next[k] = k < pattern.size() && pattern[k] == pattern[b] ? next[b] : border[k];
    }
    return next;
}

TEST(KmpComputeNext, IsTheImprovedTableAndItsMirrorImage) {
    for (const auto& pattern : strings({"a", "b", "c"}, 0, 7)) {
        const std::string reversed(pattern.rbegin(), pattern.rend());
        ints table(pattern.size() + 1, untouched);
        qzstr_kmp_compute_next(chars(pattern), len(pattern), 1, table.data());
        EXPECT_EQ(table, improved_table(pattern)) << pattern;
        qzstr_kmp_compute_next(chars(pattern), len(pattern), 0, table.data() + 1);
        std::reverse(table.begin(), table.end());
        for (int& entry : table)
            entry = len(pattern) - 1 - entry;
        EXPECT_EQ(table, improved_table(reversed)) << pattern;
    }
}

TEST(KmpSetStartPos, CountsFromEitherEndAndCannotOverflow) {
    struct row {
        int src_len, ptn_len, bpc, pos, forward_i, backward_i;
    };
    for (const row& r : {row{10, 3, 1, 2, 2, 9}, row{10, 3, 1, 3, 3, 8}, row{10, 3, 2, INT_MAX, INT_MAX, INT_MIN},
                         row{10, 3, INT_MAX, INT_MAX, INT_MAX, INT_MIN}, row{10, 3, 0, 4, 4, 7}}) {
        int i = untouched, j = untouched;
        qzstr_kmp_set_start_pos(nullptr, r.src_len, nullptr, r.ptn_len, r.bpc, 1, r.pos, &i, &j);
        EXPECT_EQ((ints{i, j}), (ints{r.forward_i, 0})) << r.pos;
        qzstr_kmp_set_start_pos(nullptr, r.src_len, nullptr, r.ptn_len, r.bpc, 0, r.pos, &i, &j);
        EXPECT_EQ((ints{i, j}), (ints{r.backward_i, r.ptn_len - 1})) << r.pos;
    }
}

TEST(KmpSearch, AbsurdArgumentsAssertAndStayInsideTheirBuffers) {
    struct row {
        const char* assertion; // empty: none
        int src_len, ptn_len;
        query q;
        found expected;
    };
    const std::string text = "abababab", pattern = "ab";
    const char* const at_least = "pos >= 0 && occ_start >= 1";
    for (const row& r : {
             row{"", -4, 2, {.occ_count = 2}, {0, {-1, -1}}},
             row{"", 8, -1, {.occ_count = 2}, {0, {-1, -1}}},
             row{"", 8, 2, {.bpc = 0, .occ_count = 2}, {2, {0, 2}}},
             row{"", 8, 2, {.bpc = -2, .occ_count = 2}, {2, {0, 2}}},
             row{"", 8, 2, {.bpc = INT_MAX, .pos = INT_MAX, .occ_count = 1}, {0, {-1}}},
             row{"", 8, 2, {.bpc = 2, .forward = false, .pos = INT_MAX, .occ_count = 1}, {0, {-1}}},
             row{"", 8, 2, {.occ_start = INT_MAX, .occ_count = 1}, {4, {-1}}},
             row{at_least, 8, 2, {.pos = -1, .occ_count = 1}, {0, {-1}}},
             row{at_least, 8, 2, {.forward = false, .pos = INT_MIN, .occ_count = 1}, {1, {6 / 1}}},
             row{at_least, 8, 2, {.occ_start = 0, .occ_count = 3}, {2, {untouched, 0, 2}}},
             row{at_least, 8, 2, {.occ_start = -9, .occ_count = 3}, {4, {untouched, untouched, untouched}}},
             row{at_least, 8, 2, {.occ_start = INT_MIN, .occ_count = 1}, {4, {untouched}}},
             row{"ptn_len <= (int)SESS_BIG_CHUNK_SIZE", 8, SESS_BIG_CHUNK_SIZE + 1, {.occ_count = 1}, {0, {-1}}},
         }) {
        found f;
        slot_buffer slots(r.q.occ_count);
        qzstr_kmp_search(chars(text), r.src_len, chars(pattern), r.ptn_len, r.q.bpc, r.q.forward, r.q.pos,
                         r.q.occ_start, r.q.occ_count, r.q.overlapped, &f.count, slots.slots.data());
        f.slots = slots.taken();
        EXPECT_EQ(f, r.expected) << testing::PrintToString(r.q);
        const auto assertions = take_assertions();
        ASSERT_EQ(assertions.size(), *r.assertion != 0 ? 1u : 0u);
        if (*r.assertion != 0) {
            EXPECT_TRUE(assertions[0].starts_with(std::string(r.assertion) + "@common/qzstr/qzstr:")) << assertions[0];
        }
    }
    char *const p = chars(text), *const w = chars(pattern), *const none = nullptr;
    for (const auto& [src, ptn] : {std::pair{none, w}, {p, none}}) {
        int count = untouched, slot = untouched;
        qzstr_kmp_search(src, 3, ptn, 2, 1, 1, 0, 1, 1, 0, &count, &slot);
        EXPECT_EQ((ints{count, slot}), (ints{0, -1}));
        EXPECT_EQ(take_assertions().size(), 1u);
    }
    for (const auto& [ptn, len] : {std::pair{none, 3}, {w, -1}}) {
        int table[2] = {untouched, untouched};
        qzstr_kmp_compute_next(ptn, len, 1, table);
        EXPECT_EQ((ints{table[0], table[1]}), (ints{-1, untouched}));
        EXPECT_EQ(take_assertions().size(), 1u);
    }
    for (const auto& [src, src_len, ptn, ptn_len] :
         {std::tuple{none, 3, w, 2}, {p, 3, none, 2}, {p, -1, w, 2}, {p, 0, w, -1}}) {
        int count = untouched, slot = untouched;
        qzstr_kmp_main_loop(src, src_len, ptn, ptn_len, 1, 1, 0, 0, 1, 1, 0, nullptr, &count, &slot);
        EXPECT_EQ((ints{count, slot}), (ints{0, -1}));
        EXPECT_EQ(take_assertions().size(), 1u);
    }
    qzstr_kmp_search(chars(text), 8, chars(pattern), 2, 1, 1, 0, 1, 2, 0, nullptr, nullptr); // both may be missing
}

TEST(KmpSearch, TakesPatternsUpToTheLimitAndGivesEachItsStack) {
    const auto on_small_stack = [](std::size_t stack, const std::function<void()>& work) {
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setstacksize(&attributes, stack);
        pthread_t thread;
        const auto run = [](void* w) -> void* { return (*static_cast<const std::function<void()>*>(w))(), nullptr; };
        ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&work)), 0);
        pthread_join(thread, nullptr);
        pthread_attr_destroy(&attributes);
    };
    // Periodic: every start is a candidate and fails late, at the same byte of the pattern or at ever another one.
    const std::string text(1 << 20, 'a');
    for (const std::size_t length :
         {std::size_t{4}, std::size_t{60}, std::size_t{1000}, std::size_t{SESS_BIG_CHUNK_SIZE}})
        for (const bool forward : {true, false}) {
            std::string pattern(length, 'a'), alternating = pattern, damaged = text;
            for (std::size_t i = 1; i < text.size(); i += 2) {
                alternating[i % length] = 'b';
                const std::size_t whole = text.size() - length;
                damaged[i] = i < whole && (whole - 1 - i) % (length - 2) == 0 ? 'a' : 'b';
            }
            const query all{.forward = forward, .overlapped = true};
            const std::size_t stack = length > 1000 ? 1 << 20 : 256 << 10;
            on_small_stack(stack, [&] {
                EXPECT_EQ(search(all_levels().back(), text, pattern, all).count, (1 << 20) - len(pattern) + 1);
                pattern[length / 3] = 'b';
                EXPECT_EQ(search(all_levels().back(), text, pattern, all).count, 0);
                EXPECT_EQ(search(all_levels().back(), damaged, alternating, all).count, 1);
            });
        }
}

// ---- Wildcards ------------------------------------------------------------------------------------------------------

/// Text as units: big-endian UCS-2, or single bytes.
std::string units(std::string_view text, int bpc = 2) {
    std::string bytes;
    for (const char c : text) {
        if (bpc > 1) bytes += '\0';
        bytes += c;
        if (bpc > 2) bytes.append(static_cast<std::size_t>(bpc - 2), static_cast<char>(bytes.size())); // does not count
    }
    return bytes;
}

found search_wildcards(const functions& level, std::string_view text, std::string_view pattern, std::string_view escape,
                       const query& q) {
    found f;
    slot_buffer slots(q.occ_count);
    try {
        level.wildcards(chars(text), len(text), chars(pattern), len(pattern), chars(escape), len(escape), q.bpc,
                        q.forward, q.pos, q.occ_start, q.occ_count, q.overlapped, &f.count, slots.slots.data(),
                        &f.last_match_bytes);
    } catch (const raised_error& error) {
        EXPECT_EQ(std::string(error.source) + " " + error.function, "qzstr qzstr_naive_search_with_wc");
        EXPECT_EQ(error.code, ERROR_INVALID_USE_OF_ESCCHAR);
        f.raised = true;
    }
    f.slots = slots.taken();
    return f;
}

/// The pattern is read into items first; `text` and `pattern` are letters, one a unit, '_' the wildcard.
found expected_wildcards(const std::string& text, const std::string& pattern, char escape, const query& q) {
    struct item {
        char letter; // 0: any
        int end;     // pattern units up to and including this item
    };
    std::vector<item> items;
    bool broken = false;
    for (std::size_t k = 0; k < pattern.size(); ++k) {
        const bool escaped = escape != 0 && pattern[k] == escape;
        if (escaped && ++k == pattern.size()) {
            broken = true;
            break;
        }
        items.push_back({!escaped && pattern[k] == '_' && q.bpc != 1 ? '\0' : pattern[k], static_cast<int>(k) + 1});
    }
    found f;
    ints at;
    const auto wanted = [&] {
        return q.occ_count < 0 || len(text) == 0 || static_cast<int>(at.size()) < q.occ_start + q.occ_count - 1;
    };
    const int n = len(text);
    for (int c = q.forward ? q.pos : n - 1; q.occ_count != 0 && !pattern.empty() && c >= q.pos && c < n && wanted();) {
        std::size_t k = 0;
        int s = c;
        while (k < items.size() && s < n &&
               (items[k].letter == 0 || items[k].letter == text[static_cast<std::size_t>(s)])) {
            ++k;
            ++s;
        }
        const bool whole = k == items.size();
        if (whole && broken && s < n) {
            f.raised = true;
            for (int slot = 0; slot < std::max(q.occ_count, 0); ++slot) {
                const auto number = static_cast<std::size_t>(slot + q.occ_start - 1);
                f.slots.push_back(number < at.size() ? at[number] : untouched);
            }
            return f;
        }
        if (s >= n && (!whole || broken) && k > 0) f.last_match_bytes = items[k - 1].end * q.bpc;
        const bool match = whole && !broken;
        if (match) at.push_back(c);
        const int distance = match && !q.overlapped ? len(pattern) : 1;
        c += q.forward ? distance : -distance;
    }
    found seen = select(at, q);
    seen.last_match_bytes = f.last_match_bytes;
    return seen;
}

TEST(WildcardSearch, EveryShortTextAndPatternWithEveryArgument) {
    const auto patterns = strings({"a", "_", "\\"}, 0, 4);
    for (const auto& text : strings({"a", "_", "\\"}, 0, 4))
        for (const auto& pattern : patterns)
            for (int choice = 0; choice < 4 * 3 * 2 * 3; ++choice) {
                query q{1 + choice / 4 % 3, choice % 2 == 0, choice / 24, 1, -1, choice / 2 % 2 == 0};
                const char escape = choice / 12 % 2 == 0 ? '\\' : '\0';
                const std::string escape_unit = escape != 0 ? units("\\", q.bpc) : "";
                const std::string text_units = units(text, q.bpc), pattern_units = units(pattern, q.bpc);
                for (const auto& [occ_start, occ_count] : runs) {
                    q.occ_start = occ_start;
                    q.occ_count = occ_count;
                    ASSERT_EQ(search_wildcards(all_levels().back(), text_units, pattern_units, escape_unit, q),
                              expected_wildcards(text, pattern, escape, q))
                        << pattern << " in " << text << ' ' << testing::PrintToString(q) << " escape " << escape;
                }
            }
}

TEST(WildcardSearch, LongTextsOfEveryKind) {
    std::mt19937 random(11);
    const auto below = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    const support::guarded text_room, pattern_room;
    for (int round = 0; round < 6000; ++round) {
        std::string text(below(round % 2 == 0 ? 90 : 1500) + 1, ' ');
        const std::size_t letters = 1 + below(5);
        for (char& c : text)
            c = "ab_\\c"[below(letters)];
        const std::size_t length = 1 + below(std::min<std::size_t>(text.size() + 3, round % 7 == 0 ? 200 : 9));
        std::string pattern = (text + "abc").substr(below(text.size() + 3 - length + 1), length);
        for (char& c : pattern)
            if (below(6) == 0) c = '_';
        const query q{1 + static_cast<int>(below(4)),         below(2) == 0,
                      static_cast<int>(below(3) * below(30)), 1 + static_cast<int>(below(4)),
                      static_cast<int>(below(9)) - 1,         below(2) == 0};
        const char escape = below(2) == 0 ? '\\' : '\0';
        const auto side = round % 2 == 0 ? support::guarded::at_end : support::guarded::at_start;
        const std::string text_units = units(text, q.bpc), pattern_units = units(pattern, q.bpc);
        const std::string_view placed(text_room.place(text_units, side), text_units.size());
        const std::string_view wanted(pattern_room.place(pattern_units, side), pattern_units.size());
        const found expected = expected_wildcards(text, pattern, escape, q);
        for (const auto& level : all_levels())
            ASSERT_EQ(search_wildcards(level, placed, wanted, escape != 0 ? units("\\", q.bpc) : "", q), expected)
                << level.name << ' ' << pattern << " in " << text << ' ' << testing::PrintToString(q);
    }
}

TEST(WildcardSearch, PartialUnitsAbsurdArgumentsAndTheEscape) {
    struct row {
        std::string text, pattern, escape;
        query q;
        found expected;
        std::size_t assertions = 0;
    };
    using namespace std::string_literals;
    const std::string a = units("a"), aaa = units("aaa"), escape = units("\\");
    const query two{.bpc = 2, .occ_count = 2}, last{.bpc = 2, .forward = false, .occ_count = 2};
    const query before{.bpc = 2, .pos = -3, .occ_count = 2};
    const query far{.bpc = 2, .forward = false, .pos = INT_MIN, .occ_count = 2};
    for (const row& r : {
             row{units("aba") + "x", a, "", last, {2, {2, 0}}}, // a partial unit takes no part
             row{units("aba"), a + "x", "", two, {2, {0, 2}}},
             row{units("aba"), "a", "", two, {0, {-1, -1}}},                    // nothing but a partial unit
             row{units("ab"), escape, escape.substr(0, 1), two, {0, {-1, -1}}}, // half an escape is none
             row{units("aaaa"), units("\\a"), escape, two, {2, {0, 2}}},        // the escape is hidden with the match
             row{aaa, a, "", before, {2, {0, 1}}, 1},
             row{aaa, a, "", far, {2, {2, 1}}, 1},
             row{aaa, a, "", {.bpc = 2, .occ_start = -1, .occ_count = 2}, {3, {untouched, untouched}}, 1},
             row{aaa, a, "", {.bpc = INT_MAX, .pos = INT_MAX, .occ_count = 1}, {0, {-1}}},
             row{"aaa"s, "a"s, "", {.bpc = 0, .occ_count = 1}, {1, {0}}},
         }) {
        EXPECT_EQ(search_wildcards(all_levels().front(), r.text, r.pattern, r.escape, r.q), r.expected)
            << support::hex(r.pattern) << " in " << support::hex(r.text) << ' ' << testing::PrintToString(r.q);
        EXPECT_EQ(take_assertions().size(), r.assertions);
    }
    for (const int missing : {0, 1, 2}) {
        int count = untouched, slot = untouched;
        qzstr_naive_search_with_wc(missing == 0 ? nullptr : chars("ab"), 2, missing == 1 ? nullptr : chars("ab"), 2,
                                   nullptr, 0, 2, 1, 0, 1, 1, 0, &count, missing == 2 ? nullptr : &slot, nullptr);
        EXPECT_EQ((ints{count, slot}), (ints{0, missing == 2 ? untouched : -1}));
        const auto assertions = take_assertions();
        ASSERT_EQ(assertions.size(), 1u);
        EXPECT_TRUE(assertions[0].starts_with("src != NULL && ptn != NULL && result != NULL@common/qzstr/qzstr:"));
    }
}

/// A caller that sees a text in chunks and keeps only what a match may still need: the longest tail that matched so far.
/// Searching the tail backward reaches that one last, so its length is what last_match_bytes keeps.
ints matches_in_chunks(const std::string& text, const std::string& pattern, std::size_t chunk_bytes) {
    ints at;
    std::string window;
    int window_start = 0; // in characters
    for (std::size_t offset = 0; offset < text.size(); offset += chunk_bytes) {
        window += text.substr(offset, chunk_bytes);
        const int characters = len(window) / 2;
        int count = 0, partial = 0;
        ints slots(static_cast<std::size_t>(characters));
        qzstr_naive_search_with_wc(chars(window), len(window), chars(pattern), len(pattern), nullptr, 0, 2, 1, 0, 1,
                                   characters, 1, &count, slots.data(), nullptr);
        for (int k = 0; k < count; ++k)
            at.push_back(window_start + slots[static_cast<std::size_t>(k)]);
        const int tail = std::max(0, characters - len(pattern) / 2 + 1);
        qzstr_naive_search_with_wc(chars(window), len(window), chars(pattern), len(pattern), nullptr, 0, 2, 0, tail, 1,
                                   -1, 1, nullptr, slots.data(), &partial);
        window_start += characters - partial / 2;
        window = window.substr(window.size() - static_cast<std::size_t>(partial));
    }
    return at;
}

TEST(WildcardSearch, ReportsWhatACallerCarriesIntoTheNextChunk) {
    std::mt19937 random(3);
    for (const char* pattern : {"a", "ab", "a_b", "aab", "abab", "__", "a__a_b", "aaaaaaaaaaaa"}) {
        std::string text(500, 'a');
        for (char& c : text)
            c = random() % 3 == 0 ? 'b' : 'a';
        const ints expected = [&] {
            const query all{.bpc = 2, .occ_count = 500, .overlapped = true};
            found f = expected_wildcards(text, pattern, '\0', all);
            f.slots.resize(static_cast<std::size_t>(f.count));
            return f.slots;
        }();
        for (const std::size_t chunk : {2u, 4u, 6u, 14u, 100u, 999998u})
            EXPECT_EQ(matches_in_chunks(units(text), units(pattern), chunk), expected) << pattern << ' ' << chunk;
    }
}

TEST(Ucs2DisplaySize, CutsWhereTheWalkWould) {
    std::mt19937 random(5);
    for (int round = 0; round < 3000; ++round) {
        std::string text(random() % 300, ' ');
        for (char& c : text)
            c = static_cast<char>(round % 3 == 0 ? 0x41 : round % 3 == 1 ? 0xAC : random());
        const int limit = static_cast<int>(random() % 320) - 5, byte_len = static_cast<int>(text.size());
        int w = 0, b = 0;
        uchar cut = 0;
        while (b + 2 <= byte_len && cut == 0) {
            const int wider = w + (static_cast<uchar>(text[static_cast<std::size_t>(b)]) >= 0x80 ? 2 : 1);
            cut = wider >= limit;
            if (wider <= limit || cut == 0) {
                w = wider;
                b += 2;
            }
        }
        for (const functions& level : all_levels()) {
            int bytes = untouched, width = untouched;
            uchar less = 9;
            level.fit(text.data(), byte_len, limit, &bytes, &width, &less);
            ASSERT_EQ((ints{bytes, width, less}), (ints{b, w, cut})) << level.name << ' ' << byte_len << ' ' << limit;
        }
    }
    int bytes = untouched, width = untouched;
    uchar less = 9;
    qzstr_ucs2_get_byte_pos_with_disp_size(nullptr, -1, 2, &bytes, &width, &less);
    EXPECT_EQ((ints{bytes, width, less}), (ints{0, 0, 0}));
}

} // namespace
