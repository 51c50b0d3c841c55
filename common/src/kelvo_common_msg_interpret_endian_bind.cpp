// SPDX-License-Identifier: Apache-2.0
//
// Bind, converted in place from network order. There is no host-order reader.
#include "kelvo_common_msg_bind.h"
#include "kelvo_wire.h"

using namespace kelvo;
using namespace kelvo::wire;

kelvo_status kelvo_common_msg_bind_interpret(void* msg, uint32_t length, uint32_t* version_out,
                                             uint32_t* reserved_out, uint32_t* p1_out,
                                             char** first_string_out, uint32_t* p2_out,
                                             uint32_t* p3_out, uint32_t* p4_out, uint32_t* p5_out,
                                             uint32_t* p6_out, char** second_string_out,
                                             uint32_t* p7_out, uint32_t* p8_out) {
    FromNetwork order;
    auto* const bytes = static_cast<u8*>(msg);
    fixed_words(order, bytes + offsetof(kelvo_msg_bind, version), 10);

    Cursor in(order, bytes, length);
    char* first;
    char* second;
    if (const Status st = in.skip(sizeof(kelvo_msg_bind))) return st;
    if (const Status st = in.text(&first, Cell::before_room)) return st;
    if (const Status st = in.text(&second, Cell::before_room)) return st;
    if (const Status st = in.end()) return st;
    // Only a well-formed message is asked for its version.
    const u32 version = load32(bytes + offsetof(kelvo_msg_bind, version));
    if (version != KELVO_BIND_VERSION) return KELVO_ERR_VERSION_MISMATCH;

    const auto parameter = [&](u32 number) {
        return load32(bytes + offsetof(kelvo_msg_bind, parameters) + 4 * std::size_t{number - 1});
    };
    *version_out = version;
    *reserved_out = load32(bytes + offsetof(kelvo_msg_bind, reserved));
    *p1_out = parameter(1);
    *first_string_out = first;
    *p2_out = parameter(2);
    *p3_out = parameter(3);
    *p4_out = parameter(4);
    if (p5_out != nullptr) *p5_out = parameter(5);
    *p6_out = parameter(6);
    *second_string_out = second;
    if (p7_out != nullptr) *p7_out = parameter(7);
    if (p8_out != nullptr) *p8_out = parameter(8);
    return 0;
}
