// Fast paths of the conversion loops, derived at compile time from a family's own one-character rules: what the tables
// say is what `decode` and `encode` say, the usual replacements among it, and wherever a rule is unusual a table says "ask".
#pragma once

#include "core/byte_set.h"
#include "core/kernels.h"
#include "core/units.h"

namespace qzstr::core {

/// The bytes that take a second one when F decodes.
template <class F>
constexpr const byte_set& decode_leads() {
    if constexpr (requires { F::decode_leads; })
        return F::decode_leads;
    else
        return F::leads;
}

/// The bytes that take a second one when F counts, where longer codes are seen as pairs.
template <class F>
constexpr const byte_set& pair_leads() {
    if constexpr (requires { F::pair_leads; })
        return F::pair_leads;
    else
        return F::leads;
}

/// Whether F is a family of one- and two-byte characters for the fast routines. (A family says `widens` when each of its
/// bytes is the code point of the same value.)
template <class F>
concept decodes_pairs = requires {
    F::leads;
};

/// The unit to which F decodes a sequence of `length` bytes, wherever it stands, in every form; `ask` when the forms
/// differ, or when it is not one BMP unit. In big-endian order, as the decoder stores it.
template <class F>
constexpr std::uint16_t decoded_cell(const uchar (&p)[4], unsigned length) {
    const auto d2 = F::template decode<form::ucs2>(p, 4);
    const auto same = [d2](auto d) {
        return d.what == d2.what && d.units == 1 && d.consumed == d2.consumed && d.unit[0] == d2.unit[0];
    };
    const bool usual = d2.unit[0] <= 0xFFFF && same(F::template decode<form::ucs2>(p, length)) &&
                       same(F::template decode<form::ucs4>(p, 4)) && same(F::template decode<form::utf16>(p, 4));
    if (!usual) return ask;
    if (d2.what == decltype(d2.what)::ok) {
        const std::uint16_t cell = __builtin_bswap16(static_cast<std::uint16_t>(d2.unit[0]));
        return d2.consumed == length && cell < lead_substituted ? cell : ask;
    }
    if (d2.unit[0] != replacement) return ask;
    return d2.consumed == length ? substituted : d2.consumed == 1 ? lead_substituted : ask;
}

/// The same of a longer code that UCS-2 replaces although other forms may have it.
template <class F>
constexpr std::uint16_t cell_beyond_ucs2(const uchar (&p)[4], unsigned length) {
    const auto d2 = F::template decode<form::ucs2>(p, 4), d4 = F::template decode<form::ucs4>(p, 4),
               d16 = F::template decode<form::utf16>(p, 4);
    const bool usual = d2.what != decltype(d2.what)::ok && d2.unit[0] == replacement && d2.consumed == length &&
                       d4.what == d16.what && d4.units == 1 && d4.consumed == length;
    if (!usual || d4.unit[0] > 0xFFFF) return ask;
    return d4.what == d2.what ? substituted : __builtin_bswap16(static_cast<std::uint16_t>(d4.unit[0]));
}

template <class F>
consteval unsigned count_leads() {
    unsigned leads = 0;
    for (unsigned b = 0; b < 256; ++b)
        leads += decode_leads<F>().contains(b);
    return leads;
}

/// The codes of F that are longer than two bytes; none in most.
template <class F>
consteval long_code_shape longer_codes() {
    if constexpr (requires { F::long_codes; })
        return F::long_codes;
    else
        return {};
}

/// The cells: a row of single bytes, an empty row, a row a lead, the longer codes and one that asks.
template <class F>
struct pair_cells {
    alignas(64) uchar row[128] = {};
    static constexpr std::uint32_t long_cells = (2 + count_leads<F>()) * 256;
    static constexpr long_code_shape longer = longer_codes<F>();
    static_assert(longer.count == 0 || longer.told_by_lead() || longer.radix[1] == longer.radix[3]);
    std::uint16_t cell[long_cells + longer.count + 2] = {}; // vector code reads two cells at a time

    consteval pair_cells() {
        for (std::uint32_t n = 0; n < longer.count; ++n)
            cell[long_cells + n] = n < longer.ucs2 ? decoded_cell<F>(longer.at(n).byte, longer.bytes)
                                                   : cell_beyond_ucs2<F>(longer.at(n).byte, longer.bytes);
        cell[long_cells + longer.count] = ask;
        std::uint32_t next = 512;
        for (unsigned b = 0; b < 256; ++b) {
            cell[256 + b] = ask;
            if (!decode_leads<F>().contains(b)) {
                cell[b] = decoded_cell<F>({static_cast<uchar>(b), 0, 0, 0}, 1);
                continue;
            }
            row[b - 0x80] = static_cast<uchar>(next / 256); // no lead is below 0x80
            for (unsigned trail = 0; trail < 256; ++trail)
                cell[next + trail] = decoded_cell<F>({static_cast<uchar>(b), static_cast<uchar>(trail), 0, 0}, 2);
            next += 256;
        }
    }
};

template <class F>
inline constexpr pair_cells<F> pair_cells_of{};

template <class F>
consteval pair_decoding make_pair_decoding() {
    const auto& cells = pair_cells_of<F>;
    pair_decoding plan{cells.cell, &decode_leads<F>(), {}, cells.row, {0xFF, 0xFF}, cells.long_cells, cells.longer};
    int found = 0;
    for (unsigned b = 1; b < 0x80; ++b)
        if (cells.cell[b] != b << 8) plan.unlike_ascii[found++] = static_cast<uchar>(b);
    for (int r = 0; r < plan.leads->ranges(); ++r) {
        const byte_range range = plan.leads->range(r);
        plan.row_base[r] = static_cast<uchar>(plan.row[range.first - 0x80] - range.first);
    }
    return plan;
}

template <class F>
inline constexpr pair_decoding pair_decoding_of = make_pair_decoding<F>();

/// Cells for a unit to as many bytes as a cell has, first byte low, in pages of 256 code points; page 0 has no character,
/// and where units may come from UTF-16 instead of UCS-4, page 1 is that of the surrogates. Cells of four bytes are only for
/// codes longer than two.
template <class F, class Cell = std::uint16_t>
struct encode_pages {
    static constexpr bool pairs = sizeof(Cell) == 2;
    static constexpr Cell unknown = sizeof(Cell) == 1 ? Cell{0} : static_cast<Cell>(~0U);
    static constexpr Cell cell_of(char32_t c) {
        if constexpr (requires { F::composes(c); })
            if (F::composes(c)) return unknown;
        const auto e = F::template encode<form::ucs2>(c, 0xFFFFFFFF);
        if (e.bytes > sizeof(Cell) || e.room > sizeof(Cell) || e.units != 1) return unknown;
        if (sizeof(Cell) == 4 && e.bytes < 3) return unknown;
        if (e.what == decltype(e.what)::ok) {
            Cell value = 0;
            for (unsigned i = 0; i < e.bytes; ++i)
                value = static_cast<Cell>(value | static_cast<Cell>(e.byte[i]) << 8 * i);
            return value;
        }
        const bool always = F::template encode<form::ucs4>(c, 0xFFFFFFFF).what == e.what;
        return pairs && always && e.bytes == 1 && e.byte[0] == '?' ? static_cast<Cell>(substituted) : unknown;
    }
    static constexpr Cell missing = cell_of(0xD800); // no surrogate is a character
    static constexpr bool in_ucs4 = requires { F::same_in_ucs4; };
    static constexpr int first_used = pairs && in_ucs4 ? 2 : 1;
    static consteval int count_pages() {
        int pages = first_used;
        for (char32_t high = 0; high < 256; ++high)
            for (char32_t low = 0; low < 256; ++low)
                if (cell_of(high << 8 | low) != missing) {
                    ++pages;
                    break;
                }
        return pages;
    }
    static_assert(count_pages() <= 256); // there are no characters in the pages of the surrogates
    std::uint32_t page[256] = {};
    alignas(64) uchar number[256] = {};
    Cell cell[count_pages() * 256 + 1] = {}; // vector code reads two cells at a time

    consteval encode_pages() {
        for (Cell& each : cell)
            each = missing;
        if (first_used == 2) {
            for (unsigned low = 0; low < 256; ++low)
                cell[256 + low] = unknown;
            for (char32_t high = 0xD8; high < 0xE0; ++high) {
                page[high] = 256;
                number[high] = 1;
            }
        }
        std::uint32_t next = first_used * 256;
        for (char32_t high = 0; high < 256; ++high) {
            bool used = false;
            for (char32_t low = 0; low < 256; ++low)
                if (const Cell value = cell_of(high << 8 | low); value != missing) {
                    cell[next + low] = value;
                    used = true;
                }
            if (used) {
                page[high] = next;
                number[high] = static_cast<uchar>(next / 256);
                next += 256;
            }
        }
    }
};

template <class F, class Cell = std::uint16_t>
inline constexpr encode_pages<F, Cell> encode_pages_of{};

template <class F>
consteval pair_encoding make_pair_encoding() {
    const auto& pages = encode_pages_of<F>;
    pair_encoding plan{pages.page, pages.cell, pages.number, F::ucs4_mask, nullptr, nullptr, 0};
    if constexpr (requires { F::long_codes; }) {
        plan.long_cell = encode_pages_of<F, std::uint32_t>.cell;
        plan.long_page_number = encode_pages_of<F, std::uint32_t>.number;
    }
    if constexpr (constexpr long_code_shape longer = longer_codes<F>(); longer.supplementary != no_supplementary) {
        static_assert(longer.pair_weight() == supplementary_pair_weight);
        static_assert(longer.radix[1] == supplementary_radix && longer.radix[3] == supplementary_radix);
        for (int i = 4; i-- > 0;)
            plan.supplementary = plan.supplementary << 8 | longer.at(longer.supplementary).byte[i];
    }
    return plan;
}

template <class F>
inline constexpr pair_encoding pair_encoding_of = make_pair_encoding<F>();

/// Decodes what can be decoded fast, from `at` on; exact or replaced.
template <class F, form Form, order Order, class Progress>
conv_status_t decode_fast(const uchar* src, offset_t len, uchar* dst, offset_t size, Progress& at) {
    if constexpr (requires { F::widens; }) {
        const offset_t room = (size - at.written) / unit_size<Form>;
        const offset_t n = room < len - at.read ? room : len - at.read;
        widen_bytes(layout_of<Form, Order>, src + at.read, static_cast<std::size_t>(n), dst + at.written);
        at.read += n;
        at.written += n * unit_size<Form>;
    } else if constexpr (requires { F::template decode_run<Form, Order>(src, std::size_t{}, dst, std::size_t{}); }) {
        const moved m = F::template decode_run<Form, Order>(
            src + at.read, static_cast<std::size_t>(len - at.read), dst + at.written,
            static_cast<std::size_t>((size - at.written) / unit_size<Form>));
        at.read += static_cast<offset_t>(m.read);
        at.written += static_cast<offset_t>(m.written);
    } else if constexpr (decodes_pairs<F>) {
        const converted m = decode_pairs(pair_decoding_of<F>, layout_of<Form, Order>, src + at.read,
                                         static_cast<std::size_t>(len - at.read), dst + at.written,
                                         static_cast<std::size_t>((size - at.written) / unit_size<Form>));
        at.read += static_cast<offset_t>(m.read);
        at.written += static_cast<offset_t>(m.written);
        return m.replaced ? replaced : exact;
    }
    return exact;
}

/// Encodes what can be encoded fast, from `at` on; exact or replaced.
template <class F, form Form, order Order, class Progress>
conv_status_t encode_fast(const uchar* src, offset_t len, uchar* dst, offset_t size, Progress& at) {
    if constexpr (requires { F::widens; }) {
        const offset_t units = (len - at.read) / unit_size<Form>;
        const offset_t n = units < size - at.written ? units : size - at.written;
        const std::size_t run =
            narrow_ascii(layout_of<Form, Order>, src + at.read, static_cast<std::size_t>(n), dst + at.written);
        at.read += static_cast<offset_t>(run) * unit_size<Form>;
        at.written += static_cast<offset_t>(run);
    } else if constexpr (requires { F::template encode_run<Form, Order>(src, std::size_t{}, dst, std::size_t{}); }) {
        const moved m = F::template encode_run<Form, Order>(
            src + at.read, static_cast<std::size_t>((len - at.read) / unit_size<Form>), dst + at.written,
            static_cast<std::size_t>(size - at.written));
        at.read += static_cast<offset_t>(m.read);
        at.written += static_cast<offset_t>(m.written);
    } else if constexpr (decodes_pairs<F>) {
        constexpr int unit = unit_size<Form>;
        const offset_t units = (len - at.read) / unit;
        const converted m =
            encode_pairs(pair_encoding_of<F>, layout_of<Form, Order>, src + at.read, static_cast<std::size_t>(units),
                         dst + at.written, static_cast<std::size_t>(size - at.written));
        at.read += static_cast<offset_t>(m.read);
        at.written += static_cast<offset_t>(m.written);
        if constexpr (requires { F::composes(char32_t{}); }) {
            // A mark may join the character before it: that one is taken back and left to the exact routine.
            if (m.read > 0 && len - at.read >= unit && F::composes(load_unit<Form, Order>(src + at.read))) {
                at.read -= unit;
                at.written -= F::template encode<Form>(load_unit<Form, Order>(src + at.read), 0xFFFFFFFF).bytes;
            }
        }
        return m.replaced ? replaced : exact;
    }
    return exact;
}

} // namespace qzstr::core
