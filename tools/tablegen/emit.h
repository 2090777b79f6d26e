// Writes the text of one generated header.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tablegen {

enum class Element { u8, u16, u32 };

struct Summary {
    std::uint16_t idx = 0;
    std::uint16_t used = 0;
};

/// An entry of a page list: pages of consecutive indexes that begin at `first`.
struct Page {
    std::string array;
    std::uint32_t first = 0;
    std::size_t count = 0;
};

class Header {
public:
    Header(std::string name, const std::vector<std::string>& sources);

    void values(Element element, const std::string& name, const std::vector<std::uint32_t>& values);
    void summaries(const std::string& name, const std::vector<Summary>& blocks);
    void pages(const std::string& element, const std::string& name, const std::vector<Page>& pages);
    /// `rows` are initialisers of `element`; `extent` is the inner dimension of a table of arrays, or empty.
    void records(const std::string& element, const std::string& name, const std::string& extent,
                 const std::vector<std::string>& rows);
    void line(const std::string& text);

    const std::string& name() const { return name_; }
    std::string text() const;

private:
    void array(const std::string& element, const std::string& name, const std::vector<std::string>& items,
               const std::string& extent = {});

    std::string name_;
    std::string first_line_;
    std::string body_;
    bool paged_ = false;
};

using Headers = std::vector<Header>;

std::string hex(std::uint32_t value, int digits);
std::string lower_hex(std::uint32_t value, int digits); // as names have it, without 0x

} // namespace tablegen
