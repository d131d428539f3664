#include "tspec-cli/fields.h"

#define MEDIUM_TIME_UNIT "in units of 32 microseconds per second, 31250 being the whole medium."

const tspec_tool_field_t TSPEC_TOOL_AP_FIELDS[TSPEC_TOOL_NUM_FIELDS] = {
    {"ts", "num-active", "streams", 8, TSPEC_TOOL_GAUGE, "tspec_ap_streams",
     "Admitted streams on the access point."},
    {"ts", "num-clients", "clients", 8, TSPEC_TOOL_GAUGE, "tspec_ap_clients",
     "Clients with admitted streams on the access point."},
    {"ts", "num-roam-clients", "roaming", 8, TSPEC_TOOL_GAUGE, "tspec_ap_roaming_clients",
     "Those of the clients that roam."},
    {"tspec", "tot-accepted", "accepted", 9, TSPEC_TOOL_COUNTER, "tspec_ap_accepted_total",
     "Requests accepted since the daemon's start."},
    {"tspec", "tot-rejected", "rejected", 9, TSPEC_TOOL_COUNTER, "tspec_ap_rejected_total",
     "Requests rejected since the daemon's start."},
    {"tspec", "tot-roam-accepted", "roam-acc", 9, TSPEC_TOOL_COUNTER,
     "tspec_ap_roaming_accepted_total", "Requests of roaming clients among those accepted."},
    {"tspec", "tot-roam-rejected", "roam-rej", 9, TSPEC_TOOL_COUNTER,
     "tspec_ap_roaming_rejected_total", "Requests of roaming clients among those rejected."},
};

const tspec_tool_field_t TSPEC_TOOL_ENTRY_FIELDS[TSPEC_TOOL_NUM_FIELDS] = {
    {"ts", "oper-status", "state", 6, TSPEC_TOOL_STATE, "tspec_radio_operational",
     "Whether admission control operates: 1 or 0."},
    {"ts", "num-active", "streams", 8, TSPEC_TOOL_GAUGE, "tspec_radio_streams",
     "Admitted streams on the radio."},
    {"ts", "num-clients", "clients", 8, TSPEC_TOOL_GAUGE, "tspec_radio_clients",
     "Clients with admitted streams on the radio."},
    {"ts", "num-roam-clients", "roaming", 8, TSPEC_TOOL_GAUGE, "tspec_radio_roaming_clients",
     "Those of the clients that roam."},
    {"ts", "med-time-admitted", "admitted", 9, TSPEC_TOOL_GAUGE, "tspec_radio_medium_time_admitted",
     "Medium time of the admitted streams, " MEDIUM_TIME_UNIT},
    {"ts", "med-time-unalloc", "free", 7, TSPEC_TOOL_GAUGE, "tspec_radio_medium_time_unallocated",
     "Medium time that the limit leaves, " MEDIUM_TIME_UNIT},
    {"ts", "med-time-roam-unalloc", "roam-free", 10, TSPEC_TOOL_GAUGE,
     "tspec_radio_medium_time_roaming_unallocated",
     "Medium time that the limit leaves to roaming clients, " MEDIUM_TIME_UNIT},
};

const tspec_tool_field_t TSPEC_TOOL_STREAM_FIELDS[TSPEC_TOOL_NUM_STREAM_FIELDS] = {
    {"", "station-mac", "station", -18, TSPEC_TOOL_WORD, nullptr, nullptr},
    {"", "interface", "interface", -12, TSPEC_TOOL_WORD, nullptr, nullptr},
    {"ts", "tid", "tid", -4, TSPEC_TOOL_ID, nullptr, nullptr},
    {"ts", "ac", "category", -12, TSPEC_TOOL_WORD, nullptr, nullptr},
    {"ts", "direction", "direction", -14, TSPEC_TOOL_WORD, nullptr, nullptr},
    {"ts", "user-priority", "prio", 5, TSPEC_TOOL_ID, nullptr, nullptr},
    {"ts", "medium-time", "medium", 7, TSPEC_TOOL_GAUGE, "tspec_stream_medium_time",
     "Medium time of the stream, " MEDIUM_TIME_UNIT},
    {"ts", "excess-usage-events", "excess", 7, TSPEC_TOOL_COUNTER,
     "tspec_stream_excess_usage_events_total",
     "How often the stream was reported to have used more than its medium time."},
};

const tspec_tool_category_t TSPEC_TOOL_CATEGORIES[TSPEC_NUM_ACS] = {
    {"vo", "voice"}, {"vi", "video"}, {"be", "best-effort"}, {"bk", "background"}};

void tspec_tool_print_name(FILE *out, const char *name)
{
    for (const char *p = name; *p != '\0'; p++) {
        putc(*p == '-' ? '_' : *p, out);
    }
}
