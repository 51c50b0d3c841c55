// SPDX-License-Identifier: Apache-2.0
#include "dump.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "frame.h"
#include "layout.h"
#include "status.h"

namespace example {
namespace {

constexpr std::size_t kRow = 8;      // bytes on one line
constexpr std::size_t kMaxRows = 4;  // of one field

std::string hex(std::span<const std::uint8_t> bytes) {
    std::string out;
    char digits[4];
    for (const std::uint8_t byte : bytes) {
        std::snprintf(digits, sizeof digits, "%02x ", byte);
        out += digits;
    }
    return out;
}

std::string row(std::size_t offset, std::span<const std::uint8_t> bytes, const std::string& name,
                const std::string& meaning) {
    char text[256];
    std::snprintf(text, sizeof text, "%04zx  %-24s %-22s %s", offset, hex(bytes).c_str(),
                  name.c_str(), meaning.c_str());
    std::string out = text;
    out.erase(out.find_last_not_of(' ') + 1);
    return out;
}

std::string number(std::uint32_t word) {
    char text[32];
    std::snprintf(text, sizeof text, word < 0x10000 ? "%u" : "0x%08x", word);
    return text;
}

std::string kind_name(Kind kind) {
    switch (kind) {
        case Kind::request:
            return "request";
        case Kind::result:
            return "result";
        case Kind::answer:
            return "answer";
        case Kind::event:
            return "event";
    }
    return number(static_cast<std::uint32_t>(kind));
}

}  // namespace

// Rows of 8 bytes; a long field shows its beginning.
void Dump::line(std::size_t width, const std::string& name, const std::string& meaning) {
    const std::size_t left = std::min(width, bytes_.size() - at_);
    for (std::size_t shown = 0; shown == 0 || shown < left; shown += kRow) {
        if (shown == kRow * kMaxRows) {
            lines_.push_back(row(at_ + shown, {}, "", "... " + std::to_string(left) + " bytes"));
            break;
        }
        lines_.push_back(row(at_ + shown, bytes_.subspan(at_ + shown, std::min(kRow, left - shown)),
                             shown == 0 ? name : "", shown == 0 ? meaning : ""));
    }
    at_ += left;
    if (left < width) {
        ended_ = true;
        lines_.push_back(row(at_, {}, "", "(the message ends here)"));
    }
}

std::uint32_t Dump::word_at(std::size_t offset) const {
    std::uint32_t word = 0;
    if (offset + sizeof word <= bytes_.size())
        std::memcpy(&word, bytes_.data() + offset, sizeof word);
    return network(word);
}

std::uint32_t Dump::peek() const {
    const std::uint32_t word = word_at(at_);
    return host_order_ ? network(word) : word;
}

void Dump::raw(const std::string& name, std::size_t width, const std::string& meaning) {
    if (!ended_ && width != 0) line(width, name, meaning);
}

void Dump::word(const std::string& name) {
    last_ = peek();
    raw(name, 4, name == "result" ? status_name(last_) : number(last_));
}

void Dump::cell(const std::string& name) {
    last_ = peek();
    raw(name, sizeof(kelvo_length_cell), number(last_));
}

void Dump::text(const std::string& name, std::uint32_t length) {
    const auto* from = reinterpret_cast<const char*>(bytes_.data()) + at_;
    const std::size_t room = std::min<std::size_t>(length, bytes_.size() - at_);
    raw(name, padded(length), '"' + std::string(from, strnlen(from, room)) + '"');
}

void Dump::value(const std::string& name, std::uint32_t length) {
    raw(name, padded(length), std::to_string(length) + (length == 1 ? " byte" : " bytes"));
}

void Dump::counted_text(const std::string& name) {
    cell(name + " length");
    text(name, last_);
}

void Dump::counted_value(const std::string& name) {
    cell(name + " length");
    value(name, last_);
}

void Dump::field(const Field& field) {
    if (field.cell)
        cell(std::string(field.name) + ".length");
    else if (field.width == 4)
        word(field.name);
    else
        raw(field.name, field.width);
}

void Dump::fixed(std::span<const Field> fields) {
    for (const Field& each : fields) {
        if (each.offset > at_) raw("", each.offset - at_);
        field(each);
    }
}

std::uint32_t Dump::record(std::span<const Field> fields) {
    for (const Field& each : fields) field(each);
    return last_;
}

void Dump::header() {
    const Frame frame = bytes_.size() < sizeof(Frame) ? Frame{} : frame_of(bytes_.data());
    raw("frame magic", 4, "\"KELV\"");
    raw("frame length", 4, number(frame.length));
    raw("frame kind", 4, kind_name(frame.kind));
    raw("frame number", 4, number(frame.number));
    if (frame.kind != Kind::request) return;
    raw("transport[4]", 4);
    word("conversion_marker");
    const std::uint32_t type = network(peek());  // in the sender's order, which is ours
    raw("type", 4, std::to_string(type) + " " + kelvo_comm_msg_desc(type));
    raw("transport_tail", sizeof(kelvo_msg_header::transport_tail));
}

void Dump::rest() {
    if (!ended_ && at_ < bytes_.size()) line(bytes_.size() - at_, "...", "");
}

}  // namespace example
