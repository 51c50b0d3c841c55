// SPDX-License-Identifier: Apache-2.0
//
// The walk over a message, element by element as its description lists them.
//
// Receivers stop at the first check that fails. This walk goes on where the position is still known
// (a wrong count, a missing NUL), for those who want to see the rest, but keeps the first failure.
#include <algorithm>
#include <cstdio>
#include <set>

#include "kelvo_common_msg.h"
#include "kelvo_common_msg_bulk.h"
#include "kelvo_types.h"
#include "message.h"

namespace kelvo::codec {

std::uint64_t load(Bytes bytes, Order order) {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        number = number << 8 | bytes[order == Order::big ? i : bytes.size() - 1 - i];
    }
    return number;
}

std::uint32_t load_word(Bytes message, std::uint64_t at, Order order) {
    std::uint8_t word[4] = {};
    for (std::uint64_t i = 0; i < 4; ++i) {
        if (at + i < message.size()) word[i] = message[at + i];
    }
    return static_cast<std::uint32_t>(load(word, order));
}

namespace {

/// Numbers by name, in an entry and in what is around it.
struct Scope {
    const Scope* around = nullptr;
    std::vector<std::pair<std::string_view, std::uint32_t>> numbers;

    [[nodiscard]] std::uint32_t of(std::string_view name) const {
        for (const Scope* scope = this; scope != nullptr; scope = scope->around) {
            for (const auto& [known, number] : scope->numbers) {
                if (known == name) return number;
            }
        }
        return 0;
    }
};

/// Pairs that a startup list would take for listed already.
class Pairs {
  public:
    /// @return whether no earlier pair matches
    bool add(std::uint32_t job, std::uint32_t node) {
        const bool any_node = node == KELVO_NODEID_INVALID;
        const bool listed = any_node ? jobs_.count(job) != 0 : pairs_.count({job, node}) != 0;
        jobs_.insert(job);
        pairs_.insert({job, node});
        return !listed;
    }

  private:
    std::set<std::uint32_t> jobs_;
    std::set<std::pair<std::uint32_t, std::uint32_t>> pairs_;
};

class Walk {
  public:
    Walk(const Description& description, Decoded& decoded)
        : description_(description), bytes_(decoded.bytes), decoded_(decoded) {}

    void run() {
        Scope scope;
        walk(decoded_.message->elements, decoded_.order, scope, decoded_.nodes);
        decoded_.end = position_;
    }

  private:
    /// Bytes left; below 0 beyond the end.
    [[nodiscard]] std::int64_t left() const {
        return static_cast<std::int64_t>(bytes_.size()) - static_cast<std::int64_t>(position_);
    }
    [[nodiscard]] bool has(std::uint64_t bytes) const {
        return left() >= 0 && static_cast<std::uint64_t>(left()) >= bytes;
    }
    [[nodiscard]] std::uint32_t word(std::uint64_t at, Order order) const {
        return load_word(bytes_, at, order);
    }

    void fail(std::uint32_t status, const std::string& text, const std::string& found,
              const std::string& name, std::uint64_t at) {
        if (decoded_.failed) return;
        std::string field = path_;
        if (!name.empty()) field += (field.empty() ? "" : ".") + name;
        decoded_.failed = FailedCheck{status, text, found, field, at};
    }
    void fail(Kind kind, const char* check, const std::string& found, const std::string& name) {
        const KindCheck& known = description_.check(kind, check);
        fail(known.status, known.text, found, name, position_);
    }
    [[nodiscard]] std::string left_text() const {
        return left() < 0 ? "the message has ended " + std::to_string(-left()) + " bytes before"
                          : "left = " + std::to_string(left());
    }
    [[nodiscard]] std::string left_text(std::uint32_t n) const {
        return "n = " + std::to_string(n) + ", " + left_text();
    }

    void add(std::vector<Node>& out, Node node) {
        decoded_.covered = std::max(decoded_.covered, node.at + node.size);
        out.push_back(std::move(node));
    }

    /// @return whether the position is still known
    bool walk(const std::vector<Element>& elements, Order order, Scope& scope,
              std::vector<Node>& out) {
        return std::all_of(elements.begin(), elements.end(), [&](const Element& element) {
            return step(element, order, scope, out);
        });
    }

    bool step(const Element& element, Order order, Scope& scope, std::vector<Node>& out) {
        switch (element.kind) {
            case Kind::fields:
                return fields(element, order, scope, out);
            case Kind::cell:
                return cell(element, order, scope, out);
            case Kind::string:
                return string(element, order, out);
            case Kind::value:
                return value(element, order, scope, out);
            case Kind::bytes:
                return counted_elsewhere(element, order, scope, out);
            case Kind::mask:
                return mask(element, order, scope, out);
            case Kind::repeat:
                return repeat(element, order, scope, out);
            case Kind::length:
                return length(element);
            case Kind::check:
                check(element, scope);
                return true;
            case Kind::end:
                if (left() != 0) fail(Kind::end, "end", left_text(), "");
                return true;
        }
        return false;
    }

    bool fields(const Element& element, Order order, Scope& scope, std::vector<Node>& out) {
        const bool more = element.room == Room::more;
        const bool known =
            element.room == Room::none || has(std::uint64_t{element.bytes} + (more ? 1 : 0));
        if (!known) {
            fail(Kind::fields, more ? "more" : "all",
                 "bytes = " + std::to_string(element.bytes) + ", " + left_text(), element.name);
        }
        if (element.name.empty()) {
            each_field(element, order, scope, out);
        } else {
            Node group{.what = Node::What::group, .name = element.name, .at = position_};
            Scope inner;
            each_field(element, order, inner, group.children);
            for (const Node& child : group.children) group.size += child.size;
            if (group.size != 0) add(out, std::move(group));
        }
        position_ += element.bytes;
        return known;
    }

    /// Fields that the message does not hold wholly are read, but not shown.
    void each_field(const Element& element, Order order, Scope& scope, std::vector<Node>& out) {
        std::uint64_t at = position_;
        for (const Field& field : element.fields) {
            Node node{.what = field.words ? Node::What::words : Node::What::bytes,
                      .name = field.name,
                      .meaning = field.meaning,
                      .at = at,
                      .size = field.width,
                      .order = field.of_sender ? decoded_.sender : order,
                      .format = field.format};
            for (std::uint32_t i = 0; field.words && i < field.width; i += 4) {
                node.words.push_back(word(at + i, node.order));
            }
            if (field.words) scope.numbers.emplace_back(field.name, node.words[0]);
            at += field.width;
            if (at <= bytes_.size()) add(out, std::move(node));
        }
    }

    bool cell(const Element& element, Order order, Scope& scope, std::vector<Node>& out) {
        if (!has(kCellBytes)) {
            fail(Kind::cell, "cell", left_text(), element.name);
            return false;
        }
        const std::uint32_t number = word(position_, order);
        scope.numbers.emplace_back(element.name, number);
        add(out, {.what = Node::What::cell,
                  .name = element.name,
                  .meaning = element.meaning,
                  .at = position_,
                  .size = kCellBytes,
                  .order = order,
                  .format = element.format,
                  .words = {number}});
        position_ += kCellBytes;
        return true;
    }

    /// A node for `head` bytes (a cell or none), n bytes of content and their fill, as far as the
    /// message holds them. Moves behind all that.
    void take(const Element& element, std::uint32_t head, std::uint64_t n, Order order,
              std::uint32_t type, std::vector<Node>& out) {
        const std::uint64_t size = bytes_.size();
        const std::uint64_t end = position_ + head + padded8(n);
        const std::uint64_t content_at = std::min(position_ + head, size);
        if (position_ + head <= size) {
            Node node{.what = head == 0 ? Node::What::content : Node::What::counted,
                      .name = element.name,
                      .meaning = element.meaning,
                      .at = position_,
                      .size = std::min(end, size) - position_,
                      .order = order,
                      .content_at = content_at,
                      .content = std::min(n, size - content_at),
                      .is_text = element.is_text,
                      .type = type};
            if (head != 0) node.words = {word(position_, order)};
            add(out, std::move(node));
        }
        position_ = end;
    }
    /// Takes the cell alone: what it counts is not there.
    void take_cell(const Element& element, Order order, std::uint32_t type,
                   std::vector<Node>& out) {
        Node node{.what = Node::What::counted,
                  .name = element.name,
                  .meaning = element.meaning,
                  .at = position_,
                  .size = kCellBytes,
                  .order = order,
                  .words = {word(position_, order)},
                  .content_at = position_ + kCellBytes,
                  .is_text = element.is_text,
                  .type = type};
        add(out, std::move(node));
    }

    bool string(const Element& element, Order around, std::vector<Node>& out) {
        const Order order = element.network_cell ? kNetwork : around;
        const std::uint32_t n = word(position_, order);
        if (element.room == Room::none) {
            take(element, kCellBytes, n, order, 0, out);
            return true;
        }
        if (!has(kCellBytes)) {
            fail(Kind::string, "cell", left_text(), element.name);
            return false;
        }
        if (!has(kCellBytes + std::uint64_t{n})) {
            fail(Kind::string, "text", left_text(n), element.name);
            take_cell(element, order, 0, out);
            return false;
        }
        if (n == 0) {
            fail(Kind::string, "empty", "n = 0", element.name);
        } else if (const std::uint8_t last = bytes_[position_ + kCellBytes + n - 1]; last != 0) {
            char found[40];
            std::snprintf(found, sizeof found, "n = %u, last byte 0x%02x", n, last);
            fail(Kind::string, "nul", found, element.name);
        }
        const bool filled = has(kCellBytes + padded8(n));
        if (!filled) fail(Kind::string, "fill", left_text(n), element.name);
        take(element, kCellBytes, n, order, 0, out);
        return filled;
    }

    bool value(const Element& element, Order order, const Scope& scope, std::vector<Node>& out) {
        const std::uint32_t type = element.type.empty() ? 0 : scope.of(element.type);
        if (!has(kCellBytes)) {
            fail(Kind::value, "cell", left_text(), element.name);
            return false;
        }
        const std::uint32_t n = word(position_, order);
        if (element.room == Room::all && !has(kCellBytes + padded8(n))) {
            fail(Kind::value, "value", left_text(n), element.name);
            take_cell(element, order, type, out);
            return false;
        }
        take(element, kCellBytes, n, order, type, out);
        return true;
    }

    bool counted_elsewhere(const Element& element, Order order, const Scope& scope,
                           std::vector<Node>& out) {
        const std::uint32_t n = scope.of(element.count);
        const std::uint32_t type = element.type.empty() ? 0 : scope.of(element.type);
        if (element.room == Room::all && !has(padded8(n))) {
            fail(Kind::bytes, "bytes", left_text(n), element.name);
            return false;
        }
        take(element, 0, n, order, type, out);
        return true;
    }

    bool mask(const Element& element, Order order, const Scope& scope, std::vector<Node>& out) {
        const std::uint64_t words = (std::uint64_t{scope.of(element.count)} + 31) / 32;
        if (!has(4 * words)) {
            fail(Kind::mask, "mask", std::to_string(words) + " words, " + left_text(),
                 element.name);
            return false;
        }
        Node node{.what = Node::What::mask,
                  .name = element.name,
                  .meaning = element.meaning,
                  .at = position_,
                  .size = 4 * words,
                  .order = order,
                  .format = Format::hex};
        for (std::uint64_t i = 0; i < words; ++i) {
            node.words.push_back(word(position_ + 4 * i, order));
        }
        add(out, std::move(node));
        position_ += 4 * words;
        return true;
    }

    bool repeat(const Element& element, Order order, const Scope& scope, std::vector<Node>& out) {
        Node list{.what = Node::What::list,
                  .name = element.name,
                  .meaning = element.meaning,
                  .at = position_};
        const bool known = entries(element, order, scope, list);
        for (const Node& entry : list.children) list.size += entry.size;
        out.push_back(std::move(list));
        return known;
    }

    bool entries(const Element& element, Order order, const Scope& scope, Node& list) {
        const bool counted = !element.count.empty();
        const std::uint64_t count = counted ? scope.of(element.count) : UINT64_MAX;
        Pairs pairs;
        for (std::uint64_t i = 0; i < count; ++i) {
            if (left() <= 0 && (!counted || reaches_beyond(element))) {
                list.beyond = counted ? count - i : 0;
                return true;
            }
            Order own = order;
            if (element.tells_order) {
                const bool foreign = word(position_ + 16, kNative) > KELVO_BULK_NAME_MAX;
                own = foreign ? opposite(kNative) : kNative;
            }
            const std::string path = path_;
            path_ += (path_.empty() ? "" : ".") + element.name + "[" + std::to_string(i) + "]";
            Scope inner{.around = &scope, .numbers = {}};
            const std::uint64_t begin = position_;
            Node entry{.what = Node::What::entry,
                       .name = std::to_string(i),
                       .at = begin,
                       .order = own,
                       .told_order = element.tells_order};
            const bool known = walk(element.elements, own, inner, entry.children);
            for (const Node& child : entry.children) entry.size += child.size;
            if (entry.size != 0) list.children.push_back(std::move(entry));
            if (known && element.unique_pairs &&
                !pairs.add(inner.of("job_id"), inner.of("node_id"))) {
                const KindCheck& check = description_.check(Kind::repeat, "duplicate");
                fail(check.status, check.text, "one before it matches", "", begin);
            }
            const bool goes_on = known && ends_well(element, i + 1 == count);
            path_ = path;
            if (!goes_on) return false;
        }
        return true;
    }

    /// Whether nothing in an entry asks for room, so that entries may lie beyond the end.
    static bool reaches_beyond(const Element& element) {
        return !element.elements.empty() && element.elements[0].room == Room::none &&
               element.elements[0].kind == Kind::fields;
    }

    bool ends_well(const Element& element, bool last) {
        const Behind asked = last ? element.after_last : element.after_each;
        if (asked == Behind::more && left() <= 0) {
            fail(Kind::repeat, "more", left_text(), "");
            return false;
        }
        if (asked == Behind::exact && left() != 0) {
            fail(Kind::repeat, "exact", left_text(), "");
            return false;
        }
        return true;
    }

    bool length(const Element& element) {
        if (bytes_.size() >= element.bytes) return true;
        const std::string found = "at least " + std::to_string(element.bytes) +
                                  ", length = " + std::to_string(bytes_.size());
        if (element.status == 0) {
            fail(Kind::length, "least", found, "");
        } else {
            fail(element.status, element.text, found, "", position_);
        }
        return true;
    }

    void check(const Element& element, const Scope& scope) {
        const std::uint32_t number = scope.of(element.field);
        if ((number == element.number) != element.negated) return;
        const Node* const node = find(decoded_.nodes, element.field);
        fail(element.status, element.text, element.field + " = " + std::to_string(number),
             element.field, node == nullptr ? position_ : node->at);
    }

    const Description& description_;
    const Bytes bytes_;
    Decoded& decoded_;
    std::uint64_t position_ = 0;
    std::string path_;
};

constexpr std::uint64_t kMarkerAt = offsetof(kelvo_msg_header, conversion_marker);
constexpr std::uint64_t kTypeAt = offsetof(kelvo_msg_header, type);

/// The order in which the type word makes sense.
Order sender_of(Bytes bytes, const Message* message) {
    if (message != nullptr && !message->has_header) return kNative;
    const std::uint32_t type = load_word(bytes, kTypeAt, kNative);
    const std::uint32_t swapped = load_word(bytes, kTypeAt, opposite(kNative));
    return type >= KELVO_MSG_TYPE_COUNT && swapped < KELVO_MSG_TYPE_COUNT ? opposite(kNative)
                                                                          : kNative;
}

Decoded decode_as(const Description& description, Bytes bytes, const Message& message, Order order,
                  Order sender) {
    Decoded decoded;
    decoded.message = &message;
    decoded.order = order;
    decoded.sender = sender;
    decoded.bytes.assign(bytes.begin(), bytes.end());
    Walk(description, decoded).run();
    return decoded;
}

}  // namespace

Decoded decode(const Description& description, Bytes bytes, const Hints& hints) {
    const Order sender = sender_of(bytes, hints.message);
    const Message* message = hints.message;
    if (message == nullptr && bytes.size() >= kTypeAt + 4) {
        message = description.find_type(load_word(bytes, kTypeAt, sender));
    }
    if (message == nullptr) message = &description.other();

    const auto in = [&](Order order) {
        return decode_as(description, bytes, *message, order, sender);
    };
    if (hints.order) return in(*hints.order);
    if (message->order == MessageOrder::marker) {
        const bool converted = load_word(bytes, kMarkerAt, sender) == KELVO_MSG_CONVERTED;
        return in(converted ? sender : kNetwork);
    }
    const Order usual = message->order == MessageOrder::host ? sender : kNetwork;
    const Order unusual = usual == kNetwork ? sender : kNetwork;
    Decoded first = in(usual);
    if (!first.failed || usual == unusual) return first;
    Decoded second = in(unusual);
    return second.failed ? first : second;
}

const Node* find(const std::vector<Node>& nodes, std::string_view path) {
    const std::size_t end = path.find_first_of(".[");
    const std::string_view name = path.substr(0, end);
    for (const Node& node : nodes) {
        if (node.name != name) continue;
        if (end == std::string_view::npos) return &node;
        std::string_view rest = path.substr(end + 1);
        if (path[end] == '.') return find(node.children, rest);
        const std::size_t close = rest.find(']');
        if (close == std::string_view::npos) return nullptr;
        for (const Node& entry : node.children) {
            if (entry.name != rest.substr(0, close)) continue;
            rest.remove_prefix(close + 1);
            return rest.empty() ? &entry : find(entry.children, rest.substr(1));
        }
        return nullptr;
    }
    return nullptr;
}

}  // namespace kelvo::codec
