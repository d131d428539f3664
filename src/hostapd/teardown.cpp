#include "hostapd/teardown.h"

#include "admission/acu.h"
#include "admission/forward.h"
#include "core/control_block.h"
#include "core/text.h"
#include "core/trace.h"
#include "hostapd/disassociation.h"
#include "hostapd/send.h"
#include "store/snapshot.h"
#include "store/stream.h"

#define TSPEC_TRACE_NAME "tspec_hostapd_process"

// The client's stream with the TID of the request, or null.
static tspec_ts_rec_t *stream_of(const tspec_hostapd_req_t &req)
{
    return tspec_ts_rec_find(req.msg.sta_mac, req.msg.tid, nullptr);
}

// The end of a stream that came by fast transition gives time back to the
// reserve only if it is bidirectional; that of a one-way stream stays booked
// there.
static void release_fbt_time(const tspec_ts_rec_t &entry, uint8_t ac_idx)
{
    tspec_rec_t &rec = *entry.owner;
    if (rec.fbt_flag == 0) {
        return;
    }
    const uint32_t amount =
        entry.dir == TSPEC_DIR_BIDIRECTIONAL ? 2U * entry.params.ie.medium_time : 0;
    tspec_acu_fbt_ts_removal(rec.radio_unit, ac_idx, static_cast<uint16_t>(amount));
    rec.fbt_flag = 0;
}

tspec_outcome_t tspec_hostapd_delts(tspec_hostapd_req_t &req)
{
    const tspec_hostapd_msg_t &msg = req.msg;
    TSPEC_TRACE(TSPEC_TRACE_HOSTAPD, "DELTS Request Message\r\n");
    const tspec_ts_rec_t *const entry = stream_of(req);
    if (entry == nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Failed to get ts record for client %s\r\n",
                    tspec_mac_text(msg.sta_mac).text);
        return tspec_finish(-1);
    }
    req.out = tspec_build_mapd_delts_msg(*entry, msg.tspec.ts_info, req.ac_idx);
    release_fbt_time(*entry, req.ac_idx);
    if (tspec_ts_rec_delete_tid(entry->owner, req.ac_idx, msg.tid) != 0) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Failed to delete tspec record for client %s TID %u\r\n",
                    tspec_mac_text(msg.sta_mac).text, msg.tid);
        return tspec_finish(-1);
    }
    tspec_ts_status_update(req.ac_idx);
    return tspec_send_on();
}

tspec_outcome_t tspec_hostapd_ts_inactive(tspec_hostapd_req_t &req)
{
    const tspec_hostapd_msg_t &msg = req.msg;
    TSPEC_TRACE(TSPEC_TRACE_HOSTAPD, "Inactive TS message for client %s TID %u on AC %u\r\n",
                tspec_mac_text(msg.sta_mac).text, msg.tid, req.ac_idx);
    const tspec_ts_rec_t *const entry = stream_of(req);
    if (entry == nullptr) {
        return tspec_finish(-1);
    }
    req.out = tspec_build_mapd_delts_msg(*entry, msg.tspec.ts_info, req.ac_idx);
    int32_t result = 0;
    if (tspec_build_and_send_hostapd_delts_msg(entry, req.ac_idx, req.radio_idx) != 0) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Error sending data to hostapd\n");
        result = -1;
    }
    release_fbt_time(*entry, req.ac_idx);
    if (tspec_ts_rec_delete_tid(entry->owner, req.ac_idx, msg.tid) != 0) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR,
                    "Failed to delete tspec record for client %s on AC %u TID %u\r\n",
                    tspec_mac_text(msg.sta_mac).text, req.ac_idx, msg.tid);
        return tspec_leave(-1);
    }
    tspec_ts_status_update(req.ac_idx);
    return tspec_send_on(result);
}

tspec_outcome_t tspec_hostapd_ts_exceed_time(tspec_hostapd_req_t &req)
{
    TSPEC_TRACE(TSPEC_TRACE_HOSTAPD, "TS Exceed Time message for client %s TID %u on AC %u\r\n",
                tspec_mac_text(req.msg.sta_mac).text, req.msg.tid, req.ac_idx);
    tspec_ts_rec_t *const entry = stream_of(req);
    if (entry == nullptr) {
        return tspec_finish(-1);
    }
    entry->excess_usage_events++;
    return tspec_finish(0);
}

tspec_outcome_t tspec_hostapd_unauth_traffic(tspec_hostapd_req_t &req)
{
    TSPEC_TRACE(TSPEC_TRACE_HOSTAPD, "TS Unauthorized Traffic message for client %s on AC %u\r\n",
                tspec_mac_text(req.msg.sta_mac).text, req.ac_idx);
    req.out.cmd = TSPEC_TS_UNAUTH_TRAFFIC_CMD;
    return tspec_send_on();
}

tspec_outcome_t tspec_hostapd_sta_disassoc(tspec_hostapd_req_t &req)
{
    if (tspec_cb->disassoc_mode == 0) {
        tspec_hostapd_process_sta_disassoc(req.msg, req.len);
    }
    return tspec_finish(0);
}
