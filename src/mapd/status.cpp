#include "mapd/status.h"

#include "core/control_block.h"
#include "core/daemon.h"
#include "core/ipc.h"
#include "core/messages.h"
#include "core/trace.h"
#include "store/client.h"
#include "store/load.h"

#include <bit>
#include <cstdio>

namespace {
// Medium time that streams of an access category may hold on a radio.
struct limits_t {
    uint32_t med_time;      // of clients that do not roam
    uint32_t roam_med_time; // of those that do: the roaming reserve is theirs
};
} // namespace

static void add(tspec_stats_entry_t &entry, const tspec_load_sum_t &sum)
{
    entry.num_active += sum.num_active;
    entry.num_clients += sum.num_clients;
    entry.num_roam_clients += sum.num_roam_clients;
    entry.med_time_admitted += sum.med_time;
}

static void add_up_radio(tspec_ac_stats_t &area, uint32_t radio, const tspec_load_survey_t &survey)
{
    for (uint32_t left = survey.in_use[radio]; left != 0; left &= left - 1) {
        const auto vap = static_cast<uint32_t>(std::countr_zero(left));
        const tspec_load_sum_t &sum = survey.by_vap[radio][vap];
        add(area.radio[radio], sum);
        if (vap < TSPEC_VAPS_PER_RADIO) {
            add(area.vap[radio][vap], sum);
        }
    }
}

// The survey leaves out the client that the message at hand is about.
static void add_client(tspec_ac_stats_t &area, const tspec_rec_t &rec, uint32_t ac_idx)
{
    if (rec.load.num_active[ac_idx] == 0) {
        return;
    }
    tspec_load_sum_t sum = {};
    tspec_load_add(sum, rec, ac_idx);
    add(area.radio[rec.radio_unit - 1U], sum);
    if (rec.vap < TSPEC_VAPS_PER_RADIO) {
        add(area.vap[rec.radio_unit - 1U][rec.vap], sum);
    }
}

static void count_clients(tspec_ac_stats_t &area, uint32_t ac_idx)
{
    const tspec_load_survey_t &survey = tspec_load_survey(ac_idx);
    for (uint32_t radio = 0; radio < TSPEC_NUM_RADIOS; radio++) {
        add_up_radio(area, radio, survey);
    }
    if (tspec_cb->rec_found.rec != nullptr) {
        add_client(area, *tspec_cb->rec_found.rec, ac_idx);
    }
    for (const tspec_stats_entry_t &radio : area.radio) {
        area.num_active += radio.num_active;
        area.num_clients += radio.num_clients;
        area.num_roam_clients += radio.num_roam_clients;
    }
}

static limits_t limits_of(const tspec_radio_cfg_t &cfg, uint32_t ac_idx)
{
    const uint32_t limit = cfg.limit_percent[ac_idx];
    const uint32_t reserve = tspec_is_managed() ? cfg.roam_reserve_percent : 0;
    const uint32_t unreserved = reserve < limit ? limit - reserve : 0;
    return {unreserved * TSPEC_MEDIUM_TIME_PER_SECOND / 100,
            limit * TSPEC_MEDIUM_TIME_PER_SECOND / 100};
}

static uint32_t left_of(uint32_t limit, uint32_t admitted)
{
    return admitted < limit ? limit - admitted : 0;
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
    tspec_ac_stats_t &area = tspec_cb->ac_stats[ac_idx];
    area = {};
    count_clients(area, ac_idx);
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
    area.changed = 1;
}

void tspec_ap_statistics_update(uint8_t ac_idx, const uint8_t *sta_mac, uint8_t cmd, uint8_t result)
{
    if (ac_idx < TSPEC_NUM_ACS) {
        tspec_rec_statistics_update(ac_idx, tspec_rec_get(sta_mac), cmd, result);
    }
}

void tspec_rec_statistics_update(uint8_t ac_idx, const tspec_rec_t *rec, uint8_t cmd,
                                 uint8_t result)
{
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

static void fill_entry(tspec_mapd_status_entry_t &to, const tspec_stats_entry_t &from)
{
    to.oper_status = from.oper_status;
    to.num_active = from.num_active;
    to.num_clients = from.num_clients;
    to.num_roam_clients = from.num_roam_clients;
    to.med_time_admitted = from.med_time_admitted;
    to.med_time_unalloc = from.med_time_unalloc;
    to.med_time_roam_unalloc = from.med_time_roam_unalloc;
}

static tspec_mapd_status_msg_t build_status(uint8_t ac_idx)
{
    const tspec_ac_stats_t &area = tspec_cb->ac_stats[ac_idx];
    const tspec_ac_totals_t &totals = tspec_cb->ac_totals[ac_idx];
    tspec_mapd_status_msg_t msg = tspec_new_mapd_status_msg(ac_idx);
    msg.num_active = area.num_active;
    msg.num_clients = area.num_clients;
    msg.num_roam_clients = area.num_roam_clients;
    msg.tot_accepted = totals.tot_accepted;
    msg.tot_rejected = totals.tot_rejected;
    msg.tot_roam_accepted = totals.tot_roam_accepted;
    msg.tot_roam_rejected = totals.tot_roam_rejected;
    for (uint32_t radio = 0; radio < TSPEC_NUM_RADIOS; radio++) {
        fill_entry(msg.radio[radio], area.radio[radio]);
        for (uint32_t vap = 0; vap < TSPEC_VAPS_PER_RADIO; vap++) {
            fill_entry(msg.vap[radio][vap], area.vap[radio][vap]);
        }
    }
    return msg;
}

static void send_status(uint8_t ac_idx)
{
    static constexpr const char *NAME = "tspec_mapd_status_update_msg_send";
    const tspec_mapd_status_msg_t msg = build_status(ac_idx);
    const int32_t sock = tspec_cb->tspec_sock;
    if (send_msg_to_other_process(sock, TSPEC_MAPD_PORT, &msg, sizeof(msg)) < 0) {
        perror("Error sending TSPEC Status message to mapd.\n");
        TSPEC_TRACE_AS(NAME, TSPEC_TRACE_INFO,
                       "%s: Error sending TSPEC Status cmd %u message to mapd socket id %d for "
                       "internal AC %u\r\n",
                       msg.cmd, sock, ac_idx);
        return;
    }
    tspec_cb->ac_stats[ac_idx].changed = 0;
    TSPEC_TRACE_AS(NAME, TSPEC_TRACE_INFO,
                   "%s: Sent TSPEC Status cmd %u message to mapd socket id %d for internal AC "
                   "%u\r\n",
                   msg.cmd, sock, ac_idx);
}

void tspec_mapd_status_update_msg_send()
{
    for (uint8_t ac_idx = 0; ac_idx < TSPEC_NUM_ACS; ac_idx++) {
        if (tspec_cb->ac_stats[ac_idx].changed == 1) {
            send_status(ac_idx);
        }
    }
}
