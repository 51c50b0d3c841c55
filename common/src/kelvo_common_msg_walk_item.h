// SPDX-License-Identifier: Apache-2.0
//
// The walks over item requests and the get reply, one for all byte orders.
#pragma once

#include "kelvo_assert.h"
#include "kelvo_common_msg_item.h"
#include "kelvo_wire.h"

namespace kelvo::wire {

/// Where the walks over item requests hand out what they find.
struct ItemOut {
    char** path;
    u32* type;
    void** value;
    u32* value_length;
    u32* argument;
};

/// The two words at 40 and 44, which are converted before anything is tested.
inline constexpr u32 kItemLeadingWords = 40;
static_assert(kItemLeadingWords == offsetof(kelvo_msg_item_request, reserved));
static_assert(kItemLeadingWords == offsetof(kelvo_msg_item_verify, type));

/// Item get. A converting reader stops the process on a wrong count, and looks at the count of a
/// message that is too short to have one; both are meant.
template <class Order>
[[nodiscard]] static Status walk_item_get(Order order, void* message, u64 length, char** path,
                                          u32* argument) {
    const auto require_one_name = [&order](u32 count) {
        order.demand(count == 1);
        KELVO_ASSERT_AT(count == 1 || order.stopped(), "castmsg->nameset->count == 1",
                        "common/src/kelvo_common_msg_interpret_endian", __LINE__,
                        "kelvo_common_msg_get_interpret_endian_ntoh");
    };
    auto* const msg = static_cast<u8*>(message);
    fixed_words(order, msg + kItemLeadingWords, 2);

    Cursor in(order, msg, length);
    if (const Status st = in.skip(offsetof(kelvo_msg_item_request, names))) {
        if constexpr (Order::kConverts) {
            require_one_name(order.raw(msg + offsetof(kelvo_msg_item_request, names)));
        }
        return st;
    }
    u32 count;
    u32 type;
    char* text;
    if (const Status st = in.cell(&count)) return st;
    if constexpr (Order::kConverts) require_one_name(count);
    if (count != 1) return in.refuse(KELVO_ERR_MSG_CONTENT);
    if (const Status st = in.cell(&type)) return st;
    if (type != KELVO_VALUE_NONE) return in.refuse(KELVO_ERR_MSG_CONTENT);
    if (const Status st = in.text(&text)) return st;
    if (const Status st = in.end()) return st;

    *path = text;
    *argument = order.read(msg + offsetof(kelvo_msg_item_request, argument));
    return in.accept();
}

enum class ItemRequest { set, create, remove };

/// Item set, create and delete. Only create looks at the value type, and only after every length.
template <ItemRequest kRequest, class Order>
[[nodiscard]] static Status walk_item_change(Order order, void* message, u64 length,
                                             const ItemOut& out) {
    auto* const msg = static_cast<u8*>(message);
    fixed_words(order, msg + kItemLeadingWords, 2);

    Cursor in(order, msg, length);
    u32 count;
    u32 type;
    char* path;
    u8* value;
    u32 value_length;
    if (const Status st = in.skip(offsetof(kelvo_msg_item_request, names))) return st;
    if (const Status st = in.cell(&count)) return st;
    if (count != 1) return in.refuse(KELVO_ERR_MSG_CONTENT);
    if (const Status st = in.cell(&type)) return st;
    if (const Status st = in.text(&path)) return st;
    if (const Status st = in.value(&value, &value_length)) return st;
    if (const Status st = in.end()) return st;
    if (kRequest == ItemRequest::create && type == KELVO_VALUE_NONE) {
        return in.refuse(KELVO_ERR_BAD_VALUE_TYPE);
    }
    if (value_length != 0) order.value(type, value);

    *out.path = path;
    *out.type = type;
    *out.value = kRequest == ItemRequest::remove && value_length == 0 ? nullptr : value;
    *out.value_length = value_length;
    *out.argument = order.read(msg + offsetof(kelvo_msg_item_request, argument));
    return in.accept();
}

/// Item verify.
template <class Order>
[[nodiscard]] static Status walk_item_verify(Order order, void* message, u64 length,
                                             const ItemOut& out) {
    auto* const msg = static_cast<u8*>(message);
    fixed_words(order, msg + kItemLeadingWords, 2);

    Cursor in(order, msg, length);
    char* path;
    u8* value;
    u32 value_length;
    if (const Status st = in.skip(offsetof(kelvo_msg_item_verify, path))) return st;
    if (const Status st = in.text(&path)) return st;
    if (const Status st = in.value(&value, &value_length)) return st;
    if (const Status st = in.end()) return st;
    const u32 type = order.read(msg + offsetof(kelvo_msg_item_verify, type));
    if (value_length != 0) order.value(type, value);

    *out.path = path;
    *out.type = type;
    *out.value = value;
    *out.value_length = value_length;
    *out.argument = order.read(msg + offsetof(kelvo_msg_item_verify, argument));
    return in.accept();
}

/// What tracers know a get reply by.
inline constexpr u32 kItemGetReply = probe::no_header(KELVO_OPERATION_GET_REPLY_NTOH);

/// Get reply. Its four words are converted whatever the length, and one test of it is enough: no
/// value makes a reply shorter than its fixed part. A failed reply keeps its value unconverted.
template <class Order>
[[nodiscard]] static Status walk_item_get_reply(Order order, void* reply, u64 length) {
    auto* const rply = static_cast<u8*>(reply);
    order.fixed(rply + offsetof(kelvo_rply_item_get, word));
    order.fixed(rply + offsetof(kelvo_rply_item_get, result));
    order.fixed(rply + offsetof(kelvo_rply_item_get, type));
    order.fixed(rply + offsetof(kelvo_rply_item_get, length));

    constexpr u64 kFixed = sizeof(kelvo_rply_item_get);
    constexpr u64 kResult = offsetof(kelvo_rply_item_get, result);
    constexpr u64 kLength = offsetof(kelvo_rply_item_get, length);
    const Outcome<Order, kItemGetReply> outcome(rply, length);
    const u32 value_length = order.read(rply + kLength);
    if (kFixed + padded8(value_length) != length) {
        return outcome.refuse(kLength, KELVO_ERR_MSG_LENGTH);
    }
    if (order.read(rply + kResult) != 0) return outcome.refuse(kResult, KELVO_ERR_REPLY_FAILED);
    const u32 type = order.read(rply + offsetof(kelvo_rply_item_get, type));
    if (value_length != 0) order.value(type, rply + kFixed);
    return outcome.accept();
}

}  // namespace kelvo::wire
