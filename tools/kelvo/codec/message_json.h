// SPDX-License-Identifier: Apache-2.0
//
// A message as JSON, and back.
//
// A piece is written as plainly as it can be: a word as a number, a counted string as a text, an
// integer value as a number. A piece with something unusual about it is an object that says what:
//
//     {"value": 1, "fill": "deadbeef"}                  a cell whose second half is not zero
//     {"length": 9, "text": "cfg", "fill": "01000000"}  a string that lies about its length, ...
//     {"hex": "000102"}, {"text": "abc"}                a value, or a text that is none
//
// cell_fill, fill and length are computed where they do not stand, and so are counts and
// lengths in fields of their own. What was not described, or not reached, stands under "rest" as
// hexadecimal digits. A message with a "rest" is taken to the letter: what does not stand there is
// not added.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "message.h"

namespace kelvo::codec {

using Json = nlohmann::ordered_json;

[[nodiscard]] Json to_json(const Description& description, const Decoded& decoded);

/// The bytes that a JSON object stands for. Throws std::runtime_error that says where it is wrong.
[[nodiscard]] std::vector<std::uint8_t> from_json(const Description& description, const Json& json);

/// The message that a JSON object names.
[[nodiscard]] const Message& message_of(const Description& description, const Json& json);

/// Whether content is UTF-8 without control characters, but for a NUL at its end.
[[nodiscard]] bool is_readable(Bytes content);
/// Whether content is UTF-8 that ends in its only NUL.
[[nodiscard]] bool is_plain_text(Bytes content);

[[nodiscard]] std::string to_hex(Bytes bytes);

}  // namespace kelvo::codec
