#include "blocks.h"
#include "catalogue.h"
#include "commands.h"
#include "failure.h"
#include "progress.h"
#include "reader.h"
#include "streams.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fmt/core.h>
#include <nlohmann/json.hpp>
#include <set>
#include <thread>

namespace qzconv {

namespace {

namespace fs = std::filesystem;

struct Options {
    std::string from, to, output = "-";
    std::vector<std::string> inputs;
    bool json = false, quiet = false;
    std::size_t block_size = 256 * 1024, jobs = 1;
};

struct Totals {
    std::uint64_t read = 0, written = 0, characters = 0, replacements = 0, truncated = 0;
    bool malformed = false;

    void add(const Totals& other) {
        read += other.read;
        written += other.written;
        characters += other.characters;
        replacements += other.replacements;
        truncated += other.truncated;
        malformed |= other.malformed;
    }

    int exit_code() const {
        if (malformed || truncated != 0) return ExitCode::malformed;
        return replacements != 0 ? with_replacements : exact;
    }
};

/// A file that is written to a file of its own.
struct Job {
    std::string input, output;
    Totals totals;
    bool failed = false;
};

struct Outcome {
    Totals totals;
    std::vector<Job> jobs; // none when all goes into one output
    bool failed = false;

    int exit_code() const { return failed ? ExitCode::failed : totals.exit_code(); }
};

Totals convert_file(const Options& options, qzstr_charset_t from, qzstr_charset_t to, const std::string& path,
                    Output& output, Progress& progress) {
    Totals totals;
    Input input(path);
    Reader reader(input, options.block_size);
    BlockConverter converter(from, to, !options.quiet);
    while (reader.fill()) {
        const Block block = converter.convert(reader.text(), reader.at_end());
        output.write(block.output);
        if (reader.at_end()) totals.truncated += reader.text().size() - block.consumed;
        totals.read += reader.at_end() ? reader.text().size() : block.consumed;
        totals.written += block.output.size();
        totals.characters += block.characters;
        totals.replacements += block.replacements;
        totals.malformed |= block.malformed;
        reader.consume(block.consumed);
        progress.advance(block.consumed);
    }
    return totals;
}

/// Runs work(0) to work(count - 1), several at once.
template <class Work>
void run_at_once(std::size_t threads, std::size_t count, Work work) {
    std::atomic<std::size_t> next = 0;
    const auto take = [&] {
        for (std::size_t i = next++; i < count; i = next++)
            work(i);
    };
    std::vector<std::jthread> others(std::min(threads, count) - 1);
    for (std::jthread& thread : others)
        thread = std::jthread([&] {
            leave_on_library_errors();
            take();
        });
    take();
}

/// Every input under its own name in the directory.
std::vector<Job> jobs_into(const std::string& directory, const std::vector<std::string>& inputs) {
    std::vector<Job> jobs;
    std::set<std::string> names;
    for (const std::string& input : inputs) {
        const std::string name = fs::path(input).filename().string();
        if (input == "-") throw Failure("standard input has no name for a file in " + directory);
        const std::string output = (fs::path(directory) / name).string();
        if (!names.insert(name).second) throw Failure("several files would become " + output);
        jobs.push_back({input, output, {}, false});
    }
    return jobs;
}

Outcome convert_into_directory(const Options& options, qzstr_charset_t from, qzstr_charset_t to, Progress& progress) {
    Outcome outcome;
    outcome.jobs = jobs_into(options.output, options.inputs);
    const std::size_t threads = options.jobs != 0 ? options.jobs : std::max(1u, std::thread::hardware_concurrency());
    run_at_once(std::min(threads, most_outputs), outcome.jobs.size(), [&](std::size_t i) {
        Job& job = outcome.jobs[i];
        try {
            Output output(job.output);
            job.totals = convert_file(options, from, to, job.input, output, progress);
            output.commit();
        } catch (const std::exception& error) {
            fmt::print(stderr, "qzconv: {}\n", error.what());
            job.failed = true;
        }
    });
    for (const Job& job : outcome.jobs) {
        outcome.failed |= job.failed;
        if (!job.failed) outcome.totals.add(job.totals);
    }
    return outcome;
}

Outcome convert_into_one(const Options& options, qzstr_charset_t from, qzstr_charset_t to, Progress& progress) {
    if (options.jobs != 1) throw Failure("--jobs needs a directory to write to: -o DIRECTORY");
    Outcome outcome;
    Output output(options.output);
    for (const std::string& path : options.inputs)
        outcome.totals.add(convert_file(options, from, to, path, output, progress));
    output.commit();
    return outcome;
}

nlohmann::ordered_json to_json(const Totals& totals) {
    return {
        {"bytes_read", totals.read},       {"bytes_written", totals.written},
        {"characters", totals.characters}, {"replacements", totals.replacements},
        {"malformed", totals.malformed},   {"truncated_tail_bytes", totals.truncated},
    };
}

void print_json(const Options& options, const Outcome& outcome, double seconds) {
    nlohmann::ordered_json summary = {{"from", options.from}, {"to", options.to}};
    summary.update(to_json(outcome.totals));
    summary["seconds"] = seconds;
    summary["exit_code"] = outcome.exit_code();
    for (const Job& job : outcome.jobs) {
        nlohmann::ordered_json file = {{"file", job.input}, {"output", job.output}, {"failed", job.failed}};
        if (!job.failed) file.update(to_json(job.totals));
        summary["files"].push_back(file);
    }
    // File names are bytes, which need not be text.
    fmt::print(stderr, "{}\n", summary.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
}

void print_line(const Options& options, const std::string& what, const Totals& totals) {
    fmt::print(stderr, "qzconv: {}{} bytes ({} characters) to {} bytes", what, totals.read, totals.characters,
               totals.written);
    if (totals.replacements != 0) fmt::print(stderr, ", {} replaced", totals.replacements);
    if (totals.malformed) fmt::print(stderr, ", malformed {} text", options.from);
    if (totals.truncated != 0) fmt::print(stderr, ", {} bytes of an incomplete character at the end", totals.truncated);
    fmt::print(stderr, "\n");
}

void print_summary(const Options& options, const Outcome& outcome) {
    for (const Job& job : outcome.jobs)
        if (!job.failed && job.totals.exit_code() != exact) print_line(options, job.input + ": ", job.totals);
    const auto files = std::ranges::count(outcome.jobs, false, &Job::failed);
    print_line(options, outcome.jobs.empty() ? "" : fmt::format("{} files, ", files), outcome.totals);
}

int run(const Options& options) {
    const qzstr_charset_t from = charset_named(options.from), to = charset_named(options.to);
    const std::uint64_t expected = require_readable(options.inputs);

    const auto start = std::chrono::steady_clock::now();
    Outcome outcome;
    {
        Progress progress(expected, !options.quiet);
        const bool into_directory = fs::is_directory(options.output);
        outcome = (into_directory ? convert_into_directory : convert_into_one)(options, from, to, progress);
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    if (options.json && !options.quiet)
        print_json(options, outcome, seconds.count());
    else if (!options.quiet)
        print_summary(options, outcome);
    return outcome.exit_code();
}

} // namespace

void add_convert(CLI::App& app, int& exit_code) {
    CLI::App* command = app.add_subcommand("convert", "Convert files or standard input");
    auto options = std::make_shared<Options>();
    command->add_option("-f,--from", options->from, "Charset of the text")->required();
    command->add_option("-t,--to", options->to, "Charset to convert into")->required();
    command->add_option("-o,--output", options->output,
                        "File to write, replaced when all is done (default: standard output), or a directory that "
                        "gets a file of the same name for every FILE");
    command->add_option("-j,--jobs", options->jobs,
                        "Files converted at once into a directory (0: one for every processor)");
    command->add_flag("--json", options->json, "Print the summary as JSON, on standard error");
    command->add_flag("-q,--quiet", options->quiet, "No summary and no progress bar");
    command->add_option("--block-size", options->block_size, "Bytes read at a time")
        ->check(CLI::Range(std::size_t{1}, std::size_t{64} << 20))
        ->group("");
    command->add_option("FILE", options->inputs, "Files, one after the other (- or none: standard input)");
    command->footer(
        "\"Replaced\" counts the replacement characters (\"?\" or U+FFFD) that the result has and the text has not.");
    command->callback([options, &exit_code] {
        if (options->inputs.empty()) options->inputs = {"-"};
        exit_code = run(*options);
    });
}

} // namespace qzconv
