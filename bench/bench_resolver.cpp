// SPDX-License-Identifier: Apache-2.0
//
// From path to owner. What the alternatives match is made from the library's own table, so that all
// of them have the same rules; each must give the machine's answer for every path.
#define PCRE2_CODE_UNIT_WIDTH 8
#include <absl/container/flat_hash_map.h>
#include <pcre2.h>
#include <re2/re2.h>
#include <re2/set.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <string_view>

#include "kelvo_node_resolver.h"
#include "kelvo_node_resolver_machine.h"
#include "row.h"

using namespace kelvo::bench;

namespace {

/// Paths of every kind of owner, as clients ask for them, with the "/" that ends a walk.
constexpr std::string_view kPaths[] = {
    "cfg/gl/bgp/100/neighbor/10.0.0.1/timers/",
    "cfg/if/act/downstream_port0_0_0_1/mtu/",
    "oper/ip-static/gl/vrf/default/summary/",
    "oper/ethernet/node/0_1_main/driver/stats/",
    "data/node/act/0_1_main/clock/",
    "oper/kelvo/gl/sc/clients/",
    "oper/ospf/area/if/downstream_port0_0_0_1/hello/",
    "ipc/gl/kelvo/notify/",
    "debug/node/0_1_main/kelvo/common/",
    "admin/oper/inventory/rack/0/slot/3/",
    "cfg/if/pre/downstream_port0_0_0_7/shutdown/",
    "action/clear/gl/counters/",
};
constexpr std::size_t kCount = std::size(kPaths);

const kelvo_nr_dfa_state& state_at(std::uint32_t number) {
    return kelvo_nr_dfa_state_table[number];
}

/// Result and flags in one number.
using Owner = std::uint64_t;

Owner owner_of(std::uint32_t result, std::uint32_t flags) {
    return Owner{flags} << 32 | result;
}

struct Walked {
    Owner owner;
    std::size_t bytes;  ///< how much of the path decided it
};

/// What the machine says, which the library's tests hold to its rules.
Walked walked(std::string_view path) {
    std::string text(path);
    const kelvo::nr::Verdict verdict = kelvo_nr_run_dfa(text.data(), 0);
    return {owner_of(verdict.result, verdict.flags),
            static_cast<std::size_t>(verdict.component - text.data()) +
                std::strcspn(verdict.component, "/")};
}

const Walked* walks() {
    static Walked all[kCount];
    for (std::size_t i = 0; i < kCount; ++i) all[i] = walked(kPaths[i]);
    return all;
}

/// What all contenders have in common: the paths, and an answer for each.
struct Answers {
    const Walked* expected = walks();
    Owner owners[kCount] = {};
    [[nodiscard]] bool right() const {
        for (std::size_t i = 0; i < kCount; ++i) {
            if (owners[i] != expected[i].owner) return false;
        }
        return true;
    }
};

// ------------------------------------------------------------------------------------------------
// The library
// ------------------------------------------------------------------------------------------------

struct Machine : Answers {
    std::string paths[kCount];
    Machine() {
        for (std::size_t i = 0; i < kCount; ++i) paths[i] = kPaths[i];
    }
    void run() {
        for (std::size_t i = 0; i < kCount; ++i) {
            const kelvo::nr::Verdict verdict = kelvo_nr_run_dfa(paths[i].data(), 0);
            owners[i] = owner_of(verdict.result, verdict.flags);
        }
    }
};

/// The whole lookup, on a server, where a node or an interface in the path is this node.
struct Lookup {
    const Walked* expected = walks();
    kelvo_nr_answer answers[kCount] = {};
    void run() {
        for (std::size_t i = 0; i < kCount; ++i) {
            (void)kelvo_nr_lookup_node("", kPaths[i].data(), KELVO_NR_OPT_SERVER, &answers[i],
                                       nullptr);
        }
    }
    [[nodiscard]] bool right() const {
        for (std::size_t i = 0; i < kCount; ++i) {
            const auto result = static_cast<std::uint32_t>(expected[i].owner);
            const std::int32_t type = result == KELVO_NR_DFA_SHARED  ? KELVO_NODE_SHARED
                                      : result == KELVO_NR_DFA_ADMIN ? KELVO_NODE_ADMIN
                                                                     : KELVO_NODE_PHYSICAL;
            if (answers[i].node_type != type) return false;
        }
        return true;
    }
};

// ------------------------------------------------------------------------------------------------
// The floor
// ------------------------------------------------------------------------------------------------

std::uint32_t signed_byte(const char* at) {
    return static_cast<std::uint32_t>(static_cast<signed char>(*at));
}

/// Hashes the bytes that decide, four at a time, as if it were known which they are.
struct Hashing {
    const Walked* expected = walks();
    std::uint32_t hashes[kCount] = {};
    void run() {
        constexpr std::uint32_t k2 = 33 * 33;
        constexpr std::uint32_t k3 = k2 * 33;
        constexpr std::uint32_t k4 = k3 * 33;
        for (std::size_t i = 0; i < kCount; ++i) {
            const char* at = kPaths[i].data();
            const char* const end = at + expected[i].bytes;
            std::uint32_t hash = 0;
            for (; end - at >= 4; at += 4) {
                hash = hash * k4 + signed_byte(at) * k3 + signed_byte(at + 1) * k2 +
                       signed_byte(at + 2) * 33 + signed_byte(at + 3);
            }
            for (; at != end; ++at) hash = hash * 33 + signed_byte(at);
            hashes[i] = hash;
        }
    }
    [[nodiscard]] bool right() const {
        for (std::size_t i = 0; i < kCount; ++i) {
            std::uint32_t hash = 0;
            for (const char byte : kPaths[i].substr(0, expected[i].bytes)) {
                hash = hash * 33 + signed_byte(&byte);
            }
            if (hashes[i] != hash) return false;
        }
        return true;
    }
};

// ------------------------------------------------------------------------------------------------
// The table as a trie
// ------------------------------------------------------------------------------------------------

std::string_view name_of(std::uint32_t hash) {
#define NAME(text, its_hash)                                                                       \
    if (hash == (its_hash)) return text;
    KELVO_NR_NAME_LIST(NAME)
#undef NAME
    return {};
}

/// What a component leads to: a level, or an owner.
struct Target {
    std::uint32_t level = 0;
    Owner owner = 0;
    bool decides = false;
};

struct Level {
    std::vector<std::pair<std::string_view, Target>> names;
    Target other;
    Owner end = 0;
};

class Trie {
  public:
    Trie() { (void)add(kelvo_nr_dfa_start_state, true); }
    std::vector<Level> levels;

  private:
    std::map<std::uint32_t, std::uint32_t> known_;

    Owner decide(std::uint32_t at) {
        std::uint32_t flags = 0;
        for (;; at = state_at(at).on_success) {
            if (state_at(at).operation == KELVO_NR_DFA_SET_FLAG) flags |= state_at(at).argument;
            if (state_at(at).operation == KELVO_NR_DFA_RESULT) {
                return owner_of(state_at(at).argument, flags);
            }
        }
    }

    Target follow(std::uint32_t at) {
        if (state_at(at).operation == KELVO_NR_DFA_ADVANCE) return {add(at, false), 0, false};
        return {0, decide(at), true};
    }

    std::uint32_t add(std::uint32_t way_in, bool top) {
        if (known_.contains(way_in)) return known_[way_in];
        const auto number = static_cast<std::uint32_t>(levels.size());
        known_[way_in] = number;
        levels.emplace_back();
        Level level;
        level.end = owner_of(KELVO_NR_DFA_INVALID, 0);
        std::uint32_t at = way_in;
        if (!top) {
            level.end = decide(state_at(at).on_failure);
            at = state_at(at).on_success;
        }
        while (state_at(at).operation == KELVO_NR_DFA_NO_OPERATION) at = state_at(at).on_success;
        for (; state_at(at).operation == KELVO_NR_DFA_MATCH; at = state_at(at).on_failure) {
            level.names.emplace_back(name_of(state_at(at).argument),
                                     follow(state_at(at).on_success));
        }
        level.other = follow(at);
        levels[number] = level;
        return number;
    }
};

/// A map from names at each level, one for all of them, and the component split off with memchr().
struct HashTrie : Answers {
    Trie trie;
    absl::flat_hash_map<std::pair<std::uint32_t, std::string_view>, Target> map;
    HashTrie() {
        for (std::uint32_t level = 0; level < trie.levels.size(); ++level) {
            for (const auto& [name, target] : trie.levels[level].names) {
                map[{level, name}] = target;
            }
        }
    }
    [[nodiscard]] Owner find(std::string_view rest) const {
        for (std::uint32_t level = 0;;) {
            if (rest.empty()) return trie.levels[level].end;
            const std::size_t chars = rest.find('/');
            const auto found = map.find({level, rest.substr(0, chars)});
            const Target& target = found == map.end() ? trie.levels[level].other : found->second;
            if (target.decides) return target.owner;
            level = target.level;
            rest.remove_prefix(chars + 1);
        }
    }
    void run() {
        for (std::size_t i = 0; i < kCount; ++i) owners[i] = find(kPaths[i]);
    }
};

// ------------------------------------------------------------------------------------------------
// Regular expressions
// ------------------------------------------------------------------------------------------------

/// The ways to an owner, one expression each, in the order in which the first that fits decides.
struct Way {
    std::string expression;
    Owner owner;
};

class Ways {
  public:
    Ways() { add("", Target{}); }
    std::vector<Way> all;

  private:
    void add(const std::string& before, const Target& target) {
        if (target.decides) return all.push_back({before, target.owner});
        const Level& level = trie_.levels[target.level];
        for (const auto& [name, next] : level.names) add(before + std::string(name) + "/", next);
        all.push_back({before + "$", level.end});
        add(before + "[^/]*/", level.other);
    }
    Trie trie_;
};

/// A list of owners, and the mark of two letters by which an expression names one.
class Marks {
  public:
    std::string add(Owner owner) {
        const std::size_t number = owners_.size();
        owners_.push_back(owner);
        return std::string("(*MARK:") + static_cast<char>('A' + number / 26) +
               static_cast<char>('A' + number % 26) + ")";
    }
    [[nodiscard]] Owner owner(const unsigned char* mark) const {
        return owners_[static_cast<std::size_t>(mark[0] - 'A') * 26 +
                       static_cast<std::size_t>(mark[1] - 'A')];
    }

  private:
    std::vector<Owner> owners_;
};

/// The ways as alternatives.
std::string listed(Marks& marks) {
    std::string text;
    for (const Way& way : Ways().all) {
        text += (text.empty() ? "^(?:" : "|") + way.expression + marks.add(way.owner);
    }
    return text + ")";
}

/// The ways with their common beginnings taken out, so that nothing is ever tried twice.
std::string factored(const Trie& trie, std::uint32_t level, Marks& marks) {
    const auto text_of = [&](const Target& target) {
        return target.decides ? marks.add(target.owner) : factored(trie, target.level, marks);
    };
    std::string text = "(?>";
    for (const auto& [name, target] : trie.levels[level].names) {
        text += std::string(name) + "/" + text_of(target) + "|";
    }
    return text + "$" + marks.add(trie.levels[level].end) + "|[^/]*+/" +
           text_of(trie.levels[level].other) + ")";
}
std::string factored(Marks& marks) {
    return "^" + factored(Trie(), 0, marks);
}

template <std::string (*kExpression)(Marks&)>
class Pcre : public Answers {
  public:
    Pcre() {
        const std::string expression = kExpression(marks_);
        int error = 0;
        PCRE2_SIZE at = 0;
        code_ = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(expression.c_str()),
                              PCRE2_ZERO_TERMINATED, 0, &error, &at, nullptr);
        (void)pcre2_jit_compile(code_, PCRE2_JIT_COMPLETE);
        match_ = pcre2_match_data_create_from_pattern(code_, nullptr);
    }
    ~Pcre() {
        pcre2_match_data_free(match_);
        pcre2_code_free(code_);
    }
    Pcre(const Pcre&) = delete;
    Pcre& operator=(const Pcre&) = delete;

    void run() {
        for (std::size_t i = 0; i < kCount; ++i) {
            (void)pcre2_jit_match(code_, reinterpret_cast<PCRE2_SPTR>(kPaths[i].data()),
                                  kPaths[i].size(), 0, 0, match_, nullptr);
            owners[i] = marks_.owner(pcre2_get_mark(match_));
        }
    }

  private:
    Marks marks_;
    pcre2_code* code_;
    pcre2_match_data* match_;
};

/// The ways, all matched at once.
class Re2Set : public Answers {
  public:
    Re2Set() : set_(RE2::Options(), RE2::ANCHOR_START) {
        for (const Way& way : ways_.all) (void)set_.Add(way.expression, nullptr);
        (void)set_.Compile();
    }
    void run() {
        std::vector<int> fitting;
        for (std::size_t i = 0; i < kCount; ++i) {
            (void)set_.Match(re2::StringPiece(kPaths[i].data(), kPaths[i].size()), &fitting);
            const int first = *std::min_element(fitting.begin(), fitting.end());
            owners[i] = ways_.all[static_cast<std::size_t>(first)].owner;
        }
    }

  private:
    Ways ways_;
    RE2::Set set_;
};

/// The walk alone, and all that a lookup does besides.
constexpr Targets kMachine = {0.25, 4.1};
constexpr Targets kLookup = {0.35, 5.9};

const Row kWalk({"path_to_owner_machine", "path to owner: the state machine", kCount, kMachine},
                {library<Machine>(), floor<Hashing>("hash of the bytes that decide"),
                 other<Pcre<listed>>("PCRE2 JIT"),
                 shown<Pcre<factored>>("PCRE2 JIT, beginnings factored out"),
                 shown<HashTrie>("absl::flat_hash_map of levels"), shown<Re2Set>("RE2::Set")});
const Row kWhole({"path_to_owner", "path to owner: the whole lookup", kCount, kLookup},
                 {library<Lookup>(), floor<Hashing>("hash of the bytes that decide"),
                  other<Pcre<listed>>("PCRE2 JIT"),
                  shown<Pcre<factored>>("PCRE2 JIT, beginnings factored out"),
                  shown<HashTrie>("absl::flat_hash_map of levels"), shown<Re2Set>("RE2::Set")});

/// One path of so many components, of which the first decide.
struct LongPath {
    explicit LongPath(std::size_t components) {
        path = "cfg/gl/";
        while (components-- > 2) path += "x/";
    }
    std::string path;
    kelvo_nr_answer answer{};
    void run() { (void)kelvo_nr_lookup_node("", path.c_str(), 0, &answer, nullptr); }
    [[nodiscard]] bool right() const { return answer.node_type == KELVO_NODE_SHARED; }
};
const Growth kLong("path_to_owner", "a path of so many components, and its owner", "components",
                   &time_growth<LongPath>);

}  // namespace
