// SPDX-License-Identifier: Apache-2.0
//
// Building a startup list from many pairs. Adding to a list walks it, which is right for the few
// processes that a registration names; but a hostile message may name a million. The builder gives
// each pair the answer of kelvo_common_startup_list_add() and makes the same list, but keeps the
// pairs in a set beside it, and the time for a pair stays constant.
#pragma once

#include <cstddef>
#include <cstdlib>

#include "kelvo_bytes.h"
#include "kelvo_common_startup_list.h"

namespace kelvo {

/// Allocates an entry and makes it the first, without looking for a match.
[[nodiscard]] kelvo_status startup_list_link(kelvo_startup_list** list, u32 job_id, u32 node_id);

/// What a list of pairs answers to the match rule. While the pairs are few they stand in a row, to
/// be looked through. After that they are a hash set that holds each pair (job, node) and, for each
/// job, the pair (job, any): a query for any node then is a lookup like every other. The slots for
/// them are made once, for as many pairs as there can be.
class PairSet {
  public:
    /// A set of at most so many pairs.
    explicit PairSet(u64 most) : most_(most) {}
    ~PairSet() { std::free(slots_); }
    PairSet(const PairSet&) = delete;
    PairSet& operator=(const PairSet&) = delete;

    [[nodiscard]] bool matches(u32 job_id, u32 node_id) const;
    /// Makes room for one more pair. @return false when there is no memory
    [[nodiscard]] bool reserve();
    /// Adds a pair for which there is room.
    void add(u32 job_id, u32 node_id);

  private:
    static constexpr std::size_t kFew = 32;  ///< so many are found as fast without a hash
    static u64 key(u32 job_id, u32 node_id) { return u64{job_id} << 32 | node_id; }

    [[nodiscard]] bool few_match(u32 job_id, u32 node_id) const;
    [[nodiscard]] std::size_t slot_of(u64 key) const;
    [[nodiscard]] bool holds(u64 key) const;
    [[nodiscard]] bool make_slots();
    void put(u64 key);
    void put_pair(u32 job_id, u32 node_id);

    u64 most_;
    kelvo_startup_pair few_[kFew];
    std::size_t few_used_ = 0;
    u64* slots_ = nullptr;  ///< keys at the first free slot from their hash on; 0 is a free slot
    std::size_t capacity_ = 0;  ///< number of slots, a power of two
    bool holds_zero_ = false;   ///< the key 0, which cannot stand in a slot
    u64 salt_[2] = {};          ///< unknown to whoever chooses the pairs
};

class StartupListBuilder {
  public:
    /// A list of at most so many pairs.
    explicit StartupListBuilder(u64 most) : pairs_(most) {}

    /// As kelvo_common_startup_list_add() on the list so far.
    [[nodiscard]] kelvo_status add(u32 job_id, u32 node_id);

    /// The list so far. It is the caller's; the builder releases it only when told to discard it.
    [[nodiscard]] kelvo_startup_list* list() const { return list_; }

    /// Releases the list.
    void discard();

  private:
    kelvo_startup_list* list_ = nullptr;
    PairSet pairs_;
};

}  // namespace kelvo
