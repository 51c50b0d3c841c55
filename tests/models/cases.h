// SPDX-License-Identifier: Apache-2.0
//
// Every case of an operation within bounds: each length up to some way beyond the fixed part, and
// for each length every way in which a model's steps can go.
#pragma once

#include <algorithm>
#include <array>
#include <cstdio>
#include <sstream>
#include <string>

#include "models/models.h"

namespace kelvo::model {

/// One message and what the model says of it.
struct Case {
    const Model& model;
    const Message& message;    ///< as the steps have left it; knows how it was
    const Expected& expected;  ///< not for a case that stops, or reaches beyond the block
    enum End { done, stops, out_of_room } end;

    [[nodiscard]] u64 length() const { return message.len; }
    /// Bytes that the operation needs around the message.
    [[nodiscard]] u64 room() const { return std::max(message.reach(), message.len); }
};

inline std::string hex(const u8* bytes, u64 size) {
    std::string text;
    for (u64 i = 0; i < size; ++i) {
        char byte[8];
        std::snprintf(byte, sizeof byte, i % 8 == 0 ? "\n%02x" : " %02x", bytes[i]);
        text += byte;
    }
    return text;
}

/// A case for people.
inline std::string description(const Case& c) {
    std::ostringstream text;
    text << test::name_of(c.model.operation) << " on a message of " << c.length()
         << " bytes in a block of " << c.room() << hex(c.message.before(), c.room());
    if (c.end == Case::stops) text << "\nis expected to stop the process.";
    if (c.end == Case::out_of_room) text << "\nis expected to reach beyond the block.";
    if (c.end != Case::done) return text.str();
    text << "\nis expected to come to ";
    c.expected.outcome.print(text);
    text << ", " << c.expected.left_behind << " left behind, and to leave"
         << hex(c.message.after(), c.room());
    return text.str();
}

/// Bytes of a message beyond its fixed part that are tried, and those that a block has beyond
/// those.
inline constexpr u64 kTail = 96;
inline constexpr u64 kSlack = 104;

/// What stands where nobody looks: no byte is NUL, no two neighbours are alike.
inline std::array<u8, Message::kRoom> background() {
    std::array<u8, Message::kRoom> bytes;
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<u8>(0x21 + i * 11 % 89);
    return bytes;
}

/// Shows each case to `visit(const Case&)` until it says false; `fewer` is the number of choices
/// that are not made from all values although the model says so. @return the number of cases
template <class Visit>
u64 for_each_case(const Model& model, std::size_t fewer, Visit visit) {
    const Grid grid = {model.wide - fewer, 3 - fewer};
    static const std::array<u8, Message::kRoom> kBytes = background();
    u64 cases = 0;
    Expected expected;
    for (u64 length = 0; length <= model.fixed + kTail; ++length) {
        const u64 room = std::max(length, model.reach.least) + kSlack;
        Choices choices(grid);
        do {
            Message message(kBytes.data(), room, length, &choices);
            expected.outcome.outputs.clear();
            expected.outcome.text.clear();
            expected.left_behind = 0;
            Case::End end = Case::done;
            try {
                expected.outcome.status = model.steps(message, expected);
            } catch (const Stops&) {
                end = Case::stops;
            } catch (const OutOfRoom&) {
                end = Case::out_of_room;
            }
            ++cases;
            if (!visit(Case{model, message, expected, end})) return cases;
        } while (choices.another());
    }
    return cases;
}

}  // namespace kelvo::model
