// SPDX-License-Identifier: Apache-2.0
//
// The guard: the walk of the operation that is asked about, watched instead of run. Here stands
// which operation is which walk, and what a walk alone does not tell: what a reader that fails
// leaves behind, and what a step back does.
#include "kelvo_common_msg_guard.h"

#include "kelvo_common_msg_walk_bind.h"
#include "kelvo_common_msg_walk_bulk.h"
#include "kelvo_common_msg_walk_callback.h"
#include "kelvo_common_msg_walk_copy.h"
#include "kelvo_common_msg_walk_find.h"
#include "kelvo_common_msg_walk_get_items.h"
#include "kelvo_common_msg_walk_item.h"
#include "kelvo_common_msg_walk_list.h"
#include "kelvo_common_msg_walk_notify.h"
#include "kelvo_common_msg_walk_registration.h"
#include "kelvo_common_msg_walk_transaction.h"
#include "kelvo_common_structs_startup_list.h"
#include "kelvo_guard.h"

using namespace kelvo;
using namespace kelvo::wire;

namespace {

using Receive = GuardFromNetwork;
using Send = GuardToNetwork;

/// Where the walks hand out what nobody here wants: all texts in one place, all words in another.
struct Unwanted {
    char* text;
    u32 word;
    u32 block[kListBlockWords];
    u64 wide[2];
    void* value;
};

/// Stands for a TextArray.
struct UnwantedTexts {
    static Status make_room(u32, u64) noexcept { return 0; }
    static void take(u32, char*) noexcept {}
};

/// Watches a walk that hands nothing out.
template <class Order>
Status watch(Block block, Status (*walk)(Order, void*, u64)) {
    static_cast<void>(walk(Order(block), block.bytes(), block.length()));
    return block.verdict();
}

/// Watches `walk(order, message, length, unwanted)`.
template <class Order, class Walk>
Status watch(Block block, Walk walk) {
    Unwanted out;
    static_cast<void>(walk(Order(block), block.bytes(), block.length(), out));
    return block.verdict();
}

Status bind(Block block) {
    return watch<Receive>(block, [](Receive order, u8* msg, u64 length, Unwanted& out) {
        return walk_bind(order, msg, length, {&out.word, &out.word, &out.text, &out.text, {}});
    });
}

/// The length of an item operation as it will be given it.
u64 item_length(u64 length) {
    return received(static_cast<i32>(length));
}

ItemOut item_out(Unwanted& out) {
    return {&out.text, &out.word, &out.value, &out.word, &out.word};
}

Status item_get(Block block) {
    return watch<Receive>(block, [](Receive order, u8* msg, u64 length, Unwanted& out) {
        return walk_item_get(order, msg, item_length(length), &out.text, &out.word);
    });
}

/// A set, create or delete. They differ in what they answer, not in what they touch.
Status item_change(Block block) {
    return watch<Receive>(block, [](Receive order, u8* msg, u64 length, Unwanted& out) {
        const u64 received_length = item_length(length);
        return walk_item_change<ItemRequest::set>(order, msg, received_length, item_out(out));
    });
}

Status item_verify(Block block) {
    return watch<Receive>(block, [](Receive order, u8* msg, u64 length, Unwanted& out) {
        return walk_item_verify(order, msg, length, item_out(out));
    });
}

Status get_items(Block block) {
    return watch<Receive>(block, [](Receive order, u8* msg, u64 length, Unwanted& out) {
        UnwantedTexts names;
        return walk_get_items(order, msg, length, names, {&out.text, &out.word, &out.word});
    });
}

Status copy(Block block) {
    return watch<Receive>(block, [](Receive order, u8* msg, u64 length, Unwanted& out) {
        return walk_copy(order, msg, length, {&out.text, &out.text, &out.text, &out.word});
    });
}

template <class Order>
Status find(Block block) {
    return watch<Order>(block, [](Order order, u8* msg, u64 length, Unwanted& out) {
        return walk_find(order, msg, length, &out.text, &out.text);
    });
}

Status find_group(Block block) {
    return watch<Receive>(block, [](Receive order, u8* msg, u64 length, Unwanted& out) {
        return walk_find_group(order, msg, length, &out.text, &out.word);
    });
}

/// A list or data-list request. Once it is marked it is read in host order, within its length.
Status list(Block block) {
    const u8* const marker = block.bytes() + offsetof(kelvo_msg_header, conversion_marker);
    if (block.load(marker) == KELVO_MSG_CONVERTED) return 0;
    return watch<Receive>(block, [](Receive order, u8* msg, u64 length, Unwanted& out) {
        return walk_list(order, msg, length,
                         {&out.text, &out.text, &out.word, out.block, &out.word});
    });
}

Status transaction_start(Block block) {
    return watch<Receive>(block, [](Receive order, u8* msg, u64 length, Unwanted& out) {
        return walk_transaction_start(order, msg, length, out.wide, &out.word);
    });
}

Status item_lock(Block block) {
    return watch<Receive>(block, [](Receive order, u8* msg, u64 length, Unwanted& out) {
        return walk_item_lock(order, msg, length, &out.text);
    });
}

enum class Taken { not_at_all, once, repeatedly };

/// An item that is taken again comes in host order by then. One whose name is so long that it reads
/// as foreign once more cannot be.
bool can_be_taken_again(const u8* item) {
    const u32 raw = load32(item + sizeof(kelvo_msg_bulk_item));
    ItemOrder before;
    ItemOrder after;
    before.tell_from(raw);
    after.tell_from(reversed32(raw));
    return !before.foreign() || !after.foreign();
}

/// Takes items up to one that fails, or to a reason.
template <std::size_t kTypeWord>
Status take_items(Block& block, void* first, const void* end, Taken taken) {
    auto* item = static_cast<u8*>(first);
    while (block.verdict() == 0) {
        BulkItem found;
        const u64 left = bytes_left(item, end);
        if (walk_bulk_item<kTypeWord>(GuardItemOrder(block), item, left, &found) != 0) break;
        if (taken == Taken::repeatedly && !can_be_taken_again(item)) {
            block.refuse(KELVO_ERR_MSG_CONTENT);
        }
        item = found.end;
    }
    return block.verdict();
}

/// A bulk request. One of no bytes is refused for that.
Status bulk(Block block, Taken taken) {
    if (block.length() == 0) return 0;
    kelvo_bulk_info info;
    const Status st = walk_bulk(Receive(block), block.bytes(), block.length(), &info);
    if (st != 0 || taken == Taken::not_at_all) return block.verdict();
    return take_items<kRequestTypeWord>(block, info.current, info.end, taken);
}

/// A bulk reply, likewise; its walk looks at the length first.
Status bulk_reply(Block block, Taken taken) {
    kelvo_bulk_reply_info info;
    const Status st = walk_bulk_reply(Receive(block), block.bytes(), block.length(), &info);
    if (st != 0 || taken == Taken::not_at_all) return block.verdict();
    return take_items<kReplyTypeWord>(block, info.current, info.end, taken);
}

/// A notification set. The steps through one that has been accepted stay inside it.
template <Notify kWhat>
Status notifyset(Block block) {
    return watch<Receive>(block, [](Receive order, u8* msg, u64 length, Unwanted& out) {
        return walk_notifyset<kWhat>(order, msg, length, &out.word);
    });
}

template <class Order>
Status vrfn_reg(Block block) {
    static_cast<void>(
        convert_vrfn_reg(Order(block), block.bytes(), static_cast<u32>(block.length())));
    return block.verdict();
}

/// Host order, read to foresee what a reader will do.
struct Unobserved : HostOrder {
    static constexpr bool kObserved = false;
};

/// The reader of a VS or EDMS registration stays inside the message, but what it has added to the
/// list before a failure is lost.
Status startup_reg(Block block, u64 path_cell) {
    Unobserved order;
    Cursor in(order, block.bytes(), block.length());
    char* path;
    u32 count;
    if (walk_path_and_count(in, path_cell, &path, &count) != 0) return 0;
    PairSet pairs(most_pairs(in, count));
    bool any_added = false;
    const Status st = walk_pairs(in, count, [&](u32 job_id, u32 node_id) -> Status {
        if (pairs.matches(job_id, node_id)) return KELVO_ERR_MSG_CONTENT;
        if (!pairs.reserve()) return KELVO_ERR_NO_MEMORY;
        pairs.add(job_id, node_id);
        any_added = true;
        return 0;
    });
    return any_added ? st : 0;
}

Status cfg_grp(Block block) {
    Receive order(block);
    Cursor in(order, block.bytes(), block.length());
    UnwantedTexts names;
    u32 count;
    static_cast<void>(walk_group_names(in, names, &count));
    return block.verdict();
}

Status judge(kelvo_msg_operation operation, Block block) {
    switch (operation) {
        // These either read through the cursor alone, which tests before it reads, or test the
        // length before they touch a word, or touch nothing. What they allocate is bounded by the
        // bytes, and released when they fail.
        case KELVO_OPERATION_GET:
        case KELVO_OPERATION_SET:
        case KELVO_OPERATION_CREATE:
        case KELVO_OPERATION_DELETE:
        case KELVO_OPERATION_VERIFY:
        case KELVO_OPERATION_GET_REPLY_HTON:
        case KELVO_OPERATION_GET_ITEMS:
        case KELVO_OPERATION_FIND:
        case KELVO_OPERATION_FIND_GROUP_REPLY_NTOH:
        case KELVO_OPERATION_TRANSACTION_COMMIT:
        case KELVO_OPERATION_TRANSACTION_ABORT:
        case KELVO_OPERATION_APPLY_REPLY_NTOH:
        case KELVO_OPERATION_APPLY_REPLY_HTON:
        case KELVO_OPERATION_ERRORSET_HTON:
        case KELVO_OPERATION_SM_CB_RESPONSE_NTOH:
        case KELVO_OPERATION_SM_CB_RESPONSE_HTON:
        case KELVO_OPERATION_SMSET_REPLY_NTOH:
        case KELVO_OPERATION_SMSET_REPLY_HTON:
        case KELVO_OPERATION_TEMP_NTOH:
        case KELVO_OPERATION_TEMP_HTON:
        case KELVO_OPERATION_TEMP_REPLY_NTOH:
        case KELVO_OPERATION_TEMP_REPLY_HTON:
        case KELVO_OPERATION_NFN_REG:
        case KELVO_OPERATION_NFN_UNREG:
        case KELVO_OPERATION_VRFN_REG:
        case KELVO_OPERATION_VRFN_UNREG:
        case KELVO_OPERATION_VS_UNREG:
        case KELVO_OPERATION_EDM_REG:
        case KELVO_OPERATION_EDM_UNREG:
        case KELVO_OPERATION_EDMS_UNREG:
        case KELVO_OPERATION_COUNT:  // is none, and has been refused
            break;

        case KELVO_OPERATION_BIND:
            return bind(block);
        case KELVO_OPERATION_GET_NTOH:
            return item_get(block);
        case KELVO_OPERATION_SET_NTOH:
        case KELVO_OPERATION_CREATE_NTOH:
        case KELVO_OPERATION_DELETE_NTOH:
            return item_change(block);
        case KELVO_OPERATION_VERIFY_NTOH:
            return item_verify(block);
        case KELVO_OPERATION_GET_REPLY_NTOH:
            return watch(block, walk_item_get_reply<Receive>);
        case KELVO_OPERATION_GET_ITEMS_NTOH:
            return get_items(block);
        case KELVO_OPERATION_COPY:
            return copy(block);
        case KELVO_OPERATION_FIND_NTOH:
            return find<Receive>(block);
        case KELVO_OPERATION_FIND_HTON:
            return find<Send>(block);
        case KELVO_OPERATION_FIND_GROUP_NTOH:
            return find_group(block);
        case KELVO_OPERATION_LIST:
        case KELVO_OPERATION_DATALIST:
            return list(block);
        case KELVO_OPERATION_LIST_REPLY_NTOH:
            return watch(block, walk_list_reply<ListEntry, Receive>);
        case KELVO_OPERATION_DATALIST_REPLY_NTOH:
            return watch(block, walk_list_reply<DatalistEntry, Receive>);
        case KELVO_OPERATION_TRANSACTION_START:
            return transaction_start(block);
        case KELVO_OPERATION_WRITE_LOCK:
        case KELVO_OPERATION_READ_LOCK:
        case KELVO_OPERATION_UNLOCK:
            return item_lock(block);

        case KELVO_OPERATION_BULK:
            return bulk(block, Taken::not_at_all);
        case KELVO_OPERATION_BULK_NEXT:
            return bulk(block, Taken::once);
        case KELVO_OPERATION_BULK_BACK:
            return bulk(block, Taken::repeatedly);
        case KELVO_OPERATION_BULK_REPLY:
            return bulk_reply(block, Taken::not_at_all);
        case KELVO_OPERATION_BULK_REPLY_NEXT:
            return bulk_reply(block, Taken::once);
        case KELVO_OPERATION_BULK_REPLY_BACK:
            return bulk_reply(block, Taken::repeatedly);
        case KELVO_OPERATION_NOTIFYSET:
        case KELVO_OPERATION_NOTIFYSET_NEXT:
            return notifyset<Notify::framing>(block);
        case KELVO_OPERATION_NOTIFYSET_VALUES:
            return notifyset<Notify::values>(block);

        case KELVO_OPERATION_VERIFY_REPLY_NTOH:
            return watch(block, walk_cb_verify<Receive>);
        case KELVO_OPERATION_VERIFY_REPLY_HTON:
            return watch(block, walk_cb_verify<Send>);
        case KELVO_OPERATION_ERRORSET_NTOH:
            return watch(block, walk_errorset<Receive>);

        case KELVO_OPERATION_NFN_REG_NTOH:
        case KELVO_OPERATION_NFN_REG_HTON:  // the same words either way
            return watch(block, convert_nfn_reg<Receive>);
        case KELVO_OPERATION_VRFN_REG_NTOH:
            return vrfn_reg<Receive>(block);
        case KELVO_OPERATION_VRFN_REG_HTON:
            return vrfn_reg<Send>(block);
        case KELVO_OPERATION_VS_REG:
            return startup_reg(block, offsetof(kelvo_msg_vs_reg, path));
        case KELVO_OPERATION_VS_REG_NTOH:
            return watch(block, convert_vs_reg<Receive>);
        case KELVO_OPERATION_VS_REG_HTON:
            return watch(block, convert_vs_reg<Send>);
        case KELVO_OPERATION_EDM_REG_NTOH:
            return watch(block, convert_edm_reg<Receive>);
        case KELVO_OPERATION_EDM_REG_HTON:
            return watch(block, convert_edm_reg<Send>);
        case KELVO_OPERATION_EDMS_REG:
            return startup_reg(block, offsetof(kelvo_msg_edms_reg, path));
        case KELVO_OPERATION_EDMS_REG_NTOH:
            return watch(block, convert_edms_reg<Receive>);
        case KELVO_OPERATION_EDMS_REG_HTON:
            return watch(block, convert_edms_reg<Send>);
        case KELVO_OPERATION_REG_ACTIVATE_NTOH:
            return watch(block, convert_reg_activate<Receive>);
        case KELVO_OPERATION_REG_ACTIVATE_HTON:
            return watch(block, convert_reg_activate<Send>);
        case KELVO_OPERATION_CFG_GRP:
            return cfg_grp(block);
    }
    return 0;
}

constexpr u8 kNoBytes[1] = {};

}  // namespace

kelvo_status kelvo_common_msg_guard(uint32_t operation, const void* msg, uint32_t length) {
    if (operation >= KELVO_OPERATION_COUNT) return KELVO_ERR_NOT_SUPPORTED;
    if (msg == nullptr && length != 0) return KELVO_ERR_NULL_PARAM;
    return judge(static_cast<kelvo_msg_operation>(operation),
                 Block(msg != nullptr ? msg : kNoBytes, length));
}
