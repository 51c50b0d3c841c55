// SPDX-License-Identifier: Apache-2.0
//
// Which fields a message has, by its type. The fixed parts are the public layout structs.
#include <algorithm>
#include <cstring>

#include "dump_fields.h"
#include "frame.h"

namespace example {
namespace {

// Of many alike, the first two are taken apart; the rest is shown as bytes.
constexpr std::uint32_t kTakenApart = 2;

std::uint32_t counted(const Dump& dump, std::size_t offset) {
    return std::min(dump.word_at(offset), kTakenApart);
}

void item(Dump& dump) {
    dump.fixed(kItem);
    dump.text("path");
}

void two_texts(Dump& dump, std::span<const Field> fixed) {
    dump.fixed(fixed);
    dump.counted_text("first string");
    dump.counted_text("second string");
}

void get_items(Dump& dump) {
    dump.fixed(kGetItems);
    const std::uint32_t count = counted(dump, offsetof(kelvo_msg_get_items, count));
    dump.counted_text("base path");
    for (std::uint32_t i = 0; i < count && !dump.ended(); ++i) dump.counted_text("name");
}

// The items are in their writer's order, which is this host's.
void bulk(Dump& dump) {
    dump.fixed(kBulk);
    dump.text("leading string");
    const std::uint32_t count = counted(dump, offsetof(kelvo_msg_bulk, count));
    dump.in_host_order();
    for (std::uint32_t i = 0; i < count && !dump.ended(); ++i) {
        dump.record(kBulkItem);
        dump.counted_text("name");
        dump.counted_value("data");
    }
}

void verifier(Dump& dump) {
    dump.fixed(kVerifier);
    const std::uint32_t count = counted(dump, offsetof(kelvo_msg_vrfn_reg, count));
    for (std::uint32_t i = 0; i < count && !dump.ended(); ++i) dump.counted_text("path");
}

void error_set(Dump& dump) {
    dump.fixed(kErrorSet);
    const std::uint32_t count = counted(dump, offsetof(kelvo_msg_errorset, count));
    for (std::uint32_t i = 0; i < count && !dump.ended(); ++i) {
        dump.record(kErrorEntry);
        dump.text("data");
    }
}

void request_body(Dump& dump, std::uint32_t type) {
    switch (type) {
        case KELVO_MSG_BIND:
            return two_texts(dump, kBind);
        case KELVO_MSG_ITEM_GET:
        case KELVO_MSG_ITEM_GET_INH:
            return item(dump);
        case KELVO_MSG_ITEM_SET:
        case KELVO_MSG_ITEM_CREATE:
        case KELVO_MSG_ITEM_DELETE:
        case KELVO_MSG_ITEM_COND_DELETE:
            item(dump);
            return dump.counted_value("value");
        case KELVO_MSG_ITEM_VERIFY:
            dump.fixed(kVerify);
            dump.text("path");
            return dump.counted_value("value");
        case KELVO_MSG_LIST:
        case KELVO_MSG_DATALIST:
            return two_texts(dump, kList);
        case KELVO_MSG_FIND:
            return two_texts(dump, kFind);
        case KELVO_MSG_FIND_GRP_AG:
        case KELVO_MSG_FIND_GRP_AH:
            dump.fixed(kFindGroup);
            return dump.counted_text("string");
        case KELVO_MSG_GET_ITEMS:
            return get_items(dump);
        case KELVO_MSG_TRANS_START:
            return dump.fixed(kStart);
        case KELVO_MSG_ITEM_WRLOCK:
        case KELVO_MSG_ITEM_RDLOCK:
        case KELVO_MSG_ITEM_UNLOCK:
            return dump.counted_text("path");
        case KELVO_MSG_COPY:
            two_texts(dump, kCopy);
            return dump.counted_text("third string");
        case KELVO_MSG_BULK:
            return bulk(dump);
        case KELVO_MSG_NFN_REG:
            dump.fixed(kNotifier);
            return dump.text("path");
        case KELVO_MSG_VRFN_REG:
            return verifier(dump);
        case KELVO_MSG_NFN_UNREG:
        case KELVO_MSG_VRFN_UNREG:
            return dump.fixed(kUnregister);
        case KELVO_MSG_CB_RPLY_VERIFY:
            return error_set(dump);
        default:
            return;
    }
}

void result(Dump& dump) {
    dump.fixed(kResult);
    const std::uint32_t length = dump.word_at(offsetof(kelvo_rply_item_get, length));
    dump.raw("untouched", 4);
    dump.value("value", length);
}

// Every answer of this kind has one group.
void listing(Dump& dump, bool with_values) {
    dump.fixed(kListReply);
    dump.record(kGroup);
    const std::uint32_t entries =
        counted(dump, sizeof(kelvo_rply_list) + offsetof(kelvo_rply_list_group, entries));
    for (std::uint32_t i = 0; i < entries && !dump.ended(); ++i) {
        dump.record(with_values ? std::span(kDatalistEntry) : std::span(kListEntry));
        dump.text("name");
        if (!with_values) continue;
        dump.counted_value("first value");
        dump.counted_value("second value");
    }
}

void bulk_reply(Dump& dump) {
    dump.fixed(kBulkReply);
    const std::uint32_t count = counted(dump, offsetof(kelvo_rply_bulk, word1));
    dump.in_host_order();
    for (std::uint32_t i = 0; i < count && !dump.ended(); ++i) {
        dump.record(kBulkReplyItem);
        dump.counted_text("name");
        dump.counted_value("data");
        dump.counted_text("third text");
    }
}

void callback(Dump& dump) {
    dump.fixed(kCallback);
    const std::uint32_t count = counted(dump, offsetof(kelvo_rply_cb_verify, count));
    for (std::uint32_t i = 0; i < count && !dump.ended(); ++i) {
        dump.record(kCallbackEntry);
        dump.text("path");
        dump.counted_value("first value");
        dump.counted_value("second value");
    }
}

void notification_set(Dump& dump) {
    dump.fixed(kNotifySet);
    const std::uint32_t count = counted(dump, offsetof(kelvo_msg_notifyset, count));
    for (std::uint32_t i = 0; i < count && !dump.ended(); ++i) {
        const std::uint32_t length = dump.record(kNotifyEntry);
        dump.raw("untouched", 4);
        dump.text("name", length);
        dump.counted_value("first value");
        dump.counted_value("second value");
    }
}

void answer(Dump& dump, std::uint32_t request_type) {
    switch (request_type) {
        case KELVO_MSG_LIST:
            return listing(dump, false);
        case KELVO_MSG_DATALIST:
        case KELVO_MSG_FIND:
        case KELVO_MSG_GET_ITEMS:
            return listing(dump, true);
        case KELVO_MSG_FIND_GRP_AG:
        case KELVO_MSG_FIND_GRP_AH:
            return dump.fixed(kFindGroupReply);
        case KELVO_MSG_BULK:
            return bulk_reply(dump);
        case KELVO_MSG_CB_GET:
            return callback(dump);
        default:
            return;
    }
}

}  // namespace

std::vector<std::string> dump_request(std::span<const std::uint8_t> message) {
    Dump dump(message);
    dump.header();
    if (message.size() >= sizeof(kelvo_msg_header)) {
        std::uint32_t type;
        std::memcpy(&type, message.data() + offsetof(kelvo_msg_header, type), sizeof type);
        request_body(dump, type);
    }
    dump.rest();
    return dump.take();
}

std::vector<std::string> dump_reply(std::span<const std::uint8_t> message,
                                    std::uint32_t request_type) {
    Dump dump(message);
    dump.header();
    switch (frame_of(message.data()).kind) {
        case Kind::result:
            result(dump);
            break;
        case Kind::event:
            notification_set(dump);
            break;
        case Kind::answer:
            answer(dump, request_type);
            break;
        case Kind::request:
            break;
    }
    dump.rest();
    return dump.take();
}

}  // namespace example
