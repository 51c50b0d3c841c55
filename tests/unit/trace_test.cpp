// SPDX-License-Identifier: Apache-2.0
//
// The lines of the trace facility: their fields, their depth, and the table of the threads that
// they come from.
#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include "support/trace_scenarios.h"

namespace {

using namespace kelvo::test;

// ---- The line ----

TEST(TraceLine, HasItsFieldsInTheirPlaces) {
    const std::string text = output_of([] {
        platform().my_nodeid = [](uint32_t* nodeid) -> kelvo_status {
            *nodeid = 0xabcdef;
            return 0;
        };
        trace(kNote, "session.c", 123456, "%s has %d", "it", -1);
        fake.thread = 1234567;
        trace(kNote, "session.c", 0, "other");
    });
    EXPECT_EQ(text,
              "TRACE_INFO: [000042|007] **** started tracing ****\n"
              "[03:14:05][0x00abcdef][000042][007]                     session.c #123456  it has "
              "-1\n"
              "TRACE_INFO: [000042|1234567] **** started tracing ****\n"
              "[03:14:05][0x00abcdef][000042][1234567]                     session.c #00000  "
              "other\n");
}

TEST(TraceLine, TheCallReturnsZero) {
    EXPECT_EQ(output_of(Output::file,
                        [] {
                            bool good = call(kNote, "a") == 0;
                            good = call(kEnter, "b") == 0 && good;
                            return call(kExit, "c") == 0 && good;
                        }),
              started() + line_of(1, "a") + line_of(1, "b") + line_of(1, "c"));
}

TEST(TraceLine, TheLocationIsItsLastThirtyCharacters) {
    struct Row {
        std::string location;
        std::string shown;
    };
    const std::string digits = "0123456789012345678901234567890123456789";
    const Row rows[] = {
        {"", std::string(30, ' ')},
        {"a", std::string(29, ' ') + "a"},
        {digits.substr(0, 29), " " + digits.substr(0, 29)},
        {digits.substr(0, 30), digits.substr(0, 30)},
        {digits.substr(0, 31), digits.substr(1, 30)},
        {digits, digits.substr(10)},
    };
    for (const Row& row : rows) {
        const std::string text =
            output_of([&] { trace(kNote, row.location.c_str(), 12, "message"); });
        EXPECT_EQ(text, started() + "[03:14:05][0x00000010][000042][007]" + row.shown +
                            " #00012  message\n")
            << row.location;
    }
}

TEST(TraceLine, IsInterpretedAsAFormatOnceMore) {
    EXPECT_EQ(output_of([] {
                  trace(kNote, "here", 12, "%s", "50%% done");
                  trace(kNote, "here", 12, "%%%%");
              }),
              started() + line_of(1, "50% done") + line_of(1, "%"));
    EXPECT_EQ(output_of([] { trace(kNote, "he%%re", 12, "message"); }),
              started() + "[03:14:05][0x00000010][000042][007]" + std::string(24, ' ') +
                  "he%re #00012  message\n");
}

TEST(TraceLine, IsCutTo511BytesAndThenHasNoNewline) {
    const std::string head = line_of(1, "");
    const std::size_t room = 511 - (head.size() - 1);
    struct Row {
        std::size_t message;
        std::size_t shown;
        bool newline;
    };
    for (const Row& row :
         {Row{room - 2, room - 2, true}, Row{room - 1, room - 1, true}, Row{room, room, false},
          Row{room + 1, room, false}, Row{5000, room, false}}) {
        const std::string message(row.message, 'm');
        std::string expected = line_of(1, std::string(row.shown, 'm'));
        if (!row.newline) expected.pop_back();
        EXPECT_LE(expected.size(), 511U);
        EXPECT_EQ(output_of([&] { call(kNote, message.c_str()); }), started() + expected)
            << row.message;
    }
}

TEST(TraceLine, AMessageThatCannotBeWrittenIsLeftOut) {
    EXPECT_EQ(output_of([] { trace(kNote, "here", 12, "begin %lc end", wint_t{0x7fffffff}); }),
              started() + line_of(1, ""));
}

TEST(TraceLine, TheProcessIdIsReadOnce) {
    EXPECT_EQ(output_of([] {
                  call(kNote, "a");
                  fake.process = 43;
                  call(kNote, "b");
              }),
              started() + line_of(1, "a") + line_of(1, "b"));
}

TEST(TraceLine, IsDroppedWithoutTheTimeWhileTheDepthChanges) {
    EXPECT_EQ(output_of([] {
                  fake.has_time = false;
                  call(kEnter, "dropped");
                  call(kEnter, "dropped");
                  fake.has_time = true;
                  call(kNote, "shown");
                  fake.has_time = false;
                  for (int i = 0; i < 3; ++i) call(kExit, "dropped");
                  fake.has_time = true;
                  call(kNote, "shown");
              }),
              started() + line_of(3, "shown") + too_many_exits() + line_of(1, "shown"));
}

TEST(TraceLine, TheMacrosFillInTheSourceLocation) {
    const int line = __LINE__;
    const std::string text = output_of([] {
        KELVO_TRACE_ENTER("in %d", 1);
        KELVO_TRACE_NOTE("plain");
        KELVO_TRACE_EXIT("out %s", "there");
    });
    const std::string file = __FILE__;
    const std::string location = file.size() > 30 ? file.substr(file.size() - 30)
                                                  : std::string(30 - file.size(), ' ') + file;
    const auto expected = [&](int offset, const std::string& message) {
        char number[16];
        std::snprintf(number, sizeof number, " #%05d", line + offset);
        return "[03:14:05][0x00000010][000042][007]" + location + number + message + "\n";
    };
    EXPECT_EQ(text, started() + expected(2, "  in 1") + expected(3, "   plain") +
                        expected(4, "  out there"));
}

// ---- Depth ----

TEST(TraceDepth, AnEnterIsShownBeforeTheRiseAndAnExitAfterTheDrop) {
    EXPECT_EQ(output_of([] {
                  call(kEnter, "one");
                  call(kEnter, "two");
                  call(kNote, "deep");
                  call(kExit, "two");
                  call(kExit, "one");
                  call(kExit, "too many");
                  call(kNote, "plain");
              }),
              started() + line_of(1, "one") + line_of(2, "two") + line_of(3, "deep") +
                  line_of(2, "two") + line_of(1, "one") + too_many_exits() +
                  line_of(1, "too many") + line_of(1, "plain"));
}

TEST(TraceDepth, TheFirstCallOfAThreadIsAtDepthOne) {
    EXPECT_EQ(output_of([] {
                  call(kExit, "first");
                  call(kNote, "plain");
                  call(kExit, "too many");
              }),
              started() + line_of(1, "first") + line_of(1, "plain") + too_many_exits() +
                  line_of(1, "too many"));
}

TEST(TraceDepth, EveryOtherKindIsAPlainLine) {
    EXPECT_EQ(output_of([] {
                  call(kEnter, "in");
                  for (const uint32_t kind : {0U, 3U, 0x101U, 0xffffffffU}) call(kind, "plain");
                  call(kNote, "after");
              }),
              started() + line_of(1, "in") + line_of(2, "plain") + line_of(2, "plain") +
                  line_of(2, "plain") + line_of(2, "plain") + line_of(2, "after"));
}

TEST(TraceDepth, BeyondTwentyTheIndentationStaysAndTheMarkChanges) {
    std::string expected = started();
    for (unsigned depth = 1; depth <= 24; ++depth) {
        expected += line_of(std::min(depth, 20U), "in", depth > 20 ? '!' : ' ');
    }
    for (unsigned depth = 24; depth >= 18; --depth) {
        expected += line_of(std::min(depth, 20U), "out", depth > 20 ? '!' : ' ');
    }
    EXPECT_EQ(output_of([] {
                  for (int i = 0; i < 24; ++i) call(kEnter, "in");
                  for (int i = 0; i < 7; ++i) call(kExit, "out");
              }),
              expected);
}

TEST(TraceDepth, EachThreadHasItsOwn) {
    EXPECT_EQ(output_of([] {
                  call(kEnter, "a");
                  call(kEnter, "a");
                  fake.thread = 8;
                  call(kEnter, "b");
                  call(kNote, "b");
                  fake.thread = 7;
                  call(kNote, "a");
                  fake.thread = 8;
                  call(kExit, "b");
                  fake.thread = 7;
                  call(kExit, "a");
              }),
              started() + line_of(1, "a") + line_of(2, "a") + started("008") +
                  line_of(1, "b", ' ', "008") + line_of(2, "b", ' ', "008") + line_of(3, "a") +
                  line_of(1, "b", ' ', "008") + line_of(2, "a"));
}

TEST(TraceDepth, ANewThreadInheritsTheMarkOfTheLineBefore) {
    std::string expected = started();
    for (unsigned depth = 1; depth <= 21; ++depth) {
        expected += line_of(std::min(depth, 20U), "in", depth > 20 ? '!' : ' ');
    }
    EXPECT_EQ(output_of([] {
                  for (int i = 0; i < 21; ++i) call(kEnter, "in");
                  fake.thread = 8;
                  call(kNote, "first");
                  call(kNote, "second");
                  fake.thread = 9;
                  call(kNote, "first");
              }),
              expected + started("008") + line_of(1, "first", '!', "008") +
                  line_of(1, "second", ' ', "008") + started("009") +
                  line_of(1, "first", ' ', "009"));
}

// ---- The thread table ----

std::string number(int thread) {
    char text[16];
    std::snprintf(text, sizeof text, "%03d", thread);
    return text;
}

TEST(TraceTable, HasRoomForSixteenThreads) {
    std::string expected;
    for (int thread = 1; thread <= 16; ++thread) {
        expected += started(number(thread)) + line_of(1, "in", ' ', number(thread));
    }
    for (int thread = 16; thread >= 1; --thread) {
        expected += line_of(2, "known", ' ', number(thread));
    }
    EXPECT_EQ(output_of([] {
                  for (int thread = 1; thread <= 16; ++thread) {
                      fake.thread = thread;
                      call(kEnter, "in");
                  }
                  for (int thread = 16; thread >= 1; --thread) {
                      fake.thread = thread;
                      call(kNote, "known");
                  }
              }),
              expected);
}

TEST(TraceTable, AThreadWithoutRoomIsReportedOnEachCallAndShowsTheCallBeforeIt) {
    std::string expected;
    for (int thread = 1; thread <= 16; ++thread) {
        expected += started(number(thread)) + line_of(1, "in", ' ', number(thread));
    }
    const std::string unknown = started("017") + table_full("017");
    expected += unknown + line_of(1, "lost", ' ', "016");  // as the line before it
    expected += line_of(2, "in", ' ', "003");
    for (int i = 0; i < 3; ++i) expected += unknown + line_of(2, "lost", ' ', "003");
    expected += line_of(3, "plain", ' ', "003");  // the lost ENTER and EXIT changed nothing
    expected += started("018") + table_full("018") + line_of(3, "lost", ' ', "003");
    EXPECT_EQ(output_of([] {
                  for (int thread = 1; thread <= 16; ++thread) {
                      fake.thread = thread;
                      call(kEnter, "in");
                  }
                  fake.thread = 17;
                  call(kNote, "lost");
                  fake.thread = 3;
                  call(kEnter, "in");
                  fake.thread = 17;
                  for (const uint32_t kind : {kEnter, kNote, kExit}) call(kind, "lost");
                  fake.thread = 3;
                  call(kNote, "plain");
                  fake.thread = 18;
                  call(kNote, "lost");
              }),
              expected);
}

TEST(TraceTable, AThreadThatReusesAnIdInheritsItsDepth) {
    EXPECT_EQ(output_of([] {
                  std::thread([] { call(kEnter, "old"); }).join();
                  std::thread([] { call(kNote, "new"); }).join();
              }),
              started() + line_of(1, "old") + line_of(2, "new"));
}

}  // namespace
