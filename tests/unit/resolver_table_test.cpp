// SPDX-License-Identifier: Apache-2.0
//
// The state table against the rules that it encodes. The rules are written here once more, path by
// path, with a plain matcher that knows nothing of states; the table is followed by the few lines
// that its records ask for. Every combination of known names, an unknown name and a wildcard is
// tried six components deep, and the resolver is asked for the same paths.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "kelvo_node_resolver.h"
#include "kelvo_status.h"
#include "platform/scripted_platform.h"

namespace {

using kelvo::test::platform;
using Path = std::vector<std::string>;

constexpr uint32_t kRegexp = KELVO_NR_OPT_REGEXP;
constexpr uint32_t kManagement = KELVO_NR_OPT_MANAGEMENT;
constexpr uint32_t kServer = KELVO_NR_OPT_SERVER;

std::uint32_t hash_of(const std::string& component) {
    std::uint32_t hash = 0;
    for (const char byte : component) {
        hash = hash * 33 + static_cast<std::uint32_t>(static_cast<signed char>(byte));
    }
    return hash;
}

std::string text_of(const Path& path) {
    std::string text;
    for (const std::string& component : path) text += component + "/";
    return text;
}

/// What the table says of a path.
struct Answer {
    std::uint32_t result = 0;
    std::uint32_t flags = 0;
    bool operator==(const Answer&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Answer& answer) {
    return out << std::hex << "{result 0x" << answer.result << ", flags 0x" << answer.flags << "}"
               << std::dec;
}

bool is_wildcard(const std::string& component) {
    return component.find('*') != std::string::npos;
}

// ------------------------------------------------------------------------------------------------
// The rules
// ------------------------------------------------------------------------------------------------

constexpr const char* kAny = "A";
constexpr const char* kTested = "X?";

struct Rule {
    Path path;
    Answer answer;
    bool at_end = false;  ///< for the path that stops there only
};

/// Fills the rules in, one call for each line of the description.
class Rules {
  public:
    Rules() {
        for (const std::string top : {"cfg", "data", "shadow"}) configuration(top);
        add({"cfg", "if", "gl"}, KELVO_NR_DFA_SHARED, 0x2 | 0x4);
        add({"foo"}, KELVO_NR_DFA_SHARED, 0x2 | 0x4);
        add({"gsr"}, KELVO_NR_DFA_SHARED, 0x2 | 0x4);
        add({"ipc", "gl"}, KELVO_NR_DFA_SHARED, 0x20);
        add({"ipc", "if"}, KELVO_NR_DFA_LOCAL, 0x2 | 0x20);
        add({"ipc", "local"}, KELVO_NR_DFA_LOCAL, 0x20);
        operational();
        action();
        admin();
        add({"debug", "gl"}, KELVO_NR_DFA_SHARED);
        named({"debug", "node"}, KELVO_NR_DFA_NODE);
    }

    [[nodiscard]] const std::vector<Rule>& all() const { return rules_; }

  private:
    void add(Path path, std::uint32_t result, std::uint32_t flags = 0) {
        rules_.push_back({std::move(path), {result, flags}});
    }
    void add_end(Path path, std::uint32_t result, std::uint32_t flags) {
        rules_.push_back({std::move(path), {result, flags}, true});
    }
    /// A node or an interface below this path, and the path itself.
    void named(Path path, std::uint32_t result, std::uint32_t flags = 0) {
        add_end(path, KELVO_NR_DFA_LOCAL, 0x8);
        path.push_back(kTested);
        add(path, result, flags);
    }

    void configuration(const std::string& top) {
        add({top, "gl"}, KELVO_NR_DFA_SHARED);
        named({top, "if", "act"}, KELVO_NR_DFA_IFNAME);
        named({top, "node", "act"}, KELVO_NR_DFA_NODE);
        add({top, "if", "pre"}, KELVO_NR_DFA_SHARED);
        add({top, "if", "tem"}, KELVO_NR_DFA_SHARED);
        add({top, "node", "pre"}, KELVO_NR_DFA_SHARED);
    }

    /// What stands below any component of "oper" and "action".
    void below_any(const Path& above) {
        const auto under = [&above](std::initializer_list<const char*> rest) {
            Path path = above;
            path.insert(path.end(), rest.begin(), rest.end());
            return path;
        };
        for (const char* name : {"gl", "ifg", "nodeg"}) add(under({name}), KELVO_NR_DFA_SHARED);
        named(under({"if"}), KELVO_NR_DFA_IFNAME);
        named(under({"node"}), KELVO_NR_DFA_NODE);
        named(under({kAny, "if"}), KELVO_NR_DFA_IFNAME);
        named(under({kAny, "node"}), KELVO_NR_DFA_NODE);
        add(under({kAny, "ifg"}), KELVO_NR_DFA_SHARED);
    }

    void operational() {
        named({"oper", "if"}, KELVO_NR_DFA_IFNAME, 0x2);
        add({"oper", "iptv", "io", "trigger"}, KELVO_NR_DFA_SHARED, 0x2);
        add({"oper", "config", "startup"}, KELVO_NR_DFA_SHARED, 0x2);
        add({"oper", "diag-timer-ntp-test", kTested}, KELVO_NR_DFA_SHARED, 0x2);
        add_end({"oper", "diag-timer-ntp-test"}, KELVO_NR_DFA_INVALID, 0x8);
        for (const Path& above : {Path{"oper", kAny}, Path{"oper", "iptv", "io"}}) {
            below_any(above);
            Path slots = above;
            slots.push_back("slotg");
            add(slots, KELVO_NR_DFA_SHARED, 0x2);
        }
    }

    void action() {
        below_any({"action", kAny});
        add_end({"action"}, KELVO_NR_DFA_INVALID, 0x10);
    }

    void admin() {
        for (const char* name : {"gl", "rack", "rack-slot"}) {
            add({"admin", "cfg", name}, KELVO_NR_DFA_ADMIN);
            add({"admin", "oper", kAny, name}, KELVO_NR_DFA_ADMIN);
            add({"admin", "action", kAny, name}, KELVO_NR_DFA_ADMIN);
        }
        add({"admin", "ipc", "gl"}, KELVO_NR_DFA_ADMIN, 0x20);
        add_end({"admin", "oper"}, KELVO_NR_DFA_INVALID, 0x10);
        add_end({"admin", "action"}, KELVO_NR_DFA_INVALID, 0x10);
        add({"admin", "debug", "gl"}, KELVO_NR_DFA_ADMIN);
    }

    std::vector<Rule> rules_;
};

const std::vector<Rule>& all_rules() {
    static const Rules rules;
    return rules.all();
}

bool is_any(const std::string& pattern) {
    return pattern == kAny || pattern == kTested;
}

/// Whether the first `count` components of a rule fit those of a path.
bool fits(const Rule& rule, const Path& path, std::size_t count) {
    if (rule.path.size() < count || path.size() < count) return false;
    for (std::size_t i = 0; i < count; ++i) {
        if (!is_any(rule.path[i]) && rule.path[i] != path[i]) return false;
    }
    return true;
}

/// Whether one rule names its first `count` components where the other takes any: the first
/// difference decides.
bool is_more_particular(const Rule& one, const Rule& other, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        if (is_any(one.path[i]) != is_any(other.path[i])) return !is_any(one.path[i]);
    }
    return false;
}

/// The most particular of the rules that fit `count` components and are as long, or null.
const Rule* best_rule(const Path& path, std::size_t count, bool at_end) {
    const Rule* best = nullptr;
    for (const Rule& rule : all_rules()) {
        if (rule.path.size() != count || rule.at_end != at_end || !fits(rule, path, count))
            continue;
        if (best == nullptr || is_more_particular(rule, *best, count)) best = &rule;
    }
    return best;
}

/// The rule that takes whatever component comes at this depth, or null.
const Rule* catch_all(const Path& path, std::size_t depth) {
    const Rule* best = nullptr;
    for (const Rule& rule : all_rules()) {
        if (rule.at_end || rule.path.size() != depth + 1 || !is_any(rule.path[depth])) continue;
        if (!fits(rule, path, depth)) continue;
        if (best == nullptr || is_more_particular(rule, *best, depth)) best = &rule;
    }
    return best;
}

/// Whether the component at this depth is compared with names.
bool meets_names(const Path& path, std::size_t depth) {
    const Rule* const whatever = catch_all(path, depth);
    for (const Rule& rule : all_rules()) {
        if (rule.path.size() <= depth || is_any(rule.path[depth])) continue;
        if (!fits(rule, path, depth)) continue;
        if (whatever == nullptr || !is_more_particular(*whatever, rule, depth)) return true;
    }
    return false;
}

/// Whether some rule goes on below these components.
bool goes_on(const Path& path, std::size_t count) {
    return std::any_of(all_rules().begin(), all_rules().end(), [&](const Rule& rule) {
        return rule.path.size() > count && fits(rule, path, count);
    });
}

/// What the rules say, and whether what follows the path could change it.
struct Decision {
    Answer answer;
    bool is_final;
};

/// What a component decides; none when it leaves the path open.
std::optional<Answer> decided_at(const Path& path, std::size_t depth, std::uint32_t options) {
    const bool wildcard = is_wildcard(path[depth]);
    if (wildcard && options == (kRegexp | kManagement) && meets_names(path, depth)) {
        return Answer{KELVO_NR_DFA_INVALID, 0x10};
    }
    if (const Rule* const rule = best_rule(path, depth + 1, false)) {
        Answer answer = rule->answer;
        if (wildcard && (options & kRegexp) != 0 && rule->path[depth] == kTested) {
            answer.result =
                (options & kManagement) != 0 ? KELVO_NR_DFA_ALL_LOCAL : KELVO_NR_DFA_LOCAL;
        }
        return answer;
    }
    const bool open = goes_on(path, depth + 1) || best_rule(path, depth + 1, true) != nullptr;
    if (!open) return Answer{KELVO_NR_DFA_INVALID, 0};
    return std::nullopt;
}

/// What the rules say of a path whose first `open` components are known to leave it open.
Decision decide(const Path& path, std::uint32_t options, std::size_t open = 0) {
    for (std::size_t depth = open; depth < path.size(); ++depth) {
        if (const auto answer = decided_at(path, depth, options)) return {*answer, true};
    }
    if (const Rule* const rule = best_rule(path, path.size(), true)) return {rule->answer, false};
    return {{KELVO_NR_DFA_AMBIGUOUS, 0}, false};
}

// ------------------------------------------------------------------------------------------------
// The table
// ------------------------------------------------------------------------------------------------

/// Follows the exported table.
Decision follow(const Path& path, std::uint32_t options) {
    Answer answer{KELVO_NR_DFA_INVALID, 0};
    std::size_t at = 0;
    bool saw_end = false;
    std::uint32_t number = kelvo_nr_dfa_start_state;
    for (;;) {
        const kelvo_nr_dfa_state& state = kelvo_nr_dfa_state_table[number];
        number = state.on_success;
        switch (state.operation) {
            case KELVO_NR_DFA_ADVANCE:
                if (++at == path.size()) {
                    number = state.on_failure;
                    saw_end = true;
                }
                break;
            case KELVO_NR_DFA_RESULT:
                answer.result = state.argument;
                return {answer, !saw_end};
            case KELVO_NR_DFA_SET_FLAG:
                answer.flags |= state.argument;
                break;
            case KELVO_NR_DFA_MATCH:
                if (hash_of(path.at(at)) == state.argument) break;
                number = state.on_failure;
                if (options == (kRegexp | kManagement) && is_wildcard(path[at])) {
                    answer.flags |= 0x10;
                    return {answer, true};
                }
                break;
            case KELVO_NR_DFA_NO_OPERATION:
                break;
            case KELVO_NR_DFA_WILDCARD_TEST:
                if ((options & kRegexp) == 0 || !is_wildcard(path.at(at))) break;
                answer.result =
                    (options & kManagement) != 0 ? KELVO_NR_DFA_ALL_LOCAL : KELVO_NR_DFA_LOCAL;
                return {answer, true};
            default:
                ADD_FAILURE() << "state holds operation " << state.operation;
                return {};
        }
    }
}

TEST(ResolverTable, HasItsSizeAndItsStart) {
    EXPECT_EQ(std::size(kelvo_nr_dfa_state_table), 167U);
    EXPECT_EQ(sizeof kelvo_nr_dfa_state_table, 167U * 16);
    EXPECT_EQ(kelvo_nr_dfa_start_state, 165U);
}

TEST(ResolverTable, NamesHashAsTheyAreListed) {
#define HASHES_TO(text, hash) EXPECT_EQ(hash_of(text), hash) << text;
    KELVO_NR_NAME_LIST(HASHES_TO)
#undef HASHES_TO
}

std::set<std::uint32_t> known_hashes() {
    return {
#define HASH(text, hash) hash,
        KELVO_NR_NAME_LIST(HASH)
#undef HASH
    };
}

bool is_result(std::uint32_t argument) {
    return argument >= KELVO_NR_DFA_INVALID && argument <= KELVO_NR_DFA_ALL_LOCAL;
}

TEST(ResolverTable, EveryStateIsWellFormed) {
    const std::set<std::uint32_t> hashes = known_hashes();
    for (std::uint32_t number = 0; number < KELVO_NR_DFA_STATES; ++number) {
        SCOPED_TRACE(number);
        const kelvo_nr_dfa_state& state = kelvo_nr_dfa_state_table[number];
        EXPECT_GE(state.operation, 0x49a0c010U);
        EXPECT_LE(state.operation, 0x49a0c015U);
        EXPECT_LT(state.on_success, 167U);
        EXPECT_LT(state.on_failure, 167U);
        switch (state.operation) {
            case KELVO_NR_DFA_RESULT:
                EXPECT_TRUE(is_result(state.argument));
                EXPECT_EQ(state.on_success, 0U);
                EXPECT_EQ(state.on_failure, 0U);
                break;
            case KELVO_NR_DFA_SET_FLAG:
                EXPECT_NE(state.argument, 0U);
                EXPECT_EQ(state.argument & ~0x3EU, 0U);
                EXPECT_EQ(state.on_success, state.on_failure);
                break;
            case KELVO_NR_DFA_MATCH:
                EXPECT_EQ(hashes.count(state.argument), 1U);
                EXPECT_NE(state.on_success, state.on_failure);
                break;
            case KELVO_NR_DFA_ADVANCE:
                EXPECT_EQ(state.argument, 0U);
                EXPECT_NE(state.on_success, state.on_failure);
                break;
            default:
                EXPECT_EQ(state.argument, 0U);
                EXPECT_EQ(state.on_success, state.on_failure);
        }
    }
}

/// Visits every state that can be reached. @return whether none can be reached from itself
bool visit(std::uint32_t number, std::set<std::uint32_t>& done,
           std::set<std::uint32_t>& under_way) {
    if (under_way.count(number) != 0) return false;
    if (!done.insert(number).second) return true;
    const kelvo_nr_dfa_state& state = kelvo_nr_dfa_state_table[number];
    if (state.operation == KELVO_NR_DFA_RESULT) return true;
    under_way.insert(number);
    const bool ends =
        visit(state.on_success, done, under_way) && visit(state.on_failure, done, under_way);
    under_way.erase(number);
    return ends;
}

TEST(ResolverTable, EveryStateIsReachedAndEveryWalkEnds) {
    std::set<std::uint32_t> done;
    std::set<std::uint32_t> under_way;
    EXPECT_TRUE(visit(kelvo_nr_dfa_start_state, done, under_way));
    EXPECT_EQ(done.size(), 167U);
}

// ------------------------------------------------------------------------------------------------
// All of it
// ------------------------------------------------------------------------------------------------

/// What a lookup is expected to give. Nodes and interfaces are this node's, as for a server.
struct Expected {
    kelvo_status status;
    kelvo_nr_answer answer;
    std::uint32_t ambiguous;
};

constexpr kelvo_nr_answer kIllegal = {-999999999, 0xFFFFFFFF, 0, 0};
constexpr std::uint32_t kThisNode = 0x10;

kelvo_nr_answer shared_for(const Path& path) {
    const std::string text = text_of(path);
    const auto starts = [&text](const char* start) { return text.rfind(start, 0) == 0; };
    std::uint32_t server = 3;
    if (starts("cfg/")) server = 1;
    if (starts("data/")) server = 4;
    return {1000000000, 0xFFFFFFFF, 0, server};
}

Expected expected_of(const Path& path, std::uint32_t options, Answer answer) {
    const bool management = (options & kManagement) != 0;
    if (management && (answer.flags & 0x8) != 0) answer.result = KELVO_NR_DFA_ALL_LOCAL;
    if (management && (answer.flags & 0x10) != 0) answer.result = KELVO_NR_DFA_AMBIGUOUS;
    const bool is_admin = path[0] == "admin";
    Expected expected{0, {}, 0};
    switch (answer.result) {
        case KELVO_NR_DFA_SHARED:
            expected.answer = shared_for(path);
            break;
        case KELVO_NR_DFA_LOCAL:
        case KELVO_NR_DFA_NODE:
        case KELVO_NR_DFA_IFNAME:
            expected.answer = {0, kThisNode, 0, 0};
            break;
        case KELVO_NR_DFA_ADMIN:
            expected.answer = {1000000001, 0xFFFFFFFF, 0, 0};
            break;
        case KELVO_NR_DFA_ALL_LOCAL:
            expected.answer = {-2, 0xFFFFFFFF, 0, 0};
            break;
        case KELVO_NR_DFA_AMBIGUOUS: {
            expected.ambiguous = 1;
            const std::string first = is_admin ? (path.size() > 1 ? path[1] : "") : path[0];
            if (first[0] == 'i') answer.flags |= 0x20;
            if (management && !is_admin) expected.answer = {-1, 0xFFFFFFFF, 0, 0};
            if (management && is_admin) expected.answer = {1000000001, 0xFFFFFFFF, 0, 0};
            if (!management && !is_admin) expected.answer = shared_for(path);
            if (!management && is_admin) expected.status = KELVO_ERR_NO_OWNER;
            break;
        }
        default:
            expected.status = KELVO_ERR_NO_OWNER;
    }
    expected.answer.versioned = (answer.flags & 0x20) != 0 ? 0 : 1;
    // Before the table is asked.
    if (path[0][0] == 'r') expected.status = KELVO_ERR_BAD_PATH;
    if (expected.status != 0) expected = {expected.status, kIllegal, 0x77};
    return expected;
}

/// Compares rules, table and resolver for one path that was open until its last component.
/// @return whether what follows can change the answer
bool compare(const Path& path, std::uint32_t options) {
    const Decision ruled = decide(path, options, path.size() - 1);
    const Decision followed = follow(path, options);
    EXPECT_EQ(ruled.answer, followed.answer) << text_of(path) << " options " << options;
    EXPECT_EQ(ruled.is_final, followed.is_final) << text_of(path) << " options " << options;

    const Expected expected = expected_of(path, options, ruled.answer);
    kelvo_nr_answer answer{1, 2, 3, 4};
    std::uint32_t ambiguous = 0x77;
    const kelvo_status status =
        kelvo_nr_lookup_node("", text_of(path).c_str(), options | kServer, &answer, &ambiguous);
    EXPECT_TRUE(status == expected.status && answer.node_type == expected.answer.node_type &&
                answer.node_id == expected.answer.node_id &&
                answer.versioned == expected.answer.versioned &&
                answer.server_type == expected.answer.server_type &&
                ambiguous == expected.ambiguous)
        << text_of(path) << " options " << options << ": status " << std::hex << status << " type "
        << std::dec << answer.node_type << " node " << answer.node_id << " versioned "
        << answer.versioned << " server " << answer.server_type << " ambiguous " << ambiguous;
    return !ruled.is_final;
}

Path all_components() {
    return {
#define NAME(text, hash) text,
        KELVO_NR_NAME_LIST(NAME)
#undef NAME
            "unknown",
        "wild*"};
}

/// Tries every component at this depth. A decided path is not made longer: rules and table have
/// both said that nothing can change it.
std::size_t walk(Path& path, std::uint32_t options) {
    static const Path components = all_components();
    std::size_t compared = 0;
    for (const std::string& component : components) {
        path.push_back(component);
        ++compared;
        if (compare(path, options) && path.size() < 6) compared += walk(path, options);
        path.pop_back();
        if (testing::Test::HasFailure()) break;
    }
    return compared;
}

TEST(ResolverTable, SaysWhatTheRulesSayForEveryPath) {
    platform().reset();
    ASSERT_EQ(kelvo_nr_init(0, 0, nullptr), 0U);
    for (std::uint32_t options = 0; options < 4; ++options) {
        Path path;
        EXPECT_GT(walk(path, options), 20000U) << options;
        platform().log.clear();  // deprecated paths
    }
    kelvo_nr_shutdown();
}

/// A decided path is decided whatever follows it.
TEST(ResolverTable, WhatFollowsADecidedPathChangesNothing) {
    platform().reset();
    for (const Rule& rule : all_rules()) {
        if (rule.at_end) continue;
        for (const std::string& more : all_components()) {
            Path path = rule.path;
            path.push_back(more);
            path.push_back("gl");
            for (std::uint32_t options = 0; options < 4; ++options) {
                EXPECT_EQ(decide(path, options).answer, follow(path, options).answer)
                    << text_of(path);
            }
        }
    }
}

}  // namespace
