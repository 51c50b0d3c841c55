// SPDX-License-Identifier: Apache-2.0
//
// Paths in the store's order, against the C library's order for numbered names, one component at a
// time, and against a plain comparison of bytes. Shown as well is that comparison with the lengths
// of both, which the library must know: a long path needs memory, and may not get it.
#include <algorithm>
#include <cstring>
#include <string_view>

#include "kelvo_util_compare.h"
#include "row.h"

using namespace kelvo::bench;

namespace {

struct Pair {
    const char* a;
    const char* b;
    int order;  ///< the store's
};

/// Neighbours in a listing: another number at the same place, the same name, a branch further down.
constexpr Pair kPairs[] = {
    {"oper/ethernet/node/0_1_main/driver/stats/", "oper/ethernet/node/0_2_main/driver/stats/", -1},
    {"cfg/if/act/downstream_port0_0_0_9/mtu", "cfg/if/act/downstream_port0_0_0_10/mtu", -1},
    {"cfg/gl/bgp/100/neighbor/10.0.0.1/timers", "cfg/gl/bgp/100/neighbor/10.0.0.1/timers", 0},
    {"oper/ip-static/gl/vrf/red/summary/", "oper/ip-static/gl/vrf/blue/summary/", -1},
    {"oper/ospf/gl/process/1/area/0/", "oper/ospf/gl/process/1/area/0/interface", -1},
    {"cfg/gl/aaa/group/radius/7/server", "cfg/gl/aaa/group/radius/8/server", -1},
};
constexpr std::size_t kCount = std::size(kPairs);

/// The store's order, or, for those who have another, whether two paths are the same.
enum class Asked { order, equality };

template <int (*kOrder)(const char*, const char*), Asked kAsked>
struct Orders {
    int orders[kCount] = {};
    void run() {
        for (std::size_t i = 0; i < kCount; ++i) {
            const char* a = kPairs[i].a;
            const char* b = kPairs[i].b;
            benchmark::DoNotOptimize(a);
            benchmark::DoNotOptimize(b);
            orders[i] = kOrder(a, b);
        }
    }
    [[nodiscard]] bool right() const {
        for (std::size_t i = 0; i < kCount; ++i) {
            const int expected = kPairs[i].order;
            const bool right = kAsked == Asked::order ? orders[i] == expected
                                                      : (orders[i] == 0) == (expected == 0);
            if (!right) return false;
        }
        return true;
    }
};

int store_order(const char* a, const char* b) {
    std::int32_t result = 7;
    (void)kelvo_util_compare_paths(a, b, &result);
    return result;
}

/// What a program without the library writes: component by component, each in a copy.
int version_order(const char* a, const char* b) {
    char a_component[256];
    char b_component[256];
    for (;;) {
        const std::size_t a_chars = std::strcspn(a, "/");
        const std::size_t b_chars = std::strcspn(b, "/");
        std::memcpy(a_component, a, a_chars);
        a_component[a_chars] = '\0';
        std::memcpy(b_component, b, b_chars);
        b_component[b_chars] = '\0';
        if (const int order = strverscmp(a_component, b_component)) return order;
        a += a_chars + (a[a_chars] == '/' ? 1 : 0);
        b += b_chars + (b[b_chars] == '/' ? 1 : 0);
        if (*a == '\0' || *b == '\0') return (*a != '\0') - (*b != '\0');
    }
}

int byte_order(const char* a, const char* b) {
    return std::strcmp(a, b);
}

int counted_byte_order(const char* a, const char* b) {
    return std::memcmp(a, b, std::min(std::strlen(a), std::strlen(b)) + 1);
}

/// The same in a call, as if it were known where the paths begin to differ, and where the
/// components end that do: by how long they are they are ordered.
[[gnu::noinline]] int known_order(const char* a, const char* b, std::size_t same) {
    if (const int order = counted_byte_order(a, b); order == 0) return 0;
    const char* const a_end = strchrnul(a + same, '/');
    const char* const b_end = strchrnul(b + same, '/');
    const auto a_rest = a_end - (a + same) + (*a_end == '/' ? 1 : 0);
    const auto b_rest = b_end - (b + same) + (*b_end == '/' ? 1 : 0);
    if (a_rest != b_rest) return a_rest < b_rest ? -1 : 1;
    return a[same] < b[same] ? -1 : 1;
}

struct KnownOrders : Orders<byte_order, Asked::order> {
    std::size_t same[kCount];
    KnownOrders() {
        for (std::size_t i = 0; i < kCount; ++i) {
            const std::string_view a = kPairs[i].a;
            const std::string_view b = kPairs[i].b;
            const auto ends = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
            same[i] = static_cast<std::size_t>(ends.first - a.begin());
        }
    }
    void run() {
        for (std::size_t i = 0; i < kCount; ++i) {
            const char* a = kPairs[i].a;
            const char* b = kPairs[i].b;
            benchmark::DoNotOptimize(a);
            benchmark::DoNotOptimize(b);
            orders[i] = known_order(a, b, same[i]);
        }
    }
};

const Row kRow({"path_order", "order of two paths", kCount, {0.31, 2.1}},
               {library<Orders<store_order, Asked::order>>(),
                floor<Orders<byte_order, Asked::equality>>("strcmp"),
                other<Orders<version_order, Asked::equality>>("strverscmp"),
                shown<Orders<counted_byte_order, Asked::equality>>("two strlen + memcmp"),
                shown<KnownOrders>("the same, and the ends of what differs")});

/// Two paths of so many components, equal but for the last.
struct LongPaths {
    explicit LongPaths(std::size_t components) {
        while (components-- > 1) a += "component/";
        b = a + "10";
        a += "9";
    }
    std::string a;
    std::string b;
    int order = 0;
    void run() { order = store_order(a.c_str(), b.c_str()); }
    [[nodiscard]] bool right() const { return order == -1; }
};
const Growth kLong("path_order", "order of two paths", "components", &time_growth<LongPaths>);

}  // namespace
