#include "sim/lib/messages.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace tspec::sim {

namespace {

constexpr uint16_t fixed_size_flag = 0x8000;
constexpr uint8_t user_priority_to_ac[8] = {TSPEC_AC_BE, TSPEC_AC_BK, TSPEC_AC_BK, TSPEC_AC_BE,
                                            TSPEC_AC_VI, TSPEC_AC_VI, TSPEC_AC_VO, TSPEC_AC_VO};

void copy_ssid(uint8_t *place, const std::string &ssid)
{
    std::copy_n(ssid.begin(), std::min<size_t>(ssid.size(), TSPEC_SSID_LEN), place);
}

// The fields that element and body share.
template <typename Wire>
void fill(Wire &wire, const TrafficSpec &spec)
{
    TsInfo info = spec.info();
    std::copy(info.begin(), info.end(), wire.ts_info);
    uint16_t flag = spec.fixed_size ? fixed_size_flag : uint16_t{0};
    wire.nominal_msdu_size = static_cast<uint16_t>(spec.nominal_msdu_size | flag);
    wire.max_msdu_size = spec.max_msdu_size;
    wire.min_service_interval = spec.min_service_interval;
    wire.max_service_interval = spec.max_service_interval;
    wire.inactivity_interval = spec.inactivity_interval;
    wire.suspension_interval = spec.suspension_interval;
    wire.service_start_time = spec.service_start_time;
    wire.min_data_rate = spec.min_data_rate;
    wire.mean_data_rate = spec.mean_data_rate;
    wire.peak_data_rate = spec.peak_data_rate;
    wire.burst_size = spec.burst_size;
    wire.delay_bound = spec.delay_bound;
    wire.min_phy_rate = spec.min_phy_rate;
    wire.surplus_bandwidth_allowance = spec.surplus_bandwidth_allowance;
    wire.medium_time = spec.medium_time;
}

template <typename Tail>
Bytes joined(std::initializer_list<uint8_t> head, const Tail &tail)
{
    Bytes bytes(head.size() + std::size(tail));
    auto place = std::copy(head.begin(), head.end(), bytes.begin());
    std::copy(std::begin(tail), std::end(tail), place);
    return bytes;
}

} // namespace

TsInfo encode_ts_info(uint8_t tid, uint8_t direction, uint8_t user_priority)
{
    return {static_cast<uint8_t>((tid & 0x0f) << 1 | (direction & 0x03) << 5),
            static_cast<uint8_t>((user_priority & 0x07) << 3), 0};
}

uint8_t ts_info_tid(const uint8_t *ts_info)
{
    return static_cast<uint8_t>((ts_info[0] >> 1) & 0x0f);
}

uint8_t ts_info_direction(const uint8_t *ts_info)
{
    return static_cast<uint8_t>((ts_info[0] >> 5) & 0x03);
}

uint8_t ts_info_user_priority(const uint8_t *ts_info)
{
    return static_cast<uint8_t>((ts_info[1] >> 3) & 0x07);
}

uint8_t ac_of_user_priority(uint8_t user_priority)
{
    return user_priority_to_ac[user_priority & 0x07];
}

uint16_t surplus_of(double factor)
{
    return static_cast<uint16_t>(std::lround(factor * 8192.0));
}

TsInfo TrafficSpec::info() const
{
    return ts_info.value_or(encode_ts_info(tid, direction, user_priority));
}

tspec_ie_t TrafficSpec::element() const
{
    tspec_ie_t element{};
    element.element_id = 221;
    element.length = 61;
    element.oui[0] = 0x00;
    element.oui[1] = 0x50;
    element.oui[2] = 0xf2;
    element.oui_type = 2;
    element.oui_subtype = 2;
    element.version = 1;
    fill(element, *this);
    return element;
}

tspec_body_t TrafficSpec::body() const
{
    tspec_body_t packed{};
    fill(packed, *this);
    return packed;
}

tspec_hostapd_msg_t HostapdMessage::wire() const
{
    tspec_hostapd_msg_t message{};
    message.msg_type = msg_type;
    message.cmd = cmd;
    peer_addr1.copy_to(message.peer_addr1);
    peer_addr2.copy_to(message.peer_addr2);
    sta_addr.copy_to(message.sta_addr);
    message.radio_unit = radio_unit;
    copy_ssid(message.ssid, ssid);
    message.vap = vap;
    sta.copy_to(message.sta_mac);
    message.tspec = tspec.element();
    message.aux_flag = aux_flag;
    message.result_code = result_code;
    message.inactivity_timeout = inactivity_timeout;
    message.tid = tid.value_or(tspec.tid);
    message.aux_byte = aux_byte;
    aux_addr.copy_to(message.aux_addr);
    return message;
}

tspec_mapd_msg_t MapdMessage::wire() const
{
    tspec_mapd_msg_t message{};
    message.msg_type = msg_type;
    message.cmd = cmd;
    peer_addr1.copy_to(message.peer_addr1);
    peer_addr2.copy_to(message.peer_addr2);
    sta.copy_to(message.sta_mac);
    message.radio_unit = radio_unit;
    copy_ssid(message.ssid, ssid);
    message.ac_idx = ac_idx;
    message.tspec = tspec.body();
    message.wlan_util = wlan_util;
    message.prev_medium_time = prev_medium_time;
    message.prev_ac_index = prev_ac_index;
    message.result_code = result_code;
    return message;
}

Bytes MapdMessage::response_to(const tspec_mapd_msg_t &request, uint8_t result)
{
    tspec_mapd_msg_t response = request;
    response.msg_type = TSPEC_MAPD_MSG;
    response.cmd = TSPEC_ADDTS_RESP_CMD;
    response.result_code = result;
    return bytes_of_wire(response);
}

Bytes ApState::bytes() const
{
    return {TSPEC_MAPD_DIRECT_MSG, cmd, managed_mode};
}

Bytes DmanConfig::bytes() const
{
    tspec_dman_config_msg_t message{};
    message.msg_type = TSPEC_DMAN_CONFIG_MSG;
    message.radio_if = radio_if;
    message.tspec_enabled = enabled;
    message.acm_be = mandatory.best_effort;
    message.acm_bk = mandatory.background;
    message.acm_vo = mandatory.voice;
    message.acm_vi = mandatory.video;
    message.limit_be = limit_percent.best_effort;
    message.limit_bk = limit_percent.background;
    message.limit_vo = limit_percent.voice;
    message.limit_vi = limit_percent.video;
    message.roam_reserve = roam_reserve;
    message.dl_inactivity_timeout = dl_inactivity_timeout;
    message.ul_inactivity_timeout = ul_inactivity_timeout;
    message.radio_param = radio_param;
    message.fbt_limit_vo = fbt_limit_voice;
    message.fbt_limit_vi = fbt_limit_video;
    return bytes_of_wire(message);
}

Bytes ViolationInterval::bytes() const
{
    tspec_dman_violation_interval_msg_t message{};
    message.msg_type = TSPEC_DMAN_VIOLATION_INTERVAL_MSG;
    message.interval = seconds;
    return bytes_of_wire(message);
}

Bytes status_request(std::string_view text)
{
    Bytes bytes = joined({TSPEC_DMAN_STATUS_REQ_MSG}, text);
    bytes.push_back(0);
    return bytes;
}

Bytes frame_duration_answer(uint32_t microseconds)
{
    tspec_frame_dur_rsp_t answer{};
    answer.marker = TSPEC_FRAME_DUR_MARKER;
    answer.duration = microseconds;
    return bytes_of_wire(answer);
}

Bytes cli_ping()
{
    return {TSPEC_CLI_PING_CMD};
}

Bytes cli_debug(const std::vector<uint8_t> &levels)
{
    return joined({TSPEC_CLI_DEBUG_CMD, static_cast<uint8_t>(levels.size())}, levels);
}

Bytes cli_delete_client(const Mac &station)
{
    return joined({TSPEC_CLI_DEL_CLIENT_CMD}, station.octets);
}

Bytes cli_delete_stream(const Mac &station, uint8_t tid)
{
    Bytes bytes = joined({TSPEC_CLI_DEL_TID_CMD}, station.octets);
    bytes.push_back(tid);
    return bytes;
}

Bytes cli_disassociation_mode(uint8_t mode)
{
    return {TSPEC_CLI_DISASSOC_MODE_CMD, mode};
}

Bytes cli_show(bool all)
{
    return {TSPEC_CLI_SHOW_CMD, all ? uint8_t{1} : uint8_t{0}};
}

std::string client_status_text(uint32_t flags)
{
    return fmt::format("client_status={:x}\n", flags);
}

std::string channel_utilisation_text(uint32_t utilisation)
{
    return fmt::format("channel_util {}\n", utilisation);
}

} // namespace tspec::sim
