// qzbench [--filter REGEX] [--time SECONDS] [--repetitions N] --json FILE [SECTION...]: see bench/run.
#include "harness.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <gnu/libc-version.h>
#include <nlohmann/json.hpp>
#include <unicode/uversion.h>

namespace bench {

namespace {

double processor_seconds() {
    timespec now;
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double seconds_of(const contender& c, std::size_t runs) {
    const double start = processor_seconds();
    for (std::size_t i = 0; i < runs; ++i)
        c.run();
    return processor_seconds() - start;
}

/// Runs that fill a sample.
std::size_t runs_of(const contender& c, double seconds) {
    for (std::size_t runs = 1;; runs *= 4) {
        const double taken = seconds_of(c, runs);
        if (taken >= seconds / 2) return std::max<std::size_t>(1, static_cast<std::size_t>(runs * seconds / taken));
    }
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

std::string processor() {
    std::ifstream in("/proc/cpuinfo");
    for (std::string line; std::getline(in, line);)
        if (line.starts_with("model name")) return line.substr(line.find(':') + 2);
    return "unknown";
}

} // namespace

void suite::measure(const std::string& name, std::size_t bytes, std::size_t calls,
                    const std::vector<contender>& contenders) {
    if (!wants(name)) return;
    std::vector<std::size_t> runs;
    for (const contender& c : contenders)
        runs.push_back(runs_of(c, options_.seconds));
    std::vector<std::vector<double>> samples(contenders.size());
    for (int round = 0; round < options_.rounds; ++round)
        for (std::size_t i = 0; i < contenders.size(); ++i) {
            const std::size_t c = (i + static_cast<std::size_t>(round)) % contenders.size();
            samples[c].push_back(seconds_of(contenders[c], runs[c]) * 1e9 / static_cast<double>(runs[c]));
        }
    result r{name, bytes, calls, {}};
    for (std::size_t c = 0; c < contenders.size(); ++c)
        r.nanoseconds[contenders[c].library] = median(samples[c]);
    results_.push_back(std::move(r));
}

void suite::write_json(const char* path) const {
    nlohmann::ordered_json cases = nlohmann::ordered_json::object();
    for (const result& r : results_)
        cases[r.name] = {{"bytes", r.bytes}, {"calls", r.calls}, {"ns", r.nanoseconds}};
    std::ofstream(path) << nlohmann::ordered_json{{"context",
                                                   {{"processor", processor()},
                                                    {"compiler", __VERSION__},
                                                    {"iconv", std::string("glibc ") + gnu_get_libc_version()},
                                                    {"icu", U_ICU_VERSION},
                                                    {"rounds", options_.rounds},
                                                    {"seconds_a_sample", options_.seconds}}},
                                                  {"cases", cases}};
}

} // namespace bench

int main(int argc, char** argv) {
    const std::map<std::string, void (*)(bench::suite&)> sections = {
        {"rows", bench::rows},   {"pairs", bench::pairs},   {"damage", bench::damage},
        {"slots", bench::slots}, {"search", bench::search}, {"growth", bench::growth},
    };
    bench::options options;
    const char* json = "/dev/stdout";
    std::vector<std::string> wanted;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const bool has_value = i + 1 < argc;
        if (argument == "--filter" && has_value)
            options.filter = argv[++i];
        else if (argument == "--time" && has_value)
            options.seconds = std::atof(argv[++i]);
        else if (argument == "--repetitions" && has_value)
            options.rounds = std::max(1, std::atoi(argv[++i]));
        else if (argument == "--json" && has_value)
            json = argv[++i];
        else if (sections.contains(argument))
            wanted.push_back(argument);
        else
            return std::fprintf(stderr, "qzbench: what is %s?\n", argv[i]), 2;
    }
    bench::suite suite(options);
    for (const std::string& section : wanted)
        sections.at(section)(suite);
    suite.write_json(json);
}
