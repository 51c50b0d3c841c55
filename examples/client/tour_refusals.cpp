// SPDX-License-Identifier: Apache-2.0
//
// Scene: what the server refuses, and that it goes on afterwards.
#include <cstring>

#include "kelvo_common_msg_bind.h"
#include "kelvo_common_msg_item.h"
#include "layout.h"
#include "requests.h"
#include "status.h"
#include "tour.h"

namespace example {
namespace {

// A well-formed get in one piece, to be spoilt.
std::vector<std::uint8_t> get_message(const std::string& path) {
    kelvo_msg_item_request header{};
    kelvo_length_cell names{}, type{}, length{};
    kelvo_slot list[6];
    kelvo_lib_msg_item_get_compose(&header, &names.length, &type.length, &length.length,
                                   const_cast<char*>(path.c_str()), 0, list);
    return flatten(list);
}

kelvo_status answer_to(Session& session, std::vector<std::uint8_t> message) {
    Message reply = session.call(message);
    return read_result(reply);
}

std::vector<std::uint8_t> with_word(std::vector<std::uint8_t> message, std::size_t offset,
                                    std::uint32_t word) {
    std::memcpy(message.data() + offset, &word, sizeof word);
    return message;
}

}  // namespace

void Tour::refusals() {
    out_.scene("Messages that are refused");
    const std::string path = facts_.front().path;
    Session& session = session_for(path);
    const std::vector<std::uint8_t> good = get_message(path);

    out_.status("get of a path that nobody owns", answer_to(session, get_message("cfg/nowhere/x")),
                KELVO_ERR_NO_OWNER);
    out_.status("get of a path of another server", answer_to(session, get_message("cfg/gl/x")),
                KELVO_ERR_NO_OWNER);
    out_.status("a message type that has no handler (64 ping)",
                answer_to(session, with_word(good, offsetof(kelvo_msg_header, type), 64)),
                KELVO_ERR_NOT_SUPPORTED);
    out_.status(
        "two names in one get",
        answer_to(session, with_word(good, offsetof(kelvo_msg_item_request, names), network(2))),
        KELVO_ERR_MSG_CONTENT);
    out_.status("a path longer than the message",
                answer_to(session, with_word(good, offsetof(kelvo_msg_item_request, path),
                                             network(0xfffffff8))),
                KELVO_ERR_MSG_LENGTH);
    refuse_truncations(session);
    for (const Channel& channel : channels())
        if (&channel == &session.channel()) refuse_hostile_frames(channel);

    Value value;
    out_.status("and the server still answers a get", get(session, path, value));
}

void Tour::refuse_truncations(Session& session) {
    const std::vector<std::uint8_t> good = get_message(facts_.front().path);
    unsigned refused = 0, sent = 0;
    for (std::size_t length = sizeof(Frame); length < good.size(); ++length, ++sent) {
        const kelvo_status status =
            answer_to(session, {good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length)});
        if (status == KELVO_ERR_MSG_LENGTH) ++refused;
    }
    out_.check("the same get, cut short at every length",
               std::to_string(refused) + " of " + std::to_string(sent) +
                   " refused with KELVO_ERR_MSG_LENGTH",
               refused == sent);
}

// A length that cannot be right loses the stream: one last result, and the connection is closed.
void Tour::refuse_hostile_frames(const Channel& channel) {
    const std::uint32_t frames[][2] = {
        {kFrameMagic, 0xffffffff}, {kFrameMagic, kMaxRequest + 1}, {kFrameMagic, 0}, {0, 40}};
    for (const auto& [magic, length] : frames) {
        Session session(channel, *this);
        std::vector<std::uint8_t> bytes(sizeof(kelvo_msg_header));
        seal(bytes.data(), Kind::request, 0, length);
        bytes = with_word(std::move(bytes), 0, network(magic));
        session.send_unframed(bytes);
        Message reply = session.reply_to(0);
        char what[64];
        std::snprintf(what, sizeof what, "a frame with magic 0x%08x, length 0x%08x", magic, length);
        out_.status(what, read_result(reply), KELVO_ERR_MSG_LENGTH);
        out_.check("  and the connection", "is closed", session.closed());
    }
}

}  // namespace example
