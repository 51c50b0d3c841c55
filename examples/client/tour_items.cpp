// SPDX-License-Identifier: Apache-2.0
//
// Scenes: this machine's facts as items, and changes to them.
#include "requests.h"
#include "status.h"
#include "tour.h"

namespace example {
namespace {

// Names the item and the value that was asked for or sent.
std::string with_value(const std::string& request, const std::string& path, const Value& value) {
    return request + " " + path + " = " + shown(value);
}

}  // namespace

void Tour::facts() {
    out_.scene("This machine's interfaces and kernel, stored as items");
    for (const std::string& name : interface_names())
        for (const Fact& fact : interface_facts(name)) facts_.push_back(fact);
    for (const Fact& fact : machine_facts()) facts_.push_back(fact);
    out_.note(std::to_string(facts_.size()) + " facts, each created where its path belongs:");
    for (const Fact& fact : facts_)
        out_.status(with_value("create", fact.path, fact.value),
                    create(session_for(fact.path), fact.path, fact.value));

    out_.note("Read back over the same channels:");
    for (const Fact& fact : facts_) {
        Value value;
        const kelvo_status status = get(session_for(fact.path), fact.path, value);
        if (status != 0) out_.status("get " + fact.path, status);
        out_.value("get " + fact.path + " (" + type_name(value.type) + ")", value, fact.value);
    }
}

void Tour::changes() {
    out_.scene("Set, verify, delete if unchanged");
    const Fact& fact = facts_.front();
    Session& session = session_for(fact.path);
    const Value changed = int4(9000);
    Value value;
    out_.status("create " + fact.path + ", which exists", create(session, fact.path, changed),
                KELVO_ERR_ALREADY_EXISTS);
    out_.status(with_value("verify", fact.path, fact.value),
                verify(session, fact.path, fact.value));
    out_.status(with_value("set", fact.path, changed), set(session, fact.path, changed));
    out_.status(with_value("verify", fact.path, fact.value), verify(session, fact.path, fact.value),
                EXAMPLE_ERR_VALUE_DIFFERS);
    out_.status(with_value("delete if it is", fact.path, fact.value),
                remove_if(session, fact.path, fact.value), EXAMPLE_ERR_VALUE_DIFFERS);
    out_.status(with_value("delete if it is", fact.path, changed),
                remove_if(session, fact.path, changed));
    out_.status("get " + fact.path, get(session, fact.path, value), KELVO_ERR_NOT_FOUND);
    out_.status("delete " + fact.path, remove(session, fact.path), KELVO_ERR_NOT_FOUND);
    out_.status(with_value("set", fact.path, fact.value), set(session, fact.path, fact.value));
}

}  // namespace example
