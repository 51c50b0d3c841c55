// SPDX-License-Identifier: Apache-2.0
#include "progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace kelvo::tool {

using std::chrono::duration;
using std::chrono::milliseconds;
using std::chrono::seconds;

Progress::Progress(std::uint64_t total)
    : shown_(isatty(STDERR_FILENO) != 0 && isatty(STDOUT_FILENO) == 0), total_(total) {
    if (!shown_) return;
    begin_ = Clock::now();
    next_ = begin_ + seconds(1);
}

Progress::~Progress() {
    if (drawn_) std::fputs("\r\x1b[K", stderr);
}

void Progress::advance(std::uint64_t bytes) {
    bytes_ += bytes;
    ++records_;
    if (!shown_ || records_ % 64 != 0) return;
    const auto now = Clock::now();
    if (now < next_) return;
    next_ = now + milliseconds(200);
    draw(now);
}

void Progress::draw(Clock::time_point now) {
    constexpr std::uint64_t kColumns = 30;
    drawn_ = true;
    const double rate =
        static_cast<double>(records_) / std::max(duration<double>(now - begin_).count(), 0.001);
    if (total_ == 0) {
        std::fprintf(stderr, "\r%llu done, %.0f a second\x1b[K",
                     static_cast<unsigned long long>(records_), rate);
        return;
    }
    const std::uint64_t done = std::min(bytes_, total_);
    const std::string bar(done * kColumns / total_, '#');
    std::fprintf(stderr, "\r[%-*s] %3llu %%, %llu done, %.0f a second\x1b[K",
                 static_cast<int>(kColumns), bar.c_str(),
                 static_cast<unsigned long long>(done * 100 / total_),
                 static_cast<unsigned long long>(records_), rate);
}

}  // namespace kelvo::tool
