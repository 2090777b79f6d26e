/* The default runtime (libqzstr_runtime.a): for programs that do not bring their own qz_assert_msg, qz_thr_assert_cmd and
 * qz_err_and_jmp.
 *
 * A failed assertion is printed to standard error and ends the program. A raised error goes to the handler that was set;
 * without one it is printed and ends the program too.
 */
#ifndef QZSTR_RUNTIME_H
#define QZSTR_RUNTIME_H

#include "qzstr_charset.h"

#ifdef __cplusplus
extern "C" {
#endif

/** What a raised error says: the parameters of qz_err_and_jmp. */
typedef struct qzstr_error_s {
    const char* file; /**< source path without extension */
    int line;
    const char* func; /**< the function that refused */
    int a, b;         /**< always 0 */
    int code;         /**< ERROR_NOT_IMPLEMENTED or ERROR_INVALID_USE_OF_ESCCHAR */
} qzstr_error_t;

/**
 * Receives an error in the thread that raised it. It leaves by a non-local exit (longjmp; the library holds nothing that
 * would need releasing); when it returns, the function that raised the error returns 0.
 */
typedef void (*qzstr_error_handler_t)(const qzstr_error_t* error, void* context);

/**
 * Sets the handler of the calling thread and the context handed to it; NULL restores the default (message and abort).
 * The handler that was set before is stored in `previous_handler` and `previous_context`, where these are not NULL.
 */
void qzstr_runtime_set_error_handler(qzstr_error_handler_t handler, void* context,
                                     qzstr_error_handler_t* previous_handler, void** previous_context);

#ifdef __cplusplus
}
#endif

#endif
