// Figures and streams as tables for people.
#pragma once

#include "tspec-cli/collect.h"

typedef struct {
    bool colour;
    unsigned columns;     // of the terminal; 0: as many as are wanted
    bool units;           // medium time as it is, not in per cent
    const char *category; // the only one that is shown; null: all
} tspec_tool_style_t;

void tspec_tool_print_statistics(FILE *out, const tspec_tool_statistics_t *statistics,
                                 const tspec_tool_style_t *style);
// A line for each figure that has changed, in units.
void tspec_tool_print_changes(FILE *out, const tspec_tool_statistics_t *before,
                              const tspec_tool_statistics_t *now, const tspec_tool_style_t *style);
void tspec_tool_print_streams(FILE *out, const tspec_tool_streams_t *streams,
                              const tspec_tool_style_t *style);
