// SPDX-License-Identifier: Apache-2.0
//
// Vector, stack, hash table and integer store, each beside a model of the plainest kind. An input
// is the container, its size, then one operation after another.
#include <array>
#include <bitset>
#include <map>
#include <vector>

#include "fuzz/fuzz.h"
#include "kelvo_hash_table.h"
#include "kelvo_intgr_store.h"
#include "kelvo_stack.h"
#include "kelvo_vector.h"

using namespace kelvo::fuzz;

namespace {

/// A value that tells its number at its first and its last byte.
struct Value {
    std::uint8_t number;
    std::uint8_t size;

    [[nodiscard]] bool is_at(const void* at) const {
        const auto* const bytes = static_cast<const std::uint8_t*>(at);
        return size == 0 || (bytes[0] == number && bytes[size - 1] == number);
    }
    [[nodiscard]] std::array<std::uint8_t, 32> bytes() const {
        std::array<std::uint8_t, 32> bytes{};
        bytes[0] = number;
        if (size != 0) bytes[size - 1] = number;
        return bytes;
    }
};

// --- vector -------------------------------------------------------------------------------------

constexpr std::uint32_t kMostValues = 64;

struct VectorModel {
    std::array<Value, kMostValues> values{};  // a size of 0: no value
    std::uint32_t used = 0;
};

/// What must hold of the fields after every operation.
void check_fields(const kelvo_vector* vector, const VectorModel& model) {
    KELVO_HOLDS(vector->capacity >= 2 && (vector->capacity & (vector->capacity - 1)) == 0);
    KELVO_HOLDS(vector->capacity >= vector->minimum_capacity);
    KELVO_HOLDS(vector->high_water <= vector->capacity);
    KELVO_HOLDS(vector->used_count == model.used);
}

/// The free list holds exactly the slots below the mark that hold no value.
void check_free_list(const kelvo_vector* vector, const VectorModel& model) {
    std::bitset<kMostValues> seen;
    for (auto at = vector->free_head; at != KELVO_VECTOR_NONE; at = vector->slots[at].next_free) {
        KELVO_HOLDS(at < vector->high_water && !seen[at]);
        KELVO_HOLDS(vector->slots[at].state == KELVO_VECTOR_SLOT_FREE);
        KELVO_HOLDS(model.values[at].size == 0);
        seen[at] = true;
    }
    KELVO_HOLDS(model.used + seen.count() == vector->high_water);
}

/// All values, in the order of their indices.
void check_iteration(const kelvo_vector* vector, const VectorModel& model) {
    std::uint32_t index = KELVO_VECTOR_NONE;
    std::uint32_t next = 0;
    for (;;) {
        void* value;
        std::uint32_t size;
        std::uint32_t end;
        KELVO_HOLDS(vector_get_next_value(vector, &index, &value, &size, &end) == 0);
        while (next < kMostValues && model.values[next].size == 0) ++next;
        if (end != 0) break;
        const Value& expected = model.values[next];
        KELVO_HOLDS(index == next && size == expected.size && expected.is_at(value));
        ++next;
    }
    KELVO_HOLDS(next == kMostValues && index == vector->high_water);
}

void insert(kelvo_vector* vector, VectorModel& model, Value value) {
    const std::uint32_t expected =
        vector->free_head != KELVO_VECTOR_NONE ? vector->free_head : vector->high_water;
    if (expected == kMostValues) return;
    std::uint32_t index;
    const kelvo_status status = vector_insert(vector, value.bytes().data(), value.size, &index);
    KELVO_HOLDS(status == (value.size == 0 ? KELVO_ERR_NULL_PARAM : 0));
    if (status != 0) return;
    KELVO_HOLDS(index == expected && model.values[index].size == 0);
    model.values[index] = value;
    ++model.used;
}

void erase(kelvo_vector* vector, VectorModel& model, std::uint8_t index) {
    const bool is_there = model.values[index].size != 0;
    KELVO_HOLDS(vector_delete(vector, index) == (is_there ? 0 : KELVO_ERR_NULL_PARAM));
    model.values[index].size = 0;
    if (is_there) --model.used;
}

void find(const kelvo_vector* vector, const VectorModel& model, std::uint8_t index) {
    void* value;
    std::uint32_t size;
    const Value& expected = model.values[index];
    const bool is_there = expected.size != 0;
    KELVO_HOLDS(vector_find(vector, index, &value, &size) == (is_there ? 0 : KELVO_ERR_NULL_PARAM));
    if (is_there) KELVO_HOLDS(size == expected.size && expected.is_at(value));
}

void vector_of(Input in) {
    kelvo_vector* vector = nullptr;
    const std::uint32_t expected = in.byte() % 20 + 1;
    KELVO_HOLDS(vector_init(expected, &vector) == 0);
    VectorModel model;
    std::uint8_t number = 0;
    while (!in.is_empty()) {
        const std::uint8_t operation = in.byte();
        switch (operation % 4) {
            case 0:
            case 1:
                insert(vector, model, {++number, static_cast<std::uint8_t>(operation / 8)});
                break;
            case 2:
                erase(vector, model, in.byte() % kMostValues);
                break;
            default:
                find(vector, model, in.byte() % kMostValues);
                break;
        }
        check_fields(vector, model);
    }
    check_free_list(vector, model);
    check_iteration(vector, model);
    KELVO_HOLDS(vector_shutdown(vector) == 0);
}

// --- stack --------------------------------------------------------------------------------------

void push(kelvo_stack* stack, std::vector<Value>& model, Value value) {
    KELVO_HOLDS(stack_push(stack, value.bytes().data(), value.size) == 0);
    model.push_back(value);
}

void pop(kelvo_stack* stack, std::vector<Value>& model) {
    void* value;
    std::uint64_t size;
    const kelvo_status status = stack_pop(stack, &value, &size);
    KELVO_HOLDS(status == (model.empty() ? KELVO_ERR_STACK_EMPTY_POP : 0));
    if (status != 0) return;
    KELVO_HOLDS(size == model.back().size && model.back().is_at(value));
    model.pop_back();
    std::free(value);
}

void check_top(const kelvo_stack* stack, const std::vector<Value>& model) {
    void* value;
    std::uint64_t size;
    const kelvo_status status = stack_peek(stack, &value, &size);
    KELVO_HOLDS(status == (model.empty() ? KELVO_ERR_STACK_EMPTY_PEEK : 0));
    if (status == 0) KELVO_HOLDS(size == model.back().size && model.back().is_at(value));
    std::uint32_t is_empty;
    KELVO_HOLDS(stack_is_empty(stack, &is_empty) == 0 && (is_empty != 0) == model.empty());
    KELVO_HOLDS(stack->depth == model.size());
}

void stack_of(Input in) {
    static std::vector<Value> model;
    model.clear();
    kelvo_stack* stack = nullptr;
    const std::uint8_t argument = in.byte();
    KELVO_HOLDS(stack_init(argument, &stack) == 0 && stack->argument == argument);
    while (!in.is_empty()) {
        const std::uint8_t operation = in.byte();
        if (operation % 2 == 0) {
            push(stack, model, {in.byte(), static_cast<std::uint8_t>(operation / 8)});
        } else {
            pop(stack, model);
        }
        check_top(stack, model);
    }
    KELVO_HOLDS(stack_shutdown(stack) == 0);
}

// --- hash table ---------------------------------------------------------------------------------

/// Releases a table, which lives as long as its process; this one ends with its input.
void release(kelvo_util_hash_tbl* table) {
    for (std::uint32_t i = 0; i < table->count; ++i) {
        std::free(table->buckets[i].key);
        for (auto* at = table->buckets[i].next; at != nullptr;) {
            auto* const next = at->next;
            std::free(at->key);
            std::free(at);
            at = next;
        }
    }
    std::free(table->buckets);
    std::free(table);
}

void hash_table_of(Input in) {
    static Block<16> block;
    static std::vector<std::string_view> model;  // the texts lie in the input
    model.clear();
    kelvo_util_hash_tbl* table = nullptr;
    KELVO_HOLDS(kelvo_util_hash_tbl_init(in.byte() % 8 + 1, &table) == 0);
    while (!in.is_empty()) {
        const std::uint8_t operation = in.byte();
        std::string_view text = in.bytes(operation / 2 % 8);
        text = text.substr(0, std::min(text.find('\0'), text.size()));
        const char* const key = block.hold_text(text);
        if (operation % 2 == 0) {
            KELVO_HOLDS(kelvo_util_hash_tbl_insert(table, key) == 0);
            model.push_back(text);
        }
        const bool is_there = std::find(model.begin(), model.end(), text) != model.end();
        KELVO_HOLDS(kelvo_util_hash_tbl_lookup(table, key) == (is_there ? 0 : KELVO_ERR_NOT_FOUND));
    }
    release(table);
}

// --- integer store ------------------------------------------------------------------------------

/// One of a few keys at both ends of the numbers, so that keys meet.
std::uint32_t key_of(std::uint8_t byte) {
    return byte < 128 ? byte : std::uint32_t{0xFFFFFFFF} - (255U - byte);
}

void store_of(Input in) {
    static std::array<void*, 256> model;
    static std::array<bool, 256> is_there;
    static char values[256];
    is_there.fill(false);
    ordered_tree_node* root = nullptr;
    while (!in.is_empty()) {
        const std::uint8_t operation = in.byte();
        const std::uint8_t number = in.byte();
        const std::uint32_t key = key_of(number);
        void* value = nullptr;
        if (operation % 4 < 2) {
            kelvo_intgr_store_entry* entry = nullptr;
            void* const wanted = operation == 0 ? nullptr : &values[operation];
            const kelvo_status status = kelvo_intgr_store_insert(&root, key, wanted, &entry);
            KELVO_HOLDS(status == (is_there[number] ? KELVO_ERR_ALREADY_EXISTS : 0));
            if (status == 0) {
                KELVO_HOLDS(entry->key == key && entry->value == wanted);
                model[number] = wanted;
                is_there[number] = true;
            }
        } else if (operation % 4 == 2) {
            const kelvo_status status = kelvo_intgr_store_delete(&root, key, &value);
            KELVO_HOLDS(status == (is_there[number] ? 0 : KELVO_ERR_NO_SUCH_KEY));
            if (status == 0) KELVO_HOLDS(value == model[number]);
            is_there[number] = false;
        }
        const std::uint32_t found = kelvo_intgr_store_contains(&root, key, &value);
        KELVO_HOLDS(found == (is_there[number] ? 1 : 0));
        if (found != 0) KELVO_HOLDS(value == model[number]);
    }
    kelvo_intgr_store_shutdown(root, 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input in(data, size);
    switch (in.byte() % 4) {
        case 0:
            vector_of(in);
            break;
        case 1:
            stack_of(in);
            break;
        case 2:
            hash_table_of(in);
            break;
        default:
            store_of(in);
            break;
    }
    return 0;
}
