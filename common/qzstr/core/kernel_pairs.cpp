// Text of one- and two-byte characters, 64 bytes at a time without a branch per character.
//
// A byte is a lead when it is in the lead set and the byte before it is not a lead, so leads alternate inside every run of
// set members. Runs that begin at an even position are found with one addition whose carry runs through the run; the
// state of the last byte is carried to the next block. Character starts are the bytes that do not follow a lead.
#include "core/kernels.h"
#include "core/units.h"
#include "core/vector.h"

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

moved decode_pairs(const pair_decoding&, unit_layout, const uchar*, std::size_t, uchar*, std::size_t) {
    return {};
}
moved encode_pairs(const pair_encoding&, unit_layout, const uchar*, std::size_t, uchar*, std::size_t) {
    return {};
}
moved skip_pairs(const byte_set& leads, const uchar* p, std::size_t n, std::size_t chars) {
    moved at{};
    for (; at.read < n && at.written < chars; ++at.written)
        at.read += leads.contains(p[at.read]) ? 2 : 1;
    return at;
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

constexpr std::size_t block_size = 64;
constexpr std::uint64_t even_bits = 0x5555555555555555;

std::uint64_t members(const byte_set& set, const uchar* p) {
    std::uint64_t bits = 0;
    for (int r = 0; r < set.ranges(); ++r)
        bits |= mask_64(p, [range = set.range(r)](block b) { return b.within(range); });
    return bits;
}

/// The leads of a block, from its members of the lead set. `carry` is 1 when the block's first byte is a trail.
std::uint64_t leads_among(std::uint64_t members, std::uint64_t carry) {
    const std::uint64_t candidates = members & ~carry;
    const std::uint64_t run_starts = candidates & ~(candidates << 1);
    const std::uint64_t past_even_runs = candidates + (run_starts & even_bits);
    return (candidates & ~past_even_runs & even_bits) | (candidates & past_even_runs & ~even_bits);
}

/// The bytes that begin a character: those that do not follow a lead.
constexpr std::uint64_t starts_after(std::uint64_t leads, std::uint64_t carry) {
    return ~(leads << 1 | carry);
}

/// The last bytes of a text, with room to read a whole block and a trail.
struct padded {
    alignas(64) uchar bytes[block_size + 16];
    padded(const uchar* p, std::size_t n) {
        std::memset(bytes, 0, sizeof bytes);
        std::memcpy(bytes, p, n);
    }
};

/// The members of the set among the last n bytes of a text, at most a block.
std::uint64_t members_of_rest(const byte_set& set, const uchar* p, std::size_t n) {
#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512
    const block rest{_mm512_maskz_loadu_epi8(first_bits(n), p)};
    std::uint64_t bits = 0;
    for (int r = 0; r < set.ranges(); ++r)
        bits |= rest.within(set.range(r));
    return bits & first_bits(n);
#else
    return members(set, padded(p, n).bytes);
#endif
}

std::uint16_t cell_of(pair_decoding plan, const uchar* p) {
    const std::uint32_t head = plan.head[p[0]];
    return plan.cell[(head >> 8) + (p[1] & (head & 0xFF))];
}

template <form Form, order Order>
void store_cell(uchar* dst, std::uint16_t cell) {
    store_unit<Form, Order>(dst, __builtin_bswap16(cell));
}

/// Decodes the characters that `start` marks, one by one, up to the first that must be asked for.
template <form Form, order Order>
std::size_t decode_carefully(pair_decoding plan, const uchar* p, std::uint64_t& start, uchar* dst, std::size_t units) {
    std::size_t n = 0;
    for (; start != 0 && n < units; ++n, start &= start - 1) {
        const std::uint16_t cell = cell_of(plan, p + lowest(start));
        if (cell == ask) break;
        store_cell<Form, Order>(dst + n * unit_size<Form>, cell);
    }
    return n;
}

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512
/// Decodes all characters that `start` marks; false when one of them must be asked for. Reads the byte behind the block,
/// writes up to 15 units too many.
template <form Form, order Order>
bool decode_block(pair_decoding plan, __m512i bytes, __m512i behind, std::uint64_t start, uchar* dst) {
    alignas(64) uchar first[block_size], second[block_size];
    _mm512_store_si512(first, _mm512_maskz_compress_epi8(start, bytes));
    _mm512_store_si512(second, _mm512_maskz_compress_epi8(start, behind));
    constexpr int group = 16;
    const __m512i low_half = _mm512_set1_epi32(0xFFFF);
    __mmask16 asked = 0;
    const int n = std::popcount(start);
    for (int i = 0; i < n; i += group, dst += group * unit_size<Form>) {
        const auto bytes_of = [i](const uchar* bytes) {
            return _mm512_cvtepu8_epi32(_mm_load_si128(reinterpret_cast<const __m128i*>(bytes + i)));
        };
        const __m512i head = _mm512_i32gather_epi32(bytes_of(first), plan.head, 4);
        const __m512i index = _mm512_add_epi32(_mm512_srli_epi32(head, 8), _mm512_and_si512(bytes_of(second), head));
        const __m512i cell = _mm512_and_si512(_mm512_i32gather_epi32(index, plan.cell, 2), low_half);
        asked |= _mm512_cmpeq_epi32_mask(cell, low_half);
        const __m512i swapped =
            _mm512_or_si512(_mm512_srli_epi32(cell, 8), _mm512_and_si512(_mm512_slli_epi32(cell, 8), low_half));
        if constexpr (Form == form::ucs2)
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst),
                                _mm512_cvtepi32_epi16(Order == order::big ? cell : swapped));
        else
            _mm512_storeu_si512(dst, Order == order::big ? _mm512_slli_epi32(cell, 16) : swapped);
    }
    return asked == 0;
}
template <form Form, order Order>
bool decode_block(const pair_decoding& plan, const uchar* p, std::uint64_t start, uchar* dst) {
    return decode_block<Form, Order>(plan, _mm512_loadu_si512(p), _mm512_loadu_si512(p + 1), start, dst);
}
#else
/// Decodes all characters that `start` marks; false when one of them must be asked for. Writes up to 7 units too many.
/// (The plan comes by value: a store to the target could change what a reference leads to.)
template <form Form, order Order>
bool decode_block(pair_decoding plan, const uchar* p, std::uint64_t start, uchar* dst) {
    constexpr int group = 8;
    std::uint32_t asked = 0;
    int left = std::popcount(start);
    for (; left >= group; left -= group, dst += group * unit_size<Form>) {
#pragma GCC unroll 8
        for (int k = 0; k < group; ++k, start &= start - 1) {
            const std::uint16_t cell = cell_of(plan, p + lowest(start));
            store_cell<Form, Order>(dst + k * unit_size<Form>, cell);
            asked |= cell + 1U;
        }
    }
    if (left == 0) return (asked >> 16) == 0;
#pragma GCC unroll 8
    for (int k = 0; k < group; ++k, start &= start - 1) {
        const bool there = start != 0;
        const std::uint16_t cell = cell_of(plan, p + (there ? lowest(start) : 0));
        store_cell<Form, Order>(dst + k * unit_size<Form>, cell);
        asked |= there ? cell + 1U : 0U;
    }
    return (asked >> 16) == 0;
}
#endif

bool plain_ascii(const pair_decoding& plan, const uchar* p) {
    return mask_64(p, [&plan](block b) {
               return b.high_bits() | b.equal_to(plan.unlike_ascii[0]) | b.equal_to(plan.unlike_ascii[1]);
           }) == 0;
}

template <form Form, order Order>
void widen_block(const uchar* p, uchar* dst) {
    if constexpr (Form == form::ucs2)
        for (std::size_t i = 0; i < block_size; i += block::size)
            block::load(p + i).template widen<Order>(dst + 2 * i);
    else
        for (std::size_t i = 0; i < block_size; ++i)
            store_unit<Form, Order>(dst + 4 * i, p[i]);
}

template <form Form, order Order>
moved decode_pairs_as(const pair_decoding& plan, const uchar* src, std::size_t n, uchar* dst, std::size_t units) {
    constexpr std::size_t unit = unit_size<Form>;
    std::size_t base = 0, done = 0;
    std::uint64_t carry = 0;
    // Decodes the marked characters of a block; where it stopped, block_size when it did all.
    const auto block_done = [&](const uchar* p, std::uint64_t start) {
        if (units - done >= block_size + 8 && decode_block<Form, Order>(plan, p, start, dst + done * unit)) {
            done += static_cast<std::size_t>(std::popcount(start));
            return block_size;
        }
        done += decode_carefully<Form, Order>(plan, p, start, dst + done * unit, units - done);
        return start == 0 ? block_size : lowest(start);
    };
    while (n - base > block_size) {
        const uchar* const p = src + base;
        if (carry == 0 && units - done >= block_size && plain_ascii(plan, p)) {
            widen_block<Form, Order>(p, dst + done * unit);
            base += block_size;
            done += block_size;
            continue;
        }
        const std::uint64_t leads = leads_among(members(*plan.leads, p), carry);
        if (const std::size_t at = block_done(p, starts_after(leads, carry)); at != block_size)
            return {base + at, done * unit};
        base += block_size;
        carry = leads >> 63;
    }
    const std::size_t left = n - base;
    if (left == 0) return {base, done * unit};
    const std::uint64_t leads = leads_among(members_of_rest(*plan.leads, src + base, left), carry);
    // A lead in the very last byte is cut: the exact routine's.
    const std::size_t whole = left - static_cast<std::size_t>(leads >> (left - 1) & 1);
    const std::uint64_t start = starts_after(leads, carry) & first_bits(whole);
#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512
    // Masked loads read nothing behind the text, and need no copy of it.
    if (units - done >= block_size + 8 &&
        decode_block<Form, Order>(plan, _mm512_maskz_loadu_epi8(first_bits(left), src + base),
                                  _mm512_maskz_loadu_epi8(first_bits(left - 1), src + base + 1), start,
                                  dst + done * unit))
        return {base + whole, (done + static_cast<std::size_t>(std::popcount(start))) * unit};
#endif
    const padded last(src + base, left);
    const std::size_t at = block_done(last.bytes, start);
    return {base + (at == block_size ? whole : at), done * unit};
}

template <form Form, order Order>
std::size_t encode_carefully(pair_encoding plan, const uchar* src, std::size_t n, uchar* dst, std::size_t room,
                             std::size_t& written) {
    std::size_t i = 0;
    for (; i < n && room - written >= 2; ++i) {
        const char32_t c = load_unit<Form, Order>(src + i * unit_size<Form>);
        const std::uint16_t cell = c > 0xFFFF ? 0 : plan.cell[plan.page[c >> 8] + (c & 0xFF)];
        if (cell == 0) break;
        std::memcpy(dst + written, &cell, 2);
        written += cell > 0xFF ? 2 : 1;
    }
    return i;
}

template <form Form, order Order>
moved encode_pairs_as(pair_encoding plan, const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
    constexpr std::size_t unit = unit_size<Form>;
    constexpr std::size_t group = 16;
    std::size_t i = 0, written = 0;
    while (n - i >= group && room - written >= 2 * group) {
        if constexpr (Form == form::ucs2) {
            // One byte more than they take: a charset may ask for two bytes of room for each.
            if (n - i >= block::size && room - written > block::size &&
                block::template narrow_ascii<Order>(src + i * unit, dst + written)) {
                i += block::size;
                written += block::size;
                continue;
            }
        }
        uchar* out = dst + written;
        std::uint32_t asked = 0;
#pragma GCC unroll 16
        for (std::size_t k = 0; k < group; ++k) {
            const char32_t c = load_unit<Form, Order>(src + (i + k) * unit);
            const std::uint32_t cell = plan.cell[plan.page[c >> 8 & 0xFF] + (c & 0xFF)];
            const auto two_bytes = static_cast<std::uint16_t>(cell);
            std::memcpy(out, &two_bytes, 2);
            out += 1 + static_cast<std::size_t>(cell > 0xFF);
            asked |= cell - 1;
            if constexpr (Form == form::ucs4) asked |= c > 0xFFFF ? ~0U : 0U;
        }
        if (asked >> 31 != 0) break;
        i += group;
        written = static_cast<std::size_t>(out - dst);
    }
    const std::size_t more = encode_carefully<Form, Order>(plan, src + i * unit, n - i, dst, room, written);
    return {(i + more) * unit, written};
}

} // namespace

moved decode_pairs(const pair_decoding& plan, unit_layout layout, const uchar* src, std::size_t n, uchar* dst,
                   std::size_t units) {
    switch (layout) {
    case unit_layout::ucs2_big:
        return leaving([&] { return decode_pairs_as<form::ucs2, order::big>(plan, src, n, dst, units); });
    case unit_layout::ucs2_little:
        return leaving([&] { return decode_pairs_as<form::ucs2, order::little>(plan, src, n, dst, units); });
    case unit_layout::ucs4_big:
        return leaving([&] { return decode_pairs_as<form::ucs4, order::big>(plan, src, n, dst, units); });
    case unit_layout::ucs4_little:
        return leaving([&] { return decode_pairs_as<form::ucs4, order::little>(plan, src, n, dst, units); });
    }
    return {};
}

moved encode_pairs(const pair_encoding& plan, unit_layout layout, const uchar* src, std::size_t n, uchar* dst,
                   std::size_t room) {
    switch (layout) {
    case unit_layout::ucs2_big:
        return leaving([&] { return encode_pairs_as<form::ucs2, order::big>(plan, src, n, dst, room); });
    case unit_layout::ucs2_little:
        return leaving([&] { return encode_pairs_as<form::ucs2, order::little>(plan, src, n, dst, room); });
    case unit_layout::ucs4_big:
        return leaving([&] { return encode_pairs_as<form::ucs4, order::big>(plan, src, n, dst, room); });
    case unit_layout::ucs4_little:
        return leaving([&] { return encode_pairs_as<form::ucs4, order::little>(plan, src, n, dst, room); });
    }
    return {};
}

moved skip_pairs(const byte_set& set, const uchar* p, std::size_t n, std::size_t chars) {
    std::size_t base = 0, passed = 0;
    std::uint64_t carry = 0;
    while (base < n && passed < chars) {
        const std::size_t taken = n - base < block_size ? n - base : block_size;
        const std::uint64_t in_set =
            taken < block_size ? members_of_rest(set, p + base, taken) : members(set, p + base);
        const std::uint64_t leads = leads_among(in_set, carry);
        const std::uint64_t start = starts_after(leads, carry) & first_bits(taken);
        const auto here = static_cast<std::size_t>(std::popcount(start));
        if (here > chars - passed) return {base + nth_bit(start, chars - passed), chars};
        passed += here;
        base += taken;
        carry = leads >> (taken - 1) & 1;
    }
    return {base + static_cast<std::size_t>(carry), passed};
}

moved skip_pairs_before(const byte_set& set, const byte_set& stops, const uchar* p, std::size_t n, std::size_t chars) {
    std::size_t base = 0, passed = 0;
    std::uint64_t carry = 0;
    while (base < n && passed < chars) {
        const std::size_t taken = n - base < block_size ? n - base : block_size;
        std::uint64_t in_set, in_stops;
        if (taken < block_size) {
            const padded last(p + base, taken);
            in_set = members(set, last.bytes);
            in_stops = members(stops, last.bytes) & first_bits(taken);
        } else {
            in_set = members(set, p + base);
            in_stops = members(stops, p + base);
        }
        const std::uint64_t leads = leads_among(in_set, carry) & first_bits(taken);
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

namespace {

/// Runs work(text) over the n bytes at p, at most a block.
template <class Work>
void over_block(const uchar* p, std::size_t n, Work work) {
    if (n == block_size) return work(text_at{p});
#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512
    work(text_end{p, n});
#else
    const padded last(p, n);
    work(text_at{last.bytes});
#endif
}

} // namespace

moved skip_long_forms(const long_forms& forms, const uchar* p, std::size_t n, std::size_t chars) {
    std::size_t base = 0, passed = 0;
    std::uint64_t carry = 0, joined = 0; // trails and pairs that belong to a character of the block before
    while (base < n && passed < chars) {
        const std::size_t taken = n - base < block_size ? n - base : block_size;
        std::uint64_t in_set, high, long_lead;
        const auto look_at = [&](auto at) {
            in_set = at.mask([&](block b) {
                block::bits bits = 0;
                for (int r = 0; r < forms.leads->ranges(); ++r)
                    bits |= b.within(forms.leads->range(r));
                return bits;
            });
            high = at.mask([](block b) { return b.high_bits(); });
            long_lead = at.mask([&](block b) { return b.equal_to(forms.lead); });
        };
        over_block(p + base, taken, look_at);
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
        const std::uint64_t in_set = members(set, p + base);
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
