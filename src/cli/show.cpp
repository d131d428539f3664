#include "cli/show.h"

#include "admission/acu.h"
#include "core/control_block.h"
#include "core/text.h"
#include "core/trace.h"
#include "core/ts_info.h"

#include <array>

static constexpr uint32_t MICROSECONDS = 1000000;

namespace {
struct totals_t {
    uint32_t clients;
    std::array<uint32_t, TSPEC_NUM_ACS> streams; // by access category
};
} // namespace

static void show_entry(const tspec_rec_t &rec, uint8_t bank, const tspec_ts_rec_t &entry)
{
    tspec_map_print_debug_trace(
        TSPEC_TRACE_ALWAYS,
        "sta=%s %3s tid=%u ac=%u dir=%u prio=%u med_time=%-5u state=%u inact=%-3u tok=%-3u "
        "excess_use=%-5u\r\n",
        tspec_mac_text(rec.sta_mac).text, bank == TSPEC_BANK_PRIMARY ? "Pri" : "Alt", entry.tid,
        entry.ac_idx, entry.dir, tspec_ts_info_decode(entry.params.ie.ts_info).user_priority,
        entry.params.ie.medium_time, entry.state, entry.inactivity_timeout / MICROSECONDS,
        entry.aux_byte, entry.excess_usage_events);
}

static void show_client(const tspec_rec_t &rec, bool all, totals_t &totals)
{
    bool has_stream = false;
    for (uint8_t ac_idx = 0; ac_idx < TSPEC_NUM_ACS; ac_idx++) {
        for (uint8_t bank = 0; bank < TSPEC_NUM_BANKS; bank++) {
            const tspec_ts_rec_t &entry = rec.streams[bank][ac_idx];
            const bool in_use = entry.state != TSPEC_TS_FREE;
            if (in_use || all) {
                show_entry(rec, bank, entry);
            }
            if (in_use) {
                totals.streams[entry.ac_idx]++;
                has_stream = true;
            }
        }
    }
    totals.clients += has_stream ? 1 : 0;
}

static void show_clients(bool all)
{
    if (tspec_cb->rec_head == nullptr) {
        tspec_map_print_debug_trace(TSPEC_TRACE_ALWAYS, "No TS records found.\r\n");
        return;
    }
    tspec_map_print_debug_trace(TSPEC_TRACE_ALWAYS, "Client TS records:\r\n");
    totals_t totals = {};
    for (const tspec_rec_t *rec = tspec_cb->rec_head; rec != nullptr; rec = rec->next) {
        show_client(*rec, all, totals);
    }
    tspec_map_print_debug_trace(
        TSPEC_TRACE_ALWAYS,
        "TS Totals:  clients=%u voice=%u video=%u,best-effort=%u,background=%u\r\n", totals.clients,
        totals.streams[TSPEC_AC_VO], totals.streams[TSPEC_AC_VI], totals.streams[TSPEC_AC_BE],
        totals.streams[TSPEC_AC_BK]);
}

static uint32_t current(uint32_t radio, uint8_t ac_idx)
{
    return tspec_cb->acu[radio].admitted_med_time[ac_idx];
}

static uint32_t limit(uint32_t radio, uint8_t ac_idx)
{
    return tspec_acu_acm_limit_percent_convert(tspec_cb->radio_cfg[radio].limit_percent[ac_idx]);
}

static void show_medium_time()
{
    tspec_map_print_debug_trace(
        TSPEC_TRACE_ALWAYS,
        "Admit Current/Limit:  wlan0: vo=%u/%u vi=%u/%u be=%u/%u bk=%u/%u  "
        "wlan1: vo=%u/%u vi=%u/%u be=%u/%u bk=%u/%u\r\n",
        current(0, TSPEC_AC_VO), limit(0, TSPEC_AC_VO), current(0, TSPEC_AC_VI),
        limit(0, TSPEC_AC_VI), current(0, TSPEC_AC_BE), limit(0, TSPEC_AC_BE),
        current(0, TSPEC_AC_BK), limit(0, TSPEC_AC_BK), current(1, TSPEC_AC_VO),
        limit(1, TSPEC_AC_VO), current(1, TSPEC_AC_VI), limit(1, TSPEC_AC_VI),
        current(1, TSPEC_AC_BE), limit(1, TSPEC_AC_BE), current(1, TSPEC_AC_BK),
        limit(1, TSPEC_AC_BK));
}

void tspec_cli_show(bool all)
{
    show_clients(all);
    show_medium_time();
}
