// Configuration from the device manager, and the reports that it asks for.
#include "daemon.h"

namespace tspec::model {

int Daemon::config_msg_process(const Bytes &msg, uint32_t len)
{
    const char *name = "tspec_ts_config_msg_process";
    trace(16, "%s:Entry\r\n", name);
    if (len < config_at::size) {
        trace(16, "%s:Error in config message from DMAN, length mismatch: exp=%d act=%d\r\n", name,
              64, static_cast<int>(len));
        return 0;
    }
    const uint8_t radio_if = msg[config_at::radio_if];
    if (radio_if == 0 || radio_if > 2) {
        trace(2, "%s:Invalid radio_if parameter: %u\r\n", name, radio_if);
        return -1;
    }
    const auto low8 = [&](size_t offset) {
        return static_cast<uint8_t>(u32_at(msg, offset) & 0xff);
    };
    const auto low16 = [&](size_t offset) {
        return static_cast<uint16_t>(u32_at(msg, offset) & 0xffff);
    };
    RadioConfig &config = state_.config[radio_if - 1U];
    config.tspec_enabled = low8(config_at::enabled);
    config.acm[be] = low8(config_at::acm_be);
    config.acm[bk] = low8(config_at::acm_bk);
    config.acm[vi] = low8(config_at::acm_vi);
    config.acm[vo] = low8(config_at::acm_vo);
    config.limit_percent[be] = low16(config_at::limit_be);
    config.limit_percent[bk] = low16(config_at::limit_bk);
    config.limit_percent[vi] = low16(config_at::limit_vi);
    config.limit_percent[vo] = low16(config_at::limit_vo);
    config.roam_reserve_percent = low16(config_at::roam_reserve);
    config.dl_inactivity_timeout = u32_at(msg, config_at::downlink_timeout) * 1000000U;
    config.ul_inactivity_timeout = u32_at(msg, config_at::uplink_timeout) * 1000000U;
    config.radio_param = low8(config_at::radio_param);
    config.fbt_limit_percent[vi] = low16(config_at::fbt_limit_vi);
    config.fbt_limit_percent[vo] = low16(config_at::fbt_limit_vo);
    for (const uint8_t ac : {vi, vo}) {
        config.limit_percent[ac] =
            static_cast<uint16_t>(config.limit_percent[ac] + config.fbt_limit_percent[ac]);
    }
    for (const uint8_t ac : {vi, vo, be, bk}) {
        ts_status_update(ac);
    }
    return 0;
}

int Daemon::violation_interval_process(const Bytes &msg, uint32_t len)
{
    const char *name = "tspec_ts_config_violation_interval_process";
    trace(16, "%s:Entry\r\n", name);
    if (len < interval_at::size) {
        trace(16, "%s:Error in config message from DMAN, length mismatch: exp=%d act=%d\r\n", name,
              8, static_cast<int>(len));
        return 0;
    }
    state_.violation_interval = u32_at(msg, interval_at::interval);
    return 0;
}

int Daemon::dman_stats_msg(const std::string &command)
{
    if (command == "tspec-ap-stats") {
        return send_ap_stats();
    }
    if (command.compare(0, 16, "tspec-radio-wlan") == 0) {
        const int radio = find_radio_string(command);
        return radio == -1 ? -1 : send_radio_stats(static_cast<size_t>(radio));
    }
    if (command.compare(0, 14, "tspec-vap-wlan") == 0) {
        const int radio = find_radio_string(command);
        if (radio == -1) {
            return -1;
        }
        const int vap = find_vap_string(command);
        if (vap < 0 || vap > 15) {
            return -1;
        }
        return send_vap_stats(static_cast<size_t>(radio), static_cast<size_t>(vap));
    }
    if (command == "tspec-client-ts-first") {
        cursor_first();
        return send_client_data();
    }
    if (command == "tspec-client-ts-next") {
        cursor_next();
        return send_client_data();
    }
    trace(2, "%s:Error in status message DMAN, unknown command: %s\r\n",
          "tspec_process_dman_stats_msg", command.c_str());
    return -1;
}

namespace {

struct Reported {
    const char *key;
    uint8_t ac_idx;
};

const Reported report_order[4] = {{"vo", vo}, {"vi", vi}, {"be", be}, {"bk", bk}};

std::string number_line(const char *prefix, const char *key, const char *field, uint32_t value)
{
    return text("%s-%s-%s=%d\n", prefix, key, field, static_cast<int>(value));
}

std::string entry_lines(const char *key, const StatsEntry &entry)
{
    return text("ts-%s-oper-status=%s\n", key, entry.oper_status != 0 ? "up" : "down") +
           number_line("ts", key, "num-active", entry.num_active) +
           number_line("ts", key, "num-clients", entry.num_clients) +
           number_line("ts", key, "num-roam-clients", entry.num_roam_clients) +
           number_line("ts", key, "med-time-admitted", entry.med_time_admitted) +
           number_line("ts", key, "med-time-unalloc", entry.med_time_unalloc) +
           number_line("ts", key, "med-time-roam-unalloc", entry.med_time_roam_unalloc);
}

Bytes with_nul(const std::string &report)
{
    Bytes bytes(report.begin(), report.end());
    bytes.push_back(0);
    return bytes;
}

} // namespace

int Daemon::send_ap_stats()
{
    std::string report;
    for (const Reported &ac : report_order) {
        const AcStats &stats = state_.ac_stats[ac.ac_idx];
        const AcTotals &totals = state_.ac_totals[ac.ac_idx];
        report += number_line("ts", ac.key, "num-active", stats.num_active);
        report += number_line("ts", ac.key, "num-clients", stats.num_clients);
        report += number_line("ts", ac.key, "num-roam-clients", stats.num_roam_clients);
        report += number_line("tspec", ac.key, "tot-accepted", totals.accepted);
        report += number_line("tspec", ac.key, "tot-rejected", totals.rejected);
        report += number_line("tspec", ac.key, "tot-roam-accepted", totals.roam_accepted);
        report += number_line("tspec", ac.key, "tot-roam-rejected", totals.roam_rejected);
    }
    return send_stats_text(report, "fill_and_send_ap_tspec_stats", "ap");
}

int Daemon::send_radio_stats(size_t radio)
{
    std::string report;
    for (const Reported &ac : report_order) {
        report += entry_lines(ac.key, state_.ac_stats[ac.ac_idx].radio[radio]);
    }
    return send_stats_text(report, "fill_and_send_radio_tspec_stats", "radio");
}

int Daemon::send_vap_stats(size_t radio, size_t vap)
{
    std::string report;
    for (const Reported &ac : report_order) {
        report += entry_lines(ac.key, state_.ac_stats[ac.ac_idx].vap[radio][vap]);
    }
    return send_stats_text(report, "fill_and_send_vap_tspec_stats", "vap");
}

int Daemon::send_stats_text(const std::string &report, const char *name, const char *subject)
{
    if (send_msg(dman_reply_port, with_nul(report)) != 0) {
        const int error = last_error_;
        trace(2, "%s:Error sending %s stats to dman.\n", name, subject);
        print_error(text("Error sending %s stats to dman.\n", subject), error);
        return -1;
    }
    return 0;
}

std::optional<std::string> Daemon::client_data_text()
{
    const Cursor &cursor = state_.client_ts_cursor;
    if (cursor.record == nullptr) {
        return std::nullopt;
    }
    const Record &client = *cursor.record;
    const Entry *entry = rec_ts_find(client, static_cast<uint8_t>(cursor.index));
    if (entry == nullptr) {
        return std::nullopt;
    }
    const Mac &mac = client.sta_mac;
    const unsigned radio = client.radio_unit - 1U;
    const std::string interface =
        client.vap != 0 ? text("wlan%uvap%u", radio, client.vap) : text("wlan%u", radio);
    const uint8_t priority = (entry->stored[element_at::ts_info + 1] >> 3) & 7;
    return text("station-mac=%02x:%02x:%02x:%02x:%02x:%02x\n", mac[0], mac[1], mac[2], mac[3],
                mac[4], mac[5]) +
           text("interface=%s\n", interface.c_str()) + text("ts-tid=%d\n", entry->tid) +
           text("ts-ac=%s\n", access_category_name(entry->ac_idx)) +
           text("ts-direction=%s\n", direction_name(entry->dir)) +
           text("ts-user-priority=%d\n", priority) +
           text("ts-medium-time=%d\n", entry->medium_time()) +
           text("ts-excess-usage-events=%d\n", static_cast<int>(entry->excess_events));
}

int Daemon::send_client_data()
{
    const std::optional<std::string> stream = client_data_text();
    const Bytes bytes = stream ? with_nul(*stream) : Bytes{'e', 'n', 'd'};
    if (send_msg(dman_reply_port, bytes) != 0) {
        const int error = last_error_;
        trace(2, "%s:Error sending client TS message to dman.\n",
              "fill_and_send_tspec_client_data");
        print_error("Error sending client TS message to dman.\n", error);
        return -1;
    }
    return 0;
}

} // namespace tspec::model
