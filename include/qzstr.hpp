// libqzstr for C++17 and later: header only, over the C interface. It allocates nothing and holds nothing: a charset is
// its number, texts are views, results go into the caller's buffers.
//
// The C interface counts in `int`. A conversion of a longer text, or into a longer buffer, stops there and says so; the
// other operations look at the first INT_MAX bytes.
#ifndef QZSTR_HPP
#define QZSTR_HPP

#include "qzstr.h"

#include <climits>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <optional>
#include <string_view>
#include <type_traits>

namespace qzstr {

/// A writable range: an array, or a container with contiguous elements (std::string, std::vector, std::span ...).
template <class T>
class span {
public:
    constexpr span() = default;
    constexpr span(T* data, std::size_t size) : data_(data), size_(size) {}
    template <class Range,
              class = std::enable_if_t<std::is_convertible_v<decltype(std::data(std::declval<Range&>())), T*>>>
    constexpr span(Range& range) : data_(std::data(range)), size_(std::size(range)) {}

    constexpr T* data() const { return data_; }
    constexpr std::size_t size() const { return size_; }
    constexpr bool empty() const { return size_ == 0; }

private:
    T* data_ = nullptr;
    std::size_t size_ = 0;
};

/// What a conversion did. Counts are bytes where a side is text, units where it is char16_t or char32_t.
struct result {
    conv_status_t status = 0;
    std::size_t read = 0, written = 0;

    /// All converted, nothing replaced.
    constexpr bool exact() const { return status == 0; }
    /// The target is full, or the source ends inside a character: `read` tells where.
    constexpr bool stopped() const { return (status & QZSTR_CONV_STOPPED) != 0; }
    /// "?" or U+FFFD stands for at least one character.
    constexpr bool replaced() const { return (status & QZSTR_CONV_REPLACED) != 0; }
};

/// A character by its bytes, first and one past the last; `number` is its place from 1. All 0 in an empty text.
struct character {
    std::size_t begin = 0, end = 0, number = 0;
};

/// The longest beginning of a text that fits into some columns. `filled`: it was cut there, or fits exactly.
struct prefix {
    std::size_t bytes = 0, columns = 0;
    bool filled = false;
};

class charset {
public:
    /// By number; anything that is no row of the catalogue gives no charset.
    static constexpr std::optional<charset> numbered(int id) {
        return id < 0 || id >= QZSTR_CHARSET_MAX ? std::nullopt
                                                 : std::optional(charset(static_cast<qzstr_charset_t>(id)));
    }
    /// By its own, Oracle or canonical name.
    static std::optional<charset> named(std::string_view name) {
        // Without this, an empty name would be the missing Oracle name of SJIS.
        if (name.empty()) return std::nullopt;
        int id = qzstr_charset_get_id(text(name), length(name));
        if (id == QZSTR_CHARSET_MAX) id = qzstr_charset_get_id_from_canonical_name(text(name), length(name));
        return numbered(id);
    }

    /// The enumerators of qzstr_charset.h; QZSTR_CHARSET_MAX is not one.
    constexpr charset(qzstr_charset_t id) : id_(id) {}

    constexpr qzstr_charset_t id() const { return id_; }
    const qzstr_charset_info_t& info() const { return _charset_info[id_]; }
    std::string_view name() const { return info().name; }
    std::string_view canonical_name() const { return info().canonical_name; }
    std::size_t max_bytes_per_char() const { return static_cast<std::size_t>(info().max_bytes_per_char); }
    /// Two charsets only convert: for them `count`, `find`, `fit` and the letter cases raise ERROR_NOT_IMPLEMENTED.
    constexpr bool has_positions() const { return id_ != QZSTR_CHARSET_ISO2022KR && id_ != QZSTR_CHARSET_US8ICL; }

    friend constexpr bool operator==(charset a, charset b) { return a.id_ == b.id_; }
    friend constexpr bool operator!=(charset a, charset b) { return a.id_ != b.id_; }

    // ---- Characters

    std::size_t count(std::string_view s) const { return from_int(info().qzstr_count_char_fn(text(s), length(s))); }
    /// The character with that number from 1, or the last one of a shorter text.
    character find(std::string_view s, std::size_t number) const {
        int first = 0, last = -1, counted = 0;
        info().qzstr_get_byte_pos_fn(text(s), length(s), to_int(number), &first, &last, &counted);
        return {from_int(first), from_int(last + 1), from_int(counted)};
    }
    prefix fit(std::string_view s, std::size_t columns) const {
        int bytes = 0, width = 0;
        uchar filled = 0;
        info().qzstr_get_byte_pos_with_disp_size_fn(text(s), length(s), to_int(columns), &bytes, &width, &filled);
        return {from_int(bytes) < s.size() ? from_int(bytes) : s.size(), from_int(width), filled != 0};
    }
    /// The text without the blanks that end it.
    std::string_view without_trailing_blanks(std::string_view s) const {
        const int at = info().qzstr_get_first_trailing_space_fn(text(s), length(s));
        return at < 0 ? s : s.substr(0, from_int(at));
    }

    // ---- Letter case, in place

    void lower(span<char> s) const { change_case(QZSTR_CASE_LOWER, s); }
    void upper(span<char> s) const { change_case(QZSTR_CASE_UPPER, s); }
    void initcap(span<char> s) const { change_case(QZSTR_CASE_INITCAP, s); }

    // ---- Conversion

    result convert(std::string_view from, charset to, span<char> target) const {
        // This one cell works in place, so it gets the text where the result belongs.
        if (id_ == QZSTR_CHARSET_ASCII && to.id_ == QZSTR_CHARSET_US8ICL) {
            const std::size_t bytes = from.size() < target.size() ? from.size() : target.size();
            if (bytes != 0) std::memmove(target.data(), from.data(), bytes);
            result in_place = cell(std::string_view(target.data(), bytes), to, span<char>(target.data(), bytes));
            if (bytes < from.size()) in_place.status |= QZSTR_CONV_STOPPED;
            return in_place;
        }
        return cell(from, to, target);
    }

    /// Into and from the units of this machine. char16_t is UCS-2: but for UTF16, each half of a surrogate pair counts as
    /// a character of its own, so characters beyond U+FFFF want char32_t.
    result decode(std::string_view from, span<char16_t> target) const {
        return units_out(info().qzstr_to_ucs2_fn, from, target);
    }
    result decode(std::string_view from, span<char32_t> target) const {
        return units_out(info().qzstr_to_ucs4_fn, from, target);
    }
    result encode(std::u16string_view from, span<char> target) const {
        return units_in(info().qzstr_from_ucs2_fn, from, target);
    }
    result encode(std::u32string_view from, span<char> target) const {
        return units_in(info().qzstr_from_ucs4_fn, from, target);
    }

private:
    qzstr_charset_t id_;

    static constexpr int to_int(std::size_t n) { return n < INT_MAX ? static_cast<int>(n) : INT_MAX; }
    static constexpr std::size_t from_int(int n) { return n > 0 ? static_cast<std::size_t>(n) : 0; }
    /// The C interface takes no pointer to const; it writes to no source but that of `convert`'s special case. A view of
    /// nothing has no address.
    template <class T>
    static char* text(std::basic_string_view<T> s) {
        static char none[sizeof(T)] = {};
        return s.empty() ? none : reinterpret_cast<char*>(const_cast<T*>(s.data()));
    }
    /// Bytes, in whole units.
    template <class T>
    static int length(std::basic_string_view<T> s) {
        constexpr std::size_t most = INT_MAX / sizeof(T);
        return static_cast<int>((s.size() < most ? s.size() : most) * sizeof(T));
    }
    template <class T>
    static std::basic_string_view<T> view(span<T> s) {
        return {s.data(), s.size()};
    }

    void change_case(qzstr_case_t mode, span<char> s) const {
        info().qzstr_convert_case_fn(mode, text(view(s)), length(view(s)));
    }
    result cell(std::string_view from, charset to, span<char> target) const {
        int read = 0, written = 0;
        const conv_status_t status = info().qzstr_get_another_charset_str_fn[to.id_](
            id_, text(from), length(from), to.id_, text(view(target)), length(view(target)), &read, &written);
        return complete(status, from_int(read), from_int(written), from);
    }
    template <class Unit>
    static result units_out(qzstr_to_ucs2_fn_t decode, std::string_view from, span<Unit> target) {
        int read = 0, written = 0;
        const conv_status_t status =
            decode(text(from), length(from), text(view(target)), length(view(target)), &read, &written, 0);
        return complete(status, from_int(read), from_int(written) / sizeof(Unit), from);
    }
    template <class Unit>
    static result units_in(qzstr_from_ucs2_fn_t encode, std::basic_string_view<Unit> from, span<char> target) {
        int read = 0, written = 0;
        const conv_status_t status =
            encode(text(from), length(from), text(view(target)), length(view(target)), &read, &written, 0);
        return complete(status, from_int(read) / sizeof(Unit), from_int(written), from);
    }
    /// A conversion through Unicode leaves a character that the text ends inside unread without saying so; a lead byte that
    /// ends the source may count as two bytes in the C interface, but a view ends where it ends.
    template <class T>
    static result complete(conv_status_t status, std::size_t read, std::size_t written,
                           std::basic_string_view<T> from) {
        if (read < from.size()) status |= QZSTR_CONV_STOPPED;
        return {status, read < from.size() ? read : from.size(), written};
    }
};

} // namespace qzstr

#endif
