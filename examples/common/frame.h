// SPDX-License-Identifier: Apache-2.0
//
// How messages travel between the example client and server.
//
// The first 16 bytes of every message belong to the transport, in requests and replies alike. This
// transport keeps its frame there, so a gather list goes out exactly as a compose function built
// it: nothing is put in front and nothing is copied. All four words are in network order:
//
//     0   magic     "KELV"
//     4   length    of the whole message in bytes, this frame included
//     8   kind      what the message is, see Kind
//     12  number    chosen by the client for a request and echoed in its reply
//
// The stream carries one such message after another. A magic or length that cannot be right means
// that the stream is lost, and the connection is closed.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "kelvo_common_msg_guard.h"

namespace example {

inline constexpr std::uint32_t kFrameMagic = 0x4b454c56;
inline constexpr std::uint32_t kMaxRequest = 1u << 20;
inline constexpr std::uint32_t kMaxReply = 16u << 20;

enum class Kind : std::uint32_t {
    request = 1,  // from client to server
    result = 2,   // a status and perhaps one value, laid out as an item-get reply
    answer = 3,   // a successful reply in the layout that the request's type has for it
    event = 4     // sent by the server unasked: a notification set
};

struct Frame {
    std::uint32_t magic;
    std::uint32_t length;
    Kind kind;
    std::uint32_t number;
};
static_assert(sizeof(Frame) == 16);

/// Writes the frame into the first 16 bytes of a message's header area.
void seal(void* header, Kind kind, std::uint32_t number, std::uint32_t length);

/// Reads the frame at the start of a message, in host order.
Frame frame_of(const void* message);

/// A received message: its bytes and nothing behind them. Several of the library's readers would
/// reach beyond a malformed message, so each message is shown to the guard before it is read.
class Message {
  public:
    Message() = default;
    explicit Message(std::vector<std::uint8_t> bytes) : bytes_(std::move(bytes)) {}

    std::uint8_t* data() { return bytes_.data(); }
    const std::uint8_t* data() const { return bytes_.data(); }
    std::uint32_t length() const { return static_cast<std::uint32_t>(bytes_.size()); }
    Frame frame() const { return frame_of(data()); }
    /// The message type; 0 when the common header has not arrived whole.
    std::uint32_t type() const;
    std::span<const std::uint8_t> bytes() const { return bytes_; }
    /// 0 when the message may be given to an operation of the library.
    kelvo_status guard(kelvo_msg_operation operation) const {
        return kelvo_common_msg_guard(operation, data(), length());
    }

  private:
    std::vector<std::uint8_t> bytes_;
};

/// Collects one message at a time from a stream socket. Memory grows with the bytes that arrive,
/// not with the length that a frame claims.
class Receiver {
  public:
    enum class State { incomplete, complete, closed, lost };

    /// Messages longer than this mean that the stream is lost.
    explicit Receiver(std::uint32_t longest) : longest_(longest) {}

    /// Reads what there is, up to the end of the current message. On a blocking socket it waits for
    /// the whole message; a receive timeout shows as incomplete.
    State read_from(int socket);
    /// Hands out the message after complete; the next one begins.
    Message take();

  private:
    State next_want();

    std::uint32_t longest_;
    std::vector<std::uint8_t> bytes_;
    std::size_t have_ = 0;
    std::size_t want_ = sizeof(Frame);
};

/// Flattens a gather list with the library.
std::vector<std::uint8_t> flatten(std::span<const kelvo_slot> list);

/// Sends a gather list over a blocking socket. Throws std::system_error.
void send_list(int socket, std::span<const kelvo_slot> list);

}  // namespace example
