// SPDX-License-Identifier: Apache-2.0
//
// The state machine that walks a path.
#pragma once

#include "kelvo_bytes.h"

namespace kelvo::nr {

/// What the machine says of a path.
struct Verdict {
    u32 result;       ///< KELVO_NR_DFA_...
    u32 flags;        ///< KELVO_NR_PATH_...
    char* component;  ///< where it stopped: for a node or an interface, the component that names it
};

/// Makes one component of a path a text of its own while it exists.
class Terminated {
  public:
    explicit Terminated(char* component) : end_(component + std::strcspn(component, "/")) {
        kept_ = *end_;
        *end_ = '\0';
    }
    ~Terminated() { *end_ = kept_; }
    Terminated(const Terminated&) = delete;
    Terminated& operator=(const Terminated&) = delete;

  private:
    char* end_;
    char kept_;
};

/// Copies a component for a report that also needs the whole path. One that is longer is cut.
/// @return whether it fitted
template <std::size_t Size>
bool copy_component(char (&copy)[Size], const char* component) {
    const std::size_t length = std::strcspn(component, "/");
    const std::size_t kept = length < Size ? length : Size - 1;
    std::memcpy(copy, component, kept);
    copy[kept] = '\0';
    return kept == length;
}

}  // namespace kelvo::nr

/// Walks a path, in which every component ends with "/". Only the options for regular expressions
/// and management clients count. The path is as it was when the walk is over.
[[nodiscard]] kelvo::nr::Verdict kelvo_nr_run_dfa(char* path, kelvo::u32 options);
