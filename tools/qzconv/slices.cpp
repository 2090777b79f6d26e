#include "slices.h"

#include "catalogue.h"
#include "failure.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fmt/format.h>
#include <unistd.h>
#include <utility>

namespace qzconv {

namespace {

constexpr std::uint64_t record_size = sizeof(Place) + slice_units * unit_size;

std::string_view first_units(std::string_view units, std::size_t count) {
    return units.substr(0, count * unit_size);
}

[[noreturn]] void fail() {
    throw Failure(fmt::format("temporary file: {}", std::strerror(errno)));
}

std::FILE* temporary_file() {
    std::string path = std::filesystem::temp_directory_path() / "qzconv.XXXXXX";
    const int descriptor = ::mkstemp(path.data());
    if (descriptor < 0) fail();
    ::unlink(path.c_str());
    std::FILE* const file = ::fdopen(descriptor, "w+");
    if (file == nullptr) fail();
    return file;
}

/// UTF-16 units are the iterator's own; of other charsets it gives no pairs, and it needs the charset's positions.
bool is_for_iterator(qzstr_charset_t charset, bool with_pairs) {
    return charset == QZSTR_CHARSET_UTF16 || (has_positions(charset) && !with_pairs);
}

} // namespace

Decoder::Decoder(const std::string& path, qzstr_charset_t charset, bool with_pairs)
    : input_(path), reader_(input_, 256 * 1024), charset_(charset), iterates_(is_for_iterator(charset, with_pairs)),
      converter_(charset, charset == QZSTR_CHARSET_UTF16 ? QZSTR_CHARSET_UTF8 : QZSTR_CHARSET_UTF16, false) {}

bool Decoder::append_to(std::string& units) {
    if (!reader_.fill()) return false;
    std::string_view text = reader_.text();
    if (iterates_) {
        if (!reader_.at_end()) text = text.substr(0, converter_.safe_cut(text));
        iterate(text, units);
        reader_.consume(text.size());
    } else {
        const Block block = converter_.convert(text, reader_.at_end());
        units += block.output;
        reader_.consume(block.consumed);
    }
    return true;
}

void Decoder::iterate(std::string_view text, std::string& units) {
    constexpr std::size_t most_units_of_a_byte = 2;
    const int size = static_cast<int>(text.size());
    std::string buffer(text.size() * most_units_of_a_byte * unit_size, '\0');
    qzstr_ucs2_iter_t iterator;
    qzstr_ucs2_iter_init(&iterator, charset_, const_cast<char*>(text.data()), size, buffer.data(),
                         static_cast<int>(buffer.size()));
    for (int before = -1; before != iterator.cur_str_offset && qzstr_ucs2_iter_next(&iterator, size);) {
        char* slice = nullptr;
        int length = 0;
        qzstr_ucs2_iter_get_ucs2_str(&iterator, &slice, &length);
        units.append(slice, static_cast<std::size_t>(length));
        before = iterator.cur_str_offset;
    }
}

void Place::pass(unsigned unit) {
    offset += !(inside_pair && is_low_surrogate(unit));
    inside_pair = is_high_surrogate(unit);
    if (unit != '\n') return;
    line += 1;
    line_start = offset;
}

Place Place::of(unsigned unit) const {
    Place place = *this;
    place.offset -= inside_pair && is_low_surrogate(unit);
    return place;
}

bool Slices::next(Slice& slice) {
    first_ += own_;
    units_.erase(0, own_ * unit_size);
    while (unit_count(units_) < slice_units + overhang_ && decoder_.append_to(units_)) {
    }
    own_ = std::min(slice_units, unit_count(units_));
    slice.first = first_;
    slice.units = first_units(units_, own_ + overhang_);
    slice.own = own_;
    return own_ != 0;
}

BackwardSlices::BackwardSlices(Decoder& decoder, std::size_t overhang) : overhang_(overhang), file_(temporary_file()) {
    Slices slices(decoder, 0);
    Place start;
    for (Slice slice; slices.next(slice); ++records_) {
        write(&start, sizeof start);
        write(slice.units.data(), slice.units.size());
        last_units_ = slice.own;
        for (std::size_t index = 0; index < slice.own; ++index)
            start.pass(unit_at(slice.units, index));
    }
}

bool BackwardSlices::next(Slice& slice) {
    if (records_ == 0) return false;
    records_ -= 1;
    const std::string behind(first_units(units_, overhang_));
    slice.own = std::exchange(last_units_, slice_units);
    units_.resize(slice.own * unit_size);
    if (::fseeko(file_.get(), static_cast<off_t>(records_ * record_size), SEEK_SET) != 0) fail();
    read(&slice.start, sizeof slice.start);
    read(units_.data(), units_.size());
    units_ += behind;
    slice.first = records_ * slice_units;
    slice.units = units_;
    return true;
}

void BackwardSlices::write(const void* bytes, std::size_t size) {
    if (std::fwrite(bytes, 1, size, file_.get()) != size) fail();
}

void BackwardSlices::read(void* bytes, std::size_t size) {
    if (std::fread(bytes, 1, size, file_.get()) != size) fail();
}

} // namespace qzconv
