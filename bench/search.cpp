// Search beside memmem, Boyer-Moore-Horspool, std::u16string_view::find and ICU: all occurrences of a pattern in a text of
// 1 MiB, bytes and UCS-2 units, and in a short value; periodic text; backward beside forward; wildcards beside a plain loop.
//
// Names: search/<text>/<pattern>.
#include "harness.h"
#include "peers.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <unicode/ustring.h>

namespace bench {

namespace {

constexpr std::size_t text_bytes = 1 << 20;

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

/// What several libraries search for in one text; all must find the same number of occurrences.
class hunt {
public:
    hunt(suite& s, const std::string& name, std::string_view text) : suite_(s), name_("search/" + name), text_(text) {}
    ~hunt() { suite_.measure(name_, text_.size(), 1, contenders_); }
    hunt(const hunt&) = delete;

    void run(const char* library, std::function<long()> search) {
        if (!suite_.wants(name_)) return;
        const long found = search();
        if (contenders_.empty()) expected_ = found;
        if (found != expected_) {
            std::fprintf(stderr, "%s: %s finds %ld occurrences, not %ld\n", name_.c_str(), library, found, expected_);
            std::exit(1);
        }
        contenders_.push_back({library, [search = std::move(search)] { keep(search()); }});
    }

private:
    suite& suite_;
    std::string name_;
    std::string_view text_;
    long expected_ = 0;
    std::vector<contender> contenders_;
};

void add_bytes(suite& s, const std::string& name, const std::string& text, const std::string& pattern) {
    hunt h(s, name, text);
    h.run("qzstr", [&] { return with_qzstr(text, pattern, 1, true); });
    h.run("memmem", [&] { return with_memmem(text, pattern); });
    h.run("horspool", [&] { return with_horspool(text, pattern); });
}

void add_units(suite& s, const std::string& name, const std::string& text, const std::string& pattern) {
    const std::u16string host = host_order(text), wanted = host_order(pattern);
    hunt h(s, name, text);
    h.run("qzstr", [&] { return with_qzstr(text, pattern, 2, true); });
    h.run("u16find", [&] { return with_find(host, wanted); });
    h.run("icu", [&] { return with_icu(host, wanted); });
}

void add_backward(suite& s, const std::string& name, const std::string& text, const std::string& pattern, int bpc) {
    hunt h(s, name, text);
    h.run("qzstr", [&] { return with_qzstr(text, pattern, bpc, false); });
    h.run("forward", [&] { return with_qzstr(text, pattern, bpc, true); });
}

void add_wildcards(suite& s, const std::string& name, const std::string& text, const std::string& pattern) {
    const std::u16string host = host_order(text), wanted = host_order(pattern);
    hunt h(s, name, text);
    h.run("qzstr", [&] { return wildcards_with_qzstr(text, pattern); });
    h.run("loop", [&] { return wildcards_with_loop(host, wanted); });
}

} // namespace

void search(suite& s) {
    const auto to_ucs2 = [](const std::string& utf8) {
        return converted(QZSTR_CHARSET_UTF8, QZSTR_CHARSET_UTF16, utf8);
    };
    const std::string english = text_for({QZSTR_CHARSET_ASCII}, "ascii").substr(0, text_bytes);
    const std::string korean = to_ucs2(text_for({QZSTR_CHARSET_EUCKR}, "ko")).substr(0, text_bytes);
    const std::string wide_english = to_ucs2(english);
    struct pattern {
        const char *kind, *english, *korean, *wildcards;
    };
    for (const pattern& p : {pattern{"absent", "zymurgist", "\uD6FC\uAD2D\uD000", "\uD6FC_\uD000"},
                             pattern{"rare", "kerberos", "\uC554\uD638\uD654", "\uC554_\uD654"},
                             pattern{"frequent", " the ", "\uC788\uC2B5\uB2C8\uB2E4", "\uC2B5_\uB2E4"},
                             pattern{"letter", "e", "\uB2E4", "_\uB2E4"}}) {
        const std::string kind = std::string("/") + p.kind, wide = to_ucs2(p.english), hangul = to_ucs2(p.korean);
        add_bytes(s, "en" + kind, english, p.english);
        add_units(s, "en-ucs2" + kind, wide_english, wide);
        add_units(s, "ko-ucs2" + kind, korean, hangul);
        add_backward(s, "en" + kind + "-backward", english, p.english, 1);
        add_backward(s, "ko-ucs2" + kind + "-backward", korean, hangul, 2);
        add_wildcards(s, "ko-wildcards" + kind, korean, to_ucs2(p.wildcards));
    }
    for (const std::size_t size : {16u, 64u, 256u}) {
        add_bytes(s, "en-value/absent-" + std::to_string(size), english.substr(5000, size), "zymurgist");
        add_units(s, "ko-value/absent-" + std::to_string(size), korean.substr(5000, size),
                  to_ucs2("\uD6FC\uAD2D\uD000"));
    }
    for (const std::size_t length : {20u, 1000u}) {
        std::string wanted(length, 'a');
        wanted[length / 3] = 'b'; // where no quick test looks
        const std::string text(text_bytes, 'a');
        hunt h(s, "periodic/" + std::to_string(length), text);
        h.run("qzstr", [&] { return with_qzstr(text, wanted, 1, true); });
        h.run("memmem", [&] { return with_memmem(text, wanted); });
    }
}

} // namespace bench
