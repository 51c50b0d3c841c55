// SPDX-License-Identifier: Apache-2.0
#include "description.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace kelvo::codec {

/// messages.json, put into the program by the build.
extern const char* const kMessagesJson;

namespace {

using Json = nlohmann::ordered_json;

template <class T>
struct Word {
    const char* word;
    T meaning;
};

constexpr Word<Kind> kKinds[] = {
    {"fields", Kind::fields}, {"cell", Kind::cell},     {"string", Kind::string},
    {"value", Kind::value},   {"bytes", Kind::bytes},   {"mask", Kind::mask},
    {"repeat", Kind::repeat}, {"length", Kind::length}, {"check", Kind::check},
    {"end", Kind::end},
};
constexpr Word<Room> kRooms[] = {
    {"all", Room::all}, {"more", Room::more}, {"none", Room::none}, {"cell", Room::cell}};
constexpr Word<Behind> kBehinds[] = {
    {"", Behind::anything}, {"more", Behind::more}, {"exact", Behind::exact}};
constexpr Word<Format> kFormats[] = {
    {"", Format::decimal},
    {"hex", Format::hex},
    {"value_type", Format::value_type},
    {"status", Format::status},
    {"message_type", Format::message_type},
    {"node_id", Format::node_id},
};
constexpr Word<MessageOrder> kOrders[] = {{"network", MessageOrder::network},
                                          {"host", MessageOrder::host},
                                          {"marker", MessageOrder::marker}};

template <class T, std::size_t N>
T meaning_of(const Word<T> (&words)[N], const std::string& word) {
    for (const Word<T>& known : words) {
        if (word == known.word) return known.meaning;
    }
    throw std::runtime_error("the description of the messages has an unknown word: " + word);
}

/// A text of an object, or what stands for one that is not there.
std::string text_of(const Json& object, const char* key, const char* otherwise = "") {
    return object.value(key, std::string(otherwise));
}

class Reader {
  public:
    explicit Reader(const Json& json) : json_(json) {}

    [[nodiscard]] std::uint32_t status(const Json& object) const {
        const std::string name = text_of(object, "status");
        if (name.empty()) return 0;
        const auto number = json_.at("statuses").at(name).get<std::string>();
        return static_cast<std::uint32_t>(std::stoul(number, nullptr, 0));
    }

    [[nodiscard]] Message message(const Json& json) const {
        Message message;
        message.name = json.at("name");
        message.title = json.at("title");
        message.types = json.at("types").get<std::vector<std::uint32_t>>();
        message.order = meaning_of(kOrders, json.at("order"));
        message.elements = elements(json.at("elements"));
        for (const Element& element : message.elements) {
            if (element.kind == Kind::fields && element.name == "header") message.has_header = true;
        }
        return message;
    }

  private:
    [[nodiscard]] std::vector<Element> elements(const Json& list) const {
        std::vector<Element> all;
        for (const Json& json : list) {
            if (json.contains("use")) {
                for (Element& one : elements(json_.at("groups").at(json.at("use")))) {
                    all.push_back(std::move(one));
                }
            } else {
                all.push_back(element(json));
            }
        }
        return all;
    }

    static Field field(const Json& json) {
        Field field;
        field.name = json.at("name");
        field.at = json.at("at");
        field.width = json.at("width");
        field.words = json.at("type") == "u32";
        field.of_sender = text_of(json, "order") == "sender";
        field.format = meaning_of(kFormats, text_of(json, "format"));
        field.preset = json.value("default", 0u);
        field.meaning = json.at("meaning");
        return field;
    }

    [[nodiscard]] Element element(const Json& json) const {
        Element element;
        element.kind = meaning_of(kKinds, json.at("kind"));
        element.name = text_of(json, "name");
        element.meaning = text_of(json, "meaning");
        element.condition = text_of(json, "condition");
        element.room = meaning_of(kRooms, text_of(json, "room", "all"));
        element.format = meaning_of(kFormats, text_of(json, "format"));
        element.preset = json.value("default", 0u);
        element.bytes = json.value(element.kind == Kind::length ? "least" : "bytes", 0u);
        for (const Json& one : json.value("fields", Json::array())) {
            element.fields.push_back(field(one));
        }
        element.network_cell = text_of(json, "cell_order") == "network";
        element.is_text = element.kind == Kind::string || text_of(json, "as") == "text";
        element.type = text_of(json, "type");
        for (const char* const key : {"length", "bits", "count"}) {
            if (json.contains(key)) element.count = json.at(key);
        }
        element.elements = elements(json.value("elements", Json::array()));
        element.tells_order = text_of(json, "order") == "name_length";
        element.unique_pairs = text_of(json, "unique") == "startup_pair";
        element.after_each = meaning_of(kBehinds, text_of(json, "after_each"));
        element.after_last = meaning_of(kBehinds, text_of(json, "after_last"));
        element.field = text_of(json, "field");
        element.negated = json.contains("not");
        element.number = json.value(element.negated ? "not" : "equals", 0u);
        element.status = status(json);
        element.text = text_of(json, "text");
        return element;
    }

    const Json& json_;
};

}  // namespace

const Description& Description::built_in() {
    static const Description description(kMessagesJson);
    return description;
}

Description::Description(std::string_view text) {
    const Json json = Json::parse(text);
    const Reader reader(json);
    for (const auto& [name, number] : json.at("statuses").items()) {
        const auto code = std::stoul(number.get<std::string>(), nullptr, 0);
        statuses_[static_cast<std::uint32_t>(code)] = name;
    }
    for (const auto& [number, type] : json.at("value_types").items()) {
        value_types_[static_cast<std::uint32_t>(std::stoul(number))] = {type.at("name"),
                                                                        type.value("width", 0u)};
    }
    for (const auto& [kind, described] : json.at("kinds").items()) {
        for (const Json& check : described.at("checks")) {
            checks_[{meaning_of(kKinds, kind), check.at("name")}] = {reader.status(check),
                                                                     check.at("text")};
        }
    }
    for (const Json& message : json.at("messages")) messages_.push_back(reader.message(message));
}

const Message* Description::find(std::string_view name) const {
    std::string plain(name);
    std::replace(plain.begin(), plain.end(), '-', '_');
    for (const Message& message : messages_) {
        if (message.name == plain) return &message;
    }
    return nullptr;
}

const Message* Description::find_type(std::uint32_t type) const {
    for (const Message& message : messages_) {
        if (std::find(message.types.begin(), message.types.end(), type) != message.types.end()) {
            return &message;
        }
    }
    return nullptr;
}

std::vector<std::string> Description::names() const {
    std::vector<std::string> names;
    for (const Message& message : messages_) names.push_back(message.name);
    return names;
}

const KindCheck& Description::check(Kind kind, const char* name) const {
    return checks_.at({kind, name});
}

std::string Description::status_name(std::uint32_t status) const {
    if (status == 0) return "success";
    const auto found = statuses_.find(status);
    if (found != statuses_.end()) return found->second;
    char number[11];
    std::snprintf(number, sizeof number, "0x%08x", status);
    return number;
}

std::string Description::value_type_name(std::uint32_t type) const {
    const auto found = value_types_.find(type);
    return found == value_types_.end() ? "" : found->second.name;
}

std::uint32_t Description::integer_width(std::uint32_t type) const {
    const auto found = value_types_.find(type);
    return found == value_types_.end() ? 0 : found->second.width;
}

}  // namespace kelvo::codec
