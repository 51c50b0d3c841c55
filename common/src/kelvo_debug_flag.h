// SPDX-License-Identifier: Apache-2.0
//
// Whether a debug flag is on. The platform switches flags at any time and from any thread, and
// nobody takes a lock for it.
#pragma once

#include "kelvo_debug.h"

namespace kelvo {

[[nodiscard]] inline bool debug_is_on(unsigned flag) noexcept {
    return __atomic_load_n(&kelvo_cmn_debug_flags[flag].enabled, __ATOMIC_RELAXED) != 0;
}

}  // namespace kelvo
