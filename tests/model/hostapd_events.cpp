// DELTS, idle and excessive streams, unauthorised traffic, stations that leave.
#include "daemon.h"

namespace tspec::model {

namespace {

const char *const process_name = "tspec_hostapd_process";
const char *const disassoc_name = "tspec_hostapd_process_sta_disassoc";

} // namespace

// A stream in one direction releases nothing from the fast-transition account.
void Daemon::release_fbt_time(const Entry &entry, uint8_t ac_idx)
{
    Record &record = *entry.owner;
    if (record.fbt == 0) {
        return;
    }
    const uint32_t amount = entry.dir == bidirectional ? 2U * entry.medium_time() : 0;
    acu_fbt_ts_removal(record.radio_unit, ac_idx, static_cast<uint16_t>(amount));
    record.fbt = 0;
}

Daemon::Outcome Daemon::delts_request(const Request &request, Bytes &out)
{
    const char *sta = request.sta_text.c_str();
    trace(4, "%s:DELTS Request Message\r\n", process_name);
    Entry *entry = ts_rec_find_by_tid(request.sta_mac, request.tid, 0);
    if (entry == nullptr) {
        trace(2, "%s:Failed to get ts record for client %s\r\n", process_name, sta);
        return {Next::finish, -1};
    }
    out[mapd_at::cmd] = 3;
    pack_body(entry->stored, out, mapd_at::body);
    copy_bytes(request.msg, hostapd_at::ts_info, out, mapd_at::ts_info, 3);
    release_fbt_time(*entry, request.ac_idx);
    if (ts_rec_delete_tid(request.sta_mac, request.ac_idx, request.tid) != 0) {
        trace(2, "%s:Failed to delete tspec record for client %s TID %u\r\n", process_name, sta,
              request.tid);
        return {Next::finish, -1};
    }
    ts_status_update(request.ac_idx);
    return {Next::send, 0};
}

Daemon::Outcome Daemon::ts_inactive(const Request &request, Bytes &out)
{
    const char *sta = request.sta_text.c_str();
    trace(4, "%s:Inactive TS message for client %s TID %u on AC %u\r\n", process_name, sta,
          request.tid, request.ac);
    Entry *entry = ts_rec_find_by_tid(request.sta_mac, request.tid, 0);
    if (entry == nullptr) {
        return {Next::finish, -1};
    }
    const Record &record = *entry->owner;
    out[mapd_at::cmd] = 3;
    put_mac(out, mapd_at::peer_addr1, record.peer_addr1);
    put_mac(out, mapd_at::peer_addr2, record.peer_addr2);
    put_mac(out, mapd_at::sta_mac, record.sta_mac);
    out[mapd_at::radio_unit] = record.radio_unit;
    copy_bytes(record.ssid, 0, out, mapd_at::ssid, 32);
    out[mapd_at::ac_idx] = request.ac_idx;
    pack_body(entry->stored, out, mapd_at::body);
    copy_bytes(request.msg, hostapd_at::ts_info, out, mapd_at::ts_info, 3);

    int result = 0;
    if (send_hostapd_delts(*entry, request.radio_index) != 0) {
        trace(2, "%s:Error sending data to hostapd\n", process_name);
        result = -1;
    }
    release_fbt_time(*entry, request.ac_idx);
    const Mac record_mac = record.sta_mac;
    if (ts_rec_delete_tid(record_mac, request.ac_idx, request.tid) != 0) {
        trace(2, "%s:Failed to delete tspec record for client %s on AC %u TID %u\r\n", process_name,
              sta, request.ac, request.tid);
        return {Next::leave, -1};
    }
    ts_status_update(request.ac_idx);
    return {Next::send, result};
}

Daemon::Outcome Daemon::ts_exceed_time(const Request &request)
{
    trace(4, "%s:TS Exceed Time message for client %s TID %u on AC %u\r\n", process_name,
          request.sta_text.c_str(), request.tid, request.ac);
    Entry *entry = ts_rec_find_by_tid(request.sta_mac, request.tid, 0);
    if (entry == nullptr) {
        return {Next::finish, -1};
    }
    entry->excess_events++;
    return {Next::finish, 0};
}

Daemon::Outcome Daemon::ts_unauth_traffic(const Request &request, Bytes &out)
{
    trace(4, "%s:TS Unauthorized Traffic message for client %s on AC %u\r\n", process_name,
          request.sta_text.c_str(), request.ac);
    out[mapd_at::cmd] = 7;
    return {Next::send, 0};
}

int Daemon::sta_disassoc(const Bytes &msg)
{
    const Mac sta_mac = mac_at(msg, hostapd_at::sta_mac);
    const Mac vap_addr = mac_at(msg, hostapd_at::peer_addr2);
    const std::string sta = mac_text(sta_mac);
    trace(4, "%s:Entry - for client %s on VAP %s\r\n", disassoc_name, sta.c_str(),
          mac_text(vap_addr).c_str());
    for (uint8_t ac_idx = 0; ac_idx < 4; ac_idx++) {
        Record *record = ts_rec_get(sta_mac, ac_idx);
        if (record == nullptr || record->peer_addr2 != vap_addr) {
            continue;
        }
        if (!is_managed()) {
            for (int bank = 0; bank < 2; bank++) {
                const auto amount =
                    static_cast<uint16_t>(record->entries[bank][ac_idx].booked_time());
                acu_ts_removal(record->radio_unit, ac_idx, amount);
                if (record->fbt != 0) {
                    acu_fbt_ts_removal(record->radio_unit, ac_idx, amount);
                    record->fbt = 0;
                }
            }
        }
        if (ts_rec_delete(sta_mac, ac_idx) != 0) {
            trace(2, "%s:Failed to delete client %s TSPEC record on AC %u\r\n", disassoc_name,
                  sta.c_str(), ac_idx);
        } else {
            trace(4, "%s:Deleted client %s TSPEC record on AC %u\r\n", disassoc_name, sta.c_str(),
                  ac_idx);
        }
        ts_status_update(ac_idx);
    }
    trace(4, "%s:Exit\r\n", disassoc_name);
    return 0;
}

} // namespace tspec::model
