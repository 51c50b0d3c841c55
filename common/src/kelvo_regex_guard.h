// SPDX-License-Identifier: Apache-2.0
//
// What can be told of a regular expression before the engine sees it: whether it is safe to
// compile, and how much work a match may mean. And what the library asks of the engine besides its
// public functions.
#pragma once

#include "kelvo_bytes.h"
#include "kelvo_regex.h"

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

/// Whether patterns are read in the engine's own syntax, every byte a character: the process can
/// change both.
[[nodiscard]] bool regex_has_default_syntax() noexcept;

/// What kelvo_regexec() says of a text that need not end where its characters do.
[[nodiscard]] bool regex_matches(const kelvo_regex& compiled, const char* text,
                                 std::size_t characters) noexcept;

}  // namespace kelvo
