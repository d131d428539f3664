#include "hostapd/fast_transition.h"

#include "admission/acu.h"
#include "admission/medium_time.h"
#include "core/text.h"
#include "core/trace.h"
#include "core/ts_info.h"
#include "driver/station_state.h"
#include "hostapd/booking.h"
#include "hostapd/disassociation.h"
#include "hostapd/send.h"
#include "store/client.h"
#include "store/ledger.h"
#include "store/snapshot.h"
#include "store/stream.h"

#define TSPEC_TRACE_NAME __func__

// Stores the stream as admitted, in whatever state its entry is.
static const tspec_ts_rec_t &book(tspec_rec_t &rec, const tspec_hostapd_msg_t &msg, uint8_t ac_idx,
                                  uint8_t dir)
{
    tspec_cb->ts_count++;
    tspec_booking_fill_record(rec, msg);
    rec.fbt_flag = 1;
    tspec_ts_rec_t &entry = rec.streams[TSPEC_BANK_PRIMARY][ac_idx];
    tspec_booking_fill_entry(entry, msg, ac_idx, dir, TSPEC_TS_ADMITTED);
    tspec_ledger_update(rec);
    return entry;
}

int32_t tspec_fbt_addts_req_process(const tspec_hostapd_msg_t &msg, uint8_t ac_idx, uint32_t len)
{
    const uint8_t dir = tspec_ts_info_decode(msg.tspec.ts_info).dir;
    TSPEC_TRACE(TSPEC_TRACE_HOSTAPD, " Ext. AC=%u TID=%u Dir=%u\r\n", ac_idx, msg.tid, dir);
    TSPEC_TRACE(TSPEC_TRACE_HOSTAPD, "FBT ADDTS Request message\r\n");
    if (!tspec_client_is_associated(msg.sta_mac, msg.radio_unit, msg.vap)) {
        TSPEC_TRACE(TSPEC_TRACE_HOSTAPD,
                    "Received FBT ADDTS request from unassociated client %s. Request ignored.\r\n",
                    tspec_mac_text(msg.sta_mac).text);
        return -1;
    }
    if (tspec_ts_rec_get(msg.sta_mac, ac_idx) != nullptr) {
        tspec_hostapd_process_sta_disassoc(msg, len);
    }
    if (tspec_cb->ts_count >= TSPEC_MAX_TS) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR,
                    "MAX TS (%d) allowed per AP exceeded. Sending 'Refused' response.\r\n",
                    TSPEC_MAX_TS);
        return tspec_build_and_send_hostapd_addts_reject_msg(msg, ac_idx, TSPEC_RESULT_REFUSED);
    }
    tspec_rec_t *const rec = tspec_rec_add(msg.sta_mac);
    if (rec == nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Failed to add tspec_rec to the database for client %s \r\n",
                    tspec_mac_text(msg.sta_mac).text);
        return -1;
    }
    const tspec_ts_rec_t &entry = book(*rec, msg, ac_idx, dir);
    tspec_ts_status_update(ac_idx);
    const uint32_t amount = tspec_medium_time_both_ways(entry.params.ie.medium_time, entry.dir);
    tspec_acu_fbt_ts_add(msg.radio_unit, ac_idx, static_cast<uint16_t>(amount));
    return 0;
}

bool tspec_fbt_ts_delete(tspec_rec_t *rec, const tspec_hostapd_msg_t &msg, uint8_t ac_idx,
                         uint32_t len)
{
    if (rec->fbt_flag == 0 || !tspec_rec_has_stream(rec, ac_idx)) {
        return false;
    }
    if (tspec_rec_ts_find(rec, msg.tid, TSPEC_FIND_BY_TID) == nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Failed to get ts record for client %s\r\n",
                    tspec_mac_text(msg.sta_mac).text);
        return false;
    }
    tspec_hostapd_process_sta_disassoc(msg, len);
    return true;
}
