// SPDX-License-Identifier: Apache-2.0
//
// One item set: its gather list, the same in one buffer, and received.
#include <arpa/inet.h>
#include <capnp/message.h>
#include <capnp/serialize.h>

#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>

#include "item.capnp.h"
#include "item.pb.h"
#include "item_generated.h"
#include "kelvo_common_msg_item.h"
#include "row.h"

using namespace kelvo::bench;

namespace {

constexpr char kPath[] = "cfg/if/eth0/unit/17/address/primary/mask";
static_assert(sizeof kPath == 41);
constexpr std::uint64_t kValue = 0x0102030405060708;
constexpr std::uint32_t kArgument = 0x11223344;
constexpr std::uint32_t kType = KELVO_VALUE_INT8;
constexpr std::size_t kSlots = 9;

constexpr std::size_t kPathAt = sizeof(kelvo_msg_item_request);
constexpr std::size_t kPathFill = (8 - sizeof kPath % 8) % 8;
constexpr std::size_t kValueCellAt = kPathAt + sizeof kPath + kPathFill;
constexpr std::size_t kValueAt = kValueCellAt + sizeof(kelvo_length_cell);
constexpr std::size_t kBytes = kValueAt + sizeof kValue;

void put(std::uint8_t* at, std::uint32_t word) {
    std::memcpy(at, &word, sizeof word);
}
void put_network(std::uint8_t* at, std::uint32_t word) {
    put(at, htonl(word));
}
std::uint32_t get_network(std::uint8_t* at) {
    std::uint32_t word;
    std::memcpy(&word, at, sizeof word);
    word = ntohl(word);
    std::memcpy(at, &word, sizeof word);
    return word;
}
std::uint64_t swapped64(std::uint64_t value) {
    return __builtin_bswap64(value);
}

template <class Word, class Swap>
std::uint32_t swap_word(void* at, Swap swap) {
    Word word;
    std::memcpy(&word, at, sizeof word);
    word = swap(word);
    std::memcpy(at, &word, sizeof word);
    return 1;
}
/// Converts a value of any type where it lies. @return whether it is one that is converted
std::uint32_t swap_value(std::uint32_t type, void* value) {
    switch (type) {
        case KELVO_VALUE_INT2:
        case KELVO_VALUE_INT2_ALT:
            return swap_word<std::uint16_t>(value,
                                            [](auto word) { return __builtin_bswap16(word); });
        case KELVO_VALUE_INT4:
        case KELVO_VALUE_INT4_ALT:
            return swap_word<std::uint32_t>(value,
                                            [](auto word) { return __builtin_bswap32(word); });
        case KELVO_VALUE_INT8:
        case KELVO_VALUE_INT8_ALT:
            return swap_word<std::uint64_t>(value,
                                            [](auto word) { return __builtin_bswap64(word); });
        default:
            return 0;
    }
}

/// The message, written down field by field.
struct Message {
    std::uint8_t bytes[kBytes] = {};
    Message() {
        put(bytes + 24, KELVO_MSG_ITEM_SET);
        put_network(bytes + 44, kArgument);
        put_network(bytes + 48, 1);
        put_network(bytes + 56, kType);
        put_network(bytes + 64, sizeof kPath);
        std::memcpy(bytes + kPathAt, kPath, sizeof kPath);
        put_network(bytes + kValueCellAt, sizeof kValue);
        const std::uint64_t value = swapped64(kValue);
        std::memcpy(bytes + kValueAt, &value, sizeof value);
    }
    [[nodiscard]] bool is(const void* other) const {
        return std::memcmp(bytes, other, sizeof bytes) == 0;
    }
};

/// What a sender has: a header area, cells, a list, and the item.
struct Sender {
    std::uint8_t header[48] = {};
    kelvo_length_cell count{};
    kelvo_length_cell type{};
    kelvo_length_cell path_length{};
    kelvo_length_cell value_length{};
    kelvo_slot list[kSlots] = {};
    const char* path = kPath;
    std::uint64_t value = kValue;

    [[nodiscard]] bool right() const {
        std::uint8_t flat[kBytes];
        std::size_t at = 0;
        for (const kelvo_slot& slot : list) {
            if (slot.length > kBytes - at) return false;
            std::memcpy(flat + at, slot.base, slot.length);
            at += slot.length;
        }
        return at == kBytes && Message().is(flat);
    }
};

// ------------------------------------------------------------------------------------------------
// Compose
// ------------------------------------------------------------------------------------------------

struct Compose : Sender {
    void run() {
        value = kValue;
        kelvo_common_msg_item_set_compose(header, &count.length, &type.length, &path_length.length,
                                          &value_length.length, path, kType, &value, sizeof value,
                                          kArgument, list);
    }
};

/// The slots of a path whose length is known.
inline void store_slots(Sender& s, std::uint32_t path_bytes) {
    s.value = kValue;
    std::uint32_t type = kType;
    std::uint32_t argument = kArgument;
    std::uint32_t value_bytes = sizeof s.value;
    benchmark::DoNotOptimize(type);
    benchmark::DoNotOptimize(argument);
    benchmark::DoNotOptimize(value_bytes);
    put(s.header + 24, KELVO_MSG_ITEM_SET);
    put(s.header + 40, 0);
    put_network(s.header + 44, argument);
    s.count.length = htonl(1);
    s.type.length = htonl(type);
    s.path_length.length = htonl(path_bytes);
    s.value_length.length = htonl(value_bytes);
    s.list[0] = {s.header, sizeof s.header};
    s.list[1] = {&s.count, sizeof s.count};
    s.list[2] = {&s.type, sizeof s.type};
    s.list[3] = {&s.path_length, sizeof s.path_length};
    s.list[4] = {s.path, path_bytes};
    s.list[5] = {kelvo_alignment, (0U - path_bytes) & 7U};
    s.list[6] = {&s.value_length, sizeof s.value_length};
    s.list[7] = {&s.value, value_bytes};
    s.list[8] = {kelvo_alignment, (0U - value_bytes) & 7U};
    s.value = swapped64(s.value);
}

struct Stores : Sender {
    void run() {
        std::uint32_t path_bytes = sizeof kPath;
        benchmark::DoNotOptimize(path_bytes);
        store_slots(*this, path_bytes);
    }
};

struct StoresAndStrlen : Sender {
    void run() {
        const char* text = path;
        benchmark::DoNotOptimize(text);
        store_slots(*this, static_cast<std::uint32_t>(std::strlen(text) + 1));
    }
};

/// The library's function by hand: its arguments, a path of any length, a value of any type.
[[gnu::noipa]] std::uint32_t compose_by_hand(void* header, std::uint32_t* count,
                                             std::uint32_t* type_cell, std::uint32_t* path_length,
                                             std::uint32_t* value_length, const char* path,
                                             std::uint32_t type, void* value,
                                             std::int32_t value_bytes, std::uint32_t argument,
                                             kelvo_slot* list) {
    const auto path_bytes = static_cast<std::uint32_t>(std::strlen(path) + 1);
    const auto bytes = static_cast<std::uint32_t>(value_bytes);
    auto* const message = static_cast<std::uint8_t*>(header);
    put(message + 24, KELVO_MSG_ITEM_SET);
    put(message + 40, 0);
    put_network(message + 44, argument);
    *count = htonl(1);
    *type_cell = htonl(type);
    *path_length = htonl(path_bytes);
    *value_length = htonl(bytes);
    list[0] = {message, 48};
    list[1] = {count, sizeof(kelvo_length_cell)};
    list[2] = {type_cell, sizeof(kelvo_length_cell)};
    list[3] = {path_length, sizeof(kelvo_length_cell)};
    list[4] = {path, path_bytes};
    list[5] = {kelvo_alignment, (0U - path_bytes) & 7U};
    list[6] = {value_length, sizeof(kelvo_length_cell)};
    list[7] = {value, bytes};
    list[8] = {kelvo_alignment, (0U - bytes) & 7U};
    return bytes != 0 && value != nullptr ? swap_value(type, value) : 0;
}

/// Functions by hand are called as those of a shared object are: through a pointer.
struct ComposeByHand : Sender {
    decltype(&compose_by_hand) compose = &compose_by_hand;
    void run() {
        value = kValue;
        compose(header, &count.length, &type.length, &path_length.length, &value_length.length,
                path, kType, &value, sizeof value, kArgument, list);
    }
};

/// What every contender reads from a message, or writes into one.
struct Item {
    std::uint32_t argument = 0;
    std::uint32_t type = 0;
    std::string_view path;
    std::uint64_t value = 0;
    [[nodiscard]] bool right() const {
        return argument == kArgument && type == kType && path == kPath && value == kValue;
    }
};
const std::uint8_t* bytes_of(const std::uint64_t& value) {
    return reinterpret_cast<const std::uint8_t*>(&value);
}
std::uint64_t value_of(const void* bytes) {
    std::uint64_t value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

/// The builder is used again, as its makers advise, so that it allocates nothing.
struct FlatCompose {
    flatbuffers::FlatBufferBuilder builder;
    const char* path = kPath;
    std::uint64_t value = kValue;

    void run() {
        builder.Clear();
        const auto text = builder.CreateString(path);
        const auto bytes = builder.CreateVector(bytes_of(value), sizeof value);
        builder.Finish(flat::CreateItemSet(builder, kArgument, kType, text, bytes));
    }
    [[nodiscard]] bool right() const {
        const auto* const item = flat::GetItemSet(builder.GetBufferPointer());
        return Item{item->argument(), item->type(), item->path()->string_view(),
                    value_of(item->value()->data())}
            .right();
    }
};

/// Likewise: a builder's destructor zeroes the memory that it was given, for the next.
struct PackedCompose {
    capnp::word scratch[64] = {};
    std::optional<capnp::MallocMessageBuilder> message;
    const char* path = kPath;
    std::uint64_t value = kValue;

    void run() {
        message.emplace(kj::arrayPtr(scratch, std::size(scratch)));
        auto item = message->initRoot<packed::ItemSet>();
        item.setArgument(kArgument);
        item.setType(kType);
        item.setPath(path);
        item.setValue({bytes_of(value), sizeof value});
    }
    [[nodiscard]] bool right() {
        const auto item = message->getRoot<packed::ItemSet>().asReader();
        return Item{item.getArgument(), item.getType(), item.getPath().cStr(),
                    value_of(item.getValue().begin())}
            .right();
    }
};

struct ProtoCompose {
    proto::ItemSet item;
    const char* path = kPath;
    std::uint64_t value = kValue;

    void run() {
        item.set_argument(kArgument);
        item.set_type(kType);
        item.set_path(path);
        item.set_value(&value, sizeof value);
    }
    [[nodiscard]] bool right() const {
        return Item{item.argument(), item.type(), item.path(), value_of(item.value().data())}
            .right();
    }
};

const Row kComposeRow(
    {"item_compose", "item set (path of 40, value of 8): compose", 1, {0.17, 1.3}},
    {library<Compose>(), floor<Stores>("nine slot stores and five swaps"),
     shown<StoresAndStrlen>("the floor and strlen"), shown<ComposeByHand>("the function by hand"),
     other<FlatCompose>("FlatBuffers"), other<PackedCompose>("Cap'n Proto"),
     other<ProtoCompose>("protobuf")});

// ------------------------------------------------------------------------------------------------
// Compose and flatten
// ------------------------------------------------------------------------------------------------

struct Flatten : Compose {
    std::uint8_t* flat = nullptr;
    Flatten() = default;
    Flatten(const Flatten&) = delete;
    Flatten& operator=(const Flatten&) = delete;
    ~Flatten() { std::free(flat); }

    void run() {
        std::free(flat);
        Compose::run();
        std::uint32_t size;
        kelvo_common_msg_iovs_length(list, kSlots, &size);
        if (kelvo_common_msg_iovs_to_buffer(list, kSlots, size, &flat) != 0) flat = nullptr;
    }
    [[nodiscard]] bool right() const { return flat != nullptr && Message().is(flat); }
};

/// A message of the same length copied as one piece, and its fields stored.
struct Copy {
    Message pattern;
    std::uint8_t flat[kBytes] = {};
    std::uint64_t value = kValue;

    void run() {
        std::uint32_t words[] = {kArgument, 1, kType, sizeof kPath, sizeof value};
        benchmark::DoNotOptimize(words);
        std::memcpy(flat, pattern.bytes, sizeof flat);
        put_network(flat + 44, words[0]);
        put_network(flat + 48, words[1]);
        put_network(flat + 56, words[2]);
        put_network(flat + 64, words[3]);
        put_network(flat + kValueCellAt, words[4]);
        const std::uint64_t swapped = swapped64(value);
        std::memcpy(flat + kValueAt, &swapped, sizeof swapped);
    }
    [[nodiscard]] bool right() const { return Message().is(flat); }
};

[[gnu::noipa]] void add_up_by_hand(const kelvo_slot* list, std::int32_t count,
                                   std::uint32_t* total) {
    std::uint32_t sum = 0;
    for (std::int32_t i = 0; i < count; ++i) sum += static_cast<std::uint32_t>(list[i].length);
    *total = sum;
}

/// Knows which pieces the list of an item set has, but not how long path and value are.
[[gnu::noipa]] kelvo_status flatten_by_hand(const kelvo_slot* list, std::uint32_t size,
                                            std::uint8_t** out) {
    auto* const flat = static_cast<std::uint8_t*>(std::malloc(size));
    if (flat == nullptr) return KELVO_ERR_NO_MEMORY;
    std::memcpy(flat, list[0].base, 48);
    std::memcpy(flat + 48, list[1].base, 8);
    std::memcpy(flat + 56, list[2].base, 8);
    std::memcpy(flat + 64, list[3].base, 8);
    std::uint8_t* at = flat + kPathAt;
    std::memcpy(at, list[4].base, list[4].length);
    at += list[4].length;
    std::memset(at, 0, 8);  // the fill, and what the next cell covers
    at += list[5].length;
    std::memcpy(at, list[6].base, 8);
    at += 8;
    if (list[7].length == 8) {
        std::memcpy(at, list[7].base, 8);
    } else {
        std::memcpy(at, list[7].base, list[7].length);
        std::memset(at + list[7].length, 0, list[8].length);
    }
    *out = flat;
    return 0;
}

/// The library's three functions by hand.
struct FlattenByHand : ComposeByHand {
    decltype(&add_up_by_hand) add_up = &add_up_by_hand;
    decltype(&flatten_by_hand) flatten = &flatten_by_hand;
    std::uint8_t* flat = nullptr;
    FlattenByHand() = default;
    FlattenByHand(const FlattenByHand&) = delete;
    FlattenByHand& operator=(const FlattenByHand&) = delete;
    ~FlattenByHand() { std::free(flat); }

    void run() {
        std::free(flat);
        ComposeByHand::run();
        std::uint32_t size;
        add_up(list, kSlots, &size);
        if (flatten(list, size, &flat) != 0) flat = nullptr;
    }
    [[nodiscard]] bool right() const { return flat != nullptr && Message().is(flat); }
};

struct PackedFlatten : PackedCompose {
    kj::Array<capnp::word> flat;
    void run() {
        PackedCompose::run();
        flat = capnp::messageToFlatArray(*message);
    }
};

struct ProtoFlatten : ProtoCompose {
    std::uint8_t flat[kBytes] = {};
    void run() {
        ProtoCompose::run();
        item.SerializeWithCachedSizesToArray((static_cast<void>(item.ByteSizeLong()), flat));
    }
    [[nodiscard]] bool right() const {
        proto::ItemSet read;
        return read.ParseFromArray(flat, static_cast<int>(item.ByteSizeLong())) &&
               Item{read.argument(), read.type(), read.path(), value_of(read.value().data())}
                   .right();
    }
};

const Row kFlattenRow({"item_flatten", "item set: compose and flatten", 1, {0.80, 4.7}},
                      {library<Flatten>(), floor<Copy>("memcpy and htonl"),
                       shown<FlattenByHand>("the functions by hand"),
                       other<FlatCompose>("FlatBuffers"), other<PackedFlatten>("Cap'n Proto"),
                       other<ProtoFlatten>("protobuf")});

// ------------------------------------------------------------------------------------------------
// Receive
// ------------------------------------------------------------------------------------------------

/// A message and the buffer into which it comes. Receiving converts in place, so each run takes a
/// fresh one, whoever reads it.
struct Receiver {
    Message sent;
    alignas(8) std::uint8_t buffer[kBytes] = {};
    char* path = nullptr;
    void* value = nullptr;
    std::uint32_t type = 0;
    std::uint32_t value_length = 0;
    std::uint32_t argument = 0;

    [[nodiscard]] bool right() const {
        return value_length == sizeof kValue && Item{argument, type, path, value_of(value)}.right();
    }
};

struct Receive : Receiver {
    kelvo_status status = 0;
    void run() {
        std::memcpy(buffer, sent.bytes, sizeof buffer);
        status = kelvo_common_msg_set_interpret_endian_ntoh(buffer, kBytes, &path, &type, &value,
                                                            &value_length, &argument);
    }
    [[nodiscard]] bool right() const { return status == 0 && Receiver::right(); }
};

/// The same copy, the same words converted, the same comparisons.
struct CopyAndCheck : Receiver {
    bool refused = false;
    void run() {
        std::memcpy(buffer, sent.bytes, sizeof buffer);
        std::uint64_t length = kBytes;
        benchmark::DoNotOptimize(length);
        refused = !read(length);
    }
    bool read(std::uint64_t length) {
        get_network(buffer + 40);
        argument = get_network(buffer + 44);
        if (length < kPathAt || get_network(buffer + 48) != 1) return false;
        type = get_network(buffer + 56);
        const std::uint64_t path_bytes = get_network(buffer + 64);
        const std::uint64_t left = length - kPathAt;
        if (left < path_bytes || path_bytes == 0 || buffer[kPathAt + path_bytes - 1] != 0) {
            return false;
        }
        const std::uint64_t cell = (path_bytes + 7) & ~7ULL;
        if (left < cell + sizeof(kelvo_length_cell)) return false;
        std::uint8_t* const at = buffer + kPathAt + cell;
        const std::uint64_t value_bytes = get_network(at);
        if (left != cell + sizeof(kelvo_length_cell) + ((value_bytes + 7) & ~7ULL)) return false;
        path = reinterpret_cast<char*>(buffer + kPathAt);
        value = at + sizeof(kelvo_length_cell);
        value_length = static_cast<std::uint32_t>(value_bytes);
        if (type == kType) {
            const std::uint64_t swapped = swapped64(value_of(value));
            std::memcpy(value, &swapped, sizeof swapped);
        }
        return true;
    }
    [[nodiscard]] bool right() const { return !refused && Receiver::right(); }
};

/// The library's function by hand: its arguments, its tests one after another, a value of any type,
/// and all that it found handed out through pointers.
struct ReceiveByHand : Receiver {
    static bool pass(std::uint8_t*& at, std::uint64_t& left, std::uint32_t& word) {
        if (left < sizeof(kelvo_length_cell)) return false;
        word = get_network(at);
        at += sizeof(kelvo_length_cell);
        left -= sizeof(kelvo_length_cell);
        return true;
    }
    [[gnu::noipa]] static kelvo_status receive(void* message, std::int32_t length, char** path,
                                               std::uint32_t* type, void** value,
                                               std::uint32_t* value_length,
                                               std::uint32_t* argument) {
        auto* at = static_cast<std::uint8_t*>(message);
        std::uint64_t left = length < 0 ? 0 : static_cast<std::uint64_t>(length);
        get_network(at + 40);
        const std::uint32_t found_argument = get_network(at + 44);
        if (left < 48) return KELVO_ERR_MSG_LENGTH;
        at += 48;
        left -= 48;
        std::uint32_t count;
        std::uint32_t found_type;
        std::uint32_t path_bytes;
        std::uint32_t value_bytes;
        if (!pass(at, left, count)) return KELVO_ERR_MSG_LENGTH;
        if (count != 1) return KELVO_ERR_MSG_CONTENT;
        if (!pass(at, left, found_type)) return KELVO_ERR_MSG_LENGTH;
        if (!pass(at, left, path_bytes) || left < path_bytes) return KELVO_ERR_MSG_LENGTH;
        if (path_bytes == 0 || at[path_bytes - 1] != 0) return KELVO_ERR_MSG_CONTENT;
        const std::uint64_t path_room = (std::uint64_t{path_bytes} + 7) & ~7ULL;
        if (left < path_room) return KELVO_ERR_MSG_LENGTH;
        auto* const text = reinterpret_cast<char*>(at);
        at += path_room;
        left -= path_room;
        if (!pass(at, left, value_bytes)) return KELVO_ERR_MSG_LENGTH;
        if (left != ((std::uint64_t{value_bytes} + 7) & ~7ULL)) return KELVO_ERR_MSG_LENGTH;
        if (value_bytes != 0) swap_value(found_type, at);
        *path = text;
        *type = found_type;
        *value = at;
        *value_length = value_bytes;
        *argument = found_argument;
        return 0;
    }
    decltype(&receive) by_hand = &receive;
    kelvo_status status = 0;
    void run() {
        std::memcpy(buffer, sent.bytes, sizeof buffer);
        status = by_hand(buffer, kBytes, &path, &type, &value, &value_length, &argument);
    }
    [[nodiscard]] bool right() const { return status == 0 && Receiver::right(); }
};

struct FlatReceive {
    FlatCompose sender;
    alignas(8) std::uint8_t buffer[kBytes] = {};
    Item item;
    bool refused = false;

    FlatReceive() { sender.run(); }
    void run() {
        const std::size_t size = sender.builder.GetSize();
        std::memcpy(buffer, sender.builder.GetBufferPointer(), size);
        flatbuffers::Verifier verifier(buffer, size);
        refused = !flat::VerifyItemSetBuffer(verifier);
        if (refused) return;
        const auto* const read = flat::GetItemSet(buffer);
        if (read->path() == nullptr || read->value() == nullptr) return;
        item = {read->argument(), read->type(), read->path()->string_view(),
                value_of(read->value()->data())};
    }
    [[nodiscard]] bool right() const { return !refused && item.right(); }
};

struct PackedReceive {
    PackedFlatten sender;
    capnp::word buffer[64] = {};
    Item item;

    PackedReceive() { sender.run(); }
    void run() {
        std::memcpy(buffer, sender.flat.begin(), sender.flat.size() * sizeof(capnp::word));
        capnp::FlatArrayMessageReader message(kj::arrayPtr(buffer, sender.flat.size()));
        const auto read = message.getRoot<packed::ItemSet>();
        const auto path = read.getPath();
        item = {read.getArgument(),
                read.getType(),
                {path.cStr(), path.size()},
                value_of(read.getValue().begin())};
    }
    [[nodiscard]] bool right() const { return item.right(); }
};

struct ProtoReceive {
    ProtoFlatten sender;
    std::uint8_t buffer[kBytes] = {};
    proto::ItemSet read;
    Item item;

    ProtoReceive() { sender.run(); }
    void run() {
        const std::size_t size = sender.item.ByteSizeLong();
        std::memcpy(buffer, sender.flat, size);
        if (!read.ParseFromArray(buffer, static_cast<int>(size))) return;
        item = {read.argument(), read.type(), read.path(), value_of(read.value().data())};
    }
    [[nodiscard]] bool right() const { return item.right(); }
};

const Row kReceiveRow({"item_receive", "item set: receive, all fields", 1, {0.70, 1.25}},
                      {library<Receive>(), floor<CopyAndCheck>("memcpy and ntohl with checks"),
                       shown<ReceiveByHand>("the function by hand"),
                       other<FlatReceive>("FlatBuffers"), other<PackedReceive>("Cap'n Proto"),
                       other<ProtoReceive>("protobuf")});

}  // namespace
