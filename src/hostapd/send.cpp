#include "hostapd/send.h"

#include "core/ipc.h"
#include "core/messages.h"
#include "core/trace.h"
#include "store/access_category.h"
#include "store/snapshot.h"

#include <cstdio>
#include <cstring>

#define TSPEC_TRACE_NAME __func__

static int32_t send_to_hostapd(const tspec_hostapd_msg_t &msg)
{
    return send_msg_to_other_process(tspec_cb->tspec_sock, TSPEC_HOSTAPD_PORT, &msg, sizeof(msg));
}

int32_t tspec_build_and_send_hostapd_addts_reject_msg(const tspec_hostapd_msg_t &request,
                                                      uint8_t ac_idx, uint32_t result_code)
{
    tspec_hostapd_msg_t reply = request;
    reply.msg_type = TSPEC_PEER_MSG;
    reply.cmd = TSPEC_ADDTS_RESP_CMD;
    reply.tspec.medium_time = 0;
    reply.result_code = result_code;
    tspec_ap_statistics_update(ac_idx, reply.sta_mac, TSPEC_ADDTS_RESP_CMD,
                               static_cast<uint8_t>(result_code));
    if (send_to_hostapd(reply) < 0) {
        TSPEC_TRACE(TSPEC_TRACE_HOSTAPD, "Error sending data to hostapd.\n");
        return -1;
    }
    TSPEC_TRACE(TSPEC_TRACE_HOSTAPD, " Sent cmd %u message to hostapd socket id %d\r\n", reply.cmd,
                tspec_cb->tspec_sock);
    return 0;
}

static tspec_hostapd_msg_t build_hostapd_delts(const tspec_ts_rec_t &entry, uint32_t radio_idx)
{
    const tspec_rec_t &rec = *entry.owner;
    auto msg = tspec_new_msg<tspec_hostapd_msg_t>(TSPEC_DELTS_CMD);
    memcpy(msg.peer_addr1, rec.peer_addr1, sizeof(msg.peer_addr1));
    memcpy(msg.peer_addr2, rec.peer_addr2, sizeof(msg.peer_addr2));
    memcpy(msg.sta_addr, rec.sta_mac, sizeof(msg.sta_addr));
    msg.radio_unit = rec.radio_unit;
    memcpy(msg.ssid, rec.ssid, sizeof(msg.ssid));
    msg.vap = rec.vap;
    memcpy(msg.sta_mac, rec.sta_mac, sizeof(msg.sta_mac));
    msg.tspec = entry.params.ie;
    memcpy(msg.reserved3, entry.params.reserved, sizeof(msg.reserved3));
    msg.result_code =
        entry.state == TSPEC_TS_ADMITTED ? TSPEC_RESULT_ACCEPTED : TSPEC_RESULT_REFUSED;
    msg.inactivity_timeout = tspec_ts_inactivity_timeout_get(radio_idx, entry.dir);
    msg.tid = entry.tid;
    memcpy(msg.aux_addr, entry.aux_addr, sizeof(msg.aux_addr));
    return msg;
}

int32_t tspec_build_and_send_hostapd_delts_msg(const tspec_ts_rec_t *entry, uint8_t,
                                               uint32_t radio_idx)
{
    if (entry == nullptr) {
        return -1;
    }
    const tspec_hostapd_msg_t msg = build_hostapd_delts(*entry, radio_idx);
    if (send_to_hostapd(msg) < 0) {
        perror("Error sending data to hostapd.\n");
        return -1;
    }
    TSPEC_TRACE(TSPEC_TRACE_HOSTAPD, " Sent cmd %u message to hostapd socket id %d\r\n", msg.cmd,
                tspec_cb->tspec_sock);
    return 0;
}
