// SPDX-License-Identifier: Apache-2.0
//
// The reader of configuration-group requests: the path that it makes, the lengths that it converts,
// and the memory that it asks for.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>

#include "platform/failing_memory.h"
#include "support/registration_readers.h"

namespace {

using namespace kelvo::test;

TEST(ConfigurationGroups, AreNamedByOnePath) {
    const struct {
        std::vector<std::string> names;
        const char* path;
    } rows[] = {
        {{}, "cfg/gl/a/config-group//"},
        {{"alpha"}, "cfg/gl/a/config-group/alpha/"},
        {{"alpha", "beta"}, "cfg/gl/a/config-group/alpha|beta/"},
        {{"", "b", ""}, "cfg/gl/a/config-group/|b|/"},
        {{std::string("ab\0cd", 5)}, "cfg/gl/a/config-group/ab/"},
    };
    for (const auto& row : rows) {
        const Result result = read(read_cfg_grp, cfg_grp(0x1234, row.names));
        EXPECT_EQ(result.status, kOk);
        EXPECT_EQ(result.path, row.path);
        EXPECT_EQ(result.words,
                  (std::vector<uint32_t>{0xFFFFFFFF, 4, static_cast<uint32_t>(row.names.size()),
                                         0x1234, 0xc4653601, 0xFFFFFFFF, 0, 0, 0xFFFFFFFF}));
    }
}

TEST(ConfigurationGroups, HaveTheirLengthsConvertedInPlace) {
    Bytes bytes = cfg_grp(1, {"alpha", "beta"});
    bytes.resize(bytes.size() + 4);
    EXPECT_EQ(read_cfg_grp(bytes.data(), static_cast<uint32_t>(bytes.size() - 4)).status, kOk);
    EXPECT_EQ(word_at(bytes, 48), 6U);
    EXPECT_EQ(word_at(bytes, 64), 5U);
}

TEST(ConfigurationGroups, AMalformedLengthIsConvertedInEveryRoundThatRemains) {
    for (uint32_t count = 1; count < 8; ++count) {
        Bytes bytes = cfg_grp(1, {"alpha"});
        put_word(bytes, 44, count);
        put_word(bytes, 48, reversed(1000));
        bytes.resize(bytes.size() + 4);
        EXPECT_EQ(read_cfg_grp(bytes.data(), 64).status, kLength);
        EXPECT_EQ(word_at(bytes, 48), count % 2 == 0 ? reversed(1000) : 1000) << count;
    }
}

TEST(ConfigurationGroups, ALengthIsConvertedBehindTheMessage) {
    Bytes bytes = cfg_grp(1, {"alpha"});
    put_word(bytes, 44, 2);
    bytes.resize(bytes.size() + 4);
    put_word(bytes, 64, 9);
    EXPECT_EQ(read_cfg_grp(bytes.data(), 64).status, kLength);
    EXPECT_EQ(word_at(bytes, 64), reversed(9));
}

TEST(ConfigurationGroups, BillionsTakeTheTimeAndMemoryOfTheMessage) {
    const auto start = std::chrono::steady_clock::now();
    for (const uint32_t claimed : {0xFFFFFFFFU, 0xFFFFFFFEU}) {
        Bytes bytes = cfg_grp(1, {"alpha", "beta"});
        put_word(bytes, 44, claimed);
        put_word(bytes, 64, reversed(1000));
        bytes.resize(bytes.size() + 4);
        const auto length = static_cast<uint32_t>(bytes.size() - 4);
        std::size_t asked_for;
        {
            const FailingMemory memory;
            EXPECT_EQ(read_cfg_grp(bytes.data(), length).status, kLength);
            asked_for = FailingMemory::bytes();
            EXPECT_EQ(memory.outstanding(), 0);
        }
        EXPECT_LE(asked_for, 64U);
        EXPECT_EQ(word_at(bytes, 48), 6U);
        EXPECT_EQ(word_at(bytes, 64), claimed % 2 == 0 ? 1000 : reversed(1000));
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

/// Status of reading a request whose allocations from number `failing` on fail once.
uint32_t read_without_memory(const Bytes& request, std::size_t failing) {
    Bytes bytes = request;
    bytes.resize(bytes.size() + 4);
    Outs out;
    uint32_t record[5];
    uint32_t status;
    long outstanding;
    {
        const FailingMemory memory(failing);
        status = kelvo_common_msg_cfg_grp_interpret(
            bytes.data(), static_cast<uint32_t>(request.size()), &out.first, &out.words[0], record,
            &out.words[1], &out.words[2], &out.words[3]);
        outstanding = FailingMemory::outstanding();
    }
    EXPECT_EQ(outstanding, 0);
    (void)out.result(status);
    return status;
}

TEST(ConfigurationGroups, NeedMemoryForNamesAndPath) {
    for (const auto& names : {std::vector<std::string>{}, std::vector<std::string>{"a", "b"}}) {
        const Bytes request = cfg_grp(1, names);
        EXPECT_EQ(read_without_memory(request, 0), KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(read_without_memory(request, 1), KELVO_ERR_NO_MEMORY);
    }
}

TEST(ConfigurationGroups, TakeTheMemoryOfTheirNamesAndPath) {
    const struct {
        std::vector<std::string> names;
        std::size_t places;
        std::string path;
    } rows[] = {
        {{}, 1, "cfg/gl/a/config-group//"},
        {{"alpha"}, 1, "cfg/gl/a/config-group/alpha/"},
        {{"alpha", "", "beta"}, 3, "cfg/gl/a/config-group/alpha||beta/"},
    };
    for (const auto& row : rows) {
        Bytes bytes = cfg_grp(1, row.names);
        bytes.resize(bytes.size() + 4);
        std::size_t asked_for;
        {
            const FailingMemory memory;
            Outs out;
            uint32_t record[5];
            EXPECT_EQ(kelvo_common_msg_cfg_grp_interpret(
                          bytes.data(), static_cast<uint32_t>(bytes.size() - 4), &out.first,
                          &out.words[0], record, &out.words[1], &out.words[2], &out.words[3]),
                      kOk);
            asked_for = FailingMemory::bytes();
            EXPECT_STREQ(out.first, row.path.c_str());
            free(out.first);
            EXPECT_EQ(FailingMemory::outstanding(), 0);
        }
        EXPECT_EQ(asked_for, row.places * sizeof(char*) + row.path.size() + 1) << row.path;
    }
}

TEST(ConfigurationGroups, MemoryIsAskedForBetweenTheChecks) {
    Bytes malformed = cfg_grp(1, {"a"});
    put_word(malformed, 48, 0);
    EXPECT_EQ(read_without_memory(malformed, 0), KELVO_ERR_NO_MEMORY);
    EXPECT_EQ(read_without_memory(malformed, 1), kContent);
    Bytes longer = cfg_grp(1, {"a"});
    longer.push_back(0);
    EXPECT_EQ(read_without_memory(longer, 1), KELVO_ERR_NO_MEMORY);
    EXPECT_EQ(read_without_memory(longer, 2), kLength);
    EXPECT_EQ(read_without_memory(Bytes(47), 0), kLength);
}

}  // namespace
