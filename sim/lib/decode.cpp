#include "sim/lib/decode.h"

#include "sim/lib/decode_fields.h"
#include "sim/lib/messages.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <utility>

namespace tspec::sim {

namespace {

constexpr CommandTitle stream_commands[] = {
    {TSPEC_ADDTS_REQ_CMD, "ADDTS request", "addts-request"},
    {TSPEC_ADDTS_RESP_CMD, "ADDTS response", "addts-response"},
    {TSPEC_DELTS_REQ_CMD, "DELTS request", "delts-request"},
    {TSPEC_TS_INACTIVE_CMD, "stream inactive", "ts-inactive"},
    {TSPEC_DELTS_CMD, "DELTS", "delts"},
    {TSPEC_TS_EXCEED_TIME_CMD, "stream exceeds its medium time", "ts-exceed-time"},
    {TSPEC_TS_UNAUTH_TRAFFIC_CMD, "unauthorised traffic", "unauthorised-traffic"},
    {TSPEC_STA_DISASSOC_CMD, "station disassociated", "sta-disassoc"},
    {TSPEC_FBT_ADDTS_CMD, "fast-transition ADDTS", "fbt-addts"},
};

template <typename Wire>
Decoded decode_wire(const char *type, ByteView bytes)
{
    Decoded decoded;
    decoded.type = type;
    decoded.fields = fields_of(wire_of<Wire>(bytes));
    if (bytes.size() != sizeof(Wire)) {
        decoded.remark = fmt::format("{} bytes instead of {}", bytes.size(), sizeof(Wire));
    }
    return decoded;
}

// mapd's DELTS has the field, too, but nobody reads it there.
bool is_response(uint8_t cmd)
{
    return cmd == TSPEC_ADDTS_RESP_CMD;
}

Decoded decode_hostapd(ByteView bytes)
{
    auto message = wire_of<tspec_hostapd_msg_t>(bytes);
    Decoded decoded = decode_wire<tspec_hostapd_msg_t>("tspec_hostapd_msg_t", bytes);
    set_title(decoded, stream_commands, message.cmd);
    decoded.summary = fmt::format("{}  sta {} on {}", decoded.title,
                                  text_of_field(decoded, "sta_mac"), text_of_field(decoded, "vap"));
    if (message.cmd == TSPEC_STA_DISASSOC_CMD) {
        return decoded;
    }
    decoded.summary +=
        fmt::format(", tid {} {} {}", message.tid, text_of_field(decoded, "access_category"),
                    text_of_field(decoded, "ts_info.direction"));
    if (is_response(message.cmd) || message.cmd == TSPEC_DELTS_CMD) {
        decoded.summary +=
            fmt::format(", {}, medium time {}", text_of_field(decoded, "result_code"),
                        text_of_field(decoded, "medium_time"));
    } else if (message.cmd == TSPEC_ADDTS_REQ_CMD) {
        decoded.summary +=
            fmt::format(", {} of {}, surplus {}", text_of_field(decoded, "mean_data_rate"),
                        text_of_field(decoded, "nominal_msdu_size"),
                        text_of_field(decoded, "surplus_bandwidth_allowance"));
    } else if (message.cmd == TSPEC_FBT_ADDTS_CMD) {
        decoded.summary += fmt::format(", medium time {}", text_of_field(decoded, "medium_time"));
    }
    return decoded;
}

Decoded decode_mapd(ByteView bytes)
{
    auto message = wire_of<tspec_mapd_msg_t>(bytes);
    Decoded decoded = decode_wire<tspec_mapd_msg_t>("tspec_mapd_msg_t", bytes);
    set_title(decoded, stream_commands, message.cmd);
    decoded.summary =
        fmt::format("{}  sta {} on {}, {}", decoded.title, text_of_field(decoded, "sta_mac"),
                    text_of_field(decoded, "radio_unit"), text_of_field(decoded, "ac_idx"));
    if (message.cmd == TSPEC_TS_UNAUTH_TRAFFIC_CMD) {
        return decoded;
    }
    decoded.summary += fmt::format(
        ", tid {} {}, medium time {}", text_of_field(decoded, "ts_info.tid"),
        text_of_field(decoded, "ts_info.direction"), text_of_field(decoded, "medium_time"));
    if (message.prev_medium_time != 0) {
        decoded.summary +=
            fmt::format(" in place of {}", text_of_field(decoded, "prev_medium_time"));
    }
    if (is_response(message.cmd)) {
        decoded.summary += fmt::format(", {}", text_of_field(decoded, "result_code"));
    }
    return decoded;
}

Decoded decode_ap_state(ByteView bytes)
{
    Decoded decoded = decode_wire<tspec_mapd_direct_msg_t>("tspec_mapd_direct_msg_t", bytes);
    decoded.title = "access point state";
    decoded.name = "ap-state";
    decoded.summary = fmt::format("{}  {}", decoded.title, text_of_field(decoded, "managed_mode"));
    return decoded;
}

Decoded decode_status(ByteView bytes)
{
    Decoded decoded = decode_wire<tspec_mapd_status_msg_t>("tspec_mapd_status_msg_t", bytes);
    decoded.title = "status";
    decoded.name = "status";
    decoded.summary = fmt::format(
        "status of {}: {} streams of {} clients, {} accepted, {} rejected; wlan0 {}, wlan1 {}",
        text_of_field(decoded, "ac_idx"), text_of_field(decoded, "num_active"),
        text_of_field(decoded, "num_clients"), text_of_field(decoded, "tot_accepted"),
        text_of_field(decoded, "tot_rejected"),
        text_of_field(decoded, "radio[0].med_time_admitted"),
        text_of_field(decoded, "radio[1].med_time_admitted"));
    return decoded;
}

std::string mandatory_text(const tspec_dman_config_msg_t &message)
{
    const std::pair<uint32_t, std::string> categories[] = {
        {message.acm_vo, fmt::format("voice {} %", message.limit_vo)},
        {message.acm_vi, fmt::format("video {} %", message.limit_vi)},
        {message.acm_be, fmt::format("best-effort {} %", message.limit_be)},
        {message.acm_bk, fmt::format("background {} %", message.limit_bk)}};
    std::vector<std::string> mandatory;
    for (const auto &[flag, text] : categories) {
        if (flag & 0xff) {
            mandatory.push_back(text);
        }
    }
    return mandatory.empty() ? "none" : fmt::format("{}", fmt::join(mandatory, ", "));
}

// What comes on top of the limits; nothing where there is none.
std::string fast_transition_text(const tspec_dman_config_msg_t &message)
{
    std::vector<std::string> shares;
    if (message.fbt_limit_vo != 0) {
        shares.push_back(fmt::format("voice {} %", message.fbt_limit_vo));
    }
    if (message.fbt_limit_vi != 0) {
        shares.push_back(fmt::format("video {} %", message.fbt_limit_vi));
    }
    return shares.empty() ? "" : fmt::format("; fast transition: {}", fmt::join(shares, ", "));
}

Decoded decode_config(ByteView bytes)
{
    auto message = wire_of<tspec_dman_config_msg_t>(bytes);
    Decoded decoded = decode_wire<tspec_dman_config_msg_t>("tspec_dman_config_msg_t", bytes);
    decoded.title = "configuration";
    decoded.name = "config";
    decoded.summary =
        fmt::format("configuration of {}: admission control {}, mandatory: {}{}",
                    text_of_field(decoded, "radio_if"), message.tspec_enabled & 0xff ? "on" : "off",
                    mandatory_text(message), fast_transition_text(message));
    return decoded;
}

Decoded decode_interval(ByteView bytes)
{
    Decoded decoded = decode_wire<tspec_dman_violation_interval_msg_t>(
        "tspec_dman_violation_interval_msg_t", bytes);
    decoded.title = "violation report interval";
    decoded.name = "violation-interval";
    decoded.summary = fmt::format("{}  {}", decoded.title, text_of_field(decoded, "interval"));
    return decoded;
}

Decoded decode_frame_duration_query(ByteView bytes)
{
    Decoded decoded = decode_wire<tspec_frame_dur_req_t>("tspec_frame_dur_req_t", bytes);
    decoded.title = "frame duration?";
    decoded.name = "frame-duration-query";
    decoded.summary = fmt::format(
        "{}  {} at {} for sta {}", decoded.title, text_of_field(decoded, "nominal_msdu_size"),
        text_of_field(decoded, "min_phy_rate"), text_of_field(decoded, "sta_mac"));
    return decoded;
}

Decoded decode_frame_duration_answer(ByteView bytes)
{
    Decoded decoded = decode_wire<tspec_frame_dur_rsp_t>("tspec_frame_dur_rsp_t", bytes);
    decoded.title = "frame duration";
    decoded.name = "frame-duration";
    decoded.summary = fmt::format("{}  {}", decoded.title, text_of_field(decoded, "duration"));
    return decoded;
}

// Sorted by the type byte alone, as the daemon does.
Decoded decode_to_daemon(ByteView bytes)
{
    switch (bytes.empty() ? 0 : bytes[0]) {
    case TSPEC_DMAN_CONFIG_MSG:
        return decode_config(bytes);
    case TSPEC_DMAN_STATUS_REQ_MSG:
        return decode_status_request(bytes);
    case TSPEC_HOSTAPD_MSG:
        return decode_hostapd(bytes);
    case TSPEC_MAPD_MSG:
        return decode_mapd(bytes);
    case TSPEC_DMAN_VIOLATION_INTERVAL_MSG:
        return decode_interval(bytes);
    case TSPEC_MAPD_DIRECT_MSG:
        return decode_ap_state(bytes);
    case TSPEC_FRAME_DUR_MARKER:
        return decode_frame_duration_answer(bytes);
    default:
        return decode_unknown(bytes);
    }
}

Decoded decode_from_daemon(Peer peer, ByteView bytes)
{
    uint8_t type = bytes.empty() ? 0 : bytes[0];
    if (peer == Peer::dman) {
        return decode_report(bytes);
    }
    if (peer == Peer::cli) {
        return decode_pong(bytes);
    }
    if (peer == Peer::mapd && type == TSPEC_PEER_MSG) {
        return decode_mapd(bytes);
    }
    if (type == TSPEC_PEER_MSG) {
        return decode_hostapd(bytes);
    }
    if (type == TSPEC_MAPD_STATUS_MSG) {
        return decode_status(bytes);
    }
    if (type == TSPEC_FRAME_DUR_MARKER) {
        return decode_frame_duration_query(bytes);
    }
    return decode_unknown(bytes);
}

} // namespace

const Field *Decoded::find(std::string_view field_name) const
{
    auto field = std::find_if(fields.begin(), fields.end(), [field_name](const Field &candidate) {
        return candidate.name == field_name;
    });
    return field == fields.end() ? nullptr : &*field;
}

Decoded decode_datagram(Kind kind, Peer peer, ByteView bytes)
{
    if (kind == Kind::from_daemon) {
        return decode_from_daemon(peer, bytes);
    }
    return peer == Peer::cli ? decode_command(bytes) : decode_to_daemon(bytes);
}

double percent_of_medium(uint32_t medium_time)
{
    return 100.0 * medium_time / TSPEC_MEDIUM_TIME_PER_SECOND;
}

std::string result_name(uint32_t result_code)
{
    switch (result_code) {
    case TSPEC_RESULT_ACCEPTED:
        return "accepted";
    case TSPEC_RESULT_INVALID_PARAMETERS:
        return "invalid parameters";
    case TSPEC_RESULT_REFUSED:
        return "refused";
    default:
        return std::to_string(result_code);
    }
}

std::string activity_name(uint32_t result_code)
{
    switch (result_code) {
    case TSPEC_RESULT_ACCEPTED:
        return "active";
    case TSPEC_RESULT_REFUSED:
        return "not active";
    default:
        return std::to_string(result_code);
    }
}

} // namespace tspec::sim
