// The table-valued qz_charsets and qz_scan(text, from_charset, to_charset).
#include "sql.h"

#include <catalogue.h>
#include <scan.h>

#include <array>
#include <memory>
#include <new>
#include <optional>

SQLITE_EXTENSION_INIT3

namespace qzsqlite {

namespace {

void give_text(sqlite3_context* context, std::string_view text) {
    sqlite3_result_text64(context, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

class Charsets {
public:
    static constexpr const char* schema =
        "CREATE TABLE x(id INTEGER, name TEXT, canonical_name TEXT, oracle_name TEXT, "
        "oracle_id INTEGER, max_bytes INTEGER, is_superset_of_ascii INTEGER, "
        "is_national INTEGER, has_positions INTEGER)";
    static constexpr int first_argument = 9, arguments = 0;
    static constexpr const char* usage = "qz_charsets takes no arguments";

    void start(sqlite3_value**) { id_ = 0; }
    void next() { ++id_; }
    bool at_end() const { return id_ >= QZSTR_CHARSET_MAX; }
    std::int64_t row() const { return id_; }

    void column(sqlite3_context* context, int index) const {
        const qzstr_charset_info_t& info = _charset_info[id_];
        switch (index) {
        case 0:
            return sqlite3_result_int(context, id_);
        case 1:
            return give_text(context, info.name);
        case 2:
            return give_text(context, info.canonical_name);
        case 3:
            return give_text(context, info.ora_compat_name);
        case 4:
            return sqlite3_result_int(context, info.ora_charset_id);
        case 5:
            return sqlite3_result_int(context, info.max_bytes_per_char);
        case 6:
            return sqlite3_result_int(context, info.is_superset_of_ascii);
        case 7:
            return sqlite3_result_int(context, info.usable_national_charset);
        default:
            return sqlite3_result_int(context, qzconv::has_positions(static_cast<qzstr_charset_t>(id_)));
        }
    }

private:
    int id_ = 0;
};

/// Findings are made as they are asked for.
class Scan {
public:
    static constexpr const char* schema =
        "CREATE TABLE x(offset INTEGER, character INTEGER, line INTEGER, column INTEGER, bytes BLOB, reason TEXT, "
        "text HIDDEN, from_charset TEXT HIDDEN, to_charset TEXT HIDDEN)";
    static constexpr int first_argument = 6, arguments = 3;
    static constexpr const char* usage = "qz_scan takes three arguments: text, from, to";

    void start(sqlite3_value** values) {
        scanner_.reset();
        rest_ = {};
        row_ = at_ = 0;
        for (std::size_t index = 0; index < given_.size(); ++index) {
            if (sqlite3_value_type(values[index]) == SQLITE_NULL) return;
            given_[index].reset(sqlite3_value_dup(values[index]));
            if (given_[index] == nullptr) throw std::bad_alloc();
        }
        scanner_.emplace(charset_named(values[1]), charset_named(values[2]));
        text_ = Value(values[0]).bytes;
        rest_ = text_;
        refill();
    }
    void next() {
        ++row_;
        if (++at_ == scanner_->findings.size()) refill();
    }
    bool at_end() const { return !scanner_ || at_ == scanner_->findings.size(); }
    std::int64_t row() const { return static_cast<std::int64_t>(row_); }

    void column(sqlite3_context* context, int index) const {
        const auto& [place, bytes, reason] = scanner_->findings[at_];
        const std::uint64_t numbers[] = {place.offset, place.character, place.line, place.column};
        if (index < 4) return sqlite3_result_int64(context, static_cast<std::int64_t>(numbers[index]));
        if (index == 4) return sqlite3_result_blob64(context, bytes.data(), bytes.size(), SQLITE_TRANSIENT);
        if (index == 5) return give_text(context, name_of(reason));
        sqlite3_result_value(context, given_[static_cast<std::size_t>(index - first_argument)].get());
    }

private:
    struct FreeValue {
        void operator()(sqlite3_value* value) const { sqlite3_value_free(value); }
    };

    void refill() {
        at_ = 0;
        scanner_->findings.clear();
        while (scanner_->findings.empty() && !rest_.empty())
            rest_.remove_prefix(scanner_->step(rest_, true));
    }

    std::array<std::unique_ptr<sqlite3_value, FreeValue>, arguments> given_;
    std::string text_;
    std::string_view rest_;
    std::optional<qzscan::Scanner> scanner_;
    std::size_t at_ = 0, row_ = 0;
};

/// The callbacks that SQLite wants for a table whose cursor is a `Rows`.
template <class Rows>
struct Table {
    struct Cursor : sqlite3_vtab_cursor {
        Rows rows;
    };
    static Rows& rows(sqlite3_vtab_cursor* cursor) { return static_cast<Cursor*>(cursor)->rows; }

    template <class Action>
    static int guard(sqlite3_vtab* table, Action action) {
        try {
            action();
            return SQLITE_OK;
        } catch (const std::bad_alloc&) {
            return SQLITE_NOMEM;
        } catch (const std::exception& error) {
            sqlite3_free(table->zErrMsg);
            table->zErrMsg = sqlite3_mprintf("%s", error.what());
            return SQLITE_ERROR;
        }
    }

    static int connect(sqlite3* database, void*, int, const char* const*, sqlite3_vtab** table, char**) {
        const int code = sqlite3_declare_vtab(database, Rows::schema);
        if (code != SQLITE_OK) return code;
        sqlite3_vtab_config(database, SQLITE_VTAB_INNOCUOUS);
        *table = new (std::nothrow) sqlite3_vtab{};
        return *table != nullptr ? SQLITE_OK : SQLITE_NOMEM;
    }
    static int disconnect(sqlite3_vtab* table) {
        delete table;
        return SQLITE_OK;
    }
    /// Every argument is an equality with a hidden column. A second one with the same column is SQLite's to look at.
    static int best_index(sqlite3_vtab* table, sqlite3_index_info* index) {
        int given = 0;
        bool waits = false;
        for (int i = 0; i < index->nConstraint; ++i) {
            const auto& constraint = index->aConstraint[i];
            const int argument = constraint.iColumn - Rows::first_argument;
            if (argument < 0 || argument >= Rows::arguments || constraint.op != SQLITE_INDEX_CONSTRAINT_EQ) continue;
            waits |= !constraint.usable;
            if (!constraint.usable || (given & 1 << argument) != 0) continue;
            index->aConstraintUsage[i].argvIndex = argument + 1;
            index->aConstraintUsage[i].omit = 1;
            given |= 1 << argument;
        }
        index->estimatedCost = 1000;
        if (given == (1 << Rows::arguments) - 1) return SQLITE_OK;
        if (waits) return SQLITE_CONSTRAINT; // another order of the tables may supply the argument
        return guard(table, [] { throw SqlError(Rows::usage); });
    }
    static int open(sqlite3_vtab*, sqlite3_vtab_cursor** cursor) {
        *cursor = new (std::nothrow) Cursor{};
        return *cursor != nullptr ? SQLITE_OK : SQLITE_NOMEM;
    }
    static int close(sqlite3_vtab_cursor* cursor) {
        delete static_cast<Cursor*>(cursor);
        return SQLITE_OK;
    }
    static int filter(sqlite3_vtab_cursor* cursor, int, const char*, int, sqlite3_value** values) {
        return guard(cursor->pVtab, [&] { rows(cursor).start(values); });
    }
    static int next(sqlite3_vtab_cursor* cursor) {
        return guard(cursor->pVtab, [&] { rows(cursor).next(); });
    }
    static int at_end(sqlite3_vtab_cursor* cursor) { return rows(cursor).at_end(); }
    static int column(sqlite3_vtab_cursor* cursor, sqlite3_context* context, int index) {
        rows(cursor).column(context, index);
        return SQLITE_OK;
    }
    static int row(sqlite3_vtab_cursor* cursor, sqlite3_int64* id) {
        *id = rows(cursor).row();
        return SQLITE_OK;
    }

    /// Without xCreate the table exists under its name and nowhere else.
    static void add(sqlite3* database, const char* name) {
        static const sqlite3_module module = [] {
            sqlite3_module callbacks{};
            callbacks.xConnect = connect;
            callbacks.xDisconnect = disconnect;
            callbacks.xBestIndex = best_index;
            callbacks.xOpen = open;
            callbacks.xClose = close;
            callbacks.xFilter = filter;
            callbacks.xNext = next;
            callbacks.xEof = at_end;
            callbacks.xColumn = column;
            callbacks.xRowid = row;
            return callbacks;
        }();
        require(sqlite3_create_module_v2(database, name, &module, nullptr, nullptr));
    }
};

} // namespace

void register_tables(sqlite3* database) {
    Table<Charsets>::add(database, "qz_charsets");
    Table<Scan>::add(database, "qz_scan");
}

} // namespace qzsqlite
