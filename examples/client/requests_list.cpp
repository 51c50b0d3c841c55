// SPDX-License-Identifier: Apache-2.0
//
// List, data-list, find, get-items and group find.
#include <algorithm>

#include "kelvo_common_msg_find.h"
#include "kelvo_common_msg_get_items.h"
#include "kelvo_common_msg_list.h"
#include "reader.h"
#include "requests.h"

namespace example {
namespace {

using EntryReader = Entry (*)(Reader&);

// Either kind of reply: what converts it, by the guard's name and by its own, and what reads an
// entry.
struct ReplyKind {
    kelvo_msg_operation operation;
    decltype(&kelvo_lib_rply_list_interpret_endian_ntoh) convert;
    EntryReader read_entry;
};

Entry name_entry(Reader& reader) {
    const auto fixed = reader.fixed<kelvo_rply_list_entry>();
    return {reader.text(fixed.name.length), {}, 0};
}

Entry item_entry(Reader& reader) {
    const auto fixed = reader.fixed<kelvo_rply_datalist_entry>();
    std::string name = reader.text(fixed.name.length);
    Value value = reader.counted_value(fixed.type);
    reader.counted_value(fixed.type);  // the second value, empty here
    return {std::move(name), std::move(value), fixed.word2};
}

constexpr ReplyKind kNames = {KELVO_OPERATION_LIST_REPLY_NTOH,
                              kelvo_lib_rply_list_interpret_endian_ntoh, name_entry};
constexpr ReplyKind kItems = {KELVO_OPERATION_DATALIST_REPLY_NTOH,
                              kelvo_lib_rply_datalist_interpret_endian_ntoh, item_entry};

// The converters take the places of later groups from the reply's own lengths, without a test; the
// guard looks at these. This server sends one group.
Listing read_listing(Message reply, const ReplyKind& kind) {
    if (reply.frame().kind == Kind::result) return {read_result(reply), {}, false};
    if (const kelvo_status status = reply.guard(kind.operation)) return {status, {}, false};
    if (const kelvo_status status = kind.convert(reply.data(), reply.length()))
        return {status, {}, false};
    Reader reader(reply);
    if (reader.fixed<kelvo_rply_list>().groups != 1) return {KELVO_ERR_MSG_CONTENT, {}, false};
    const auto group = reader.fixed<kelvo_rply_list_group>();
    Listing listing{0, {}, group.word1 != 0};
    for (std::uint32_t i = 0; i < group.entries; ++i)
        listing.entries.push_back(kind.read_entry(reader));
    return listing;
}

}  // namespace

Listing list(Session& session, const std::string& base, const std::string& after,
             std::uint32_t limit) {
    kelvo_msg_list header{};
    kelvo_length_cell base_length{}, after_length{};
    kelvo_slot slots[7];
    kelvo_common_msg_list_compose(&header, &base_length.length, &after_length.length, base.c_str(),
                                  after.c_str(), limit, 0, 0, 0, 0, 0, slots);
    return read_listing(session.call(&header, slots), kNames);
}

Listing datalist(Session& session, const std::string& base, const std::string& after,
                 std::uint32_t limit) {
    kelvo_msg_list header{};
    kelvo_length_cell base_length{}, after_length{};
    kelvo_slot slots[7];
    kelvo_common_msg_datalist_compose(&header, &base_length.length, &after_length.length,
                                      base.c_str(), after.c_str(), limit, 0, 0, 0, 0, 0, slots);
    return read_listing(session.call(&header, slots), kItems);
}

Listing find(Session& session, const std::string& pattern, const std::string& after,
             std::uint32_t limit) {
    kelvo_msg_find header{};
    kelvo_length_cell pattern_length{}, after_length{};
    kelvo_slot slots[7];
    kelvo_common_msg_find_compose(&header, &pattern_length.length, &after_length.length,
                                  pattern.c_str(), after.c_str(), limit, 0, 0, 0, 0, 0, 0, 0, 0,
                                  slots);
    return read_listing(session.call(&header, slots), kItems);
}

Listing get_items(Session& session, const std::string& base, std::vector<std::string> names) {
    kelvo_msg_get_items header{};
    kelvo_length_cell base_length{};
    std::vector<kelvo_length_cell> lengths(names.size());
    std::vector<kelvo_slot> slots(4 + 3 * names.size());
    std::vector<char*> texts(names.size());
    std::transform(names.begin(), names.end(), texts.begin(),
                   [](auto& name) { return name.data(); });
    kelvo_common_msg_get_items_compose(&header, texts.data(), &lengths.data()->length, base.c_str(),
                                       &base_length.length,
                                       static_cast<std::uint32_t>(names.size()), 0, slots.data());
    return read_listing(session.call(&header, slots), kItems);
}

kelvo_status find_group(Session& session, const std::string& group, std::uint32_t& items) {
    kelvo_msg_find_group header{};
    kelvo_length_cell length{};
    kelvo_slot slots[4];
    kelvo_common_msg_find_grp_ag_ah_compose(&header, &length.length, group.c_str(), 0, slots, 1);
    Message reply = session.call(&header, slots);
    if (reply.frame().kind == Kind::result) return read_result(reply);
    if (const kelvo_status status = reply.guard(KELVO_OPERATION_FIND_GROUP_REPLY_NTOH))
        return status;
    if (const kelvo_status status =
            kelvo_lib_rply_grp_ag_interpret_endian_ntoh(reply.data(), reply.length()))
        return status;
    items = fixed_part<kelvo_rply_find_group>(reply.data()).word;
    return 0;
}

}  // namespace example
