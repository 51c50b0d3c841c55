// SPDX-License-Identifier: Apache-2.0
#include "models/models.h"

#include "models/bulk.h"
#include "models/callback.h"
#include "models/conversion.h"
#include "models/item.h"
#include "models/list.h"
#include "models/registration.h"
#include "models/transaction.h"

namespace kelvo::model {

namespace {

/// The steps of a model with what else they depend on.
template <auto kSteps, auto... kVariant>
u32 steps(Message& m, Expected& e) {
    return kSteps(m, e, kVariant...);
}

constexpr Model kModels[] = {
    // clang-format off
    {KELVO_OPERATION_BIND, 80, {80, 4}, 5, steps<bind>},
    {KELVO_OPERATION_GET, 72, {0, 0}, 5, steps<get, false>},
    {KELVO_OPERATION_GET_NTOH, 72, {52, 0}, 5, steps<get, true>},
    {KELVO_OPERATION_SET, 72, {0, 0}, 5, steps<item, Item::set, false>},
    {KELVO_OPERATION_SET_NTOH, 72, {48, 0}, 5, steps<item, Item::set, true>},
    {KELVO_OPERATION_CREATE, 72, {0, 0}, 5, steps<item, Item::create, false>},
    {KELVO_OPERATION_CREATE_NTOH, 72, {48, 0}, 5, steps<item, Item::create, true>},
    {KELVO_OPERATION_DELETE, 72, {0, 0}, 5, steps<item, Item::remove, false>},
    {KELVO_OPERATION_DELETE_NTOH, 72, {48, 0}, 5, steps<item, Item::remove, true>},
    {KELVO_OPERATION_VERIFY, 56, {0, 0}, 5, steps<verify, false>},
    {KELVO_OPERATION_VERIFY_NTOH, 56, {48, 0}, 5, steps<verify, true>},
    {KELVO_OPERATION_GET_REPLY_NTOH, 40, {36, 0}, 5, steps<get_reply>},
    {KELVO_OPERATION_GET_REPLY_HTON, 40, {0, 0}, 5, steps<nothing>},
    {KELVO_OPERATION_GET_ITEMS, 56, {0, 0}, 3, steps<get_items, false>},
    {KELVO_OPERATION_GET_ITEMS_NTOH, 56, {48, 0}, 3, steps<get_items, true>},
    {KELVO_OPERATION_COPY, 56, {44, 4}, 5, steps<copy>},
    {KELVO_OPERATION_FIND, 88, {0, 0}, 5, steps<find, Way::host>},
    {KELVO_OPERATION_FIND_NTOH, 88, {84, 4}, 5, steps<find, Way::receive>},
    {KELVO_OPERATION_FIND_HTON, 88, {84, 0}, 5, steps<find, Way::send>},
    {KELVO_OPERATION_FIND_GROUP_NTOH, 48, {44, 4}, 5, steps<find_group>},
    {KELVO_OPERATION_FIND_GROUP_REPLY_NTOH, 20, {0, 0}, 5, steps<find_group_reply>},
    {KELVO_OPERATION_LIST, 72, {72, 4}, 5, steps<list>},
    {KELVO_OPERATION_DATALIST, 72, {72, 4}, 5, steps<list>},
    {KELVO_OPERATION_LIST_REPLY_NTOH, 56, {0, 0, kNever}, 2, steps<list_reply>},
    {KELVO_OPERATION_DATALIST_REPLY_NTOH, 56, {0, 0, kNever}, 2, steps<datalist_reply>},
    {KELVO_OPERATION_TRANSACTION_START, 64, {60, 0}, 5, steps<transaction_start>},
    {KELVO_OPERATION_TRANSACTION_COMMIT, 40, {0, 0}, 5, steps<transaction_end>},
    {KELVO_OPERATION_TRANSACTION_ABORT, 40, {0, 0}, 5, steps<transaction_end>},
    {KELVO_OPERATION_WRITE_LOCK, 40, {0, 4}, 5, steps<lock>},
    {KELVO_OPERATION_READ_LOCK, 40, {0, 4}, 5, steps<lock>},
    {KELVO_OPERATION_UNLOCK, 40, {0, 4}, 5, steps<lock>},
    {KELVO_OPERATION_BULK, 72, {68, 0}, 5, steps<bulk, Drive::interpret>},
    {KELVO_OPERATION_BULK_NEXT, 72, {68, 16}, 4, steps<bulk, Drive::next>},
    {KELVO_OPERATION_BULK_BACK, 72, {68, 16}, 4, steps<bulk, Drive::back>},
    {KELVO_OPERATION_BULK_REPLY, 40, {36, 0}, 5, steps<bulk_reply, Drive::interpret>},
    {KELVO_OPERATION_BULK_REPLY_NEXT, 40, {36, 16}, 4, steps<bulk_reply, Drive::next>},
    {KELVO_OPERATION_BULK_REPLY_BACK, 40, {36, 16}, 4, steps<bulk_reply, Drive::back>},
    {KELVO_OPERATION_NOTIFYSET, 32, {0, 8}, 2, steps<notifyset, false, Drive::interpret>},
    {KELVO_OPERATION_NOTIFYSET_VALUES, 32, {0, 8}, 2, steps<notifyset, true, Drive::next>},
    {KELVO_OPERATION_NOTIFYSET_NEXT, 32, {0, 8}, 2, steps<notifyset, false, Drive::next>},
    {KELVO_OPERATION_APPLY_REPLY_NTOH, 48, {0, 0}, 5, steps<apply_reply, true>},
    {KELVO_OPERATION_APPLY_REPLY_HTON, 48, {0, 0}, 5, steps<apply_reply, false>},
    {KELVO_OPERATION_VERIFY_REPLY_NTOH, 64, {0, 16}, 2, steps<verify_reply_ntoh>},
    {KELVO_OPERATION_VERIFY_REPLY_HTON, 64, {0, 8}, 2, steps<verify_reply_hton>},
    {KELVO_OPERATION_ERRORSET_NTOH, 64, {0, 8}, 3, steps<errorset, true>},
    {KELVO_OPERATION_ERRORSET_HTON, 64, {0, 0}, 3, steps<errorset, false>},
    {KELVO_OPERATION_SM_CB_RESPONSE_NTOH, 56, {0, 0}, 5, steps<sm_cb_response, true>},
    {KELVO_OPERATION_SM_CB_RESPONSE_HTON, 56, {0, 0}, 5, steps<sm_cb_response, false>},
    {KELVO_OPERATION_SMSET_REPLY_NTOH, 40, {0, 0}, 3, steps<smset_reply, true>},
    {KELVO_OPERATION_SMSET_REPLY_HTON, 40, {0, 0}, 3, steps<smset_reply, false>},
    {KELVO_OPERATION_TEMP_NTOH, 0, {0, 0}, 5, steps<nothing>},
    {KELVO_OPERATION_TEMP_HTON, 0, {0, 0}, 5, steps<nothing>},
    {KELVO_OPERATION_TEMP_REPLY_NTOH, 0, {0, 0}, 5, steps<nothing>},
    {KELVO_OPERATION_TEMP_REPLY_HTON, 0, {0, 0}, 5, steps<nothing>},
    {KELVO_OPERATION_NFN_REG, 128, {0, 0}, 5, steps<nfn_reg>},
    {KELVO_OPERATION_NFN_REG_NTOH, 128, {116, 4}, 5, steps<convert_nfn_reg>},
    {KELVO_OPERATION_NFN_REG_HTON, 128, {116, 4}, 5, steps<convert_nfn_reg>},
    {KELVO_OPERATION_NFN_UNREG, 44, {0, 0}, 5, steps<unreg>},
    {KELVO_OPERATION_VRFN_REG, 136, {0, 0}, 3, steps<vrfn_reg>},
    {KELVO_OPERATION_VRFN_REG_NTOH, 136, {136, 4, 136}, 2, steps<convert_vrfn_reg, true>},
    {KELVO_OPERATION_VRFN_REG_HTON, 136, {136, 4, 136}, 2, steps<convert_vrfn_reg, false>},
    {KELVO_OPERATION_VRFN_UNREG, 44, {0, 0}, 5, steps<unreg>},
    {KELVO_OPERATION_VS_REG, 128, {0, 0}, 4, steps<vs_reg>},
    {KELVO_OPERATION_VS_REG_NTOH, 128, {116, 8}, 5, steps<convert_vs_reg, true>},
    {KELVO_OPERATION_VS_REG_HTON, 128, {116, 0}, 5, steps<convert_vs_reg, false>},
    {KELVO_OPERATION_VS_UNREG, 56, {0, 0}, 4, steps<startup_unreg>},
    {KELVO_OPERATION_EDM_REG, 136, {0, 0}, 5, steps<edm_reg>},
    {KELVO_OPERATION_EDM_REG_NTOH, 136, {124, 4}, 5, steps<convert_edm_reg, true>},
    {KELVO_OPERATION_EDM_REG_HTON, 136, {124, 4}, 5, steps<convert_edm_reg, false>},
    {KELVO_OPERATION_EDM_UNREG, 44, {0, 0}, 5, steps<unreg>},
    {KELVO_OPERATION_EDMS_REG, 120, {0, 0}, 4, steps<edms_reg>},
    {KELVO_OPERATION_EDMS_REG_NTOH, 120, {108, 8}, 5, steps<convert_edms_reg, true>},
    {KELVO_OPERATION_EDMS_REG_HTON, 120, {108, 0}, 5, steps<convert_edms_reg, false>},
    {KELVO_OPERATION_EDMS_UNREG, 56, {0, 0}, 4, steps<startup_unreg>},
    {KELVO_OPERATION_REG_ACTIVATE_NTOH, 56, {0, 0, kNever}, 5, steps<convert_reg_activate, true>},
    {KELVO_OPERATION_REG_ACTIVATE_HTON, 56, {0, 0, kNever}, 5, steps<convert_reg_activate, false>},
    {KELVO_OPERATION_CFG_GRP, 48, {0, 4}, 3, steps<cfg_grp>},
    // clang-format on
};

constexpr bool models_are_in_order() {
    u32 number = 0;
    for (const Model& model : kModels) {
        if (model.operation != number++) return false;
    }
    return number == KELVO_OPERATION_COUNT;
}
static_assert(models_are_in_order());

}  // namespace

const Model& model_of(kelvo_msg_operation operation) {
    return kModels[operation];
}

}  // namespace kelvo::model
