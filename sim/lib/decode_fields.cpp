#include "sim/lib/decode_fields.h"

#include "core/names.h"
#include "sim/lib/messages.h"

#include <cstring>
#include <fmt/format.h>

namespace tspec::sim {

namespace {

constexpr uint16_t fixed_size_flag = 0x8000;

std::string printable(const uint8_t *text, size_t room)
{
    const char *begin = reinterpret_cast<const char *>(text);
    return std::string(begin, strnlen(begin, room));
}

std::string command_name(uint8_t cmd)
{
    if (const char *name = tspec_cmd_name(cmd)) {
        return name;
    }
    return cmd == TSPEC_FBT_ADDTS_CMD ? "TSPEC_FBT_ADDTS_CMD" : fmt::format("command {}", cmd);
}

std::string frame_size(uint32_t nominal)
{
    return fmt::format("{} bytes{}", nominal & ~uint32_t{fixed_size_flag},
                       nominal & fixed_size_flag ? ", fixed" : "");
}

void add_ts_info(FieldList &list, const uint8_t *ts_info)
{
    list.words("ts_info", hex_of(ByteView(ts_info, 3)));
    list.number("ts_info.tid", ts_info_tid(ts_info));
    uint8_t direction = ts_info_direction(ts_info);
    list.number("ts_info.direction", direction, direction_name(direction));
    uint8_t priority = ts_info_user_priority(ts_info);
    list.number("ts_info.user_priority", priority);
    uint8_t ac = ac_of_user_priority(priority);
    list.number("access_category", ac, access_category_name(ac));
}

// The fields that element and body share.
template <typename Wire>
void add_tspec(FieldList &list, const Wire &tspec)
{
    add_ts_info(list, tspec.ts_info);
    list.number("nominal_msdu_size", tspec.nominal_msdu_size, frame_size(tspec.nominal_msdu_size));
    list.number("max_msdu_size", tspec.max_msdu_size);
    list.number("min_service_interval", tspec.min_service_interval);
    list.number("max_service_interval", tspec.max_service_interval);
    list.number("inactivity_interval", tspec.inactivity_interval);
    list.number("suspension_interval", tspec.suspension_interval);
    list.number("service_start_time", tspec.service_start_time);
    list.number("min_data_rate", tspec.min_data_rate);
    list.number("mean_data_rate", tspec.mean_data_rate,
                fmt::format("{} bit/s", tspec.mean_data_rate));
    list.number("peak_data_rate", tspec.peak_data_rate);
    list.number("burst_size", tspec.burst_size);
    list.number("delay_bound", tspec.delay_bound);
    list.number("min_phy_rate", tspec.min_phy_rate, fmt::format("{} bit/s", tspec.min_phy_rate));
    list.number("surplus_bandwidth_allowance", tspec.surplus_bandwidth_allowance,
                fmt::format("{:.2f}", tspec.surplus_bandwidth_allowance / 8192.0));
    list.medium_time("medium_time", tspec.medium_time);
}

void add_status_entry(FieldList &list, const std::string &place,
                      const tspec_mapd_status_entry_t &entry)
{
    list.number(place + ".oper_status", entry.oper_status, entry.oper_status ? "up" : "down");
    list.number(place + ".num_active", entry.num_active);
    list.number(place + ".num_clients", entry.num_clients);
    list.number(place + ".num_roam_clients", entry.num_roam_clients);
    list.medium_time(place + ".med_time_admitted", entry.med_time_admitted);
    list.medium_time(place + ".med_time_unalloc", entry.med_time_unalloc);
    list.medium_time(place + ".med_time_roam_unalloc", entry.med_time_roam_unalloc);
}

} // namespace

void FieldList::number(std::string name, uint64_t value, std::string text)
{
    std::string digits = std::to_string(value);
    if (text.empty()) {
        text = digits;
    }
    fields_.push_back({std::move(name), value, std::move(digits), std::move(text)});
}

void FieldList::words(std::string name, std::string value, std::string text)
{
    if (text.empty()) {
        text = value;
    }
    fields_.push_back({std::move(name), std::nullopt, std::move(value), std::move(text)});
}

void FieldList::mac(std::string name, const uint8_t *octets)
{
    words(std::move(name), Mac::from(octets).text());
}

void FieldList::medium_time(std::string name, uint32_t value)
{
    number(std::move(name), value, fmt::format("{} ({:.2f} %)", value, percent_of_medium(value)));
}

std::vector<Field> fields_of(const tspec_hostapd_msg_t &message)
{
    FieldList list;
    list.number("msg_type", message.msg_type, fmt::format("0x{:02x}", message.msg_type));
    list.number("cmd", message.cmd, command_name(message.cmd));
    list.mac("peer_addr1", message.peer_addr1);
    list.mac("peer_addr2", message.peer_addr2);
    list.mac("sta_addr", message.sta_addr);
    list.number("radio_unit", message.radio_unit, interface_name(message.radio_unit));
    list.words("ssid", printable(message.ssid, sizeof message.ssid));
    list.number("vap", message.vap, interface_name(message.radio_unit, message.vap));
    list.mac("sta_mac", message.sta_mac);
    list.number("element_id", message.tspec.element_id);
    list.number("length", message.tspec.length);
    list.words("oui", hex_of(ByteView(message.tspec.oui, sizeof message.tspec.oui)));
    list.number("oui_type", message.tspec.oui_type);
    list.number("oui_subtype", message.tspec.oui_subtype);
    list.number("version", message.tspec.version);
    add_tspec(list, message.tspec);
    list.number("aux_flag", message.aux_flag);
    list.number("result_code", message.result_code,
                message.cmd == TSPEC_DELTS_CMD ? activity_name(message.result_code)
                                               : result_name(message.result_code));
    list.number("inactivity_timeout", message.inactivity_timeout,
                fmt::format("{} us", message.inactivity_timeout));
    list.number("tid", message.tid);
    list.number("aux_byte", message.aux_byte);
    list.mac("aux_addr", message.aux_addr);
    return list.take();
}

std::vector<Field> fields_of(const tspec_mapd_msg_t &message)
{
    FieldList list;
    list.number("msg_type", message.msg_type, fmt::format("0x{:02x}", message.msg_type));
    list.number("cmd", message.cmd, command_name(message.cmd));
    list.mac("peer_addr1", message.peer_addr1);
    list.mac("peer_addr2", message.peer_addr2);
    list.mac("sta_mac", message.sta_mac);
    list.number("radio_unit", message.radio_unit, interface_name(message.radio_unit));
    list.words("ssid", printable(message.ssid, sizeof message.ssid));
    list.number("ac_idx", message.ac_idx, access_category_name(message.ac_idx));
    add_tspec(list, message.tspec);
    list.number("wlan_util", message.wlan_util);
    list.medium_time("prev_medium_time", message.prev_medium_time);
    list.number("prev_ac_index", message.prev_ac_index,
                access_category_name(message.prev_ac_index));
    list.number("result_code", message.result_code, result_name(message.result_code));
    return list.take();
}

std::vector<Field> fields_of(const tspec_mapd_direct_msg_t &message)
{
    FieldList list;
    list.number("msg_type", message.msg_type);
    list.number("cmd", message.cmd,
                message.cmd == TSPEC_MAPD_DIRECT_AP_STATE_CMD ? "TSPEC_MAPD_DIRECT_AP_STATE_CMD"
                                                              : "");
    list.number("managed_mode", message.managed_mode,
                message.managed_mode == 0   ? "not managed"
                : message.managed_mode == 1 ? "managed"
                                            : "");
    return list.take();
}

std::vector<Field> fields_of(const tspec_mapd_status_msg_t &message)
{
    FieldList list;
    list.number("msg_type", message.msg_type, fmt::format("0x{:02x}", message.msg_type));
    list.number("cmd", message.cmd);
    list.number("ac_idx", message.ac_idx, access_category_name(message.ac_idx));
    list.number("num_active", message.num_active);
    list.number("num_clients", message.num_clients);
    list.number("num_roam_clients", message.num_roam_clients);
    list.number("tot_accepted", message.tot_accepted);
    list.number("tot_rejected", message.tot_rejected);
    list.number("tot_roam_accepted", message.tot_roam_accepted);
    list.number("tot_roam_rejected", message.tot_roam_rejected);
    for (int radio = 0; radio < TSPEC_NUM_RADIOS; radio++) {
        add_status_entry(list, fmt::format("radio[{}]", radio), message.radio[radio]);
    }
    for (int radio = 0; radio < TSPEC_NUM_RADIOS; radio++) {
        for (int vap = 0; vap < TSPEC_VAPS_PER_RADIO; vap++) {
            add_status_entry(list, fmt::format("vap[{}][{}]", radio, vap), message.vap[radio][vap]);
        }
    }
    return list.take();
}

std::vector<Field> fields_of(const tspec_dman_config_msg_t &message)
{
    FieldList list;
    list.number("msg_type", message.msg_type);
    list.number("radio_if", message.radio_if, interface_name(message.radio_if));
    list.number("tspec_enabled", message.tspec_enabled);
    list.number("acm_be", message.acm_be);
    list.number("acm_bk", message.acm_bk);
    list.number("acm_vo", message.acm_vo);
    list.number("acm_vi", message.acm_vi);
    list.number("limit_be", message.limit_be, fmt::format("{} %", message.limit_be));
    list.number("limit_bk", message.limit_bk, fmt::format("{} %", message.limit_bk));
    list.number("limit_vo", message.limit_vo, fmt::format("{} %", message.limit_vo));
    list.number("limit_vi", message.limit_vi, fmt::format("{} %", message.limit_vi));
    list.number("roam_reserve", message.roam_reserve, fmt::format("{} %", message.roam_reserve));
    list.number("dl_inactivity_timeout", message.dl_inactivity_timeout,
                fmt::format("{} s", message.dl_inactivity_timeout));
    list.number("ul_inactivity_timeout", message.ul_inactivity_timeout,
                fmt::format("{} s", message.ul_inactivity_timeout));
    list.number("radio_param", message.radio_param);
    list.number("fbt_limit_vo", message.fbt_limit_vo, fmt::format("{} %", message.fbt_limit_vo));
    list.number("fbt_limit_vi", message.fbt_limit_vi, fmt::format("{} %", message.fbt_limit_vi));
    return list.take();
}

std::vector<Field> fields_of(const tspec_dman_violation_interval_msg_t &message)
{
    FieldList list;
    list.number("msg_type", message.msg_type);
    list.number("interval", message.interval, fmt::format("{} s", message.interval));
    return list.take();
}

std::vector<Field> fields_of(const tspec_frame_dur_req_t &message)
{
    FieldList list;
    list.number("marker", message.marker, fmt::format("0x{:02x}", message.marker));
    list.number("reply_port", message.reply_port);
    list.number("radio_unit", message.radio_unit, interface_name(message.radio_unit));
    list.mac("sta_mac", message.sta_mac);
    list.number("min_phy_rate", message.min_phy_rate,
                fmt::format("{} bit/s", message.min_phy_rate));
    list.number("nominal_msdu_size", message.nominal_msdu_size,
                frame_size(message.nominal_msdu_size));
    list.number("vap", message.vap, interface_name(message.radio_unit, message.vap));
    return list.take();
}

std::vector<Field> fields_of(const tspec_frame_dur_rsp_t &message)
{
    FieldList list;
    list.number("marker", message.marker, fmt::format("0x{:02x}", message.marker));
    list.number("duration", message.duration, fmt::format("{} us", message.duration));
    return list.take();
}

std::string interface_name(uint8_t radio_unit, uint8_t vap)
{
    if (radio_unit < 1 || radio_unit > TSPEC_NUM_RADIOS) {
        return fmt::format("radio {}", radio_unit);
    }
    return vap == 0 ? fmt::format("wlan{}", radio_unit - 1)
                    : fmt::format("wlan{}vap{}", radio_unit - 1, vap);
}

std::string access_category_name(uint8_t ac_idx)
{
    return tspec_ac_name(ac_idx);
}

std::string direction_name(uint8_t direction)
{
    return tspec_dir_name(direction);
}

} // namespace tspec::sim
