// tablegen [--check] <mappings-dir> <tables-dir>: writes the generated headers, or compares those that are there.
#include "regions.h"

#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <set>
#include <string_view>

namespace {

namespace fs = std::filesystem;
using namespace tablegen;

Headers all_headers(const MappingDirectory& mappings) {
    Headers headers;
    for (auto region : {korean, japanese, simplified_chinese, traditional_chinese, single_byte, unicode_case})
        for (Header& header : region(mappings))
            headers.push_back(std::move(header));
    return headers;
}

std::string read_file(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write(const Headers& headers, const fs::path& directory) {
    fs::create_directories(directory);
    for (const Header& header : headers) {
        std::ofstream file(directory / header.name(), std::ios::binary);
        file << header.text();
        if (!file.flush()) fail("cannot write " + header.name());
    }
}

/// Also names headers that the generator does not know: every table must have a source.
int count_differences(const Headers& headers, const fs::path& directory) {
    int differences = 0;
    const auto report = [&differences](const std::string& name, const char* what) {
        std::fprintf(stderr, "tablegen: %s %s\n", name.c_str(), what);
        ++differences;
    };
    std::set<std::string> known;
    for (const Header& header : headers) {
        known.insert(header.name());
        if (!fs::exists(directory / header.name()))
            report(header.name(), "is missing");
        else if (read_file(directory / header.name()) != header.text())
            report(header.name(), "differs from the mappings");
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(directory))
        if (entry.path().extension() == ".h" && !known.contains(entry.path().filename().string()))
            report(entry.path().filename().string(), "is not generated");
    return differences;
}

} // namespace

int main(int argc, char** argv) {
    const bool check = argc > 1 && std::string_view(argv[1]) == "--check";
    if (argc != (check ? 4 : 3)) {
        std::fputs("usage: tablegen [--check] <mappings-dir> <tables-dir>\n", stderr);
        return 2;
    }
    try {
        const Headers headers = all_headers(MappingDirectory(argv[argc - 2]));
        if (check) return count_differences(headers, argv[argc - 1]) == 0 ? 0 : 1;
        write(headers, argv[argc - 1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "tablegen: %s\n", error.what());
        return 1;
    }
    return 0;
}
