// Measures libraries side by side: a case is one piece of work, done by each of them in turn, round after round, so that
// whatever else the machine does meets all of them. What counts is processor time, and the median of the rounds.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <regex>
#include <string>
#include <vector>

namespace bench {

/// One library's way of doing the work of a case.
struct contender {
    std::string library;
    std::function<void()> run;
};

struct options {
    std::regex filter{"."};
    double seconds = 0.002; // of one sample
    int rounds = 7;
};

class suite {
public:
    explicit suite(options o) : options_(std::move(o)) {}

    bool wants(const std::string& name) const { return std::regex_search(name, options_.filter); }

    /// Measures the case, if it is wanted. One run handles `bytes` of text in `calls` calls.
    void measure(const std::string& name, std::size_t bytes, std::size_t calls,
                 const std::vector<contender>& contenders);

    /// Results and what they were measured on.
    void write_json(const char* path) const;

private:
    struct result {
        std::string name;
        std::size_t bytes, calls;
        std::map<std::string, double> nanoseconds; // of one run
    };
    options options_;
    std::vector<result> results_;
};

/// Keeps a result from being optimised away.
template <class T>
void keep(const T& value) {
    asm volatile("" : : "g"(value) : "memory");
}

/// The sections: each adds its cases. Names of cases are paths whose last parts name the kind.
void rows(suite& s);
void pairs(suite& s);
void damage(suite& s);
void growth(suite& s);
void slots(suite& s);
void search(suite& s);

} // namespace bench
