#include "dman/client_report.h"

#include "core/names.h"
#include "core/text.h"
#include "core/trace.h"
#include "core/ts_info.h"
#include "dman/report.h"
#include "store/stream.h"

#include <cstdio>

#define TSPEC_TRACE_NAME "fill_and_send_tspec_client_data"

static constexpr int32_t NUM_WALKED_TIDS = 8;

// The stream that the cursor names, or null. A cursor that should name one but
// does not is an error of the walk.
static const tspec_ts_rec_t *stream_at(const tspec_client_ts_cursor_t *cursor)
{
    if (cursor == nullptr || cursor->rec == nullptr) {
        return nullptr;
    }
    if (cursor->index < 0 || cursor->index >= NUM_WALKED_TIDS) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, " Error: client TS index %d is out of range.\n",
                    cursor->index);
        perror("Error: client TS index out of range.\n");
        return nullptr;
    }
    const tspec_ts_rec_t *const entry =
        tspec_rec_ts_find(cursor->rec, cursor->index, TSPEC_FIND_BY_TID);
    if (entry == nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, " Error: cannot find AC info for client TS index %d.\n",
                    cursor->index);
        perror("Error: client TS access category info not found.\n");
    }
    return entry;
}

static void describe(tspec_dman_report_t &report, const tspec_rec_t &rec,
                     const tspec_ts_rec_t &entry)
{
    tspec_dman_report_put(report, "station-mac=%s\n", tspec_mac_text(rec.sta_mac).text);
    tspec_dman_report_put(report, "interface=wlan%d", rec.radio_unit - 1);
    if (rec.vap != 0) { // else the radio's main interface
        tspec_dman_report_put(report, "vap%u", rec.vap);
    }
    tspec_dman_report_put(report, "\nts-tid=%d\n", entry.tid);
    tspec_dman_report_put(report, "ts-ac=%s\n", tspec_ac_name(entry.ac_idx));
    tspec_dman_report_put(report, "ts-direction=%s\n", tspec_dir_name(entry.dir));
    tspec_dman_report_put(report, "ts-user-priority=%d\n",
                          tspec_ts_info_decode(entry.params.ie.ts_info).user_priority);
    tspec_dman_report_put(report, "ts-medium-time=%d\n", entry.params.ie.medium_time);
    tspec_dman_report_put(report, "ts-excess-usage-events=%d\n",
                          static_cast<int32_t>(entry.excess_usage_events));
}

int32_t fill_and_send_tspec_client_data(const tspec_client_ts_cursor_t *cursor)
{
    tspec_dman_report_t report = {};
    const tspec_ts_rec_t *const entry = stream_at(cursor);
    if (entry != nullptr) {
        describe(report, *cursor->rec, *entry);
    } else {
        tspec_dman_report_put(report, "end");
    }
    if (tspec_dman_report_send(report, entry != nullptr) == 0) {
        return 0;
    }
    TSPEC_TRACE(TSPEC_TRACE_ERROR, "Error sending client TS message to dman.\n");
    perror("Error sending client TS message to dman.\n");
    return -1;
}
