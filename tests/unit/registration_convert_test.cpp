// SPDX-License-Identifier: Apache-2.0
//
// Conversion of registration requests: both directions of every converter against its model, and
// what they are known for.
#include <gtest/gtest.h>

#include <chrono>

#include "kelvo_common_msg_registration.h"
#include "platform/scripted_platform.h"
#include "support/converters.h"
#include "support/registrations.h"

namespace {

using namespace kelvo::test;

constexpr uint32_t kOk = 0;
constexpr uint32_t kLength = KELVO_ERR_MSG_LENGTH;

// ---- Every converter ---------------------------------------------------------------------------

using Samples = std::vector<Bytes> (*)(Order);

std::vector<Bytes> nfn_samples(Order order) {
    return {nfn_reg(order, ""), nfn_reg(order, "cfg/a/b"), nfn_reg(order, "oper/abc")};
}
std::vector<Bytes> vrfn_samples(Order order) {
    return {vrfn_reg(order, {"a"}), vrfn_reg(order, {"cfg/abc", "", "oper/abcd"})};
}
std::vector<Bytes> vs_samples(Order order) {
    return {vs_reg(order, "a", {}), vs_reg(order, "cfg/abcd", {{1, 2}}),
            vs_reg(order, "", {{1, 2}, {3, 4}, {5, 6}})};
}
std::vector<Bytes> edms_samples(Order order) {
    return {edms_reg(order, "a", {}), edms_reg(order, "cfg/abcd", {{1, 2}}),
            edms_reg(order, "", {{1, 2}, {3, 4}, {5, 6}})};
}
std::vector<Bytes> edm_samples(Order order) {
    return {edm_reg(order, "a", "b"), edm_reg(order, "", ""), edm_reg(order, "cfg/abcd", "x/y/z")};
}
std::vector<Bytes> activate_samples(Order order) {
    return {reg_activate(order, {}), reg_activate(order, {1}), reg_activate(order, {1, 2, 3})};
}

struct Pairing {
    Conversion ntoh;
    Conversion hton;
    Samples samples;
    uint32_t fixed;
    uint32_t shortest;  ///< below this a converter may reach as far as the message claims
    uint32_t count;     ///< offset of a count that is not checked, or 0
    friend void PrintTo(const Pairing& pairing, std::ostream* out) {
        *out << name_of(pairing.ntoh.operation);
    }
};

const Pairing kPairings[] = {
    {{KELVO_OPERATION_NFN_REG_NTOH, Order::network, kelvo_common_msg_nfn_reg_interpret_ntoh},
     {KELVO_OPERATION_NFN_REG_HTON, Order::host, kelvo_common_msg_nfn_reg_interpret_hton},
     nfn_samples,
     128,
     0,
     0},
    {{KELVO_OPERATION_VRFN_REG_NTOH, Order::network, kelvo_common_msg_vrfn_reg_interpret_ntoh},
     {KELVO_OPERATION_VRFN_REG_HTON, Order::host, kelvo_common_msg_vrfn_reg_interpret_hton},
     vrfn_samples,
     136,
     136,
     128},
    {{KELVO_OPERATION_VS_REG_NTOH, Order::network, kelvo_common_msg_vs_reg_interpret_ntoh},
     {KELVO_OPERATION_VS_REG_HTON, Order::host, kelvo_common_msg_vs_reg_interpret_hton},
     vs_samples,
     128,
     0,
     0},
    {{KELVO_OPERATION_EDMS_REG_NTOH, Order::network, kelvo_common_msg_edms_reg_interpret_ntoh},
     {KELVO_OPERATION_EDMS_REG_HTON, Order::host, kelvo_common_msg_edms_reg_interpret_hton},
     edms_samples,
     120,
     0,
     0},
    {{KELVO_OPERATION_EDM_REG_NTOH, Order::network, kelvo_common_msg_edm_reg_interpret_ntoh},
     {KELVO_OPERATION_EDM_REG_HTON, Order::host, kelvo_common_msg_edm_reg_interpret_hton},
     edm_samples,
     136,
     0,
     0},
    {{KELVO_OPERATION_REG_ACTIVATE_NTOH, Order::network,
      kelvo_common_msg_reg_activate_interpret_ntoh},
     {KELVO_OPERATION_REG_ACTIVATE_HTON, Order::host, kelvo_common_msg_reg_activate_interpret_hton},
     activate_samples,
     56,
     0,
     48},
};

class RegistrationConversion : public testing::TestWithParam<Pairing> {
  protected:
    void SetUp() override { platform().reset(); }
    void TearDown() override { EXPECT_TRUE(platform().log.empty()) << "nothing is logged"; }
};

TEST_P(RegistrationConversion, IsDoneInBothDirections) {
    const auto host = GetParam().samples(Order::host);
    const auto network = GetParam().samples(Order::network);
    for (std::size_t i = 0; i < host.size(); ++i) {
        const auto length = static_cast<uint32_t>(host[i].size());
        const Walled block(network[i]);
        ASSERT_EQ(GetParam().ntoh.convert(block.data(), length), kOk) << "sample " << i;
        ASSERT_EQ(block.bytes(), host[i]) << "sample " << i;
        ASSERT_EQ(GetParam().hton.convert(block.data(), length), kOk) << "sample " << i;
        ASSERT_EQ(block.bytes(), network[i]) << "sample " << i;
    }
}

TEST_P(RegistrationConversion, IsDoneStepByStepAtEveryLength) {
    for (const Conversion& conversion : {GetParam().ntoh, GetParam().hton}) {
        for (const Bytes& sample : GetParam().samples(conversion.from)) {
            expect_lengths_as_modelled(conversion, sample, GetParam().shortest);
        }
    }
}

TEST_P(RegistrationConversion, IsDoneStepByStepWhateverTheBytes) {
    for (const Conversion& conversion : {GetParam().ntoh, GetParam().hton}) {
        expect_random_messages_as_modelled(
            conversion, GetParam().shortest, GetParam().fixed, [&](Bytes& message, Random& random) {
                if (GetParam().count == 0) return;
                const uint32_t count = random.below(12);
                put_word(message, GetParam().count,
                         conversion.from == Order::network ? reversed(count) : count);
            });
    }
}

TEST_P(RegistrationConversion, MayHappenAtAnOddAddress) {
    const Bytes network = GetParam().samples(Order::network).back();
    Bytes shifted(1, 0);
    shifted.insert(shifted.end(), network.begin(), network.end());
    const auto length = static_cast<uint32_t>(network.size());
    EXPECT_EQ(GetParam().ntoh.convert(shifted.data() + 1, length), kOk);
    shifted.erase(shifted.begin());
    EXPECT_EQ(shifted, GetParam().samples(Order::host).back());
}

INSTANTIATE_TEST_SUITE_P(Converters, RegistrationConversion, testing::ValuesIn(kPairings));

// ---- What deserves a name ----------------------------------------------------------------------

struct Converted {
    uint32_t status;
    Bytes bytes;
};

Converted converted(Converter convert, Bytes bytes, std::size_t length) {
    const uint32_t status = convert(bytes.data(), static_cast<uint32_t>(length));
    return {status, bytes};
}

TEST(NfnConversion, LeavesTheLengthOfThePathAloneInAMessageThatIsTooShort) {
    const Bytes network = nfn_reg(Order::network, "a");
    const Bytes host = nfn_reg(Order::host, "a");
    auto [status, bytes] = converted(kelvo_common_msg_nfn_reg_interpret_ntoh, network, 119);
    EXPECT_EQ(status, kLength);
    EXPECT_EQ(word_at(bytes, 120), word_at(network, 120));
    EXPECT_EQ(word_at(bytes, 112), word_at(host, 112));
    EXPECT_EQ(converted(kelvo_common_msg_nfn_reg_interpret_ntoh, network, 120).bytes, host);
}

TEST(NfnConversion, ChecksNothingElse) {
    Bytes bytes = nfn_reg(Order::network, "abc");
    put_word(bytes, 120, 0xFFFFFFFF);
    EXPECT_EQ(converted(kelvo_common_msg_nfn_reg_interpret_ntoh, bytes, 120).status, kOk);
    bytes.resize(200);
    EXPECT_EQ(converted(kelvo_common_msg_nfn_reg_interpret_hton, bytes, 200).status, kOk);
}

TEST(VsConversion, LeavesTheWordsThatAreNotUsed) {
    const Bytes network = vs_reg(Order::network, "a", {});
    const auto [status, bytes] =
        converted(kelvo_common_msg_vs_reg_interpret_ntoh, network, network.size());
    EXPECT_EQ(status, kOk);
    EXPECT_EQ(word_at(bytes, 44), 0x51525354U);
    EXPECT_EQ(word_at(bytes, 116), 0x71727374U);
}

TEST(EdmsConversion, ConvertsItsFixedWordEvenInAMessageThatIsTooShort) {
    const Bytes network = edms_reg(Order::network, "a", {});
    const auto [status, bytes] = converted(kelvo_common_msg_edms_reg_interpret_ntoh, network, 0);
    Bytes expected = network;
    reverse_at(expected, 104);
    EXPECT_EQ(status, kLength);
    EXPECT_EQ(bytes, expected);
}

TEST(VsConversion, AReceivedPairIsConvertedBeforeItsRoomIsKnown) {
    Bytes network = vs_reg(Order::network, "a", {{1, 2}, {3, 4}});
    const std::size_t second_pair = network.size() - 8;
    auto [status, bytes] =
        converted(kelvo_common_msg_vs_reg_interpret_ntoh, network, network.size() - 8);
    EXPECT_EQ(status, kLength);
    EXPECT_EQ(word_at(bytes, second_pair), 3U);
    EXPECT_EQ(word_at(bytes, second_pair + 4), 4U);

    Bytes host = vs_reg(Order::host, "a", {{1, 2}, {3, 4}});
    auto [sent_status, sent] =
        converted(kelvo_common_msg_vs_reg_interpret_hton, host, host.size() - 8);
    EXPECT_EQ(sent_status, kLength);
    EXPECT_EQ(word_at(sent, second_pair), 3U);
}

TEST(VsConversion, TakesTheTimeOfItsBytesWhateverItClaims) {
    const auto start = std::chrono::steady_clock::now();
    Bytes bytes = vs_reg(Order::network, "a", {{1, 2}});
    put_word(bytes, bytes.size() - 16, 0xFFFFFFFF);
    EXPECT_EQ(
        expect_as_modelled(KELVO_OPERATION_VS_REG_NTOH, bytes, static_cast<uint32_t>(bytes.size())),
        kLength);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

TEST(EdmConversion, AFailureLeavesTheLengthsOfASentMessage) {
    for (const std::size_t length : {128U, 136U, 140U}) {
        const Bytes host = edm_reg(Order::host, "abcdefgh", "second");
        const auto [status, bytes] =
            converted(kelvo_common_msg_edm_reg_interpret_hton, host, length);
        EXPECT_EQ(status, kLength);
        EXPECT_EQ(word_at(bytes, 128), 9U);
        EXPECT_EQ(word_at(bytes, 152), 7U);
    }
}

TEST(EdmConversion, TheSecondLengthIsConvertedBehindTheMessage) {
    const Bytes network = edm_reg(Order::network, "abc", "second");
    const auto [status, bytes] = converted(kelvo_common_msg_edm_reg_interpret_ntoh, network, 144);
    EXPECT_EQ(status, kOk);
    EXPECT_EQ(bytes, edm_reg(Order::host, "abc", "second"));
}

TEST(ActivateConversion, AShortMessageIsNotTouched) {
    for (const Converter convert : {kelvo_common_msg_reg_activate_interpret_ntoh,
                                    kelvo_common_msg_reg_activate_interpret_hton}) {
        const Walled block(Bytes(55, 0x12));
        EXPECT_EQ(convert(block.data(), 55), kLength);
        EXPECT_EQ(block.bytes(), Bytes(55, 0x12));
    }
}

TEST(ActivateConversion, EntriesAreConvertedBeyondTheLength) {
    const Bytes network = reg_activate(Order::network, {1, 2, 3});
    const auto [status, bytes] =
        converted(kelvo_common_msg_reg_activate_interpret_ntoh, network, 56);
    EXPECT_EQ(status, kOk);
    EXPECT_EQ(bytes, reg_activate(Order::host, {1, 2, 3}));
}

// ---- VRFN: a walk without checks ---------------------------------------------------------------

/// A VRFN registration that claims `count` paths and goes on with `words`.
Bytes vrfn_words(Order order, uint32_t count, std::initializer_list<uint32_t> words) {
    Message m(order, KELVO_MSG_VRFN_REG);
    m.words({1, 2});
    put_block(m).words({3, 4, 5, 6, count, 7});
    return m.words(words).bytes();
}

TEST(VrfnConversion, ALengthThatFitsInTheOtherOrderIsPassedOver) {
    // The first length is in the wrong order: one round finds that, the next passes over it.
    const Bytes network = vrfn_words(Order::network, 3, {reversed(8), 0, 0, 0, 1, 0, 0, 0});
    const auto [status, bytes] =
        converted(kelvo_common_msg_vrfn_reg_interpret_ntoh, network, network.size());
    EXPECT_EQ(status, kOk);
    EXPECT_EQ(word_at(bytes, 136), word_at(network, 136)) << "converted twice";
    EXPECT_EQ(word_at(bytes, 152), 1U);
}

TEST(VrfnConversion, ALengthThatFitsInNeitherOrderIsConvertedInEveryRoundThatRemains) {
    for (uint32_t count = 1; count < 8; ++count) {
        for (const auto& pairing : {kPairings[1].ntoh, kPairings[1].hton}) {
            const Bytes message = vrfn_words(pairing.from, count, {0x81000082, 0});
            const auto [status, bytes] = converted(pairing.convert, message, message.size());
            EXPECT_EQ(status, kOk);
            const uint32_t before = word_at(message, 136);
            EXPECT_EQ(word_at(bytes, 136), count % 2 == 0 ? before : reversed(before)) << count;
        }
    }
}

/// A count is as good as one of the same parity, once it is large enough.
TEST(VrfnConversion, BillionsOfPathsTakeTheTimeOfTheBytes) {
    const auto start = std::chrono::steady_clock::now();
    Random random(7);
    for (uint32_t round = 0; round < 4000; ++round) {
        const bool odd = random.below(2) == 1;
        for (const Conversion& conversion : {kPairings[1].ntoh, kPairings[1].hton}) {
            Bytes few = vrfn_words(conversion.from, odd ? 101 : 100, {});
            while (few.size() < 140 + 4 * (round % 12)) {
                const uint32_t word = random.below(3) == 0 ? random.word() : random.below(20);
                few.resize(few.size() + 4);
                put_word(few, few.size() - 4, random.below(2) == 0 ? word : reversed(word));
            }
            Bytes many = few;
            const uint32_t claimed = odd ? 0xFFFFFFFF : 0xFFFFFFFE;
            put_word(many, 128, conversion.from == Order::network ? reversed(claimed) : claimed);

            const auto length = static_cast<uint32_t>(few.size() - 4);
            ASSERT_EQ(expect_as_modelled(conversion.operation, few, length), kOk);
            ASSERT_EQ(conversion.convert(few.data(), length), kOk);
            ASSERT_EQ(conversion.convert(many.data(), length), kOk);
            put_word(many, 128, word_at(few, 128));
            ASSERT_EQ(many, few) << name_of(conversion.operation) << ", length " << length;
        }
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST(VrfnConversion, EveryPairOfSmallWordsIsWalkedAsDefined) {
    const uint32_t words[] = {0, 1, 8, 9, 16, 17, 0x01000000, 0x09000000, 0x11000000, 0xFFFFFFFF};
    for (const Conversion& conversion : {kPairings[1].ntoh, kPairings[1].hton}) {
        for (const uint32_t first : words) {
            for (const uint32_t second : words) {
                for (uint32_t count = 0; count < 6; ++count) {
                    const Bytes message =
                        vrfn_words(conversion.from, count, {first, 0, second, 0, first, 0});
                    for (uint32_t length = 136; length <= message.size(); length += 4) {
                        expect_as_modelled(conversion.operation, message, length);
                    }
                }
            }
        }
    }
}

TEST(VrfnConversion, AMessageShorterThanItsFixedPartIsWalkedAsIfItNeverEnded) {
    const std::vector<std::string> paths = {"cfg/abc", "x", "oper/abcd"};
    for (const uint32_t length : {0U, 40U, 135U}) {
        EXPECT_EQ(converted(kelvo_common_msg_vrfn_reg_interpret_ntoh,
                            vrfn_reg(Order::network, paths), length)
                      .bytes,
                  vrfn_reg(Order::host, paths));
        EXPECT_EQ(converted(kelvo_common_msg_vrfn_reg_interpret_hton, vrfn_reg(Order::host, paths),
                            length)
                      .bytes,
                  vrfn_reg(Order::network, paths));
    }
}

}  // namespace
