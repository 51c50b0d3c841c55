// SPDX-License-Identifier: Apache-2.0
#include "message_json.h"

#include <algorithm>

namespace kelvo::codec {

std::string to_hex(Bytes bytes) {
    static const char kDigits[] = "0123456789abcdef";
    std::string text;
    text.reserve(2 * bytes.size());
    for (const std::uint8_t byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

namespace {

bool all_zero(Bytes bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t byte) { return byte == 0; });
}

/// Bytes of a UTF-8 sequence that begins so, and the lowest code point that needs as many; 0 when
/// nothing begins so.
std::size_t sequence(std::uint8_t lead, std::uint32_t* low) {
    if (lead < 0x80) return *low = 0, 1;
    if (lead >= 0xc2 && lead <= 0xdf) return *low = 0x80, 2;
    if (lead >= 0xe0 && lead <= 0xef) return *low = 0x800, 3;
    if (lead >= 0xf0 && lead <= 0xf4) return *low = 0x10000, 4;
    return 0;
}

bool is_utf8(Bytes text) {
    for (std::size_t at = 0; at < text.size();) {
        std::uint32_t low = 0;
        const std::size_t bytes = sequence(text[at], &low);
        if (bytes == 0 || text.size() - at < bytes) return false;
        std::uint32_t point = bytes == 1 ? text[at] : text[at] & (0x7fu >> bytes);
        for (std::size_t i = 1; i < bytes; ++i) {
            if ((text[at + i] & 0xc0) != 0x80) return false;
            point = point << 6 | (text[at + i] & 0x3fu);
        }
        if (point < low || point > 0x10ffff || (point >= 0xd800 && point <= 0xdfff)) return false;
        at += bytes;
    }
    return true;
}

bool has_control(Bytes text) {
    return std::any_of(text.begin(), text.end(),
                       [](std::uint8_t byte) { return byte < 0x20 || byte == 0x7f; });
}

std::string as_text(Bytes bytes) {
    return {bytes.begin(), bytes.end()};
}

class Writer {
  public:
    Writer(const Description& description, const Decoded& decoded)
        : description_(description), bytes_(decoded.bytes) {}

    [[nodiscard]] Json scope(const std::vector<Node>& nodes) const {
        Json object = Json::object();
        for (const Node& node : nodes) object[node.name] = piece(node);
        return object;
    }

  private:
    [[nodiscard]] Json piece(const Node& node) const {
        switch (node.what) {
            case Node::What::words:
                if (node.words.size() == 1) return node.words[0];
                return node.words;
            case Node::What::mask:
                return node.words;
            case Node::What::bytes:
                return to_hex(bytes_.subspan(node.at, node.size));
            case Node::What::cell: {
                const Bytes fill = bytes_.subspan(node.at + 4, 4);
                if (all_zero(fill)) return node.words[0];
                return {{"value", node.words[0]}, {"fill", to_hex(fill)}};
            }
            case Node::What::counted:
            case Node::What::content:
                return content(node);
            case Node::What::group:
                return scope(node.children);
            case Node::What::list:
                return list(node);
            case Node::What::entry:
                break;
        }
        return entry(node);
    }

    [[nodiscard]] Json list(const Node& node) const {
        Json entries = Json::array();
        for (const Node& child : node.children) entries.push_back(entry(child));
        return entries;
    }
    [[nodiscard]] Json entry(const Node& node) const {
        Json object = Json::object();
        if (node.told_order) object["order"] = name_of(node.order);
        object.update(scope(node.children));
        return object;
    }

    /// Counted content. Plain when everything about it is as a sender would have it.
    [[nodiscard]] Json content(const Node& node) const {
        const Bytes all = bytes_.subspan(node.content_at, node.content);
        const std::uint64_t fill_at = node.content_at + node.content;
        const Bytes fill = bytes_.subspan(fill_at, node.at + node.size - fill_at);
        const bool has_cell = node.what == Node::What::counted;
        const Bytes cell_fill = has_cell ? bytes_.subspan(node.at + 4, 4) : Bytes();
        const bool usual_length = !has_cell || node.words[0] == node.content;
        const bool usual_cell = all_zero(cell_fill);
        const bool usual_fill =
            all_zero(fill) && fill.size() == padded8(node.content) - node.content;
        Json plain = node.is_text ? text(all) : value(all, node);
        if (usual_length && usual_cell && usual_fill && !plain.is_null()) return plain;

        Json object = Json::object();
        if (!usual_length) object["length"] = node.words[0];
        if (!usual_cell) object["cell_fill"] = to_hex(cell_fill);
        if (plain.is_object()) {
            object.update(plain);
        } else if (plain.is_string()) {
            object["text"] = plain;
        } else {
            object["hex"] = to_hex(all);
        }
        if (!usual_fill) object["fill"] = to_hex(fill);
        return object;
    }

    /// A text without its NUL; null when it is no such text.
    static Json text(Bytes all) {
        if (!is_plain_text(all)) return nullptr;
        return as_text(all.first(all.size() - 1));
    }

    /// A value: a number, or an object with its bytes.
    [[nodiscard]] Json value(Bytes all, const Node& node) const {
        const std::uint32_t width = description_.integer_width(node.type);
        if (width != 0 && all.size() == width) return load(all, node.order);
        if (width == 0 && is_readable(all)) return {{"text", as_text(all)}};
        return {{"hex", to_hex(all)}};
    }

    const Description& description_;
    const Bytes bytes_;
};

}  // namespace

bool is_readable(Bytes content) {
    if (content.empty()) return false;
    const Bytes text = content.back() == 0 ? content.first(content.size() - 1) : content;
    return !text.empty() && is_utf8(text) && !has_control(text);
}

bool is_plain_text(Bytes content) {
    if (content.empty() || content.back() != 0) return false;
    const Bytes text = content.first(content.size() - 1);
    return std::find(text.begin(), text.end(), 0) == text.end() && is_utf8(text);
}

Json to_json(const Description& description, const Decoded& decoded) {
    Json json = {{"message", decoded.message->name},
                 {"order", name_of(decoded.order)},
                 {"sender", name_of(decoded.sender)},
                 {"length", decoded.bytes.size()},
                 {"status", description.status_name(decoded.status())}};
    if (decoded.failed) {
        const FailedCheck& failed = *decoded.failed;
        json["failed"] = {{"check", failed.text},
                          {"found", failed.found},
                          {"field", failed.field},
                          {"at", failed.at},
                          {"status", failed.status}};
    }
    json["fields"] = Writer(description, decoded).scope(decoded.nodes);
    const Bytes rest = Bytes(decoded.bytes).subspan(decoded.covered);
    if (!rest.empty() || decoded.failed || decoded.end > decoded.bytes.size())
        json["rest"] = to_hex(rest);
    return json;
}

}  // namespace kelvo::codec
