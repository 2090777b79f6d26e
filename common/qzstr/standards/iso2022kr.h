// The 7-bit form of Korean text (RFC 1557): a designator announces KS X 1001, shifts switch between it and ASCII.
#pragma once

#include "core/contract.h"
#include "core/kernels.h"
#include "standards/ksc5601.h"

#include <cstring>

namespace qzstr {

inline constexpr core::shift_codes iso2022kr_codes{0x0E, 0x0F, {0x1B, '$', ')', 'C'}};
inline constexpr uchar shift_out = iso2022kr_codes.out; ///< to KS X 1001
inline constexpr uchar shift_in = iso2022kr_codes.in;   ///< to ASCII
inline constexpr auto& ksc5601_designator = iso2022kr_codes.designator;
inline constexpr uchar escape = ksc5601_designator[0];

using core::shift_state;

/// Writes 7-bit Korean text into a bounded target: a character comes whole, with the shift and designator that it needs,
/// or not at all.
class shift_writer {
public:
    shift_writer(shift_state& state, uchar* dst, core::offset_t size, core::offset_t& written)
        : state_(state), dst_(dst), size_(size), written_(written) {}

    /// False when there is no room.
    bool ascii(uchar b) {
        if (room() < 1 + state_.out) return false;
        if (state_.out) put(shift_in);
        put(b);
        state_.out = false;
        if (b == '\r' || b == '\n') state_.designated = false;
        return true;
    }

    /// ASCII that stands behind the text already, outside of a shift.
    void passed(std::size_t n) {
        const uchar* const p = dst_ + written_;
        if (core::run_before(p, n, '\r') < n || core::run_before(p, n, '\n') < n) state_.designated = false;
        written_ += static_cast<core::offset_t>(n);
    }

    /// A KS X 1001 code in 7-bit form.
    bool korean(unsigned code) {
        constexpr int designator = sizeof ksc5601_designator;
        if (room() < 2 + !state_.out + (state_.designated ? 0 : designator)) return false;
        if (!state_.designated) {
            std::memcpy(dst_ + written_, ksc5601_designator, designator);
            written_ += designator;
        }
        if (!state_.out) put(shift_out);
        put(code >> 8);
        put(code & 0xFF);
        state_ = {.out = true, .designated = true};
        return true;
    }

    /// Back to ASCII at the end of a text.
    bool close() {
        if (!state_.out) return true;
        if (room() < 1) return false;
        put(shift_in);
        state_.out = false;
        return true;
    }

private:
    core::offset_t room() const { return size_ - written_; }
    void put(unsigned b) { dst_[written_++] = static_cast<uchar>(b); }

    shift_state& state_;
    uchar* dst_;
    core::offset_t size_;
    core::offset_t& written_;
};

} // namespace qzstr
