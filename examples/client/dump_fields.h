// SPDX-License-Identifier: Apache-2.0
//
// The fields of each layout struct that is dumped, beyond the common header.
#pragma once

#include <cstddef>
#include <type_traits>

#include "dump.h"
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

namespace example {

template <typename T>
inline constexpr bool is_cell = std::is_same_v<T, kelvo_length_cell>;

#define F(type, member)                                                                            \
    Field {                                                                                        \
        offsetof(type, member), sizeof(type::member), #member, is_cell<decltype(type::member)>     \
    }

// ---- requests

inline constexpr Field kBind[] = {F(kelvo_msg_bind, version), F(kelvo_msg_bind, reserved),
                                  F(kelvo_msg_bind, parameters)};
inline constexpr Field kItem[] = {F(kelvo_msg_item_request, reserved),
                                  F(kelvo_msg_item_request, argument),
                                  F(kelvo_msg_item_request, names), F(kelvo_msg_item_request, type),
                                  F(kelvo_msg_item_request, path)};
inline constexpr Field kVerify[] = {F(kelvo_msg_item_verify, type),
                                    F(kelvo_msg_item_verify, argument),
                                    F(kelvo_msg_item_verify, path)};
inline constexpr Field kList[] = {F(kelvo_msg_list, word1),  F(kelvo_msg_list, value1),
                                  F(kelvo_msg_list, value2), F(kelvo_msg_list, word2),
                                  F(kelvo_msg_list, word3),  F(kelvo_msg_list, word4)};
inline constexpr Field kFind[] = {F(kelvo_msg_find, word1),  F(kelvo_msg_find, value1),
                                  F(kelvo_msg_find, value2), F(kelvo_msg_find, word2),
                                  F(kelvo_msg_find, word3),  F(kelvo_msg_find, word4),
                                  F(kelvo_msg_find, word5),  F(kelvo_msg_find, word6),
                                  F(kelvo_msg_find, word7),  F(kelvo_msg_find, fill)};
inline constexpr Field kFindGroup[] = {F(kelvo_msg_find_group, group),
                                       F(kelvo_msg_find_group, fill)};
inline constexpr Field kGetItems[] = {F(kelvo_msg_get_items, count),
                                      F(kelvo_msg_get_items, argument)};
inline constexpr Field kStart[] = {
    F(kelvo_msg_transaction_start, first), F(kelvo_msg_transaction_start, second),
    F(kelvo_msg_transaction_start, options), F(kelvo_msg_transaction_start, fill)};
inline constexpr Field kCopy[] = {F(kelvo_msg_copy, argument), F(kelvo_msg_copy, fill)};
inline constexpr Field kBulk[] = {F(kelvo_msg_bulk, word1),  F(kelvo_msg_bulk, word2),
                                  F(kelvo_msg_bulk, count),  F(kelvo_msg_bulk, word3),
                                  F(kelvo_msg_bulk, word4),  F(kelvo_msg_bulk, untouched),
                                  F(kelvo_msg_bulk, leading)};
inline constexpr Field kBulkItem[] = {F(kelvo_msg_bulk_item, operation),
                                      F(kelvo_msg_bulk_item, word2), F(kelvo_msg_bulk_item, type),
                                      F(kelvo_msg_bulk_item, word4)};
inline constexpr Field kNotifier[] = {
    F(kelvo_msg_nfn_reg, registration_id), F(kelvo_msg_nfn_reg, second_word),
    F(kelvo_msg_nfn_reg, client_block),    F(kelvo_msg_nfn_reg, parameter),
    F(kelvo_msg_nfn_reg, unused),          F(kelvo_msg_nfn_reg, path)};
inline constexpr Field kVerifier[] = {F(kelvo_msg_vrfn_reg, registration_id),
                                      F(kelvo_msg_vrfn_reg, w2),
                                      F(kelvo_msg_vrfn_reg, client_block),
                                      F(kelvo_msg_vrfn_reg, w3),
                                      F(kelvo_msg_vrfn_reg, w4),
                                      F(kelvo_msg_vrfn_reg, w5),
                                      F(kelvo_msg_vrfn_reg, w6),
                                      F(kelvo_msg_vrfn_reg, count),
                                      F(kelvo_msg_vrfn_reg, w7)};
inline constexpr Field kUnregister[] = {F(kelvo_msg_unreg, registration_id)};
inline constexpr Field kErrorSet[] = {
    F(kelvo_msg_errorset, unconverted), F(kelvo_msg_errorset, word1), F(kelvo_msg_errorset, count),
    F(kelvo_msg_errorset, word2), F(kelvo_msg_errorset, unconverted2)};
inline constexpr Field kErrorEntry[] = {
    F(kelvo_errorset_entry, word1), F(kelvo_errorset_entry, word2),
    F(kelvo_errorset_entry, unconverted), F(kelvo_errorset_entry, data)};

// ---- replies and events

inline constexpr Field kResult[] = {
    F(kelvo_rply_item_get, word), F(kelvo_rply_item_get, transport2),
    F(kelvo_rply_item_get, result), F(kelvo_rply_item_get, type), F(kelvo_rply_item_get, length)};
inline constexpr Field kListReply[] = {F(kelvo_rply_list, groups), F(kelvo_rply_list, transport2)};
inline constexpr Field kGroup[] = {
    F(kelvo_rply_list_group, value1), F(kelvo_rply_list_group, value2),
    F(kelvo_rply_list_group, word1),  F(kelvo_rply_list_group, entries),
    F(kelvo_rply_list_group, word2),  F(kelvo_rply_list_group, word3)};
inline constexpr Field kListEntry[] = {F(kelvo_rply_list_entry, word1),
                                       F(kelvo_rply_list_entry, word2),
                                       F(kelvo_rply_list_entry, name)};
inline constexpr Field kDatalistEntry[] = {F(kelvo_rply_datalist_entry, type),
                                           F(kelvo_rply_datalist_entry, word2),
                                           F(kelvo_rply_datalist_entry, name)};
inline constexpr Field kFindGroupReply[] = {F(kelvo_rply_find_group, word)};
inline constexpr Field kBulkReply[] = {
    F(kelvo_rply_bulk, word1), F(kelvo_rply_bulk, word2), F(kelvo_rply_bulk, untouched),
    F(kelvo_rply_bulk, word3), F(kelvo_rply_bulk, word4), F(kelvo_rply_bulk, untouched2)};
inline constexpr Field kBulkReplyItem[] = {
    F(kelvo_rply_bulk_item, word1), F(kelvo_rply_bulk_item, type), F(kelvo_rply_bulk_item, word3),
    F(kelvo_rply_bulk_item, word4)};
inline constexpr Field kCallback[] = {
    F(kelvo_rply_cb_verify, word1), F(kelvo_rply_cb_verify, word2),
    F(kelvo_rply_cb_verify, count), F(kelvo_rply_cb_verify, unconverted),
    F(kelvo_rply_cb_verify, words), F(kelvo_rply_cb_verify, unconverted2)};
inline constexpr Field kCallbackEntry[] = {
    F(kelvo_cb_verify_entry, word1), F(kelvo_cb_verify_entry, word2),
    F(kelvo_cb_verify_entry, type), F(kelvo_cb_verify_entry, word3),
    F(kelvo_cb_verify_entry, path)};
inline constexpr Field kNotifySet[] = {F(kelvo_msg_notifyset, count)};
inline constexpr Field kNotifyEntry[] = {F(kelvo_msg_notifyset_entry, kind),
                                         F(kelvo_msg_notifyset_entry, type),
                                         F(kelvo_msg_notifyset_entry, name_length)};

#undef F

}  // namespace example
