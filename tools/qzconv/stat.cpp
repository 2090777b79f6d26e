#include "blocks.h"
#include "catalogue.h"
#include "commands.h"
#include "failure.h"
#include "reader.h"

#include <algorithm>
#include <climits>
#include <fmt/core.h>
#include <nlohmann/json.hpp>

namespace qzconv {

namespace {

/// Measures text that arrives block by block. A block ends between characters.
class Measure {
public:
    explicit Measure(qzstr_charset_t charset) : charset_(charset) {}

    void add(std::string_view text) {
        while (!text.empty()) {
            const std::size_t end = std::min(find_line_feed(charset_, text), text.size());
            const std::string_view line = text.substr(0, end);
            add_columns(line);
            characters += count_characters(charset_, line);
            if (end == text.size()) break;
            text.remove_prefix(end + line_feed(charset_).size());
            characters += 1;
            lines += 1;
            line_columns_ = 0;
        }
    }

    std::uint64_t characters = 0, columns = 0, widest = 0, lines = 0;

private:
    void add_columns(std::string_view text) {
        int bytes = 0, width = 0;
        uchar cut = 0;
        info(charset_).qzstr_get_byte_pos_with_disp_size_fn(
            const_cast<char*>(text.data()), static_cast<int>(text.size()), INT_MAX, &bytes, &width, &cut);
        columns += static_cast<std::uint64_t>(width);
        line_columns_ += static_cast<std::uint64_t>(width);
        widest = std::max(widest, line_columns_);
    }

    qzstr_charset_t charset_;
    std::uint64_t line_columns_ = 0;
};

struct Row {
    std::string name;
    std::uint64_t bytes;
    Measure measure;
};

/// Text without positions of its own is measured as UTF-8; of other text the converter only says where a block may end.
Row measure(qzstr_charset_t charset, const std::string& path) {
    const bool as_it_is = has_positions(charset);
    Input input(path);
    Reader reader(input, 256 * 1024);
    // A charset's conversion into itself copies bytes: it may cut a character.
    BlockConverter converter(charset, charset == QZSTR_CHARSET_UTF8 ? QZSTR_CHARSET_UTF16 : QZSTR_CHARSET_UTF8);
    Row row{input.name(), 0, Measure(as_it_is ? charset : QZSTR_CHARSET_UTF8)};
    while (reader.fill()) {
        const std::string_view text = reader.text();
        std::size_t used = text.size();
        if (as_it_is) {
            if (!reader.at_end()) used = converter.safe_cut(text);
            row.measure.add(text.substr(0, used));
        } else {
            const Block block = converter.convert(text, reader.at_end());
            if (!reader.at_end()) used = block.consumed;
            row.measure.add(block.output);
        }
        row.bytes += used;
        reader.consume(used);
    }
    return row;
}

void print_table(const std::vector<Row>& rows) {
    fmt::print("{:>12} {:>12} {:>12} {:>10} {:>10}  {}\n", "bytes", "characters", "columns", "widest", "lines", "file");
    for (const Row& row : rows)
        fmt::print("{:>12} {:>12} {:>12} {:>10} {:>10}  {}\n", row.bytes, row.measure.characters, row.measure.columns,
                   row.measure.widest, row.measure.lines, row.name);
}

void print_json(const std::vector<Row>& rows) {
    nlohmann::ordered_json all = nlohmann::ordered_json::array();
    for (const Row& row : rows)
        all.push_back({{"file", row.name},
                       {"bytes", row.bytes},
                       {"characters", row.measure.characters},
                       {"columns", row.measure.columns},
                       {"widest_line_columns", row.measure.widest},
                       {"lines", row.measure.lines}});
    fmt::print("{}\n", all.dump(2, ' ', false, nlohmann::json::error_handler_t::replace));
}

} // namespace

void add_stat(CLI::App& app, int&) {
    struct Options {
        std::string charset;
        std::vector<std::string> inputs;
        bool json = false;
    };
    CLI::App* command = app.add_subcommand("stat", "Count bytes, characters, columns and lines");
    auto options = std::make_shared<Options>();
    command->add_option("-f,--from", options->charset, "Charset of the text")->required();
    command->add_flag("--json", options->json, "Print the numbers as JSON");
    command->add_option("FILE", options->inputs, "Files (- or none: standard input)");
    command->footer("Columns are display columns without line ends; lines are line feeds.");
    command->callback([options] {
        if (options->inputs.empty()) options->inputs = {"-"};
        const qzstr_charset_t charset = charset_named(options->charset);
        require_readable(options->inputs);
        std::vector<Row> rows;
        for (const std::string& path : options->inputs)
            rows.push_back(measure(charset, path));
        options->json ? print_json(rows) : print_table(rows);
    });
}

} // namespace qzconv
