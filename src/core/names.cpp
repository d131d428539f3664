#include "core/names.h"

#include "tspec/message.h"

#include <array>

static constexpr uint32_t HOSTAPD_SIZE = sizeof(tspec_hostapd_msg_t);
static constexpr uint32_t MAPD_SIZE = sizeof(tspec_mapd_msg_t);

// By command code. A command that travels in both structures is listed with the
// one that the daemon receives.
static constexpr std::array<tspec_cmd_info_t, 9> CMD_INFO = {{
    {nullptr, nullptr, 0},
    {"TSPEC_ADDTS_REQ_CMD", "tspec_hostapd_msg_t", HOSTAPD_SIZE},
    {"TSPEC_ADDTS_RESP_CMD", "tspec_mapd_msg_t", MAPD_SIZE},
    {"TSPEC_DELTS_REQ_CMD", "tspec_hostapd_msg_t", HOSTAPD_SIZE},
    {"TSPEC_TS_INACTIVE_CMD", "tspec_hostapd_msg_t", HOSTAPD_SIZE},
    {"TSPEC_DELTS_CMD", "tspec_mapd_msg_t", MAPD_SIZE},
    {"TSPEC_TS_EXCEED_TIME_CMD", "tspec_hostapd_msg_t", HOSTAPD_SIZE},
    {"TSPEC_TS_UNAUTH_TRAFFIC_CMD", "tspec_hostapd_msg_t", HOSTAPD_SIZE},
    {"TSPEC_STA_DISASSOC_CMD", "tspec_hostapd_msg_t", HOSTAPD_SIZE},
}};

const tspec_cmd_info_t *tspec_cmd_info(uint8_t cmd)
{
    if (cmd >= CMD_INFO.size() || CMD_INFO[cmd].name == nullptr) {
        return nullptr;
    }
    return &CMD_INFO[cmd];
}

const char *tspec_cmd_name(uint8_t cmd)
{
    if (cmd == TSPEC_FBT_ADDTS_CMD) {
        return "TSPEC_FBT_ADDTS_CMD";
    }
    const tspec_cmd_info_t *info = tspec_cmd_info(cmd);
    return info == nullptr ? nullptr : info->name;
}

const char *tspec_ac_name(uint8_t ac_idx)
{
    static constexpr std::array<const char *, TSPEC_NUM_ACS> NAMES = {"best-effort", "background",
                                                                      "video", "voice"};
    return ac_idx < NAMES.size() ? NAMES[ac_idx] : "unknown";
}

const char *tspec_dir_name(uint8_t dir)
{
    static constexpr std::array<const char *, 4> NAMES = {"uplink", "downlink", "reserved",
                                                          "bidirectional"};
    return dir < NAMES.size() ? NAMES[dir] : "reserved";
}
