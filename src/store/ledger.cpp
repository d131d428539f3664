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

static bool counts(const tspec_rec_t &rec, uint32_t ac_idx)
{
    return admitted(rec.streams[TSPEC_BANK_PRIMARY][ac_idx]);
}

// All zeros for a client that does not count on the access category.
static tspec_load_t load_of(const tspec_rec_t &rec, uint32_t ac_idx)
{
    if (!counts(rec, ac_idx)) {
        return {};
    }
    const tspec_ts_rec_t &primary = rec.streams[TSPEC_BANK_PRIMARY][ac_idx];
    const tspec_ts_rec_t &alternate = rec.streams[TSPEC_BANK_ALTERNATE][ac_idx];
    tspec_load_t load = {1, 1, rec.roam_flag != 0 ? 1U : 0, time_of(primary)};
    if (admitted(alternate)) {
        load.num_active++;
        load.med_time += time_of(alternate);
    }
    return load;
}

static tspec_load_t difference(const tspec_load_t &left, const tspec_load_t &right)
{
    return {left.num_active - right.num_active, left.num_clients - right.num_clients,
            left.num_roam_clients - right.num_roam_clients, left.med_time - right.med_time};
}

template <typename Figures>
static void count(Figures &figures, const tspec_load_t &load)
{
    figures.num_active += load.num_active;
    figures.num_clients += load.num_clients;
    figures.num_roam_clients += load.num_roam_clients;
}

static void count_with_time(tspec_stats_entry_t &entry, const tspec_load_t &load)
{
    count(entry, load);
    entry.med_time_admitted += load.med_time;
}

// A client that counts has had a radio since its first stream was booked.
static void enter(tspec_ac_stats_t &area, uint8_t radio_unit, uint8_t vap, const tspec_load_t &load)
{
    const uint32_t radio = radio_unit - 1U;
    count(area, load);
    count_with_time(area.radio[radio], load);
    if (vap < TSPEC_VAPS_PER_RADIO) {
        count_with_time(area.vap[radio][vap], load);
    }
}

static void withdraw(tspec_rec_t &rec, uint32_t ac_idx)
{
    tspec_load_t &load = rec.entered.load[ac_idx];
    if (load.num_active != 0) {
        enter(tspec_cb->ledger[ac_idx], rec.entered.radio_unit, rec.entered.vap,
              difference({}, load));
        load = {};
    }
}

void tspec_ledger_remove(tspec_rec_t &rec)
{
    for (uint32_t ac_idx = 0; ac_idx < TSPEC_NUM_ACS; ac_idx++) {
        withdraw(rec, ac_idx);
    }
}

void tspec_ledger_update(tspec_rec_t &rec)
{
    tspec_rec_entered_t &entered = rec.entered;
    const bool moved = rec.radio_unit != entered.radio_unit || rec.vap != entered.vap;
    for (uint32_t ac_idx = 0; ac_idx < TSPEC_NUM_ACS; ac_idx++) {
        tspec_load_t &before = entered.load[ac_idx];
        if (before.num_active == 0 && !counts(rec, ac_idx)) {
            continue;
        }
        if (moved) {
            withdraw(rec, ac_idx);
        }
        const tspec_load_t now = load_of(rec, ac_idx);
        enter(tspec_cb->ledger[ac_idx], rec.radio_unit, rec.vap, difference(now, before));
        before = now;
    }
    entered.radio_unit = rec.radio_unit;
    entered.vap = rec.vap;
}

#ifndef NDEBUG
void tspec_ledger_check()
{
    tspec_ac_stats_t sums[TSPEC_NUM_ACS] = {};
    for (const tspec_rec_t *rec = tspec_cb->rec_head; rec != nullptr; rec = rec->next) {
        for (uint32_t ac_idx = 0; ac_idx < TSPEC_NUM_ACS; ac_idx++) {
            if (counts(*rec, ac_idx)) {
                enter(sums[ac_idx], rec->radio_unit, rec->vap, load_of(*rec, ac_idx));
            }
        }
    }
    assert(memcmp(sums, tspec_cb->ledger, sizeof(sums)) == 0);
}
#endif
