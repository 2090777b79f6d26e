// What a move of text from one charset to another does to every character: a walk that converts whole stretches there
// and back, and looks closer only where that does not give the same text.
#pragma once

#include <qzstr.h>
#include <shift_state.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qzscan {

enum class Reason {
    bad,        ///< bytes that the source charset does not define
    truncated,  ///< the text ends inside a character
    unmappable, ///< a character that the target charset does not hold: a replacement is written
    altered,    ///< a character that is written as one that does not lead back to it
};

const char* name_of(Reason reason);

/// Where a walk is: characters, lines and columns (characters of the line) count from 1.
struct Place {
    std::uint64_t offset = 0, character = 1, line = 1, column = 1;
};

struct Finding {
    Place place;
    std::string bytes;
    Reason reason;
};

struct Totals {
    std::uint64_t bad = 0, truncated = 0, unmappable = 0, altered = 0;
    /// All the text comes back from the target charset. Of ISO-2022-KR the characters count, not how the shifts between
    /// them are written.
    bool round_trip_exact = true;

    std::uint64_t all() const { return bad + truncated + unmappable + altered; }
};

/// Memory that grows and is never cleared.
class Buffer {
public:
    char* of_size(std::size_t size);

private:
    std::unique_ptr<char[]> bytes_;
    std::size_t size_ = 0;
};

/// The bytes of one conversion; they live as long as the buffer is not asked again.
struct Converted {
    conv_status_t status;
    std::size_t read;
    std::string_view output;
};

/// One cell of the conversion matrix with a target that is large enough.
Converted convert(qzstr_charset_t from, qzstr_charset_t to, std::string_view text, Buffer& target);

/// Two digits a byte.
std::string hex(std::string_view bytes, std::string_view separator = {});

/// Decodes text of any charset unit by unit. The state of ISO-2022-KR is the caller's.
class Decoder {
public:
    Decoder(qzstr_charset_t charset, bool wide) : charset_(charset), wide_(wide) {}

    struct Result {
        bool replaced;
        std::size_t read;           ///< may be one more than there is, for a form that the text ends inside
        std::u32string_view points; ///< UCS-2 units or code points; live until the next call
    };
    /// At most `units`, whole characters only.
    Result decode(std::string_view text, std::size_t units, const qzconv::SourceShift& shift);
    /// One character: 1 unit, or the 2 of a character that has more.
    Result decode_one(std::string_view text, const qzconv::SourceShift& shift);

private:
    qzstr_charset_t charset_;
    bool wide_;
    Buffer buffer_;
    std::u32string points_;
    std::string framed_;
};

/// Walks a text. A character is what the decoder of the conversion takes at a time, as it will be in the move itself.
class Scanner {
public:
    Scanner(qzstr_charset_t from, qzstr_charset_t to);

    /// Examines a stretch at the front of `text` and returns its length; the rest is to be given again, with more text
    /// behind it unless `at_end`. 0: nothing can be done without more.
    std::size_t step(std::string_view text, bool at_end);

    /// Everything found so far that the caller has not taken away.
    std::vector<Finding> findings;
    const Totals& totals() const { return totals_; }
    /// The end of what was examined.
    const Place& place() const { return place_; }

private:
    struct Verdict {
        bool fine, returns;
    };
    Verdict judge(std::string_view bytes, const Decoder::Result& decoded);
    bool is_defined(std::string_view bytes, const Decoder::Result& decoded) const;
    bool arrives(std::string_view bytes, const Converted& there) const;
    bool returns(std::string_view bytes, std::string_view there);
    Converted convert_piece(std::string_view bytes);

    void look_closer(std::string_view text, std::size_t units);
    std::size_t examine_one(std::string_view text);
    bool mark_follows(std::string_view text, std::size_t length, std::u32string_view which);
    Decoder::Result decode_stretch(std::string_view text, std::size_t units);
    void find_joined(std::string_view text, Place place);
    std::optional<Reason> reason_for(std::string_view text, std::size_t length);
    void advance(std::string_view bytes, std::u32string_view points, std::uint64_t characters);
    std::uint64_t count_characters(std::string_view bytes, std::u32string_view points);
    void report(Place place, std::string_view bytes, Reason reason);

    qzstr_charset_t from_, to_;
    Decoder decoder_, wide_decoder_, target_decoder_;
    qzconv::SourceShift shift_;
    Place place_;
    Totals totals_;
    Buffer there_, back_;
    std::string framed_;
};

/// Scans a whole text.
Scanner scan(qzstr_charset_t from, qzstr_charset_t to, std::string_view text);

/// Every character of the text is one of the charset, and the last one is whole.
bool is_valid(qzstr_charset_t charset, std::string_view text);

} // namespace qzscan
