#include "catalogue.h"
#include "commands.h"

#include <fmt/core.h>
#include <nlohmann/json.hpp>

namespace qzconv {

namespace {

void print_table() {
    fmt::print("{:>2}  {:<16} {:<13} {:<16} {:>6} {:>9}  {:<5} {}\n", "id", "name", "canonical", "Oracle name",
               "Oracle", "max bytes", "ASCII", "national");
    for (int id = 0; id < QZSTR_CHARSET_MAX; ++id) {
        const qzstr_charset_info_t& row = info(static_cast<qzstr_charset_t>(id));
        fmt::print("{:>2}  {:<16} {:<13} {:<16} {:>6} {:>9}  {:<5} {}\n", id, row.name, row.canonical_name,
                   row.ora_compat_name, row.ora_charset_id, row.max_bytes_per_char,
                   row.is_superset_of_ascii ? "yes" : "no", row.usable_national_charset ? "yes" : "no");
    }
}

void print_json() {
    nlohmann::ordered_json rows = nlohmann::ordered_json::array();
    for (int id = 0; id < QZSTR_CHARSET_MAX; ++id) {
        const qzstr_charset_info_t& row = info(static_cast<qzstr_charset_t>(id));
        rows.push_back({{"id", id},
                        {"name", row.name},
                        {"canonical_name", row.canonical_name},
                        {"ora_compat_name", row.ora_compat_name},
                        {"ora_charset_id", row.ora_charset_id},
                        {"max_bytes_per_char", row.max_bytes_per_char},
                        {"bytes_per_char_in_clob", row.bytes_per_char_in_clob},
                        {"is_superset_of_ascii", row.is_superset_of_ascii != 0},
                        {"usable_national_charset", row.usable_national_charset != 0}});
    }
    fmt::print("{}\n", rows.dump(2));
}

} // namespace

void add_list(CLI::App& app, int&) {
    CLI::App* command = app.add_subcommand("list", "Show the charsets");
    auto json = std::make_shared<bool>(false);
    command->add_flag("--json", *json, "Print the catalogue as JSON");
    command->callback([json] { *json ? print_json() : print_table(); });
}

} // namespace qzconv
