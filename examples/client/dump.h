// SPDX-License-Identifier: Apache-2.0
//
// A message as a labelled hex dump: each field on its own line, under the name that it has in the
// layout structs. It reads the bytes as they travel, trusts none of them, and stops where they end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace example {

/// One field of a layout struct.
struct Field {
    std::size_t offset;
    std::size_t width;
    const char* name;
    bool cell;  // a length cell
};

/// Walks a message field by field and collects the lines.
class Dump {
  public:
    explicit Dump(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    /// The fields of the message's fixed part that are still ahead.
    void fixed(std::span<const Field> fields);
    /// The fields of a struct that begins here. @return its last word or length
    std::uint32_t record(std::span<const Field> fields);
    /// A text or value whose length the last field gave, or this one, and its fill.
    void text(const std::string& name) { text(name, last_); }
    void text(const std::string& name, std::uint32_t length);
    void value(const std::string& name, std::uint32_t length);
    /// A length cell and its text or value.
    void counted_text(const std::string& name);
    void counted_value(const std::string& name);
    /// Bytes that are not looked into.
    void raw(const std::string& name, std::size_t width, const std::string& meaning = "");
    /// The common header with the transport's frame.
    void header();
    /// What is left, if anything.
    void rest();

    /// Words from here on are in this host's order.
    void in_host_order() { host_order_ = true; }
    /// A word that has been passed already, in network order.
    std::uint32_t word_at(std::size_t offset) const;
    bool ended() const { return ended_; }
    std::vector<std::string> take() { return std::move(lines_); }

  private:
    std::uint32_t peek() const;
    void word(const std::string& name);
    void cell(const std::string& name);
    void field(const Field& field);
    void line(std::size_t width, const std::string& name, const std::string& meaning);

    std::span<const std::uint8_t> bytes_;
    std::size_t at_ = 0;
    std::uint32_t last_ = 0;
    bool host_order_ = false;
    bool ended_ = false;
    std::vector<std::string> lines_;
};

/// The lines of a request.
std::vector<std::string> dump_request(std::span<const std::uint8_t> message);
/// The lines of a reply or event; its layout follows from its kind and the request's type.
std::vector<std::string> dump_reply(std::span<const std::uint8_t> message,
                                    std::uint32_t request_type);

}  // namespace example
