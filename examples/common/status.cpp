// SPDX-License-Identifier: Apache-2.0
#include "status.h"

#include <cstdio>

namespace example {
namespace {

struct Row {
    kelvo_status status;
    const char* name;
    const char* meaning;
};

constexpr Row kRows[] = {
#define STATUS_ROW(name, meaning) {name, #name, meaning},
    KELVO_STATUS_LIST(STATUS_ROW) EXAMPLE_STATUS_LIST(STATUS_ROW)
#undef STATUS_ROW
};

const Row* row_of(kelvo_status status) {
    for (const Row& row : kRows)
        if (row.status == status) return &row;
    return nullptr;
}

}  // namespace

std::string status_name(kelvo_status status) {
    if (status == 0) return "ok";
    if (const Row* row = row_of(status)) return row->name;
    char text[16];
    std::snprintf(text, sizeof text, "0x%08x", status);
    return text;
}

std::string status_meaning(kelvo_status status) {
    const Row* row = row_of(status);
    return row ? row->meaning : "";
}

}  // namespace example
