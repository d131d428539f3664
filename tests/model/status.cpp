// Managed or not, and what mapd and dman are told about the load.
#include "daemon.h"

namespace tspec::model {

int Daemon::mapd_direct_process(const Bytes &msg, uint32_t len)
{
    const char *name = "tspec_mapd_direct_process";
    trace(1, "%s:Entry\r\n", name);
    if (msg[0] != 6) {
        trace(2, "%s:Invalid message type %u\r\n", name, msg[0]);
        return -1;
    }
    if (len != direct_at::size) {
        trace(2, "%s:Error in TSPEC direct message from MAPD, length mismatch: exp=%d act=%d\r\n",
              name, 3, static_cast<int>(len));
        return -1;
    }
    int result = 0;
    const uint8_t mode = msg[direct_at::managed_mode];
    if (msg[direct_at::cmd] != 1) {
        trace(1, "%s:Invalid command type %u\r\n", name, msg[direct_at::cmd]);
        result = -1;
    } else {
        trace(1, "%s:AP State message\r\n", name);
        if (mode == 0 || mode == 1) {
            state_.ap_state = static_cast<uint8_t>(mode + 1);
            trace(1, "%s:Changed TSPEC ap_state to %u\r\n", name, state_.ap_state);
            state_.last_violation_report = time_;
        } else {
            trace(2, "%s:Error in AP State direct message from MAPD, managed_mode=%u\r\n", name,
                  mode);
            result = -1;
        }
    }
    trace(1, "%s:Exit (rc=%d)\r\n", name, result);
    return result;
}

void Daemon::ts_status_update(uint8_t ac)
{
    if (ac >= 4) {
        return;
    }
    AcStats area;
    for (const Record &client : state_.clients) {
        if (client.entries[0][ac].state != entry_admitted) {
            continue;
        }
        uint32_t medium_time = 0;
        uint32_t active = 0;
        for (int bank = 0; bank < 2; bank++) {
            const Entry &entry = client.entries[bank][ac];
            if (entry.state == entry_admitted) {
                medium_time += entry.booked_time();
                active++;
            }
        }
        const uint32_t roaming = client.roam != 0 ? 1 : 0;
        area.num_active += active;
        area.num_clients += 1;
        area.num_roam_clients += roaming;
        const auto count_in = [&](StatsEntry &entry) {
            entry.num_active += active;
            entry.num_clients += 1;
            entry.num_roam_clients += roaming;
            entry.med_time_admitted += medium_time;
        };
        const size_t radio = client.radio_unit - 1U;
        count_in(area.radio[radio]);
        if (client.vap < 16) {
            count_in(area.vap[radio][client.vap]);
        }
    }

    uint8_t operational = 0;
    for (size_t radio = 0; radio < 2; radio++) {
        const RadioConfig &config = state_.config[radio];
        if (config.tspec_enabled != 0 && config.acm[ac] != 0) {
            operational = 1; // stays so for the second radio
        }
        const uint32_t limit = config.limit_percent[ac];
        const uint32_t reserve = is_managed() ? config.roam_reserve_percent : 0;
        const uint32_t base = reserve < limit ? (limit - reserve) * units_per_second / 100 : 0;
        const uint32_t roam_base = limit * units_per_second / 100;
        const auto fill = [&](StatsEntry &entry) {
            entry.oper_status = operational;
            if (operational == 0) {
                return;
            }
            if (entry.med_time_admitted < base) {
                entry.med_time_unalloc = base - entry.med_time_admitted;
            }
            if (entry.med_time_admitted < roam_base) {
                entry.med_time_roam_unalloc = roam_base - entry.med_time_admitted;
            }
        };
        fill(area.radio[radio]);
        for (StatsEntry &vap : area.vap[radio]) {
            fill(vap);
        }
    }
    area.changed = 1;
    state_.ac_stats[ac] = area;
}

void Daemon::ap_statistics_update(uint8_t ac, const Mac &mac, uint8_t cmd, uint8_t result)
{
    if (ac >= 4) {
        return;
    }
    const Record *record = rec_get(mac);
    const bool roaming = record != nullptr && record->roam != 0;
    AcTotals &totals = state_.ac_totals[ac];
    if (cmd == 2) {
        if (result != 0) {
            totals.rejected += 1;
            totals.roam_rejected += roaming ? 1 : 0;
        } else {
            totals.accepted += 1;
            totals.roam_accepted += roaming ? 1 : 0;
        }
    }
    state_.ac_stats[ac].changed = 1;
}

namespace {

void put_status_entry(Bytes &msg, size_t offset, const StatsEntry &entry)
{
    put_u32(msg, offset, entry.oper_status);
    put_u32(msg, offset + 4, entry.num_active);
    put_u32(msg, offset + 8, entry.num_clients);
    put_u32(msg, offset + 12, entry.num_roam_clients);
    put_u32(msg, offset + 16, entry.med_time_admitted);
    put_u32(msg, offset + 20, entry.med_time_unalloc);
    put_u32(msg, offset + 24, entry.med_time_roam_unalloc);
}

Bytes status_message(uint8_t ac, const AcStats &area, const AcTotals &totals)
{
    Bytes msg(status_at::size, 0);
    msg[status_at::msg_type] = 0x28;
    msg[status_at::cmd] = 1;
    msg[status_at::ac_idx] = ac;
    put_u32(msg, status_at::num_active, area.num_active);
    put_u32(msg, status_at::num_clients, area.num_clients);
    put_u32(msg, status_at::num_roam_clients, area.num_roam_clients);
    put_u32(msg, status_at::tot_accepted, totals.accepted);
    put_u32(msg, status_at::tot_rejected, totals.rejected);
    put_u32(msg, status_at::tot_roam_accepted, totals.roam_accepted);
    put_u32(msg, status_at::tot_roam_rejected, totals.roam_rejected);
    for (size_t radio = 0; radio < 2; radio++) {
        put_status_entry(msg, status_at::radio + radio * status_at::entry_size, area.radio[radio]);
        for (size_t vap = 0; vap < 16; vap++) {
            put_status_entry(msg, status_at::vap + (radio * 16 + vap) * status_at::entry_size,
                             area.vap[radio][vap]);
        }
    }
    return msg;
}

} // namespace

void Daemon::mapd_status_update_msg_send()
{
    const char *name = "tspec_mapd_status_update_msg_send";
    for (uint8_t ac = 0; ac < 4; ac++) {
        AcStats &area = state_.ac_stats[ac];
        if (area.changed != 1) {
            continue;
        }
        if (send_msg(mapd_port, status_message(ac, area, state_.ac_totals[ac])) != 0) {
            print_error("Error sending TSPEC Status message to mapd.\n", last_error_);
            trace(1,
                  "%s: Error sending TSPEC Status cmd %u message to mapd socket id %d for "
                  "internal AC %u\r\n",
                  name, 1U, settings_.udp_socket, ac);
            continue;
        }
        area.changed = 0;
        trace(1,
              "%s: Sent TSPEC Status cmd %u message to mapd socket id %d for internal AC "
              "%u\r\n",
              name, 1U, settings_.udp_socket, ac);
    }
}

} // namespace tspec::model
