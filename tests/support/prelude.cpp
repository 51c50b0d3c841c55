// SPDX-License-Identifier: Apache-2.0
//
// Nothing but what all test programs share: their precompiled header is made with this one.
#include <gtest/gtest.h>
