// Names of commands, access categories and directions.
#include "core/names.h"

#include <gtest/gtest.h>
#include <string>

namespace {

TEST(Names, OfAccessCategories)
{
    EXPECT_STREQ(tspec_ac_name(0), "best-effort");
    EXPECT_STREQ(tspec_ac_name(1), "background");
    EXPECT_STREQ(tspec_ac_name(2), "video");
    EXPECT_STREQ(tspec_ac_name(3), "voice");
    for (uint32_t ac = 4; ac < 256; ac++) {
        ASSERT_STREQ(tspec_ac_name(static_cast<uint8_t>(ac)), "unknown");
    }
}

TEST(Names, OfDirections)
{
    EXPECT_STREQ(tspec_dir_name(0), "uplink");
    EXPECT_STREQ(tspec_dir_name(1), "downlink");
    EXPECT_STREQ(tspec_dir_name(2), "reserved");
    EXPECT_STREQ(tspec_dir_name(3), "bidirectional");
    for (uint32_t direction = 4; direction < 256; direction++) {
        ASSERT_STREQ(tspec_dir_name(static_cast<uint8_t>(direction)), "reserved");
    }
}

TEST(Names, OfCommands)
{
    const char *names[] = {
        "TSPEC_ADDTS_REQ_CMD",         "TSPEC_ADDTS_RESP_CMD",   "TSPEC_DELTS_REQ_CMD",
        "TSPEC_TS_INACTIVE_CMD",       "TSPEC_DELTS_CMD",        "TSPEC_TS_EXCEED_TIME_CMD",
        "TSPEC_TS_UNAUTH_TRAFFIC_CMD", "TSPEC_STA_DISASSOC_CMD", "TSPEC_FBT_ADDTS_CMD"};
    for (uint32_t cmd = 0; cmd < 256; cmd++) {
        const char *name = tspec_cmd_name(static_cast<uint8_t>(cmd));
        if (cmd >= 1 && cmd <= 9) {
            ASSERT_STREQ(name, names[cmd - 1]);
        } else {
            ASSERT_EQ(name, nullptr) << cmd;
        }
    }
}

TEST(Names, OfCommandsThatThePacketDumpKnows)
{
    for (uint32_t cmd = 0; cmd < 256; cmd++) {
        const tspec_cmd_info_t *info = tspec_cmd_info(static_cast<uint8_t>(cmd));
        if (cmd < 1 || cmd > 8) {
            ASSERT_EQ(info, nullptr) << cmd;
            continue;
        }
        const bool from_mapd = cmd == 2 || cmd == 5;
        ASSERT_NE(info, nullptr);
        EXPECT_STREQ(info->name, tspec_cmd_name(static_cast<uint8_t>(cmd)));
        EXPECT_STREQ(info->layout, from_mapd ? "tspec_mapd_msg_t" : "tspec_hostapd_msg_t");
        EXPECT_EQ(info->size, from_mapd ? 120U : 148U);
    }
}

} // namespace
