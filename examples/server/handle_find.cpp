// SPDX-License-Identifier: Apache-2.0
//
// Find: the items whose paths match a pattern, component by component. Group find: how many items a
// configuration group holds. In a find the first string is the pattern, the second the path to go
// on after, and word 1 the most entries wanted; the reply has the data-list form.
#include <algorithm>
#include <cstdlib>
#include <memory>

#include "handlers.h"
#include "kelvo_common_msg_find.h"
#include "kelvo_util_path.h"
#include "list_reply.h"

namespace example {
namespace {

// Matching costs time, and one client's time is everybody's here.
constexpr std::size_t kMaxPattern = 256;

struct PatternFree {
    void operator()(kelvo_path_pattern* pattern) const { kelvo_util_path_regfree(pattern); }
};
using Pattern = std::unique_ptr<kelvo_path_pattern, PatternFree>;

kelvo_status compile(const std::string& text, Pattern& pattern) {
    kelvo_path_pattern* compiled = nullptr;
    if (text.size() > kMaxPattern) return KELVO_ERR_BAD_REGEXP;
    const kelvo_status status = kelvo_util_path_regcomp(text.c_str(), &compiled, 0);
    pattern.reset(compiled);
    return status;
}

// The part of a pattern ahead of its first regular expression: all matches begin with it.
kelvo_status exact_prefix(const std::string& pattern, std::string& prefix) {
    char* text = nullptr;
    if (const kelvo_status status = kelvo_util_longest_exact_path(pattern.c_str(), &text))
        return status;
    prefix = text;
    std::free(text);
    return 0;
}

// The library's match also accepts a path that stops above or goes on below the pattern.
bool matches(const std::string& path, const std::string& text, const kelvo_path_pattern* pattern) {
    std::uint32_t match = 0;
    return std::ranges::count(path, '/') == std::ranges::count(text, '/') &&
           kelvo_util_path_regexec(path.c_str(), pattern, &match) == 0 && match != 0;
}

}  // namespace

std::optional<Reply> handle_find(Request& request) {
    char *text, *after;
    std::uint32_t limit, word4, block[5], word7, word5, word6;
    if (const kelvo_status status = kelvo_common_msg_find_interpret_endian_ntoh(
            request.data(), request.length(), &text, &after, &limit, &word4, block, &word7, &word5,
            &word6))
        return result(status);
    Pattern pattern;
    std::string prefix;
    if (const kelvo_status status = request.service.owns(text, true)) return result(status);
    if (const kelvo_status status = compile(text, pattern)) return result(status);
    if (const kelvo_status status = exact_prefix(text, prefix)) return result(status);

    ListReply reply(limit);
    const std::string first = *after == '\0' ? prefix : after;
    request.service.items().range(first, [&](const auto& path, const Value& value) {
        if (!path.starts_with(prefix)) return false;
        if (path == after || !matches(path, text, pattern.get())) return true;
        if (reply.full()) return reply.stop_here();
        reply.add_item(path, &value);
        return true;
    });
    return reply.take();
}

// The reply word is the number of items in the group.
std::optional<Reply> handle_find_group(Request& request) {
    char* group;
    std::uint32_t word;
    if (const kelvo_status status = kelvo_common_msg_find_grp_ag_interpret_endian_ntoh(
            request.data(), request.length(), &group, nullptr, &word))
        return result(status);
    const std::string base = std::string("cfg/gl/a/config-group/") + group + "/";
    if (const kelvo_status status = request.service.owns(base)) return result(status);
    kelvo_rply_find_group fixed{};
    std::uint32_t count = 0;
    request.service.items().range(base, [&](const auto& path, const Value&) {
        const bool inside = path.starts_with(base);
        if (inside) ++count;
        return inside;
    });
    fixed.word = network(count);
    return Reply{Kind::answer, Layout().fixed(fixed).take(), "find_group_reply"};
}

}  // namespace example
