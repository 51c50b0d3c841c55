// SPDX-License-Identifier: Apache-2.0
//
// Bulk requests, bulk replies and notification sets as bytes. Order::network stands for "foreign to
// this host" where an item has an order of its own.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "support/wire_bytes.h"

namespace kelvo::test {

/// Bytes by which a bulk reader may go beyond the message, as its header says.
constexpr std::size_t kBulkSlack = 16;

/// How a refused null shows in the log.
inline const char* const kNullLogged =
    "A NULL pointer was passed as a fn parameter: rc 0x40818800 (text of 0x40818800)";

/// A message and so many bytes behind it, no two of them alike: no conversion there goes unseen.
inline Bytes with_slack(Bytes message, std::size_t slack) {
    for (std::size_t i = 0; i < slack; ++i) {
        message.push_back(static_cast<std::uint8_t>(0xE0 + i));
    }
    return message;
}

/// A length with its fill.
inline std::uint64_t rounded(std::uint32_t length) {
    return (std::uint64_t{length} + 7) / 8 * 8;
}

/// Reverses the leading bytes of a value that its type makes a number.
inline void reverse_by_type(Bytes& bytes, std::uint64_t at, std::uint32_t type) {
    long width = 0;
    if (type == 1 || type == 12) width = 4;
    if (type == 2 || type == 13) width = 8;
    if (type == 10 || type == 11) width = 2;
    const auto first = bytes.begin() + static_cast<long>(at);
    std::reverse(first, first + width);
}

/// An output full of bytes that must survive a failure.
template <class Record>
Record sentinel() {
    Record record;
    std::memset(static_cast<void*>(&record), 0x5A, sizeof record);
    return record;
}
template <class Record>
bool untouched(const Record& record) {
    const Record expected = sentinel<Record>();
    return std::memcmp(&record, &expected, sizeof record) == 0;
}

/// The part of a message behind the common header, which Message always begins with.
inline Bytes without_header(const Message& message) {
    return Bytes(message.bytes().begin() + 40, message.bytes().end());
}

inline void append(Bytes& bytes, const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

/// An item of a bulk request or reply: four words, name, data and, in a reply, a third text.
inline Bytes bulk_item(Order order, std::initializer_list<std::uint32_t> words,
                       const std::string& name, const Bytes& data) {
    return without_header(Message(order).words(words).text(name).value(data));
}
inline Bytes bulk_reply_item(Order order, std::initializer_list<std::uint32_t> words,
                             const std::string& name, const Bytes& data, const std::string& third) {
    return without_header(Message(order).words(words).text(name).value(data).text(third));
}

/// A bulk request in network order with the items as they are. Words 1 to 4 are 0x11111101 ...
inline Bytes bulk_request(const std::vector<Bytes>& items, const std::string& leading = "lead") {
    Bytes bytes = Message(Order::network, 46)
                      .words({0x11111101, 0x11111102, static_cast<std::uint32_t>(items.size()),
                              0x11111103, 0x11111104})
                      .raw_word(0x60616263)
                      .text(leading)
                      .bytes();
    for (const Bytes& item : items) append(bytes, item);
    return bytes;
}

/// A bulk reply: 40 bytes 0xA0, 0xA1, ... and the items.
inline Bytes bulk_reply(const std::vector<Bytes>& items) {
    Bytes bytes = Message(Order::host, 0xBBBAB9B8).bytes();
    for (const Bytes& item : items) append(bytes, item);
    return bytes;
}

/// An entry of a notification set. The fourth word is one that nobody converts.
inline Bytes notify_entry(Order order, std::uint32_t kind, std::uint32_t type, const Bytes& name,
                          const Bytes& first, const Bytes& second) {
    return without_header(Message(order)
                              .words({kind, type, static_cast<std::uint32_t>(name.size())})
                              .raw_word(0x0C0D0E0F)
                              .raw(name.data(), name.size())
                              .fill()
                              .value(first)
                              .value(second));
}

/// A notification set: 28 leading bytes, the count, the entries.
inline Bytes notify_set(Order order, std::uint32_t count, const std::vector<Bytes>& entries) {
    Bytes bytes(32, 0x1E);
    put_word(bytes, 28, order == Order::network ? reversed(count) : count);
    for (const Bytes& entry : entries) append(bytes, entry);
    return bytes;
}

/// The text as bytes, with its NUL.
inline Bytes bytes_of(const std::string& text) {
    return Bytes(text.c_str(), text.c_str() + text.size() + 1);
}

}  // namespace kelvo::test
