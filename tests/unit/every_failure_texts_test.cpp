// SPDX-License-Identifier: Apache-2.0
//
// Every failure in turn: texts, path patterns, regular expressions, comparisons, node ids as text.
#include <cstring>

#include "kelvo_cfg_group.h"
#include "kelvo_error_string.h"
#include "kelvo_process.h"
#include "kelvo_regex.h"
#include "kelvo_string.h"
#include "kelvo_util_compare.h"
#include "kelvo_util_nodeid.h"
#include "kelvo_util_path.h"
#include "support/every_failure.h"
#include "support/system_calls.h"

using namespace kelvo::test;

namespace {

// ------------------------------------------------------------------------------------------------
// Texts that are handed out
// ------------------------------------------------------------------------------------------------

/// 0 for a text, the status of a failure for null, where a function returns the text itself.
kelvo_status hand_out(TextOut& out, char* text) {
    if (text == nullptr) return KELVO_ERR_NO_MEMORY;
    out.text = text;
    return 0;
}

kelvo_status encode(TextOut& a) {
    return kelvo_string_encode("eth0/1 up", &a.text, &a.word);
}
kelvo_status encode_regex(TextOut& a) {
    return kelvo_string_encode_regex("eth0/1", &a.text, &a.word, 4);
}
kelvo_status decode(TextOut& a) {
    return kelvo_string_decode("eth0%2f1", &a.text, &a.word);
}

struct DecodedRegex : TextOut {
    std::uint32_t type = 0;
    [[nodiscard]] std::string seen() const { return TextOut::seen() + show(type); }
};
kelvo_status decode_regex(DecodedRegex& a) {
    a.type = 0;
    return kelvo_string_decode_regex("CGROUP_T03_a%2fb", &a.text, &a.word, &a.type);
}
/// Without room for the result, the decoded text with its markers is the caller's.
Expected decoded_all_the_same(const Fault& fault) {
    if (fault.number < 2) return by_rule(fault);
    return leaves("\"CGROUP_T03_a/b\" 14 0 ", KELVO_ERR_NO_MEMORY);
}

kelvo_status compose_error(TextOut& a) {
    return kelvo_util_compose_error_string("no such item", &a.text);
}
kelvo_status prepare_marked_error(TextOut& a) {
    return kelvo_util_prepare_error_string("^$,~no such item", 0x40818800, &a.text);
}
kelvo_status prepare_error(TextOut& a) {
    return kelvo_util_prepare_error_string("cfg/gl", 0x40818800, &a.text);
}
/// A platform without texts, for a status without parts.
struct NothingToSay : TextOut {
    NothingToSay() {
        platform().getstrings = [](kelvo_status, errcode_strings* texts) -> kelvo_status {
            *texts = {};
            return 0;
        };
    }
};
kelvo_status prepare_no_error(NothingToSay& a) {
    return kelvo_util_prepare_error_string(nullptr, 0x40818800, &a.text);
}

kelvo_status strdup_text(TextOut& a) {
    return hand_out(a, kelvo_strdup("a text"));
}
kelvo_status group_name(TextOut& a) {
    return hand_out(a, kelvo_get_cfg_group_name_from_path("cfg/gl/a/config-group/name/x"));
}
kelvo_status longest_exact_path(TextOut& a) {
    return kelvo_util_longest_exact_path("cfg/gl/a[0-9]/b", &a.text);
}

/// Texts whose only failure is to have no memory, whether the allocator or the platform says so.
Expected no_memory(const Fault& /*fault*/) {
    return refused_with(KELVO_ERR_NO_MEMORY);
}

// ------------------------------------------------------------------------------------------------
// Patterns
// ------------------------------------------------------------------------------------------------

struct Pattern {
    kelvo_path_pattern* pattern = nullptr;
    ~Pattern() { kelvo_util_path_regfree(pattern); }
    [[nodiscard]] std::string seen() const {
        std::string text;
        for (const auto* at = pattern; at != nullptr; at = at->is_last != 0 ? nullptr : at + 1) {
            text += show(at->text) + show(at->is_regexp);
        }
        return text;
    }
};
kelvo_status path_regcomp(Pattern& a) {
    return kelvo_util_path_regcomp("cfg/a[0-9]*/literal/b[a-z]{2}[0-9]+", &a.pattern, 0);
}

/// An engine without memory refuses the pattern.
Expected refused_by_engine(const Fault& fault) {
    return fault.is_engines() ? refused_with(KELVO_ERR_BAD_REGEXP) : by_rule(fault);
}

struct Matched {
    kelvo_path_pattern* pattern = nullptr;
    std::uint32_t matches = 4711;
    Matched() { (void)kelvo_util_path_regcomp("cfg/a[0-9]*/x", &pattern, 0); }
    ~Matched() { kelvo_util_path_regfree(pattern); }
    Matched(const Matched&) = delete;
    Matched& operator=(const Matched&) = delete;
    [[nodiscard]] std::string seen() const { return show(matches); }
};
kelvo_status path_regexec(Matched& a) {
    return kelvo_util_path_regexec("cfg/a12/x", a.pattern, &a.matches);
}

/// A match so long that the engine needs memory for it.
struct LongMatched : Matched {
    std::string path = "cfg/" + std::string(5000, 'a') + "b";
    LongMatched() {
        kelvo_util_path_regfree(pattern);
        (void)kelvo_util_path_regcomp("cfg/(a|b)*", &pattern, 0);
    }
};
kelvo_status path_regexec_long(LongMatched& a) {
    return kelvo_util_path_regexec(a.path.c_str(), a.pattern, &a.matches);
}
/// An engine without memory finds no match.
Expected unmatched_by_engine(const Fault& fault) {
    return fault.is_engines() ? leaves("0 ") : by_rule(fault);
}
kelvo_status node_within_regexp(Matched& a) {
    return kelvo_util_node_within_regexp("cfg/a12/x", "cfg/a[0-9]*/x", &a.matches, 0);
}
/// Compiling comes first.
Expected refused_or_unmatched(const Fault& fault) {
    const FailingMemory counting;
    kelvo_path_pattern* pattern;
    (void)kelvo_util_path_regcomp("cfg/a[0-9]*/x", &pattern, 0);
    const bool compiling = fault.number < FailingMemory::allocations();
    kelvo_util_path_regfree(pattern);
    return compiling ? refused_by_engine(fault) : unmatched_by_engine(fault);
}

constexpr int kEngineOutOfMemory = 12;

/// Patterns without what the engine cannot run out of memory for: see kelvo_regcomp().
struct Compiled {
    kelvo_regex regex{};
    kelvo_regex_match matches[2] = {{7, 7}, {7, 7}};
    ~Compiled() { kelvo_regfree(&regex); }
    [[nodiscard]] std::string seen() const {
        return show(regex.engine != nullptr) + std::to_string(matches[0].start) + "-" +
               std::to_string(matches[1].end);
    }
};
kelvo_status regcomp(Compiled& a) {
    return static_cast<kelvo_status>(
        kelvo_regcomp(&a.regex, "b(c+)[xyz]*d{2}", KELVO_REGEX_EXTENDED));
}
struct ToMatch : Compiled {
    ToMatch() { (void)kelvo_regcomp(&regex, "b(c+)", KELVO_REGEX_EXTENDED); }
};
kelvo_status regexec(ToMatch& a) {
    return static_cast<kelvo_status>(kelvo_regexec(&a.regex, "abccd", 2, a.matches, 0));
}
Expected engine_out_of_memory(const Fault& /*fault*/) {
    return refused_with(kEngineOutOfMemory);
}

// ------------------------------------------------------------------------------------------------
// Comparisons
// ------------------------------------------------------------------------------------------------

struct Compared {
    std::string one = std::string(300, 'a') + "/b";
    std::string other = std::string(300, 'a') + "/c";
    std::int32_t result = 4711;
    std::uint32_t equal = 4711;
    [[nodiscard]] std::string seen() const { return std::to_string(result) + " " + show(equal); }
};
kelvo_status compare_paths(Compared& a) {
    return kelvo_util_compare_paths(a.one.c_str(), a.other.c_str(), &a.result);
}
kelvo_status compare_records(Compared& a) {
    const std::uint8_t one[] = {1, 5, 6, 7};
    const std::uint8_t other[] = {1, 5, 6, 7};
    return kelvo_compare_data(one, other, sizeof one, KELVO_VALUE_TYPE_RECORD, &a.equal);
}
/// The answer is "different" where the platform does not know.
Expected different(const Fault& fault) {
    Expected expected = by_rule(fault);
    expected.seen = "4711 0 ";
    return expected;
}

// ------------------------------------------------------------------------------------------------
// Node ids
// ------------------------------------------------------------------------------------------------

/// A thread that has not converted any id yet. In the end its ring goes as the thread's end would
/// let it go; the framework has thread keys too, so what a call keeps is taken down at once.
struct NewThread {
    const char* text = "untouched";
    void* ring = nullptr;

    NewThread() = default;
    ~NewThread() {
        static void (*const release)(void*) = system_calls.destructor;  // the key created last
        if (ring != nullptr) release(ring);
    }
    NewThread(const NewThread&) = delete;
    NewThread& operator=(const NewThread&) = delete;
    [[nodiscard]] std::string seen() const { return text; }
};
kelvo_status nodeid_to_str(NewThread& a) {
    system_calls.kept = nullptr;
    a.text = kelvo_util_nodeid_to_str(0x10203);
    if (system_calls.kept != nullptr) a.ring = system_calls.kept;
    return 0;
}
Expected text_all_the_same(const Fault& fault) {
    if (fault.is_memory()) return leaves("Error - can't convert nodeid");
    return leaves("unknown node id 0x10203")
        .logs({"NodeID to string conversion failed for node id 66051 (rc 0x40000abc - text of "
               "0x40000abc)"});
}

const Operation kOperations[] = {
    row<TextOut>("kelvo_string_encode", encode),
    row<TextOut>("kelvo_string_encode_regex", encode_regex),
    row<TextOut>("kelvo_string_decode", decode),
    row<DecodedRegex>("kelvo_string_decode_regex", decode_regex, decoded_all_the_same),
    row<TextOut>("kelvo_util_compose_error_string", compose_error),
    row<TextOut>("kelvo_util_prepare_error_string", prepare_error),
    row<TextOut>("kelvo_util_prepare_error_string_marked", prepare_marked_error),
    row<NothingToSay>("kelvo_util_prepare_error_string_without_parts", prepare_no_error),
    row<TextOut>("kelvo_strdup", strdup_text, no_memory),
    row<TextOut>("kelvo_get_cfg_group_name_from_path", group_name),
    row<TextOut>("kelvo_util_longest_exact_path", longest_exact_path),
    row<Pattern>("kelvo_util_path_regcomp", path_regcomp, refused_by_engine),
    row<Matched>("kelvo_util_path_regexec", path_regexec, unmatched_by_engine),
    row<LongMatched>("kelvo_util_path_regexec_long", path_regexec_long, unmatched_by_engine),
    row<Matched>("kelvo_util_node_within_regexp", node_within_regexp, refused_or_unmatched),
    row<Compiled>("kelvo_regcomp", regcomp, engine_out_of_memory),
    row<ToMatch>("kelvo_regexec", regexec, engine_out_of_memory),
    row<Compared>("kelvo_util_compare_paths", compare_paths),
    row<Compared>("kelvo_compare_data", compare_records, different),
    row<NewThread>("kelvo_util_nodeid_to_str", nodeid_to_str, text_all_the_same),
};

INSTANTIATE_TEST_SUITE_P(Texts, EveryFailure, testing::ValuesIn(kOperations), name_of);

}  // namespace
