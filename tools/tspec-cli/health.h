// What can be seen of a daemon from outside, without changing anything.
#pragma once

#include "tspec-cli/status.h"

#include <cstddef>
#include <cstdio>

typedef enum {
    TSPEC_TOOL_OK,
    TSPEC_TOOL_UNKNOWN, // cannot be seen from here; no failure
    TSPEC_TOOL_WARNING, // the daemon serves all the same
    TSPEC_TOOL_DEAD,    // nothing can be served any more; a restart helps
} tspec_tool_verdict_t;

typedef struct {
    const char *subject;
    tspec_tool_verdict_t verdict;
    char text[160]; // printable; no quotes
} tspec_tool_finding_t;

#define TSPEC_TOOL_MAX_FINDINGS 8

typedef struct {
    tspec_tool_finding_t findings[TSPEC_TOOL_MAX_FINDINGS];
    size_t count;
} tspec_tool_health_t;

// Looks at everything. The configuration is compared with the file of that name.
void tspec_tool_examine(tspec_tool_health_t *health, const char *configuration);

void tspec_tool_print_health(FILE *out, const tspec_tool_health_t *health);
void tspec_tool_print_health_json(FILE *out, const tspec_tool_health_t *health);

// DONE, WARNED, or FAILED when anything is dead.
tspec_tool_status_t tspec_tool_health_status(const tspec_tool_health_t *health);

// How `open` descriptors of at most `limit` are to be taken.
tspec_tool_verdict_t tspec_tool_judge_descriptors(unsigned open, unsigned limit);
