#include "support/messages.h"

namespace tspec::test {

std::array<uint8_t, 3> ts_info(const Tspec &tspec)
{
    return {static_cast<uint8_t>((tspec.tid << 1) | (tspec.direction << 5)),
            static_cast<uint8_t>(tspec.priority << 3), 0};
}

static Bytes ts_info_bytes(const Tspec &tspec)
{
    const std::array<uint8_t, 3> octets = ts_info(tspec);
    return {octets.begin(), octets.end()};
}

// The eleven 32-bit fields, which both forms have in the same order.
static void put_words(Bytes &bytes, size_t offset, const Tspec &tspec)
{
    put32(bytes, offset, tspec.min_service_interval);
    put32(bytes, offset + 4, tspec.max_service_interval);
    put32(bytes, offset + 8, tspec.inactivity_interval);
    put32(bytes, offset + 12, tspec.suspension_interval);
    put32(bytes, offset + 16, tspec.service_start_time);
    put32(bytes, offset + 20, tspec.min_data_rate);
    put32(bytes, offset + 24, tspec.mean_data_rate);
    put32(bytes, offset + 28, tspec.peak_data_rate);
    put32(bytes, offset + 32, tspec.burst_size);
    put32(bytes, offset + 36, tspec.delay_bound);
    put32(bytes, offset + 40, tspec.min_phy_rate);
}

Bytes tspec_element(const Tspec &tspec)
{
    Bytes bytes(64);
    put8(bytes, 0, tspec.element_id);
    put8(bytes, 1, tspec.length);
    put(bytes, 2, Bytes{tspec.oui.begin(), tspec.oui.end()});
    put8(bytes, 5, tspec.oui_type);
    put8(bytes, 6, tspec.oui_subtype);
    put8(bytes, 7, tspec.version);
    put(bytes, 8, ts_info_bytes(tspec));
    put8(bytes, 11, tspec.padding);
    put16(bytes, 12, tspec.nominal_msdu_size);
    put16(bytes, 14, tspec.max_msdu_size);
    put_words(bytes, 16, tspec);
    put16(bytes, 60, tspec.surplus);
    put16(bytes, 62, tspec.medium_time);
    return bytes;
}

Bytes tspec_body(const Tspec &tspec)
{
    Bytes bytes(56);
    put(bytes, 1, ts_info_bytes(tspec));
    put16(bytes, 4, tspec.nominal_msdu_size);
    put16(bytes, 6, tspec.max_msdu_size);
    put_words(bytes, 8, tspec);
    put16(bytes, 52, tspec.surplus);
    put16(bytes, 54, tspec.medium_time);
    return bytes;
}

Bytes hostapd_message(const HostapdMessage &message)
{
    Bytes bytes(HOSTAPD_MESSAGE_SIZE);
    put8(bytes, 0, message.type);
    put8(bytes, 1, message.cmd);
    put(bytes, 2, message.peer1);
    put(bytes, 8, message.peer2);
    put(bytes, 14, message.sta_addr);
    put8(bytes, 20, message.radio_unit);
    put(bytes, 21, text_bytes(message.ssid.substr(0, 32)));
    put8(bytes, 53, message.vap);
    put(bytes, 56, message.sta);
    put(bytes, 64, tspec_element(message.tspec));
    put8(bytes, 128, message.aux_flag);
    put32(bytes, 132, message.result_code);
    put32(bytes, 136, message.inactivity_timeout);
    put8(bytes, 140, message.tid);
    put8(bytes, 141, message.aux_byte);
    put(bytes, 142, message.aux_addr);
    return bytes;
}

Bytes mapd_message(const MapdMessage &message)
{
    Bytes bytes(MAPD_MESSAGE_SIZE);
    put8(bytes, 0, message.type);
    put8(bytes, 1, message.cmd);
    put(bytes, 2, message.peer1);
    put(bytes, 8, message.peer2);
    put(bytes, 14, message.sta);
    put8(bytes, 20, message.radio_unit);
    put(bytes, 21, text_bytes(message.ssid.substr(0, 32)));
    put8(bytes, 53, message.ac_idx);
    put(bytes, 56, tspec_body(message.tspec));
    put32(bytes, 112, message.wlan_util);
    put16(bytes, 116, message.prev_medium_time);
    put8(bytes, 118, message.prev_ac_index);
    put8(bytes, 119, message.result_code);
    return bytes;
}

Bytes ap_state_message(uint8_t managed_mode)
{
    return {6, 1, managed_mode};
}

Bytes radio_config_message(const RadioConfig &config)
{
    Bytes bytes(64);
    put8(bytes, 0, 1);
    put8(bytes, 1, config.radio_if);
    put32(bytes, 4, config.enabled);
    put32(bytes, 8, config.acm_be);
    put32(bytes, 12, config.acm_bk);
    put32(bytes, 16, config.acm_vo);
    put32(bytes, 20, config.acm_vi);
    put32(bytes, 24, config.limit_be);
    put32(bytes, 28, config.limit_bk);
    put32(bytes, 32, config.limit_vo);
    put32(bytes, 36, config.limit_vi);
    put32(bytes, 40, config.roam_reserve);
    put32(bytes, 44, config.dl_timeout);
    put32(bytes, 48, config.ul_timeout);
    put32(bytes, 52, config.radio_param);
    put32(bytes, 56, config.fbt_limit_vo);
    put32(bytes, 60, config.fbt_limit_vi);
    return bytes;
}

Bytes violation_interval_message(uint32_t seconds)
{
    Bytes bytes(8);
    put8(bytes, 0, 5);
    put32(bytes, 4, seconds);
    return bytes;
}

Bytes status_request(std::string_view command)
{
    Bytes bytes = {2};
    bytes.insert(bytes.end(), command.begin(), command.end());
    bytes.push_back(0);
    return bytes;
}

Bytes frame_duration_answer(uint32_t microseconds)
{
    Bytes bytes(8);
    put8(bytes, 0, 0x24);
    put32(bytes, 4, microseconds);
    return bytes;
}

Bytes receive_buffer(const Bytes &datagram, uint8_t filling)
{
    Bytes buffer = datagram;
    buffer.resize(RECEIVE_BUFFER_SIZE, filling);
    return buffer;
}

} // namespace tspec::test
