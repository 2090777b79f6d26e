// Text of any charset and length as big-endian UCS-2, slice by slice, from either end. A unit is two bytes of a string.
#pragma once

#include "blocks.h"
#include "reader.h"

#include <cstdio>

namespace qzconv {

constexpr std::size_t unit_size = 2;
/// Units of a slice; what is searched may not be longer.
constexpr std::size_t slice_units = 256 * 1024;

inline std::size_t unit_count(std::string_view units) {
    return units.size() / unit_size;
}

inline unsigned unit_at(std::string_view units, std::size_t index) {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(units[at]); };
    return static_cast<unsigned>(byte(index * unit_size)) << 8 | byte(index * unit_size + 1);
}

inline bool is_high_surrogate(unsigned unit) {
    return (unit & 0xFC00) == 0xD800;
}

inline bool is_low_surrogate(unsigned unit) {
    return (unit & 0xFC00) == 0xDC00;
}

/// Decodes a file from its beginning to its end.
class Decoder {
public:
    /// `with_pairs`: characters beyond U+FFFF are wanted as surrogate pairs, whatever the charset.
    Decoder(const std::string& path, qzstr_charset_t charset, bool with_pairs);

    const std::string& name() const { return input_.name(); }
    /// Appends what the next part of the file gives; false at the end.
    bool append_to(std::string& units);

private:
    void iterate(std::string_view text, std::string& units);

    Input input_;
    Reader reader_;
    qzstr_charset_t charset_;
    bool iterates_;
    BlockConverter converter_;
};

/// A place in a text. A surrogate pair is one character.
struct Place {
    std::uint64_t line = 1, line_start = 0, offset = 0; ///< characters before the line and before the place
    bool inside_pair = false;                           ///< a high surrogate is the last unit

    void pass(unsigned unit);
    /// The place of the character that `unit`, next behind here, belongs to.
    Place of(unsigned unit) const;
};

/// Part of a text: `own` units and, behind them, as many of the next slices' as an occurrence that begins here may need.
struct Slice {
    Place start;             ///< from BackwardSlices only
    std::uint64_t first = 0; ///< units before the slice
    std::string_view units;
    std::size_t own = 0;
};

/// Slices of a text in its order, with `overhang` units behind.
class Slices {
public:
    Slices(Decoder& decoder, std::size_t overhang) : decoder_(decoder), overhang_(overhang) {}
    bool next(Slice& slice);

private:
    Decoder& decoder_;
    std::size_t overhang_, own_ = 0;
    std::uint64_t first_ = 0;
    std::string units_;
};

/// The slices from the last to the first. Text of most charsets can only be read forward, so it is decoded into a
/// temporary file at once: a record of each slice, its start and its units.
class BackwardSlices {
public:
    BackwardSlices(Decoder& decoder, std::size_t overhang);
    bool next(Slice& slice);

private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    void write(const void* bytes, std::size_t size);
    void read(void* bytes, std::size_t size);

    std::size_t overhang_, last_units_ = 0;
    std::uint64_t records_ = 0;
    std::unique_ptr<std::FILE, Close> file_;
    std::string units_;
};

} // namespace qzconv
