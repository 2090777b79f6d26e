#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>

namespace qzconv {

/// A bar on standard error for work that takes longer than a moment; silent when standard error is no terminal or
/// standard output is one. Threads may share it.
class Progress {
public:
    /// `total` bytes are expected; 0 when that is not known.
    Progress(std::uint64_t total, bool enabled);
    ~Progress();
    Progress(const Progress&) = delete;
    void advance(std::uint64_t bytes);

private:
    using Clock = std::chrono::steady_clock;
    void draw(Clock::time_point now);

    std::mutex mutex_;
    std::uint64_t total_, done_ = 0;
    bool enabled_, drawn_ = false;
    Clock::time_point start_ = Clock::now(), next_ = start_ + std::chrono::milliseconds(400);
};

} // namespace qzconv
