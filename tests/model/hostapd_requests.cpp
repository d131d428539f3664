// The common road of every hostapd message, and the ADDTS request.
#include "daemon.h"

namespace tspec::model {

namespace {

const char *const process_name = "tspec_hostapd_process";
const uint8_t priority_to_ac[8] = {be, bk, bk, be, vi, vi, vo, vo};

} // namespace

int Daemon::hostapd_exit(int result)
{
    trace(4, "%s:Exit (rc=%d)\r\n", process_name, result);
    return result;
}

int Daemon::hostapd_process(const Bytes &msg, uint32_t len)
{
    trace(4, "%s:Entry\r\n", process_name);
    const uint8_t radio_unit = msg[hostapd_at::radio_unit];
    if (radio_unit == 0 || radio_unit >= 3) {
        trace(2, "%s:Error in message from hostapd, radio_unit=%u\r\n", process_name, radio_unit);
        return hostapd_exit(-1);
    }
    hex_ver_pkt_print(msg, len);
    const uint8_t cmd = msg[hostapd_at::cmd];
    if (cmd == 8) {
        if (state_.disassoc_mode == 0) {
            sta_disassoc(msg);
        }
        return hostapd_exit(0);
    }

    const uint8_t b0 = msg[hostapd_at::ts_info];
    const uint8_t b1 = msg[hostapd_at::ts_info + 1];
    const uint8_t b2 = msg[hostapd_at::ts_info + 2];
    const uint8_t info_tid = (b0 & 0x1e) >> 1;
    const uint8_t dir = (b0 & 0x60) >> 5;
    const uint8_t ac = priority_to_ac[(b1 & 0x38) >> 3];
    const uint8_t tid = msg[hostapd_at::tid];
    const Mac sta_mac = mac_at(msg, hostapd_at::sta_mac);
    trace(4, "%s: Ext. AC=%u TID=%u Dir=%u,tsinfo[0]=%x,tsinfo[1]=%x,tsinfo[2] is %x\r\n",
          process_name, ac, tid, dir, b0, b1, b2);
    if (tid != info_tid) {
        trace(2, "%s: hostapd msg TID %u differs from TSInfo TID %u\r\n", process_name, tid,
              info_tid);
    }
    const RadioConfig &config = state_.config[radio_unit - 1U];
    const bool needs_medium_time = config.tspec_enabled != 0 && config.acm[ac] != 0;
    if (!needs_medium_time) {
        trace(4, "%s:Accept TSPEC for AC %u and set medium time to 0\r\n", process_name, ac);
    }

    const Request request{msg,
                          len,
                          cmd,
                          radio_unit,
                          radio_unit - 1U,
                          msg[hostapd_at::vap],
                          sta_mac,
                          mac_text(sta_mac),
                          tid,
                          dir,
                          ac,
                          ac,
                          needs_medium_time};
    Bytes out(mapd_at::size, 0);
    out[mapd_at::msg_type] = 0x23;
    const Outcome outcome = hostapd_branch(request, out);
    if (outcome.next == Next::leave) {
        return outcome.result;
    }
    if (outcome.next == Next::finish) {
        return hostapd_exit(outcome.result);
    }

    if (cmd == 1 || cmd == 3 || cmd == 7) {
        copy_bytes(msg, hostapd_at::peer_addr1, out, mapd_at::peer_addr1, 6);
        copy_bytes(msg, hostapd_at::peer_addr2, out, mapd_at::peer_addr2, 6);
        put_mac(out, mapd_at::sta_mac, sta_mac);
        out[mapd_at::radio_unit] = radio_unit;
        copy_bytes(msg, hostapd_at::ssid, out, mapd_at::ssid, 32);
        out[mapd_at::ac_idx] = request.ac_idx;
        out[mapd_at::result_code] = 0;
    }
    int result = outcome.result;
    if (send_to_acu(out, request.ac_idx, cmd) != 0) {
        trace(2, "%s:Failed to process TSPEC Request message", process_name);
        ts_rec_delete_tid(sta_mac, request.ac_idx, tid);
        result = -1;
    }
    return hostapd_exit(result);
}

Daemon::Outcome Daemon::hostapd_branch(const Request &request, Bytes &out)
{
    switch (request.cmd) {
    case 1:
        return addts_request(request, out);
    case 3:
        return delts_request(request, out);
    case 4:
        return ts_inactive(request, out);
    case 6:
        return ts_exceed_time(request);
    case 7:
        return ts_unauth_traffic(request, out);
    case 9:
        trace(4, "%s:TS FBT ADDTS CMD for client %s on AC %u\r\n", process_name,
              request.sta_text.c_str(), request.ac);
        fbt_addts_req_process(request.msg);
        return {Next::finish, 0};
    default:
        return {Next::finish, -1};
    }
}

// Bank 0, unless the request is for one direction and either the stream with
// its TID already runs in that direction, or it is new and bank 0 is taken by
// a stream in the other direction.
Entry &Daemon::choose_entry(const Request &request, Record &record, Entry *existing)
{
    Entry &primary = record.entries[0][request.ac_idx];
    if (request.dir == bidirectional) {
        return primary;
    }
    if (existing != nullptr) {
        return existing->dir == request.dir ? *existing : primary;
    }
    if (primary.in_use() && primary.dir != bidirectional && primary.dir != request.dir) {
        return record.entries[1][request.ac_idx];
    }
    return primary;
}

Daemon::Outcome Daemon::addts_request(const Request &request, Bytes &out)
{
    const Bytes &msg = request.msg;
    const char *sta = request.sta_text.c_str();
    trace(4, "%s:ADDTS Request message\r\n", process_name);
    if (!client_is_associated(request.sta_mac, request.radio_unit, request.vap)) {
        trace(4,
              "%s:Received ADDTS request from unassociated client %s. "
              "Request ignored.\r\n",
              process_name, sta);
        return {Next::leave, -1};
    }
    fbt_ts_delete(msg, request.ac_idx);

    Entry *existing = ts_rec_find_by_tid(request.sta_mac, request.tid, 0);
    if (existing != nullptr && existing->ac_idx != request.ac_idx) {
        if (existing->state != entry_pending) {
            trace(4,
                  "%s:Received ADDTS request for existing TID %u but different ac_idx %u "
                  "(current ac_idx %u). Sending 'Invalid Parameters' response.\r\n",
                  process_name, request.tid, request.ac_idx, existing->ac_idx);
            return {Next::leave, send_addts_reject(msg, request.ac_idx, 1)};
        }
        trace(4,
              "%s:Received ADDTS request while one currently pending for same TID %u but "
              "different ac_idx %u. Request ignored.\r\n",
              process_name, request.tid, existing->ac_idx);
        return {Next::leave, -1};
    }

    uint16_t medium_time = 0;
    if (request.needs_medium_time && medium_time_calc(request, medium_time) != 0) {
        trace(4,
              "%s:Failed to calculate ADDTS medium time for TID %u on client %s. "
              "Sending 'Refused' response.\r\n",
              process_name, request.tid, sta);
        return {Next::leave, send_addts_reject(msg, request.ac_idx, 3)};
    }

    const auto refuse_for_number = [&]() -> Outcome {
        trace(2, "%s:MAX TS (%d) allowed per AP exceeded. Sending 'Refused' response.\r\n",
              process_name, 512);
        return {Next::leave, send_addts_reject(msg, request.ac_idx, 3)};
    };
    Record *record = ts_rec_get(request.sta_mac, request.ac_idx);
    if (record == nullptr) {
        if (state_.stream_count >= max_streams) {
            return refuse_for_number();
        }
        record = rec_add(request.sta_mac);
        if (record == nullptr) {
            trace(2, "%s:Failed to add tspec_rec to the database for client %s \r\n", process_name,
                  sta);
            return {Next::leave, -1};
        }
    }

    Entry &entry = choose_entry(request, *record, existing);
    uint32_t prev = 0;
    uint8_t prev_ac = 0;
    if (entry.state == entry_pending) {
        trace(2,
              "%s:Received an ADDTS request for client %s on ac %uwhile one is currently "
              "pending. Request ignored.\r\n",
              process_name, sta, request.ac_idx);
        return {Next::leave, -1};
    }
    if (entry.state == entry_admitted) {
        prev = entry.booked_time();
        prev_ac = request.ac_idx;
        const Entry &alternate = record->entries[1][request.ac_idx];
        if (alternate.in_use() && &alternate != &entry && entry.dir != bidirectional &&
            entry.dir != request.dir) {
            prev += alternate.medium_time();
        }
    } else {
        if (state_.stream_count >= max_streams) {
            return refuse_for_number();
        }
        state_.stream_count = static_cast<uint16_t>(state_.stream_count + 1);
        record->sta_mac = request.sta_mac;
        record->peer_addr1 = mac_at(msg, hostapd_at::peer_addr1);
        record->peer_addr2 = mac_at(msg, hostapd_at::peer_addr2);
        record->radio_unit = request.radio_unit;
        copy_bytes(msg, hostapd_at::ssid, record->ssid, 0, 32);
        record->ssid[32] = 0;
        record->vap = request.vap;
        record->roam = client_roam_flag_get(request.sta_mac, request.radio_unit, request.vap);
        entry.tid = request.tid;
        entry.ac_idx = request.ac_idx;
        entry.dir = request.dir;
        entry.inactivity_timeout = inactivity_timeout_get(request.radio_index, request.dir);
        entry.aux_byte = msg[hostapd_at::aux_byte];
        entry.aux_addr = mac_at(msg, hostapd_at::aux_addr);
        copy_bytes(msg, hostapd_at::tspec, entry.stored, 0, element_at::stored_size);
        entry.state = entry_pending;
    }
    entry.pend_tid = request.tid;
    entry.pend_dir = request.dir;
    entry.pend_aux_byte = msg[hostapd_at::aux_byte];
    entry.pend_aux_addr = mac_at(msg, hostapd_at::aux_addr);
    if (entry.state == entry_pending) {
        entry.set_medium_time(medium_time);
    }

    std::array<uint8_t, element_at::stored_size> element{};
    copy_bytes(msg, hostapd_at::tspec, element, 0, element_at::stored_size);
    out[mapd_at::cmd] = 1;
    pack_body(element, out, mapd_at::body);
    copy_bytes(msg, hostapd_at::ts_info, out, mapd_at::ts_info, 3);
    put_u16(out, mapd_at::medium_time, medium_time);
    put_u32(out, mapd_at::wlan_util, 0);
    put_u16(out, mapd_at::prev_medium_time, static_cast<uint16_t>(prev));
    out[mapd_at::prev_ac_index] = prev_ac;
    return {Next::send, 0};
}

} // namespace tspec::model
