// SPDX-License-Identifier: Apache-2.0
//
// Conversion of arrays of words, of which a message may have millions.
#pragma once

#include "kelvo_bytes.h"

namespace kelvo {

/// Converts `count` adjacent words between host and network order, in place, at any address.
void convert_array(void* first, u64 count) noexcept;

}  // namespace kelvo
