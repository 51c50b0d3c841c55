// SPDX-License-Identifier: Apache-2.0
#include "memory.h"

#include <malloc.h>

#include <fstream>

namespace {

std::uint64_t status_bytes(const std::string& key) {
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word) {
        std::uint64_t kib = 0;
        if (word == key && status >> kib) return kib * 1024;
    }
    return 0;
}

}  // namespace

std::uint64_t kelvo::bench::peak(const std::function<void()>& work) {
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << 5;  // the peak is what is there now
    const std::uint64_t before = status_bytes("VmRSS:");
    work();
    return status_bytes("VmHWM:") - before;
}
