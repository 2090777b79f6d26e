#include "sources.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace fs = std::filesystem;

namespace docgen {

namespace {

using Lines = std::vector<std::string>;
using Words = std::set<std::string>;

std::string read_file(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read " + path.string());
    return {std::istreambuf_iterator<char>(in), {}};
}

Lines lines_of(const std::string& text) {
    Lines all;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        all.push_back(line);
    return all;
}

void add_words(const std::string& text, Words& found) {
    std::string word;
    for (const char c : text + ' ')
        if (std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_')
            word += c;
        else if (!word.empty())
            found.insert(std::exchange(word, {}));
}

/// Part of a source: a struct at the left margin, or what is outside of all.
struct Block {
    std::string name; ///< of the struct
    Lines text;
};

std::vector<Block> blocks_of(const std::string& text) {
    std::vector<Block> blocks(1);
    for (const std::string& line : lines_of(text)) {
        if (line.rfind("struct ", 0) == 0) blocks.push_back({line.substr(7, line.find_first_of(" :{", 7) - 7), {}});
        blocks.back().text.push_back(line);
        if (line.rfind('}', 0) == 0 && !blocks.back().name.empty()) blocks.emplace_back();
    }
    return blocks;
}

/// What a line says if it is a comment.
std::string comment(const std::string& line) {
    const auto start = line.find_first_not_of(' ');
    if (start == std::string::npos || line.compare(start, 2, "//") != 0) return "";
    const auto space = line.find_first_not_of('/', start);
    return space == std::string::npos ? "" : line.substr(space + 1);
}

/// A reason may go on in the comment lines below it.
void add_reasons(const Lines& text, Lines& reasons) {
    const std::string kept = "KEPT: ", chosen = "CHOSEN: ";
    bool goes_on = false;
    for (const std::string& line : text) {
        const std::string said = comment(line);
        if (said.rfind(kept, 0) == 0) {
            reasons.push_back(said.substr(kept.size()));
            goes_on = true;
        } else if ((goes_on = goes_on && !said.empty() && said.rfind(chosen, 0) != 0)) {
            reasons.back() += " " + said;
        }
    }
}

} // namespace

FamilySources::FamilySources(const fs::path& root, const std::string& family)
    : name_("common/qzstr/qzstr_" + family + ".cpp"), texts_{read_file(root / name_)} {
    add_headers_of(root / "common/qzstr", std::string(texts_[0]));
}

void FamilySources::add_headers_of(const fs::path& directory, const std::string& text) {
    for (const std::string& line : lines_of(text)) {
        if (line.rfind("#include \"", 0) != 0) continue;
        const std::string name = line.substr(10, line.rfind('"') - 10);
        if (name.find('/') == std::string::npos) continue; // the public interface
        if (std::find(header_names_.begin(), header_names_.end(), name) != header_names_.end()) continue;
        header_names_.push_back(name);
        texts_.push_back(read_file(directory / name));
        add_headers_of(directory, std::string(texts_.back()));
    }
}

Lines FamilySources::kept() const {
    Lines reasons;
    add_reasons(lines_of(texts_[0]), reasons);
    Words known;
    add_words(texts_[0], known);
    std::vector<Block> shared;
    for (std::size_t i = 1; i < texts_.size(); ++i)
        for (Block& b : blocks_of(texts_[i]))
            shared.push_back(std::move(b));
    const auto is_part = [&](const Block& b) { return b.name.empty() || known.count(b.name) != 0; };
    for (std::size_t before = 0; before != known.size();) { // structs that are made of others
        before = known.size();
        for (const Block& b : shared)
            if (!b.name.empty() && is_part(b))
                for (const std::string& line : b.text)
                    add_words(line, known);
    }
    for (const Block& b : shared)
        if (is_part(b)) add_reasons(b.text, reasons);
    return reasons;
}

Lines FamilySources::mappings() const {
    Lines files;
    for (std::size_t i = 0; i < header_names_.size(); ++i) {
        std::istringstream head(lines_of(texts_[i + 1]).at(0)); // "... from a.txt, b.txt. Do not edit."
        for (std::string word; head >> word;) {
            const auto end = word.find(".txt");
            if (header_names_[i].rfind("tables/", 0) != 0 || end == std::string::npos) continue;
            word.resize(end + 4);
            if (std::find(files.begin(), files.end(), word) == files.end()) files.push_back(word);
        }
    }
    return files;
}

} // namespace docgen
