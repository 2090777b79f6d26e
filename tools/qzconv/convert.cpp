#include "blocks.h"
#include "catalogue.h"
#include "commands.h"
#include "failure.h"
#include "progress.h"
#include "reader.h"
#include "streams.h"

#include <chrono>
#include <cstdio>
#include <fmt/core.h>
#include <nlohmann/json.hpp>

namespace qzconv {

namespace {

struct Options {
    std::string from, to, output = "-";
    std::vector<std::string> inputs;
    bool json = false, quiet = false;
    std::size_t block_size = 256 * 1024;
};

struct Totals {
    std::uint64_t read = 0, written = 0, characters = 0, replacements = 0, truncated = 0;
    bool malformed = false;

    int exit_code() const {
        if (malformed || truncated != 0) return ExitCode::malformed;
        return replacements != 0 ? with_replacements : exact;
    }
};

void convert_file(const Options& options, qzstr_charset_t from, qzstr_charset_t to, const std::string& path,
                  Output& output, Totals& totals, Progress& progress) {
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
}

void print_summary(const Options& options, const Totals& totals, double seconds) {
    if (options.json) {
        const nlohmann::ordered_json summary = {
            {"from", options.from},
            {"to", options.to},
            {"bytes_read", totals.read},
            {"bytes_written", totals.written},
            {"characters", totals.characters},
            {"replacements", totals.replacements},
            {"malformed", totals.malformed},
            {"truncated_tail_bytes", totals.truncated},
            {"seconds", seconds},
            {"exit_code", totals.exit_code()},
        };
        fmt::print(stderr, "{}\n", summary.dump());
        return;
    }
    fmt::print(stderr, "qzconv: {} bytes ({} characters) to {} bytes", totals.read, totals.characters, totals.written);
    if (totals.replacements != 0) fmt::print(stderr, ", {} replaced", totals.replacements);
    if (totals.malformed) fmt::print(stderr, ", malformed {} text", options.from);
    if (totals.truncated != 0) fmt::print(stderr, ", {} bytes of an incomplete character at the end", totals.truncated);
    fmt::print(stderr, "\n");
}

int run(const Options& options) {
    const qzstr_charset_t from = charset_named(options.from), to = charset_named(options.to);
    const std::uint64_t expected = require_readable(options.inputs);

    const auto start = std::chrono::steady_clock::now();
    Totals totals;
    {
        Output output(options.output);
        Progress progress(expected, !options.quiet);
        for (const std::string& path : options.inputs)
            convert_file(options, from, to, path, output, totals, progress);
        output.commit();
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    if (!options.quiet) print_summary(options, totals, seconds.count());
    return totals.exit_code();
}

} // namespace

void add_convert(CLI::App& app, int& exit_code) {
    CLI::App* command = app.add_subcommand("convert", "Convert files or standard input");
    auto options = std::make_shared<Options>();
    command->add_option("-f,--from", options->from, "Charset of the text")->required();
    command->add_option("-t,--to", options->to, "Charset to convert into")->required();
    command->add_option("-o,--output", options->output,
                        "File to write, replaced when all is done (default: standard output)");
    command->add_flag("--json", options->json, "Print the summary as JSON, on standard error");
    command->add_flag("-q,--quiet", options->quiet, "No summary and no progress bar");
    command->add_option("--block-size", options->block_size, "Bytes read at a time")
        ->check(CLI::Range(std::size_t{1}, std::size_t{64} << 20))
        ->group("");
    command->add_option("FILE", options->inputs, "Files, converted one after the other (- or none: standard input)");
    command->footer(
        "\"Replaced\" counts the replacement characters (\"?\" or U+FFFD) that the result has and the text has not.");
    command->callback([options, &exit_code] {
        if (options->inputs.empty()) options->inputs = {"-"};
        exit_code = run(*options);
    });
}

} // namespace qzconv
