#include "admission/forward.h"

#include "admission/acu.h"
#include "core/daemon.h"
#include "core/element.h"
#include "core/ipc.h"
#include "core/messages.h"
#include "core/trace.h"
#include "core/ts_info.h"
#include "report/violation.h"

#include <cstdio>
#include <cstring>

#define TSPEC_TRACE_NAME "tspec_msg_send_to_acu"

static int32_t send_to_mapd(const tspec_mapd_msg_t &msg, uint8_t cmd)
{
    if (send_msg_to_other_process(tspec_cb->tspec_sock, TSPEC_MAPD_PORT, &msg, sizeof(msg)) < 0) {
        perror("Error sending data to mapd.\n");
        return -1;
    }
    TSPEC_TRACE(TSPEC_TRACE_HOSTAPD,
                " Sent cmd %u message to mapd socket id %d for TID %u (medium time %u, prev "
                "medium time %u)\r\n",
                cmd, tspec_cb->tspec_sock, tspec_ts_info_decode(msg.tspec.ts_info).tid,
                msg.tspec.medium_time, msg.prev_medium_time);
    return 0;
}

int32_t tspec_msg_send_to_acu(tspec_mapd_msg_t &msg, uint8_t ac_idx, uint8_t cmd)
{
    if (tspec_is_managed()) {
        return send_to_mapd(msg, cmd);
    }
    const int32_t rc = cmd == TSPEC_TS_UNAUTH_TRAFFIC_CMD
                           ? tspec_unauth_traffic_report_notify(msg, ac_idx)
                           : tspec_acu_process(&msg, ac_idx);
    if (rc != 0) {
        perror("Failed to process TSPEC Request message.\n");
        return -1;
    }
    return 0;
}

tspec_mapd_msg_t tspec_build_mapd_delts_msg(const tspec_ts_rec_t &entry, const uint8_t *ts_info,
                                            uint8_t ac_idx)
{
    const tspec_rec_t &rec = *entry.owner;
    auto msg = tspec_new_msg<tspec_mapd_msg_t>(TSPEC_DELTS_REQ_CMD);
    memcpy(msg.peer_addr1, rec.peer_addr1, sizeof(msg.peer_addr1));
    memcpy(msg.peer_addr2, rec.peer_addr2, sizeof(msg.peer_addr2));
    memcpy(msg.sta_mac, rec.sta_mac, sizeof(msg.sta_mac));
    msg.radio_unit = rec.radio_unit;
    memcpy(msg.ssid, rec.ssid, sizeof(msg.ssid));
    msg.ac_idx = ac_idx;
    tspec_ie_pack(&msg.tspec, &entry.params.ie);
    memcpy(msg.tspec.ts_info, ts_info, sizeof(msg.tspec.ts_info));
    return msg;
}

int32_t tspec_build_and_send_mapd_delts_msg(const tspec_ts_rec_t *entry, const uint8_t *ts_info,
                                            uint8_t ac_idx)
{
    if (entry == nullptr || ac_idx >= TSPEC_NUM_ACS) {
        return -1;
    }
    tspec_mapd_msg_t msg = tspec_build_mapd_delts_msg(*entry, ts_info, ac_idx);
    if (tspec_msg_send_to_acu(msg, ac_idx, TSPEC_DELTS_REQ_CMD) != 0) {
        perror("Failed to send DELTS cmd to MAPD.\n");
        return -1;
    }
    return 0;
}
