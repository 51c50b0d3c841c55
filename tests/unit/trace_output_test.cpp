// SPDX-License-Identifier: Apache-2.0
//
// Where the lines of the trace facility go: the standard output, whatever that is.
#include <gtest/gtest.h>

#include "support/trace_scenarios.h"

namespace {

using namespace kelvo::test;

TEST(TraceOutput, AFileThatIsOpenForBothAndAPipeAreBothWrittenTo) {
    for (const Output output : {Output::file, Output::pipe}) {
        EXPECT_EQ(output_of(output, [] { return call(kNote, "message") == 0; }),
                  started() + line_of(1, "message"));
    }
}

TEST(TraceOutput, AFileThatIsOpenForWritingOnlyIsAppendedTo) {
    char name[] = "/tmp/trace_test_XXXXXX";
    close(mkstemp(name));
    output_of([&] {
        dup2(open(name, O_WRONLY), STDOUT_FILENO);
        (void)!write(STDOUT_FILENO, "before\n", 7);
        call(kNote, "message");
    });
    const int file = open(name, O_RDONLY);
    char text[256] = {};
    EXPECT_GT(read(file, text, sizeof text - 1), 0);
    EXPECT_EQ(text, "before\n" + started() + line_of(1, "message"));
    close(file);
    unlink(name);
}

TEST(TraceOutput, IsADuplicateTakenOnce) {
    EXPECT_EQ(output_of(Output::file,
                        [] {
                            int duplicated = 0;
                            int asked = 0;
                            platform().dup = [&](int descriptor) {
                                ++duplicated;
                                return descriptor == 1 ? ::dup(1) : -1;
                            };
                            platform().my_nodeid = [&](uint32_t* nodeid) -> kelvo_status {
                                *nodeid = 0x10;
                                return ++asked == 1 ? 0 : 1;
                            };
                            call(kNote, "a");
                            close(STDOUT_FILENO);  // the duplicate does not mind
                            call(kNote, "b");
                            return duplicated == 1 && asked == 1;
                        }),
              started() + line_of(1, "a") + line_of(1, "b"));
}

TEST(TraceOutput, WithoutOneNothingIsWrittenAndTheNextCallTriesAgain) {
    EXPECT_EQ(output_of(Output::file,
                        [] {
                            const Channel later(Output::pipe);
                            close(STDOUT_FILENO);
                            bool good = call(kEnter, "lost") == 0;
                            dup2(later.write_end, STDOUT_FILENO);
                            good = call(kNote, "first") == 0 && good;
                            char text[512] = {};
                            good = read(later.read_end, text, sizeof text - 1) > 0 && good;
                            return good && text == started() + line_of(1, "first");
                        }),
              "");
}

int open_descriptors() {
    int count = 0;
    for (int i = 0; i < 64; ++i) count += fcntl(i, F_GETFD) != -1 ? 1 : 0;
    return count;
}

TEST(TraceOutput, OneThatCannotBeWrittenToIsLeftAlone) {
    EXPECT_EQ(output_of(Output::read_only,
                        [] {
                            const int before = open_descriptors();
                            for (int i = 0; i < 3; ++i) call(kNote, "lost");
                            return open_descriptors() == before;
                        }),
              "");
}

TEST(TraceOutput, WithoutADuplicateNothingIsWritten) {
    EXPECT_EQ(output_of([] {
                  platform().dup = [](int) { return -1; };
                  call(kEnter, "lost");
                  platform().reset();
                  call(kNote, "first");
              }),
              started() + line_of(1, "first"));
}

TEST(TraceOutput, TheFirstDescriptorIsAsGoodAsAny) {
    EXPECT_EQ(output_of([] {
                  close(STDIN_FILENO);
                  platform().dup = [](int descriptor) { return dup(descriptor); };
                  call(kNote, "first");
              }),
              started() + line_of(1, "first"));
}

TEST(TraceOutput, WithoutMemoryForAStreamNothingIsWritten) {
    EXPECT_EQ(output_of(Output::file,
                        [] {
                            const int before = open_descriptors();
                            {
                                const FailingMemory fail(0, FailingMemory::kNever);
                                call(kEnter, "lost");
                            }
                            const bool good = open_descriptors() == before;
                            call(kNote, "first");
                            return good;
                        }),
              started() + line_of(1, "first"));
}

TEST(TraceOutput, ANodeWithoutAnIdIsShownAsZero) {
    const std::string text = output_of([] {
        platform().my_nodeid = [](uint32_t*) -> kelvo_status { return 1; };
        call(kNote, "message");
    });
    EXPECT_NE(text.find("[03:14:05][0x00000000]"), std::string::npos) << text;
}

TEST(TraceOutput, EachLineIsThereAtOnce) {
    EXPECT_EQ(output_of(Output::pipe,
                        [] {
                            call(kNote, "message");
                            _exit(0);  // nothing is flushed here
                            return false;
                        }),
              started() + line_of(1, "message"));
}

TEST(TraceOutput, EachInformationLineIsThereAtOnce) {
    EXPECT_EQ(output_of(Output::pipe,
                        [] {
                            fake.has_time = false;  // no other line brings it along
                            call(kNote, "dropped");
                            _exit(0);
                            return false;
                        }),
              started());
}

TEST(TraceOutput, IsOpenedForReadingTooWhereThatIsAllowed) {
    for (const Output output : {Output::file, Output::pipe}) {
        const bool readable = output == Output::file;
        output_of(output, [readable] {
            fake.modes.clear();  // of what a tool may have opened before
            call(kNote, "message");
            const std::vector<std::string> both = {"a+", "a"};
            return fake.modes == std::vector<std::string>(both.begin(), both.end() - readable);
        });
    }
}

}  // namespace
