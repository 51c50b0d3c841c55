// SPDX-License-Identifier: Apache-2.0
//
// What can be told of a regular expression before the engine sees it: whether it is safe to
// compile, and how much work a match may mean.
#pragma once

#include "kelvo_bytes.h"

namespace kelvo {

/// The steps that the engine takes at most in one run over a text of n characters before it has to
/// give a choice up: `once + per_character * n + per_pair * n * n`, each rounded up to a power of
/// two and stored as its exponent plus one, 0 for none. When `squared` is set, that many steps may
/// be repeated for each of them.
struct RegexCost {
    u8 once;
    u8 per_character;
    u8 per_pair;
    u8 squared;

    [[nodiscard]] double steps(double characters) const noexcept;
};

/// Reads a pattern once, from its first to its last byte, as the engine's extended syntax or its
/// basic one. @return whether it may be compiled; only then is the cost written
[[nodiscard]] bool regex_is_safe(const char* pattern, bool extended, RegexCost* cost) noexcept;

}  // namespace kelvo
