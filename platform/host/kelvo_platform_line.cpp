// SPDX-License-Identifier: Apache-2.0
//
// Whole lines, and how they are written without side effects on the process.
#include "kelvo_platform_line.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace kelvo::host {
namespace {

/// While one of these exists, writing to a pipe without a reader fails instead of ending the
/// process, and no signal is left behind for the thread.
class NoPipeSignal {
  public:
    NoPipeSignal() noexcept {
        sigset_t pending;
        sigemptyset(&pipe_);
        sigaddset(&pipe_, SIGPIPE);
        sigpending(&pending);
        pending_before_ = sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &pipe_, &mask_before_);
    }
    ~NoPipeSignal() noexcept {
        constexpr timespec kAtOnce{};
        if (!pending_before_) sigtimedwait(&pipe_, nullptr, &kAtOnce);
        pthread_sigmask(SIG_SETMASK, &mask_before_, nullptr);
    }
    NoPipeSignal(const NoPipeSignal&) = delete;
    NoPipeSignal& operator=(const NoPipeSignal&) = delete;

  private:
    sigset_t pipe_;
    sigset_t mask_before_;
    bool pending_before_;
};

void write_all(int descriptor, const char* bytes, std::size_t length) noexcept {
    while (length > 0) {
        const ssize_t written = write(descriptor, bytes, length);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        bytes += written;
        length -= static_cast<std::size_t>(written);
    }
}

bool is_control(char character) noexcept {
    return static_cast<unsigned char>(character) < 0x20 || character == 0x7F;
}

}  // namespace

void Line::add(const char* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    add_list(format, arguments);
    va_end(arguments);
}

void Line::add_list(const char* format, va_list arguments) noexcept {
    const std::size_t room = kLongest - length_;
    const int wanted = vsnprintf(text_ + length_, room + 1, format, arguments);
    if (wanted < 0) {  // the text cannot be formatted: keep what there was
        text_[length_] = '\0';
        return;
    }
    const std::size_t added = std::min(static_cast<std::size_t>(wanted), room);
    std::replace_if(text_ + length_, text_ + length_ + added, is_control, '?');
    length_ += added;
    if (static_cast<std::size_t>(wanted) > room) std::memcpy(text_ + kLongest - 3, "...", 3);
}

void Line::write_to(int descriptor) noexcept {
    const NoPipeSignal guard;
    text_[length_] = '\n';
    write_all(descriptor, text_, length_ + 1);
    text_[length_] = '\0';
}

KeepErrno::KeepErrno() noexcept : saved_(errno) {}

KeepErrno::~KeepErrno() noexcept {
    errno = saved_;
}

}  // namespace kelvo::host
