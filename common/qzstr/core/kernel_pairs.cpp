// Text of one- and two-byte characters, 64 bytes at a time without a branch per character.
//
// A byte is a lead when it is in the lead set and the byte before it is not a lead, so leads alternate inside every run of
// set members. Runs that begin at an even position are found with one addition whose carry runs through the run; the
// state of the last byte is carried to the next block. Character starts are the bytes that do not follow a lead.
#include "core/bytes_avx512.h"
#include "core/kernels.h"
#include "core/lanes.h"
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

converted decode_pairs(const pair_decoding&, unit_layout, const uchar*, std::size_t, uchar*, std::size_t) {
    return {};
}
converted encode_pairs(const pair_encoding&, unit_layout, const uchar*, std::size_t, uchar*, std::size_t) {
    return {};
}
recoded_run pairs_to_utf8(const pair_decoding&, const uchar*, std::size_t, uchar*, std::size_t, std::size_t) {
    return {};
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

constexpr std::uint64_t even_bits = 0x5555555555555555;

/// The members of a set in the block at p, where `left` bytes are left of the text.
std::uint64_t members(const byte_set& set, const uchar* p, std::size_t left) {
    const auto in_block = [&set](block b) {
        block::bits bits = 0;
        for (int r = 0; r < set.ranges(); ++r)
            bits |= b.within(set.range(r));
        return bits;
    };
    return over_block(p, left, [&](auto text) { return text.mask(in_block); }) & first_bits(left);
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

/// The characters of a block: where they begin, which of them have more than two bytes, and where the last one ends.
struct block_characters {
    std::uint64_t start, long_ones;
    std::size_t end;

    /// From where characters of up to two bytes begin, up to `end`, and those among them that tell a longer one. Where a
    /// longer one is two pairs that both tell it, every second one begins it.
    static block_characters of(const long_code_shape& longer, std::uint64_t start, std::size_t end,
                               std::uint64_t telling) {
        if (longer.told_by_lead()) return with(longer, start, end, telling);
        const std::uint64_t bytes = telling | telling << 1, run_start = bytes & ~(bytes << 1);
        std::uint64_t firsts = 0;
#pragma GCC unroll 4
        for (int i = 0; i < 4; ++i) {
            const std::uint64_t every_fourth = 0x1111111111111111ULL << i;
            firsts |= bytes & ~(bytes + (run_start & every_fourth)) & every_fourth;
        }
        return with(longer, start, end, firsts);
    }
    static block_characters with(const long_code_shape& longer, std::uint64_t start, std::size_t end,
                                 std::uint64_t firsts) {
        const std::size_t last = static_cast<std::size_t>(std::bit_width(firsts));
        return {start & ~(firsts << (longer.bytes - 2)), firsts,
                firsts == 0 ? end : std::max(end, last + longer.bytes - 1)};
    }
};

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

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512

/// The same as UTF-8, up to a number of units and of bytes.
struct utf8_target {
    static constexpr bool holds_supplementary = true;
    uchar* dst;
    std::size_t size, limit;
    std::size_t written = 0, units = 0;
    bool replaced = false;

    struct place_in_both {
        std::size_t written, units;
    };
    place_in_both place() const { return {written, units}; }
    void back_to(place_in_both before) {
        written = before.written;
        units = before.units;
    }

    std::size_t room() const { return limit - units; }

    bool put_ascii(const uchar* p, std::size_t n) {
        if (size - written < n || room() < n) return false;
        store_first(dst + written, size - written, _mm512_maskz_loadu_epi8(first_bits(n), p), n);
        written += n;
        units += n;
        return true;
    }

    bool put_replacement() {
        if (room() == 0 || size - written < 3) return false;
        std::memcpy(dst + written, "\xEF\xBF\xBD", 3);
        written += 3;
        ++units;
        return true;
    }
};

/// The cells of 16 indices, each with the next one in the upper half of its lane.
__m512i gather(const std::uint16_t* cells, __m512i index) {
    return _mm512_i32gather_epi32(index, cells, 2);
}

/// The code points of cells.
__m512i code_points(__m512i cells) {
    return _mm512_shuffle_epi8(
        cells, _mm512_broadcast_i32x4(_mm_setr_epi8(1, 0, -1, -1, 5, 4, -1, -1, 9, 8, -1, -1, 13, 12, -1, -1)));
}

/// Takes the first n of 16 cells, for which there is room as units; false without room for their bytes.
template <form Form, order Order>
bool put_group(unit_target<Form, Order>& target, __m512i cells, std::size_t n) {
    constexpr std::size_t unit = unit_size<Form>;
    uchar* const dst = target.dst + target.units * unit;
    // A masked store could not be read back without waiting.
    const __mmask16 lanes = first_lanes(target.room() >= 16 ? 16 : n);
    if constexpr (Form == form::ucs4) {
        _mm512_mask_storeu_epi32(dst, lanes, Order == order::big ? _mm512_slli_epi32(cells, 16) : code_points(cells));
    } else {
        const __m256i units = _mm512_cvtepi32_epi16(Order == order::big ? cells : code_points(cells));
        if (lanes == first_lanes(16))
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), units);
        else
            _mm256_mask_storeu_epi16(dst, lanes, units);
    }
    target.units += n;
    return true;
}
bool put_code_points(utf8_target& target, __m512i c, __mmask16 supplementary, std::size_t n) {
    spread_bytes utf8 = spread_group(c, _mm512_cmpgt_epu32_mask(c, _mm512_set1_epi32(0x7F)),
                                     _mm512_cmpgt_epu32_mask(c, _mm512_set1_epi32(0x7FF)), supplementary);
    utf8.marks &= first_bits(4 * n);
    const std::size_t room = target.size - target.written;
    if (room < utf8.length()) return false;
    store_first(target.dst + target.written, room, utf8.pressed(), utf8.length());
    target.written += utf8.length();
    target.units += n;
    return true;
}
bool put_group(utf8_target& target, __m512i cells, std::size_t n) {
    return put_code_points(target, code_points(cells), 0, n);
}

/// The same with those of U+10000 + `number` where `supplementary` says so.
template <order Order>
bool put_mixed(unit_target<form::ucs4, Order>& target, __m512i cells, __mmask16 supplementary, __m512i number,
               std::size_t n) {
    const __m512i c = _mm512_mask_add_epi32(code_points(cells), supplementary, number, _mm512_set1_epi32(0x10000));
    const __m512i units = Order == order::big ? swap_bytes_32(c) : c;
    _mm512_mask_storeu_epi32(target.dst + target.units * 4, first_lanes(target.room() >= 16 ? 16 : n), units);
    target.units += n;
    return true;
}
template <order Order>
bool put_mixed(unit_target<form::utf16, Order>& target, __m512i cells, __mmask16 supplementary, __m512i number,
               std::size_t n) {
    static_assert(Order == order::big);
    const auto all = [](int v) { return _mm512_set1_epi32(v); };
    const __m512i high = _mm512_or_si512(_mm512_srli_epi32(number, 10), all(0xD800));
    const __m512i low = _mm512_or_si512(_mm512_and_si512(number, all(0x3FF)), all(0xDC00));
    const __m512i pair = _mm512_or_si512(_mm512_slli_epi32(high, 16), low);
    const __m512i words = _mm512_mask_mov_epi32(cells, supplementary, swap_bytes_32(pair));
    const std::uint64_t kept = (_mm512_test_epi16_mask(words, words) | even_bits) & first_bits(2 * n);
    const auto length = static_cast<std::size_t>(std::popcount(kept));
    if (target.room() < length) return false;
    const __mmask32 stored = static_cast<__mmask32>(first_bits(target.room() >= 32 ? 32 : length));
    _mm512_mask_storeu_epi16(target.dst + target.units * 2, stored,
                             _mm512_maskz_compress_epi16(static_cast<__mmask32>(kept), words));
    target.units += length;
    return true;
}
bool put_mixed(utf8_target& target, __m512i cells, __mmask16 supplementary, __m512i number, std::size_t n) {
    const __m512i c = _mm512_mask_add_epi32(code_points(cells), supplementary, number, _mm512_set1_epi32(0x10000));
    return put_code_points(target, c, supplementary, n);
}

/// 64 bytes of text, or what is left of it: the row of each as a lead (0: no lead), the byte, the one behind it.
struct paired_bytes {
    const uchar* p;
    std::size_t left;
    __m512i byte, behind, row;

    // Masked loads read nothing behind the text, and need no copy of it.
    paired_bytes(const pair_decoding& plan, const uchar* text, std::size_t n)
        : p(text), left(n), byte(from(0)), behind(from(1)),
          row(_mm512_maskz_mov_epi8(_mm512_movepi8_mask(byte), half_table(plan.row).at(byte))) {}

    __m512i from(std::size_t at) const {
        return _mm512_maskz_loadu_epi8(first_bits(left - std::min(left, at)), p + at);
    }
    template <class Mask>
    std::uint64_t mask(Mask of) const {
        return of(block{byte});
    }
    std::uint64_t in_set() const { return _mm512_test_epi8_mask(row, row); }
    std::uint64_t before(byte_range r) const { return block{behind}.within(r); }
    __m512i cell_in_row() const { return _mm512_mask_mov_epi8(byte, in_set(), behind); }
};

__m512i widened(__m512i bytes) {
    return _mm512_cvtepu8_epi32(_mm512_castsi512_si128(bytes));
}
void drop_16(__m512i& bytes) {
    bytes = _mm512_alignr_epi32(bytes, bytes, 4);
}
__m512i index_of(__m512i row, __m512i cell_in_row) {
    return _mm512_or_si512(_mm512_slli_epi32(widened(row), 8), widened(cell_in_row));
}

/// Decodes all characters that `start` marks; false when one of them must be asked for or replaced, or there is no room
/// for all.
template <class Target>
bool decode_block(const pair_decoding& plan, const paired_bytes& text, std::uint64_t start, Target& target) {
    const auto count = static_cast<std::size_t>(std::popcount(start));
    if (target.room() < count) return false;
    const auto before = target.place();
    const auto failed = [&] {
        target.back_to(before);
        return false;
    };
    __m512i row = _mm512_maskz_compress_epi8(start, text.row);
    __m512i cell_in_row = _mm512_maskz_compress_epi8(start, text.cell_in_row());
    __m512i highest = _mm512_setzero_si512();
    for (std::size_t done = 0; done < count; done += 16) {
        const __m512i cells = gather(plan.cell, index_of(row, cell_in_row));
        highest = _mm512_max_epu16(highest, cells);
        if (!put_group(target, cells, std::min<std::size_t>(count - done, 16))) return failed();
        drop_16(row);
        drop_16(cell_in_row);
    }
    const __mmask32 special = _mm512_cmpge_epu16_mask(highest, _mm512_set1_epi16(static_cast<short>(lead_substituted)));
    return (special & static_cast<std::uint32_t>(even_bits)) == 0 || failed();
}

/// The numbers of longer codes.
struct long_code_bytes {
    __m512i first, second, third, fourth;
    std::uint64_t valid;
    std::uint32_t radix, pair_weight;

    /// Of those that begin where `start` says. The second byte need not be looked at: invalid ones give high numbers.
    long_code_bytes(const long_code_shape& longer, const paired_bytes& text, std::uint64_t start)
        : radix(longer.radix[3]), pair_weight(longer.pair_weight()) {
        const auto all = [](uchar b) { return _mm512_set1_epi8(static_cast<char>(b)); };
        const auto value = [&](std::size_t at) {
            const std::uint64_t has_it = at < longer.bytes ? start : 0;
            return _mm512_sub_epi8(_mm512_maskz_compress_epi8(has_it, text.from(at)), all(longer.first[at]));
        };
        first = value(0);
        second = value(1);
        third = value(2);
        fourth = value(3);
        valid =
            _mm512_cmplt_epu8_mask(third, all(longer.radix[2])) & _mm512_cmplt_epu8_mask(fourth, all(longer.radix[3]));
    }
    /// Of 16 of them, and -1 where one is invalid.
    __m512i number() const {
        const auto combined = [](__m512i high, __m512i low, std::uint32_t weight) {
            return _mm512_madd_epi16(_mm512_or_si512(high, _mm512_slli_epi32(low, 16)),
                                     _mm512_set1_epi32(static_cast<int>(1 << 16 | weight)));
        };
        const __m512i high = combined(widened(first), widened(second), radix);
        const __m512i low = combined(widened(third), widened(fourth), radix);
        return _mm512_mask_mov_epi32(_mm512_set1_epi32(-1), static_cast<__mmask16>(valid),
                                     combined(high, low, pair_weight));
    }
    void drop() {
        for (__m512i* const each : {&first, &second, &third, &fourth})
            drop_16(*each);
        valid >>= 16;
    }
};

/// The same for any characters, which are replaced where a cell says so, up to one that must be asked for or has no room.
template <bool LongCodes, class Target>
[[gnu::noinline]] decoded_block decode_unusual(const pair_decoding& plan, const uchar* p, std::size_t left,
                                               std::uint64_t start_of_pairs, std::size_t end, std::uint64_t telling,
                                               Target& target) {
    const auto characters = block_characters::of(plan.longer, start_of_pairs, end, telling);
    const paired_bytes text(plan, p, left);
    const auto all_of = [](std::uint32_t v) { return _mm512_set1_epi32(static_cast<int>(v)); };
    const auto equal_to = [all_of](__m512i cells, std::uint16_t value) {
        return _mm512_cmpeq_epi32_mask(cells, all_of(value));
    };
    const std::uint64_t start = characters.start;
    const auto all = static_cast<std::size_t>(std::popcount(start)), count = std::min(all, target.room());
    __m512i row = _mm512_maskz_compress_epi8(start, text.row);
    __m512i cell_in_row = _mm512_maskz_compress_epi8(start, text.cell_in_row());
    long_code_bytes long_code(plan.longer, text, LongCodes ? start : 0);
    std::uint64_t is_long = LongCodes ? _pext_u64(characters.long_ones, start) : 0;
    for (std::size_t done = 0; done < count; done += 16) {
        __m512i index = index_of(row, cell_in_row), number{};
        __mmask16 supplementary = 0;
        if constexpr (LongCodes) {
            const auto here = static_cast<__mmask16>(is_long);
            number = long_code.number();
            index = _mm512_mask_add_epi32(index, here, _mm512_min_epu32(number, all_of(plan.longer.count)),
                                          all_of(plan.long_cells));
            if constexpr (!Target::holds_supplementary) {
                const __mmask16 known = _mm512_mask_cmplt_epu32_mask(here, number, all_of(plan.longer.count));
                supplementary = _mm512_mask_cmpge_epu32_mask(known, number, all_of(plan.longer.ucs2));
            }
            number = _mm512_sub_epi32(number, all_of(plan.longer.supplementary));
            supplementary |= _mm512_mask_cmplt_epu32_mask(here, number, all_of(supplementary_count));
            is_long >>= 16;
            long_code.drop();
        }
        drop_16(row);
        drop_16(cell_in_row);
        __m512i cells = _mm512_and_si512(gather(plan.cell, index), all_of(0xFFFF));
        cells = _mm512_mask_mov_epi32(cells, supplementary, all_of(substituted));
        const std::size_t here = std::min<std::size_t>(count - done, 16);
        const __mmask16 lead_alone = equal_to(cells, lead_substituted), special = lead_alone | equal_to(cells, ask);
        const std::size_t n = std::min(lowest(special), here);
        __mmask16 replaced = equal_to(cells, substituted) & first_lanes(n);
        cells = _mm512_mask_mov_epi32(cells, replaced, all_of(replacement_cell));
        const auto put = [&] {
            if constexpr (LongCodes && Target::holds_supplementary) {
                if (target.room() < n) return false; // pairs before may have taken what was for these
                if (supplementary != 0) {
                    replaced &= static_cast<__mmask16>(~supplementary);
                    return put_mixed(target, cells, supplementary, number, n);
                }
            }
            return put_group(target, cells, n);
        };
        if (!put()) return {nth_bit(start, done), true};
        target.replaced |= replaced != 0;
        if (n < here) {
            const std::size_t at = nth_bit(start, done + n);
            if ((lead_alone >> n & 1) == 0 || !target.put_replacement()) return {at, true};
            target.replaced = true;
            return {at + 1, false};
        }
    }
    return {count < all ? nth_bit(start, count) : characters.end, count < all};
}

#else

/// 64 bytes of text, or what is left of it in a copy, and where each of them would have its cell as a character's first.
struct paired_bytes {
    const uchar* p;
    std::uint64_t leads_or_trails = 0;
    alignas(64) uchar index[2 * block_size + 2]; ///< in 16 bits each; 0 behind the block
    alignas(64) uchar copy[block_size + beyond];

    paired_bytes(const pair_decoding& plan, const uchar* text, std::size_t left) : p(text) {
        if (left < sizeof copy) {
            std::memset(copy, 0, sizeof copy);
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
    std::uint64_t before(byte_range r) const {
        return mask_64(p + 1, [r](block b) { return b.within(r); });
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
                                               std::uint64_t start_of_pairs, std::size_t end, std::uint64_t telling,
                                               Target& target) {
    const auto characters = block_characters::of(plan.longer, start_of_pairs, end, telling);
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

/// The bytes with which longer codes may begin.
std::uint64_t telling_longer(const long_code_shape& longer, const paired_bytes& text, std::uint64_t leads) {
    const uchar first = longer.first[0], second = longer.first[1];
    return longer.told_by_lead() ? text.mask([first](block b) { return b.equal_to(first); })
                                 : leads & text.before({second, static_cast<uchar>(second + longer.radix[1] - 1)});
}

/// Decodes a text into a target; returns the bytes it took.
template <class Target>
std::size_t decode_into(const pair_decoding& plan, const uchar* src, std::size_t n, Target& target) {
    std::size_t base = 0;
    while (base < n) {
        const uchar* const p = src + base;
        const std::size_t left = n - base, here = std::min(left, block_size);
        const auto unlike = [&plan](block b) { return unlike_ascii(plan, b); };
        if (left >= block_size && mask_64(p, unlike) == 0 && target.put_ascii(p, block_size)) {
            base += block_size;
            continue;
        }
        const paired_bytes text(plan, p, left);
        if (left < block_size && text.in_set() == 0 && text.mask(unlike) == 0 && target.put_ascii(p, left)) return n;
        const std::uint64_t leads = leads_among(text.in_set(), 0);
        // The trail of a lead at the end is behind the block, or missing: then the exact routine has the lead.
        const std::size_t lead_at_end = leads >> (here - 1) & 1;
        const std::size_t end = left > block_size ? here + lead_at_end : here - lead_at_end;
        if (end == 0) break;
        const std::uint64_t start = starts_after(leads, 0) & first_bits(end);
        const std::uint64_t telling = plan.longer.count == 0 ? 0 : start & telling_longer(plan.longer, text, leads);
        if (telling == 0 && decode_block(plan, text, start, target)) {
            base += end;
            continue;
        }
        Target out = target; // what something refers to would not stay in registers
        const auto done = telling == 0 ? decode_unusual<false>(plan, p, left, start, end, telling, out)
                                       : decode_unusual<true>(plan, p, left, start, end, telling, out);
        target = out;
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

std::size_t bytes_of(std::uint32_t cell) {
    return 1 + static_cast<std::size_t>(cell > 0xFF);
}

/// A unit as far as it counts.
template <form Form, order Order>
char32_t load_masked(const pair_encoding& plan, const uchar* src) {
    const char32_t c = load_unit<Form, Order>(src);
    return Form == form::ucs4 ? c & plan.unit_mask : c;
}

/// The four-byte code of U+10000 + n, the first byte low.
std::uint32_t supplementary_code(const pair_encoding& plan, std::uint32_t n) {
    const std::uint32_t high = n / 1260, low = n % 1260;
    return plan.supplementary + (high / 10 | high % 10 << 8 | low / 10 << 16 | low % 10 << 24);
}

template <bool LongCodes, form Form, order Order>
std::size_t encode_one_by_one(pair_encoding plan, const uchar* src, std::size_t n, uchar* dst, std::size_t room,
                              std::size_t& written, bool& replaced) {
    constexpr std::size_t longest = LongCodes ? 4 : 2;
    std::size_t i = 0;
    for (; i < n && room - written >= longest; ++i) {
        const char32_t c = load_masked<Form, Order>(plan, src + i * unit_size<Form>);
        if (c > 0xFFFF) {
            if (plan.supplementary == 0 || c - 0x10000 >= supplementary_count) break;
            const std::uint32_t code = supplementary_code(plan, c - 0x10000);
            std::memcpy(dst + written, &code, 4);
            written += 4;
            continue;
        }
        std::uint32_t cell = plan.cell[plan.page[c >> 8] + (c & 0xFF)];
        if constexpr (LongCodes) {
            // Both are read, without a branch: which codes are long is chance.
            const std::uint32_t longer = plan.long_cell[plan.long_page_number[c >> 8] * 256U + (c & 0xFF)];
            cell ^= (cell ^ longer) & -static_cast<std::uint32_t>(cell == ask);
        }
        if (cell == (LongCodes ? ask_again : ask)) break;
        if (cell == substituted) {
            cell = '?';
            replaced = true;
        }
        std::memcpy(dst + written, &cell, longest);
        written += bytes_of(cell);
        if constexpr (LongCodes)
            written += static_cast<std::size_t>(cell > 0xFFFF) + static_cast<std::size_t>(cell > 0xFFFFFF);
    }
    return i;
}

/// Encodes up to n units one by one, up to the first that must be asked for or has no room; returns their number.
template <form Form, order Order>
std::size_t encode_carefully(const pair_encoding& plan, const uchar* src, std::size_t n, uchar* dst, std::size_t room,
                             std::size_t& written, bool& replaced) {
    return plan.long_cell != nullptr
               ? encode_one_by_one<true, Form, Order>(plan, src, n, dst, room, written, replaced)
               : encode_one_by_one<false, Form, Order>(plan, src, n, dst, room, written, replaced);
}

#if QZSTR_LEVEL_NUMBER == QZSTR_IS_avx512

/// Up to 32 units as 16-bit ones in the host's order, and what else of them counts.
template <form Form, order Order>
__m512i load_units(const uchar* src, std::size_t n, char32_t unit_mask, __m512i& upper) {
    const auto lanes = static_cast<__mmask32>(first_bits(n));
    if constexpr (Form == form::ucs2) {
        upper = _mm512_setzero_si512();
        const __m512i units = _mm512_maskz_loadu_epi16(lanes, src);
        if constexpr (Order == order::little) return units;
        return _mm512_or_si512(_mm512_srli_epi16(units, 8), _mm512_slli_epi16(units, 8));
    } else {
        __m512i low = _mm512_maskz_loadu_epi32(static_cast<__mmask16>(lanes), src);
        __m512i high = _mm512_maskz_loadu_epi32(static_cast<__mmask16>(lanes >> 16), src + 64);
        if constexpr (Order == order::big) {
            low = swap_bytes_32(low);
            high = swap_bytes_32(high);
        }
        const auto words = [low, high](int odd) {
            const __m512i even_ones = _mm512_set_epi16(62, 60, 58, 56, 54, 52, 50, 48, 46, 44, 42, 40, 38, 36, 34, 32,
                                                       30, 28, 26, 24, 22, 20, 18, 16, 14, 12, 10, 8, 6, 4, 2, 0);
            return _mm512_permutex2var_epi16(low, _mm512_add_epi16(even_ones, _mm512_set1_epi16(odd)), high);
        };
        upper = _mm512_and_si512(words(1), _mm512_set1_epi16(static_cast<short>(unit_mask >> 16)));
        return words(0);
    }
}

/// Where units have their cells: the number of the page and the low byte.
__m512i cell_indices(const uchar* page_number, __m512i units) {
    const __m512i number = look_up_256(page_number, units); // what it makes of the low bytes is not used
    return _mm512_ternarylogic_epi32(_mm512_set1_epi16(static_cast<short>(0xFF00)), number, units, 0xCA);
}

/// The cells of n units, at most 32, as 16-bit ones.
__m512i cells_of(const pair_encoding& plan, __m512i units, std::size_t n) {
    const __m512i index = cell_indices(plan.page_number, units);
    const auto half = [&plan](__m256i indices) {
        return _mm512_cvtepi32_epi16(gather(plan.cell, _mm512_cvtepu16_epi32(indices)));
    };
    const __m512i low = _mm512_zextsi256_si512(half(_mm512_castsi512_si256(index)));
    return n <= 16 ? low : _mm512_inserti64x4(low, half(_mm512_extracti64x4_epi64(index, 1)), 1);
}

/// The four-byte codes of U+10000 + `number`, the first byte low.
__m512i supplementary_codes(const pair_encoding& plan, __m512i number) {
    const auto all = [](int v) { return _mm512_set1_epi32(v); };
    // Exact: the quotients of numbers below 2^20 and a half are farther from a whole number than they are rounded.
    const __m512 halved = _mm512_add_ps(_mm512_cvtepi32_ps(number), _mm512_set1_ps(0.5F));
    const __m512i high = _mm512_cvttps_epi32(_mm512_mul_ps(halved, _mm512_set1_ps(1 / 1260.0F)));
    const __m512i low = _mm512_sub_epi32(number, _mm512_mullo_epi32(high, all(1260)));
    const __m512i both = _mm512_or_si512(high, _mm512_slli_epi32(low, 16));
    const __m512i tens = _mm512_mulhi_epu16(both, _mm512_set1_epi16(6554)); // a tenth, up to 16388
    const __m512i digits = _mm512_sub_epi16(both, _mm512_mullo_epi16(tens, _mm512_set1_epi16(10)));
    return _mm512_add_epi32(_mm512_or_si512(tens, _mm512_slli_epi16(digits, 8)),
                            all(static_cast<int>(plan.supplementary)));
}

/// Encodes up to n units, at most 32, with their cells: codes of four bytes and replacements among them, up to one that
/// must be asked for or has no room. `beyond` has the upper halves of units.
[[gnu::noinline]] converted encode_unusual(const pair_encoding& plan, __m512i units, __m512i cells, __m512i beyond,
                                           std::size_t n, uchar* dst, std::size_t room) {
    const auto all = [](std::uint32_t v) { return _mm512_set1_epi32(static_cast<int>(v)); };
    const auto upper = [](__m512i words) { return _mm512_zextsi256_si512(_mm512_extracti64x4_epi64(words, 1)); };
    const auto wide = [](__m512i words) { return _mm512_cvtepu16_epi32(_mm512_castsi512_si256(words)); };
    __m512i index = plan.long_cell != nullptr ? cell_indices(plan.long_page_number, units) : units;
    std::size_t written = 0;
    bool replaced = false;
    for (std::size_t done = 0; done < n; done += 16) {
        __m512i bytes = wide(cells);
        const __mmask16 asks = _mm512_cmpeq_epi32_mask(bytes, all(ask));
        __mmask16 missing = _mm512_cmpeq_epi32_mask(bytes, all(substituted));
        bytes = _mm512_mask_mov_epi32(bytes, missing, all('?'));
        bytes = _mm512_mask_mov_epi32(bytes, asks, all(ask_again));
        if (plan.long_cell != nullptr) bytes = _mm512_mask_i32gather_epi32(bytes, asks, wide(index), plan.long_cell, 4);
        if (const __m512i high = wide(beyond); _mm512_test_epi32_mask(high, high) != 0) {
            const __mmask16 outside = _mm512_test_epi32_mask(high, high);
            const __m512i c = _mm512_or_si512(wide(units), _mm512_slli_epi32(high, 16));
            const __m512i number = _mm512_sub_epi32(c, all(0x10000));
            const __mmask16 has_code =
                plan.supplementary == 0 ? 0 : _mm512_mask_cmplt_epu32_mask(outside, number, all(supplementary_count));
            bytes = _mm512_mask_mov_epi32(bytes, outside, all(ask_again));
            bytes = _mm512_mask_mov_epi32(bytes, has_code, supplementary_codes(plan, number));
            missing &= ~outside;
        }
        const std::uint32_t stops = _mm512_cmpeq_epi32_mask(bytes, all(ask_again));
        const std::size_t here = std::min<std::size_t>(n - done, 16), count = std::min(lowest(stops), here);
        const std::uint64_t kept = (_mm512_test_epi8_mask(bytes, bytes) | 0x1111111111111111) & first_bits(4 * count);
        const auto length = static_cast<std::size_t>(std::popcount(kept));
        if (room - written <= length) return {done, written, replaced};
        store_first(dst + written, room - written, _mm512_maskz_compress_epi8(kept, bytes), length);
        written += length;
        replaced |= (missing & first_lanes(count)) != 0;
        if (count < here) return {done + count, written, replaced};
        units = upper(units);
        cells = upper(cells);
        index = upper(index);
        beyond = upper(beyond);
    }
    return {n, written, replaced};
}

/// The bytes of each cell that count are pressed together.
template <form Form, order Order>
converted encode_pairs_as(pair_encoding plan, const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
    constexpr std::size_t unit = unit_size<Form>, group = 32;
    const auto all = [](std::uint16_t v) { return _mm512_set1_epi16(static_cast<short>(v)); };
    std::size_t i = 0, written = 0;
    std::uint64_t replaced = 0; // a byte would be stored, and read back as eight
    while (i < n) {
        if constexpr (Form == form::ucs2) {
            // One byte more than they take: a charset may ask for two bytes of room for each.
            if (n - i >= block::size && room - written > block::size &&
                block::template narrow_ascii<Order>(src + i * unit, dst + written)) {
                i += block::size;
                written += block::size;
                continue;
            }
        }
        __m512i beyond;
        const std::size_t here = std::min(n - i, group);
        const __m512i units = load_units<Form, Order>(src + i * unit, here, plan.unit_mask, beyond);
        if (Form == form::ucs2 && n - i < block::size && room - written > group &&
            _mm512_test_epi16_mask(units, all(0xFF80)) == 0) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + written), _mm512_cvtepi16_epi8(units));
            i += here;
            written += here;
            continue;
        }
        const __mmask32 outside = Form == form::ucs4 ? _mm512_test_epi16_mask(beyond, beyond) : 0;
        __m512i cells = cells_of(plan, units, here);
        std::uint32_t missing = 0;
        if ((_mm512_cmpge_epu16_mask(cells, all(substituted)) | outside) != 0) [[unlikely]] {
            if (((_mm512_cmpeq_epi16_mask(cells, all(ask)) | outside) & first_bits(here)) != 0) {
                const converted some = encode_unusual(plan, units, cells, beyond, here, dst + written, room - written);
                i += some.read;
                written += some.written;
                replaced |= some.replaced;
                if (some.read < here) break;
                continue;
            }
            missing = _mm512_cmpeq_epi16_mask(cells, all(substituted));
            cells = _mm512_mask_mov_epi16(cells, missing, all('?'));
        }
        const std::uint64_t kept = (_mm512_test_epi8_mask(cells, cells) | even_bits) & first_bits(2 * here);
        const auto length = static_cast<std::size_t>(std::popcount(kept));
        if (room - written <= length) break;
        store_first(dst + written, room - written, _mm512_maskz_compress_epi8(kept, cells), length);
        written += length;
        replaced |= missing;
        i += here;
    }
    bool replaced_in_rest = false;
    i += encode_carefully<Form, Order>(plan, src + i * unit, n - i, dst, room, written, replaced_in_rest);
    return {i * unit, written, replaced != 0 || replaced_in_rest};
}

#else

template <form Form, order Order>
converted encode_pairs_as(pair_encoding plan, const uchar* src, std::size_t n, uchar* dst, std::size_t room) {
    constexpr std::size_t unit = unit_size<Form>;
    constexpr std::size_t group = 16;
    std::size_t stretch = group; // units to go one by one where a group has unusual ones; long codes are seldom alone
    std::size_t i = 0, written = 0;
    bool replaced = false;
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
        std::uint32_t unusual = 0;
#pragma GCC unroll 16
        for (std::size_t k = 0; k < group; ++k) {
            const char32_t c = load_masked<Form, Order>(plan, src + (i + k) * unit);
            const std::uint32_t cell = plan.cell[plan.page[c >> 8 & 0xFF] + (c & 0xFF)];
            const auto two_bytes = static_cast<std::uint16_t>(cell);
            std::memcpy(out, &two_bytes, 2);
            out += bytes_of(cell);
            unusual |= cell + 2;
            if constexpr (Form == form::ucs4) unusual |= c > 0xFFFF ? ~0U : 0U;
        }
        if (unusual >> 16 == 0) {
            i += group;
            written = static_cast<std::size_t>(out - dst);
            stretch = group;
        } else {
            const std::size_t here = std::min(stretch, n - i);
            const std::size_t passed =
                encode_carefully<Form, Order>(plan, src + i * unit, here, dst, room, written, replaced);
            i += passed;
            if (passed < here) return {i * unit, written, replaced};
            if (plan.long_cell != nullptr) stretch = std::min(2 * stretch, 16 * group);
        }
    }
    i += encode_carefully<Form, Order>(plan, src + i * unit, n - i, dst, room, written, replaced);
    return {i * unit, written, replaced};
}

#endif

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

converted encode_pairs(const pair_encoding& plan, unit_layout layout, const uchar* src, std::size_t n, uchar* dst,
                       std::size_t room) {
    return leaving([&] {
        return in_layout(layout,
                         [&]<form Form, order Order> { return encode_pairs_as<Form, Order>(plan, src, n, dst, room); });
    });
}

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
        bool replaced = false;
        while (base < n) {
            const uchar* const p = src + base;
            const std::size_t left = n - base, here = std::min(left, block_size);
            if (plan.copies_ascii && std::min(left, room - written) >= block_size &&
                mask_64(p, [](block b) { return b.high_bits(); }) == 0) {
                std::memcpy(dst + written, p, block_size);
                base += block_size;
                written += block_size;
                continue;
            }
            const std::uint64_t leads = leads_among(members(*plan.leads, p, left), 0);
            const std::size_t lead_at_end = leads >> (here - 1) & 1;
            // A lead in the last byte of the text is left.
            const std::size_t end = left > block_size ? here + lead_at_end : here - lead_at_end;
            std::uint64_t start = starts_after(leads, 0) & first_bits(end);
            std::size_t until = end;
            if (plan.longer != nullptr)
                if (const std::uint64_t longer = start & leads & members(*plan.longer, p + 1, left - 1); longer != 0) {
                    until = lowest(longer);
                    start &= first_bits(until);
                }
            if (room - written < static_cast<std::size_t>(std::popcount(start))) break;
            const reduced_block done = reduce_block(plan, p, left, start, until, dst + written, room - written);
            base += done.read;
            written += done.written;
            replaced |= done.replaced;
            if (done.read < end || end == 0) break;
        }
        return {base, written, replaced};
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
            in_set = at.mask([&](block b) {
                block::bits bits = 0;
                for (int r = 0; r < forms.leads->ranges(); ++r)
                    bits |= b.within(forms.leads->range(r));
                return bits;
            });
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
