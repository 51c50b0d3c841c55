// SPDX-License-Identifier: Apache-2.0
//
// Message types: the two texts of each, written out here a second time.
#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "kelvo_common_msg.h"

namespace {

struct Row {
    uint32_t type;
    const char* tag;
    const char* description;
};

constexpr std::array<Row, 72> kRows = {{
    {0, "BIND        ", "bind"},
    {1, "BIND REV    ", "bind reverse"},
    {2, "UNBIND      ", "unbind"},
    {3, "ITEM_GET    ", "get"},
    {4, "ITEM_SET    ", "set"},
    {5, "FIND        ", "find"},
    {6, "FIND_DATA   ", "find data"},
    {7, "ITEM_CREATE ", "create"},
    {8, "ITEM_DELETE ", "delete"},
    {9, "COPY        ", "copy"},
    {10, "ITEM_VERIFY ", "verify"},
    {11, "TRANS_START ", "trans start"},
    {12, "TRANS_COMMIT", "trans commit"},
    {13, "TRANS_ABORT ", "trans abort"},
    {14, "LIST        ", "list"},
    {15, "DATALIST    ", "datalist"},
    {16, "GET LRG RPLY", "large reply"},
    {17, "EDM REG     ", "EDM reg"},
    {18, "EDM UNREG   ", "EDM unreg"},
    {19, "NFN REG     ", "not reg"},
    {20, "NFN UNREG   ", "not unreg"},
    {21, "VRFN REG    ", "ver reg"},
    {22, "VRFN UNREG  ", "ver unreg"},
    {23, "VS  REG     ", "VS reg"},
    {24, "VS UNREG    ", "VS unreg"},
    {25, "CB GET      ", "callback get"},
    {26, "CB RPLY EDM ", "EDM response"},
    {27, "CB RPLY PREV", "preverify response"},
    {28, "CB RPLY VER ", "verify response"},
    {29, "CB RPLY APLY", "apply response"},
    {30, "CB RPLY TRNS", "td response"},
    {31, "CB RPLY INV ", "invalid"},
    {32, "CB RPLY VS  ", "vs response"},
    {33, "CB RPLY ERR ", "callback error"},
    {34, "VRFN SUSPEND", "ver suspend"},
    {35, "VRFN RESUME ", "ver resume"},
    {36, "LCK DFT TIME", "set timeout"},
    {37, "ITEM WRLOCK ", "write lock"},
    {38, "ITEM RDLOCK ", "read lock"},
    {39, "ITEM UNLOCK ", "unlock"},
    {40, "EDM NFN GEN ", "EDM notification"},
    {41, "CB RPLY EDMS", "EDMS response"},
    {42, "EDMS REG    ", "EDMS reg"},
    {43, "EDMS UNREG  ", "EDMS unreg"},
    {44, "ITEM CON DEL", "cond delete"},
    {45, "ACK         ", "ack"},
    {46, "BULK        ", "bulk"},
    {47, "LARGE REQ   ", "large request"},
    {48, "RES LRG REQ ", "large request resume"},
    {49, "REG ACTIVATE", "activate registration"},
    {50, "VS UNREADY  ", "VS unready"},
    {51, "RESTART TMER", "timeout restart"},
    {52, "GET ITEMS   ", "get items"},
    {53, "TRGR RESYNC ", "trigger replica resync"},
    {54, "VICE STATUS ", "VICR status"},
    {55, "GRP LABEL   ", "group label"},
    {56, "ISSU END    ", "ISSU end"},
    {57, "BULK BIND RQ", "bulk bind req"},
    {58, "BULK REG REQ", "bulk reg req"},
    {59, "", "SetScanAplyErr"},
    {60, "", "get apply err"},
    {61, "", "get unscanned"},
    {62, "", "clr apply err"},
    {63, "", "clr unscanned"},
    {64, "PING        ", "ping"},
    {65, "", "cfg_grp_get"},
    {66, "", "item_get_inh"},
    {67, "FIND GRP AG ", "find_grp_ag"},
    {68, "FIND GRP AH ", "find_grp_ah"},
    {69, "CCV UPDATE  ", "ccv_update"},
    {70, "BULK RESUME ", "bulk_resume"},
    {71, "BULK ABORT  ", "bulk_abort"},
}};

TEST(MessageTypes, EveryTypeHasItsTagAndDescription) {
    for (uint32_t i = 0; i < kRows.size(); ++i) {
        SCOPED_TRACE(i);
        ASSERT_EQ(kRows[i].type, i);
        EXPECT_STREQ(kelvo_comm_msgtype_desc(i), kRows[i].tag);
        EXPECT_STREQ(kelvo_comm_msg_desc(i), kRows[i].description);
    }
}

TEST(MessageTypes, EveryTagThatIsThereHasTwelveCharacters) {
    for (uint32_t i = 0; i < 100; ++i) {
        const std::size_t length = std::strlen(kelvo_comm_msgtype_desc(i));
        EXPECT_TRUE(length == 0 || length == 12) << i;
    }
}

TEST(MessageTypes, AnUnknownTypeHasADescriptionButNoTag) {
    for (const uint32_t type : {72U, 73U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        EXPECT_STREQ(kelvo_comm_msg_desc(type), "Unknown type") << type;
        EXPECT_STREQ(kelvo_comm_msgtype_desc(type), "") << type;
    }
}

TEST(MessageTypes, SevenTypesHaveADescriptionButNoTag) {
    for (const uint32_t type : {59U, 60U, 61U, 62U, 63U, 65U, 66U}) {
        EXPECT_STREQ(kelvo_comm_msgtype_desc(type), "") << type;
        EXPECT_STRNE(kelvo_comm_msg_desc(type), "Unknown type") << type;
    }
    EXPECT_STREQ(kelvo_comm_msg_desc(59), "SetScanAplyErr");
}

TEST(MessageTypes, TagAndDescriptionDisagreeWhereTheyAlwaysDid) {
    EXPECT_STREQ(kelvo_comm_msgtype_desc(KELVO_MSG_VICR_STATUS), "VICE STATUS ");
    EXPECT_STREQ(kelvo_comm_msg_desc(KELVO_MSG_VICR_STATUS), "VICR status");
    EXPECT_STREQ(kelvo_comm_msgtype_desc(KELVO_MSG_VS_REG), "VS  REG     ");
}

}  // namespace
