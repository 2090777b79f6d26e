// mangen INCLUDE_DIR QZCONV OUTPUT_DIR: writes the manual pages. Their text is that of the headers, of the catalogue and
// of the tool's help, so that it is written once.
#include <qzstr.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

struct Operation {
    std::string result, name, function, field, parameters;
};

#define QZSTR_TEXT_OF(parameters) #parameters
#define QZSTR_EXPANDED_TEXT_OF(parameters) QZSTR_TEXT_OF(parameters)
const std::string cell_parameters = QZSTR_EXPANDED_TEXT_OF(QZSTR_CELL_PARAMETERS);

// clang-format off
#define QZSTR_OPERATION(result, cs, operation, field, parameters, arguments)                                           \
    {#result, #operation, "qzstr_FAMILY_" #operation, #field, #parameters},
const std::vector<Operation> operations = {
    QZSTR_POSITION_SLOTS(QZSTR_OPERATION, )
    QZSTR_DECODE_SLOTS(QZSTR_OPERATION, )
    QZSTR_ENCODE_SLOTS(QZSTR_OPERATION, )
    QZSTR_CASE_SLOT(QZSTR_OPERATION, )
    QZSTR_TRAILING_SLOT(QZSTR_OPERATION, )
    QZSTR_ISSPACE_SLOT(QZSTR_OPERATION, )
    {"conv_status_t", "get_another_charset_str", "qzstr_FAMILY_get_TARGET_str",
     "qzstr_get_another_charset_str_fn[TARGET]", cell_parameters},
};
// clang-format on

/// A documented declaration of a header.
struct Declaration {
    std::string name, code, text;
};

std::string read_file(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read " + path.string());
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

/// One line without the decoration of a comment, spaces run together.
std::string flat(const std::string& text) {
    std::istringstream words(text);
    std::string line;
    for (std::string word; words >> word;)
        if (word != "*") line += (line.empty() ? "" : " ") + word;
    return line;
}

std::string roff(std::string text) {
    for (std::size_t at = 0; (at = text.find_first_of("\\-", at)) != std::string::npos; at += 2)
        text.replace(at, 1, text[at] == '-' ? "\\-" : "\\e");
    if (!text.empty() && (text[0] == '.' || text[0] == '\'')) text.insert(0, "\\&");
    return text;
}

/// What stands in the NAME line: the beginning of the description, as far as the first stop that no bracket encloses.
std::string summary(const std::string& text) {
    std::string first;
    int depth = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        depth += (text[at] == '(') - (text[at] == ')');
        const bool stops = std::string(".;:").find(text[at]) != std::string::npos || text.compare(at, 2, ", ") == 0;
        if (stops && depth == 0) break;
        first += text[at];
    }
    // Not "UTF-8".
    if (first.size() > 1 && std::islower(static_cast<unsigned char>(first[1])) != 0)
        first[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(first[0])));
    return first;
}

/// The items "- name, name: text" of the comments.
std::map<std::string, std::string> operation_texts(const std::string& header) {
    std::map<std::string, std::string> texts;
    std::vector<std::string> names;
    std::istringstream lines(header);
    for (std::string line; std::getline(lines, line);) {
        const auto colon = line.find(": ");
        if (line.rfind(" * - ", 0) == 0 && colon != std::string::npos) {
            std::string list = line.substr(5, colon - 5);
            std::replace(list.begin(), list.end(), ',', ' ');
            std::istringstream words(list);
            names.clear();
            for (std::string name; words >> name;)
                names.push_back(name);
            line = line.substr(colon + 2);
        } else if (line.rfind(" *   ", 0) != 0) {
            names.clear();
        }
        for (const std::string& name : names)
            texts[name] += line + "\n";
    }
    return texts;
}

/// The "/**" comment in front of a declaration.
std::string comment_of(const std::string& header, const std::string& declaration) {
    const auto end = header.find("*/\n" + declaration), begin = header.rfind("/**", end);
    if (end == std::string::npos) throw std::runtime_error("no comment on " + declaration);
    return header.substr(begin + 3, end - begin - 3);
}

/// Declarations with a "/**" comment in front; types, which have a body or are defined in place, are left out.
std::vector<Declaration> declarations(const std::string& header) {
    std::vector<Declaration> found;
    for (std::size_t at = 0; (at = header.find("\n/**", at)) != std::string::npos;) {
        const auto end = header.find("*/", at), stop = header.find(';', end);
        if (end == std::string::npos || stop == std::string::npos) break;
        std::string text = header.substr(at + 4, end - at - 4), code = flat(header.substr(end + 2, stop - end - 2));
        at = end;
        if (code.find_first_of("{#") != std::string::npos || code.rfind("typedef", 0) == 0) continue;
        for (const char* prefix : {"extern ", "QZSTR_API "})
            if (code.rfind(prefix, 0) == 0) code.erase(0, std::string(prefix).size());
        if (const auto macro = code.find("QZSTR_CELL_PARAMETERS"); macro != std::string::npos)
            code.replace(macro - 1, std::string::npos, cell_parameters);
        const auto name_end = std::min(code.find('('), code.find('['));
        const std::string head = code.substr(0, name_end);
        found.push_back({head.substr(head.find_last_of(" *") + 1), code + ";", flat(text)});
    }
    return found;
}

std::string output_of(const std::string& command) {
    std::FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) throw std::runtime_error("cannot run " + command);
    std::string text;
    char block[4096];
    for (std::size_t n; (n = std::fread(block, 1, sizeof block, pipe)) != 0;)
        text.append(block, n);
    if (pclose(pipe) != 0) throw std::runtime_error(command + " failed");
    return text;
}

class Manual {
public:
    Manual(const fs::path& directory, int section)
        : directory_(directory / ("man" + std::to_string(section))), section_(section) {
        fs::create_directories(directory_);
    }

    /// A page of named sections; a section whose text begins with a "." is roff already.
    void page(const std::string& name, const std::string& what,
              const std::vector<std::pair<std::string, std::string>>& sections) const {
        std::ofstream out(directory_ / (name + "." + std::to_string(section_)), std::ios::binary);
        out << ".TH " << roff(name) << " " << section_ << " \"\" \"libqzstr\"\n.SH NAME\n"
            << roff(name) << " \\- " << roff(what) << "\n";
        for (const auto& [title, text] : sections)
            out << ".SH \"" << title << "\"\n" << (text[0] == '.' ? text : roff(text)) << "\n";
        if (!out.flush()) throw std::runtime_error("cannot write " + name);
    }

private:
    fs::path directory_;
    int section_;
};

std::string verbatim(const std::string& text) {
    std::istringstream lines(text);
    std::string block = ".nf\n";
    for (std::string line; std::getline(lines, line);)
        block += roff(line) + "\n";
    return block + ".fi";
}

std::string code(const std::string& text) {
    return verbatim("#include <qzstr.h>\n\n" + text);
}

const char* const see_also = "libqzstr(3), qzstr-charsets(7)";

std::string operation_pages(const Manual& manual, const std::string& header) {
    auto texts = operation_texts(header);
    texts["get_another_charset_str"] = comment_of(header, "typedef conv_status_t(*qzstr_get_another_charset_str_fn_t)");
    std::string index;
    for (const Operation& op : operations) {
        const std::string name = "qzstr_" + op.name;
        std::string text = flat(texts.at(op.name));
        text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
        manual.page(name, summary(text),
                    {{"SYNOPSIS", code(op.result + " (*_charset_info[CHARSET]." + op.field + ")" + op.parameters +
                                       ";\n\n" + op.result + " " + op.function + op.parameters + ";")},
                     {"DESCRIPTION", text},
                     {"SEE ALSO", see_also}});
        index += ".TP\n.BR " + roff(name) + " (3)\n" + roff(summary(text)) + "\n";
    }
    return index;
}

std::string declaration_pages(const Manual& manual, const std::string& header) {
    std::string index;
    for (const Declaration& d : declarations(header)) {
        manual.page(d.name, summary(d.text),
                    {{"SYNOPSIS", code(d.code)}, {"DESCRIPTION", d.text}, {"SEE ALSO", see_also}});
        index += ".TP\n.BR " + roff(d.name) + " (3)\n" + roff(summary(d.text)) + "\n";
    }
    return index;
}

/// The conventions at the head of the header, item by item.
std::string conventions(const std::string& header) {
    std::string items, item;
    std::istringstream lines(header.substr(0, header.find("*/")));
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind(" *  - ", 0) == 0)
            items += (items.empty() ? "" : roff(flat(item)) + "\n") + std::string(".IP \\(bu 2\n"),
                item = line.substr(6);
        else if (!items.empty())
            item += line + "\n";
    }
    return items + roff(flat(item));
}

void library_page(const Manual& manual, const fs::path& include) {
    const std::string charset = read_file(include / "qzstr_charset.h");
    std::string functions = operation_pages(manual, charset);
    std::string others;
    for (const char* header : {"qzstr_charset.h", "qzstr.h", "qzstr_runtime.h"})
        others += declaration_pages(manual, read_file(include / header));
    manual.page("libqzstr", "character sets of a database server",
                {{"SYNOPSIS", code("_charset_info[CHARSET].OPERATION(...)\n\ncc ... -lqzstr -lqzstr_runtime")},
                 {"DESCRIPTION", conventions(charset)},
                 {"OPERATIONS OF A CHARSET", functions},
                 {"OTHER FUNCTIONS AND DATA", others},
                 {"SEE ALSO", "qzconv(1), qzstr-charsets(7)"}});
}

void charsets_page(const Manual& manual) {
    std::string rows;
    for (int id = 0; id < QZSTR_CHARSET_MAX; ++id) {
        const auto& row = _charset_info[id];
        const std::string ora = row.ora_compat_name;
        rows += ".TP\n.B " + roff(row.name) + "\ncharset " + std::to_string(id) + ", canonical name " +
                roff(row.canonical_name) + (ora.empty() ? "" : ", Oracle name " + roff(ora)) +
                (row.ora_charset_id == 0 ? "" : ", Oracle id " + std::to_string(row.ora_charset_id)) +
                "; characters of at most " + std::to_string(row.max_bytes_per_char) +
                (row.max_bytes_per_char == 1 ? " byte" : " bytes") +
                (row.is_superset_of_ascii != 0 ? ", a superset of ASCII\n" : "\n");
    }
    rows.pop_back();
    manual.page("qzstr-charsets", "the charsets of libqzstr",
                {{"DESCRIPTION", rows},
                 {"NOTES", "ISO2022-KR and US8ICL only convert: their operations on positions, width and case raise "
                           "ERROR_NOT_IMPLEMENTED."},
                 {"SEE ALSO", "libqzstr(3), qzconv(1)"}});
}

void tool_page(const Manual& manual, const std::string& qzconv) {
    const auto help_of = [&](const std::string& command) {
        return output_of("'" + qzconv + "' " + command + " --help");
    };
    const std::string help = help_of("");
    std::vector<std::pair<std::string, std::string>> sections = {
        {"SYNOPSIS", ".B qzconv\n.I COMMAND\n[options] [FILE...]"}, {"DESCRIPTION", verbatim(help)}};
    std::istringstream lines(help.substr(help.find("Subcommands:")));
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line) && line.rfind("  ", 0) == 0) {
        std::string command = flat(line);
        command.resize(command.find(' '));
        sections.push_back({"qzconv " + command, verbatim(help_of(command))});
    }
    sections.push_back({"SEE ALSO", see_also});
    manual.page("qzconv", "convert and examine text in database charsets", sections);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "usage: mangen INCLUDE_DIR QZCONV OUTPUT_DIR\n";
        return 2;
    }
    try {
        tool_page(Manual(argv[3], 1), argv[2]);
        library_page(Manual(argv[3], 3), argv[1]);
        charsets_page(Manual(argv[3], 7));
    } catch (const std::exception& error) {
        std::cerr << "mangen: " << error.what() << "\n";
        return 1;
    }
    return 0;
}
