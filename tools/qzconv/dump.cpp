#include "catalogue.h"
#include "commands.h"
#include "failure.h"
#include "reader.h"

#include <algorithm>
#include <fmt/format.h>

namespace qzconv {

namespace {

constexpr std::size_t block_size = 64 * 1024, longest_form = 8;

/// The library's own format, ten bytes a line, each line after a line feed; a block is a multiple of ten.
void dump_bytes(Input& input) {
    std::string block(6400 * 10, '\0');
    for (;;) {
        std::size_t size = 0;
        while (size < block.size()) {
            const std::size_t count = input.read(block.data() + size, block.size() - size);
            if (count == 0) break;
            size += count;
        }
        if (size == 0) break;
        qzstr_dump_str(block.data(), static_cast<int>(size));
    }
    fmt::print("\n");
}

struct Character {
    std::size_t bytes;
    std::vector<std::uint32_t> code_points;
};

Character decode(qzstr_charset_t charset, std::string_view text) {
    unsigned char units[8];
    for (const int room : {4, 8}) { // two units for the characters that stand for a pair
        int read = 0, written = 0;
        info(charset).qzstr_to_ucs4_fn(const_cast<char*>(text.data()), static_cast<int>(text.size()),
                                       reinterpret_cast<char*>(units), room, &read, &written, 1);
        if (read <= 0) continue;
        Character character{std::min(static_cast<std::size_t>(read), text.size()), {}};
        for (int at = 0; at < written; at += 4)
            character.code_points.push_back(static_cast<std::uint32_t>(units[at]) << 24 | units[at + 1] << 16 |
                                            units[at + 2] << 8 | units[at + 3]);
        return character;
    }
    return {text.size(), {}}; // the text ends inside a character
}

std::string glyph(std::uint32_t code_point) {
    char unit[] = {static_cast<char>(code_point >> 24), static_cast<char>(code_point >> 16),
                   static_cast<char>(code_point >> 8), static_cast<char>(code_point)};
    char utf8[8];
    int read = 0, written = 0;
    if (code_point < 0x20 || (code_point >= 0x7F && code_point < 0xA0)) return {};
    info(QZSTR_CHARSET_UTF8).qzstr_from_ucs4_fn(unit, sizeof unit, utf8, sizeof utf8, &read, &written, 1);
    return {utf8, static_cast<std::size_t>(written)};
}

void print_character(std::uint64_t offset, std::string_view bytes, const Character& character) {
    std::string hex, names, glyphs;
    for (const unsigned char byte : bytes)
        hex += fmt::format("{:02X} ", byte);
    for (const std::uint32_t code_point : character.code_points) {
        names += fmt::format("U+{:04X} ", code_point);
        glyphs += glyph(code_point);
    }
    fmt::print("{:08X}  {:<12} {:<16} {}\n", offset, hex, names.empty() ? "incomplete" : names, glyphs);
}

void dump_characters(qzstr_charset_t charset, Input& input) {
    Reader reader(input, block_size);
    std::uint64_t offset = 0;
    while (reader.fill()) {
        const std::size_t held_back = reader.at_end() ? 0 : longest_form;
        for (std::string_view text = reader.text(); text.size() > held_back; text = reader.text()) {
            const Character character = decode(charset, text);
            print_character(offset, text.substr(0, character.bytes), character);
            reader.consume(character.bytes);
            offset += character.bytes;
        }
    }
}

} // namespace

void add_dump(CLI::App& app, int&) {
    struct Options {
        std::string charset, input = "-";
    };
    CLI::App* command = app.add_subcommand("dump", "Show a text byte by byte, or character by character");
    auto options = std::make_shared<Options>();
    command->add_option("-f,--from", options->charset, "Charset: one line a character, with its code points");
    command->add_option("FILE", options->input, "File (- or none: standard input)");
    command->callback([options] {
        if (options->charset.empty()) {
            Input input(options->input);
            dump_bytes(input);
            return;
        }
        const qzstr_charset_t charset = charset_named(options->charset);
        if (charset == QZSTR_CHARSET_ISO2022KR)
            throw Failure("ISO2022-KR characters depend on the text before them; convert to UTF8 first");
        Input input(options->input);
        dump_characters(charset, input);
    });
}

} // namespace qzconv
