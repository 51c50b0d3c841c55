// SPDX-License-Identifier: Apache-2.0
//
// What becomes of items: as it is asked for, and as it came about.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "change_kinds.h"
#include "value.h"

namespace example {

/// One item gets a value, or none: then it is removed.
struct Change {
    std::string path;
    std::optional<Value> value;
};
using Changes = std::vector<Change>;

/// An item before and after; none where it did not exist.
struct Effect {
    std::string path;
    std::optional<Value> before, after;
};
using Effects = std::vector<Effect>;

/// True for a value that the store can hand out again. An integer must be as long as its type says.
/// A serialised record would have to be trusted when it is compared: its header says where its
/// payload begins.
inline bool storable(const Value& value) {
    return value.type != KELVO_VALUE_RECORD && value.bytes.size() >= integer_width(value.type);
}

inline std::uint32_t kind_of(const Effect& effect) {
    return !effect.before ? kCreated : !effect.after ? kRemoved : kChanged;
}

/// The value type that both values of an entry share.
inline std::uint32_t type_of(const Effect& effect) {
    return effect.after ? effect.after->type : effect.before ? effect.before->type : 0;
}

}  // namespace example
