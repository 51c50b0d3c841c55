// SPDX-License-Identifier: Apache-2.0
//
// The builder of startup lists and its set of pairs: a row of few, then open addressing with linear
// probing, at most half full. The hash is salted, so that nobody can choose pairs that meet in one
// place.
#include <sys/random.h>

#include <algorithm>
#include <bit>

#include "kelvo_common_structs_startup_list.h"

using namespace kelvo;

bool PairSet::few_match(u32 job_id, u32 node_id) const {
    for (std::size_t i = 0; i < few_used_; ++i) {
        const kelvo_startup_pair& pair = few_[i];
        if (pair.job_id != job_id) continue;
        if (node_id == KELVO_NODEID_INVALID || pair.node_id == node_id) return true;
    }
    return false;
}

bool PairSet::matches(u32 job_id, u32 node_id) const {
    return slots_ == nullptr ? few_match(job_id, node_id) : holds(key(job_id, node_id));
}

bool PairSet::reserve() {
    return slots_ != nullptr || few_used_ < kFew || make_slots();
}

void PairSet::add(u32 job_id, u32 node_id) {
    if (slots_ == nullptr) {
        few_[few_used_++] = {job_id, node_id};
    } else {
        put_pair(job_id, node_id);
    }
}

/// The slots, and in them the pairs that there are: two keys for a pair, in at most half of them.
bool PairSet::make_slots() {
    const std::size_t capacity = std::bit_ceil(std::max<u64>(most_, kFew + 1) * 4);
    slots_ = static_cast<u64*>(std::calloc(capacity, sizeof(u64)));
    if (slots_ == nullptr) return false;
    capacity_ = capacity;
    // Without entropy the salt stays 0, and only the protection against chosen pairs is lost.
    (void)!getrandom(salt_, sizeof salt_, GRND_NONBLOCK);
    for (const kelvo_startup_pair& pair : few_) put_pair(pair.job_id, pair.node_id);
    return true;
}

void PairSet::put_pair(u32 job_id, u32 node_id) {
    put(key(job_id, node_id));
    put(key(job_id, KELVO_NODEID_INVALID));
}

/// Where a key stands, or the free slot where it would.
std::size_t PairSet::slot_of(u64 key) const {
    u64 hash = (key ^ salt_[0]) * (salt_[1] | 1);
    hash = (hash ^ hash >> 32) * (salt_[0] | 1);
    std::size_t slot = static_cast<std::size_t>(hash >> 32) & (capacity_ - 1);
    while (slots_[slot] != 0 && slots_[slot] != key) slot = (slot + 1) & (capacity_ - 1);
    return slot;
}

bool PairSet::holds(u64 key) const {
    return key == 0 ? holds_zero_ : slots_[slot_of(key)] != 0;
}

void PairSet::put(u64 key) {
    if (key == 0) {
        holds_zero_ = true;
    } else {
        slots_[slot_of(key)] = key;
    }
}

kelvo_status StartupListBuilder::add(u32 job_id, u32 node_id) {
    if (pairs_.matches(job_id, node_id)) return KELVO_ERR_ALREADY_EXISTS;
    if (!pairs_.reserve()) return KELVO_ERR_NO_MEMORY;
    if (const kelvo_status st = startup_list_link(&list_, job_id, node_id)) return st;
    pairs_.add(job_id, node_id);
    return 0;
}

void StartupListBuilder::discard() {
    if (list_ != nullptr) kelvo_common_startup_list_free(&list_);
}
