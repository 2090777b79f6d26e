// qz_instr and qz_like: both compare code points, so a pattern may be of another charset than the text.
#include "sql.h"

#include <catalogue.h>
#include <cut.h>
#include <scan.h>

#include <map>
#include <vector>

SQLITE_EXTENSION_INIT3

namespace qzsqlite {

namespace {

std::u32string decode(qzstr_charset_t charset, std::string_view text) {
    return std::u32string(qzscan::Decoder(charset, true).decode(text, text.size() + 1, {}).points);
}

/// A pattern given as TEXT is UTF-8; a BLOB is in the charset of the text.
std::u32string pattern(const Call& call, int index, qzstr_charset_t charset) {
    const Value value = call.value(index);
    if (value.is_text) charset = QZSTR_CHARSET_UTF8;
    if (qzscan::is_valid(charset, value.bytes)) return decode(charset, value.bytes);
    throw SqlError("argument " + std::to_string(index + 1) + " is malformed " + qzconv::info(charset).name + " text");
}

char* bytes_of(const std::u32string& points) {
    return const_cast<char*>(reinterpret_cast<const char*>(points.data()));
}

int size_of(const std::u32string& points) {
    return static_cast<int>(points.size() * sizeof(char32_t));
}

bool forward(const Call& call, int index) {
    std::string direction = "forward";
    if (call.has(index)) direction = call.value(index).bytes;
    if (direction != "forward" && direction != "backward")
        throw SqlError("unknown direction \"" + direction + "\"; forward or backward");
    return direction == "forward";
}

/// Big-endian units of 16 bits, one a character: those beyond U+FFFF get numbers that no character has.
class Units {
public:
    std::string of(std::u32string_view points) {
        std::string units;
        for (const char32_t point : points) {
            const char32_t unit = point < 0xD800 || (point > 0xDFFF && point < 0x10000) ? point : number_of(point);
            units += static_cast<char>(unit >> 8);
            units += static_cast<char>(unit & 0xFF);
        }
        return units;
    }

private:
    char32_t number_of(char32_t point) {
        const auto next = static_cast<char32_t>(0xD800 + numbers_.size());
        const char32_t number = numbers_.emplace(point, next).first->second;
        if (number > 0xDFFF) throw SqlError("more than 2048 different characters beyond U+FFFF");
        return number;
    }

    std::map<char32_t, char32_t> numbers_;
};

/// A part of a pattern between two "%".
struct Segment {
    std::string units;
    std::size_t length = 0; ///< bytes of text that it matches
};

std::vector<Segment> split(std::u32string_view pattern, std::u32string_view escape, Units& units) {
    std::vector<Segment> segments(1);
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        if (pattern[at] == U'%' && escape != U"%") {
            segments.emplace_back();
            continue;
        }
        std::size_t count = 1;
        if (pattern.substr(at, 1) == escape) {
            if (at + 1 == pattern.size())
                throw SqlError("the pattern ends in its escape character (error " +
                               std::to_string(ERROR_INVALID_USE_OF_ESCCHAR) + ")");
            count = 2;
        }
        segments.back().units += units.of(pattern.substr(at, count));
        segments.back().length += 2;
        at += count - 1;
    }
    return segments;
}

/// Offset of the first place in `text` where the segment matches, or npos.
std::size_t search(std::string_view text, const Segment& segment, std::string& escape) {
    if (segment.length == 0) return 0;
    if (text.size() < segment.length) return std::string_view::npos;
    int count = 0, position = -1;
    qzstr_naive_search_with_wc(const_cast<char*>(text.data()), static_cast<int>(text.size()),
                               const_cast<char*>(segment.units.data()), static_cast<int>(segment.units.size()),
                               escape.data(), static_cast<int>(escape.size()), 2, 1, 0, 1, 1, 1, &count, &position,
                               nullptr);
    return position < 0 ? std::string_view::npos : static_cast<std::size_t>(position) * 2;
}

bool matches(std::string_view text, const std::vector<Segment>& segments, std::string& escape) {
    const Segment &first = segments.front(), &last = segments.back();
    if (segments.size() == 1) return text.size() == first.length && search(text, first, escape) == 0;
    if (text.size() < first.length + last.length) return false;
    if (search(text.substr(0, first.length), first, escape) != 0) return false;
    if (search(text.substr(text.size() - last.length), last, escape) != 0) return false;
    text = text.substr(first.length, text.size() - first.length - last.length);
    for (std::size_t index = 1; index + 1 < segments.size(); ++index) {
        const std::size_t found = search(text, segments[index], escape);
        if (found == std::string_view::npos) return false;
        text.remove_prefix(found + segments[index].length);
    }
    return true;
}

} // namespace

/// Position, from 1, of the n-th occurrence; 0 when there are fewer.
void find(Call& call) {
    const Value text = call.value(0);
    const qzstr_charset_t charset = call.charset_with_positions(1);
    const std::u32string wanted = pattern(call, 2, charset);
    const std::int64_t occurrence = call.has(3) ? call.integer(3) : 1;
    const bool is_forward = forward(call, 4);
    if (occurrence < 1) throw SqlError("occurrences count from 1");
    const std::u32string points = decode(charset, text.bytes);
    if (wanted.empty() || occurrence > static_cast<std::int64_t>(points.size())) return call.give(0);
    int count = 0, position = -1;
    qzstr_kmp_search(bytes_of(points), size_of(points), bytes_of(wanted), size_of(wanted), sizeof(char32_t), is_forward,
                     0, static_cast<int>(occurrence), 1, 1, &count, &position);
    if (position < 0) return call.give(0);
    qzscan::Decoder decoder(charset, true); // a character may have two code points
    const auto before = position == 0 ? 0 : decoder.decode(text.bytes, static_cast<std::size_t>(position), {}).read;
    const qzscan::Characters passed(charset, std::string_view(text.bytes).substr(0, before));
    call.give(1 + static_cast<std::int64_t>(passed.count()));
}

void like(Call& call) {
    const Value text = call.value(0);
    const qzstr_charset_t charset = call.charset_with_positions(1);
    const std::u32string wanted = pattern(call, 2, charset);
    const std::u32string escape = call.has(3) ? pattern(call, 3, charset) : std::u32string();
    if (call.has(3) && escape.size() != 1) throw SqlError("the escape is not one character");
    Units units;
    const std::vector<Segment> segments = split(wanted, escape, units);
    std::string escape_unit = units.of(escape);
    call.give(std::int64_t{matches(units.of(decode(charset, text.bytes)), segments, escape_unit)});
}

} // namespace qzsqlite
