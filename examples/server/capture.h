// SPDX-License-Identifier: Apache-2.0
//
// A capture of all that the server receives and sends, in a file that Wireshark opens. Each packet
// names who is to dissect it: "kelvo" when the message's header tells what it is, "kelvo." and the
// name of its layout when it does not.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>

namespace example {

class Capture {
  public:
    /// Writes to the file from its beginning. Throws std::system_error.
    explicit Capture(const std::string& file);

    /// Adds a message. Throws std::system_error when the file takes no more.
    void add(std::span<const std::uint8_t> message, const std::string& dissector);

  private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, Close> file_;
};

}  // namespace example
