#include "cut.h"

#include "scan.h"

#include <blocks.h>
#include <catalogue.h>

#include <algorithm>
#include <climits>

namespace qzscan {

namespace {

using qzconv::info;

/// The largest count of characters whose cost is within the limit; more characters never cost less.
template <class Cost>
std::size_t most_within(std::size_t limit, std::size_t count, Cost cost) {
    std::size_t fits = 0;
    for (std::size_t beyond = count + 1; beyond - fits > 1;) {
        const std::size_t middle = fits + (beyond - fits) / 2;
        (cost(middle) <= limit ? fits : beyond) = middle;
    }
    return fits;
}

int checked(std::size_t size) {
    return static_cast<int>(std::min<std::size_t>(size, INT_MAX));
}

struct Width {
    std::size_t bytes, columns;
};

Width width(qzstr_charset_t charset, std::string_view text, std::size_t limit) {
    int bytes = 0, columns = 0;
    uchar is_less = 0;
    info(charset).qzstr_get_byte_pos_with_disp_size_fn(const_cast<char*>(text.data()), checked(text.size()),
                                                       checked(limit), &bytes, &columns, &is_less);
    return {static_cast<std::size_t>(std::max(bytes, 0)), static_cast<std::size_t>(std::max(columns, 0))};
}

} // namespace

Characters::Characters(qzstr_charset_t charset, std::string_view text) : charset_(charset), text_(text) {
    if (charset == QZSTR_CHARSET_ISO2022KR) {
        Decoder decoder(charset, false);
        qzconv::SourceShift shift;
        for (std::size_t end = 0; end < text.size();) {
            const std::string_view rest = text.substr(end);
            const Decoder::Result one = decoder.decode_one(rest, shift);
            if (one.read == 0 || one.points.empty()) break; // the rest is no character
            shift.pass(rest.substr(0, one.read));
            end += std::min(one.read, rest.size());
            ends_.push_back(end);
            shifted_.push_back(shift.prefix().ends_with('\x0E'));
        }
        count_ = ends_.size();
    } else if (charset == QZSTR_CHARSET_US8ICL) {
        count_ = text.size();
    } else if (!text.empty()) {
        int start = 0, end = -1, count = 0;
        info(charset).qzstr_get_byte_pos_fn(const_cast<char*>(text.data()), checked(text.size()), INT_MAX, &start, &end,
                                            &count);
        count_ = static_cast<std::size_t>(std::max(count, 0));
    }
}

std::size_t Characters::end_of(std::size_t count) const {
    if (count == 0) return 0;
    if (count >= count_) return text_.size();
    if (charset_ == QZSTR_CHARSET_US8ICL) return count;
    if (charset_ == QZSTR_CHARSET_ISO2022KR) return ends_[count - 1];
    int start = 0, end = -1, found = 0;
    info(charset_).qzstr_get_byte_pos_fn(const_cast<char*>(text_.data()), checked(text_.size()), checked(count), &start,
                                         &end, &found);
    return std::min(static_cast<std::size_t>(end + 1), text_.size());
}

std::string Characters::first(std::size_t count) const {
    std::string text(text_.substr(0, end_of(count)));
    if (count > 0 && count < count_ && charset_ == QZSTR_CHARSET_ISO2022KR && shifted_[count - 1]) text += '\x0F';
    return text;
}

std::string cut_to_bytes(qzstr_charset_t charset, std::string_view text, std::size_t limit) {
    if (text.size() <= limit) return std::string(text);
    // More bytes than fit matter only as the end of the last character.
    if (charset != QZSTR_CHARSET_ISO2022KR) text = text.substr(0, limit + 64);
    const Characters characters(charset, text);
    return characters.first(
        most_within(limit, characters.count(), [&](std::size_t count) { return characters.first(count).size(); }));
}

std::string cut_to_characters(qzstr_charset_t charset, std::string_view text, std::size_t limit) {
    return Characters(charset, text).first(limit);
}

std::string cut_to_columns(qzstr_charset_t charset, std::string_view text, std::size_t limit) {
    if (qzconv::has_positions(charset)) return std::string(text.substr(0, width(charset, text, limit).bytes));
    const Characters characters(charset, text);
    return characters.first(most_within(limit, characters.count(),
                                        [&](std::size_t count) { return columns(charset, characters.first(count)); }));
}

std::string cut_to_converted_bytes(qzstr_charset_t charset, std::string_view text, qzstr_charset_t to,
                                   std::size_t limit) {
    // What lies behind so many bytes cannot fit: no character of 8 bytes becomes less than one.
    if (charset != QZSTR_CHARSET_ISO2022KR && text.size() / 8 > limit + 8) text = text.substr(0, 8 * limit + 64);
    const Characters characters(charset, text);
    return characters.first(most_within(limit, characters.count(), [&](std::size_t count) {
        return qzconv::BlockConverter(charset, to, false).convert(characters.first(count), true).output.size();
    }));
}

std::size_t columns(qzstr_charset_t charset, std::string_view text) {
    if (qzconv::has_positions(charset)) return width(charset, text, INT_MAX).columns;
    Buffer buffer;
    return columns(QZSTR_CHARSET_UTF8, convert(charset, QZSTR_CHARSET_UTF8, text, buffer).output);
}

} // namespace qzscan
