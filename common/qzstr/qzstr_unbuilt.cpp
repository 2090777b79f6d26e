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
QZSTR_UNBUILT(gb18030)
QZSTR_UNBUILT(tcvn3)
QZSTR_UNBUILT(us8icl)
QZSTR_UNBUILT(mswin1252)
QZSTR_UNBUILT(mswin1251)
QZSTR_UNBUILT(iso8859p1)
QZSTR_UNBUILT(iso8859p2)
QZSTR_UNBUILT(iso8859p9)
QZSTR_UNBUILT(iso8859p15)
QZSTR_UNBUILT(koi8r)
QZSTR_UNBUILT(iso8859p5)
QZSTR_UNBUILT(msdos866)
QZSTR_UNBUILT(mswin1253)
QZSTR_UNBUILT(iso8859p7)
QZSTR_UNBUILT(tis620)
QZSTR_UNBUILT(mswin1256)
QZSTR_UNBUILT(iso8859p6)
QZSTR_UNBUILT(iso8859p8)
