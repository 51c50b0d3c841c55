// SPDX-License-Identifier: Apache-2.0
//
// A table of two debug flags like the library's own, for tests of the registry.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "kelvo_platform_host.h"

namespace kelvo::test {

inline constexpr char kDebugPath[] = "/debug/kelvo/common/";

inline bool is_on(const platform_debug_context& flag) {
    return __atomic_load_n(&flag.enabled, __ATOMIC_RELAXED) != 0;
}

/// The flags, in a table that withdraws itself.
struct DebugTable {
    platform_debug_context flags[2];
    const char* path;

    explicit DebugTable(const char* under = kDebugPath) : path(under) {
        std::memset(flags, 0xA5, sizeof flags);  // whatever memory holds
        init(0, "node-resolver");
        init(1, "node-resolver/dfa");
    }
    ~DebugTable() {
        if (flags[0].path != nullptr) platform_debug_cleanup(path);
    }
    void init(uint32_t index, const char* name) {
        EXPECT_EQ(platform_debug_init_event(&flags[index], flags, index, 6, name, 1), 0U);
    }
    kelvo_status add() { return platform_debug_register(flags, path); }
    [[nodiscard]] std::string states() const {
        return std::string(is_on(flags[0]) ? "1" : "0") + (is_on(flags[1]) ? "1" : "0");
    }
};

}  // namespace kelvo::test
