// SPDX-License-Identifier: Apache-2.0
//
// An allocator that fails when it is told to. Linking this object into a test program defines
// malloc(), calloc(), realloc(), strdup() and free() there, for the library too. Only calls of the
// thread that armed it count. Armed or not, new memory is full of what nobody expects, and a block
// that was written behind its end stops the program when it is released.
#pragma once

#include <cstddef>
#include <vector>

namespace kelvo::test {

/// While one of these exists, this thread's allocations are counted, and those asked for fail. One
/// made within the life of another takes its place meanwhile; of what it counts, the other takes
/// over the blocks that are not freed.
class FailingMemory {
  public:
    static constexpr std::size_t kNever = static_cast<std::size_t>(-1);

    /// Counts only.
    FailingMemory() : FailingMemory(kNever, kNever) {}

    /// The allocations from number `first` on fail, `count` of them (counted from 0).
    explicit FailingMemory(std::size_t first, std::size_t count = 1);
    ~FailingMemory();
    FailingMemory(const FailingMemory&) = delete;
    FailingMemory& operator=(const FailingMemory&) = delete;

    /// While one of these exists, the thread's allocations neither count nor fail: for what a
    /// test's own machinery allocates meanwhile.
    class Pause {
      public:
        Pause();
        ~Pause();
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;

      private:
        bool was_armed_;
    };

    /// Allocations asked for so far, the failed ones included.
    [[nodiscard]] static std::size_t allocations();
    /// Blocks allocated and not yet freed since construction.
    [[nodiscard]] static long outstanding();
    /// Bytes asked for so far.
    [[nodiscard]] static std::size_t bytes();
    /// A call of the allocator: where it returns to, and the bytes that it asked for.
    struct Request {
        const void* caller;
        std::size_t size;
    };
    /// The calls so far, the first few hundred of them.
    [[nodiscard]] static std::vector<Request> requests();

    struct State {
        bool armed;
        std::size_t first;
        std::size_t count;
        std::size_t allocations;
        std::size_t bytes;
        long outstanding;
    };

  private:
    State before_;
};

}  // namespace kelvo::test
