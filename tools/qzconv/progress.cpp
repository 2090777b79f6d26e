#include "progress.h"

#include <algorithm>
#include <cstdio>
#include <fmt/core.h>
#include <string>
#include <unistd.h>

namespace qzconv {

Progress::Progress(std::uint64_t total, bool enabled)
    : total_(total), enabled_(enabled && ::isatty(STDERR_FILENO) && !::isatty(STDOUT_FILENO)) {}

Progress::~Progress() {
    if (drawn_) fmt::print(stderr, "\r\033[K");
}

void Progress::advance(std::uint64_t bytes) {
    if (!enabled_) return;
    const std::lock_guard lock(mutex_);
    done_ += bytes;
    const Clock::time_point now = Clock::now();
    if (now < next_) return;
    next_ = now + std::chrono::milliseconds(100);
    draw(now);
}

void Progress::draw(Clock::time_point now) {
    const double megabytes = static_cast<double>(done_) / 1e6;
    const double rate = megabytes / std::chrono::duration<double>(now - start_).count();
    std::string bar;
    if (total_ != 0) {
        const double part = std::min(1.0, static_cast<double>(done_) / static_cast<double>(total_));
        const auto filled = static_cast<std::size_t>(part * 30);
        bar = fmt::format("[{}{}] {:3.0f} %  ", std::string(filled, '#'), std::string(30 - filled, ' '), part * 100);
    }
    fmt::print(stderr, "\r{}{:.0f} MB  {:.0f} MB/s\033[K", bar, megabytes, rate);
    std::fflush(stderr);
    drawn_ = true;
}

} // namespace qzconv
