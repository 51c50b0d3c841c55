// SPDX-License-Identifier: Apache-2.0
//
// Draws the node resolver's state machine, as the library has it, in the language of Graphviz:
//
//     kelvo-resolver-graph | dot -Tsvg -o resolver.svg
//
// A state is a node with its number and what it does; a solid edge is success, a dashed one
// failure.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "kelvo_node_resolver.h"

namespace {

struct Named {
    std::uint32_t value;
    const char* name;
};

constexpr Named kNames[] = {
#define KELVO_NAMED_HASH(text, hash) {hash, text},
    KELVO_NR_NAME_LIST(KELVO_NAMED_HASH)
#undef KELVO_NAMED_HASH
};
constexpr Named kResults[] = {
    {KELVO_NR_DFA_INVALID, "INVALID"}, {KELVO_NR_DFA_AMBIGUOUS, "AMBIGUOUS"},
    {KELVO_NR_DFA_SHARED, "SHARED"},   {KELVO_NR_DFA_LOCAL, "LOCAL"},
    {KELVO_NR_DFA_ADMIN, "ADMIN"},     {KELVO_NR_DFA_NODE, "NODE"},
    {KELVO_NR_DFA_IFNAME, "IFNAME"},   {KELVO_NR_DFA_ALL_LOCAL, "ALL_LOCAL"},
};
constexpr Named kFlags[] = {
    {KELVO_NR_PATH_DEPRECATED, "DEPRECATED"},   {KELVO_NR_PATH_LOG_DEPRECATED, "LOGGED"},
    {KELVO_NR_PATH_ALL_LOCAL, "ALL_LOCAL"},     {KELVO_NR_PATH_REGEXP, "REGEXP"},
    {KELVO_NR_PATH_UNVERSIONED, "UNVERSIONED"},
};

template <std::size_t N>
std::string name_of(const Named (&list)[N], std::uint32_t value) {
    for (const Named& named : list) {
        if (named.value == value) return named.name;
    }
    return "unknown " + std::to_string(value);
}

std::string names_of_flags(std::uint32_t flags) {
    std::string names;
    for (const Named& flag : kFlags) {
        if ((flags & flag.value) != 0) names += std::string(" ") + flag.name;
    }
    return names;
}

std::string label_of(const kelvo_nr_dfa_state& state) {
    switch (state.operation) {
        case KELVO_NR_DFA_ADVANCE:
            return "next component";
        case KELVO_NR_DFA_RESULT:
            return name_of(kResults, state.argument);
        case KELVO_NR_DFA_SET_FLAG:
            return "flags" + names_of_flags(state.argument);
        case KELVO_NR_DFA_MATCH:
            return "is it " + name_of(kNames, state.argument) + "?";
        case KELVO_NR_DFA_NO_OPERATION:
            return "level";
        case KELVO_NR_DFA_WILDCARD_TEST:
            return "regular expression?";
        default:
            return "unknown operation " + std::to_string(state.operation);
    }
}

const char* shape_of(const kelvo_nr_dfa_state& state) {
    if (state.operation == KELVO_NR_DFA_RESULT) return "doublecircle";
    return state.operation == KELVO_NR_DFA_MATCH ? "diamond" : "box";
}

/// Whether the operation can fail, and so uses the link for that.
bool can_fail(const kelvo_nr_dfa_state& state) {
    return state.operation == KELVO_NR_DFA_ADVANCE || state.operation == KELVO_NR_DFA_MATCH;
}

void draw(std::uint32_t number) {
    const kelvo_nr_dfa_state& state = kelvo_nr_dfa_state_table[number];
    std::printf("  s%u [label=\"%u\\n%s\" shape=%s];\n", number, number, label_of(state).c_str(),
                shape_of(state));
    if (state.operation == KELVO_NR_DFA_RESULT) return;
    std::printf("  s%u -> s%u;\n", number, state.on_success);
    if (can_fail(state)) std::printf("  s%u -> s%u [style=dashed];\n", number, state.on_failure);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1) {
        const bool help = std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0;
        if (!help) std::fprintf(stderr, "kelvo-resolver-graph: unknown argument '%s'\n", argv[1]);
        std::fputs("usage: kelvo-resolver-graph | dot -Tsvg -o resolver.svg\n",
                   help ? stdout : stderr);
        return help ? 0 : 2;
    }
    std::printf("digraph resolver {\n  start [shape=point];\n  start -> s%u;\n",
                kelvo_nr_dfa_start_state);
    for (std::uint32_t number = 0; number < KELVO_NR_DFA_STATES; ++number) draw(number);
    std::printf("}\n");
    if (std::fflush(stdout) == 0) return 0;
    std::perror("kelvo-resolver-graph: standard output");
    return 1;
}
