// SPDX-License-Identifier: Apache-2.0
//
// The operations of each target of received messages. The first byte of an input chooses one by its
// place: adding an operation at the end keeps what saved inputs mean.
#pragma once

#include <initializer_list>

#include "kelvo_common_msg_guard.h"

namespace kelvo::fuzz {

using Operations = std::initializer_list<kelvo_msg_operation>;

inline constexpr Operations kItemOperations = {
    KELVO_OPERATION_GET,         KELVO_OPERATION_GET_NTOH,       KELVO_OPERATION_SET,
    KELVO_OPERATION_SET_NTOH,    KELVO_OPERATION_CREATE,         KELVO_OPERATION_CREATE_NTOH,
    KELVO_OPERATION_DELETE,      KELVO_OPERATION_DELETE_NTOH,    KELVO_OPERATION_VERIFY,
    KELVO_OPERATION_VERIFY_NTOH, KELVO_OPERATION_GET_REPLY_NTOH, KELVO_OPERATION_GET_REPLY_HTON,
    KELVO_OPERATION_BIND,        KELVO_OPERATION_GET_ITEMS,      KELVO_OPERATION_GET_ITEMS_NTOH,
    KELVO_OPERATION_COPY};

inline constexpr Operations kListOperations = {KELVO_OPERATION_LIST,
                                               KELVO_OPERATION_DATALIST,
                                               KELVO_OPERATION_LIST_REPLY_NTOH,
                                               KELVO_OPERATION_DATALIST_REPLY_NTOH,
                                               KELVO_OPERATION_FIND,
                                               KELVO_OPERATION_FIND_NTOH,
                                               KELVO_OPERATION_FIND_HTON,
                                               KELVO_OPERATION_FIND_GROUP_NTOH,
                                               KELVO_OPERATION_FIND_GROUP_REPLY_NTOH,
                                               KELVO_OPERATION_TRANSACTION_START,
                                               KELVO_OPERATION_TRANSACTION_COMMIT,
                                               KELVO_OPERATION_TRANSACTION_ABORT,
                                               KELVO_OPERATION_WRITE_LOCK,
                                               KELVO_OPERATION_READ_LOCK,
                                               KELVO_OPERATION_UNLOCK};

inline constexpr Operations kBulkOperations = {
    KELVO_OPERATION_BULK,       KELVO_OPERATION_BULK_NEXT,       KELVO_OPERATION_BULK_BACK,
    KELVO_OPERATION_BULK_REPLY, KELVO_OPERATION_BULK_REPLY_NEXT, KELVO_OPERATION_BULK_REPLY_BACK};

inline constexpr Operations kNotifyOperations = {
    KELVO_OPERATION_NOTIFYSET, KELVO_OPERATION_NOTIFYSET_NEXT, KELVO_OPERATION_NOTIFYSET_VALUES};

inline constexpr Operations kRegistrationOperations = {KELVO_OPERATION_NFN_REG,
                                                       KELVO_OPERATION_NFN_REG_NTOH,
                                                       KELVO_OPERATION_NFN_REG_HTON,
                                                       KELVO_OPERATION_NFN_UNREG,
                                                       KELVO_OPERATION_VRFN_REG,
                                                       KELVO_OPERATION_VRFN_REG_NTOH,
                                                       KELVO_OPERATION_VRFN_REG_HTON,
                                                       KELVO_OPERATION_VRFN_UNREG,
                                                       KELVO_OPERATION_VS_REG,
                                                       KELVO_OPERATION_VS_REG_NTOH,
                                                       KELVO_OPERATION_VS_REG_HTON,
                                                       KELVO_OPERATION_VS_UNREG,
                                                       KELVO_OPERATION_EDM_REG,
                                                       KELVO_OPERATION_EDM_REG_NTOH,
                                                       KELVO_OPERATION_EDM_REG_HTON,
                                                       KELVO_OPERATION_EDM_UNREG,
                                                       KELVO_OPERATION_EDMS_REG,
                                                       KELVO_OPERATION_EDMS_REG_NTOH,
                                                       KELVO_OPERATION_EDMS_REG_HTON,
                                                       KELVO_OPERATION_EDMS_UNREG,
                                                       KELVO_OPERATION_REG_ACTIVATE_NTOH,
                                                       KELVO_OPERATION_REG_ACTIVATE_HTON,
                                                       KELVO_OPERATION_CFG_GRP};

inline constexpr Operations kCallbackOperations = {
    KELVO_OPERATION_APPLY_REPLY_NTOH,    KELVO_OPERATION_APPLY_REPLY_HTON,
    KELVO_OPERATION_VERIFY_REPLY_NTOH,   KELVO_OPERATION_VERIFY_REPLY_HTON,
    KELVO_OPERATION_ERRORSET_NTOH,       KELVO_OPERATION_ERRORSET_HTON,
    KELVO_OPERATION_SM_CB_RESPONSE_NTOH, KELVO_OPERATION_SM_CB_RESPONSE_HTON,
    KELVO_OPERATION_SMSET_REPLY_NTOH,    KELVO_OPERATION_SMSET_REPLY_HTON,
    KELVO_OPERATION_TEMP_NTOH,           KELVO_OPERATION_TEMP_HTON,
    KELVO_OPERATION_TEMP_REPLY_NTOH,     KELVO_OPERATION_TEMP_REPLY_HTON};

/// A target and its operations.
struct NamedOperations {
    const char* name;
    Operations operations;
};

inline constexpr NamedOperations kFamilies[] = {{"item", kItemOperations},
                                                {"list", kListOperations},
                                                {"bulk", kBulkOperations},
                                                {"notify", kNotifyOperations},
                                                {"registration", kRegistrationOperations},
                                                {"callback", kCallbackOperations}};

}  // namespace kelvo::fuzz
