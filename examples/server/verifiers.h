// SPDX-License-Identifier: Apache-2.0
//
// Who is asked before a change: registered verifiers, and the changes that wait for their answers.
//
// A verifier fetches its work with a callback-get request, which is answered when there is some,
// and replies with an error set; one without entries accepts the changes. Changes that nobody
// verifies do not come here. A change is put to the first verifier that is registered for its path.
#pragma once

#include <list>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "change.h"
#include "connection.h"

namespace example {

/// Changes that wait, and who waits for them.
struct Verification {
    std::uint32_t id;  // names the callback in its reply
    Connection* verifier;
    Connection* requester;
    std::uint32_t number;  // of the request
    Changes changes;
    std::optional<Reply> work;  // the callback, until the verifier has fetched it
};

class Verifiers {
  public:
    /// @return 0, or KELVO_ERR_ALREADY_EXISTS when the client has a registration of this id
    kelvo_status add(Connection& client, std::uint32_t id, std::vector<std::string> paths);
    /// @return 0 or KELVO_ERR_NOT_FOUND
    kelvo_status remove(const Connection& client, std::uint32_t id);

    /// The verifier of these changes, or null. Nobody verifies its own.
    Connection* verifier_of(const Connection& requester, const Changes& changes) const;
    /// True when a change of this item waits for an answer.
    bool waiting_for(const std::string& path) const;

    /// Puts changes to a verifier. False when too many wait already.
    bool ask(Connection& verifier, Connection& requester, std::uint32_t number, Changes changes,
             const Effects& effects);
    /// A callback-get request: answers it at once, or later when there is work.
    void fetch(Connection& verifier, std::uint32_t number);
    /// Takes the verification that a verifier answers.
    std::optional<Verification> take(const Connection& verifier, std::uint32_t id);

    /// Drops what a client had. @return what waited for its answer
    std::list<Verification> forget(const Connection& client);

  private:
    struct Verifier {
        Connection* client;
        std::uint32_t id;
        std::vector<std::string> paths;
    };

    void deliver(Connection& verifier);

    std::vector<Verifier> verifiers_;
    std::map<const Connection*, std::uint32_t> fetching_;  // number of the callback-get
    std::list<Verification> waiting_;
    std::uint32_t last_id_ = 0;
};

}  // namespace example
