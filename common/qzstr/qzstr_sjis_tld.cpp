// The decoders of Shift-JIS's tilde row: three punctuation marks in their full-width reading.
#include "core/surface.h"
#include "core/transcode.h"
#include "standards/shift_jis_rules.h"

namespace qzstr::families {

using namespace core;

struct sjis_tld : shift_jis_decoding<sjis_tld>, decoders<sjis_tld> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_sjis_tld"};
    static constexpr byte_set leads = decode_leads;

    static constexpr char32_t roman(unsigned b) { return shift_jis_rules::roman(b); }

    static constexpr std::uint32_t value(unsigned lead, std::uint32_t trail) {
        switch (lead << 8 | shift_jis_trail(trail)) {
        case 0x8160:
            return 0xFF5E;
        case 0x8161:
            return 0x2225;
        case 0x817C:
            return 0xFF0D;
        }
        return shift_jis_rules::value(lead, trail);
    }
};

} // namespace qzstr::families

QZSTR_EXPORT(sjis_tld)
