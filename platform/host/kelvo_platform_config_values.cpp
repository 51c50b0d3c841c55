// SPDX-License-Identifier: Apache-2.0
//
// The configuration file as a whole, its single values, and the messages about them.
#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "kelvo_platform_config_reader.h"

namespace kelvo::host {

const Word kCardTypes[] = {
    {"route-processor", PLATFORM_TYPE_ROUTE_PROCESSOR},
    {"distributed-processor", PLATFORM_TYPE_DISTRIBUTED_PROCESSOR},
    {"line-card", PLATFORM_TYPE_LINE_CARD},
    {"standby-processor", PLATFORM_TYPE_STANDBY_PROCESSOR},
    {"local-only", PLATFORM_TYPE_LOCAL_ONLY},
    {"service-card", PLATFORM_TYPE_SERVICE_CARD},
    {nullptr, 0},
};
const Word kNodeTypes[] = {{"none", 0}, {"rack", PLATFORM_NODE_TYPE_RACK}, {nullptr, 0}};
const Word kLogDestinations[] = {
    {"stderr", kLogToStandardError},
    {"syslog", kLogToSyslog},
    {nullptr, 0},
};
const Word kLogLevels[] = {
    {"none", kLogNothing}, {"error", LOG_ERR}, {"notice", LOG_NOTICE}, {nullptr, 0}};

const char* word_for(const Word* words, std::uint32_t number) noexcept {
    for (; words->text != nullptr; ++words) {
        if (words->number == number) return words->text;
    }
    return "?";
}

namespace {

constexpr std::size_t kLargestFile = 1 << 20;

/// Writes the path of a setting as one would say it: "nodes[1].id".
void add_key(Text& text, Entry setting) noexcept {
    const config_setting_t* const parent = config_setting_parent(setting);
    if (parent == nullptr) return;
    add_key(text, parent);
    if (config_setting_name(setting) == nullptr) {
        text.add("[%d]", config_setting_index(setting));
    } else {
        text.add("%s%s", text.length == 0 ? "" : ".", config_setting_name(setting));
    }
}

/// Reads a file to its end. @return bytes read, or -1 with errno set
ssize_t read_whole(int descriptor, char* buffer, std::size_t size) noexcept {
    std::size_t length = 0;
    ssize_t got;
    do {
        got = ::read(descriptor, buffer + length, size - length);
        if (got > 0) length += static_cast<std::size_t>(got);
    } while (got > 0 || (got < 0 && errno == EINTR));
    return got < 0 ? -1 : static_cast<ssize_t>(length);
}

/// The first line that includes another file, counted from 1; 0 when there is none.
unsigned include_line(const char* text) noexcept {
    for (unsigned line = 1;; ++line) {
        const char* const word = text + std::strspn(text, " \t");
        if (std::strncmp(word, "@include", 8) == 0) return line;
        text = std::strchr(text, '\n');
        if (text == nullptr) return 0;
        ++text;
    }
}

}  // namespace

// ------------------------------------------------------------------------------------------------
// Messages
// ------------------------------------------------------------------------------------------------

bool Reader::fail(Entry at, const char* format, ...) noexcept {
    Text key;
    add_key(key, at);
    Text problem;
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(problem.text, sizeof problem.text, format, arguments);
    va_end(arguments);
    snprintf(config_.error, sizeof config_.error, "%.300s:%u: %s: %s", config_.path, line_of(at),
             key.text, problem.text);
    return false;
}

bool Reader::fail_file(const char* problem) noexcept {
    snprintf(config_.error, sizeof config_.error, "%.300s: %s", config_.path, problem);
    return false;
}

bool Reader::cannot_be_read() noexcept {
    Text problem;
    problem.add("cannot be read: %s", strerrordesc_np(errno));
    return fail_file(problem.text);
}

// ------------------------------------------------------------------------------------------------
// The file
// ------------------------------------------------------------------------------------------------

bool Reader::find_file(const char* path) noexcept {
    const char* const named = path != nullptr ? path : secure_getenv(PLATFORM_HOST_CONFIG_VARIABLE);
    must_exist_ = named != nullptr;
    const int length = snprintf(config_.path, sizeof config_.path, "%s",
                                must_exist_ ? named : PLATFORM_HOST_CONFIG_PATH);
    if (static_cast<std::size_t>(length) < sizeof config_.path) return true;
    return fail_file("cannot be read: File name too long");
}

bool Reader::parse_file() noexcept {
    const int descriptor = open(config_.path, O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        if (must_exist_ || (errno != ENOENT && errno != ENOTDIR)) return cannot_be_read();
        config_.path[0] = '\0';
        return true;
    }
    auto* const buffer = static_cast<char*>(std::malloc(kLargestFile + 1));
    const ssize_t length =
        buffer != nullptr ? read_whole(descriptor, buffer, kLargestFile + 1) : -1;
    const bool good =
        length >= 0 ? parse_text(buffer, static_cast<std::size_t>(length)) : cannot_be_read();
    std::free(buffer);
    close(descriptor);
    return good;
}

bool Reader::parse_text(char* text, std::size_t length) noexcept {
    if (length > kLargestFile) return fail_file("is larger than 1 MiB");
    if (std::memchr(text, '\0', length) != nullptr) return fail_file("holds a NUL character");
    text[length] = '\0';
    if (const unsigned line = include_line(text)) {
        snprintf(config_.error, sizeof config_.error,
                 "%.300s:%u: @include: the configuration is one file", config_.path, line);
        return false;
    }
    config_init(&config_.file);
    config_.parsed = true;
    if (config_read_string(&config_.file, text) == CONFIG_TRUE) return true;
    snprintf(config_.error, sizeof config_.error, "%.300s:%d: %s", config_.path,
             config_error_line(&config_.file), config_error_text(&config_.file));
    return false;
}

// ------------------------------------------------------------------------------------------------
// Single values
// ------------------------------------------------------------------------------------------------

bool Reader::known_keys(Entry group, std::initializer_list<const char*> keys) noexcept {
    for (int i = 0; i < config_setting_length(group); ++i) {
        const auto* const member = config_setting_get_elem(group, static_cast<unsigned>(i));
        const auto is_member = [&](const char* key) {
            return std::strcmp(key, config_setting_name(member)) == 0;
        };
        if (std::any_of(keys.begin(), keys.end(), is_member)) continue;
        Text known;
        for (const char* key : keys) known.add("%s%s", known.length == 0 ? "" : ", ", key);
        return fail(member, "unknown key; the keys here are %s", known.text);
    }
    return true;
}

bool Reader::aggregate(Entry setting, int type, const char* wanted) noexcept {
    if (config_setting_type(setting) == type) return true;
    return fail(setting, "must be %s", wanted);
}

bool Reader::text(Entry setting, const char*& value) noexcept {
    if (config_setting_type(setting) != CONFIG_TYPE_STRING) {
        return fail(setting, "must be a text in double quotes");
    }
    value = config_setting_get_string(setting);
    return value[0] != '\0' || fail(setting, "must not be empty");
}

bool Reader::absolute_path(Entry setting, const char*& value) noexcept {
    if (!text(setting, value)) return false;
    return value[0] == '/' || fail(setting, "'%s' must be an absolute path", value);
}

bool Reader::node_id(Entry setting, Setting<std::uint32_t>& id) noexcept {
    const char* value = "";
    if (!text(setting, value)) return false;
    if (nodeid_parse(value, &id.value) != 0) {
        return fail(setting, "'%s' is not a node id (rack_slot_cpu, such as 0_1_1)", value);
    }
    id.origin.line = line_of(setting);
    return true;
}

bool Reader::word(Entry group, const char* key, const Word* words,
                  Setting<std::uint32_t>& value) noexcept {
    Entry const setting = config_setting_get_member(group, key);
    if (setting == nullptr) return true;
    const char* given = "";
    if (!text(setting, given)) return false;
    Text choices;
    for (const Word* word = words; word->text != nullptr; ++word) {
        if (std::strcmp(word->text, given) == 0) {
            value = {word->number, {line_of(setting), nullptr}};
            return true;
        }
        choices.add("%s%s", choices.length == 0 ? "" : ", ", word->text);
    }
    return fail(setting, "'%s' is not one of %s", given, choices.text);
}

}  // namespace kelvo::host
