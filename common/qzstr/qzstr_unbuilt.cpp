// Families still to come: every operation raises ERROR_NOT_IMPLEMENTED. A family that lands takes its line away.
#include "core/contract.h"

#define QZSTR_REFUSE_SLOT(result, cs, operation, field, parameters, arguments)                                         \
    result qzstr_##cs##_##operation parameters {                                                                       \
        qzstr::core::refuse("common/qzstr/qzstr_" #cs, __LINE__, "qzstr_" #cs "_" #operation);                         \
        return result();                                                                                               \
    }
#define QZSTR_REFUSE_CELL(cs, target)                                                                                  \
    conv_status_t qzstr_##cs##_get_##target##_str QZSTR_CELL_PARAMETERS {                                              \
        qzstr::core::refuse("common/qzstr/qzstr_" #cs, __LINE__, "qzstr_" #cs "_get_" #target "_str");                 \
        return 0;                                                                                                      \
    }
#define QZSTR_UNBUILT(family) QZSTR_FAMILY_##family(QZSTR_REFUSE_SLOT, QZSTR_REFUSE_CELL)

#pragma GCC diagnostic ignored "-Wunused-parameter"

QZSTR_UNBUILT(sjis)
QZSTR_UNBUILT(sjis_tld)
QZSTR_UNBUILT(mswin932)
QZSTR_UNBUILT(mswin932_tld)
QZSTR_UNBUILT(eucjp)
QZSTR_UNBUILT(eucjp_tld)
