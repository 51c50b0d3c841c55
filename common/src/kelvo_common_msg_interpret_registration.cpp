// SPDX-License-Identifier: Apache-2.0
//
// Registration requests in host order.
#include "kelvo_common_msg_walk_registration.h"
#include "kelvo_common_structs_startup_list.h"

using namespace kelvo;
using namespace kelvo::wire;

namespace {

/// Reads the pairs that end a message into a list. The time for a pair does not grow with the list.
Status read_pairs(Cursor<HostOrder>& in, u32 count, StartupListBuilder& list) {
    return walk_pairs(in, count, [&list](u32 job_id, u32 node_id) -> Status {
        const Status st = list.add(job_id, node_id);
        return st == KELVO_ERR_ALREADY_EXISTS ? KELVO_ERR_MSG_DUPLICATE : st;
    });
}

/// Path and pairs of a VS or EDMS registration. After a failure the entries already made stay
/// behind; meant.
Status read_path_and_list(u8* msg, u32 length, u64 path_cell, char** path,
                          kelvo_startup_list** list) {
    HostOrder order;
    Cursor in(order, msg, length);
    u32 pairs;
    if (const Status st = walk_path_and_count(in, path_cell, path, &pairs)) return st;
    StartupListBuilder builder(most_pairs(in, pairs));
    if (const Status st = read_pairs(in, pairs, builder)) return st;
    *list = builder.list();
    return in.accept();
}

/// NFN, VRFN and EDM unregistration.
Status read_unreg(void* message, u32 length, u32* registration_id) {
    auto* const msg = static_cast<u8*>(message);
    HostOrder order;
    Cursor in(order, msg, length);
    if (const Status st = in.skip(sizeof(kelvo_msg_unreg))) return st;
    if (const Status st = in.end()) return st;
    *registration_id = load32(msg + offsetof(kelvo_msg_unreg, registration_id));
    return in.accept();
}

/// VS and EDMS unregistration. Unlike a registration, a failure here releases what it has made.
Status read_startup_unreg(void* message, u32 length, u32* registration_id,
                          kelvo_startup_list** list) {
    auto* const msg = static_cast<u8*>(message);
    HostOrder order;
    Cursor in(order, msg, length);
    u32 pairs;
    if (const Status st = in.skip(offsetof(kelvo_msg_startup_unreg, pairs))) return st;
    if (const Status st = in.cell(&pairs)) return st;
    StartupListBuilder builder(most_pairs(in, pairs));
    if (const Status st = read_pairs(in, pairs, builder)) {
        builder.discard();
        return st;
    }
    *registration_id = load32(msg + offsetof(kelvo_msg_startup_unreg, registration_id));
    *list = builder.list();
    return in.accept();
}

}  // namespace

kelvo_status kelvo_common_msg_nfn_reg_interpret(void* msg, uint32_t length,
                                                uint32_t* registration_id, void** client_block,
                                                uint32_t* parameter, char** path) {
    auto* const bytes = static_cast<u8*>(msg);
    HostOrder order;
    Cursor in(order, bytes, length);
    char* text;
    if (const Status st = in.skip(offsetof(kelvo_msg_nfn_reg, path))) return st;
    if (const Status st = in.text(&text)) return st;
    if (const Status st = in.end()) return st;

    *registration_id = load32(bytes + offsetof(kelvo_msg_nfn_reg, registration_id));
    *client_block = bytes + offsetof(kelvo_msg_nfn_reg, client_block);
    *parameter = load32(bytes + offsetof(kelvo_msg_nfn_reg, parameter));
    *path = text;
    return in.accept();
}

kelvo_status kelvo_common_msg_nfn_unreg_interpret(void* msg, uint32_t length,
                                                  uint32_t* registration_id) {
    return read_unreg(msg, length, registration_id);
}

kelvo_status kelvo_common_msg_vrfn_unreg_interpret(void* msg, uint32_t length,
                                                   uint32_t* registration_id) {
    return read_unreg(msg, length, registration_id);
}

kelvo_status kelvo_common_msg_edm_unreg_interpret(void* msg, uint32_t length,
                                                  uint32_t* registration_id) {
    return read_unreg(msg, length, registration_id);
}

kelvo_status kelvo_common_msg_vs_reg_interpret(void* msg, uint32_t length,
                                               uint32_t* registration_id, void** client_block,
                                               uint32_t* parameter, char** path,
                                               kelvo_startup_list** list) {
    auto* const bytes = static_cast<u8*>(msg);
    char* text;
    kelvo_startup_list* pairs;
    if (const Status st =
            read_path_and_list(bytes, length, offsetof(kelvo_msg_vs_reg, path), &text, &pairs)) {
        return st;
    }
    *registration_id = load32(bytes + offsetof(kelvo_msg_vs_reg, registration_id));
    *client_block = bytes + offsetof(kelvo_msg_vs_reg, client_block);
    *parameter = load32(bytes + offsetof(kelvo_msg_vs_reg, parameter));
    *path = text;
    *list = pairs;
    return 0;
}

kelvo_status kelvo_common_msg_edms_reg_interpret(void* msg, uint32_t length, void** client_block,
                                                 uint32_t* parameter, char** path,
                                                 kelvo_startup_list** list) {
    auto* const bytes = static_cast<u8*>(msg);
    char* text;
    kelvo_startup_list* pairs;
    if (const Status st =
            read_path_and_list(bytes, length, offsetof(kelvo_msg_edms_reg, path), &text, &pairs)) {
        return st;
    }
    *client_block = bytes + offsetof(kelvo_msg_edms_reg, client_block);
    *parameter = load32(bytes + offsetof(kelvo_msg_edms_reg, parameter));
    *path = text;
    *list = pairs;
    return 0;
}

kelvo_status kelvo_common_msg_vs_unreg_interpret(void* msg, uint32_t length,
                                                 uint32_t* registration_id,
                                                 kelvo_startup_list** list) {
    return read_startup_unreg(msg, length, registration_id, list);
}

kelvo_status kelvo_common_msg_edms_unreg_interpret(void* msg, uint32_t length,
                                                   uint32_t* registration_id,
                                                   kelvo_startup_list** list) {
    return read_startup_unreg(msg, length, registration_id, list);
}

kelvo_status kelvo_common_msg_edm_reg_interpret(void* msg, uint32_t length, void** client_block,
                                                uint32_t* w1, char** second_string,
                                                char** first_string, uint32_t* w3, uint32_t* w4,
                                                uint32_t* w2, uint32_t* w5) {
    auto* const bytes = static_cast<u8*>(msg);
    HostOrder order;
    Cursor in(order, bytes, length);
    char* first;
    char* second;
    if (const Status st = in.skip(offsetof(kelvo_msg_edm_reg, first))) return st;
    if (const Status st = in.text(&first)) return st;
    if (const Status st = in.text(&second)) return st;
    if (const Status st = in.end()) return st;

    *client_block = bytes + offsetof(kelvo_msg_edm_reg, client_block);
    *w1 = load32(bytes + offsetof(kelvo_msg_edm_reg, w1));
    *second_string = second;
    *first_string = first;
    *w3 = load32(bytes + offsetof(kelvo_msg_edm_reg, w3));
    *w4 = load32(bytes + offsetof(kelvo_msg_edm_reg, w4));
    *w2 = load32(bytes + offsetof(kelvo_msg_edm_reg, w2));
    *w5 = load32(bytes + offsetof(kelvo_msg_edm_reg, w5));
    return in.accept();
}
