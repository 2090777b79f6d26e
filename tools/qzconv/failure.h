#pragma once

#include <stdexcept>

namespace qzconv {

/// What the process tells its caller.
enum ExitCode { exact = 0, with_replacements = 1, malformed = 2, failed = 3 };

/// Ends the command with one line on standard error and ExitCode::failed.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// From here on an operation that the library refuses in the calling thread ends the process with ExitCode::failed.
void leave_on_library_errors();

} // namespace qzconv
