// Walks over one- and two-byte characters: counting, letter case, and the reduction of each to a byte.
#include "core/bytes_avx512.h"
#include "core/kernels.h"
#include "core/lanes.h"
#include "core/pair_blocks.h"
#include "core/units.h"
#include "core/vector.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace qzstr::core::QZSTR_LEVEL {

namespace {

/// Changes the case of a byte that is a letter from `first` to `first` + 25.
void flip_letter(uchar first, uchar& b) {
    if (static_cast<uchar>(b - first) < 26) b ^= 0x20;
}

/// Walks byte by byte, from a byte that begins a character on.
void flip_walking(const byte_set& leads, uchar first, uchar* p, std::size_t n) {
    for (std::size_t at = 0; at < n; ++at)
        if (leads.contains(p[at]))
            ++at;
        else
            flip_letter(first, p[at]);
}

} // namespace

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_plain

void flip_letters_pairs(const byte_set& leads, uchar first, uchar* p, std::size_t n) {
    flip_walking(leads, first, p, n);
}

converted reduce_pairs(const pair_reduction&, const uchar*, std::size_t, uchar*, std::size_t) {
    return {};
}
moved skip_pairs(const byte_set& leads, const uchar* p, std::size_t n, std::size_t chars) {
    moved at{};
    for (; at.read < n && at.written < chars; ++at.written)
        at.read += leads.contains(p[at.read]) ? 2 : 1;
    return at;
}
moved skip_quads(const byte_set&, const long_code_shape&, const uchar*, std::size_t, std::size_t) {
    return {};
}
moved skip_pairs_before(const byte_set& leads, const byte_set& stops, const uchar* p, std::size_t n,
                        std::size_t chars) {
    moved at{};
    for (; at.read < n && at.written < chars; ++at.written) {
        const bool lead = leads.contains(p[at.read]);
        if (lead && (at.read + 1 == n || stops.contains(p[at.read + 1]))) break;
        at.read += lead ? 2 : 1;
    }
    return at;
}
moved skip_long_forms(const long_forms&, const uchar*, std::size_t, std::size_t) {
    return {};
}

#else

namespace {

/// What became of the characters of a block: bytes read and written.
struct reduced_block {
    std::size_t read, written;
    bool replaced;
};

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512

reduced_block reduce_block(const pair_reduction& plan, const uchar* p, std::size_t left, std::uint64_t start,
                           std::size_t end, uchar* dst, std::size_t room) {
    const __m512i byte = text_end{p, left}.bytes(), value = look_up_256(plan.to, byte);
    if (const std::uint64_t stops = start & _mm512_testn_epi8_mask(value, value); stops != 0) {
        end = lowest(stops);
        start &= first_bits(end);
    }
    const auto count = static_cast<std::size_t>(std::popcount(start));
    const __m512i mark = _mm512_set1_epi8('?');
    store_first(dst, room, _mm512_maskz_compress_epi8(start, value), count);
    const std::uint64_t replaced =
        _mm512_mask_cmpeq_epi8_mask(start, value, mark) & _mm512_cmpneq_epi8_mask(byte, mark);
    return {end, count, replaced != 0};
}

#else

reduced_block reduce_block(const pair_reduction& plan, const uchar* p, std::size_t, std::uint64_t start,
                           std::size_t end, uchar* dst, std::size_t) {
    std::size_t count = 0;
    bool replaced = false;
    for (; start != 0; start &= start - 1) {
        const uchar byte = p[lowest(start)], value = plan.to[byte];
        if (value == 0) return {lowest(start), count, replaced};
        dst[count++] = value;
        replaced |= value == '?' && byte != '?';
    }
    return {end, count, replaced};
}

#endif

} // namespace

converted reduce_pairs(const pair_reduction& plan, const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
    return leaving([&]() -> converted {
        std::size_t base = 0, written = 0;
        std::uint64_t replaced = 0; // a byte that is spilt and read back as a word holds everything up
        while (base < n) {
            const uchar* const p = src + base;
            const std::size_t left = n - base;
            if (plan.copies_ascii && std::min(left, room - written) >= block_size &&
                mask_64(p, [](block b) { return b.high_bits(); }) == 0) {
                std::memcpy(dst + written, p, block_size);
                base += block_size;
                written += block_size;
                continue;
            }
            const auto pairs = block_of_pairs::of(members(*plan.leads, p, left), left);
            const auto tell = [&](auto text) { return pairs.telling(plan.longer, text); };
            const std::uint64_t telling = plan.longer.count == 0 ? 0 : over_block(p, left, tell);
            const auto [start, long_ones, end] = block_characters::closed(plan.longer, pairs, telling);
            if (end == 0 || room - written < static_cast<std::size_t>(std::popcount(start))) break;
            const reduced_block done = reduce_block(plan, p, left, start, end, dst + written, room - written);
            base += done.read;
            written += done.written;
            replaced |= done.replaced;
            if (done.read < end) break;
        }
        return {base, written, replaced != 0};
    });
}

moved skip_pairs(const byte_set& set, const uchar* p, std::size_t n, std::size_t chars) {
    std::size_t base = 0, passed = 0;
    std::uint64_t carry = 0;
    while (base < n && passed < chars) {
        const std::size_t taken = n - base < block_size ? n - base : block_size;
        const std::uint64_t leads = leads_among(members(set, p + base, n - base), carry);
        const std::uint64_t start = starts_after(leads, carry) & first_bits(taken);
        const auto here = static_cast<std::size_t>(std::popcount(start));
        if (here > chars - passed) return {base + nth_bit(start, chars - passed), chars};
        passed += here;
        base += taken;
        carry = leads >> (taken - 1) & 1;
    }
    return {base + static_cast<std::size_t>(carry), passed};
}

moved skip_quads(const byte_set& leads, const long_code_shape& longer, const uchar* p, std::size_t n,
                 std::size_t chars) {
    std::size_t base = 0, passed = 0;
    std::uint64_t long_ones = 1;
    constexpr std::size_t few = 24; // sooner walked than looked at as a block
    if (n < few) return {};
    while (long_ones != 0 && base < n && passed < chars) {
        const std::size_t left = n - base;
        const block_characters found = over_block(p + base, left, [&](auto text) {
            const auto pairs = block_of_pairs::of(text.mask(in(leads)) & first_bits(left), left);
            return block_characters::closed(longer, pairs, pairs.telling(longer, text));
        });
        const auto here = static_cast<std::size_t>(std::popcount(found.start));
        if (here > chars - passed) return {base + nth_bit(found.start, chars - passed), chars};
        passed += here;
        base += found.end;
        long_ones = here == 0 ? 0 : found.long_ones;
    }
    return {base, passed};
}

moved skip_pairs_before(const byte_set& set, const byte_set& stops, const uchar* p, std::size_t n, std::size_t chars) {
    std::size_t base = 0, passed = 0;
    std::uint64_t carry = 0;
    while (base < n && passed < chars) {
        const std::size_t taken = n - base < block_size ? n - base : block_size;
        const std::uint64_t in_stops = members(stops, p + base, n - base);
        const std::uint64_t leads = leads_among(members(set, p + base, n - base), carry);
        const std::uint64_t next_stops = base + taken == n || stops.contains(p[base + taken]) ? 1 : 0;
        const std::uint64_t stop = leads & (in_stops >> 1 | next_stops << (taken - 1));
        const std::uint64_t start = starts_after(leads, carry) & first_bits(stop != 0 ? lowest(stop) : taken);
        const auto here = static_cast<std::size_t>(std::popcount(start));
        if (here > chars - passed) return {base + nth_bit(start, chars - passed), chars};
        passed += here;
        if (stop != 0) return {base + lowest(stop), passed};
        base += taken;
        carry = leads >> (taken - 1) & 1;
    }
    return {base + static_cast<std::size_t>(carry), passed};
}

moved skip_long_forms(const long_forms& forms, const uchar* p, std::size_t n, std::size_t chars) {
    std::size_t base = 0, passed = 0;
    std::uint64_t carry = 0, joined = 0; // trails and pairs that belong to a character of the block before
    while (base < n && passed < chars) {
        const std::size_t taken = n - base < block_size ? n - base : block_size;
        std::uint64_t in_set, high, long_lead;
        const auto look_at = [&](auto at) {
            in_set = at.mask(in(*forms.leads));
            high = at.mask([](block b) { return b.high_bits(); });
            long_lead = at.mask([&](block b) { return b.equal_to(forms.lead); });
        };
        over_block(p + base, n - base, look_at);
        const std::uint64_t leads = leads_among(in_set, carry);
        std::uint64_t starts = starts_after(leads, carry) & first_bits(taken);
        const std::uint64_t begun = starts & long_lead & ~joined;
        // What a form takes along must be a pair that is no form; bytes with the high bit that lead nothing are not taken.
        const std::uint64_t pairs = leads & ~long_lead, taken_along = begun << forms.to_pair;
        std::uint64_t wrong =
            (starts & high & ~leads & ~long_lead) | (taken_along & first_bits(taken) & ~pairs) >> forms.to_pair;
        const std::uint64_t ahead = begun & ~first_bits(taken > forms.to_pair ? taken - forms.to_pair : 0);
        for (std::uint64_t left = ahead; left != 0; left &= left - 1) {
            const std::size_t at = base + lowest(left) + forms.to_pair;
            if (at >= n || !forms.leads->contains(p[at]) || p[at] == forms.lead) wrong |= left;
        }
        starts &= ~(taken_along | joined);
        if (wrong != 0) starts &= first_bits(lowest(wrong));
        const auto here = static_cast<std::size_t>(std::popcount(starts));
        if (here > chars - passed) return {base + nth_bit(starts, chars - passed), chars};
        passed += here;
        if (wrong != 0) return {base + lowest(wrong), passed};
        base += taken;
        carry = leads >> (taken - 1) & 1;
        joined = ahead >> (block_size - forms.to_pair);
    }
    // The last character may go on behind the last block.
    return {base + static_cast<std::size_t>(joined != 0 ? std::bit_width(joined) + 1 : carry), passed};
}

void flip_letters_pairs(const byte_set& set, uchar first, uchar* p, std::size_t n) {
    std::size_t base = 0;
    std::uint64_t carry = 0;
    for (; base + block_size <= n; base += block_size) {
        const std::uint64_t in_set = members(set, p + base, n - base);
        if ((in_set | carry) == 0) {
            for (std::size_t i = 0; i < block_size; i += block::size)
                block::load(p + base + i).flip_letters(first).store(p + base + i);
            continue;
        }
        const std::uint64_t leads = leads_among(in_set, carry);
        const std::uint64_t single = ~leads & starts_after(leads, carry);
        const byte_range letters{first, static_cast<uchar>(first + 25)};
        for (std::uint64_t left = single & mask_64(p + base, [letters](block b) { return b.within(letters); });
             left != 0; left &= left - 1)
            p[base + lowest(left)] ^= 0x20;
        carry = leads >> 63;
    }
    if (base + carry < n) flip_walking(set, first, p + base + carry, n - base - carry);
}

#endif
} // namespace qzstr::core::QZSTR_LEVEL
