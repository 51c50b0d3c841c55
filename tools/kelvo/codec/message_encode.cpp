// SPDX-License-Identifier: Apache-2.0
//
// From JSON to bytes, element by element as the description lists them.
#include <algorithm>
#include <stdexcept>

#include "message_json.h"

namespace kelvo::codec {
namespace {

[[noreturn]] void refuse(const std::string& where, const std::string& what) {
    throw std::runtime_error(where + ": " + what);
}

int digit(char character) {
    if (character >= '0' && character <= '9') return character - '0';
    if (character >= 'a' && character <= 'f') return character - 'a' + 10;
    if (character >= 'A' && character <= 'F') return character - 'A' + 10;
    return -1;
}

std::vector<std::uint8_t> from_hex(const Json& json, const std::string& where) {
    if (!json.is_string()) refuse(where, "hexadecimal digits in a text are due here");
    const auto text = json.get<std::string>();
    if (text.size() % 2 != 0) refuse(where, "an odd number of hexadecimal digits");
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const int high = digit(text[i]);
        const int low = digit(text[i + 1]);
        if (high < 0 || low < 0) {
            refuse(where, "'" + text.substr(i, 2) + "' is not a pair of hexadecimal digits");
        }
        bytes.push_back(static_cast<std::uint8_t>(high << 4 | low));
    }
    return bytes;
}

std::uint64_t number(const Json& json, std::uint64_t most, const std::string& where) {
    if (!json.is_number_unsigned() || json.get<std::uint64_t>() > most) {
        refuse(where, json.dump() + " is not a number from 0 to " + std::to_string(most));
    }
    return json.get<std::uint64_t>();
}
std::uint32_t word(const Json& json, const std::string& where) {
    return static_cast<std::uint32_t>(number(json, 0xFFFFFFFF, where));
}

/// An order under a key.
Order order_of(const Json& json, const char* key, Order otherwise, const std::string& where) {
    if (!json.contains(key)) return otherwise;
    const Json& word = json.at(key);
    if (word == "big" || word == "network") return Order::big;
    if (word == "little") return Order::little;
    if (word == "host") return kNative;
    refuse(where + "." + key, word.dump() + " is not big, little, network or host");
}

/// Bytes in the making.
class Bytestream {
  public:
    void word(std::uint32_t number, Order order) { integer(number, 4, order); }
    void integer(std::uint64_t number, std::uint32_t width, Order order) {
        for (std::uint32_t i = 0; i < width; ++i) {
            const std::uint32_t byte = order == Order::big ? width - 1 - i : i;
            bytes_.push_back(static_cast<std::uint8_t>(number >> (8 * byte)));
        }
    }
    void append(const std::vector<std::uint8_t>& bytes) {
        bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    }
    void zeros(std::uint64_t count) { bytes_.resize(bytes_.size() + count); }
    [[nodiscard]] std::vector<std::uint8_t> take() { return std::move(bytes_); }

  private:
    std::vector<std::uint8_t> bytes_;
};

/// The fields around a piece, innermost first: a value's type may stand further out.
struct Scope {
    const Scope* around;
    const Json& json;
    const std::vector<Element>& elements;
    bool tells_order = false;
};

class Encoder {
  public:
    Encoder(const Description& description, const Message& message, const Json& json)
        : description_(description),
          message_(message),
          literal_(json.contains("rest")),
          sender_(order_of(json, "sender", kNative, "message")) {
        const Order usual = message.order == MessageOrder::host ? sender_ : kNetwork;
        order_ = order_of(json, "order", usual, "message");
    }

    std::vector<std::uint8_t> run(const Json& json) {
        const Json none = Json::object();
        const Json& fields = json.contains("fields") ? json.at("fields") : none;
        scope({nullptr, fields, message_.elements}, order_, "");
        if (literal_) out_.append(from_hex(json.at("rest"), "rest"));
        return out_.take();
    }

  private:
    static std::string join(const std::string& where, const std::string& name) {
        return where.empty() ? name : where + "." + name;
    }

    /// Nothing may stand in an object that the description does not know.
    static void require_known(const Json& json, std::vector<std::string> known,
                              const std::string& where) {
        for (const auto& [key, ignored] : json.items()) {
            if (std::find(known.begin(), known.end(), key) != known.end()) continue;
            std::string list;
            for (const std::string& name : known) list += (list.empty() ? "" : ", ") + name;
            refuse(join(where, key), "no such field; there are: " + list);
        }
    }
    static std::vector<std::string> names_in(const std::vector<Element>& elements) {
        std::vector<std::string> names;
        for (const Element& element : elements) {
            if (element.kind == Kind::check) continue;
            if (!element.name.empty()) names.push_back(element.name);
            if (element.kind != Kind::fields || !element.name.empty()) continue;
            for (const Field& field : element.fields) names.push_back(field.name);
        }
        return names;
    }

    void scope(const Scope& scope, Order order, const std::string& where) {
        if (!scope.json.is_object()) refuse(where.empty() ? "fields" : where, "an object is due");
        std::vector<std::string> known = names_in(scope.elements);
        if (scope.tells_order) known.emplace_back("order");
        require_known(scope.json, known, where);
        for (const Element& element : scope.elements) step(element, scope, order, where);
    }

    void step(const Element& element, const Scope& scope, Order order, const std::string& where) {
        const std::string here = join(where, element.name);
        if (element.kind == Kind::fields) {
            if (element.name.empty()) return fields(element, scope, order, where);
            const Json none = Json::object();
            if (!scope.json.contains(element.name)) {
                if (!literal_) fields(element, {&scope, none, scope.elements}, order, here);
                return;
            }
            const Json& group = scope.json.at(element.name);
            if (!group.is_object()) refuse(here, "an object is due");
            std::vector<std::string> known;
            for (const Field& field : element.fields) known.push_back(field.name);
            require_known(group, known, here);
            return fields(element, {&scope, group, scope.elements}, order, here);
        }
        if (element.kind == Kind::repeat) return repeat(element, scope, order, here);
        const bool present = scope.json.contains(element.name);
        if (!present && literal_) return;
        static const Json kNone;
        const Json& json = present ? scope.json.at(element.name) : kNone;
        switch (element.kind) {
            case Kind::cell:
                return cell(element, scope, json, order, here);
            case Kind::string:
                return counted(element, json, 0, element.network_cell ? kNetwork : order, here);
            case Kind::value:
                return counted(element, json, type_of(element, scope), order, here);
            case Kind::bytes:
                return content(element, json, type_of(element, scope), order, here);
            case Kind::mask:
                return words(json, order, here);
            default:
                return;
        }
    }

    [[nodiscard]] static std::uint32_t type_of(const Element& element, const Scope& inner) {
        if (element.type.empty()) return 0;
        for (const Scope* scope = &inner; scope != nullptr; scope = scope->around) {
            if (!scope->json.contains(element.type)) continue;
            const Json& json = scope->json.at(element.type);
            return word(json.is_object() ? json.at("value") : json, element.type);
        }
        return 0;
    }

    void words(const Json& json, Order order, const std::string& where) {
        if (json.is_null()) return;
        if (!json.is_array()) refuse(where, "a list of words is due");
        for (const Json& one : json) out_.word(word(one, where), order);
    }

    void fields(const Element& element, const Scope& scope, Order order, const std::string& where) {
        for (const Field& field : element.fields) {
            const std::string here = join(where, field.name);
            const Order own = field.of_sender ? sender_ : order;
            if (scope.json.contains(field.name)) {
                given(field, scope.json.at(field.name), own, here);
            } else if (!literal_) {
                omitted(field, scope, own);
            }
        }
    }

    void given(const Field& field, const Json& json, Order order, const std::string& where) {
        if (!field.words) {
            const std::vector<std::uint8_t> bytes = from_hex(json, where);
            if (bytes.size() != field.width) {
                refuse(where, std::to_string(bytes.size()) + " bytes; there are " +
                                  std::to_string(field.width));
            }
            return out_.append(bytes);
        }
        if (field.width == 4 && !json.is_array()) return out_.word(word(json, where), order);
        if (!json.is_array() || json.size() != field.width / 4) {
            refuse(where, "a list of " + std::to_string(field.width / 4) + " words is due");
        }
        for (const Json& one : json) out_.word(word(one, where), order);
    }

    void omitted(const Field& field, const Scope& scope, Order order) {
        if (!field.words) return out_.zeros(field.width);
        std::uint32_t number = field.preset;
        if (field.format == Format::message_type && !message_.types.empty()) {
            number = message_.types.front();
        }
        number = computed(field.name, scope, number);
        for (std::uint32_t i = 0; i < field.width; i += 4) out_.word(number, order);
    }

    /// A count or length that says how much of something there is.
    std::uint32_t computed(const std::string& name, const Scope& scope,
                           std::uint32_t otherwise) const {
        for (const Element& element : scope.elements) {
            if (element.count != name) continue;
            if (!scope.json.contains(element.name)) return otherwise;
            const Json& json = scope.json.at(element.name);
            if (element.kind == Kind::repeat) return static_cast<std::uint32_t>(json.size());
            if (element.kind == Kind::mask) return static_cast<std::uint32_t>(32 * json.size());
            const auto bytes =
                bytes_of(element, json, type_of(element, scope), order_, element.name);
            return static_cast<std::uint32_t>(bytes.size());
        }
        return otherwise;
    }

    void cell(const Element& element, const Scope& scope, const Json& json, Order order,
              const std::string& where) {
        if (json.is_null()) {
            out_.word(computed(element.name, scope, element.preset), order);
            return out_.zeros(4);
        }
        if (!json.is_object()) {
            out_.word(word(json, where), order);
            return out_.zeros(4);
        }
        require_known(json, {"value", "fill"}, where);
        if (!json.contains("value")) refuse(where, "an object without a value");
        out_.word(word(json.at("value"), where), order);
        cell_fill(json, "fill", where);
    }
    void cell_fill(const Json& json, const char* key, const std::string& where) {
        if (!json.is_object() || !json.contains(key)) return out_.zeros(4);
        const auto fill = from_hex(json.at(key), join(where, key));
        if (fill.size() != 4) refuse(join(where, key), "4 bytes are due");
        out_.append(fill);
    }

    /// The content that JSON stands for, without fill.
    std::vector<std::uint8_t> bytes_of(const Element& element, const Json& json, std::uint32_t type,
                                       Order order, const std::string& where) const {
        if (json.is_object()) {
            require_known(json, {"length", "cell_fill", "text", "hex", "fill"}, where);
            if (json.contains("hex")) return from_hex(json.at("hex"), join(where, "hex"));
            if (json.contains("text")) return text(element, json.at("text"), where);
            return {};
        }
        if (json.is_string()) return text(element, json, where);
        if (json.is_null()) {
            return element.is_text ? std::vector<std::uint8_t>(1) : std::vector<std::uint8_t>();
        }
        const std::uint32_t width = description_.integer_width(type);
        if (element.is_text || width == 0) {
            refuse(where, element.is_text
                              ? "a text, or an object with hex, is due"
                              : "a value of type " + std::to_string(type) +
                                    " is no integer: an object with hex or text is due");
        }
        Bytestream bytes;
        bytes.integer(number(json, UINT64_MAX >> (64 - 8 * width), where), width, order);
        return bytes.take();
    }
    static std::vector<std::uint8_t> text(const Element& element, const Json& json,
                                          const std::string& where) {
        if (!json.is_string()) refuse(where, "a text is due");
        const auto text = json.get<std::string>();
        std::vector<std::uint8_t> bytes(text.begin(), text.end());
        if (element.is_text) bytes.push_back(0);
        return bytes;
    }

    void counted(const Element& element, const Json& json, std::uint32_t type, Order order,
                 const std::string& where) {
        const auto bytes = bytes_of(element, json, type, order, where);
        std::uint32_t length = static_cast<std::uint32_t>(bytes.size());
        if (json.is_object() && json.contains("length")) {
            length = word(json.at("length"), join(where, "length"));
        }
        out_.word(length, order);
        cell_fill(json, "cell_fill", where);
        out_.append(bytes);
        fill(json, bytes.size(), where);
    }
    void content(const Element& element, const Json& json, std::uint32_t type, Order order,
                 const std::string& where) {
        const auto bytes = bytes_of(element, json, type, order, where);
        out_.append(bytes);
        fill(json, bytes.size(), where);
    }
    void fill(const Json& json, std::uint64_t content, const std::string& where) {
        if (json.is_object() && json.contains("fill")) {
            return out_.append(from_hex(json.at("fill"), join(where, "fill")));
        }
        out_.zeros(padded8(content) - content);
    }

    void repeat(const Element& element, const Scope& around, Order order,
                const std::string& where) {
        if (!around.json.contains(element.name)) return;
        const Json& list = around.json.at(element.name);
        if (!list.is_array()) refuse(where, "a list of entries is due");
        for (std::size_t i = 0; i < list.size(); ++i) {
            const std::string here = where + "[" + std::to_string(i) + "]";
            if (!list[i].is_object()) refuse(here, "an object is due");
            const Order own =
                element.tells_order ? order_of(list[i], "order", sender_, here) : order;
            scope({&around, list[i], element.elements, element.tells_order}, own, here);
        }
    }

    const Description& description_;
    const Message& message_;
    const bool literal_;
    const Order sender_;
    Order order_ = kNetwork;
    Bytestream out_;
};

}  // namespace

const Message& message_of(const Description& description, const Json& json) {
    if (!json.is_object() || !json.contains("message") || !json.at("message").is_string()) {
        refuse("message", "an object with the name of a message is due");
    }
    const auto name = json.at("message").get<std::string>();
    const Message* const message = description.find(name);
    if (message == nullptr) {
        std::string list;
        for (const std::string& known : description.names()) {
            list += (list.empty() ? "" : ", ") + known;
        }
        refuse("message", "'" + name + "' is none; there are: " + list);
    }
    return *message;
}

std::vector<std::uint8_t> from_json(const Description& description, const Json& json) {
    const Message& message = message_of(description, json);
    for (const auto& [key, ignored] : json.items()) {
        static const char* const kKnown[] = {"message", "order",  "sender", "length", "status",
                                             "failed",  "fields", "rest",   "source"};
        const bool known = std::any_of(std::begin(kKnown), std::end(kKnown),
                                       [&key = key](const char* word) { return key == word; });
        if (!known) refuse(key, "no such member of a message");
    }
    return Encoder(description, message, json).run(json);
}

}  // namespace kelvo::codec
