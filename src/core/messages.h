// One constructor for each message that the daemon builds: all zeros, so that
// reserved bytes travel as 0, but for the bytes that say what it is. And what
// the messages of two peers have in common.
#pragma once

#include "tspec/message.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

// A message of hostapd or mapd.
template <typename Message>
constexpr Message tspec_new_msg(uint8_t cmd)
{
    Message msg = {};
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

// Whose stream it is stands in the same bytes of hostapd's and of mapd's
// messages, and is copied between them as one piece: from peer_addr1 to ssid.
// hostapd's sta_addr is mapd's sta_mac there.
constexpr size_t TSPEC_IDENTITY_POS = offsetof(tspec_mapd_msg_t, peer_addr1);
constexpr size_t TSPEC_IDENTITY_SIZE =
    offsetof(tspec_mapd_msg_t, ssid) + TSPEC_SSID_LEN - TSPEC_IDENTITY_POS;
static_assert(offsetof(tspec_hostapd_msg_t, peer_addr1) == TSPEC_IDENTITY_POS);
static_assert(offsetof(tspec_hostapd_msg_t, peer_addr2) == offsetof(tspec_mapd_msg_t, peer_addr2));
static_assert(offsetof(tspec_hostapd_msg_t, sta_addr) == offsetof(tspec_mapd_msg_t, sta_mac));
static_assert(offsetof(tspec_hostapd_msg_t, radio_unit) == offsetof(tspec_mapd_msg_t, radio_unit));
static_assert(offsetof(tspec_hostapd_msg_t, ssid) == offsetof(tspec_mapd_msg_t, ssid));

template <typename To, typename From>
void tspec_copy_identity(To &to, const From &from)
{
    memcpy(reinterpret_cast<uint8_t *>(&to) + TSPEC_IDENTITY_POS,
           reinterpret_cast<const uint8_t *>(&from) + TSPEC_IDENTITY_POS, TSPEC_IDENTITY_SIZE);
}
