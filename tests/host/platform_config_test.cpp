// SPDX-License-Identifier: Apache-2.0
//
// The host platform's configuration: every kind of error with its exact message, what is read from
// where, and what the services answer while it is in error.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "kelvo_platform_host.h"
#include "platform/failed_sites.h"
#include "platform/failing_memory.h"
#include "support/child.h"

namespace {

using kelvo::test::FailingMemory;
using kelvo::test::file_of;
using kelvo::test::in_child;
using kelvo::test::Outcome;
using kelvo::test::ScratchDirectory;
using kelvo::test::use_configuration;

using Config = std::unique_ptr<platform_host_config, decltype(&platform_host_config_free)>;

Config load(const char* path) {
    return {platform_host_config_load(path), platform_host_config_free};
}

/// The error of a configuration of this text, with the file's name cut off; "" when it is good.
std::string error_of(const std::string& text) {
    const ScratchDirectory scratch;
    const std::string path = scratch.write("platform.conf", text);
    const Config config = load(path.c_str());
    const char* const error = platform_host_config_error(config.get());
    if (error == nullptr) return "";
    EXPECT_EQ(std::string(error).substr(0, path.size()), path);
    return std::string(error).substr(path.size());
}

using Values = std::map<std::string, std::pair<std::string, std::string>>;

/// Everything a configuration says, by key, as value and source.
Values values_of(const platform_host_config* config) {
    Values values;
    const auto keep = [](void* argument, const char* key, const char* value, const char* source) {
        (*static_cast<Values*>(argument))[key] = {value, source};
    };
    EXPECT_EQ(platform_host_config_describe(config, keep, &values), 0U);
    return values;
}

struct Row {
    const char* text;
    const char* error;

    friend std::ostream& operator<<(std::ostream& out, const Row& row) { return out << row.text; }
};

class Error : public testing::TestWithParam<Row> {};

TEST_P(Error, NamesLineAndKeyAndSaysWhatIsRight) {
    EXPECT_EQ(error_of(GetParam().text), GetParam().error);
}

constexpr Row kRows[] = {
    // The file.
    {"node = {\n  id = ;\n};", ":2: syntax error"},
    {"job_id = 1;\njob_id = 2;", ":2: duplicate setting name"},
    {"job_id = 1;\n  @include \"other\"\n", ":2: @include: the configuration is one file"},
    // Keys.
    {"job_id = 1;\nnodee = 3;",
     ":2: nodee: unknown key; the keys here are node, single_node, nodes, interfaces, job_id, "
     "boot_media, scripts_directory, log, debug"},
    {"node = { id = \"0_1_0\";\n ident = 3; };",
     ":2: node.ident: unknown key; the keys here are id, name, card_type, node_type, sub_cards"},
    {"nodes = (\n{ id = \"0_1_0\"; },\n{ id = \"0_1_1\"; nme = \"a\"; });",
     ":3: nodes[1].nme: unknown key; the keys here are id, name, card_type, node_type, sub_cards"},
    {"interfaces = ({ nam = \"a\"; });",
     ":1: interfaces[0].nam: unknown key; the keys here are name, node"},
    {"log = { to = \"stderr\"; };",
     ":1: log.to: unknown key; the keys here are destination, level"},
    // Node ids.
    {"node = { id = \"zero\"; };",
     ":1: node.id: 'zero' is not a node id (rack_slot_cpu, such as 0_1_1)"},
    {"node = { id = \"0_0_0\"; };",
     ":1: node.id: '0_0_0' is not a node id (rack_slot_cpu, such as 0_1_1)"},
    {"node = { id = 7; };", ":1: node.id: must be a text in double quotes"},
    {"node = { id = \"\"; };", ":1: node.id: must not be empty"},
    {"node = {\n name = \"a\"; };", ":1: node: has no id"},
    {"nodes = ( { } );", ":1: nodes[0]: has no id"},
    // Nodes given twice.
    {"nodes = (\n{ id = \"0_1_0\"; },\n{ id = \"0_1_0\"; });",
     ":3: nodes[1].id: node 0_1_0 is given twice, first on line 2"},
    {"node = { id = \"0_1_0\"; };\nnodes = ( { id = \"0_1_0\"; } );",
     ":2: nodes[0].id: node 0_1_0 is given twice, first on line 1"},
    {"nodes = ( { id = \"0_0_1\"; } );",
     ":1: nodes[0].id: node 0_0_1 is this node, which has that id by default"},
    {"nodes = ({ id = \"0_1_0\"; sub_cards = [\"0_1_1\",\n\"0_1_1\"]; });",
     ":2: nodes[0].sub_cards[1]: node 0_1_1 is given twice, first on line 1"},
    {"nodes = ({ id = \"0_1_0\"; sub_cards = [\"0_1_1\"]; },\n{ id = \"0_1_1\"; });",
     ":2: nodes[1].id: node 0_1_1 is given twice, first on line 1"},
    {"nodes = ({ id = \"0_1_0\"; name = \"a\"; },\n{ id = \"0_2_0\"; name = \"a\"; });",
     ":2: nodes[1].name: another node has the name 'a'"},
    {"nodes = ({ id = \"0_1_0\"; name = \"0_2_0\"; },\n{ id = \"0_2_0\"; });",
     ":2: nodes[1]: another node has the name '0_2_0'"},
    {"node = { id = \"0_1_0\"; name = \"a\"; };\nnodes = ({ id = \"0_2_0\"; name = \"a\"; });",
     ":2: nodes[0].name: another node has the name 'a'"},
    // Other values of a node.
    {"node = { id = \"0_1_0\"; name = 7; };", ":1: node.name: must be a text in double quotes"},
    {"node = { id = \"0_1_0\"; name = \"a/b\"; };", ":1: node.name: 'a/b' must not hold a '/'"},
    {"node = { id = \"0_1_0\"; name = \"a2345678901234567890\"; };",
     ":1: node.name: 'a2345678901234567890' is longer than 19 characters"},
    {"node = { id = \"0_1_0\"; card_type = \"card\"; };",
     ":1: node.card_type: 'card' is not one of route-processor, distributed-processor, line-card, "
     "standby-processor, local-only, service-card"},
    {"node = { id = \"0_1_0\"; node_type = \"2\"; };",
     ":1: node.node_type: '2' is not one of none, rack"},
    {"node = { id = \"0_1_0\"; sub_cards = \"0_1_1\"; };",
     ":1: node.sub_cards: must be an array of node ids: [ \"0_1_16\" ]"},
    {"node = { id = \"0_1_0\"; sub_cards = [ \"x\" ]; };",
     ":1: node.sub_cards[0]: 'x' is not a node id (rack_slot_cpu, such as 0_1_1)"},
    {"node = 7;", ":1: node: must be a group: {...}"},
    {"nodes = 7;", ":1: nodes: must be a list of groups: ( {...} )"},
    {"nodes = ( 7 );", ":1: nodes[0]: must be a group: {...}"},
    {"single_node = 1;", ":1: single_node: must be true or false"},
    // Interfaces.
    {"interfaces = 7;", ":1: interfaces: must be a list of groups: ( {...} )"},
    {"interfaces = ( 7 );", ":1: interfaces[0]: must be a group: {...}"},
    {"interfaces = ({ node = \"none\"; });", ":1: interfaces[0]: has no name"},
    {"interfaces = ({ name = 7; node = \"none\"; });",
     ":1: interfaces[0].name: must be a text in double quotes"},
    {"interfaces = ({ name = \"a\"; node = 7; });",
     ":1: interfaces[0].node: must be a text in double quotes"},
    {"interfaces = ({ name = \"a\"; });", ":1: interfaces[0]: has no node"},
    {"interfaces = ({ name = \"a\"; node = \"none\"; },\n{ name = \"a\"; node = \"none\"; });",
     ":2: interfaces[1].name: interface 'a' is given twice, first on line 1"},
    {"interfaces = ({ name = \"a\"; node = \"0_9_1\"; });",
     ":1: interfaces[0].node: node 0_9_1 is neither this node nor one of nodes"},
    {"interfaces = ({ name = \"a\"; node = \"nowhere\"; });",
     ":1: interfaces[0].node: 'nowhere' is not a node id (rack_slot_cpu, such as 0_1_1)"},
    {"interfaces = ({ name = "
     "\"a234567890123456789012345678901234567890123456789012345678901234\"; node = \"none\"; });",
     ":1: interfaces[0].name: 'a234567890123456789012345678901234567890123456789012345678901234' "
     "is longer than 63 characters"},
    // The rest.
    {"job_id = 1;", ":1: job_id: must be a text in double quotes"},
    {"job_id = \"0\";", ":1: job_id: '0' is not a number from 1 to 4294967295"},
    {"job_id = \"4294967296\";", ":1: job_id: '4294967296' is not a number from 1 to 4294967295"},
    {"scripts_directory = 7;", ":1: scripts_directory: must be a text in double quotes"},
    {"scripts_directory = \"scripts\";",
     ":1: scripts_directory: 'scripts' must be an absolute path"},
    {"boot_media = \"/a/\";", ":1: boot_media: must be an array of directories: [ \"/boot/\" ]"},
    {"boot_media = [ \"a/\" ];", ":1: boot_media[0]: 'a/' must be an absolute path"},
    {"boot_media = [ \"/a/\", \"/b\" ];", ":1: boot_media[1]: '/b' must end in '/'"},
    {"log = 7;", ":1: log: must be a group: {...}"},
    {"log = { destination = \"file\"; };",
     ":1: log.destination: 'file' is not one of stderr, syslog"},
    {"log = { level = \"all\"; };", ":1: log.level: 'all' is not one of none, error, notice"},
    {"debug = \"all\";", ":1: debug: must be an array of flags: [ \"node-resolver\" ]"},
    {"debug = [ 1 ];", ":1: debug[0]: must be a text in double quotes"},
};

INSTANTIATE_TEST_SUITE_P(Config, Error, testing::ValuesIn(kRows));

TEST(Config, AFileThatIsNamedMustExist) {
    EXPECT_STREQ(platform_host_config_error(load("/nowhere/at.all").get()),
                 "/nowhere/at.all: cannot be read: No such file or directory");
}

TEST(Config, ADirectoryCannotBeRead) {
    EXPECT_STREQ(platform_host_config_error(load("/tmp").get()),
                 "/tmp: cannot be read: Is a directory");
}

TEST(Config, ANulCharacterIsRefused) {
    EXPECT_EQ(error_of(std::string("job_id = 1;\0", 12)), ": holds a NUL character");
}

TEST(Config, AFileOfMoreThanOneMebibyteIsRefused) {
    EXPECT_EQ(error_of(std::string(1 << 20, '\n')), "");
    EXPECT_EQ(error_of(std::string((1 << 20) + 1, '\n')), ": is larger than 1 MiB");
}

TEST(Config, APathThatIsTooLongIsRefused) {
    const std::string path(5000, 'a');
    EXPECT_EQ(platform_host_config_error(load(path.c_str()).get()),
              std::string(300, 'a') + ": cannot be read: File name too long");
}

TEST(Config, EveryKeyIsOptional) {
    EXPECT_EQ(error_of(""), "");
    EXPECT_EQ(error_of("node = { id = \"0_0_1\"; };"), "");
    EXPECT_EQ(error_of("nodes = ( );"), "");
    EXPECT_EQ(error_of("interfaces = ( ); boot_media = [ ]; debug = [ ]; log = { };"), "");
}

TEST(Config, EachValueIsDescribedWithItsLine) {
    const ScratchDirectory scratch;
    const std::string path =
        scratch.write("platform.conf",
                      "node = {\n"
                      "  id = \"0_1_0\";\n"
                      "  sub_cards = [ \"0_1_16\" ];\n"
                      "};\n"
                      "nodes = (\n"
                      "  { id = \"0_2_0\"; name = \"lc2\";\n"
                      "    card_type = \"line-card\"; node_type = \"rack\"; }\n"
                      ");\n"
                      "interfaces = (\n"
                      "  { name = \"p1\"; node = \"0_2_0\"; },\n"
                      "  { name = \"p2\"; node = \"none\"; }\n"
                      ");\n"
                      "job_id = \"211\";\n"
                      "boot_media = [ \"/a/\", \"/b/\" ];\n"
                      "scripts_directory = \"/s\";\n"
                      "log = { destination = \"syslog\";\n"
                      "  level = \"error\"; };\n"
                      "debug = [ \"all\" ];\n");
    const Config config = load(path.c_str());
    ASSERT_EQ(platform_host_config_error(config.get()), nullptr);
    Values values = values_of(config.get());
    EXPECT_EQ(values["interface lo"], std::pair(std::string("0_1_0"), std::string("kernel")));
    std::erase_if(values, [](const auto& value) { return value.second.second == "kernel"; });
    const auto at = [&](int line) { return path + ":" + std::to_string(line); };
    const Values expected = {
        {"node.id", {"0_1_0", at(2)}},
        {"node.name", {"0_1_0", "default"}},
        {"node.card_type", {"route-processor", "default"}},
        {"node.node_type", {"none", "default"}},
        {"node.sub_cards[0]", {"0_1_16", at(3)}},
        {"single_node", {"false", "default"}},
        {"nodes[0].id", {"0_2_0", at(6)}},
        {"nodes[0].name", {"lc2", at(6)}},
        {"nodes[0].card_type", {"line-card", at(7)}},
        {"nodes[0].node_type", {"rack", at(7)}},
        {"interfaces[0].name", {"p1", at(10)}},
        {"interfaces[0].node", {"0_2_0", at(10)}},
        {"interfaces[1].name", {"p2", at(11)}},
        {"interfaces[1].node", {"none", at(11)}},
        {"job_id", {"211", at(13)}},
        {"boot_media[0]", {"/a/", at(14)}},
        {"boot_media[1]", {"/b/", at(14)}},
        {"scripts_directory", {"/s", at(15)}},
        {"log.destination", {"syslog", at(16)}},
        {"log.level", {"error", at(17)}},
        {"debug[0]", {"all", at(18)}},
    };
    EXPECT_EQ(values, expected);
}

TEST(Config, TheEnvironmentComesBeforeTheFile) {
    const ScratchDirectory scratch;
    const std::string path = scratch.write("platform.conf", "job_id = \"1\"; debug = [ \"a\" ];");
    setenv("KELVO_JOB_ID", "4294967295", 1);
    setenv("KELVO_DEBUG", " x, y/z,,", 1);
    Values values = values_of(load(path.c_str()).get());
    unsetenv("KELVO_JOB_ID");
    unsetenv("KELVO_DEBUG");
    using Pair = std::pair<std::string, std::string>;
    EXPECT_EQ(values["job_id"], Pair("4294967295", "environment KELVO_JOB_ID"));
    EXPECT_EQ(values["debug[0]"], Pair("x", "environment KELVO_DEBUG"));
    EXPECT_EQ(values["debug[1]"], Pair("y/z", "environment KELVO_DEBUG"));
    EXPECT_EQ(values.count("debug[2]"), 0U);
}

TEST(Config, ABadJobIdInTheEnvironmentIsAnError) {
    for (const char* text :
         {"", "0", "-1", "+1", " 1", "1x", "4294967296", "99999999999999999999"}) {
        setenv("KELVO_JOB_ID", text, 1);
        EXPECT_EQ(platform_host_config_error(load("/dev/null").get()),
                  std::string("environment: KELVO_JOB_ID: '") + text +
                      "' is not a number from 1 to 4294967295");
    }
    unsetenv("KELVO_JOB_ID");
}

TEST(Config, TheSampleIsGood) {
    const Config config = load(KELVO_SOURCE_DIR "/platform/host/platform.conf.sample");
    ASSERT_STREQ(platform_host_config_error(config.get()), nullptr);
    EXPECT_EQ(values_of(config.get())["node.name"].first, "rp0");
}

TEST(Config, OneInErrorIsNotDescribed) {
    const auto fail = [](void*, const char*, const char*, const char*) { ADD_FAILURE(); };
    EXPECT_EQ(platform_host_config_describe(load("/nowhere").get(), fail, nullptr),
              PLATFORM_HOST_ERR_CONFIG);
    EXPECT_EQ(platform_host_config_describe(load("/dev/null").get(), nullptr, nullptr),
              KELVO_ERR_NULL_PARAM);
}

TEST(Config, MemoryThatRunsOutIsReported) {
    {
        const FailingMemory fail(0);
        EXPECT_EQ(platform_host_config_load("/dev/null"), nullptr);
    }
    const FailingMemory fail(1);
    const Config config = load("/dev/null");
    EXPECT_STREQ(platform_host_config_error(config.get()),
                 "/dev/null: cannot be read: Cannot allocate memory");
}

TEST(Config, EveryAllocationOfTheReaderMayFail) {
    const char* const path = KELVO_SOURCE_DIR "/platform/host/platform.conf.sample";
    setenv("KELVO_DEBUG", "node-resolver", 1);
    const auto load_failing = [path](std::size_t number) -> std::string {
        char error[400] = "nothing";
        const FailingMemory fail(number);
        if (platform_host_config* const config = platform_host_config_load(path)) {
            const char* const text = platform_host_config_error(config);
            std::snprintf(error, sizeof error, "%s", text == nullptr ? "good" : text);
            platform_host_config_free(config);
        }
        EXPECT_EQ(FailingMemory::outstanding(), 0) << number;
        return error;
    };
    EXPECT_EQ(load_failing(FailingMemory::kNever), "good");
    const auto requests = FailingMemory::requests();
    for (std::size_t n = 2; n < requests.size(); ++n) {
        // Where the parser has no memory, it ends the process.
        if (!file_of(requests[n].caller).starts_with("libkelvo_platform")) continue;
        EXPECT_EQ(load_failing(n), std::string(path) + ": out of memory") << n;
    }
    unsetenv("KELVO_DEBUG");
}

TEST(Config, FreeingReturnsEverything) {
    const FailingMemory count;
    for (const char* path :
         {"/nowhere", "/dev/null", KELVO_SOURCE_DIR "/platform/host/platform.conf.sample"}) {
        platform_host_config_free(platform_host_config_load(path));
    }
    platform_host_config_free(nullptr);
    EXPECT_EQ(FailingMemory::outstanding(), 0);
}

// ------------------------------------------------------------------------------------------------
// The configuration of a process
// ------------------------------------------------------------------------------------------------

/// What every service that needs the configuration answers, a line each.
void print_answers() {
    uint32_t number = 77;
    kelvo_status reported = 77;
    char name[20] = "untouched";
    void* connection = nullptr;
    uint8_t* message = nullptr;
    kelvo_status status = platform_my_nodeid(&number);
    std::printf("my_nodeid 0x%x %u\n", status, number);
    std::printf("type 0x%x single 0x%x\n", platform_type(), platform_is_single_node());
    std::printf("node_type %u\n", platform_node_type(1));
    status = platform_node_name(1, name, sizeof name);
    std::printf("node_name 0x%x %s\n", status, name);
    status = nodeid_to_cpu_nodeid(1, &number);
    std::printf("cpu 0x%x %u\n", status, number);
    std::printf("bind 0x%x\n", ifdb_bind(&connection));
    std::printf("location 0x%x", ifname_to_location(connection, "lo", &number, &reported));
    std::printf(" reported 0x%x %u\n", reported, number);
    std::printf("job %d\n", procmgr_get_job_id() == static_cast<uint32_t>(getpid()) ? 1 : 0);
    const procmgr_spawn_params params{};
    std::printf("script 0x%x\n", procmgr_spawn_script("no-such-script", "", &params));
    const char* const media = platform_get_boot_media(1);
    std::printf("media %s\n", media != nullptr ? media : "none");
    std::printf("replica 0x%x", replica_build_msg_headers(4, 0, &message));
    std::printf(" %s\n", message != nullptr ? "stored" : "null");
    platform_host_replica_free(message);
}

TEST(ProcessConfig, DefaultsAreThoseOfASingleNode) {
    const Outcome outcome = in_child([] {
        unsetenv("KELVO_PLATFORM_CONFIG");
        print_answers();
    });
    EXPECT_EQ(outcome.output,
              "my_nodeid 0x0 1\n"
              "type 0x0 single 0x1\n"
              "node_type 0\n"
              "node_name 0x0 0_0_1\n"
              "cpu 0x0 1\n"
              "bind 0x0\n"
              "location 0x0 reported 0x0 1\n"
              "job 1\n"
              "script 0xa09b0a02\n"
              "media /var/tmp/\n"
              "replica 0x0 stored\n");
    EXPECT_EQ(outcome.errors, "");
}

TEST(ProcessConfig, InErrorNothingFallsBackToTheDefaultsAndTheErrorIsWrittenOnce) {
    const Outcome outcome = in_child([] {
        use_configuration("/nowhere/at.all");
        print_answers();
        std::printf("%s\n", platform_host_config_error(nullptr));
    });
    EXPECT_EQ(outcome.output,
              "my_nodeid 0x409b0200 77\n"
              "type 0xffffffff single 0xffffffff\n"
              "node_type 0\n"
              "node_name 0x409b0200 untouched\n"
              "cpu 0x409b0200 77\n"
              "bind 0x0\n"
              "location 0x409b0200 reported 0x0 77\n"
              "job 0\n"
              "script 0x409b0200\n"
              "media none\n"
              "replica 0x409b0200 stored\n"
              "/nowhere/at.all: cannot be read: No such file or directory\n");
    const std::string error =
        "platform configuration: /nowhere/at.all: cannot be read: No such file or directory\n";
    const std::size_t at = outcome.errors.find(error);
    ASSERT_NE(at, std::string::npos) << outcome.errors;
    EXPECT_EQ(at + error.size(), outcome.errors.size());
    EXPECT_EQ(outcome.errors.find('\n'), outcome.errors.size() - 1);
}

TEST(ProcessConfig, TheDefaultsNeedNoMemory) {
    const Outcome outcome = in_child([] {
        unsetenv("KELVO_PLATFORM_CONFIG");
        uint32_t node = 0;
        kelvo_status status;
        {
            const FailingMemory fail(0, FailingMemory::kNever);
            status = platform_my_nodeid(&node);
        }
        std::printf("0x%x %u\n", status, node);
    });
    EXPECT_EQ(outcome.output, "0x0 1\n");
}

TEST(ProcessConfig, IsDescribedAndFoundGood) {
    const Outcome outcome = in_child([] {
        use_configuration("/dev/null");
        const auto print = [](void*, const char* key, const char* value, const char* source) {
            if (std::string(key) == "node.id") std::printf("%s %s %s\n", key, value, source);
        };
        platform_host_config_describe(nullptr, print, nullptr);
        std::printf("%d\n", platform_host_config_error(nullptr) == nullptr);
    });
    EXPECT_EQ(outcome.output, "node.id 0_0_1 default\n1\n");
}

}  // namespace
