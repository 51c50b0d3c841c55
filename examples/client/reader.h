// SPDX-License-Identifier: Apache-2.0
//
// Walks a converted message piece by piece and never beyond its end. The library's reply converters
// leave this to the receiver: they hand out no pointers, and some check leniently.
#pragma once

#include <cstring>
#include <stdexcept>
#include <string>

#include "frame.h"
#include "layout.h"
#include "value.h"

namespace example {

class Reader {
  public:
    explicit Reader(const Message& message) : left_(message.bytes()) {}

    template <typename T>
    T fixed() {
        return fixed_part<T>(take(sizeof(T)).data());
    }
    /// A text whose length, NUL included, has been read.
    std::string text(std::uint32_t length) {
        const auto bytes = take(padded(length)).first(length);
        const std::string text(bytes.begin(), bytes.end());
        return text.substr(0, text.find('\0'));
    }
    std::string counted_text() { return text(fixed<kelvo_length_cell>().length); }
    /// A length cell and a value.
    Value counted_value(std::uint32_t type) {
        const std::uint32_t length = fixed<kelvo_length_cell>().length;
        return value_from(type, take(padded(length)).data(), length);
    }

  private:
    std::span<const std::uint8_t> take(std::uint64_t size) {
        if (size > left_.size()) throw std::runtime_error("the reply ends too early");
        const auto taken = left_.first(size);
        left_ = left_.subspan(size);
        return taken;
    }

    std::span<const std::uint8_t> left_;
};

}  // namespace example
