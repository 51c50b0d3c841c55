// SPDX-License-Identifier: Apache-2.0
//
// Name encoding. What each byte becomes stands ready in a table, so that encoding is a copy of four
// bytes and an advance of one or three for every byte of the text, without a branch on what the
// byte is. The worst-case buffer always has room for those four bytes. Control characters are the
// locale's to name: its own table is fetched once for each text, since the locale may change
// between calls.
#include <ctype.h>

#include <array>
#include <cstdlib>
#include <cstring>

#include "kelvo_bytes.h"
#include "kelvo_report.h"
#include "kelvo_string.h"

using namespace kelvo;

namespace {

constexpr char kReserved[] = "'`\"<>()[]{}/\\&^!?~*%=,.+|";
static_assert(sizeof kReserved == 25 + 1);

constexpr char kHexDigits[] = "0123456789abcdef";
constexpr std::size_t kEscapeChars = 3;

/// What a byte is encoded as.
struct Encoded {
    char text[kEscapeChars];
    u8 length;
};
static_assert(sizeof(Encoded) == kEscapeChars + 1, "the last one may lie on the byte of the NUL");

consteval std::array<Encoded, 256> encoded_bytes() {
    std::array<Encoded, 256> table{};
    for (std::size_t byte = 0; byte < table.size(); ++byte) {
        table[byte] = {{static_cast<char>(byte)}, 1};
    }
    for (std::size_t i = 0; i + 1 < sizeof kReserved; ++i) {
        const auto byte = static_cast<u8>(kReserved[i]);
        table[byte] = {{'%', kHexDigits[byte >> 4], kHexDigits[byte & 15]}, kEscapeChars};
    }
    return table;
}
constexpr std::array<Encoded, 256> kEncoded = encoded_bytes();

/// A regex encoding type and the prefix that stands for it.
struct Marker {
    u32 type;
    char text[KELVO_REGEX_MARKER_CHARS + 1];
};
constexpr Marker kMarkers[] = {
#define KELVO_MARKER_ROW(type, marker) {type, marker},
    KELVO_REGEX_MARKER_LIST(KELVO_MARKER_ROW)
#undef KELVO_MARKER_ROW
};

const Marker& marker_of(int type) {
    for (const Marker& marker : kMarkers) {
        if (marker.type == static_cast<u32>(type)) return marker;
    }
    return kMarkers[0];
}

/// What iscntrl() and toupper() say in the current locale, without a call for every byte.
class Locale {
  public:
    [[nodiscard]] bool is_control(u8 byte) const { return (classes_[byte] & _IScntrl) != 0; }
    [[nodiscard]] int upper(char character) const { return upper_[static_cast<u8>(character)]; }

  private:
    const unsigned short* classes_ = *__ctype_b_loc();
    const i32* upper_ = *__ctype_toupper_loc();
};

/// Writes the encoded text. @return its end, or null at a control character
char* encode(const char* text, char* at) {
    const Locale locale;
    for (u8 byte; (byte = static_cast<u8>(*text)) != 0; ++text) {
        if (locale.is_control(byte)) return nullptr;
        std::memcpy(at, &kEncoded[byte], sizeof(Encoded));
        at += kEncoded[byte].length;
    }
    return at;
}

/// The value of a hexadecimal digit, or -1. NUL is none, so a text's end is never passed.
int hex_value(const Locale& locale, char character) {
    const int upper = locale.upper(character);
    if (upper >= '0' && upper <= '9') return upper - '0';
    return upper >= 'A' && upper <= 'F' ? upper - 'A' + 10 : -1;
}

/// The byte that an escape stands for, or -1 when it is malformed or forbidden.
int unescape(const Locale& locale, const char* escape) {
    const int high = hex_value(locale, escape[1]);
    if (high < 0) return -1;
    const int low = hex_value(locale, escape[2]);
    if (low < 0) return -1;
    const int byte = high * 16 + low;
    return byte >= 0x80 || locale.is_control(static_cast<u8>(byte)) ? -1 : byte;
}

/// Writes the decoded text. @return its end, or null at an escape that cannot be
char* decode(const char* text, char* at) {
    const Locale locale;
    for (; *text != '\0'; ++at) {
        if (*text != '%') {
            *at = *text++;
            continue;
        }
        const int byte = unescape(locale, text);
        if (byte < 0) return nullptr;
        *at = static_cast<char>(byte);
        text += kEscapeChars;
    }
    return at;
}

/// Ends a text, cuts its buffer to size and hands it out. A missing end means that the text could
/// not be written. On failure the buffer is gone.
kelvo_status hand_out(char* buffer, char* end, char** out, u32* out_length) {
    if (end == nullptr) {
        std::free(buffer);
        return KELVO_ERR_INVALID_STRING;
    }
    *end = '\0';
    const auto length = static_cast<std::size_t>(end - buffer);
    char* const result = static_cast<char*>(std::realloc(buffer, length + 1));
    if (result == nullptr) {
        std::free(buffer);
        return KELVO_ERR_NO_MEMORY;
    }
    *out = result;
    *out_length = static_cast<u32>(length);
    return 0;
}

/// Copies the text without its markers and gathers their types. @return the end of the copy
char* strip_markers(const char* text, char* at, u32* type) {
    const char* marker;
    while ((marker = std::strstr(text, KELVO_REGEX_MARKER_START)) != nullptr) {
        kelvo_get_regex_encoding_type(marker, type);
        at = static_cast<char*>(mempcpy(at, text, static_cast<std::size_t>(marker - text)));
        text = marker + strnlen(marker, KELVO_REGEX_MARKER_CHARS);
    }
    return static_cast<char*>(mempcpy(at, text, std::strlen(text)));
}

}  // namespace

uint32_t kelvo_is_char_reserved(int character) {
    return std::strchr(kReserved, character) != nullptr ? 1 : 0;
}

kelvo_status kelvo_string_encode(const char* text, char** out, uint32_t* out_length) {
    if (any_null(text, out, out_length)) return KELVO_ERR_NULL_PARAM;
    char* const buffer = static_cast<char*>(std::malloc(kEscapeChars * std::strlen(text) + 1));
    if (buffer == nullptr) return KELVO_ERR_NO_MEMORY;
    return hand_out(buffer, encode(text, buffer), out, out_length);
}

kelvo_status kelvo_string_encode_regex(const char* text, char** out, uint32_t* out_length,
                                       int type) {
    if (text == nullptr) return KELVO_ERR_NULL_PARAM;
    const std::size_t size = std::strlen(text) + 1;
    char* const marked = static_cast<char*>(std::malloc(KELVO_REGEX_MARKER_CHARS + size));
    if (marked == nullptr) return KELVO_ERR_NO_MEMORY;
    std::memcpy(marked, marker_of(type).text, KELVO_REGEX_MARKER_CHARS);
    std::memcpy(marked + KELVO_REGEX_MARKER_CHARS, text, size);
    const kelvo_status status = kelvo_string_encode(marked, out, out_length);
    std::free(marked);
    return status;
}

kelvo_status kelvo_string_decode(const char* text, char** out, uint32_t* out_length) {
    if (any_null(text, out, out_length)) return KELVO_ERR_NULL_PARAM;
    char* const buffer = static_cast<char*>(std::malloc(std::strlen(text) + 1));
    if (buffer == nullptr) return KELVO_ERR_NO_MEMORY;
    return hand_out(buffer, decode(text, buffer), out, out_length);
}

kelvo_status kelvo_string_decode_regex(const char* text, char** out, uint32_t* out_length,
                                       uint32_t* type) {
    if (const kelvo_status status = kelvo_string_decode(text, out, out_length)) return status;
    char* const decoded = *out;
    char* const result = static_cast<char*>(std::calloc(std::strlen(decoded) + 1, 1));
    if (result == nullptr) return KELVO_ERR_NO_MEMORY;  // the decoded text stays handed out
    const char* const end = strip_markers(decoded, result, type);
    std::free(decoded);
    *out = result;
    *out_length = static_cast<u32>(end - result);
    return 0;
}

void kelvo_get_regex_encoding_type(const char* text, uint32_t* type) {
    if (any_null(text, type)) return;
    for (const Marker& marker : kMarkers) {
        if (std::strncmp(text, marker.text, KELVO_REGEX_MARKER_CHARS) != 0) continue;
        *type |= marker.type;
        return;
    }
    *type = KELVO_REGEX_TYPE_UNKNOWN;  // an assignment: what was gathered before is lost
}

uint32_t kelvo_is_string_regex_encoded(const char* text) {
    return text != nullptr && std::strstr(text, KELVO_REGEX_MARKER_START) != nullptr ? 1 : 0;
}
