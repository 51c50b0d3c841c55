// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>

#include "kelvo_common_msg_notify.h"
#include "platform/failing_memory.h"
#include "platform/scripted_platform.h"
#include "support/bulk_messages.h"

using namespace kelvo::test;

namespace {

/// Bytes by which interpret may go beyond the set, as its header says.
constexpr std::size_t kSlack = 8;

/// The interpret functions; `values` says that values are converted, too.
struct Variant {
    const char* name;
    kelvo_status (*interpret)(void*, std::uint32_t, kelvo_notifyset_iterator**);
    bool values;
};
constexpr Variant kVariants[] = {{"framing", kelvo_common_notifyset_interpret, false},
                                 {"values", kelvo_lib_notifyset_interpret, true}};

using Iterator = std::unique_ptr<kelvo_notifyset_iterator, decltype(&std::free)>;

/// A received set, slack behind it, and its iterator.
struct Received {
    explicit Received(const Bytes& set)
        : length(static_cast<std::uint32_t>(set.size())), bytes(with_slack(set, kSlack)) {}
    kelvo_status interpret(const Variant& variant) {
        kelvo_notifyset_iterator* found = mark();
        const kelvo_status status = variant.interpret(bytes.data(), length, &found);
        if (status == 0) {
            iterator.reset(found);
        } else {
            EXPECT_EQ(found, mark()) << "written on failure";
        }
        return status;
    }
    kelvo_status next() {
        return kelvo_common_notifyset_next(iterator.get(), &record, &kind_and_type);
    }
    [[nodiscard]] std::ptrdiff_t at(const void* pointer) const {
        return static_cast<const std::uint8_t*>(pointer) - bytes.data();
    }
    static kelvo_notifyset_iterator* mark() {
        static kelvo_notifyset_iterator nobody;
        return &nobody;
    }

    std::uint32_t length;
    Bytes bytes;
    Iterator iterator{nullptr, &std::free};
    kelvo_notifyset_entry record = sentinel<kelvo_notifyset_entry>();
    std::uint64_t kind_and_type = 0x5A5A5A5A5A5A5A5A;
};

/// 16 bytes, name 16..24, first length 24, first value 32..40, second length 40, second value
/// 48..56: 56 bytes.
Bytes plain_entry(Order order, std::uint32_t kind = 7, std::uint32_t type = 1) {
    return notify_entry(order, kind, type, bytes_of("name"), {1, 2, 3, 4}, {5, 6, 7, 8, 9});
}
constexpr std::size_t kEntry = 56;

class NotifySet : public ::testing::Test {
  protected:
    NotifySet() { platform().reset(); }
};

TEST_F(NotifySet, NullsAreLoggedAndAShortBufferReportsItsLengthAllTheSame) {
    for (const Variant& variant : kVariants) {
        platform().reset();
        Bytes bytes(40);
        kelvo_notifyset_iterator* found = Received::mark();
        const auto interpret = variant.interpret;
        EXPECT_EQ(interpret(nullptr, 10, &found), KELVO_ERR_MSG_LENGTH);
        EXPECT_EQ(interpret(nullptr, 31, &found), KELVO_ERR_MSG_LENGTH);
        EXPECT_EQ(interpret(nullptr, 32, &found), KELVO_ERR_NULL_PARAM);
        EXPECT_EQ(interpret(nullptr, 40, &found), KELVO_ERR_NULL_PARAM);
        EXPECT_EQ(interpret(bytes.data(), 31, nullptr), KELVO_ERR_MSG_LENGTH);
        EXPECT_EQ(interpret(bytes.data(), 32, nullptr), KELVO_ERR_NULL_PARAM);
        EXPECT_EQ(interpret(nullptr, 0, nullptr), KELVO_ERR_MSG_LENGTH);
        EXPECT_EQ(platform().log_texts(), std::vector<std::string>(7, kNullLogged));
        for (const Logged& line : platform().log) {
            EXPECT_EQ(line.record, &qor_msg_rec_kelvoutils_internal);
            EXPECT_EQ(line.severity, 7);
        }
        EXPECT_EQ(found, Received::mark());
        EXPECT_EQ(bytes, Bytes(40));
    }
}

TEST_F(NotifySet, LessThan32BytesAreRefusedUntouched) {
    const Bytes whole = notify_set(Order::network, 0x01020304, {});
    for (const Variant& variant : kVariants) {
        for (std::uint32_t length = 0; length < 32; ++length) {
            const Walled block(Bytes(whole.begin(), whole.begin() + length));
            const Bytes before = block.bytes();
            kelvo_notifyset_iterator* found = Received::mark();
            EXPECT_EQ(variant.interpret(block.data(), length, &found), KELVO_ERR_MSG_LENGTH);
            EXPECT_EQ(block.bytes(), before);
            EXPECT_EQ(found, Received::mark());
        }
    }
    EXPECT_EQ(platform().log.size(), 0U);
}

TEST_F(NotifySet, ASetWithoutEntriesIsExhaustedAtOnce) {
    for (const Variant& variant : kVariants) {
        for (const std::size_t trailing : {0U, 1U, 40U}) {
            Bytes set = notify_set(Order::network, 0, {});
            set.resize(32 + trailing, 0x77);
            Received in(set);
            const Bytes before = in.bytes;
            ASSERT_EQ(in.interpret(variant), 0U) << trailing;
            EXPECT_EQ(in.bytes, before);
            EXPECT_EQ(in.next(), KELVO_ERR_NOT_FOUND);
            EXPECT_TRUE(untouched(in.record));
            EXPECT_EQ(in.kind_and_type, 0x5A5A5A5A5A5A5A5AU);
        }
    }
}

TEST_F(NotifySet, InterpretFillsTheIterator) {
    for (const Variant& variant : kVariants) {
        Received in(notify_set(Order::network, 2,
                               {plain_entry(Order::network), plain_entry(Order::network)}));
        ASSERT_EQ(in.interpret(variant), 0U);
        EXPECT_EQ(in.at(in.iterator->start), 0);
        EXPECT_EQ(in.at(in.iterator->end), static_cast<std::ptrdiff_t>(in.length));
        EXPECT_EQ(in.at(in.iterator->current), 32);
        EXPECT_EQ(in.iterator->count, 2U);
        EXPECT_EQ(in.iterator->index, 1U);
        EXPECT_EQ(in.iterator->zero, 0U);
    }
}

TEST_F(NotifySet, FramingIsConvertedToItsNativeTwinAndValuesByVariant) {
    const std::uint32_t types[] = {0, 1, 2, 3, 7, 10, 11, 12, 13, 14};
    for (const std::uint32_t type : types) {
        const Bytes first = {1, 2, 3, 4, 5, 6, 7, 8};
        const Bytes second = {9, 8, 7, 6, 5, 4, 3, 2, 1};
        for (const Variant& variant : kVariants) {
            const auto converted = [&](Bytes value) {
                if (variant.values) reverse_by_type(value, 0, type);
                return value;
            };
            const auto set = [&](Order order, const Bytes& one, const Bytes& two) {
                return notify_set(order, 2,
                                  {notify_entry(order, 7, type, bytes_of("a"), one, two),
                                   notify_entry(order, 4, type, bytes_of("abcdefg"), one, two)});
            };
            Received in(set(Order::network, first, second));
            const Received twin(set(Order::host, converted(first), converted(second)));
            ASSERT_EQ(in.interpret(variant), 0U) << type;
            EXPECT_EQ(in.bytes, twin.bytes) << variant.name << ' ' << type;
        }
    }
}

TEST_F(NotifySet, AnEmptyValueIsNotConverted) {
    // Behind the empty first value stands the second's cell, behind the empty second the next
    // entry.
    for (const Variant& variant : kVariants) {
        const auto set = [](Order order) {
            const Bytes entry = notify_entry(order, 7, 2, bytes_of("a"), {}, {});
            return notify_set(order, 2, {entry, entry});
        };
        Received in(set(Order::network));
        const Received twin(set(Order::host));
        ASSERT_EQ(in.interpret(variant), 0U);
        EXPECT_EQ(in.bytes, twin.bytes) << variant.name;
    }
}

TEST_F(NotifySet, NamesAreNotCheckedForANul) {
    for (const Variant& variant : kVariants) {
        for (const Bytes& name : {Bytes{}, Bytes{'a', 'b', 'c'}, Bytes(8, 'x')}) {
            Received in(notify_set(Order::network, 1,
                                   {notify_entry(Order::network, 7, 3, name, {1}, {2})}));
            EXPECT_EQ(in.interpret(variant), 0U);
            EXPECT_EQ(in.next(), 0U);
        }
    }
}

TEST_F(NotifySet, TheLastEntryEndsExactlyAtTheEnd) {
    for (const Variant& variant : kVariants) {
        for (const std::size_t trailing : {1U, 8U, 56U}) {
            Bytes set = notify_set(Order::network, 1, {plain_entry(Order::network)});
            set.resize(set.size() + trailing);
            Received in(set);
            EXPECT_EQ(in.interpret(variant), KELVO_ERR_MSG_LENGTH) << trailing;
        }
        // An entry more than there is: nothing is left where it would begin.
        const Bytes entry = plain_entry(Order::network, 7, 3);
        Received missing(notify_set(Order::network, 2, {entry}));
        const Received twin(notify_set(Order::host, 2, {plain_entry(Order::host, 7, 3)}));
        EXPECT_EQ(missing.interpret(variant), KELVO_ERR_MSG_LENGTH);
        EXPECT_EQ(missing.bytes, twin.bytes) << "the missing entry is not touched";
    }
}

TEST_F(NotifySet, TheFillOfTheLastValueBelongsToTheSet) {
    for (const Variant& variant : kVariants) {
        Bytes set = notify_set(Order::network, 1, {plain_entry(Order::network)});
        set.resize(set.size() - 1);
        Received in(set);
        EXPECT_EQ(in.interpret(variant), KELVO_ERR_MSG_LENGTH);
    }
}

TEST_F(NotifySet, LengthsNearTheTopOf32BitsDoNotFit) {
    for (const Variant& variant : kVariants) {
        for (const std::uint32_t hostile : {0xFFFFFFFFU, 0xFFFFFFF9U, 0xFFFFFFF8U, 0xFFFFFFE0U,
                                            0xFFFFFFC8U, 0x80000000U, 0x7FFFFFFFU}) {
            for (const std::size_t cell : {8U, 24U, 40U}) {
                Bytes set = notify_set(Order::network, 1, {plain_entry(Order::network)});
                put_word(set, 32 + cell, reversed(hostile));
                Received in(set);
                EXPECT_EQ(in.interpret(variant), KELVO_ERR_MSG_LENGTH) << hostile << ' ' << cell;
            }
            // In 32 bits some of these take no room at all, as do the empty pieces of this set.
            for (const std::size_t cell : {8U, 16U, 24U}) {
                Bytes set =
                    notify_set(Order::network, 1, {notify_entry(Order::network, 7, 3, {}, {}, {})});
                put_word(set, 32 + cell, reversed(hostile));
                Received in(set);
                EXPECT_EQ(in.interpret(variant), KELVO_ERR_MSG_LENGTH) << hostile << ' ' << cell;
            }
        }
        for (const std::uint32_t count : {2U, 0x80000000U, 0xFFFFFFFFU}) {
            Received in(notify_set(Order::network, count, {plain_entry(Order::network)}));
            EXPECT_EQ(in.interpret(variant), KELVO_ERR_MSG_LENGTH) << count;
        }
    }
}

TEST_F(NotifySet, ConversionsOfATruncatedEntryStopWhereItsVariantSays) {
    const Bytes whole = notify_set(
        Order::network, 1,
        {notify_entry(Order::network, 7, 2, bytes_of("name"), Bytes(8, 1), Bytes(8, 2))});
    for (const Variant& variant : kVariants) {
        for (std::size_t left = 0; left < kEntry; ++left) {
            Received in(whole);
            for (std::uint8_t i = 0; i < 8; ++i) in.bytes[32 + 32 + i] = i;  // first value
            for (std::uint8_t i = 0; i < 8; ++i) in.bytes[32 + 48 + i] = i;  // second value
            in.length = static_cast<std::uint32_t>(32 + left);
            Bytes expected = in.bytes;
            reverse_at(expected, 28);
            const auto words = [&](std::initializer_list<std::size_t> offsets) {
                for (const std::size_t at : offsets) reverse_at(expected, 32 + at);
            };
            const auto value = [&](std::size_t at) {
                if (!variant.values) return;
                for (std::uint8_t i = 0; i < 8; ++i) {
                    expected[32 + at + i] = static_cast<std::uint8_t>(7 - i);
                }
            };
            if (!variant.values || left > 16) words({0, 4});
            if (left > 16) words({8});
            if (left >= 32) words({24});
            if (left >= 32) value(32);
            if (left >= 48) words({40});
            if (left >= 48) value(48);
            EXPECT_EQ(in.interpret(variant), KELVO_ERR_MSG_LENGTH) << variant.name << ' ' << left;
            EXPECT_EQ(in.bytes, expected) << variant.name << ' ' << left;
        }
    }
}

TEST_F(NotifySet, EveryTruncationIsRefusedWithinTheSlackThatIsAskedFor) {
    for (const Variant& variant : kVariants) {
        const Bytes entry =
            notify_entry(Order::network, 7, 2, bytes_of("name"), Bytes(8, 1), Bytes(8, 2));
        const Bytes whole = notify_set(Order::network, 2, {entry, entry});
        for (std::size_t length = 32; length <= whole.size(); ++length) {
            const Bytes bytes(whole.begin(), whole.begin() + static_cast<long>(length));
            const bool all = length == whole.size();
            const Walled block(all ? bytes : with_slack(bytes, kSlack));
            kelvo_notifyset_iterator* found = Received::mark();
            const kelvo_status status =
                variant.interpret(block.data(), static_cast<std::uint32_t>(length), &found);
            EXPECT_EQ(status, all ? 0U : KELVO_ERR_MSG_LENGTH) << length;
            if (!all) {
                EXPECT_EQ(found, Received::mark()) << length;
                continue;
            }
            // An accepted set is walked within its own bytes.
            const Iterator iterator(found, &std::free);
            kelvo_notifyset_entry record;
            std::uint64_t kind_and_type;
            for (const kelvo_status expected : {0U, 0U, KELVO_ERR_NOT_FOUND}) {
                EXPECT_EQ(kelvo_common_notifyset_next(found, &record, &kind_and_type), expected);
            }
        }
    }
}

TEST_F(NotifySet, AFailedAllocationIsAnswered) {
    for (const Variant& variant : kVariants) {
        Received in(notify_set(Order::network, 1, {plain_entry(Order::network)}));
        FailingMemory fail(0);
        EXPECT_EQ(in.interpret(variant), KELVO_ERR_NO_MEMORY);
        EXPECT_EQ(FailingMemory::allocations(), 1U);
        EXPECT_EQ(FailingMemory::outstanding(), 0);
    }
    EXPECT_EQ(platform().log.size(), 0U);
}

TEST_F(NotifySet, OneBlockIsAllocatedAndOnlyOnSuccess) {
    for (const Variant& variant : kVariants) {
        Received good(notify_set(Order::network, 1, {plain_entry(Order::network)}));
        Received bad(notify_set(Order::network, 2, {plain_entry(Order::network)}));
        FailingMemory counting;
        EXPECT_EQ(bad.interpret(variant), KELVO_ERR_MSG_LENGTH);
        EXPECT_EQ(FailingMemory::allocations(), 0U);
        EXPECT_EQ(good.interpret(variant), 0U);
        EXPECT_EQ(FailingMemory::allocations(), 1U);
        good.iterator.reset();
        EXPECT_EQ(FailingMemory::outstanding(), 0) << "released with free()";
    }
}

TEST_F(NotifySet, NextHandsOutEachEntryAndThenNoMore) {
    Received in(notify_set(Order::network, 2,
                           {plain_entry(Order::network, 7), plain_entry(Order::network, 8, 12)}));
    ASSERT_EQ(in.interpret(kVariants[0]), 0U);
    in.iterator->caller_word = 0xCA11;
    for (std::uint32_t i = 1; i <= 2; ++i) {
        const auto entry = static_cast<std::ptrdiff_t>(32 + (i - 1) * kEntry);
        ASSERT_EQ(in.next(), 0U);
        EXPECT_EQ(in.at(in.record.name), entry + 16);
        EXPECT_EQ(in.record.kind, 6 + i);
        EXPECT_EQ(in.record.type, i == 1 ? 1U : 12U);
        EXPECT_EQ(in.at(in.record.first), entry + 32);
        EXPECT_EQ(in.record.first_length, 4U);
        EXPECT_EQ(in.at(in.record.second), entry + 48);
        EXPECT_EQ(in.record.second_length, 5U);
        EXPECT_EQ(in.record.caller_word, 0xCA11U);
        EXPECT_EQ(in.record.count, 2U);
        EXPECT_EQ(in.record.index, i);
        EXPECT_EQ(std::memcmp(&in.kind_and_type, in.bytes.data() + entry, 8), 0);
        EXPECT_EQ(in.iterator->index, i + 1);
        EXPECT_EQ(in.at(in.iterator->current), entry + static_cast<std::ptrdiff_t>(kEntry));
    }
    const kelvo_notifyset_iterator before = *in.iterator;
    in.record = sentinel<kelvo_notifyset_entry>();
    EXPECT_EQ(in.next(), KELVO_ERR_NOT_FOUND);
    EXPECT_TRUE(untouched(in.record));
    EXPECT_EQ(std::memcmp(in.iterator.get(), &before, sizeof before), 0);
}

TEST_F(NotifySet, KindOneShowsNoFirstValueAndKindFourNoSecond) {
    for (const std::uint32_t kind : {0U, 1U, 2U, 3U, 4U, 5U}) {
        Received in(notify_set(Order::network, 2,
                               {plain_entry(Order::network, kind), plain_entry(Order::network)}));
        ASSERT_EQ(in.interpret(kVariants[1]), 0U);
        ASSERT_EQ(in.next(), 0U);
        EXPECT_EQ(in.record.kind, kind);
        EXPECT_EQ(in.record.first, kind == 1 ? nullptr : in.bytes.data() + 64) << kind;
        EXPECT_EQ(in.record.first_length, kind == 1 ? 0U : 4U) << kind;
        EXPECT_EQ(in.record.second, kind == 4 ? nullptr : in.bytes.data() + 80) << kind;
        EXPECT_EQ(in.record.second_length, kind == 4 ? 0U : 5U) << kind;
        // The bytes of a value that is not shown still count.
        ASSERT_EQ(in.next(), 0U);
        EXPECT_EQ(in.at(in.record.name), static_cast<std::ptrdiff_t>(32 + kEntry + 16));
    }
}

TEST_F(NotifySet, AnEmptyValueIsShownWithItsPlace) {
    Received in(notify_set(Order::network, 1,
                           {notify_entry(Order::network, 7, 1, bytes_of("name"), {}, {})}));
    ASSERT_EQ(in.interpret(kVariants[1]), 0U);
    ASSERT_EQ(in.next(), 0U);
    EXPECT_EQ(in.at(in.record.first), 64);
    EXPECT_EQ(in.record.first_length, 0U);
    EXPECT_EQ(in.at(in.record.second), 72);
    EXPECT_EQ(in.record.second_length, 0U);
}

TEST_F(NotifySet, StartGoesBackToTheFirstEntry) {
    Received in(notify_set(Order::network, 2,
                           {plain_entry(Order::network, 7), plain_entry(Order::network, 8)}));
    ASSERT_EQ(in.interpret(kVariants[1]), 0U);
    in.iterator->caller_word = 3;
    while (in.next() == 0) continue;
    EXPECT_EQ(kelvo_common_notifyset_start(in.iterator.get()), 0U);
    EXPECT_EQ(in.at(in.iterator->current), 32);
    EXPECT_EQ(in.iterator->index, 1U);
    EXPECT_EQ(in.iterator->caller_word, 3U);
    ASSERT_EQ(in.next(), 0U);
    EXPECT_EQ(in.record.kind, 7U);
    EXPECT_EQ(in.record.index, 1U);
}

TEST_F(NotifySet, StartOfANullIteratorIsRefusedInSilence) {
    EXPECT_EQ(kelvo_common_notifyset_start(nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(platform().log.size(), 0U);
}

TEST_F(NotifySet, NextStopsAtTheEndOfTheSet) {
    Received in(notify_set(Order::network, 1, {plain_entry(Order::network)}));
    ASSERT_EQ(in.interpret(kVariants[0]), 0U);
    for (const std::size_t end : {32U, 31U}) {
        in.iterator->end = in.bytes.data() + end;
        const kelvo_notifyset_iterator before = *in.iterator;
        EXPECT_EQ(in.next(), KELVO_ERR_MSG_LENGTH);
        EXPECT_TRUE(untouched(in.record));
        EXPECT_EQ(std::memcmp(in.iterator.get(), &before, sizeof before), 0);
    }
}

TEST_F(NotifySet, AFailureInsideAnEntryLeavesTheRecordPartlyFilled) {
    // Name to 24, first value to 40.
    for (const std::size_t left : {1U, 16U, 23U, 24U, 39U, 40U}) {
        Received in(notify_set(Order::network, 1, {plain_entry(Order::network)}));
        ASSERT_EQ(in.interpret(kVariants[0]), 0U);
        in.iterator->caller_word = 9;
        in.iterator->end = in.bytes.data() + 32 + left;
        const kelvo_notifyset_iterator before = *in.iterator;
        const auto kept = sentinel<kelvo_notifyset_entry>();
        if (left == 40) {
            EXPECT_EQ(in.next(), 0U) << "the second value is not looked at";
            continue;
        }
        EXPECT_EQ(in.next(), KELVO_ERR_MSG_LENGTH) << left;
        EXPECT_EQ(in.record.type, 1U);
        EXPECT_EQ(in.record.kind, 7U);
        EXPECT_EQ(in.record.index, 1U);
        EXPECT_EQ(in.record.count, 1U);
        EXPECT_EQ(in.record.caller_word, 9U);
        EXPECT_EQ(in.at(in.record.name), 48);
        EXPECT_EQ(in.record.first, left < 24 ? kept.first : in.bytes.data() + 64) << left;
        EXPECT_EQ(in.record.first_length, left < 24 ? kept.first_length : 4U) << left;
        EXPECT_EQ(in.record.second, kept.second);
        EXPECT_EQ(in.record.second_length, kept.second_length);
        EXPECT_EQ(in.kind_and_type, 0x5A5A5A5A5A5A5A5AU);
        EXPECT_EQ(std::memcmp(in.iterator.get(), &before, sizeof before), 0);
    }
}

TEST_F(NotifySet, NextReadsAtMostElevenBytesBeyondTheEndOfAnAlteredSet) {
    // Wherever the end is put: up to a name length read behind one byte, or a value's behind none.
    const Bytes set = notify_set(Order::host, 1, {plain_entry(Order::host)});
    const struct {
        std::size_t left;
        std::size_t beyond;
        kelvo_status status;
    } rows[] = {{1, 11, KELVO_ERR_MSG_LENGTH},
                {12, 0, KELVO_ERR_MSG_LENGTH},
                {23, 0, KELVO_ERR_MSG_LENGTH},
                {24, 4, KELVO_ERR_MSG_LENGTH},
                {28, 0, KELVO_ERR_MSG_LENGTH},
                {39, 0, KELVO_ERR_MSG_LENGTH},
                {40, 4, 0}};
    for (const auto& row : rows) {
        const Walled block(
            Bytes(set.begin(), set.begin() + static_cast<long>(32 + row.left + row.beyond)));
        kelvo_notifyset_iterator iterator = {};
        iterator.start = block.data();
        iterator.end = block.data() + 32 + row.left;
        iterator.count = 1;
        ASSERT_EQ(kelvo_common_notifyset_start(&iterator), 0U);
        kelvo_notifyset_entry record;
        std::uint64_t kind_and_type;
        EXPECT_EQ(kelvo_common_notifyset_next(&iterator, &record, &kind_and_type), row.status)
            << row.left;
    }
}

TEST_F(NotifySet, NextDoesNotFollowAChangedLengthBeyondTheEnd) {
    for (const std::uint32_t hostile : {0xFFFFFFFFU, 0xFFFFFFF8U, 0xFFFFFFE0U, 0x80000000U}) {
        for (const std::size_t cell : {8U, 24U}) {
            Received in(notify_set(Order::network, 1, {plain_entry(Order::network)}));
            ASSERT_EQ(in.interpret(kVariants[0]), 0U);
            put_word(in.bytes, 32 + cell, hostile);
            const void* const kept = in.record.first;
            EXPECT_EQ(in.next(), KELVO_ERR_MSG_LENGTH) << hostile << ' ' << cell;
            EXPECT_EQ(in.record.first, cell == 8 ? kept : in.bytes.data() + 64) << hostile;
        }
    }
}

TEST_F(NotifySet, ListSetInitClearsItsLastThreeWords) {
    auto listset = sentinel<kelvo_listset>();
    EXPECT_EQ(kelvo_common_listset_init(&listset), 0U);
    for (const std::uint32_t word : listset.leading) EXPECT_EQ(word, 0x5A5A5A5AU);
    for (const std::uint32_t word : listset.cleared) EXPECT_EQ(word, 0U);
    EXPECT_EQ(platform().log.size(), 0U);
}

TEST_F(NotifySet, ListSetInitRefusesANullAndLogsIt) {
    EXPECT_EQ(kelvo_common_listset_init(nullptr), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(platform().log_texts(), std::vector<std::string>{kNullLogged});
}

// The interpret functions against a plain model: the same steps one after another, over absolute
// positions.

kelvo_status model_interpret(Bytes& bytes, std::uint64_t length, bool values) {
    if (length < 32) return KELVO_ERR_MSG_LENGTH;
    reverse_at(bytes, 28);
    const std::uint32_t n = word_at(bytes, 28);
    std::uint64_t pos = 32;
    for (std::uint64_t i = 1; i <= n; ++i) {
        if (values) {
            if (length <= pos + 16) return KELVO_ERR_MSG_LENGTH;
            for (const std::uint64_t at : {0U, 4U, 8U}) reverse_at(bytes, pos + at);
        } else {
            for (const std::uint64_t at : {0U, 4U}) reverse_at(bytes, pos + at);
            if (length <= pos + 16) return KELVO_ERR_MSG_LENGTH;
            reverse_at(bytes, pos + 8);
        }
        const std::uint32_t type = word_at(bytes, pos + 4);
        const std::uint64_t p1 = rounded(word_at(bytes, pos + 8));
        if (length < pos + p1 + 24) return KELVO_ERR_MSG_LENGTH;
        reverse_at(bytes, pos + 16 + p1);
        const std::uint32_t l2 = word_at(bytes, pos + 16 + p1);
        if (values && l2 > 0) reverse_by_type(bytes, pos + 24 + p1, type);
        const std::uint64_t p2 = rounded(l2);
        if (length < pos + p1 + p2 + 32) return KELVO_ERR_MSG_LENGTH;
        reverse_at(bytes, pos + 24 + p1 + p2);
        const std::uint32_t l3 = word_at(bytes, pos + 24 + p1 + p2);
        if (values && l3 > 0) reverse_by_type(bytes, pos + 32 + p1 + p2, type);
        pos += 32 + p1 + p2 + rounded(l3);
        if (i == n && length != pos) return KELVO_ERR_MSG_LENGTH;
        if (i < n && length <= pos) return KELVO_ERR_MSG_LENGTH;
    }
    return 0;
}

TEST_F(NotifySet, InterpretAndModelAgreeAndAnAcceptedSetIsWalkedToItsEnd) {
    constexpr std::uint32_t kTypes[] = {0, 1, 2, 3, 7, 10, 11, 12, 13, 14};
    constexpr std::uint8_t kValues[] = {0x00, 0x01, 0x08, 0x10, 0x7F, 0xFF};
    std::mt19937 random(20240521);
    const auto pick = [&](std::size_t below) { return static_cast<std::size_t>(random() % below); };
    int accepted = 0;
    int refused = 0;
    for (int round = 0; round < 30000; ++round) {
        std::vector<Bytes> entries(pick(4));
        for (Bytes& entry : entries) {
            entry = notify_entry(Order::network, static_cast<std::uint32_t>(pick(6)),
                                 kTypes[pick(std::size(kTypes))], Bytes(pick(20), 'n'),
                                 Bytes(pick(20), 1), Bytes(pick(20), 2));
        }
        Bytes set = notify_set(Order::network, static_cast<std::uint32_t>(entries.size()), entries);
        for (std::size_t times = pick(3); times != 0; --times) {
            set[28 + pick(set.size() - 28)] = kValues[pick(std::size(kValues))];
        }
        if (pick(4) == 0) set.resize(set.size() - pick(10));
        for (const Variant& variant : kVariants) {
            Received in(set);
            Bytes model = in.bytes;
            const kelvo_status expected = model_interpret(model, in.length, variant.values);
            ASSERT_EQ(in.interpret(variant), expected) << round;
            ASSERT_EQ(in.bytes, model) << round;
            ++(expected == 0 ? accepted : refused);
            if (expected != 0) continue;
            for (std::uint32_t i = 0; i < in.iterator->count; ++i) {
                ASSERT_EQ(in.next(), 0U) << round;
            }
            const bool at_end = in.iterator->current == in.iterator->end;
            ASSERT_TRUE(at_end || in.iterator->count == 0);
            ASSERT_EQ(in.next(), KELVO_ERR_NOT_FOUND);
        }
    }
    EXPECT_GT(accepted, 10000);
    EXPECT_GT(refused, 10000);
}

}  // namespace
