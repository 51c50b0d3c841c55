// SPDX-License-Identifier: Apache-2.0
//
// The catalogue and the status codes, written out a second time.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <map>
#include <string>

#include "kelvo_msg_records.h"
#include "kelvo_status.h"

namespace {

struct Row {
    const qor_msg_rec* record;
    const qor_msg_limit* limit;
    const char* mnemonic;
    std::uint32_t message_id;
    std::uint16_t severity;
    std::uint16_t options;
    const char* format;
};

#define RECORD(name) &qor_msg_rec_kelvoutils_##name
#define LIMIT(name) &qor_msg_limit_kelvoutils_##name

const Row kRows[] = {
    {RECORD(deprecated_path), LIMIT(deprecated_path), "DEPRECATED_PATH", 0x02320020, 7, 0,
     "Kelvo path '%s' is deprecated"},
    {RECORD(fileopen_fail), nullptr, "FILEOPEN_FAIL", 0x02320021, 6, 0,
     "Failed to open log file %s"},
    {RECORD(internal), LIMIT(internal), "INTERNAL", 0x02320022, 7, 7, "%s: rc 0x%x (%s)"},
    {RECORD(internal_nodeid_str), LIMIT(internal_nodeid_str), "INTERNAL_NODEID_STR", 0x02320023, 7,
     1, "NodeID to string conversion failed for node id %d (rc 0x%x - %s)"},
    {RECORD(internal_state), LIMIT(internal_state), "INTERNAL_STATE", 0x02320024, 7, 1, "%s"},
    {RECORD(invalid_path), LIMIT(invalid_path), "INVALID_PATH", 0x02320025, 7, 1,
     "Kelvo path '%s' is invalid"},
    {RECORD(locking), LIMIT(locking), "LOCKING", 0x02320026, 7, 7, "Failed to %s %s. Error %d"},
    {RECORD(mutex_unlock_fail), nullptr, "MUTEX_UNLOCK_FAIL", 0x02320027, 6, 0,
     "Failed to unlock log mutex"},
    {RECORD(parse_failed), LIMIT(parse_failed), "PARSE_FAILED", 0x02320028, 7, 0,
     "%s ('%s' from '%s') (%s)"},
    {RECORD(unexpected_value), LIMIT(unexpected_value), "UNEXPECTED_VALUE", 0x02320029, 7, 1,
     "Encountered unexpected %s: 0x%x"},
    {RECORD(wrong_plane), LIMIT(wrong_plane), "WRONG_PLANE", 0x0232002A, 7, 0,
     "An attempt was made to access Kelvo path '%s'.  This resolves to the %s plane and cannot be "
     "accessed on this card type."},
};

TEST(MessageCatalogue, EveryRecordIsAsStored) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.mnemonic);
        EXPECT_EQ(row.record->reserved, 0U);
        EXPECT_STREQ(row.record->format, row.format);
        EXPECT_EQ(row.record->limit, row.limit);
        EXPECT_STREQ(row.record->facility, "KELVOUTILS");
        EXPECT_STREQ(row.record->group, "KELVO");
        EXPECT_STREQ(row.record->mnemonic, row.mnemonic);
        EXPECT_EQ(row.record->options, row.options);
        EXPECT_EQ(row.record->severity, row.severity);
        for (const std::uint32_t word : row.record->reserved2) EXPECT_EQ(word, 0U);
        EXPECT_EQ(row.record->message_id, row.message_id);
        EXPECT_EQ(row.record->reserved3, 0U);
    }
}

TEST(MessageCatalogue, FieldsLieWhereTheLoggerReadsThem) {
    EXPECT_EQ(sizeof(qor_msg_rec), 72U);
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.mnemonic);
        const auto* const at = reinterpret_cast<const unsigned char*>(row.record);
        const auto same = [at](std::size_t offset, const auto& value) {
            return std::memcmp(at + offset, &value, sizeof value) == 0;
        };
        EXPECT_TRUE(same(0, std::uint64_t{0}));
        EXPECT_TRUE(same(8, row.record->format));
        EXPECT_TRUE(same(16, row.limit));
        EXPECT_TRUE(same(24, row.record->facility));
        EXPECT_TRUE(same(32, row.record->group));
        EXPECT_TRUE(same(40, row.record->mnemonic));
        EXPECT_TRUE(same(48, row.options));
        EXPECT_TRUE(same(50, row.severity));
        EXPECT_TRUE(same(52, std::uint64_t{0}));
        EXPECT_TRUE(same(60, std::uint32_t{0}));
        EXPECT_TRUE(same(64, row.message_id));
        EXPECT_TRUE(same(68, std::uint32_t{0}));
    }
}

TEST(MessageCatalogue, ARateLimitObjectIsOneAndThenZero) {
    static_assert(sizeof(qor_msg_limit) == 32);
    for (const Row& row : kRows) {
        if (row.limit == nullptr) continue;
        SCOPED_TRACE(row.mnemonic);
        std::uint32_t words[8];
        std::memcpy(words, row.limit, sizeof words);
        EXPECT_EQ(words[0], 1U);
        for (int i = 1; i < 8; ++i) EXPECT_EQ(words[i], 0U) << i;
    }
}

TEST(MessageCatalogue, EveryRecordHasARateLimitObjectOfItsOwn) {
    std::map<const qor_msg_limit*, int> uses;
    for (const Row& row : kRows) {
        if (row.limit != nullptr) ++uses[row.limit];
    }
    EXPECT_EQ(uses.size(), 9U);
}

TEST(MessageCatalogue, NumbersFollowTheAlphabetOfTheMnemonics) {
    std::uint32_t number = 32;
    const Row* before = nullptr;
    for (const Row& row : kRows) {
        EXPECT_EQ(row.message_id & 0xFFFF, number++) << row.mnemonic;
        if (before != nullptr) {
            EXPECT_LT(std::string(before->mnemonic), row.mnemonic);
        }
        before = &row;
    }
}

TEST(MessageCatalogue, TheListNamesTheRecordsAndNoOthers) {
#define COUNT(...) +1
    static_assert((0 KELVO_MSG_RECORD_LIST(COUNT)) == std::size(kRows));
#undef COUNT
}

TEST(StatusCodes, EveryCodeHasItsValue) {
    const std::map<std::string, std::uint32_t> expected = {
        {"KELVO_ERR_NULL_PARAM", 0x40818800},        {"KELVO_ERR_NO_MEMORY", 0xc0818200},
        {"KELVO_ERR_NOT_FOUND", 0x40818600},         {"KELVO_ERR_MSG_LENGTH", 0xa0825000},
        {"KELVO_ERR_MSG_CONTENT", 0xa0825200},       {"KELVO_ERR_BAD_VALUE_TYPE", 0x40818e00},
        {"KELVO_ERR_REPLY_FAILED", 0xa0820c00},      {"KELVO_ERR_VERSION_MISMATCH", 0xa0820e00},
        {"KELVO_ERR_MSG_DUPLICATE", 0xa0821200},     {"KELVO_ERR_ALREADY_EXISTS", 0x40824c00},
        {"KELVO_ERR_INVALID_STRING", 0x40826200},    {"KELVO_ERR_BAD_REGEXP", 0x40827400},
        {"KELVO_ERR_BAD_PATH", 0x40818a00},          {"KELVO_ERR_NO_OWNER", 0xa0813800},
        {"KELVO_ERR_REMOTE_LOCAL_BIND", 0xa0813c00}, {"KELVO_ERR_NODE_NAME", 0x40810200},
        {"KELVO_ERR_BAD_NODE_TYPE", 0x40810400},     {"KELVO_ERR_RESOLVE_UNSUPPORTED", 0x40810600},
        {"KELVO_ERR_NAME_TOO_LONG", 0xc0825c00},     {"KELVO_ERR_OS_CALL", 0xa0820a00},
        {"KELVO_ERR_DEBUG_INIT", 0x40829000},        {"KELVO_ERR_NOT_SUPPORTED", 0x40818400},
        {"KELVO_ERR_NO_SUCH_KEY", 0x40813e00},       {"KELVO_ERR_STACK_EMPTY_POP", 0xa0827e00},
        {"KELVO_ERR_STACK_EMPTY_PEEK", 0xa0827a00},
    };
    std::map<std::string, std::uint32_t> listed;
#define LIST(name, meaning) EXPECT_TRUE(listed.emplace(#name, name).second) << #name;
    KELVO_STATUS_LIST(LIST)
#undef LIST
    EXPECT_EQ(listed, expected);
}

TEST(StatusCodes, TheClassIsTheTopThreeBits) {
    EXPECT_EQ(KELVO_STATUS_CLASS_MASK, 0xE0000000U);
    EXPECT_EQ(KELVO_STATUS_CLASS_TRANSIENT, 0x80000000U);
}

}  // namespace
