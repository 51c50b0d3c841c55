// SPDX-License-Identifier: Apache-2.0
#include "value.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>

namespace example {
namespace {

template <typename Number>
Value of_number(std::uint32_t type, Number number) {
    return value_from(type, &number, sizeof number);
}

template <typename Number>
std::string as_number(const Value& value) {
    Number number;
    if (value.bytes.size() < sizeof number) return "(too short)";
    std::memcpy(&number, value.bytes.data(), sizeof number);
    return std::to_string(number);
}

std::string as_text(const Value& value) {
    std::string characters(value.bytes.begin(), value.bytes.end());
    if (!characters.empty() && characters.back() == '\0') characters.pop_back();
    return '"' + characters + '"';
}

std::string as_bytes(const Value& value) {
    std::string out;
    char digits[4];
    for (const std::uint8_t byte : value.bytes) {
        std::snprintf(digits, sizeof digits, "%s%02x", out.empty() ? "" : ":", byte);
        out += digits;
    }
    return out;
}

}  // namespace

Value int4(std::uint32_t number) {
    return of_number(KELVO_VALUE_INT4, number);
}

Value int8(std::uint64_t number) {
    return of_number(KELVO_VALUE_INT8, number);
}

Value text(const std::string& characters) {
    return value_from(kValueText, characters.c_str(),
                      static_cast<std::uint32_t>(characters.size() + 1));
}

Value plain_bytes(std::span<const std::uint8_t> bytes) {
    return {kValueBytes, {bytes.begin(), bytes.end()}};
}

Value value_from(std::uint32_t type, const void* base, std::uint32_t length) {
    const auto* from = static_cast<const std::uint8_t*>(base);
    if (length == 0) return {type, {}};
    return {type, {from, from + length}};
}

std::size_t integer_width(std::uint32_t type) {
    switch (type) {
        case KELVO_VALUE_INT2:
        case KELVO_VALUE_INT2_ALT:
            return 2;
        case KELVO_VALUE_INT4:
        case KELVO_VALUE_INT4_ALT:
            return 4;
        case KELVO_VALUE_INT8:
        case KELVO_VALUE_INT8_ALT:
            return 8;
        default:
            return 0;
    }
}

std::vector<std::uint8_t> wire_bytes(const Value& value) {
    std::vector<std::uint8_t> bytes = value.bytes;
    if constexpr (std::endian::native == std::endian::little)
        std::reverse(bytes.begin(),
                     bytes.begin() + static_cast<std::ptrdiff_t>(integer_width(value.type)));
    return bytes;
}

std::string shown(const Value& value) {
    switch (value.type) {
        case KELVO_VALUE_INT4:
        case KELVO_VALUE_INT4_ALT:
            return as_number<std::uint32_t>(value);
        case KELVO_VALUE_INT8:
        case KELVO_VALUE_INT8_ALT:
            return as_number<std::uint64_t>(value);
        case KELVO_VALUE_INT2:
        case KELVO_VALUE_INT2_ALT:
            return as_number<std::uint16_t>(value);
        case kValueText:
            return as_text(value);
        default:
            return as_bytes(value);
    }
}

std::string type_name(std::uint32_t type) {
    switch (type) {
        case KELVO_VALUE_NONE:
            return "none";
        case KELVO_VALUE_INT4:
        case KELVO_VALUE_INT4_ALT:
            return "4-byte integer";
        case KELVO_VALUE_INT8:
        case KELVO_VALUE_INT8_ALT:
            return "8-byte integer";
        case KELVO_VALUE_INT2:
        case KELVO_VALUE_INT2_ALT:
            return "2-byte integer";
        case kValueText:
            return "text";
        case kValueBytes:
            return "bytes";
        default:
            return "type " + std::to_string(type);
    }
}

}  // namespace example
