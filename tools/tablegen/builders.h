// The table layouts that more than one character set uses.
#pragma once

#include "emit.h"
#include "mapping.h"

#include <functional>
#include <optional>

namespace tablegen {

inline constexpr std::uint32_t unmapped = 0xFFFD;

/// Linear index of a code; none for codes that a rule of the standard's own handles.
using IndexOf = std::function<std::optional<std::uint32_t>(std::uint32_t code)>;

struct ForwardPage {
    std::string suffix; // as in ksc5601_2uni_page21
    std::uint32_t first;
    std::uint32_t last;
};

struct BackwardPage {
    std::string suffix;
    std::uint32_t first; // code points; whole blocks of 16 where a page holds summaries
    std::uint32_t last;
};

/// Linear index of a 94 x 94 code in 7-bit form.
std::uint32_t index94(std::uint32_t code);

/// PREFIXpageRR for every page, and the list PREFIXpages of them all.
void forward_pages(Header& header, const std::string& prefix, const Mapping& mapping, const IndexOf& index_of,
                   const std::vector<ForwardPage>& pages);

/// Forward pages for code points of more than 16 bits: an entry's upper bits choose a base in UPAGES, its low `bits`
/// bits are joined to it.
void based_forward_pages(Header& header, const std::string& prefix, const std::string& upages, unsigned bits,
                         const Mapping& mapping, const IndexOf& index_of, const std::vector<ForwardPage>& pages);

/// Summary pages, their list PREFIXpages, and nothing else: the caller adds the code array.
void summary_pages(Header& header, const std::string& prefix, const std::map<std::uint32_t, std::uint32_t>& codes,
                   const std::vector<BackwardPage>& pages);

/// Summary pages and the array of 16-bit codes. `count` is the number of mapped code points that the standard must
/// have.
void backward_pages(Header& header, const std::string& prefix, const std::string& code_array, const Mapping& mapping,
                    const std::vector<BackwardPage>& pages, std::size_t count);

/// Plain pages of 16-bit codes indexed by code point, 0 where a code point has none, and their list PREFIXpages.
void code_pages(Header& header, const std::string& prefix, const Mapping& mapping,
                const std::vector<BackwardPage>& pages);

/// 8-bit deltas above the first value of each group of cells. `group_of` numbers the groups without gaps.
void delta_table(Header& header, const std::string& deltas, const std::string& bases,
                 const std::vector<std::uint32_t>& values, const std::function<std::size_t(std::size_t)>& group_of,
                 std::size_t group_count);

} // namespace tablegen
