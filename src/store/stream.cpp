#include "store/stream.h"

#include "core/text.h"
#include "core/trace.h"
#include "store/client.h"
#include "store/ledger.h"

#include <cassert>

#define TSPEC_TRACE_NAME __func__

static bool in_use(const tspec_ts_rec_t &entry)
{
    return entry.state != TSPEC_TS_FREE;
}

bool tspec_rec_has_stream(const tspec_rec_t *rec, uint32_t ac_idx)
{
    return ac_idx < TSPEC_NUM_ACS && (in_use(rec->streams[TSPEC_BANK_PRIMARY][ac_idx]) ||
                                      in_use(rec->streams[TSPEC_BANK_ALTERNATE][ac_idx]));
}

tspec_rec_t *tspec_ts_rec_get(const uint8_t *mac, uint32_t ac_idx)
{
    if (mac == nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Invalid input parameters\r\n");
        return nullptr;
    }
    tspec_rec_t *const rec = tspec_rec_get(mac);
    return rec != nullptr && tspec_rec_has_stream(rec, ac_idx) ? rec : nullptr;
}

static bool has_tid(const tspec_ts_rec_t &entry, int32_t tid, uint32_t mode)
{
    return tid == (mode == TSPEC_FIND_BY_TID ? entry.tid : entry.pend.tid);
}

tspec_ts_rec_t *tspec_rec_ts_find(tspec_rec_t *rec, int32_t tid, uint32_t mode)
{
    for (uint32_t ac_idx = 0; ac_idx < TSPEC_NUM_ACS; ac_idx++) {
        for (auto &bank : rec->streams) {
            tspec_ts_rec_t &entry = bank[ac_idx];
            assert(entry.owner == rec);
            if (in_use(entry) && has_tid(entry, tid, mode)) {
                return &entry;
            }
        }
    }
    return nullptr;
}

tspec_ts_rec_t *tspec_ts_rec_find_by_tid(const uint8_t *mac, uint8_t tid, uint8_t *ac_out,
                                         uint32_t mode)
{
    if (mac == nullptr || mode > TSPEC_FIND_BY_PENDING) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Invalid input parameters\r\n");
        return nullptr;
    }
    tspec_rec_t *const rec = tspec_rec_get(mac);
    tspec_ts_rec_t *const entry = rec == nullptr ? nullptr : tspec_rec_ts_find(rec, tid, mode);
    if (entry != nullptr && ac_out != nullptr) {
        *ac_out = entry->ac_idx;
    }
    return entry;
}

tspec_ts_rec_t *tspec_ts_rec_find(const uint8_t *mac, uint8_t tid, uint8_t *ac_out)
{
    return tspec_ts_rec_find_by_tid(mac, tid, ac_out, TSPEC_FIND_BY_TID);
}

tspec_ts_rec_t *tspec_ts_rec_find_pending(const uint8_t *mac, uint8_t tid, uint8_t *ac_out)
{
    return tspec_ts_rec_find_by_tid(mac, tid, ac_out, TSPEC_FIND_BY_PENDING);
}

void tspec_ts_rec_pending_reset(tspec_ts_rec_t *entry)
{
    if (entry == nullptr) {
        return;
    }
    entry->pend = {};
    entry->pend.tid = TSPEC_TID_NONE;
}

static void clear(tspec_ts_rec_t &entry)
{
    tspec_rec_t *const owner = entry.owner;
    entry = {};
    entry.owner = owner;
}

static void uncount(uint16_t streams)
{
    tspec_cb->ts_count = static_cast<uint16_t>(tspec_cb->ts_count - streams);
}

// After a change to the record's entries; the record may be gone then.
static void account_for(tspec_rec_t *rec)
{
    tspec_ledger_update(*rec);
    if (tspec_rec_is_empty(rec)) {
        tspec_rec_delete(rec);
    }
}

// A client without a record, or with one that has nothing on the access category.
static int32_t no_stream(const char *function, const uint8_t *mac, uint8_t ac_idx)
{
    TSPEC_TRACE_PLAIN(TSPEC_TRACE_ERROR,
                      "%s:Failed to find tspec record for client %s with AC %u\r\n", function,
                      tspec_mac_text(mac).text, ac_idx);
    return -1;
}

int32_t tspec_ts_rec_delete_tid(const uint8_t *mac, uint8_t ac_idx, uint8_t tid)
{
    tspec_rec_t *const rec = tspec_rec_get(mac);
    return rec != nullptr ? tspec_ts_rec_delete_tid(rec, ac_idx, tid)
                          : no_stream(__func__, mac, ac_idx);
}

int32_t tspec_ts_rec_delete_tid(tspec_rec_t *rec, uint8_t ac_idx, uint8_t tid)
{
    if (!tspec_rec_has_stream(rec, ac_idx)) {
        return no_stream(__func__, rec->sta_mac, ac_idx);
    }
    tspec_ts_rec_t *const entry = tspec_rec_ts_find(rec, tid, TSPEC_FIND_BY_TID);
    if (entry == nullptr || entry->ac_idx != ac_idx) {
        return 0;
    }
    // A free entry is all zeros, so it clears the one that it is copied over.
    tspec_ts_rec_t &alternate = rec->streams[TSPEC_BANK_ALTERNATE][ac_idx];
    *entry = alternate;
    clear(alternate);
    account_for(rec);
    uncount(1);
    return 0;
}

int32_t tspec_ts_rec_delete(const uint8_t *mac, uint8_t ac_idx)
{
    tspec_rec_t *const rec = tspec_rec_get(mac);
    return rec != nullptr ? tspec_ts_rec_delete(rec, ac_idx) : no_stream(__func__, mac, ac_idx);
}

int32_t tspec_ts_rec_delete(tspec_rec_t *rec, uint8_t ac_idx)
{
    if (!tspec_rec_has_stream(rec, ac_idx)) {
        return no_stream(__func__, rec->sta_mac, ac_idx);
    }
    uint16_t freed = 0;
    for (auto &bank : rec->streams) {
        if (in_use(bank[ac_idx])) {
            freed++;
        }
        clear(bank[ac_idx]);
    }
    account_for(rec);
    uncount(freed);
    return 0;
}
