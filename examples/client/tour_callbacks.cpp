// SPDX-License-Identifier: Apache-2.0
//
// Scenes: a client that is told of changes, and one that is asked before them.
#include "change_kinds.h"
#include "status.h"
#include "tour.h"

namespace example {
namespace {

std::string described(const Notification& change) {
    switch (change.kind) {
        case kCreated:
            return "created " + change.path + " = " + shown(change.after);
        case kRemoved:
            return "removed " + change.path + " = " + shown(change.before);
        default:
            return "changed " + change.path + " = " + shown(change.before) + " to " +
                   shown(change.after);
    }
}

}  // namespace

void Tour::notifications() {
    out_.scene("Notifications: being told of changes");
    const std::string path = "cfg/gl/watched/x";
    Session& session = session_for(path);
    const auto other = another_on(session.channel());
    out_.status("register for changes below cfg/gl/watched/",
                register_notifier(*other, 7, "cfg/gl/watched/"));
    out_.status("the same registration again", register_notifier(*other, 7, "cfg/gl/watched/"),
                KELVO_ERR_ALREADY_EXISTS);

    const auto expect = [&](const std::string& wanted) {
        std::uint32_t id = 0;
        for (const Notification& change : next_notifications(*other, id))
            out_.check("  the other client is told", described(change),
                       id == 7 && described(change) == wanted);
    };
    out_.status("create " + path, create(session, path, int4(1)));
    expect("created " + path + " = 1");
    out_.status("set " + path, set(session, path, int4(2)));
    expect("changed " + path + " = 1 to 2");
    out_.status("delete " + path, remove(session, path));
    expect("removed " + path + " = 2");
    out_.status("unregister", unregister_notifier(*other, 7));
    out_.status("unregister once more", unregister_notifier(*other, 7), KELVO_ERR_NOT_FOUND);
}

void Tour::verifications() {
    out_.scene("Verifiers: being asked before a change");
    const std::string path = "cfg/gl/limits/mtu";
    Session& session = session_for(path);
    const auto verifier = another_on(session.channel());
    out_.status("register as verifier of cfg/gl/limits/",
                register_verifier(*verifier, 8, {"cfg/gl/limits/"}));

    const auto ask = [&](std::uint32_t mtu, const std::string& objection, kelvo_status wanted) {
        const std::uint32_t work = fetch_callback(*verifier);
        const std::uint32_t pending = send_set(session, path, int4(mtu));
        const Callback callback = read_callback(*verifier, work);
        for (const Notification& change : callback.changes)
            out_.check("the verifier is asked", described(change),
                       change.path == path && change.after == int4(mtu));
        out_.status(objection.empty() ? "  it accepts" : "  it objects: " + objection,
                    answer_callback(*verifier, callback, objection));
        Message reply = session.reply_to(pending);
        out_.status("set " + path + " = " + std::to_string(mtu), read_result(reply), wanted);
    };
    ask(1500, "", 0);
    ask(99, "an MTU is at least 576", EXAMPLE_ERR_VERIFIER_REFUSED);
    Value value;
    out_.status("get " + path, get(session, path, value));
    out_.value("  is what was accepted", value, int4(1500));
    out_.status("unregister", unregister_verifier(*verifier, 8));
    out_.status("set without a verifier", set(session, path, int4(99)));
}

}  // namespace example
