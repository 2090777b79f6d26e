// Conversion of a text of any length, block by block, with the result of one pass over the whole.
#pragma once

#include "cell.h"
#include "shift_state.h"

#include <qzstr.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace qzconv {

/// One block's result; `output` lives until the next call.
struct Block {
    std::size_t consumed = 0; ///< source bytes; the rest is to be given again, with more text behind it
    std::string_view output;
    std::size_t characters = 0;   ///< in the consumed part
    std::size_t replacements = 0; ///< replacement characters that the output has and the source has not
    bool malformed = false;       ///< the source holds bytes that its charset does not define
};

/// Text is cut only where a decoder's walk has a character border for certain and where no encoder joins what is before
/// with what follows; nothing is assumed about incomplete or malformed input beyond the longest form of the charset.
class BlockConverter {
public:
    BlockConverter(qzstr_charset_t from, qzstr_charset_t to, bool counts_characters = true);

    /// Converts the longest safe prefix of `text`, all of it when `at_end`. Bytes left over at the end are a character
    /// that the text ends inside. Nothing consumed before the end: more text is needed.
    Block convert(std::string_view text, bool at_end);

    /// Length of the longest prefix of `text` that may be converted, or measured, without what follows.
    std::size_t safe_cut(std::string_view text);

private:
    Step run(std::string_view text, char* target, std::size_t target_size) const;
    Step run_stepping_over_stuck_bytes(std::string_view text);
    void reserve(std::size_t source_size);
    std::string prefix() const;

    std::size_t cut_after_ascii(std::string_view text) const;
    std::size_t cut_after_control(std::string_view text) const;
    std::size_t cut_between_units(std::string_view text) const;
    std::size_t cut_by_converting(std::string_view text);
    bool joins(unsigned before, unsigned after) const;

    std::size_t count_characters(std::string_view text);

    qzstr_charset_t from_, to_;
    bool counts_characters_;
    qzstr_get_another_charset_str_fn_t cell_;
    std::optional<SourceShift> source_shift_;
    std::optional<TargetShift> target_shift_;
    std::unique_ptr<char[]> target_;
    std::size_t target_size_ = 0;
};

} // namespace qzconv
