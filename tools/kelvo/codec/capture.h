// SPDX-License-Identifier: Apache-2.0
//
// Messages as they come: hexadecimal text, bytes, or packets of a capture.
//
// Captures have the link type WIRESHARK_UPPER_PDU (252), which says in each packet who is to
// dissect it: "kelvo" for a message that its header tells, "kelvo.NAME" for any other, NAME being
// the message's name in the description. Programs that show packets then need no setting. Read are
// also captures of link type USER0 (147), in which packets are messages and nothing else.
#pragma once

#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "message.h"

namespace kelvo::codec {

struct Captured {
    std::vector<std::uint8_t> bytes;
    const Message* message = nullptr;  ///< null: told by the header
    std::string place;                 ///< "message 2", "packet 7"
};

enum class Form { automatic, hex, binary, pcap };

/// The messages in what was read. A capture (pcap or pcapng) begins like one; hexadecimal text
/// consists of digits, may have "#" comments and the offsets and texts of xxd and hexdump -C, and
/// divides messages by empty lines; all else is one message. Throws std::runtime_error.
[[nodiscard]] std::vector<Captured> read_messages(const Description& description, Bytes input,
                                                  Form form);

/// Writes messages as a capture. Throws std::runtime_error.
class CaptureWriter {
  public:
    /// Takes the file over.
    explicit CaptureWriter(std::FILE* file);
    ~CaptureWriter();
    CaptureWriter(const CaptureWriter&) = delete;
    CaptureWriter& operator=(const CaptureWriter&) = delete;

    /// A message; its header may tell it, or does not.
    void add(const Description& description, const Message& message, Bytes bytes);
    /// Sends on what was added.
    void finish();

  private:
    struct Pcap;
    Pcap* pcap_;
    std::uint32_t packets_ = 0;
};

/// Who is to dissect a message: "kelvo", or "kelvo.NAME".
[[nodiscard]] std::string dissector_of(const Description& description, const Message& message,
                                       Bytes bytes);

}  // namespace kelvo::codec
