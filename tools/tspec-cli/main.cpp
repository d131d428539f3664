/*
 * tspec-cli: reads the command line, carries out what it says, and tells in the
 * exit status and in a sentence what became of it.
 */
#include "tspec-cli/daemon_socket.h"
#include "tspec-cli/parse.h"
#include "tspec-cli/usage.h"

#include <stdio.h>
#include <unistd.h>

/* The daemon reads no commands for up to two seconds at a time. */
static const unsigned send_timeout_ms = 3000;

static tspec_tool_status_t report_rejected(const tspec_tool_invocation_t *invocation)
{
    fprintf(stderr, "tspec-cli: %s.\n", invocation->error.text);
    tspec_tool_print_usage(stderr, invocation->command);
    return TSPEC_TOOL_WRONG_USE;
}

static tspec_tool_status_t report_unconfirmed(const tspec_tool_command_t *command)
{
    fprintf(stderr, "%sNothing was sent. Repeat the command with %s to send it all the same.\n",
            command->warning, command->options[0].name);
    return TSPEC_TOOL_WRONG_USE;
}

/* A script that collects standard error is not told: it cannot look there. */
static void point_to_console()
{
    if (isatty(STDERR_FILENO)) {
        fputs("Sent. What the daemon has to say appears on the console, /dev/console.\n", stderr);
    }
}

static tspec_tool_status_t send_request(const tspec_tool_invocation_t *invocation)
{
    if (invocation->command->warning != nullptr) {
        fputs(invocation->command->warning, stderr);
    }
    const tspec_tool_delivery_t delivery =
        tspec_tool_send(&invocation->job.request, send_timeout_ms);
    if (delivery == TSPEC_TOOL_DELIVERED) {
        point_to_console();
    }
    return tspec_tool_report(delivery, send_timeout_ms);
}

static tspec_tool_status_t carry_out(const tspec_tool_invocation_t *invocation)
{
    return invocation->command->run != nullptr ? invocation->command->run(&invocation->job)
                                               : send_request(invocation);
}

/* What was shown in vain, on a full disk for instance, was not shown. */
static tspec_tool_status_t after_output(tspec_tool_status_t status)
{
    if (fflush(stdout) != 0 || ferror(stdout) != 0) {
        perror("tspec-cli: standard output");
        return status == TSPEC_TOOL_DONE ? TSPEC_TOOL_FAILED : status;
    }
    return status;
}

static tspec_tool_status_t act(const tspec_tool_invocation_t *invocation)
{
    switch (invocation->outcome) {
    case TSPEC_TOOL_RUN:
        return carry_out(invocation);
    case TSPEC_TOOL_HELP:
        tspec_tool_print_help(stdout, invocation->command);
        return TSPEC_TOOL_DONE;
    case TSPEC_TOOL_VERSION:
        tspec_tool_print_version(stdout);
        return TSPEC_TOOL_DONE;
    case TSPEC_TOOL_UNCONFIRMED:
        return report_unconfirmed(invocation->command);
    case TSPEC_TOOL_REJECTED:
        return report_rejected(invocation);
    }
    return TSPEC_TOOL_WRONG_USE;
}

int main(int argc, char **argv)
{
    tspec_tool_invocation_t invocation;
    tspec_tool_parse(argc, argv, &invocation);
    return after_output(act(&invocation));
}
