// SPDX-License-Identifier: Apache-2.0
//
// kelvo platform check: what the platform tells the library, and where it has it from.
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>

#include "kelvo_platform_host.h"
#include "status.h"
#include "verbs.h"

namespace kelvo::tool {
namespace {

struct Row {
    std::string name;
    std::string value;
    std::string source;
};

/// A configuration that is read and not used.
class Config {
  public:
    explicit Config(const std::string& file)
        : config_(platform_host_config_load(file.empty() ? nullptr : file.c_str())) {
        if (config_ == nullptr) throw std::bad_alloc();
        const auto visit = [](void* rows, const char* key, const char* value, const char* source) {
            static_cast<std::vector<Row>*>(rows)->push_back({key, value, source});
        };
        (void)platform_host_config_describe(config_, visit, &rows_);
    }
    ~Config() { platform_host_config_free(config_); }
    Config(const Config&) = delete;
    Config& operator=(const Config&) = delete;

    /// "file:line: key: problem", or "".
    [[nodiscard]] std::string error() const {
        const char* const text = platform_host_config_error(config_);
        return text != nullptr ? text : "";
    }
    [[nodiscard]] const std::vector<Row>& rows() const { return rows_; }

    /// Where the value of a key comes from.
    [[nodiscard]] std::string source_of(const std::string& key) const {
        for (const Row& row : rows_) {
            if (row.name == key) return row.source;
        }
        return "default";
    }

  private:
    platform_host_config* config_;
    std::vector<Row> rows_;
};

/// What each service answers in this process.
class Services {
  public:
    explicit Services(const Config& config) : config_(config) { ask(); }
    [[nodiscard]] const std::vector<Row>& rows() const { return rows_; }

  private:
    void add(const std::string& service, const std::string& value, const std::string& source) {
        rows_.push_back({service, value, source});
    }
    void add_keyed(const std::string& service, const std::string& value, const std::string& key) {
        add(service, value, config_.source_of(key));
    }

    [[nodiscard]] std::string value_of(const std::string& key) const {
        for (const Row& row : config_.rows()) {
            if (row.name == key) return row.value;
        }
        return "";
    }

    static std::string or_status(kelvo_status status, const std::string& value) {
        return status == 0 ? value : name_of_status(status) + ": " + meaning_of_status(status);
    }

    void ask() {
        ask_node();
        ask_interfaces();
        add_keyed("procmgr_get_job_id", std::to_string(procmgr_get_job_id()), "job_id");
        ask_scripts();
        ask_boot_media();
        ask_log();
        ask_debug();
        ask_formats();
        add_built_in();
    }

    void ask_node() {
        std::uint32_t id = KELVO_NODEID_INVALID;
        const kelvo_status status = platform_my_nodeid(&id);
        char text[PLATFORM_HOST_NODEID_TEXT + 16] = "";
        const kelvo_status formatted = nodeid_format(id, text, sizeof text);
        add_keyed("platform_my_nodeid",
                  or_status(status, std::string(text) + " (" + hex(id, 8) + ")"), "node.id");
        std::uint32_t parsed = KELVO_NODEID_INVALID;
        const kelvo_status read = formatted == 0 ? nodeid_parse(text, &parsed) : formatted;
        add("nodeid_format", or_status(formatted, text), "built in");
        add("nodeid_parse", or_status(read, hex(parsed, 8)), "built in");
        std::uint32_t processor = KELVO_NODEID_INVALID;
        const kelvo_status served = nodeid_to_cpu_nodeid(id, &processor);
        add_keyed("nodeid_to_cpu_nodeid", or_status(served, hex(processor, 8)), "node.id");
        char name[20] = "";
        const kelvo_status named = platform_node_name(id, name, sizeof name);
        add_keyed("platform_node_name", or_status(named, name), "node.name");
        add_keyed("platform_type",
                  std::to_string(platform_type()) + " (" + value_of("node.card_type") + ")",
                  "node.card_type");
        add_keyed("platform_node_type",
                  std::to_string(platform_node_type(id)) + " (" + value_of("node.node_type") + ")",
                  "node.node_type");
        add_keyed("platform_is_single_node", std::to_string(platform_is_single_node()),
                  "single_node");
    }

    void ask_interfaces() {
        void* connection = nullptr;
        const kelvo_status bound = ifdb_bind(&connection);
        add("ifdb_bind", or_status(bound, "bound"), "built in");
        std::size_t known = 0;
        std::size_t found = 0;
        for (const auto& [name, source] : interfaces()) {
            std::uint32_t node = KELVO_NODEID_INVALID;
            kelvo_status reported = 0;
            const kelvo_status status =
                ifname_to_location(connection, name.c_str(), &node, &reported);
            ++known;
            if (status == 0 && reported == 0) ++found;
        }
        add("ifname_to_location",
            std::to_string(found) + " of " + counted(known, "interface") + " found",
            "configuration and kernel");
    }

    /// The interfaces that the configuration or the kernel knows, with where they come from.
    [[nodiscard]] std::map<std::string, std::string> interfaces() const {
        std::map<std::string, std::string> names;
        for (const Row& row : config_.rows()) {
            if (row.name.starts_with("interfaces[") && row.name.ends_with("].name")) {
                names.emplace(row.value, row.source);
            } else if (row.name.starts_with("interface ")) {
                names.emplace(row.name.substr(std::strlen("interface ")), row.source);
            }
        }
        return names;
    }

    void ask_scripts() {
        const std::string directory = value_of("scripts_directory");
        const bool is_there = access(directory.c_str(), X_OK) == 0;
        add_keyed("procmgr_spawn_script",
                  is_there ? directory : directory + " (" + std::strerror(errno) + ")",
                  "scripts_directory");
        add("spawn_process", "programs are found by PATH", "built in");
    }

    void ask_boot_media() {
        std::uint32_t number = 1;
        for (;; ++number) {
            const char* const medium = platform_get_boot_media(number);
            const int error = errno;
            if (medium == nullptr && error == ENODEV) break;
            const std::string key = "boot_media[" + std::to_string(number - 1) + "]";
            add_keyed(
                "platform_get_boot_media(" + std::to_string(number) + ")",
                medium != nullptr ? medium : value_of(key) + " (" + std::strerror(error) + ")",
                key);
        }
        if (number == 1)
            add("platform_get_boot_media(1)", "there is no boot medium", "configuration");
    }

    void ask_log() {
        add_keyed("qor_errmsg", value_of("log.destination") + ", level " + value_of("log.level"),
                  "log.destination");
        add("errcode_strerror", errcode_strerror(KELVO_ERR_NO_OWNER), "built in");
        errcode_strings strings{};
        const kelvo_status status = errcode_getstrings(KELVO_ERR_NO_OWNER, &strings);
        const std::string subsystem = strings.subsystem != nullptr ? strings.subsystem : "";
        add("errcode_getstrings", or_status(status, "subsystem " + subsystem), "built in");
    }

    void ask_debug() {
        std::string flags;
        std::string source = "default";
        for (const Row& row : config_.rows()) {
            if (!row.name.starts_with("debug[")) continue;
            flags += (flags.empty() ? "" : ", ") + row.value;
            source = row.source;
        }
        add("platform_debug_register", flags.empty() ? "no flag is on from the start" : flags,
            source);
    }

    void ask_formats() {
        struct timespec now {};
        clock_get_fast_timespec(&now);
        add("clock_get_fast_timespec", std::to_string(now.tv_sec) + " s since boot", "kernel");
        void* const memory = alloc_with_caller(1, nullptr);
        add("alloc_with_caller", memory != nullptr ? "allocates" : "no memory", "built in");
        std::free(memory);
        std::uint8_t* message = nullptr;
        const kelvo_status status = replica_build_msg_headers(8, 0, &message);
        add_keyed("replica_build_msg_headers", or_status(status, "builds headers"), "node.id");
        if (status == 0) platform_host_replica_free(message);
    }

    void add_built_in() {
        for (const char* const service :
             {"buf_strncpy", "debug_print", "ordered_tree_insert", "ordered_tree_search",
              "ordered_tree_delete", "packed_tuple_unpack", "platform_debug_cleanup",
              "platform_debug_init_event", "platform_dup", "platform_trace_record",
              "record_payload_offset", "thread_mark_mutex_block", "thread_unmark_mutex_block"}) {
            add(service, "needs no configuration", "built in");
        }
    }

    const Config& config_;
    std::vector<Row> rows_;
};

const std::vector<Example> kExamples = {
    {"kelvo platform check | grep -E '^  (node.id|platform_my_nodeid|platform_type) '",
     "  node.id                     0_0_1                         default\n"
     "  platform_my_nodeid          0_0_1 (0x00000001)            default\n"
     "  platform_type               0 (route-processor)           default\n"},
    {"echo 'log = { levle = \"error\"; };' >new.conf; kelvo platform check --config new.conf; "
     "echo $?",
     "new.conf:1: log.levle: unknown key; the keys here are destination, level\n1\n"},
};

class Check final : public Verb {
  public:
    Check()
        : Verb({"platform check", "what the platform tells the library, and where it has it from",
                "Checks the configuration of the host platform: the first problem in it with file, "
                "line and key, or every value with where it comes from, and what each service that "
                "the library uses answers.\n\nWithout --config it is the configuration that every "
                "process on this machine reads: the file that KELVO_PLATFORM_CONFIG names, else "
                "/etc/kelvo/platform.conf, else the defaults. With it the file is read and not "
                "used, so only its values are shown.",
                kExamples}) {
        add_text("--config", file_, "check this file instead")->type_name("FILE");
    }

    Exit run(Output& out) override {
        const Config config(file_);
        const std::string error = config.error();
        if (!error.empty()) {
            out.json() ? out.record({{"good", false}, {"problem", error}})
                       : out.line(out.paint(Style::bad, printable(error)));
            return Exit::negative;
        }
        const std::vector<Row> services =
            file_.empty() ? Services(config).rows() : std::vector<Row>();
        if (out.json()) {
            out.record({{"good", true},
                        {"configuration", json_of(config.rows(), "key")},
                        {"services", json_of(services, "service")}});
        } else {
            show(out, "configuration", config.rows());
            if (!services.empty()) show(out, "services", services);
        }
        return Exit::ok;
    }

  private:
    static Json json_of(const std::vector<Row>& rows, const std::string& name) {
        Json list = Json::array();
        for (const Row& row : rows) {
            list.push_back({{name, row.name}, {"value", row.value}, {"source", row.source}});
        }
        return list;
    }

    static void show(Output& out, const std::string& title, const std::vector<Row>& rows) {
        constexpr std::size_t kName = 28;
        constexpr std::size_t kValue = 30;
        const auto pad = [](const std::string& text, std::size_t width) {
            return text + std::string(text.size() + 2 > width ? 2 : width - text.size(), ' ');
        };
        out.line(out.paint(Style::name, title) + ":");
        for (const Row& row : rows) {
            out.line("  " + pad(printable(row.name), kName) + pad(printable(row.value), kValue) +
                     out.paint(Style::faint, printable(row.source)));
        }
    }

    std::string file_;
};

}  // namespace

std::unique_ptr<Verb> make_platform_check() {
    return std::make_unique<Check>();
}

}  // namespace kelvo::tool
