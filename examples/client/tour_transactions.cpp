// SPDX-License-Identifier: Apache-2.0
//
// Scenes: transactions, locks, bulk requests, copies.
#include "bulk_operations.h"
#include "status.h"
#include "tour.h"

namespace example {
namespace {

std::string operation_name(std::uint32_t code) {
    switch (code) {
        case kBulkGet:
            return "get";
        case kBulkSet:
            return "set";
        case kBulkDelete:
            return "delete";
        default:
            return "operation " + std::to_string(code) + " on";
    }
}

}  // namespace

void Tour::transactions() {
    out_.scene("Transactions: all or nothing");
    const std::string first = "cfg/gl/example/9", second = "cfg/gl/example/10";
    Session& session = session_for(first);
    const auto other = another_on(session.channel());
    Value value;

    out_.status("start", begin(session, 1));
    out_.status("start once more", begin(session, 2), EXAMPLE_ERR_NO_TRANSACTION);
    out_.status("set " + first, set(session, first, text("nine")));
    out_.status("delete " + second, remove(session, second));
    out_.status("get " + first + ", same client", get(session, first, value));
    out_.value("  sees its own change", value, text("nine"));
    out_.status("get " + first + ", another client", get(*other, first, value));
    out_.value("  sees what is committed", value, text("9"));
    out_.status("commit", commit(session));
    out_.status("get " + first + ", another client", get(*other, first, value));
    out_.value("  sees the commit", value, text("nine"));
    out_.status("get " + second, get(*other, second, value), KELVO_ERR_NOT_FOUND);

    out_.status("start", begin(session, 3));
    out_.status("set " + first, set(session, first, text("neuf")));
    out_.status("abort", abort(session));
    out_.status("get " + first, get(session, first, value));
    out_.value("  is as before", value, text("nine"));
    out_.status("commit without a start", commit(session), EXAMPLE_ERR_NO_TRANSACTION);
}

void Tour::locks() {
    out_.scene("Locks on an item");
    const std::string path = "cfg/gl/example/9";
    Session& session = session_for(path);
    const auto other = another_on(session.channel());
    out_.status("write lock", lock_for_writing(session, path));
    out_.status("another client sets the item", set(*other, path, text("x")), EXAMPLE_ERR_LOCKED);
    out_.check("  may it be tried again later?", "yes, by the class of the status",
               (EXAMPLE_ERR_LOCKED & KELVO_STATUS_CLASS_MASK) == KELVO_STATUS_CLASS_TRANSIENT);
    out_.status("another client locks it for reading", lock_for_reading(*other, path),
                EXAMPLE_ERR_LOCKED);
    out_.status("unlock", unlock(session, path));
    out_.status("another client locks it for reading", lock_for_reading(*other, path));
    out_.status("read lock beside it", lock_for_reading(session, path));
    out_.status("set while another reads", set(session, path, text("x")), EXAMPLE_ERR_LOCKED);
    out_.status("another client unlocks it", unlock(*other, path));
    out_.status("set", set(session, path, text("nine again")));
    out_.status("unlock", unlock(session, path));
    out_.status("unlock what is not locked", unlock(session, path), KELVO_ERR_NOT_FOUND);
}

void Tour::bulks() {
    out_.scene("Bulk: many operations in one message");
    Session& session = session_for("cfg/gl/example/");
    const std::vector<Operation> operations = {
        {kBulkSet, "2/size", int4(200)},
        {kBulkSet, "bulk/added", int8(1'000'000'000'000)},
        {kBulkGet, "9", {}},
        {kBulkDelete, "2/name", {}},
        {kBulkDelete, "absent", {}},
        {99, "9", {}},
    };
    const kelvo_status wanted[] = {0, 0, 0, 0, KELVO_ERR_NOT_FOUND, KELVO_ERR_NOT_SUPPORTED};
    std::vector<Outcome> outcomes;
    out_.status("6 operations below cfg/gl/example/",
                bulk(session, "cfg/gl/example/", operations, outcomes));
    out_.check("  outcomes", std::to_string(outcomes.size()), outcomes.size() == operations.size());
    for (std::size_t i = 0; i < outcomes.size(); ++i)
        out_.status("  " + operation_name(operations[i].code) + " " + outcomes[i].path,
                    outcomes[i].status, wanted[i]);
    if (outcomes.size() > 2) out_.value("  what it read", outcomes[2].value, text("nine again"));
    Value value;
    out_.status("get cfg/gl/example/2/size", get(session, "cfg/gl/example/2/size", value));
    out_.value("  is what the bulk set", value, int4(200));
}

void Tour::copies() {
    out_.scene("Copy of a subtree");
    Session& session = session_for("cfg/gl/example/");
    out_.status("copy cfg/gl/example/ to cfg/gl/copy/, without bulk/",
                copy(session, "cfg/gl/example/", "cfg/gl/copy/", "cfg/gl/example/bulk/"));
    show_entries("data-list cfg/gl/copy/", datalist(session, "cfg/gl/copy/", "", 0),
                 {"2", "9", "2/size", "alpha"});
}

}  // namespace example
