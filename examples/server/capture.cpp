// SPDX-License-Identifier: Apache-2.0
#include "capture.h"

#include <time.h>

#include <cerrno>
#include <system_error>
#include <vector>

namespace example {
namespace {

// The file format pcap with packets of link type WIRESHARK_UPPER_PDU: each begins with tags, here
// the name of its dissector and the end of the tags, in network order.
constexpr std::uint32_t kMagic = 0xa1b2c3d4;  // in this machine's order, as all of the headers
constexpr std::uint32_t kLinkType = 252;
constexpr std::uint32_t kLongest = 0x40000;
constexpr std::uint8_t kTagDissector = 12;

struct FileHeader {
    std::uint32_t magic = kMagic;
    std::uint16_t major = 2;
    std::uint16_t minor = 4;
    std::uint32_t unused[2] = {0, 0};
    std::uint32_t longest = kLongest;
    std::uint32_t link_type = kLinkType;
};
static_assert(sizeof(FileHeader) == 24);

struct PacketHeader {
    std::uint32_t seconds;
    std::uint32_t microseconds;
    std::uint32_t captured;
    std::uint32_t length;
};
static_assert(sizeof(PacketHeader) == 16);

[[noreturn]] void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

std::vector<std::uint8_t> tags(std::string dissector) {
    dissector.resize((dissector.size() + 3) & ~std::size_t{3});
    std::vector<std::uint8_t> bytes = {0, kTagDissector, 0,
                                       static_cast<std::uint8_t>(dissector.size())};
    bytes.insert(bytes.end(), dissector.begin(), dissector.end());
    bytes.insert(bytes.end(), {0, 0, 0, 0});
    return bytes;
}

}  // namespace

Capture::Capture(const std::string& file) : file_(std::fopen(file.c_str(), "wbe")) {
    const FileHeader header;
    if (!file_ || std::fwrite(&header, sizeof header, 1, file_.get()) != 1) fail(file);
}

void Capture::add(std::span<const std::uint8_t> message, const std::string& dissector) {
    const std::vector<std::uint8_t> head = tags(dissector);
    const std::size_t length = head.size() + message.size();
    const std::size_t captured = length < kLongest ? length : kLongest;
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    const PacketHeader packet{
        static_cast<std::uint32_t>(now.tv_sec), static_cast<std::uint32_t>(now.tv_nsec / 1000),
        static_cast<std::uint32_t>(captured), static_cast<std::uint32_t>(length)};
    const std::size_t rest = captured - head.size();
    std::FILE* const file = file_.get();
    const bool written = std::fwrite(&packet, sizeof packet, 1, file) == 1 &&
                         std::fwrite(head.data(), 1, head.size(), file) == head.size() &&
                         std::fwrite(message.data(), 1, rest, file) == rest &&
                         std::fflush(file) == 0;
    if (!written) fail("the capture");
}

}  // namespace example
