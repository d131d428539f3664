// Builders for every datagram that a peer may send to the daemon. Each struct
// has named fields with sane defaults and bytes() for the datagram:
//
//     ap.hostapd().send(HostapdMessage{.cmd = TSPEC_ADDTS_REQ_CMD,
//                                      .sta = station_mac(1),
//                                      .tspec = {.tid = 6, .user_priority = 6}}.bytes());
//
// The default stream is a voice call: 208-byte frames at 83200 bit/s.
#pragma once

#include "sim/lib/bytes.h"
#include "tspec/message.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tspec::sim {

using TsInfo = std::array<uint8_t, 3>;

// Values wider than their bits are cut.
TsInfo encode_ts_info(uint8_t tid, uint8_t direction, uint8_t user_priority);
uint8_t ts_info_tid(const uint8_t *ts_info);
uint8_t ts_info_direction(const uint8_t *ts_info);
uint8_t ts_info_user_priority(const uint8_t *ts_info);

// Access category index of an 802.1D user priority 0..7.
uint8_t ac_of_user_priority(uint8_t user_priority);

// 1.5 gives 0x3000.
uint16_t surplus_of(double factor);

// A traffic specification as a station asks for it.
struct TrafficSpec {
    uint8_t tid = 6;
    uint8_t direction = TSPEC_DIR_UPLINK;
    uint8_t user_priority = 6;
    std::optional<TsInfo> ts_info{};  // replaces the three above when given
    uint16_t nominal_msdu_size = 208; // without the fixed-size flag
    bool fixed_size = true;
    uint16_t max_msdu_size = 208;
    uint32_t min_service_interval = 0;
    uint32_t max_service_interval = 0;
    uint32_t inactivity_interval = 0;
    uint32_t suspension_interval = 0;
    uint32_t service_start_time = 0;
    uint32_t min_data_rate = 83200;
    uint32_t mean_data_rate = 83200;
    uint32_t peak_data_rate = 83200;
    uint32_t burst_size = 0;
    uint32_t delay_bound = 0;
    uint32_t min_phy_rate = 6000000;
    uint16_t surplus_bandwidth_allowance = 0x2000;
    uint16_t medium_time = 0;

    TsInfo info() const;
    tspec_ie_t element() const; // with the WMM TSPEC element header
    tspec_body_t body() const;
};

// hostapd to the daemon, any command.
struct HostapdMessage {
    uint8_t msg_type = TSPEC_HOSTAPD_MSG;
    uint8_t cmd = TSPEC_ADDTS_REQ_CMD;
    Mac sta = station_mac(1);
    uint8_t radio_unit = 1; // 1 = wlan0, 2 = wlan1
    uint8_t vap = 0;
    TrafficSpec tspec{};
    std::optional<uint8_t> tid{}; // byte 140; the stream's TID unless given
    Mac peer_addr1 = Mac{{0x02, 0xaa, 0, 0, 0, 0x01}};
    Mac peer_addr2 = Mac{{0x02, 0xaa, 0, 0, 0, 0x02}}; // the VAP's address
    Mac sta_addr{};
    std::string ssid = "tspec-sim";
    uint8_t aux_flag = 0;
    uint32_t result_code = 0;
    uint32_t inactivity_timeout = 0;
    uint8_t aux_byte = 0;
    Mac aux_addr{};

    tspec_hostapd_msg_t wire() const;
    Bytes bytes() const { return bytes_of_wire(wire()); }
};

// mapd to the daemon: admission responses and deletions.
struct MapdMessage {
    uint8_t msg_type = TSPEC_MAPD_MSG;
    uint8_t cmd = TSPEC_ADDTS_RESP_CMD;
    Mac sta = station_mac(1);
    uint8_t radio_unit = 1;
    uint8_t ac_idx = TSPEC_AC_VO;
    TrafficSpec tspec{};
    uint8_t result_code = TSPEC_RESULT_ACCEPTED;
    Mac peer_addr1 = Mac{{0x02, 0xaa, 0, 0, 0, 0x01}};
    Mac peer_addr2 = Mac{{0x02, 0xaa, 0, 0, 0, 0x02}};
    std::string ssid = "tspec-sim";
    uint32_t wlan_util = 0;
    uint16_t prev_medium_time = 0;
    uint8_t prev_ac_index = 0;

    tspec_mapd_msg_t wire() const;
    Bytes bytes() const { return bytes_of_wire(wire()); }

    // The answer to a request that the daemon forwarded: everything echoed.
    static Bytes response_to(const tspec_mapd_msg_t &request, uint8_t result);
};

// mapd tells whether it manages the access point.
struct ApState {
    uint8_t managed_mode = 1;
    uint8_t cmd = TSPEC_MAPD_DIRECT_AP_STATE_CMD;

    Bytes bytes() const;
};

// One value for each access category, in the order of the index.
struct PerAc {
    uint32_t best_effort = 0;
    uint32_t background = 0;
    uint32_t video = 0;
    uint32_t voice = 0;
};

// dman configures one radio. Default: admission control on, mandatory for
// voice and video, half of the air for either.
struct DmanConfig {
    uint8_t radio_if = 1; // 1 = wlan0, 2 = wlan1
    uint32_t enabled = 1;
    PerAc mandatory{.video = 1, .voice = 1};
    PerAc limit_percent{.video = 50, .voice = 50};
    uint32_t fbt_limit_voice = 0;
    uint32_t fbt_limit_video = 0;
    uint32_t roam_reserve = 0;
    uint32_t dl_inactivity_timeout = 0; // seconds
    uint32_t ul_inactivity_timeout = 0; // seconds
    uint32_t radio_param = 0;

    Bytes bytes() const;
};

struct ViolationInterval {
    uint32_t seconds = 300;

    Bytes bytes() const;
};

// dman's status request: the text with its NUL, as dman sends it.
Bytes status_request(std::string_view text);

Bytes frame_duration_answer(uint32_t microseconds);

// Operator commands.
Bytes cli_ping();
Bytes cli_debug(const std::vector<uint8_t> &levels); // none: show
Bytes cli_delete_client(const Mac &station);
Bytes cli_delete_stream(const Mac &station, uint8_t tid);
Bytes cli_disassociation_mode(uint8_t mode);
Bytes cli_show(bool all = false);

// What the driver answers for a station: "client_status=<hex>\n".
std::string client_status_text(uint32_t flags);

// Proc file of a radio with its channel utilisation.
std::string channel_utilisation_text(uint32_t utilisation);

} // namespace tspec::sim
