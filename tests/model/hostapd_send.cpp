// Rejects and DELTS for hostapd, and the way of a request to whoever decides.
#include "daemon.h"

namespace tspec::model {

void pack_body(const std::array<uint8_t, element_at::stored_size> &element, Bytes &msg,
               size_t offset)
{
    msg[offset] = 0;
    copy_bytes(element, element_at::ts_info, msg, offset + body_at::ts_info, 3);
    copy_bytes(element, element_at::nominal_msdu_size, msg, offset + body_at::nominal_msdu_size, 4);
    copy_bytes(element, element_at::min_service_interval, msg,
               offset + body_at::min_service_interval, 11 * 4);
    copy_bytes(element, element_at::surplus, msg, offset + body_at::surplus, 4);
}

void unpack_body(const Bytes &msg, size_t offset,
                 std::array<uint8_t, element_at::stored_size> &element)
{
    copy_bytes(msg, offset + body_at::ts_info, element, element_at::ts_info, 3);
    copy_bytes(msg, offset + body_at::nominal_msdu_size, element, element_at::nominal_msdu_size, 4);
    copy_bytes(msg, offset + body_at::min_service_interval, element,
               element_at::min_service_interval, 11 * 4);
    copy_bytes(msg, offset + body_at::surplus, element, element_at::surplus, 4);
}

int Daemon::send_addts_reject(const Bytes &request, uint8_t ac_idx, uint32_t code)
{
    const char *name = "tspec_build_and_send_hostapd_addts_reject_msg";
    Bytes reply(request.begin(), request.begin() + hostapd_at::size);
    reply[hostapd_at::msg_type] = 0x23;
    reply[hostapd_at::cmd] = 2;
    put_u16(reply, hostapd_at::medium_time, 0);
    put_u32(reply, hostapd_at::result_code, code);
    ap_statistics_update(ac_idx, mac_at(reply, hostapd_at::sta_mac), 2, static_cast<uint8_t>(code));
    if (send_msg(hostapd_port, reply) != 0) {
        trace(4, "%s:Error sending data to hostapd.\n", name);
        return -1;
    }
    trace(4, "%s: Sent cmd %u message to hostapd socket id %d\r\n", name, 2U, settings_.udp_socket);
    return 0;
}

int Daemon::send_hostapd_delts(const Entry &entry, size_t radio_index)
{
    const Record &record = *entry.owner;
    Bytes msg(hostapd_at::size, 0);
    msg[hostapd_at::msg_type] = 0x23;
    msg[hostapd_at::cmd] = 5;
    put_mac(msg, hostapd_at::peer_addr1, record.peer_addr1);
    put_mac(msg, hostapd_at::peer_addr2, record.peer_addr2);
    put_mac(msg, hostapd_at::sta_addr, record.sta_mac);
    msg[hostapd_at::radio_unit] = record.radio_unit;
    copy_bytes(record.ssid, 0, msg, hostapd_at::ssid, 32);
    msg[hostapd_at::vap] = record.vap;
    put_mac(msg, hostapd_at::sta_mac, record.sta_mac);
    copy_bytes(entry.stored, 0, msg, hostapd_at::tspec, element_at::stored_size);
    msg[hostapd_at::aux_flag] = 0;
    put_u32(msg, hostapd_at::result_code, entry.state == entry_admitted ? 0 : 3);
    put_u32(msg, hostapd_at::inactivity_timeout, inactivity_timeout_get(radio_index, entry.dir));
    msg[hostapd_at::tid] = entry.tid;
    msg[hostapd_at::aux_byte] = 0;
    put_mac(msg, hostapd_at::aux_addr, entry.aux_addr);
    if (send_msg(hostapd_port, msg) != 0) {
        print_error("Error sending data to hostapd.\n", last_error_);
        return -1;
    }
    trace(4, "%s: Sent cmd %u message to hostapd socket id %d\r\n",
          "tspec_build_and_send_hostapd_delts_msg", 5U, settings_.udp_socket);
    return 0;
}

int Daemon::send_mapd_delts(const Entry &entry, uint8_t ac_idx)
{
    const Record &record = *entry.owner;
    Bytes msg(mapd_at::size, 0);
    msg[mapd_at::msg_type] = 0x23;
    msg[mapd_at::cmd] = 3;
    put_mac(msg, mapd_at::peer_addr1, record.peer_addr1);
    put_mac(msg, mapd_at::peer_addr2, record.peer_addr2);
    put_mac(msg, mapd_at::sta_mac, record.sta_mac);
    msg[mapd_at::radio_unit] = record.radio_unit;
    copy_bytes(record.ssid, 0, msg, mapd_at::ssid, 32);
    msg[mapd_at::ac_idx] = ac_idx;
    pack_body(entry.stored, msg, mapd_at::body);
    if (send_to_acu(msg, ac_idx, 3) != 0) {
        print_error("Failed to send DELTS cmd to MAPD.\n", last_error_);
        return -1;
    }
    return 0;
}

int Daemon::send_to_acu(Bytes &msg, uint8_t ac_idx, uint8_t cmd)
{
    if (is_managed()) {
        if (send_msg(mapd_port, msg) != 0) {
            print_error("Error sending data to mapd.\n", last_error_);
            return -1;
        }
        trace(4,
              "%s: Sent cmd %u message to mapd socket id %d for TID %u (medium time %u, "
              "prev medium time %u)\r\n",
              "tspec_msg_send_to_acu", cmd, settings_.udp_socket,
              (msg[mapd_at::ts_info] & 0x1eU) >> 1, u16_at(msg, mapd_at::medium_time),
              u16_at(msg, mapd_at::prev_medium_time));
        return 0;
    }
    const int result =
        cmd == 7 ? unauth_traffic_report_notify(msg, ac_idx) : acu_process(msg, ac_idx);
    if (result != 0) {
        print_error("Failed to process TSPEC Request message.\n", last_error_);
        return -1;
    }
    return 0;
}

} // namespace tspec::model
