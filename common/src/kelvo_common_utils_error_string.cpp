// SPDX-License-Identifier: Apache-2.0
//
// Texts that explain a status. The parts that are present decide the exact length first; then they
// are appended one after the other, none beyond that length.
#include "kelvo_error_string.h"

#include <cstdio>

#include "kelvo_bytes.h"
#include "kelvo_platform.h"
#include "kelvo_report.h"
#include "kelvo_text.h"

using namespace kelvo;

namespace {

constexpr const char* kNothingToSay = "Unable to construct error message";
constexpr const char* kUnnamedSubsystem = "Subsystem(";
constexpr std::size_t kMarkerChars = sizeof KELVO_ERROR_STRING_MARKER - 1;
constexpr std::size_t kCerrnoChars = sizeof ": cerrno 0x12345678" - 1;

bool begins_with(const char* text, const char* beginning) {
    return std::strncmp(text, beginning, std::strlen(beginning)) == 0;
}

bool is_empty(const char* text) {
    return text == nullptr || *text == '\0';
}

/// The parts of an explanation; an absent one is null.
struct Parts {
    const char* os;
    const char* subsystem;
    const char* error;
    const char* context;

    Parts(const errcode_strings& texts, const char* caller_context)
        : os(is_empty(texts.os_error) || std::strcmp(texts.os_error, strerror(0)) == 0
                 ? nullptr
                 : texts.os_error),
          subsystem(texts.subsystem != nullptr && begins_with(texts.subsystem, kUnnamedSubsystem)
                        ? texts.subsystem
                        : nullptr),
          error(is_empty(texts.error) ? nullptr : texts.error),
          context(is_empty(caller_context) ? nullptr : caller_context) {}

    [[nodiscard]] bool has_parentheses() const { return os != nullptr && error != nullptr; }
    [[nodiscard]] bool has_separator() const {
        return context != nullptr && (os != nullptr || error != nullptr);
    }

    [[nodiscard]] std::size_t chars() const {
        std::size_t chars = 0;
        if (os != nullptr) chars += std::strlen(os);
        if (subsystem != nullptr) chars += std::strlen(subsystem) + 2 + kCerrnoChars;
        if (error != nullptr) chars += std::strlen(error);
        if (has_parentheses()) chars += 3;
        if (context != nullptr) chars += std::strlen(context);
        if (has_separator()) chars += 2;
        return chars;
    }
};

/// Appends to a cleared buffer, as far as there is room.
class Appender {
  public:
    Appender(char* buffer, std::size_t chars) : at_(buffer), room_(chars) {}

    void text(const char* text) {
        const std::size_t chars = strnlen(text, room_);
        std::memcpy(at_, text, chars);
        at_ += chars;
        room_ -= chars;
    }

  private:
    char* at_;
    std::size_t room_;
};

void append_parts(Appender& out, const Parts& parts, kelvo_status status) {
    if (parts.os != nullptr) out.text(parts.os);
    if (parts.has_parentheses()) out.text(" (");
    if (parts.subsystem != nullptr) {
        out.text(parts.subsystem);
        out.text(", ");
    }
    if (parts.error != nullptr) out.text(parts.error);
    if (parts.subsystem != nullptr) {
        char cerrno[kCerrnoChars + 1];
        (void)std::snprintf(cerrno, sizeof cerrno, ": cerrno 0x%8.8x", status);
        out.text(cerrno);
    }
    if (parts.has_parentheses()) out.text(")");
    if (parts.has_separator()) out.text(": ");
    if (parts.context != nullptr) out.text(parts.context);
}

/// The explanation as a new text; null without memory.
char* explain(const Parts& parts, kelvo_status status) {
    const std::size_t chars = parts.chars();
    if (chars == 0) return copy_text(kNothingToSay);
    auto* const text = static_cast<char*>(std::calloc(chars + 1, 1));
    if (text == nullptr) return nullptr;
    Appender out(text, chars);
    append_parts(out, parts, status);
    return text;
}

/// Hands out a new text, unless there was no memory for it.
kelvo_status hand_out(char* text, char** out) {
    if (text == nullptr) return KELVO_ERR_NO_MEMORY;
    *out = text;
    return 0;
}

}  // namespace

kelvo_status kelvo_util_compose_error_string(const char* text, char** out) {
    if (any_null(text, out)) return KELVO_ERR_NULL_PARAM;
    const std::size_t chars = std::strlen(text);
    auto* const marked = static_cast<char*>(std::malloc(kMarkerChars + chars + 1));
    if (marked == nullptr) return KELVO_ERR_NO_MEMORY;
    std::memcpy(marked, KELVO_ERROR_STRING_MARKER, kMarkerChars);
    std::memcpy(marked + kMarkerChars, text, chars + 1);
    *out = marked;
    return 0;
}

kelvo_status kelvo_util_prepare_error_string(const char* context, kelvo_status status, char** out) {
    if (out == nullptr) return KELVO_ERR_NULL_PARAM;
    if (context != nullptr && begins_with(context, KELVO_ERROR_STRING_MARKER)) {
        return hand_out(copy_text(context + kMarkerChars), out);
    }
    errcode_strings texts{};
    if (auto refusal = errcode_getstrings(status, &texts)) return refusal;
    return hand_out(explain(Parts(texts, context), status), out);
}
