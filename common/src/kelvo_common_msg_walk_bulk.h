// SPDX-License-Identifier: Apache-2.0
//
// The walks over bulk requests and replies. The fixed parts come in network order; each item comes
// in the order of whoever wrote it, so its byte-order policy is told by the item itself.
#pragma once

#include "kelvo_common_msg_bulk.h"
#include "kelvo_wire.h"

namespace kelvo::wire {

/// Byte order of one bulk item. As FromNetwork when the item is foreign, as HostOrder when it is
/// not.
class ItemOrder : public Running {
  public:
    static constexpr bool kConverts = true;
    /// Looks at the raw name length: a name too long to be true is a foreign-ordered length.
    void tell_from(u32 raw_name_length) noexcept {
        foreign_ = raw_name_length > KELVO_BULK_NAME_MAX;
    }
    [[nodiscard]] bool foreign() const noexcept { return foreign_; }
    void arrive(u8* at) const noexcept {
        if (foreign_) reverse32(at);
    }
    static void depart(u8*) noexcept {}
    void fixed(u8* at) const noexcept { arrive(at); }
    /// Of a foreign item: the value of a native one is not looked at.
    static void value(u32 type, u8* at) noexcept { reverse_value(type, at, at); }

  private:
    bool foreign_ = false;
};

/// What a walk over one item finds.
struct BulkItem {
    u32 words[4];
    char* name;
    u8* data;  ///< null when there is none
    u32 data_length;
    char* third;  ///< of a reply
    u8* end;      ///< where the next item begins
};

/// Which of an item's four words is the value type of its data.
inline constexpr std::size_t kRequestTypeWord = offsetof(kelvo_msg_bulk_item, type) / 4;
inline constexpr std::size_t kReplyTypeWord = offsetof(kelvo_rply_bulk_item, type) / 4;

/// The fixed part of a request; words and leading length are converted before the length is tested.
/// The leading string is not looked at.
template <class Order>
[[nodiscard]] static Status walk_bulk(Order order, void* message, u64 length,
                                      kelvo_bulk_info* out) {
    auto* const msg = static_cast<u8*>(message);
    const auto word = [&](std::size_t offset) { return order.read(msg + offset); };
    fixed_words(order, msg + offsetof(kelvo_msg_bulk, word1), 5);
    order.fixed(msg + offsetof(kelvo_msg_bulk, leading));
    Cursor in(order, msg, length);
    if (const Status st = in.skip(offsetof(kelvo_msg_bulk, leading))) return st;

    u8* const leading = msg + sizeof(kelvo_msg_bulk);
    *out = {.start = msg,
            .end = msg + length,
            .current = leading + padded8(word(offsetof(kelvo_msg_bulk, leading))),
            .prev_item_ptr = nullptr,
            .count = word(offsetof(kelvo_msg_bulk, count)),
            .index = 1,
            .word1 = word(offsetof(kelvo_msg_bulk, word1)),
            .word2 = word(offsetof(kelvo_msg_bulk, word2)),
            .leading = reinterpret_cast<const char*>(leading),
            .zero = {}};
    return in.accept();
}

/// What tracers know the fixed part of a reply by, and items, which are told of one by one.
inline constexpr u32 kBulkReply = probe::no_header(KELVO_OPERATION_BULK_REPLY);
template <std::size_t kTypeWord>
inline constexpr u32 kBulkItem = probe::no_header(kTypeWord == kRequestTypeWord
                                                      ? KELVO_OPERATION_BULK_NEXT
                                                      : KELVO_OPERATION_BULK_REPLY_NEXT);

/// The fixed part of a reply; words 3 and 4 are nobody's to convert.
template <class Order>
[[nodiscard]] static Status walk_bulk_reply(Order order, void* reply, u64 length,
                                            kelvo_bulk_reply_info* out) {
    auto* const msg = static_cast<u8*>(reply);
    Cursor<Order, kBulkReply> in(order, msg, length);
    if (const Status st = in.skip(offsetof(kelvo_rply_bulk, untouched))) return st;
    fixed_words(order, msg + offsetof(kelvo_rply_bulk, word1), 2);

    *out = {.start = msg,
            .end = msg + length,
            .current = msg + sizeof(kelvo_rply_bulk),
            .prev_item_ptr = nullptr,
            .word3 = order.raw(msg + offsetof(kelvo_rply_bulk, word3)),
            .word4 = order.raw(msg + offsetof(kelvo_rply_bulk, word4)),
            .index = 1};
    return in.accept();
}

/// Bytes from an item to the end of the message. None when the item lies beyond the end, where a
/// short message or a hostile leading length may put it.
[[nodiscard]] inline u64 bytes_left(const void* item, const void* end) noexcept {
    const auto at = reinterpret_cast<std::uintptr_t>(item);
    const auto limit = reinterpret_cast<std::uintptr_t>(end);
    return at < limit ? limit - at : 0;
}

/// The data of an item. A foreign-ordered item has length and data converted before there is known
/// to be room for them; a native one is not touched before.
template <class Order, u32 kType>
[[nodiscard, gnu::always_inline]] inline Status bulk_data(Order& order, Cursor<Order, kType>& in,
                                                          u32 type, u8** data, u32* length) {
    u8* const cell = in.at();
    order.arrive(cell);
    if (order.foreign() && order.read(cell) != 0) order.value(type, cell + kCellBytes);
    if (const Status st = in.skip(kCellBytes)) return st;
    const u32 n = order.read(cell);
    if (const Status st = in.skip(padded8(n))) return st;
    *data = n != 0 ? cell + kCellBytes : nullptr;
    *length = n;
    return 0;
}

/// One item of a request (kTypeWord = kRequestTypeWord) or of a reply, which has a third text.
template <std::size_t kTypeWord, class Order>
[[nodiscard]] static Status walk_bulk_item(Order order, u8* item, u64 left, BulkItem* out) {
    Cursor<Order, kBulkItem<kTypeWord>> in(order, item, left);
    if (const Status st = in.skip(sizeof(kelvo_msg_bulk_item))) return st;
    order.tell_from(order.raw(in.at()));
    if (order.foreign()) fixed_words(order, item, 4);

    BulkItem found = {};
    read_words(order, item, 4, found.words);
    const u32 type = found.words[kTypeWord];
    if (const Status st = in.text(&found.name, Cell::before_room)) return st;
    if (const Status st = bulk_data(order, in, type, &found.data, &found.data_length)) return st;
    if constexpr (kTypeWord == kReplyTypeWord) {
        if (const Status st = in.text(&found.third, Cell::before_room)) return st;
    }
    found.end = in.at();
    *out = found;
    return in.accept();
}

}  // namespace kelvo::wire
