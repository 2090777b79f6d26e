// Conversions of every row to and from UTF-8 and UTF-16BE beside glibc iconv and ICU, on real text of the row's language:
// the whole text at once, and values of 16, 64 and 256 bytes, one call each.
//
// Names: <row>/<language>/<direction>/<size>/<library>. The environment variable QZSTR_CORPUS names the directory that
// corpus.py filled.
#include "qzstr.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iconv.h>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <unicode/ucnv.h>
#include <vector>

namespace {

struct row {
    qzstr_charset_t charset;
    const char *languages, *iconv_name, *icu_name; // a peer without the charset has no name
};

const row rows[] = {
    {QZSTR_CHARSET_ASCII, "en", "ASCII", "US-ASCII"},
    {QZSTR_CHARSET_UTF8, "en fr ru ja ko zh-cn", "UTF-8", "UTF-8"},
    {QZSTR_CHARSET_EUCKR, "ko en", "EUC-KR", "euc-kr"},
    {QZSTR_CHARSET_MSWIN949, "ko en", "UHC", "windows-949"},
    {QZSTR_CHARSET_SJIS, "ja en", "SHIFT_JIS", "shift_jis"},
    {QZSTR_CHARSET_MSWIN932, "ja en", "WINDOWS-31J", "windows-31j"},
    {QZSTR_CHARSET_EUCJP, "ja en", "EUC-JP", "euc-jp"},
    {QZSTR_CHARSET_MSWIN936, "zh-cn en", "GBK", "gbk"},
    {QZSTR_CHARSET_GB18030, "zh-cn en", "GB18030", "gb18030"},
    {QZSTR_CHARSET_ZHT16BIG5, "zh-tw en", "BIG5", "big5"},
    {QZSTR_CHARSET_ZHT16MSWIN950, "zh-tw", "CP950", "windows-950"},
    {QZSTR_CHARSET_MSWIN950, "zh-tw en", "BIG5-HKSCS", "big5-hkscs"},
    {QZSTR_CHARSET_EUCTW, "zh-tw en", "EUC-TW", "euc-tw"},
    {QZSTR_CHARSET_ISO2022KR, "ko", "ISO-2022-KR", "iso-2022-kr"},
    {QZSTR_CHARSET_MSWIN1251, "ru", "CP1251", "windows-1251"},
    {QZSTR_CHARSET_KOI8R, "ru", "KOI8-R", "koi8-r"},
    {QZSTR_CHARSET_ISO8859P5, "ru", "ISO-8859-5", "iso-8859-5"},
    {QZSTR_CHARSET_MSDOS866, "ru", "CP866", "ibm-866"},
    {QZSTR_CHARSET_MSWIN1253, "el", "CP1253", "windows-1253"},
    {QZSTR_CHARSET_ISO8859P7, "el", "ISO-8859-7", "iso-8859-7"},
    {QZSTR_CHARSET_MSWIN1256, "ar", "CP1256", "windows-1256"},
    {QZSTR_CHARSET_ISO8859P6, "ar", "ISO-8859-6", "iso-8859-6"},
    {QZSTR_CHARSET_ISO8859P8, "he", "ISO-8859-8", "iso-8859-8"},
    {QZSTR_CHARSET_TIS620, "th", "TIS-620", "tis-620"},
    {QZSTR_CHARSET_TCVN3, "vi", nullptr, nullptr},
    {QZSTR_CHARSET_ISO8859P9, "tr", "ISO-8859-9", "iso-8859-9"},
    {QZSTR_CHARSET_ISO8859P2, "pl", "ISO-8859-2", "iso-8859-2"},
    {QZSTR_CHARSET_MSWIN1252, "fr de", "CP1252", "windows-1252"},
    {QZSTR_CHARSET_ISO8859P1, "fr", "ISO-8859-1", "iso-8859-1"},
    {QZSTR_CHARSET_ISO8859P15, "fr", "ISO-8859-15", "iso-8859-15"},
    {QZSTR_CHARSET_US8ICL, "en", "IBM037", "ibm-037"},
};

constexpr std::size_t most = 1 << 20;

std::string convert(int from, int to, std::string text, conv_status_t* status = nullptr) {
    std::string out(text.size() * 4 + 16, 0);
    int read = 0, written = 0;
    const conv_status_t s = _charset_info[from].qzstr_get_another_charset_str_fn[to](
        static_cast<qzstr_charset_t>(from), text.data(), static_cast<int>(text.size()),
        static_cast<qzstr_charset_t>(to), out.data(), static_cast<int>(out.size()), &read, &written);
    if (status != nullptr) *status = s;
    out.resize(static_cast<std::size_t>(written));
    return out;
}

/// Whether iconv converts a whole line, too: where it stops at a character, there is nothing to compare.
bool iconv_takes(const char* from, const char* to, std::string line) {
    const iconv_t cd = iconv_open(to, from);
    std::vector<char> out(line.size() * 4 + 16);
    char *in = line.data(), *at = out.data();
    std::size_t left = line.size(), room = out.size();
    const bool whole = iconv(cd, &in, &left, &at, &room) == 0 && left == 0;
    iconv_close(cd);
    return whole;
}

/// The lines of a language that the row's charset holds exactly, in UTF-8.
std::string exact_lines(const row& r, const std::string& language) {
    const int charset = r.charset;
    const char* const corpus = std::getenv("QZSTR_CORPUS");
    std::ifstream in(std::string(corpus != nullptr ? corpus : ".") + "/" + language + ".txt");
    std::string text;
    for (std::string line; text.size() < most && std::getline(in, line);) {
        conv_status_t status = 0;
        const std::string there = convert(QZSTR_CHARSET_UTF8, charset, line, &status);
        if (status != 0 || convert(charset, QZSTR_CHARSET_UTF8, there) != line) continue;
        if (r.iconv_name != nullptr &&
            !(iconv_takes("UTF-8", r.iconv_name, line) && iconv_takes(r.iconv_name, "UTF-8", there)))
            continue;
        text += line + "\n";
    }
    return text;
}

/// The whole text, or pieces of about `size` bytes of its UTF-8 form cut between characters.
std::vector<std::string> pieces(const std::string& utf8, std::size_t size) {
    if (size == 0) return {utf8};
    std::vector<std::string> cut;
    for (std::size_t at = 0; at < utf8.size() && cut.size() < 2000;) {
        std::size_t end = std::min(at + size, utf8.size());
        while (end < utf8.size() && (utf8[end] & 0xC0) == 0x80)
            --end;
        cut.push_back(utf8.substr(at, end - at));
        at = end;
    }
    return cut;
}

using converter = std::function<std::size_t(std::string& from, char* to, std::size_t room)>;

converter by_qzstr(int from, int to) {
    const auto cell = _charset_info[from].qzstr_get_another_charset_str_fn[to];
    return [=](std::string& text, char* out, std::size_t room) {
        int read = 0, written = 0;
        cell(static_cast<qzstr_charset_t>(from), text.data(), static_cast<int>(text.size()),
             static_cast<qzstr_charset_t>(to), out, static_cast<int>(room), &read, &written);
        return static_cast<std::size_t>(written);
    };
}

converter by_iconv(const char* from, const char* to) {
    const std::shared_ptr<void> cd(iconv_open(to, from), [](void* c) { iconv_close(c); });
    if (cd.get() == reinterpret_cast<void*>(-1)) std::abort();
    return [cd](std::string& text, char* out, std::size_t room) {
        char *in = text.data(), *at = out;
        std::size_t left = text.size();
        iconv(cd.get(), nullptr, nullptr, nullptr, nullptr);
        iconv(cd.get(), &in, &left, &at, &room);
        return static_cast<std::size_t>(at - out);
    };
}

UConverter* open_icu(const char* name) {
    UErrorCode error = U_ZERO_ERROR;
    UConverter* const c = ucnv_open(name, &error);
    if (U_FAILURE(error)) std::abort();
    return c;
}

/// ICU with its own pivot; UTF-16 is the host's order there, its best case.
converter by_icu(const char* from, const char* to) {
    const bool to_units = std::strcmp(to, "UTF-16BE") == 0, from_units = std::strcmp(from, "UTF-16BE") == 0;
    const std::shared_ptr<UConverter> source(open_icu(from), ucnv_close), target(open_icu(to), ucnv_close);
    return [=, swapped = std::u16string()](std::string& text, char* out, std::size_t room) mutable {
        UErrorCode error = U_ZERO_ERROR;
        if (to_units)
            return 2 * static_cast<std::size_t>(ucnv_toUChars(source.get(), reinterpret_cast<UChar*>(out),
                                                              static_cast<int>(room / 2), text.data(),
                                                              static_cast<int>(text.size()), &error));
        if (from_units) // the same amount of work whichever the order of the bytes is: any units of this text will do
            return static_cast<std::size_t>(ucnv_fromUChars(target.get(), out, static_cast<int>(room),
                                                            reinterpret_cast<const UChar*>(text.data()),
                                                            static_cast<int>(text.size() / 2), &error));
        char* at = out;
        const char* in = text.data();
        ucnv_convertEx(target.get(), source.get(), &at, out + room, &in, in + text.size(), nullptr, nullptr, nullptr,
                       nullptr, true, true, &error);
        return static_cast<std::size_t>(at - out);
    };
}

void add(const std::string& name, converter convert_one, std::shared_ptr<std::vector<std::string>> texts) {
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        std::size_t longest = 0, total = 0;
        for (const std::string& t : *texts)
            longest = std::max(longest, t.size()), total += t.size();
        std::vector<char> out(longest * 4 + 64);
        for (auto _ : state)
            for (std::string& t : *texts)
                benchmark::DoNotOptimize(convert_one(t, out.data(), out.size()));
        state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * total));
    });
}

void add_direction(const row& r, const std::string& language, const std::string& utf8, bool to_row, int form) {
    const int unicode = form == 8 ? QZSTR_CHARSET_UTF8 : QZSTR_CHARSET_UTF16;
    if (unicode == r.charset) return;
    const int from = to_row ? unicode : r.charset, to = to_row ? r.charset : unicode;
    const char* const unicode_name = form == 8 ? "UTF-8" : "UTF-16BE";
    const std::string direction = to_row ? std::string(unicode_name) + "-to" : std::string("to-") + unicode_name;
    for (const std::size_t size : {0, 16, 64, 256}) {
        auto texts = std::make_shared<std::vector<std::string>>();
        for (const std::string& piece : pieces(utf8, size))
            texts->push_back(convert(QZSTR_CHARSET_UTF8, from, piece));
        auto host_units = std::make_shared<std::vector<std::string>>(*texts);
        if (from == QZSTR_CHARSET_UTF16)
            for (std::string& t : *host_units)
                for (std::size_t i = 0; i + 1 < t.size(); i += 2)
                    std::swap(t[i], t[i + 1]);
        const std::string name = std::string(_charset_info[r.charset].name) + "/" + language + "/" + direction + "/" +
                                 (size == 0 ? "text" : std::to_string(size)) + "/";
        add(name + "qzstr", by_qzstr(from, to), texts);
        if (r.iconv_name != nullptr)
            add(name + "iconv", by_iconv(to_row ? unicode_name : r.iconv_name, to_row ? r.iconv_name : unicode_name),
                texts);
        if (r.icu_name != nullptr)
            add(name + "icu", by_icu(to_row ? unicode_name : r.icu_name, to_row ? r.icu_name : unicode_name),
                host_units);
    }
}

} // namespace

int main(int argc, char** argv) {
    for (const row& r : rows) {
        const std::string languages = r.languages;
        for (std::size_t at = 0, end; at < languages.size(); at = end + 1) {
            end = std::min(languages.find(' ', at), languages.size());
            const std::string language = languages.substr(at, end - at);
            const std::string utf8 = exact_lines(r, language);
            if (utf8.empty()) {
                std::fprintf(stderr, "no text in %s for %s\n", language.c_str(), _charset_info[r.charset].name);
                continue;
            }
            for (const bool to_row : {false, true})
                for (const int form : {8, 16})
                    add_direction(r, language, utf8, to_row, form);
        }
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
