// The generated tables: the committed headers are what the generator makes, and --check says what is not. What the tables
// hold is tested through the rows that use them.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/wait.h>

namespace {

namespace fs = std::filesystem;

int run_check(const std::string& tables, const fs::path& report) {
    const std::string command = std::string("'") + TABLEGEN_EXECUTABLE + "' --check '" + MAPPINGS_DIR + "' '" + tables +
                                "' 2> '" + report.string() + "'";
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string read_file(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(Tablegen, CommittedHeadersAreWhatTheGeneratorMakes) {
    const fs::path report = fs::path(testing::TempDir()) / "tablegen_report.txt";
    EXPECT_EQ(run_check(TABLES_DIR, report), 0) << read_file(report);
}

TEST(Tablegen, CheckNamesWhatDiffers) {
    const fs::path copy = fs::path(testing::TempDir()) / "tablegen_tables";
    fs::remove_all(copy);
    fs::copy(TABLES_DIR, copy);
    std::ofstream(copy / "uhc.h", std::ios::app) << " ";
    fs::rename(copy / "koi8r.h", copy / "stray.h");
    const fs::path report = fs::path(testing::TempDir()) / "tablegen_differences.txt";
    EXPECT_EQ(run_check(copy.string(), report), 1);
    EXPECT_EQ(read_file(report), "tablegen: uhc.h differs from the mappings\ntablegen: koi8r.h is missing\n"
                                 "tablegen: stray.h is not generated\n");
    fs::remove_all(copy);
}

} // namespace
