#include "qzstr_runtime.h"

#include <stdio.h>
#include <stdlib.h>

static _Thread_local qzstr_error_handler_t current_handler;
static _Thread_local void* current_context;

void qzstr_runtime_set_error_handler(qzstr_error_handler_t handler, void* context,
                                     qzstr_error_handler_t* previous_handler, void** previous_context) {
    if (previous_handler != NULL) *previous_handler = current_handler;
    if (previous_context != NULL) *previous_context = current_context;
    current_handler = handler;
    current_context = context;
}

void qz_err_and_jmp(const char* file, int line, const char* func, int a, int b, int code) {
    const qzstr_error_t error = {file, line, func, a, b, code};
    if (current_handler != NULL) {
        current_handler(&error, current_context);
        return;
    }
    fprintf(stderr, "%s:%d: %s: error %d\n", file, line, func, code);
    abort();
}
