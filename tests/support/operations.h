// SPDX-License-Identifier: Apache-2.0
//
// Every operation that takes a received buffer, run by name on a block of bytes, with an outcome
// that can be compared: for tests against models, for fuzzers and for measurements.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "kelvo_common_msg_guard.h"

namespace kelvo::test {

/// Name of an operation: that of its function.
[[nodiscard]] const char* name_of(kelvo_msg_operation operation);

inline constexpr std::uint32_t kOperationCount = KELVO_OPERATION_COUNT;

/// One output: what it is called and its value. Pointers into the block are offsets.
struct Output {
    const char* name;
    std::uint64_t value;

    friend bool operator==(const Output& a, const Output& b) {
        return a.value == b.value && std::string_view(a.name) == b.name;
    }
};

/// A null pointer among the outputs.
inline constexpr std::uint64_t kNullPointer = 0x4E55'4C4C'0000'0000;

/// What came of a run. Of one that fails, outputs that were written all the same are listed, too.
struct Outcome {
    std::uint32_t status = 0;
    std::vector<Output> outputs;  ///< in the order of the arguments
    std::string text;             ///< one that the operation has made

    friend bool operator==(const Outcome&, const Outcome&) = default;
    friend void PrintTo(const Outcome& outcome, std::ostream* out) { outcome.print(*out); }
    void print(std::ostream& out) const;
};

/// Runs an operation on the first `length` bytes at `block`. Whatever it hands out is copied into
/// `outcome` and released with the function that its header names; a failed VS or EDMS registration
/// leaves entries behind, which is meant. An item get in network order whose count is not 1 ends
/// the process.
///
/// A step of a reader stands for the whole walk: the message is interpreted, and then items are
/// taken until one fails, however many the message claims. A step back stands for the same walk
/// with each item given back and taken again. The value variant of a notification set is walked as
/// well.
void run(kelvo_msg_operation operation, void* block, std::uint32_t length, Outcome& outcome);

}  // namespace kelvo::test
