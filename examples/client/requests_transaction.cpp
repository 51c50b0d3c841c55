// SPDX-License-Identifier: Apache-2.0
//
// Transactions, locks and copy. Only copy has a composer; the rest is laid out here.
#include "kelvo_common_msg_copy.h"
#include "kelvo_common_msg_transaction.h"
#include "layout.h"
#include "requests.h"

namespace example {
namespace {

kelvo_msg_header header_of(kelvo_msg_type type) {
    kelvo_msg_header header{};
    header.type = type;
    return header;
}

kelvo_status call(Session& session, Layout& layout) {
    std::vector<std::uint8_t> message = layout.take();
    Message reply = session.call(message);
    return read_result(reply);
}

kelvo_status call_bare(Session& session, kelvo_msg_type type) {
    return call(session, Layout().fixed(header_of(type)));
}

kelvo_status call_lock(Session& session, kelvo_msg_type type, const std::string& path) {
    return call(session, Layout().fixed(header_of(type)).text(path));
}

}  // namespace

// The words of a transaction are the client's; this one puts a name of its own in the first.
kelvo_status begin(Session& session, std::uint64_t name) {
    kelvo_msg_transaction_start start{};
    start.header = header_of(KELVO_MSG_TRANS_START);
    put_words(start.first, name);
    return call(session, Layout().fixed(start));
}

kelvo_status commit(Session& session) {
    return call_bare(session, KELVO_MSG_TRANS_COMMIT);
}

kelvo_status abort(Session& session) {
    return call_bare(session, KELVO_MSG_TRANS_ABORT);
}

kelvo_status lock_for_writing(Session& session, const std::string& path) {
    return call_lock(session, KELVO_MSG_ITEM_WRLOCK, path);
}

kelvo_status lock_for_reading(Session& session, const std::string& path) {
    return call_lock(session, KELVO_MSG_ITEM_RDLOCK, path);
}

kelvo_status unlock(Session& session, const std::string& path) {
    return call_lock(session, KELVO_MSG_ITEM_UNLOCK, path);
}

// The composer sends its third path first: that is where the copy is made from.
kelvo_status copy(Session& session, const std::string& from, const std::string& to,
                  const std::string& except) {
    kelvo_msg_copy header{};
    kelvo_length_cell from_length{}, to_length{}, except_length{};
    std::string second = to, third = except;  // the composer takes them as writable texts
    kelvo_slot list[10];
    kelvo_common_msg_copy_compose(&header, &to_length.length, &except_length.length,
                                  &from_length.length, second.data(), third.data(), from.c_str(), 0,
                                  list);
    Message reply = session.call(&header, list);
    return read_result(reply);
}

}  // namespace example
