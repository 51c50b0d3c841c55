// SPDX-License-Identifier: Apache-2.0
//
// Startup lists for tests: as vectors of pairs, and as a plain model of the rules.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "kelvo_common_startup_list.h"
#include "support/sanitizers.h"

#if KELVO_SANITIZES_ADDRESS
#include <sanitizer/lsan_interface.h>
#endif

namespace kelvo::test {

using Pair = std::pair<std::uint32_t, std::uint32_t>;
using Pairs = std::vector<Pair>;

/// The pairs of a list, first entry first.
inline Pairs pairs_of(const kelvo_startup_list* list) {
    Pairs pairs;
    for (; list != nullptr; list = list->next) pairs.emplace_back(list->job_id, list->node_id);
    return pairs;
}

/// The list that holds pairs added in the order given. The caller releases it.
inline kelvo_startup_list* list_of(const Pairs& pairs) {
    kelvo_startup_list* list = nullptr;
    for (const auto& [job, node] : pairs) (void)kelvo_common_startup_list_add(&list, job, node);
    return list;
}

inline bool matches(const Pair& entry, std::uint32_t job, std::uint32_t node) {
    return entry.first == job && (node == KELVO_NODEID_INVALID || entry.second == node);
}

/// Entries made while one of these exists may be left behind: a leak that is meant is not reported.
class LeaksAreMeant {
  public:
    LeaksAreMeant() {
#if KELVO_SANITIZES_ADDRESS
        __lsan_disable();
#endif
    }
    ~LeaksAreMeant() {
#if KELVO_SANITIZES_ADDRESS
        __lsan_enable();
#endif
    }
    LeaksAreMeant(const LeaksAreMeant&) = delete;
    LeaksAreMeant& operator=(const LeaksAreMeant&) = delete;
};

}  // namespace kelvo::test
