// SPDX-License-Identifier: Apache-2.0
//
// Services that are the kernel's own.
#include <unistd.h>

#include "kelvo_platform.h"

int platform_dup(int descriptor) {
    return dup(descriptor);
}

// Of the clocks that count from boot only this one can be read without touching the hardware. It
// stands still while the machine is suspended.
void clock_get_fast_timespec(struct timespec* now) {
    clock_gettime(CLOCK_MONOTONIC_COARSE, now);
}
