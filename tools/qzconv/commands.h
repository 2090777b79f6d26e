// The subcommands. Each adds itself to the command line and stores its exit code when it ran.
#pragma once

#include <CLI/CLI.hpp>

namespace qzconv {

void add_list(CLI::App& app, int& exit_code);
void add_convert(CLI::App& app, int& exit_code);
void add_stat(CLI::App& app, int& exit_code);
void add_dump(CLI::App& app, int& exit_code);
void add_check(CLI::App& app, int& exit_code);
void add_cut(CLI::App& app, int& exit_code);
void add_find(CLI::App& app, int& exit_code);

} // namespace qzconv
