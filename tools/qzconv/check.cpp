#include "catalogue.h"
#include "commands.h"
#include "failure.h"
#include "reader.h"

#include <fmt/core.h>
#include <nlohmann/json.hpp>
#include <scan.h>

namespace qzconv {

namespace {

struct Options {
    std::string from, to;
    std::vector<std::string> inputs;
    bool json = false;
};

void print(const nlohmann::ordered_json& object) {
    fmt::print("{}\n", object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
}

void print_finding(const Options& options, const std::string& name, const qzscan::Finding& finding) {
    const auto& [offset, character, line, column] = finding.place;
    if (options.json)
        print({{"file", name},
               {"offset", offset},
               {"character", character},
               {"line", line},
               {"column", column},
               {"bytes", qzscan::hex(finding.bytes)},
               {"reason", name_of(finding.reason)}});
    else
        fmt::print("{}:{}:{}: byte {}, character {}: {}: {}\n", name, line, column, offset, character,
                   qzscan::hex(finding.bytes, " "), name_of(finding.reason));
}

void print_totals(const Options& options, const std::string& name, const qzscan::Scanner& scanner) {
    const qzscan::Totals& totals = scanner.totals();
    const std::uint64_t characters = scanner.place().character - 1;
    if (options.json)
        print({{"file", name},
               {"from", options.from},
               {"to", options.to},
               {"bytes", scanner.place().offset},
               {"characters", characters},
               {"bad", totals.bad},
               {"truncated", totals.truncated},
               {"unmappable", totals.unmappable},
               {"altered", totals.altered},
               {"round_trip_exact", totals.round_trip_exact}});
    else
        fmt::print("{}: {} bytes, {} characters: {} bad, {} truncated, {} unmappable, {} altered; round trip {}\n",
                   name, scanner.place().offset, characters, totals.bad, totals.truncated, totals.unmappable,
                   totals.altered, totals.round_trip_exact ? "exact" : "not exact");
}

int check_file(const Options& options, qzstr_charset_t from, qzstr_charset_t to, const std::string& path) {
    Input input(path);
    Reader reader(input, 256 * 1024);
    qzscan::Scanner scanner(from, to);
    while (reader.fill())
        while (const std::size_t length = scanner.step(reader.text(), reader.at_end())) {
            for (const qzscan::Finding& finding : scanner.findings)
                print_finding(options, input.name(), finding);
            scanner.findings.clear();
            reader.consume(length);
        }
    print_totals(options, input.name(), scanner);
    const qzscan::Totals& totals = scanner.totals();
    if (totals.bad + totals.truncated != 0) return malformed;
    return totals.all() != 0 || !totals.round_trip_exact ? with_replacements : exact;
}

} // namespace

void add_check(CLI::App& app, int& exit_code) {
    CLI::App* command = app.add_subcommand("check", "Report what a move to another charset would not keep");
    auto options = std::make_shared<Options>();
    command->add_option("-f,--from", options->from, "Charset of the text")->required();
    command->add_option("-t,--to", options->to, "Charset to move to")->required();
    command->add_flag("--json", options->json, "One JSON object a line: the findings of each file, then its totals");
    command->add_option("FILE", options->inputs, "Files (- or none: standard input)");
    command->footer(
        "Bad: not defined in the charset of the text. Truncated: the text ends inside a character. Unmappable: "
        "becomes a replacement. Altered: becomes a character that does not lead back.");
    command->callback([options, &exit_code] {
        if (options->inputs.empty()) options->inputs = {"-"};
        const qzstr_charset_t from = charset_named(options->from), to = charset_named(options->to);
        require_readable(options->inputs);
        for (const std::string& path : options->inputs)
            exit_code = std::max(exit_code, check_file(*options, from, to, path));
    });
}

} // namespace qzconv
