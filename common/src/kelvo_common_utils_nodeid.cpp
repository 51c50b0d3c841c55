// SPDX-License-Identifier: Apache-2.0
//
// Names of node values and server types, and node ids as text.
//
// Each thread has a ring of five texts under a thread key, made when the thread first converts and
// freed by the key's destructor when it ends. So conversions need no lock, and a log line can print
// several ids.
#include <pthread.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "kelvo_bytes.h"
#include "kelvo_format.h"
#include "kelvo_platform.h"
#include "kelvo_report.h"
#include "kelvo_util_nodeid.h"

using namespace kelvo;

const char* kelvo_comm_nodetype_desc(int32_t node) {
    switch (node) {
#define DISPLAY_NAME(name, value, display, meaning)                                                \
    case value:                                                                                    \
        return display;
        KELVO_NODE_TYPE_LIST(DISPLAY_NAME)
#undef DISPLAY_NAME
        default:
            return "";
    }
}

const char* kelvo_comm_servertype_desc(uint32_t type) {
    switch (type) {
#define DISPLAY_NAME(name, value, display)                                                         \
    case value:                                                                                    \
        return display;
        KELVO_SERVER_TYPE_LIST(DISPLAY_NAME)
#undef DISPLAY_NAME
        default:
            return "";
    }
}

namespace {

constexpr const char* kCannotConvert = "Error - can't convert nodeid";

struct Ring {
    char texts[KELVO_NODEID_TEXTS][KELVO_NODEID_TEXT_BYTES];
    u32 next;
};

pthread_once_t key_once = PTHREAD_ONCE_INIT;
pthread_key_t key;
bool key_exists = false;

/// The thread key's destructor.
void release_ring(void* ring) {
    std::free(ring);
    (void)pthread_setspecific(key, nullptr);
}

void create_key() {
    const int code = pthread_key_create(&key, release_ring);
    if (code != 0) {
        report_internal("Couldn't create pthread key for nodeid to string conversion",
                        static_cast<kelvo_status>(code));
        return;
    }
    key_exists = true;
}

/// A new ring for the calling thread, or null.
Ring* make_ring() {
    auto* const ring = static_cast<Ring*>(std::malloc(sizeof(Ring)));
    if (ring == nullptr) return nullptr;
    if (const int code = pthread_setspecific(key, ring)) {
        report_internal("pthread_setspecific failed", static_cast<kelvo_status>(code));
        std::free(ring);
        return nullptr;
    }
    ring->next = 0;
    return ring;
}

/// The calling thread's ring, or null.
Ring* ring_of_thread() {
    if (const int code = pthread_once(&key_once, create_key)) {
        report_internal("pthread_once failed", static_cast<kelvo_status>(code));
        return nullptr;
    }
    if (!key_exists) return nullptr;
    auto* const ring = static_cast<Ring*>(pthread_getspecific(key));
    return ring != nullptr ? ring : make_ring();
}

/// The trace-dump tool captures its own state when an id has no text.
void capture_trace_dump() {
    if (std::strcmp(program_invocation_short_name, "kelvo_trace_dump") != 0) return;
    // Nothing here depends on how the command ends.
    [[maybe_unused]] const int ended = std::system("dumpaid_gen -o running -p kelvo_trace_dump");
}

/// Writes what stands for an id that the platform has no text for. @return whether it could
bool write_unknown(char* text, u32 nodeid, kelvo_status status) {
    qor_errmsg(&qor_msg_rec_kelvoutils_internal_nodeid_str, 7, nodeid, status,
               errcode_strerror(status));
    capture_trace_dump();
    if (format_text(text, KELVO_NODEID_TEXT_BYTES, "unknown node id 0x%x", nodeid) == 0) {
        return true;
    }
    report_internal("Couldn't form error string in nodeid_to_str",
                    static_cast<kelvo_status>(errno));
    return false;
}

}  // namespace

const char* kelvo_util_nodeid_to_str(uint32_t nodeid) {
    Ring* const ring = ring_of_thread();
    if (ring == nullptr) return kCannotConvert;

    const char* result = "NODEID_INVALID";
    if (nodeid != KELVO_NODEID_INVALID) {
        char* const text = ring->texts[ring->next];
        const kelvo_status status = nodeid_format(nodeid, text, KELVO_NODEID_TEXT_BYTES);
        if (status != 0 && !write_unknown(text, nodeid, status)) return kCannotConvert;
        result = text;
    }
    ring->next = (ring->next + 1) % KELVO_NODEID_TEXTS;
    return result;
}
