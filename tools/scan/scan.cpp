#include "scan.h"

#include <catalogue.h>
#include <cell.h>

#include <algorithm>
#include <stdexcept>

namespace qzscan {

namespace {

using qzconv::info;
using qzconv::is_japanese;

/// Units of a stretch that is converted at once, and below which characters are looked at one by one.
constexpr std::size_t stretch = 4096, few = 8;
/// More bytes than any decoder looks ahead.
constexpr std::size_t look_ahead = 32;
/// A single byte gives at most 8: designator, shift, two bytes and shift of ISO-2022-KR.
constexpr std::size_t worst_growth = 8, slack = 64;
constexpr char32_t replacement = 0xFFFD;
/// The marks that the Japanese encoders join with what is before them; the first is nothing on its own.
constexpr std::u32string_view marks = U"\u309A\u0300\u0301\u02E5\u02E9";

bool is_unicode(qzstr_charset_t charset) {
    return charset == QZSTR_CHARSET_UTF8 || charset == QZSTR_CHARSET_UTF16 || charset == QZSTR_CHARSET_GB18030;
}

bool holds_supplementary(qzstr_charset_t charset) {
    return is_unicode(charset) || charset == QZSTR_CHARSET_EUCTW;
}

/// The conversion takes characters beyond U+FFFF as they are.
bool goes_beyond_ucs2(qzstr_charset_t from, qzstr_charset_t to) {
    if (info(from).qzstr_get_another_charset_str_fn[to] == qzstr_convert_through_ucs4) return true;
    return holds_supplementary(from) && (from == to || to == QZSTR_CHARSET_UTF16);
}

int checked_length(std::size_t size) {
    if (size > static_cast<std::size_t>(INT32_MAX)) throw std::length_error("the text is too long");
    return static_cast<int>(size);
}

bool is_lone_surrogate(std::u32string_view points, std::size_t at) {
    const auto kind = [&](std::size_t index) { return index < points.size() ? points[index] & 0xFFFFFC00 : 0; };
    return (kind(at) == 0xD800 && kind(at + 1) != 0xDC00) || (kind(at) == 0xDC00 && kind(at - 1) != 0xD800);
}

bool is_high(char c) {
    return static_cast<signed char>(c) < 0;
}

} // namespace

const char* name_of(Reason reason) {
    switch (reason) {
    case Reason::bad:
        return "bad";
    case Reason::truncated:
        return "truncated";
    case Reason::unmappable:
        return "unmappable";
    case Reason::altered:
        return "altered";
    }
    return "";
}

char* Buffer::of_size(std::size_t size) {
    if (size > size_) {
        bytes_ = std::make_unique_for_overwrite<char[]>(size);
        size_ = size;
    }
    return bytes_.get();
}

Converted convert(qzstr_charset_t from, qzstr_charset_t to, std::string_view text, Buffer& target) {
    const std::size_t size = text.size() * worst_growth + slack;
    char* const output = target.of_size(size);
    const qzconv::Step step = qzconv::convert_cell(from, to, text, output, size);
    return {step.status, step.read, {output, step.written}};
}

std::string hex(std::string_view bytes, std::string_view separator) {
    std::string digits;
    for (const unsigned char byte : bytes) {
        if (!digits.empty()) digits += separator;
        digits += "0123456789ABCDEF"[byte >> 4];
        digits += "0123456789ABCDEF"[byte & 15];
    }
    return digits;
}

Decoder::Result Decoder::decode(std::string_view text, std::size_t units, const qzconv::SourceShift& shift) {
    const std::string prefix = charset_ == QZSTR_CHARSET_ISO2022KR ? shift.prefix() : std::string();
    if (!prefix.empty()) text = framed_.assign(prefix).append(text.substr(0, units * look_ahead + slack));
    // No decoder takes more than this for so many units but ISO-2022-KR, which has a length of its own.
    text = text.substr(0, static_cast<std::size_t>(INT32_MAX));
    const std::size_t size = wide_ ? 4 : 2;
    char* const target = buffer_.of_size(units * size);
    const auto slot = wide_ ? info(charset_).qzstr_to_ucs4_fn : info(charset_).qzstr_to_ucs2_fn;
    int read = 0, written = 0;
    const conv_status_t status = slot(const_cast<char*>(text.data()), static_cast<int>(text.size()), target,
                                      checked_length(units * size), &read, &written, 1);
    const std::size_t count = static_cast<std::size_t>(written) / size;
    points_.resize(count);
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(target[at]); };
    if (wide_)
        for (std::size_t i = 0; i < count; ++i)
            points_[i] = static_cast<char32_t>(byte(4 * i) << 24 | byte(4 * i + 1) << 16 | byte(4 * i + 2) << 8 |
                                               byte(4 * i + 3));
    else
        for (std::size_t i = 0; i < count; ++i)
            points_[i] = static_cast<char32_t>(byte(2 * i) << 8 | byte(2 * i + 1));
    const std::size_t all = static_cast<std::size_t>(read);
    return {(status & QZSTR_CONV_REPLACED) != 0, all > prefix.size() ? all - prefix.size() : 0, points_};
}

Decoder::Result Decoder::decode_one(std::string_view text, const qzconv::SourceShift& shift) {
    const Result one = decode(text, 1, shift);
    return one.read != 0 ? one : decode(text, 2, shift);
}

Scanner::Scanner(qzstr_charset_t from, qzstr_charset_t to)
    : from_(from), to_(to), decoder_(from, goes_beyond_ucs2(from, to)), wide_decoder_(from, true),
      target_decoder_(to, true) {}

std::size_t Scanner::step(std::string_view text, bool at_end) {
    if (text.empty()) return 0;
    const std::uint64_t start = place_.offset;
    std::size_t units = std::min(stretch, text.size() + 2);
    Decoder::Result decoded = decode_stretch(text, units);
    while (!at_end && decoded.read + look_ahead > text.size() && units > 1)
        decoded = decode_stretch(text, units /= 2);
    if (!at_end && decoded.read + look_ahead > text.size()) return 0;
    if (decoded.read == 0 && !at_end) return 0;

    const bool whole = decoded.read != 0 && decoded.read <= text.size(); // the text does not end inside a character
    const std::string_view bytes = whole ? text.substr(0, decoded.read) : text;
    const Verdict verdict = judge(bytes, decoded);
    totals_.round_trip_exact &= verdict.returns;
    if (whole && verdict.fine)
        advance(bytes, decoded.points, count_characters(bytes, decoded.points));
    else if (decoded.points.empty())
        examine_one(text);
    else
        look_closer(text, decoded.points.size());
    return static_cast<std::size_t>(place_.offset - start);
}

bool Scanner::mark_follows(std::string_view text, std::size_t length, std::u32string_view which) {
    if ((!is_japanese(from_) && !is_japanese(to_)) || length >= text.size()) return false;
    const std::u32string_view next = decoder_.decode_one(text.substr(length), shift_).points;
    return next.size() == 1 && which.find(next[0]) != std::u32string_view::npos;
}

/// A stretch ends before no mark that belongs to it.
Decoder::Result Scanner::decode_stretch(std::string_view text, std::size_t units) {
    const Decoder::Result decoded = decoder_.decode(text, units, shift_);
    if (!is_japanese(from_) && !is_japanese(to_)) return decoded;
    const bool splits = decoded.read != 0 && mark_follows(text, decoded.read, marks);
    return decoder_.decode(text, splits ? units + 1 : units, shift_); // again: looking ahead took its result away
}

Scanner::Verdict Scanner::judge(std::string_view bytes, const Decoder::Result& decoded) {
    const Converted there = convert_piece(bytes);
    const bool comes_back = returns(bytes, there.output);
    return {comes_back && is_defined(bytes, decoded) && arrives(bytes, there), comes_back};
}

bool Scanner::is_defined(std::string_view bytes, const Decoder::Result& decoded) const {
    switch (from_) {
    case QZSTR_CHARSET_ASCII: // its decoder lets all bytes pass
        return std::none_of(bytes.begin(), bytes.end(), is_high);
    case QZSTR_CHARSET_TCVN3: // flags nothing
        return decoded.points.find(replacement) == std::u32string_view::npos;
    case QZSTR_CHARSET_UTF16: // surrogates pass one by one
        for (std::size_t at = 0; at < decoded.points.size(); ++at)
            if (is_lone_surrogate(decoded.points, at)) return false;
        return !decoded.replaced;
    case QZSTR_CHARSET_US8ICL: // flags question marks of the text too
        return std::count(decoded.points.begin(), decoded.points.end(), U'?') ==
               std::count(bytes.begin(), bytes.end(), '\x6F');
    default:
        return !decoded.replaced;
    }
}

/// US8ICL flags question marks of the text; whether they come back tells.
bool Scanner::arrives(std::string_view bytes, const Converted& there) const {
    const bool flags_too_much = from_ == QZSTR_CHARSET_US8ICL || to_ == QZSTR_CHARSET_US8ICL;
    const conv_status_t telling = flags_too_much ? ~conv_status_t{QZSTR_CONV_REPLACED} : ~conv_status_t{0};
    return (there.status & telling) == 0 && there.read == bytes.size();
}

Converted Scanner::convert_piece(std::string_view bytes) {
    const std::string prefix = from_ == QZSTR_CHARSET_ISO2022KR && to_ != from_ ? shift_.prefix() : std::string();
    if (prefix.empty()) return convert(from_, to_, bytes, there_);
    Converted there = convert(from_, to_, framed_.assign(prefix).append(bytes), there_);
    there.read -= std::min(there.read, prefix.size());
    return there;
}

bool Scanner::returns(std::string_view bytes, std::string_view there) {
    if (from_ == to_) return true;
    const std::string_view back = convert(to_, from_, there, back_).output;
    if (from_ != QZSTR_CHARSET_ISO2022KR) return back == bytes;
    const Decoder::Result decoded = wide_decoder_.decode(bytes, bytes.size() + 1, shift_);
    const std::u32string before(decoded.points);
    return !decoded.replaced && wide_decoder_.decode(back, back.size() + 1, {}).points == before;
}

/// The front of `text`, as far as the decoder takes `units` for, in halves.
void Scanner::look_closer(std::string_view text, std::size_t units) {
    const Place start = place_;
    const std::size_t found = findings.size();
    const auto rest = [&] { return text.substr(std::min<std::size_t>(place_.offset - start.offset, text.size())); };
    while (units != 0 && !rest().empty()) {
        const std::size_t half = units > few ? (units + 1) / 2 : 0;
        const Decoder::Result decoded = half != 0 ? decode_stretch(rest(), half) : Decoder::Result{};
        if (decoded.read == 0 || decoded.read > rest().size()) {
            units -= std::min(units, examine_one(rest()));
            continue;
        }
        const std::string_view bytes = rest().substr(0, decoded.read);
        const std::size_t taken = decoded.points.size();
        if (judge(bytes, decoded).fine)
            advance(bytes, decoded.points, count_characters(bytes, decoded.points));
        else
            look_closer(rest(), taken);
        units -= std::min(units, taken);
    }
    if (findings.size() == found && is_japanese(from_))
        find_joined(text.substr(0, static_cast<std::size_t>(place_.offset - start.offset)), start);
}

/// Returns the units that the character has, at least 1.
std::size_t Scanner::examine_one(std::string_view text) {
    Decoder::Result decoded = decoder_.decode_one(text, shift_);
    if (decoded.read == 0 || decoded.read > text.size()) {
        report(place_, text, Reason::truncated);
        advance(text, {}, 1);
        return std::max<std::size_t>(decoded.points.size(), 1);
    }
    const std::string_view bytes = text.substr(0, decoded.read);
    if (mark_follows(text, bytes.size(), marks.substr(0, 1))) {
        decoded = decoder_.decode(text, 2, shift_);
        if (decoded.points.size() == 2 && judge(text.substr(0, decoded.read), decoded).fine) {
            advance(text.substr(0, decoded.read), decoded.points, 2);
            return 2;
        }
    }
    const bool is_character = !decoded.points.empty(); // not only shifts
    if (const auto reason = is_character ? reason_for(text, bytes.size()) : std::nullopt)
        report(place_, bytes, *reason);
    decoded = decoder_.decode_one(text, shift_);
    advance(bytes, decoded.points, is_character ? 1 : 0);
    return std::max<std::size_t>(decoded.points.size(), 1);
}

/// For the character at the front of `text`. The decoders see what follows it: a malformed sequence may else look like
/// one that the text ends inside.
std::optional<Reason> Scanner::reason_for(std::string_view text, std::size_t length) {
    const std::string_view bytes = text.substr(0, length);
    const Decoder::Result decoded = wide_decoder_.decode_one(text, shift_);
    if (decoded.read != length || !is_defined(bytes, decoded)) return Reason::bad;
    const std::u32string points(decoded.points);
    const Converted there = convert_piece(bytes);
    if (!arrives(bytes, there)) return Reason::unmappable;
    const std::u32string_view arrived = target_decoder_.decode_one(there.output, {}).points;
    if (arrived != points && (arrived == U"?" || arrived == U"\uFFFD")) return Reason::unmappable;
    if (!returns(bytes, there.output)) return Reason::altered;
    return std::nullopt;
}

/// Two characters that come back each, but not together: the Japanese encoders join some marks with what is before them.
void Scanner::find_joined(std::string_view text, Place place) {
    while (!text.empty()) {
        const Decoder::Result decoded = decoder_.decode_one(text, shift_);
        const std::size_t length = std::min(decoded.read, text.size());
        if (length == 0) return;
        const std::size_t next = std::min(decoder_.decode_one(text.substr(length), shift_).read, text.size() - length);
        const std::string_view pair = text.substr(0, length + next);
        if (next != 0 && !returns(pair, convert_piece(pair).output)) report(place, pair, Reason::altered);
        place.column = text[0] == '\n' ? 1 : place.column + 1;
        place.line += text[0] == '\n';
        place.offset += length;
        place.character += 1;
        text.remove_prefix(length);
    }
}

std::uint64_t Scanner::count_characters(std::string_view bytes, std::u32string_view points) {
    // A code of the Japanese charsets may have two code points, the second a mark. Others may be two surrogates.
    if (is_japanese(from_) && points.find_first_of(marks) != std::u32string_view::npos) {
        std::uint64_t characters = 0;
        for (; !bytes.empty(); ++characters)
            bytes.remove_prefix(std::max<std::size_t>(wide_decoder_.decode_one(bytes, shift_).read, 1));
        return characters;
    }
    const auto is_low_surrogate = [](char32_t point) { return (point & 0xFFFFFC00) == 0xDC00; };
    return points.size() - static_cast<std::size_t>(std::count_if(points.begin(), points.end(), is_low_surrogate));
}

void Scanner::advance(std::string_view bytes, std::u32string_view points, std::uint64_t characters) {
    place_.offset += bytes.size();
    place_.character += characters;
    const auto line_feeds = std::count(points.begin(), points.end(), U'\n');
    place_.line += static_cast<std::uint64_t>(line_feeds);
    if (line_feeds == 0) {
        place_.column += characters;
    } else {
        const std::size_t last_byte = bytes.rfind('\n'); // no trail byte; the units tell for UTF-16
        const std::u32string_view last_line = points.substr(points.rfind(U'\n') + 1);
        place_.column = 1 + (last_line.empty() ? 0 : count_characters(bytes.substr(last_byte + 1), last_line));
    }
    if (from_ == QZSTR_CHARSET_ISO2022KR) shift_.pass(bytes);
}

void Scanner::report(Place place, std::string_view bytes, Reason reason) {
    if (from_ == QZSTR_CHARSET_ISO2022KR) { // not the shifts before the character
        bool designated = !shift_.prefix().empty();
        const std::string_view all = bytes, designator = "\x1B$)C";
        while (bytes.size() > 1)
            if (bytes.starts_with(designator) && bytes.size() > designator.size()) {
                designated = true;
                bytes.remove_prefix(designator.size());
            } else if (bytes[0] == 0x0F || (bytes[0] == 0x0E && designated)) {
                bytes.remove_prefix(1);
            } else {
                break;
            }
        place.offset += all.size() - bytes.size();
    }
    findings.push_back({place, std::string(bytes), reason});
    std::uint64_t* const counts[] = {&totals_.bad, &totals_.truncated, &totals_.unmappable, &totals_.altered};
    ++*counts[static_cast<int>(reason)];
}

Scanner scan(qzstr_charset_t from, qzstr_charset_t to, std::string_view text) {
    Scanner scanner(from, to);
    while (!text.empty())
        text.remove_prefix(scanner.step(text, true));
    return scanner;
}

bool is_valid(qzstr_charset_t charset, std::string_view text) {
    Scanner scanner(charset, charset);
    while (!text.empty() && scanner.findings.empty())
        text.remove_prefix(scanner.step(text, true));
    return scanner.findings.empty();
}

} // namespace qzscan
