// SPDX-License-Identifier: Apache-2.0
//
// Says how far a long run has come: on standard error, only when that is a terminal and the results
// go elsewhere, and only after the first second.
#pragma once

#include <chrono>
#include <cstdint>

namespace kelvo::tool {

class Progress {
  public:
    /// @param total  bytes to read; 0 when nobody knows
    explicit Progress(std::uint64_t total);
    /// Takes the line away.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// One more record of `bytes` is done.
    void advance(std::uint64_t bytes);

  private:
    using Clock = std::chrono::steady_clock;
    void draw(Clock::time_point now);

    bool shown_;
    bool drawn_ = false;
    std::uint64_t total_;
    std::uint64_t bytes_ = 0;
    std::uint64_t records_ = 0;
    Clock::time_point begin_;
    Clock::time_point next_;
};

}  // namespace kelvo::tool
