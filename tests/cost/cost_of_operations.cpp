// SPDX-License-Identifier: Apache-2.0
//
// What operations cost on messages that claim more than they hold, on long ones, and on plain ones.
// Run under callgrind, each case is one part of its output, named by the case's number; run as it
// is, memory is measured. Either way a line of the standard output describes each case:
//
//     <number> <kind> <operation> <bytes received> <elements> <most bytes allocated at a time>
//
// with tabs between.
//
// tests/checks/costs.py runs this twice and compares the figures with their bounds.
#include <dlfcn.h>
#include <elf.h>
#include <malloc.h>
#include <valgrind/callgrind.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "plain_calls.h"
#include "support/operation_messages.h"
#include "support/operations.h"

using namespace kelvo::test;

// ------------------------------------------------------------------------------------------------
// Memory
// ------------------------------------------------------------------------------------------------

namespace {

/// Bytes that the library has allocated since some moment, and the most of them at a time.
struct Memory {
    bool counted = false;
    std::size_t now = 0;
    std::size_t most = 0;
};
Memory memory;

/// Whether a caller is the library, and not the C library or this program.
bool is_library(const void* caller) {
    static const char* begin = nullptr;
    static const char* end = nullptr;
    if (begin == nullptr) {
        Dl_info info{};
        dladdr(reinterpret_cast<void*>(&kelvo_common_msg_guard), &info);
        begin = static_cast<const char*>(info.dli_fbase);
        const auto* const header = reinterpret_cast<const Elf64_Ehdr*>(begin);
        const auto* segment = reinterpret_cast<const Elf64_Phdr*>(begin + header->e_phoff);
        for (int i = 0; i < header->e_phnum; ++i, ++segment) {
            if (segment->p_type == PT_LOAD) end = begin + segment->p_vaddr + segment->p_memsz;
        }
    }
    return caller >= begin && caller < end;
}

/// What stands at the end of a block that was counted: its size, and a mark.
struct Mark {
    static constexpr std::size_t kIsCounted = 0x6b656c766f21;
    std::size_t size;
    std::size_t counted;
};

char* mark_of(void* block) {
    return static_cast<char*>(block) + malloc_usable_size(block) - sizeof(Mark);
}

void* add(void* block, std::size_t size) {
    if (block == nullptr) return nullptr;
    const Mark mark{size, Mark::kIsCounted};
    std::memcpy(mark_of(block), &mark, sizeof mark);
    memory.now += size;
    memory.most = std::max(memory.most, memory.now);
    return block;
}
void* drop(void* block) {
    if (!memory.counted || block == nullptr || malloc_usable_size(block) < sizeof(Mark)) {
        return block;
    }
    Mark mark;
    std::memcpy(&mark, mark_of(block), sizeof mark);
    if (mark.counted != Mark::kIsCounted) return block;
    memory.now -= mark.size;
    std::memset(mark_of(block), 0, sizeof mark);
    return block;
}
bool counts(const void* caller) {
    return memory.counted && is_library(caller);
}

}  // namespace

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size) noexcept {
    if (!counts(__builtin_return_address(0))) return __libc_malloc(size);
    return add(__libc_malloc(size + sizeof(Mark)), size);
}
void* calloc(std::size_t count, std::size_t size) noexcept {
    if (!counts(__builtin_return_address(0))) return __libc_calloc(count, size);
    return add(__libc_calloc(1, count * size + sizeof(Mark)), count * size);
}
void* realloc(void* block, std::size_t size) noexcept {
    if (!counts(__builtin_return_address(0))) return __libc_realloc(block, size);
    return add(__libc_realloc(drop(block), size + sizeof(Mark)), size);
}
void free(void* block) noexcept {
    __libc_free(drop(block));
}
}

namespace {

// ------------------------------------------------------------------------------------------------
// Cases
// ------------------------------------------------------------------------------------------------

/// What a run of an operation may write behind its message.
constexpr std::size_t kBehind = 1 << 16;

int cases = 0;

/// The test's own blocks are not those of the operation, so an outcome is kept for all cases.
Outcome outcome;

/// Measures one case. Callgrind counts while this is on, and writes what it has counted.
template <class Run>
void measure(const char* kind, const std::string& operation, std::size_t received,
             std::size_t elements, const Run& run) {
    memory = {RUNNING_ON_VALGRIND == 0, 0, 0};
    CALLGRIND_TOGGLE_COLLECT;
    run();
    CALLGRIND_TOGGLE_COLLECT;
    memory.counted = false;
    const std::string number = std::to_string(++cases);
    CALLGRIND_DUMP_STATS_AT(number.c_str());
    std::printf("%d\t%s\t%s\t%zu\t%zu\t%zu\n", cases, kind, operation.c_str(), received, elements,
                memory.most);
}

/// Operations whose contract lets a claimed count or length lead them far outside the message. They
/// are run only on what the guard lets pass.
bool reaches_far(kelvo_msg_operation operation) {
    return operation == KELVO_OPERATION_REG_ACTIVATE_NTOH ||
           operation == KELVO_OPERATION_REG_ACTIVATE_HTON ||
           operation == KELVO_OPERATION_LIST_REPLY_NTOH ||
           operation == KELVO_OPERATION_DATALIST_REPLY_NTOH;
}

/// The guard, and then the operation unless that would stop the process or reach far.
void measure_hostile(kelvo_msg_operation operation, const Bytes& message) {
    static std::vector<std::uint8_t> block;
    block.assign(message.size() + kBehind, 0);
    std::copy(message.begin(), message.end(), block.begin());
    const auto length = static_cast<std::uint32_t>(message.size());
    measure("hostile", name_of(operation), length, 0, [&] {
        const kelvo_status said = kelvo_common_msg_guard(operation, block.data(), length);
        if (said == KELVO_ERR_MSG_CONTENT || (said != 0 && reaches_far(operation))) return;
        run(operation, block.data(), length, outcome);
    });
}

/// Each word of a message in turn says 2^32 - 1, with what follows it as it was, all zero, or all
/// ones.
void measure_claims(kelvo_msg_operation operation, const Bytes& valid) {
    for (std::size_t at = 0; at + 4 <= valid.size(); at += 4) {
        for (const int rest : {-1, 0x00, 0xFF}) {
            Bytes message = valid;
            put_word(message, at, UINT32_MAX);
            const auto behind = message.begin() + static_cast<std::ptrdiff_t>(at) + 4;
            if (rest >= 0) std::fill(behind, message.end(), static_cast<std::uint8_t>(rest));
            measure_hostile(operation, message);
        }
    }
}

void measure_hostile_messages() {
    for (std::uint32_t i = 0; i < kOperationCount; ++i) {
        const auto operation = static_cast<kelvo_msg_operation>(i);
        const std::vector<Bytes> messages = messages_for(operation);
        const auto longest =
            std::max_element(messages.begin(), messages.end(),
                             [](const Bytes& a, const Bytes& b) { return a.size() < b.size(); });
        measure_claims(operation, *longest);
    }
}

// ------------------------------------------------------------------------------------------------
// Growth
// ------------------------------------------------------------------------------------------------

/// A message of any number of equal elements, found by comparing those of one and of two: the
/// elements stand at the end, and one word counts them.
Bytes repeated(const std::function<Bytes(std::uint32_t)>& make, std::uint32_t elements) {
    const Bytes one = make(1);
    const Bytes two = make(2);
    const std::size_t size = two.size() - one.size();
    Bytes all(one.begin(), one.end() - static_cast<std::ptrdiff_t>(size));
    std::size_t count_at = 0;
    while (word_at(one, count_at) == word_at(two, count_at)) count_at += 4;
    const bool swapped = word_at(one, count_at) != 1;
    put_word(all, count_at, swapped ? reversed(elements) : elements);
    const std::size_t begin = all.size();
    all.resize(begin + size * elements);
    for (std::size_t i = 0; i < elements; ++i) {
        std::memcpy(all.data() + begin + i * size, two.data() + one.size(), size);
    }
    return all;
}

Pairs first_pairs(std::uint32_t count) {
    Pairs pairs;
    for (std::uint32_t i = 0; i < count; ++i) pairs.emplace_back(1, 1);
    return pairs;
}

/// Gives the pairs at the end of a message different jobs.
Bytes with_jobs(Bytes message, std::uint32_t pairs) {
    const std::size_t begin = message.size() - std::size_t{pairs} * 8;
    for (std::uint32_t i = 0; i < pairs; ++i) put_word(message, begin + std::size_t{i} * 8, i);
    return message;
}

std::vector<std::string> names(std::uint32_t count) {
    return std::vector<std::string>(count, "a/name");
}
template <class Element>
std::vector<Element> copies(std::uint32_t count, const Element& element) {
    return std::vector<Element>(count, element);
}

struct Growth {
    kelvo_msg_operation operation;
    std::function<Bytes(std::uint32_t)> make;
    bool longest;  ///< also with a million elements
};

const Order kHost = Order::host;
const Order kNet = Order::network;
const Bytes kValue = {1, 2, 3, 4, 5, 6, 7, 8};

Bytes get_items(Order order, std::uint32_t count) {
    Message m(order);
    m.words({count, 9}).text("base");
    for (const std::string& name : names(count)) m.text(name);
    return m.bytes();
}

/// About a thousand to a million elements. An index that doubles when it is half full has just done
/// so with each of these numbers.
constexpr std::uint32_t kSteps[] = {(1U << 10) + 1, (1U << 13) + 1, (1U << 17) + 1, (1U << 20) + 1};

const Growth kGrowths[] = {
    {KELVO_OPERATION_VS_REG, [](std::uint32_t n) { return vs_reg(kHost, "a", first_pairs(n)); },
     true},
    {KELVO_OPERATION_VS_UNREG, [](std::uint32_t n) { return startup_unreg(5, first_pairs(n)); },
     false},
    {KELVO_OPERATION_VS_REG_NTOH, [](std::uint32_t n) { return vs_reg(kNet, "a", first_pairs(n)); },
     false},
    {KELVO_OPERATION_EDMS_REG, [](std::uint32_t n) { return edms_reg(kHost, "a", first_pairs(n)); },
     false},
    {KELVO_OPERATION_GET_ITEMS, [](std::uint32_t n) { return get_items(kHost, n); }, true},
    {KELVO_OPERATION_GET_ITEMS_NTOH, [](std::uint32_t n) { return get_items(kNet, n); }, false},
    {KELVO_OPERATION_VRFN_REG, [](std::uint32_t n) { return vrfn_reg(kHost, names(n)); }, false},
    {KELVO_OPERATION_VRFN_REG_NTOH, [](std::uint32_t n) { return vrfn_reg(kNet, names(n)); },
     false},
    {KELVO_OPERATION_VRFN_REG_HTON, [](std::uint32_t n) { return vrfn_reg(kHost, names(n)); },
     false},
    {KELVO_OPERATION_CFG_GRP, [](std::uint32_t n) { return cfg_grp(1, names(n)); }, false},
    {KELVO_OPERATION_BULK_NEXT,
     [](std::uint32_t n) {
         return bulk_request(copies(n, bulk_item(kNet, {1, 2, 2, 4}, "a/name", kValue)));
     },
     true},
    {KELVO_OPERATION_BULK_REPLY_NEXT,
     [](std::uint32_t n) {
         // A reply does not count its items; the word in front of them is its own.
         Bytes reply = bulk_reply(copies(n, bulk_reply_item(kNet, {1, 2, 3, 4}, "a", kValue, "b")));
         put_word(reply, 28, n);
         return reply;
     },
     false},
    {KELVO_OPERATION_NOTIFYSET,
     [](std::uint32_t n) {
         return notify_set(kNet, n,
                           copies(n, notify_entry(kNet, 1, 2, bytes_of("a"), kValue, kValue)));
     },
     true},
    {KELVO_OPERATION_NOTIFYSET_VALUES,
     [](std::uint32_t n) {
         return notify_set(kNet, n,
                           copies(n, notify_entry(kNet, 1, 2, bytes_of("a"), kValue, kValue)));
     },
     false},
    {KELVO_OPERATION_NOTIFYSET_NEXT,
     [](std::uint32_t n) {
         return notify_set(kNet, n,
                           copies(n, notify_entry(kNet, 1, 2, bytes_of("a"), kValue, kValue)));
     },
     false},
    {KELVO_OPERATION_LIST_REPLY_NTOH,
     [](std::uint32_t n) { return list_reply(kNet, 0, copies(n, 1U)); }, false},
    {KELVO_OPERATION_DATALIST_REPLY_NTOH,
     [](std::uint32_t n) { return list_reply(kNet, 2, copies(n, 1U)); }, false},
    {KELVO_OPERATION_VERIFY_REPLY_NTOH, [](std::uint32_t n) { return verify_reply(kNet, n); },
     false},
    {KELVO_OPERATION_VERIFY_REPLY_HTON, [](std::uint32_t n) { return verify_reply(kHost, n); },
     false},
    {KELVO_OPERATION_ERRORSET_NTOH, [](std::uint32_t n) { return errorset(kNet, n); }, false},
    {KELVO_OPERATION_ERRORSET_HTON, [](std::uint32_t n) { return errorset(kHost, n); }, false},
    {KELVO_OPERATION_SM_CB_RESPONSE_NTOH, [](std::uint32_t n) { return sm_cb_response(kNet, n); },
     false},
    {KELVO_OPERATION_SMSET_REPLY_NTOH, [](std::uint32_t n) { return smset_reply(kNet, n); }, false},
    {KELVO_OPERATION_REG_ACTIVATE_NTOH,
     [](std::uint32_t n) { return reg_activate(kNet, copies(n, 7U)); }, false},
};

bool has_pairs(kelvo_msg_operation operation) {
    return operation == KELVO_OPERATION_VS_REG || operation == KELVO_OPERATION_VS_REG_NTOH ||
           operation == KELVO_OPERATION_VS_UNREG || operation == KELVO_OPERATION_EDMS_REG;
}

/// Growing messages are the only ones that callgrind watches here; it would watch them being made.
void measure_growth() {
    for (const Growth& growth : kGrowths) {
        for (const std::uint32_t elements : kSteps) {
            if (elements > 1U << 18 && !growth.longest) continue;
            Bytes message = repeated(growth.make, elements);
            if (has_pairs(growth.operation)) message = with_jobs(message, elements);
            const auto length = static_cast<std::uint32_t>(message.size());
            message.resize(message.size() + kBulkSlack);
            malloc_trim(0);  // so that no case finds blocks that the one before has left
            CALLGRIND_START_INSTRUMENTATION;
            measure("growth", name_of(growth.operation), length, elements, [&] {
                if (kelvo_common_msg_guard(growth.operation, message.data(), length) != 0) return;
                run(growth.operation, message.data(), length, outcome);
            });
            CALLGRIND_STOP_INSTRUMENTATION;
            if (outcome.status != 0) {
                std::fprintf(stderr, "%s refuses %u elements with status 0x%x\n",
                             name_of(growth.operation), elements, outcome.status);
                std::exit(1);
            }
        }
    }
}

// ------------------------------------------------------------------------------------------------
// Plain work
// ------------------------------------------------------------------------------------------------

/// The same work a second time, when what is made once is there.
template <class Run>
void measure_plain(const std::string& name, std::size_t received, const Run& run) {
    run();
    CALLGRIND_START_INSTRUMENTATION;
    measure("plain", name, received, 0, run);
    CALLGRIND_STOP_INSTRUMENTATION;
}

/// Every operation on its longest valid message that the operation takes, and calls as programs
/// make them all the time.
void measure_plain_work() {
    for (std::uint32_t i = 0; i < kOperationCount; ++i) {
        const auto operation = static_cast<kelvo_msg_operation>(i);
        Bytes longest;
        for (const Bytes& message : messages_for(operation)) {
            if (message.size() > longest.size()) longest = message;
        }
        const auto length = static_cast<std::uint32_t>(longest.size());
        longest.resize(longest.size() + kBehind);
        Bytes block(longest.size());
        measure_plain(name_of(operation), length, [&] {
            std::copy(longest.begin(), longest.end(), block.begin());
            if (kelvo_common_msg_guard(operation, block.data(), length) != 0) return;
            run(operation, block.data(), length, outcome);
        });
    }
    for (const PlainCall& call : plain_calls()) measure_plain(call.name, 0, call.run);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string what = argc == 2 ? argv[1] : "";
    if (what == "hostile") {
        measure_hostile_messages();
    } else if (what == "growth") {
        measure_growth();
    } else if (what == "plain") {
        measure_plain_work();
    } else {
        std::fprintf(stderr, "usage: cost_of_operations hostile|growth|plain\n");
        return 2;
    }
    return 0;
}
