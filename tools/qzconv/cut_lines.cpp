#include "catalogue.h"
#include "commands.h"
#include "failure.h"
#include "reader.h"
#include "shift_state.h"

#include <cut.h>

namespace qzconv {

namespace {

struct Options {
    std::string charset, to;
    std::size_t bytes = 0, characters = 0, columns = 0;
    std::vector<std::string> inputs;
};

/// Cuts line by line. A line of ISO-2022-KR becomes a text of its own, so that no cut takes a shift from the next one.
class LineCutter {
public:
    LineCutter(const CLI::App& command, const Options& options)
        : charset_(charset_named(options.charset)), to_(options.to.empty() ? charset_ : charset_named(options.to)),
          by_characters_(command.count("--chars") != 0), by_columns_(command.count("--columns") != 0),
          limit_(by_characters_ ? options.characters
                 : by_columns_  ? options.columns
                                : options.bytes) {}

    qzstr_charset_t charset() const { return charset_; }

    std::string cut(std::string_view line) {
        std::string framed;
        if (charset_ == QZSTR_CHARSET_ISO2022KR) {
            const std::string prefix = shift_.prefix();
            const bool is_korean = prefix.ends_with('\x0E') || line.find('\x0E') != std::string_view::npos;
            shift_.pass(line);
            if (is_korean) line = framed.append(prefix).append(line);
        }
        if (by_characters_) return qzscan::cut_to_characters(charset_, line, limit_);
        if (by_columns_) return qzscan::cut_to_columns(charset_, line, limit_);
        if (to_ != charset_) return qzscan::cut_to_converted_bytes(charset_, line, to_, limit_);
        return qzscan::cut_to_bytes(charset_, line, limit_);
    }

private:
    qzstr_charset_t charset_, to_;
    bool by_characters_, by_columns_;
    std::size_t limit_;
    SourceShift shift_;
};

void cut_file(LineCutter& cutter, const std::string& path, Output& output) {
    const std::string_view end_of_line = line_feed(cutter.charset());
    Input input(path);
    Reader reader(input, 256 * 1024);
    while (reader.fill()) {
        std::string lines;
        for (std::string_view text = reader.text(); !text.empty(); text = reader.text()) {
            const std::size_t end = find_line_feed(cutter.charset(), text);
            if (end == std::string_view::npos && !reader.at_end()) break;
            lines += cutter.cut(text.substr(0, end));
            if (end != std::string_view::npos) lines += end_of_line;
            reader.consume(end == std::string_view::npos ? text.size() : end + end_of_line.size());
        }
        output.write(lines);
    }
}

} // namespace

void add_cut(CLI::App& app, int&) {
    CLI::App* command = app.add_subcommand("cut", "Cut every line at a character boundary");
    auto options = std::make_shared<Options>();
    command->add_option("-f,--from", options->charset, "Charset of the text")->required();
    auto* limit = command->add_option_group("limit", "How much of a line is kept");
    auto* bytes = limit->add_option("--bytes", options->bytes, "At most N bytes");
    limit->add_option("--chars", options->characters, "At most N characters");
    limit->add_option("--columns", options->columns, "At most N display columns");
    limit->require_option(1);
    command->add_option("-t,--to", options->to, "Count the bytes that the line has after conversion into this charset")
        ->needs(bytes);
    command->add_option("FILE", options->inputs, "Files (- or none: standard input)");
    command->footer("The text stays in its charset. Line ends do not count.");
    command->callback([options, limit] {
        if (options->inputs.empty()) options->inputs = {"-"};
        require_readable(options->inputs);
        LineCutter cutter(*limit, *options);
        Output output("-");
        for (const std::string& path : options->inputs)
            cut_file(cutter, path, output);
        output.commit();
    });
}

} // namespace qzconv
