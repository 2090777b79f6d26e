#include "streams.h"

#include "failure.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qzconv {

namespace fs = std::filesystem;

namespace {

/// An output that is not under its name yet; the signal handler reads it.
struct Unfinished {
    std::atomic<bool> taken, exists;
    char path[PATH_MAX];

    void remove() {
        if (exists.exchange(false)) ::unlink(path);
    }
};
Unfinished unfinished[most_outputs];

Unfinished& free_place() {
    for (Unfinished& place : unfinished)
        if (!place.taken.exchange(true)) return place;
    throw Failure("too many files are being written");
}

void discard_and_die(int signal) {
    discard_unfinished_output();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

[[noreturn]] void fail(const std::string& name) {
    throw Failure(fmt::format("{}: {}", name, std::strerror(errno)));
}

/// The mode that a file of this name has or would get.
mode_t mode_of(const std::string& path) {
    static const mode_t mask = [] {
        const mode_t process_mask = ::umask(0);
        ::umask(process_mask);
        return process_mask;
    }();
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 0777 : 0666 & ~mask;
}

} // namespace

void discard_unfinished_output() {
    for (Unfinished& place : unfinished)
        place.remove();
}

Input::Input(const std::string& path) : name_(path == "-" ? "standard input" : path) {
    descriptor_ = path == "-" ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor_ < 0) fail(name_);
    ::posix_fadvise(descriptor_, 0, 0, POSIX_FADV_SEQUENTIAL);
}

Input::~Input() {
    if (descriptor_ > STDIN_FILENO) ::close(descriptor_);
}

std::size_t Input::read(char* buffer, std::size_t size) {
    for (;;) {
        const ssize_t count = ::read(descriptor_, buffer, size);
        if (count >= 0) return static_cast<std::size_t>(count);
        if (errno != EINTR) fail(name_);
    }
}

std::uint64_t require_readable(const std::vector<std::string>& paths) {
    std::uint64_t total = 0;
    bool known = true;
    for (const std::string& path : paths) {
        struct stat status;
        if (path == "-" ? ::fstat(STDIN_FILENO, &status) != 0
                        : ::stat(path.c_str(), &status) != 0 || ::access(path.c_str(), R_OK) != 0)
            fail(path);
        if (S_ISDIR(status.st_mode)) throw Failure(fmt::format("{}: {}", path, std::strerror(EISDIR)));
        known &= S_ISREG(status.st_mode);
        total += static_cast<std::uint64_t>(status.st_size);
    }
    return known ? total : 0;
}

Output::Output(const std::string& path) : name_(path == "-" ? "standard output" : path) {
    if (path == "-") {
        descriptor_ = STDOUT_FILENO;
        return;
    }
    struct stat status;
    if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) { // a device or a pipe is written as it is
        descriptor_ = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
        if (descriptor_ < 0) fail();
        return;
    }
    std::error_code ignored;
    final_path_ = fs::weakly_canonical(path, ignored).string(); // a symbolic link keeps pointing at the file
    if (final_path_.empty()) final_path_ = path;
    const std::string pattern = final_path_ + ".XXXXXX";
    if (pattern.size() >= sizeof Unfinished::path)
        throw Failure(fmt::format("{}: {}", path, std::strerror(ENAMETOOLONG)));
    Unfinished& place = free_place();
    place_ = static_cast<std::size_t>(&place - unfinished);
    std::memcpy(place.path, pattern.c_str(), pattern.size() + 1);
    descriptor_ = ::mkostemp(place.path, O_CLOEXEC);
    if (descriptor_ < 0) {
        const int error = errno;
        place.taken = false;
        errno = error;
        fail();
    }
    place.exists = true;
    temporary_ = true;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        if (std::signal(signal, discard_and_die) == SIG_IGN) std::signal(signal, SIG_IGN);
    ::fchmod(descriptor_, mode_of(final_path_));
}

Output::~Output() {
    if (descriptor_ > STDOUT_FILENO) ::close(descriptor_);
    if (!temporary_) return;
    unfinished[place_].remove();
    unfinished[place_].taken = false;
}

void Output::fail() const {
    qzconv::fail(name_);
}

void Output::write(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor_, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) fail();
        if (count > 0) bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

void Output::commit() {
    const int descriptor = descriptor_;
    descriptor_ = -1;
    if (::close(descriptor) != 0) fail(); // some file systems report a full disk only here
    if (!temporary_) return;
    if (::rename(unfinished[place_].path, final_path_.c_str()) != 0) fail();
    unfinished[place_].exists = false;
}

} // namespace qzconv
