// The figures that the daemon reports, in one table for each kind of report: the
// key that the daemon gives a figure, the title of its column, and its name in
// the Prometheus text format. Everything that reads or shows a report goes by
// these tables; their order is that of the lines of the report.
#pragma once

#include "tspec/message.h"

#include <cstddef>
#include <cstdio>

#define TSPEC_TOOL_NUM_FIELDS 7        // of the access point, a radio or a VAP
#define TSPEC_TOOL_NUM_STREAM_FIELDS 8 // of a stream

typedef enum {
    TSPEC_TOOL_WORD,    // text; tells streams apart
    TSPEC_TOOL_ID,      // a number that tells streams apart
    TSPEC_TOOL_STATE,   // "up" or "down"
    TSPEC_TOOL_GAUGE,   // a number that goes up and down
    TSPEC_TOOL_COUNTER, // a number that only grows
} tspec_tool_kind_t;

typedef struct {
    const char *prefix; // the key is prefix, access category and name with dashes
    const char *name;   // between them; a stream's keys have no category
    const char *title;  // of the column
    int width;          // of the column; negative where its text stands left
    tspec_tool_kind_t kind;
    const char *metric; // null for what tells streams apart
    const char *help;   // what it is, for the metric
} tspec_tool_field_t;

extern const tspec_tool_field_t TSPEC_TOOL_AP_FIELDS[TSPEC_TOOL_NUM_FIELDS];
extern const tspec_tool_field_t TSPEC_TOOL_ENTRY_FIELDS[TSPEC_TOOL_NUM_FIELDS]; // radio, VAP
extern const tspec_tool_field_t TSPEC_TOOL_STREAM_FIELDS[TSPEC_TOOL_NUM_STREAM_FIELDS];

// Places in TSPEC_TOOL_ENTRY_FIELDS that more than the tables have to know.
enum {
    TSPEC_TOOL_ADMITTED_FIELD = 4,
    TSPEC_TOOL_UNALLOCATED_FIELD = 5,
    TSPEC_TOOL_ROAM_UNALLOCATED_FIELD = 6,
};

// The same of TSPEC_TOOL_STREAM_FIELDS; what stands before its figures names a stream.
enum {
    TSPEC_TOOL_STREAM_STATION,
    TSPEC_TOOL_STREAM_INTERFACE,
    TSPEC_TOOL_STREAM_TID,
    TSPEC_TOOL_STREAM_CATEGORY,
    TSPEC_TOOL_STREAM_DIRECTION,
    TSPEC_TOOL_STREAM_PRIORITY,
    TSPEC_TOOL_STREAM_MEDIUM_TIME,
};

typedef struct {
    const char *key; // in the keys of the reports
    const char *name;
} tspec_tool_category_t;

// In the order of the reports.
extern const tspec_tool_category_t TSPEC_TOOL_CATEGORIES[TSPEC_NUM_ACS];

// A name with underscores in place of its dashes, as JSON and Prometheus have it.
void tspec_tool_print_name(FILE *out, const char *name);
