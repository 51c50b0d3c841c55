// SPDX-License-Identifier: Apache-2.0
//
// What readers of registration requests hand out, and what the VRFN reader allocates.
#include <gtest/gtest.h>

#include "platform/failing_memory.h"
#include "support/registration_readers.h"

namespace {

using namespace kelvo::test;

TEST(NfnRegistration, HandsOutItsFields) {
    EXPECT_EQ(read(read_nfn_reg, nfn_reg(Order::host, "cfg/a")),
              (Result{kOk, {0x11223344, 0x61626364}, 48, {128}}));
}

TEST(NfnRegistration, AcceptsTheEmptyPath) {
    Bytes bytes = nfn_reg(Order::host, "");
    EXPECT_EQ(bytes.size(), 136U);
    EXPECT_EQ(word_at(bytes, 120), 1U);
    EXPECT_EQ(read(read_nfn_reg, bytes).status, kOk);
    bytes.resize(bytes.size() + 8);
    EXPECT_EQ(read(read_nfn_reg, bytes).status, kLength);
}

TEST(NfnRegistration, RefusesAPathWithoutItsNul) {
    Bytes bytes = nfn_reg(Order::host, "cfg/abc");
    bytes.back() = 'x';
    EXPECT_EQ(read(read_nfn_reg, bytes).status, kContent);
}

TEST(Unregistration, HasFortyFourBytes) {
    Bytes bytes = unreg(77);
    EXPECT_EQ(read(read_unreg<kelvo_common_msg_nfn_unreg_interpret>, bytes), (Result{kOk, {77}}));
    bytes.resize(45);
    EXPECT_EQ(read(read_unreg<kelvo_common_msg_nfn_unreg_interpret>, bytes).status, kLength);
    bytes.resize(43);
    EXPECT_EQ(read(read_unreg<kelvo_common_msg_nfn_unreg_interpret>, bytes).status, kLength);
}

TEST(VrfnRegistration, HandsOutItsFieldsAndTheSixthWordLast) {
    EXPECT_EQ(read(read_vrfn_reg, vrfn_reg(Order::host, {"a", "b"})),
              (Result{kOk, {0x11223344, 2, 3, 4, 5, 6, 2, 7}, 48, {144, 160}}));
}

TEST(VrfnRegistration, WithoutPathsIsAContentError) {
    EXPECT_EQ(read(read_vrfn_reg, vrfn_reg(Order::host, {})).status, kContent);
    Bytes longer = vrfn_reg(Order::host, {});
    longer.resize(200);
    EXPECT_EQ(read(read_vrfn_reg, longer).status, kContent);
}

/// What reading a VRFN registration asks of the allocator, whose call number `failing` fails.
struct VrfnMemory {
    uint32_t status;
    std::size_t allocations;
    std::size_t bytes;
    long outstanding;  ///< after the array handed out, if any, has been released
};

VrfnMemory vrfn_memory(Bytes bytes, uint32_t length, std::size_t failing = FailingMemory::kNever) {
    Outs out;
    const FailingMemory memory(failing);
    const uint32_t status = kelvo_common_msg_vrfn_reg_interpret(
        bytes.data(), length, &out.words[0], &out.words[1], &out.block, &out.words[2],
        &out.words[3], &out.words[4], &out.words[6], &out.words[7], &out.paths, &out.words[5]);
    if (status == kOk) free(out.paths);
    return {status, FailingMemory::allocations(), FailingMemory::bytes(),
            FailingMemory::outstanding()};
}

TEST(VrfnRegistration, AllocatesOneArrayThatItsCallerFrees) {
    const Bytes bytes = vrfn_reg(Order::host, {"a", "b", "c"});
    const VrfnMemory memory = vrfn_memory(bytes, static_cast<uint32_t>(bytes.size()));
    EXPECT_EQ(memory.status, kOk);
    EXPECT_EQ(memory.allocations, 1U);
    EXPECT_EQ(memory.bytes, 3 * sizeof(char*));
    EXPECT_EQ(memory.outstanding, 0);
}

TEST(VrfnRegistration, ReleasesItsArrayOnEveryFailure) {
    Bytes bytes = vrfn_reg(Order::host, {"a", "b", "c"});
    for (const uint32_t length : {136U, 144U, 152U, 160U}) {
        EXPECT_EQ(vrfn_memory(bytes, length).status, kLength);
        EXPECT_EQ(vrfn_memory(bytes, length).outstanding, 0);
    }
    put_word(bytes, 152, 0);
    EXPECT_EQ(vrfn_memory(bytes, 184).status, kContent);
    EXPECT_EQ(vrfn_memory(bytes, 184).outstanding, 0);
}

TEST(VrfnRegistration, MemoryIsAskedForBetweenTheChecks) {
    Bytes bytes = vrfn_reg(Order::host, {"a"});
    EXPECT_EQ(vrfn_memory(bytes, 152, 0).status, KELVO_ERR_NO_MEMORY);
    EXPECT_EQ(vrfn_memory(bytes, 135, 0).status, kLength);
    put_word(bytes, 136, 0);
    EXPECT_EQ(vrfn_memory(bytes, 152, 0).status, KELVO_ERR_NO_MEMORY);
    put_word(bytes, 128, 0);
    EXPECT_EQ(vrfn_memory(bytes, 152, 0).status, kContent);
}

TEST(VrfnRegistration, BillionsOfPathsTakeTheMemoryOfTheMessage) {
    Bytes bytes = vrfn_reg(Order::host, {"a", "b"});
    put_word(bytes, 128, 4000000000);
    for (const uint32_t length : {136U, 140U, 168U}) {
        const VrfnMemory memory = vrfn_memory(bytes, length);
        EXPECT_EQ(memory.status, kLength);
        EXPECT_LE(memory.bytes, 16U);
        EXPECT_EQ(memory.outstanding, 0);
    }
}

TEST(EdmRegistration, HandsOutTheSecondStringBeforeTheFirst) {
    Bytes bytes = edm_reg(Order::host, "first", "second");
    void* block;
    char* second;
    char* first;
    uint32_t w[6];
    ASSERT_EQ(kelvo_common_msg_edm_reg_interpret(bytes.data(), static_cast<uint32_t>(bytes.size()),
                                                 &block, &w[1], &second, &first, &w[3], &w[4],
                                                 &w[2], &w[5]),
              kOk);
    EXPECT_STREQ(first, "first");
    EXPECT_STREQ(second, "second");
    EXPECT_EQ(Bytes(static_cast<uint8_t*>(block), static_cast<uint8_t*>(block) + 64),
              client_block());
    for (uint32_t i = 1; i <= 5; ++i) EXPECT_EQ(w[i], i);
}

TEST(VsRegistration, HandsOutItsFieldsAndTheListNewestFirst) {
    EXPECT_EQ(read(read_vs_reg, vs_reg(Order::host, "a", {{1, 2}, {3, 4}})),
              (Result{kOk, {0x11223344, 0x61626364}, 48, {128}, {{3, 4}, {1, 2}}}));
}

TEST(EdmsRegistration, HandsOutItsFieldsAndTheListNewestFirst) {
    EXPECT_EQ(read(read_edms_reg, edms_reg(Order::host, "a", {{1, 2}, {3, 4}})),
              (Result{kOk, {0x61626364}, 40, {120}, {{3, 4}, {1, 2}}}));
}

TEST(VsRegistration, WithoutPairsEndsWithTheirNumber) {
    Bytes bytes = vs_reg(Order::host, "a", {});
    Outs out;
    ASSERT_EQ(kelvo_common_msg_vs_reg_interpret(bytes.data(), static_cast<uint32_t>(bytes.size()),
                                                &out.words[0], &out.block, &out.words[1],
                                                &out.first, &out.list),
              kOk);
    EXPECT_EQ(out.list, nullptr);
    bytes.resize(bytes.size() + 8);
    EXPECT_EQ(read(read_vs_reg, bytes).status, kLength);
}

}  // namespace
