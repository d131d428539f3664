#include "store/snapshot.h"

#include "core/daemon.h"
#include "store/client.h"
#include "store/ledger.h"

#include <algorithm>

namespace {
// Medium time that streams of an access category may hold on a radio.
struct limits_t {
    uint32_t med_time;      // of clients that do not roam
    uint32_t roam_med_time; // of those that do: the roaming reserve is theirs
};
} // namespace

static uint32_t med_time_of_percent(uint32_t percent)
{
    return percent * TSPEC_MEDIUM_TIME_PER_SECOND / 100;
}

static limits_t limits_of(const tspec_radio_cfg_t &cfg, uint32_t ac_idx)
{
    const uint32_t limit = cfg.limit_percent[ac_idx];
    const uint32_t reserve = tspec_is_managed() ? cfg.roam_reserve_percent : 0;
    return {med_time_of_percent(limit - std::min(reserve, limit)), med_time_of_percent(limit)};
}

static uint32_t left_of(uint32_t limit, uint32_t admitted)
{
    return limit - std::min(admitted, limit);
}

static void set_operational(tspec_stats_entry_t &entry, const limits_t &limits)
{
    entry.oper_status = 1;
    entry.med_time_unalloc = left_of(limits.med_time, entry.med_time_admitted);
    entry.med_time_roam_unalloc = left_of(limits.roam_med_time, entry.med_time_admitted);
}

void tspec_ts_status_update(uint32_t ac_idx)
{
    if (ac_idx >= TSPEC_NUM_ACS) {
        return;
    }
    tspec_ledger_check();
    tspec_ac_stats_t &area = tspec_cb->ac_stats[ac_idx];
    area = tspec_cb->ledger[ac_idx];
    area.changed = 1;
    // An operational first radio makes the second one report operational too.
    bool operational = false;
    for (uint32_t radio = 0; radio < TSPEC_NUM_RADIOS; radio++) {
        const tspec_radio_cfg_t &cfg = tspec_cb->radio_cfg[radio];
        operational = operational || (cfg.tspec_enabled != 0 && cfg.acm[ac_idx] != 0);
        if (!operational) {
            continue;
        }
        const limits_t limits = limits_of(cfg, ac_idx);
        set_operational(area.radio[radio], limits);
        for (tspec_stats_entry_t &vap : area.vap[radio]) {
            set_operational(vap, limits);
        }
    }
}

void tspec_ap_statistics_update(uint8_t ac_idx, const uint8_t *sta_mac, uint8_t cmd, uint8_t result)
{
    tspec_ap_statistics_update(ac_idx, tspec_rec_get(sta_mac), cmd, result);
}

void tspec_ap_statistics_update(uint8_t ac_idx, const tspec_rec_t *rec, uint8_t cmd, uint8_t result)
{
    if (ac_idx >= TSPEC_NUM_ACS) {
        return;
    }
    const uint32_t roaming = rec != nullptr && rec->roam_flag != 0 ? 1 : 0;
    tspec_ac_totals_t &totals = tspec_cb->ac_totals[ac_idx];
    if (cmd == TSPEC_ADDTS_RESP_CMD && result == TSPEC_RESULT_ACCEPTED) {
        totals.tot_accepted++;
        totals.tot_roam_accepted += roaming;
    } else if (cmd == TSPEC_ADDTS_RESP_CMD) {
        totals.tot_rejected++;
        totals.tot_roam_rejected += roaming;
    }
    tspec_cb->ac_stats[ac_idx].changed = 1;
}
