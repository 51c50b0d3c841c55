// SPDX-License-Identifier: Apache-2.0
//
// Lookups from many threads at once, for the thread sanitizer.
#include <atomic>
#include <cstdlib>
#include <thread>

#include "support/resolver_fixture.h"

namespace {

using namespace kelvo::test;

using ResolverThreads = Resolver;

/// Everything that keeps something: the answer about one node, the thread's connection and texts.
bool looks_up_well() {
    char* channel = nullptr;
    const bool found =
        look_up("cfg/gl/x") == owner(kSharedSc) && look_up("cfg/node/act/10") == owner(kLocal) &&
        look_up("cfg/node/act/20") == refused(KELVO_ERR_REMOTE_LOCAL_BIND) &&
        look_up("cfg/if/act/Gi0") == owner(kLocal) && look_up("foo/x") == owner(kSharedNc) &&
        kelvo_nr_lookup_chan("ipc/local", 0, &channel, nullptr, nullptr) == 0;
    std::free(channel);
    return found;
}

TEST_F(ResolverThreads, LookUpWithoutALock) {
    ASSERT_EQ(start_as("kelvo_mc"), 0U);
    std::atomic<int> failures = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&failures] {
            for (int round = 0; round < 200; ++round) failures += looks_up_well() ? 0 : 1;
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failures, 0);
}

}  // namespace
