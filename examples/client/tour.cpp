// SPDX-License-Identifier: Apache-2.0
//
// The order of the scenes, the sessions, and the messages as they go by.
#include "tour.h"

#include <chrono>
#include <cstring>

#include "dump.h"
#include "kelvo_common_msg_bind.h"
#include "requests.h"
#include "status.h"

namespace example {
namespace {

std::uint32_t type_of(std::span<const std::uint8_t> message) {
    kelvo_msg_header header{};
    if (message.size() < sizeof header) return KELVO_MSG_TYPE_COUNT;
    std::memcpy(&header, message.data(), sizeof header);
    return header.type;
}

// What makes a reply worth showing once: whose it is, its kind, and whether it carries a value.
std::string reply_key(std::span<const std::uint8_t> message, std::uint32_t request_type) {
    const Frame frame = frame_of(message.data());
    const bool bare = frame.kind == Kind::result && message.size() == sizeof(kelvo_msg_header);
    if (bare) return "bare result";
    return "reply " + std::to_string(request_type) + " " +
           std::to_string(static_cast<std::uint32_t>(frame.kind));
}

}  // namespace

int Tour::run() {
    const auto start = std::chrono::steady_clock::now();
    paths();
    binds();
    facts();
    changes();
    lists();
    names();
    finds();
    transactions();
    locks();
    bulks();
    copies();
    notifications();
    verifications();
    refusals();
    goodbye();
    unsigned requests = 0;
    for (const auto& [channel, session] : sessions_) requests += session->answered();
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    return out_.summary(requests, took.count());
}

Session& Tour::session_on(const Channel& channel) {
    std::unique_ptr<Session>& session = sessions_[&channel];
    if (!session) session = std::make_unique<Session>(channel, *this);
    return *session;
}

std::unique_ptr<Session> Tour::another_on(const Channel& channel) {
    auto session = std::make_unique<Session>(channel, *this);
    out_.status(std::string("another client binds to ") + channel.path,
                bind(*session, KELVO_BIND_VERSION));
    return session;
}

Session& Tour::session_for(const std::string& path) {
    const Owner owner = resolve(path);
    if (owner.channel == nullptr)
        throw std::runtime_error(path + " cannot be reached: " + status_name(owner.status));
    return session_on(*owner.channel);
}

void Tour::sent(std::span<const std::uint8_t> message) {
    const std::uint32_t type = type_of(message);
    const bool known = type < KELVO_MSG_TYPE_COUNT;
    dump("request " + std::to_string(type),
         "> " + std::string(known ? kelvo_comm_msg_desc(type) : "truncated") + " request, " +
             std::to_string(message.size()) + " bytes",
         dump_request(message));
}

void Tour::received(std::span<const std::uint8_t> message, std::uint32_t request_type) {
    const bool event = frame_of(message.data()).kind == Kind::event;
    dump(event ? "event" : reply_key(message, request_type),
         (event ? "< notification set"
                : "< reply to " + std::string(kelvo_comm_msg_desc(request_type))) +
             ", " + std::to_string(message.size()) + " bytes",
         dump_reply(message, request_type));
}

void Tour::dump(const std::string& key, const std::string& caption,
                const std::vector<std::string>& lines) {
    if (!dumped_.insert(key).second && !dump_everything_) return;
    out_.faint(caption);
    for (const std::string& line : lines) out_.faint("  " + line);
}

void Tour::goodbye() {
    out_.scene("Unbind");
    for (const auto& [channel, session] : sessions_)
        out_.status(std::string("unbind from ") + channel->path, unbind(*session));
}

}  // namespace example
