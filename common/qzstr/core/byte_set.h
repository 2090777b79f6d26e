// A set of byte values given as a few ranges: what leads a two-byte character, for counting or for decoding.
#pragma once

#include "core/contract.h"

namespace qzstr::core {

struct byte_range {
    uchar first, last;
};

/// At most four ranges, which vector code tests with two operations each; `contains` is one load.
class byte_set {
public:
    static constexpr int max_ranges = 4;

    template <class... Ranges>
    constexpr byte_set(Ranges... ranges) : range_{ranges...}, count_{sizeof...(Ranges)} {
        static_assert(sizeof...(Ranges) <= max_ranges);
        for (int i = 0; i < count_; ++i)
            for (int b = range_[i].first; b <= range_[i].last; ++b)
                member_[b] = true;
    }

    constexpr bool contains(unsigned b) const { return member_[b & 0xFF]; }
    constexpr int ranges() const { return count_; }
    constexpr byte_range range(int i) const { return range_[i]; }

private:
    bool member_[256] = {};
    byte_range range_[max_ranges] = {};
    int count_;
};

} // namespace qzstr::core
