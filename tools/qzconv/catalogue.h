// The library's catalogue as the commands see it.
#pragma once

#include <qzstr.h>

#include <string>
#include <string_view>
#include <vector>

namespace qzconv {

inline const qzstr_charset_info_t& info(qzstr_charset_t charset) {
    return _charset_info[charset];
}

/// The charset of any name that the library's lookups know; a Failure that suggests near names otherwise.
qzstr_charset_t charset_named(std::string name);

/// Known names that look like `name`, nearest first, at most three.
std::vector<std::string> near_names(std::string_view name);

/// Positions, widths and counts work in every charset but these two, which only convert.
inline bool has_positions(qzstr_charset_t charset) {
    return charset != QZSTR_CHARSET_ISO2022KR && charset != QZSTR_CHARSET_US8ICL;
}

} // namespace qzconv
