// SPDX-License-Identifier: Apache-2.0
//
// The operations of a bulk item, as these examples number them. Operation 2 has a place of its own
// in the library's item record.
#pragma once

#include <cstdint>

#include "kelvo_common_msg_bulk.h"

namespace example {

enum : std::uint32_t { kBulkGet = 1, kBulkSet = KELVO_BULK_OPERATION_2, kBulkDelete = 3 };

}  // namespace example
