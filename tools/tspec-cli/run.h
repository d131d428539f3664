// The commands that do more than send one datagram. Each carries its job out,
// prints what there is to see on standard output and what went wrong on standard
// error.
#pragma once

#include "tspec-cli/job.h"
#include "tspec-cli/status.h"

#if TSPEC_TOOL_HAS_CONFIG
#define TSPEC_TOOL_CONFIG_SUMMARY "check a configuration file, or send it to the daemon"
#else
#define TSPEC_TOOL_CONFIG_SUMMARY "not in this build, which had no libinih"
#endif

tspec_tool_status_t tspec_tool_run_delete_client(const tspec_tool_job_t *job);
tspec_tool_status_t tspec_tool_run_delete_stream(const tspec_tool_job_t *job);
tspec_tool_status_t tspec_tool_run_ping(const tspec_tool_job_t *job);
tspec_tool_status_t tspec_tool_run_stats(const tspec_tool_job_t *job);
tspec_tool_status_t tspec_tool_run_streams(const tspec_tool_job_t *job);
tspec_tool_status_t tspec_tool_run_metrics(const tspec_tool_job_t *job);
tspec_tool_status_t tspec_tool_run_config(const tspec_tool_job_t *job);
tspec_tool_status_t tspec_tool_run_completion(const tspec_tool_job_t *job);
tspec_tool_status_t tspec_tool_run_health(const tspec_tool_job_t *job);
tspec_tool_status_t tspec_tool_run_make_way(const tspec_tool_job_t *job);
tspec_tool_status_t tspec_tool_run_grant(const tspec_tool_job_t *job);
tspec_tool_status_t tspec_tool_run_contained(const tspec_tool_job_t *job);
tspec_tool_status_t tspec_tool_run_remove_stale(const tspec_tool_job_t *job);
tspec_tool_status_t tspec_tool_run_wait_loopback(const tspec_tool_job_t *job);
