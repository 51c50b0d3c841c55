// SPDX-License-Identifier: Apache-2.0
//
// Whether a name is in a set, against two sets of other libraries and against the least that a set
// by hash costs: one hash and one comparison of texts.
#include <absl/container/flat_hash_set.h>
#include <glib.h>

#include <cstring>

#include "inputs.h"
#include "kelvo_hash_table.h"
#include "row.h"

using namespace kelvo::bench;

namespace {

constexpr std::size_t kCount = 1000;
using Names = std::vector<std::string>;

class Table {
  public:
    explicit Table(const Names& names) {
        (void)kelvo_util_hash_tbl_init(static_cast<std::uint32_t>(names.size()), &table_);
        for (const std::string& name : names) {
            (void)kelvo_util_hash_tbl_insert(table_, name.c_str());
        }
    }
    [[nodiscard]] bool holds(const char* name) const {
        return kelvo_util_hash_tbl_lookup(table_, name) == 0;
    }

  private:
    kelvo_util_hash_tbl* table_ = nullptr;  // lives as long as the process
};

class FlatHashSet {
  public:
    explicit FlatHashSet(const Names& names) : set_(names.begin(), names.end()) {}
    [[nodiscard]] bool holds(const char* name) const { return set_.contains(name); }

  private:
    absl::flat_hash_set<std::string> set_;
};

class GlibTable {
  public:
    explicit GlibTable(const Names& names) {
        for (const std::string& name : names) g_hash_table_add(table_, g_strdup(name.c_str()));
    }
    ~GlibTable() { g_hash_table_destroy(table_); }
    GlibTable(const GlibTable&) = delete;
    GlibTable& operator=(const GlibTable&) = delete;
    [[nodiscard]] bool holds(const char* name) const {
        return g_hash_table_contains(table_, name) != 0;
    }

  private:
    GHashTable* table_ = g_hash_table_new_full(g_str_hash, g_str_equal, g_free, nullptr);
};

/// Names in a set, looked up one after the other, and one that is not there.
template <class Set>
struct Lookups {
    explicit Lookups(std::size_t size = kCount)
        : names(shuffled_names(size)), set(names), asked(std::min(size, kCount)) {}
    Names names;
    Set set;
    std::size_t asked;
    std::size_t found = 0;
    void run() {
        found = 0;
        for (std::size_t i = 0; i < asked; ++i) found += set.holds(names[i].c_str()) ? 1 : 0;
    }
    [[nodiscard]] bool right() const { return found == asked && !set.holds("absent_port0"); }
};

/// The table's hash as it is defined, and the name that lies where it is expected.
struct HashAndStrcmp {
    Names names = shuffled_names(kCount);
    Names copies = names;
    std::uint32_t hashes = 0;
    std::size_t found = 0;
    void run() {
        found = 0;
        for (std::size_t i = 0; i < kCount; ++i) {
            const char* const name = names[i].c_str();
            std::uint32_t hash = 0;
            for (const char* at = name; *at != '\0'; ++at) {
                hash = hash * 33 + static_cast<std::uint32_t>(static_cast<signed char>(*at));
            }
            hashes += hash + (hash >> 5);
            found += std::strcmp(copies[i].c_str(), name) == 0 ? 1 : 0;
        }
    }
    [[nodiscard]] bool right() const { return found == kCount && hashes != 0; }
};

const Row kRow({"hash_lookup", "hash table: look up a name", kCount, {0.9, 1.55}},
               {library<Lookups<Table>>(), floor<HashAndStrcmp>("hash + strcmp"),
                other<Lookups<FlatHashSet>>("absl::flat_hash_set"),
                shown<Lookups<GlibTable>>("GHashTable")});
const Growth kAmong("hash_lookup", "hash table: look up each of at most 1,000 names among so many",
                    "names", &time_growth<Lookups<Table>>);

}  // namespace
