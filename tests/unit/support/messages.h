// Messages between the daemon and its peers, field by field at the offsets that
// the peers use. Independent of the structures that the daemon compiles.
//
//   Bytes request = hostapd_message({.cmd = 1, .sta = CLIENT_A, .tid = 6,
//                                    .tspec = {.tid = 6, .direction = 3, .priority = 6}});
#pragma once

#include "support/bytes.h"

#include <optional>

namespace tspec::test {

inline constexpr Mac CLIENT_A = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
inline constexpr Mac CLIENT_B = {0x02, 0xab, 0x0c, 0xde, 0x0f, 0xf0};
inline constexpr Mac CLIENT_C = {0x0a, 0x00, 0xff, 0x10, 0x01, 0x7f};
inline constexpr Mac PEER_1 = {0xa1, 0xa2, 0xa3, 0xa4, 0xa5, 0xa6};
inline constexpr Mac PEER_2 = {0xb1, 0xb2, 0xb3, 0xb4, 0xb5, 0xb6};

constexpr size_t HOSTAPD_MESSAGE_SIZE = 148;
constexpr size_t MAPD_MESSAGE_SIZE = 120;
constexpr size_t RECEIVE_BUFFER_SIZE = 1024;

// The TSPEC of a request. tid, direction and priority make up ts_info.
struct Tspec {
    uint8_t element_id = 0xdd;
    uint8_t length = 61;
    std::array<uint8_t, 3> oui = {0x00, 0x50, 0xf2};
    uint8_t oui_type = 2;
    uint8_t oui_subtype = 2;
    uint8_t version = 1;
    uint8_t tid = 0;
    uint8_t direction = 0;
    uint8_t priority = 0;
    uint8_t padding = 0;
    uint16_t nominal_msdu_size = 0x80d0;
    uint16_t max_msdu_size = 0x0120;
    uint32_t min_service_interval = 0x01020304;
    uint32_t max_service_interval = 0x05060708;
    uint32_t inactivity_interval = 0x090a0b0c;
    uint32_t suspension_interval = 0x0d0e0f10;
    uint32_t service_start_time = 0x11121314;
    uint32_t min_data_rate = 0x15161718;
    uint32_t mean_data_rate = 83200;
    uint32_t peak_data_rate = 0x1d1e1f20;
    uint32_t burst_size = 0x21222324;
    uint32_t delay_bound = 0x25262728;
    uint32_t min_phy_rate = 6'000'000;
    uint16_t surplus = 0x2000;
    uint16_t medium_time = 0;
};

std::array<uint8_t, 3> ts_info(const Tspec &tspec);

// The aligned element of hostapd's messages, 64 bytes.
Bytes tspec_element(const Tspec &tspec);
// The packed body of mapd's messages, 56 bytes.
Bytes tspec_body(const Tspec &tspec);

// tspec_hostapd_msg_t, 148 bytes.
struct HostapdMessage {
    uint8_t type = 3;
    uint8_t cmd = 1;
    Mac peer1 = PEER_1;
    Mac peer2 = PEER_2;
    Mac sta_addr = {};
    uint8_t radio_unit = 1;
    std::string ssid = "network";
    uint8_t vap = 0;
    Mac sta = CLIENT_A;
    Tspec tspec = {};
    uint8_t aux_flag = 0;
    uint32_t result_code = 0;
    uint32_t inactivity_timeout = 0;
    uint8_t tid = 0;
    uint8_t aux_byte = 0;
    Mac aux_addr = {};
};
Bytes hostapd_message(const HostapdMessage &message);

// tspec_mapd_msg_t, 120 bytes.
struct MapdMessage {
    uint8_t type = 4;
    uint8_t cmd = 2;
    Mac peer1 = PEER_1;
    Mac peer2 = PEER_2;
    Mac sta = CLIENT_A;
    uint8_t radio_unit = 1;
    std::string ssid = "network";
    uint8_t ac_idx = 0;
    Tspec tspec = {};
    uint32_t wlan_util = 0;
    uint16_t prev_medium_time = 0;
    uint8_t prev_ac_index = 0;
    uint8_t result_code = 0;
};
Bytes mapd_message(const MapdMessage &message);

// AP state: 0 = not managed, 1 = managed.
Bytes ap_state_message(uint8_t managed_mode);

// Configuration of a radio, 64 bytes.
struct RadioConfig {
    uint8_t radio_if = 1;
    uint32_t enabled = 0;
    uint32_t acm_be = 0, acm_bk = 0, acm_vo = 0, acm_vi = 0;
    uint32_t limit_be = 0, limit_bk = 0, limit_vo = 0, limit_vi = 0;
    uint32_t roam_reserve = 0;
    uint32_t dl_timeout = 0; // seconds
    uint32_t ul_timeout = 0;
    uint32_t radio_param = 0;
    uint32_t fbt_limit_vo = 0, fbt_limit_vi = 0;
};
Bytes radio_config_message(const RadioConfig &config);
Bytes violation_interval_message(uint32_t seconds);
// The text with its NUL, behind the type byte.
Bytes status_request(std::string_view command);

// hostapd's answer to a frame-duration query, 8 bytes.
Bytes frame_duration_answer(uint32_t microseconds);

// A datagram in the daemon's receive buffer of 1024 bytes, the rest filled.
Bytes receive_buffer(const Bytes &datagram, uint8_t filling = 0);

} // namespace tspec::test
