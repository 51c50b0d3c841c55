// SPDX-License-Identifier: Apache-2.0
//
// The rows as the documentation shows them are the rows that the library is compiled from.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "kelvo_node_resolver_rows.h"

namespace {

using namespace kelvo::nr;

struct Name {
    unsigned value;
    const char* name;
};

constexpr Name kResults[] = {
    {KELVO_NR_DFA_INVALID, "INVALID"}, {KELVO_NR_DFA_SHARED, "SHARED"},
    {KELVO_NR_DFA_LOCAL, "LOCAL"},     {KELVO_NR_DFA_ADMIN, "ADMIN"},
    {KELVO_NR_DFA_NODE, "NODE"},       {KELVO_NR_DFA_IFNAME, "IFNAME"},
};
constexpr Name kFlags[] = {
    {0x2, "DEPRECATED"}, {0x4, "LOGGED"},       {0x8, "ALL_LOCAL"},
    {0x10, "REGEXP"},    {0x20, "UNVERSIONED"},
};

std::string result_name(unsigned result) {
    for (const Name& name : kResults) {
        if (name.value == result) return name.name;
    }
    return "unknown";
}

std::string flag_names(unsigned flags) {
    std::string names;
    for (const Name& name : kFlags) {
        if ((flags & name.value) != 0) names += (names.empty() ? "" : " ") + std::string(name.name);
    }
    return names;
}

/// The rows in columns, as the page has them.
std::string table() {
    std::string text;
    for (const Row& row : rows::kAll) {
        char line[100];
        std::snprintf(line, sizeof line, "%-38s  %-7s  %s", row.path,
                      result_name(row.result).c_str(), flag_names(row.flags).c_str());
        std::string columns = line;
        columns.erase(columns.find_last_not_of(' ') + 1);
        text += columns + "\n";
    }
    return text;
}

TEST(ResolverDocs, ShowTheRowsAsTheyAre) {
    std::ifstream file(KELVO_DOCS "/resolver.md");
    const std::string page{std::istreambuf_iterator<char>(file), {}};
    const std::string begin = "<!-- rows -->\n```\n";
    const std::size_t at = page.find(begin);
    const std::size_t end = page.find("```\n<!-- end of rows -->");
    ASSERT_NE(at, std::string::npos);
    ASSERT_NE(end, std::string::npos);
    EXPECT_EQ(page.substr(at + begin.size(), end - at - begin.size()), table());
}

}  // namespace
