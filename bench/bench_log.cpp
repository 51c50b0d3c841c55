// SPDX-License-Identifier: Apache-2.0
//
// A line to the log file, there when the call returns, against a logging library that flushes every
// line and against one system call with the line ready. Shown as well is a system call after the
// message alone has been formatted, which is the caller's and the C library's.
#include <fcntl.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "kelvo_logfile.h"
#include "row.h"

using namespace kelvo::bench;

namespace {

/// A directory for the files of one run, gone when the program ends.
class Directory {
  public:
    Directory() {
        if (mkdtemp(name_) == nullptr) std::exit(1);
    }
    ~Directory() {
        for (const std::string& file : files_) (void)unlink(file.c_str());
        (void)rmdir(name_);
    }
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;

    const std::string& file(const char* name) {
        files_.push_back(std::string(name_) + "/" + name);
        return files_.back();
    }

  private:
    char name_[32] = "/tmp/kelvo_bench_XXXXXX";
    std::vector<std::string> files_;
};
Directory directory;

constexpr char kMessage[] = "transaction %u: %d of %d items applied in %s";
constexpr char kText[] = "transaction 77: 12 of 40 items applied in cfg/gl/bgp/";

/// The last line of a file.
std::string last_line(const std::string& path) {
    std::ifstream file(path);
    std::string line;
    std::string last;
    while (std::getline(file, line)) last = line;
    return last;
}

/// Whether the message stands at the end of a file.
bool ends_in_message(const std::string& path) {
    const std::string line = last_line(path);
    const std::string text = kText;
    return line.size() > text.size() && line.substr(line.size() - text.size()) == text;
}

struct Library {
    // The process has one log file, for good.
    static const std::string& path() {
        static const std::string opened = [] {
            const std::string file = directory.file("kelvo");
            kelvo_init_logfile(file.c_str());
            return file;
        }();
        return opened;
    }
    const std::string& file = path();
    void run() { kelvo_logfile("txn", kMessage, 77U, 12, 40, "cfg/gl/bgp/"); }
    [[nodiscard]] bool right() const { return ends_in_message(file); }
};

struct Spdlog {
    std::string path = directory.file("spdlog");
    std::shared_ptr<spdlog::logger> logger = spdlog::basic_logger_st("txn", path, true);
    Spdlog() {
        logger->set_pattern("%m/%d %H:%M:%S.%e %P:%t %n:%v");
        logger->flush_on(spdlog::level::info);
    }
    ~Spdlog() { spdlog::drop("txn"); }
    Spdlog(const Spdlog&) = delete;
    Spdlog& operator=(const Spdlog&) = delete;
    void run() {
        logger->info("transaction {}: {} of {} items applied in {}", 77U, 12, 40, "cfg/gl/bgp/");
    }
    [[nodiscard]] bool right() const { return ends_in_message(path); }
};

/// How much of a line is made anew each time: nothing; the message; the message, and the time,
/// which is asked for and made a local one, though what is written of it stays the same.
enum class Made { nothing, message, message_and_time };

/// A file that starts again when it is as long as the library lets its own become.
template <Made kMade>
struct Write {
    static constexpr bool kFormats = kMade != Made::nothing;
    std::string path = directory.file("write");
    int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    std::string beginning = "03/07 14:05:09.042 211:123456 txn:";
    std::string ready = beginning + kText + "\n";
    std::size_t written = 0;
    ~Write() { (void)close(file); }
    void run() {
        if (written > KELVO_LOGFILE_LIMIT && lseek(file, 0, SEEK_SET) == 0) written = 0;
        char line[KELVO_LOGFILE_LINE_BYTES];
        std::size_t chars = ready.size();
        if (kMade == Made::message_and_time) {
            timeval now;
            tm local;
            if (gettimeofday(&now, nullptr) != 0 || localtime_r(&now.tv_sec, &local) == nullptr) {
                return;
            }
            benchmark::DoNotOptimize(local);
        }
        if (kFormats) {
            std::memcpy(line, beginning.data(), beginning.size());
            char* const end = line + beginning.size();
            chars = beginning.size() +
                    static_cast<std::size_t>(std::snprintf(end, sizeof line - beginning.size(),
                                                           kMessage, 77U, 12, 40, "cfg/gl/bgp/"));
            line[chars++] = '\n';
        }
        const ssize_t done = write(file, kFormats ? line : ready.data(), chars);
        written += done == static_cast<ssize_t>(ready.size()) ? ready.size() : 0;
    }
    [[nodiscard]] bool right() const { return written != 0 && ends_in_message(path); }
};

const Row kRow({"log_line", "log file: a line, flushed", 1, {0.72, 1.65}},
               {library<Library>(), floor<Write<Made::nothing>>("write(2) of a ready line"),
                other<Spdlog>("spdlog"),
                shown<Write<Made::message>>("snprintf of the message + write(2)"),
                shown<Write<Made::message_and_time>>("the same, clock and zone")});

}  // namespace
