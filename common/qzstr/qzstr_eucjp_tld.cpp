// EUC-JP's tilde row: the wave dash reads as the full-width tilde, and the full-width tilde is written as the wave dash.
#include "core/surface.h"
#include "core/transcode.h"
#include "standards/euc_jp.h"

namespace qzstr::families {

using namespace core;

struct eucjp_tld : decoders<eucjp_tld>, euc_jp_marks, encoders<eucjp_tld> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_eucjp_tld"};

    static constexpr byte_set leads = euc_jp_pair_leads;
    static constexpr char32_t ucs4_mask = 0xFFFFFFFF;

    template <form Form>
    static constexpr decoded decode(const uchar* p, offset_t left) {
        if (left >= 2 && p[0] == 0xA1 && p[1] == 0xC1) return one(0xFF5E, 2);
        return decode_euc_jp<Form>(p, left);
    }
    template <form>
    static constexpr encoded encode(char32_t c, char32_t next) {
        return c == 0xFF5E ? pair(0xA1C1) : encode_euc_jp(c, next);
    }
};

} // namespace qzstr::families

QZSTR_EXPORT(eucjp_tld)
