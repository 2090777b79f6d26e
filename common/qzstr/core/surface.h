// Exports of a family: one line defines every function that qzstr.h declares for it, each forwarding to the member of the
// same name in `qzstr::families::<family>`, and what the pivots know of it.
#pragma once

#include "core/contract.h"
#include "core/stages.h"

#define QZSTR_EXPORT_SLOT(result, cs, operation, field, parameters, arguments)                                         \
    result qzstr_##cs##_##operation parameters {                                                                       \
        return qzstr::families::cs::operation arguments;                                                               \
    }
#define QZSTR_EXPORT_CELL(cs, target)                                                                                  \
    conv_status_t qzstr_##cs##_get_##target##_str QZSTR_CELL_PARAMETERS {                                              \
        return qzstr::families::cs::get_##target##_str QZSTR_CELL_ARGUMENTS;                                           \
    }
#define QZSTR_EXPORT(family)                                                                                           \
    QZSTR_FAMILY_##family(QZSTR_EXPORT_SLOT, QZSTR_EXPORT_CELL) namespace qzstr {                                      \
        extern const stages family##_stages;                                                                           \
        constinit const stages family##_stages = core::stages_of<families::family>();                                  \
    }
