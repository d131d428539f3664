#include "dman/stats.h"

#include "core/control_block.h"
#include "core/ipc.h"
#include "core/trace.h"
#include "dman/client_report.h"
#include "dman/report.h"
#include "store/cursor.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

namespace {
struct reported_ac_t {
    uint8_t ac_idx;
    const char *label; // in keys: "ts-vo-num-active"
};

// One line of a report for each access category: the key without the label, and
// where the figure stands.
template <typename block_t>
struct figure_t {
    const char *name;
    uint32_t block_t::*value;
};
} // namespace

static constexpr std::array<reported_ac_t, TSPEC_NUM_ACS> REPORTED_ACS = {{
    {TSPEC_AC_VO, "vo"},
    {TSPEC_AC_VI, "vi"},
    {TSPEC_AC_BE, "be"},
    {TSPEC_AC_BK, "bk"},
}};

static constexpr std::array<figure_t<tspec_ac_stats_t>, 3> AP_FIGURES = {{
    {"-num-active", &tspec_ac_stats_t::num_active},
    {"-num-clients", &tspec_ac_stats_t::num_clients},
    {"-num-roam-clients", &tspec_ac_stats_t::num_roam_clients},
}};

static constexpr std::array<figure_t<tspec_ac_totals_t>, 4> AP_TOTALS = {{
    {"-tot-accepted", &tspec_ac_totals_t::tot_accepted},
    {"-tot-rejected", &tspec_ac_totals_t::tot_rejected},
    {"-tot-roam-accepted", &tspec_ac_totals_t::tot_roam_accepted},
    {"-tot-roam-rejected", &tspec_ac_totals_t::tot_roam_rejected},
}};

static constexpr std::array<figure_t<tspec_stats_entry_t>, 6> ENTRY_FIGURES = {{
    {"-num-active", &tspec_stats_entry_t::num_active},
    {"-num-clients", &tspec_stats_entry_t::num_clients},
    {"-num-roam-clients", &tspec_stats_entry_t::num_roam_clients},
    {"-med-time-admitted", &tspec_stats_entry_t::med_time_admitted},
    {"-med-time-unalloc", &tspec_stats_entry_t::med_time_unalloc},
    {"-med-time-roam-unalloc", &tspec_stats_entry_t::med_time_roam_unalloc},
}};

static tspec_text_writer_t &put_key(tspec_dman_report_t &report, const char *prefix,
                                    const char *label, const char *name)
{
    return report.text().put(prefix).put(label).put(name).put('=');
}

// Counters are unsigned but have always been shown signed, so one above
// 2147483647 shows as negative.
template <typename block_t, size_t count>
static void put_figures(tspec_dman_report_t &report, const char *prefix, const char *label,
                        const std::array<figure_t<block_t>, count> &figures, const block_t &block)
{
    for (const figure_t<block_t> &figure : figures) {
        put_key(report, prefix, label, figure.name)
            .put_decimal(static_cast<int32_t>(block.*figure.value))
            .put('\n');
    }
}

static void put_entry(tspec_dman_report_t &report, const char *label,
                      const tspec_stats_entry_t &entry)
{
    put_key(report, "ts-", label, "-oper-status")
        .put(entry.oper_status != 0 ? "up" : "down")
        .put('\n');
    put_figures(report, "ts-", label, ENTRY_FIGURES, entry);
}

int32_t fill_and_send_ap_tspec_stats()
{
    tspec_dman_report_t report;
    for (const reported_ac_t &ac : REPORTED_ACS) {
        put_figures(report, "ts-", ac.label, AP_FIGURES, tspec_cb->ac_stats[ac.ac_idx]);
        put_figures(report, "tspec-", ac.label, AP_TOTALS, tspec_cb->ac_totals[ac.ac_idx]);
    }
    if (report.send(true) == 0) {
        return 0;
    }
    TSPEC_TRACE(TSPEC_TRACE_ERROR, "%s:Error sending ap stats to dman.\n");
    perror("Error sending ap stats to dman.\n");
    return -1;
}

int32_t fill_and_send_radio_tspec_stats(uint32_t radio)
{
    if (radio >= TSPEC_NUM_RADIOS) {
        return -1;
    }
    tspec_dman_report_t report;
    for (const reported_ac_t &ac : REPORTED_ACS) {
        put_entry(report, ac.label, tspec_cb->ac_stats[ac.ac_idx].radio[radio]);
    }
    if (report.send(true) == 0) {
        return 0;
    }
    TSPEC_TRACE(TSPEC_TRACE_ERROR, "%s:Error sending radio stats to dman.\n");
    perror("Error sending radio stats to dman.\n");
    return -1;
}

int32_t fill_and_send_vap_tspec_stats(uint32_t radio, uint32_t vap)
{
    if (radio >= TSPEC_NUM_RADIOS || vap >= TSPEC_VAPS_PER_RADIO) {
        return -1;
    }
    tspec_dman_report_t report;
    for (const reported_ac_t &ac : REPORTED_ACS) {
        put_entry(report, ac.label, tspec_cb->ac_stats[ac.ac_idx].vap[radio][vap]);
    }
    if (report.send(true) == 0) {
        return 0;
    }
    TSPEC_TRACE(TSPEC_TRACE_ERROR, "%s:Error sending vap stats to dman.\n");
    perror("Error sending vap stats to dman.\n");
    return -1;
}

static int32_t radio_report(const char *text)
{
    const int32_t radio = find_radio_string(text);
    return radio == -1 ? -1 : fill_and_send_radio_tspec_stats(static_cast<uint32_t>(radio));
}

static int32_t vap_report(const char *text)
{
    const int32_t radio = find_radio_string(text);
    if (radio == -1) {
        return -1;
    }
    return fill_and_send_vap_tspec_stats(static_cast<uint32_t>(radio),
                                         static_cast<uint32_t>(find_vap_string(text)));
}

static int32_t first_stream_report()
{
    tspec_client_ts_first_get(&tspec_cb->client_ts_cursor);
    return fill_and_send_tspec_client_data(&tspec_cb->client_ts_cursor);
}

static int32_t next_stream_report()
{
    tspec_client_ts_next_get(&tspec_cb->client_ts_cursor);
    return fill_and_send_tspec_client_data(&tspec_cb->client_ts_cursor);
}

static bool equals(const char *text, const char *command)
{
    return strcmp(text, command) == 0;
}

static bool begins_with(const char *text, const char *command)
{
    return strncmp(text, command, strlen(command)) == 0;
}

int32_t tspec_process_dman_stats_msg(const uint8_t *text, uint32_t length)
{
    // A copy, so that the text can be terminated at the length that came. A NUL
    // in the receive buffer itself would show in a later message that comes
    // short.
    std::array<char, TSPEC_RECV_BUF_SIZE> command;
    const size_t text_length = std::min<size_t>(length < 1 ? 0 : length - 1, command.size() - 1);
    memcpy(command.data(), text, text_length);
    command[text_length] = '\0';

    if (equals(command.data(), TSPEC_DMAN_AP_STATS)) {
        return fill_and_send_ap_tspec_stats();
    }
    if (begins_with(command.data(), TSPEC_DMAN_RADIO_STATS)) {
        return radio_report(command.data());
    }
    if (begins_with(command.data(), TSPEC_DMAN_VAP_STATS)) {
        return vap_report(command.data());
    }
    if (equals(command.data(), TSPEC_DMAN_CLIENT_TS_FIRST)) {
        return first_stream_report();
    }
    if (equals(command.data(), TSPEC_DMAN_CLIENT_TS_NEXT)) {
        return next_stream_report();
    }
    TSPEC_TRACE(TSPEC_TRACE_ERROR, "%s:Error in status message DMAN, unknown command: %s\r\n",
                command.data());
    return -1;
}
