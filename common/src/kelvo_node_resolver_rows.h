// SPDX-License-Identifier: Apache-2.0
//
// Which server owns which paths: the one list from which the state table is laid out, which is what
// tools draw, and by which the documentation is checked.
//
// How a row reads: components are divided by "/", alternatives within one by "|". "A" and "B" stand
// for any component. "X?" is any component that names a node or an interface; when the caller may
// use regular expressions and it holds one, the result is LOCAL (ALL_LOCAL for a management client)
// instead of the row's, with the row's flags. A row fits every path that it is the beginning of;
// one that closes with " end" fits only the path that stops there.
//
// The first row that fits a path decides. So rows of a name stand before rows of any component, and
// the rows of "oper/iptv/io" before those of "oper/A". Without such a row a path that is the
// beginning of some row is AMBIGUOUS, and any other path is INVALID, both without flags.
//
// A level tries its names in the order in which they come here first, so that what is asked for
// most stands before what is not.
#pragma once

#include "kelvo_node_resolver.h"

namespace kelvo::nr {

struct Row {
    const char* path;
    kelvo_nr_dfa_result result;
    unsigned flags;
};

namespace rows {

inline constexpr auto INVALID = KELVO_NR_DFA_INVALID;
inline constexpr auto SHARED = KELVO_NR_DFA_SHARED;
inline constexpr auto LOCAL = KELVO_NR_DFA_LOCAL;
inline constexpr auto ADMIN = KELVO_NR_DFA_ADMIN;
inline constexpr auto NODE = KELVO_NR_DFA_NODE;
inline constexpr auto IFNAME = KELVO_NR_DFA_IFNAME;

inline constexpr unsigned DEPRECATED = KELVO_NR_PATH_DEPRECATED;
inline constexpr unsigned LOGGED = KELVO_NR_PATH_LOG_DEPRECATED;
inline constexpr unsigned ALL_LOCAL = KELVO_NR_PATH_ALL_LOCAL;
inline constexpr unsigned REGEXP = KELVO_NR_PATH_REGEXP;
inline constexpr unsigned UNVERSIONED = KELVO_NR_PATH_UNVERSIONED;

// clang-format off
inline constexpr Row kAll[] = {
    {"cfg|data|shadow/gl",                 SHARED,  0},
    {"cfg/if/gl",                          SHARED,  DEPRECATED | LOGGED},
    {"cfg|data|shadow/if/act/X?",          IFNAME,  0},
    {"cfg|data|shadow/node/act/X?",        NODE,    0},
    {"cfg|data|shadow/if|node/act end",    LOCAL,   ALL_LOCAL},
    {"cfg|data|shadow/if/pre|tem",         SHARED,  0},
    {"cfg|data|shadow/node/pre",           SHARED,  0},

    {"oper/if/X?",                         IFNAME,  DEPRECATED},
    {"oper/if end",                        LOCAL,   ALL_LOCAL},
    {"oper/iptv/io/trigger",               SHARED,  DEPRECATED},
    {"oper/iptv/io/gl|ifg|nodeg",          SHARED,  0},
    {"oper/iptv/io/slotg",                 SHARED,  DEPRECATED},
    {"oper/iptv/io/if/X?",                 IFNAME,  0},
    {"oper/iptv/io/node/X?",               NODE,    0},
    {"oper/iptv/io/if|node end",           LOCAL,   ALL_LOCAL},
    {"oper/iptv/io/B/if/X?",               IFNAME,  0},
    {"oper/iptv/io/B/node/X?",             NODE,    0},
    {"oper/iptv/io/B/if|node end",         LOCAL,   ALL_LOCAL},
    {"oper/iptv/io/B/ifg",                 SHARED,  0},
    {"oper/config/startup",                SHARED,  DEPRECATED},
    {"oper/diag-timer-ntp-test/X?",        SHARED,  DEPRECATED},
    {"oper/diag-timer-ntp-test end",       INVALID, ALL_LOCAL},
    {"oper/A/gl|ifg|nodeg",                SHARED,  0},
    {"oper/A/slotg",                       SHARED,  DEPRECATED},
    {"oper/A/if/X?",                       IFNAME,  0},
    {"oper/A/node/X?",                     NODE,    0},
    {"oper/A/if|node end",                 LOCAL,   ALL_LOCAL},
    {"oper/A/B/if/X?",                     IFNAME,  0},
    {"oper/A/B/node/X?",                   NODE,    0},
    {"oper/A/B/if|node end",               LOCAL,   ALL_LOCAL},
    {"oper/A/B/ifg",                       SHARED,  0},

    {"action end",                         INVALID, REGEXP},
    {"action/A/gl|ifg|nodeg",              SHARED,  0},
    {"action/A/if/X?",                     IFNAME,  0},
    {"action/A/node/X?",                   NODE,    0},
    {"action/A/if|node end",               LOCAL,   ALL_LOCAL},
    {"action/A/B/if/X?",                   IFNAME,  0},
    {"action/A/B/node/X?",                 NODE,    0},
    {"action/A/B/if|node end",             LOCAL,   ALL_LOCAL},
    {"action/A/B/ifg",                     SHARED,  0},

    {"admin/cfg/gl|rack|rack-slot",        ADMIN,   0},
    {"admin/ipc/gl",                       ADMIN,   UNVERSIONED},
    {"admin/oper|action end",              INVALID, REGEXP},
    {"admin/oper|action/A/gl|rack|rack-slot", ADMIN, 0},
    {"admin/debug/gl",                     ADMIN,   0},

    {"debug/gl",                           SHARED,  0},
    {"debug/node/X?",                      NODE,    0},
    {"debug/node end",                     LOCAL,   ALL_LOCAL},

    {"ipc/gl",                             SHARED,  UNVERSIONED},
    {"ipc/if",                             LOCAL,   DEPRECATED | UNVERSIONED},
    {"ipc/local",                          LOCAL,   UNVERSIONED},

    {"foo|gsr",                            SHARED,  DEPRECATED | LOGGED},
};
// clang-format on

}  // namespace rows
}  // namespace kelvo::nr
