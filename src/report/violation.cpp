#include "report/violation.h"

#include "core/control_block.h"
#include "core/names.h"
#include "core/text.h"
#include "core/trace.h"
#include "report/snmp_trap.h"

#include <array>
#include <cstdio>
#include <syslog.h>

using text_t = std::array<char, 256>;

// The SNMP agent's vocabulary: kind of record, and a constant of its own.
static constexpr int32_t TRAP_BANDWIDTH_EXCESS = 8;
static constexpr int32_t TRAP_UNAUTHORIZED_TRAFFIC = 9;
static constexpr int32_t TRAP_SECOND_FIELD = 2;

static void open_log()
{
    openlog("tspec", LOG_PID | LOG_CONS, LOG_USER);
}

static void report_excess(const tspec_rec_t &rec, const tspec_ts_rec_t &entry)
{
    const tspec_mac_text_t mac = tspec_mac_text(rec.sta_mac);
    const char *const ac = tspec_ac_name(entry.ac_idx);
    const char *const dir = tspec_dir_name(entry.dir);
    const uint32_t medium_time = entry.params.ie.medium_time;
    text_t text;
    snprintf(text.data(), text.size(),
             "Client %s has exceeded bandwidth usage %u times for access category %s on tid %u "
             "(medium_time=%u dir=%s)",
             mac.text, entry.excess_usage_events, ac, entry.tid, medium_time, dir);
    TSPEC_TRACE_AS("tspec_violation_report_notify", TSPEC_TRACE_INFO, "%s:%s\r\n", text.data());
    syslog(LOG_INFO, "%s", text.data());
    text_t trap;
    snprintf(trap.data(), trap.size(), "%d,%d,Client Bwidth excees usage,%s,%s,%s,%d,%d",
             TRAP_BANDWIDTH_EXCESS, TRAP_SECOND_FIELD, mac.text, ac, dir,
             static_cast<int32_t>(medium_time), entry.tid);
    tspec_snmp_trap_write(trap.data());
}

static bool exceeded(const tspec_ts_rec_t &entry)
{
    return entry.state == TSPEC_TS_ADMITTED && entry.excess_usage_events != 0;
}

static void report_client(const tspec_rec_t &rec)
{
    for (uint32_t ac_idx = 0; ac_idx < TSPEC_NUM_ACS; ac_idx++) {
        for (const auto &bank : rec.streams) {
            if (exceeded(bank[ac_idx])) {
                report_excess(rec, bank[ac_idx]);
            }
        }
    }
}

uint32_t tspec_violation_report_notify()
{
    TSPEC_TRACE(TSPEC_TRACE_INFO, "%s:Entry\r\n");
    open_log();
    for (const tspec_rec_t *rec = tspec_cb->rec_head; rec != nullptr; rec = rec->next) {
        report_client(*rec);
    }
    closelog();
    TSPEC_TRACE(TSPEC_TRACE_INFO, "%s:Exit\r\n");
    return 0;
}

uint32_t tspec_unauth_traffic_report_notify(const tspec_mapd_msg_t &msg, uint8_t ac_idx)
{
    TSPEC_TRACE(TSPEC_TRACE_INFO, "%s:Entry\r\n");
    const tspec_mac_text_t mac = tspec_mac_text(msg.sta_mac);
    open_log();
    text_t text;
    snprintf(text.data(), text.size(), "Client %s has sent unauthorized traffic on AC %u", mac.text,
             ac_idx);
    TSPEC_TRACE(TSPEC_TRACE_INFO, "%s:%s\r\n", text.data());
    syslog(LOG_INFO, "%s", text.data());
    closelog();
    text_t trap;
    snprintf(trap.data(), trap.size(), "%d,%d,Unauthorized traffic sent,%s,%s",
             TRAP_UNAUTHORIZED_TRAFFIC, TRAP_SECOND_FIELD, mac.text, tspec_ac_name(ac_idx));
    tspec_snmp_trap_write(trap.data());
    TSPEC_TRACE(TSPEC_TRACE_INFO, "%s:Exit\r\n");
    return 0;
}
