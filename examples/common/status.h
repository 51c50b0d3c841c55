// SPDX-License-Identifier: Apache-2.0
//
// Statuses by name: the library's list, and the few that are this example server's own. A server's
// statuses are its own numbers; only the class in the top three bits has a meaning for others, and
// the transient class says that trying again later may succeed.
#pragma once

#include <string>

#include "kelvo_status.h"
#include "kelvo_types.h"

#define EXAMPLE_ERR_NOT_BOUND 0x40ee0200u
#define EXAMPLE_ERR_VALUE_DIFFERS 0x40ee0400u
#define EXAMPLE_ERR_NO_TRANSACTION 0x40ee0600u
#define EXAMPLE_ERR_VERIFIER_REFUSED 0x40ee0800u
#define EXAMPLE_ERR_STORE_FULL 0x40ee0a00u
#define EXAMPLE_ERR_TOO_LARGE 0x40ee0c00u
#define EXAMPLE_ERR_LOCKED 0x80ee0e00u
#define EXAMPLE_ERR_VERIFIER_GONE 0x80ee1000u

/** X(name, meaning), as KELVO_STATUS_LIST. */
#define EXAMPLE_STATUS_LIST(X)                                                                     \
    X(EXAMPLE_ERR_NOT_BOUND, "the connection is not bound")                                        \
    X(EXAMPLE_ERR_VALUE_DIFFERS, "the item holds another value")                                   \
    X(EXAMPLE_ERR_NO_TRANSACTION, "no transaction is open, or one is open already")                \
    X(EXAMPLE_ERR_VERIFIER_REFUSED, "a verifier refused the change")                               \
    X(EXAMPLE_ERR_STORE_FULL, "the example store has no room for the item")                        \
    X(EXAMPLE_ERR_TOO_LARGE, "the answer would be larger than a message may be")                   \
    X(EXAMPLE_ERR_LOCKED, "another client holds the item")                                         \
    X(EXAMPLE_ERR_VERIFIER_GONE, "the verifier went away before it answered")

namespace example {

/// "ok", or the name of the code ("0x..." for one that is not known here).
std::string status_name(kelvo_status status);

/// What the code means; empty when it is not known here.
std::string status_meaning(kelvo_status status);

}  // namespace example
