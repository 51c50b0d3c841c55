// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kelvo::tool {

/// One thing to answer.
struct Record {
    std::string_view text;
    std::string_view source;  ///< "argument", a file's name or "standard input"
    std::uint64_t number;     ///< of the argument or line, from 1

    /// "argument 2" or "paths.txt:2".
    [[nodiscard]] std::string where() const;
};

}  // namespace kelvo::tool
