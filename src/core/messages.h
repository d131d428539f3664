// One constructor for each message that the daemon builds: all zeros, so that
// reserved bytes travel as 0, but for the bytes that say what it is.
#pragma once

#include "tspec/message.h"

#include <cstdint>

constexpr tspec_hostapd_msg_t tspec_new_hostapd_msg(uint8_t cmd)
{
    tspec_hostapd_msg_t msg = {};
    msg.msg_type = TSPEC_PEER_MSG;
    msg.cmd = cmd;
    return msg;
}

constexpr tspec_mapd_msg_t tspec_new_mapd_msg(uint8_t cmd)
{
    tspec_mapd_msg_t msg = {};
    msg.msg_type = TSPEC_PEER_MSG;
    msg.cmd = cmd;
    return msg;
}

constexpr tspec_mapd_status_msg_t tspec_new_mapd_status_msg(uint8_t ac_idx)
{
    tspec_mapd_status_msg_t msg = {};
    msg.msg_type = TSPEC_MAPD_STATUS_MSG;
    msg.cmd = TSPEC_MAPD_STATUS_CMD;
    msg.ac_idx = ac_idx;
    return msg;
}

constexpr tspec_frame_dur_req_t tspec_new_frame_dur_req()
{
    tspec_frame_dur_req_t req = {};
    req.marker = TSPEC_FRAME_DUR_MARKER;
    req.reply_port = TSPEC_FRAME_DUR_REPLY_PORT;
    return req;
}
