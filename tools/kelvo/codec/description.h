// SPDX-License-Identifier: Apache-2.0
//
// The description of the messages (protocol/messages.json), as it was when the program was built.
// What its words mean stands at the top of that file.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvo::codec {

/// How a number is shown.
enum class Format { decimal, hex, value_type, status, message_type, node_id };

struct Field {
    std::string name;
    std::uint32_t at = 0;
    std::uint32_t width = 0;
    bool words = false;      ///< 32-bit words, else bytes
    bool of_sender = false;  ///< in the sender's order, never converted
    Format format = Format::decimal;
    std::uint32_t preset = 0;  ///< what a sender puts into each word
    std::string meaning;
};

enum class Kind { fields, cell, string, value, bytes, mask, repeat, length, check, end };

enum class Room { all, more, none, cell };

/// What is asked where an entry ends.
enum class Behind { anything, more, exact };

struct Element {
    Kind kind = Kind::end;
    std::string name;  ///< empty: the fields stand in the scope around them
    std::string meaning;
    std::string condition;
    Room room = Room::all;
    Format format = Format::decimal;
    std::uint32_t preset = 0;  ///< of a cell

    std::uint32_t bytes = 0;  ///< fields: how many; length: how many at least
    std::vector<Field> fields;

    bool network_cell =
        false;             ///< string: the cell is in network order, whatever the message is in
    bool is_text = false;  ///< bytes: a text
    std::string type;      ///< value, bytes: the field with the value type
    std::string count;     ///< bytes: length; mask: bits; repeat: count; the field with it

    std::vector<Element> elements;  ///< repeat: what an entry consists of
    bool tells_order = false;       ///< repeat: each entry's name length tells its order
    bool unique_pairs = false;
    Behind after_each = Behind::anything;
    Behind after_last = Behind::anything;

    std::string field;  ///< check: the field that is looked at
    bool negated = false;
    std::uint32_t number = 0;
    std::uint32_t status = 0;  ///< check, and length where it has one of its own
    std::string text;
};

enum class MessageOrder { network, host, marker };

struct Message {
    std::string name;
    std::string title;
    std::vector<std::uint32_t> types;
    bool has_header = false;  ///< it begins with the common header, type and all
    MessageOrder order = MessageOrder::network;
    std::vector<Element> elements;
};

/// A check that the elements of a kind make.
struct KindCheck {
    std::uint32_t status;
    std::string text;
};

class Description {
  public:
    /// The one that the program was built with.
    static const Description& built_in();
    /// Throws std::runtime_error when the text is none.
    explicit Description(std::string_view json);

    [[nodiscard]] const std::vector<Message>& messages() const { return messages_; }
    /// By name, where '-' counts as '_'; null when there is none.
    [[nodiscard]] const Message* find(std::string_view name) const;
    /// By the type in a header; null when the type has no layout.
    [[nodiscard]] const Message* find_type(std::uint32_t type) const;
    /// What stands for a type without a layout.
    [[nodiscard]] const Message& other() const { return *find("other"); }
    [[nodiscard]] std::vector<std::string> names() const;

    [[nodiscard]] const KindCheck& check(Kind kind, const char* name) const;
    /// "KELVO_ERR_MSG_LENGTH", "success" for 0, else the number.
    [[nodiscard]] std::string status_name(std::uint32_t status) const;
    /// "INT4"; empty for a type without a name.
    [[nodiscard]] std::string value_type_name(std::uint32_t type) const;
    /// The bytes of an integer type that conversion reverses; 0 for every other type.
    [[nodiscard]] std::uint32_t integer_width(std::uint32_t type) const;

  private:
    std::vector<Message> messages_;
    std::map<std::pair<Kind, std::string>, KindCheck> checks_;
    std::map<std::uint32_t, std::string> statuses_;
    struct ValueType {
        std::string name;
        std::uint32_t width;
    };
    std::map<std::uint32_t, ValueType> value_types_;
};

}  // namespace kelvo::codec
