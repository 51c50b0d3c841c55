// SPDX-License-Identifier: Apache-2.0
//
// The state table as the library exports it. The machine reads it from here and knows nothing of
// how it was laid out.
#include "kelvo_node_resolver_layout.h"

using namespace kelvo::nr;

namespace {

constexpr Layout kLayout;

static_assert(kLayout.count == KELVO_NR_DFA_STATES, "the rows make this many states");
static_assert(kLayout.start == 165, "the top level is laid down last, its miss after it");

#define NAME_HASHES_TO(text, hash) static_assert(hash_of(text) == (hash), text);
KELVO_NR_NAME_LIST(NAME_HASHES_TO)
#undef NAME_HASHES_TO

constexpr kelvo::u32 kKnownHashes[] = {
#define HASH(text, hash) hash,
    KELVO_NR_NAME_LIST(HASH)
#undef HASH
};

consteval bool is_known(kelvo::u32 hash) {
    for (const kelvo::u32 known : kKnownHashes) {
        if (known == hash) return true;
    }
    return false;
}

consteval bool names_are_known(const Pattern& pattern) {
    for (kelvo::u32 i = 0; i < pattern.alternatives; ++i) {
        if (!is_known(pattern.hashes[i])) return false;
    }
    return true;
}

consteval bool rows_use_known_names() {
    for (const Row& row : rows::kAll) {
        for (const Pattern& pattern : Parts(row).patterns) {
            if (!names_are_known(pattern)) return false;
        }
    }
    return true;
}
static_assert(rows_use_known_names(), "no row has a misspelt name");

}  // namespace

#define STATE(n) kLayout.states[n]
#define TEN_STATES(tens)                                                                           \
    STATE(tens##0), STATE(tens##1), STATE(tens##2), STATE(tens##3), STATE(tens##4),                \
        STATE(tens##5), STATE(tens##6), STATE(tens##7), STATE(tens##8), STATE(tens##9)

constinit const kelvo_nr_dfa_state kelvo_nr_dfa_state_table[KELVO_NR_DFA_STATES] = {
    TEN_STATES(),   TEN_STATES(1),  TEN_STATES(2),  TEN_STATES(3),  TEN_STATES(4),  TEN_STATES(5),
    TEN_STATES(6),  TEN_STATES(7),  TEN_STATES(8),  TEN_STATES(9),  TEN_STATES(10), TEN_STATES(11),
    TEN_STATES(12), TEN_STATES(13), TEN_STATES(14), TEN_STATES(15), STATE(160),     STATE(161),
    STATE(162),     STATE(163),     STATE(164),     STATE(165),     STATE(166)};

constinit const uint32_t kelvo_nr_dfa_start_state = kLayout.start;
