#include "qzstr_runtime.h"

#include <stdio.h>

void qz_assert_msg(const char* expr, const char* file, int line) {
    fprintf(stderr, "%s:%d: assertion failed: %s\n", file, line, expr);
}
