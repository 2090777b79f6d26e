#include "blocks.h"

#include "catalogue.h"
#include "failure.h"
#include "marks.h"

#include <algorithm>
#include <bit>

namespace qzconv {

namespace {

/// A single byte gives at most 8 bytes: designator, shift, two bytes and shift of ISO-2022-KR.
constexpr std::size_t worst_growth = 8, slack = 64;
/// Text that a cut found by converting leaves behind itself, in units of the target; more than any form is long.
constexpr std::size_t held_back = 16;
/// No real text has this many bytes of nothing but joining characters: from here on they are parted.
constexpr std::size_t longest_search = 4 << 20;

bool is_big5_like(qzstr_charset_t charset) {
    return charset == QZSTR_CHARSET_MSWIN950 || charset == QZSTR_CHARSET_ZHT16BIG5 ||
           charset == QZSTR_CHARSET_ZHT16MSWIN950;
}

unsigned unit_at(std::string_view text, std::size_t offset, std::size_t size) {
    unsigned unit = 0;
    for (std::size_t byte = 0; byte < size; ++byte)
        unit = unit << 8 | static_cast<unsigned char>(text[offset + byte]);
    return unit;
}

bool is_ascii(char c) {
    return static_cast<unsigned char>(c) < 0x80;
}

} // namespace

BlockConverter::BlockConverter(qzstr_charset_t from, qzstr_charset_t to, bool counts_characters)
    : from_(from), to_(to), counts_characters_(counts_characters),
      cell_(info(from).qzstr_get_another_charset_str_fn[to]) {
    if (from == to) return; // bytes are copied, in any state
    if (from == QZSTR_CHARSET_ISO2022KR) source_shift_.emplace();
    if (to == QZSTR_CHARSET_ISO2022KR && from != QZSTR_CHARSET_ASCII) target_shift_.emplace(from);
}

void BlockConverter::reserve(std::size_t source_size) {
    constexpr std::size_t most = INT32_MAX;
    if (source_size * worst_growth + slack <= target_size_) return;
    if (source_size * worst_growth + slack > most) throw Failure("a block of the text is too long to convert");
    // Blocks differ by what the one before left over: a power of two has room for all of them.
    const std::size_t size = std::min(std::bit_ceil(source_size) * worst_growth + slack, most);
    target_.reset();
    target_ = std::make_unique_for_overwrite<char[]>(size);
    target_size_ = size;
}

Step BlockConverter::run(std::string_view text, char* target, std::size_t target_size) const {
    return convert_cell(from_, to_, text, target, target_size);
}

/// The Big5-like reductions to ASCII repeat "?" for a high byte that is no lead until the target is full. Each such byte
/// becomes one "?" here. The windows keep the cost of finding one small.
Step BlockConverter::run_stepping_over_stuck_bytes(std::string_view text) {
    constexpr std::size_t first_window = 64, last_window = 64 * 1024;
    Step all{0, 0, 0};
    for (std::size_t window = first_window; all.read < text.size();) {
        const std::string_view part = text.substr(all.read, window);
        Step step = run(part, target_.get() + all.written, part.size());
        const bool stuck = step.read < part.size() && step.written == part.size();
        if (stuck) step = run(part.substr(0, step.read), target_.get() + all.written, part.size());
        all = {all.status | step.status, all.read + step.read, all.written + step.written};
        if (stuck) {
            target_[all.written++] = '?';
            all.read += 1;
            all.status |= QZSTR_CONV_REPLACED;
        } else if (step.read == 0) {
            break; // the text ends inside a character
        }
        window = stuck ? first_window : std::min(window * 2, last_window);
    }
    return all;
}

std::string BlockConverter::prefix() const {
    if (source_shift_) return source_shift_->prefix();
    if (target_shift_) return target_shift_->prefix();
    return {};
}

Block BlockConverter::convert(std::string_view text, bool at_end) {
    reserve(text.size() + slack);
    Block block;
    if (at_end && text.empty() && target_shift_) block.output = target_shift_->closing();
    const std::size_t cut = at_end ? text.size() : safe_cut(text);
    if (cut == 0) return block;

    text = text.substr(0, cut);
    const std::string before = prefix(), after = target_shift_ && !at_end ? target_shift_->suffix() : "";
    const std::string framed = before.empty() && after.empty() ? "" : before + std::string(text) + after;
    const std::string_view source = framed.empty() ? text : framed;
    const bool may_get_stuck = is_big5_like(from_) && (to_ == QZSTR_CHARSET_ASCII || to_ == QZSTR_CHARSET_TCVN3);
    const Step step = may_get_stuck ? run_stepping_over_stuck_bytes(source) : run(source, target_.get(), target_size_);
    // A decoder may count one byte behind the end for a form that the text ends inside.
    const std::size_t read = std::min(step.read, source.size());
    if (read < before.size() || (read < source.size() && !after.empty())) return block;
    block.consumed = read - before.size() - after.size();
    block.output = {target_.get(), step.written};

    text = text.substr(0, block.consumed);
    if (step.status & QZSTR_CONV_REPLACED) {
        const std::string_view converted = source.substr(0, read);
        const std::size_t marks = count_replacement_marks(from_, converted);
        block.replacements = std::max(count_replacement_marks(to_, block.output), marks + 1) - marks;
        block.malformed = holds_undefined_bytes(from_, converted);
    }
    if (counts_characters_) block.characters = count_characters(source_shift_ ? source.substr(0, read) : text);
    if (source_shift_) source_shift_->pass(text);
    if (target_shift_) {
        const std::size_t unit = from_ == QZSTR_CHARSET_UTF16 ? 2 : 1;
        const bool literal = text.size() >= unit && unit_at(text, text.size() - unit, unit) == 0x0F;
        block.output = target_shift_->pass(block.output, literal, at_end);
    }
    return block;
}

std::size_t BlockConverter::count_characters(std::string_view text) {
    if (from_ == QZSTR_CHARSET_ISO2022KR) {
        std::string units(text.size() * 2 + 2, '\0');
        int read = 0, written = 0;
        info(from_).qzstr_to_ucs2_fn(const_cast<char*>(text.data()), static_cast<int>(text.size()), units.data(),
                                     static_cast<int>(units.size()), &read, &written, 1);
        return static_cast<std::size_t>(written) / 2;
    }
    return qzconv::count_characters(from_, text);
}

/// The Japanese rows join five marks with a character before them; two of the marks, but not the others, may be that
/// character.
bool BlockConverter::joins(unsigned before, unsigned after) const {
    const auto only_joins = [](unsigned unit) { return unit == 0x0300 || unit == 0x0301 || unit == 0x309A; };
    return is_japanese(to_) && (only_joins(after) || after == 0x02E5 || after == 0x02E9) && !only_joins(before);
}

std::size_t BlockConverter::safe_cut(std::string_view text) {
    if (from_ == to_ || info(from_).max_bytes_per_char == 1) return text.size();
    reserve(text.size() + slack);
    std::size_t cut = 0;
    if (from_ == QZSTR_CHARSET_UTF16)
        cut = cut_between_units(text);
    else if (from_ == QZSTR_CHARSET_ISO2022KR)
        cut = cut_after_control(text);
    else
        cut = cut_after_ascii(text);
    if (cut <= text.size() / 2 && from_ != QZSTR_CHARSET_UTF16) cut = std::max(cut, cut_by_converting(text));
    return cut;
}

/// A form of n bytes that begins before n - 1 ASCII bytes ends with them at the latest, and ASCII begins no form. Nothing
/// joins with an ASCII character either.
std::size_t BlockConverter::cut_after_ascii(std::string_view text) const {
    // Shift-JIS and Big5 skip three bytes for some malformed pairs.
    const bool long_skip = is_japanese(from_) || is_big5_like(from_);
    const std::size_t longest = std::max(info(from_).max_bytes_per_char, long_skip ? 3 : 2);
    std::size_t run = 0;
    for (std::size_t at = text.size(); at-- > 0;) {
        run = is_ascii(text[at]) ? run + 1 : 0;
        if (run == longest - 1) return at + run;
    }
    return 0;
}

/// ISO-2022-KR: a control byte stands for itself in every state; an escape needs the bytes behind it.
std::size_t BlockConverter::cut_after_control(std::string_view text) const {
    for (std::size_t at = text.size(); at-- > 0;)
        if (static_cast<unsigned char>(text[at]) < 0x20) return text[at] == 0x1B ? at : at + 1;
    return 0;
}

/// UTF-16: anywhere but inside a surrogate pair or before a mark.
std::size_t BlockConverter::cut_between_units(std::string_view text) const {
    const std::size_t units = text.size() / 2;
    const auto unit = [text](std::size_t index) { return unit_at(text, index * 2, 2); };
    for (std::size_t cut = units; cut-- > 1;) {
        const bool splits_pair = (unit(cut - 1) & 0xFC00) == 0xD800 && (unit(cut) & 0xFC00) == 0xDC00;
        if (!splits_pair && !joins(unit(cut - 1), unit(cut))) return cut * 2;
    }
    return 0;
}

/// Without a cut that the bytes show: converts with room for less than all, where the read count is exact. A direct
/// converter is asked itself, a pivot's borders are those of its decoder.
std::size_t BlockConverter::cut_by_converting(std::string_view text) {
    const std::string before = prefix();
    const std::string framed = before.empty() ? "" : before + std::string(text);
    const std::string_view source = before.empty() ? text : framed;
    const auto without_prefix = [&](std::size_t read) { return read > before.size() ? read - before.size() : 0; };

    const bool through_ucs4 = cell_ == qzstr_convert_through_ucs4;
    if (!through_ucs4 && cell_ != qzstr_convert_through_ucs2) {
        if (is_big5_like(from_) && to_ != QZSTR_CHARSET_UTF16) return text.size(); // nothing there looks ahead
        const std::size_t room = run(source, target_.get(), target_size_).written;
        if (room <= held_back) return 0;
        const Step step = run(source, target_.get(), room - held_back);
        return step.read < source.size() ? without_prefix(step.read) : 0;
    }

    const std::size_t unit = through_ucs4 ? 4 : 2;
    const auto decode = through_ucs4 ? info(from_).qzstr_to_ucs4_fn : info(from_).qzstr_to_ucs2_fn;
    const auto units_in = [&](std::size_t room, std::size_t& bytes) {
        int read = 0, written = 0;
        decode(const_cast<char*>(source.data()), static_cast<int>(source.size()), target_.get(),
               static_cast<int>(room * unit), &read, &written, 1);
        bytes = without_prefix(static_cast<std::size_t>(read));
        return static_cast<std::size_t>(written) / unit;
    };
    std::size_t bytes = 0;
    const std::size_t all = units_in(target_size_ / unit, bytes);
    const std::string units(target_.get(), all * unit);
    const auto unit_before = [&](std::size_t index) { return unit_at(units, (index - 1) * unit, unit); };
    const auto may_end = [&](std::size_t cut) {
        return cut > 0 && (source.size() > longest_search || !joins(unit_before(cut), unit_before(cut + 1)));
    };
    for (std::size_t cut = all < held_back ? 0 : all - held_back / 2; cut > 0; --cut) {
        if (!may_end(cut)) continue;
        const std::size_t border = units_in(cut, bytes); // one less than asked for where a character has two units
        if (border == cut || may_end(border)) return bytes;
    }
    return 0;
}

} // namespace qzconv
