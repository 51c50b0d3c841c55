// SPDX-License-Identifier: Apache-2.0
//
// Running code on a message that stands between bytes that nobody may touch, and finding out what
// became of it: it came back, it touched one of those bytes, or it stopped the process.
#pragma once

#include <setjmp.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "support/wire_bytes.h"

namespace kelvo::test {

enum class Ending { returned, reached_outside, stopped };

/// Room for messages of up to 64 KiB. A page before it may not be touched, nor may 8 GiB behind it:
/// as far as two lengths of 32 bits lead.
class Fenced {
  public:
    Fenced() : page_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))) {
        void* const all =
            mmap(nullptr, whole(), PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (all == MAP_FAILED) {
            std::perror("Fenced");
            std::abort();
        }
        base_ = static_cast<std::uint8_t*>(all);
        mprotect(base_ + page_, kRoom, PROT_READ | PROT_WRITE);
    }
    ~Fenced() { munmap(base_, whole()); }
    Fenced(const Fenced&) = delete;
    Fenced& operator=(const Fenced&) = delete;

    /// A copy of `bytes` whose last byte is the last one that may be touched. The one before it is
    /// gone.
    std::uint8_t* place(const Bytes& bytes) { return place(bytes.data(), bytes.size()); }
    std::uint8_t* place(const std::uint8_t* bytes, std::size_t size) {
        return copy(base_ + page_ + kRoom - size, bytes, size);
    }

    /// A copy of `bytes` whose first byte is the first one that may be touched.
    std::uint8_t* place_first(const std::uint8_t* bytes, std::size_t size) {
        return copy(base_ + page_, bytes, size);
    }

  private:
    static std::uint8_t* copy(std::uint8_t* to, const std::uint8_t* bytes, std::size_t size) {
        if (size != 0) std::memcpy(to, bytes, size);
        return to;
    }

    static constexpr std::size_t kRoom = 64 * 1024;
    static constexpr std::size_t kBehind = std::size_t{8} << 30;
    [[nodiscard]] std::size_t whole() const { return page_ + kRoom + kBehind; }

    std::size_t page_;
    std::uint8_t* base_;
};

/// While one of these exists, faults and assertions of this thread end the code that observe()
/// runs, not the process. There is one at a time.
class Observer {
  public:
    Observer() {
        struct sigaction action = {};
        action.sa_handler = [](int signal) { end(signal); };
        action.sa_flags = SA_NODEFER;
        for (std::size_t i = 0; i < kSignals; ++i) sigaction(kWatched[i], &action, &before_[i]);
    }
    ~Observer() {
        for (std::size_t i = 0; i < kSignals; ++i) {
            sigaction(kWatched[i], &before_[i], nullptr);
        }
    }
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;

    /// Runs `code`, which owns nothing that an early end would lose.
    template <class Code>
    Ending observe(Code code) {
        observing_ = true;
        const int signal = sigsetjmp(back_, 0);
        if (signal == 0) code();
        observing_ = false;
        if (signal == 0) return Ending::returned;
        return signal == SIGABRT ? Ending::stopped : Ending::reached_outside;
    }

    /// Ends the code that is being observed, or the process where none is.
    [[noreturn]] static void end(int signal) {
        if (observing_) siglongjmp(back_, signal);
        struct sigaction plain = {};
        plain.sa_handler = SIG_DFL;
        sigaction(signal, &plain, nullptr);
        raise(signal);
        std::_Exit(128 + signal);
    }

  private:
    static constexpr std::size_t kSignals = 3;
    static constexpr int kWatched[kSignals] = {SIGSEGV, SIGBUS, SIGABRT};
    inline static thread_local sigjmp_buf back_;
    inline static thread_local bool observing_ = false;
    struct sigaction before_[kSignals] = {};
};

}  // namespace kelvo::test
