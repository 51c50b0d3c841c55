// SPDX-License-Identifier: Apache-2.0
//
// Registration requests in host order: every reader against its model.
#include <gtest/gtest.h>

#include <algorithm>

#include "platform/scripted_platform.h"
#include "support/converters.h"
#include "support/registrations.h"

namespace {

using namespace kelvo::test;

constexpr uint32_t kOk = 0;
constexpr uint32_t kLength = KELVO_ERR_MSG_LENGTH;
constexpr uint32_t kAny = KELVO_NODEID_INVALID;

// ---- Every reader ------------------------------------------------------------------------------

struct Reader {
    kelvo_msg_operation operation;
    std::vector<Bytes> samples;
    uint32_t fixed;
    Order lengths;   ///< of the lengths of texts
    uint32_t count;  ///< offset of a count, or 0
    friend void PrintTo(const Reader& reader, std::ostream* out) {
        *out << name_of(reader.operation);
    }
};

const Pairs kPairs = {{1, 2}, {3, 4}, {1, 5}, {9, kAny}, {9, 0}};
const std::vector<Bytes> kUnregs = {unreg(0), unreg(0xFFFFFFFF)};
const std::vector<Bytes> kStartupUnregs = {startup_unreg(7, {}), startup_unreg(8, {{1, 2}}),
                                           startup_unreg(9, kPairs)};

const Reader kReaders[] = {
    {KELVO_OPERATION_NFN_REG,
     {nfn_reg(Order::host, ""), nfn_reg(Order::host, "cfg/abc"), nfn_reg(Order::host, "cfg/abcd")},
     128,
     Order::host,
     0},
    {KELVO_OPERATION_NFN_UNREG, kUnregs, 44, Order::host, 0},
    {KELVO_OPERATION_VRFN_UNREG, kUnregs, 44, Order::host, 0},
    {KELVO_OPERATION_EDM_UNREG, kUnregs, 44, Order::host, 0},
    {KELVO_OPERATION_VRFN_REG,
     {vrfn_reg(Order::host, {"a"}), vrfn_reg(Order::host, {"", "cfg/abc", "cfg/abcd", "x"})},
     136,
     Order::host,
     128},
    {KELVO_OPERATION_VS_REG,
     {vs_reg(Order::host, "", {}), vs_reg(Order::host, "cfg/abc", {{1, 2}}),
      vs_reg(Order::host, "cfg/abcd", kPairs)},
     128,
     Order::host,
     0},
    {KELVO_OPERATION_EDMS_REG,
     {edms_reg(Order::host, "", {}), edms_reg(Order::host, "cfg/abc", {{1, 2}}),
      edms_reg(Order::host, "cfg/abcd", kPairs)},
     120,
     Order::host,
     0},
    {KELVO_OPERATION_VS_UNREG, kStartupUnregs, 56, Order::host, 0},
    {KELVO_OPERATION_EDMS_UNREG, kStartupUnregs, 56, Order::host, 0},
    {KELVO_OPERATION_EDM_REG,
     {edm_reg(Order::host, "", ""), edm_reg(Order::host, "cfg/abc", "cfg/abcd"),
      edm_reg(Order::host, "cfg/abcd", "x")},
     136,
     Order::host,
     0},
    {KELVO_OPERATION_CFG_GRP,
     {cfg_grp(5, {}), cfg_grp(6, {"alpha"}), cfg_grp(7, {"alpha", "", "a-name"})},
     48,
     Order::network,
     44},
};

class RegistrationReader : public testing::TestWithParam<Reader> {
  protected:
    void SetUp() override { platform().reset(); }
    void TearDown() override { EXPECT_TRUE(platform().log.empty()) << "nothing is logged"; }
};

TEST_P(RegistrationReader, DemandsTheExactLength) {
    for (const Bytes& sample : GetParam().samples) {
        for (uint32_t length = 0; length < sample.size(); ++length) {
            EXPECT_EQ(expect_as_modelled(GetParam().operation, sample, length), kLength);
        }
        const auto whole = static_cast<uint32_t>(sample.size());
        EXPECT_EQ(expect_as_modelled(GetParam().operation, sample, whole), kOk);
        for (const uint32_t extra : {1U, 7U, 8U, 16U}) {
            Bytes longer = sample;
            longer.resize(whole + extra, 0);
            EXPECT_EQ(expect_as_modelled(GetParam().operation, longer, whole + extra), kLength);
        }
    }
}

TEST_P(RegistrationReader, AnswersAsDefinedWhateverTheBytes) {
    Random random(GetParam().fixed);
    const uint32_t sizes[] = {0, 1, 1, 2, 3, 4, 7, 8, 9, 12, 16, 17, 24};
    const uint32_t strange[] = {64, 0x01000000, 0x08000000, 0xFFFFFFF8, 0xFFFFFFF9, kAny};
    for (int round = 0; round < 10000; ++round) {
        const uint32_t length = random.below(GetParam().fixed + 120);
        Bytes message(length + 8);
        for (std::size_t at = 0; at + 4 <= message.size(); at += 4) {
            uint32_t word = random.pick(sizes);
            if (random.below(16) == 0) word = random.pick(strange);
            put_word(message, at, GetParam().lengths == Order::network ? reversed(word) : word);
        }
        if (GetParam().count != 0 && length >= GetParam().count + 4) {
            put_word(message, GetParam().count, random.below(9));
        }
        expect_as_modelled(GetParam().operation, message, length);
        if (HasFailure()) return;
    }
}

/// Valid messages with one word changed.
TEST_P(RegistrationReader, AnswersAsDefinedWithOneWordChanged) {
    const uint32_t changes[] = {0, 1, 2, 5, 8, 9, 16, 17, 0x08000000, 0xFFFFFFF8, 0xFFFFFFFF};
    for (const Bytes& sample : GetParam().samples) {
        for (uint32_t at = 40; at + 4 <= sample.size(); at += 4) {
            for (const uint32_t change : changes) {
                Bytes message = sample;
                put_word(message, at, change);
                expect_as_modelled(GetParam().operation, message,
                                   static_cast<uint32_t>(sample.size()));
            }
        }
    }
}

TEST_P(RegistrationReader, TakesAMessageAtAnOddAddress) {
    Bytes shifted = GetParam().samples.back();
    const auto length = static_cast<uint32_t>(shifted.size());
    shifted.insert(shifted.begin(), 0);
    shifted.resize(shifted.size() + 4);
    Outcome outcome;
    run(GetParam().operation, shifted.data() + 1, length, outcome);
    EXPECT_EQ(outcome.status, kOk);
}

INSTANTIATE_TEST_SUITE_P(Readers, RegistrationReader, testing::ValuesIn(kReaders));

/// The same answers as from a short list, whatever the pairs that came before.
TEST(PairsOfAMessage, AreComparedAlikeInLongLists) {
    Random random(3);
    const uint32_t nodes[] = {0, 1, 2, 3, 4, 0xFFFFFFFE, kAny};
    for (int round = 0; round < 300; ++round) {
        Pairs pairs;
        const uint32_t count = 20 + random.below(150);
        for (uint32_t i = 0; i < count; ++i) {
            const uint32_t job = random.below(2) == 0 ? random.below(400) : random.word();
            pairs.emplace_back(job, random.pick(nodes));
        }
        const Bytes bytes = startup_unreg(1, pairs);
        expect_as_modelled(KELVO_OPERATION_VS_UNREG, bytes, static_cast<uint32_t>(bytes.size()));
        // Without what made it a duplicate, a long list comes out whole.
        kelvo_startup_list* list = list_of(pairs);
        Pairs kept = pairs_of(list);
        kelvo_common_startup_list_free(&list);
        std::reverse(kept.begin(), kept.end());
        const Bytes distinct = startup_unreg(1, kept);
        EXPECT_EQ(expect_as_modelled(KELVO_OPERATION_VS_UNREG, distinct,
                                     static_cast<uint32_t>(distinct.size())),
                  kOk);
    }
}

}  // namespace
