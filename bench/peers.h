// The charsets with their names at the peers, real text in them, and a conversion as each library does it.
#pragma once

#include "harness.h"
#include "qzstr.h"

#include <memory>
#include <string>
#include <vector>

namespace bench {

struct charset {
    qzstr_charset_t id;
    const char *languages, *iconv_name, *icu_name; // a peer without the charset has no name

    const char* name() const { return _charset_info[id].name; }
};

/// One for each row of the catalogue, in its order.
extern const charset charsets[QZSTR_CHARSET_MAX];

std::vector<std::string> languages_of(const charset& c);

/// UTF-8 text of a language, of about `most` bytes at most: the lines that every charset named holds and that all
/// libraries convert alike, from and to UTF-8; empty when there is no such line. "ascii" is what of the English text is pure ASCII.
const std::string& text_for(const std::vector<qzstr_charset_t>& ids, const std::string& language,
                            std::size_t most = 1 << 20);

/// The text in a charset.
std::string converted(qzstr_charset_t from, qzstr_charset_t to, std::string text);

/// Pieces of about `size` bytes of UTF-8 text cut between characters, 2000 at most; the whole for 0.
std::vector<std::string> pieces(const std::string& utf8, std::size_t size);

using texts = std::shared_ptr<std::vector<std::string>>;
texts in_charset(qzstr_charset_t to, const std::vector<std::string>& utf8);

/// Measures a conversion of every text, one call each. A peer whose result is another one takes no part, unless
/// `compares` is false. `extra` takes part as well.
void measure_conversion(suite& s, const std::string& name, qzstr_charset_t from, qzstr_charset_t to, const texts& in,
                        bool compares = true, const std::vector<contender>& extra = {});

/// The library's own conversion, for `extra`.
contender own_conversion(const char* label, qzstr_charset_t from, qzstr_charset_t to, const texts& in);

/// A converter of each peer that is opened and closed again for every text.
std::vector<contender> opened_each_time(qzstr_charset_t from, qzstr_charset_t to, const texts& in);

} // namespace bench
