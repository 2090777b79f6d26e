#include "qzstr_runtime.h"

#include <stdlib.h>

void qz_thr_assert_cmd(void) {
    abort();
}
