#include "sql.h"

#include <blocks.h>
#include <catalogue.h>
#include <cut.h>
#include <failure.h>
#include <scan.h>

#include <algorithm>
#include <climits>
#include <new>

SQLITE_EXTENSION_INIT3

namespace qzsqlite {

using qzconv::info;

Value::Value(sqlite3_value* value) : is_text(sqlite3_value_type(value) != SQLITE_BLOB) {
    const void* data = is_text ? sqlite3_value_text(value) : sqlite3_value_blob(value);
    const int size = sqlite3_value_bytes(value);
    if (size > 0 && data == nullptr) throw std::bad_alloc();
    if (size > 0) bytes.assign(static_cast<const char*>(data), static_cast<std::size_t>(size));
}

qzstr_charset_t charset_named(sqlite3_value* value) {
    const std::string name = Value(value).bytes;
    try {
        return qzconv::charset_named(name);
    } catch (const qzconv::Failure& failure) {
        if (!qzconv::near_names(name).empty()) throw;
        throw SqlError("unknown charset \"" + name + "\"; SELECT name FROM qz_charsets lists all");
    }
}

std::int64_t Call::integer(int index) const {
    if (sqlite3_value_numeric_type(arguments_[index]) != SQLITE_INTEGER)
        throw SqlError("argument " + std::to_string(index + 1) + " is no integer");
    return sqlite3_value_int64(arguments_[index]);
}

std::size_t Call::limit(int index) const {
    const std::int64_t limit = integer(index);
    if (limit < 0) throw SqlError("argument " + std::to_string(index + 1) + " is negative");
    return static_cast<std::size_t>(limit);
}

qzstr_charset_t Call::charset(int index) const {
    return charset_named(arguments_[index]);
}

qzstr_charset_t Call::charset_with_positions(int index) const {
    const qzstr_charset_t found = charset(index);
    if (qzconv::has_positions(found)) return found;
    throw SqlError(std::string("charset ") + info(found).name +
                   " refuses character positions, widths and case; convert the text first");
}

void Call::give(std::int64_t number) const {
    sqlite3_result_int64(context_, number);
}

void Call::give(std::string_view bytes, bool is_text) const {
    const char* data = bytes.empty() ? "" : bytes.data();
    if (is_text)
        sqlite3_result_text64(context_, data, bytes.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    else
        sqlite3_result_blob64(context_, data, bytes.size(), SQLITE_TRANSIENT);
}

void Call::give_null() const {
    sqlite3_result_null(context_);
}

namespace {

/// The first thing in a text that a conversion replaces or leaves behind.
std::string first_loss(qzstr_charset_t from, qzstr_charset_t to, std::string_view text) {
    qzscan::Scanner scanner(from, to);
    while (!text.empty()) {
        text.remove_prefix(scanner.step(text, true));
        for (const qzscan::Finding& finding : scanner.findings) {
            if (finding.reason == qzscan::Reason::altered) continue;
            return std::string(name_of(finding.reason)) + " bytes " + qzscan::hex(finding.bytes, " ") + " at offset " +
                   std::to_string(finding.place.offset);
        }
        scanner.findings.clear();
    }
    return {};
}

std::string convert_all(qzstr_charset_t from, qzstr_charset_t to, std::string_view text) {
    constexpr std::size_t block_size = 256 * 1024;
    qzconv::BlockConverter converter(from, to, false);
    std::string result;
    for (std::size_t size = block_size;;) {
        const bool at_end = size >= text.size();
        const qzconv::Block block = converter.convert(text.substr(0, size), at_end);
        result += block.output;
        text.remove_prefix(block.consumed);
        if (at_end) break;
        size = block.consumed != 0 ? block_size : size * 2;
    }
    if (!text.empty()) { // the text ends inside a character
        char unit[] = "\xFF\xFD", mark[8];
        int read = 0, written = 0;
        info(to).qzstr_from_ucs2_fn(unit, 2, mark, sizeof mark, &read, &written, 1);
        result.append(mark, static_cast<std::size_t>(written));
    }
    return result;
}

void convert(Call& call) {
    const Value text = call.value(0);
    const qzstr_charset_t from = call.charset(1), to = call.charset(2);
    std::string policy = "replace";
    if (call.has(3)) policy = call.value(3).bytes;
    if (policy != "replace" && policy != "null" && policy != "error")
        throw SqlError("unknown policy \"" + policy + "\"; replace, null or error");
    if (policy != "replace")
        if (const std::string loss = first_loss(from, to, text.bytes); !loss.empty()) {
            if (policy == "null") return call.give_null();
            throw SqlError(loss + ", from " + info(from).name + " to " + info(to).name);
        }
    call.give(convert_all(from, to, text.bytes), to == QZSTR_CHARSET_UTF8);
}

/// As the library counts, but on to the end of single-byte text: there its count ends at a NUL, and positions do not.
void length(Call& call) {
    const Value text = call.value(0);
    const qzstr_charset_t charset = call.charset_with_positions(1);
    if (info(charset).max_bytes_per_char == 1)
        return call.give(static_cast<std::int64_t>(qzscan::Characters(charset, text.bytes).count()));
    call.give(
        info(charset).qzstr_count_char_fn(const_cast<char*>(text.bytes.data()), static_cast<int>(text.bytes.size())));
}

/// As SQLite's substr: the start counts from 1, from the end when negative; a negative count takes what is before it.
void substr(Call& call) {
    const Value text = call.value(0);
    const qzscan::Characters characters(call.charset_with_positions(1), text.bytes);
    const auto count = static_cast<std::int64_t>(characters.count());
    constexpr std::int64_t far = INT32_MAX; // beyond any text
    const std::int64_t start = std::clamp(call.integer(2), -far, far);
    const std::int64_t wanted = call.has(3) ? std::clamp(call.integer(3), -far, far) : far;
    // Positions from 0; a start of 0 is the place before the first character.
    const std::int64_t at = start < 0 ? count + start : start - 1;
    const auto within = [count](std::int64_t position) {
        return static_cast<std::size_t>(std::clamp<std::int64_t>(position, 0, count));
    };
    const std::size_t first = within(wanted < 0 ? at + wanted : at), last = within(wanted < 0 ? at : at + wanted);
    const std::size_t begin = characters.end_of(first), end = characters.end_of(last);
    call.give(std::string_view(text.bytes).substr(begin, end - begin), text.is_text);
}

template <qzstr_case_t mode>
void change_case(Call& call) {
    Value text = call.value(0);
    const qzstr_charset_t charset = call.charset_with_positions(1);
    info(charset).qzstr_convert_case_fn(mode, text.bytes.data(), static_cast<int>(text.bytes.size()));
    call.give(text.bytes, text.is_text);
}

void columns(Call& call) {
    call.give(static_cast<std::int64_t>(qzscan::columns(call.charset_with_positions(1), call.value(0).bytes)));
}

void cut_bytes(Call& call) {
    const Value text = call.value(0);
    const qzstr_charset_t charset = call.charset(1);
    const std::size_t limit = call.limit(2);
    call.give(call.has(3) ? qzscan::cut_to_converted_bytes(charset, text.bytes, call.charset(3), limit)
                          : qzscan::cut_to_bytes(charset, text.bytes, limit),
              text.is_text);
}

template <auto cut>
void cut_by(Call& call) {
    const Value text = call.value(0);
    call.give(cut(call.charset(1), text.bytes, call.limit(2)), text.is_text);
}

/// Where the blanks at the end begin.
std::size_t end_without_blanks(qzstr_charset_t charset, std::string& text) {
    if (charset == QZSTR_CHARSET_UTF16 && text.size() % 2 != 0) return text.size(); // ends inside a character
    const int blanks = info(charset).qzstr_get_first_trailing_space_fn(text.data(), static_cast<int>(text.size()));
    return blanks < 0 ? text.size() : static_cast<std::size_t>(blanks);
}

void rtrim(Call& call) {
    Value text = call.value(0);
    const std::size_t end = end_without_blanks(call.charset_with_positions(1), text.bytes);
    call.give(std::string_view(text.bytes).substr(0, end), text.is_text);
}

void trailing_blanks(Call& call) {
    Value text = call.value(0);
    const qzstr_charset_t charset = call.charset_with_positions(1);
    const std::size_t bytes = text.bytes.size() - end_without_blanks(charset, text.bytes);
    call.give(static_cast<std::int64_t>(bytes / (charset == QZSTR_CHARSET_UTF16 ? 2 : 1)));
}

void valid(Call& call) {
    call.give(std::int64_t{qzscan::is_valid(call.charset(1), call.value(0).bytes)});
}

void round_trip(Call& call) {
    const Value text = call.value(0);
    call.give(std::int64_t{qzscan::scan(call.charset(1), call.charset(2), text.bytes).totals().round_trip_exact});
}

/// Nothing leaves a function but a result or an SQL error.
template <void (*function)(Call&)>
void enter(sqlite3_context* context, int count, sqlite3_value** arguments) {
    const auto* name = static_cast<const char*>(sqlite3_user_data(context));
    for (int index = 0; index < count; ++index)
        if (sqlite3_value_type(arguments[index]) == SQLITE_NULL) return sqlite3_result_null(context);
    try {
        Call call(context, count, arguments);
        function(call);
    } catch (const std::bad_alloc&) {
        sqlite3_result_error_nomem(context);
    } catch (const std::length_error&) {
        sqlite3_result_error_toobig(context);
    } catch (const std::exception& error) {
        const std::string message = std::string(name) + ": " + error.what();
        sqlite3_result_error(context, message.c_str(), static_cast<int>(message.size()));
    }
}

} // namespace

void register_functions(sqlite3* database) {
    const struct {
        const char* name;
        int least, most;
        void (*entry)(sqlite3_context*, int, sqlite3_value**);
    } functions[] = {
        {"qz_convert", 3, 4, enter<convert>},
        {"qz_length", 2, 2, enter<length>},
        {"qz_substr", 3, 4, enter<substr>},
        {"qz_instr", 3, 5, enter<find>},
        {"qz_like", 3, 4, enter<like>},
        {"qz_upper", 2, 2, enter<change_case<QZSTR_CASE_UPPER>>},
        {"qz_lower", 2, 2, enter<change_case<QZSTR_CASE_LOWER>>},
        {"qz_initcap", 2, 2, enter<change_case<QZSTR_CASE_INITCAP>>},
        {"qz_columns", 2, 2, enter<columns>},
        {"qz_cut_bytes", 3, 4, enter<cut_bytes>},
        {"qz_cut_chars", 3, 3, enter<cut_by<qzscan::cut_to_characters>>},
        {"qz_cut_columns", 3, 3, enter<cut_by<qzscan::cut_to_columns>>},
        {"qz_rtrim", 2, 2, enter<rtrim>},
        {"qz_trailing_blanks", 2, 2, enter<trailing_blanks>},
        {"qz_valid", 2, 2, enter<valid>},
        {"qz_round_trip", 3, 3, enter<round_trip>},
    };
    for (const auto& f : functions)
        for (int count = f.least; count <= f.most; ++count)
            require(sqlite3_create_function_v2(database, f.name, count,
                                               SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS,
                                               const_cast<char*>(f.name), f.entry, nullptr, nullptr, nullptr));
}

} // namespace qzsqlite
