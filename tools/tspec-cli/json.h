// Figures and streams as one JSON object on one line. Names are those of the
// daemon's keys, without access category and with underscores.
#pragma once

#include "tspec-cli/collect.h"

// {"access_point":{"voice":{"num_active":1,...},...},"wlan0":{...},...}
void tspec_tool_print_statistics_json(FILE *out, const tspec_tool_statistics_t *statistics,
                                      const char *category);

// {"streams":[{"station_mac":"02:00:00:00:00:01","tid":6,...},...]}
void tspec_tool_print_streams_json(FILE *out, const tspec_tool_streams_t *streams);
