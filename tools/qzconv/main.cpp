// qzconv: lists the charsets, converts, checks, cuts, measures, dumps and searches text.
#include "commands.h"
#include "failure.h"
#include "streams.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fmt/core.h>
#include <qzstr_runtime.h>

namespace {

void leave_on_library_error(const qzstr_error_t* error, void*) {
    fmt::print(stderr, "qzconv: {} does not support this (error {})\n", error->func, error->code);
    qzconv::discard_unfinished_output();
    std::_Exit(qzconv::failed);
}

int run(int argc, char** argv) {
    CLI::App app{"Converts and examines text in the 35 database charsets.", "qzconv"};
    app.require_subcommand(1);
    app.footer("Exit codes: 0 exact, 1 with replacements, 2 malformed or truncated text, 3 usage or input/output.");
    int exit_code = qzconv::exact;
    for (const auto add : {qzconv::add_convert, qzconv::add_list, qzconv::add_stat, qzconv::add_dump, qzconv::add_check,
                           qzconv::add_cut, qzconv::add_find})
        add(app, exit_code);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return app.exit(error); // help
        throw qzconv::Failure(fmt::format("{}; \"qzconv --help\" tells more", error.what()));
    }
    if (std::fflush(stdout) != 0) throw qzconv::Failure(fmt::format("standard output: {}", std::strerror(errno)));
    return exit_code;
}

} // namespace

void qzconv::leave_on_library_errors() {
    qzstr_runtime_set_error_handler(leave_on_library_error, nullptr, nullptr, nullptr);
}

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN); // a closed pipe is a write error like any other
    qzconv::leave_on_library_errors();
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "qzconv: %s\n", error.what());
        return qzconv::failed;
    }
}
