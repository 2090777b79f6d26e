// The 17 operations of every row beside what a program does without the library: a plain walk over the text, the peers'
// conversion into wide units, the C++ library. `memcpy` over the same bytes shows the limit.
//
// Names: <row>/<language>/<operation>/<bytes>.
#include "peers.h"

#include <algorithm>
#include <cctype>
#include <csetjmp>
#include <cstring>
#include <iconv.h>
#include <qzstr_runtime.h>
#include <unicode/ustring.h>

namespace bench {

namespace {

/// Bytes of the character at p as each charset's leads tell: what a plain walk does.
int plain_step(qzstr_charset_t id, const unsigned char* p) {
    if (_charset_info[id].max_bytes_per_char == 1) return 1;
    switch (id) {
    case QZSTR_CHARSET_UTF8:
        return *p < 0xC2 || *p > 0xF4 ? 1 : *p < 0xE0 ? 2 : *p < 0xF0 ? 3 : 4;
    case QZSTR_CHARSET_UTF16:
        return (*p & 0xFC) == 0xD8 ? 4 : 2;
    case QZSTR_CHARSET_GB18030:
        return *p < 0x81 ? 1 : p[1] >= 0x30 && p[1] <= 0x38 ? 4 : 2;
    case QZSTR_CHARSET_EUCJP:
    case QZSTR_CHARSET_EUCJP_TILDE:
        return *p == 0x8F ? 3 : *p == 0x8E || *p >= 0xA1 ? 2 : 1;
    case QZSTR_CHARSET_EUCTW:
        return *p == 0x8E ? 4 : *p >= 0xA1 ? 2 : 1;
    case QZSTR_CHARSET_SJIS:
    case QZSTR_CHARSET_SJIS_TILDE:
    case QZSTR_CHARSET_MSWIN932:
    case QZSTR_CHARSET_MSWIN932_TILDE:
        return (*p >= 0x81 && *p <= 0x9F) || *p >= 0xE0 ? 2 : 1;
    default:
        return *p >= 0x81 && *p <= 0xFE ? 2 : 1;
    }
}

std::size_t walk(qzstr_charset_t id, const std::string& text, std::size_t end) {
    std::size_t characters = 0;
    const auto* const p = reinterpret_cast<const unsigned char*>(text.c_str());
    for (std::size_t at = 0; at < end; ++characters)
        at += static_cast<std::size_t>(plain_step(id, p + at));
    return characters;
}

void lower_by_walking(qzstr_charset_t id, std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const int step = plain_step(id, reinterpret_cast<unsigned char*>(text.data() + at));
        if (step == 1 && text[at] >= 'A' && text[at] <= 'Z') text[at] = static_cast<char>(text[at] + 0x20);
        at += static_cast<std::size_t>(step);
    }
}

std::jmp_buf refused;

/// Whether the row has the operation at all: two rows refuse some.
bool is_supported(const std::function<void()>& run) {
    qzstr_runtime_set_error_handler([](const qzstr_error_t*, void*) { std::longjmp(refused, 1); }, nullptr, nullptr,
                                    nullptr);
    if (setjmp(refused) != 0) return false;
    run();
    return true;
}

/// The operations over one text.
class operations {
public:
    operations(suite& s, const charset& c, const std::string& language, std::size_t size)
        : suite_(s), charset_(c), row_(_charset_info[c.id]), language_(language), size_(size) {}

    void measure_all() {
        positions();
        conversions();
        letter_case();
        blanks();
    }

private:
    static constexpr int spots = 4; // offsets at which boundaries are asked for

    using own_run = std::function<void(std::string& text)>;

    /// A case whose contenders work on the text.
    void measure(const char* operation, const own_run& own, std::vector<std::pair<const char*, own_run>> peers,
                 std::size_t calls = 1) {
        const std::string name =
            std::string(charset_.name()) + "/" + language_ + "/" + operation + "/" + std::to_string(size_);
        if (!suite_.wants(name) || text().empty() || !is_supported([&] { own(text()); })) return;
        std::vector<contender> contenders = {{"qzstr", [&] { own(text()); }}};
        for (const auto& peer : peers)
            contenders.push_back({peer.first, [&] { peer.second(text()); }});
        suite_.measure(name, text().size(), calls, contenders);
    }

    std::string& text() {
        if (text_.empty()) {
            text_ = converted(QZSTR_CHARSET_UTF8, charset_.id, text_for({charset_.id}, language_));
            text_.resize(std::min(text_.size(), size_));
        }
        return text_;
    }

    static int length(const std::string& t) { return static_cast<int>(t.size()); }

    void positions() {
        const own_run plain = [&](std::string& t) { keep(walk(charset_.id, t, t.size())); };
        std::string copy;
        measure("count_char", [&](std::string& t) { keep(row_.qzstr_count_char_fn(t.data(), length(t))); },
                {{"walk", plain}, {"memcpy", [&](std::string& t) {
                                       copy.resize(t.size());
                                       std::memcpy(copy.data(), t.data(), t.size());
                                       keep(copy.data());
                                   }}});
        measure("count_byte", [&](std::string& t) { keep(row_.qzstr_count_byte_fn(t.data(), length(t) / 8)); },
                {{"walk", [&](std::string& t) {
                      std::size_t at = 0;
                      for (int n = length(t) / 8; n > 0; --n)
                          at += static_cast<std::size_t>(
                              plain_step(charset_.id, reinterpret_cast<unsigned char*>(t.data() + at)));
                      keep(at);
                  }}});
        measure("get_byte_pos",
                [&](std::string& t) {
                    int start = 0, end = 0, count = 0;
                    row_.qzstr_get_byte_pos_fn(t.data(), length(t), length(t), &start, &end, &count);
                    keep(count);
                },
                {{"walk", plain}});
        measure("get_byte_pos_with_disp_size",
                [&](std::string& t) {
                    int bytes = 0, columns = 0;
                    uchar cut = 0;
                    row_.qzstr_get_byte_pos_with_disp_size_fn(t.data(), length(t), 4 * length(t), &bytes, &columns,
                                                              &cut);
                    keep(columns);
                },
                {{"walk", plain}});
        boundary("is_char_leading_byte", [&](char* t, int at) { return row_.qzstr_is_char_leading_byte(t, at); });
        boundary("get_char_leading_byte", [&](char* t, int at) { return row_.qzstr_get_char_leading_byte(t, at); });
        boundary("is_char_ending_byte", [&](char* t, int at) { return row_.qzstr_is_char_ending_byte(t, at); });
        boundary("get_char_ending_byte", [&](char* t, int at) { return row_.qzstr_get_char_ending_byte(t, at, 1); });
    }

    /// Without the library a boundary is found from the beginning of the text.
    template <class Ask>
    void boundary(const char* operation, Ask ask) {
        if (size_ > 256) return; // no difference but in the walk
        const auto each_spot = [](std::string& t, auto at_spot) {
            for (int spot = 1; spot <= spots; ++spot)
                keep(at_spot(t, length(t) / 2 * 2 / (spots + 1) * spot));
        };
        measure(
            operation,
            [&](std::string& t) { each_spot(t, [&](std::string& in, int at) { return ask(in.data(), at); }); },
            {{"walk",
              [&](std::string& t) {
                  each_spot(
                      t, [&](std::string& in, int at) { return walk(charset_.id, in, static_cast<std::size_t>(at)); });
              }}},
            spots);
    }

    /// A decoder and its encoder; the peer is iconv with the same form of units.
    template <class Decode, class Encode>
    void form(const std::string& units, const char* iconv_form, Decode decode, Encode encode) {
        std::string out, back;
        int written = 0;
        const own_run own_decode = [&](std::string& t) {
            out.resize(t.size() * 4 + 16);
            int read = 0;
            decode(t, out, &read, &written);
        };
        const own_run own_encode = [&](std::string& t) {
            if (written == 0) own_decode(t);
            back.resize(t.size() * 4 + 16);
            int read = 0, bytes = 0;
            encode(out, written, back, &read, &bytes);
        };
        std::vector<std::pair<const char*, own_run>> decoders, encoders;
        const bool has_peer = charset_.iconv_name != nullptr;
        const iconv_t to = has_peer ? iconv_open(iconv_form, charset_.iconv_name) : nullptr,
                      from = has_peer ? iconv_open(charset_.iconv_name, iconv_form) : nullptr;
        const auto run_iconv = [](iconv_t converter, char* in, std::size_t left, std::string& result) {
            char* at = result.data();
            std::size_t room = result.size();
            iconv(converter, &in, &left, &at, &room);
            keep(room);
        };
        if (has_peer) {
            decoders.emplace_back("iconv", [&](std::string& t) { run_iconv(to, t.data(), t.size(), out); });
            encoders.emplace_back(
                "iconv", [&](std::string&) { run_iconv(from, out.data(), static_cast<std::size_t>(written), back); });
        }
        measure(("to_" + units).c_str(), own_decode, decoders);
        measure(("from_" + units).c_str(), own_encode, encoders);
        if (has_peer) iconv_close(to), iconv_close(from);
    }

    void conversions() {
        form(
            "ucs2", "UCS-2BE",
            [&](std::string& t, std::string& out, int* read, int* written) {
                row_.qzstr_to_ucs2_fn(t.data(), length(t), out.data(), length(out), read, written, 1);
            },
            [&](std::string& in, int bytes, std::string& out, int* read, int* written) {
                row_.qzstr_from_ucs2_fn(in.data(), bytes, out.data(), length(out), read, written, 1);
            });
        form(
            "ucs4", "UCS-4BE",
            [&](std::string& t, std::string& out, int* read, int* written) {
                row_.qzstr_to_ucs4_fn(t.data(), length(t), out.data(), length(out), read, written, 1);
            },
            [&](std::string& in, int bytes, std::string& out, int* read, int* written) {
                row_.qzstr_from_ucs4_fn(in.data(), bytes, out.data(), length(out), read, written, 1);
            });
        form(
            "wchar", "WCHAR_T",
            [&](std::string& t, std::string& out, int* read, int* written) {
                row_.qzstr_to_wchar_fn(t.data(), length(t), out.data(), length(out), 4, read, written);
            },
            [&](std::string& in, int bytes, std::string& out, int* read, int* written) {
                row_.qzstr_from_wchar_fn(in.data(), bytes, out.data(), length(out), 4, read, written);
            });
    }

    /// ICU changes case in a copy, in units of the host's order.
    void letter_case() {
        std::vector<std::pair<const char*, own_run>> peers = {
            {"walk", [&](std::string& t) { lower_by_walking(charset_.id, t); }}};
        std::u16string units, out;
        if (charset_.id == QZSTR_CHARSET_UTF8 || charset_.id == QZSTR_CHARSET_UTF16)
            peers.emplace_back("icu", [&](std::string& t) {
                if (units.empty()) {
                    const std::string big = converted(charset_.id, QZSTR_CHARSET_UTF16, t);
                    for (std::size_t i = 0; i + 1 < big.size(); i += 2)
                        units +=
                            static_cast<char16_t>(static_cast<uchar>(big[i]) << 8 | static_cast<uchar>(big[i + 1]));
                    out.resize(units.size() * 2);
                }
                UErrorCode error = U_ZERO_ERROR;
                u_strToLower(out.data(), static_cast<std::int32_t>(out.size()), units.data(),
                             static_cast<std::int32_t>(units.size()), "", &error);
            });
        measure(
            "convert_case", [&](std::string& t) { row_.qzstr_convert_case_fn(QZSTR_CASE_LOWER, t.data(), length(t)); },
            peers);
        text_.clear(); // lower case from here on
    }

    void blanks() {
        white_space();
        const std::string blank = converted(QZSTR_CHARSET_UTF8, charset_.id, " ");
        std::string& t = text();
        for (std::size_t at = t.size() / 4 * 2; at + blank.size() <= t.size(); at += blank.size())
            t.replace(at, blank.size(), blank);
        const char last = blank.back();
        measure(
            "get_first_trailing_space",
            [&](std::string& in) { keep(row_.qzstr_get_first_trailing_space_fn(in.data(), length(in))); },
            blank.size() == 1 ? std::vector<std::pair<const char*, own_run>>{{"find_last_not_of",
                                                                              [=](std::string& in) {
                                                                                  keep(in.find_last_not_of(last));
                                                                              }}}
                              : std::vector<std::pair<const char*, own_run>>{});
    }

    void white_space() {
        measure(
            "isspace",
            [&](std::string& t) {
                for (int spot = 0; spot < spots; ++spot)
                    keep(row_.qzstr_isspace_fn(t.data(), length(t) / spots * spot / 4 * 4));
            },
            {{"isspace",
              [&](std::string& t) {
                  for (std::size_t spot = 0; spot < spots; ++spot)
                      keep(std::isspace(static_cast<unsigned char>(t[t.size() / spots * spot / 4 * 4])));
              }}},
            spots);
    }

    suite& suite_;
    const charset& charset_;
    const qzstr_charset_info_t& row_;
    std::string language_, text_;
    std::size_t size_;
};

} // namespace

void slots(suite& s) {
    for (const charset& c : charsets)
        for (const std::string& language : languages_of(c))
            for (const std::size_t size : {16, 256, 1 << 20})
                operations(s, c, language, size).measure_all();
}

} // namespace bench
