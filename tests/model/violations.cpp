// Excess use and unauthorised traffic, to the system log and the trap pipe.
#include "daemon.h"

#include <cerrno>
#include <syslog.h>

namespace tspec::model {

const char *access_category_name(uint8_t ac_idx)
{
    switch (ac_idx) {
    case vo:
        return "voice";
    case vi:
        return "video";
    case be:
        return "best-effort";
    case bk:
        return "background";
    default:
        return "unknown";
    }
}

const char *direction_name(uint8_t dir)
{
    switch (dir) {
    case uplink:
        return "uplink";
    case downlink:
        return "downlink";
    case bidirectional:
        return "bidirectional";
    default:
        return "reserved";
    }
}

void Daemon::log_open()
{
    emit(LogOpened{"tspec", LOG_PID | LOG_CONS, LOG_USER});
}

void Daemon::log_line(const std::string &line)
{
    emit(LogLine{"tspec", LOG_INFO, line});
}

void Daemon::log_close()
{
    emit(LogClosed{});
}

void Daemon::violation_report_notify()
{
    const char *name = "tspec_violation_report_notify";
    trace(1, "%s:Entry\r\n", name);
    log_open();
    for (const Record &client : state_.clients) {
        for (int ac = 0; ac < 4; ac++) {
            for (int bank = 0; bank < 2; bank++) {
                const Entry &entry = client.entries[bank][ac];
                if (entry.state != entry_admitted || entry.excess_events == 0) {
                    continue;
                }
                const std::string mac = mac_text(client.sta_mac);
                const std::string line =
                    text("Client %s has exceeded bandwidth usage %u times for access category %s "
                         "on tid %u (medium_time=%u dir=%s)",
                         mac.c_str(), entry.excess_events, access_category_name(entry.ac_idx),
                         entry.tid, entry.medium_time(), direction_name(entry.dir));
                trace(1, "%s:%s\r\n", name, line.c_str());
                log_line(line);
                snmp_trap_write(text("%d,%d,Client Bwidth excees usage,%s,%s,%s,%d,%d", 8, 2,
                                     mac.c_str(), access_category_name(entry.ac_idx),
                                     direction_name(entry.dir), entry.medium_time(), entry.tid));
            }
        }
    }
    log_close();
    trace(1, "%s:Exit\r\n", name);
}

int Daemon::unauth_traffic_report_notify(const Bytes &msg, uint8_t ac)
{
    const char *name = "tspec_unauth_traffic_report_notify";
    trace(1, "%s:Entry\r\n", name);
    log_open();
    const std::string mac = mac_text(mac_at(msg, mapd_at::sta_mac));
    const std::string line =
        text("Client %s has sent unauthorized traffic on AC %u", mac.c_str(), ac);
    trace(1, "%s:%s\r\n", name, line.c_str());
    log_line(line);
    log_close();
    snmp_trap_write(
        text("%d,%d,Unauthorized traffic sent,%s,%s", 9, 2, mac.c_str(), access_category_name(ac)));
    trace(1, "%s:Exit\r\n", name);
    return 0;
}

void Daemon::snmp_trap_write(const std::string &record)
{
    const TrapReaction pipe = environment_.trap_pipe();
    if (pipe.open_error == 0) {
        emit(TrapRecord{record, pipe.write_error});
    } else if (pipe.open_error != ENOENT && pipe.open_error != ENXIO) {
        print_error("open[SNMP_TRAP_TSPEC_FIFO_FILE]", pipe.open_error);
    }
}

} // namespace tspec::model
