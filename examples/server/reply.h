// SPDX-License-Identifier: Apache-2.0
//
// What a handler answers: a whole message but for its frame, which is written when it is sent.
#pragma once

#include "frame.h"
#include "layout.h"
#include "value.h"

namespace example {

struct Reply {
    Kind kind;
    std::vector<std::uint8_t> message;
    /// The name of its layout, which nothing in its bytes tells; for captures.
    const char* layout;
};

/// A status, laid out as an item-get reply without a value.
Reply result(kelvo_status status);

/// An item-get reply that carries a value.
Reply result(const Value& value);

/// The status of a result; 0 for any other reply.
kelvo_status status_of(const Reply& reply);

}  // namespace example
