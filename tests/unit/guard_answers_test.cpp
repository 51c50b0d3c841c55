// SPDX-License-Identifier: Apache-2.0
//
// What the guard answers, in numbers: for every place where an operation would leave its message,
// the shortest length that is safe, and the counts that lead out of it.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstring>

#include "kelvo_common_msg_bulk.h"
#include "kelvo_common_msg_guard.h"
#include "platform/failing_memory.h"
#include "support/operation_messages.h"

namespace {

using namespace kelvo::test;

kelvo_status guard(kelvo_msg_operation operation, const Bytes& message) {
    return kelvo_common_msg_guard(operation, message.data(),
                                  static_cast<std::uint32_t>(message.size()));
}

/// The same with the word at an offset changed, to network order.
kelvo_status guard(kelvo_msg_operation operation, Bytes message, std::size_t at,
                   std::uint32_t word) {
    put_word(message, at, reversed(word));
    return guard(operation, message);
}

TEST(GuardArguments, OperationsThatThereAreNotAreNotSupported) {
    const Bytes message(200);
    for (const std::uint32_t operation :
         {std::uint32_t{KELVO_OPERATION_COUNT}, 1000U, 0x80000000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(kelvo_common_msg_guard(operation, message.data(), 200), KELVO_ERR_NOT_SUPPORTED);
        EXPECT_EQ(kelvo_common_msg_guard(operation, nullptr, 0), KELVO_ERR_NOT_SUPPORTED);
    }
}

TEST(GuardArguments, NullIsAnEmptyMessageOrNone) {
    for (std::uint32_t operation = 0; operation < KELVO_OPERATION_COUNT; ++operation) {
        const std::uint8_t byte = 0;
        EXPECT_EQ(kelvo_common_msg_guard(operation, nullptr, 0),
                  kelvo_common_msg_guard(operation, &byte, 0))
            << operation;
        EXPECT_EQ(kelvo_common_msg_guard(operation, nullptr, 1), KELVO_ERR_NULL_PARAM);
        EXPECT_EQ(kelvo_common_msg_guard(operation, nullptr, 0xFFFFFFFF), KELVO_ERR_NULL_PARAM);
    }
}

TEST(GuardArguments, NumbersAreTheRowsAndNeverChange) {
    std::uint32_t row = 0;
#define EXPECT_ROW(number, name, function) EXPECT_EQ(std::uint32_t{number}, row++) << #function;
    KELVO_MSG_OPERATION_LIST(EXPECT_ROW)
#undef EXPECT_ROW
    EXPECT_EQ(row, 77U);
    EXPECT_EQ(KELVO_OPERATION_BIND, 0);
    EXPECT_EQ(KELVO_OPERATION_BULK_NEXT, 32);
    EXPECT_EQ(KELVO_OPERATION_CFG_GRP, 76);
}

/// An operation that touches so many bytes whatever the length it is given, from a length on.
struct Reach {
    kelvo_msg_operation operation;
    std::uint32_t from;
    std::uint32_t bytes;
};

// A bind and an unmarked list touch the first length cell, too, as soon as their fixed part is
// there.
constexpr Reach kReaches[] = {
    {KELVO_OPERATION_BIND, 0, 84},
    {KELVO_OPERATION_SET_NTOH, 0, 48},
    {KELVO_OPERATION_CREATE_NTOH, 0, 48},
    {KELVO_OPERATION_DELETE_NTOH, 0, 48},
    {KELVO_OPERATION_VERIFY_NTOH, 0, 48},
    {KELVO_OPERATION_GET_REPLY_NTOH, 0, 36},
    {KELVO_OPERATION_GET_ITEMS_NTOH, 0, 48},
    {KELVO_OPERATION_COPY, 0, 44},
    {KELVO_OPERATION_FIND_NTOH, 0, 84},
    {KELVO_OPERATION_FIND_HTON, 0, 84},
    {KELVO_OPERATION_FIND_GROUP_NTOH, 0, 44},
    {KELVO_OPERATION_LIST, 0, 76},
    {KELVO_OPERATION_DATALIST, 0, 76},
    {KELVO_OPERATION_TRANSACTION_START, 0, 60},
    {KELVO_OPERATION_BULK, 1, 68},
    {KELVO_OPERATION_BULK_REPLY, 24, 36},
    {KELVO_OPERATION_NFN_REG_NTOH, 0, 116},
    {KELVO_OPERATION_NFN_REG_HTON, 0, 116},
    {KELVO_OPERATION_NFN_REG_NTOH, 120, 124},
    {KELVO_OPERATION_NFN_REG_HTON, 120, 124},
    {KELVO_OPERATION_VRFN_REG_NTOH, 0, 136},
    {KELVO_OPERATION_VRFN_REG_HTON, 0, 136},
    {KELVO_OPERATION_VS_REG_NTOH, 0, 116},
    {KELVO_OPERATION_VS_REG_HTON, 0, 116},
    {KELVO_OPERATION_EDM_REG_NTOH, 0, 124},
    {KELVO_OPERATION_EDM_REG_HTON, 0, 124},
    {KELVO_OPERATION_EDMS_REG_NTOH, 0, 108},
    {KELVO_OPERATION_EDMS_REG_HTON, 0, 108},
};

TEST(GuardReach, WordsThatAreTouchedWhateverTheLength) {
    for (const Reach& reach : kReaches) {
        for (std::uint32_t length = reach.from; length < reach.bytes; ++length) {
            EXPECT_EQ(guard(reach.operation, Bytes(length)), KELVO_ERR_MSG_LENGTH)
                << reach.operation << ", length " << length;
        }
        EXPECT_EQ(guard(reach.operation, Bytes(reach.bytes)), 0U) << reach.operation;
        if (reach.from == 0) continue;
        EXPECT_EQ(guard(reach.operation, Bytes(reach.from - 1)), 0U) << reach.operation;
    }
}

TEST(GuardReach, AMarkedListIsTouchedUpToItsMarkOnly) {
    for (const auto operation : {KELVO_OPERATION_LIST, KELVO_OPERATION_DATALIST}) {
        Bytes marked(24);
        put_word(marked, 20, KELVO_MSG_CONVERTED);
        EXPECT_EQ(guard(operation, marked), 0U);
        marked.pop_back();
        EXPECT_EQ(guard(operation, marked), KELVO_ERR_MSG_LENGTH);
    }
}

TEST(GuardReach, CellsThatAreTouchedBeforeThereIsRoom) {
    const std::pair<kelvo_msg_operation, std::size_t> fixed_parts[] = {
        {KELVO_OPERATION_BIND, 80},       {KELVO_OPERATION_COPY, 48},
        {KELVO_OPERATION_FIND_NTOH, 88},  {KELVO_OPERATION_FIND_GROUP_NTOH, 48},
        {KELVO_OPERATION_LIST, 72},       {KELVO_OPERATION_DATALIST, 72},
        {KELVO_OPERATION_WRITE_LOCK, 40}, {KELVO_OPERATION_READ_LOCK, 40},
        {KELVO_OPERATION_UNLOCK, 40}};
    for (const auto& [operation, fixed] : fixed_parts) {
        for (std::size_t more = 0; more < 8; ++more) {
            EXPECT_EQ(guard(operation, Bytes(fixed + more)), more < 4 ? KELVO_ERR_MSG_LENGTH : 0U)
                << operation << ", " << more;
        }
    }
}

TEST(GuardItem, ACountThatStopsTheProcessIsContent) {
    const Bytes get = item_request(Order::network, 0, "cfg/a");
    EXPECT_EQ(guard(KELVO_OPERATION_GET_NTOH, get), 0U);
    for (const std::uint32_t count : {0U, 2U, 0x01000000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(guard(KELVO_OPERATION_GET_NTOH, get, 48, count), KELVO_ERR_MSG_CONTENT);
        EXPECT_EQ(guard(KELVO_OPERATION_SET_NTOH, get, 48, count), 0U) << "a status answers";
    }
    EXPECT_EQ(guard(KELVO_OPERATION_GET_NTOH, Bytes(47)), KELVO_ERR_MSG_LENGTH);
    EXPECT_EQ(guard(KELVO_OPERATION_GET_NTOH, Bytes(55)), 0U) << "too short for a count";
    EXPECT_EQ(guard(KELVO_OPERATION_GET_NTOH, Bytes(56)), KELVO_ERR_MSG_CONTENT);
}

// An item operation takes a length of 2 GiB for a negative one, and a get then looks at the count
// as it came.
TEST(GuardItem, ALengthThatIsNegativeIsJudgedAsSuch) {
    constexpr std::size_t kHuge = std::size_t{1} << 31;
    void* const huge = mmap(nullptr, kHuge, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(huge, MAP_FAILED);
    const auto guard_huge = [&](kelvo_msg_operation operation, std::uint32_t count) {
        std::memcpy(static_cast<std::uint8_t*>(huge) + 48, &count, 4);
        return kelvo_common_msg_guard(operation, huge, std::uint32_t{kHuge});
    };
    EXPECT_EQ(guard_huge(KELVO_OPERATION_SET_NTOH, 0), 0U);
    EXPECT_EQ(guard_huge(KELVO_OPERATION_GET_NTOH, 1), 0U);
    EXPECT_EQ(guard_huge(KELVO_OPERATION_GET_NTOH, reversed(1)), KELVO_ERR_MSG_CONTENT);
    munmap(huge, kHuge);
}

TEST(GuardListReply, GroupsThatAreNotThere) {
    for (const auto operation :
         {KELVO_OPERATION_LIST_REPLY_NTOH, KELVO_OPERATION_DATALIST_REPLY_NTOH}) {
        const std::uint32_t values = operation == KELVO_OPERATION_LIST_REPLY_NTOH ? 0 : 2;
        const Bytes reply = list_reply(Order::network, values, {1});
        EXPECT_EQ(guard(operation, reply, 16, 0), 0U);
        for (const std::uint32_t groups : {2U, 3U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
            EXPECT_EQ(guard(operation, reply, 16, groups), KELVO_ERR_MSG_LENGTH) << groups;
        }
        EXPECT_EQ(guard(operation, list_reply(Order::network, values, {0, 0, 0})), 0U);
        EXPECT_EQ(guard(operation, Bytes(55, 0xFF)), 0U) << "too short is a status";
    }
}

TEST(GuardListReply, WhatAGroupEndsWithMayClaimMoreThanThereIs) {
    const Bytes names = list_reply(Order::network, 0, {1});
    EXPECT_EQ(guard(KELVO_OPERATION_LIST_REPLY_NTOH, names, 64, 0xFFFFFFFF), 0U);
    const Bytes two = list_reply(Order::network, 0, {1, 1});
    EXPECT_EQ(guard(KELVO_OPERATION_LIST_REPLY_NTOH, two), 0U);
    for (const std::uint32_t name : {0x28U, 0x1000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(guard(KELVO_OPERATION_LIST_REPLY_NTOH, two, 64, name), KELVO_ERR_MSG_LENGTH);
    }
}

TEST(GuardListReply, AValueBehindTheEndIsTouchedByItsType) {
    Bytes reply = list_reply(Order::network, 2, {1});
    reply.resize(reply.size() - 8);  // the second value is not there, but its cell is
    const struct {
        std::uint32_t type;
        std::size_t width;
    } types[] = {{KELVO_VALUE_INT2, 2}, {KELVO_VALUE_INT4, 4}, {KELVO_VALUE_INT8, 8}};
    for (const auto& [type, width] : types) {
        for (std::size_t there = 0; there <= 8; ++there) {
            Bytes cut = reply;
            cut.resize(reply.size() + there);
            EXPECT_EQ(guard(KELVO_OPERATION_DATALIST_REPLY_NTOH, cut, 56, type),
                      there < width ? KELVO_ERR_MSG_LENGTH : 0U)
                << type << ", " << there;
        }
    }
    EXPECT_EQ(guard(KELVO_OPERATION_DATALIST_REPLY_NTOH, reply, 56, KELVO_VALUE_RECORD), 0U);
}

TEST(GuardBulk, WordsOfAnItemThatIsNotThereWhole) {
    const Bytes request = bulk_request({});
    for (std::size_t more = 0; more < 24; ++more) {
        Bytes message = request;
        message.resize(request.size() + more);
        const bool reaches = more >= 16 && more < 20;  // up to its name length
        EXPECT_EQ(guard(KELVO_OPERATION_BULK_NEXT, message), reaches ? KELVO_ERR_MSG_LENGTH : 0U)
            << more;
        EXPECT_EQ(guard(KELVO_OPERATION_BULK, message), 0U);
    }
}

TEST(GuardBulk, DataOfAForeignItem) {
    const Bytes data = {1, 2, 3, 4, 5, 6, 7, 8};
    const Bytes foreign = bulk_item(Order::network, {1, 2, KELVO_VALUE_INT8, 4}, "n", data);
    const Bytes native = bulk_item(Order::host, {1, 2, KELVO_VALUE_INT8, 4}, "n", data);
    const std::size_t data_cell = bulk_request({}).size() + 16 + 16;
    for (std::size_t there = 0; there <= 16; ++there) {
        const auto cut = [&](const Bytes& item) {
            Bytes message = bulk_request({item});
            message.resize(data_cell + there);
            return guard(KELVO_OPERATION_BULK_NEXT, message);
        };
        EXPECT_EQ(cut(foreign), there < 16 ? KELVO_ERR_MSG_LENGTH : 0U) << there;
        EXPECT_EQ(cut(native), 0U) << there;
    }
}

TEST(GuardBulk, AnItemThatCannotBeTakenAgain) {
    const auto request_with = [](std::size_t name_bytes) {
        return bulk_request({bulk_item(Order::network, {1, 2, KELVO_VALUE_NONE, 4},
                                       std::string(name_bytes - 1, 'n'), {})});
    };
    EXPECT_EQ(guard(KELVO_OPERATION_BULK_BACK, request_with(KELVO_BULK_NAME_MAX)), 0U);
    const Bytes longer = request_with(KELVO_BULK_NAME_MAX + 2);
    EXPECT_EQ(guard(KELVO_OPERATION_BULK_NEXT, longer), 0U);
    EXPECT_EQ(guard(KELVO_OPERATION_BULK_BACK, longer), KELVO_ERR_MSG_CONTENT);
}

TEST(GuardBulk, AnItemOfAReplyThatCannotBeTakenAgain) {
    const auto reply_with = [](std::size_t name_bytes) {
        return bulk_reply({bulk_reply_item(Order::network, {1, KELVO_VALUE_NONE, 3, 4},
                                           std::string(name_bytes - 1, 'n'), {}, "third")});
    };
    EXPECT_EQ(guard(KELVO_OPERATION_BULK_REPLY_BACK, reply_with(KELVO_BULK_NAME_MAX)), 0U);
    const Bytes longer = reply_with(KELVO_BULK_NAME_MAX + 2);
    EXPECT_EQ(guard(KELVO_OPERATION_BULK_REPLY_NEXT, longer), 0U);
    EXPECT_EQ(guard(KELVO_OPERATION_BULK_REPLY_BACK, longer), KELVO_ERR_MSG_CONTENT);
}

TEST(GuardNotify, AnEntryThatIsNotThere) {
    const Bytes set = notify_set(Order::network, 1, {});
    for (std::size_t more = 0; more <= 16; ++more) {
        Bytes message = set;
        message.resize(set.size() + more);
        const kelvo_status expected = more < 8 ? KELVO_ERR_MSG_LENGTH : 0;
        EXPECT_EQ(guard(KELVO_OPERATION_NOTIFYSET, message), expected) << more;
        EXPECT_EQ(guard(KELVO_OPERATION_NOTIFYSET_NEXT, message), expected) << more;
        EXPECT_EQ(guard(KELVO_OPERATION_NOTIFYSET_VALUES, message), 0U) << more;
    }
}

TEST(GuardCallback, EntriesThatAreNotThere) {
    const Bytes errors = errorset(Order::network, 0);
    Bytes verify = verify_reply(Order::network, 0);
    for (std::size_t more = 0; more <= 24; ++more) {
        Bytes message = errors;
        message.resize(errors.size() + more);
        EXPECT_EQ(guard(KELVO_OPERATION_ERRORSET_NTOH, message, 52, 1),
                  more < 8 ? KELVO_ERR_MSG_LENGTH : 0U)
            << more;
        message = verify;
        message.resize(verify.size() + more);
        EXPECT_EQ(guard(KELVO_OPERATION_VERIFY_REPLY_NTOH, message, 36, 1),
                  more < 16 ? KELVO_ERR_MSG_LENGTH : 0U)
            << more;
        EXPECT_EQ(guard(KELVO_OPERATION_VERIFY_REPLY_HTON, message, 36, 0x01000000), 0U) << more;
    }
    EXPECT_EQ(guard(KELVO_OPERATION_ERRORSET_HTON, errors, 52, 0x01000000), 0U);
}

TEST(GuardRegistration, EntriesOfAnActivateAreCounted) {
    const Bytes activate = reg_activate(Order::network, {1, 2, 3});
    for (const std::uint32_t entries : {0U, 2U, 3U}) {
        EXPECT_EQ(guard(KELVO_OPERATION_REG_ACTIVATE_NTOH, activate, 48, entries), 0U);
    }
    for (const std::uint32_t entries : {4U, 0x40000000U, 0x40000003U, 0xFFFFFFFFU}) {
        EXPECT_EQ(guard(KELVO_OPERATION_REG_ACTIVATE_NTOH, activate, 48, entries),
                  KELVO_ERR_MSG_LENGTH);
        EXPECT_EQ(guard(KELVO_OPERATION_REG_ACTIVATE_HTON, activate, 48, reversed(entries)),
                  KELVO_ERR_MSG_LENGTH);
    }
    EXPECT_EQ(guard(KELVO_OPERATION_REG_ACTIVATE_NTOH, Bytes(55, 0xFF)), 0U);
}

TEST(GuardRegistration, PathsOfAVerifierAreCounted) {
    const Bytes reg = vrfn_reg(Order::network, {"cfg/a", "b"});
    EXPECT_EQ(guard(KELVO_OPERATION_VRFN_REG_NTOH, reg, 128, 1), 0U);
    EXPECT_EQ(guard(KELVO_OPERATION_VRFN_REG_NTOH, reg, 128, 3), KELVO_ERR_MSG_LENGTH);
    EXPECT_EQ(guard(KELVO_OPERATION_VRFN_REG_NTOH, reg, 128, 0xFFFFFFFF), KELVO_ERR_MSG_LENGTH);
    // A length that fits in neither order stays where it is, however many paths are claimed.
    Bytes stuck = reg;
    put_word(stuck, 136, 0xFFFFFFFF);
    EXPECT_EQ(guard(KELVO_OPERATION_VRFN_REG_NTOH, stuck, 128, 0xFFFFFFFF), 0U);
    EXPECT_EQ(guard(KELVO_OPERATION_VRFN_REG_HTON, stuck, 128, 0xFFFFFFFF), 0U);
    // One that fits in the other order is passed over, to where there is none.
    Bytes other = vrfn_reg(Order::network, {"a"});
    reverse_at(other, 136);
    EXPECT_EQ(guard(KELVO_OPERATION_VRFN_REG_NTOH, other, 128, 2), 0U);
    EXPECT_EQ(guard(KELVO_OPERATION_VRFN_REG_NTOH, other, 128, 3), KELVO_ERR_MSG_LENGTH);
}

TEST(GuardRegistration, LengthsAndPairsBehindTheEnd) {
    Bytes edm = edm_reg(Order::network, "a", "b");
    edm.resize(144 + 8);
    EXPECT_EQ(guard(KELVO_OPERATION_EDM_REG_NTOH, edm), 0U);
    edm.resize(144 + 3);
    EXPECT_EQ(guard(KELVO_OPERATION_EDM_REG_NTOH, edm), KELVO_ERR_MSG_LENGTH);

    const Bytes vs = vs_reg(Order::network, "a", {});
    for (std::size_t more = 0; more <= 8; ++more) {
        Bytes message = vs;
        message.resize(vs.size() + more);
        EXPECT_EQ(guard(KELVO_OPERATION_VS_REG_NTOH, message, 136, 1),
                  more < 8 ? KELVO_ERR_MSG_LENGTH : 0U)
            << more;
        EXPECT_EQ(guard(KELVO_OPERATION_VS_REG_HTON, message, 136, 0x01000000), 0U) << more;
    }
}

TEST(GuardRegistration, NamesOfGroupsAreCounted) {
    Bytes request = cfg_grp(1, {"alpha", "b"});
    EXPECT_EQ(guard(KELVO_OPERATION_CFG_GRP, request), 0U);
    for (const std::uint32_t names : {3U, 0xFFFFFFFFU}) {
        EXPECT_EQ(guard(KELVO_OPERATION_CFG_GRP, request, 44, reversed(names)),
                  KELVO_ERR_MSG_LENGTH);
    }
    put_word(request, 48, 0xFFFFFFFF);
    EXPECT_EQ(guard(KELVO_OPERATION_CFG_GRP, request, 44, 0xFFFFFFFF), 0U) << "a status answers";
}

/// A VS registration in host order, and the same as an EDMS registration.
void expect_startup(const Pairs& pairs, std::uint32_t claimed, kelvo_status answer) {
    Bytes vs = vs_reg(Order::host, "a", pairs);
    put_word(vs, 136, claimed);
    EXPECT_EQ(guard(KELVO_OPERATION_VS_REG, vs), answer);
    Bytes edms = edms_reg(Order::host, "a", pairs);
    put_word(edms, 128, claimed);
    EXPECT_EQ(guard(KELVO_OPERATION_EDMS_REG, edms), answer);
}

TEST(GuardStartupList, AFailureBehindAPairLeavesThatBehind) {
    expect_startup({{1, 2}, {3, 4}}, 2, 0);
    expect_startup({}, 1, 0);                                   // no pair yet
    expect_startup({{1, 2}}, 0, 0);                             // bytes left over, but no pair
    expect_startup({{1, 2}}, 2, KELVO_ERR_MSG_LENGTH);          // the second is not there
    expect_startup({{1, 2}, {3, 4}}, 1, KELVO_ERR_MSG_LENGTH);  // bytes left over
    expect_startup({{1, 2}}, 0xFFFFFFFF, KELVO_ERR_MSG_LENGTH);
    expect_startup({{1, 2}, {1, 2}}, 2, KELVO_ERR_MSG_CONTENT);  // listed twice
    expect_startup({{1, 2}, {1, KELVO_NODEID_INVALID}}, 2, KELVO_ERR_MSG_CONTENT);
    expect_startup({{1, KELVO_NODEID_INVALID}, {1, 2}}, 2, 0);  // is none that matches
    expect_startup({{0, 0}, {0, 1}, {0, 0}}, 3, KELVO_ERR_MSG_CONTENT);
}

// Few pairs are looked through, many stand in a set; the answers are the same on both sides.
TEST(GuardStartupList, AnswersDoNotDependOnTheNumberOfPairs) {
    for (std::uint32_t count = 1; count <= 70; ++count) {
        Pairs pairs;
        for (std::uint32_t i = 0; i < count; ++i) pairs.emplace_back(i, 7 * i);
        expect_startup(pairs, count, 0);
        pairs.emplace_back(count / 2, 7 * (count / 2));
        expect_startup(pairs, count + 1, KELVO_ERR_MSG_CONTENT);
        pairs.back() = {count / 2, KELVO_NODEID_INVALID};
        expect_startup(pairs, count + 1, KELVO_ERR_MSG_CONTENT);
        pairs.back() = {count / 2, 1};
        expect_startup(pairs, count + 1, 0);
    }
}

TEST(GuardStartupList, OnlyManyPairsTakeMemoryAndGiveItBack) {
    Pairs pairs;
    for (std::uint32_t i = 0; i < 10000; ++i) pairs.emplace_back(i, i);
    const Bytes few = vs_reg(Order::host, "a", Pairs(pairs.begin(), pairs.begin() + 32));
    const Bytes more = vs_reg(Order::host, "a", Pairs(pairs.begin(), pairs.begin() + 33));
    const Bytes many = vs_reg(Order::host, "a", pairs);
    {
        const FailingMemory memory;
        EXPECT_EQ(guard(KELVO_OPERATION_VS_REG, few), 0U);
        EXPECT_EQ(FailingMemory::allocations(), 0U);
    }
    {
        const FailingMemory memory;
        EXPECT_EQ(guard(KELVO_OPERATION_VS_REG, many), 0U);
        EXPECT_EQ(FailingMemory::outstanding(), 0);
        EXPECT_LE(FailingMemory::bytes(), 100U * 10000 * 2);  // each array, the doubled ones too
    }
    const FailingMemory none(0);
    EXPECT_EQ(guard(KELVO_OPERATION_VS_REG, more), KELVO_ERR_NO_MEMORY);
}

TEST(GuardMemory, NothingElseIsEverAllocated) {
    for (std::uint32_t i = 0; i < KELVO_OPERATION_COUNT; ++i) {
        const auto operation = static_cast<kelvo_msg_operation>(i);
        for (const Bytes& message : messages_for(operation)) {
            const FailingMemory memory;
            EXPECT_EQ(kelvo_common_msg_guard(i, message.data(),
                                             static_cast<std::uint32_t>(message.size())),
                      0U)
                << i;
            EXPECT_EQ(FailingMemory::allocations(), 0U) << i;
        }
    }
}

}  // namespace
