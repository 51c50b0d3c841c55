// SPDX-License-Identifier: Apache-2.0
#include "machine.h"

#include "kelvo_util_path.h"

namespace kelvo::tool {
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

/// The longest component that is tested for a regular expression where a name is expected.
constexpr std::size_t kMostTested = 511;

template <std::size_t N>
std::string name_of(const Named (&list)[N], std::uint32_t value) {
    for (const Named& named : list) {
        if (named.value == value) return named.name;
    }
    return "";
}

bool holds_regexp(const std::string& component) {
    std::uint32_t is_regexp = 0;
    (void)kelvo_util_path_is_regexp(component.c_str(), &is_regexp, 0);
    return is_regexp != 0;
}

std::vector<Component> components_of(const std::string& path) {
    std::vector<Component> components;
    for (std::size_t begin = 0; begin < path.size();) {
        const std::size_t end = path.find('/', begin);
        components.push_back({path.substr(begin, end - begin), {}});
        begin = end + 1;
    }
    return components;
}

const kelvo_nr_dfa_state& state_at(std::uint32_t number) {
    return kelvo_nr_dfa_state_table[number];
}

class Walker {
  public:
    Walker(const std::string& path, std::uint32_t options) : options_(options) {
        walk_.components = components_of(path);
    }

    Walk run() {
        std::uint32_t number = kelvo_nr_dfa_start_state;
        std::uint32_t level = number;
        for (bool goes_on = true; goes_on;) {
            const kelvo_nr_dfa_state& state = state_at(number);
            const bool is_over = walk_.at >= walk_.components.size();
            (is_over ? walk_.at_end : walk_.components[walk_.at].states).push_back(number);
            std::uint32_t next = state.on_success;
            goes_on = step(state, &next);
            if (state.operation == KELVO_NR_DFA_ADVANCE) level = state.on_success;
            number = next;
        }
        expect_at(level);
        return walk_;
    }

  private:
    [[nodiscard]] std::string component() const {
        return walk_.at < walk_.components.size() ? walk_.components[walk_.at].text : "";
    }

    void decide(Stop stop, std::uint32_t result) {
        walk_.stop = stop;
        walk_.result = result;
    }

    /// Performs a state. @return whether the walk goes on
    bool step(const kelvo_nr_dfa_state& state, std::uint32_t* next) {
        switch (state.operation) {
            case KELVO_NR_DFA_ADVANCE:
                if (++walk_.at >= walk_.components.size()) *next = state.on_failure;
                return true;
            case KELVO_NR_DFA_SET_FLAG:
                walk_.flags |= state.argument;
                return true;
            case KELVO_NR_DFA_MATCH:
                if (hash_of(component()) == state.argument) return true;
                *next = state.on_failure;
                return !ends_at_regexp();
            case KELVO_NR_DFA_WILDCARD_TEST:
                return !decides_wildcard();
            case KELVO_NR_DFA_RESULT:
                decide(Stop::result, state.argument);
                return false;
            default:
                return true;
        }
    }

    bool ends_at_regexp() {
        constexpr std::uint32_t kBoth = KELVO_NR_OPT_REGEXP | KELVO_NR_OPT_MANAGEMENT;
        if ((options_ & kBoth) != kBoth) return false;
        if (component().size() > kMostTested) {
            decide(Stop::overlong, KELVO_NR_DFA_INVALID);
            return true;
        }
        if (!holds_regexp(component())) return false;
        walk_.flags |= KELVO_NR_PATH_REGEXP;
        decide(Stop::regexp, KELVO_NR_DFA_INVALID);
        return true;
    }

    bool decides_wildcard() {
        if ((options_ & KELVO_NR_OPT_REGEXP) == 0 || !holds_regexp(component())) return false;
        const bool is_management = (options_ & KELVO_NR_OPT_MANAGEMENT) != 0;
        decide(Stop::wildcard, is_management ? KELVO_NR_DFA_ALL_LOCAL : KELVO_NR_DFA_LOCAL);
        return true;
    }

    /// Notes the names of a level: matches that follow each other by failure.
    void expect_at(std::uint32_t level) {
        while (state_at(level).operation == KELVO_NR_DFA_NO_OPERATION) {
            level = state_at(level).on_success;
        }
        for (; state_at(level).operation == KELVO_NR_DFA_MATCH;
             level = state_at(level).on_failure) {
            walk_.expected.push_back(name_of_hash(state_at(level).argument));
        }
        walk_.takes_any = state_at(level).operation == KELVO_NR_DFA_ADVANCE ||
                          state_at(level).operation == KELVO_NR_DFA_WILDCARD_TEST;
    }

    std::uint32_t options_;
    Walk walk_;
};

}  // namespace

std::string name_of_result(std::uint32_t result) {
    return name_of(kResults, result);
}

std::vector<std::string> names_of_flags(std::uint32_t flags) {
    std::vector<std::string> names;
    for (const Named& flag : kFlags) {
        if ((flags & flag.value) != 0) names.emplace_back(flag.name);
    }
    return names;
}

std::string name_of_hash(std::uint32_t hash) {
    return name_of(kNames, hash);
}

std::string label_of(const kelvo_nr_dfa_state& state) {
    switch (state.operation) {
        case KELVO_NR_DFA_ADVANCE:
            return "next component";
        case KELVO_NR_DFA_RESULT:
            return name_of_result(state.argument);
        case KELVO_NR_DFA_SET_FLAG: {
            std::string label = "flags";
            for (const std::string& name : names_of_flags(state.argument)) label += " " + name;
            return label;
        }
        case KELVO_NR_DFA_MATCH:
            return "is it " + name_of_hash(state.argument) + "?";
        case KELVO_NR_DFA_NO_OPERATION:
            return "level";
        case KELVO_NR_DFA_WILDCARD_TEST:
            return "regular expression?";
        default:
            return "unknown operation " + std::to_string(state.operation);
    }
}

bool can_fail(const kelvo_nr_dfa_state& state) {
    return state.operation == KELVO_NR_DFA_ADVANCE || state.operation == KELVO_NR_DFA_MATCH;
}

std::uint32_t hash_of(const std::string& component) {
    std::uint32_t hash = 0;
    for (const char character : component) {
        hash = hash * 33 + static_cast<std::uint32_t>(static_cast<signed char>(character));
    }
    return hash;
}

Walk walk_of(const std::string& path, std::uint32_t options) {
    return Walker(path, options).run();
}

}  // namespace kelvo::tool
