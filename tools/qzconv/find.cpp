#include "catalogue.h"
#include "commands.h"
#include "failure.h"
#include "slices.h"

#include <algorithm>
#include <fmt/core.h>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <scan.h>

namespace qzconv {

namespace {

/// The longest that both searches take.
constexpr std::size_t longest_pattern = SESS_BIG_CHUNK_SIZE / unit_size;
static_assert(longest_pattern <= slice_units);

struct Options {
    std::string charset, pattern, escape;
    std::vector<std::string> inputs;
    std::uint64_t nth = 0; ///< 0: all
    bool like = false, overlap = false, backward = false, count = false, json = false;
};

std::string units_of(const std::string& utf8, const char* what) {
    if (utf8.empty()) throw Failure(fmt::format("{} is empty", what));
    qzscan::Buffer there, back;
    const qzscan::Converted units = qzscan::convert(QZSTR_CHARSET_UTF8, QZSTR_CHARSET_UTF16, utf8, there);
    // A form that the text ends inside shows only by not coming back.
    if (units.status != 0 ||
        qzscan::convert(QZSTR_CHARSET_UTF16, QZSTR_CHARSET_UTF8, units.output, back).output != utf8)
        throw Failure(fmt::format("{} is not UTF-8", what));
    return std::string(units.output);
}

/// A character beyond the Basic Multilingual Plane, as a surrogate pair, comes back from text of the charset.
bool can_hold(qzstr_charset_t charset, std::string_view pair) {
    qzscan::Buffer there, back;
    const std::string_view text = qzscan::convert(QZSTR_CHARSET_UTF16, charset, pair, there).output;
    return qzscan::convert(charset, QZSTR_CHARSET_UTF16, text, back).output == pair;
}

class Pattern {
public:
    Pattern(const Options& options, qzstr_charset_t charset) : like_(options.like) {
        units_ = units_of(options.pattern, "the pattern");
        if (!options.escape.empty()) {
            escape_ = units_of(options.escape, "the escape character");
            if (unit_count(escape_) != 1) throw Failure("--escape takes one character, none beyond U+FFFF");
        }
        if (unit_count(units_) > longest_pattern)
            throw Failure(fmt::format("the pattern is longer than {} characters", longest_pattern));
        measure();
        require_pairs_of(charset);
    }

    /// Units of text in an occurrence.
    std::size_t length() const { return length_; }
    bool has_pairs() const { return has_pairs_; }

    /// Appends where in the text the pattern occurs, from the text's end when `backward`. Overlapping occurrences are
    /// all there: which of them count depends on what was found in other slices.
    void occurrences(std::string_view text, bool backward, std::vector<int>& at) const {
        char* const source = const_cast<char*>(text.data()); // the interface has no const
        char* const pattern = const_cast<char*>(units_.data());
        const int source_size = static_cast<int>(text.size()), pattern_size = static_cast<int>(units_.size());
        const uchar forward = !backward;
        int count = 0;
        at.resize(unit_count(text));
        const int room = static_cast<int>(at.size());
        if (like_)
            qzstr_naive_search_with_wc(source, source_size, pattern, pattern_size, const_cast<char*>(escape_.data()),
                                       static_cast<int>(escape_.size()), unit_size, forward, 0, 1, room, 1, &count,
                                       at.data(), nullptr);
        else
            qzstr_kmp_search(source, source_size, pattern, pattern_size, unit_size, forward, 0, 1, room, 1, &count,
                             at.data());
        at.resize(static_cast<std::size_t>(count));
    }

private:
    void measure() {
        for (std::size_t index = 0; index < unit_count(units_); ++index, ++length_) {
            if (escape_.empty() || unit_at(units_, index) != unit_at(escape_, 0)) continue;
            if (++index == unit_count(units_)) throw Failure("the pattern ends in the escape character");
        }
    }

    void require_pairs_of(qzstr_charset_t charset) {
        for (std::size_t index = 0; index + 1 < unit_count(units_); ++index) {
            const unsigned high = unit_at(units_, index), low = unit_at(units_, index + 1);
            if (!is_high_surrogate(high) || !is_low_surrogate(low)) continue;
            has_pairs_ = true;
            if (!can_hold(charset, std::string_view(units_).substr(index * unit_size, 2 * unit_size)))
                throw Failure(fmt::format("{} text cannot hold U+{:04X}", info(charset).name,
                                          0x10000 + ((high & 0x3FF) << 10 | (low & 0x3FF))));
        }
    }

    std::string units_, escape_;
    std::size_t length_ = 0;
    bool like_, has_pairs_ = false;
};

/// Prints as it goes: a text may have more occurrences than memory can hold.
class Report {
public:
    explicit Report(const Options& options) : json_(options.json), with_names_(options.inputs.size() > 1) {}

    void add(const std::string& file, const Place& place) {
        const std::uint64_t character = place.offset - place.line_start + 1;
        if (json_)
            print({{"file", file}, {"line", place.line}, {"character", character}, {"offset", place.offset}});
        else
            fmt::print("{}{}:{}:{}\n", label(file), place.line, character, place.offset);
    }

    void add(const std::string& file, std::uint64_t count) {
        if (json_)
            print({{"file", file}, {"count", count}});
        else
            fmt::print("{}{}\n", label(file), count);
    }

    void finish() {
        if (json_) fmt::print("{}\n", empty_ ? "[]" : "\n]");
    }

private:
    std::string label(const std::string& file) const { return with_names_ ? file + ":" : ""; }

    void print(const nlohmann::ordered_json& row) {
        using nlohmann::json;
        fmt::print("{}\n  {}", empty_ ? "[" : ",", row.dump(-1, ' ', false, json::error_handler_t::replace));
        empty_ = false;
    }

    bool json_, with_names_, empty_ = true;
};

/// The search of one text, slice by slice in the order of the search.
class Search {
public:
    Search(const Options& options, const Pattern& pattern, bool backward)
        : options_(options), pattern_(pattern), backward_(backward) {}

    /// Units of the slice, from its beginning, where an occurrence that is asked for begins; in the order of the search.
    const std::vector<int>& find(const Slice& slice) {
        pattern_.occurrences(slice.units, backward_, found_);
        auto kept = found_.begin();
        for (const int at : found_) {
            if (!counts(slice.first + static_cast<std::uint64_t>(at))) continue;
            count_ += 1;
            if (options_.nth == 0 || count_ == options_.nth) *kept++ = at;
        }
        found_.erase(kept, found_.end());
        return found_;
    }

    std::uint64_t count() const { return count_; }
    bool done() const { return options_.nth != 0 && count_ >= options_.nth; }

private:
    /// Overlaps none that counted before.
    bool counts(std::uint64_t begin) {
        if (options_.overlap) return true;
        const std::uint64_t end = begin + pattern_.length();
        if (backward_ ? end > free_until_ : begin < free_from_) return false;
        free_until_ = begin;
        free_from_ = end;
        return true;
    }

    const Options& options_;
    const Pattern& pattern_;
    bool backward_;
    std::uint64_t count_ = 0, free_from_ = 0, free_until_ = std::numeric_limits<std::uint64_t>::max();
    std::vector<int> found_;
};

/// Moves `place` from the slice's start to its end; the places of the units in `found`, which are in ascending order.
std::vector<Place> locate(const Slice& slice, const std::vector<int>& found, Place& place) {
    std::vector<Place> places;
    auto wanted = found.begin();
    for (std::size_t index = 0; index < slice.own; ++index) {
        const unsigned unit = unit_at(slice.units, index);
        if (wanted != found.end() && static_cast<std::size_t>(*wanted) == index) {
            places.push_back(place.of(unit));
            ++wanted;
        }
        place.pass(unit);
    }
    return places;
}

/// The number is the same in both directions: as many occurrences fit beside each other from the left as from the right.
bool count(const Options& options, const Pattern& pattern, Decoder& decoder, Report& report) {
    Search search(options, pattern, false);
    Slices slices(decoder, pattern.length() - 1);
    for (Slice slice; slices.next(slice);)
        search.find(slice);
    report.add(decoder.name(), search.count());
    return search.count() != 0;
}

bool find_forward(const Options& options, const Pattern& pattern, Decoder& decoder, Report& report) {
    Search search(options, pattern, false);
    Slices slices(decoder, pattern.length() - 1);
    bool any = false;
    Place place;
    for (Slice slice; !search.done() && slices.next(slice);)
        for (const Place& occurrence : locate(slice, search.find(slice), place)) {
            report.add(decoder.name(), occurrence);
            any = true;
        }
    return any;
}

bool find_backward(const Options& options, const Pattern& pattern, Decoder& decoder, Report& report) {
    Search search(options, pattern, true);
    BackwardSlices slices(decoder, pattern.length() - 1);
    bool any = false;
    for (Slice slice; !search.done() && slices.next(slice);) {
        std::vector<int> found = search.find(slice);
        std::reverse(found.begin(), found.end());
        const std::vector<Place> places = locate(slice, found, slice.start);
        for (auto occurrence = places.rbegin(); occurrence != places.rend(); ++occurrence) {
            report.add(decoder.name(), *occurrence);
            any = true;
        }
    }
    return any;
}

int run(const Options& options) {
    constexpr int found = 0, not_found = 1;
    const qzstr_charset_t charset = charset_named(options.charset);
    const Pattern pattern(options, charset);
    require_readable(options.inputs);

    Report report(options);
    bool any = false;
    const auto search = options.count ? count : options.backward ? find_backward : find_forward;
    for (const std::string& path : options.inputs) {
        Decoder decoder(path, charset, pattern.has_pairs());
        any |= search(options, pattern, decoder, report);
    }
    report.finish();
    return any ? found : not_found;
}

} // namespace

void add_find(CLI::App& app, int& exit_code) {
    CLI::App* command = app.add_subcommand("find", "Search texts: line, character in the line, offset in the text");
    auto options = std::make_shared<Options>();
    command->add_option("-f,--from", options->charset, "Charset of the text")->required();
    CLI::Option* nth = command->add_option("--nth", options->nth, "Only the N-th occurrence of each text")
                           ->check(CLI::Range(std::uint64_t{1}, std::numeric_limits<std::uint64_t>::max()));
    command->add_flag("--backward", options->backward, "Search from the end (by way of a temporary file)");
    command->add_flag("--overlap", options->overlap, "Occurrences may overlap");
    CLI::Option* like = command->add_flag("--like", options->like, "\"_\" in the pattern stands for any UTF-16 unit");
    command->add_option("--escape", options->escape, "Takes the character behind this one as it is")->needs(like);
    command->add_flag("--count", options->count, "Print only how many there are")->excludes(nth);
    command->add_flag("--json", options->json, "Print the result as JSON");
    command->add_option("PATTERN", options->pattern, "What to search, in UTF-8")->required();
    command->add_option("FILE", options->inputs, "Files (- or none: standard input)");
    command->footer("Lines and characters in a line count from 1, offsets from 0, in characters.\n"
                    "Exit codes: 0 found, 1 not found, 3 usage or input/output.");
    command->callback([options, &exit_code] {
        if (options->inputs.empty()) options->inputs = {"-"};
        exit_code = run(*options);
    });
}

} // namespace qzconv
