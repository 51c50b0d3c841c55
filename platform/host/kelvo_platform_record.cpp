// SPDX-License-Identifier: Apache-2.0
//
// Serialised records: where their payload begins.
#include <cstring>

#include "kelvo_platform_bytes.h"
#include "kelvo_platform_host.h"

using namespace kelvo::host;

kelvo_status record_payload_offset(const void* record, uint32_t* offset) {
    if (record == nullptr || offset == nullptr) return KELVO_ERR_NULL_PARAM;
    if (load_network32(record) != PLATFORM_HOST_RECORD_MAGIC) return PLATFORM_HOST_ERR_RECORD;
    platform_host_record_header header;
    std::memcpy(&header, record, sizeof header);
    if (network16(header.version) != PLATFORM_HOST_RECORD_VERSION) return PLATFORM_HOST_ERR_RECORD;
    const std::uint32_t payload = network16(header.payload_offset);
    if (payload < sizeof header) return PLATFORM_HOST_ERR_RECORD;
    if (payload % 8 != 0) return PLATFORM_HOST_ERR_RECORD;
    *offset = payload;
    return 0;
}
