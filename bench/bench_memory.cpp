// SPDX-License-Identifier: Apache-2.0
//
// How the C library's memory itself grows: what an operation that has to take memory for its input
// stands upon. A large block comes from the system and goes back there, page by page; many small
// ones leave the processor's caches.
#include <cstdlib>
#include <cstring>
#include <vector>

#include "row.h"

using namespace kelvo::bench;

namespace {

/// Two copies, held together and released.
struct Copies {
    explicit Copies(std::size_t bytes) : from(bytes, 'x') {}
    std::vector<char> from;
    bool held = false;
    [[nodiscard]] char* copy() const {
        auto* const block = static_cast<char*>(std::malloc(from.size()));
        std::memcpy(block, from.data(), from.size());
        return block;
    }
    void run() {
        char* const one = copy();
        char* const other = copy();
        held = one[from.size() - 1] == 'x' && other[0] == 'x';
        std::free(one);
        std::free(other);
    }
    [[nodiscard]] bool right() const { return held; }
};

/// A table of so many blocks of a small record's size, made and taken down.
struct Table {
    explicit Table(std::size_t size) : count(size) {}
    static constexpr std::size_t kBytes = 24;
    std::size_t count;
    std::size_t held = 0;
    void run() {
        std::vector<char*> blocks(count);
        for (char*& block : blocks) {
            block = static_cast<char*>(std::malloc(kBytes));
            std::memset(block, 'x', kBytes);
        }
        held = 0;
        for (char* const block : blocks) {
            held += block[0] == 'x' ? 1 : 0;
            std::free(block);
        }
    }
    [[nodiscard]] bool right() const { return held == count; }
};

const Growth kCopies("memory_copies", "memory alone: two copies made and released", "bytes",
                     &time_growth<Copies>, {10, 1000, 100'000, 1'000'000, 10'000'000});
const Growth kTable("memory_table",
                    "memory alone: a table of blocks of 24 bytes made and taken down", "blocks",
                    &time_growth<Table>);

}  // namespace
