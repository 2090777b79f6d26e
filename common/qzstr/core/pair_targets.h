// Where decoded pairs go.
#pragma once

#include "core/kernels.h"
#include "core/units.h"
#include "core/vector.h"

#if QZSTR_LEVEL_NUMBER > QZSTR_IS_plain

namespace qzstr::core::QZSTR_LEVEL {
namespace {

/// How far a block was decoded, and whether the exact routine is to go on there.
struct decoded_block {
    std::size_t bytes;
    bool stopped;
};

constexpr std::uint16_t replacement_cell = 0xFDFF; // U+FFFD in big-endian order

/// Where decoded characters go: units of a form, up to a number of them.
template <form Form, order Order>
struct unit_target {
    static constexpr std::size_t unit = unit_size<Form>;
    static constexpr bool holds_supplementary = Form != form::ucs2; ///< what else UCS-2 has not, is replaced too
    uchar* dst;
    std::size_t limit;
    std::size_t units = 0;
    bool replaced = false;

    /// Member by member: as a block it would be copied through memory.
    unit_target copy() const { return {dst, limit, units, replaced}; }

    std::size_t place() const { return units; }
    void back_to(std::size_t before) { units = before; }

    std::size_t room() const { return limit - units; }

    /// Up to 64 bytes of ASCII.
    bool put_ascii(const uchar* p, std::size_t n) {
        if (room() < n) return false;
        uchar* const to = dst + units * unit;
        if (n < block_size)
            QZSTR_LEVEL::widen_bytes(layout_of<Form, Order>, p, n, to);
        else if constexpr (Form != form::ucs4)
            for (std::size_t i = 0; i < block_size; i += block::size)
                block::load(p + i).template widen<Order>(to + 2 * i);
        else
            for (std::size_t i = 0; i < block_size; ++i)
                store_unit<Form, Order>(to + 4 * i, p[i]);
        units += n;
        return true;
    }

    bool put(std::uint16_t cell) {
        if (room() == 0) return false;
        store_unit<Form, Order>(dst + units++ * unit, __builtin_bswap16(cell));
        return true;
    }
    bool put_replacement() { return put(replacement_cell); }

    /// U+10000 + n.
    bool put_supplementary(std::uint32_t n) {
        if constexpr (Form == form::ucs2) {
            const bool put = put_replacement();
            replaced |= put;
            return put;
        }
        constexpr std::size_t count = Form == form::utf16 ? 2 : 1;
        if (room() < count) return false;
        uchar* const to = dst + units * unit;
        store_unit<Form, Order>(to, Form == form::utf16 ? 0xD800 + (n >> 10) : 0x10000 + n);
        if constexpr (Form == form::utf16) store_unit<Form, Order>(to + unit, 0xDC00 + (n & 0x3FF));
        units += count;
        return true;
    }
};

} // namespace
} // namespace qzstr::core::QZSTR_LEVEL

#endif
