// SPDX-License-Identifier: Apache-2.0
//
// How notifications and callbacks call a change. The library knows the first and the last: a
// created item has no value before, a removed one none after.
#pragma once

#include <cstdint>

#include "kelvo_common_msg_notify.h"

namespace example {

enum : std::uint32_t {
    kCreated = KELVO_NOTIFY_NO_FIRST_VALUE,
    kChanged = 2,
    kRemoved = KELVO_NOTIFY_NO_SECOND_VALUE
};

}  // namespace example
