// SPDX-License-Identifier: Apache-2.0
#include "list_reply.h"

#include <algorithm>

#include "kelvo_common_msg_list.h"

namespace example {
namespace {

constexpr std::uint32_t kMaxEntries = 1'000;
constexpr std::size_t kEnoughBytes = kMaxRequest;

}  // namespace

ListReply::ListReply(std::uint32_t limit)
    : limit_(limit == 0 ? kMaxEntries : std::min(limit, kMaxEntries)) {}

void ListReply::add_name(const std::string& name) {
    kelvo_rply_list_entry entry{};
    entry.name.length = network(wire_length(name));
    entries_.fixed(entry).text_body(name);
    ++count_;
}

void ListReply::add_item(const std::string& name, const Value* value, kelvo_status status) {
    layout_ = "datalist_reply";
    kelvo_rply_datalist_entry entry{};
    entry.type = network(value ? value->type : 0);
    entry.word2 = network(status);
    entry.name.length = network(wire_length(name));
    entries_.fixed(entry).text_body(name);
    entries_.value(value ? wire_bytes(*value) : std::vector<std::uint8_t>()).value({});
    ++count_;
}

bool ListReply::full() const {
    return count_ >= limit_ || entries_.size() >= kEnoughBytes;
}

Reply ListReply::take() {
    kelvo_rply_list fixed{};
    kelvo_rply_list_group group{};
    fixed.groups = network(1);
    group.word1 = network(more_ ? 1 : 0);
    group.entries = network(count_);
    return {Kind::answer, Layout().fixed(fixed).fixed(group).raw(entries_.take()).take(), layout_};
}

}  // namespace example
