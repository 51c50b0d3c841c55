// SPDX-License-Identifier: Apache-2.0
//
// The resolver in a process of a given name, on a scripted platform: node 0x10 of a system of
// several nodes, a route processor, unless a test says otherwise.
#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <ostream>
#include <string>
#include <vector>

#include "kelvo_debug.h"
#include "kelvo_node_resolver.h"
#include "kelvo_status.h"
#include "platform/scripted_platform.h"

inline bool operator==(const kelvo_nr_answer& one, const kelvo_nr_answer& other) {
    return one.node_type == other.node_type && one.node_id == other.node_id &&
           one.versioned == other.versioned && one.server_type == other.server_type;
}

inline std::ostream& operator<<(std::ostream& out, const kelvo_nr_answer& answer) {
    char text[100];
    std::snprintf(text, sizeof text, "{%d, 0x%x, %u, %u}", answer.node_type, answer.node_id,
                  answer.versioned, answer.server_type);
    return out << text;
}

namespace kelvo::test {

inline constexpr std::uint32_t kThisNode = 0x10;
inline constexpr std::uint32_t kUntouched = 0x77;

inline constexpr kelvo_nr_answer kIllegal = {-999999999, 0xFFFFFFFF, 0, 0};
inline constexpr kelvo_nr_answer kLocal = {0, kThisNode, 1, 0};
inline constexpr kelvo_nr_answer kAdmin = {1000000001, 0xFFFFFFFF, 1, 0};
inline constexpr kelvo_nr_answer kAllLocal = {-2, 0xFFFFFFFF, 1, 0};
inline constexpr kelvo_nr_answer kAllLr = {-1, 0xFFFFFFFF, 1, 0};
inline constexpr kelvo_nr_answer kCcv = {1000000002, 0xFFFFFFFF, 1, 5};
inline constexpr kelvo_nr_answer kSharedSc = {1000000000, 0xFFFFFFFF, 1, 1};
inline constexpr kelvo_nr_answer kSharedNc = {1000000000, 0xFFFFFFFF, 1, 3};

inline kelvo_nr_answer node_answer(std::uint32_t nodeid) {
    return {0, nodeid, 1, 0};
}
inline kelvo_nr_answer unversioned(kelvo_nr_answer answer) {
    answer.versioned = 0;
    return answer;
}

/// All that a lookup gives back.
struct Found {
    kelvo_status status;
    kelvo_nr_answer answer;
    std::uint32_t ambiguous;

    friend bool operator==(const Found& one, const Found& other) {
        return one.status == other.status && one.answer == other.answer &&
               one.ambiguous == other.ambiguous;
    }
    friend std::ostream& operator<<(std::ostream& out, const Found& found) {
        return out << "status 0x" << std::hex << found.status << std::dec << " " << found.answer
                   << " ambiguous " << found.ambiguous;
    }
};

inline Found owner(const kelvo_nr_answer& answer) {
    return {0, answer, 0};
}
inline Found ambiguous(const kelvo_nr_answer& answer) {
    return {0, answer, 1};
}
/// A refusal leaves the illegal answer, and the mark of ambiguity as it was.
inline Found refused(kelvo_status status) {
    return {status, kIllegal, kUntouched};
}

inline Found look_up(const char* prefix, const std::string& path, std::uint32_t options = 0) {
    Found found{0, {1, 2, 3, 4}, kUntouched};
    found.status =
        kelvo_nr_lookup_node(prefix, path.c_str(), options, &found.answer, &found.ambiguous);
    return found;
}
inline Found look_up(const std::string& path, std::uint32_t options = 0) {
    return look_up("", path, options);
}

/// Gives the process another short name while it exists.
class ProcessName {
  public:
    explicit ProcessName(const char* name) : name_(name), before_(program_invocation_short_name) {
        program_invocation_short_name = name_.data();
    }
    ~ProcessName() { program_invocation_short_name = before_; }
    ProcessName(const ProcessName&) = delete;
    ProcessName& operator=(const ProcessName&) = delete;

  private:
    std::string name_;
    char* before_;
};

class Resolver : public testing::Test {
  protected:
    Resolver() { platform().reset(); }
    ~Resolver() override {
        show_debug_lines(false);
        (void)kelvo_nr_shutdown();
    }

    /// Initialises the resolver as a process of this name does.
    static kelvo_status start_as(const char* name, std::uint32_t nodeid = 0,
                                 void* trace = nullptr) {
        const ProcessName process(name);
        return kelvo_nr_init(0, nodeid, trace);
    }
    static void start() { ASSERT_EQ(start_as("client"), 0U); }
    static void start_on_card(std::uint32_t card_type) {
        platform().type = [card_type] { return card_type; };
        start();
    }

    static void show_debug_lines(bool on) {
        kelvo_cmn_debug_flags[KELVO_DEBUG_NODE_RESOLVER].enabled = on ? 1 : 0;
        kelvo_cmn_debug_flags[KELVO_DEBUG_NODE_RESOLVER_DFA].enabled = 0;
    }

    using Lines = std::vector<std::string>;

    /// The debug lines of one lookup.
    static Lines lines_of(const std::string& path, std::uint32_t options = 0) {
        platform().debug_lines.clear();
        show_debug_lines(true);
        (void)look_up(path, options);
        show_debug_lines(false);
        return platform().debug_lines;
    }

    static void expect_logged(const qor_msg_rec& record, const std::string& text) {
        ASSERT_EQ(platform().log.size(), 1U);
        EXPECT_EQ(platform().log[0].record, &record);
        EXPECT_EQ(platform().log[0].severity, 7);
        EXPECT_EQ(platform().log[0].text, text);
    }
};

}  // namespace kelvo::test
