// SPDX-License-Identifier: Apache-2.0
#include "locks.h"

#include "status.h"

namespace example {
namespace {

constexpr std::size_t kMaxLocks = 10'000;  // clients are not trusted to stop by themselves

}  // namespace

bool Locks::Lock::held_by_others(const Connection& client) const {
    if (writer != nullptr && writer != &client) return true;
    for (const Connection* reader : readers)
        if (reader != &client) return true;
    return false;
}

kelvo_status Locks::lock_for_writing(const Connection& client, const std::string& path) {
    if (!may_write(client, path)) return EXAMPLE_ERR_LOCKED;
    if (locks_.size() >= kMaxLocks) return EXAMPLE_ERR_STORE_FULL;
    locks_[path].writer = &client;
    return 0;
}

kelvo_status Locks::lock_for_reading(const Connection& client, const std::string& path) {
    const auto found = locks_.find(path);
    const Connection* writer = found == locks_.end() ? nullptr : found->second.writer;
    if (writer != nullptr && writer != &client) return EXAMPLE_ERR_LOCKED;
    if (locks_.size() >= kMaxLocks) return EXAMPLE_ERR_STORE_FULL;
    locks_[path].readers.insert(&client);
    return 0;
}

kelvo_status Locks::unlock(const Connection& client, const std::string& path) {
    const auto found = locks_.find(path);
    if (found == locks_.end()) return KELVO_ERR_NOT_FOUND;
    Lock& lock = found->second;
    const bool read = lock.readers.erase(&client) != 0;
    const bool wrote = lock.writer == &client;
    if (wrote) lock.writer = nullptr;
    if (lock.empty()) locks_.erase(found);
    return read || wrote ? 0 : KELVO_ERR_NOT_FOUND;
}

bool Locks::may_write(const Connection& client, const std::string& path) const {
    const auto found = locks_.find(path);
    return found == locks_.end() || !found->second.held_by_others(client);
}

void Locks::forget(const Connection& client) {
    for (auto lock = locks_.begin(); lock != locks_.end();) {
        lock->second.readers.erase(&client);
        if (lock->second.writer == &client) lock->second.writer = nullptr;
        lock = lock->second.empty() ? locks_.erase(lock) : std::next(lock);
    }
}

}  // namespace example
