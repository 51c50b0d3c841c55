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

// ---- Conversions, which have no outputs -------------------------------------------------------

template <auto kConvert>
void convert(Call& call) {
    call.ends(kConvert(call.msg, call.length));
}

// ---- Requests ---------------------------------------------------------------------------------

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

// ---- Readers ----------------------------------------------------------------------------------

/// How far a reader is driven: not at all, through the items, or through the items with each one
/// given back and taken again.
enum class Drive { interpret, next, back };

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

/// Takes items until one fails. The record of an item that could not be taken is as it was.
template <auto kNext, auto kBack, class Item, class Info>
void take_items(Call& call, Info& info, Drive drive) {
    give_position(call, info);
    if (drive == Drive::interpret) return;
    for (;;) {
        for (int again = 0; again < (drive == Drive::back ? 2 : 1); ++again) {
            if (again != 0) {
                call.place("back", kBack(&info));
                give_position(call, info);
            }
            Item item = {};
            const kelvo_status status = kNext(&info, &item);
            call.number("status of next", status);
            give(call, item);
            give_position(call, info);
            if (status != 0) return;
        }
    }
}

template <Drive kDrive>
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
    take_items<kelvo_common_msg_bulk_next, kelvo_common_msg_bulk_back, kelvo_bulk_item>(call, info,
                                                                                        kDrive);
}

template <Drive kDrive>
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
    take_items<kelvo_common_msg_bulk_reply_next, kelvo_common_msg_bulk_reply_back,
               kelvo_bulk_reply_item>(call, info, kDrive);
}

template <auto kInterpret, Drive kDrive>
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
    if (kDrive == Drive::interpret) return std::free(iterator);

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

// ---- Registrations ----------------------------------------------------------------------------

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

// ---- The table --------------------------------------------------------------------------------

struct Row {
    kelvo_msg_operation operation;
    void (*run)(Call&);
};

constexpr Row kRows[] = {
    {KELVO_OPERATION_BIND, bind},
    {KELVO_OPERATION_GET, get<kelvo_common_msg_get_interpret>},
    {KELVO_OPERATION_GET_NTOH, get<kelvo_common_msg_get_interpret_endian_ntoh>},
    {KELVO_OPERATION_SET, item<kelvo_common_msg_set_interpret, std::int32_t>},
    {KELVO_OPERATION_SET_NTOH, item<kelvo_common_msg_set_interpret_endian_ntoh, std::int32_t>},
    {KELVO_OPERATION_CREATE, item<kelvo_common_msg_create_interpret, std::int32_t>},
    {KELVO_OPERATION_CREATE_NTOH,
     item<kelvo_common_msg_create_interpret_endian_ntoh, std::int32_t>},
    {KELVO_OPERATION_DELETE, item<kelvo_common_msg_delete_interpret, std::int32_t>},
    {KELVO_OPERATION_DELETE_NTOH,
     item<kelvo_common_msg_delete_interpret_endian_ntoh, std::int32_t>},
    {KELVO_OPERATION_VERIFY, item<kelvo_common_msg_verify_interpret, std::uint32_t>},
    {KELVO_OPERATION_VERIFY_NTOH,
     item<kelvo_common_msg_verify_interpret_endian_ntoh, std::uint32_t>},
    {KELVO_OPERATION_GET_REPLY_NTOH, convert<kelvo_lib_rply_item_get_interpret_ntoh>},
    {KELVO_OPERATION_GET_REPLY_HTON, convert<kelvo_lib_rply_item_get_interpret_hton>},
    {KELVO_OPERATION_GET_ITEMS, get_items<kelvo_common_msg_get_items_interpret>},
    {KELVO_OPERATION_GET_ITEMS_NTOH, get_items<kelvo_common_msg_get_items_interpret_endian_ntoh>},
    {KELVO_OPERATION_COPY, copy_subtree},
    {KELVO_OPERATION_FIND, find<kelvo_common_msg_find_interpret>},
    {KELVO_OPERATION_FIND_NTOH, find<kelvo_common_msg_find_interpret_endian_ntoh>},
    {KELVO_OPERATION_FIND_HTON, convert<kelvo_common_msg_find_interpret_endian_hton>},
    {KELVO_OPERATION_FIND_GROUP_NTOH, find_grp},
    {KELVO_OPERATION_FIND_GROUP_REPLY_NTOH, convert<kelvo_lib_rply_grp_ag_interpret_endian_ntoh>},
    {KELVO_OPERATION_LIST, list<kelvo_common_msg_list_interpret>},
    {KELVO_OPERATION_DATALIST, list<kelvo_common_msg_datalist_interpret>},
    {KELVO_OPERATION_LIST_REPLY_NTOH, convert<kelvo_lib_rply_list_interpret_endian_ntoh>},
    {KELVO_OPERATION_DATALIST_REPLY_NTOH, convert<kelvo_lib_rply_datalist_interpret_endian_ntoh>},
    {KELVO_OPERATION_TRANSACTION_START, transtart},
    {KELVO_OPERATION_TRANSACTION_COMMIT, convert<kelvo_common_msg_trancommit_interpret>},
    {KELVO_OPERATION_TRANSACTION_ABORT, convert<kelvo_common_msg_tranabort_interpret>},
    {KELVO_OPERATION_WRITE_LOCK, lock<kelvo_common_msg_item_wrlock_interpret>},
    {KELVO_OPERATION_READ_LOCK, lock<kelvo_common_msg_item_rdlock_interpret>},
    {KELVO_OPERATION_UNLOCK, lock<kelvo_common_msg_item_unlock_interpret>},
    {KELVO_OPERATION_BULK, bulk<Drive::interpret>},
    {KELVO_OPERATION_BULK_NEXT, bulk<Drive::next>},
    {KELVO_OPERATION_BULK_BACK, bulk<Drive::back>},
    {KELVO_OPERATION_BULK_REPLY, bulk_reply<Drive::interpret>},
    {KELVO_OPERATION_BULK_REPLY_NEXT, bulk_reply<Drive::next>},
    {KELVO_OPERATION_BULK_REPLY_BACK, bulk_reply<Drive::back>},
    {KELVO_OPERATION_NOTIFYSET, notifyset<kelvo_common_notifyset_interpret, Drive::interpret>},
    {KELVO_OPERATION_NOTIFYSET_VALUES, notifyset<kelvo_lib_notifyset_interpret, Drive::next>},
    {KELVO_OPERATION_NOTIFYSET_NEXT, notifyset<kelvo_common_notifyset_interpret, Drive::next>},
    {KELVO_OPERATION_APPLY_REPLY_NTOH, convert<kelvo_lib_rply_cb_get_apply_interpret_ntoh>},
    {KELVO_OPERATION_APPLY_REPLY_HTON, convert<kelvo_lib_rply_cb_get_apply_interpret_hton>},
    {KELVO_OPERATION_VERIFY_REPLY_NTOH, convert<kelvo_lib_rply_cb_get_verify_interpret_ntoh>},
    {KELVO_OPERATION_VERIFY_REPLY_HTON, convert<kelvo_lib_rply_cb_get_verify_interpret_hton>},
    {KELVO_OPERATION_ERRORSET_NTOH, convert<kelvo_vrfn_msg_errorset_iterate_ntoh>},
    {KELVO_OPERATION_ERRORSET_HTON, convert<kelvo_vrfn_msg_errorset_iterate_hton>},
    {KELVO_OPERATION_SM_CB_RESPONSE_NTOH, convert<kelvo_common_msg_sm_cb_response_interpret_ntoh>},
    {KELVO_OPERATION_SM_CB_RESPONSE_HTON, convert<kelvo_common_msg_sm_cb_response_interpret_hton>},
    {KELVO_OPERATION_SMSET_REPLY_NTOH, convert<kelvo_lib_rply_smset_interpret_ntoh>},
    {KELVO_OPERATION_SMSET_REPLY_HTON, convert<kelvo_lib_rply_smset_interpret_hton>},
    {KELVO_OPERATION_TEMP_NTOH, convert<kelvo_common_msg_temp_interpret_ntoh>},
    {KELVO_OPERATION_TEMP_HTON, convert<kelvo_common_msg_temp_interpret_hton>},
    {KELVO_OPERATION_TEMP_REPLY_NTOH, convert<kelvo_lib_rply_temp_interpret_ntoh>},
    {KELVO_OPERATION_TEMP_REPLY_HTON, convert<kelvo_lib_rply_temp_interpret_hton>},
    {KELVO_OPERATION_NFN_REG, nfn_reg},
    {KELVO_OPERATION_NFN_REG_NTOH, convert<kelvo_common_msg_nfn_reg_interpret_ntoh>},
    {KELVO_OPERATION_NFN_REG_HTON, convert<kelvo_common_msg_nfn_reg_interpret_hton>},
    {KELVO_OPERATION_NFN_UNREG, unreg<kelvo_common_msg_nfn_unreg_interpret>},
    {KELVO_OPERATION_VRFN_REG, vrfn_reg},
    {KELVO_OPERATION_VRFN_REG_NTOH, convert<kelvo_common_msg_vrfn_reg_interpret_ntoh>},
    {KELVO_OPERATION_VRFN_REG_HTON, convert<kelvo_common_msg_vrfn_reg_interpret_hton>},
    {KELVO_OPERATION_VRFN_UNREG, unreg<kelvo_common_msg_vrfn_unreg_interpret>},
    {KELVO_OPERATION_VS_REG, vs_reg},
    {KELVO_OPERATION_VS_REG_NTOH, convert<kelvo_common_msg_vs_reg_interpret_ntoh>},
    {KELVO_OPERATION_VS_REG_HTON, convert<kelvo_common_msg_vs_reg_interpret_hton>},
    {KELVO_OPERATION_VS_UNREG, startup_unreg<kelvo_common_msg_vs_unreg_interpret>},
    {KELVO_OPERATION_EDM_REG, edm_reg},
    {KELVO_OPERATION_EDM_REG_NTOH, convert<kelvo_common_msg_edm_reg_interpret_ntoh>},
    {KELVO_OPERATION_EDM_REG_HTON, convert<kelvo_common_msg_edm_reg_interpret_hton>},
    {KELVO_OPERATION_EDM_UNREG, unreg<kelvo_common_msg_edm_unreg_interpret>},
    {KELVO_OPERATION_EDMS_REG, edms_reg},
    {KELVO_OPERATION_EDMS_REG_NTOH, convert<kelvo_common_msg_edms_reg_interpret_ntoh>},
    {KELVO_OPERATION_EDMS_REG_HTON, convert<kelvo_common_msg_edms_reg_interpret_hton>},
    {KELVO_OPERATION_EDMS_UNREG, startup_unreg<kelvo_common_msg_edms_unreg_interpret>},
    {KELVO_OPERATION_REG_ACTIVATE_NTOH, convert<kelvo_common_msg_reg_activate_interpret_ntoh>},
    {KELVO_OPERATION_REG_ACTIVATE_HTON, convert<kelvo_common_msg_reg_activate_interpret_hton>},
    {KELVO_OPERATION_CFG_GRP, cfg_grp},
};

constexpr bool rows_are_in_order() {
    std::uint32_t number = 0;
    for (const Row& row : kRows) {
        if (row.operation != number++) return false;
    }
    return number == kOperationCount;
}
static_assert(rows_are_in_order());

constexpr const char* kNames[] = {
#define KELVO_TEST_NAME(number, name, function) #function,
    KELVO_MSG_OPERATION_LIST(KELVO_TEST_NAME)
#undef KELVO_TEST_NAME
};

}  // namespace

const char* name_of(kelvo_msg_operation operation) {
    return kNames[operation];
}

void run(kelvo_msg_operation operation, void* block, std::uint32_t length, Outcome& outcome) {
    Call call(block, length, outcome);
    kRows[operation].run(call);
}

void Outcome::print(std::ostream& out) const {
    out << "status 0x" << std::hex << status;
    for (const Output& output : outputs) out << ", " << output.name << " 0x" << output.value;
    out << std::dec;
    if (!text.empty()) out << ", \"" << text << '"';
}

}  // namespace kelvo::test
