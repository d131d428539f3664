#include "mapd/status.h"

#include "core/control_block.h"
#include "core/daemon.h"
#include "core/ipc.h"
#include "core/messages.h"
#include "core/trace.h"
#include "core/ts_info.h"
#include "store/client.h"

#include <cstdio>

namespace {
// What one client adds to the load of an access category.
struct client_load_t {
    uint32_t num_active;
    uint32_t num_roam_clients;
    uint32_t med_time_admitted;
};

// Medium time that streams of an access category may hold on a radio.
struct limits_t {
    uint32_t med_time;      // of clients that do not roam
    uint32_t roam_med_time; // of those that do: the roaming reserve is theirs
};
} // namespace

static void add_stream(client_load_t &load, const tspec_ts_rec_t &entry)
{
    load.num_active++;
    load.med_time_admitted += tspec_medium_time_both_ways(entry.params.ie.medium_time, entry.dir);
}

// Of a client whose primary stream is admitted.
static client_load_t load_of(const tspec_rec_t &rec, uint32_t ac_idx)
{
    client_load_t load = {0, rec.roam_flag != 0 ? 1U : 0U, 0};
    add_stream(load, rec.streams[TSPEC_BANK_PRIMARY][ac_idx]);
    const tspec_ts_rec_t &alternate = rec.streams[TSPEC_BANK_ALTERNATE][ac_idx];
    if (alternate.state == TSPEC_TS_ADMITTED) {
        add_stream(load, alternate);
    }
    return load;
}

static void add(tspec_stats_entry_t &entry, const client_load_t &load)
{
    entry.num_active += load.num_active;
    entry.num_clients++;
    entry.num_roam_clients += load.num_roam_clients;
    entry.med_time_admitted += load.med_time_admitted;
}

// A client whose only admitted stream is its alternate one is not counted.
static void count_clients(tspec_ac_stats_t &area, uint32_t ac_idx)
{
    for (const tspec_rec_t *rec = tspec_cb->rec_head; rec != nullptr; rec = rec->next) {
        if (rec->streams[TSPEC_BANK_PRIMARY][ac_idx].state != TSPEC_TS_ADMITTED) {
            continue;
        }
        const client_load_t load = load_of(*rec, ac_idx);
        const uint32_t radio = rec->radio_unit - 1U;
        add(area.radio[radio], load);
        // hostapd may number a VAP that there is no place for.
        if (rec->vap < TSPEC_VAPS_PER_RADIO) {
            add(area.vap[radio][rec->vap], load);
        }
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
