// Conversions on real text: every row to and from UTF-8 and UTF-16BE, the direct routines between other charsets, damaged
// text; how time grows with the text, and what a converter costs that is opened for one value.
//
// Names: <row>/<language>/<direction>/<size>, where size is "text", "damaged" or the bytes of a value.
#include "peers.h"

#include <cstdio>

namespace bench {

namespace {

constexpr qzstr_charset_t unicode_forms[] = {QZSTR_CHARSET_UTF8, QZSTR_CHARSET_UTF16};

std::string direction_name(qzstr_charset_t unicode, bool to_row) {
    const std::string name = charsets[unicode].iconv_name;
    return to_row ? name + "-to" : "to-" + name;
}

/// One byte in a hundred becomes one that begins no character; where is always the same.
texts damaged(const texts& clean) {
    auto out = std::make_shared<std::vector<std::string>>(*clean);
    unsigned random = 1;
    for (std::string& text : *out)
        for (std::size_t i = 0; i < text.size(); ++i) {
            random = random * 1664525 + 1013904223;
            if ((random >> 16) % 100 == 0) text[i] = '\xFF';
        }
    return out;
}

bool is_unicode(qzstr_charset_t id) {
    return id == QZSTR_CHARSET_UTF8 || id == QZSTR_CHARSET_UTF16;
}

/// Whether a routine of its own converts, which the rows' cases do not measure.
bool is_direct(qzstr_charset_t from, qzstr_charset_t to) {
    const auto cell = _charset_info[from].qzstr_get_another_charset_str_fn[to];
    const bool rewrites_its_source = from == QZSTR_CHARSET_ASCII && to == QZSTR_CHARSET_US8ICL;
    return from != to && !is_unicode(from) && !is_unicode(to) && cell != qzstr_convert_through_ucs2 &&
           cell != qzstr_convert_through_ucs4 && !rewrites_its_source;
}

std::string between(qzstr_charset_t from, qzstr_charset_t to) {
    return std::string(charsets[from].name()) + "-to-" + charsets[to].name();
}

} // namespace

void rows(suite& s) {
    for (const charset& c : charsets)
        for (const std::string& language : languages_of(c))
            for (const bool to_row : {false, true})
                for (const qzstr_charset_t unicode : unicode_forms)
                    for (const std::size_t size : {0, 8, 16, 32, 64, 256}) {
                        const std::string name = std::string(c.name()) + "/" + language + "/" +
                                                 direction_name(unicode, to_row) + "/" +
                                                 (size == 0 ? "text" : std::to_string(size));
                        // UTF-16 beside UTF-8 is in UTF-8's row.
                        if (c.id == unicode || c.id == QZSTR_CHARSET_UTF16 || !s.wants(name)) continue;
                        const qzstr_charset_t from = to_row ? unicode : c.id, to = to_row ? c.id : unicode;
                        const std::string& text = text_for({c.id}, language);
                        if (text.empty())
                            std::fprintf(stderr, "no text in %s for %s\n", language.c_str(), c.name());
                        else
                            measure_conversion(s, name, from, to, in_charset(from, pieces(text, size)));
                    }
}

void pairs(suite& s) {
    for (const charset& from : charsets)
        for (const charset& to : charsets) {
            if (!is_direct(from.id, to.id)) continue;
            const std::string base = "pairs/" + between(from.id, to.id) + "/";
            for (const std::size_t size : {0, 16, 256}) {
                const std::string name = base + (size == 0 ? "text" : std::to_string(size));
                if (!s.wants(name)) continue;
                const std::string* text = &text_for({from.id, to.id}, languages_of(from).front());
                if (text->size() < 10000) text = &text_for({from.id, to.id}, "ascii");
                if (!text->empty())
                    measure_conversion(s, name, from.id, to.id, in_charset(from.id, pieces(*text, size)));
            }
        }
}

void damage(suite& s) {
    for (const charset& c : charsets)
        for (const bool to_row : {false, true}) {
            const qzstr_charset_t unicode = c.id == QZSTR_CHARSET_UTF8 ? QZSTR_CHARSET_UTF16 : QZSTR_CHARSET_UTF8;
            const std::string language = languages_of(c).front();
            const std::string name =
                std::string(c.name()) + "/" + language + "/" + direction_name(unicode, to_row) + "/damaged";
            const qzstr_charset_t from = to_row ? unicode : c.id, to = to_row ? c.id : unicode;
            if (from == QZSTR_CHARSET_UTF16 || !s.wants(name)) continue;
            const std::string& text = text_for({c.id}, language);
            if (text.empty()) continue;
            const texts clean = in_charset(from, {text}), bad = damaged(clean);
            const bool has_the_byte = converted(to, from, converted(from, to, bad->front())) == bad->front();
            if (!has_the_byte)
                measure_conversion(s, name, from, to, bad, false, {own_conversion("clean", from, to, clean)});
        }
}

void growth(suite& s) {
    const struct {
        qzstr_charset_t from, to;
        const char* language;
    } ways[] = {
        {QZSTR_CHARSET_MSWIN949, QZSTR_CHARSET_UTF8, "ko"},   {QZSTR_CHARSET_UTF8, QZSTR_CHARSET_MSWIN949, "ko"},
        {QZSTR_CHARSET_MSWIN1251, QZSTR_CHARSET_UTF8, "ru"},  {QZSTR_CHARSET_UTF8, QZSTR_CHARSET_MSWIN1251, "ru"},
        {QZSTR_CHARSET_GB18030, QZSTR_CHARSET_UTF8, "zh-cn"}, {QZSTR_CHARSET_UTF8, QZSTR_CHARSET_UTF16, "ko"},
        {QZSTR_CHARSET_ASCII, QZSTR_CHARSET_UTF8, "ascii"},
    };
    for (const auto& [from, to, language] : ways) {
        const std::string base = between(from, to);
        const auto text = [&, from = from, to = to, language = language](std::size_t size) {
            const std::string& once = text_for({from, to}, language);
            std::string repeated;
            while (repeated.size() < size)
                repeated += once;
            return repeated;
        };
        for (std::size_t size = 4 << 10; size <= 64 << 20; size *= 4)
            if (const std::string name = "growth/" + base + "/" + std::to_string(size); s.wants(name))
                measure_conversion(s, name, from, to, in_charset(from, {pieces(text(size), size).front()}));
        const std::string name = "opening/" + base + "/16";
        if (!s.wants(name)) continue;
        const texts values = in_charset(from, pieces(text(1), 16));
        measure_conversion(s, name, from, to, values, true, opened_each_time(from, to, values));
    }
}

} // namespace bench
