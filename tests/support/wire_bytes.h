// SPDX-License-Identifier: Apache-2.0
//
// Messages as bytes, for tests: a builder that writes them field by field in either byte order, and
// a block whose last byte stands before an inaccessible page.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace kelvo::test {

using Bytes = std::vector<std::uint8_t>;

enum class Order { host, network };

inline std::uint32_t reversed(std::uint32_t word) {
    return __builtin_bswap32(word);
}

inline std::uint32_t word_at(const std::uint8_t* bytes, std::size_t offset) {
    std::uint32_t word;
    std::memcpy(&word, bytes + offset, 4);
    return word;
}
inline std::uint32_t word_at(const Bytes& bytes, std::size_t offset) {
    return word_at(bytes.data(), offset);
}

inline void put_word(Bytes& bytes, std::size_t offset, std::uint32_t word) {
    std::memcpy(bytes.data() + offset, &word, 4);
}

/// Reverses the word at an offset, as a conversion is expected to have done.
inline void reverse_at(Bytes& bytes, std::size_t offset) {
    put_word(bytes, offset, reversed(word_at(bytes, offset)));
}

/// Writes a message field by field. The header's 40 bytes are 0xA0, 0xA1, ... except for the type.
class Message {
  public:
    explicit Message(Order order, std::uint32_t type = 0) : order_(order) {
        for (std::uint8_t i = 0; i < 40; ++i) bytes_.push_back(static_cast<std::uint8_t>(0xA0 + i));
        put_word(bytes_, 24, type);
    }

    /// A message that begins with other bytes than a request's header.
    static Message of_bytes(Order order, const Bytes& bytes) {
        Message message(order);
        message.bytes_ = bytes;
        return message;
    }

    Message& word(std::uint32_t value) {
        append(order_ == Order::network ? reversed(value) : value);
        return *this;
    }
    /// Four bytes that nobody converts.
    Message& raw_word(std::uint32_t value) {
        append(value);
        return *this;
    }
    Message& words(std::initializer_list<std::uint32_t> values) {
        for (const std::uint32_t value : values) word(value);
        return *this;
    }
    /// A length cell: the length, then four bytes that receivers ignore.
    Message& cell(std::uint32_t value) { return word(value).raw_word(0); }
    Message& raw(const void* bytes, std::size_t length) {
        const auto* from = static_cast<const std::uint8_t*>(bytes);
        bytes_.insert(bytes_.end(), from, from + length);
        return *this;
    }
    Message& fill() {
        while (bytes_.size() % 8 != 0) bytes_.push_back(0);
        return *this;
    }
    /// A counted string: cell, text with NUL, fill.
    Message& text(const std::string& text) {
        return cell(static_cast<std::uint32_t>(text.size() + 1))
            .raw(text.c_str(), text.size() + 1)
            .fill();
    }
    /// A counted value: cell, bytes, fill.
    Message& value(const Bytes& value) {
        return cell(static_cast<std::uint32_t>(value.size()))
            .raw(value.data(), value.size())
            .fill();
    }

    [[nodiscard]] const Bytes& bytes() const { return bytes_; }
    [[nodiscard]] std::uint32_t size() const { return static_cast<std::uint32_t>(bytes_.size()); }

  private:
    void append(std::uint32_t value) { raw(&value, 4); }

    Order order_;
    Bytes bytes_;
};

/// A block that begins right after one inaccessible page or ends right before another.
class Walled {
  public:
    /// A copy of `bytes` whose last byte is the last one that may be touched.
    explicit Walled(const Bytes& bytes) : size_(bytes.size()) {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        inside_ = (size_ + page - 1) / page * page;
        whole_ = inside_ + page;
        base_ = static_cast<std::uint8_t*>(
            mmap(nullptr, whole_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(base_ + inside_, page, PROT_NONE);
        if (size_ != 0) std::memcpy(data(), bytes.data(), size_);
    }
    ~Walled() { munmap(base_, whole_); }
    Walled(const Walled&) = delete;
    Walled& operator=(const Walled&) = delete;

    [[nodiscard]] std::uint8_t* data() const { return base_ + inside_ - size_; }
    [[nodiscard]] Bytes bytes() const { return Bytes(data(), data() + size_); }

  private:
    std::size_t size_;
    std::size_t inside_;
    std::size_t whole_;
    std::uint8_t* base_;
};

}  // namespace kelvo::test
