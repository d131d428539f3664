// The decision of an access point that nobody manages, and its two accounts.
#include "daemon.h"

#include <algorithm>
#include <cstdlib>

namespace tspec::model {

namespace {

uint8_t direction_of(const Bytes &msg)
{
    return (msg[mapd_at::ts_info] & 0x60) >> 5;
}

uint32_t medium_time_of(const Bytes &msg)
{
    const uint32_t medium_time = u16_at(msg, mapd_at::medium_time);
    return direction_of(msg) == bidirectional ? 2 * medium_time : medium_time;
}

size_t radio_of(const Bytes &msg)
{
    return msg[mapd_at::radio_unit] - 1U;
}

} // namespace

uint16_t percent_to_units(uint16_t percent)
{
    return static_cast<uint16_t>(uint32_t{percent} * units_per_second / 100);
}

int Daemon::acu_process(Bytes &msg, uint8_t ac_idx)
{
    const char *name = "tspec_acu_process";
    trace(1, "%s:Entry\n", name);
    const size_t radio = radio_of(msg);
    trace(1, "%s:radio unit is %d\n", name, static_cast<int>(radio));
    const uint32_t util = get_wlan_util(radio == 0 ? "wlan0" : "wlan1");
    trace(1, "%s:wlan_util is %d\n", name, static_cast<int>(util));
    put_u32(msg, mapd_at::wlan_util, util);
    if (msg[mapd_at::cmd] == 1) {
        uint8_t result = 3;
        acu_admission_req_recv(msg, ac_idx, result);
        if (result != 0) {
            put_u16(msg, mapd_at::medium_time, 0);
        }
        msg[mapd_at::result_code] = result;
        msg[mapd_at::msg_type] = 4;
        msg[mapd_at::cmd] = 2;
        mapd_process(msg, 120);
    } else if (msg[mapd_at::cmd] == 3) {
        acu_deletion_req_recv(msg, ac_idx);
    }
    return 0;
}

int Daemon::acu_admission_req_recv(const Bytes &msg, uint8_t ac_idx, uint8_t &result)
{
    const char *name = "tspec_acu_admission_req_recv";
    if (ac_idx >= 4) {
        trace(2, "%s:Invalid input parameter\n", name);
        return -1;
    }
    const uint32_t mt = medium_time_of(msg);
    const size_t radio = radio_of(msg);
    const RadioConfig &config = state_.config[radio];
    trace(1, "%s:radio unit is %d\n", name, static_cast<int>(radio));
    if (config.tspec_enabled != 0 && config.acm[ac_idx] != 0 && mt == 0 &&
        direction_of(msg) != downlink) {
        trace(1, "%s:Requested medium time is 0. Admit Result is %u\n", name, 1U);
        result = 1;
        return 0;
    }
    uint32_t prev = u16_at(msg, mapd_at::prev_medium_time);
    const uint8_t prev_ac = msg[mapd_at::prev_ac_index];
    unsigned ac_changed = 0;
    if (prev != 0 && prev_ac != ac_idx) {
        ac_changed = 1;
        prev = 0;
    }
    const uint16_t total = state_.admitted_med_time[radio][ac_idx];
    const uint16_t fbt = state_.fbt_admitted_med_time[radio][ac_idx];
    const int32_t delta = static_cast<int32_t>(mt) - static_cast<int32_t>(prev);
    const int32_t limit = int32_t{percent_to_units(config.limit_percent[ac_idx])} -
                          int32_t{percent_to_units(config.fbt_limit_percent[ac_idx])};
    const auto admit_old = static_cast<uint16_t>(total - fbt);
    int32_t current = admit_old + delta;
    trace(1,
          "%s:radio_unit=%d,medium_time=%u,prev_medium_time=%u,limit=%d,current=%d,"
          "delta=%d,admit_old=%u,ac_index=%u,prev_ac_index=%u,ac_changed=%u\n",
          name, static_cast<int>(radio), mt, prev, limit, current, delta, admit_old, ac_idx,
          prev_ac, ac_changed);
    current = std::max(current, 0);
    if (limit < current) {
        result = 3;
    } else {
        state_.admitted_med_time[radio][ac_idx] = static_cast<uint16_t>(current + fbt);
        result = 0;
    }
    trace(1, "%s:Admit Result is %u\n", name, result);
    return 0;
}

int Daemon::acu_deletion_req_recv(const Bytes &msg, uint8_t ac_idx)
{
    const char *name = "tspec_acu_deletion_req_recv";
    if (ac_idx >= 4) {
        trace(2, "%s:Invalid input parameter\n", name);
        return -1;
    }
    const uint32_t mt = medium_time_of(msg);
    const size_t radio = radio_of(msg);
    trace(1, "%s:radio unit is %d\n", name, static_cast<int>(radio));
    const uint16_t old = state_.admitted_med_time[radio][ac_idx];
    const int32_t current = old - static_cast<int32_t>(mt);
    trace(1,
          "%s:radio_unit=%d,medium_time=%u,prev_medium_time=%u,current=%d,admit_old=%u,"
          "ac_index=%u\n",
          name, static_cast<int>(radio), mt, u16_at(msg, mapd_at::prev_medium_time), current, old,
          ac_idx);
    state_.admitted_med_time[radio][ac_idx] = static_cast<uint16_t>(std::max(current, 0));
    return 0;
}

int Daemon::acu_ts_removal(uint8_t radio_unit, uint8_t ac_idx, uint16_t medium_time)
{
    const char *name = "tspec_acu_ts_removal";
    trace(1, "%s:Entry\n", name);
    if (radio_unit >= 3 || ac_idx >= 4) {
        trace(2, "%s:Invalid input parameter\n", name);
        return -1;
    }
    trace(1, "%s:radio_unit=%u,ac_index=%u,medium_time=%u\n", name, radio_unit, ac_idx,
          medium_time);
    Bytes msg(mapd_at::size, 0);
    msg[mapd_at::radio_unit] = radio_unit;
    put_u16(msg, mapd_at::medium_time, medium_time);
    return acu_deletion_req_recv(msg, ac_idx);
}

int Daemon::acu_fbt_ts_add(uint8_t radio_unit, uint8_t ac_idx, uint16_t medium_time)
{
    const char *name = "tspec_acu_fbt_ts_add";
    trace(1, "%s:Entry\n", name);
    if (radio_unit >= 3 || (ac_idx != vi && ac_idx != vo)) {
        trace(2, "%s:Invalid input parameter\n", name);
        return -1;
    }
    trace(1, "%s:radio_unit=%u,ac_index=%u,medium_time=%u\n", name, radio_unit, ac_idx,
          medium_time);
    const size_t radio = radio_unit - 1U;
    trace(1, "%s:radio unit is %d\n", name, static_cast<int>(radio));
    uint16_t &fbt = state_.fbt_admitted_med_time[radio][ac_idx];
    uint16_t &total = state_.admitted_med_time[radio][ac_idx];
    trace(1, "%s:radio_unit=%d,medium_time=%u,current=%d,admit_old=%u,ac_index=%u\n", name,
          static_cast<int>(radio), medium_time, fbt + medium_time, 0U, ac_idx);
    fbt = static_cast<uint16_t>(fbt + medium_time);
    total = static_cast<uint16_t>(total + medium_time);
    return 0;
}

int Daemon::acu_fbt_ts_removal(uint8_t radio_unit, uint8_t ac_idx, uint16_t medium_time)
{
    const char *name = "tspec_acu_fbt_ts_removal";
    trace(1, "%s:Entry\n", name);
    if (radio_unit >= 3 || (ac_idx != vi && ac_idx != vo)) {
        trace(2, "%s:Invalid input parameter\n", name);
        return -1;
    }
    trace(1, "%s:radio_unit=%u,ac_index=%u,medium_time=%u\n", name, radio_unit, ac_idx,
          medium_time);
    const size_t radio = radio_unit - 1U;
    trace(1, "%s:radio unit is %d\n", name, static_cast<int>(radio));
    uint16_t &fbt = state_.fbt_admitted_med_time[radio][ac_idx];
    const int current = fbt - medium_time;
    trace(1, "%s:radio_unit=%d,medium_time=%u,current=%d,admit_old=%u,ac_index=%u\n", name,
          static_cast<int>(radio), medium_time, current, fbt, ac_idx);
    fbt = static_cast<uint16_t>(std::max(current, 0));
    return 0;
}

namespace {

// Lines as a 256-byte buffer holds them: a longer one comes in pieces.
std::vector<std::string> lines_of(const std::string &content)
{
    std::vector<std::string> lines;
    std::string line;
    for (const char character : content) {
        line += character;
        if (character == '\n' || line.size() == 255) {
            lines.push_back(line);
            line.clear();
        }
    }
    if (!line.empty()) {
        lines.push_back(line);
    }
    return lines;
}

} // namespace

uint32_t Daemon::get_wlan_util(const std::string &interface)
{
    const char *ifname = interface.c_str();
    trace(1, "Getting dev stats for interface %s\n", ifname);
    const std::string path = text("/proc/net/ieee80211/%s/iface/%s", ifname, ifname);
    const std::optional<std::string> content = environment_.proc_file(path);
    emit(ProcFileOpened{path, content.has_value()});
    if (!content) {
        trace(1, "Unable to open file for  %s\n", ifname);
        return 0;
    }
    int util = 0;
    for (const std::string &raw : lines_of(*content)) {
        const std::string line = raw.c_str();
        if (line.compare(0, 12, "channel_util") != 0) {
            continue;
        }
        if (line.size() > 13) {
            util = std::atoi(line.substr(13, 64).c_str());
        }
        break;
    }
    trace(1, "%s:wlan_util is %d\n", "tspec_get_wlan_util", util);
    return static_cast<uint32_t>(util);
}

} // namespace tspec::model
