// SPDX-License-Identifier: Apache-2.0
#include "support/operations.h"

#include <cstdlib>

#include "kelvo_common_msg_bind.h"
#include "kelvo_common_msg_bulk.h"
#include "kelvo_common_msg_callback.h"
#include "kelvo_common_msg_copy.h"
#include "kelvo_common_msg_find.h"
#include "kelvo_common_msg_get_items.h"
#include "kelvo_common_msg_item.h"
#include "kelvo_common_msg_list.h"
#include "kelvo_common_msg_notify.h"
#include "kelvo_common_msg_registration.h"
#include "kelvo_common_msg_transaction.h"

namespace kelvo::test {

namespace {

/// What out-parameters hold before a call.
constexpr std::uint32_t kUnwritten = 0xC0FFEE11;
char g_unwritten;

/// One run: the arguments that all operations share, and where the outputs go.
class Call {
  public:
    Call(void* block, std::uint32_t bytes, Outcome& outcome)
        : msg(block), length(bytes), outcome_(outcome) {
        outcome_.outputs.clear();
        outcome_.text.clear();
    }

    /// The status, which comes before the outputs. @return whether it is 0
    bool ends(kelvo_status status) {
        outcome_.status = status;
        return status == 0;
    }
    [[nodiscard]] bool succeeded() const { return outcome_.status == 0; }

    /// An out-parameter of the call.
    void word(const char* name, std::uint32_t value) {
        if (succeeded() || value != kUnwritten) number(name, value);
    }
    void words(const char* name, const std::uint32_t* values, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) word(name, values[i]);
    }
    void pointer(const char* name, const void* value) {
        if (succeeded() || value != &g_unwritten) place(name, value);
    }

    /// A field of what was handed out.
    void number(const char* name, std::uint64_t value) {
        outcome_.outputs.push_back({name, value});
    }
    void place(const char* name, const void* at) {
        number(name, at == nullptr ? kNullPointer
                                   : reinterpret_cast<std::uintptr_t>(at) -
                                         reinterpret_cast<std::uintptr_t>(msg));
    }
    void made_text(const char* text) { outcome_.text = text; }

    void* const msg;
    const std::uint32_t length;

  private:
    Outcome& outcome_;
};

/// A pointer that nobody has written yet.
template <class Type>
Type* unwritten() {
    return reinterpret_cast<Type*>(&g_unwritten);
}

/// An array of pointers that was handed out, released.
void take_array(Call& call, const char* name, char** array, std::uint32_t count) {
    if (!call.succeeded()) return call.pointer(name, array);
    for (std::uint32_t i = 0; i < count; ++i) call.place(name, array[i]);
    std::free(array);
}

/// A startup list that was handed out, released.
void take_list(Call& call, kelvo_startup_list* list) {
    if (!call.succeeded()) return call.pointer("list", list);
    call.number("entries", list == nullptr ? 0 : list->count);
    for (const kelvo_startup_list* entry = list; entry != nullptr; entry = entry->next) {
        call.number("job_id", entry->job_id);
        call.number("node_id", entry->node_id);
    }
    if (list != nullptr) kelvo_common_startup_list_free(&list);
}

// ---- Conversions, which have no outputs
// ------------------------------------------------------------

template <auto kConvert>
void convert(Call& call) {
    call.ends(kConvert(call.msg, call.length));
}

// ---- Requests
// --------------------------------------------------------------------------------------

template <auto kInterpret>
void get(Call& call) {
    char* path = unwritten<char>();
    std::uint32_t argument = kUnwritten;
    call.ends(kInterpret(call.msg, static_cast<std::int32_t>(call.length), &path, &argument));
    call.pointer("path", path);
    call.word("request_argument", argument);
}

template <auto kInterpret, class Length>
void item(Call& call) {
    char* path = unwritten<char>();
    std::uint32_t type = kUnwritten;
    void* value = unwritten<void>();
    std::uint32_t value_len = kUnwritten;
    std::uint32_t argument = kUnwritten;
    call.ends(kInterpret(call.msg, static_cast<Length>(call.length), &path, &type, &value,
                         &value_len, &argument));
    call.pointer("path", path);
    call.word("value_type", type);
    call.pointer("value", value);
    call.word("value_len", value_len);
    call.word("request_argument", argument);
}

void transtart(Call& call) {
    // Halves of the two words, which a failure leaves alone.
    constexpr std::uint64_t kBoth = (std::uint64_t{kUnwritten} << 32) | kUnwritten;
    std::uint64_t words[2] = {kBoth, kBoth};
    std::uint32_t options = kUnwritten;
    call.ends(kelvo_common_msg_transtart_interpret(call.msg, call.length, words, &options));
    for (const std::uint64_t word : words) {
        if (call.succeeded() || word != kBoth) call.number("words", word);
    }
    call.word("options", options);
}

template <auto kInterpret>
void lock(Call& call) {
    char* path = unwritten<char>();
    call.ends(kInterpret(call.msg, call.length, &path));
    call.pointer("path", path);
}

template <auto kInterpret>
void get_items(Call& call) {
    char* base = unwritten<char>();
    char** names = unwritten<char*>();
    std::uint32_t count = kUnwritten;
    std::uint32_t argument = kUnwritten;
    call.ends(kInterpret(call.msg, call.length, &base, &names, &count, &argument));
    call.pointer("base_path", base);
    take_array(call, "names", names, count);
    call.word("count", count);
    call.word("request_argument", argument);
}

void copy_subtree(Call& call) {
    char* first = unwritten<char>();
    char* second = unwritten<char>();
    char* third = unwritten<char>();
    std::uint32_t argument = kUnwritten;
    call.ends(kelvo_common_msg_copy_subtree_interpret(call.msg, call.length, &first, &second,
                                                      &third, &argument));
    call.pointer("first", first);
    call.pointer("second", second);
    call.pointer("third", third);
    call.word("copy_argument", argument);
}

void bind(Call& call) {
    std::uint32_t version = kUnwritten;
    std::uint32_t reserved = kUnwritten;
    std::uint32_t p[8];
    for (std::uint32_t& parameter : p) parameter = kUnwritten;
    char* first = unwritten<char>();
    char* second = unwritten<char>();
    call.ends(kelvo_common_msg_bind_interpret(call.msg, call.length, &version, &reserved, &p[0],
                                              &first, &p[1], &p[2], &p[3], &p[4], &p[5], &second,
                                              &p[6], &p[7]));
    call.word("version", version);
    call.word("reserved", reserved);
    call.words("p", p, 8);
    call.pointer("first_string", first);
    call.pointer("second_string", second);
}

template <auto kInterpret>
void list(Call& call) {
    char* first = unwritten<char>();
    char* second = unwritten<char>();
    std::uint32_t word1 = kUnwritten;
    std::uint32_t block[5];
    for (std::uint32_t& word : block) word = kUnwritten;
    std::uint32_t word4 = kUnwritten;
    call.ends(kInterpret(call.msg, call.length, &first, &second, &word1, block, &word4));
    call.pointer("first_string", first);
    call.pointer("second_string", second);
    call.word("word1", word1);
    call.words("block", block, 5);
    call.word("word4", word4);
}

template <auto kInterpret>
void find(Call& call) {
    char* first = unwritten<char>();
    char* second = unwritten<char>();
    std::uint32_t word1 = kUnwritten;
    std::uint32_t word4 = kUnwritten;
    std::uint32_t block[5];
    for (std::uint32_t& word : block) word = kUnwritten;
    std::uint32_t word7 = kUnwritten;
    std::uint32_t word5 = kUnwritten;
    std::uint32_t word6 = kUnwritten;
    call.ends(kInterpret(call.msg, call.length, &first, &second, &word1, &word4, block, &word7,
                         &word5, &word6));
    call.pointer("first_string", first);
    call.pointer("second_string", second);
    call.word("word1", word1);
    call.word("word4", word4);
    call.words("block", block, 5);
    call.word("word7", word7);
    call.word("word5", word5);
    call.word("word6", word6);
}

void find_grp(Call& call) {
    char* string = unwritten<char>();
    std::uint32_t unused = kUnwritten;
    std::uint32_t group_word = kUnwritten;
    call.ends(kelvo_common_msg_find_grp_ag_interpret_endian_ntoh(call.msg, call.length, &string,
                                                                 &unused, &group_word));
    call.pointer("string", string);
    if (unused != kUnwritten) call.number("unused", unused);
    call.word("group_word", group_word);
}

// ---- Readers
// ---------------------------------------------------------------------------------------

void give(Call& call, const kelvo_bulk_item& item) {
    call.number("operation", item.operation);
    call.number("word2", item.word2);
    call.number("type", item.type);
    call.place("name", item.name);
    call.place("data", item.data);
    call.number("data_length", item.data_length);
    call.place("op2_data", item.op2_data);
    call.number("op2_data_length", item.op2_data_length);
    call.number("op2_type", item.op2_type);
    call.number("word4", item.word4);
}

void give(Call& call, const kelvo_bulk_reply_item& item) {
    call.number("word1", item.word1);
    call.number("type", item.type);
    call.number("word3", item.word3);
    call.number("word4", item.word4);
    call.place("name", item.name);
    call.place("data", item.data);
    call.number("data_length", item.data_length);
    call.place("third", item.third);
}

template <class Info>
void give_position(Call& call, const Info& info) {
    call.place("current", info.current);
    call.place("prev_item_ptr", info.prev_item_ptr);
    call.number("index", info.index);
}

/// Takes items until there is none, however many the message claims. The record of an item that
/// could not be taken is as it was.
template <auto kNext, class Info, class Item>
void take_items(Call& call, Info& info, Item item) {
    give_position(call, info);
    kelvo_status status;
    while ((status = kNext(&info, &item)) == 0) {
        give(call, item);
        give_position(call, info);
        item = {};
    }
    call.number("status of next", status);
    give(call, item);
    give_position(call, info);
}

void bulk(Call& call) {
    kelvo_bulk_info info = {};
    info.start = &g_unwritten;
    if (!call.ends(kelvo_common_msg_bulk_interpret(call.msg, call.length, &info))) {
        return call.pointer("start", info.start);
    }
    call.place("start", info.start);
    call.place("end", info.end);
    call.number("count", info.count);
    call.number("word1", info.word1);
    call.number("word2", info.word2);
    call.place("leading", info.leading);
    call.words("zero", info.zero, 4);
    take_items<kelvo_common_msg_bulk_next>(call, info, kelvo_bulk_item{});
}

void bulk_reply(Call& call) {
    kelvo_bulk_reply_info info = {};
    info.start = &g_unwritten;
    if (!call.ends(kelvo_common_msg_bulk_reply_interpret(call.msg, call.length, &info))) {
        return call.pointer("start", info.start);
    }
    call.place("start", info.start);
    call.place("end", info.end);
    call.number("word3", info.word3);
    call.number("word4", info.word4);
    take_items<kelvo_common_msg_bulk_reply_next>(call, info, kelvo_bulk_reply_item{});
}

template <auto kInterpret>
void notifyset(Call& call) {
    auto* iterator = unwritten<kelvo_notifyset_iterator>();
    if (!call.ends(kInterpret(call.msg, call.length, &iterator))) {
        return call.pointer("iterator", iterator);
    }
    call.place("start", iterator->start);
    call.place("end", iterator->end);
    call.number("count", iterator->count);
    call.number("zero", iterator->zero);
    call.place("current", iterator->current);
    call.number("index", iterator->index);

    iterator->caller_word = 0x1234;
    kelvo_status status;
    kelvo_notifyset_entry entry = {};
    std::uint64_t kind_and_type = 0;
    while ((status = kelvo_common_notifyset_next(iterator, &entry, &kind_and_type)) == 0) {
        call.place("name", entry.name);
        call.number("kind", entry.kind);
        call.number("type", entry.type);
        call.place("first", entry.first);
        call.number("first_length", entry.first_length);
        call.place("second", entry.second);
        call.number("second_length", entry.second_length);
        call.number("caller_word", entry.caller_word);
        call.number("count", entry.count);
        call.number("index", entry.index);
        call.number("kind_and_type", kind_and_type);
        call.place("current", iterator->current);
    }
    call.number("status of next", status);
    call.number("index", iterator->index);
    std::free(iterator);
}

// ---- Registrations
// ---------------------------------------------------------------------------------

void nfn_reg(Call& call) {
    std::uint32_t id = kUnwritten;
    void* client_block = unwritten<void>();
    std::uint32_t parameter = kUnwritten;
    char* path = unwritten<char>();
    call.ends(kelvo_common_msg_nfn_reg_interpret(call.msg, call.length, &id, &client_block,
                                                 &parameter, &path));
    call.word("registration_id", id);
    call.pointer("client_block", client_block);
    call.word("parameter", parameter);
    call.pointer("path", path);
}

template <auto kInterpret>
void unreg(Call& call) {
    std::uint32_t id = kUnwritten;
    call.ends(kInterpret(call.msg, call.length, &id));
    call.word("registration_id", id);
}

void vrfn_reg(Call& call) {
    std::uint32_t id = kUnwritten;
    void* client_block = unwritten<void>();
    std::uint32_t w[6];
    for (std::uint32_t& word : w) word = kUnwritten;
    std::uint32_t count = kUnwritten;
    char** paths = unwritten<char*>();
    call.ends(kelvo_common_msg_vrfn_reg_interpret(call.msg, call.length, &id, &w[0], &client_block,
                                                  &w[1], &w[2], &w[3], &count, &w[5], &paths,
                                                  &w[4]));
    call.word("registration_id", id);
    call.words("w2 to w7", w, 6);
    call.pointer("client_block", client_block);
    call.word("count", count);
    take_array(call, "paths", paths, count);
}

void vs_reg(Call& call) {
    std::uint32_t id = kUnwritten;
    void* client_block = unwritten<void>();
    std::uint32_t parameter = kUnwritten;
    char* path = unwritten<char>();
    auto* list = unwritten<kelvo_startup_list>();
    call.ends(kelvo_common_msg_vs_reg_interpret(call.msg, call.length, &id, &client_block,
                                                &parameter, &path, &list));
    call.word("registration_id", id);
    call.pointer("client_block", client_block);
    call.word("parameter", parameter);
    call.pointer("path", path);
    take_list(call, list);
}

void edms_reg(Call& call) {
    void* client_block = unwritten<void>();
    std::uint32_t parameter = kUnwritten;
    char* path = unwritten<char>();
    auto* list = unwritten<kelvo_startup_list>();
    call.ends(kelvo_common_msg_edms_reg_interpret(call.msg, call.length, &client_block, &parameter,
                                                  &path, &list));
    call.pointer("client_block", client_block);
    call.word("parameter", parameter);
    call.pointer("path", path);
    take_list(call, list);
}

template <auto kInterpret>
void startup_unreg(Call& call) {
    std::uint32_t id = kUnwritten;
    auto* list = unwritten<kelvo_startup_list>();
    call.ends(kInterpret(call.msg, call.length, &id, &list));
    call.word("registration_id", id);
    take_list(call, list);
}

void edm_reg(Call& call) {
    void* client_block = unwritten<void>();
    std::uint32_t w[5];
    for (std::uint32_t& word : w) word = kUnwritten;
    char* first = unwritten<char>();
    char* second = unwritten<char>();
    call.ends(kelvo_common_msg_edm_reg_interpret(call.msg, call.length, &client_block, &w[0],
                                                 &second, &first, &w[2], &w[3], &w[1], &w[4]));
    call.pointer("client_block", client_block);
    call.words("w1 to w5", w, 5);
    call.pointer("first_string", first);
    call.pointer("second_string", second);
}

void cfg_grp(Call& call) {
    char* path = unwritten<char>();
    std::uint32_t x = kUnwritten;
    std::uint32_t record[KELVO_CFG_GRP_RECORD_WORDS];
    for (std::uint32_t& word : record) word = kUnwritten;
    std::uint32_t y = kUnwritten;
    std::uint32_t count = kUnwritten;
    std::uint32_t w1 = kUnwritten;
    const bool made = call.ends(kelvo_common_msg_cfg_grp_interpret(call.msg, call.length, &path, &x,
                                                                   record, &y, &count, &w1));
    if (made) {
        call.made_text(path);
        std::free(path);
    } else {
        call.pointer("path", path);
    }
    call.word("x", x);
    call.words("record", record, KELVO_CFG_GRP_RECORD_WORDS);
    call.word("y", y);
    call.word("count", count);
    call.word("w1", w1);
}

// ---- The table
// -------------------------------------------------------------------------------------

struct Row {
    Operation operation;
    void (*run)(Call&);
};

constexpr Row kRows[] = {
    {Operation::get_interpret, get<kelvo_common_msg_get_interpret>},
    {Operation::get_interpret_endian_ntoh, get<kelvo_common_msg_get_interpret_endian_ntoh>},
    {Operation::set_interpret, item<kelvo_common_msg_set_interpret, std::int32_t>},
    {Operation::set_interpret_endian_ntoh,
     item<kelvo_common_msg_set_interpret_endian_ntoh, std::int32_t>},
    {Operation::create_interpret, item<kelvo_common_msg_create_interpret, std::int32_t>},
    {Operation::create_interpret_endian_ntoh,
     item<kelvo_common_msg_create_interpret_endian_ntoh, std::int32_t>},
    {Operation::delete_interpret, item<kelvo_common_msg_delete_interpret, std::int32_t>},
    {Operation::delete_interpret_endian_ntoh,
     item<kelvo_common_msg_delete_interpret_endian_ntoh, std::int32_t>},
    {Operation::verify_interpret, item<kelvo_common_msg_verify_interpret, std::uint32_t>},
    {Operation::verify_interpret_endian_ntoh,
     item<kelvo_common_msg_verify_interpret_endian_ntoh, std::uint32_t>},
    {Operation::rply_item_get_interpret_ntoh, convert<kelvo_lib_rply_item_get_interpret_ntoh>},
    {Operation::rply_item_get_interpret_hton, convert<kelvo_lib_rply_item_get_interpret_hton>},
    {Operation::transtart_interpret, transtart},
    {Operation::trancommit_interpret, convert<kelvo_common_msg_trancommit_interpret>},
    {Operation::tranabort_interpret, convert<kelvo_common_msg_tranabort_interpret>},
    {Operation::item_wrlock_interpret, lock<kelvo_common_msg_item_wrlock_interpret>},
    {Operation::item_rdlock_interpret, lock<kelvo_common_msg_item_rdlock_interpret>},
    {Operation::item_unlock_interpret, lock<kelvo_common_msg_item_unlock_interpret>},
    {Operation::get_items_interpret, get_items<kelvo_common_msg_get_items_interpret>},
    {Operation::get_items_interpret_endian_ntoh,
     get_items<kelvo_common_msg_get_items_interpret_endian_ntoh>},
    {Operation::copy_subtree_interpret, copy_subtree},
    {Operation::bind_interpret, bind},
    {Operation::list_interpret, list<kelvo_common_msg_list_interpret>},
    {Operation::datalist_interpret, list<kelvo_common_msg_datalist_interpret>},
    {Operation::rply_list_interpret_endian_ntoh,
     convert<kelvo_lib_rply_list_interpret_endian_ntoh>},
    {Operation::rply_datalist_interpret_endian_ntoh,
     convert<kelvo_lib_rply_datalist_interpret_endian_ntoh>},
    {Operation::find_interpret, find<kelvo_common_msg_find_interpret>},
    {Operation::find_interpret_endian_ntoh, find<kelvo_common_msg_find_interpret_endian_ntoh>},
    {Operation::find_interpret_endian_hton, convert<kelvo_common_msg_find_interpret_endian_hton>},
    {Operation::find_grp_ag_interpret_endian_ntoh, find_grp},
    {Operation::rply_grp_ag_interpret_endian_ntoh,
     convert<kelvo_lib_rply_grp_ag_interpret_endian_ntoh>},
    {Operation::bulk_read, bulk},
    {Operation::bulk_reply_read, bulk_reply},
    {Operation::common_notifyset_read, notifyset<kelvo_common_notifyset_interpret>},
    {Operation::lib_notifyset_read, notifyset<kelvo_lib_notifyset_interpret>},
    {Operation::nfn_reg_interpret, nfn_reg},
    {Operation::nfn_unreg_interpret, unreg<kelvo_common_msg_nfn_unreg_interpret>},
    {Operation::vrfn_unreg_interpret, unreg<kelvo_common_msg_vrfn_unreg_interpret>},
    {Operation::edm_unreg_interpret, unreg<kelvo_common_msg_edm_unreg_interpret>},
    {Operation::vrfn_reg_interpret, vrfn_reg},
    {Operation::vs_reg_interpret, vs_reg},
    {Operation::vs_unreg_interpret, startup_unreg<kelvo_common_msg_vs_unreg_interpret>},
    {Operation::edms_unreg_interpret, startup_unreg<kelvo_common_msg_edms_unreg_interpret>},
    {Operation::edm_reg_interpret, edm_reg},
    {Operation::edms_reg_interpret, edms_reg},
    {Operation::cfg_grp_interpret, cfg_grp},
    {Operation::nfn_reg_interpret_ntoh, convert<kelvo_common_msg_nfn_reg_interpret_ntoh>},
    {Operation::nfn_reg_interpret_hton, convert<kelvo_common_msg_nfn_reg_interpret_hton>},
    {Operation::vrfn_reg_interpret_ntoh, convert<kelvo_common_msg_vrfn_reg_interpret_ntoh>},
    {Operation::vrfn_reg_interpret_hton, convert<kelvo_common_msg_vrfn_reg_interpret_hton>},
    {Operation::vs_reg_interpret_ntoh, convert<kelvo_common_msg_vs_reg_interpret_ntoh>},
    {Operation::vs_reg_interpret_hton, convert<kelvo_common_msg_vs_reg_interpret_hton>},
    {Operation::edms_reg_interpret_ntoh, convert<kelvo_common_msg_edms_reg_interpret_ntoh>},
    {Operation::edms_reg_interpret_hton, convert<kelvo_common_msg_edms_reg_interpret_hton>},
    {Operation::edm_reg_interpret_ntoh, convert<kelvo_common_msg_edm_reg_interpret_ntoh>},
    {Operation::edm_reg_interpret_hton, convert<kelvo_common_msg_edm_reg_interpret_hton>},
    {Operation::reg_activate_interpret_ntoh, convert<kelvo_common_msg_reg_activate_interpret_ntoh>},
    {Operation::reg_activate_interpret_hton, convert<kelvo_common_msg_reg_activate_interpret_hton>},
    {Operation::rply_cb_get_apply_interpret_ntoh,
     convert<kelvo_lib_rply_cb_get_apply_interpret_ntoh>},
    {Operation::rply_cb_get_apply_interpret_hton,
     convert<kelvo_lib_rply_cb_get_apply_interpret_hton>},
    {Operation::rply_cb_get_verify_interpret_ntoh,
     convert<kelvo_lib_rply_cb_get_verify_interpret_ntoh>},
    {Operation::rply_cb_get_verify_interpret_hton,
     convert<kelvo_lib_rply_cb_get_verify_interpret_hton>},
    {Operation::errorset_iterate_ntoh, convert<kelvo_vrfn_msg_errorset_iterate_ntoh>},
    {Operation::errorset_iterate_hton, convert<kelvo_vrfn_msg_errorset_iterate_hton>},
    {Operation::sm_cb_response_interpret_ntoh,
     convert<kelvo_common_msg_sm_cb_response_interpret_ntoh>},
    {Operation::sm_cb_response_interpret_hton,
     convert<kelvo_common_msg_sm_cb_response_interpret_hton>},
    {Operation::rply_smset_interpret_ntoh, convert<kelvo_lib_rply_smset_interpret_ntoh>},
    {Operation::rply_smset_interpret_hton, convert<kelvo_lib_rply_smset_interpret_hton>},
    {Operation::temp_interpret_ntoh, convert<kelvo_common_msg_temp_interpret_ntoh>},
    {Operation::temp_interpret_hton, convert<kelvo_common_msg_temp_interpret_hton>},
    {Operation::rply_temp_interpret_ntoh, convert<kelvo_lib_rply_temp_interpret_ntoh>},
    {Operation::rply_temp_interpret_hton, convert<kelvo_lib_rply_temp_interpret_hton>},
};

constexpr bool rows_are_in_order() {
    std::uint32_t number = 0;
    for (const Row& row : kRows) {
        if (row.operation != static_cast<Operation>(number++)) return false;
    }
    return number == kOperationCount;
}
static_assert(rows_are_in_order());

constexpr const char* kNames[] = {
#define KELVO_TEST_NAME(name) #name,
    KELVO_TEST_OPERATIONS(KELVO_TEST_NAME)
#undef KELVO_TEST_NAME
};

}  // namespace

const char* name_of(Operation operation) {
    return kNames[static_cast<std::uint32_t>(operation)];
}

void run(Operation operation, void* block, std::uint32_t length, Outcome& outcome) {
    Call call(block, length, outcome);
    kRows[static_cast<std::uint32_t>(operation)].run(call);
}

void Outcome::print(std::ostream& out) const {
    out << "status 0x" << std::hex << status;
    for (const Output& output : outputs) out << ", " << output.name << " 0x" << output.value;
    out << std::dec;
    if (!text.empty()) out << ", \"" << text << '"';
}

}  // namespace kelvo::test
