#include "store/ledger.h"

#include "admission/medium_time.h"

#include <cassert>
#include <cstring>

static bool admitted(const tspec_ts_rec_t &entry)
{
    return entry.state == TSPEC_TS_ADMITTED;
}

static uint32_t time_of(const tspec_ts_rec_t &entry)
{
    return tspec_medium_time_both_ways(entry.params.ie.medium_time, entry.dir);
}

static tspec_rec_load_t load_of(const tspec_rec_t &rec)
{
    tspec_rec_load_t load = {};
    load.radio_unit = rec.radio_unit;
    load.vap = rec.vap;
    load.roam_flag = rec.roam_flag;
    for (uint32_t ac_idx = 0; ac_idx < TSPEC_NUM_ACS; ac_idx++) {
        const tspec_ts_rec_t &primary = rec.streams[TSPEC_BANK_PRIMARY][ac_idx];
        const tspec_ts_rec_t &alternate = rec.streams[TSPEC_BANK_ALTERNATE][ac_idx];
        if (!admitted(primary)) {
            continue;
        }
        load.num_active[ac_idx] = admitted(alternate) ? 2 : 1;
        load.med_time[ac_idx] = time_of(primary) + (admitted(alternate) ? time_of(alternate) : 0);
    }
    return load;
}

// Adds one client's figures, the given number of times: once, or minus once.
template <typename Figures>
static void count(Figures &figures, const tspec_rec_load_t &load, uint32_t ac_idx, uint32_t times)
{
    figures.num_active += times * load.num_active[ac_idx];
    figures.num_clients += times;
    figures.num_roam_clients += load.roam_flag != 0 ? times : 0;
}

static void enter(tspec_stats_entry_t &entry, const tspec_rec_load_t &load, uint32_t ac_idx,
                  uint32_t times)
{
    count(entry, load, ac_idx, times);
    entry.med_time_admitted += times * load.med_time[ac_idx];
}

static void enter(const tspec_rec_load_t &load, tspec_ac_stats_t *ledger, uint32_t times)
{
    for (uint32_t ac_idx = 0; ac_idx < TSPEC_NUM_ACS; ac_idx++) {
        if (load.num_active[ac_idx] == 0) {
            continue;
        }
        tspec_ac_stats_t &area = ledger[ac_idx];
        const uint32_t radio = load.radio_unit - 1U;
        count(area, load, ac_idx, times);
        enter(area.radio[radio], load, ac_idx, times);
        if (load.vap < TSPEC_VAPS_PER_RADIO) {
            enter(area.vap[radio][load.vap], load, ac_idx, times);
        }
    }
}

static void replace(tspec_rec_t &rec, const tspec_rec_load_t &load)
{
    enter(rec.entered, tspec_cb->ledger, -1U);
    enter(load, tspec_cb->ledger, 1);
    rec.entered = load;
}

void tspec_ledger_update(tspec_rec_t &rec)
{
    replace(rec, load_of(rec));
}

void tspec_ledger_remove(tspec_rec_t &rec)
{
    replace(rec, {});
}

#ifndef NDEBUG
void tspec_ledger_check()
{
    tspec_ac_stats_t sums[TSPEC_NUM_ACS] = {};
    for (const tspec_rec_t *rec = tspec_cb->rec_head; rec != nullptr; rec = rec->next) {
        enter(load_of(*rec), sums, 1);
    }
    assert(memcmp(sums, tspec_cb->ledger, sizeof(sums)) == 0);
}
#endif
