#pragma once

#include "streams.h"

#include <memory>
#include <string_view>

namespace qzconv {

/// A window over an input: unconsumed text, refilled from the front. It grows only while nothing can be consumed.
class Reader {
public:
    Reader(Input& input, std::size_t block_size);

    /// Reads what there is, at most one block; false when the end was handed out before.
    bool fill();
    std::string_view text() const { return {buffer_.get() + begin_, end_ - begin_}; }
    /// No text follows text().
    bool at_end() const { return at_end_; }
    void consume(std::size_t bytes) { begin_ += bytes; }

private:
    void make_room();

    Input& input_;
    std::size_t block_size_, capacity_, begin_ = 0, end_ = 0;
    std::unique_ptr<char[]> buffer_;
    bool at_end_ = false;
};

} // namespace qzconv
