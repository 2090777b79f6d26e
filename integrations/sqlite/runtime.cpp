// The runtime that libqzstr calls. It holds nothing that an exception would have to release.
#include "sql.h"

namespace {

thread_local std::string assertion;

} // namespace

extern "C" {

void qz_assert_msg(const char* expr, const char* file, int line) {
    assertion = std::string(expr) + " (" + file + ":" + std::to_string(line) + ")";
}

void qz_thr_assert_cmd(void) {
    throw qzsqlite::SqlError("assertion failed: " + assertion);
}

void qz_err_and_jmp(const char*, int, const char* func, int, int, int code) {
    throw qzsqlite::SqlError(std::string(func) + " is not supported (error " + std::to_string(code) + ")");
}

} // extern "C"
