// Where the fields of every datagram stand, as byte offsets. Deliberately not
// derived from the structures in tspec/message.h: a wrong layout there must
// show as a difference.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tspec::model {

namespace hostapd_at {
constexpr size_t size = 148;
constexpr size_t msg_type = 0;
constexpr size_t cmd = 1;
constexpr size_t peer_addr1 = 2;
constexpr size_t peer_addr2 = 8;
constexpr size_t sta_addr = 14;
constexpr size_t radio_unit = 20;
constexpr size_t ssid = 21;
constexpr size_t vap = 53;
constexpr size_t sta_mac = 56;
constexpr size_t tspec = 64;
constexpr size_t ts_info = 64 + 8;
constexpr size_t nominal_msdu_size = 64 + 12;
constexpr size_t mean_data_rate = 64 + 40;
constexpr size_t min_phy_rate = 64 + 56;
constexpr size_t surplus = 64 + 60;
constexpr size_t medium_time = 64 + 62;
constexpr size_t aux_flag = 128;
constexpr size_t result_code = 132;
constexpr size_t inactivity_timeout = 136;
constexpr size_t tid = 140;
constexpr size_t aux_byte = 141;
constexpr size_t aux_addr = 142;
} // namespace hostapd_at

// The element with natural alignment: 64 bytes, stored with the four that
// follow it in a hostapd message.
namespace element_at {
constexpr size_t stored_size = 68;
constexpr size_t ts_info = 8;
constexpr size_t nominal_msdu_size = 12;
constexpr size_t min_service_interval = 16;
constexpr size_t mean_data_rate = 40;
constexpr size_t min_phy_rate = 56;
constexpr size_t surplus = 60;
constexpr size_t medium_time = 62;
} // namespace element_at

// The packed body, relative to its start in a mapd message.
namespace body_at {
constexpr size_t ts_info = 1;
constexpr size_t nominal_msdu_size = 4;
constexpr size_t min_service_interval = 8;
constexpr size_t surplus = 52;
constexpr size_t medium_time = 54;
} // namespace body_at

namespace mapd_at {
constexpr size_t size = 120;
constexpr size_t msg_type = 0;
constexpr size_t cmd = 1;
constexpr size_t peer_addr1 = 2;
constexpr size_t peer_addr2 = 8;
constexpr size_t sta_mac = 14;
constexpr size_t radio_unit = 20;
constexpr size_t ssid = 21;
constexpr size_t ac_idx = 53;
constexpr size_t body = 56;
constexpr size_t ts_info = 57;
constexpr size_t medium_time = 110;
constexpr size_t wlan_util = 112;
constexpr size_t prev_medium_time = 116;
constexpr size_t prev_ac_index = 118;
constexpr size_t result_code = 119;
} // namespace mapd_at

namespace direct_at {
constexpr size_t size = 3;
constexpr size_t cmd = 1;
constexpr size_t managed_mode = 2;
} // namespace direct_at

namespace status_at {
constexpr size_t size = 984;
constexpr size_t msg_type = 0;
constexpr size_t cmd = 1;
constexpr size_t ac_idx = 2;
constexpr size_t num_active = 4;
constexpr size_t num_clients = 8;
constexpr size_t num_roam_clients = 12;
constexpr size_t tot_accepted = 16;
constexpr size_t tot_rejected = 20;
constexpr size_t tot_roam_accepted = 24;
constexpr size_t tot_roam_rejected = 28;
constexpr size_t radio = 32;
constexpr size_t vap = 88;
constexpr size_t entry_size = 28;
} // namespace status_at

namespace frame_query_at {
constexpr size_t size = 28;
constexpr size_t marker = 0;
constexpr size_t reply_port = 4;
constexpr size_t radio_unit = 8;
constexpr size_t sta_mac = 9;
constexpr size_t min_phy_rate = 16;
constexpr size_t nominal_msdu_size = 20;
constexpr size_t vap = 24;
} // namespace frame_query_at

namespace frame_answer_at {
constexpr size_t size = 8;
constexpr size_t marker = 0;
constexpr size_t duration = 4;
} // namespace frame_answer_at

namespace config_at {
constexpr size_t size = 64;
constexpr size_t radio_if = 1;
constexpr size_t enabled = 4;
constexpr size_t acm_be = 8;
constexpr size_t acm_bk = 12;
constexpr size_t acm_vo = 16;
constexpr size_t acm_vi = 20;
constexpr size_t limit_be = 24;
constexpr size_t limit_bk = 28;
constexpr size_t limit_vo = 32;
constexpr size_t limit_vi = 36;
constexpr size_t roam_reserve = 40;
constexpr size_t downlink_timeout = 44;
constexpr size_t uplink_timeout = 48;
constexpr size_t radio_param = 52;
constexpr size_t fbt_limit_vo = 56;
constexpr size_t fbt_limit_vi = 60;
} // namespace config_at

namespace interval_at {
constexpr size_t size = 8;
constexpr size_t interval = 4;
} // namespace interval_at

constexpr uint16_t own_port = 55263;
constexpr uint16_t hostapd_port = 57773;
constexpr uint16_t mapd_port = 57774;
constexpr uint16_t dman_reply_port = 55265;
constexpr uint16_t frame_answer_port = 55301;

constexpr size_t receive_buffer_size = 1024;
constexpr size_t cli_buffer_size = 64;
constexpr unsigned max_streams = 512;
constexpr unsigned units_per_second = 31250;

} // namespace tspec::model
