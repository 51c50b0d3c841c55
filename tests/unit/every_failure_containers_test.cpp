// SPDX-License-Identifier: Apache-2.0
//
// Every failure in turn: containers, lists of pairs, lists of names.
#include <cstring>

#include "kelvo_cfg_group.h"
#include "kelvo_common_startup_list.h"
#include "kelvo_hash_table.h"
#include "kelvo_intgr_store.h"
#include "kelvo_stack.h"
#include "kelvo_vector.h"
#include "support/every_failure.h"
#include "support/startup_lists.h"

using namespace kelvo::test;

namespace {

Expected no_memory(const Fault& /*fault*/) {
    return refused_with(KELVO_ERR_NO_MEMORY);
}

// ------------------------------------------------------------------------------------------------
// Vector
// ------------------------------------------------------------------------------------------------

/// A vector with some values: the numbers 0, 1, 2 ...
struct Vector {
    kelvo_vector* vector = nullptr;
    std::uint32_t index = 4711;

    explicit Vector(std::uint32_t capacity = 0, std::uint32_t values = 0) {
        if (capacity != 0) (void)vector_init(capacity, &vector);
        for (std::uint32_t value = 0; value < values; ++value) {
            std::uint32_t at;
            (void)vector_insert(vector, &value, sizeof value, &at);
        }
    }
    ~Vector() { (void)vector_shutdown(vector); }
    Vector(const Vector&) = delete;
    Vector& operator=(const Vector&) = delete;

    [[nodiscard]] std::string seen() const {
        if (vector == nullptr) return "none";
        std::string text = "capacity " + show(vector->capacity) + "index " + show(index) + "holds ";
        std::uint32_t at = KELVO_VECTOR_NONE;
        std::uint32_t size;
        std::uint32_t end = 0;
        void* value;
        while (vector_get_next_value(vector, &at, &value, &size, &end) == 0 && end == 0) {
            text += std::to_string(at) + ":" + show(*static_cast<std::uint32_t*>(value));
        }
        return text;
    }
};
kelvo_status init_vector(Vector& a) {
    return vector_init(3, &a.vector);
}

kelvo_status insert(Vector& a) {
    const std::uint32_t value = 9;
    return vector_insert(a.vector, &value, sizeof value, &a.index);
}
struct VectorWithRoom : Vector {
    VectorWithRoom() : Vector(4, 1) {}
};
struct VectorToFill : Vector {
    VectorToFill() : Vector(2, 1) {}
};
/// The insert that fills the table has happened when only the growth failed.
Expected inserted_all_the_same(const Fault& fault) {
    if (fault.number == 0) return by_rule(fault);
    return leaves("capacity 2 index 1 holds 0:0 1:9 ", KELVO_ERR_NO_MEMORY);
}
/// A vector that is full because it could not grow.
struct FullVector : Vector {
    FullVector() : Vector(2, 1) {
        const FailingMemory second(1);
        (void)insert(*this);
    }
};

kelvo_status delete_first(Vector& a) {
    return vector_delete(a.vector, 0);
}
/// The deletion of the one value that is left halves the table twice.
struct VectorToShrink : Vector {
    VectorToShrink() : Vector(2, 7) {
        for (std::uint32_t at = 6; at > 0; --at) {
            const FailingMemory none(0, FailingMemory::kNever);
            (void)vector_delete(vector, at);
        }
    }
};
/// The value is deleted, whether or not the table could be halved.
Expected deleted_all_the_same(const Fault& fault) {
    return leaves(
        fault.number == 0 ? "capacity 8 index 4711 holds " : "capacity 4 index 4711 holds ",
        KELVO_ERR_NO_MEMORY);
}

// ------------------------------------------------------------------------------------------------
// Stack
// ------------------------------------------------------------------------------------------------

struct Stack {
    kelvo_stack* stack = nullptr;
    ~Stack() {
        if (stack != nullptr) (void)stack_shutdown(stack);
    }
    [[nodiscard]] std::string seen() const {
        if (stack == nullptr) return "none";
        std::string text = show(stack->depth);
        for (const auto* node = stack->top; node != nullptr; node = node->next) {
            text += std::string(static_cast<const char*>(node->value), node->size) + " ";
        }
        return text;
    }
};
struct MadeStack : Stack {
    MadeStack() {
        (void)stack_init(0, &stack);
        (void)stack_push(stack, "one", 3);
    }
};
kelvo_status init_stack(Stack& a) {
    return stack_init(7, &a.stack);
}
kelvo_status push(MadeStack& a) {
    return stack_push(a.stack, "two", 3);
}

// ------------------------------------------------------------------------------------------------
// Hash table
// ------------------------------------------------------------------------------------------------

/// A table of few buckets, which its owner would keep for good: there is no function that releases
/// one.
struct Table {
    kelvo_util_hash_tbl* table = nullptr;
    ~Table() {
        if (table == nullptr) return;
        for (std::uint32_t i = 0; i < table->count; ++i) release(table->buckets[i]);
        std::free(table->buckets);
        std::free(table);
    }
    [[nodiscard]] std::string seen() const {
        if (table == nullptr) return "none";
        std::string text;
        for (std::uint32_t i = 0; i < table->count; ++i) {
            for (const auto* at = &table->buckets[i]; at != nullptr; at = at->next) {
                text += show(at->key);
            }
            text += "| ";
        }
        return text;
    }

  private:
    static void release(kelvo_util_hash_entry& bucket) {
        std::free(bucket.key);
        for (kelvo_util_hash_entry* at = bucket.next; at != nullptr;) {
            kelvo_util_hash_entry* const next = at->next;
            std::free(at->key);
            std::free(at);
            at = next;
        }
    }
};
struct EmptyTable : Table {
    EmptyTable() { (void)kelvo_util_hash_tbl_init(2, &table); }
};
struct TableOfOne : Table {
    TableOfOne() {
        (void)kelvo_util_hash_tbl_init(1, &table);
        (void)kelvo_util_hash_tbl_insert(table, "first");
    }
};
kelvo_status init_table(Table& a) {
    return kelvo_util_hash_tbl_init(3, &a.table);
}
kelvo_status insert_name(Table& a) {
    return kelvo_util_hash_tbl_insert(a.table, "second");
}

// ------------------------------------------------------------------------------------------------
// Integer store
// ------------------------------------------------------------------------------------------------

struct Store {
    ordered_tree_node* root = nullptr;
    kelvo_intgr_store_entry* entry = nullptr;
    Store() { (void)kelvo_intgr_store_insert(&root, 5, nullptr, nullptr); }
    ~Store() { kelvo_intgr_store_shutdown(root, 0); }
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    [[nodiscard]] std::string seen() const {
        return show(kelvo_intgr_store_contains(&root, 5, nullptr)) +
               show(kelvo_intgr_store_contains(&root, 6, nullptr)) + show(entry != nullptr);
    }
};
kelvo_status insert_key(Store& a) {
    return kelvo_intgr_store_insert(&a.root, 6, nullptr, &a.entry);
}

// ------------------------------------------------------------------------------------------------
// Startup lists
// ------------------------------------------------------------------------------------------------

/// A list of pairs, and what becomes of it.
struct List {
    kelvo_startup_list* list;
    kelvo_startup_list* copy = nullptr;
    kelvo_slot* slots = nullptr;
    std::uint32_t count = 4711;

    explicit List(std::uint32_t pairs = 2) : list(nullptr) {
        for (std::uint32_t i = 0; i < pairs; ++i) (void)kelvo_common_startup_list_add(&list, i, i);
    }
    ~List() {
        if (list != nullptr) kelvo_common_startup_list_free(&list);
        if (copy != nullptr) kelvo_common_startup_list_free(&copy);
        if (slots != nullptr) kelvo_common_startup_list_free_iovs(3, &slots);
    }
    List(const List&) = delete;
    List& operator=(const List&) = delete;
    [[nodiscard]] std::string seen() const {
        return show(list->count) + show(pairs_of(list).size()) + show(pairs_of(copy).size()) +
               show(slots != nullptr) + show(count);
    }
};
/// So many that copying them keeps an index beside the list, which grows on the way.
struct LongList : List {
    LongList() : List(40) {}
};
kelvo_status add_pair(List& a) {
    return kelvo_common_startup_list_add(&a.list, 100, 1);
}
kelvo_status duplicate(List& a) {
    return kelvo_common_startup_list_dup(a.list, &a.copy);
}
kelvo_status create_iovs(List& a) {
    return kelvo_common_startup_list_create_iovs(a.list, 3, &a.slots, &a.count);
}

// ------------------------------------------------------------------------------------------------
// Apply bitmask, group names
// ------------------------------------------------------------------------------------------------

struct Mask {
    kelvo_apply_bitmask mask = {};
    explicit Mask(std::uint32_t entries = 0) {
        for (std::uint32_t i = 0; i < entries; ++i) (void)kelvo_apply_bitmask_add(i & 1, 1, &mask);
    }
    ~Mask() { kelvo_apply_bitmask_free(&mask); }
    Mask(const Mask&) = delete;
    Mask& operator=(const Mask&) = delete;
    [[nodiscard]] std::string seen() const {
        kelvo_apply_bitmask walked = mask;
        std::string text = show(mask.count);
        std::uint32_t first;
        std::uint32_t second;
        kelvo_apply_bitmask_start(&walked);
        while (kelvo_apply_bitmask_next(&walked, &first, &second),
               first != KELVO_APPLY_BITMASK_END) {
            text += std::to_string(first) + std::to_string(second) + " ";
        }
        return text;
    }
};
struct FullMask : Mask {
    FullMask() : Mask(32) {}
};
kelvo_status add_bits(Mask& a) {
    return kelvo_apply_bitmask_add(1, 0, &a.mask);
}

struct Names {
    PackedTuple tuple = {"b", "a", "c"};
    char* list[1 + KELVO_GRP_TUPLE_NAMES] = {};
    std::uint32_t count = 1;
    Names() {
        list[0] = static_cast<char*>(std::malloc(2));
        std::memcpy(list[0], "a", 2);
    }
    ~Names() { kelvo_free_grp_names(list, 1 + KELVO_GRP_TUPLE_NAMES); }
    Names(const Names&) = delete;
    Names& operator=(const Names&) = delete;
    [[nodiscard]] std::string seen() const {
        std::string text = show(count);
        for (const char* const name : list) text += show(name);
        return text;
    }
};
kelvo_status unpack_names(Names& a) {
    return kelvo_apply_grp_tuple_unpack(&a.tuple, a.list, &a.count);
}
/// The buffers that were made before memory ran out stay, as the contract says.
Expected keeps_buffers(const Fault& fault) {
    if (!fault.is_memory()) return by_rule(fault);
    return by_rule(fault).keeps(static_cast<long>(fault.number));
}

const Operation kOperations[] = {
    row<Vector>("vector_init", init_vector),
    row<VectorWithRoom>("vector_insert", insert),
    row<VectorToFill>("vector_insert_that_fills", insert, inserted_all_the_same),
    row<FullVector>("vector_insert_after_failed_growth", insert),
    row<VectorToShrink>("vector_delete", delete_first, deleted_all_the_same),
    row<Stack>("stack_init", init_stack),
    row<MadeStack>("stack_push", push),
    row<Table>("kelvo_util_hash_tbl_init", init_table),
    row<EmptyTable>("kelvo_util_hash_tbl_insert", insert_name, no_memory),
    row<TableOfOne>("kelvo_util_hash_tbl_insert_into_chain", insert_name, no_memory),
    row<Store>("kelvo_intgr_store_insert", insert_key),
    row<List>("kelvo_common_startup_list_add", add_pair),
    row<List>("kelvo_common_startup_list_dup", duplicate),
    row<LongList>("kelvo_common_startup_list_dup_long", duplicate),
    row<List>("kelvo_common_startup_list_create_iovs", create_iovs),
    row<Mask>("kelvo_apply_bitmask_add", add_bits),
    row<FullMask>("kelvo_apply_bitmask_add_word", add_bits),
    row<Names>("kelvo_apply_grp_tuple_unpack", unpack_names, keeps_buffers),
};

INSTANTIATE_TEST_SUITE_P(Containers, EveryFailure, testing::ValuesIn(kOperations), name_of);

}  // namespace
