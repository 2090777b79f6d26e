#include "catalogue.h"

#include "failure.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>

namespace qzconv {

namespace {

/// Upper case without punctuation: what people vary when they remember a name half.
std::string folded(std::string_view name) {
    std::string letters;
    for (const unsigned char c : name)
        if (std::isalnum(c)) letters += static_cast<char>(std::toupper(c));
    return letters;
}

/// Levenshtein distance.
std::size_t edits(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i] != b[j]);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

} // namespace

std::vector<std::string> near_names(std::string_view name) {
    const std::string wanted = folded(name);
    std::vector<std::pair<std::size_t, std::string>> ranked;
    for (const qzstr_charset_info_t& row : _charset_info)
        for (const char* known : {row.canonical_name, row.name, row.ora_compat_name}) {
            const std::string candidate = folded(known);
            const bool part = wanted.size() > 2 && candidate.find(wanted) != std::string::npos;
            const std::size_t distance = part ? 1 : edits(wanted, candidate);
            const bool near = distance <= std::max<std::size_t>(1, wanted.size() / 3);
            const bool listed = std::any_of(ranked.begin(), ranked.end(), [&](auto& r) { return r.second == known; });
            if (near && !candidate.empty() && !listed) ranked.emplace_back(distance, known);
        }
    std::stable_sort(ranked.begin(), ranked.end(), [](auto& a, auto& b) { return a.first < b.first; });
    std::vector<std::string> names;
    for (auto& [distance, known] : ranked)
        if (names.size() < 3) names.push_back(std::move(known));
    return names;
}

qzstr_charset_t charset_named(std::string name) {
    if (!name.empty()) { // the library finds SJIS for an empty name: its Oracle name is empty
        const int length = static_cast<int>(name.size());
        int id = qzstr_charset_get_id(name.data(), length);
        if (id == QZSTR_CHARSET_MAX) id = qzstr_charset_get_id_from_canonical_name(name.data(), length);
        if (id != QZSTR_CHARSET_MAX) return static_cast<qzstr_charset_t>(id);
    }
    std::string suggestion;
    for (const std::string& known : near_names(name))
        suggestion += (suggestion.empty() ? "did you mean " : " or ") + known;
    throw Failure("unknown charset \"" + name + "\"; " +
                  (suggestion.empty() ? "\"qzconv list\" shows all" : suggestion + "?"));
}

} // namespace qzconv
