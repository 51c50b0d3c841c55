// SPDX-License-Identifier: Apache-2.0
//
// Packed tuples of texts. A tuple carries its own size and is checked as a whole, against that
// size, before the first text is copied out.
#include <cstdarg>
#include <cstring>

#include "kelvo_platform_bytes.h"
#include "kelvo_platform_host.h"

namespace kelvo::host {
namespace {

constexpr std::size_t kHeader = sizeof(platform_host_tuple_header);
constexpr std::size_t kCell = 4;
constexpr std::size_t kBuffer = 256;

/// Walks the texts of a tuple, never past its size.
class Texts {
  public:
    /// @return whether the tuple's header is one
    bool begin(const void* tuple) noexcept {
        at_ = static_cast<const char*>(tuple);
        if (load_network32(at_) != PLATFORM_HOST_TUPLE_MAGIC) return false;
        const std::uint32_t size = load_network32(at_ + 4);
        if (size < kHeader) return false;
        count_ = load_network32(at_ + 8);
        left_ = size - kHeader;
        at_ += kHeader;
        return true;
    }
    [[nodiscard]] bool any_left() const noexcept { return count_ != 0; }
    [[nodiscard]] std::size_t bytes_left() const noexcept { return left_; }

    /// Steps to the next text. @return it, or null when it is malformed
    const char* next() noexcept {
        if (left_ < kCell) return nullptr;
        const std::uint32_t length = load_network32(at_);
        if (length == 0 || length > left_ - kCell) return nullptr;
        const char* const text = at_ + kCell;
        if (std::memchr(text, '\0', length) != text + length - 1) return nullptr;
        at_ += kCell + length;
        left_ -= kCell + length;
        --count_;
        return text;
    }

  private:
    const char* at_;
    std::size_t left_;
    std::uint32_t count_;
};

bool is_well_formed(Texts texts) noexcept {
    while (texts.any_left()) {
        if (texts.next() == nullptr) return false;
    }
    return texts.bytes_left() == 0;
}

/// The number of "%s" in a format, or -1 when it holds anything else.
int texts_wanted(const char* format) noexcept {
    int wanted = 0;
    for (; *format != '\0'; format += 2) {
        if (format[0] != '%' || format[1] != 's') return -1;
        ++wanted;
    }
    return wanted;
}

}  // namespace
}  // namespace kelvo::host

using namespace kelvo::host;

kelvo_status packed_tuple_unpack(const void* tuple, const char* format, ...) {
    if (tuple == nullptr || format == nullptr) return KELVO_ERR_NULL_PARAM;
    const int wanted = texts_wanted(format);
    if (wanted < 0) return PLATFORM_HOST_ERR_TUPLE_FORMAT;
    Texts texts;
    if (!texts.begin(tuple) || !is_well_formed(texts)) return PLATFORM_HOST_ERR_TUPLE;
    va_list buffers;
    va_start(buffers, format);
    for (int i = 0; i < wanted; ++i) {
        buf_strncpy(va_arg(buffers, char*), texts.any_left() ? texts.next() : "", kBuffer);
    }
    va_end(buffers);
    return 0;
}

size_t platform_host_tuple_size(const char* const* texts, uint32_t count) {
    std::size_t size = kHeader;
    for (std::uint32_t i = 0; i < count; ++i) size += kCell + std::strlen(texts[i]) + 1;
    return size;
}

kelvo_status platform_host_tuple_pack(const char* const* texts, uint32_t count, void* buffer,
                                      size_t size) {
    if (buffer == nullptr || (texts == nullptr && count != 0)) return KELVO_ERR_NULL_PARAM;
    const std::size_t needed = platform_host_tuple_size(texts, count);
    if (needed > size || needed > UINT32_MAX) return PLATFORM_HOST_ERR_BUFFER_SIZE;
    char* at = static_cast<char*>(buffer);
    store_network32(at, PLATFORM_HOST_TUPLE_MAGIC);
    store_network32(at + 4, static_cast<std::uint32_t>(needed));
    store_network32(at + 8, count);
    at += kHeader;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::size_t length = std::strlen(texts[i]) + 1;
        store_network32(at, static_cast<std::uint32_t>(length));
        std::memcpy(at + kCell, texts[i], length);
        at += kCell + length;
    }
    return 0;
}
