// SPDX-License-Identifier: Apache-2.0
//
// The registration requests that carry an array of counted strings: VRFN registration and
// configuration groups.
#include <algorithm>
#include <cstdlib>

#include "kelvo_common_msg_texts.h"
#include "kelvo_common_msg_walk_registration.h"

using namespace kelvo;
using namespace kelvo::wire;

namespace {

/// The paths of a VRFN registration, to the end of the message.
Status read_paths(Cursor<HostOrder>& in, u32 count, TextArray& paths) {
    for (u32 i = 0; i < count; ++i) {
        char* path;
        if (const Status st = in.text(&path)) return st;
        paths.take(i, path);
    }
    return in.end();
}

constexpr char kGroupPrefix[] = "cfg/gl/a/config-group/";
constexpr u64 kGroupPrefixChars = sizeof kGroupPrefix - 1;

/// "<prefix><names with | between them>/" in a new block. Null when there is no memory.
char* compose_group_path(char* const* names, u32 count) {
    u64 chars = kGroupPrefixChars + 1;
    for (u32 i = 0; i < count; ++i) chars += std::strlen(names[i]) + (i != 0 ? 1 : 0);
    auto* const path = static_cast<char*>(std::malloc(chars + 1));
    if (path == nullptr) return nullptr;

    char* at = path;
    std::memcpy(at, kGroupPrefix, kGroupPrefixChars);
    at += kGroupPrefixChars;
    for (u32 i = 0; i < count; ++i) {
        if (i != 0) *at++ = '|';
        const std::size_t name_chars = std::strlen(names[i]);
        std::memcpy(at, names[i], name_chars);
        at += name_chars;
    }
    *at++ = '/';
    *at = '\0';
    return path;
}

/// Names, path, and then only the test for bytes left over. The path is the caller's.
Status read_group_path(Cursor<FromNetwork>& in, u32* count, char** path) {
    TextArray names;
    if (const Status st = walk_group_names(in, names, count)) return st;
    char* const composed = compose_group_path(names.texts(), *count);
    if (composed == nullptr) return in.refuse(KELVO_ERR_NO_MEMORY);
    if (const Status st = in.end()) {
        std::free(composed);
        return st;
    }
    *path = composed;
    return 0;
}

}  // namespace

kelvo_status kelvo_common_msg_vrfn_reg_interpret(void* msg, uint32_t length,
                                                 uint32_t* registration_id, uint32_t* w2,
                                                 void** client_block, uint32_t* w3, uint32_t* w4,
                                                 uint32_t* w5, uint32_t* count, uint32_t* w7,
                                                 char*** paths, uint32_t* w6) {
    auto* const bytes = static_cast<u8*>(msg);
    HostOrder order;
    Cursor in(order, bytes, length);
    if (const Status st = in.skip(sizeof(kelvo_msg_vrfn_reg))) return st;
    const u32 claimed = load32(bytes + offsetof(kelvo_msg_vrfn_reg, count));
    if (claimed == 0) return in.refuse(KELVO_ERR_MSG_CONTENT);
    TextArray texts;
    if (const Status st = texts.make_room(claimed, in.left())) return in.refuse(st);
    if (const Status st = read_paths(in, claimed, texts)) return st;

    *registration_id = load32(bytes + offsetof(kelvo_msg_vrfn_reg, registration_id));
    *w2 = load32(bytes + offsetof(kelvo_msg_vrfn_reg, w2));
    *client_block = bytes + offsetof(kelvo_msg_vrfn_reg, client_block);
    *w3 = load32(bytes + offsetof(kelvo_msg_vrfn_reg, w3));
    *w4 = load32(bytes + offsetof(kelvo_msg_vrfn_reg, w4));
    *w5 = load32(bytes + offsetof(kelvo_msg_vrfn_reg, w5));
    *count = claimed;
    *w7 = load32(bytes + offsetof(kelvo_msg_vrfn_reg, w7));
    *paths = texts.release();
    *w6 = load32(bytes + offsetof(kelvo_msg_vrfn_reg, w6));
    return in.accept();
}

kelvo_status kelvo_common_msg_cfg_grp_interpret(void* msg, uint32_t length, char** path,
                                                uint32_t* x, uint32_t* record, uint32_t* y,
                                                uint32_t* count, uint32_t* w1) {
    auto* const bytes = static_cast<u8*>(msg);
    FromNetwork order;  // of the names' lengths
    Cursor in(order, bytes, length);
    u32 claimed;
    char* composed;
    if (const Status st = read_group_path(in, &claimed, &composed)) return st;

    // What the node resolver answers for every configuration path.
    constexpr u32 kRecord[KELVO_CFG_GRP_RECORD_WORDS] = {0xc4653601, KELVO_NODEID_INVALID, 0, 0,
                                                         KELVO_NODEID_INVALID};
    *path = composed;
    *x = 0xFFFFFFFF;
    std::copy(std::begin(kRecord), std::end(kRecord), record);
    *y = 4;
    *count = claimed;
    *w1 = load32(bytes + offsetof(kelvo_msg_cfg_grp, w1));
    return in.accept();
}
