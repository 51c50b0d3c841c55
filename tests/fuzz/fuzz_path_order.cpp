// SPDX-License-Identifier: Apache-2.0
//
// The store's order of names, paths and item names, on three texts (lines) of an input: equal texts
// and no others are equal, two texts seen from the other side change places, and what stands before
// something stands before all that follows it. Names and paths are also held to a plain reading of
// their rule. The tokenizer cuts where a delimiter is and loses nothing.
#include <array>

#include "fuzz/fuzz.h"
#include "kelvo_util_compare.h"

using namespace kelvo::fuzz;

namespace {

int sign(int order) {
    return order < 0 ? -1 : order > 0 ? 1 : 0;
}

// --- the rule, read plainly ---------------------------------------------------------------------

int expected_of_names(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const auto x = static_cast<signed char>(a[i]);
        const auto y = static_cast<signed char>(b[i]);
        if (x != y) return x < y ? -1 : 1;
    }
    return 0;
}

std::string_view take_component(std::string_view* path) {
    const std::size_t chars = std::min(path->find('/'), path->size() - 1) + 1;
    const std::string_view component = path->substr(0, chars);
    path->remove_prefix(chars);
    return component;
}

int expected_of_paths(std::string_view a, std::string_view b) {
    while (!a.empty() && !b.empty()) {
        if (const int order = expected_of_names(take_component(&a), take_component(&b))) {
            return order;
        }
    }
    return a.empty() == b.empty() ? 0 : a.empty() ? -1 : 1;
}

// --- the orders ---------------------------------------------------------------------------------

int order_of_names(char* a, char* b) {
    std::int32_t order = 77;
    KELVO_HOLDS(kelvo_util_compare_names(a, b, &order) == 0);
    KELVO_HOLDS(order == expected_of_names(a, b));
    return order;
}
int order_of_paths(char* a, char* b) {
    std::int32_t order = 77;
    KELVO_HOLDS(kelvo_util_compare_paths(a, b, &order) == 0);
    KELVO_HOLDS(order == expected_of_paths(a, b));
    return order;
}
int order_of_items(char* a, char* b) {
    return sign(kelvo_util_item_name_compare(a, b, 0));
}
int order_of_items_with_commas(char* a, char* b) {
    return sign(kelvo_util_item_name_compare(a, b, 1));
}

using Texts = std::array<char*, 3>;

void check_order(const Texts& texts, int (*order)(char*, char*)) {
    int orders[3][3];
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t k = 0; k < 3; ++k) {
            orders[i][k] = order(texts[i], texts[k]);
            KELVO_HOLDS((orders[i][k] == 0) == (std::strcmp(texts[i], texts[k]) == 0));
        }
    }
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t k = 0; k < 3; ++k) {
            KELVO_HOLDS(orders[i][k] == -orders[k][i]);
            const std::size_t other = 3 - i - k;
            if (i == k || orders[i][k] >= 0 || orders[k][other] >= 0) continue;
            KELVO_HOLDS(orders[i][other] < 0);
        }
    }
}

// --- the tokenizer ------------------------------------------------------------------------------

/// Cuts a text and puts it together again.
void check_tokens(char* text, const char* delimiters) {
    const std::string_view before(text);
    static char copy[512];
    std::memcpy(copy, text, before.size() + 1);
    std::size_t at = 0;
    char* rest = nullptr;
    char* string = text;
    do {
        char delimiter = '\0';
        const char* const token = kelvo_util_strtok(string, delimiters, &rest, &delimiter);
        string = nullptr;
        const std::size_t chars = std::strlen(token);
        KELVO_HOLDS(token == text + at && chars == std::strcspn(copy + at, delimiters));
        at += chars;
        KELVO_HOLDS(copy[at] == delimiter && (delimiter == '\0') == (rest == nullptr));
        if (rest != nullptr) KELVO_HOLDS(rest == text + ++at);
    } while (rest != nullptr);
    KELVO_HOLDS(at == before.size() || copy[at] == '\0');
    KELVO_HOLDS(copy[at] == '\0');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Block<512> blocks[3];
    if (size > 500) return -1;
    Input in(data, size);
    Texts texts;
    for (std::size_t i = 0; i < 3; ++i) texts[i] = blocks[i].hold_text(in.until('\n'));

    check_order(texts, order_of_names);
    check_order(texts, order_of_paths);
    check_order(texts, order_of_items);
    check_order(texts, order_of_items_with_commas);
    std::uint32_t equal = 77;
    const auto most = static_cast<std::uint32_t>(std::min(blocks[0].size(), blocks[1].size()));
    KELVO_HOLDS(kelvo_compare_data(blocks[0].begin(), blocks[1].begin(), most, 5, &equal) == 0);
    KELVO_HOLDS((equal != 0) == (std::memcmp(texts[0], texts[1], most) == 0));
    check_tokens(texts[0], texts[1]);
    return 0;
}
