// SPDX-License-Identifier: Apache-2.0
//
// Node ids and their text form "rack_slot_cpu". The form is strict (decimal, no leading zeros), so
// that every id has exactly one text and every accepted text is the text of its id.
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "kelvo_platform_host.h"

namespace kelvo::host {
namespace {

constexpr std::uint32_t kLargestRack = 0x7FFF;
constexpr std::uint32_t kLargestSlot = 0xFF;
constexpr std::uint32_t kLargestCpu = 0xFF;

/// Numbers that fit the layout but mean a class of servers, or "a physical node", where a node
/// value is expected.
constexpr std::uint32_t kPhysical = 0;
constexpr std::uint32_t kFirstReserved = 1000000000;
constexpr std::uint32_t kLastReserved = 1000000002;

constexpr bool is_node_id(std::uint32_t id) noexcept {
    if (id == kPhysical) return false;
    if (id >= kFirstReserved && id <= kLastReserved) return false;
    return id <= PLATFORM_HOST_NODEID(kLargestRack, kLargestSlot, kLargestCpu);
}

constexpr bool is_digit(char character) noexcept {
    return character >= '0' && character <= '9';
}

/// Reads one decimal number without leading zeros and steps past it.
bool read_number(const char*& at, std::uint32_t largest, std::uint32_t& number) noexcept {
    if (!is_digit(*at)) return false;
    if (at[0] == '0' && is_digit(at[1])) return false;
    number = 0;
    for (; is_digit(*at); ++at) {
        number = number * 10 + static_cast<std::uint32_t>(*at - '0');
        if (number > largest) return false;
    }
    return true;
}

bool read_char(const char*& at, char expected) noexcept {
    return *at++ == expected;
}

}  // namespace
}  // namespace kelvo::host

using namespace kelvo::host;

kelvo_status nodeid_parse(const char* text, uint32_t* nodeid) {
    if (text == nullptr || nodeid == nullptr) return KELVO_ERR_NULL_PARAM;
    const char* at = text;
    std::uint32_t rack;
    std::uint32_t slot;
    std::uint32_t cpu;
    const bool well_formed = read_number(at, kLargestRack, rack) && read_char(at, '_') &&
                             read_number(at, kLargestSlot, slot) && read_char(at, '_') &&
                             read_number(at, kLargestCpu, cpu) && read_char(at, '\0');
    if (!well_formed) return PLATFORM_HOST_ERR_NODE_ID;
    const std::uint32_t id = PLATFORM_HOST_NODEID(rack, slot, cpu);
    if (!is_node_id(id)) return PLATFORM_HOST_ERR_NODE_ID;
    *nodeid = id;
    return 0;
}

kelvo_status nodeid_format(uint32_t nodeid, char* buffer, size_t size) {
    if (buffer == nullptr) return KELVO_ERR_NULL_PARAM;
    if (!is_node_id(nodeid)) return PLATFORM_HOST_ERR_NODE_ID;
    char text[PLATFORM_HOST_NODEID_TEXT];
    const int length = std::snprintf(text, sizeof text, "%u_%u_%u", nodeid >> 16,
                                     nodeid >> 8 & kLargestSlot, nodeid & kLargestCpu);
    if (size <= static_cast<std::size_t>(length)) return PLATFORM_HOST_ERR_BUFFER_SIZE;
    std::memcpy(buffer, text, static_cast<std::size_t>(length) + 1);
    return 0;
}
