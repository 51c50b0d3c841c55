// SPDX-License-Identifier: Apache-2.0
//
// Callback replies: both directions of every converter against its model.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include "kelvo_common_msg_callback.h"
#include "kelvo_value.h"
#include "platform/scripted_platform.h"
#include "support/converters.h"

namespace {

using namespace kelvo::test;

constexpr uint32_t kOk = 0;
constexpr uint32_t kLength = KELVO_ERR_MSG_LENGTH;

// ---- Valid messages ----------------------------------------------------------------------------

/// A reply: its first 28 bytes are nobody's here.
uint64_t mask_words(uint32_t bits) {
    uint64_t words = (bits >> 5) + 1;
    if (bits % 32 == 0) words -= 1;
    return words;
}

Message reply(Order order, std::initializer_list<uint32_t> words) {
    Message m = Message::of_bytes(order, Bytes(28, 0xB7));
    return m.words(words);
}

Bytes apply_reply(Order order, uint32_t bits) {
    Message m = reply(order, {1, 2, bits, 3, 4});
    for (uint32_t i = 0; i < 2 * mask_words(bits); ++i) m.word(0x01020300 + i);
    return m.bytes();
}

/// A value of a type whose first bytes are converted.
Bytes value_of(Order order, uint32_t type, std::size_t size) {
    Bytes value;
    for (std::size_t i = 0; i < size; ++i) value.push_back(static_cast<uint8_t>(0x10 + i));
    if (order == Order::network && size != 0) {
        const auto width = static_cast<std::ptrdiff_t>(kelvo::value_width(type));
        std::reverse(value.begin(), value.begin() + width);
    }
    return value;
}

struct VerifyEntry {
    uint32_t type;
    Bytes path;
    std::size_t first;
    std::size_t second;
};

Bytes verify_reply(Order order, const std::vector<VerifyEntry>& entries) {
    Message m = reply(order, {1, 2, static_cast<uint32_t>(entries.size())});
    m.raw_word(0x40).words({5, 6, 7, 8}).raw_word(0x60);
    for (const VerifyEntry& entry : entries) {
        m.words({11, 12, entry.type, 13}).value(entry.path);
        m.value(value_of(order, entry.type, entry.first));
        m.value(value_of(order, entry.type, entry.second));
    }
    return m.bytes();
}

Bytes errorset(Order order, const std::vector<std::size_t>& data) {
    Message m(order, 33);
    m.raw_word(0x40).raw_word(0x44).word(1).word(static_cast<uint32_t>(data.size())).word(2);
    m.raw_word(0x60);
    for (const std::size_t size : data) {
        m.words({11, 12}).raw_word(0x08).raw_word(0x0C).value(Bytes(size, 0xDA));
    }
    return m.bytes();
}

Bytes sm_response(Order order, uint32_t count) {
    Message m(order, 30);
    m.raw_word(0x40).raw_word(0x44).word(count).raw_word(0x52);
    for (uint32_t i = 0; i < 3 * count; ++i) m.word(0x100 + i);
    return m.bytes();
}

Bytes smset(Order order, const std::vector<std::size_t>& data) {
    Message m = reply(order, {static_cast<uint32_t>(data.size()), 2});
    m.raw_word(0x36);
    for (const std::size_t size : data) m.words({11, 12}).value(Bytes(size, 0xDA));
    return m.bytes();
}

// ---- Every converter ---------------------------------------------------------------------------

using Samples = std::vector<Bytes> (*)(Order);

std::vector<Bytes> apply_samples(Order order) {
    return {apply_reply(order, 0), apply_reply(order, 1), apply_reply(order, 32),
            apply_reply(order, 33), apply_reply(order, 64)};
}
std::vector<Bytes> verify_samples(Order order) {
    return {
        verify_reply(order, {}), verify_reply(order, {{1, {'a', 0}, 4, 4}}),
        verify_reply(order, {{2, {}, 0, 8}, {13, {'p', 'a', 't', 'h', '/', 'x', 'y', 0}, 9, 0}}),
        verify_reply(order, {{10, {'a', 0}, 2, 3}, {3, {0}, 5, 17}, {12, {1}, 4, 0}})};
}
std::vector<Bytes> errorset_samples(Order order) {
    return {errorset(order, {}), errorset(order, {1}), errorset(order, {8, 0, 9})};
}
std::vector<Bytes> sm_samples(Order order) {
    return {sm_response(order, 0), sm_response(order, 1), sm_response(order, 3)};
}
std::vector<Bytes> smset_samples(Order order) {
    return {smset(order, {}), smset(order, {1}), smset(order, {8, 0, 9})};
}

struct Pairing {
    Conversion ntoh;
    Conversion hton;
    Samples samples;
    uint32_t fixed;
    bool refuses_null;
    friend void PrintTo(const Pairing& pairing, std::ostream* out) {
        *out << name_of(pairing.ntoh.operation);
    }
};

const Pairing kPairings[] = {
    {{KELVO_OPERATION_APPLY_REPLY_NTOH, Order::network, kelvo_lib_rply_cb_get_apply_interpret_ntoh},
     {KELVO_OPERATION_APPLY_REPLY_HTON, Order::host, kelvo_lib_rply_cb_get_apply_interpret_hton},
     apply_samples,
     48,
     true},
    {{KELVO_OPERATION_VERIFY_REPLY_NTOH, Order::network,
      kelvo_lib_rply_cb_get_verify_interpret_ntoh},
     {KELVO_OPERATION_VERIFY_REPLY_HTON, Order::host, kelvo_lib_rply_cb_get_verify_interpret_hton},
     verify_samples,
     64,
     true},
    {{KELVO_OPERATION_ERRORSET_NTOH, Order::network, kelvo_vrfn_msg_errorset_iterate_ntoh},
     {KELVO_OPERATION_ERRORSET_HTON, Order::host, kelvo_vrfn_msg_errorset_iterate_hton},
     errorset_samples,
     64,
     false},
    {{KELVO_OPERATION_SM_CB_RESPONSE_NTOH, Order::network,
      kelvo_common_msg_sm_cb_response_interpret_ntoh},
     {KELVO_OPERATION_SM_CB_RESPONSE_HTON, Order::host,
      kelvo_common_msg_sm_cb_response_interpret_hton},
     sm_samples,
     56,
     false},
    {{KELVO_OPERATION_SMSET_REPLY_NTOH, Order::network, kelvo_lib_rply_smset_interpret_ntoh},
     {KELVO_OPERATION_SMSET_REPLY_HTON, Order::host, kelvo_lib_rply_smset_interpret_hton},
     smset_samples,
     40,
     true},
};

class CallbackReply : public testing::TestWithParam<Pairing> {
  protected:
    void SetUp() override { platform().reset(); }
    void TearDown() override { EXPECT_TRUE(platform().log.empty()) << "nothing is logged"; }
};
class ReplyWithNullTest : public CallbackReply {};

TEST_P(CallbackReply, IsConvertedInBothDirections) {
    const auto host = GetParam().samples(Order::host);
    const auto network = GetParam().samples(Order::network);
    for (std::size_t i = 0; i < host.size(); ++i) {
        const auto length = static_cast<uint32_t>(host[i].size());
        Bytes bytes = network[i];
        ASSERT_EQ(GetParam().ntoh.convert(bytes.data(), length), kOk) << "sample " << i;
        ASSERT_EQ(bytes, host[i]) << "sample " << i;
        ASSERT_EQ(GetParam().hton.convert(bytes.data(), length), kOk) << "sample " << i;
        ASSERT_EQ(bytes, network[i]) << "sample " << i;
    }
}

TEST_P(CallbackReply, IsConvertedStepByStepAtEveryLength) {
    for (const Conversion& conversion : {GetParam().ntoh, GetParam().hton}) {
        for (const Bytes& sample : GetParam().samples(conversion.from)) {
            expect_lengths_as_modelled(conversion, sample, 0);
        }
    }
}

TEST_P(CallbackReply, IsConvertedStepByStepWhateverItsBytes) {
    for (const Conversion& conversion : {GetParam().ntoh, GetParam().hton}) {
        expect_random_messages_as_modelled(conversion, 0, GetParam().fixed, [](Bytes&, Random&) {});
    }
}

TEST_P(CallbackReply, TakesTheTimeOfItsBytesWhateverItClaims) {
    const auto start = std::chrono::steady_clock::now();
    for (const Conversion& conversion : {GetParam().ntoh, GetParam().hton}) {
        Bytes bytes = GetParam().samples(conversion.from).back();
        for (std::size_t offset = 28; offset < GetParam().fixed; offset += 4) {
            put_word(bytes, offset, 0xFFFFFFFF);
        }
        EXPECT_EQ(
            expect_as_modelled(conversion.operation, bytes, static_cast<uint32_t>(bytes.size())),
            kLength);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST_P(CallbackReply, MayLieAtAnOddAddress) {
    const Bytes network = GetParam().samples(Order::network).back();
    Bytes shifted(1, 0);
    shifted.insert(shifted.end(), network.begin(), network.end());
    const auto length = static_cast<uint32_t>(network.size());
    EXPECT_EQ(GetParam().ntoh.convert(shifted.data() + 1, length), kOk);
    shifted.erase(shifted.begin());
    EXPECT_EQ(shifted, GetParam().samples(Order::host).back());
}

TEST_P(ReplyWithNullTest, AnswersANullMessageByItsLength) {
    for (const Conversion& conversion : {GetParam().ntoh, GetParam().hton}) {
        for (const uint32_t length : {0U, GetParam().fixed - 1}) {
            EXPECT_EQ(conversion.convert(nullptr, length), KELVO_ERR_MSG_LENGTH) << length;
        }
        for (const uint32_t length : {GetParam().fixed, 100U, 0xFFFFFFFFU}) {
            EXPECT_EQ(conversion.convert(nullptr, length), KELVO_ERR_NULL_PARAM) << length;
        }
    }
}

std::vector<Pairing> null_testing() {
    std::vector<Pairing> pairings;
    for (const Pairing& pairing : kPairings) {
        if (pairing.refuses_null) pairings.push_back(pairing);
    }
    return pairings;
}

INSTANTIATE_TEST_SUITE_P(Converters, CallbackReply, testing::ValuesIn(kPairings));
INSTANTIATE_TEST_SUITE_P(Converters, ReplyWithNullTest, testing::ValuesIn(null_testing()));

// ---- What deserves a name ----------------------------------------------------------------------

uint32_t received(Converter convert, Bytes bytes) {
    return convert(bytes.data(), static_cast<uint32_t>(bytes.size()));
}

TEST(ApplyReply, NeedsRoomForBothMasks) {
    const struct {
        uint32_t bits;
        std::size_t length;
    } rows[] = {{0, 48}, {1, 56}, {31, 56}, {32, 56}, {33, 64}, {64, 64}, {65, 72}};
    for (const auto& row : rows) {
        Bytes bytes = apply_reply(Order::network, row.bits);
        ASSERT_EQ(bytes.size(), row.length) << row.bits;
        EXPECT_EQ(received(kelvo_lib_rply_cb_get_apply_interpret_ntoh, bytes), kOk);
        bytes.pop_back();
        EXPECT_EQ(received(kelvo_lib_rply_cb_get_apply_interpret_ntoh, bytes), kLength);
    }
}

TEST(ApplyReply, MayHaveBytesBeyondItsMasks) {
    Bytes bytes = apply_reply(Order::network, 32);
    bytes.resize(bytes.size() + 12, 0x77);
    EXPECT_EQ(received(kelvo_lib_rply_cb_get_apply_interpret_ntoh, bytes), kOk);
}

TEST(ApplyReply, OfMoreMaskThanThirtyTwoBitsOfBytesIsTooShort) {
    for (const uint32_t bits : {0xFFFFFFFFU, 0xFFFFFFE0U, 0xFFFFFFE1U, 0x80000000U}) {
        Bytes bytes = reply(Order::host, {1, 2, bits, 3, 4}).bytes();
        EXPECT_EQ(received(kelvo_lib_rply_cb_get_apply_interpret_hton, bytes), kLength) << bits;
    }
}

TEST(VerifyReply, WithoutEntriesMayBeOfAnyLength) {
    Bytes bytes = verify_reply(Order::network, {});
    ASSERT_EQ(bytes.size(), 64U);
    for (const std::size_t extra : {0U, 1U, 8U, 24U, 100U}) {
        bytes.resize(64 + extra, 0x77);
        EXPECT_EQ(received(kelvo_lib_rply_cb_get_verify_interpret_ntoh, bytes), kOk);
    }
}

TEST(VerifyReply, MustEndWithItsLastEntry) {
    for (const Conversion& conversion : {kPairings[1].ntoh, kPairings[1].hton}) {
        Bytes bytes = verify_reply(conversion.from, {{1, {'a', 0}, 4, 4}});
        bytes.resize(bytes.size() + 8, 0);
        EXPECT_EQ(received(conversion.convert, bytes), kLength);
    }
}

TEST(VerifyReply, ASecondLengthIsConvertedForSendingOnlyWhenTheEntryFits) {
    Bytes bytes = verify_reply(Order::host, {{3, {'a', 0}, 4, 4}});
    bytes.resize(bytes.size() + 8, 0);
    const std::size_t second_cell = 64 + 40 + 8;
    ASSERT_EQ(word_at(bytes, second_cell), 4U);
    const auto length = static_cast<uint32_t>(bytes.size());
    ASSERT_EQ(kelvo_lib_rply_cb_get_verify_interpret_hton(bytes.data(), length), kLength);
    EXPECT_EQ(word_at(bytes, second_cell), 4U);

    bytes = verify_reply(Order::network, {{3, {'a', 0}, 4, 4}});
    bytes.resize(bytes.size() + 8, 0);
    ASSERT_EQ(kelvo_lib_rply_cb_get_verify_interpret_ntoh(bytes.data(), length), kLength);
    EXPECT_EQ(word_at(bytes, second_cell), 4U);
}

TEST(ErrorSet, ALastEntryWithoutDataIsRefused) {
    EXPECT_EQ(received(kelvo_vrfn_msg_errorset_iterate_ntoh, errorset(Order::network, {0})),
              kLength);
    EXPECT_EQ(received(kelvo_vrfn_msg_errorset_iterate_hton, errorset(Order::host, {0})), kLength);
    Bytes bytes = errorset(Order::network, {0});
    bytes.push_back(0);
    EXPECT_EQ(received(kelvo_vrfn_msg_errorset_iterate_ntoh, bytes), kOk);
    bytes = errorset(Order::network, {1});
    EXPECT_EQ(bytes.size(), 64U + 32);
    EXPECT_EQ(received(kelvo_vrfn_msg_errorset_iterate_ntoh, bytes), kOk);
}

TEST(ErrorSet, MayHaveBytesBeyondItsEntries) {
    Bytes bytes = errorset(Order::network, {8});
    bytes.resize(bytes.size() + 5, 0x77);
    EXPECT_EQ(received(kelvo_vrfn_msg_errorset_iterate_ntoh, bytes), kOk);
}

TEST(SmsetReply, ALastEntryWithoutDataIsRefused) {
    EXPECT_EQ(received(kelvo_lib_rply_smset_interpret_ntoh, smset(Order::network, {0})), kLength);
    EXPECT_EQ(received(kelvo_lib_rply_smset_interpret_hton, smset(Order::host, {0})), kLength);
}

TEST(StateMachineResponse, MayHaveBytesBeyondItsEntries) {
    Bytes bytes = sm_response(Order::network, 2);
    bytes.resize(bytes.size() + 4, 0x77);
    EXPECT_EQ(received(kelvo_common_msg_sm_cb_response_interpret_ntoh, bytes), kOk);
}

TEST(TemporaryMessage, IsNeverTouched) {
    for (const Converter convert :
         {kelvo_common_msg_temp_interpret_hton, kelvo_common_msg_temp_interpret_ntoh,
          kelvo_lib_rply_temp_interpret_hton, kelvo_lib_rply_temp_interpret_ntoh}) {
        EXPECT_EQ(convert(nullptr, 0), kOk);
        EXPECT_EQ(convert(nullptr, 100), kOk);
        Bytes bytes(100, 0x12);
        EXPECT_EQ(convert(bytes.data(), 100), kOk);
        EXPECT_EQ(bytes, Bytes(100, 0x12));
    }
}

}  // namespace
