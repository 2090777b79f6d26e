// Files and standard streams; every error is a Failure that names the file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qzconv {

/// A file to read, "-" for standard input.
class Input {
public:
    explicit Input(const std::string& path);
    ~Input();
    Input(const Input&) = delete;

    /// Reads at most `size` bytes; 0 at the end.
    std::size_t read(char* buffer, std::size_t size);
    const std::string& name() const { return name_; }

private:
    std::string name_;
    int descriptor_ = -1;
};

/// Fails for the first of the files that cannot be read, before any work is done and without opening one: opening a pipe
/// is an event for its writer. Returns the bytes that they hold together, 0 when that is not known.
std::uint64_t require_readable(const std::vector<std::string>& paths);

/// Outputs that can exist at a time.
inline constexpr std::size_t most_outputs = 64;

/// A file to write, "-" for standard output. A regular file appears under its name when commit() is called and not
/// before; until then the text is in a temporary file beside it.
class Output {
public:
    explicit Output(const std::string& path);
    ~Output();
    Output(const Output&) = delete;

    void write(std::string_view bytes);
    void commit();

private:
    [[noreturn]] void fail() const;

    std::string name_, final_path_;
    int descriptor_ = -1;
    bool temporary_ = false;
    std::size_t place_ = 0; // among the unfinished ones
};

/// Removes the temporary files of all outputs that were not committed; safe in a signal handler.
void discard_unfinished_output();

} // namespace qzconv
