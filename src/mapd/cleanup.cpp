#include "mapd/cleanup.h"

#include "admission/forward.h"
#include "core/text.h"
#include "core/trace.h"
#include "hostapd/send.h"
#include "store/ledger.h"
#include "store/snapshot.h"
#include "store/stream.h"

#define TSPEC_TRACE_NAME __func__

static int32_t delts_to_admission_control(tspec_ts_rec_t &entry, uint8_t ac_idx, uint32_t flags)
{
    if ((flags & TSPEC_CLEANUP_DELTS_TIME) == 0) {
        entry.params.ie.medium_time = 0;
        tspec_ledger_update(*entry.owner);
    }
    return tspec_build_and_send_mapd_delts_msg(&entry, entry.params.ie.ts_info, ac_idx);
}

int32_t tspec_old_ts_cleanup(tspec_ts_rec_t *entry, uint32_t flags)
{
    if (entry == nullptr) {
        return -1;
    }
    tspec_rec_t *const client = entry->owner;
    const uint8_t ac_idx = entry->ac_idx;
    const uint8_t tid = entry->tid;
    const uint32_t radio_idx = client->radio_unit - 1U;
    TSPEC_TRACE(TSPEC_TRACE_MAPD,
                "Removing AC=%u TID=%u Dir=%u for client %s, med_time=%u flags=0x%x\r\n", ac_idx,
                tid, entry->dir, tspec_mac_text(client->sta_mac).text, entry->params.ie.medium_time,
                flags);
    int32_t rc = 0;
    if ((flags & TSPEC_CLEANUP_DELTS_HOSTAPD) != 0 &&
        tspec_build_and_send_hostapd_delts_msg(entry, ac_idx, radio_idx) != 0) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Error sending DELTS to hostapd for TID %u on AC %u\r\n",
                    tid, ac_idx);
        rc = -1;
    }
    if ((flags & (TSPEC_CLEANUP_DELTS_NO_TIME | TSPEC_CLEANUP_DELTS_TIME)) != 0 &&
        delts_to_admission_control(*entry, ac_idx, flags) != 0) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Error sending DELTS to hostapd for TID %u on AC %u\r\n",
                    tid, ac_idx);
        rc = -1;
    }
    if ((flags & TSPEC_CLEANUP_DELETE) == 0) {
        return rc;
    }
    if (tspec_ts_rec_delete_tid(client, ac_idx, tid) != 0) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Unable to delete old tspec record for TID %u on AC %u\r\n",
                    tid, ac_idx);
        return -1;
    }
    tspec_ts_status_update(ac_idx);
    TSPEC_TRACE(TSPEC_TRACE_MAPD, "Deleted old tspec record for TID %u on AC %u\r\n", tid, ac_idx);
    return rc;
}
