// The daemon's text reports, taken apart. A report is taken whole or not at all:
// every line that belongs to it, in order, and nothing else.
#pragma once

#include "tspec-cli/fields.h"

#include <cstdint>

// Figures by access category, in the order of TSPEC_TOOL_CATEGORIES; a state is
// 1 for up and 0 for down.
typedef struct {
    uint32_t values[TSPEC_NUM_ACS][TSPEC_TOOL_NUM_FIELDS];
} tspec_tool_figures_t;

// The values of a stream as text: small letters, digits, colons and dashes.
typedef struct {
    char values[TSPEC_TOOL_NUM_STREAM_FIELDS][20];
} tspec_tool_stream_t;

// False, with `figures` undefined, when `text` is another report.
bool tspec_tool_read_figures(const char *text, const tspec_tool_field_t *fields,
                             tspec_tool_figures_t *figures);

// False, with `stream` undefined, when `text` does not describe a stream.
bool tspec_tool_read_stream(const char *text, tspec_tool_stream_t *stream);

// The answer that follows the last stream.
bool tspec_tool_is_end(const char *text);
