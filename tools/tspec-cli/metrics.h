// Figures and streams in the Prometheus text format: all series of a metric
// together, under what they mean and whether they only grow.
#pragma once

#include "tspec-cli/collect.h"

void tspec_tool_print_metrics(FILE *out, const tspec_tool_statistics_t *statistics);
void tspec_tool_print_stream_metrics(FILE *out, const tspec_tool_streams_t *streams);
