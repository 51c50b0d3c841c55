// SPDX-License-Identifier: Apache-2.0
//
// What targets of received messages have in common. An input is a byte that chooses among the
// operations of the target, and the message. Of every message there must hold:
//
//  - The guard and the operation agree. One that is passed is run on a block of exactly its size,
//    which the address sanitizer watches. One that is refused would really have gone wrong: run
//    before pages that nobody may touch, the operation reaches one of them or stops the process.
//  - One that is passed comes to what the operation's model says: status, fields, every byte.
//  - A message in network order that is accepted is one in host order afterwards, and is accepted
//    as that with the same fields. A message in host order is accepted in network order, too, and
//    comes out as it was.
//  - What is converted for sending comes back by the receiver's conversion as it was.
//
// Including this file defines the fuzzer's entry points and the C library's assertion handler.
#pragma once

#include "fuzz/families.h"
#include "fuzz/fuzz.h"
#include "fuzz/mutator.h"
#include "kelvo_common_msg_guard.h"
#include "models/models.h"
#include "support/fenced.h"
#include "support/operations.h"

namespace kelvo::fuzz {

using test::Bytes;
using test::Outcome;
using test::word_at;
using Operation = kelvo_msg_operation;

inline constexpr std::size_t kMostMessage = 512;
inline constexpr Operation kNone = KELVO_OPERATION_COUNT;

using MessageBlock = Block<kMostMessage>;

/// An outcome whose room is kept from one input to the next.
template <int kPlace>
Outcome& kept_outcome() {
    static Outcome outcome;
    return outcome;
}

inline kelvo_status ask(Operation operation, const MessageBlock& block) {
    return kelvo_common_msg_guard(operation, block.begin(), block.length());
}

/// Runs an operation on a block that the guard has passed.
inline void run(Operation operation, MessageBlock& block, Outcome& outcome) {
    test::run(operation, block.begin(), block.length(), outcome);
}

// --- passed -------------------------------------------------------------------------------------

/// A message that the guard has passed has been run, and comes to what its model says.
inline void check_model(Operation operation, const Bytes& message, const MessageBlock& block,
                        const Outcome& outcome) {
    static model::Expected expected;
    expected.outcome.outputs.clear();
    expected.outcome.text.clear();
    expected.left_behind = 0;
    const std::uint8_t nothing = 0;
    const std::uint8_t* const bytes = message.empty() ? &nothing : message.data();
    model::Message steps(bytes, message.size(), message.size());
    expected.outcome.status = model::model_of(operation).steps(steps, expected);
    KELVO_HOLDS(outcome == expected.outcome && expected.left_behind == 0);
    KELVO_HOLDS(std::memcmp(block.begin(), steps.after(), block.size()) == 0);
}

// --- refused ------------------------------------------------------------------------------------

inline bool is_observing = false;

/// Whether memory may stay behind an operation that is refused: that of pairs, which is why, or of
/// an array that a fault interrupts. That would look like a leak, so these are not run.
inline bool may_keep_memory(Operation operation) {
    return operation == KELVO_OPERATION_VS_REG || operation == KELVO_OPERATION_EDMS_REG ||
           operation == KELVO_OPERATION_CFG_GRP || operation == KELVO_OPERATION_GET_ITEMS_NTOH;
}

/// Runs an operation as far as the guard's answer covers it.
using Runner = void (*)(Operation operation, void* message, std::uint32_t length, Outcome& outcome);

/// Runs an operation on a message that stands before pages that nobody may touch.
inline test::Ending run_to_its_end(Runner runner, Operation operation, const Bytes& message) {
    static test::Fenced fenced;
    std::uint8_t* const at = fenced.place(message);
    Outcome& outcome = kept_outcome<9>();
    test::Observer observer;
    __lsan_disable();
    is_observing = true;
    const test::Ending ending = observer.observe(
        [&] { runner(operation, at, static_cast<std::uint32_t>(message.size()), outcome); });
    is_observing = false;
    __lsan_enable();
    return ending;
}

/// A refused message does harm where it stands alone.
inline void check_refusal(Runner runner, Operation operation, const Bytes& message,
                          kelvo_status status) {
    if (may_keep_memory(operation)) return;
    switch (run_to_its_end(runner, operation, message)) {
        case test::Ending::reached_outside:
            KELVO_HOLDS(status == KELVO_ERR_MSG_LENGTH);
            break;
        case test::Ending::stopped:
            KELVO_HOLDS(status == KELVO_ERR_MSG_CONTENT);
            break;
        case test::Ending::returned:
            broken("an operation that is refused does harm", __FILE__, __LINE__);
    }
}

// --- the same message in the other order --------------------------------------------------------

/// An operation in host order, the one in network order, and what the first converts besides the
/// cells of its texts: words, and whether a value by its type ends the message.
struct Twins {
    Operation host;
    Operation network;
    std::initializer_list<std::uint32_t> words;
    bool has_value;
};

/// An operation that prepares a message for sending, the one that undoes it, and the one that reads
/// the message in host order, if there is one.
struct Sending {
    Operation send;
    Operation receive;
    Operation read;
};

inline void reverse(std::uint8_t* at, std::size_t bytes) {
    std::reverse(at, at + bytes);
}

inline std::size_t width_of(std::uint32_t type) {
    switch (type) {
        case 10:
        case 11:
            return 2;
        case 1:
        case 12:
            return 4;
        case 2:
        case 13:
            return 8;
        default:
            return 0;
    }
}

inline const test::Output* find_output(const Outcome& outcome, std::string_view name) {
    for (const test::Output& output : outcome.outputs) {
        if (name == output.name) return &output;
    }
    return nullptr;
}

inline bool is_text(std::string_view name) {
    return name == "path" || name == "base_path" || name == "names" || name == "first_string" ||
           name == "second_string" || name == "string";
}

/// Turns a message in host order, whose outcome is given, into its twin.
inline void turn(const Twins& twins, const Outcome& outcome, std::uint8_t* message) {
    std::uint8_t* value_cell = nullptr;
    for (const test::Output& output : outcome.outputs) {
        if (!is_text(output.name)) continue;
        std::uint8_t* const cell = message + output.value - 8;
        value_cell = cell + 8 + (word_at(cell, 0) + std::size_t{7}) / 8 * 8;
        reverse(cell, 4);
    }
    if (twins.has_value) {
        const std::uint32_t type =
            static_cast<std::uint32_t>(find_output(outcome, "value_type")->value);
        if (word_at(value_cell, 0) != 0) reverse(value_cell + 8, width_of(type));
        reverse(value_cell, 4);
    }
    for (const std::uint32_t at : twins.words) reverse(message + at, 4);
}

/// The network's message has been accepted, which left it in host order at `block`.
inline void check_host_twin(const Twins& twins, MessageBlock& block, const Outcome& network) {
    static MessageBlock copy;
    copy.hold(block.begin(), block.size());
    KELVO_HOLDS(ask(twins.host, copy) == 0);
    Outcome& host = kept_outcome<2>();
    run(twins.host, copy, host);
    KELVO_HOLDS(host == network);
}

/// A message in host order, left as it was, has been accepted.
inline void check_network_twin(const Twins& twins, MessageBlock& block, const Outcome& host) {
    static MessageBlock copy;
    copy.hold(block.begin(), block.size());
    turn(twins, host, copy.begin());
    KELVO_HOLDS(ask(twins.network, copy) == 0);
    Outcome& network = kept_outcome<2>();
    run(twins.network, copy, network);
    KELVO_HOLDS(host == network);
    KELVO_HOLDS(std::memcmp(copy.begin(), block.begin(), block.size()) == 0);
}

/// A message that is correct has been converted for sending.
inline void check_return(const Sending& sending, MessageBlock& sent, const Bytes& message) {
    KELVO_HOLDS(ask(sending.receive, sent) == 0);
    Outcome& outcome = kept_outcome<3>();
    run(sending.receive, sent, outcome);
    KELVO_HOLDS(outcome.status == 0);
    KELVO_HOLDS(std::equal(message.begin(), message.end(), sent.begin()));
}

/// Whether the message, in host order, is one that its reader accepts.
inline bool is_read(const Sending& sending, const Bytes& message) {
    if (sending.read == kNone) return true;
    static MessageBlock copy;
    copy.hold(message.data(), message.size());
    if (ask(sending.read, copy) != 0) return false;
    Outcome& outcome = kept_outcome<4>();
    run(sending.read, copy, outcome);
    return outcome.status == 0;
}

// --- a family -----------------------------------------------------------------------------------

/// The operations of a target and how they go together.
struct Family {
    Operations operations;
    std::initializer_list<Twins> twins;
    std::initializer_list<Sending> sendings;
    Runner runner = test::run;
    /// More that must hold of a message that the guard has passed and that has been run.
    void (*more)(Operation operation, const Bytes& message, MessageBlock& block,
                 const Outcome& outcome) = nullptr;
};

inline void check_accepted(const Family& family, Operation operation, const Bytes& message,
                           MessageBlock& block, const Outcome& outcome) {
    for (const Twins& twins : family.twins) {
        if (operation == twins.network) check_host_twin(twins, block, outcome);
        if (operation == twins.host) check_network_twin(twins, block, outcome);
    }
    for (const Sending& sending : family.sendings) {
        if (operation == sending.send && is_read(sending, message)) {
            check_return(sending, block, message);
        }
    }
}

inline int check_message(const Family& family, const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size - 1 > kMostMessage) return -1;
    const Operation operation = family.operations.begin()[data[0] % family.operations.size()];
    static Bytes message;
    message.assign(data + 1, data + size);
    static MessageBlock block;
    block.hold(message.data(), message.size());

    const kelvo_status status = ask(operation, block);
    KELVO_HOLDS(std::equal(message.begin(), message.end(), block.begin()));
    if (status != 0) {
        check_refusal(family.runner, operation, message, status);
        return 0;
    }
    Outcome& outcome = kept_outcome<1>();
    run(operation, block, outcome);
    check_model(operation, message, block, outcome);
    if (outcome.status == 0) check_accepted(family, operation, message, block, outcome);
    if (family.more != nullptr) family.more(operation, message, block, outcome);
    return 0;
}

}  // namespace kelvo::fuzz

extern "C" [[noreturn]] void __assert_fail(const char* condition, const char* file, unsigned line,
                                           const char*) noexcept(true) {
    if (kelvo::fuzz::is_observing) kelvo::test::Observer::end(SIGABRT);
    std::fprintf(stderr, "%s:%u: assertion %s\n", file, line, condition);
    std::abort();
}
