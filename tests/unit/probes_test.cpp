// SPDX-License-Identifier: Apache-2.0
//
// The static probes, watched as a tracer watches them: what each one says, and that every operation
// on messages tells of itself.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "kelvo_common_msg_bind.h"
#include "kelvo_common_msg_bulk.h"
#include "kelvo_common_msg_callback.h"
#include "kelvo_common_msg_copy.h"
#include "kelvo_common_msg_find.h"
#include "kelvo_common_msg_get_items.h"
#include "kelvo_common_msg_item.h"
#include "kelvo_common_msg_list.h"
#include "kelvo_common_msg_notify.h"
#include "kelvo_common_msg_transaction.h"
#include "kelvo_node_resolver.h"
#include "platform/failing_memory.h"
#include "support/operation_messages.h"
#include "support/operations.h"
#include "support/tracer.h"

namespace {

using namespace kelvo::test;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using Events = std::vector<Event>;

constexpr char kLibrary[] = "libkelvoutils.so.";

Event composed(u32 type, u64 length, u32 answer) {
    return {"composed", {type, length, answer}};
}
Event interpreted(u32 type, u64 length, kelvo_status status = 0) {
    return {"interpreted", {type, length, status}};
}
/// What is said of a message that is refused.
Events refusal(u32 type, u64 length, u64 offset, kelvo_status status) {
    return {{"refused", {type, length, offset, status}}, interpreted(type, length, status)};
}

/// In place of the type of a message that has no header.
constexpr u32 no_header(kelvo_msg_operation receives) {
    return 256 + u32{receives};
}

TEST(Probes, SayNothingWhereNobodyHasCountedUpTheirSemaphores) {
    Tracer tracer(kLibrary, Tracer::Semaphores::left_alone);
    Bytes header(40);
    kelvo_common_msg_unbind_compose(header.data());
    EXPECT_EQ(kelvo_common_msg_trancommit_interpret(header.data(), 40), 0U);
    EXPECT_EQ(kelvo_common_msg_trancommit_interpret(header.data(), 39), KELVO_ERR_MSG_LENGTH);
    EXPECT_EQ(kelvo_nr_lookup_node(nullptr, "", 0, nullptr, nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(tracer.take(), Events{});
}

// --- composed -----------------------------------------------------------------------------------

class ProbeComposed : public testing::Test {
  protected:
    u32* cell(std::size_t number) { return &cells.at(number).length; }
    char* path() { return text.data(); }

    /// The one event, of a message whose length is what the slots add up to.
    void expect(u32 type, u32 answer = 0) {
        u32 total;
        kelvo_common_msg_iovs_length(list.data(), static_cast<std::int32_t>(list.size()), &total);
        EXPECT_EQ(tracer.take(), Events{composed(type, total, answer)});
        list = {};
    }

    std::array<std::uint8_t, 200> header = {};
    std::array<kelvo_length_cell, 8> cells = {};
    std::array<kelvo_slot, 20> list = {};
    std::array<char, 6> text = {'c', 'f', 'g', '/', 'a', '\0'};
    std::array<std::uint8_t, 8> value = {1, 2, 3, 4, 5, 6, 7, 8};
    Tracer tracer{kLibrary};
};

TEST_F(ProbeComposed, BindAndUnbind) {
    kelvo_common_msg_bind_compose(header.data(), cell(0), "one", 1, 2, 3, 4, 5, 6, 7, 8, cell(1),
                                  "the other", list.data());
    expect(KELVO_MSG_BIND);
    kelvo_common_msg_unbind_compose(header.data());
    EXPECT_EQ(tracer.take(), Events{composed(KELVO_MSG_UNBIND, 40, 0)});
}

TEST_F(ProbeComposed, Copy) {
    EXPECT_EQ(kelvo_common_msg_copy_compose(header.data(), cell(0), cell(1), cell(2), path(),
                                            path(), "c", 7, list.data()),
              0U);
    expect(KELVO_MSG_COPY);
}

TEST_F(ProbeComposed, Find) {
    kelvo_common_msg_find_compose(header.data(), cell(0), cell(1), "one", "b", 1, 2, 3, 4, 5, 6, 7,
                                  8, 9, list.data());
    expect(KELVO_MSG_FIND);
    kelvo_common_msg_find_grp_ag_ah_compose(header.data(), cell(0), "group", 1, list.data(), 1);
    expect(KELVO_MSG_FIND_GRP_AG);
    kelvo_common_msg_find_grp_ag_ah_compose(header.data(), cell(0), "group", 1, list.data(), 0);
    expect(KELVO_MSG_FIND_GRP_AH);
}

TEST_F(ProbeComposed, List) {
    kelvo_common_msg_list_compose(header.data(), cell(0), cell(1), "one", "b", 1, 2, 3, 4, 5, 6,
                                  list.data());
    expect(KELVO_MSG_LIST);
    kelvo_common_msg_datalist_compose(header.data(), cell(0), cell(1), "one", "b", 1, 2, 3, 4, 5, 6,
                                      list.data());
    expect(KELVO_MSG_DATALIST);
}

TEST_F(ProbeComposed, GetItems) {
    std::array<char*, 2> names = {path(), path() + 4};
    EXPECT_EQ(kelvo_common_msg_get_items_compose(header.data(), names.data(), cell(1), "base",
                                                 cell(0), 2, 9, list.data()),
              0U);
    expect(KELVO_MSG_GET_ITEMS);
}

TEST_F(ProbeComposed, ItemGet) {
    kelvo_common_msg_item_get_compose(header.data(), cell(0), cell(1), cell(2), path(), 9,
                                      list.data());
    expect(KELVO_MSG_ITEM_GET);
    kelvo_lib_msg_item_get_compose(header.data(), cell(0), cell(1), cell(2), path(), 9,
                                   list.data());
    expect(KELVO_MSG_ITEM_GET);
    kelvo_lib_msg_item_get_inh_compose(header.data(), cell(0), cell(1), cell(2), path(), 9,
                                       list.data());
    expect(KELVO_MSG_ITEM_GET_INH);
}

TEST_F(ProbeComposed, ItemsWithValuesAndTheAnswerWhetherTheyWereConverted) {
    const u32 answer =
        kelvo_common_msg_item_set_compose(header.data(), cell(0), cell(1), cell(2), cell(3), path(),
                                          KELVO_VALUE_INT8, value.data(), 8, 9, list.data());
    EXPECT_NE(answer, 0U);
    expect(KELVO_MSG_ITEM_SET, answer);
    kelvo_common_msg_item_create_compose(header.data(), cell(0), cell(1), cell(2), cell(3), path(),
                                         KELVO_VALUE_INT8, value.data(), 0, 9, list.data());
    expect(KELVO_MSG_ITEM_CREATE);
    kelvo_common_msg_item_delete_compose(header.data(), cell(0), cell(1), cell(2), cell(3), path(),
                                         KELVO_VALUE_INT8, value.data(), 0, 9, list.data());
    expect(KELVO_MSG_ITEM_DELETE);
    kelvo_common_msg_item_delete_compose(header.data(), cell(0), cell(1), cell(2), cell(3), path(),
                                         KELVO_VALUE_INT8, value.data(), 8, 9, list.data());
    expect(KELVO_MSG_ITEM_COND_DELETE, answer);
    kelvo_common_msg_item_verify_compose(header.data(), cell(0), cell(1), path(), KELVO_VALUE_INT8,
                                         value.data(), 8, 9, list.data());
    expect(KELVO_MSG_ITEM_VERIFY, answer);
}

TEST_F(ProbeComposed, BulkWhenItsLastItemIsThere) {
    kelvo_bulk_builder builder;
    ASSERT_EQ(kelvo_common_msg_bulk_init(header.data(), 2, 1, 2, "leading", &builder), 0U);
    kelvo_bulk_item record = {};
    record.name = path();
    kelvo_common_msg_bulk_add(&record, 0, &builder);
    EXPECT_EQ(tracer.take(), Events{});
    record.data = value.data();
    record.data_length = 8;
    kelvo_common_msg_bulk_add(&record, 1, &builder);
    u32 total;
    kelvo_common_msg_iovs_length(builder.slots, 4 + 2 * 7, &total);
    EXPECT_EQ(tracer.take(), Events{composed(KELVO_MSG_BULK, total, 0)});
    kelvo_common_msg_bulk_free(&builder);
}

TEST_F(ProbeComposed, BulkWithoutItemsWhenItHasBegunAndOneThatCouldNotBegin) {
    kelvo_bulk_builder builder;
    ASSERT_EQ(kelvo_common_msg_bulk_init(header.data(), 0, 1, 2, "leading", &builder), 0U);
    EXPECT_EQ(tracer.take(), Events{composed(KELVO_MSG_BULK, 64 + 8 + 8, 0)});
    kelvo_common_msg_bulk_free(&builder);
    EXPECT_EQ(kelvo_common_msg_bulk_init(nullptr, 0, 1, 2, "leading", &builder),
              KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(tracer.take(), Events{composed(KELVO_MSG_BULK, 0, KELVO_ERR_NULL_PARAM)});
    {
        const FailingMemory memory(0);
        EXPECT_EQ(kelvo_common_msg_bulk_init(header.data(), 1, 1, 2, "leading", &builder),
                  KELVO_ERR_NO_MEMORY);
    }
    EXPECT_EQ(tracer.take(), Events{composed(KELVO_MSG_BULK, 0, KELVO_ERR_NO_MEMORY)});
}

// --- interpreted and refused --------------------------------------------------------------------

/// What an operation's messages are known by, where that is not the type in their headers.
u32 fixed_type(kelvo_msg_operation operation) {
    switch (operation) {
        case KELVO_OPERATION_TRANSACTION_COMMIT:
            return KELVO_MSG_TRANS_COMMIT;
        case KELVO_OPERATION_TRANSACTION_ABORT:
            return KELVO_MSG_TRANS_ABORT;
        case KELVO_OPERATION_GET_REPLY_HTON:
            return no_header(KELVO_OPERATION_GET_REPLY_NTOH);
        case KELVO_OPERATION_APPLY_REPLY_HTON:
            return no_header(KELVO_OPERATION_APPLY_REPLY_NTOH);
        case KELVO_OPERATION_VERIFY_REPLY_HTON:
            return no_header(KELVO_OPERATION_VERIFY_REPLY_NTOH);
        case KELVO_OPERATION_SMSET_REPLY_HTON:
            return no_header(KELVO_OPERATION_SMSET_REPLY_NTOH);
        case KELVO_OPERATION_TEMP_HTON:
            return no_header(KELVO_OPERATION_TEMP_NTOH);
        case KELVO_OPERATION_TEMP_REPLY_HTON:
            return no_header(KELVO_OPERATION_TEMP_REPLY_NTOH);
        case KELVO_OPERATION_GET_REPLY_NTOH:
        case KELVO_OPERATION_FIND_GROUP_REPLY_NTOH:
        case KELVO_OPERATION_LIST_REPLY_NTOH:
        case KELVO_OPERATION_DATALIST_REPLY_NTOH:
        case KELVO_OPERATION_BULK_REPLY:
        case KELVO_OPERATION_NOTIFYSET:
        case KELVO_OPERATION_NOTIFYSET_VALUES:
        case KELVO_OPERATION_APPLY_REPLY_NTOH:
        case KELVO_OPERATION_VERIFY_REPLY_NTOH:
        case KELVO_OPERATION_SMSET_REPLY_NTOH:
        case KELVO_OPERATION_TEMP_NTOH:
        case KELVO_OPERATION_TEMP_REPLY_NTOH:
            return no_header(operation);
        default:
            return 0;
    }
}

/// The operation that takes the steps through what this one has read.
kelvo_msg_operation steps_of(kelvo_msg_operation operation) {
    switch (operation) {
        case KELVO_OPERATION_BULK_NEXT:
        case KELVO_OPERATION_BULK_BACK:
            return KELVO_OPERATION_BULK_NEXT;
        case KELVO_OPERATION_BULK_REPLY_NEXT:
        case KELVO_OPERATION_BULK_REPLY_BACK:
            return KELVO_OPERATION_BULK_REPLY_NEXT;
        case KELVO_OPERATION_NOTIFYSET_NEXT:
        case KELVO_OPERATION_NOTIFYSET_VALUES:
            return KELVO_OPERATION_NOTIFYSET_NEXT;
        default:
            return KELVO_OPERATION_COUNT;
    }
}

class ProbesOfReaders : public testing::TestWithParam<u32> {
  protected:
    [[nodiscard]] kelvo_msg_operation operation() const {
        return static_cast<kelvo_msg_operation>(GetParam());
    }

    /// The operation that reads the beginning of the message.
    [[nodiscard]] kelvo_msg_operation reader() const {
        switch (operation()) {
            case KELVO_OPERATION_BULK_REPLY_NEXT:
            case KELVO_OPERATION_BULK_REPLY_BACK:
                return KELVO_OPERATION_BULK_REPLY;
            case KELVO_OPERATION_NOTIFYSET_NEXT:
                return KELVO_OPERATION_NOTIFYSET;
            default:
                return operation();
        }
    }

    /// Messages whose headers, where they have one, say a type that stands nowhere else.
    [[nodiscard]] std::vector<Bytes> messages() const {
        std::vector<Bytes> all = messages_for(operation());
        for (Bytes& bytes : all) {
            if (fixed_type(reader()) == 0) put_word(bytes, 24, kType);
        }
        return all;
    }

    [[nodiscard]] u32 type_of(std::size_t length) const {
        if (const u32 fixed = fixed_type(reader())) return fixed;
        return length < 40 ? u32{KELVO_MSG_TYPE_COUNT} : kType;
    }

    /// Takes off the events of one answer. @return its status
    static kelvo_status take_answer(Events& events, u32 type, u64 length) {
        const auto answer = std::find_if(events.begin(), events.end(), [](const Event& event) {
            return event.probe == "interpreted";
        });
        if (answer == events.end()) {
            ADD_FAILURE() << "no answer";
            events.clear();
            return 0;
        }
        const auto status = static_cast<kelvo_status>(answer->arguments[2]);
        EXPECT_EQ(*answer, interpreted(type, length, status));
        EXPECT_EQ(answer - events.begin(), status != 0 ? 1 : 0) << "a refusal comes before";
        if (answer != events.begin()) {
            EXPECT_EQ(events[0], refusal(type, length, events[0].arguments[2], status)[0]);
        }
        events.erase(events.begin(), answer + 1);
        return status;
    }

    void run_on(Bytes bytes) {
        const auto length = static_cast<u32>(bytes.size());
        std::uint8_t none = 0;
        std::uint8_t* const at = length != 0 ? bytes.data() : &none;
        if (kelvo_common_msg_guard(operation(), at, length) != 0) return;
        ASSERT_EQ(tracer.take(), Events{}) << "the guard reads nothing";
        Outcome outcome;
        run(operation(), at, length, outcome);
        Events events = tracer.take();
        const kelvo_status status = take_answer(events, type_of(length), length);
        if (steps_of(operation()) == KELVO_OPERATION_COUNT) {
            EXPECT_EQ(status, outcome.status);
            EXPECT_EQ(events, Events{});
        }
        while (!events.empty()) {
            static_cast<void>(
                take_answer(events, no_header(steps_of(operation())), events[0].arguments[1]));
        }
        ++runs;
    }

    static constexpr u32 kType = 0x7E57;
    Tracer tracer{kLibrary};
    int runs = 0;
};

TEST_P(ProbesOfReaders, TellWhatBecomesOfEveryMessageHoweverShort) {
    for (const Bytes& message : messages()) {
        for (std::size_t length = 0; length <= message.size(); ++length) {
            SCOPED_TRACE(std::to_string(length) + " bytes of " + std::to_string(message.size()));
            run_on(Bytes(message.begin(), message.begin() + static_cast<std::ptrdiff_t>(length)));
            if (HasFailure()) return;
        }
    }
    EXPECT_NE(runs, 0);
}

INSTANTIATE_TEST_SUITE_P(All, ProbesOfReaders, testing::Range(0U, u32{KELVO_OPERATION_COUNT}),
                         [](const auto& parameter) {
                             return name_of(static_cast<kelvo_msg_operation>(parameter.param));
                         });

/// Bytes from an item or entry to the end of its message.
u64 left_from(const void* at, const void* end) {
    return static_cast<u64>(static_cast<const std::uint8_t*>(end) -
                            static_cast<const std::uint8_t*>(at));
}

TEST(ProbeAccepted, IsToldOfEachItemAndEntryThatIsTaken) {
    Tracer tracer(kLibrary);
    Bytes request = bulk_requests()[1];
    kelvo_bulk_info info;
    ASSERT_EQ(
        kelvo_common_msg_bulk_interpret(request.data(), static_cast<u32>(request.size()), &info),
        0U);
    u64 left = left_from(info.current, info.end);
    static_cast<void>(tracer.take());
    kelvo_bulk_item item;
    ASSERT_EQ(kelvo_common_msg_bulk_next(&info, &item), 0U);
    EXPECT_EQ(tracer.take(), Events{interpreted(no_header(KELVO_OPERATION_BULK_NEXT), left)});

    Bytes reply = bulk_replies()[1];
    kelvo_bulk_reply_info reply_info;
    ASSERT_EQ(kelvo_common_msg_bulk_reply_interpret(reply.data(), static_cast<u32>(reply.size()),
                                                    &reply_info),
              0U);
    left = left_from(reply_info.current, reply_info.end);
    static_cast<void>(tracer.take());
    kelvo_bulk_reply_item reply_item;
    ASSERT_EQ(kelvo_common_msg_bulk_reply_next(&reply_info, &reply_item), 0U);
    EXPECT_EQ(tracer.take(), Events{interpreted(no_header(KELVO_OPERATION_BULK_REPLY_NEXT), left)});

    Bytes set = notify_sets()[1];
    kelvo_notifyset_iterator* iterator = nullptr;
    ASSERT_EQ(kelvo_common_notifyset_interpret(set.data(), static_cast<u32>(set.size()), &iterator),
              0U);
    left = left_from(iterator->current, iterator->end);
    static_cast<void>(tracer.take());
    kelvo_notifyset_entry entry;
    u64 kind_and_type;
    ASSERT_EQ(kelvo_common_notifyset_next(iterator, &entry, &kind_and_type), 0U);
    EXPECT_EQ(tracer.take(), Events{interpreted(no_header(KELVO_OPERATION_NOTIFYSET_NEXT), left)});
    std::free(iterator);
}

class ProbeRefused : public testing::Test {
  protected:
    /// Runs an operation on a message that it refuses at an offset.
    void expect(kelvo_msg_operation operation, u32 type, Bytes bytes, u64 offset,
                kelvo_status status) {
        Outcome outcome;
        run(operation, bytes.data(), static_cast<u32>(bytes.size()), outcome);
        EXPECT_EQ(tracer.take(), refusal(type, bytes.size(), offset, status)) << name_of(operation);
    }
    static Bytes cut(Bytes bytes, std::size_t off) {
        bytes.resize(bytes.size() - off);
        return bytes;
    }
    static Bytes longer(Bytes bytes, std::size_t by) {
        bytes.resize(bytes.size() + by);
        return bytes;
    }

    Tracer tracer{kLibrary};
};

TEST_F(ProbeRefused, SaysWhereACellOrAFieldDidNotPass) {
    const Bytes get = item_request(Order::host, 0, "cfg/a");
    expect(KELVO_OPERATION_GET, 0, cut(get, 1), 64, KELVO_ERR_MSG_LENGTH);
    expect(KELVO_OPERATION_GET, 0, longer(get, 8), get.size(), KELVO_ERR_MSG_LENGTH);
    Bytes two = get;
    put_word(two, 48, 2);
    expect(KELVO_OPERATION_GET, 0, two, 56, KELVO_ERR_MSG_CONTENT);
    expect(KELVO_OPERATION_NFN_UNREG, KELVO_MSG_NFN_UNREG, longer(unreg(5), 4), 44,
           KELVO_ERR_MSG_LENGTH);
}

// Whatever it is that is too short.
TEST_F(ProbeRefused, SaysThatAFixedPartDidNotPassFromItsBeginning) {
    for (u32 i = 0; i < KELVO_OPERATION_COUNT; ++i) {
        const auto operation = static_cast<kelvo_msg_operation>(i);
        for (u32 length = 0; length < 16; ++length) {
            Bytes room(256);
            put_word(room, 48, 1);  // the one name without which a get stops the process
            Outcome outcome;
            run(operation, room.data(), length, outcome);
            for (const Event& event : tracer.take()) {
                if (event.probe != "refused") continue;
                // A get reply has one test, of where its value ends.
                const u64 offset = operation == KELVO_OPERATION_GET_REPLY_NTOH ? 32 : 0;
                EXPECT_EQ(event.arguments[2], offset) << name_of(operation) << ", " << length;
            }
        }
    }
}

TEST_F(ProbeRefused, SaysInRepliesWhereTheWalkHasCome) {
    expect(KELVO_OPERATION_LIST_REPLY_NTOH, no_header(KELVO_OPERATION_LIST_REPLY_NTOH),
           cut(list_reply(Order::network, 0, {1}), 8), 24 + 32 + 16, KELVO_ERR_MSG_LENGTH);
    expect(KELVO_OPERATION_VERIFY_REPLY_NTOH, no_header(KELVO_OPERATION_VERIFY_REPLY_NTOH),
           cut(verify_reply(Order::network, 1), 16), 64 + 24 + 8 + 16, KELVO_ERR_MSG_LENGTH);
    expect(KELVO_OPERATION_APPLY_REPLY_NTOH, no_header(KELVO_OPERATION_APPLY_REPLY_NTOH),
           cut(apply_reply(Order::network, 40), 1), sizeof(kelvo_rply_cb_apply),
           KELVO_ERR_MSG_LENGTH);
    const Bytes response = sm_cb_response(Order::network, 3);
    expect(KELVO_OPERATION_SM_CB_RESPONSE_NTOH, 0, cut(response, 1), response.size() - 12,
           KELVO_ERR_MSG_LENGTH);
    Bytes failed = get_reply(Order::network, 2, Bytes(8));
    put_word(failed, 24, 1);
    expect(KELVO_OPERATION_GET_REPLY_NTOH, no_header(KELVO_OPERATION_GET_REPLY_NTOH), failed, 24,
           KELVO_ERR_REPLY_FAILED);
    const Bytes set = notify_sets()[1];
    expect(KELVO_OPERATION_NOTIFYSET, no_header(KELVO_OPERATION_NOTIFYSET), longer(set, 8),
           set.size(), KELVO_ERR_MSG_LENGTH);
    expect(KELVO_OPERATION_NOTIFYSET, no_header(KELVO_OPERATION_NOTIFYSET), cut(set, 12),
           set.size() - 16, KELVO_ERR_MSG_LENGTH);
}

TEST_F(ProbeRefused, SaysOfItemsWhereInTheItem) {
    Bytes request = bulk_requests()[1];
    kelvo_bulk_info info;
    ASSERT_EQ(kelvo_common_msg_bulk_interpret(request.data(), static_cast<u32>(request.size()) - 1,
                                              &info),
              0U);
    const u64 left = static_cast<u64>(static_cast<std::uint8_t*>(info.end) -
                                      static_cast<std::uint8_t*>(info.current));
    static_cast<void>(tracer.take());
    kelvo_bulk_item item;
    EXPECT_EQ(kelvo_common_msg_bulk_next(&info, &item), KELVO_ERR_MSG_LENGTH);
    EXPECT_EQ(tracer.take(), refusal(no_header(KELVO_OPERATION_BULK_NEXT), left, 16 + 8 + 8 + 8,
                                     KELVO_ERR_MSG_LENGTH));
}

TEST_F(ProbeRefused, SaysOfAnEntryBehindTheEndThatNothingOfItPassed) {
    Bytes set = notify_sets()[1];
    kelvo_notifyset_iterator* iterator = nullptr;
    ASSERT_EQ(kelvo_common_notifyset_interpret(set.data(), static_cast<u32>(set.size()), &iterator),
              0U);
    static_cast<void>(tracer.take());
    iterator->end = iterator->current;
    kelvo_notifyset_entry entry;
    u64 kind_and_type;
    EXPECT_EQ(kelvo_common_notifyset_next(iterator, &entry, &kind_and_type), KELVO_ERR_MSG_LENGTH);
    EXPECT_EQ(tracer.take(),
              refusal(no_header(KELVO_OPERATION_NOTIFYSET_NEXT), 0, 0, KELVO_ERR_MSG_LENGTH));
    std::free(iterator);
}

TEST_F(ProbeRefused, IsToldOfNullsAndOfMemoryThatThereIsNone) {
    kelvo_bulk_info info;
    EXPECT_EQ(kelvo_common_msg_bulk_interpret(nullptr, 100, &info), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(tracer.take(), refusal(KELVO_MSG_TYPE_COUNT, 100, 0, KELVO_ERR_NULL_PARAM));
    EXPECT_EQ(kelvo_common_msg_bulk_reply_interpret(nullptr, 100, nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(tracer.take(),
              refusal(no_header(KELVO_OPERATION_BULK_REPLY), 100, 0, KELVO_ERR_NULL_PARAM));
    EXPECT_EQ(kelvo_common_msg_bulk_next(&info, nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(tracer.take(),
              refusal(no_header(KELVO_OPERATION_BULK_NEXT), 0, 0, KELVO_ERR_NULL_PARAM));
    EXPECT_EQ(kelvo_common_msg_bulk_reply_next(nullptr, nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(tracer.take(),
              refusal(no_header(KELVO_OPERATION_BULK_REPLY_NEXT), 0, 0, KELVO_ERR_NULL_PARAM));
    kelvo_notifyset_iterator* iterator;
    EXPECT_EQ(kelvo_common_notifyset_interpret(nullptr, 32, &iterator), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(tracer.take(),
              refusal(no_header(KELVO_OPERATION_NOTIFYSET), 32, 0, KELVO_ERR_NULL_PARAM));
    EXPECT_EQ(kelvo_lib_rply_cb_get_apply_interpret_ntoh(nullptr, 48), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(tracer.take(),
              refusal(no_header(KELVO_OPERATION_APPLY_REPLY_NTOH), 48, 0, KELVO_ERR_NULL_PARAM));

    Bytes set = notify_sets()[1];
    kelvo_status status;
    {
        const FailingMemory memory(0);
        status =
            kelvo_common_notifyset_interpret(set.data(), static_cast<u32>(set.size()), &iterator);
    }
    EXPECT_EQ(status, KELVO_ERR_NO_MEMORY);
    EXPECT_EQ(tracer.take(), refusal(no_header(KELVO_OPERATION_NOTIFYSET), set.size(), set.size(),
                                     KELVO_ERR_NO_MEMORY));
}

// --- lookup -------------------------------------------------------------------------------------

TEST(ProbeLookup, SaysThePathAndTheAnswer) {
    Tracer tracer(kLibrary);
    const char prefix[] = "cfg/gl/";
    const char path[] = "a/b";
    kelvo_nr_answer answer;
    ASSERT_EQ(kelvo_nr_lookup_node(prefix, path, 0, &answer, nullptr), 0U);
    const auto word_of = [](const char* text) { return reinterpret_cast<u64>(text); };
    EXPECT_EQ(tracer.take(), (Events{{"lookup",
                                      {word_of(prefix), word_of(path), 0,
                                       static_cast<u64>(std::int64_t{answer.node_type}),
                                       answer.node_id, answer.server_type}}}));
    EXPECT_NE(kelvo_nr_lookup_node(nullptr, path, 0, &answer, nullptr), 0U);
    const Events refused = tracer.take();
    ASSERT_EQ(refused.size(), 1U);
    EXPECT_EQ(refused[0].arguments[0], 0U);
    EXPECT_EQ(refused[0].arguments[1], word_of(path));
    EXPECT_EQ(refused[0].arguments[2], KELVO_ERR_NULL_PARAM);
}

}  // namespace
