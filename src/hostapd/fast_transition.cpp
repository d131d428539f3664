#include "hostapd/fast_transition.h"

#include "admission/acu.h"
#include "core/control_block.h"
#include "core/text.h"
#include "core/trace.h"
#include "driver/station_state.h"
#include "hostapd/booking.h"
#include "hostapd/send.h"
#include "hostapd/teardown.h"
#include "mapd/status.h"
#include "store/access_category.h"
#include "store/client.h"
#include "store/load.h"
#include "store/stream.h"

tspec_outcome_t tspec_hostapd_fbt_addts(tspec_hostapd_req_t &req)
{
    TSPEC_TRACE_AS(TSPEC_HOSTAPD_PROCESS, TSPEC_TRACE_HOSTAPD,
                   "%s:TS FBT ADDTS CMD for client %s on AC %u\r\n",
                   tspec_mac_text(req.msg.sta_mac).text, req.ac_idx);
    tspec_fbt_addts_req_process(req.msg, req.ac_idx, req.len);
    return {tspec_next_t::FINISH, 0};
}

// Stores the stream as admitted, in whatever state its entry is.
static const tspec_ts_rec_t &book(tspec_rec_t &rec, const tspec_hostapd_msg_t &msg, uint8_t ac_idx,
                                  uint8_t dir)
{
    tspec_cb->ts_count++;
    tspec_booking_fill_record(rec, msg);
    rec.fbt_flag = 1;
    tspec_ts_rec_t &entry = rec.streams[TSPEC_BANK_PRIMARY][ac_idx];
    tspec_booking_fill_entry(entry, msg, ac_idx, dir, TSPEC_TS_ADMITTED);
    tspec_rec_load_update(rec, ac_idx);
    return entry;
}

int32_t tspec_fbt_addts_req_process(const tspec_hostapd_msg_t &msg, uint8_t ac_idx, uint32_t len)
{
    const tspec_ts_info_t ts_info = tspec_ts_info_decode(msg.tspec.ts_info);
    const uint8_t ac = wme_prio2ac[ts_info.user_priority];
    TSPEC_TRACE(TSPEC_TRACE_HOSTAPD, "%s: Ext. AC=%u TID=%u Dir=%u\r\n", ac, msg.tid, ts_info.dir);
    uint32_t own_ac_idx;
    if (tspec_ac_convert(ac, &own_ac_idx) >= TSPEC_NUM_ACS) {
        return -1;
    }
    TSPEC_TRACE(TSPEC_TRACE_HOSTAPD, "%s:FBT ADDTS Request message\r\n");
    if (tspec_client_is_associated(msg.sta_mac, msg.radio_unit, msg.vap) != 1) {
        TSPEC_TRACE(
            TSPEC_TRACE_HOSTAPD,
            "%s:Received FBT ADDTS request from unassociated client %s. Request ignored.\r\n",
            tspec_mac_text(msg.sta_mac).text);
        return -1;
    }
    if (tspec_ts_rec_get(msg.sta_mac, own_ac_idx) != nullptr) {
        tspec_hostapd_process_sta_disassoc(msg, len);
    }
    if (tspec_cb->ts_count >= TSPEC_MAX_TS) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR,
                    "%s:MAX TS (%d) allowed per AP exceeded. Sending 'Refused' response.\r\n",
                    TSPEC_MAX_TS);
        return tspec_build_and_send_hostapd_addts_reject_msg(msg, ac_idx, TSPEC_RESULT_REFUSED);
    }
    tspec_rec_t *const rec = tspec_rec_add(msg.sta_mac);
    if (rec == nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR,
                    "%s:Failed to add tspec_rec to the database for client %s \r\n",
                    tspec_mac_text(msg.sta_mac).text);
        return -1;
    }
    const auto stored_ac_idx = static_cast<uint8_t>(own_ac_idx);
    const tspec_ts_rec_t &entry = book(*rec, msg, stored_ac_idx, ts_info.dir);
    tspec_ts_status_update(stored_ac_idx);
    const uint32_t amount = tspec_medium_time_both_ways(entry.params.ie.medium_time, entry.dir);
    tspec_acu_fbt_ts_add(msg.radio_unit, ac_idx, static_cast<uint16_t>(amount));
    return 0;
}

void tspec_fbt_ts_delete(const tspec_hostapd_msg_t &msg, uint8_t ac_idx, uint32_t len)
{
    const tspec_rec_t *const rec = tspec_ts_rec_get(msg.sta_mac, ac_idx);
    if (rec == nullptr || rec->fbt_flag == 0) {
        return;
    }
    if (tspec_ts_rec_find(msg.sta_mac, msg.tid, nullptr) == nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "%s:Failed to get ts record for client %s\r\n",
                    tspec_mac_text(msg.sta_mac).text);
        return;
    }
    tspec_hostapd_process_sta_disassoc(msg, len);
}
