// SPDX-License-Identifier: Apache-2.0
//
// Values under stable numbers, against the few lines that a program writes over a std::vector: with
// copies of the values, as the library keeps them, and with the values in the table itself.
#include <cstdlib>
#include <cstring>

#include "inputs.h"
#include "kelvo_vector.h"
#include "row.h"

using namespace kelvo::bench;

namespace {

constexpr std::size_t kCount = 1000;

/// What is kept: the size of a small record.
struct Value {
    std::uint32_t words[6];
};

Value value_of(std::uint32_t number) {
    return {{number, number + 1, number + 2, 3, 4, 5}};
}

class Vector {
  public:
    Vector() { (void)vector_init(2, &vector_); }
    ~Vector() { (void)vector_shutdown(vector_); }
    Vector(const Vector&) = delete;
    Vector& operator=(const Vector&) = delete;

    std::uint32_t insert(const Value& value) {
        std::uint32_t index = 0;
        (void)vector_insert(vector_, &value, sizeof value, &index);
        return index;
    }
    void erase(std::uint32_t index) { (void)vector_delete(vector_, index); }
    [[nodiscard]] const void* find(std::uint32_t index) const {
        void* value = nullptr;
        std::uint32_t size = 0;
        return vector_find(vector_, index, &value, &size) == 0 ? value : nullptr;
    }

  private:
    kelvo_vector* vector_ = nullptr;
};

/// Values in a std::vector, each erased index used again first.
template <class Holder>
class Slots {
  public:
    std::uint32_t insert(const Value& value) {
        if (free_.empty()) {
            slots_.emplace_back(value);
            return static_cast<std::uint32_t>(slots_.size() - 1);
        }
        const std::uint32_t index = free_.back();
        free_.pop_back();
        slots_[index] = Holder(value);
        return index;
    }
    void erase(std::uint32_t index) {
        slots_[index] = Holder();
        free_.push_back(index);
    }
    [[nodiscard]] const void* find(std::uint32_t index) const { return slots_[index].get(); }

  private:
    std::vector<Holder> slots_;
    std::vector<std::uint32_t> free_;
};

/// A copy of a value of any size, as the library keeps it.
class Copy {
  public:
    Copy() = default;
    explicit Copy(const Value& value) : copy_(std::malloc(sizeof value)), size_(sizeof value) {
        std::memcpy(copy_, &value, sizeof value);
    }
    Copy(Copy&& other) noexcept : copy_(other.copy_), size_(other.size_) { other.copy_ = nullptr; }
    Copy& operator=(Copy&& other) noexcept {
        std::swap(copy_, other.copy_);
        std::swap(size_, other.size_);
        return *this;
    }
    ~Copy() { std::free(copy_); }
    [[nodiscard]] const void* get() const { return copy_; }

  private:
    void* copy_ = nullptr;
    std::uint32_t size_ = 0;
};

/// Copies behind a function, which a value reaches through memory: as a library has to do it.
class CopiesCalled {
  public:
    [[gnu::noinline]] std::uint32_t insert(const Value& value) { return slots_.insert(value); }
    [[gnu::noinline]] void erase(std::uint32_t index) { slots_.erase(index); }
    [[nodiscard]] const void* find(std::uint32_t index) const { return slots_.find(index); }

  private:
    Slots<Copy> slots_;
};

class Inline {
  public:
    Inline() = default;
    explicit Inline(const Value& value) : value_(value), used_(true) {}
    [[nodiscard]] const void* get() const { return used_ ? &value_ : nullptr; }

  private:
    Value value_{};
    bool used_ = false;
};

template <class Table>
bool holds(const Table& table, std::uint32_t index, std::uint32_t number) {
    const Value value = value_of(number);
    const void* const kept = table.find(index);
    return kept != nullptr && std::memcmp(kept, &value, sizeof value) == 0;
}

/// Fills a table and takes it down again.
template <class Table>
struct Insert {
    explicit Insert(std::size_t size = kCount) : count(static_cast<std::uint32_t>(size)) {}
    std::uint32_t count;
    bool held = false;
    void run() {
        Table table;
        std::uint32_t index = 0;
        for (std::uint32_t i = 0; i < count; ++i) index = table.insert(value_of(i));
        held = index == count - 1 && holds(table, index, count - 1) && holds(table, 0, 0);
    }
    [[nodiscard]] bool right() const { return held; }
};

/// Erases a value somewhere and inserts another, in a table that stays as full as it is.
template <class Table>
struct Churn {
    explicit Churn(std::size_t size = kCount) : victims(kCount) {
        for (std::uint32_t i = 0; i < size; ++i) (void)table.insert(value_of(i));
        std::mt19937 numbers = random_numbers();
        for (std::uint32_t& victim : victims) {
            victim = static_cast<std::uint32_t>(numbers() % size);
        }
    }
    Table table;
    std::vector<std::uint32_t> victims;
    std::uint32_t number = 0;
    std::uint32_t last = 0;
    void run() {
        for (const std::uint32_t victim : victims) {
            table.erase(victim);
            last = table.insert(value_of(++number));
        }
    }
    [[nodiscard]] bool right() const {
        return last == victims.back() && holds(table, last, number);
    }
};

const Row kInsertRow({"vector_insert", "vector: fill and take down", kCount, {1.1, 4.4}},
                     {library<Insert<Vector>>(),
                      floor<Insert<Slots<Inline>>>("std::vector of values"),
                      other<Insert<Slots<Copy>>>("std::vector of copies")});
const Row kChurnRow(
    {"vector_churn", "vector: delete a value and insert another", kCount, {1.15, 3.4}},
    {library<Churn<Vector>>(), floor<Churn<Slots<Inline>>>("std::vector of values"),
     other<Churn<Slots<Copy>>>("std::vector of copies"),
     shown<Churn<CopiesCalled>>("std::vector of copies, in a function")});
const Growth kInsertGrowth("vector_insert", "vector: fill with so many and take down", "values",
                           &time_growth<Insert<Vector>>);
const Growth kChurnAmong("vector_churn", "vector: delete and insert 1,000 among so many", "values",
                         &time_growth<Churn<Vector>>);

}  // namespace
