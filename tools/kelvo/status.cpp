// SPDX-License-Identifier: Apache-2.0
#include "status.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "kelvo_platform_host.h"
#include "kelvo_status.h"
#include "text.h"

namespace kelvo::tool {
namespace {

struct Known {
    std::uint32_t code;
    const char* name;
    const char* meaning;
};

constexpr Known kKnown[] = {
#define KELVO_KNOWN(name, meaning) {name, #name, meaning},
    KELVO_STATUS_LIST(KELVO_KNOWN) PLATFORM_HOST_STATUS_LIST(KELVO_KNOWN)
#undef KELVO_KNOWN
        {IFDB_UNKNOWN_INTERFACE, "IFDB_UNKNOWN_INTERFACE", "the interface is unknown"},
};

/// What a name may be left without.
constexpr std::string_view kPrefix = "KELVO_ERR_";

/// A code may carry an errno, which lists do not have.
const Known* find(std::uint32_t code) {
    for (const Known& known : kKnown) {
        if (known.code == code || known.code == PLATFORM_HOST_STATUS_ERROR(code)) return &known;
    }
    return nullptr;
}

}  // namespace

std::string name_of_status(std::uint32_t code) {
    if (code == 0) return "success";
    const Known* const known = find(code);
    return known != nullptr ? known->name : hex(code, 8);
}

std::string meaning_of_status(std::uint32_t code) {
    if (code == 0) return "success";
    const Known* const known = find(code);
    if (known == nullptr) return errcode_strerror(code);
    if (code == known->code) return known->meaning;
    const int number = static_cast<int>(PLATFORM_HOST_STATUS_ERRNO(code));
    return std::string(known->meaning) + ": " + std::strerror(number);
}

bool is_known_status(std::uint32_t code) {
    return code == 0 || find(code) != nullptr;
}

std::optional<std::uint32_t> status_from(const std::string& text) {
    for (const Known& known : kKnown) {
        const std::string_view name = known.name;
        if (text == name) return known.code;
        if (name.starts_with(kPrefix) && text == name.substr(kPrefix.size())) return known.code;
    }
    if (text.empty() || text[0] < '0' || text[0] > '9') return std::nullopt;
    char* end;
    errno = 0;
    const unsigned long long number = std::strtoull(text.c_str(), &end, 0);
    if (*end != '\0' || errno != 0 || number > 0xFFFFFFFF) return std::nullopt;
    return static_cast<std::uint32_t>(number);
}

const std::vector<std::uint32_t>& known_statuses() {
    static const std::vector<std::uint32_t> kCodes = [] {
        std::vector<std::uint32_t> codes;
        for (const Known& known : kKnown) codes.push_back(known.code);
        return codes;
    }();
    return kCodes;
}

std::vector<std::string> names_of_statuses() {
    std::vector<std::string> names;
    for (const Known& known : kKnown) {
        const std::string_view name = known.name;
        names.emplace_back(name);
        if (name.starts_with(kPrefix)) names.emplace_back(name.substr(kPrefix.size()));
    }
    return names;
}

}  // namespace kelvo::tool
