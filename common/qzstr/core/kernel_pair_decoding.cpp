// Decoding of one- and two-byte characters, 64 bytes at a time without a branch per character.
#include "core/kernels.h"
#include "core/pair_blocks.h"
#include "core/pair_targets.h"
#include "core/units.h"
#include "core/vector.h"

#include <algorithm>
#include <bit>
#include <cstring>

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512
#include "core/pair_decoding_avx512.h"
#endif

namespace qzstr::core::QZSTR_LEVEL {

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_plain

converted decode_pairs(const pair_decoding&, unit_layout, const uchar*, std::size_t, uchar*, std::size_t) {
    return {};
}
recoded_run pairs_to_utf8(const pair_decoding&, const uchar*, std::size_t, uchar*, std::size_t, std::size_t) {
    return {};
}

#else

namespace {

#if QZSTR_LEVEL_NUMBER < QZSTR_IS_avx512

/// 64 bytes of text, or what is left of it in a copy, and where each of them would have its cell as a character's first.
struct paired_bytes {
    const uchar* p;
    std::uint64_t leads_or_trails = 0;
    alignas(64) uchar index[2 * block_size + 2];                        ///< in 16 bits each; 0 behind the block
    alignas(64) uchar copy[block_size + std::max(beyond, block::size)]; ///< stored by blocks

    paired_bytes(const pair_decoding& plan, const uchar* text, std::size_t left) : p(text) {
        if (left < block_size + beyond) {
            std::memset(copy, 0, block_size + beyond);
            std::size_t at = 0;
            for (; left - at >= block::size; at += block::size)
                block::load(text + at).store(copy + at);
            if (at < left) block::load_first(text + at, left - at).store(copy + at);
            p = copy;
        }
        for (std::size_t i = 0; i < std::min(left, block_size); i += block::size) {
            const block byte = block::load(p + i), behind = block::load(p + i + 1);
            block row{}, taken{};
            for (int r = 0; r < plan.leads->ranges(); ++r) {
                const auto inside = byte.inside(plan.leads->range(r));
                row.v |= inside & byte.plus(plan.row_base[r]).v;
                taken.v |= inside;
            }
            block::interleave({(byte.v & ~taken.v) | (behind.v & taken.v)}, row, index + 2 * i);
            leads_or_trails |= std::uint64_t{taken.high_bits()} << i;
        }
        std::memset(index + 2 * block_size, 0, 2);
    }
    template <class Mask>
    std::uint64_t mask(Mask of) const {
        return mask_64(p, of);
    }
    std::uint64_t in_set() const { return leads_or_trails; }
    template <class Mask>
    std::uint64_t mask_behind(Mask of) const {
        return mask_64(p + 1, of);
    }
    std::uint32_t index_at(std::size_t at) const {
        std::uint16_t value;
        std::memcpy(&value, index + 2 * at, 2);
        return value;
    }
};

/// The numbers of longer codes.
struct long_code_reader {
    std::uint32_t first, kept, to_limits, radix, pair_weight;

    explicit long_code_reader(const long_code_shape& longer)
        : first(load_unit<form::ucs4, order::little>(longer.first)), kept(longer.bytes == 4 ? ~0U : 0xFFFFFF),
          to_limits((0x80U - longer.radix[2]) << 16 | (0x80U - longer.radix[3]) << 24), radix(longer.radix[3]),
          pair_weight(longer.pair_weight()) {}

    /// Of the code at p; a higher one than all have where it is invalid. Without a branch, for who asks may not have one.
    std::uint32_t operator()(const uchar* p) const {
        const std::uint32_t values = (load_unit<form::ucs4, order::little>(p) - first) & kept;
        const std::uint32_t invalid = (values | (values + to_limits)) & 0x80800000;
        const std::uint32_t pairs = (values & 0xFF00FF) * radix + (values >> 8 & 0xFF00FF);
        return ((pairs & 0xFFFF) * pair_weight + (pairs >> 16)) | invalid;
    }
};

/// Decodes the characters of a block one by one, up to the first that must be asked for or has no room.
template <bool LongCodes, class Target>
[[gnu::noinline]] decoded_block decode_unusual(pair_decoding plan, const uchar* p, std::size_t left,
                                               block_of_pairs pairs, std::uint64_t telling, Target& target) {
    const auto characters = block_characters::of(plan.longer, pairs, telling);
    const paired_bytes text(plan, p, left);
    const long_code_reader number_at(plan.longer);
    const std::uint32_t beyond_ucs2 = plan.longer.count - plan.longer.ucs2;
    Target to = target; // a store to what it leads to could change a reference
    std::uint64_t start = characters.start;
    for (; start != 0; start &= start - 1) {
        const std::size_t at = lowest(start);
        std::uint32_t index = text.index_at(at);
        if constexpr (LongCodes) {
            // Without a branch: which characters are long is chance.
            const std::uint32_t is_long = -static_cast<std::uint32_t>(characters.long_ones >> at & 1);
            const std::uint32_t number = number_at(text.p + at);
            index ^= (index ^ (plan.long_cells + std::min(number, plan.longer.count))) & is_long;
            const std::uint32_t beyond_bmp = (number - plan.longer.supplementary) | ~is_long;
            if (beyond_bmp < supplementary_count) {
                if (!to.put_supplementary(beyond_bmp)) break;
                continue;
            }
            if (!Target::holds_supplementary && (number | ~is_long) - plan.longer.ucs2 < beyond_ucs2) {
                if (!to.put_supplementary(0)) break;
                continue;
            }
        }
        const std::uint16_t cell = plan.cell[index];
        if (LongCodes && cell < lead_substituted)
            [[likely]] { // replacements are chance only where nothing else is unusual
            if (!to.put(cell)) break;
            continue;
        }
        const bool replaced = cell == substituted;
        if (cell == ask || cell == lead_substituted || !to.put(replaced ? replacement_cell : cell)) break;
        to.replaced |= replaced;
    }
    target = to;
    return start == 0 ? decoded_block{characters.end, false} : decoded_block{lowest(start), true};
}

/// Decodes all characters that `start` marks; false when one of them is not usual, or there is no room for all and seven
/// more, which it may write.
template <form Form, order Order>
bool decode_block(const pair_decoding& plan, const paired_bytes& text, std::uint64_t start,
                  unit_target<Form, Order>& target) {
    constexpr int group = 8;
    constexpr std::uint32_t above_cells = 0x10000 - lead_substituted;
    static_assert(lead_substituted < substituted && substituted < ask);
    const std::uint16_t* const cells = plan.cell; // a store to the target could change what a reference leads to
    std::uint32_t unusual = 0;
    const auto count = static_cast<std::size_t>(std::popcount(start));
    if (target.room() < count + group - 1) return false;
    uchar* dst = target.dst + target.units * unit_size<Form>;
    for (int left = static_cast<int>(count); left > 0; left -= group, dst += group * unit_size<Form>) {
#pragma GCC unroll 8
        for (int k = 0; k < group; ++k, start &= start - 1) {
            const std::uint16_t cell = cells[text.index_at(lowest(start))];
            store_unit<Form, Order>(dst + k * unit_size<Form>, __builtin_bswap16(cell));
            unusual |= cell + above_cells;
        }
    }
    if (unusual >> 16 != 0) return false;
    target.units += count;
    return true;
}

#endif

/// Which bytes of a block are not ASCII, or not themselves.
block::bits unlike_ascii(const pair_decoding& plan, block b) {
    return b.high_bits() | b.equal_to(plan.unlike_ascii[0]) | b.equal_to(plan.unlike_ascii[1]);
}

/// Decodes a text into a target; returns the bytes it took.
template <class Target>
std::size_t decode_into(const pair_decoding& plan, const uchar* src, std::size_t n, Target& target) {
    std::size_t base = 0;
    while (base < n) {
        const uchar* const p = src + base;
        const std::size_t left = n - base;
        const auto unlike = [&plan](block b) { return unlike_ascii(plan, b); };
        if (left >= block_size && mask_64(p, unlike) == 0 && target.put_ascii(p, block_size)) {
            base += block_size;
            continue;
        }
        const paired_bytes text(plan, p, left);
        if (left < block_size && text.in_set() == 0 && text.mask(unlike) == 0 && target.put_ascii(p, left)) return n;
        const auto pairs = block_of_pairs::of(text.in_set(), left);
        if (pairs.end == 0) break;
        const std::uint64_t telling = plan.longer.count == 0 ? 0 : pairs.telling(plan.longer, text);
        if (telling == 0 && decode_block(plan, text, pairs.start, target)) {
            base += pairs.end;
            continue;
        }
        Target out = target.copy(); // what something refers to would not stay in registers
        const auto done = telling == 0 ? decode_unusual<false>(plan, p, left, pairs, telling, out)
                                       : decode_unusual<true>(plan, p, left, pairs, telling, out);
        target.back_to(out.place());
        target.replaced |= out.replaced;
        base += done.bytes;
        if (done.stopped) break;
    }
    return base;
}

template <form Form, order Order>
converted decode_pairs_as(const pair_decoding& plan, const uchar* src, std::size_t n, uchar* dst, std::size_t units) {
    unit_target<Form, Order> target{dst, units};
    const std::size_t read = decode_into(plan, src, n, target);
    return {read, target.units * unit_size<Form>, target.replaced};
}

} // namespace

converted decode_pairs(const pair_decoding& plan, unit_layout layout, const uchar* src, std::size_t n, uchar* dst,
                       std::size_t units) {
    return leaving([&] {
        const auto decode = [&]<form Form, order Order> {
            return decode_pairs_as<Form, Order>(plan, src, n, dst, units);
        };
        return layout == unit_layout::utf16_big && !plan.longer.same_in_ucs2()
                   ? decode.template operator()<form::utf16, order::big>()
                   : in_layout(layout, decode);
    });
}

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512
recoded_run pairs_to_utf8(const pair_decoding& plan, const uchar* src, std::size_t n, uchar* dst, std::size_t room,
                          std::size_t units) {
    return leaving([&]() -> recoded_run {
        utf8_target target{dst, room, units};
        const std::size_t read = decode_into(plan, src, n, target);
        return {read, target.written, target.units, target.replaced};
    });
}
#else
recoded_run pairs_to_utf8(const pair_decoding& plan, const uchar* src, std::size_t n, uchar* dst, std::size_t room,
                          std::size_t units) {
    return leaving([&]() -> recoded_run {
        constexpr std::size_t piece = 512;
        alignas(64) uchar decoded[2 * piece];
        pair_decoding in_bmp = plan;
        in_bmp.longer.supplementary = no_supplementary;
        in_bmp.longer.ucs2 = plan.longer.count;
        recoded_run done{};
        const auto took_piece = [&]<form Form>(const pair_decoding& of) {
            constexpr std::size_t unit = unit_size<Form>;
            const converted in = decode_pairs_as<Form, order::little>(
                of, src + done.read, n - done.read, decoded, std::min(sizeof decoded / unit, units - done.units));
            const moved out = QZSTR_LEVEL::encode_utf8(layout_of<Form, order::little>, decoded, in.written / unit,
                                                       dst + done.written, room - done.written);
            if (in.read == 0 || out.read < in.written) return false; // not all of it had room
            done = {done.read + in.read, done.written + out.written, done.units + in.written / unit,
                    done.replaced || in.replaced};
            return true;
        };
        while (done.read < n && done.units < units)
            if (!took_piece.template operator()<form::ucs2>(in_bmp) &&
                (plan.longer.supplementary == no_supplementary || !took_piece.template operator()<form::ucs4>(plan)))
                break;
        return done;
    });
}
#endif

#endif
} // namespace qzstr::core::QZSTR_LEVEL
