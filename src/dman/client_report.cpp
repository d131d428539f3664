#include "dman/client_report.h"

#include "core/names.h"
#include "core/text.h"
#include "core/trace.h"
#include "core/ts_info.h"
#include "dman/report.h"
#include "store/stream.h"

#include <array>
#include <cstdio>

static constexpr const char *REPORT_NAME = "fill_and_send_tspec_client_data";
static constexpr int32_t NUM_WALKED_TIDS = 8;

// The stream that the cursor names, or null. A cursor that should name one but
// does not is an error of the walk.
static const tspec_ts_rec_t *stream_at(const tspec_client_ts_cursor_t *cursor)
{
    if (cursor == nullptr || cursor->rec == nullptr) {
        return nullptr;
    }
    if (cursor->index < 0 || cursor->index >= NUM_WALKED_TIDS) {
        TSPEC_TRACE_AS(REPORT_NAME, TSPEC_TRACE_ERROR,
                       "%s: Error: client TS index %d is out of range.\n", cursor->index);
        perror("Error: client TS index out of range.\n");
        return nullptr;
    }
    const tspec_ts_rec_t *const entry =
        tspec_rec_ts_find(cursor->rec, cursor->index, TSPEC_FIND_BY_TID);
    if (entry == nullptr) {
        TSPEC_TRACE_AS(REPORT_NAME, TSPEC_TRACE_ERROR,
                       "%s: Error: cannot find AC info for client TS index %d.\n", cursor->index);
        perror("Error: client TS access category info not found.\n");
    }
    return entry;
}

// "wlan0", or "wlan1vap2" for all but the radio's main interface.
static void write_interface(tspec_text_writer_t &writer, const tspec_rec_t &rec)
{
    writer.put("wlan").put_decimal(rec.radio_unit - 1);
    if (rec.vap != 0) {
        writer.put("vap").put_decimal(rec.vap);
    }
}

static void describe(tspec_dman_report_t &report, const tspec_rec_t &rec,
                     const tspec_ts_rec_t &entry)
{
    std::array<char, 16> interface;
    tspec_text_writer_t interface_writer(interface);
    write_interface(interface_writer, rec);
    report.put_line("station-mac", tspec_mac_text(rec.sta_mac).text);
    report.put_line("interface", interface.data());
    report.put_line("ts-tid", entry.tid);
    report.put_line("ts-ac", tspec_ac_name(entry.ac_idx));
    report.put_line("ts-direction", tspec_dir_name(entry.dir));
    report.put_line("ts-user-priority",
                    tspec_ts_info_decode(entry.params.ie.ts_info).user_priority);
    report.put_line("ts-medium-time", entry.params.ie.medium_time);
    report.put_line("ts-excess-usage-events", static_cast<int32_t>(entry.excess_usage_events));
}

int32_t fill_and_send_tspec_client_data(const tspec_client_ts_cursor_t *cursor)
{
    tspec_dman_report_t report;
    const tspec_ts_rec_t *const entry = stream_at(cursor);
    if (entry != nullptr) {
        describe(report, *cursor->rec, *entry);
    } else {
        report.text().put("end");
    }
    if (report.send(entry != nullptr) == 0) {
        return 0;
    }
    TSPEC_TRACE(TSPEC_TRACE_ERROR, "%s:Error sending client TS message to dman.\n");
    perror("Error sending client TS message to dman.\n");
    return -1;
}
