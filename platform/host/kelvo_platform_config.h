// SPDX-License-Identifier: Apache-2.0
//
// The configuration as the services see it: plain values, each with where it came from. It is read
// once per process, on first need, and never changes.
#pragma once

#include <libconfig.h>

#include <cstddef>
#include <cstdint>

#include "kelvo_platform_host.h"

namespace kelvo::host {

/// Where a value came from. Line 0 is the built-in default; what the environment says has no line.
struct Origin {
    unsigned line = 0;
    const char* variable = nullptr;  ///< the environment variable's name
};

template <class T>
struct Setting {
    T value{};
    Origin origin{};
};

template <class T>
struct List {
    T* items = nullptr;
    std::size_t count = 0;

    [[nodiscard]] T* begin() const noexcept { return items; }
    [[nodiscard]] T* end() const noexcept { return items + count; }
};

/// The longest name of a node, with its NUL: what the resolver has room for in a channel's name.
inline constexpr std::size_t kNodeName = 20;

struct Node {
    Setting<std::uint32_t> id;
    char name[kNodeName];
    Origin name_origin;
    Setting<std::uint32_t> card_type;
    Setting<std::uint32_t> node_type;
    List<Setting<std::uint32_t>> sub_cards;  ///< that this node's processor serves
};

struct Interface {
    const char* name;
    Setting<std::uint32_t> node;  ///< KELVO_NODEID_INVALID: known, but on no node
};

enum LogTo : std::uint32_t { kLogToStandardError, kLogToSyslog };

/// Limits of the log, as syslog priorities; nothing passes the first.
inline constexpr std::uint32_t kLogNothing = 0;

/// A piece of memory that belongs to a configuration; its contents follow.
struct alignas(std::max_align_t) Block {
    Block* next;
};

struct Config {
    char path[4096];   ///< of the file, "" when there is none
    char error[1536];  ///< "" while all is well
    bool parsed;       ///< whether there is a `file`
    config_t file;     ///< owns the texts of the file
    Block* blocks;     ///< what lists and other texts point into

    Node self;
    List<Node> nodes;  ///< the others
    Setting<std::uint32_t> single_node;
    List<Interface> interfaces;
    Setting<std::uint32_t> job_id;
    List<Setting<const char*>> boot_media;
    Setting<const char*> scripts_directory;
    Setting<std::uint32_t> log_destination;  ///< LogTo
    Setting<std::uint32_t> log_level;
    List<Setting<const char*>> debug;  ///< names, paths or "all"

    [[nodiscard]] bool good() const noexcept { return error[0] == '\0'; }
};

/// The process's configuration, good or not; null while this thread is reading it.
const platform_host_config* process_config() noexcept;

/// The process's configuration when it is good, else null.
const Config* good_config() noexcept;

/// The node with this id, or null.
const Node* find_node(const Config& config, std::uint32_t id) noexcept;

/// What the file says about an interface, or null.
const Interface* find_interface(const Config& config, const char* name) noexcept;

/// Fills a zeroed configuration; whatever is wrong is in its `error` afterwards. Without a file
/// nothing is allocated, so that the defaults are there even when memory has run out.
void read_config(Config& config, const char* path) noexcept;

/// Releases what a configuration owns.
void clear_config(Config& config) noexcept;

/// A word of the configuration and the number that it stands for.
struct Word {
    const char* text;
    std::uint32_t number;
};

/// The words for card types, node types, log destinations and log levels, each list ended by a null
/// text.
extern const Word kCardTypes[];
extern const Word kNodeTypes[];
extern const Word kLogDestinations[];
extern const Word kLogLevels[];

/// The word for a number, or "?" when there is none.
const char* word_for(const Word* words, std::uint32_t number) noexcept;

}  // namespace kelvo::host

struct platform_host_config {
    kelvo::host::Config config;
};
