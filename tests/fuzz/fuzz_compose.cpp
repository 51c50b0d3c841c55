// SPDX-License-Identifier: Apache-2.0
//
// Messages composed from texts, words and values and read back by their receivers: the guard passes
// each, and what is read is what was composed. An input is the kind of message, its words and its
// texts (lines); the last line is the value.
#include <array>

#include "fuzz/fuzz.h"
#include "kelvo_common_msg_bind.h"
#include "kelvo_common_msg_bulk.h"
#include "kelvo_common_msg_copy.h"
#include "kelvo_common_msg_find.h"
#include "kelvo_common_msg_get_items.h"
#include "kelvo_common_msg_guard.h"
#include "kelvo_common_msg_item.h"
#include "kelvo_common_msg_list.h"
#include "kelvo_common_msg_registration.h"

using namespace kelvo::fuzz;

namespace {

constexpr std::size_t kMostText = 64;
constexpr std::size_t kTexts = 3;

/// What a message is composed of.
struct Parts {
    std::array<std::uint32_t, 8> words;
    std::array<char*, kTexts> texts;
    std::string_view value;

    explicit Parts(Input& in) {
        static Block<kMostText + 1> blocks[kTexts];
        for (std::uint32_t& word : words) word = in.word();
        for (std::size_t i = 0; i < kTexts; ++i) {
            texts[i] = blocks[i].hold_text(in.until('\n').substr(0, kMostText));
        }
        value = in.bytes(kMostText);
    }
};

/// A composed message, flattened into a block of its size.
class Flattened {
  public:
    Flattened(const kelvo_slot* list, std::size_t slots, kelvo_msg_operation operation) {
        std::uint32_t sum = 0;
        kelvo_common_msg_iovs_length(list, static_cast<std::int32_t>(slots), &sum);
        block_.hold(nullptr, 0, sum);
        std::uint8_t* at = block_.begin();
        for (std::size_t i = 0; i < slots; ++i) {
            if (list[i].length != 0) std::memcpy(at, list[i].base, list[i].length);
            at += list[i].length;
        }
        KELVO_HOLDS(at == block_.begin() + sum && sum % 8 == 0);
        KELVO_HOLDS(kelvo_common_msg_guard(operation, block_.begin(), sum) == 0);
    }

    [[nodiscard]] void* message() { return block_.begin(); }
    [[nodiscard]] std::uint32_t length() const { return block_.length(); }
    [[nodiscard]] std::int32_t signed_length() const {
        return static_cast<std::int32_t>(block_.length());
    }

  private:
    inline static Block<2048> block_;
};

bool is_same(const char* read, const char* composed) {
    return std::strcmp(read, composed) == 0;
}

// --- items --------------------------------------------------------------------------------------

using GetComposer = decltype(&kelvo_lib_msg_item_get_compose);

void check_get(const Parts& parts, GetComposer compose, kelvo_msg_operation operation,
               decltype(&kelvo_common_msg_get_interpret) interpret) {
    alignas(8) std::uint8_t header[48] = {};
    kelvo_length_cell cells[3] = {};
    kelvo_slot list[6];
    KELVO_HOLDS(compose(header, &cells[0].length, &cells[1].length, &cells[2].length,
                        parts.texts[0], parts.words[0], list) == 0);
    Flattened sent(list, 6, operation);
    char* path;
    std::uint32_t argument;
    KELVO_HOLDS(interpret(sent.message(), sent.signed_length(), &path, &argument) == 0);
    KELVO_HOLDS(is_same(path, parts.texts[0]) && argument == parts.words[0]);
}

/// The bytes that an integer of this type takes, which its value must have.
std::size_t width_of(std::uint32_t type) {
    switch (type) {
        case KELVO_VALUE_INT2:
        case KELVO_VALUE_INT2_ALT:
            return 2;
        case KELVO_VALUE_INT4:
        case KELVO_VALUE_INT4_ALT:
            return 4;
        case KELVO_VALUE_INT8:
        case KELVO_VALUE_INT8_ALT:
            return 8;
        default:
            return 0;
    }
}

/// A value of a type that fits its length, in the sender's own memory.
struct Value {
    std::uint32_t type;
    std::uint8_t bytes[kMostText];
    std::int32_t length;

    explicit Value(const Parts& parts, std::uint32_t least_type) {
        type = std::max(least_type, parts.words[1] % 16);
        if (!parts.value.empty()) std::memcpy(bytes, parts.value.data(), parts.value.size());
        length = static_cast<std::int32_t>(parts.value.size());
        if (length != 0 && parts.value.size() < width_of(type)) type = KELVO_VALUE_RECORD;
    }
};

/// What a request with a value is read as.
struct Read {
    char* path;
    std::uint32_t type;
    void* value;
    std::uint32_t length;
    std::uint32_t argument;

    void check(const Parts& parts, const Value& sent) const {
        KELVO_HOLDS(is_same(path, parts.texts[0]) && argument == parts.words[0]);
        KELVO_HOLDS(type == sent.type && length == parts.value.size());
        KELVO_HOLDS(length == 0 || std::memcmp(value, parts.value.data(), length) == 0);
    }
};

void check_set(const Parts& parts, decltype(&kelvo_common_msg_item_set_compose) compose,
               kelvo_msg_operation operation,
               decltype(&kelvo_common_msg_set_interpret_endian_ntoh) interpret) {
    alignas(8) std::uint8_t header[48] = {};
    kelvo_length_cell cells[4] = {};
    kelvo_slot list[9];
    Value value(parts, 1);
    const std::uint32_t converted =
        compose(header, &cells[0].length, &cells[1].length, &cells[2].length, &cells[3].length,
                parts.texts[0], value.type, value.bytes, value.length, parts.words[0], list);
    KELVO_HOLDS((converted != 0) == (value.length != 0 && width_of(value.type) != 0));
    Flattened sent(list, 9, operation);
    Read read{};
    KELVO_HOLDS(interpret(sent.message(), sent.signed_length(), &read.path, &read.type, &read.value,
                          &read.length, &read.argument) == 0);
    read.check(parts, value);
}

void check_verify(const Parts& parts) {
    alignas(8) std::uint8_t header[48] = {};
    kelvo_length_cell cells[2] = {};
    kelvo_slot list[7];
    Value value(parts, 0);
    (void)kelvo_common_msg_item_verify_compose(header, &cells[0].length, &cells[1].length,
                                               parts.texts[0], value.type, value.bytes,
                                               value.length, parts.words[0], list);
    Flattened sent(list, 7, KELVO_OPERATION_VERIFY_NTOH);
    Read read{};
    KELVO_HOLDS(kelvo_common_msg_verify_interpret_endian_ntoh(sent.message(), sent.length(),
                                                              &read.path, &read.type, &read.value,
                                                              &read.length, &read.argument) == 0);
    read.check(parts, value);
}

// --- other requests -----------------------------------------------------------------------------

void check_bind(const Parts& parts) {
    alignas(8) std::uint8_t header[80] = {};
    kelvo_length_cell cells[2] = {};
    kelvo_slot list[7];
    const auto& w = parts.words;
    kelvo_common_msg_bind_compose(header, &cells[0].length, parts.texts[0], w[0], w[1], w[2], w[3],
                                  w[4], w[5], w[6], w[7], &cells[1].length, parts.texts[1], list);
    Flattened sent(list, 7, KELVO_OPERATION_BIND);
    std::uint32_t version;
    std::uint32_t reserved;
    std::array<std::uint32_t, 8> p;
    char* first;
    char* second;
    KELVO_HOLDS(kelvo_common_msg_bind_interpret(sent.message(), sent.length(), &version, &reserved,
                                                &p[0], &first, &p[1], &p[2], &p[3], &p[4], &p[5],
                                                &second, &p[6], &p[7]) == 0);
    KELVO_HOLDS(version == KELVO_BIND_VERSION && reserved == 0 && p == w);
    KELVO_HOLDS(is_same(first, parts.texts[0]) && is_same(second, parts.texts[1]));
}

void check_get_items(const Parts& parts) {
    alignas(8) std::uint8_t header[48] = {};
    kelvo_length_cell cells[kTexts] = {};
    kelvo_length_cell base_cell = {};
    kelvo_slot list[4 + 3 * kTexts];
    auto names = parts.texts;
    const std::uint32_t count = parts.words[0] % (kTexts + 1);
    KELVO_HOLDS(kelvo_common_msg_get_items_compose(header, names.data(), &cells[0].length,
                                                   parts.texts[0], &base_cell.length, count,
                                                   parts.words[1], list) == 0);
    Flattened sent(list, 4 + 3 * std::size_t{count}, KELVO_OPERATION_GET_ITEMS_NTOH);
    char* base;
    char** read;
    std::uint32_t read_count;
    std::uint32_t argument;
    KELVO_HOLDS(kelvo_common_msg_get_items_interpret_endian_ntoh(
                    sent.message(), sent.length(), &base, &read, &read_count, &argument) == 0);
    KELVO_HOLDS(is_same(base, parts.texts[0]) && argument == parts.words[1]);
    KELVO_HOLDS(read_count == count);
    for (std::uint32_t i = 0; i < count; ++i) KELVO_HOLDS(is_same(read[i], parts.texts[i]));
    std::free(read);
}

void check_copy(const Parts& parts) {
    alignas(8) std::uint8_t header[48] = {};
    kelvo_length_cell cells[3] = {};
    kelvo_slot list[10];
    KELVO_HOLDS(kelvo_common_msg_copy_compose(header, &cells[0].length, &cells[1].length,
                                              &cells[2].length, parts.texts[0], parts.texts[1],
                                              parts.texts[2], parts.words[0], list) == 0);
    Flattened sent(list, 10, KELVO_OPERATION_COPY);
    char* first;
    char* second;
    char* third;
    std::uint32_t argument;
    KELVO_HOLDS(kelvo_common_msg_copy_subtree_interpret(sent.message(), sent.length(), &first,
                                                        &second, &third, &argument) == 0);
    // Path c travels first.
    KELVO_HOLDS(is_same(first, parts.texts[2]) && is_same(second, parts.texts[0]));
    KELVO_HOLDS(is_same(third, parts.texts[1]) && argument == parts.words[0]);
}

std::uint64_t value_of(std::uint32_t low, std::uint32_t high) {
    return std::uint64_t{high} << 32 | low;
}

/// The block of five words that lists and finds hand out: both values as they lay in memory.
void check_block(const std::uint32_t (&block)[5], std::uint64_t value1, std::uint64_t value2,
                 std::uint32_t word2) {
    KELVO_HOLDS(std::memcmp(&block[0], &value1, 8) == 0);
    KELVO_HOLDS(std::memcmp(&block[2], &value2, 8) == 0 && block[4] == word2);
}

void check_list(const Parts& parts, decltype(&kelvo_common_msg_list_compose) compose,
                kelvo_msg_operation operation,
                decltype(&kelvo_common_msg_list_interpret) interpret) {
    alignas(8) std::uint8_t header[72] = {};
    kelvo_length_cell cells[2] = {};
    kelvo_slot list[7];
    const auto& w = parts.words;
    const std::uint64_t value1 = value_of(w[0], w[1]);
    const std::uint64_t value2 = value_of(w[2], w[3]);
    compose(header, &cells[0].length, &cells[1].length, parts.texts[0], parts.texts[1], w[4],
            value1, value2, w[5], w[6], w[7], list);
    Flattened sent(list, 7, operation);
    char* first;
    char* second;
    std::uint32_t word1;
    std::uint32_t block[5];
    std::uint32_t word4;
    KELVO_HOLDS(interpret(sent.message(), sent.length(), &first, &second, &word1, block, &word4) ==
                0);
    KELVO_HOLDS(is_same(first, parts.texts[0]) && is_same(second, parts.texts[1]));
    KELVO_HOLDS(word1 == w[4] && word4 == w[7]);
    check_block(block, value1, value2, w[5]);
}

void check_find(const Parts& parts) {
    alignas(8) std::uint8_t header[88] = {};
    kelvo_length_cell cells[2] = {};
    kelvo_slot list[7];
    const auto& w = parts.words;
    const std::uint64_t value1 = value_of(w[0], w[1]);
    const std::uint64_t value2 = value_of(w[1], w[0]);
    kelvo_common_msg_find_compose(header, &cells[0].length, &cells[1].length, parts.texts[0],
                                  parts.texts[1], w[2], w[3], value1, value2, w[4], 0, w[5], w[6],
                                  w[7], list);
    Flattened sent(list, 7, KELVO_OPERATION_FIND_NTOH);
    char* first;
    char* second;
    std::uint32_t word[4];
    std::uint32_t block[5];
    std::uint32_t word7;
    KELVO_HOLDS(kelvo_common_msg_find_interpret_endian_ntoh(sent.message(), sent.length(), &first,
                                                            &second, &word[0], &word[1], block,
                                                            &word7, &word[2], &word[3]) == 0);
    KELVO_HOLDS(is_same(first, parts.texts[0]) && is_same(second, parts.texts[1]));
    KELVO_HOLDS(word[0] == w[2] && word[1] == w[3] && word7 == w[5]);
    KELVO_HOLDS(word[2] == w[6] && word[3] == w[7]);
    check_block(block, value1, value2, w[4]);
}

void check_find_group(const Parts& parts) {
    alignas(8) std::uint8_t header[48] = {};
    kelvo_length_cell cell = {};
    kelvo_slot list[4];
    kelvo_common_msg_find_grp_ag_ah_compose(header, &cell.length, parts.texts[0], parts.words[0],
                                            list, parts.words[1]);
    Flattened sent(list, 4, KELVO_OPERATION_FIND_GROUP_NTOH);
    char* string;
    std::uint32_t group;
    KELVO_HOLDS(kelvo_common_msg_find_grp_ag_interpret_endian_ntoh(sent.message(), sent.length(),
                                                                   &string, nullptr, &group) == 0);
    KELVO_HOLDS(is_same(string, parts.texts[0]) && group == parts.words[0]);
}

// --- bulk ---------------------------------------------------------------------------------------

/// The items of a request: the texts in turn, each with the value. A sender leaves them in its own
/// order.
kelvo_bulk_item item_of(const Parts& parts, std::uint32_t index) {
    kelvo_bulk_item item = {};
    item.operation = parts.words[2] >> (2 * index) & 3;
    item.word2 = parts.words[3];
    item.type = parts.words[4] % 16;
    item.word4 = parts.words[5] + index;
    item.name = parts.texts[index % kTexts];
    const auto length = static_cast<std::uint32_t>(parts.value.size());
    const void* const data = length != 0 ? parts.value.data() : nullptr;
    if (item.operation == 2) {
        item.op2_data = data;
        item.op2_data_length = length;
    } else {
        item.data = data;
        item.data_length = length;
    }
    return item;
}

void check_item(const kelvo_bulk_item& read, const kelvo_bulk_item& sent) {
    KELVO_HOLDS(read.operation == sent.operation && read.word2 == sent.word2);
    KELVO_HOLDS(read.type == sent.type && read.word4 == sent.word4 && read.op2_type == 0);
    KELVO_HOLDS(is_same(read.name, sent.name));
    KELVO_HOLDS(read.data_length == sent.data_length);
    KELVO_HOLDS(read.op2_data_length == sent.op2_data_length);
    KELVO_HOLDS((read.data == nullptr) == (sent.data == nullptr));
    KELVO_HOLDS((read.op2_data == nullptr) == (sent.op2_data == nullptr));
    if (sent.data != nullptr) {
        KELVO_HOLDS(std::memcmp(read.data, sent.data, sent.data_length) == 0);
    }
    if (sent.op2_data != nullptr) {
        KELVO_HOLDS(std::memcmp(read.op2_data, sent.op2_data, sent.op2_data_length) == 0);
    }
}

void check_bulk(const Parts& parts) {
    alignas(8) std::uint8_t header[64] = {};
    const std::uint32_t count = parts.words[6] % 5;
    kelvo_bulk_builder builder;
    KELVO_HOLDS(kelvo_common_msg_bulk_init(header, count, parts.words[0], parts.words[1],
                                           parts.texts[0], &builder) == 0);
    for (std::uint32_t i = count; i-- > 0;) {
        const kelvo_bulk_item item = item_of(parts, i);
        kelvo_common_msg_bulk_add(&item, i, &builder);
    }
    const std::size_t slots = std::size_t{count} * KELVO_BULK_ITEM_SLOTS + KELVO_BULK_LEADING_SLOTS;
    Flattened sent(builder.slots, slots, KELVO_OPERATION_BULK);
    kelvo_common_msg_bulk_free(&builder);
    KELVO_HOLDS(builder.items == nullptr && builder.slots == nullptr);

    kelvo_bulk_info info;
    KELVO_HOLDS(kelvo_common_msg_bulk_interpret(sent.message(), sent.length(), &info) == 0);
    KELVO_HOLDS(info.count == count && info.word1 == parts.words[0]);
    KELVO_HOLDS(info.word2 == parts.words[1] && is_same(info.leading, parts.texts[0]));
    for (std::uint32_t i = 0; i < count; ++i) {
        kelvo_bulk_item read;
        const void* const current = info.current;
        KELVO_HOLDS(kelvo_common_msg_bulk_next(&info, &read) == 0 && info.index == i + 2);
        KELVO_HOLDS(kelvo_common_msg_bulk_back(&info) == current && info.index == i + 1);
        KELVO_HOLDS(kelvo_common_msg_bulk_next(&info, &read) == 0);
        check_item(read, item_of(parts, i));
    }
    KELVO_HOLDS(info.current == info.end);
}

// --- a registration with startup pairs ----------------------------------------------------------

/// Pairs as the words give them, as far as a list takes them.
kelvo_startup_list* list_of(const Parts& parts) {
    kelvo_startup_list* list = nullptr;
    for (std::size_t i = 0; i + 1 < parts.words.size(); i += 2) {
        if (parts.words[i] == 0) continue;
        (void)kelvo_common_startup_list_add(&list, parts.words[i], parts.words[i + 1]);
    }
    return list;
}

/// A list that is received holds its pairs in reverse order.
void check_pairs(const kelvo_startup_list* sent, const kelvo_startup_list* received) {
    const kelvo_startup_list* reversed[8];
    std::size_t count = 0;
    for (; received != nullptr; received = received->next) reversed[count++] = received;
    for (; sent != nullptr; sent = sent->next) {
        KELVO_HOLDS(count != 0);
        const kelvo_startup_list& pair = *reversed[--count];
        KELVO_HOLDS(pair.job_id == sent->job_id && pair.node_id == sent->node_id);
    }
    KELVO_HOLDS(count == 0);
}

void check_registration(const Parts& parts) {
    kelvo_startup_list* list = list_of(parts);
    kelvo_slot* slots;
    std::uint32_t count;
    KELVO_HOLDS(kelvo_common_startup_list_create_iovs(list, 3, &slots, &count) == 0 && count == 4);
    kelvo_msg_vs_reg head = {};
    const std::size_t path_size = std::strlen(parts.texts[0]) + 1;
    head.registration_id = parts.words[7];
    head.parameter = parts.words[6];
    head.path.length = static_cast<std::uint32_t>(path_size);
    slots[0] = {&head, sizeof head};
    slots[1] = {parts.texts[0], path_size};
    slots[2] = {kelvo_alignment, (8 - path_size % 8) % 8};
    Flattened sent(slots, count, KELVO_OPERATION_VS_REG_HTON);
    kelvo_common_startup_list_free_iovs(3, &slots);

    KELVO_HOLDS(kelvo_common_msg_vs_reg_interpret_hton(sent.message(), sent.length()) == 0);
    KELVO_HOLDS(
        kelvo_common_msg_guard(KELVO_OPERATION_VS_REG_NTOH, sent.message(), sent.length()) == 0);
    KELVO_HOLDS(kelvo_common_msg_vs_reg_interpret_ntoh(sent.message(), sent.length()) == 0);

    std::uint32_t id;
    void* client_block;
    std::uint32_t parameter;
    char* path;
    kelvo_startup_list* received = nullptr;
    // The order in which a list took its pairs may be one that another refuses.
    const kelvo_status guarded =
        kelvo_common_msg_guard(KELVO_OPERATION_VS_REG, sent.message(), sent.length());
    if (guarded == 0) {
        KELVO_HOLDS(kelvo_common_msg_vs_reg_interpret(sent.message(), sent.length(), &id,
                                                      &client_block, &parameter, &path,
                                                      &received) == 0);
        KELVO_HOLDS(id == parts.words[7] && parameter == parts.words[6]);
        KELVO_HOLDS(is_same(path, parts.texts[0]));
        check_pairs(list, received);
        if (received != nullptr) kelvo_common_startup_list_free(&received);
    }
    if (list != nullptr) kelvo_common_startup_list_free(&list);
}

void check_kind(std::uint8_t kind, const Parts& parts) {
    switch (kind % 14) {
        case 0:
            return check_get(parts, kelvo_common_msg_item_get_compose, KELVO_OPERATION_GET,
                             kelvo_common_msg_get_interpret);
        case 1:
            return check_get(parts, kelvo_lib_msg_item_get_compose, KELVO_OPERATION_GET_NTOH,
                             kelvo_common_msg_get_interpret_endian_ntoh);
        case 2:
            return check_get(parts, kelvo_lib_msg_item_get_inh_compose, KELVO_OPERATION_GET_NTOH,
                             kelvo_common_msg_get_interpret_endian_ntoh);
        case 3:
            return check_set(parts, kelvo_common_msg_item_set_compose, KELVO_OPERATION_SET_NTOH,
                             kelvo_common_msg_set_interpret_endian_ntoh);
        case 4:
            return check_set(parts, kelvo_common_msg_item_create_compose,
                             KELVO_OPERATION_CREATE_NTOH,
                             kelvo_common_msg_create_interpret_endian_ntoh);
        case 5:
            return check_set(parts, kelvo_common_msg_item_delete_compose,
                             KELVO_OPERATION_DELETE_NTOH,
                             kelvo_common_msg_delete_interpret_endian_ntoh);
        case 6:
            return check_verify(parts);
        case 7:
            return check_bind(parts);
        case 8:
            return check_get_items(parts);
        case 9:
            return check_copy(parts);
        case 10:
            check_list(parts, kelvo_common_msg_list_compose, KELVO_OPERATION_LIST,
                       kelvo_common_msg_list_interpret);
            return check_list(parts, kelvo_common_msg_datalist_compose, KELVO_OPERATION_DATALIST,
                              kelvo_common_msg_datalist_interpret);
        case 11:
            check_find_group(parts);
            return check_find(parts);
        case 12:
            return check_bulk(parts);
        default:
            return check_registration(parts);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input in(data, size);
    const std::uint8_t kind = in.byte();
    check_kind(kind, Parts(in));
    return 0;
}
