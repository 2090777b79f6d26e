// Search beside memmem, Boyer-Moore-Horspool, std::u16string_view::find and ICU: all occurrences of a pattern in a text of
// 1 MiB, bytes and UCS-2 units, and in a short value; periodic text; backward beside forward; wildcards beside a plain loop.
//
// Names: <text>/<pattern>/<library>. The environment variable QZSTR_CORPUS names the directory that corpus.py filled.
#include "qzstr.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>
#include <unicode/ustring.h>
#include <vector>

namespace {

constexpr std::size_t text_bytes = 1 << 20;

std::string corpus(const std::string& language) {
    const char* const directory = std::getenv("QZSTR_CORPUS");
    std::ifstream in(std::string(directory != nullptr ? directory : ".") + "/" + language + ".txt");
    return {std::istreambuf_iterator<char>(in), {}};
}

/// UTF-8 to big-endian UCS-2.
std::string to_ucs2(const std::string& utf8) {
    std::u16string host(utf8.size(), 0);
    std::int32_t length = 0;
    UErrorCode error = U_ZERO_ERROR;
    u_strFromUTF8WithSub(host.data(), static_cast<std::int32_t>(host.size()), &length, utf8.data(),
                         static_cast<std::int32_t>(utf8.size()), 0xFFFD, nullptr, &error);
    std::string units;
    for (const char16_t unit : host.substr(0, static_cast<std::size_t>(length)))
        units.append({static_cast<char>(unit >> 8), static_cast<char>(unit)});
    return units;
}

std::u16string host_order(std::string_view units) {
    std::u16string text(units.size() / 2, 0);
    for (std::size_t i = 0; i < text.size(); ++i)
        text[i] = static_cast<char16_t>(static_cast<uchar>(units[2 * i]) << 8 | static_cast<uchar>(units[2 * i + 1]));
    return text;
}

char* chars(std::string_view text) {
    return const_cast<char*>(text.data());
}

long with_qzstr(std::string_view text, std::string_view pattern, int bpc, bool forward) {
    int count = 0;
    qzstr_kmp_search(chars(text), static_cast<int>(text.size()), chars(pattern), static_cast<int>(pattern.size()), bpc,
                     forward, 0, 1, -1, 0, &count, nullptr);
    return count;
}

long with_memmem(std::string_view text, std::string_view pattern) {
    long count = 0;
    const char *at = text.data(), *const end = at + text.size();
    while (const void* hit = memmem(at, static_cast<std::size_t>(end - at), pattern.data(), pattern.size())) {
        ++count;
        at = static_cast<const char*>(hit) + pattern.size();
    }
    return count;
}

long with_horspool(std::string_view text, std::string_view pattern) {
    const std::boyer_moore_horspool_searcher searcher(pattern.begin(), pattern.end());
    long count = 0;
    for (auto at = text.begin();; ++count) {
        const auto [hit, end] = searcher(at, text.end());
        if (hit == text.end()) return count;
        at = end;
    }
}

long with_find(std::u16string_view text, std::u16string_view pattern) {
    long count = 0;
    for (std::size_t at = 0; (at = text.find(pattern, at)) != text.npos; at += pattern.size())
        ++count;
    return count;
}

long with_icu(std::u16string_view text, std::u16string_view pattern) {
    long count = 0;
    const char16_t *at = text.data(), *const end = at + text.size();
    while (const char16_t* hit = u_strFindFirst(at, static_cast<std::int32_t>(end - at), pattern.data(),
                                                static_cast<std::int32_t>(pattern.size()))) {
        ++count;
        at = hit + pattern.size();
    }
    return count;
}

long wildcards_with_qzstr(std::string_view text, std::string_view pattern) {
    int count = 0, unused = 0;
    qzstr_naive_search_with_wc(chars(text), static_cast<int>(text.size()), chars(pattern),
                               static_cast<int>(pattern.size()), nullptr, 0, 2, 1, 0, 1, -1, 0, &count, &unused,
                               nullptr);
    return count;
}

long wildcards_with_loop(std::u16string_view text, std::u16string_view pattern) {
    long count = 0;
    for (std::size_t start = 0; start + pattern.size() <= text.size();) {
        std::size_t k = 0;
        while (k < pattern.size() && (pattern[k] == u'_' || pattern[k] == text[start + k]))
            ++k;
        count += k == pattern.size();
        start += k == pattern.size() ? k : 1;
    }
    return count;
}

/// Registers one library's run over a case; every library must find the same number of occurrences.
class bench_case {
public:
    explicit bench_case(std::string name) : name_(std::move(name)) {}

    void run(const char* library, std::function<long()> search) {
        const long found = search();
        if (expected_ < 0) expected_ = found;
        if (found != expected_) {
            std::fprintf(stderr, "%s/%s: %ld occurrences, not %ld\n", name_.c_str(), library, found, expected_);
            std::exit(1);
        }
        benchmark::RegisterBenchmark((name_ + "/" + library).c_str(),
                                     [search = std::move(search)](benchmark::State& state) {
                                         for (auto _ : state)
                                             benchmark::DoNotOptimize(search());
                                     });
    }

private:
    std::string name_;
    long expected_ = -1;
};

void add_bytes(const std::string& name, const std::string& text, const std::string& pattern) {
    bench_case c(name);
    c.run("qzstr", [=] { return with_qzstr(text, pattern, 1, true); });
    c.run("memmem", [=] { return with_memmem(text, pattern); });
    c.run("horspool", [=] { return with_horspool(text, pattern); });
}

void add_units(const std::string& name, const std::string& text, const std::string& pattern) {
    bench_case c(name);
    const std::u16string host = host_order(text), wanted = host_order(pattern);
    c.run("qzstr", [=] { return with_qzstr(text, pattern, 2, true); });
    c.run("u16find", [=] { return with_find(host, wanted); });
    c.run("icu", [=] { return with_icu(host, wanted); });
}

void add_backward(const std::string& name, const std::string& text, const std::string& pattern, int bpc) {
    bench_case c(name);
    c.run("qzstr", [=] { return with_qzstr(text, pattern, bpc, false); });
    c.run("forward", [=] { return with_qzstr(text, pattern, bpc, true); });
}

void add_wildcards(const std::string& name, const std::string& text, const std::string& pattern) {
    bench_case c(name);
    const std::u16string host = host_order(text), wanted = host_order(pattern);
    c.run("qzstr", [=] { return wildcards_with_qzstr(text, pattern); });
    c.run("loop", [=] { return wildcards_with_loop(host, wanted); });
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const std::string english = corpus("en").substr(0, text_bytes);
    const std::string korean = to_ucs2(corpus("ko")).substr(0, text_bytes);
    if (english.size() < text_bytes || korean.size() < text_bytes / 4) {
        std::fprintf(stderr, "QZSTR_CORPUS has not enough text\n");
        return 1;
    }
    const std::string wide_english = to_ucs2(english);
    struct pattern {
        const char *kind, *english, *korean, *wildcards;
    };
    for (const pattern& p : {pattern{"absent", "zymurgist", "\uD6FC\uAD2D\uD000", "\uD6FC_\uD000"},
                             pattern{"rare", "kerberos", "\uC554\uD638\uD654", "\uC554_\uD654"},
                             pattern{"frequent", " the ", "\uC788\uC2B5\uB2C8\uB2E4", "\uC2B5_\uB2E4"},
                             pattern{"letter", "e", "\uB2E4", "_\uB2E4"}}) {
        const std::string kind = std::string("/") + p.kind, wide = to_ucs2(p.english), hangul = to_ucs2(p.korean);
        add_bytes("en" + kind, english, p.english);
        add_units("en-ucs2" + kind, wide_english, wide);
        add_units("ko-ucs2" + kind, korean, hangul);
        add_backward("en" + kind + "-backward", english, p.english, 1);
        add_backward("ko-ucs2" + kind + "-backward", korean, hangul, 2);
        add_wildcards("ko-wildcards" + kind, korean, to_ucs2(p.wildcards));
    }
    for (const std::size_t size : {16u, 64u, 256u}) {
        add_bytes("en-value/absent-" + std::to_string(size), english.substr(5000, size), "zymurgist");
        add_units("ko-value/absent-" + std::to_string(size), korean.substr(5000, size), to_ucs2("\uD6FC\uAD2D\uD000"));
    }
    for (const std::size_t length : {20u, 1000u}) {
        std::string wanted(length, 'a');
        wanted[length / 3] = 'b'; // where no quick test looks
        bench_case c("periodic/" + std::to_string(length));
        const std::string text(text_bytes, 'a');
        c.run("qzstr", [=] { return with_qzstr(text, wanted, 1, true); });
        c.run("memmem", [=] { return with_memmem(text, wanted); });
    }
    benchmark::RunSpecifiedBenchmarks();
}
