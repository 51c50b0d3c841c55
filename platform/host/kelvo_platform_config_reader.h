// SPDX-License-Identifier: Apache-2.0
//
// How the configuration file is read: libconfig parses it, and a reader moves what it holds into
// plain records, checking every key and value. The first thing that is wrong ends the reading with
// a message that says where it is and what would be right.
//
// kelvo_platform_config_values.cpp reads the file and single values, kelvo_platform_config_read.cpp
// the sections.
#pragma once

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>

#include "kelvo_platform_config.h"

namespace kelvo::host {

/// A key of the file with its value, or an element of a list.
using Entry = const config_setting_t*;

/// Text that grows in a buffer of fixed size and is cut at its end.
struct Text {
    char text[512] = "";
    std::size_t length = 0;

    KELVO_PRINTF(2, 3) void add(const char* format, ...) noexcept {
        va_list arguments;
        va_start(arguments, format);
        const int added = vsnprintf(text + length, sizeof text - length, format, arguments);
        va_end(arguments);
        if (added > 0) length = std::min(length + static_cast<std::size_t>(added), sizeof text - 1);
    }
};

inline unsigned line_of(Entry setting) noexcept {
    return config_setting_source_line(setting);
}

class Reader {
  public:
    explicit Reader(Config& config) noexcept : config_(config) {}

    void read(const char* path) noexcept;

  private:
    void set_defaults() noexcept;

    // Failing: the first failure is the one that is kept. All return false.
    KELVO_PRINTF(3, 4) bool fail(Entry at, const char* format, ...) noexcept;
    bool fail_file(const char* problem) noexcept;
    bool cannot_be_read() noexcept;  // for the reason in errno
    bool out_of_memory() noexcept { return fail_file("out of memory"); }

    // The steps, in order.
    bool find_file(const char* path) noexcept;
    bool parse_file() noexcept;
    bool parse_text(char* text, std::size_t length) noexcept;
    bool read_sections() noexcept;
    bool read_nodes(Entry root) noexcept;
    bool read_single_node(Entry setting) noexcept;
    bool read_node(Entry group, Node& node) noexcept;
    const Setting<std::uint32_t>* find_id(std::uint32_t id) const noexcept;
    bool new_node_id(Entry setting, Setting<std::uint32_t>& id) noexcept;
    bool name_is_taken(const char* name) const noexcept;
    bool read_name(Entry group, Node& node) noexcept;
    bool read_sub_cards(Entry list, Node& node) noexcept;
    bool read_interfaces(Entry list) noexcept;
    bool read_interface(Entry group, Interface& interface) noexcept;
    bool read_interface_name(Entry setting, Interface& interface) noexcept;
    bool read_interface_node(Entry setting, Interface& interface) noexcept;
    bool read_places(Entry root) noexcept;
    bool read_boot_media(Entry list) noexcept;
    bool read_log(Entry log) noexcept;
    bool read_debug(Entry list) noexcept;
    bool read_environment() noexcept;
    bool read_job_variable(const char* text) noexcept;
    bool read_debug_variable(const char* text) noexcept;

    // Single values. A key that is absent leaves the default.
    bool known_keys(Entry group, std::initializer_list<const char*> keys) noexcept;
    bool aggregate(Entry setting, int type, const char* wanted) noexcept;
    bool text(Entry setting, const char*& value) noexcept;
    bool absolute_path(Entry setting, const char*& value) noexcept;
    bool node_id(Entry setting, Setting<std::uint32_t>& id) noexcept;
    bool word(Entry group, const char* key, const Word* words,
              Setting<std::uint32_t>& value) noexcept;
    template <class T>
    bool allocate(List<T>& list, std::size_t count) noexcept;

    Config& config_;
    bool must_exist_ = false;
};

template <class T>
bool Reader::allocate(List<T>& list, std::size_t count) noexcept {
    auto* const block = static_cast<Block*>(std::calloc(1, sizeof(Block) + count * sizeof(T)));
    if (block == nullptr) return out_of_memory();
    block->next = config_.blocks;
    config_.blocks = block;
    list = {reinterpret_cast<T*>(block + 1), count};
    return true;
}

}  // namespace kelvo::host
