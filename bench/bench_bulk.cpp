// SPDX-License-Identifier: Apache-2.0
//
// A bulk request: its gather list, the same in one buffer, and its items read one after another.
#include <capnp/message.h>
#include <capnp/serialize.h>

#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "item.capnp.h"
#include "kelvo_common_msg_bulk.h"
#include "memory.h"
#include "row.h"

using namespace kelvo::bench;

namespace {

constexpr std::size_t kItems = 1000;
constexpr char kLeading[] = "cfg";
constexpr std::uint32_t kWord1 = 11;
constexpr std::uint32_t kWord2 = 22;
constexpr std::size_t kLeadingBytes = sizeof(kelvo_msg_bulk) + 8;

std::size_t padded(std::size_t length) {
    return (length + 7) & ~std::size_t{7};
}

/// The items of a request, in the caller's storage.
class Items {
  public:
    explicit Items(std::size_t count) : values_(count), records_(count) {
        names_.reserve(count);
        for (std::size_t i = 0; i < count; ++i) {
            const std::string number = std::to_string(1'000'000 + i);
            names_.push_back("cfg/if/port-" + number + "/mtu");
            values_[i] = i * 0x01010101;
        }
        for (std::size_t i = 0; i < count; ++i) {
            records_[i].operation = 1;
            records_[i].word2 = static_cast<std::uint32_t>(i);
            records_[i].type = KELVO_VALUE_INT8;
            records_[i].name = names_[i].c_str();
            records_[i].data = &values_[i];
            records_[i].data_length = sizeof values_[i];
            records_[i].word4 = 4;
        }
    }
    [[nodiscard]] std::size_t size() const { return records_.size(); }
    [[nodiscard]] const kelvo_bulk_item& operator[](std::size_t i) const { return records_[i]; }
    [[nodiscard]] const std::string& name(std::size_t i) const { return names_[i]; }

    /// The message that they make in this host's order, written down field by field.
    [[nodiscard]] std::vector<std::uint8_t> message() const {
        std::vector<std::uint8_t> bytes(kLeadingBytes);
        const auto put = [](std::uint8_t* at, std::uint32_t word) {
            std::memcpy(at, &word, sizeof word);
        };
        const auto count = static_cast<std::uint32_t>(size());
        put(&bytes[24], KELVO_MSG_BULK);
        put(&bytes[40], __builtin_bswap32(kWord1));
        put(&bytes[44], __builtin_bswap32(kWord2));
        put(&bytes[48], __builtin_bswap32(count));
        put(&bytes[64], __builtin_bswap32(sizeof kLeading));
        std::memcpy(&bytes[72], kLeading, sizeof kLeading);
        for (std::size_t i = 0; i < size(); ++i) {
            const std::size_t name_bytes = names_[i].size() + 1;
            const std::size_t at = bytes.size();
            bytes.resize(at + 16 + 8 + padded(name_bytes) + 8 + 8);
            const std::uint32_t words[] = {1, static_cast<std::uint32_t>(i), KELVO_VALUE_INT8, 4};
            std::memcpy(&bytes[at], words, sizeof words);
            put(&bytes[at + 16], static_cast<std::uint32_t>(name_bytes));
            std::memcpy(&bytes[at + 24], names_[i].c_str(), name_bytes);
            put(&bytes[at + 24 + padded(name_bytes)], 8);
            std::memcpy(&bytes[at + 32 + padded(name_bytes)], &values_[i], 8);
        }
        return bytes;
    }

  private:
    std::vector<std::string> names_;
    std::vector<std::uint64_t> values_;
    std::vector<kelvo_bulk_item> records_;
};

// ------------------------------------------------------------------------------------------------
// Build the list
// ------------------------------------------------------------------------------------------------

struct Build {
    Items items;
    std::uint8_t header[64] = {};
    kelvo_bulk_builder builder = {};

    explicit Build(std::size_t count = kItems) : items(count) {}
    Build(const Build&) = delete;
    Build& operator=(const Build&) = delete;
    ~Build() { kelvo_common_msg_bulk_free(&builder); }

    [[nodiscard]] std::size_t slots() const {
        return items.size() * KELVO_BULK_ITEM_SLOTS + KELVO_BULK_LEADING_SLOTS;
    }
    void run() {
        kelvo_common_msg_bulk_free(&builder);
        const auto count = static_cast<std::uint32_t>(items.size());
        if (kelvo_common_msg_bulk_init(header, count, kWord1, kWord2, kLeading, &builder) != 0) {
            return;
        }
        for (std::uint32_t i = 0; i < count; ++i) kelvo_common_msg_bulk_add(&items[i], i, &builder);
    }
    [[nodiscard]] bool right() const {
        std::vector<std::uint8_t> flat;
        for (std::size_t i = 0; i < slots(); ++i) {
            const auto* const base = static_cast<const std::uint8_t*>(builder.slots[i].base);
            flat.insert(flat.end(), base, base + builder.slots[i].length);
        }
        return flat == items.message();
    }
};

/// The arrays are there already, and the lengths of the names are known.
struct BuildStores {
    Build prepared;
    std::vector<std::uint32_t> name_bytes;

    explicit BuildStores(std::size_t count = kItems) : prepared(count) {
        prepared.run();
        for (std::size_t i = 0; i < count; ++i) {
            name_bytes.push_back(static_cast<std::uint32_t>(prepared.items.name(i).size() + 1));
        }
    }
    template <class LengthOf>
    void store(LengthOf length_of) {
        kelvo_bulk_builder& b = prepared.builder;
        kelvo_slot* slot = b.slots + KELVO_BULK_LEADING_SLOTS;
        for (std::size_t i = 0; i < prepared.items.size(); ++i) {
            const kelvo_bulk_item& item = prepared.items[i];
            const auto data_bytes = static_cast<std::uint32_t>(item.data_length);
            const std::uint32_t length = length_of(i);
            b.items[i] = {item.operation, item.word2, item.type, item.word4};
            b.name_lengths[i].length = length;
            b.data_lengths[i].length = data_bytes;
            slot[0] = {&b.items[i], sizeof b.items[i]};
            slot[1] = {&b.name_lengths[i], sizeof b.name_lengths[i]};
            slot[2] = {item.name, length};
            slot[3] = {kelvo_alignment, (0U - length) & 7U};
            slot[4] = {&b.data_lengths[i], sizeof b.data_lengths[i]};
            slot[5] = {item.data, data_bytes};
            slot[6] = {kelvo_alignment, (0U - data_bytes) & 7U};
            slot += KELVO_BULK_ITEM_SLOTS;
        }
    }
    void run() {
        store([this](std::size_t i) { return name_bytes[i]; });
    }
    [[nodiscard]] bool right() const { return prepared.right(); }
};

struct BuildStoresAndStrlen : BuildStores {
    using BuildStores::BuildStores;
    void run() {
        store([this](std::size_t i) {
            return static_cast<std::uint32_t>(std::strlen(prepared.items[i].name) + 1);
        });
    }
};

/// With arrays that are allocated and zeroed, as the interface promises them.
struct BuildAll : BuildStoresAndStrlen {
    using BuildStoresAndStrlen::BuildStoresAndStrlen;
    void renew_arrays() {
        const std::size_t count = prepared.items.size();
        kelvo_bulk_builder& b = prepared.builder;
        std::free(b.items);
        std::free(b.name_lengths);
        std::free(b.data_lengths);
        kelvo_slot* const leading = b.slots;
        b.slots = static_cast<kelvo_slot*>(std::calloc(prepared.slots(), sizeof *b.slots));
        b.name_lengths =
            static_cast<kelvo_length_cell*>(std::calloc(count, sizeof *b.name_lengths));
        b.data_lengths =
            static_cast<kelvo_length_cell*>(std::calloc(count, sizeof *b.data_lengths));
        b.items = static_cast<kelvo_msg_bulk_item*>(std::calloc(count, sizeof *b.items));
        std::memcpy(b.slots, leading, KELVO_BULK_LEADING_SLOTS * sizeof *b.slots);
        std::free(leading);
    }
    void run() {
        renew_arrays();
        BuildStoresAndStrlen::run();
    }
};

/// The library's function by hand, which is called for each item.
[[gnu::noipa]] void add_by_hand(const kelvo_bulk_item* item, std::uint32_t index,
                                kelvo_bulk_builder* builder) {
    const auto length = static_cast<std::uint32_t>(std::strlen(item->name) + 1);
    const bool second = item->operation == KELVO_BULK_OPERATION_2;
    const void* const data = second ? item->op2_data : item->data;
    const std::uint32_t data_bytes = second ? item->op2_data_length : item->data_length;
    builder->items[index] = {item->operation, item->word2,
                             second && item->op2_type != 0 ? item->op2_type : item->type,
                             item->word4};
    builder->name_lengths[index].length = length;
    builder->data_lengths[index].length = data_bytes;
    kelvo_slot* const slot =
        builder->slots + KELVO_BULK_LEADING_SLOTS + std::size_t{index} * KELVO_BULK_ITEM_SLOTS;
    slot[0] = {&builder->items[index], sizeof builder->items[index]};
    slot[1] = {&builder->name_lengths[index], sizeof builder->name_lengths[index]};
    slot[2] = {item->name, length};
    slot[3] = {kelvo_alignment, (0U - length) & 7U};
    slot[4] = {&builder->data_lengths[index], sizeof builder->data_lengths[index]};
    slot[5] = {data, data_bytes};
    slot[6] = {kelvo_alignment, (0U - data_bytes) & 7U};
}

/// Called through a pointer, as functions of a shared object are.
struct BuildByHand : BuildAll {
    decltype(&add_by_hand) add = &add_by_hand;
    void run() {
        renew_arrays();
        for (std::uint32_t i = 0; i < kItems; ++i) add(&prepared.items[i], i, &prepared.builder);
    }
};

/// A builder's destructor zeroes the memory that it was given, for the next.
struct PackedBuild {
    Items items{kItems};
    std::vector<capnp::word> scratch = std::vector<capnp::word>(kItems * 16);
    std::optional<capnp::MallocMessageBuilder> message;

    void run() {
        message.emplace(kj::arrayPtr(scratch.data(), scratch.size()));
        auto bulk = message->initRoot<packed::Bulk>();
        bulk.setWord1(kWord1);
        bulk.setWord2(kWord2);
        bulk.setLeading(kLeading);
        auto list = bulk.initItems(kItems);
        for (std::uint32_t i = 0; i < kItems; ++i) {
            const kelvo_bulk_item& item = items[i];
            auto to = list[i];
            to.setOperation(item.operation);
            to.setWord2(item.word2);
            to.setType(item.type);
            to.setWord4(item.word4);
            to.setName(item.name);
            to.setData({static_cast<const std::uint8_t*>(item.data), item.data_length});
        }
    }
    [[nodiscard]] bool right() {
        const auto list = message->getRoot<packed::Bulk>().asReader().getItems();
        for (std::uint32_t i = 0; i < kItems; ++i) {
            if (items.name(i) != list[i].getName().cStr() || list[i].getWord2() != i ||
                std::memcmp(list[i].getData().begin(), items[i].data, 8) != 0) {
                return false;
            }
        }
        return list.size() == kItems;
    }
};

const Row kBuildRow({"bulk_build", "bulk of 1,000: build the list, per item", kItems, {1.1, 1.25}},
                    {library<Build>(), floor<BuildStores>("stores, lengths known"),
                     shown<BuildStoresAndStrlen>("the floor and strlen"),
                     shown<BuildAll>("the floor, strlen and zeroed arrays"),
                     shown<BuildByHand>("the function by hand, for each item"),
                     other<PackedBuild>("Cap'n Proto")});
const Growth kBuildGrowth("bulk_build", "bulk: build the list", "items", &time_growth<Build>);
const Growth kBuildFloorGrowth("bulk_build_floor", "bulk: the floor, strlen and zeroed arrays",
                               "items", &time_growth<BuildAll>);

// ------------------------------------------------------------------------------------------------
// Flatten
// ------------------------------------------------------------------------------------------------

struct Flatten : Build {
    std::uint8_t* flat = nullptr;
    std::uint32_t size = 0;

    explicit Flatten(std::size_t count = kItems) : Build(count) { Build::run(); }
    ~Flatten() { std::free(flat); }
    Flatten(const Flatten&) = delete;
    Flatten& operator=(const Flatten&) = delete;

    void run() {
        std::free(flat);
        const auto count = static_cast<std::uint32_t>(slots());
        kelvo_common_msg_iovs_length(builder.slots, static_cast<std::int32_t>(count), &size);
        if (kelvo_common_msg_iovs_to_buffer(builder.slots, count, size, &flat) != 0) flat = nullptr;
    }
    [[nodiscard]] bool right() const {
        const std::vector<std::uint8_t> message = items.message();
        return flat != nullptr && message.size() == size &&
               std::memcmp(flat, message.data(), size) == 0;
    }
};

struct Copy {
    std::vector<std::uint8_t> message = Items(kItems).message();
    std::vector<std::uint8_t> flat = std::vector<std::uint8_t>(message.size());
    void run() { std::memcpy(flat.data(), message.data(), message.size()); }
    [[nodiscard]] bool right() const { return flat == message; }
};

/// The pieces that the list names, copied by a loop made for this message: the machine's least for
/// data that lies in pieces.
struct CopyPieces {
    Build prepared;
    std::vector<std::uint8_t> message = prepared.items.message();
    std::vector<std::uint8_t> flat = std::vector<std::uint8_t>(message.size() + 64);

    CopyPieces() {
        prepared.run();
        std::memcpy(flat.data(), message.data(), kLeadingBytes);
    }
    void run() { copy_pieces(flat.data()); }
    void copy_pieces(std::uint8_t* to) {
        const kelvo_bulk_builder& b = prepared.builder;
        const kelvo_slot* slot = b.slots + KELVO_BULK_LEADING_SLOTS;
        std::uint8_t* at = to + kLeadingBytes;
        for (std::size_t i = 0; i < kItems; ++i) {
            std::memcpy(at, slot[0].base, 16);
            std::memcpy(at + 16, slot[1].base, 8);
            std::memcpy(at + 24, slot[2].base, slot[2].length);
            at += 24 + slot[2].length;
            std::memset(at, 0, 8);
            at += slot[3].length;
            std::memcpy(at, slot[4].base, 8);
            std::memcpy(at + 8, slot[5].base, 8);
            at += 16;
            slot += KELVO_BULK_ITEM_SLOTS;
        }
    }
    [[nodiscard]] bool right() const {
        return std::memcmp(flat.data(), message.data(), message.size()) == 0;
    }
};

/// Those pieces in a buffer for each message, whose size the list says.
struct FlattenByHand : CopyPieces {
    std::uint8_t* own = nullptr;
    std::uint32_t size = 0;
    FlattenByHand() = default;
    FlattenByHand(const FlattenByHand&) = delete;
    FlattenByHand& operator=(const FlattenByHand&) = delete;
    ~FlattenByHand() { std::free(own); }

    void run() {
        std::free(own);
        size = 0;
        for (std::size_t i = 0; i < prepared.slots(); ++i) {
            size += static_cast<std::uint32_t>(prepared.builder.slots[i].length);
        }
        own = static_cast<std::uint8_t*>(std::malloc(size));
        if (own == nullptr) return;
        std::memcpy(own, message.data(), kLeadingBytes);
        copy_pieces(own);
    }
    [[nodiscard]] bool right() const {
        return own != nullptr && std::memcmp(own, message.data(), message.size()) == 0;
    }
};

struct PackedFlatten : PackedBuild {
    kj::Array<capnp::word> flat;
    PackedFlatten() { PackedBuild::run(); }
    void run() { flat = capnp::messageToFlatArray(*message); }
    [[nodiscard]] bool right() {
        capnp::FlatArrayMessageReader reader(flat);
        return reader.getRoot<packed::Bulk>().getItems()[kItems - 1].getWord2() == kItems - 1;
    }
};

const Row kFlattenRow({"bulk_flatten", "bulk of 1,000: flatten, per item", kItems, {2.1, 3.6}},
                      {library<Flatten>(), floor<Copy>("memcpy"),
                       shown<CopyPieces>("its pieces, known to the loop"),
                       shown<FlattenByHand>("that loop, the sum of the lengths, malloc and free"),
                       other<PackedFlatten>("Cap'n Proto")});
const Growth kFlattenGrowth("bulk_flatten", "bulk: flatten", "items", &time_growth<Flatten>);

// ------------------------------------------------------------------------------------------------
// Build and flatten: the whole way to a message in one piece, since each has its own place for the
// work of bringing the pieces together
// ------------------------------------------------------------------------------------------------

struct Whole : Flatten {
    void run() {
        Build::run();
        Flatten::run();
    }
};

struct WholeStores : BuildStores {
    Copy copy;
    void run() {
        BuildStores::run();
        copy.run();
    }
    [[nodiscard]] bool right() const { return BuildStores::right() && copy.right(); }
};

struct PackedWhole : PackedFlatten {
    void run() {
        PackedBuild::run();
        PackedFlatten::run();
    }
};

/// Aims are those of the two rows before, each for its share of the time.
const Row kWholeRow(
    {"bulk_whole", "bulk of 1,000: build and flatten, per item", kItems, {1.16, 1.71}},
    {library<Whole>(), floor<WholeStores>("stores, lengths known, and memcpy"),
     other<PackedWhole>("Cap'n Proto")});

// ------------------------------------------------------------------------------------------------
// Walk
// ------------------------------------------------------------------------------------------------

/// What a walk makes of the items, so that it has to look at each.
struct Sum {
    std::uint64_t words = 0;
    std::uint64_t bytes = 0;
    void add(std::uint32_t operation, std::uint32_t word2, std::uint32_t type, std::uint32_t word4,
             const char* name, const void* data) {
        words += operation + std::uint64_t{word2} + type + word4;
        std::uint64_t value;
        std::memcpy(&value, data, sizeof value);
        bytes += static_cast<unsigned char>(name[12]) + value;
    }
    [[nodiscard]] bool is_of(const Items& items) const {
        Sum expected;
        for (std::size_t i = 0; i < items.size(); ++i) {
            const kelvo_bulk_item& item = items[i];
            expected.add(item.operation, item.word2, item.type, item.word4, item.name, item.data);
        }
        return expected.words == words && expected.bytes == bytes;
    }
};

struct Walk {
    Items items;
    std::vector<std::uint8_t> sent = items.message();
    std::vector<std::uint8_t> message = sent;
    Sum sum;

    explicit Walk(std::size_t count = kItems) : items(count) {}
    void run() {
        sum = {};
        std::memcpy(message.data(), sent.data(), kLeadingBytes);  // the fixed part is converted
        kelvo_bulk_info info;
        kelvo_bulk_item item;
        const auto length = static_cast<std::uint32_t>(message.size());
        if (kelvo_common_msg_bulk_interpret(message.data(), length, &info) != 0) return;
        for (std::uint32_t i = 0; i < info.count; ++i) {
            if (kelvo_common_msg_bulk_next(&info, &item) != 0) return;
            sum.add(item.operation, item.word2, item.type, item.word4, item.name, item.data);
        }
    }
    [[nodiscard]] bool right() const { return sum.is_of(items); }
};

/// From item to item with no look at where the message ends.
struct WalkUnchecked {
    Items items{kItems};
    std::vector<std::uint8_t> message = items.message();
    Sum sum;
    void run() {
        sum = {};
        const std::uint8_t* at = message.data() + kLeadingBytes;
        for (std::size_t i = 0; i < kItems; ++i) {
            std::uint32_t words[5];
            std::memcpy(words, at, sizeof words);
            const std::uint8_t* const cell = at + 24 + ((words[4] + 7ULL) & ~7ULL);
            std::uint32_t data_bytes;
            std::memcpy(&data_bytes, cell, sizeof data_bytes);
            sum.add(words[0], words[1], words[2], words[3], reinterpret_cast<const char*>(at + 24),
                    cell + 8);
            at = cell + 8 + ((data_bytes + 7ULL) & ~7ULL);
        }
    }
    [[nodiscard]] bool right() const { return sum.is_of(items); }
};

struct PackedWalk {
    PackedFlatten sender;
    Sum sum;
    PackedWalk() { sender.run(); }
    void run() {
        sum = {};
        capnp::ReaderOptions options;
        options.traversalLimitInWords = ~0ULL;
        capnp::FlatArrayMessageReader message(sender.flat, options);
        for (const auto item : message.getRoot<packed::Bulk>().getItems()) {
            sum.add(item.getOperation(), item.getWord2(), item.getType(), item.getWord4(),
                    item.getName().cStr(), item.getData().begin());
        }
    }
    [[nodiscard]] bool right() const { return sum.is_of(sender.items); }
};

const Row kWalkRow({"bulk_walk", "bulk of 1,000: walk, per item", kItems, {0.5, 2.1}},
                   {library<Walk>(), floor<WalkUnchecked>("a loop without checks"),
                    other<PackedWalk>("Cap'n Proto")});
const Growth kWalkGrowth("bulk_walk", "bulk: walk", "items", &time_growth<Walk>);

}  // namespace

// ------------------------------------------------------------------------------------------------
// Memory
// ------------------------------------------------------------------------------------------------

std::vector<Memory> kelvo::bench::memory_of_bulk() {
    constexpr std::size_t kMany = 1'000'000;
    constexpr std::size_t kBuilt =
        kMany * (KELVO_BULK_ITEM_SLOTS * sizeof(kelvo_slot) + 2 * sizeof(kelvo_length_cell) +
                 sizeof(kelvo_msg_bulk_item));
    std::vector<Memory> all;
    {
        Build build(kMany);
        all.push_back({"bulk of a million: build the list", kBuilt, peak([&] { build.run(); })});
    }
    {
        Flatten flatten(kMany);
        const std::size_t bytes = flatten.items.message().size();
        all.push_back({"bulk of a million: flatten", bytes, peak([&] { flatten.run(); })});
    }
    Walk walk(kMany);
    all.push_back({"bulk of a million: walk", 0, peak([&] { walk.run(); })});
    return all;
}
