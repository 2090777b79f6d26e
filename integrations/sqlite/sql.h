// What the extension's sources share: values in, results out, errors.
#pragma once

#include <qzstr.h>
#include <sqlite3ext.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace qzsqlite {

/// Becomes the error of the SQL statement.
struct SqlError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The bytes of a BLOB, or of anything else as UTF-8 text.
struct Value {
    explicit Value(sqlite3_value* value);

    std::string bytes;
    bool is_text;
};

/// One call of an SQL function; no argument is NULL.
class Call {
public:
    Call(sqlite3_context* context, int count, sqlite3_value** arguments)
        : context_(context), count_(count), arguments_(arguments) {}

    bool has(int index) const { return index < count_; }
    Value value(int index) const { return Value(arguments_[index]); }
    std::int64_t integer(int index) const;
    /// An integer of at least 0.
    std::size_t limit(int index) const;
    qzstr_charset_t charset(int index) const;
    /// A charset with character positions, widths and case.
    qzstr_charset_t charset_with_positions(int index) const;

    void give(std::int64_t number) const;
    void give(std::string_view bytes, bool is_text) const;
    void give_null() const;

private:
    sqlite3_context* context_;
    int count_;
    sqlite3_value** arguments_;
};

qzstr_charset_t charset_named(sqlite3_value* name);

void find(Call& call);
void like(Call& call);

void register_functions(sqlite3* database);
void register_tables(sqlite3* database);

/// SQLITE_OK or an error of SQLite that nobody expects.
inline void require(int code) {
    if (code != SQLITE_OK) throw SqlError(std::string("registration failed: ") + std::to_string(code));
}

} // namespace qzsqlite
