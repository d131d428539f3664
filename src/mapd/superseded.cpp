#include "mapd/superseded.h"

#include "core/trace.h"
#include "mapd/cleanup.h"

#define TSPEC_TRACE_NAME "tspec_mapd_old_ts_removal"

static constexpr uint8_t NUM_CLEANED_TIDS = 8;

// The entry goes on with another stream: its old one is withdrawn without its
// time, which the new stream's request has taken over.
static constexpr uint32_t WITHDRAW = TSPEC_CLEANUP_DELTS_HOSTAPD | TSPEC_CLEANUP_DELTS_NO_TIME;
// An alternate stream that no longer fits, whose time is taken over too.
static constexpr uint32_t DROP_ALTERNATE = WITHDRAW | TSPEC_CLEANUP_DELETE;
// A stream on an access category that the client has left: its time comes back.
static constexpr uint32_t DROP_WITH_TIME =
    TSPEC_CLEANUP_DELTS_HOSTAPD | TSPEC_CLEANUP_DELTS_TIME | TSPEC_CLEANUP_DELETE;

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
        TSPEC_TRACE(TSPEC_TRACE_MAPD, "Problem cleaning up alternate TS for TID %u on AC %u\r\n",
                    alternate.tid, ac_idx);
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
    TSPEC_TRACE(TSPEC_TRACE_FUNC,
                " ts_type=%u, ac=%u, ac_new=%u, state=%u, prev_tid=%u, pend_tid=%u, "
                "tid_new=%u, prev_dir=%u, pend_dir=%u\r\n",
                bank, ac_idx, ac_new, entry.state, entry.tid, entry.pend.tid, tid_new, entry.dir,
                entry.pend.dir);
    const uint32_t flags = cleanup_flags(client, bank, ac_idx, ac_new, tid_new);
    if (flags != 0 && tspec_old_ts_cleanup(&entry, flags) != 0) {
        TSPEC_TRACE(TSPEC_TRACE_MAPD,
                    "Problem cleaning up old TS for TID %u on AC %u, flags=0x%x\r\n", entry.tid,
                    ac_idx, flags);
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
