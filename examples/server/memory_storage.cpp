// SPDX-License-Identifier: Apache-2.0
//
// The store in memory: an ordered map whose order is the library's.
#include <map>
#include <new>

#include "kelvo_util_compare.h"
#include "storage.h"

namespace example {
namespace {

// Clients are not trusted to stop by themselves.
constexpr std::size_t kMaxBytes = 64u << 20;

struct PathOrder {
    bool operator()(const std::string& a, const std::string& b) const {
        std::int32_t order = 0;
        if (kelvo_util_compare_paths(a.c_str(), b.c_str(), &order) != 0) throw std::bad_alloc();
        return order < 0;
    }
};

class MemoryStorage final : public Storage {
  public:
    const Value* get(const std::string& path) const override {
        const auto found = items_.find(path);
        return found == items_.end() ? nullptr : &found->second;
    }

    bool put(const std::string& path, Value value) override {
        const Value* old = get(path);
        const std::size_t others = bytes_ - (old ? size_of(path, *old) : 0);
        const std::size_t size = size_of(path, value);
        if (others + size > kMaxBytes) return false;
        bytes_ = others + size;
        items_.insert_or_assign(path, std::move(value));
        return true;
    }

    void remove(const std::string& path) override {
        const auto found = items_.find(path);
        if (found == items_.end()) return;
        bytes_ -= size_of(path, found->second);
        items_.erase(found);
    }

    void range(const std::string& from, const Visitor& visit) const override {
        for (auto item = items_.lower_bound(from); item != items_.end(); ++item)
            if (!visit(item->first, item->second)) return;
    }

    void commit() override {}  // memory is as durable as it gets

  private:
    static std::size_t size_of(const std::string& path, const Value& value) {
        return path.size() + value.bytes.size() + 128;  // the map's own share, roughly
    }

    std::map<std::string, Value, PathOrder> items_;
    std::size_t bytes_ = 0;
};

}  // namespace

std::unique_ptr<Storage> make_memory_storage() {
    return std::make_unique<MemoryStorage>();
}

}  // namespace example
