// SPDX-License-Identifier: Apache-2.0
//
// A value of an item, in host order, with its value type. The library knows the integer types;
// every other code travels as it is, and what it denotes is agreed between client and server. These
// examples use 3 for text (with its NUL) and 4 for plain bytes.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "kelvo_common_msg.h"

namespace example {

inline constexpr std::uint32_t kValueText = 3;
inline constexpr std::uint32_t kValueBytes = 4;

struct Value {
    std::uint32_t type = KELVO_VALUE_NONE;
    std::vector<std::uint8_t> bytes;

    bool operator==(const Value&) const = default;
};

Value int4(std::uint32_t number);
Value int8(std::uint64_t number);
Value text(const std::string& characters);
Value plain_bytes(std::span<const std::uint8_t> bytes);

/// Copies `length` bytes at `base` (which may be null when there are none).
Value value_from(std::uint32_t type, const void* base, std::uint32_t length);

/// Bytes that conversion reverses in a value of this type: 2, 4 or 8, or 0 for none.
std::size_t integer_width(std::uint32_t type);

/// The value's bytes as they travel. An integer must be as long as its type says. Only a reply that
/// is laid out by hand needs this: compose functions convert values themselves.
std::vector<std::uint8_t> wire_bytes(const Value& value);

/// The value as people read it: a number, a quoted text, bytes in hexadecimal.
std::string shown(const Value& value);

/// What a value type is called.
std::string type_name(std::uint32_t type);

}  // namespace example
