#include "hostapd/disassociation.h"

#include "admission/acu.h"
#include "admission/medium_time.h"
#include "core/daemon.h"
#include "core/text.h"
#include "core/trace.h"
#include "store/client.h"
#include "store/snapshot.h"
#include "store/stream.h"

#include <cstring>

#define TSPEC_TRACE_NAME __func__

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

static bool is_on_vap(const tspec_rec_t &rec, const tspec_hostapd_msg_t &msg)
{
    return memcmp(rec.peer_addr2, msg.peer_addr2, sizeof(rec.peer_addr2)) == 0;
}

int32_t tspec_hostapd_process_sta_disassoc(const tspec_hostapd_msg_t &msg, uint32_t)
{
    TSPEC_TRACE(TSPEC_TRACE_HOSTAPD, "Entry - for client %s on VAP %s\r\n",
                tspec_mac_text(msg.sta_mac).text, tspec_mac_text(msg.peer_addr2).text);
    tspec_rec_t *rec = tspec_rec_get(msg.sta_mac);
    for (uint8_t ac_idx = 0; ac_idx < TSPEC_NUM_ACS; ac_idx++) {
        if (rec == nullptr || !is_on_vap(*rec, msg) || !tspec_rec_has_stream(rec, ac_idx)) {
            continue;
        }
        if (!tspec_is_managed()) {
            release_time(*rec, ac_idx);
        }
        if (tspec_ts_rec_delete(rec, ac_idx) != 0) {
            TSPEC_TRACE(TSPEC_TRACE_ERROR, "Failed to delete client %s TSPEC record on AC %u\r\n",
                        tspec_mac_text(msg.sta_mac).text, ac_idx);
        } else {
            TSPEC_TRACE(TSPEC_TRACE_HOSTAPD, "Deleted client %s TSPEC record on AC %u\r\n",
                        tspec_mac_text(msg.sta_mac).text, ac_idx);
        }
        rec = tspec_rec_get(msg.sta_mac); // the deletion may have freed it
        tspec_ts_status_update(ac_idx);
    }
    TSPEC_TRACE(TSPEC_TRACE_HOSTAPD, "Exit\r\n");
    return 0;
}
