// SPDX-License-Identifier: Apache-2.0
//
// The message catalogue as data, expanded from its list.
#include "kelvo_msg_records.h"

// The logger changes the rate-limit objects; the records point at them and stay constant.
#define KELVO_DEFINE_LIMIT_LIMITED(name) qor_msg_limit qor_msg_limit_kelvoutils_##name = {1, {}};
#define KELVO_DEFINE_LIMIT_UNLIMITED(name)
#define KELVO_LIMIT_OF_LIMITED(name) &qor_msg_limit_kelvoutils_##name
#define KELVO_LIMIT_OF_UNLIMITED(name) nullptr

#define KELVO_DEFINE_RECORD(name, mnemonic, number, severity, options, limited, format)            \
    KELVO_DEFINE_LIMIT_##limited(name)                                                             \
        const qor_msg_rec qor_msg_rec_kelvoutils_##name = {0,                                      \
                                                           format,                                 \
                                                           KELVO_LIMIT_OF_##limited(name),         \
                                                           "KELVOUTILS",                           \
                                                           "KELVO",                                \
                                                           mnemonic,                               \
                                                           options,                                \
                                                           severity,                               \
                                                           {},                                     \
                                                           (KELVO_MSG_FACILITY << 16) | (number),  \
                                                           0};
KELVO_MSG_RECORD_LIST(KELVO_DEFINE_RECORD)
