// Every row against itself, exhaustively: all short inputs, all code points, every room around every character, every cell
// of the matrix over its source's whole repertoire, and texts of all kinds; at every vector level against the exact
// routines. What a run gives is compared with trust.figures, so that compilers, options and machines are compared, too.
//
//     trust [--brief | --long] [--record] [PART...]
#include "invariants.h"

#include <array>
#include <climits>
#include <deque>
#include <pthread.h>
#include <unistd.h>

using namespace support;

namespace {

/// Texts reach no assertion, except where the position of no character is asked for, and half a unit has no blank.
thread_local int assertions_from_data = 0;

} // namespace

extern "C" void qz_assert_msg(const char* expression, const char*, int) {
    if (std::strcmp(expression, "byte_offset >= 0") == 0 || std::strcmp(expression, "str_len % 2 == 0") == 0) return;
    if (++assertions_from_data <= 10) std::printf("assertion from data: %s\n", expression);
}

namespace {

bool whole_run = false; ///< else a part of it that takes seconds
bool brief = false;     ///< fewer texts, for tools that take their time

using text = std::vector<char>;
std::string_view view(const text& t) {
    return {t.data(), t.size()};
}
void append(text& to, std::string_view bytes) {
    to.insert(to.end(), bytes.begin(), bytes.end());
}

/// A code point as a big-endian unit.
struct unit {
    char bytes[4];
    std::string_view of(char32_t c, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i)
            bytes[i] = static_cast<char>(c >> 8 * (size - 1 - i));
        return {bytes, size};
    }
};

/// The same numbers everywhere.
struct random_numbers {
    std::uint64_t state;
    unsigned operator()(std::size_t below) {
        state = state * 6364136223846793005 + 1442695040888963407;
        return static_cast<unsigned>((state >> 33) % below);
    }
};

/// What a row came to; a column that a run did not fill is not compared.
enum column {
    characters,   ///< code points that encode
    one_way,      ///< of these, how many decode to something else
    longest,      ///< bytes of the longest
    walks,        ///< characters that the decoder and get_byte_pos take for different lengths
    longest_step, ///< bytes that get_byte_pos takes at most for one
    resumable,    ///< cells that go on at read_len after a full target
    forms_short,  ///< hashes of everything that came out
    forms_long,
    encoded,
    cells_short,
    cells_long,
    columns
};
constexpr const char* column_names[columns] = {"characters",   "one_way",     "longest",     "walks",
                                               "longest_step", "resumable",   "forms_short", "forms_long",
                                               "encode",       "cells_short", "cells_long"};
using figures = std::array<std::uint64_t, columns>;
constexpr std::uint64_t unknown = ~std::uint64_t{0};

struct row_run {
    int row;
    judge check{};
    figures found{};
    std::uint64_t inputs = 0;

    explicit row_run(int r) : row(r) { found.fill(unknown); }
    const qzstr_charset_info_t& exact() const { return levels()[0].catalogue[row]; }
};

struct range {
    uchar first, last;
};
/// All strings of bytes within ranges, for a row or (-1) for each, behind bytes that bring a decoder into their state.
struct pattern {
    int row;
    const char* before;
    int length;
    range at[4];
};
constexpr unsigned stride = 31; ///< of the forms in a short run
constexpr range any{0, 0xFF};
constexpr pattern patterns[] = {
    {-1, "", 0, {}},
    {-1, "", 1, {any}},
    {-1, "", 2, {any, any}},
    {QZSTR_CHARSET_UTF8, "", 3, {{0xE0, 0xEF}, any, any}},
    {QZSTR_CHARSET_UTF8, "", 4, {{0xF0, 0xF5}, {0x7F, 0xC0}, {0x7F, 0xC0}, {0x7F, 0xC0}}},
    {QZSTR_CHARSET_UTF16, "", 4, {{0xD7, 0xDC}, any, {0xDB, 0xE0}, any}},
    {QZSTR_CHARSET_EUCJP, "", 3, {{0x8F, 0x8F}, any, any}},
    {QZSTR_CHARSET_EUCJP_TILDE, "", 3, {{0x8F, 0x8F}, any, any}},
    {QZSTR_CHARSET_GB18030, "", 3, {{0x80, 0xFF}, {0x2F, 0x3A}, any}},
    {QZSTR_CHARSET_GB18030, "", 4, {{0x80, 0xFF}, {0x2F, 0x3A}, {0x80, 0xFF}, {0x2F, 0x3A}}},
    {QZSTR_CHARSET_EUCTW, "", 3, {{0x8E, 0x8E}, any, any}},
    {QZSTR_CHARSET_EUCTW, "", 4, {{0x8E, 0x8E}, {0x9F, 0xB3}, {0xA0, 0xFF}, {0xA0, 0xFF}}},
    {QZSTR_CHARSET_ISO2022KR, "\x1B$)C\x0E", 2, {any, any}},
    {QZSTR_CHARSET_ISO2022KR, "\x1B", 3, {{0x23, 0x25}, {0x28, 0x2A}, {0x40, 0x44}}},
};

/// Calls `each` with every string of the row's patterns, or with every `step`-th.
template <class Each>
void each_form(int row, unsigned step, Each each) {
    unsigned number = 0;
    for (const pattern& p : patterns) {
        if (p.row != -1 && p.row != row) continue;
        char bytes[16];
        const std::size_t before = std::strlen(p.before);
        std::memcpy(bytes, p.before, before);
        unsigned digit[4] = {};
        for (int at = 0; at < p.length; ++at)
            digit[at] = p.at[at].first;
        for (int at = 0; at >= 0; ++number) {
            for (int i = 0; i < p.length; ++i)
                bytes[before + static_cast<std::size_t>(i)] = static_cast<char>(digit[i]);
            if (number % step == 0) each(std::string_view(bytes, before + static_cast<std::size_t>(p.length)), number);
            for (at = p.length - 1; at >= 0 && ++digit[at] > p.at[at].last; --at)
                digit[at] = p.at[at].first;
        }
    }
}

/// The first character of some bytes.
struct first_character {
    int length = 0;       ///< what the decoder takes for it, if it is exact, alone or a base with its mark; else 0
    int step = 0;         ///< what get_byte_pos takes for it
    bool is_unit = false; ///< the bytes are one 16-bit unit

    first_character(const qzstr_charset_info_t& row, std::string_view bytes) {
        char in[16], out[8];
        std::memcpy(in, bytes.data(), bytes.size());
        const int size = static_cast<int>(bytes.size());
        int read = 0, written = 0, count = 0, end = -1;
        for (const int room : {4, 8}) {
            const conv_status_t status = row.qzstr_to_ucs4_fn(in, size, out, room, &read, &written, 1);
            if (written == room && (status & 2) == 0) length = read;
            if (written != 0) break;
        }
        is_unit = row.qzstr_to_ucs2_fn(in, size, out, 8, &read, &written, 1) == 0 && written == 2;
        row.qzstr_get_byte_pos_fn(in, size, 1, &read, &end, &count);
        step = end + 1;
    }
};

/// Every short input through every operation, alone and inside a longer text; rooms, counts and targets take turns.
void forms(row_run& r) {
    static constexpr std::string_view around =
        "The quick brown fox jumps over the lazy dog, twice around and back again; 0123456789.";
    std::uint64_t hash_short = 0, hash_long = 0, unlike_walk = 0, longest_walk = 0;
    bool refused[operations] = {};
    text longer(around.begin(), around.end());
    each_form(r.row, whole_run ? 1 : stride, [&](std::string_view bytes, unsigned number) {
        ++r.inputs;
        std::uint64_t hash = number;
        const auto try_one = [&](unsigned what, std::string_view input, int size, unsigned mode) {
            if (refused[what]) return;
            const outcome o = r.check.agreed({r.row, what, input, size, mode});
            refused[what] = o.count == 1 && o.numbers[0] == ERROR_NOT_IMPLEMENTED;
            if (!refused[what]) hash = hash * 31 + o.hash();
        };
        const unsigned mode = number % 512;
        const int room = static_cast<int>(number % 9);
        for (unsigned what = to_ucs2; what < operations; ++what)
            if (what != cell) try_one(what, bytes, what == byte_pos || what == width ? 1 : 16, mode);
        for (const unsigned to : {unsigned{QZSTR_CHARSET_ASCII}, unsigned{QZSTR_CHARSET_UTF16}})
            try_one(cell, bytes, 16, to * 8), try_one(cell, bytes, room, to * 8);
        try_one(cell, bytes, 16, number % QZSTR_CHARSET_MAX * 8);
        for (const unsigned what : {to_ucs2, to_ucs4})
            r.check.resumes({r.row, what, bytes, room, mode});
        try_one(byte_pos, bytes, room, 0), try_one(width, bytes, room, 0);
        if (bytes.size() < 4 || number % 16 == 0) { // where a vector, or the text, ends inside it
            static constexpr std::size_t borders[] = {16, 32, 64, 64, around.size()};
            const std::size_t at = std::min(borders[number / 5 % 5] - number % 5, around.size() - bytes.size());
            bytes.copy(longer.data() + at, bytes.size());
            for (const unsigned what : {to_ucs2, to_ucs4, cell, count_char, byte_pos, width, change_case})
                try_one(what, view(longer), what == byte_pos || what == width ? 58 + 3 * room : 400, mode);
            around.copy(longer.data() + at, bytes.size(), at);
        }
        const first_character first(r.exact(), bytes);
        unlike_walk += first.length > 0 && first.length != first.step;
        longest_walk = std::max<std::uint64_t>(longest_walk, static_cast<unsigned>(first.step));
        hash_long += hash;
        if (number % stride == 0) hash_short += hash;
    });
    r.found[forms_short] = hash_short;
    if (whole_run) r.found[forms_long] = hash_long, r.found[walks] = unlike_walk, r.found[longest_step] = longest_walk;
}

/// Every code point alone: with every room, and back.
void encode(row_run& r) {
    std::uint64_t hash = 0, count = 0, back_otherwise = 0, most = 0;
    unit one;
    for (char32_t c = 0; c < 0x110000; ++c, ++r.inputs)
        for (const unsigned what : {from_ucs2, from_ucs4}) {
            if (what == from_ucs2 && c > 0xFFFF) continue;
            trial t{r.row, what, one.of(c, what == from_ucs2 ? 2 : 4), 16, 1};
            outcome o = r.check.run(levels()[0], t);
            hash = hash * 31 + o.hash();
            if (o.numbers[0] != 0) continue;
            char bytes[16];
            const std::string_view expected(bytes, o.bytes.copy(bytes, sizeof bytes));
            // It is written whole or not begun; some rows ask for one byte more than they write.
            const int size = static_cast<int>(expected.size());
            bool fits = false;
            for (t.size = 0; t.size <= size + 1 && (whole_run || c < 0x10000 || c % 64 == 0); ++t.size) {
                t.mode = 1 | (c & 4);
                o = r.check.run(levels().back(), t);
                const bool all = o.numbers[0] == 0 && o.bytes == expected;
                const bool nothing = o.numbers[0] == 1 && o.numbers[1] == 0 && o.bytes.empty();
                const bool unclosed =
                    r.row == QZSTR_CHARSET_ISO2022KR && o.bytes == expected.substr(0, expected.size() - 1);
                const bool right = t.size < size ? nothing || unclosed : all || (nothing && !fits && t.size == size);
                r.check.hold(right, t, "room", o);
                fits = all;
                if (c < 0x10000) hash = hash * 31 + all;
            }
            if (what == from_ucs2) continue;
            ++count, most = std::max<std::uint64_t>(most, expected.size());
            o = r.check.run(levels()[0], {r.row, to_ucs4, expected, 16, 1});
            back_otherwise += o.numbers[0] != 0 || o.bytes != t.input;
        }
    r.found[characters] = count, r.found[one_way] = back_otherwise, r.found[encoded] = hash, r.found[longest] = most;
}

/// Every sequence that decodes exactly, in the order of the forms; of those beyond the BMP some in a short run. If only
/// `simple` ones, then such as are one 16-bit unit and one step of get_byte_pos.
text repertoire(int row, bool simple) {
    text all;
    if (row == QZSTR_CHARSET_ISO2022KR) { // has state: one text from another row's
        const text from = repertoire(QZSTR_CHARSET_EUCKR, simple);
        const arena large(1 << 18, 1 << 18);
        const trial shifted{QZSTR_CHARSET_EUCKR, cell, view(from), 1 << 18, QZSTR_CHARSET_ISO2022KR * 8};
        append(all, large.run(levels()[0].catalogue, shifted).bytes);
        return all;
    }
    each_form(row, 1, [&](std::string_view bytes, unsigned number) {
        const first_character first(levels()[0].catalogue[row], bytes);
        if (bytes.empty() || first.length != static_cast<int>(bytes.size())) return;
        const bool beyond_bmp = bytes.size() == 4 && row != QZSTR_CHARSET_EUCTW;
        if (beyond_bmp && (simple || (!whole_run && number % 64 != 0))) return;
        if (!simple || (first.is_unit && first.length == first.step)) append(all, bytes);
    });
    return all;
}

/// The bytes of a trial made in pieces of the source, or of the target, each going on where the one before it stopped.
text in_pieces(const arena& a, const trial& t, std::size_t source, int target) {
    text all;
    for (std::size_t at = 0; at < t.input.size();) {
        const outcome o = a.run(levels().back().catalogue, {t.row, t.what, t.input.substr(at, source), target, t.mode});
        append(all, o.bytes);
        if (o.numbers[1] <= 0) break;
        at += static_cast<std::size_t>(o.numbers[1]);
    }
    return all;
}

/// Every cell over the whole repertoire: at every level, in pieces, and beside the two stages of a pivot.
void cells(row_run& r) {
    const std::size_t large = std::size_t{1} << (whole_run ? 25 : 22);
    const int ample = static_cast<int>(large);
    judge check(large, large);
    const arena stages(large, large), pieces;
    const text source = repertoire(r.row, false), simple_source = repertoire(r.row, true);
    text units[2];
    for (const unsigned what : {to_ucs2, to_ucs4}) {
        append(units[what], stages.run(levels()[0].catalogue, {r.row, what, view(source), ample, 1}).bytes);
        for (std::size_t shift = 0; shift < (whole_run ? 64 : 5); ++shift) { // at every place of a vector
            text shifted(shift * 2, ' ');
            append(shifted, view(source));
            check.agreed({r.row, what, view(shifted), ample, shift % 2 == 0});
            check.agreed({r.row, what + 2, view(units[what]).substr(0, units[what].size() - 4 * shift), ample, 1});
        }
    }
    std::uint64_t hash = 0, exact = 0;
    for (unsigned to = 0; to < QZSTR_CHARSET_MAX; ++to, ++r.inputs) {
        const trial whole{r.row, cell, view(source), ample, to * 8 + 1};
        const outcome o = check.agreed(whole);
        hash = hash * 31 + o.hash();
        // In pieces, where all is read; a closing shift would come once a piece, and one cell leaves its target alone.
        const bool shifts = r.row == QZSTR_CHARSET_ISO2022KR || to == QZSTR_CHARSET_ISO2022KR;
        const bool leaves = r.row == QZSTR_CHARSET_ASCII && to == QZSTR_CHARSET_US8ICL;
        if (o.numbers[1] == static_cast<int>(source.size()) && !shifts && !leaves)
            for (const std::size_t size : {61, 1000})
                check.hold(view(in_pieces(pieces, whole, size, 1 << 15)) == o.bytes, whole, "pieces", o);
        const auto convert = levels()[0].catalogue[r.row].qzstr_get_another_charset_str_fn[to];
        for (const unsigned form : {0, 1}) {
            const char* const pivot = form == 0 ? "qzstr_convert_through_ucs2" : "qzstr_convert_through_ucs4";
            if (reinterpret_cast<void*>(convert) != dlsym(levels()[0].module, pivot)) continue;
            const trial second{static_cast<int>(to), from_ucs2 + form, view(units[form]), ample, 1};
            check.hold(stages.run(levels()[0].catalogue, second).bytes == o.bytes, whole, "one pass", o);
        }
        const trial simple{r.row, cell, view(simple_source), ample, to * 8 + 1};
        exact += view(in_pieces(pieces, simple, 500, 101)) == check.agreed(simple).bytes;
    }
    r.check.calls += check.calls, r.check.findings += check.findings;
    r.found[resumable] = exact, r.found[whole_run ? cells_long : cells_short] = hash;
}

/// Characters of a row as bytes, in the order of their code points: all of the BMP and some of what lies beyond.
struct alphabet {
    text bytes;
    std::vector<std::size_t> start{0};

    explicit alphabet(int row) {
        const arena a(64, 64);
        unit one;
        for (char32_t c = 1; c < 0x110000; c += c < 0x10000 ? 1 : 31) {
            const outcome o = a.run(levels()[0].catalogue, {row, from_ucs4, one.of(c, 4), 16, 1});
            if (o.numbers[0] == 0) append(bytes, o.bytes), start.push_back(bytes.size());
        }
    }
    std::size_t size() const { return start.size() - 1; }
    std::string_view at(std::size_t i) const { return view(bytes).substr(start[i], start[i + 1] - start[i]); }

    /// About n bytes: characters (all kinds, or neighbours such as a script), ASCII and stray bytes in proportions that vary
    /// from text to text.
    text make(std::size_t n, random_numbers& random) const {
        const unsigned ascii = random(101), stray = random(3) == 0 ? random(12) : 0;
        const std::size_t first = random(std::max<std::size_t>(size() >> random(12), 1));
        const std::size_t span = random(3) == 0 ? 1 + random(300) : size();
        const std::size_t past = std::min(first + span, size());
        text made;
        while (made.size() < n) {
            if (random(100) < stray)
                made.push_back(static_cast<char>(random(256)));
            else if (random(100) < ascii)
                made.push_back(static_cast<char>(' ' + random(95)));
            else
                append(made, at(first + random(past - first)));
        }
        made.resize(n);
        return made;
    }
};

/// Bytes of every kind, leads above all, into every other charset: characters that nothing ends, across blocks.
void malformed(row_run& r) {
    random_numbers random{21};
    for (unsigned to = 0; to < QZSTR_CHARSET_MAX; ++to)
        for (int round = brief ? 20 : whole_run ? 5000 : 400; round > 0; --round) {
            text made(random(200));
            const bool leads = random(2) != 0;
            for (char& b : made)
                b = static_cast<char>(random(leads ? 3 : 2) == 0 ? random(128) : 0x80 + random(128) / (leads ? 1 : 2));
            const auto size = static_cast<int>(random(2) == 0 ? made.size() * 4 + 16 : random(made.size() * 2 + 4));
            r.check.agreed({r.row, cell, view(made), size, to * 8 + static_cast<unsigned>(random(8))});
            ++r.inputs;
        }
}

/// Texts of all kinds through any operation, and every room for some of them.
std::uint64_t texts(row_run& r, const alphabet& letters, int rounds, std::uint64_t seed) {
    random_numbers random{seed};
    arena units(1 << 13, 1 << 15);
    std::uint64_t hash = 0;
    for (int round = 0; round < rounds; ++round) {
        trial t{r.row, static_cast<unsigned>(round) % operations, {}, 0, random(1 << 16)};
        text made = letters.make(random(round % 16 == 0 ? 1800 : 300), random);
        if (t.what == from_ucs2 || t.what == from_ucs4) { // units of this row's text, at times damaged
            const outcome o = units.run(levels()[0].catalogue, {r.row, t.what - 2, view(made), 1 << 15, t.mode & 1});
            made.assign(o.bytes.begin(), o.bytes.end());
        }
        if (random(8) == 0 && !made.empty()) made[random(made.size())] = static_cast<char>(random(256));
        t.input = view(made);
        const auto size = made.size();
        t.size = static_cast<int>(random(3) == 0 ? size * 4 + 16 : random(size * 2 + 4));
        hash = hash * 31 + r.check.agreed(t).hash();
        r.check.resumes(t);
        ++r.inputs;
        if (t.what > from_ucs4 || round % 25 != 0) continue;
        for (t.size = 0; t.size <= static_cast<int>(std::min<std::size_t>(size, 100)) * 4; ++t.size)
            r.check.resumes(t);
    }
    return hash;
}

/// The same work in many threads at once comes to the same.
void threads(row_run& r) {
    constexpr int count = 8;
    struct worker {
        row_run run;
        const alphabet* letters;
        std::uint64_t hash = 0;
        pthread_t id{};

        worker(int row, const alphabet& a) : run(row), letters(&a) {}
    };
    const alphabet letters(r.row);
    std::deque<worker> workers;
    for (int i = 0; i < count; ++i) {
        workers.emplace_back(r.row, letters);
        const auto work = [](void* w) -> void* {
            auto& mine = *static_cast<worker*>(w);
            mine.hash = texts(mine.run, *mine.letters, brief ? 60 : whole_run ? 3000 : 300, 99);
            mine.run.check.findings += assertions_from_data;
            return nullptr;
        };
        if (pthread_create(&workers.back().id, nullptr, work, &workers.back()) != 0) std::abort();
    }
    for (worker& w : workers) {
        pthread_join(w.id, nullptr);
        r.inputs += w.run.inputs, r.check.calls += w.run.check.calls;
        r.check.findings += w.run.check.findings + (w.hash != workers[0].hash);
    }
}

/// As many bytes as an int can say: the same six megabytes again and again.
constexpr std::size_t block = 6 << 20; // whole characters of one to four bytes
char* endless() {
    constexpr std::size_t limit = std::size_t{INT_MAX} + 1;
    const int file = memfd_create("block", 0);
    char* const at =
        static_cast<char*>(mmap(nullptr, limit + block, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
    if (file < 0 || ftruncate(file, block) != 0 || at == MAP_FAILED) std::abort();
    for (std::size_t done = 0; done < limit; done += block)
        if (mmap(at + done, block, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0) == MAP_FAILED) std::abort();
    close(file);
    return at;
}

/// Lengths of INT_MAX, of one character again and again; without the arena, which copies.
void lengths(row_run& r) {
    static char *const source = endless(), *const target = endless();
    unit one;
    std::string_view letter;
    for (const char32_t c : {0xAC00, 0x4E00, 0x61})
        if (letter.empty() || letter == "?" || letter == "\x6F")
            letter = r.check.run(levels()[0], {r.row, from_ucs4, one.of(c, 4), 4, 1}).bytes;
    for (std::size_t at = 0; at < block; at += letter.size())
        letter.copy(source + at, letter.size());
    const int size = static_cast<int>(letter.size()), whole = INT_MAX / size;
    const qzstr_charset_info_t& row = levels().back().catalogue[r.row];
    const auto expect = [&](std::initializer_list<int> expected, std::initializer_list<int> found) {
        r.check.hold(outcome(found) == outcome(expected), {r.row, to_ucs2, letter, INT_MAX, 0}, "INT_MAX", found);
        ++r.inputs, ++r.check.calls;
    };
    int a = 0, b = 0, c = 0;
    for (const int width : {2, 4}) {
        const auto decode = width == 2 ? row.qzstr_to_ucs2_fn : row.qzstr_to_ucs4_fn;
        const int status = static_cast<int>(decode(source, INT_MAX, target, INT_MAX, &a, &b, 1));
        const int fit = std::min(whole, INT_MAX / width);
        expect({fit * size < INT_MAX, fit * size, fit * width}, {status, a, b});
    }
    if (r.row >= QZSTR_CHARSET_DB_MAX) return; // counts nothing
    const int all = whole + (INT_MAX % size != 0);
    expect({all}, {row.qzstr_count_char_fn(source, INT_MAX)});
    row.qzstr_get_byte_pos_fn(source, INT_MAX, INT_MAX, &a, &b, &c);
    if (r.row != QZSTR_CHARSET_EUCTW)
        expect({whole * size - (INT_MAX % size == 0) * size, INT_MAX - 1, all}, {a, b, c});
}

/// The stack that some work takes, in bytes: what of a painted one lost its paint.
std::size_t stack_of(void (*work)(int), int argument) {
    constexpr std::size_t size = 1 << 20;
    constexpr char paint = 0x5C;
    static char* const stack =
        static_cast<char*>(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0));
    struct frame {
        void (*work)(int);
        int argument;
        char* base;
    } mine{work, argument, nullptr};
    std::memset(stack, paint, size);
    const auto start = [](void* p) -> void* {
        auto& f = *static_cast<frame*>(p);
        f.base = static_cast<char*>(__builtin_frame_address(0));
        f.work(f.argument);
        return nullptr;
    };
    pthread_attr_t attributes;
    pthread_t id{};
    pthread_attr_init(&attributes);
    pthread_attr_setstack(&attributes, stack, size);
    if (pthread_create(&id, &attributes, start, &mine) != 0) std::abort();
    pthread_join(id, nullptr);
    return static_cast<std::size_t>(mine.base - std::find_if(stack, stack + size, [](char c) { return c != paint; }));
}

/// Every conversion of a row, of a text that fills the buffers in between.
void convert_everywhere(int row) {
    static char in[1 << 16], out[1 << 18];
    std::memset(in, 0xB0, sizeof in);
    std::memset(in, 'a', sizeof in / 2);
    const auto from = static_cast<qzstr_charset_t>(row);
    for (int to = 0; to < QZSTR_CHARSET_MAX; ++to)
        for (const int room : {static_cast<int>(sizeof out), 1000}) {
            int read = 0, written = 0;
            levels().back().catalogue[row].qzstr_get_another_charset_str_fn[to](
                from, in, sizeof in - 8, static_cast<qzstr_charset_t>(to), out, room, &read, &written);
        }
}

void search(int pattern) {
    static char text[SESS_BIG_CHUNK_SIZE];
    const auto find = reinterpret_cast<decltype(&qzstr_kmp_search)>(dlsym(levels().back().module, "qzstr_kmp_search"));
    for (const uchar forward : {0, 1})
        find(text, sizeof text, text, pattern, 1, forward, 0, 1, -1, 1, nullptr, nullptr);
}

/// What docs/hazards.md promises; an unoptimised build takes more.
void stacks(row_run& r) {
    const std::size_t conversion = stack_of(convert_everywhere, r.row);
    const std::size_t short_search = stack_of(search, 100), long_search = stack_of(search, SESS_BIG_CHUNK_SIZE);
    r.inputs += 3, r.check.calls += 4;
    if (conversion <= 36000 && short_search <= 8192 && long_search <= 4 * SESS_BIG_CHUNK_SIZE + 8192) return;
    ++r.check.findings;
    std::printf("%s: %zu bytes, search %zu and %zu\n", r.exact().name, conversion, short_search, long_search);
}

// ---- The run ---------------------------------------------------------------------------------------------------------

const struct {
    const char* name;
    void (*run)(row_run&);
} parts[] = {
    {"forms", forms},
    {"encode", encode},
    {"cells", cells},
    {"texts",
     [](row_run& r) {
         texts(r, alphabet(r.row), brief ? 300 : whole_run ? 100000 : 6000, 20);
     }},
    {"malformed", malformed},
    {"threads", threads},
    {"stacks", stacks},
    {"lengths",
     [](row_run& r) {
         if (whole_run || r.row == QZSTR_CHARSET_UTF8) lengths(r);
     }},
};

/// The figures of record: a line for each row.
using record = std::array<figures, QZSTR_CHARSET_MAX>;
record read_figures() {
    record all;
    std::FILE* const file = std::fopen(FIGURES_FILE, "r");
    if (file == nullptr || std::fscanf(file, "%*[^\n]") != 0) std::abort();
    for (figures& row : all) {
        row.fill(unknown);
        if (std::fscanf(file, "%*s") != 0) break;
        for (auto& figure : row)
            if (std::fscanf(file, "%lu", &figure) != 1) break;
    }
    std::fclose(file);
    return all;
}
void write_figures(const record& all) {
    std::FILE* const file = std::fopen(FIGURES_FILE, "w");
    std::fputs("charset", file);
    for (const char* const name : column_names)
        std::fprintf(file, " %s", name);
    for (std::size_t row = 0; row < all.size(); ++row) {
        std::fprintf(file, "\n%s", levels()[0].catalogue[row].name);
        for (const auto figure : all[row])
            std::fprintf(file, " %lu", figure);
    }
    std::fputs("\n", file);
    std::fclose(file);
}

} // namespace

int main(int argc, char** argv) {
    const auto asked = [&](const char* word) {
        return std::any_of(argv + 1, argv + argc, [&](const char* a) { return std::strcmp(a, word) == 0; });
    };
    const auto named = [&](const auto& part) { return asked(part.name); };
    const bool some = std::any_of(std::begin(parts), std::end(parts), named);
    whole_run = asked("--long"), brief = asked("--brief");
    record recorded = read_figures();
    int findings = 0, compared = 0, equal = 0;
    std::printf("levels:");
    for (const level& l : levels())
        std::printf(" %s", l.name);
    std::puts("");
    for (const auto& part : parts) {
        if (some && !named(part)) continue;
        std::uint64_t inputs = 0, calls = 0;
        for (int row = 0; row < QZSTR_CHARSET_MAX; ++row) {
            row_run r(row);
            part.run(r);
            for (std::size_t c = 0; c < columns; ++c) {
                auto& expected = recorded[static_cast<std::size_t>(row)][c];
                if (r.found[c] == unknown) continue;
                ++compared, equal += r.found[c] == expected;
                if (r.found[c] == expected) continue;
                if (asked("--record"))
                    expected = r.found[c];
                else
                    ++findings,
                        std::printf("%s: %s is %lu, was %lu\n", r.exact().name, column_names[c], r.found[c], expected);
            }
            inputs += r.inputs, calls += r.check.calls, findings += r.check.findings;
        }
        std::printf("%-8s %13lu inputs %14lu calls\n", part.name, inputs, calls);
        std::fflush(stdout);
    }
    findings += assertions_from_data;
    if (asked("--record")) write_figures(recorded);
    std::printf("%d findings, %d of %d figures as recorded\n", findings, equal, compared);
    return findings == 0 ? 0 : 1;
}
