// SPDX-License-Identifier: Apache-2.0
//
// Messages that verbs read: from arguments, files and standard input.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "capture.h"

namespace kelvo::tool {

struct SourcedMessage {
    codec::Captured captured;
    std::string where;  ///< "argument 1", "trace.pcap, packet 3"
};

/// What the words of --input and --order mean; no order for "auto".
[[nodiscard]] codec::Form form_of(const std::string& word);
[[nodiscard]] std::optional<codec::Order> order_of(const std::string& word);

/// All messages of the arguments (hexadecimal digits) and the files; of standard input when there
/// is neither. Throws a Failure that names what cannot be read.
[[nodiscard]] std::vector<SourcedMessage> read_sources(const std::vector<std::string>& arguments,
                                                       const std::vector<std::string>& files,
                                                       codec::Form form,
                                                       const std::string& argument_name);

}  // namespace kelvo::tool
