// The command line as a whole: which command it names, whether its arguments
// hold, and the job that comes of it. Nothing is printed or sent here.
#pragma once

#include "tspec-cli/commands.h"

typedef enum {
    TSPEC_TOOL_RUN,         // carry `job` out
    TSPEC_TOOL_HELP,        // show the help of `command`, or of the tool when it is null
    TSPEC_TOOL_VERSION,     // show the version
    TSPEC_TOOL_UNCONFIRMED, // all in order, but `command` wants consent and did not get it
    TSPEC_TOOL_REJECTED,    // `error` says why
} tspec_tool_outcome_t;

typedef struct {
    tspec_tool_outcome_t outcome;
    const tspec_tool_command_t *command; // null when none was named or it is unknown
    tspec_tool_job_t job;                // filled for TSPEC_TOOL_RUN
    tspec_tool_error_t error;            // filled for TSPEC_TOOL_REJECTED
} tspec_tool_invocation_t;

// Takes argc and argv as main() gets them, the program's name included. The
// result may point into argv.
void tspec_tool_parse(int argc, const char *const *argv, tspec_tool_invocation_t *invocation);
