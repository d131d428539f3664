#include "mapd/superseded.h"

#include "core/text.h"
#include "core/trace.h"
#include "hostapd/send.h"
#include "mapd/status.h"
#include "store/load.h"
#include "store/stream.h"

#include <cstring>

static constexpr uint8_t NUM_CLEANED_TIDS = 8;

// The entry goes on with another stream: its old one is withdrawn without its
// time, which the new stream's request has taken over.
static constexpr uint32_t WITHDRAW = TSPEC_CLEANUP_DELTS_HOSTAPD | TSPEC_CLEANUP_DELTS_NO_TIME;
// An alternate stream that no longer fits, whose time is taken over too.
static constexpr uint32_t DROP_ALTERNATE = WITHDRAW | TSPEC_CLEANUP_DELETE;
// A stream on an access category that the client has left: its time comes back.
static constexpr uint32_t DROP_WITH_TIME =
    TSPEC_CLEANUP_DELTS_HOSTAPD | TSPEC_CLEANUP_DELTS_TIME | TSPEC_CLEANUP_DELETE;

static constexpr const char *REMOVAL_NAME = "tspec_mapd_old_ts_removal";

static bool turns_direction(const tspec_ts_rec_t &primary)
{
    return primary.dir != TSPEC_DIR_BIDIRECTIONAL && primary.dir != primary.pend.dir;
}

static void drop_alternate(tspec_ts_rec_t &alternate, uint8_t ac_idx)
{
    if (alternate.state == TSPEC_TS_FREE) {
        return;
    }
    if (tspec_old_ts_cleanup(&alternate, DROP_ALTERNATE) != 0) {
        TSPEC_TRACE_AS(REMOVAL_NAME, TSPEC_TRACE_MAPD,
                       "%s:Problem cleaning up alternate TS for TID %u on AC %u\r\n", alternate.tid,
                       ac_idx);
    }
}

// What the new stream makes of an admitted one of the same client.
static uint32_t cleanup_flags(tspec_rec_t &client, uint8_t bank, uint8_t ac_idx, uint8_t ac_new,
                              uint8_t tid_new)
{
    const tspec_ts_rec_t &entry = client.streams[bank][ac_idx];
    if (ac_idx != ac_new) {
        return entry.tid == tid_new ? DROP_WITH_TIME : 0;
    }
    if (entry.pend.tid != tid_new) {
        return 0;
    }
    const uint32_t flags = entry.tid != tid_new ? WITHDRAW : 0;
    if (bank == TSPEC_BANK_PRIMARY && turns_direction(entry)) {
        drop_alternate(client.streams[TSPEC_BANK_ALTERNATE][ac_idx], ac_idx);
    }
    return flags;
}

static bool is_admitted(const tspec_rec_t &client, uint8_t bank, uint8_t ac_idx)
{
    return client.streams[bank][ac_idx].state == TSPEC_TS_ADMITTED;
}

static void supersede(tspec_rec_t &client, uint8_t bank, uint8_t ac_idx, uint8_t ac_new,
                      uint8_t tid_new)
{
    tspec_ts_rec_t &entry = client.streams[bank][ac_idx];
    TSPEC_TRACE_AS(REMOVAL_NAME, TSPEC_TRACE_FUNC,
                   "%s: ts_type=%u, ac=%u, ac_new=%u, state=%u, prev_tid=%u, pend_tid=%u, "
                   "tid_new=%u, prev_dir=%u, pend_dir=%u\r\n",
                   bank, ac_idx, ac_new, entry.state, entry.tid, entry.pend.tid, tid_new, entry.dir,
                   entry.pend.dir);
    const uint32_t flags = cleanup_flags(client, bank, ac_idx, ac_new, tid_new);
    if (flags != 0 && tspec_old_ts_cleanup(&entry, flags) != 0) {
        TSPEC_TRACE_AS(REMOVAL_NAME, TSPEC_TRACE_MAPD,
                       "%s:Problem cleaning up old TS for TID %u on AC %u, flags=0x%x\r\n",
                       entry.tid, ac_idx, flags);
    }
}

int32_t tspec_mapd_old_ts_removal(tspec_rec_t *client, uint8_t ac_new, uint8_t tid_new)
{
    if (client == nullptr || ac_new >= TSPEC_NUM_ACS || tid_new >= NUM_CLEANED_TIDS) {
        return -1;
    }
    for (uint8_t ac_idx = 0; ac_idx < TSPEC_NUM_ACS; ac_idx++) {
        if (is_admitted(*client, TSPEC_BANK_PRIMARY, ac_idx)) {
            supersede(*client, TSPEC_BANK_PRIMARY, ac_idx, ac_new, tid_new);
        }
        if (is_admitted(*client, TSPEC_BANK_ALTERNATE, ac_idx)) {
            supersede(*client, TSPEC_BANK_ALTERNATE, ac_idx, ac_new, tid_new);
        }
    }
    return 0;
}

static int32_t delts_to_admission_control(tspec_ts_rec_t &entry, uint8_t ac_idx, uint32_t flags)
{
    if ((flags & TSPEC_CLEANUP_DELTS_TIME) == 0) {
        entry.params.ie.medium_time = 0;
        tspec_rec_load_update(*entry.owner, ac_idx);
    }
    return tspec_build_and_send_mapd_delts_msg(&entry, entry.params.ie.ts_info, ac_idx);
}

int32_t tspec_old_ts_cleanup(tspec_ts_rec_t *entry, uint32_t flags)
{
    if (entry == nullptr || entry->owner == nullptr) {
        return -1;
    }
    // The deletion may free the record that the entry is in.
    const uint8_t ac_idx = entry->ac_idx;
    const uint8_t tid = entry->tid;
    uint8_t sta_mac[TSPEC_MAC_LEN];
    memcpy(sta_mac, entry->owner->sta_mac, sizeof(sta_mac));
    const uint32_t radio_idx = entry->owner->radio_unit - 1U;
    TSPEC_TRACE(TSPEC_TRACE_MAPD,
                "%s:Removing AC=%u TID=%u Dir=%u for client %s, med_time=%u flags=0x%x\r\n", ac_idx,
                tid, entry->dir, tspec_mac_text(sta_mac).text, entry->params.ie.medium_time, flags);
    int32_t rc = 0;
    if ((flags & TSPEC_CLEANUP_DELTS_HOSTAPD) != 0 &&
        tspec_build_and_send_hostapd_delts_msg(entry, ac_idx, radio_idx) != 0) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "%s:Error sending DELTS to hostapd for TID %u on AC %u\r\n",
                    tid, ac_idx);
        rc = -1;
    }
    if ((flags & (TSPEC_CLEANUP_DELTS_NO_TIME | TSPEC_CLEANUP_DELTS_TIME)) != 0 &&
        delts_to_admission_control(*entry, ac_idx, flags) != 0) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "%s:Error sending DELTS to hostapd for TID %u on AC %u\r\n",
                    tid, ac_idx);
        rc = -1;
    }
    if ((flags & TSPEC_CLEANUP_DELETE) == 0) {
        return rc;
    }
    if (tspec_ts_rec_delete_tid(sta_mac, ac_idx, tid) != 0) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR,
                    "%s:Unable to delete old tspec record for TID %u on AC %u\r\n", tid, ac_idx);
        return -1;
    }
    tspec_ts_status_update(ac_idx);
    TSPEC_TRACE(TSPEC_TRACE_MAPD, "%s:Deleted old tspec record for TID %u on AC %u\r\n", tid,
                ac_idx);
    return rc;
}
