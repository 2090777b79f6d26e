#include "cell.h"

#include "catalogue.h"

#include <cstring>
#include <stdexcept>

namespace qzconv {

namespace {

int length(std::size_t size) {
    if (size > static_cast<std::size_t>(INT32_MAX)) throw std::length_error("the text is too long");
    return static_cast<int>(size);
}

} // namespace

Step convert_cell(qzstr_charset_t from, qzstr_charset_t to, std::string_view text, char* target, std::size_t size) {
    char* source = const_cast<char*>(text.data()); // the interface has no const
    std::string rewritten;
    const bool rewrites_source = from == QZSTR_CHARSET_ASCII && to == QZSTR_CHARSET_US8ICL;
    if (rewrites_source) source = rewritten.assign(text).data();
    int read = 0, written = 0;
    const conv_status_t status = info(from).qzstr_get_another_charset_str_fn[to](from, source, length(text.size()), to,
                                                                                 target, length(size), &read, &written);
    if (rewrites_source) std::memcpy(target, source, static_cast<std::size_t>(written));
    return {status, static_cast<std::size_t>(read), static_cast<std::size_t>(written)};
}

} // namespace qzconv
