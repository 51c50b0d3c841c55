// SPDX-License-Identifier: Apache-2.0
//
// Name encoding on any text: what was encoded is canonical and decodes to the text, what was
// decoded is stable, markers come and go without a trace, and characters and statuses are as told.
#include "fuzz/fuzz.h"
#include "kelvo_string.h"

using namespace kelvo::fuzz;

namespace {

constexpr std::size_t kMostChars = 256;

/// A text that the library has made, with its length as told.
class Made {
  public:
    ~Made() { std::free(text_); }
    Made() = default;
    Made(const Made&) = delete;
    Made& operator=(const Made&) = delete;

    char** text() { return &text_; }
    std::uint32_t* chars() { return &chars_; }
    [[nodiscard]] const char* get() const { return text_; }
    [[nodiscard]] std::string_view view() const {
        KELVO_HOLDS(std::strlen(text_) == chars_);
        return {text_, chars_};
    }

  private:
    char* text_ = nullptr;
    std::uint32_t chars_ = 0;
};

bool is_control(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
}

bool has_control(std::string_view text) {
    return std::any_of(text.begin(), text.end(), is_control);
}

bool is_reserved(char c) {
    return kelvo_is_char_reserved(c) != 0;
}

/// The one encoding of a text.
void check_canonical(std::string_view encoded, std::string_view text) {
    std::size_t at = 0;
    for (const char c : text) {
        char expected[4] = {c, '\0'};
        if (is_reserved(c))
            std::snprintf(expected, sizeof expected, "%%%02x", static_cast<unsigned>(c));
        KELVO_HOLDS(encoded.substr(at).starts_with(expected));
        at += std::strlen(expected);
    }
    KELVO_HOLDS(at == encoded.size());
}

void check_encoding(const char* text) {
    Made encoded;
    const kelvo_status status = kelvo_string_encode(text, encoded.text(), encoded.chars());
    KELVO_HOLDS(status == (has_control(text) ? KELVO_ERR_INVALID_STRING : 0));
    if (status != 0) return;
    check_canonical(encoded.view(), text);
    Made decoded;
    KELVO_HOLDS(kelvo_string_decode(encoded.get(), decoded.text(), decoded.chars()) == 0);
    KELVO_HOLDS(decoded.view() == text);
}

void check_decoding(const char* text) {
    Made decoded;
    const kelvo_status status = kelvo_string_decode(text, decoded.text(), decoded.chars());
    KELVO_HOLDS(status == 0 || status == KELVO_ERR_INVALID_STRING);
    if (status != 0) {
        KELVO_HOLDS(std::strchr(text, '%') != nullptr);
        return;
    }
    const auto escapes = static_cast<std::size_t>(std::count(text, text + std::strlen(text), '%'));
    KELVO_HOLDS(decoded.view().size() + 2 * escapes == std::strlen(text));
    if (escapes == 0) KELVO_HOLDS(decoded.view() == text);
    check_encoding(decoded.get());
}

/// The type that a reader finds at the marker that this type is written with.
std::uint32_t type_read(int type) {
    return type == 1 || type == 4 || type == 8 || type == 16 ? static_cast<std::uint32_t>(type) : 0;
}

void check_marker(const char* text, int type) {
    const bool holds_marker = kelvo_is_string_regex_encoded(text) != 0;
    KELVO_HOLDS(holds_marker == (std::strstr(text, KELVO_REGEX_MARKER_START) != nullptr));
    Made encoded;
    const kelvo_status status =
        kelvo_string_encode_regex(text, encoded.text(), encoded.chars(), type);
    KELVO_HOLDS(status == (has_control(text) ? KELVO_ERR_INVALID_STRING : 0));
    if (status != 0) return;
    KELVO_HOLDS(kelvo_is_string_regex_encoded(encoded.get()) == 1);
    Made decoded;
    std::uint32_t found = 0;
    KELVO_HOLDS(kelvo_string_decode_regex(encoded.get(), decoded.text(), decoded.chars(), &found) ==
                0);
    if (holds_marker) {
        KELVO_HOLDS(decoded.view().size() <= std::strlen(text));
    } else {
        KELVO_HOLDS(decoded.view() == text && found == type_read(type));
    }
}

void check_marked_decoding(const char* text) {
    Made plain;
    const kelvo_status status = kelvo_string_decode(text, plain.text(), plain.chars());
    Made decoded;
    std::uint32_t type = 0;
    KELVO_HOLDS(kelvo_string_decode_regex(text, decoded.text(), decoded.chars(), &type) == status);
    if (status != 0) return;
    const bool holds_marker = kelvo_is_string_regex_encoded(plain.get()) != 0;
    KELVO_HOLDS(type <= 31 || (type & 255) == 255);
    if (!holds_marker) KELVO_HOLDS(decoded.view() == plain.view() && type == 0);
    if (holds_marker) KELVO_HOLDS(decoded.view().size() < plain.view().size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Block<kMostChars> block;
    if (size >= kMostChars) return -1;
    Input in(data, size);
    const int type = in.byte() % 18;
    const char* const text = block.hold_text(in.bytes(kMostChars));
    check_encoding(text);
    check_decoding(text);
    check_marker(text, type);
    check_marked_decoding(text);
    std::uint32_t gathered = 0;
    kelvo_get_regex_encoding_type(text, &gathered);
    KELVO_HOLDS(gathered <= 16 || gathered == KELVO_REGEX_TYPE_UNKNOWN);
    return 0;
}
