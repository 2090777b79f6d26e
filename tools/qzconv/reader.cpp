#include "reader.h"

#include <cstring>

namespace qzconv {

Reader::Reader(Input& input, std::size_t block_size)
    : input_(input), block_size_(block_size), capacity_(2 * block_size),
      buffer_(std::make_unique_for_overwrite<char[]>(capacity_)) {}

void Reader::make_room() {
    const std::string_view rest = text();
    if (rest.size() + block_size_ <= capacity_) {
        std::memmove(buffer_.get(), rest.data(), rest.size());
    } else {
        capacity_ = 2 * (rest.size() + block_size_);
        auto larger = std::make_unique_for_overwrite<char[]>(capacity_);
        std::memcpy(larger.get(), rest.data(), rest.size());
        buffer_ = std::move(larger);
    }
    begin_ = 0;
    end_ = rest.size();
}

bool Reader::fill() {
    if (at_end_) return false;
    make_room();
    const std::size_t count = input_.read(buffer_.get() + end_, block_size_);
    end_ += count;
    at_end_ = count == 0;
    return true;
}

} // namespace qzconv
