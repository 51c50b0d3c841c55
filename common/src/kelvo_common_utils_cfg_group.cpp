// SPDX-License-Identifier: Apache-2.0
//
// What the configuration apply path shares. The rules of access options read as a list: the first
// that applies decides.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "kelvo_bytes.h"
#include "kelvo_cfg_group.h"
#include "kelvo_report.h"

using namespace kelvo;

namespace {

constexpr u32 kWordBits = 32;
constexpr char kGroupStart[] = "a/config-group/";

/// Lengthens an array of words to `words`, the last of them zero. On failure it is left as it is.
[[nodiscard]] kelvo_status add_word(u32** array, std::size_t words) {
    auto* const longer = static_cast<u32*>(std::realloc(*array, words * sizeof(u32)));
    if (longer == nullptr) return KELVO_ERR_NO_MEMORY;
    longer[words - 1] = 0;
    *array = longer;
    return 0;
}

/// The first word of each array.
[[nodiscard]] kelvo_status begin_words(kelvo_apply_bitmask* mask) {
    u32* first = nullptr;
    u32* second = nullptr;
    if (const kelvo_status status = add_word(&first, 1)) return status;
    if (const kelvo_status status = add_word(&second, 1)) {
        std::free(first);
        return status;
    }
    mask->first_bits = first;
    mask->second_bits = second;
    return 0;
}

/// One more word for each array. The first may be longer than needed when the second has no memory.
[[nodiscard]] kelvo_status lengthen_words(kelvo_apply_bitmask* mask) {
    const std::size_t words = mask->count / kWordBits + 1;
    if (const kelvo_status status = add_word(&mask->first_bits, words)) return status;
    return add_word(&mask->second_bits, words);
}

[[nodiscard]] kelvo_status make_room(kelvo_apply_bitmask* mask) {
    if (mask->count == 0) return begin_words(mask);
    if (mask->first_bits == nullptr) return KELVO_ERR_NULL_PARAM;  // freed, and used again as it is
    return mask->count % kWordBits == 0 ? lengthen_words(mask) : 0;
}

u32 bit_of(const u32* bits, u32 index) {
    return bits[index / kWordBits] >> index % kWordBits & 1;
}

/// A text with its length, for looking at both of its ends.
class Path {
  public:
    explicit Path(const char* text) : text_(text), length_(std::strlen(text)) {}

    template <std::size_t n>
    [[nodiscard]] bool starts_with(const char (&start)[n]) const {
        return std::strncmp(text_, start, n - 1) == 0;
    }
    template <std::size_t n>
    [[nodiscard]] bool ends_with(const char (&end)[n]) const {
        return length_ >= n - 1 && std::memcmp(text_ + length_ - (n - 1), end, n - 1) == 0;
    }

  private:
    const char* text_;
    std::size_t length_;
};

u32 access_option(const Path& path) {
    if (path.starts_with("cfg/gl/a/config-group/")) return KELVO_ACCESS_CONFIG_GROUP;
    if (path.starts_with("cfg/gl/ag")) return KELVO_ACCESS_GLOBAL_AG;
    if (path.ends_with("/ag")) return KELVO_ACCESS_ENDS_AG;
    if (path.ends_with("/aza") || path.ends_with("/aya")) return KELVO_ACCESS_ENDS_AZA;
    if (path.starts_with("cfg/gl/ah")) return KELVO_ACCESS_GLOBAL_AH;
    const bool interface_preconfiguration = path.starts_with("cfg/if/pre");
    if (path.ends_with("/ah")) return interface_preconfiguration ? 0 : KELVO_ACCESS_ENDS_AH;
    if (!path.ends_with("@EX")) return 0;
    return interface_preconfiguration || path.starts_with("cfg/gl/cmt") ? 0 : KELVO_ACCESS_ENDS_EX;
}

/// One buffer per name of a tuple. Those made stay when a later one has no memory.
[[nodiscard]] kelvo_status make_names(char* (&names)[KELVO_GRP_TUPLE_NAMES]) {
    for (char*& name : names) {
        name = static_cast<char*>(std::calloc(KELVO_GRP_NAME_BYTES, 1));
        if (name == nullptr) return KELVO_ERR_NO_MEMORY;
    }
    return 0;
}

bool is_in_list(const char* name, char* const* list, u32 count) {
    return std::any_of(list, list + count, [name](const char* entry) {
        return entry != nullptr && std::strcmp(entry, name) == 0;
    });
}

}  // namespace

void kelvo_apply_bitmask_start(kelvo_apply_bitmask* mask) {
    mask->cursor = 0;
}

kelvo_status kelvo_apply_bitmask_add(uint32_t first, uint32_t second, kelvo_apply_bitmask* mask) {
    if (const kelvo_status status = make_room(mask)) return status;
    const u32 word = mask->count / kWordBits;
    const u32 bit = mask->count % kWordBits;
    mask->first_bits[word] |= first << bit;
    mask->second_bits[word] |= second << bit;
    ++mask->count;
    return 0;
}

uint32_t kelvo_apply_bitmask_next(kelvo_apply_bitmask* mask, uint32_t* first, uint32_t* second) {
    if (mask->cursor >= mask->count || mask->first_bits == nullptr) {
        *first = KELVO_APPLY_BITMASK_END;
        return 0;
    }
    *first = bit_of(mask->first_bits, mask->cursor);
    *second = bit_of(mask->second_bits, mask->cursor);
    ++mask->cursor;
    return 0;
}

void kelvo_apply_bitmask_free(kelvo_apply_bitmask* mask) {
    std::free(mask->first_bits);
    std::free(mask->second_bits);
    mask->first_bits = nullptr;
    mask->second_bits = nullptr;
}

kelvo_status kelvo_update_access_options_common(const char* path, uint32_t* options) {
    if (any_null(path, options)) return KELVO_ERR_NULL_PARAM;
    *options |= access_option(Path(path));
    return 0;
}

uint32_t kelvo_group_name_in_list(const char* name, char** list, uint32_t count) {
    if (any_null(name, list)) {
        (void)refuse_null();
        return 0;
    }
    return is_in_list(name, list, count) ? 1 : 0;
}

kelvo_status kelvo_apply_grp_tuple_unpack(const void* tuple, char** list, uint32_t* count) {
    if (any_null(tuple, list, count)) return refuse_null();
    char* names[KELVO_GRP_TUPLE_NAMES] = {};
    // NOLINTNEXTLINE(clang-analyzer-unix.Malloc): without memory, the buffers made are kept
    if (const kelvo_status status = make_names(names)) return status;
    if (const kelvo_status status =
            packed_tuple_unpack(tuple, "%s%s%s%s%s%s%s%s", names[0], names[1], names[2], names[3],
                                names[4], names[5], names[6], names[7])) {
        for (char* const name : names) std::free(name);
        return status;
    }
    u32 total = *count;
    for (char* const name : names) {
        if (*name == '\0' || is_in_list(name, list, total)) {
            std::free(name);
        } else {
            list[total++] = name;
        }
    }
    *count = total;
    return 0;
}

void kelvo_free_grp_names(char** list, int32_t count) {
    if (list == nullptr) {
        (void)refuse_null();
        return;
    }
    for (i32 i = 0; i < count; ++i) {
        std::free(list[i]);
        list[i] = nullptr;
    }
}

char* kelvo_get_cfg_group_name_from_path(const char* path) {
    const char* const start = path != nullptr ? std::strstr(path, kGroupStart) : nullptr;
    if (start == nullptr) return nullptr;
    const char* const name = start + sizeof kGroupStart - 1;
    const char* const end = std::strchr(name, '/');
    if (end == nullptr) return nullptr;
    const std::size_t size =
        std::min<std::size_t>(KELVO_GRP_NAME_BYTES, static_cast<std::size_t>(end - name) + 1);
    char* const copy = static_cast<char*>(std::malloc(size));
    return copy != nullptr ? buf_strncpy(copy, name, size) : nullptr;
}
