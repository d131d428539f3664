// ping: whether the daemon is alive.
#include "tspec-cli/daemon_socket.h"
#include "tspec-cli/run.h"

#include <cstdio>

static const unsigned ANSWER_TIMEOUT_MS = 2000;

tspec_tool_status_t tspec_tool_run_ping(const tspec_tool_job_t *job)
{
    const tspec_tool_delivery_t delivery = tspec_tool_ping(&job->request, ANSWER_TIMEOUT_MS);
    if (delivery == TSPEC_TOOL_DELIVERED) {
        puts(TSPEC_CLI_PING_REPLY);
    }
    return tspec_tool_report(delivery, ANSWER_TIMEOUT_MS);
}
