// SPDX-License-Identifier: Apache-2.0
#include "plain_calls.h"

#include <cstdlib>

#include "kelvo_common_msg_bulk.h"
#include "kelvo_common_msg_item.h"
#include "kelvo_hash_table.h"
#include "kelvo_intgr_store.h"
#include "kelvo_node_resolver.h"
#include "kelvo_string.h"
#include "kelvo_util_compare.h"
#include "kelvo_util_nodeid.h"
#include "kelvo_util_path.h"
#include "kelvo_vector.h"

namespace kelvo::test {
namespace {

char path[] = "cfg/if/act/downstream_port0_0_0_1/address/mask";
std::uint64_t value = 0x0102030405060708;

/// A sender's own: header area, cells and list.
struct Sender {
    std::uint8_t header[48] = {};
    kelvo_length_cell cells[4] = {};
    kelvo_slot list[9] = {};
};
Sender sender;

void compose_set() {
    kelvo_common_msg_item_set_compose(
        sender.header, &sender.cells[0].length, &sender.cells[1].length, &sender.cells[2].length,
        &sender.cells[3].length, path, KELVO_VALUE_INT8, &value, sizeof value, 77, sender.list);
}
void compose_get() {
    kelvo_lib_msg_item_get_compose(sender.header, &sender.cells[0].length, &sender.cells[1].length,
                                   &sender.cells[2].length, path, 77, sender.list);
}
void compose_and_flatten() {
    compose_set();
    std::uint32_t size;
    std::uint8_t* buffer;
    kelvo_common_msg_iovs_length(sender.list, 9, &size);
    if (kelvo_common_msg_iovs_to_buffer(sender.list, 9, size, &buffer) == 0) std::free(buffer);
}

void bulk_of_100() {
    constexpr std::uint32_t kItems = 100;
    std::uint8_t header[64] = {};
    kelvo_bulk_item item = {};
    item.operation = 1;
    item.type = KELVO_VALUE_INT8;
    item.name = path;
    item.data = &value;
    item.data_length = sizeof value;
    kelvo_bulk_builder builder;
    if (kelvo_common_msg_bulk_init(header, kItems, 1, 2, "cfg", &builder) != 0) return;
    for (std::uint32_t i = 0; i < kItems; ++i) kelvo_common_msg_bulk_add(&item, i, &builder);
    kelvo_common_msg_bulk_free(&builder);
}

std::function<void()> convert_with(kelvo_status (*convert)(const char*, char**, std::uint32_t*),
                                   const char* text) {
    return [=] {
        char* out = nullptr;
        std::uint32_t length;
        if (convert(text, &out, &length) == 0) std::free(out);
    };
}

std::function<void()> path_match() {
    kelvo_path_pattern* pattern = nullptr;
    if (kelvo_util_path_regcomp("cfg/if/act/[A-Z].*/address/mask", &pattern, 1) != 0) std::abort();
    return [=] {
        std::uint32_t matches;
        kelvo_util_path_regexec(path, pattern, &matches);
    };
}

std::function<void()> compare_paths() {
    return [] {
        std::int32_t result;
        kelvo_util_compare_paths("cfg/if/act/port10/mtu", "cfg/if/act/port9/mtu", &result);
    };
}

std::function<void()> lookup(const char* wanted) {
    return [=] {
        kelvo_nr_answer answer;
        kelvo_nr_lookup_node("", wanted, KELVO_NR_OPT_SERVER, &answer, nullptr);
    };
}

std::function<void()> hash_lookup() {
    kelvo_util_hash_tbl* table = nullptr;
    if (kelvo_util_hash_tbl_init(1000, &table) != 0) std::abort();
    for (int i = 0; i < 1000; ++i) {
        const auto* const key = new std::string("cfg/if/act/port" + std::to_string(i));
        if (kelvo_util_hash_tbl_insert(table, key->c_str()) != 0) std::abort();
    }
    return [=] { kelvo_util_hash_tbl_lookup(table, "cfg/if/act/port500"); };
}

std::function<void()> store_lookup() {
    auto* const root = new ordered_tree_node*(nullptr);
    for (std::uint32_t key = 0; key < 1000; ++key) {
        kelvo_intgr_store_entry* entry;
        if (kelvo_intgr_store_insert(root, key * 7, &value, &entry) != 0) std::abort();
    }
    return [=] {
        void* found;
        kelvo_intgr_store_contains(root, 500 * 7, &found);
    };
}

std::function<void()> vector_round() {
    kelvo_vector* vector = nullptr;
    if (vector_init(16, &vector) != 0) std::abort();
    return [=] {
        std::uint32_t index;
        std::uint32_t size;
        void* found;
        if (vector_insert(vector, &value, sizeof value, &index) != 0) return;
        vector_find(vector, index, &found, &size);
        vector_delete(vector, index);
    };
}

}  // namespace

std::vector<PlainCall> plain_calls() {
    return {
        {"compose an item set", compose_set},
        {"compose an item get", compose_get},
        {"compose and flatten an item set", compose_and_flatten},
        {"build a bulk request of 100", bulk_of_100},
        {"look up a path of the local node", lookup("oper/kelvo/gl/sc/clients/")},
        {"look up a shared path", lookup("cfg/gl/bgp/100/neighbor/10.0.0.1/timers/")},
        {"match a path with a pattern", path_match()},
        {"compare two paths", compare_paths()},
        {"encode a name", convert_with(kelvo_string_encode, "port/1, the one with a slash")},
        {"decode a name", convert_with(kelvo_string_decode, "'port%1Fname'")},
        {"text of a node id", [] { kelvo_util_nodeid_to_str(0x1234); }},
        {"find a key in a hash table", hash_lookup()},
        {"find a number in a store", store_lookup()},
        {"insert, find and delete in a vector", vector_round()},
    };
}

}  // namespace kelvo::test
