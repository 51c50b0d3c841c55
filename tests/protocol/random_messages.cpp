// SPDX-License-Identifier: Apache-2.0
#include "protocol/random_messages.h"

#include <algorithm>
#include <string>

namespace kelvo::test {
namespace {

using namespace codec;

std::vector<std::uint8_t> random_bytes(Random& random, std::size_t count) {
    std::vector<std::uint8_t> bytes(count);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random.word());
    return bytes;
}

std::string random_text(Random& random) {
    static const char* const kPieces[] = {"cfg",      "/",   "if", "port2-7", "a",
                                          "\xc3\xa9", "%20", "\n", "oper/"};
    std::string text;
    for (std::uint32_t n = random.below(6); n > 0; --n) text += random.pick(kPieces);
    return text;
}

class Generator {
  public:
    Generator(Random& random, const codec::Message& message) : random_(random), message_(message) {}

    Json scope(const std::vector<Element>& elements, std::uint32_t index) {
        Json object = Json::object();
        for (const Element& element : elements) step(element, elements, index, object);
        for (const Element& element : elements) {
            if (element.kind != Kind::check) continue;
            if (element.negated && object.contains(element.field)) {
                object[element.field] = object.at(element.field) == 0
                                            ? 1u
                                            : object.at(element.field).get<std::uint32_t>();
            }
        }
        return object;
    }

  private:
    /// What a check wants of a field, or any number.
    std::uint32_t number(const std::string& name, Format format,
                         const std::vector<Element>& elements, std::uint32_t index) {
        for (const Element& element : elements) {
            if (element.kind != Kind::check || element.field != name) continue;
            if (!element.negated) return element.number;
            if (format == Format::value_type) return 1 + random_.below(14);
        }
        if (name == "job_id") return index;
        if (format == Format::value_type) return random_.below(16);
        return random_.word();
    }

    static bool is_computed(const std::string& name, const std::vector<Element>& elements) {
        return std::any_of(elements.begin(), elements.end(),
                           [&](const Element& element) { return element.count == name; });
    }

    void step(const Element& element, const std::vector<Element>& elements, std::uint32_t index,
              Json& object) {
        switch (element.kind) {
            case Kind::fields: {
                Json group = Json::object();
                Json& into = element.name.empty() ? object : group;
                for (const Field& field : element.fields) one(field, elements, index, into);
                if (!element.name.empty()) object[element.name] = group;
                break;
            }
            case Kind::cell:
                if (is_computed(element.name, elements)) break;
                object[element.name] = number(element.name, element.format, elements, index);
                break;
            case Kind::string:
                object[element.name] = random_text(random_);
                break;
            case Kind::value:
                object[element.name] = value(element, object);
                break;
            case Kind::bytes:
                object[element.name] =
                    element.is_text ? Json(random_text(random_)) : value(element, object);
                break;
            case Kind::mask: {
                Json words = Json::array();
                if (mask_words_ == 0) mask_words_ = 1 + random_.below(3);
                for (std::uint32_t i = 1; i < mask_words_; ++i) words.push_back(random_.word());
                object[element.name] = words;
                break;
            }
            case Kind::repeat: {
                Json entries = Json::array();
                const std::uint32_t count = 1 + random_.below(4);
                for (std::uint32_t i = 0; i < count; ++i) {
                    Json entry = scope(element.elements, i);
                    if (element.tells_order)
                        entry["order"] = random_.below(2) == 0 ? "big" : "little";
                    entries.push_back(entry);
                }
                object[element.name] = entries;
                break;
            }
            default:
                break;
        }
    }

    void one(const Field& field, const std::vector<Element>& elements, std::uint32_t index,
             Json& into) {
        if (!field.words) {
            into[field.name] = to_hex(random_bytes(random_, field.width));
        } else if (field.format == Format::message_type) {
            if (!message_.types.empty())
                into[field.name] =
                    message_
                        .types[random_.below(static_cast<std::uint32_t>(message_.types.size()))];
        } else if (field.width > 4) {
            Json words = Json::array();
            for (std::uint32_t i = 0; i < field.width; i += 4) words.push_back(random_.word());
            into[field.name] = words;
        } else if (!is_computed(field.name, elements)) {
            into[field.name] = number(field.name, field.format, elements, index);
        }
    }

    Json value(const Element& element, const Json& object) {
        const std::uint32_t type =
            element.type.empty() ? 0u : object.at(element.type).get<std::uint32_t>();
        const std::uint32_t width = Description::built_in().integer_width(type);
        if (width != 0) {
            const std::uint64_t number = std::uint64_t{random_.word()} << 32 | random_.word();
            return number >> (64 - 8 * width);
        }
        // Only a counted value may be empty wherever it stands.
        const std::uint32_t least = element.kind == Kind::bytes && element.type.empty() ? 1 : 0;
        return {{"hex", to_hex(random_bytes(random_, least + random_.below(20)))}};
    }

    Random& random_;
    const codec::Message& message_;
    std::uint32_t mask_words_ = 0;
};

}  // namespace

Json random_message(Random& random, const codec::Message& message, codec::Order order) {
    return {{"message", message.name},
            {"order", name_of(order)},
            {"fields", Generator(random, message).scope(message.elements, 0)}};
}

void damage(Random& random, std::vector<std::uint8_t>& bytes) {
    const auto size = static_cast<std::uint32_t>(bytes.size());
    switch (size < 8 ? 1 : random.below(6)) {
        case 0:
            bytes.resize(random.below(size));
            return;
        case 1: {
            const auto more = random_bytes(random, 1 + random.below(20));
            bytes.insert(bytes.end(), more.begin(), more.end());
            return;
        }
        case 2:
            bytes[random.below(size)] =
                random.below(2) == 0 ? 0 : static_cast<std::uint8_t>(random.word());
            return;
        default:
            break;
    }
    static const std::uint32_t kNumbers[] = {
        0,  1,  2,       7,          8,          9,          16,         24,
        40, 64, 0x10000, 0x7fffffff, 0xfffffff0, 0xfffffff8, 0xfffffff9, 0xffffffff};
    std::uint32_t number = random.pick(kNumbers);
    if (random.below(3) == 0) number = size - random.below(std::min(size, 64u));
    const std::uint32_t at = random.below(size / 4) * 4;
    const bool big = random.below(2) == 0;
    for (std::uint32_t i = 0; i < 4; ++i) {
        bytes[at + i] = static_cast<std::uint8_t>(number >> (big ? 24 - 8 * i : 8 * i));
    }
}

}  // namespace kelvo::test
