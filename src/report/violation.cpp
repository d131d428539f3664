#include "report/violation.h"

#include "core/control_block.h"
#include "core/names.h"
#include "core/text.h"
#include "core/trace.h"
#include "report/snmp_trap.h"

#include <array>
#include <cstdio>
#include <syslog.h>

#define TSPEC_TRACE_NAME __func__

using text_t = std::array<char, 256>;

// The SNMP agent's vocabulary: kind of record, and a constant of its own.
static constexpr int32_t TRAP_BANDWIDTH_EXCESS = 8;
static constexpr int32_t TRAP_UNAUTHORIZED_TRAFFIC = 9;
static constexpr int32_t TRAP_SECOND_FIELD = 2;

static void open_log()
{
    openlog("tspec", LOG_PID | LOG_CONS, LOG_USER);
}

static text_t excess_text(const tspec_rec_t &rec, const tspec_ts_rec_t &entry)
{
    text_t text;
    snprintf(text.data(), text.size(),
             "Client %s has exceeded bandwidth usage %u times for access category %s on tid %u "
             "(medium_time=%u dir=%s)",
             tspec_mac_text(rec.sta_mac).text, entry.excess_usage_events,
             tspec_ac_name(entry.ac_idx), entry.tid, entry.params.ie.medium_time,
             tspec_dir_name(entry.dir));
    return text;
}

static text_t excess_trap(const tspec_rec_t &rec, const tspec_ts_rec_t &entry)
{
    text_t trap;
    snprintf(trap.data(), trap.size(), "%d,%d,Client Bwidth excees usage,%s,%s,%s,%d,%d",
             TRAP_BANDWIDTH_EXCESS, TRAP_SECOND_FIELD, tspec_mac_text(rec.sta_mac).text,
             tspec_ac_name(entry.ac_idx), tspec_dir_name(entry.dir), entry.params.ie.medium_time,
             entry.tid);
    return trap;
}

// Access category by access category, the primary entry before the alternate one.
static const tspec_ts_rec_t &entry_at(const tspec_rec_t &rec, uint32_t place)
{
    return rec.streams[place % TSPEC_NUM_BANKS][place / TSPEC_NUM_BANKS];
}

static bool exceeded(const tspec_ts_rec_t &entry)
{
    return entry.state == TSPEC_TS_ADMITTED && entry.excess_usage_events != 0;
}

int32_t tspec_violation_report_notify()
{
    TSPEC_TRACE(TSPEC_TRACE_INFO, "Entry\r\n");
    open_log();
    for (const tspec_rec_t *rec = tspec_cb->rec_head; rec != nullptr; rec = rec->next) {
        for (uint32_t place = 0; place < TSPEC_NUM_ACS * TSPEC_NUM_BANKS; place++) {
            const tspec_ts_rec_t &entry = entry_at(*rec, place);
            if (!exceeded(entry)) {
                continue;
            }
            const text_t text = excess_text(*rec, entry);
            TSPEC_TRACE(TSPEC_TRACE_INFO, "%s\r\n", text.data());
            syslog(LOG_INFO, "%s", text.data());
            tspec_snmp_trap_write(excess_trap(*rec, entry).data());
        }
    }
    closelog();
    TSPEC_TRACE(TSPEC_TRACE_INFO, "Exit\r\n");
    return 0;
}

int32_t tspec_unauth_traffic_report_notify(const tspec_mapd_msg_t &msg, uint8_t ac_idx)
{
    TSPEC_TRACE(TSPEC_TRACE_INFO, "Entry\r\n");
    const tspec_mac_text_t mac = tspec_mac_text(msg.sta_mac);
    open_log();
    text_t text;
    snprintf(text.data(), text.size(), "Client %s has sent unauthorized traffic on AC %u", mac.text,
             ac_idx);
    TSPEC_TRACE(TSPEC_TRACE_INFO, "%s\r\n", text.data());
    syslog(LOG_INFO, "%s", text.data());
    closelog();
    text_t trap;
    snprintf(trap.data(), trap.size(), "%d,%d,Unauthorized traffic sent,%s,%s",
             TRAP_UNAUTHORIZED_TRAFFIC, TRAP_SECOND_FIELD, mac.text, tspec_ac_name(ac_idx));
    tspec_snmp_trap_write(trap.data());
    TSPEC_TRACE(TSPEC_TRACE_INFO, "Exit\r\n");
    return 0;
}
