// SPDX-License-Identifier: Apache-2.0
#include "platform/failed_sites.h"

#include <dlfcn.h>
#include <sys/mman.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <fstream>

namespace kelvo::test {

namespace {

constexpr std::size_t kMost = 4096;
using Site = std::atomic<const void*>;

std::string name_of(const Dl_info& file) {
    const std::string path = file.dli_fname;
    return path.substr(path.rfind('/') + 1);
}

/// Memory that a child shares with its parent. None unless somebody asks for the sites.
class Sites {
  public:
    Sites() : directory_(std::getenv("KELVO_FAILED_SITES")) {
        if (directory_ == nullptr) return;
        void* const table = mmap(nullptr, kMost * sizeof(Site), PROT_READ | PROT_WRITE,
                                 MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (table == MAP_FAILED) std::abort();
        table_.store(static_cast<Site*>(table));
    }
    ~Sites() {
        const Site* const table = table_.exchange(nullptr);
        if (table == nullptr) return;
        std::ofstream out(std::string(directory_) + "/" + program_invocation_short_name);
        for (std::size_t i = 0; i < kMost && table[i] != nullptr; ++i) {
            Dl_info file{};
            if (dladdr(table[i], &file) == 0) continue;
            const auto* const begin = static_cast<const char*>(file.dli_fbase);
            out << name_of(file) << " " << std::hex
                << static_cast<const char*>(table[i].load()) - begin << "\n";
        }
    }
    Sites(const Sites&) = delete;
    Sites& operator=(const Sites&) = delete;

    void add(const void* site) noexcept {
        Site* const table = table_.load(std::memory_order_relaxed);
        if (table == nullptr) return;
        for (std::size_t i = 0; i < kMost; ++i) {
            const void* at = nullptr;
            if (table[i].compare_exchange_strong(at, site) || at == site) return;
        }
        std::abort();
    }

  private:
    const char* directory_;
    std::atomic<Site*> table_ = nullptr;
};

Sites sites;

}  // namespace

void add_failed_site(const void* return_address) noexcept {
    sites.add(return_address);
}

std::string file_of(const void* address) {
    Dl_info file{};
    return dladdr(address, &file) == 0 ? "" : name_of(file);
}

}  // namespace kelvo::test
