// SPDX-License-Identifier: Apache-2.0
//
// A decoded message for eyes: as a list of its fields, or byte by byte.
#pragma once

#include <string>

#include "message.h"
#include "output.h"

namespace kelvo::tool {

/// Names, values and what is wrong; fields of zero bytes are left out.
void show_fields(Output& out, const codec::Description& description, const codec::Decoded& decoded);

/// Offset, bytes, field and value, line by line.
void show_annotated(Output& out, const codec::Description& description,
                    const codec::Decoded& decoded);

}  // namespace kelvo::tool
