// SPDX-License-Identifier: Apache-2.0
//
// Item requests as they are composed: slots, bytes, and the caller's storage afterwards.
#include <gtest/gtest.h>

#include <array>

#include "kelvo_common_msg_item.h"
#include "support/messages.h"

namespace {

using namespace kelvo::test;

/// The caller's storage for one request.
struct Sender {
    std::array<uint8_t, 64> header;
    kelvo_length_cell count{0x55, 0};
    kelvo_length_cell type{0x55, 0};
    kelvo_length_cell name{0x55, 0};
    kelvo_length_cell value_length{0x55, 0};
    std::array<kelvo_slot, 10> list;

    Sender() {
        for (std::size_t i = 0; i < header.size(); ++i) header[i] = static_cast<uint8_t>(0xA0 + i);
        list.fill({nullptr, 0xDEAD});
    }
    [[nodiscard]] Bytes header_bytes() const { return Bytes(header.begin(), header.end()); }
};

/// The header area as it must look: the caller's bytes, the type, the two words.
Bytes expected_header(uint32_t type, uint32_t word40, uint32_t word44) {
    Bytes bytes = Sender().header_bytes();
    put_word(bytes, 24, type);
    put_word(bytes, 40, word40);
    put_word(bytes, 44, word44);
    return bytes;
}

using GetCompose = uint32_t (*)(void*, uint32_t*, uint32_t*, uint32_t*, char*, uint32_t,
                                kelvo_slot*);

struct GetRow {
    const char* name;
    GetCompose compose;
    uint32_t type;
    bool network;
    friend void PrintTo(const GetRow& row, std::ostream* out) { *out << row.name; }
};

class GetComposeTest : public testing::TestWithParam<GetRow> {};

TEST_P(GetComposeTest, FillsHeaderCellsAndSixSlots) {
    const GetRow& row = GetParam();
    Sender s;
    char path[] = "cfg/gl/a";
    EXPECT_EQ(row.compose(s.header.data(), &s.count.length, &s.type.length, &s.name.length, path,
                          0x01020304, s.list.data()),
              0U);

    const auto wire = [&](uint32_t word) { return row.network ? reversed(word) : word; };
    EXPECT_EQ(s.header_bytes(), expected_header(row.type, 0, wire(0x01020304)));
    EXPECT_EQ(s.count.length, wire(1));
    EXPECT_EQ(s.type.length, 0U);
    EXPECT_EQ(s.name.length, wire(9));
    expect_slots(s.list.data(), {{s.header.data(), 48},
                                 {&s.count, 8},
                                 {&s.type, 8},
                                 {&s.name, 8},
                                 {path, 9},
                                 {kelvo_alignment, 7}});
    EXPECT_EQ(s.list[6].length, 0xDEADU) << "a seventh slot was written";
}

INSTANTIATE_TEST_SUITE_P(
    , GetComposeTest,
    testing::Values(GetRow{"common_leaves_host_order", kelvo_common_msg_item_get_compose, 3, false},
                    GetRow{"lib_converts", kelvo_lib_msg_item_get_compose, 3, true},
                    GetRow{"lib_with_inheritance", kelvo_lib_msg_item_get_inh_compose, 66, true}),
    [](const auto& row) { return row.param.name; });

using ChangeCompose = uint32_t (*)(void*, uint32_t*, uint32_t*, uint32_t*, uint32_t*, const char*,
                                   uint32_t, void*, int32_t, uint32_t, kelvo_slot*);

struct ChangeRow {
    const char* name;
    ChangeCompose compose;
    uint32_t type;
    uint32_t type_without_value;
    friend void PrintTo(const ChangeRow& row, std::ostream* out) { *out << row.name; }
};

class ChangeComposeTest : public testing::TestWithParam<ChangeRow> {};

TEST_P(ChangeComposeTest, FillsHeaderCellsAndNineSlots) {
    const ChangeRow& row = GetParam();
    Sender s;
    const char* path = "cfg/gl/";
    Bytes value = {1, 2, 3, 4, 5};
    const uint32_t converted =
        row.compose(s.header.data(), &s.count.length, &s.type.length, &s.name.length,
                    &s.value_length.length, path, 3, value.data(), 5, 0x01020304, s.list.data());

    EXPECT_EQ(converted, 0U);
    EXPECT_EQ(value, (Bytes{1, 2, 3, 4, 5}));
    EXPECT_EQ(s.header_bytes(), expected_header(row.type, 0, reversed(0x01020304)));
    EXPECT_EQ(s.count.length, reversed(1));
    EXPECT_EQ(s.type.length, reversed(3));
    EXPECT_EQ(s.name.length, reversed(8));
    EXPECT_EQ(s.value_length.length, reversed(5));
    expect_slots(s.list.data(), {{s.header.data(), 48},
                                 {&s.count, 8},
                                 {&s.type, 8},
                                 {&s.name, 8},
                                 {path, 8},
                                 {kelvo_alignment, 0},
                                 {&s.value_length, 8},
                                 {value.data(), 5},
                                 {kelvo_alignment, 3}});
    EXPECT_EQ(s.list[9].length, 0xDEADU) << "a tenth slot was written";
}

TEST_P(ChangeComposeTest, WithoutAValueNothingIsConverted) {
    const ChangeRow& row = GetParam();
    Sender s;
    Bytes value = {1, 2, 3, 4};
    const uint32_t converted =
        row.compose(s.header.data(), &s.count.length, &s.type.length, &s.name.length,
                    &s.value_length.length, "a", 1, value.data(), 0, 0, s.list.data());

    EXPECT_EQ(converted, 0U);
    EXPECT_EQ(value, (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(word_at(s.header.data(), 24), row.type_without_value);
    EXPECT_EQ(s.list[7].length, 0U);
    EXPECT_EQ(s.list[8].length, 0U);
}

TEST_P(ChangeComposeTest, AnIntegerValueIsConvertedInTheCallersBuffer) {
    struct {
        uint32_t type;
        Bytes after;
        uint32_t converted;
    } const rows[] = {
        {0, {0, 0, 0, 0x2A, 5, 6, 7, 8, 9}, 0},  {1, {0x2A, 0, 0, 0, 5, 6, 7, 8, 9}, 1},
        {2, {8, 7, 6, 5, 0x2A, 0, 0, 0, 9}, 1},  {3, {0, 0, 0, 0x2A, 5, 6, 7, 8, 9}, 0},
        {4, {0, 0, 0, 0x2A, 5, 6, 7, 8, 9}, 0},  {5, {0, 0, 0, 0x2A, 5, 6, 7, 8, 9}, 0},
        {6, {0, 0, 0, 0x2A, 5, 6, 7, 8, 9}, 0},  {7, {0, 0, 0, 0x2A, 5, 6, 7, 8, 9}, 0},
        {8, {0, 0, 0, 0x2A, 5, 6, 7, 8, 9}, 0},  {9, {0, 0, 0, 0x2A, 5, 6, 7, 8, 9}, 0},
        {10, {0, 0, 0, 0x2A, 5, 6, 7, 8, 9}, 1}, {11, {0, 0, 0, 0x2A, 5, 6, 7, 8, 9}, 1},
        {12, {0x2A, 0, 0, 0, 5, 6, 7, 8, 9}, 1}, {13, {8, 7, 6, 5, 0x2A, 0, 0, 0, 9}, 1},
        {14, {0, 0, 0, 0x2A, 5, 6, 7, 8, 9}, 0}, {0xFFFFFFFF, {0, 0, 0, 0x2A, 5, 6, 7, 8, 9}, 0},
    };
    for (const auto& expected : rows) {
        SCOPED_TRACE("value type " + std::to_string(expected.type));
        Sender s;
        Bytes value = {0, 0, 0, 0x2A, 5, 6, 7, 8, 9};
        EXPECT_EQ(GetParam().compose(s.header.data(), &s.count.length, &s.type.length,
                                     &s.name.length, &s.value_length.length, "a", expected.type,
                                     value.data(), 9, 0, s.list.data()),
                  expected.converted);
        EXPECT_EQ(value, expected.after);
        EXPECT_EQ(s.list[7].base, value.data());
    }
}

TEST_P(ChangeComposeTest, ATwoByteValueIsReversed) {
    Sender s;
    Bytes value = {1, 2};
    EXPECT_EQ(
        GetParam().compose(s.header.data(), &s.count.length, &s.type.length, &s.name.length,
                           &s.value_length.length, "a", 10, value.data(), 2, 0, s.list.data()),
        1U);
    EXPECT_EQ(value, (Bytes{2, 1}));
}

INSTANTIATE_TEST_SUITE_P(, ChangeComposeTest,
                         testing::Values(ChangeRow{"set", kelvo_common_msg_item_set_compose, 4, 4},
                                         ChangeRow{"create", kelvo_common_msg_item_create_compose,
                                                   7, 7},
                                         ChangeRow{"delete_is_conditional_with_a_value",
                                                   kelvo_common_msg_item_delete_compose, 44, 8}),
                         [](const auto& row) { return row.param.name; });

TEST(DeleteCompose, AnyLengthButZeroMakesItConditional) {
    for (const int32_t length : {1, 8, -1, INT32_MIN}) {
        SCOPED_TRACE(length);
        Sender s;
        Bytes value(8);
        kelvo_common_msg_item_delete_compose(s.header.data(), &s.count.length, &s.type.length,
                                             &s.name.length, &s.value_length.length, "a", 3,
                                             value.data(), length, 0, s.list.data());
        EXPECT_EQ(word_at(s.header.data(), 24), 44U);
        EXPECT_EQ(s.value_length.length, reversed(static_cast<uint32_t>(length)));
    }
}

TEST(VerifyCompose, FillsHeaderCellsAndSevenSlots) {
    Sender s;
    const char* path = "cfg/gl/x";
    Bytes value = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(kelvo_common_msg_item_verify_compose(s.header.data(), &s.name.length,
                                                   &s.value_length.length, path, 2, value.data(), 8,
                                                   0x0A0B0C0D, s.list.data()),
              1U);
    EXPECT_EQ(value, (Bytes{8, 7, 6, 5, 4, 3, 2, 1}));
    EXPECT_EQ(s.header_bytes(), expected_header(10, reversed(2), reversed(0x0A0B0C0D)));
    EXPECT_EQ(s.name.length, reversed(9));
    EXPECT_EQ(s.value_length.length, reversed(8));
    expect_slots(s.list.data(), {{s.header.data(), 48},
                                 {&s.name, 8},
                                 {path, 9},
                                 {kelvo_alignment, 7},
                                 {&s.value_length, 8},
                                 {value.data(), 8},
                                 {kelvo_alignment, 0}});
    EXPECT_EQ(s.list[7].length, 0xDEADU) << "an eighth slot was written";
}

TEST(VerifyCompose, WithoutAValueNothingIsConverted) {
    Sender s;
    Bytes value = {1, 2, 3, 4};
    EXPECT_EQ(kelvo_common_msg_item_verify_compose(s.header.data(), &s.name.length,
                                                   &s.value_length.length, "a", 1, value.data(), 0,
                                                   0, s.list.data()),
              0U);
    EXPECT_EQ(value, (Bytes{1, 2, 3, 4}));
}

TEST(ItemCompose, TheSecondHalfOfACellTravelsAsTheCallerLeftIt) {
    Sender s;
    s.count.fill = 0x11111111;
    s.name.fill = 0x22222222;
    char path[] = "abcd";
    kelvo_lib_msg_item_get_compose(s.header.data(), &s.count.length, &s.type.length, &s.name.length,
                                   path, 0, s.list.data());
    const Bytes sent = flattened(s.list.data(), 6);
    EXPECT_EQ(word_at(sent, 52), 0x11111111U);
    EXPECT_EQ(word_at(sent, 68), 0x22222222U);
    EXPECT_EQ(sent.size(), 72U + 5 + 3) << "a 5-byte name is followed by a 3-byte fill";
}

TEST(ItemCompose, WorksAtAnyAddressOfTheHeader) {
    for (std::size_t shift = 0; shift < 8; ++shift) {
        Sender s;
        char path[] = "abc";
        kelvo_lib_msg_item_get_compose(s.header.data() + shift, &s.count.length, &s.type.length,
                                       &s.name.length, path, 7, s.list.data());
        EXPECT_EQ(word_at(s.header.data() + shift, 44), reversed(7));
    }
}

}  // namespace
