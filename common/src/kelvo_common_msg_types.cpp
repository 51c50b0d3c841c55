// SPDX-License-Identifier: Apache-2.0
//
// Texts of the message types.
#include "kelvo_common_msg_types.h"

#include <array>
#include <string_view>

namespace {

/// The texts stand in the table itself: no pointers, so nothing to relocate when the library is
/// loaded.
struct MessageType {
    unsigned number;
    char tag[13];
    char description[23];
};

constexpr std::array<MessageType, KELVO_MSG_TYPE_COUNT> kMessageTypes = {{
#define KELVO_MSG_TYPE_ROW(number, name, tag, description) {number, tag, description},
    KELVO_MSG_TYPE_LIST(KELVO_MSG_TYPE_ROW)
#undef KELVO_MSG_TYPE_ROW
}};

consteval bool rows_are_in_place() {
    for (unsigned i = 0; i < kMessageTypes.size(); ++i) {
        if (kMessageTypes[i].number != i) return false;
        const std::string_view tag = kMessageTypes[i].tag;
        if (!tag.empty() && tag.size() != 12) return false;
    }
    return true;
}
static_assert(rows_are_in_place(), "row n holds number n, and a tag has 12 characters or none");

}  // namespace

const char* kelvo_comm_msg_desc(uint32_t type) {
    return type < kMessageTypes.size() ? kMessageTypes[type].description : "Unknown type";
}

const char* kelvo_comm_msgtype_desc(uint32_t type) {
    return type < kMessageTypes.size() ? kMessageTypes[type].tag : "";
}
