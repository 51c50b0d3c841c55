// SPDX-License-Identifier: Apache-2.0
#include "input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "exit_code.h"
#include "progress.h"
#include "verb.h"

namespace kelvo::tool {
namespace {

/// A file that is read piece by piece.
class File {
  public:
    explicit File(const std::string& file) : name_(name_of_file(file)) {
        descriptor_ =
            file == "-" ? STDIN_FILENO : open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
        if (descriptor_ < 0) fail();
    }
    ~File() {
        if (descriptor_ > STDERR_FILENO) close(descriptor_);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    [[nodiscard]] const std::string& name() const { return name_; }

    /// Whether the next piece may have to be waited for.
    [[nodiscard]] bool may_wait() const {
        struct stat facts {};
        return fstat(descriptor_, &facts) != 0 || !S_ISREG(facts.st_mode);
    }

    /// The next piece; empty at the end. Valid until the next call.
    std::string_view piece() {
        for (;;) {
            const ssize_t got = read(descriptor_, buffer_.data(), buffer_.size());
            if (got >= 0) return {buffer_.data(), static_cast<std::size_t>(got)};
            if (errno != EINTR) fail();
        }
    }

  private:
    [[noreturn]] void fail() const {
        throw Failure(Exit::input, printable(name_) + ": " + std::strerror(errno));
    }

    std::string name_;
    int descriptor_;
    std::array<char, 65536> buffer_;
};

/// Cuts pieces into lines and hands them on.
class Lines {
  public:
    Lines(const std::string& source, const std::function<void(const Record&)>& answer,
          Progress& progress)
        : source_(source), answer_(answer), progress_(progress) {}

    void add(std::string_view piece) {
        for (;;) {
            const std::size_t end = piece.find('\n');
            if (end == std::string_view::npos) break;
            if (rest_.empty()) {
                hand_on(piece.substr(0, end));
            } else {
                rest_ += piece.substr(0, end);
                hand_on(rest_);
                rest_.clear();
            }
            piece.remove_prefix(end + 1);
        }
        rest_ += piece;
    }
    void end() {
        if (!rest_.empty()) hand_on(rest_);
    }

  private:
    void hand_on(std::string_view line) {
        ++number_;
        const std::size_t bytes = line.size() + 1;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        const Record record{line, source_, number_};
        if (line.find('\0') != std::string_view::npos) {
            throw Failure(Exit::input, record.where() +
                                           ": the line has a NUL byte in it; texts have none (is "
                                           "this a text file?)");
        }
        if (!line.empty()) answer_(record);
        progress_.advance(bytes);
    }

    const std::string& source_;
    const std::function<void(const Record&)>& answer_;
    Progress& progress_;
    std::string rest_;
    std::uint64_t number_ = 0;
};

/// The bytes of all files together; 0 when one of them is no regular file, and so has no size.
std::uint64_t total_size(const std::vector<std::string>& files) {
    std::uint64_t total = 0;
    for (const std::string& file : files) {
        struct stat facts {};
        const int found = file == "-" ? fstat(STDIN_FILENO, &facts) : stat(file.c_str(), &facts);
        if (found != 0 || !S_ISREG(facts.st_mode)) return 0;
        total += static_cast<std::uint64_t>(facts.st_size);
    }
    return total;
}

}  // namespace

std::string name_of_file(const std::string& file) {
    return file == "-" ? "standard input" : file;
}

std::string Record::where() const {
    const std::string place = printable(source);
    return place + (source == "argument" ? " " : ":") + std::to_string(number);
}

void Input::declare(Verb& verb, const std::string& name, const std::string& what) {
    name_ = name;
    verb.add_texts(name, arguments_, what);
    verb.app
        .add_option("-f,--file", files_, "read them from FILE, one a line; - is standard input")
        ->type_name("FILE")
        ->allow_extra_args(false);
}

std::vector<std::string> Input::sources() const {
    if (is_given()) return files_;
    if (isatty(STDIN_FILENO) != 0) {
        throw Failure(Exit::usage,
                      "nothing to answer: give " + name_ + "..., --file FILE or standard input");
    }
    return {"-"};
}

void Input::for_each(Output& out, const std::function<void(const Record&)>& answer) const {
    const std::vector<std::string> files = sources();
    Progress progress(total_size(files));
    std::uint64_t number = 0;
    for (const std::string& text : arguments_) answer({text, "argument", ++number});
    for (const std::string& name : files) {
        File file(name);
        Lines lines(file.name(), answer, progress);
        for (;;) {
            if (file.may_wait()) out.flush();
            const std::string_view piece = file.piece();
            if (piece.empty()) break;
            lines.add(piece);
        }
        lines.end();
    }
}

std::vector<std::uint8_t> read_all(const std::string& name) {
    File file(name);
    std::vector<std::uint8_t> bytes;
    for (;;) {
        const std::string_view piece = file.piece();
        if (piece.empty()) return bytes;
        bytes.insert(bytes.end(), piece.begin(), piece.end());
    }
}

}  // namespace kelvo::tool
