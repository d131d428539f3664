#include "dman/stats.h"

#include "core/control_block.h"
#include "core/trace.h"
#include "dman/client_report.h"
#include "dman/report.h"
#include "store/cursor.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>

#define TSPEC_TRACE_NAME __func__

namespace {
struct reported_ac_t {
    uint8_t ac_idx;
    const char *name;
};

// One line of a report for each access category: the rest of the key, and where
// among its counters the figure stands.
struct figure_t {
    const char *key;
    size_t offset; // of the counter
};
} // namespace

static constexpr std::array<reported_ac_t, TSPEC_NUM_ACS> REPORTED_ACS = {{
    {TSPEC_AC_VO, "vo"},
    {TSPEC_AC_VI, "vi"},
    {TSPEC_AC_BE, "be"},
    {TSPEC_AC_BK, "bk"},
}};

static constexpr std::array<figure_t, 3> AP_FIGURES = {{
    {"num-active", offsetof(tspec_ac_stats_t, num_active)},
    {"num-clients", offsetof(tspec_ac_stats_t, num_clients)},
    {"num-roam-clients", offsetof(tspec_ac_stats_t, num_roam_clients)},
}};

static constexpr std::array<figure_t, 4> AP_TOTALS = {{
    {"tot-accepted", offsetof(tspec_ac_totals_t, tot_accepted)},
    {"tot-rejected", offsetof(tspec_ac_totals_t, tot_rejected)},
    {"tot-roam-accepted", offsetof(tspec_ac_totals_t, tot_roam_accepted)},
    {"tot-roam-rejected", offsetof(tspec_ac_totals_t, tot_roam_rejected)},
}};

static constexpr std::array<figure_t, 6> ENTRY_FIGURES = {{
    {"num-active", offsetof(tspec_stats_entry_t, num_active)},
    {"num-clients", offsetof(tspec_stats_entry_t, num_clients)},
    {"num-roam-clients", offsetof(tspec_stats_entry_t, num_roam_clients)},
    {"med-time-admitted", offsetof(tspec_stats_entry_t, med_time_admitted)},
    {"med-time-unalloc", offsetof(tspec_stats_entry_t, med_time_unalloc)},
    {"med-time-roam-unalloc", offsetof(tspec_stats_entry_t, med_time_roam_unalloc)},
}};

// kind: "ts" for figures of streams, "tspec" for outcomes of admission. Counters are
// unsigned but have always been shown signed, so one above 2147483647 shows as
// negative.
static void put_figures(tspec_dman_report_t &report, const char *kind, const reported_ac_t &ac,
                        std::span<const figure_t> figures, const void *counters)
{
    for (const figure_t &figure : figures) {
        int32_t value;
        memcpy(&value, static_cast<const uint8_t *>(counters) + figure.offset, sizeof(value));
        tspec_dman_report_put(report, "%s-%s-%s=%d\n", kind, ac.name, figure.key, value);
    }
}

static void put_entry(tspec_dman_report_t &report, const reported_ac_t &ac,
                      const tspec_stats_entry_t &entry)
{
    tspec_dman_report_put(report, "ts-%s-oper-status=%s\n", ac.name,
                          entry.oper_status != 0 ? "up" : "down");
    put_figures(report, "ts", ac, ENTRY_FIGURES, &entry);
}

// what: of which figures the report is.
static int32_t send_report(const tspec_dman_report_t &report, const char *function,
                           const char *what)
{
    if (tspec_dman_report_send(report, true) == 0) {
        return 0;
    }
    char text[64];
    snprintf(text, sizeof(text), "Error sending %s stats to dman.\n", what);
    TSPEC_TRACE_PLAIN(TSPEC_TRACE_ERROR, "%s:%s", function, text);
    perror(text);
    return -1;
}

int32_t fill_and_send_ap_tspec_stats()
{
    tspec_dman_report_t report = {};
    for (const reported_ac_t &ac : REPORTED_ACS) {
        put_figures(report, "ts", ac, AP_FIGURES, &tspec_cb->ac_stats[ac.ac_idx]);
        put_figures(report, "tspec", ac, AP_TOTALS, &tspec_cb->ac_totals[ac.ac_idx]);
    }
    return send_report(report, __func__, "ap");
}

int32_t fill_and_send_radio_tspec_stats(uint32_t radio)
{
    if (radio >= TSPEC_NUM_RADIOS) {
        return -1;
    }
    tspec_dman_report_t report = {};
    for (const reported_ac_t &ac : REPORTED_ACS) {
        put_entry(report, ac, tspec_cb->ac_stats[ac.ac_idx].radio[radio]);
    }
    return send_report(report, __func__, "radio");
}

int32_t fill_and_send_vap_tspec_stats(uint32_t radio, uint32_t vap)
{
    if (radio >= TSPEC_NUM_RADIOS || vap >= TSPEC_VAPS_PER_RADIO) {
        return -1;
    }
    tspec_dman_report_t report = {};
    for (const reported_ac_t &ac : REPORTED_ACS) {
        put_entry(report, ac, tspec_cb->ac_stats[ac.ac_idx].vap[radio][vap]);
    }
    return send_report(report, __func__, "vap");
}

int32_t find_radio_string(const char *text)
{
    const char *const name = strstr(text, "wlan");
    if (name == nullptr || (name[4] != '0' && name[4] != '1')) {
        return -1;
    }
    return name[4] - '0';
}

int32_t find_vap_string(const char *text)
{
    const char *const name = strstr(text, "wlan");
    const char *const vap = name == nullptr ? nullptr : strstr(name, "vap");
    return vap == nullptr ? 0 : static_cast<int32_t>(strtol(vap + 3, nullptr, 10));
}

static int32_t radio_report(const char *text)
{
    return fill_and_send_radio_tspec_stats(static_cast<uint32_t>(find_radio_string(text)));
}

static int32_t vap_report(const char *text)
{
    return fill_and_send_vap_tspec_stats(static_cast<uint32_t>(find_radio_string(text)),
                                         static_cast<uint32_t>(find_vap_string(text)));
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
        tspec_client_ts_first_get(&tspec_cb->client_ts_cursor);
        return fill_and_send_tspec_client_data(&tspec_cb->client_ts_cursor);
    }
    if (equals(command.data(), TSPEC_DMAN_CLIENT_TS_NEXT)) {
        tspec_client_ts_next_get(&tspec_cb->client_ts_cursor);
        return fill_and_send_tspec_client_data(&tspec_cb->client_ts_cursor);
    }
    TSPEC_TRACE(TSPEC_TRACE_ERROR, "Error in status message DMAN, unknown command: %s\r\n",
                command.data());
    return -1;
}
