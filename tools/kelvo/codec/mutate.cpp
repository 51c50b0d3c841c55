// SPDX-License-Identifier: Apache-2.0
#include "mutate.h"

#include <algorithm>
#include <functional>
#include <set>

#include "kelvo_common_msg.h"
#include "message_json.h"

namespace kelvo::codec {
namespace {

/// A piece with the path that names it.
struct Place {
    std::string path;
    const Node* node;
    const std::vector<Node>* around;  ///< the scope that it stands in
};

class Mutator {
  public:
    Mutator(const Description& description, const Decoded& message)
        : description_(description), message_(message) {
        collect(message.message->elements);
        collect(message.nodes, "");
    }

    [[nodiscard]] const std::vector<Place>& places() const { return places_; }
    [[nodiscard]] std::vector<std::uint8_t> copy() const { return message_.bytes; }
    [[nodiscard]] const Decoded& message() const { return message_; }
    [[nodiscard]] const Description& description() const { return description_; }

    [[nodiscard]] bool is_count(const Node& node) const {
        const bool is_word = (node.what == Node::What::words && node.words.size() == 1) ||
                             node.what == Node::What::cell;
        return is_word && counts_.count(node.name) != 0;
    }
    [[nodiscard]] bool is_length(const Node& node) const {
        const bool is_word = node.what == Node::What::words && node.words.size() == 1;
        return node.what == Node::What::counted || (is_word && lengths_.count(node.name) != 0);
    }
    /// The check that looks at a field; null when none does.
    [[nodiscard]] const Element* check_of(const std::string& path) const {
        for (const Element& element : message_.message->elements) {
            if (element.kind == Kind::check && element.field == path) return &element;
        }
        return nullptr;
    }

    /// The bytes with another word at a place.
    [[nodiscard]] std::vector<std::uint8_t> with_word(std::uint64_t at, std::uint32_t word,
                                                      Order order) const {
        auto bytes = copy();
        for (std::uint32_t i = 0; i < 4; ++i) {
            bytes[at + i] =
                static_cast<std::uint8_t>(word >> (order == Order::big ? 24 - 8 * i : 8 * i));
        }
        return bytes;
    }

  private:
    void collect(const std::vector<Element>& elements) {
        for (const Element& element : elements) {
            if (element.kind == Kind::repeat || element.kind == Kind::mask) {
                counts_.insert(element.count);
            }
            if (element.kind == Kind::bytes) lengths_.insert(element.count);
            collect(element.elements);
        }
    }
    void collect(const std::vector<Node>& nodes, const std::string& path) {
        for (const Node& node : nodes) {
            const std::string name = node.what == Node::What::entry ? path + "[" + node.name + "]"
                                     : path.empty()                 ? node.name
                                                                    : path + "." + node.name;
            places_.push_back({name, &node, &nodes});
            collect(node.children, name);
        }
    }

    const Description& description_;
    const Decoded& message_;
    std::vector<Place> places_;
    std::set<std::string> counts_;
    std::set<std::string> lengths_;
};

using Mutants = std::vector<Mutant>;
/// Adds what can be made at a place.
using AtPlace = void (*)(const Mutator&, const Place&, Mutants&);

/// Another number in a length.
template <std::uint32_t (*kChange)(std::uint32_t)>
void length(const Mutator& of, const Place& place, Mutants& out) {
    if (!of.is_length(*place.node)) return;
    const std::uint32_t word = place.node->words[0];
    if (kChange(word) == word) return;
    out.push_back({place.path, of.with_word(place.node->at, kChange(word), place.node->order)});
}
/// Another number in a count.
template <std::uint32_t (*kChange)(std::uint32_t)>
void count(const Mutator& of, const Place& place, Mutants& out) {
    if (!of.is_count(*place.node)) return;
    const std::uint32_t word = place.node->words[0];
    if (kChange(word) == word) return;
    out.push_back({place.path, of.with_word(place.node->at, kChange(word), place.node->order)});
}

std::uint32_t plus_8(std::uint32_t word) {
    return word + 8;
}
std::uint32_t minus_8(std::uint32_t word) {
    return word - 8;
}
std::uint32_t plus_1(std::uint32_t word) {
    return word + 1;
}
std::uint32_t minus_1(std::uint32_t word) {
    return word - 1;
}
std::uint32_t zero(std::uint32_t) {
    return 0;
}
std::uint32_t most(std::uint32_t) {
    return 0xffffffff;
}
/// The largest number that a cell's 8 bytes do not carry beyond 32 bits, and the first that they
/// do.
std::uint32_t below_wrap(std::uint32_t) {
    return 0xfffffff7;
}
std::uint32_t at_wrap(std::uint32_t) {
    return 0xfffffff8;
}
std::uint32_t reversed(std::uint32_t word) {
    return word >> 24 | (word >> 8 & 0xff00) | (word << 8 & 0xff0000) | word << 24;
}
/// Entries of 8 bytes, as many as 32 bits cannot count the bytes of.
std::uint32_t wraps_by_8(std::uint32_t) {
    return 0x20000000;
}

bool is_text(const Place& place) {
    return place.node->is_text && place.node->content != 0;
}
void nul_missing(const Mutator& of, const Place& place, Mutants& out) {
    if (!is_text(place)) return;
    auto bytes = of.copy();
    bytes[place.node->content_at + place.node->content - 1] = 'x';
    out.push_back({place.path, std::move(bytes)});
}
void nul_early(const Mutator& of, const Place& place, Mutants& out) {
    if (!is_text(place) || place.node->content < 2) return;
    auto bytes = of.copy();
    bytes[place.node->content_at + (place.node->content - 1) / 2] = 0;
    out.push_back({place.path, std::move(bytes)});
}
std::uint64_t fill_at(const Node& node) {
    return node.content_at + node.content;
}
bool has_fill(const Node& node) {
    const bool counted = node.what == Node::What::counted || node.what == Node::What::content;
    return counted && fill_at(node) < node.at + node.size;
}
void fill_missing(const Mutator& of, const Place& place, Mutants& out) {
    if (!has_fill(*place.node)) return;
    auto bytes = of.copy();
    bytes.erase(bytes.begin() + static_cast<std::ptrdiff_t>(fill_at(*place.node)),
                bytes.begin() + static_cast<std::ptrdiff_t>(place.node->at + place.node->size));
    out.push_back({place.path, std::move(bytes)});
}
void fill_dirty(const Mutator& of, const Place& place, Mutants& out) {
    if (!has_fill(*place.node)) return;
    auto bytes = of.copy();
    std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(fill_at(*place.node)),
              bytes.begin() + static_cast<std::ptrdiff_t>(place.node->at + place.node->size),
              std::uint8_t{0xff});
    out.push_back({place.path, std::move(bytes)});
}
void cell_dirty(const Mutator& of, const Place& place, Mutants& out) {
    if (place.node->what != Node::What::counted && place.node->what != Node::What::cell) return;
    out.push_back({place.path, of.with_word(place.node->at + 4, 0xffffffff, Order::big)});
}
/// Cut inside the piece, so that its beginning is there.
void cut(const Mutator& of, const Place& place, Mutants& out) {
    if (!place.node->children.empty() || place.node->size < 2) return;
    auto bytes = of.copy();
    bytes.resize(place.node->at + place.node->size - 1);
    out.push_back({place.path, std::move(bytes)});
}
void check_broken(const Mutator& of, const Place& place, Mutants& out) {
    const Element* const check = of.check_of(place.path);
    if (check == nullptr) return;
    const std::uint32_t wrong = check->negated ? check->number : check->number + 1;
    out.push_back({place.path, of.with_word(place.node->at, wrong, place.node->order)});
}
void value_type_unknown(const Mutator& of, const Place& place, Mutants& out) {
    if (place.node->format != Format::value_type) return;
    out.push_back({place.path, of.with_word(place.node->at, 14, place.node->order)});
}
void entry_twice(const Mutator& of, const Place& place, Mutants& out) {
    const std::vector<Node>& entries = *place.around;
    if (place.node->what != Node::What::entry || &entries.back() == place.node) return;
    const Node& next = (&*place.node)[1];
    if (next.size != place.node->size) return;
    auto bytes = of.copy();
    const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(place.node->at);
    std::copy(from, from + static_cast<std::ptrdiff_t>(next.size),
              bytes.begin() + static_cast<std::ptrdiff_t>(next.at));
    out.push_back({place.path, std::move(bytes)});
}

/// Adds what can be made of the whole message.
using OfAll = void (*)(const Mutator&, Mutants&);

void short_1(const Mutator& of, Mutants& out) {
    auto bytes = of.copy();
    if (bytes.empty()) return;
    bytes.pop_back();
    out.push_back({"", std::move(bytes)});
}
void short_half(const Mutator& of, Mutants& out) {
    auto bytes = of.copy();
    bytes.resize(bytes.size() / 2);
    out.push_back({"", std::move(bytes)});
}
void empty(const Mutator&, Mutants& out) {
    out.push_back({"", {}});
}
template <std::size_t kBytes>
void longer(const Mutator& of, Mutants& out) {
    auto bytes = of.copy();
    bytes.resize(bytes.size() + kBytes);
    out.push_back({"", std::move(bytes)});
}
void other_order(const Mutator& of, Mutants& out) {
    Json json = to_json(of.description(), of.message());
    json["order"] = name_of(opposite(of.message().order));
    out.push_back({"", from_json(of.description(), json)});
}
template <std::size_t kAt, std::uint32_t kWord>
void in_header(const Mutator& of, Mutants& out) {
    if (!of.message().message->has_header || of.message().bytes.size() < kAt + 4) return;
    out.push_back({"", of.with_word(kAt, kWord, of.message().sender)});
}
constexpr std::size_t kMarkerAt = offsetof(kelvo_msg_header, conversion_marker);
constexpr std::size_t kTypeAt = offsetof(kelvo_msg_header, type);

struct Row {
    Mutation mutation;
    AtPlace at_place;
    OfAll of_all;
};

constexpr Row kRows[] = {
    {{"length_plus_8", "a length that claims 8 bytes more"}, length<plus_8>, nullptr},
    {{"length_minus_8", "a length that claims 8 bytes less, below 0 nearly 2^32"},
     length<minus_8>,
     nullptr},
    {{"length_plus_1", "a length that is off by one"}, length<plus_1>, nullptr},
    {{"length_minus_1", "a length that does not count the NUL"}, length<minus_1>, nullptr},
    {{"length_zero", "a length of 0"}, length<zero>, nullptr},
    {{"length_below_wrap", "0xfffffff7: with a cell just below 2^32"}, length<below_wrap>, nullptr},
    {{"length_at_wrap", "0xfffffff8: with a cell just 2^32"}, length<at_wrap>, nullptr},
    {{"length_max", "0xffffffff: with its fill 2^32"}, length<most>, nullptr},
    {{"length_reversed", "a length in the other byte order"}, length<reversed>, nullptr},
    {{"count_plus_1", "a count of one more than there are"}, count<plus_1>, nullptr},
    {{"count_minus_1", "a count of one less than there are"}, count<minus_1>, nullptr},
    {{"count_zero", "a count of 0"}, count<zero>, nullptr},
    {{"count_wrap", "0x20000000: times 8 just 2^32"}, count<wraps_by_8>, nullptr},
    {{"count_max", "a count of 0xffffffff"}, count<most>, nullptr},
    {{"nul_missing", "a text that does not end in NUL"}, nul_missing, nullptr},
    {{"nul_early", "a text with a NUL in it"}, nul_early, nullptr},
    {{"fill_missing", "no fill behind a text or value"}, fill_missing, nullptr},
    {{"fill_dirty", "fill that is not zero, which receivers ignore"}, fill_dirty, nullptr},
    {{"cell_dirty", "a cell's second half not zero, which receivers ignore"}, cell_dirty, nullptr},
    {{"cut", "the end one byte before that of a piece"}, cut, nullptr},
    {{"check_broken", "a field with a number that a check refuses"}, check_broken, nullptr},
    {{"value_type_unknown", "14, the first number that is no value type"},
     value_type_unknown,
     nullptr},
    {{"entry_twice", "an entry in place of the one that follows it"}, entry_twice, nullptr},
    {{"short_1", "the last byte missing"}, nullptr, short_1},
    {{"short_half", "the second half missing"}, nullptr, short_half},
    {{"empty", "no byte at all"}, nullptr, empty},
    {{"long_1", "one byte too many"}, nullptr, longer<1>},
    {{"long_8", "8 bytes too many"}, nullptr, longer<8>},
    {{"other_order", "all words in the other byte order"}, nullptr, other_order},
    {{"marker_set", "the conversion marker of a message that is not converted"},
     nullptr,
     in_header<kMarkerAt, KELVO_MSG_CONVERTED>},
    {{"type_unknown", "a message type that there is not"},
     nullptr,
     in_header<kTypeAt, KELVO_MSG_TYPE_COUNT>},
};

}  // namespace

const std::vector<Mutation>& mutations() {
    static const std::vector<Mutation> kAll = [] {
        std::vector<Mutation> all;
        for (const Row& row : kRows) all.push_back(row.mutation);
        return all;
    }();
    return kAll;
}

std::vector<Mutant> mutate(const Description& description, const Decoded& message,
                           const std::string& mutation, const std::string& field) {
    const Mutator mutator(description, message);
    Mutants made;
    for (const Row& row : kRows) {
        if (mutation != row.mutation.name) continue;
        if (row.of_all != nullptr && field.empty()) row.of_all(mutator, made);
        if (row.at_place == nullptr) continue;
        for (const Place& place : mutator.places()) {
            if (field.empty() || field == place.path) row.at_place(mutator, place, made);
        }
    }
    for (Mutant& mutant : made) {
        mutant.name = mutation + (mutant.name.empty() ? "" : "@" + mutant.name);
    }
    return made;
}

}  // namespace kelvo::codec
