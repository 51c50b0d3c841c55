// SPDX-License-Identifier: Apache-2.0
//
// The model of every operation that takes a received buffer.
#pragma once

#include "models/message.h"

namespace kelvo::model {

/// How far an operation may reach, as its header says: so many bytes whatever the length of the
/// message, and so many more than the message.
struct Reach {
    u64 least;
    u64 beyond;
};

/// The reach of an operation that follows what the message claims.
inline constexpr u64 kAsClaimed = ~u64{0};

struct Model {
    kelvo_msg_operation operation;
    u64 fixed;  ///< bytes of the message's fixed part
    Reach reach;
    std::size_t wide;  ///< choices to make from all values; of an operation with a few, all of them
    u32 (*steps)(Message&, Expected&);
};

[[nodiscard]] const Model& model_of(kelvo_msg_operation operation);

}  // namespace kelvo::model
