// SPDX-License-Identifier: Apache-2.0
//
// What callers and readers of the log file see.
#include <algorithm>
#include <limits>
#include <vector>

#include "support/logfile_fixture.h"

namespace {

using namespace kelvo::test;

class Logfile : public LogfileTest {};

TEST_F(Logfile, ALineReadsAsShown) {
    in_fresh_process([this] {
        open();
        EXPECT_EQ(content(), "");
        kelvo_logfile("nr", "lookup %s", "done");
        EXPECT_EQ(content(),
                  "03/07 14:05:09.042 211:" + std::to_string(gettid()) + " nr:lookup done\n");
        EXPECT_TRUE(platform().log.empty());
    });
}

TEST_F(Logfile, EveryPartOfTheTimeHasItsWidth) {
    in_fresh_process([this] {
        open();
        logfile_calls.now = {1704067201, 0};  // 2024-01-01 00:00:01 UTC
        kelvo_logfile("", "%s", "");
        logfile_calls.now = {1735682399, 999999};  // 2024-12-31 21:59:59 UTC
        kelvo_logfile("t", "x");
        logfile_calls.now = {1735682399, 1000};  // exactly a millisecond
        kelvo_logfile("t", "y");
        const std::string thread = std::to_string(gettid());
        EXPECT_EQ(content(), "01/01 02:00:01.000 211:" + thread + " :\n" +
                                 "12/31 23:59:59.999 211:" + thread + " t:x\n" +
                                 "12/31 23:59:59.001 211:" + thread + " t:y\n");
    });
}

TEST_F(Logfile, TheJobIdIsASignedNumber) {
    in_fresh_process([this] {
        platform().job_id = [] { return 0xFFFFFFFFU; };
        open();
        kelvo_logfile("t", "x");
        EXPECT_EQ(content(), "03/07 14:05:09.042 -1:" + std::to_string(gettid()) + " t:x\n");
    });
}

TEST_F(Logfile, EveryThreadWritesUnderItsOwnId) {
    in_fresh_process([this] {
        open();
        kelvo_logfile("a", "1");
        std::string other_prefix;
        std::thread([&] {
            other_prefix = prefix("b");
            kelvo_logfile("b", "2");
        }).join();
        EXPECT_NE(other_prefix, prefix("b"));
        EXPECT_EQ(content(), prefix("a") + "1\n" + other_prefix + "2\n");
    });
}

TEST_F(Logfile, AThreadWithoutAClockIsKnownByItsIdAllTheSame) {
    in_fresh_process([this] {
        open();
        logfile_calls.has_thread_clock = false;
        logfile_calls.thread_id = 7;
        kelvo_logfile("t", "x");
        EXPECT_EQ(content(), "03/07 14:05:09.042 211:7 t:x\n");
    });
}

TEST_F(Logfile, NothingIsWrittenBeforeTheFileIsOpen) {
    in_fresh_process([this] {
        kelvo_logfile("nr", "lost");
        EXPECT_FALSE(exists(path_));
        EXPECT_TRUE(platform().log.empty());
    });
}

TEST_F(Logfile, AnUnreadableClockDropsTheLine) {
    in_fresh_process([this] {
        open();
        logfile_calls.clock_fails = true;
        kelvo_logfile("nr", "lost");
        logfile_calls.clock_fails = false;
        kelvo_logfile("nr", "kept");
        EXPECT_EQ(content(), prefix("nr") + "kept\n");
    });
}

TEST_F(Logfile, ATimeThatHasNoLocalTimeDropsTheLine) {
    in_fresh_process([this] {
        open();
        logfile_calls.now = {std::numeric_limits<time_t>::max(), 0};
        kelvo_logfile("nr", "lost");
        EXPECT_EQ(content(), "");
    });
}

TEST_F(Logfile, AnExistingFileIsContinued) {
    prepare_file(1000);
    in_fresh_process([this] {
        open();
        EXPECT_EQ(content().size(), 1000U);
        kelvo_logfile("nr", "more");
        const std::string text = content();
        EXPECT_EQ(text.substr(992), "the end\n" + prefix("nr") + "more\n");
    });
}

TEST_F(Logfile, ASecondFileIsNotOpenedWhileOneIs) {
    in_fresh_process([this] {
        open();
        kelvo_init_logfile(other().c_str());
        EXPECT_FALSE(exists(other()));
        kelvo_logfile("nr", "x");
        EXPECT_EQ(content(), prefix("nr") + "x\n");
    });
}

TEST_F(Logfile, ACardOfType4WritesNothing) {
    in_fresh_process([this] {
        platform().type = [] { return 4U; };
        open();
        kelvo_logfile("nr", "lost");
        EXPECT_FALSE(exists(path_));
        EXPECT_TRUE(platform().log.empty());
    });
}

TEST_F(Logfile, EveryOtherCardWrites) {
    for (const std::uint32_t type : {0U, 1U, 2U, 3U, 5U, 6U, 0xFFFFFFFFU}) {
        in_fresh_process([&] {
            (void)unlink(path_.c_str());
            platform().type = [type] { return type; };
            open();
            kelvo_logfile("nr", "x");
            EXPECT_EQ(content(), prefix("nr") + "x\n") << type;
        });
    }
}

TEST_F(Logfile, ACardThatTurnsOutToBeOfType4ForgetsItsFile) {
    in_fresh_process([this] {
        open();
        kelvo_logfile("nr", "kept");
        platform().type = [] { return 4U; };
        kelvo_init_logfile(other().c_str());
        kelvo_logfile("nr", "lost");
        EXPECT_EQ(content(), prefix("nr") + "kept\n");
        EXPECT_FALSE(exists(other()));

        platform().type = [] { return 0U; };
        kelvo_init_logfile(other().c_str());
        kelvo_logfile("nr", "elsewhere");
        EXPECT_EQ(content(), prefix("nr") + "kept\n");
        EXPECT_EQ(content(other()), prefix("nr") + "elsewhere\n");
    });
}

TEST_F(Logfile, AFileThatCannotBeOpenedIsLoggedAndMayBeTriedAgain) {
    for (const std::string& path : {directory_, directory_ + "/missing/log"}) {
        in_fresh_process([&] {
            kelvo_init_logfile(path.c_str());
            ASSERT_EQ(platform().log.size(), 1U);
            EXPECT_EQ(platform().log[0].record, &qor_msg_rec_kelvoutils_fileopen_fail);
            EXPECT_EQ(platform().log[0].severity, 6);
            EXPECT_EQ(platform().log[0].text, "Failed to open log file " + path);
            kelvo_logfile("nr", "lost");

            (void)unlink(path_.c_str());
            open();
            kelvo_logfile("nr", "kept");
            EXPECT_EQ(content(), prefix("nr") + "kept\n");
            EXPECT_EQ(platform().log.size(), 1U);
        });
    }
}

/// A text of so many characters that has no repetitions nearby.
std::string text_of(std::size_t chars) {
    std::string text;
    for (unsigned i = 0; text.size() < chars; ++i) text += std::to_string(i) + ",";
    return text.substr(0, chars);
}

TEST_F(Logfile, ALineIsCutToTheBuffer) {
    in_fresh_process([this] {
        open();
        const std::string begin = prefix("nr");
        const std::size_t room = 1023 - begin.size();
        std::string expected;
        for (const std::size_t chars : {room - 1, room, room + 1, room + 5000}) {
            kelvo_logfile("nr", "%s", text_of(chars).c_str());
            expected += begin + text_of(std::min(chars, room)) + "\n";
        }
        EXPECT_EQ(content(), expected);
    });
}

TEST_F(Logfile, TheBeginningOfALineIsCutTo255Bytes) {
    in_fresh_process([this] {
        open();
        const std::string time = prefix("");
        std::string expected;
        for (const std::size_t chars : {253U, 254U, 255U, 256U, 3000U}) {
            // A tag that makes the beginning so many characters long.
            const std::string tag = text_of(chars - time.size());
            kelvo_logfile(tag.c_str(), "m");
            expected += prefix(tag).substr(0, 255) + "m\n";
        }
        EXPECT_EQ(content(), expected);
    });
}

TEST_F(Logfile, AMessageThatCannotBeFormattedLeavesTheBeginning) {
    in_fresh_process([this] {
        open();
        const wchar_t impossible[] = {static_cast<wchar_t>(0x110000), 0};
        kelvo_logfile("nr", "%ls", impossible);
        EXPECT_EQ(content(), prefix("nr") + "\n");
    });
}

// Starting again

constexpr long kLimit = 8388608;

TEST_F(Logfile, AMessageOfWhichNothingIsFormattedLeavesTheBeginning) {
    in_fresh_process([this] {
        open();
        kelvo_logfile("nr", "before");
        logfile_calls.format_fails = true;
        kelvo_logfile("nr", "lost");
        logfile_calls.format_fails = false;
        EXPECT_EQ(content(), prefix("nr") + "before\n" + prefix("nr") + "\n");
    });
}

TEST_F(Logfile, AFileAtTheLimitStillTakesALine) {
    prepare_file(kLimit);
    in_fresh_process([this] {
        open();
        kelvo_logfile("nr", "still");
        const std::string text = content();
        EXPECT_EQ(text.substr(static_cast<std::size_t>(kLimit)), prefix("nr") + "still\n");
    });
}

TEST_F(Logfile, AFileBeyondTheLimitGivesUpALineAndStartsAgain) {
    prepare_file(kLimit + 1);
    in_fresh_process([this] {
        open();
        const std::string before = content();
        kelvo_logfile("nr", "given up");
        EXPECT_EQ(content(), before);

        kelvo_logfile("nr", "first");
        kelvo_logfile("nr", "second");
        const std::string lines = prefix("nr") + "first\n" + prefix("nr") + "second\n";
        const std::string after = content();
        EXPECT_EQ(after.substr(0, lines.size()), lines);
        // The file is not cut.
        EXPECT_EQ(after.substr(lines.size()), before.substr(lines.size()));
    });
}

TEST_F(Logfile, EveryByteWrittenCountsTheNewlineToo) {
    for (const bool beyond : {false, true}) {
        in_fresh_process([&] {
            const std::string line = prefix("nr") + "x\n";
            // The first line brings the file to the limit, or one byte beyond.
            prepare_file(kLimit - static_cast<long>(line.size()) + (beyond ? 1 : 0));
            open();
            kelvo_logfile("nr", "x");
            const std::size_t size = static_cast<std::size_t>(kLimit) + (beyond ? 1 : 0);
            EXPECT_EQ(content().size(), size);
            kelvo_logfile("nr", "x");
            EXPECT_EQ(content().size(), beyond ? size : size + line.size());
            kelvo_logfile("nr", "y");
            EXPECT_EQ(content().substr(0, line.size()) == prefix("nr") + "y\n", beyond);
        });
    }
}

TEST_F(Logfile, AFileStartsAgainAsOftenAsItIsFull) {
    prepare_file(kLimit + 1);
    in_fresh_process([this] {
        open();
        kelvo_logfile("nr", "given up");
        const std::string line(900, 'x');
        const std::size_t line_bytes = prefix("nr").size() + line.size() + 1;
        const std::size_t lines = static_cast<std::size_t>(kLimit) / line_bytes + 1;
        for (std::size_t i = 0; i < lines; ++i) kelvo_logfile("nr", "%s", line.c_str());
        kelvo_logfile("nr", "given up");
        kelvo_logfile("nr", "first");
        EXPECT_EQ(content().substr(0, prefix("nr").size() + 6), prefix("nr") + "first\n");
    });
}

TEST_F(Logfile, AFileThatIsLargerThanTheCountStartsAgain) {
    prepare_file(5'000'000'000);
    in_fresh_process([this] {
        open();
        kelvo_logfile("nr", "given up");
        kelvo_logfile("nr", "first");
        std::ifstream in(path_);
        std::string line;
        std::getline(in, line);
        EXPECT_EQ(line, prefix("nr") + "first");
    });
}

TEST_F(Logfile, AFileWithoutAPositionCountsFromNothing) {
    ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
    in_fresh_process([this] {
        open();
        kelvo_logfile("nr", "x");
        const std::string expected = prefix("nr") + "x\n";
        std::string received(expected.size(), '\0');
        const int reader = ::open(path_.c_str(), O_RDONLY | O_NONBLOCK);
        ASSERT_EQ(read(reader, received.data(), received.size()),
                  static_cast<ssize_t>(expected.size()));
        EXPECT_EQ(received, expected);
        close(reader);
    });
}

// The lock

TEST_F(Logfile, ALineThatFindsTheLockTakenIsLostAndNobodyWaits) {
    in_fresh_process([this] {
        open();
        {
            const HeldWriter writer("holds the lock");
            kelvo_logfile("nr", "lost");
        }
        kelvo_logfile("nr", "kept");
        const std::string text = content();
        EXPECT_NE(text.find("held:holds the lock\n"), std::string::npos);
        EXPECT_EQ(text.find("lost"), std::string::npos);
        EXPECT_NE(text.find("nr:kept\n"), std::string::npos);
        EXPECT_TRUE(platform().log.empty());
    });
}

TEST_F(Logfile, ALockThatCannotBeReleasedIsLogged) {
    in_fresh_process([this] {
        open();
        LogfileCalls::unlock_fails = true;
        kelvo_logfile("nr", "x");
        EXPECT_EQ(content(), prefix("nr") + "x\n");
        ASSERT_EQ(platform().log.size(), 1U);
        EXPECT_EQ(platform().log[0].record, &qor_msg_rec_kelvoutils_mutex_unlock_fail);
        EXPECT_EQ(platform().log[0].severity, 6);
        EXPECT_EQ(platform().log[0].text, "Failed to unlock log mutex");
    });
}

TEST_F(Logfile, ThreadsThatWriteAtOnceLoseLinesButNotTheFile) {
    in_fresh_process([this] {
        open();
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([] {
                for (int line = 0; line < 2000; ++line) kelvo_logfile("t", "line %d", line);
            });
        }
        for (std::thread& thread : threads) thread.join();
        const std::string text = content();
        const auto lines = std::count(text.begin(), text.end(), '\n');
        EXPECT_GE(lines, 1);
        EXPECT_LE(lines, 8000);
        EXPECT_EQ(text.back(), '\n');
    });
}

// Memory

TEST_F(Logfile, EveryFailedAllocationOfOpeningIsSurvived) {
    for (const bool existing : {false, true}) {
        std::size_t without_lines = 0;
        std::size_t without_file = 0;
        bool reached = true;
        for (std::size_t failing = 0; reached; ++failing) {
            (void)unlink(path_.c_str());
            if (existing) prepare_file(100);
            int outcome[2];
            ASSERT_EQ(pipe(outcome), 0);
            in_fresh_process([&] {
                bool failed;
                {
                    const FailingMemory fail(failing);
                    open();
                    failed = FailingMemory::allocations() > failing;
                }
                kelvo_logfile("nr", "x");
                const bool logged = !platform().log.empty();
                const bool written = content().find("nr:x\n") != std::string::npos;
                if (!failed) {
                    EXPECT_TRUE(written && !logged);
                }
                EXPECT_FALSE(written && logged);
                const char result = !failed ? 'n' : logged ? 'f' : written ? 'w' : 'l';
                EXPECT_EQ(write(outcome[1], &result, 1), 1);
            });
            char result = 0;
            ASSERT_EQ(read(outcome[0], &result, 1), 1);
            close(outcome[0]);
            close(outcome[1]);
            reached = result != 'n';
            without_file += result == 'f' ? 1 : 0;
            without_lines += result == 'l' ? 1 : 0;
        }
        EXPECT_GE(without_file, 1U) << "the stream";
        EXPECT_EQ(without_lines, 1U) << "the line buffer";
    }
}

TEST_F(Logfile, ALineCostsNoAllocation) {
    in_fresh_process([this] {
        open();
        kelvo_logfile("nr", "the first line gives the stream its buffer");
        std::size_t allocations;
        {
            const FailingMemory counting;
            for (int i = 0; i < 100; ++i) kelvo_logfile("nr", "%d %s", i, "text");
            allocations = FailingMemory::allocations();
        }
        EXPECT_EQ(allocations, 0U);
    });
}

TEST_F(Logfile, RepeatedAttemptsKeepOneLineBuffer) {
    in_fresh_process([this] {
        const FailingMemory counting;
        for (int i = 0; i < 10; ++i) {
            kelvo_init_logfile(directory_.c_str());
            const FailingMemory::Pause pause;
            EXPECT_EQ(FailingMemory::outstanding(), 1) << i;
        }
    });
}

}  // namespace
