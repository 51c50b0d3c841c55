// SPDX-License-Identifier: Apache-2.0
//
// One function per request: compose with the library, send the list, convert the reply with the
// library. Where the library has no composer, the message is laid out by its public layout struct.
// Each answers with the status that the server gave.
#pragma once

#include <string>
#include <vector>

#include "session.h"
#include "value.h"

namespace example {

/// Reads a reply that is a result. @return its status; `value`, when given, receives its value
kelvo_status read_result(Message& reply, Value* value = nullptr);

// ---- bind (requests_item.cpp)

kelvo_status bind(Session& session, std::uint32_t version);
kelvo_status unbind(Session& session);

// ---- one item (requests_item.cpp)

kelvo_status get(Session& session, const std::string& path, Value& value);
kelvo_status set(Session& session, const std::string& path, Value value);
kelvo_status create(Session& session, const std::string& path, Value value);
kelvo_status remove(Session& session, const std::string& path);
/// Removes the item only if it holds this value.
kelvo_status remove_if(Session& session, const std::string& path, Value value);
/// Asks whether the item holds this value.
kelvo_status verify(Session& session, const std::string& path, Value value);
/// Sends a set and does not wait. @return the request's number
std::uint32_t send_set(Session& session, const std::string& path, Value value);

// ---- many items (requests_list.cpp)

struct Entry {
    std::string name;
    Value value;              // not in a list
    kelvo_status status = 0;  // in a get-items
};

struct Listing {
    kelvo_status status = 0;
    std::vector<Entry> entries;
    bool more = false;  // ask again, after the last name
};

/// Names directly below a path; `after` and `limit` may be empty and 0.
Listing list(Session& session, const std::string& base, const std::string& after,
             std::uint32_t limit);
/// All items below a path.
Listing datalist(Session& session, const std::string& base, const std::string& after,
                 std::uint32_t limit);
/// Items whose paths match a pattern.
Listing find(Session& session, const std::string& pattern, const std::string& after,
             std::uint32_t limit);
/// Named items below a path.
Listing get_items(Session& session, const std::string& base, std::vector<std::string> names);
/// How many items a configuration group holds.
kelvo_status find_group(Session& session, const std::string& group, std::uint32_t& items);

// ---- transactions, locks, copy (requests_transaction.cpp)

kelvo_status begin(Session& session, std::uint64_t name);
kelvo_status commit(Session& session);
kelvo_status abort(Session& session);
kelvo_status lock_for_writing(Session& session, const std::string& path);
kelvo_status lock_for_reading(Session& session, const std::string& path);
kelvo_status unlock(Session& session, const std::string& path);
/// Copies the items below one path to another, but for those below `except` (empty: all).
kelvo_status copy(Session& session, const std::string& from, const std::string& to,
                  const std::string& except);

// ---- bulk (requests_bulk.cpp)

struct Operation {
    std::uint32_t code;  // kBulk...
    std::string name;
    Value value;
};

struct Outcome {
    std::string path;
    kelvo_status status;
    Value value;
};

/// Carries out many operations below one path. @return the request's status; `outcomes` receives
/// one for each operation
kelvo_status bulk(Session& session, const std::string& leading,
                  const std::vector<Operation>& operations, std::vector<Outcome>& outcomes);

// ---- notifications (requests_notifier.cpp)

struct Notification {
    std::uint32_t kind;
    std::string path;
    Value before, after;
};

kelvo_status register_notifier(Session& session, std::uint32_t id, const std::string& path);
kelvo_status unregister_notifier(Session& session, std::uint32_t id);
/// Waits for the next notification set. `id` receives the registration that it is for.
std::vector<Notification> next_notifications(Session& session, std::uint32_t& id);

// ---- verifiers (requests_verifier.cpp)

struct Callback {
    std::uint32_t id;
    std::vector<Notification> changes;
};

kelvo_status register_verifier(Session& session, std::uint32_t id,
                               const std::vector<std::string>& paths);
kelvo_status unregister_verifier(Session& session, std::uint32_t id);
/// Asks for work and does not wait. @return the request's number
std::uint32_t fetch_callback(Session& session);
/// Waits for the work.
Callback read_callback(Session& session, std::uint32_t number);
/// Accepts the changes, or, with an objection, refuses them.
kelvo_status answer_callback(Session& session, const Callback& callback,
                             const std::string& objection);

}  // namespace example
