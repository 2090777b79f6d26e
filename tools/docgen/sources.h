// What the library's sources say about a charset family.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace docgen {

/// A family's source with the headers that its rules and tables come from, and what they say.
class FamilySources {
public:
    /// `family` is the file's name behind "qzstr_".
    FamilySources(const std::filesystem::path& root, const std::string& family);

    /// Path of the family's own source below the root.
    const std::string& name() const { return name_; }
    /// The reasons behind "KEPT:" in the family's source, then those of the shared structs that it is made of.
    std::vector<std::string> kept() const;
    /// The files that its tables were generated from.
    std::vector<std::string> mappings() const;

private:
    void add_headers_of(const std::filesystem::path& directory, const std::string& text);

    std::string name_;
    std::vector<std::string> header_names_, texts_; ///< the family's own text first, then the headers'
};

} // namespace docgen
