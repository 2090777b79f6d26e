// A conversion as the library does it, in one call.
#pragma once

#include <qzstr.h>

#include <cstddef>
#include <string_view>

namespace qzconv {

/// What a call did, in bytes.
struct Step {
    conv_status_t status;
    std::size_t read, written;
};

/// Runs one cell of the conversion matrix. The one cell that rewrites its source gets a copy of it.
Step convert_cell(qzstr_charset_t from, qzstr_charset_t to, std::string_view text, char* target, std::size_t size);

} // namespace qzconv
