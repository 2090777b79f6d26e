#include "catalogue.h"
#include "commands.h"
#include "failure.h"
#include "reader.h"

#include <algorithm>
#include <fmt/format.h>
#include <scan.h>

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

std::string glyph(std::uint32_t code_point) {
    char unit[] = {static_cast<char>(code_point >> 24), static_cast<char>(code_point >> 16),
                   static_cast<char>(code_point >> 8), static_cast<char>(code_point)};
    char utf8[8];
    int read = 0, written = 0;
    if (code_point < 0x20 || (code_point >= 0x7F && code_point < 0xA0)) return {};
    info(QZSTR_CHARSET_UTF8).qzstr_from_ucs4_fn(unit, sizeof unit, utf8, sizeof utf8, &read, &written, 1);
    return {utf8, static_cast<std::size_t>(written)};
}

void print_character(std::uint64_t offset, std::string_view bytes, std::u32string_view code_points) {
    std::string names, glyphs;
    for (const std::uint32_t code_point : code_points) {
        names += fmt::format("U+{:04X} ", code_point);
        glyphs += glyph(code_point);
    }
    fmt::print("{:08X}  {:<12} {:<16} {}\n", offset, qzscan::hex(bytes, " "), names.empty() ? "incomplete" : names,
               glyphs);
}

void dump_characters(qzstr_charset_t charset, Input& input) {
    Reader reader(input, block_size);
    qzscan::Decoder decoder(charset, true);
    std::uint64_t offset = 0;
    while (reader.fill()) {
        const std::size_t held_back = reader.at_end() ? 0 : longest_form;
        for (std::string_view text = reader.text(); text.size() > held_back; text = reader.text()) {
            const qzscan::Decoder::Result character = decoder.decode_one(text, {});
            // Nothing read: the text ends inside the character. It may also count one byte that is not there.
            const std::size_t size = character.read != 0 ? std::min(character.read, text.size()) : text.size();
            print_character(offset, text.substr(0, size), character.points);
            reader.consume(size);
            offset += size;
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
