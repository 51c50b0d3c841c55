// SPDX-License-Identifier: Apache-2.0
//
// The model of every operation that takes a received buffer.
#pragma once

#include <algorithm>

#include "models/message.h"

namespace kelvo::model {

/// How far an operation reaches, as its header says: no further than so many bytes whatever the
/// length of the message, or so many more than the message. Of messages shorter than `holds_from`
/// nothing is said: what they claim is followed.
struct Reach {
    u64 least;
    u64 beyond;
    u64 holds_from = 0;

    [[nodiscard]] bool holds_for(u64 length) const { return length >= holds_from; }
    [[nodiscard]] u64 of(u64 length) const { return std::max(least, length + beyond); }
};

/// No message is long enough.
inline constexpr u64 kNever = ~u64{0};

struct Model {
    kelvo_msg_operation operation;
    u64 fixed;  ///< bytes of the message's fixed part
    Reach reach;
    std::size_t wide;  ///< choices to make from all values; of an operation with a few, all of them
    u32 (*steps)(Message&, Expected&);
};

[[nodiscard]] const Model& model_of(kelvo_msg_operation operation);

}  // namespace kelvo::model
