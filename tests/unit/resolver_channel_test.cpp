// SPDX-License-Identifier: Apache-2.0
//
// Channels, the choice among the shared servers, and the remote form.
#include <cstdlib>
#include <cstring>

#include "platform/failing_memory.h"
#include "support/resolver_fixture.h"
#include "support/system_calls.h"

namespace {

using namespace kelvo::test;

constexpr std::uint32_t kRegexp = KELVO_NR_OPT_REGEXP;
constexpr std::uint32_t kManagement = KELVO_NR_OPT_MANAGEMENT;
constexpr std::uint32_t kCcvOption = KELVO_NR_OPT_CCV;

// --- the remote form ----------------------------------------------------------------------------

struct BasenameRow {
    const char* path;
    std::size_t skipped;
};

constexpr BasenameRow kBasenames[] = {
    {"remote/7/cfg/gl/x", 9},
    {"remote/7/", 9},
    {"remote//", 8},
    {"remote//cfg", 8},
    {"remoteness/1/x", 13},
    {"remote", 0},
    {"remote/7", 0},
    {"remote/", 0},
    {"remot/7/x", 0},
    {"cfg/gl/x", 0},
    {"", 0},
    {"r/7/x", 0},
    {"Remote/7/x", 0},
    {"a/remote/7/", 0},
    {"remote/7/a/b", 9},
};

using ResolverBasename = Resolver;

TEST_F(ResolverBasename, PointsBehindTheSecondSlashOfARemotePath) {
    for (const BasenameRow& row : kBasenames) {
        EXPECT_EQ(kelvo_nr_get_remote_basename(row.path), row.path + row.skipped) << row.path;
    }
    EXPECT_STREQ(kelvo_nr_get_remote_basename("remote/7/cfg/gl/x"), "cfg/gl/x");
}

TEST_F(ResolverBasename, SaysWhatItDid) {
    show_debug_lines(true);
    (void)kelvo_nr_get_remote_basename("remote/7/cfg/gl");
    (void)kelvo_nr_get_remote_basename("cfg/gl");
    EXPECT_EQ(platform().debug_lines,
              (Lines{"kelvo_nr_get_remote_basename: remote/7/cfg/gl -> cfg/gl",
                     "kelvo_nr_get_remote_basename: cfg/gl -> cfg/gl"}));
    show_debug_lines(false);
    (void)kelvo_nr_get_remote_basename("cfg/gl");
    EXPECT_EQ(platform().debug_lines.size(), 2U);
}

// --- the shared servers -------------------------------------------------------------------------

struct SharedRow {
    const char* path;
    std::int32_t node_type;
    std::uint32_t server_type;
    const char* line;
};

constexpr SharedRow kShared[] = {
    {"cfg/", 1000000000, 1, "cfg/ -> shared-sc"},
    {"cfg/gl/x", 1000000000, 1, "cfg/gl/x -> shared-sc"},
    {"oper/kelvo/gl/sc", 1000000000, 1, "oper/kelvo/gl/sc -> shared-sc"},
    {"oper/kelvo/gl/scx", 1000000000, 1, "oper/kelvo/gl/scx -> shared-sc"},
    {"debug/gl/LR/ALL/kelvo/", -3, 0, "debug/gl/LR/ALL/kelvo/ -> all shared"},
    {"debug/gl/LR/ALL/kelvo/x", -3, 0, "debug/gl/LR/ALL/kelvo/x -> all shared"},
    {"data/", 1000000000, 4, "data/ -> shared-data-nc"},
    {"data/gl", 1000000000, 4, "data/gl -> shared-data-nc"},
    {"oper/kelvo/gl/nc-data", 1000000000, 4, "oper/kelvo/gl/nc-data -> shared-data-nc"},
    {"oper/kelvo/gl/nc-data/x", 1000000000, 4, "oper/kelvo/gl/nc-data/x -> shared-data-nc"},
    {"oper/other", 1000000000, 3, "oper/other -> shared-nc"},
    {"cfg", 1000000000, 3, "cfg -> shared-nc"},
    {"data", 1000000000, 3, "data -> shared-nc"},
    {"oper/kelvo/gl/s", 1000000000, 3, "oper/kelvo/gl/s -> shared-nc"},
    {"oper/kelvo/gl/nc-dat", 1000000000, 3, "oper/kelvo/gl/nc-dat -> shared-nc"},
    {"debug/gl/LR/ALL/kelvo", 1000000000, 3, "debug/gl/LR/ALL/kelvo -> shared-nc"},
    {"debug/gl/lr/ALL/kelvo/", 1000000000, 3, "debug/gl/lr/ALL/kelvo/ -> shared-nc"},
    {"", 1000000000, 3, " -> shared-nc"},
    {"remote/7/cfg/gl", 1000000000, 1, "cfg/gl -> shared-sc"},
    {"remote/7", 1000000000, 3, "remote/7 -> shared-nc"},
    {"rules/x", 1000000000, 3, "rules/x -> shared-nc"},
};

using ResolverShared = Resolver;

TEST_F(ResolverShared, PathChoosesTheServer) {
    show_debug_lines(true);
    for (const SharedRow& row : kShared) {
        kelvo_nr_answer answer{1, 2, 0x55, 4};
        kelvo_nr_lookup_shared(row.path, &answer);
        EXPECT_EQ(answer, (kelvo_nr_answer{row.node_type, 0xFFFFFFFF, 0x55, row.server_type}))
            << row.path;
        EXPECT_EQ(platform().debug_lines.back(),
                  std::string("kelvo_nr_lookup_shared: ") + row.line);
    }
}

TEST_F(ResolverShared, RemoteFormIsStrippedFirst) {
    show_debug_lines(true);
    kelvo_nr_answer answer{};
    kelvo_nr_lookup_shared("remote/7/cfg/gl", &answer);
    EXPECT_EQ(platform().debug_lines,
              (Lines{"kelvo_nr_get_remote_basename: remote/7/cfg/gl -> cfg/gl",
                     "kelvo_nr_lookup_shared: cfg/gl -> shared-sc"}));
}

// --- channels -----------------------------------------------------------------------------------

/// All that a channel lookup gives back; the channel's text is taken over.
struct Channel {
    kelvo_status status;
    std::string name;
    std::uint32_t several;
    std::int32_t node_type;

    friend bool operator==(const Channel&, const Channel&) = default;
    friend std::ostream& operator<<(std::ostream& out, const Channel& channel) {
        return out << "status 0x" << std::hex << channel.status << std::dec << " channel '"
                   << channel.name << "' several " << channel.several << " type "
                   << channel.node_type;
    }
};

class ResolverChannel : public Resolver {
  protected:
    ResolverChannel() {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        system_calls = {};
        start();
    }
    ~ResolverChannel() override { system_calls = {}; }

    static Channel channel_of(const std::string& path, std::uint32_t options = 0) {
        char untouched[] = "untouched";
        char* name = untouched;
        Channel channel{0, "", kUntouched, 0x77};
        channel.status = kelvo_nr_lookup_chan(path.c_str(), options, &name, &channel.several,
                                              &channel.node_type);
        channel.name = name;
        if (name[0] != '\0' && name != untouched) std::free(name);
        return channel;
    }

    static Channel failed(kelvo_status status) { return {status, "untouched", kUntouched, 0x77}; }
};

TEST_F(ResolverChannel, NullArgumentsAreRefusedSilently) {
    char untouched[] = "untouched";
    char* name = untouched;
    std::uint32_t several = kUntouched;
    std::int32_t node_type = 0x77;
    EXPECT_EQ(kelvo_nr_lookup_chan(nullptr, 0, &name, &several, &node_type), KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(kelvo_nr_lookup_chan("cfg/gl", 0, nullptr, &several, &node_type),
              KELVO_ERR_NULL_PARAM);
    EXPECT_EQ(name, untouched);
    EXPECT_EQ(several, kUntouched);
    EXPECT_EQ(node_type, 0x77);
    EXPECT_TRUE(platform().log.empty());
}

TEST_F(ResolverChannel, FailedLookupIsPassedOn) {
    EXPECT_EQ(channel_of("cfg/zzz"), failed(KELVO_ERR_NO_OWNER));
    EXPECT_EQ(channel_of("/cfg/gl"), failed(KELVO_ERR_BAD_PATH));
    EXPECT_EQ(channel_of("rules"), failed(KELVO_ERR_BAD_PATH));
    ASSERT_EQ(start_as("kelvo_mc"), 0U);
    EXPECT_EQ(channel_of("cfg/node/act/20"), failed(KELVO_ERR_REMOTE_LOCAL_BIND));
}

TEST_F(ResolverChannel, ClassOfServersHasNone) {
    EXPECT_EQ(channel_of("cfg/node/act", kManagement), (Channel{0, "", 1, -2}));
    EXPECT_EQ(channel_of("cfg", kManagement), (Channel{0, "", 1, -1}));
    EXPECT_EQ(channel_of("debug/gl/LR/ALL/kelvo/x"), (Channel{0, "", 1, -3}));
    EXPECT_EQ(channel_of("cfg/node/act/0_*", kRegexp | kManagement), (Channel{0, "", 1, -2}));
}

TEST_F(ResolverChannel, SharedAndAdminServersAreReachedByTheirType) {
    EXPECT_EQ(channel_of("cfg/gl"), (Channel{0, "", 0, 1000000000}));
    EXPECT_EQ(channel_of("cfg"), (Channel{0, "", 1, 1000000000}));
    EXPECT_EQ(channel_of("admin/cfg/gl"), (Channel{0, "", 0, 1000000001}));
    EXPECT_EQ(channel_of("admin", kManagement), (Channel{0, "", 1, 1000000001}));
    EXPECT_EQ(channel_of("remote/3/cfg/gl"), (Channel{0, "", 0, 1000000000}));
}

TEST_F(ResolverChannel, EmptyNameIsOneConstant) {
    char* first;
    char* second;
    const FailingMemory fail(0, FailingMemory::kNever);
    ASSERT_EQ(kelvo_nr_lookup_chan("cfg/gl", 0, &first, nullptr, nullptr), 0U);
    ASSERT_EQ(kelvo_nr_lookup_chan("cfg", kManagement, &second, nullptr, nullptr), 0U);
    EXPECT_EQ(first, second);
    EXPECT_EQ(FailingMemory::allocations(), 0U);
}

TEST_F(ResolverChannel, ThisNodesLocalServer) {
    EXPECT_EQ(channel_of("cfg/if/act"), (Channel{0, "/dev/kelvosvr-local", 0, 0}));
    EXPECT_EQ(channel_of("cfg/node/act/10"), (Channel{0, "/dev/kelvosvr-local", 0, 0}));
    start_on_card(2);
    EXPECT_EQ(channel_of("cfg"), (Channel{0, "/dev/kelvosvr-local", 1, 0})) << "ambiguous";
}

TEST_F(ResolverChannel, EachCallerGetsItsOwnCopy) {
    char* first;
    char* second;
    ASSERT_EQ(kelvo_nr_lookup_chan("cfg/if/act", 0, &first, nullptr, nullptr), 0U);
    ASSERT_EQ(kelvo_nr_lookup_chan("cfg/if/act", 0, &second, nullptr, nullptr), 0U);
    EXPECT_NE(first, second);
    std::free(first);
    EXPECT_STREQ(second, "/dev/kelvosvr-local");
    std::free(second);
}

TEST_F(ResolverChannel, AnotherNodesLocalServer) {
    EXPECT_EQ(channel_of("cfg/node/act/20"), (Channel{0, "/dev/kelvosvr-local.d/node20", 0, 0}));
    platform().node_name = [](std::uint32_t, char* buffer, std::size_t size) -> kelvo_status {
        EXPECT_EQ(size, 20U);
        std::memset(buffer, 'n', size - 1);
        buffer[size - 1] = '\0';
        return 0;
    };
    EXPECT_EQ(channel_of("cfg/node/act/20"),
              (Channel{0, "/dev/kelvosvr-local.d/" + std::string(19, 'n'), 0, 0}));
}

TEST_F(ResolverChannel, NameIsFormedInABufferOf25BytesMore) {
    char* name;
    {
        const FailingMemory count;
        ASSERT_EQ(kelvo_nr_lookup_chan("cfg/node/act/20", 0, &name, nullptr, nullptr), 0U);
        EXPECT_EQ(FailingMemory::bytes(), std::strlen("node20") + 25);
        EXPECT_EQ(FailingMemory::outstanding(), 1);
    }
    std::free(name);
}

TEST_F(ResolverChannel, EveryNodeIsLocalWhereThereIsOne) {
    platform().is_single_node = [] { return 1U; };
    platform().node_name = [](std::uint32_t, char*, std::size_t) {
        ADD_FAILURE() << "asked for a node's name";
        return kelvo_status{1};
    };
    start();
    EXPECT_EQ(channel_of("cfg/node/act/20"), (Channel{0, "/dev/kelvosvr-local", 0, 0}));
}

TEST_F(ResolverChannel, CcvHasNone) {
    EXPECT_EQ(channel_of("cfg/gl", kCcvOption), failed(KELVO_ERR_BAD_NODE_TYPE));
    expect_logged(qor_msg_rec_kelvoutils_internal,
                  "Bad node type (no LWM channel): rc 0x3b9aca02 (text of 0x3b9aca02)");
}

TEST_F(ResolverChannel, RemoteNumberIsNoNode) {
    EXPECT_EQ(channel_of("remote/16/cfg/gl", kCcvOption), failed(KELVO_ERR_BAD_NODE_TYPE))
        << "although this node has that id";
}

TEST_F(ResolverChannel, NodeWithoutANameFails) {
    platform().node_name = [](std::uint32_t, char*, std::size_t) {
        return kelvo_status{0x4000f00d};
    };
    EXPECT_EQ(channel_of("cfg/node/act/20"), failed(KELVO_ERR_NODE_NAME));
    EXPECT_TRUE(platform().log.empty());
}

/// Looks a channel up when formatting does what the test says.
kelvo_status status_of_formatting(int code, int length) {
    platform().node_name = [=](std::uint32_t, char* buffer, std::size_t) -> kelvo_status {
        std::strcpy(buffer, "node");
        system_calls.format_fails = code;
        system_calls.format_too_long = length;
        return 0;
    };
    char untouched[] = "untouched";
    char* name = untouched;
    const FailingMemory count;
    const kelvo_status status = kelvo_nr_lookup_chan("cfg/node/act/20", 0, &name, nullptr, nullptr);
    system_calls = {};
    EXPECT_EQ(name, untouched);
    EXPECT_EQ(FailingMemory::outstanding(), 0);
    return status;
}

TEST_F(ResolverChannel, NameThatCannotBeFormedFails) {
    EXPECT_EQ(status_of_formatting(EINVAL, 0), KELVO_ERR_OS_CALL);
    EXPECT_EQ(status_of_formatting(0, 29), KELVO_ERR_NAME_TOO_LONG);
}

TEST_F(ResolverChannel, OptionalOutputsMayBeLeftOut) {
    char* name;
    ASSERT_EQ(kelvo_nr_lookup_chan("cfg/if/act", 0, &name, nullptr, nullptr), 0U);
    EXPECT_STREQ(name, "/dev/kelvosvr-local");
    std::free(name);
}

using ResolverChannelDeathTest = ResolverChannel;

void look_up_without_memory(const char* path) {
    char* name = nullptr;
    const FailingMemory fail(0);  // the report itself needs memory
    (void)kelvo_nr_lookup_chan(path, 0, &name, nullptr, nullptr);
}

TEST_F(ResolverChannelDeathTest, NoMemoryForTheNameEndsTheProcess) {
    constexpr const char* kReport =
        "common/src/kelvo_node_resolver:[0-9]+: kelvo_nr_lookup_chan: Assertion "
        "`channel_name\\[0\\] != '\\\\0'' failed";
    EXPECT_DEATH(look_up_without_memory("cfg/if/act"), kReport);
    EXPECT_DEATH(look_up_without_memory("cfg/node/act/20"), kReport);
}

TEST_F(ResolverChannel, NamesOfChannelsAreFixed) {
    EXPECT_STREQ(KELVO_NR_CHANNEL_LOCAL, "/dev/kelvosvr-local");
    EXPECT_STREQ(KELVO_NR_CHANNEL_LOCAL_OF, "/dev/kelvosvr-local.d/");
    EXPECT_STREQ(KELVO_NR_CHANNEL_SHARED_SC, "/dev/kelvosvr-primary-shared-sc");
    EXPECT_STREQ(KELVO_NR_CHANNEL_ADMIN, "/admin/dev/kelvosvr-primary-admin");
}

}  // namespace
