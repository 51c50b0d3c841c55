// SPDX-License-Identifier: Apache-2.0
//
// Bounded text copies.
#include <cstring>

#include "kelvo_platform.h"

char* buf_strncpy(char* destination, const char* source, size_t size) {
    const size_t length = strnlen(source, size - 1);
    std::memcpy(destination, source, length);
    destination[length] = '\0';
    return destination;
}
