// The operations that convert nothing, beside a plain walk over the text (and ICU where it has the operation): counting,
// positions, width, letter case, trailing blanks. `memcpy` over the same bytes shows the limit.
//
// Names: <row>/<language>/<operation>/<size>/<library>. QZSTR_CORPUS names the directory that corpus.py filled.
#include "qzstr.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <unicode/ustring.h>
#include <vector>

namespace {

const struct {
    qzstr_charset_t charset;
    const char* language;
} texts[] = {
    {QZSTR_CHARSET_ASCII, "en"},        {QZSTR_CHARSET_UTF8, "en"},        {QZSTR_CHARSET_UTF8, "ru"},
    {QZSTR_CHARSET_UTF8, "ko"},         {QZSTR_CHARSET_UTF8, "zh-cn"},     {QZSTR_CHARSET_UTF16, "ko"},
    {QZSTR_CHARSET_MSWIN949, "ko"},     {QZSTR_CHARSET_MSWIN949, "en"},    {QZSTR_CHARSET_MSWIN932, "ja"},
    {QZSTR_CHARSET_EUCJP, "ja"},        {QZSTR_CHARSET_MSWIN936, "zh-cn"}, {QZSTR_CHARSET_GB18030, "zh-cn"},
    {QZSTR_CHARSET_ZHT16BIG5, "zh-tw"}, {QZSTR_CHARSET_EUCTW, "zh-tw"},    {QZSTR_CHARSET_MSWIN1251, "ru"},
};

std::string text_in(qzstr_charset_t charset, const char* language, std::size_t size) {
    const char* const corpus = std::getenv("QZSTR_CORPUS");
    std::ifstream in(std::string(corpus != nullptr ? corpus : ".") + "/" + language + ".txt");
    std::string utf8(std::istreambuf_iterator<char>(in), {});
    utf8.resize(std::min<std::size_t>(utf8.size(), 1 << 20));
    std::string out(utf8.size() * 4 + 16, 0);
    int read = 0, written = 0;
    _charset_info[QZSTR_CHARSET_UTF8].qzstr_get_another_charset_str_fn[charset](
        QZSTR_CHARSET_UTF8, utf8.data(), static_cast<int>(utf8.size()), charset, out.data(),
        static_cast<int>(out.size()), &read, &written);
    out.resize(std::min(static_cast<std::size_t>(written), size));
    return out;
}

/// Bytes of the character at p as each charset's leads tell: what a plain walk does.
int plain_step(qzstr_charset_t charset, const unsigned char* p) {
    switch (charset) {
    case QZSTR_CHARSET_UTF8:
        return *p < 0xC2 || *p > 0xF4 ? 1 : *p < 0xE0 ? 2 : *p < 0xF0 ? 3 : 4;
    case QZSTR_CHARSET_UTF16:
        return (*p & 0xFC) == 0xD8 ? 4 : 2;
    case QZSTR_CHARSET_GB18030:
        return *p < 0x81 ? 1 : p[1] >= 0x30 && p[1] <= 0x38 ? 4 : 2;
    case QZSTR_CHARSET_EUCJP:
        return *p == 0x8F ? 3 : *p == 0x8E || *p >= 0xA1 ? 2 : 1;
    case QZSTR_CHARSET_EUCTW:
        return *p == 0x8E ? 4 : *p >= 0xA1 ? 2 : 1;
    case QZSTR_CHARSET_MSWIN932:
        return (*p >= 0x81 && *p <= 0x9F) || *p >= 0xE0 ? 2 : 1;
    case QZSTR_CHARSET_ASCII:
    case QZSTR_CHARSET_MSWIN1251:
        return 1;
    default:
        return *p >= 0x81 && *p <= 0xFE ? 2 : 1;
    }
}

std::size_t plain_walk(qzstr_charset_t charset, const std::string& text) {
    std::size_t characters = 0;
    const auto* const p = reinterpret_cast<const unsigned char*>(text.c_str());
    for (std::size_t at = 0; at < text.size(); ++characters)
        at += static_cast<std::size_t>(plain_step(charset, p + at));
    return characters;
}

using work = std::function<void(std::string& text)>;

void add(const std::string& name, const std::string& text, work do_it) {
    auto copy = std::make_shared<std::string>(text);
    benchmark::RegisterBenchmark(name.c_str(), [copy, do_it](benchmark::State& state) {
        for (auto _ : state) {
            do_it(*copy);
            benchmark::ClobberMemory();
        }
        state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * copy->size()));
    });
}

void add_text(qzstr_charset_t charset, const char* language, std::size_t size) {
    const std::string text = text_in(charset, language, size);
    if (text.empty()) return;
    const qzstr_charset_info_t& row = _charset_info[charset];
    const std::string base = std::string(row.name) + "/" + language + "/";
    const std::string end = "/" + std::to_string(size) + "/";
    const auto length = [](const std::string& t) { return static_cast<int>(t.size()); };
    const work walk = [=](std::string& t) { benchmark::DoNotOptimize(plain_walk(charset, t)); };

    add(base + "count_char" + end + "qzstr", text,
        [&row, length](std::string& t) { benchmark::DoNotOptimize(row.qzstr_count_char_fn(t.data(), length(t))); });
    add(base + "count_char" + end + "walk", text, walk);
    add(base + "get_byte_pos" + end + "qzstr", text, [&row, length](std::string& t) {
        int start = 0, last = 0, count = 0;
        row.qzstr_get_byte_pos_fn(t.data(), length(t), length(t), &start, &last, &count);
        benchmark::DoNotOptimize(count);
    });
    add(base + "get_byte_pos" + end + "walk", text, walk);
    add(base + "width" + end + "qzstr", text, [&row, length](std::string& t) {
        int bytes = 0, columns = 0;
        uchar cut = 0;
        row.qzstr_get_byte_pos_with_disp_size_fn(t.data(), length(t), 4 * length(t), &bytes, &columns, &cut);
        benchmark::DoNotOptimize(columns);
    });
    add(base + "width" + end + "walk", text, walk);
    for (const auto& [mode, name] : {std::pair{QZSTR_CASE_LOWER, "lower"}, std::pair{QZSTR_CASE_UPPER, "upper"}})
        add(base + name + end + "qzstr", text,
            [&row, length, mode](std::string& t) { row.qzstr_convert_case_fn(mode, t.data(), length(t)); });
    add(base + "lower" + end + "walk", text, [=](std::string& t) {
        for (std::size_t at = 0; at < t.size();) {
            const int step = plain_step(charset, reinterpret_cast<unsigned char*>(t.data() + at));
            if (step == 1 && t[at] >= 'A' && t[at] <= 'Z') t[at] = static_cast<char>(t[at] + 0x20);
            at += static_cast<std::size_t>(step);
        }
    });
    if (charset == QZSTR_CHARSET_UTF8 || charset == QZSTR_CHARSET_UTF16) {
        const std::string big = text_in(QZSTR_CHARSET_UTF16, language, size * 2);
        auto units = std::make_shared<std::vector<UChar>>();
        for (std::size_t i = 0; i + 1 < big.size(); i += 2)
            units->push_back(
                static_cast<UChar>(static_cast<unsigned char>(big[i]) << 8 | static_cast<unsigned char>(big[i + 1])));
        auto out = std::make_shared<std::vector<UChar>>(units->size() * 2);
        add(base + "lower" + end + "icu", text, [units, out](std::string&) {
            UErrorCode error = U_ZERO_ERROR;
            u_strToLower(out->data(), static_cast<int>(out->size()), units->data(), static_cast<int>(units->size()), "",
                         &error);
        });
    }
    const std::string blanks = text.substr(0, text.size() / 4 * 2) +
                               (charset == QZSTR_CHARSET_UTF16 ? [&] {
                                   std::string units;
                                   while (units.size() < text.size() / 2) units += std::string("\0 ", 2);
                                   return units;
                               }() : std::string(text.size() / 2, ' '));
    add(base + "trailing" + end + "qzstr", blanks, [&row, length](std::string& t) {
        benchmark::DoNotOptimize(row.qzstr_get_first_trailing_space_fn(t.data(), length(t)));
    });
    if (charset != QZSTR_CHARSET_UTF16)
        add(base + "trailing" + end + "find_last_not_of", blanks,
            [](std::string& t) { benchmark::DoNotOptimize(t.find_last_not_of(' ')); });
    auto target = std::make_shared<std::string>(text.size(), 0);
    add(base + "count_char" + end + "memcpy", text,
        [target](std::string& t) { std::memcpy(target->data(), t.data(), t.size()); });
}

} // namespace

int main(int argc, char** argv) {
    for (const auto& t : texts)
        for (const std::size_t size : {16, 64, 256, 1 << 20})
            add_text(t.charset, t.language, size);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
