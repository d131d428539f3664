#include "hostapd/teardown.h"

#include "admission/acu.h"
#include "core/control_block.h"
#include "core/daemon.h"
#include "core/text.h"
#include "core/trace.h"
#include "hostapd/send.h"
#include "mapd/status.h"
#include "store/load.h"
#include "store/stream.h"

#include <cstring>

#define EVENT_TRACE(level, fmt, ...)                                                               \
    TSPEC_TRACE_AS(TSPEC_HOSTAPD_PROCESS, level, fmt __VA_OPT__(, ) __VA_ARGS__)

// The client's stream with the TID of the request, or null.
static tspec_ts_rec_t *stream_of(const tspec_hostapd_req_t &req)
{
    tspec_ts_rec_t *const entry = tspec_ts_rec_find(req.msg.sta_mac, req.msg.tid, nullptr);
    return entry != nullptr && entry->owner != nullptr ? entry : nullptr;
}

// The same before a removal, after which the load of the clients is counted.
static tspec_ts_rec_t *stream_to_remove(const tspec_hostapd_req_t &req)
{
    tspec_rec_get_and_survey(req.msg.sta_mac, req.ac_idx);
    return stream_of(req);
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
    EVENT_TRACE(TSPEC_TRACE_HOSTAPD, "%s:DELTS Request Message\r\n");
    const tspec_ts_rec_t *const entry = stream_to_remove(req);
    if (entry == nullptr) {
        EVENT_TRACE(TSPEC_TRACE_ERROR, "%s:Failed to get ts record for client %s\r\n",
                    tspec_mac_text(msg.sta_mac).text);
        return {tspec_next_t::FINISH, -1};
    }
    req.out = tspec_build_mapd_delts_msg(*entry, msg.tspec.ts_info, req.ac_idx);
    release_fbt_time(*entry, req.ac_idx);
    if (tspec_rec_ts_delete_tid(entry->owner, req.ac_idx, msg.tid) != 0) {
        EVENT_TRACE(TSPEC_TRACE_ERROR, "%s:Failed to delete tspec record for client %s TID %u\r\n",
                    tspec_mac_text(msg.sta_mac).text, msg.tid);
        return {tspec_next_t::FINISH, -1};
    }
    tspec_ts_status_update(req.ac_idx);
    return {tspec_next_t::SEND, 0};
}

tspec_outcome_t tspec_hostapd_ts_inactive(tspec_hostapd_req_t &req)
{
    const tspec_hostapd_msg_t &msg = req.msg;
    EVENT_TRACE(TSPEC_TRACE_HOSTAPD, "%s:Inactive TS message for client %s TID %u on AC %u\r\n",
                tspec_mac_text(msg.sta_mac).text, msg.tid, req.ac_idx);
    const tspec_ts_rec_t *const entry = stream_to_remove(req);
    if (entry == nullptr) {
        return {tspec_next_t::FINISH, -1};
    }
    req.out = tspec_build_mapd_delts_msg(*entry, msg.tspec.ts_info, req.ac_idx);
    int32_t result = 0;
    if (tspec_build_and_send_hostapd_delts_msg(entry, req.ac_idx, req.radio_idx) != 0) {
        EVENT_TRACE(TSPEC_TRACE_ERROR, "%s:Error sending data to hostapd\n");
        result = -1;
    }
    release_fbt_time(*entry, req.ac_idx);
    if (tspec_rec_ts_delete_tid(entry->owner, req.ac_idx, msg.tid) != 0) {
        EVENT_TRACE(TSPEC_TRACE_ERROR,
                    "%s:Failed to delete tspec record for client %s on AC %u TID %u\r\n",
                    tspec_mac_text(msg.sta_mac).text, req.ac_idx, msg.tid);
        return {tspec_next_t::LEAVE, -1};
    }
    tspec_ts_status_update(req.ac_idx);
    return {tspec_next_t::SEND, result};
}

tspec_outcome_t tspec_hostapd_ts_exceed_time(tspec_hostapd_req_t &req)
{
    EVENT_TRACE(TSPEC_TRACE_HOSTAPD, "%s:TS Exceed Time message for client %s TID %u on AC %u\r\n",
                tspec_mac_text(req.msg.sta_mac).text, req.msg.tid, req.ac_idx);
    tspec_ts_rec_t *const entry = stream_of(req);
    if (entry == nullptr) {
        return {tspec_next_t::FINISH, -1};
    }
    entry->excess_usage_events++;
    return {tspec_next_t::FINISH, 0};
}

tspec_outcome_t tspec_hostapd_unauth_traffic(tspec_hostapd_req_t &req)
{
    EVENT_TRACE(TSPEC_TRACE_HOSTAPD,
                "%s:TS Unauthorized Traffic message for client %s on AC %u\r\n",
                tspec_mac_text(req.msg.sta_mac).text, req.ac_idx);
    req.out.cmd = TSPEC_TS_UNAUTH_TRAFFIC_CMD;
    return {tspec_next_t::SEND, 0};
}

tspec_outcome_t tspec_hostapd_sta_disassoc(tspec_hostapd_req_t &req)
{
    if (tspec_cb->disassoc_mode == 0) {
        tspec_hostapd_process_sta_disassoc(req.msg, req.len);
    }
    return {tspec_next_t::FINISH, 0};
}

// Gives back the time of both entries on the access category. Free and pending
// ones have none booked; the account stops at 0.
static void release_time(tspec_rec_t &rec, uint8_t ac_idx)
{
    for (const auto &bank : rec.streams) {
        const tspec_ts_rec_t &entry = bank[ac_idx];
        const auto amount = static_cast<uint16_t>(
            tspec_medium_time_both_ways(entry.params.ie.medium_time, entry.dir));
        tspec_acu_ts_removal(rec.radio_unit, ac_idx, amount);
        if (rec.fbt_flag != 0) {
            tspec_acu_fbt_ts_removal(rec.radio_unit, ac_idx, amount);
            rec.fbt_flag = 0;
        }
    }
}

int32_t tspec_hostapd_process_sta_disassoc(const tspec_hostapd_msg_t &msg, uint32_t)
{
    TSPEC_TRACE(TSPEC_TRACE_HOSTAPD, "%s:Entry - for client %s on VAP %s\r\n",
                tspec_mac_text(msg.sta_mac).text, tspec_mac_text(msg.peer_addr2).text);
    for (uint8_t ac_idx = 0; ac_idx < TSPEC_NUM_ACS; ac_idx++) {
        tspec_rec_t *const rec = tspec_ts_rec_get(msg.sta_mac, ac_idx);
        if (rec == nullptr ||
            memcmp(rec->peer_addr2, msg.peer_addr2, sizeof(rec->peer_addr2)) != 0) {
            continue;
        }
        if (!tspec_is_managed()) {
            release_time(*rec, ac_idx);
        }
        if (tspec_ts_rec_delete(msg.sta_mac, ac_idx) != 0) {
            TSPEC_TRACE(TSPEC_TRACE_ERROR,
                        "%s:Failed to delete client %s TSPEC record on AC %u\r\n",
                        tspec_mac_text(msg.sta_mac).text, ac_idx);
        } else {
            TSPEC_TRACE(TSPEC_TRACE_HOSTAPD, "%s:Deleted client %s TSPEC record on AC %u\r\n",
                        tspec_mac_text(msg.sta_mac).text, ac_idx);
        }
        tspec_ts_status_update(ac_idx);
    }
    TSPEC_TRACE(TSPEC_TRACE_HOSTAPD, "%s:Exit\r\n");
    return 0;
}
