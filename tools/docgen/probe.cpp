#include "probe.h"

#include <array>
#include <cstdio>
#include <optional>

namespace docgen {

namespace {

/// Bytes converted without a replacement and without a rest.
std::optional<std::string> exactly(int from, int to, std::string text) {
    char out[64];
    int read = 0, written = 0;
    const conv_status_t status = _charset_info[from].qzstr_get_another_charset_str_fn[to](
        static_cast<qzstr_charset_t>(from), text.data(), static_cast<int>(text.size()),
        static_cast<qzstr_charset_t>(to), out, sizeof out, &read, &written);
    if (status != 0 || read != static_cast<int>(text.size()) || written == 0) return std::nullopt;
    return std::string(out, static_cast<std::size_t>(written));
}

std::string utf8(char32_t c) {
    const unsigned char unit[] = {static_cast<unsigned char>(c >> 24), static_cast<unsigned char>(c >> 16),
                                  static_cast<unsigned char>(c >> 8), static_cast<unsigned char>(c)};
    char out[4];
    int written = 0;
    qzstr_utf8_from_ucs4(reinterpret_cast<char*>(const_cast<unsigned char*>(unit)), 4, out, 4, nullptr, &written, 1);
    return {out, static_cast<std::size_t>(written)};
}

/// The one character of a UTF-8 text; none when it has more.
std::optional<char32_t> character(std::string text) {
    unsigned char units[8];
    int written = 0;
    qzstr_utf8_to_ucs4(text.data(), static_cast<int>(text.size()), reinterpret_cast<char*>(units), 8, nullptr, &written,
                       1);
    if (written != 4) return std::nullopt;
    const auto c = static_cast<char32_t>(units[0] << 24 | units[1] << 16 | units[2] << 8 | units[3]);
    // A byte without a character decodes silently in some charsets.
    return c == 0xFFFD ? std::nullopt : std::optional(c);
}

/// The code as a number, so that runs can be seen.
std::uint64_t number(const std::string& code) {
    std::uint64_t n = code.size();
    for (const unsigned char b : code)
        n = n << 8 | b;
    return n;
}

void extend(std::vector<CodeRun>& runs, const std::string& code, char32_t c, const std::string& instead) {
    if (!runs.empty()) {
        CodeRun& run = runs.back();
        const auto length = run.last - run.first;
        const bool next_code = number(code) == number(run.last_code) + 1 && c == run.last + 1;
        const bool same_kind = instead.empty()
                                   ? run.instead.empty()
                                   : !run.instead.empty() && number(instead) == number(run.instead) + length + 1;
        if (next_code && same_kind) {
            run.last_code = code;
            run.last = c;
            return;
        }
    }
    runs.push_back({code, code, c, c, instead});
}

/// Calls `each` with every sequence that may be one character: of one and two bytes, and the longer forms.
template <class Each>
void each_code(int charset, Each each) {
    const auto byte = [](int b) { return static_cast<char>(b); };
    for (int a = 0; a < 256; ++a)
        each(std::string{byte(a)});
    const int longest = _charset_info[charset].max_bytes_per_char;
    if (longest < 2 || charset == QZSTR_CHARSET_UTF16) return;
    for (int a = 0x80; a < 256; ++a)
        for (int b = 0x30; b < 256; ++b)
            each({byte(a), byte(b)});
    if (charset == QZSTR_CHARSET_EUCJP || charset == QZSTR_CHARSET_EUCJP_TILDE)
        for (int b = 0xA1; b < 0xFF; ++b)
            for (int c = 0xA1; c < 0xFF; ++c)
                each({byte(0x8F), byte(b), byte(c)});
    if (charset == QZSTR_CHARSET_EUCTW)
        for (int plane = 0xA1; plane < 0xB0; ++plane)
            for (int b = 0xA1; b < 0xFF; ++b)
                for (int c = 0xA1; c < 0xFF; ++c)
                    each({byte(0x8E), byte(plane), byte(b), byte(c)});
    if (charset == QZSTR_CHARSET_GB18030)
        for (int a = 0x81; a < 0xFF; ++a)
            for (int b = 0x30; b < 0x3A; ++b)
                for (int c = 0x81; c < 0xFF; ++c)
                    for (int d = 0x30; d < 0x3A; ++d)
                        each({byte(a), byte(b), byte(c), byte(d)});
}

} // namespace

std::string hex(const std::string& bytes) {
    std::string text;
    for (const unsigned char b : bytes) {
        char two[3];
        std::snprintf(two, sizeof two, "%02X", b);
        text += two;
    }
    return text;
}

RoundTrip move_everything(int charset) {
    RoundTrip found;
    if (charset != QZSTR_CHARSET_UTF8 && charset != QZSTR_CHARSET_UTF16 && charset != QZSTR_CHARSET_ISO2022KR)
        each_code(charset, [&](const std::string& code) {
            const auto text = exactly(charset, QZSTR_CHARSET_UTF8, code);
            const auto c = text ? character(*text) : std::nullopt;
            if (!c) return;
            ++found.codes;
            const auto back = exactly(QZSTR_CHARSET_UTF8, charset, *text);
            if (!back) extend(found.decode_only, code, *c, {});
            if (back && *back != code) extend(found.other_code, code, *c, *back);
        });
    for (char32_t c = 1; c < 0x110000; ++c) {
        if (c >= 0xD800 && c < 0xE000) continue;
        const std::string text = utf8(c);
        const auto code = exactly(QZSTR_CHARSET_UTF8, charset, text);
        if (!code) continue;
        ++found.characters;
        const auto back = exactly(charset, QZSTR_CHARSET_UTF8, *code);
        if (!back || *back != text) extend(found.other_character, *code, c, back ? *back : std::string());
    }
    return found;
}

std::string byte_classes(int charset) {
    const auto byte_name = [](int byte) { return hex(std::string(1, static_cast<char>(byte))); };
    const auto& row = _charset_info[charset];
    if (charset == QZSTR_CHARSET_ISO2022KR)
        return "seven-bit codes under shift and escape sequences; positions are refused";
    if (charset == QZSTR_CHARSET_US8ICL) return "00-FF one byte; positions are refused";
    if (charset == QZSTR_CHARSET_UTF16)
        return "16-bit units, high byte first; a high byte D8-DB begins a pair of units";
    std::string classes;
    int first = 0, width = 0;
    for (int b = 0; b <= 256; ++b) {
        int here = 0;
        if (b < 256) {
            char text[] = {static_cast<char>(b), 'A', 'A', 'A', 'A'};
            here = row.qzstr_count_byte_fn(text, 1);
        }
        if (b > 0 && here != width) {
            static constexpr std::array<const char*, 4> kinds = {"one byte", "first of two bytes",
                                                                 "first of three bytes", "first of four bytes"};
            const std::string range = first == b - 1 ? byte_name(first) : byte_name(first) + "-" + byte_name(b - 1);
            classes += (classes.empty() ? "" : ", ") + range + " " + kinds.at(static_cast<std::size_t>(width) - 1);
            first = b;
        }
        width = here;
    }
    return classes;
}

} // namespace docgen
