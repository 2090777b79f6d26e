// The decoders of CP932's tilde row: the wave dash reads as the full-width tilde.
#include "core/surface.h"
#include "core/transcode.h"
#include "standards/shift_jis_rules.h"

namespace qzstr::families {

using namespace core;

struct mswin932_tld : shift_jis_decoding<mswin932_tld>, decoders<mswin932_tld> {
    static constexpr diagnostics where{.source = "common/qzstr/qzstr_mswin932_tld"};
    static constexpr byte_set leads = decode_leads;

    static constexpr char32_t roman(unsigned b) { return cp932_rules::roman(b); }

    static constexpr std::uint32_t value(unsigned lead, std::uint32_t trail) {
        return lead == 0x81 && shift_jis_trail(trail) == 0x60 ? 0xFF5E : cp932_rules::value(lead, trail);
    }
};

} // namespace qzstr::families

QZSTR_EXPORT(mswin932_tld)
