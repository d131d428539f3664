// Streams that a station brings along from another access point.
#include "daemon.h"

namespace tspec::model {

namespace {

const uint8_t priority_to_ac[8] = {be, bk, bk, be, vi, vi, vo, vo};

} // namespace

int Daemon::fbt_addts_req_process(const Bytes &msg)
{
    const char *name = "tspec_fbt_addts_req_process";
    const uint8_t ac_idx = priority_to_ac[(msg[hostapd_at::ts_info + 1] & 0x38) >> 3];
    const uint8_t dir = (msg[hostapd_at::ts_info] & 0x60) >> 5;
    const uint8_t tid = msg[hostapd_at::tid];
    const uint8_t radio_unit = msg[hostapd_at::radio_unit];
    const uint8_t vap = msg[hostapd_at::vap];
    const Mac sta_mac = mac_at(msg, hostapd_at::sta_mac);
    trace(4, "%s: Ext. AC=%u TID=%u Dir=%u\r\n", name, ac_idx, tid, dir);
    trace(4, "%s:FBT ADDTS Request message\r\n", name);
    if (!client_is_associated(sta_mac, radio_unit, vap)) {
        trace(4,
              "%s:Received FBT ADDTS request from unassociated client %s. "
              "Request ignored.\r\n",
              name, mac_text(sta_mac).c_str());
        return -1;
    }
    if (ts_rec_get(sta_mac, ac_idx) != nullptr) {
        sta_disassoc(msg);
    }
    if (state_.stream_count >= max_streams) {
        trace(2, "%s:MAX TS (%d) allowed per AP exceeded. Sending 'Refused' response.\r\n", name,
              512);
        return send_addts_reject(msg, ac_idx, 3);
    }
    Record *record = rec_add(sta_mac);
    if (record == nullptr) {
        trace(2, "%s:Failed to add tspec_rec to the database for client %s \r\n", name,
              mac_text(sta_mac).c_str());
        return -1;
    }
    state_.stream_count = static_cast<uint16_t>(state_.stream_count + 1);
    record->peer_addr1 = mac_at(msg, hostapd_at::peer_addr1);
    record->peer_addr2 = mac_at(msg, hostapd_at::peer_addr2);
    record->sta_mac = sta_mac;
    record->radio_unit = radio_unit;
    copy_bytes(msg, hostapd_at::ssid, record->ssid, 0, 32);
    record->ssid[32] = 0;
    record->vap = vap;
    record->fbt = 1;
    Entry &entry = record->entries[0][ac_idx];
    entry.tid = tid;
    entry.ac_idx = ac_idx;
    entry.dir = dir;
    entry.state = entry_admitted;
    entry.inactivity_timeout = inactivity_timeout_get(radio_unit - 1U, dir);
    entry.aux_byte = msg[hostapd_at::aux_byte];
    entry.aux_addr = mac_at(msg, hostapd_at::aux_addr);
    copy_bytes(msg, hostapd_at::tspec, entry.stored, 0, element_at::stored_size);
    ts_status_update(ac_idx);
    acu_fbt_ts_add(radio_unit, ac_idx, static_cast<uint16_t>(entry.booked_time()));
    return 0;
}

void Daemon::fbt_ts_delete(const Bytes &msg, uint8_t ac_idx)
{
    const Mac sta_mac = mac_at(msg, hostapd_at::sta_mac);
    const Record *record = ts_rec_get(sta_mac, ac_idx);
    if (record == nullptr || record->fbt == 0) {
        return;
    }
    if (ts_rec_find_by_tid(sta_mac, msg[hostapd_at::tid], 0) == nullptr) {
        trace(2, "%s:Failed to get ts record for client %s\r\n", "tspec_fbt_ts_delete",
              mac_text(sta_mac).c_str());
        return;
    }
    sta_disassoc(msg);
}

} // namespace tspec::model
