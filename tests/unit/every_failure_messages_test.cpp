// SPDX-License-Identifier: Apache-2.0
//
// Every failure in turn: messages, gather lists, the dump that a huge one may take.
#include <cstring>

#include "kelvo_common_msg.h"
#include "kelvo_common_msg_bulk.h"
#include "kelvo_common_msg_get_items.h"
#include "kelvo_common_msg_notify.h"
#include "kelvo_common_msg_registration.h"
#include "support/bulk_messages.h"
#include "support/every_failure.h"
#include "support/registrations.h"
#include "support/system_calls.h"

using namespace kelvo::test;

namespace {

Expected no_memory(const Fault& /*fault*/) {
    return refused_with(KELVO_ERR_NO_MEMORY);
}

// ------------------------------------------------------------------------------------------------
// Gather lists
// ------------------------------------------------------------------------------------------------

struct Flattened {
    std::uint8_t* buffer = nullptr;
    const kelvo_slot slots[2] = {{"abc", 3}, {"defg", 5}};
    ~Flattened() { std::free(buffer); }
    [[nodiscard]] std::string seen() const { return show(reinterpret_cast<const char*>(buffer)); }
};
kelvo_status to_buffer(Flattened& a) {
    return kelvo_common_msg_iovs_to_buffer(a.slots, 2, 8, &a.buffer);
}
kelvo_status to_buffer_v1(Flattened& a) {
    return kelvo_common_msg_iovs_to_buffer_v1(a.slots, 2, 8, &a.buffer, 1);
}
kelvo_status to_buffer_v2(Flattened& a) {
    return kelvo_common_msg_iovs_to_buffer_v2(a.slots, 2, 8, 1, 0, 0, &a.buffer);
}
kelvo_status to_replica(Flattened& a) {
    return kelvo_common_msg_iovs_to_buffer_v2(a.slots, 2, 8, 0, 1, 7, &a.buffer);
}

constexpr std::uint32_t kHuge = 52428801;
/// Nothing is copied, so the large buffer costs nothing.
kelvo_status to_huge_buffer(Flattened& a) {
    a.buffer = nullptr;
    const kelvo_status status = kelvo_common_msg_iovs_to_buffer(a.slots, 0, kHuge, &a.buffer);
    std::free(a.buffer);
    a.buffer = nullptr;
    return status;
}
/// The C library has no memory for its report either when all further allocations fail.
Expected stops(const Fault& fault) {
    return dies(fault.once ? "common/src/kelvo_common_msg_compose.*Assertion `0' failed"
                           : "Unexpected error");
}

struct Dump {
    Dump() {
        platform().boot_media = [](std::uint32_t) { return "/nonexistent/"; };
    }
    [[nodiscard]] static std::string seen() { return ""; }
};
kelvo_status dump_memory_status(Dump& /*dump*/) {
    show_system_mem_status();
    return 0;
}
/// A dump goes as far as it can.
Expected dump_reports(const Fault& fault) {
    const bool both = !fault.once && fault.name == "spawn_process" && fault.number == 1;
    const std::string text = fault.name == "platform_get_boot_media"
                                 ? "Cannot get boot media"
                                 : "kelvo failed to spawn a process";
    const std::string line = text + ": rc 0xb (text of 0xb)";
    return leaves("").logs(both ? std::vector{line, line} : std::vector{line});
}

// ------------------------------------------------------------------------------------------------
// Readers that allocate
// ------------------------------------------------------------------------------------------------

/// A message, received anew for each reading, since readers convert it; and what a reader hands
/// out.
struct Received {
    std::uint32_t length;
    Bytes sent;
    Bytes message;

    std::uint32_t words[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    void* block = nullptr;
    char* text = TextOut::untouched;
    char** texts = nullptr;
    kelvo_startup_list* list = nullptr;
    kelvo_notifyset_iterator* iterator = nullptr;

    explicit Received(const Bytes& bytes)
        : length(static_cast<std::uint32_t>(bytes.size())),
          sent(with_slack(bytes, kBulkSlack)),
          message(sent) {}
    ~Received() {
        std::free(texts);
        std::free(iterator);
        if (list != nullptr) kelvo_common_startup_list_free(&list);
    }
    Received(const Received&) = delete;
    Received& operator=(const Received&) = delete;

    void* receive() { return std::memcpy(message.data(), sent.data(), sent.size()); }
    [[nodiscard]] std::string seen() const {
        std::string all = show(text) + show(block != nullptr) + show(texts != nullptr) +
                          show(iterator != nullptr) + show(pairs_of(list).size());
        for (const std::uint32_t word : words) all += show(word);
        return all;
    }
};

Pairs many_pairs(std::uint32_t count) {
    Pairs pairs;
    for (std::uint32_t i = 0; i < count; ++i) pairs.emplace_back(i, i);
    return pairs;
}

struct VsReg : Received {
    explicit VsReg(std::uint32_t pairs = 2)
        : Received(vs_reg(Order::host, "cfg/gl/a", many_pairs(pairs))) {}
};
struct LongVsReg : VsReg {
    LongVsReg() : VsReg(40) {}
};
kelvo_status read_vs_reg(VsReg& a) {
    return kelvo_common_msg_vs_reg_interpret(a.receive(), a.length, &a.words[0], &a.block,
                                             &a.words[1], &a.text, &a.list);
}
struct EdmsReg : Received {
    EdmsReg() : Received(edms_reg(Order::host, "cfg/gl/a", many_pairs(2))) {}
};
kelvo_status read_edms_reg(EdmsReg& a) {
    return kelvo_common_msg_edms_reg_interpret(a.receive(), a.length, &a.block, &a.words[0],
                                               &a.text, &a.list);
}
/// The pairs that were read before a failure stay, as the contract says.
template <class Registration, auto read>
Expected keeps_pairs(const Fault& fault) {
    Registration whole;
    const FailingMemory counting;
    (void)read(whole);
    long pairs = 0;
    const auto requests = FailingMemory::requests();
    for (std::size_t i = 0; i < fault.number; ++i) {
        if (requests[i].size == sizeof(kelvo_startup_list)) ++pairs;
    }
    return by_rule(fault).keeps(pairs);
}

struct Unreg : Received {
    Unreg() : Received(startup_unreg(7, many_pairs(2))) {}
};
kelvo_status interpret_vs_unreg(Unreg& a) {
    return kelvo_common_msg_vs_unreg_interpret(a.receive(), a.length, &a.words[0], &a.list);
}
kelvo_status interpret_edms_unreg(Unreg& a) {
    return kelvo_common_msg_edms_unreg_interpret(a.receive(), a.length, &a.words[0], &a.list);
}
struct VrfnReg : Received {
    VrfnReg() : Received(vrfn_reg(Order::host, {"cfg/a", "cfg/b"})) {}
};
kelvo_status interpret_vrfn_reg(VrfnReg& a) {
    std::uint32_t* const w = a.words;
    return kelvo_common_msg_vrfn_reg_interpret(a.receive(), a.length, w, w + 1, &a.block, w + 2,
                                               w + 3, w + 4, w + 5, w + 6, &a.texts, w + 7);
}

/// The path is a text of its own.
struct CfgGrp : Received {
    CfgGrp() : Received(cfg_grp(7, {"one", "two"})) {}
    ~CfgGrp() {
        if (text != TextOut::untouched) std::free(text);
    }
    CfgGrp(const CfgGrp&) = delete;
    CfgGrp& operator=(const CfgGrp&) = delete;
};
kelvo_status interpret_cfg_grp(CfgGrp& a) {
    std::uint32_t* const w = a.words;
    return kelvo_common_msg_cfg_grp_interpret(a.receive(), a.length, &a.text, w, w + 1, w + 6,
                                              w + 7, w + 6);
}

Bytes get_items(Order order) {
    return Message(order, KELVO_MSG_GET_ITEMS)
        .words({2, 7})
        .text("cfg/base")
        .text("one")
        .text("two")
        .bytes();
}
struct GetItems : Received {
    GetItems() : Received(get_items(Order::host)) {}
};
kelvo_status interpret_get_items(GetItems& a) {
    return kelvo_common_msg_get_items_interpret(a.receive(), a.length, &a.text, &a.texts,
                                                &a.words[0], &a.words[1]);
}
struct ForeignGetItems : Received {
    ForeignGetItems() : Received(get_items(Order::network)) {}
};
kelvo_status interpret_foreign_get_items(ForeignGetItems& a) {
    return kelvo_common_msg_get_items_interpret_endian_ntoh(a.receive(), a.length, &a.text,
                                                            &a.texts, &a.words[0], &a.words[1]);
}

struct NotifySet : Received {
    NotifySet()
        : Received(notify_set(
              Order::network, 1,
              {notify_entry(Order::network, 7, 1, bytes_of("name"), {1, 2, 3, 4}, {})})) {}
};
kelvo_status interpret_notifyset(NotifySet& a) {
    return kelvo_common_notifyset_interpret(a.receive(), a.length, &a.iterator);
}
kelvo_status interpret_notifyset_values(NotifySet& a) {
    return kelvo_lib_notifyset_interpret(a.receive(), a.length, &a.iterator);
}

// ------------------------------------------------------------------------------------------------
// The bulk builder
// ------------------------------------------------------------------------------------------------

struct Bulk {
    std::uint8_t header[72] = {};
    kelvo_bulk_builder builder = {};
    ~Bulk() { kelvo_common_msg_bulk_free(&builder); }
    [[nodiscard]] std::string seen() const {
        return show(builder.items != nullptr) + show(builder.slots != nullptr) +
               show(builder.leading.length) + show(word_at(header, 24));
    }
};
kelvo_status init_bulk(Bulk& a) {
    return kelvo_common_msg_bulk_init(a.header, 3, 1, 2, "leading", &a.builder);
}

const Operation kOperations[] = {
    row<Flattened>("kelvo_common_msg_iovs_to_buffer", to_buffer),
    row<Flattened>("kelvo_common_msg_iovs_to_buffer_v1", to_buffer_v1),
    row<Flattened>("kelvo_common_msg_iovs_to_buffer_v2", to_buffer_v2),
    row<Flattened>("kelvo_common_msg_iovs_to_buffer_v2_replicated", to_replica, no_memory),
    row<Flattened>("kelvo_common_msg_iovs_to_buffer_huge", to_huge_buffer, stops),
    row<Dump>("show_system_mem_status", dump_memory_status, dump_reports),
    row<VsReg>("kelvo_common_msg_vs_reg_interpret", read_vs_reg, keeps_pairs<VsReg, read_vs_reg>),
    row<LongVsReg>("kelvo_common_msg_vs_reg_interpret_long", read_vs_reg,
                   keeps_pairs<LongVsReg, read_vs_reg>),
    row<EdmsReg>("kelvo_common_msg_edms_reg_interpret", read_edms_reg,
                 keeps_pairs<EdmsReg, read_edms_reg>),
    row<Unreg>("kelvo_common_msg_vs_unreg_interpret", interpret_vs_unreg),
    row<Unreg>("kelvo_common_msg_edms_unreg_interpret", interpret_edms_unreg),
    row<VrfnReg>("kelvo_common_msg_vrfn_reg_interpret", interpret_vrfn_reg),
    row<CfgGrp>("kelvo_common_msg_cfg_grp_interpret", interpret_cfg_grp),
    row<GetItems>("kelvo_common_msg_get_items_interpret", interpret_get_items),
    row<ForeignGetItems>("kelvo_common_msg_get_items_interpret_endian_ntoh",
                         interpret_foreign_get_items),
    row<NotifySet>("kelvo_common_notifyset_interpret", interpret_notifyset),
    row<NotifySet>("kelvo_lib_notifyset_interpret", interpret_notifyset_values),
    row<Bulk>("kelvo_common_msg_bulk_init", init_bulk),
};

INSTANTIATE_TEST_SUITE_P(Messages, EveryFailure, testing::ValuesIn(kOperations), name_of);

}  // namespace
