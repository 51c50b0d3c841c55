// SPDX-License-Identifier: Apache-2.0
//
// Lines of the log file and of the call-flow trace, both written to memory and read back: every
// line is what its texts make it, cut where it has to be, at its depth. An input is a byte for each
// line, then two texts (lines of their own): tag and message, or location and message.
#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "fuzz/fuzz.h"
#include "kelvo_logfile.h"
#include "kelvo_trace.h"

using namespace kelvo::fuzz;

namespace {

constexpr std::size_t kMostText = 2048;
constexpr std::size_t kTraceBytes = 511;

/// A file in memory.
class Memory {
  public:
    explicit Memory(const char* name) : descriptor_(memfd_create(name, 0)) {
        KELVO_HOLDS(descriptor_ >= 0);
    }
    [[nodiscard]] int descriptor() const { return descriptor_; }
    [[nodiscard]] std::string_view read(off_t at) {
        const ssize_t bytes = pread(descriptor_, bytes_, sizeof bytes_, at);
        KELVO_HOLDS(bytes >= 0);
        return {bytes_, static_cast<std::size_t>(bytes)};
    }
    void clear() { KELVO_HOLDS(ftruncate(descriptor_, 0) == 0); }

  private:
    int descriptor_;
    char bytes_[4096];
};

/// Passes over a pattern: "d" for a digit, "n" for a number, everything else for itself.
/// @return how many characters fit it, which must be all of it
std::size_t chars_of(std::string_view text, const char* pattern) {
    const auto is_digit = [&](std::size_t at) {
        return at < text.size() && text[at] >= '0' && text[at] <= '9';
    };
    std::size_t at = 0;
    for (; *pattern != '\0'; ++pattern) {
        if (*pattern == 'd' || *pattern == 'n') {
            KELVO_HOLDS(is_digit(at));
            ++at;
            while (*pattern == 'n' && is_digit(at)) ++at;
        } else {
            KELVO_HOLDS(at < text.size() && text[at] == *pattern);
            ++at;
        }
    }
    return at;
}

// --- the log file -------------------------------------------------------------------------------

class Log {
  public:
    Log() : memory_("log") {
        char path[64];
        std::snprintf(path, sizeof path, "/proc/self/fd/%d", memory_.descriptor());
        kelvo_init_logfile(path);
    }

    void check_line(const char* tag, const char* message) {
        kelvo_logfile(tag, "%s", message);
        if (at_ > KELVO_LOGFILE_LIMIT) {
            at_ = 0;  // this line was given up
            return;
        }
        const std::string_view written = memory_.read(at_);
        line_.assign(written.substr(0, chars_of(written, "dd/dd dd:dd:dd.ddd n:n ")));
        line_.append(tag).append(":");
        line_.resize(std::min<std::size_t>(line_.size(), KELVO_LOGFILE_PREFIX_CHARS));
        line_.append(message);
        line_.resize(std::min<std::size_t>(line_.size(), KELVO_LOGFILE_LINE_BYTES - 1));
        line_.append("\n");
        KELVO_HOLDS(written.starts_with(line_));
        at_ += static_cast<off_t>(line_.size());
    }

  private:
    Memory memory_;
    off_t at_ = 0;
    std::string line_;
};

// --- the trace ----------------------------------------------------------------------------------

class Trace {
  public:
    Trace() : memory_("trace") {
        KELVO_HOLDS(dup2(memory_.descriptor(), STDOUT_FILENO) == STDOUT_FILENO);
        (void)trace(KELVO_TRACE_KIND_NOTE, "", 0, "begin");
        forget();
    }

    void check_line(std::uint32_t kind, const char* location, const char* message) {
        KELVO_HOLDS(trace(kind, location, 7, "%s", message) == 0);
        const bool is_unmatched = kind == KELVO_TRACE_KIND_EXIT && depth_ == 1;
        if (kind == KELVO_TRACE_KIND_EXIT && !is_unmatched) --depth_;

        std::string_view written = memory_.read(at_);
        at_ += static_cast<off_t>(written.size());
        if (is_unmatched) pass_information(&written);
        line_.assign(written.substr(0, chars_of(written, "[dd:dd:dd][0x")));
        line_.append(written.substr(line_.size(), 8));
        const std::size_t ids = chars_of(written.substr(line_.size()), "][n][n]");
        line_.append(written.substr(line_.size(), ids));
        append_place(location);
        line_.append(message);
        line_.resize(std::min(line_.size(), kTraceBytes));
        if (line_.size() < kTraceBytes) line_.append("\n");
        KELVO_HOLDS(written == line_);

        if (kind == KELVO_TRACE_KIND_ENTER) ++depth_;
    }

    /// Leaves everything that was entered, so that the next input begins as this one did.
    void leave() {
        while (depth_ > 1) check_line(KELVO_TRACE_KIND_EXIT, "leave", "");
        if (at_ > 100000) forget();
    }

  private:
    void forget() {
        memory_.clear();
        at_ = 0;
    }
    static void pass_information(std::string_view* written) {
        const std::size_t end = written->find('\n');
        KELVO_HOLDS(written->starts_with("TRACE_INFO: [") && end != std::string_view::npos);
        KELVO_HOLDS(
            written->substr(0, end).ends_with("More EXIT statements than ENTER statements!"));
        written->remove_prefix(end + 1);
    }

    /// Location, line and depth.
    void append_place(const char* location) {
        const std::size_t chars = std::strlen(location);
        const std::size_t shown = std::min<std::size_t>(chars, 30);
        line_.append(30 - shown, ' ').append(location + (chars - shown)).append(" #00007");
        line_.append(std::min<std::size_t>(depth_, 20), ' ').append(depth_ > 20 ? "!" : " ");
    }

    Memory memory_;
    off_t at_ = 0;
    std::size_t depth_ = 1;
    std::string line_;
};

/// A "%" in a trace is interpreted once more, so callers keep it out.
void keep_out_percents(char* text) {
    for (; *text != '\0'; ++text) {
        if (*text == '%') *text = 'p';
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Log log;
    static Trace traced;
    static Block<kMostText> blocks[2];
    if (size >= kMostText) return -1;
    Input in(data, size);
    const std::string_view kinds = in.until('\n').substr(0, 25);
    char* const first = blocks[0].hold_text(in.until('\n'));
    char* const second = blocks[1].hold_text(in.bytes(kMostText));
    log.check_line(first, second);
    keep_out_percents(first);
    keep_out_percents(second);
    for (const char kind : kinds) {
        traced.check_line(static_cast<std::uint8_t>(kind) % 4, first, second);
    }
    traced.leave();
    return 0;
}
