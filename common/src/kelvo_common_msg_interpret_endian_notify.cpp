// SPDX-License-Identifier: Apache-2.0
//
// Notification sets whose values are converted along with the framing.
#include "kelvo_common_msg_walk_notify.h"

using namespace kelvo;
using namespace kelvo::wire;

kelvo_status kelvo_lib_notifyset_interpret(void* buffer, uint32_t length,
                                           kelvo_notifyset_iterator** iterator_out) {
    return interpret_notifyset<Notify::values>(buffer, length, iterator_out);
}
