#include "peers.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iconv.h>
#include <iterator>
#include <optional>
#include <sstream>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>

namespace bench {

const charset charsets[QZSTR_CHARSET_MAX] = {
    {QZSTR_CHARSET_ASCII, "", "ASCII", "US-ASCII"},
    {QZSTR_CHARSET_EUCKR, "ko", "EUC-KR", "euc-kr"},
    {QZSTR_CHARSET_MSWIN949, "ko", "UHC", "windows-949"},
    {QZSTR_CHARSET_UTF8, "en fr ru ja ko zh-cn", "UTF-8", "UTF-8"},
    {QZSTR_CHARSET_UTF16, "ko ru", "UTF-16BE", "UTF-16BE"},
    {QZSTR_CHARSET_SJIS, "ja", "SHIFT_JIS", "shift_jis"},
    {QZSTR_CHARSET_MSWIN932, "ja", "WINDOWS-31J", "windows-31j"},
    {QZSTR_CHARSET_MSWIN932_TILDE, "ja", "WINDOWS-31J", "windows-31j"},
    {QZSTR_CHARSET_EUCJP, "ja", "EUC-JP", "euc-jp"},
    {QZSTR_CHARSET_EUCJP_TILDE, "ja", "EUC-JP", "euc-jp"},
    {QZSTR_CHARSET_TCVN3, "vi", nullptr, nullptr},
    {QZSTR_CHARSET_MSWIN936, "zh-cn", "GBK", "gbk"},
    {QZSTR_CHARSET_MSWIN1252, "fr de en", "CP1252", "windows-1252"},
    {QZSTR_CHARSET_MSWIN950, "zh-tw", "BIG5-HKSCS", "big5-hkscs"},
    {QZSTR_CHARSET_MSWIN1251, "ru", "CP1251", "windows-1251"},
    {QZSTR_CHARSET_ISO8859P1, "fr", "ISO-8859-1", "iso-8859-1"},
    {QZSTR_CHARSET_ISO8859P2, "pl", "ISO-8859-2", "iso-8859-2"},
    {QZSTR_CHARSET_ISO8859P9, "tr", "ISO-8859-9", "iso-8859-9"},
    {QZSTR_CHARSET_ISO8859P15, "fr", "ISO-8859-15", "iso-8859-15"},
    {QZSTR_CHARSET_KOI8R, "ru", "KOI8-R", "koi8-r"},
    {QZSTR_CHARSET_ISO8859P5, "ru", "ISO-8859-5", "iso-8859-5"},
    {QZSTR_CHARSET_MSDOS866, "ru", "CP866", "ibm-866"},
    {QZSTR_CHARSET_MSWIN1253, "el", "CP1253", "windows-1253"},
    {QZSTR_CHARSET_ISO8859P7, "el", "ISO-8859-7", "iso-8859-7"},
    {QZSTR_CHARSET_TIS620, "th", "TIS-620", "tis-620"},
    {QZSTR_CHARSET_MSWIN1256, "ar", "CP1256", "windows-1256"},
    {QZSTR_CHARSET_ISO8859P6, "ar", "ISO-8859-6", "iso-8859-6"},
    {QZSTR_CHARSET_SJIS_TILDE, "ja", "SHIFT_JIS", "shift_jis"},
    {QZSTR_CHARSET_ZHT16BIG5, "zh-tw", "BIG5", "big5"},
    {QZSTR_CHARSET_ZHT16MSWIN950, "zh-tw", "CP950", "windows-950"},
    {QZSTR_CHARSET_GB18030, "zh-cn ko", "GB18030", "gb18030"},
    {QZSTR_CHARSET_ISO8859P8, "he", "ISO-8859-8", "iso-8859-8"},
    {QZSTR_CHARSET_EUCTW, "zh-tw", "EUC-TW", "euc-tw"},
    {QZSTR_CHARSET_ISO2022KR, "ko", "ISO-2022-KR", "iso-2022-kr"},
    {QZSTR_CHARSET_US8ICL, "", "IBM037", "ibm-037"},
};

namespace {

constexpr std::size_t growth_of_a_byte = 4;

struct with_qzstr {
    qzstr_charset_t from, to;
    qzstr_get_another_charset_str_fn_t cell = _charset_info[from].qzstr_get_another_charset_str_fn[to];

    std::size_t operator()(std::string& text, char* out, std::size_t room) const {
        int read = 0, written = 0;
        cell(from, text.data(), static_cast<int>(text.size()), to, out, static_cast<int>(room), &read, &written);
        return static_cast<std::size_t>(written);
    }
};

/// A program that puts "?" for what iconv refuses.
class with_iconv {
public:
    with_iconv(const charset& from, const charset& to)
        : converter_(iconv_open(to.iconv_name, from.iconv_name), [](void* c) { iconv_close(c); }) {
        if (converter_.get() == reinterpret_cast<void*>(-1)) std::abort();
    }

    std::size_t operator()(std::string& text, char* out, std::size_t room) const {
        char *in = text.data(), *at = out;
        std::size_t left = text.size();
        while (iconv(converter_.get(), &in, &left, &at, &room) == static_cast<std::size_t>(-1) && left != 0 &&
               room != 0) {
            ++in, --left;
            *at++ = '?', --room;
        }
        iconv(converter_.get(), nullptr, nullptr, &at, &room);
        return static_cast<std::size_t>(at - out);
    }

private:
    std::shared_ptr<void> converter_;
};

/// ICU with its own pivot. Its UTF-16 is the host's order, and UTF-8 to UTF-16 has functions of its own.
class with_icu {
public:
    with_icu(const charset& from, const charset& to)
        : from_(from.id), to_(to.id), source_(open(from), ucnv_close), target_(open(to), ucnv_close) {}

    std::size_t operator()(std::string& text, char* out, std::size_t room) const {
        UErrorCode error = U_ZERO_ERROR;
        const auto length = static_cast<std::int32_t>(text.size());
        const auto* const units = reinterpret_cast<const UChar*>(text.data());
        auto* const to_units = reinterpret_cast<UChar*>(out);
        std::int32_t written = 0;
        if (from_ == QZSTR_CHARSET_UTF8 && to_ == QZSTR_CHARSET_UTF16) {
            u_strFromUTF8WithSub(to_units, static_cast<std::int32_t>(room / 2), &written, text.data(), length, 0xFFFD,
                                 nullptr, &error);
            return 2 * static_cast<std::size_t>(written);
        }
        if (from_ == QZSTR_CHARSET_UTF16 && to_ == QZSTR_CHARSET_UTF8) {
            u_strToUTF8WithSub(out, static_cast<std::int32_t>(room), &written, units, length / 2, 0xFFFD, nullptr,
                               &error);
            return static_cast<std::size_t>(written);
        }
        if (to_ == QZSTR_CHARSET_UTF16)
            return 2 * static_cast<std::size_t>(ucnv_toUChars(
                           source_.get(), to_units, static_cast<std::int32_t>(room / 2), text.data(), length, &error));
        if (from_ == QZSTR_CHARSET_UTF16)
            return static_cast<std::size_t>(
                ucnv_fromUChars(target_.get(), out, static_cast<std::int32_t>(room), units, length / 2, &error));
        char* at = out;
        const char* in = text.data();
        ucnv_convertEx(target_.get(), source_.get(), &at, out + room, &in, in + text.size(), nullptr, nullptr, nullptr,
                       nullptr, true, true, &error);
        return static_cast<std::size_t>(at - out);
    }

private:
    static UConverter* open(const charset& c) {
        UErrorCode error = U_ZERO_ERROR;
        UConverter* const converter = ucnv_open(c.icu_name, &error);
        if (U_FAILURE(error)) std::abort();
        return converter;
    }

    qzstr_charset_t from_, to_;
    std::shared_ptr<UConverter> source_, target_;
};

template <class Peer>
struct opened {
    const charset &from, &to;
    std::size_t operator()(std::string& text, char* out, std::size_t room) const {
        return Peer(from, to)(text, out, room);
    }
};

using buffer = std::shared_ptr<std::vector<char>>;

buffer buffer_for(const texts& in) {
    std::size_t longest = 0;
    for (const std::string& text : *in)
        longest = std::max(longest, text.size());
    return std::make_shared<std::vector<char>>(longest * growth_of_a_byte + 64);
}

template <class Converter>
contender over(const char* library, const Converter& convert, const texts& in, const buffer& out) {
    return {library, [=] {
                for (std::string& text : *in)
                    keep(convert(text, out->data(), out->size()));
            }};
}

template <class Converter>
std::string result_of(const Converter& convert, std::string text) {
    std::string out(text.size() * growth_of_a_byte + 64, 0);
    out.resize(convert(text, out.data(), out.size()));
    return out;
}

texts swapped(const texts& in) {
    auto out = std::make_shared<std::vector<std::string>>(*in);
    for (std::string& text : *out)
        for (std::size_t i = 0; i + 1 < text.size(); i += 2)
            std::swap(text[i], text[i + 1]);
    return out;
}

/// All converters of one direction.
struct direction {
    with_qzstr own;
    std::optional<with_iconv> iconv;
    std::optional<with_icu> icu;

    direction(qzstr_charset_t from, qzstr_charset_t to) : own{from, to} {
        if (charsets[from].iconv_name != nullptr && charsets[to].iconv_name != nullptr)
            iconv.emplace(charsets[from], charsets[to]);
        if (charsets[from].icu_name != nullptr && charsets[to].icu_name != nullptr)
            icu.emplace(charsets[from], charsets[to]);
    }

    bool all_give(const std::string& text, const std::string& result) const {
        return same(result_of(own, text), result) && (!iconv || same(result_of(*iconv, text), result)) &&
               (!icu || same(result_of(*icu, text), result));
    }

    /// Libraries put ISO-2022-KR's designator at different places.
    bool same(std::string a, std::string b) const {
        if (own.to == QZSTR_CHARSET_ISO2022KR)
            for (std::string* text : {&a, &b})
                for (std::size_t at; (at = text->find("\x1B$)C")) != std::string::npos;)
                    text->erase(at, 4);
        return a == b;
    }
};

std::string corpus(const std::string& language) {
    const char* const directory = std::getenv("QZSTR_CORPUS");
    std::ifstream in(std::string(directory != nullptr ? directory : ".") + "/" + language + ".txt");
    if (!in) {
        std::fprintf(stderr, "QZSTR_CORPUS has no text in %s\n", language.c_str());
        std::exit(1);
    }
    return {std::istreambuf_iterator<char>(in), {}};
}

bool is_ascii(const std::string& line) {
    return std::ranges::all_of(line, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::string lines_for(const std::vector<qzstr_charset_t>& ids, const std::string& language, std::size_t most) {
    std::vector<std::pair<direction, direction>> ways;
    for (const qzstr_charset_t id : ids)
        if (id != QZSTR_CHARSET_UTF8 && id != QZSTR_CHARSET_UTF16)
            ways.emplace_back(direction(QZSTR_CHARSET_UTF8, id), direction(id, QZSTR_CHARSET_UTF8));
    std::istringstream in(corpus(language == "ascii" ? "en" : language));
    std::string text;
    for (std::string line; text.size() < most && std::getline(in, line);) {
        line += '\n';
        const bool kept = std::ranges::all_of(ways, [&](const auto& way) {
            const std::string there = result_of(way.first.own, line);
            return way.first.all_give(line, there) && way.second.all_give(there, line);
        });
        if (kept && (language != "ascii" || is_ascii(line))) text += line;
    }
    return text;
}

} // namespace

std::vector<std::string> languages_of(const charset& c) {
    std::istringstream words(c.languages);
    std::vector<std::string> languages(std::istream_iterator<std::string>(words), {});
    languages.push_back("ascii");
    return languages;
}

const std::string& text_for(const std::vector<qzstr_charset_t>& ids, const std::string& language, std::size_t most) {
    static std::string last_name, last; // cases of one text follow each other
    std::string name = language + std::to_string(most);
    for (const qzstr_charset_t id : ids)
        name += ' ' + std::to_string(id);
    if (name != last_name) last = lines_for(ids, language, most);
    last_name = name;
    return last;
}

std::string converted(qzstr_charset_t from, qzstr_charset_t to, std::string text) {
    return result_of(with_qzstr{from, to}, std::move(text));
}

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

texts in_charset(qzstr_charset_t to, const std::vector<std::string>& utf8) {
    auto out = std::make_shared<std::vector<std::string>>();
    for (const std::string& piece : utf8)
        out->push_back(converted(QZSTR_CHARSET_UTF8, to, piece));
    return out;
}

contender own_conversion(const char* label, qzstr_charset_t from, qzstr_charset_t to, const texts& in) {
    return over(label, with_qzstr{from, to}, in, buffer_for(in));
}

void measure_conversion(suite& s, const std::string& name, qzstr_charset_t from, qzstr_charset_t to, const texts& in,
                        bool compares, const std::vector<contender>& extra) {
    if (!s.wants(name)) return;
    const direction way(from, to);
    const buffer out = buffer_for(in);
    const texts host = from == QZSTR_CHARSET_UTF16 ? swapped(in) : in;
    std::vector<contender> contenders = {over("qzstr", way.own, in, out)};
    const auto add = [&](const char* library, const auto& peer, const texts& its_in) {
        const bool host_order = its_in != in || (to == QZSTR_CHARSET_UTF16 && library == std::string("icu"));
        if (compares && !host_order && !way.same(result_of(peer, in->front()), result_of(way.own, in->front())))
            std::fprintf(stderr, "%s: %s converts otherwise\n", name.c_str(), library);
        else
            contenders.push_back(over(library, peer, its_in, out));
    };
    if (way.iconv) add("iconv", *way.iconv, in);
    if (way.icu) add("icu", *way.icu, host);
    contenders.insert(contenders.end(), extra.begin(), extra.end());
    std::size_t bytes = 0;
    for (const std::string& text : *in)
        bytes += text.size();
    s.measure(name, bytes, in->size(), contenders);
}

std::vector<contender> opened_each_time(qzstr_charset_t from, qzstr_charset_t to, const texts& in) {
    const texts host = from == QZSTR_CHARSET_UTF16 ? swapped(in) : in;
    const buffer out = buffer_for(in);
    return {over("iconv opened", opened<with_iconv>{charsets[from], charsets[to]}, in, out),
            over("icu opened", opened<with_icu>{charsets[from], charsets[to]}, host, out)};
}

} // namespace bench
