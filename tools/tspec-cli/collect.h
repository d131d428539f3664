// Figures and streams as the daemon has them now, asked for report by report.
#pragma once

#include "tspec-cli/delivery.h"
#include "tspec-cli/job.h"
#include "tspec-cli/report.h"

// One report.
typedef struct {
    char name[16]; // "access-point", "wlan0", "wlan0vap3"
    const tspec_tool_field_t *fields;
    tspec_tool_figures_t figures;
} tspec_tool_sheet_t;

typedef struct {
    tspec_tool_sheet_t sheets[1 + TSPEC_NUM_RADIOS];
    size_t count;
} tspec_tool_statistics_t;

typedef struct {
    tspec_tool_stream_t streams[TSPEC_MAX_TS];
    size_t count;
} tspec_tool_streams_t;

// The reports that the view asks for.
tspec_tool_delivery_t tspec_tool_collect_statistics(const tspec_tool_view_t *view,
                                                    tspec_tool_statistics_t *statistics);

// Every stream on TIDs 0 to 7. The daemon's walk begins anew when the client is
// gone at which it stood; so does the list, a few times, and then gives up.
tspec_tool_delivery_t tspec_tool_collect_streams(tspec_tool_streams_t *streams);
