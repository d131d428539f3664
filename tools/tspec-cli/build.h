// From the words behind a command's name to the job that they ask for: one
// function for each command, as the table of commands wants them.
#pragma once

#include "tspec-cli/commands.h"

// Places of the options in `tspec_tool_operands_t`.
enum { TSPEC_TOOL_JSON, TSPEC_TOOL_WATCH, TSPEC_TOOL_RADIO, TSPEC_TOOL_AC, TSPEC_TOOL_UNITS };
enum { TSPEC_TOOL_VAP = TSPEC_TOOL_UNITS + 1 }; // of stats
enum { TSPEC_TOOL_STA = TSPEC_TOOL_UNITS + 1 }; // of streams
enum { TSPEC_TOOL_ALL };
enum { TSPEC_TOOL_STREAMS };

typedef bool tspec_tool_build_t(const tspec_tool_operands_t *operands, tspec_tool_job_t *job,
                                tspec_tool_error_t *error);

tspec_tool_build_t tspec_tool_build_nothing;
tspec_tool_build_t tspec_tool_build_ping;
tspec_tool_build_t tspec_tool_build_debug;
tspec_tool_build_t tspec_tool_build_delete_client;
tspec_tool_build_t tspec_tool_build_delete_stream;
tspec_tool_build_t tspec_tool_build_disassociation_mode;
tspec_tool_build_t tspec_tool_build_show;
tspec_tool_build_t tspec_tool_build_stats;
tspec_tool_build_t tspec_tool_build_streams;
tspec_tool_build_t tspec_tool_build_metrics;
tspec_tool_build_t tspec_tool_build_config;
tspec_tool_build_t tspec_tool_build_health;
tspec_tool_build_t tspec_tool_build_program;
tspec_tool_build_t tspec_tool_build_completion;
