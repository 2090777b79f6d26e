// Runs of ASCII: finding, copying, widening, narrowing, changing case.
#include "core/kernels.h"
#include "core/units.h"
#include "core/vector.h"

#include <cstring>

namespace qzstr::core::QZSTR_LEVEL {

namespace {

template <form Form, order Order>
void widen(const uchar* src, std::size_t n, uchar* dst) {
    constexpr std::size_t unit = unit_size<Form>;
    std::size_t i = 0;
    if constexpr (has_vectors && Form == form::ucs2)
        for (; i + block::size <= n; i += block::size)
            block::load(src + i).template widen<Order>(dst + i * unit);
#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512
    if constexpr (Form == form::ucs2)
        if (i < n) return block::load_first(src + i, n - i).template widen_first<Order>(dst + i * unit, n - i);
#endif
    for (; i < n; ++i)
        store_unit<Form, Order>(dst + i * unit, src[i]);
}

template <form Form, order Order>
std::size_t narrow(const uchar* src, std::size_t n, uchar* dst) {
    constexpr std::size_t unit = unit_size<Form>;
    std::size_t i = 0;
    if constexpr (has_vectors && Form == form::ucs2)
        while (i + block::size <= n && block::template narrow_ascii<Order>(src + i * unit, dst + i))
            i += block::size;
    for (; i < n; ++i) {
        const char32_t c = load_unit<Form, Order>(src + i * unit);
        if (c >= 0x80) break;
        dst[i] = static_cast<uchar>(c);
    }
    return i;
}

/// Changes the case in a group of big-endian units, in a loop that the compiler turns into vectors.
template <std::size_t Units>
void flip_group(uchar first, uchar* p) {
    std::uint16_t unit[Units];
    std::memcpy(unit, p, sizeof unit);
    for (std::uint16_t& u : unit) {
        const auto from_first = static_cast<std::uint16_t>(__builtin_bswap16(u) - first);
        u = static_cast<std::uint16_t>(u ^ (from_first < 26 ? 0x2000 : 0));
    }
    std::memcpy(p, unit, sizeof unit);
}

} // namespace

std::size_t copy_ascii(const uchar* src, std::size_t n, uchar* dst) {
    std::size_t i = 0;
    if constexpr (has_vectors) {
        for (; i + block::size <= n; i += block::size) {
            const block b = block::load(src + i);
            b.store(dst + i);
            if (const auto high = b.high_bits(); high != 0) return i + static_cast<std::size_t>(std::countr_zero(high));
        }
        if (i == n) return n;
        const block rest = block::load_first(src + i, n - i);
        rest.store_first(dst + i, n - i);
        const auto high = rest.high_bits();
        return high != 0 ? i + static_cast<std::size_t>(std::countr_zero(high)) : n;
    }
    for (; i < n && src[i] < 0x80; ++i)
        dst[i] = src[i];
    return i;
}

void widen_bytes(unit_layout layout, const uchar* src, std::size_t n, uchar* dst) {
    return leaving(
        [&] { return in_layout(layout, [&]<form Form, order Order> { return widen<Form, Order>(src, n, dst); }); });
}

std::size_t narrow_ascii(unit_layout layout, const uchar* src, std::size_t n, uchar* dst) {
    return leaving(
        [&] { return in_layout(layout, [&]<form Form, order Order> { return narrow<Form, Order>(src, n, dst); }); });
}

std::size_t run_before(const uchar* p, std::size_t n, uchar b) {
    std::size_t i = 0;
    if constexpr (has_vectors) {
        for (; i + block::size <= n; i += block::size)
            if (const auto hit = block::load(p + i).equal_to(b); hit != 0)
                return i + static_cast<std::size_t>(std::countr_zero(hit));
        if (i == n) return n;
        const auto hit = static_cast<std::size_t>(std::countr_zero(block::load_first(p + i, n - i).equal_to(b)));
        return hit < n - i ? i + hit : n;
    }
    while (i < n && p[i] != b)
        ++i;
    return i;
}

std::size_t trailing_run(const uchar* p, std::size_t n, uchar b) {
    std::size_t left = n;
    if constexpr (has_vectors) {
        for (; left >= block::size; left -= block::size)
            if (const auto other = static_cast<block::bits>(~block::load(p + left - block::size).equal_to(b));
                other != 0)
                return n - left + static_cast<std::size_t>(std::countl_zero(other));
        if (left == 0) return n;
        const std::uint64_t inside = (std::uint64_t{1} << left) - 1;
        const std::uint64_t other = ~std::uint64_t{block::load_first(p, left).equal_to(b)} & inside;
        return n - static_cast<std::size_t>(std::bit_width(other));
    }
    while (left > 0 && p[left - 1] == b)
        --left;
    return n - left;
}

void flip_letters(uchar first, uchar* p, std::size_t n) {
    std::size_t i = 0;
    if constexpr (has_vectors) {
        for (; i + block::size <= n; i += block::size)
            block::load(p + i).flip_letters(first).store(p + i);
        if (i < n) block::load_first(p + i, n - i).flip_letters(first).store_first(p + i, n - i);
        return;
    }
    for (; i < n; ++i)
        if (static_cast<uchar>(p[i] - first) < 26) p[i] ^= 0x20;
}

void flip_letters_units(uchar first, uchar* p, std::size_t n) {
    return leaving([&] {
        std::size_t i = 0;
        for (; n - i >= 32; i += 32)
            flip_group<32>(first, p + 2 * i);
        for (; n - i >= 8; i += 8)
            flip_group<8>(first, p + 2 * i);
        for (; i < n; ++i)
            flip_group<1>(first, p + 2 * i);
    });
}

} // namespace qzstr::core::QZSTR_LEVEL
