// SPDX-License-Identifier: Apache-2.0
//
// Readers of bulk requests and replies: one step forward takes an item, one step back makes it
// current again. The reader states are the callers'; requests and replies have their own, walked
// alike.
#include "kelvo_assert.h"
#include "kelvo_common_msg_walk_bulk.h"
#include "kelvo_report.h"

using namespace kelvo;
using namespace kelvo::wire;

namespace {

/// A step without a state or a record: no item is looked at.
template <std::size_t kTypeWord>
Status refuse_null_step() {
    return Outcome<ItemOrder, kBulkItem<kTypeWord>>(nullptr, 0).refuse(0, refuse_null());
}

/// Takes the current item. The state moves only on success.
template <std::size_t kTypeWord, class State>
Status step_forward(State& state, BulkItem* item) {
    auto* const at = static_cast<u8*>(state.current);
    const u64 left = bytes_left(at, state.end);
    if (const Status st = walk_bulk_item<kTypeWord>(ItemOrder{}, at, left, item)) return st;
    state.index += 1;
    state.prev_item_ptr = at;
    state.current = item->end;
    return 0;
}

template <class State>
void* step_back(State& state) {
    state.index -= 1;
    state.current = state.prev_item_ptr;
    state.prev_item_ptr = nullptr;
    return state.current;
}

}  // namespace

kelvo_status kelvo_common_msg_bulk_interpret(void* msg, uint32_t length,
                                             kelvo_bulk_info* bulk_info) {
    if (any_null(msg, bulk_info) || length == 0) {
        return Outcome<FromNetwork>(msg, length).refuse(0, refuse_null());
    }
    return walk_bulk(FromNetwork{}, msg, length, bulk_info);
}

kelvo_status kelvo_common_msg_bulk_next(kelvo_bulk_info* bulk_info, kelvo_bulk_item* record_out) {
    if (any_null(bulk_info, record_out)) return refuse_null_step<kRequestTypeWord>();
    BulkItem item;
    if (const Status st = step_forward<kRequestTypeWord>(*bulk_info, &item)) return st;

    kelvo_bulk_item record = {};
    record.operation = item.words[0];
    record.word2 = item.words[1];
    record.type = item.words[2];
    record.word4 = item.words[3];
    record.name = item.name;
    const bool second = record.operation == KELVO_BULK_OPERATION_2;
    (second ? record.op2_data : record.data) = item.data;
    (second ? record.op2_data_length : record.data_length) = item.data_length;
    *record_out = record;
    return 0;
}

void* kelvo_common_msg_bulk_back(kelvo_bulk_info* bulk_info) {
    KELVO_ASSERT_AT(bulk_info->prev_item_ptr != nullptr, "bulk_info->prev_item_ptr != ((void *)0)",
                    "common/src/kelvo_common_msg_interpret", 1361, "kelvo_common_msg_bulk_back");
    return step_back(*bulk_info);
}

kelvo_status kelvo_common_msg_bulk_reply_interpret(void* reply, uint32_t length,
                                                   kelvo_bulk_reply_info* reply_info) {
    if (any_null(reply, reply_info) || length == 0) {
        return Outcome<FromNetwork, kBulkReply>(reply, length).refuse(0, refuse_null());
    }
    return walk_bulk_reply(FromNetwork{}, reply, length, reply_info);
}

kelvo_status kelvo_common_msg_bulk_reply_next(kelvo_bulk_reply_info* reply_info,
                                              kelvo_bulk_reply_item* reply_record_out) {
    if (any_null(reply_info, reply_record_out)) return refuse_null_step<kReplyTypeWord>();
    BulkItem item;
    if (const Status st = step_forward<kReplyTypeWord>(*reply_info, &item)) return st;

    *reply_record_out = {.word1 = item.words[0],
                         .type = item.words[1],
                         .word3 = item.words[2],
                         .word4 = item.words[3],
                         .name = item.name,
                         .data = item.data,
                         .data_length = item.data_length,
                         .third = item.third};
    return 0;
}

void* kelvo_common_msg_bulk_reply_back(kelvo_bulk_reply_info* reply_info) {
    KELVO_ASSERT_AT(
        reply_info->prev_item_ptr != nullptr, "reply_info->prev_item_ptr != ((void *)0)",
        "common/src/kelvo_common_msg_interpret", 1553, "kelvo_common_msg_bulk_reply_back");
    return step_back(*reply_info);
}
