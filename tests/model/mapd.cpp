// Admission responses and deletions, and the streams that they supersede.
#include "daemon.h"

namespace tspec::model {

namespace {

const char *const process_name = "tspec_mapd_process";
const char *const removal_name = "tspec_mapd_old_ts_removal";
const char *const cleanup_name = "tspec_old_ts_cleanup";

constexpr uint32_t tell_hostapd = 0x1;
constexpr uint32_t tell_mapd_without_time = 0x2;
constexpr uint32_t tell_mapd_with_time = 0x4;
constexpr uint32_t delete_entry = 0x8;

void pending_reset(Entry &entry)
{
    entry.pend_tid = 255;
    entry.pend_dir = 0;
    entry.pend_aux_byte = 0;
    entry.pend_aux_addr = Mac{};
}

} // namespace

int Daemon::mapd_process(const Bytes &msg, uint32_t len)
{
    trace(8, "%s:Entry\r\n", process_name);
    if (msg[mapd_at::msg_type] != 4) {
        trace(2, "%s:Invalid message type %u\r\n", process_name, msg[mapd_at::msg_type]);
        return -1;
    }
    if (len != mapd_at::size) {
        trace(2, "%s:Error in message from MAPD, length mismatch: exp=%d act=%d\r\n", process_name,
              120, static_cast<int>(len));
        return -1;
    }
    const uint8_t radio_unit = msg[mapd_at::radio_unit];
    if (radio_unit == 0 || radio_unit > 2) {
        trace(2, "%s:Error in message from MAPD, radio_unit=%u\r\n", process_name, radio_unit);
        return -1;
    }
    const Mac sta_mac = mac_at(msg, mapd_at::sta_mac);
    const std::string sta = mac_text(sta_mac);
    const uint8_t cmd = msg[mapd_at::cmd];
    const uint8_t ac = msg[mapd_at::ac_idx];
    const uint8_t tid = (msg[mapd_at::ts_info] & 0x1e) >> 1;
    const uint8_t dir = (msg[mapd_at::ts_info] & 0x60) >> 5;
    trace(8, "%s: Client=%s AC=%u TID=%u Dir=%u\r\n", process_name, sta.c_str(), ac, tid, dir);
    const uint8_t ac_idx = ac < 4 ? ac : 4;
    if (ac_idx >= 4) {
        trace(2, "%s:Invalid AC %u (mapped to ac_idx %u)\r\n", process_name, ac, ac_idx);
        return -1;
    }
    Record *client = ts_rec_get(sta_mac, ac_idx);
    if (client == nullptr) {
        trace(2, "%s:No TS record found for client %s on AC %u\n", process_name, sta.c_str(), ac);
        return -1;
    }
    Entry *entry = ts_rec_find_by_tid(sta_mac, tid, 0);
    if (entry == nullptr) {
        entry = ts_rec_find_by_tid(sta_mac, tid, 1);
    }
    if (entry == nullptr || entry->ac_idx != ac_idx) {
        trace(2, "%s:No TS info record found for client %s AC %u TID %u\n", process_name,
              sta.c_str(), ac, tid);
        return -1;
    }

    Bytes reply(hostapd_at::size, 0);
    reply[hostapd_at::msg_type] = 0x23;
    reply[hostapd_at::cmd] = cmd;
    copy_bytes(msg, 2, reply, 2, 51);
    reply[hostapd_at::vap] = client->vap;
    put_mac(reply, hostapd_at::sta_mac, client->sta_mac);
    auto element = entry->stored;
    unpack_body(msg, mapd_at::body, element);
    copy_bytes(element, 0, reply, hostapd_at::tspec, element_at::stored_size);
    if (dir == downlink) {
        put_u16(reply, hostapd_at::medium_time, 0);
    }
    put_u32(reply, hostapd_at::inactivity_timeout, entry->inactivity_timeout);
    reply[hostapd_at::tid] = entry->tid;

    uint8_t result_code = 3;
    bool to_delete = false;
    if (cmd == 2) {
        result_code = msg[mapd_at::result_code];
        if (result_code < 4) {
            put_u32(reply, hostapd_at::result_code, result_code);
        }
        reply[hostapd_at::aux_flag] = entry->pend_aux_byte;
        reply[hostapd_at::aux_byte] = entry->pend_aux_byte;
        put_mac(reply, hostapd_at::aux_addr, entry->pend_aux_addr);
        if (result_code == 0) {
            trace(8, "%s:ADDTS Response: Success\r\n", process_name);
            if (mapd_old_ts_removal(*client, ac_idx, tid) != 0) {
                trace(8, "%s:Problem cleaning up old TS(s) for TID %u on client %s AC %u\r\n",
                      process_name, tid, sta.c_str(), ac);
            }
            if (entry->in_use()) {
                admit(*entry, msg, ac_idx, reply);
            }
        } else {
            trace(8,
                  "%s:ADDTS Response: TSPEC rejected by admission control with result "
                  "code %u for client %s TID %u on AC %u\r\n",
                  process_name, result_code, sta.c_str(), tid, ac);
            to_delete = entry->state == entry_pending;
        }
    } else if (cmd == 5) {
        trace(8, "%s:DELTS message\r\n", process_name);
        put_mac(reply, hostapd_at::aux_addr, entry->aux_addr);
        reply[hostapd_at::aux_byte] = 0;
        reply[hostapd_at::aux_flag] = 0;
        to_delete = true;
    } else {
        trace(8, "%s:Invalid command: %u\r\n", process_name, cmd);
        return -1;
    }

    int result = 0;
    if (to_delete) {
        if (ts_rec_delete_tid(sta_mac, ac_idx, tid) != 0) {
            trace(8, "%s:Unable to delete tspec record for client %s, TID %u\n", process_name,
                  sta.c_str(), tid);
            result = -1;
        }
        ts_status_update(ac_idx);
    }
    ap_statistics_update(ac_idx, sta_mac, cmd, result_code);
    if (result_code < 4 && send_msg(hostapd_port, reply) != 0) {
        const int error = last_error_;
        trace(8, "%s:Error sending data to hostapd.\n", process_name);
        ts_rec_delete_tid(sta_mac, ac_idx, tid);
        print_error("Error sending data to hostapd.\n", error);
        return -1;
    }
    trace(8, "%s:Exit\r\n", process_name);
    return result;
}

void Daemon::admit(Entry &entry, const Bytes &msg, uint8_t ac_idx, Bytes &reply)
{
    const uint8_t tid = (msg[mapd_at::ts_info] & 0x1e) >> 1;
    const uint8_t dir = (msg[mapd_at::ts_info] & 0x60) >> 5;
    trace(8, "%s:TS Admitted for AC %u TID %u Dir %u, med_time=%u\r\n", process_name,
          msg[mapd_at::ac_idx], tid, dir, u16_at(msg, mapd_at::medium_time));
    entry.aux_byte = entry.pend_aux_byte;
    entry.aux_addr = entry.pend_aux_addr;
    pending_reset(entry);
    entry.state = entry_admitted;
    entry.tid = tid;
    entry.ac_idx = ac_idx;
    entry.dir = dir;
    entry.inactivity_timeout = inactivity_timeout_get(msg[mapd_at::radio_unit] - 1U, dir);
    unpack_body(msg, mapd_at::body, entry.stored);
    put_u32(reply, hostapd_at::inactivity_timeout, entry.inactivity_timeout);
    reply[hostapd_at::tid] = entry.tid;
    ts_status_update(ac_idx);
}

int Daemon::mapd_old_ts_removal(Record &client, uint8_t ac_new, uint8_t tid_new)
{
    if (ac_new >= 4 || tid_new >= 8) {
        return -1;
    }
    for (uint8_t ac = 0; ac < 4; ac++) {
        for (unsigned bank = 0; bank < 2; bank++) {
            Entry &entry = client.entries[bank][ac];
            if (entry.state != entry_admitted) {
                continue;
            }
            uint32_t flags = 0;
            trace(64,
                  "%s: ts_type=%u, ac=%u, ac_new=%u, state=%u, prev_tid=%u, pend_tid=%u, "
                  "tid_new=%u, prev_dir=%u, pend_dir=%u\r\n",
                  removal_name, bank, ac, ac_new, entry.state, entry.tid, entry.pend_tid, tid_new,
                  entry.dir, entry.pend_dir);
            if (ac == ac_new) {
                if (entry.pend_tid == tid_new) {
                    if (entry.tid != tid_new) {
                        flags = tell_hostapd | tell_mapd_without_time;
                    }
                    Entry &alternate = client.entries[1][ac];
                    if (bank == 0 && entry.dir != bidirectional && entry.dir != entry.pend_dir &&
                        alternate.in_use()) {
                        if (old_ts_cleanup(alternate, tell_hostapd | tell_mapd_without_time |
                                                          delete_entry) != 0) {
                            trace(8,
                                  "%s:Problem cleaning up alternate TS for TID %u on AC "
                                  "%u\r\n",
                                  removal_name, alternate.tid, ac);
                        }
                    }
                }
            } else if (entry.tid == tid_new) {
                flags = tell_hostapd | tell_mapd_with_time | delete_entry;
            }
            if (flags != 0 && old_ts_cleanup(entry, flags) != 0) {
                trace(8, "%s:Problem cleaning up old TS for TID %u on AC %u, flags=0x%x\r\n",
                      removal_name, entry.tid, ac, flags);
            }
        }
    }
    return 0;
}

int Daemon::old_ts_cleanup(Entry &entry, uint32_t flags)
{
    if (entry.owner == nullptr) {
        return -1;
    }
    const uint8_t ac = entry.ac_idx;
    const uint8_t tid = entry.tid;
    const Mac sta_mac = entry.owner->sta_mac;
    const size_t radio_index = entry.owner->radio_unit - 1U;
    int result = 0;
    trace(8, "%s:Removing AC=%u TID=%u Dir=%u for client %s, med_time=%u flags=0x%x\r\n",
          cleanup_name, ac, tid, entry.dir, mac_text(sta_mac).c_str(), entry.medium_time(), flags);
    if ((flags & tell_hostapd) != 0 && send_hostapd_delts(entry, radio_index) != 0) {
        trace(2, "%s:Error sending DELTS to hostapd for TID %u on AC %u\r\n", cleanup_name, tid,
              ac);
        result = -1;
    }
    if ((flags & (tell_mapd_without_time | tell_mapd_with_time)) != 0) {
        if ((flags & tell_mapd_with_time) == 0) {
            entry.set_medium_time(0);
        }
        if (send_mapd_delts(entry, ac) != 0) {
            trace(2, "%s:Error sending DELTS to hostapd for TID %u on AC %u\r\n", cleanup_name, tid,
                  ac);
            result = -1;
        }
    }
    if ((flags & delete_entry) != 0) {
        if (ts_rec_delete_tid(sta_mac, ac, tid) != 0) {
            trace(2, "%s:Unable to delete old tspec record for TID %u on AC %u\r\n", cleanup_name,
                  tid, ac);
            result = -1;
        } else {
            ts_status_update(ac);
            trace(8, "%s:Deleted old tspec record for TID %u on AC %u\r\n", cleanup_name, tid, ac);
        }
    }
    return result;
}

} // namespace tspec::model
