/*
 * tspec-cli: reads the command line, sends what it says, and tells in the exit
 * status and in a sentence what became of it.
 */
#include "tspec-cli/daemon_socket.h"
#include "tspec-cli/parse.h"
#include "tspec-cli/usage.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

enum { exit_done = 0, exit_undelivered = 1, exit_usage = 2 };

static const unsigned answer_timeout_ms = 2000;

/* The daemon reads no commands for up to two seconds at a time. */
static const unsigned send_timeout_ms = 3000;

static int report_rejected(const tspec_tool_invocation_t *invocation)
{
    fprintf(stderr, "tspec-cli: %s.\n", invocation->error.text);
    tspec_tool_print_usage(stderr, invocation->command);
    return exit_usage;
}

static int report_unconfirmed(const tspec_tool_command_t *command)
{
    fprintf(stderr, "%sNothing was sent. Repeat the command with %s to send it all the same.\n",
            command->warning, command->option);
    return exit_usage;
}

static int report_undelivered(tspec_tool_delivery_t delivery)
{
    const char *sentence = "";
    switch (delivery) {
    case TSPEC_TOOL_NO_DAEMON:
        sentence = "no daemon takes commands: nobody listens on the abstract "
                   "socket \"" TSPEC_CLI_SOCK_NAME "\"";
        break;
    case TSPEC_TOOL_QUEUE_FULL:
        sentence = "the daemon is busy and its queue of commands is full; nothing was sent";
        break;
    case TSPEC_TOOL_NAME_IN_USE:
        sentence = "another ping is under way: it holds the abstract "
                   "socket \"" TSPEC_CLI_REPLY_NAME "\" that the answer comes to";
        break;
    case TSPEC_TOOL_NO_ANSWER:
        sentence = "no answer from the daemon within 2 seconds";
        break;
    case TSPEC_TOOL_WRONG_ANSWER:
        sentence = "the daemon's answer was not " TSPEC_CLI_PING_REPLY;
        break;
    case TSPEC_TOOL_SYSTEM_FAILED:
        sentence = strerror(errno);
        break;
    case TSPEC_TOOL_DELIVERED:
        return exit_done;
    }
    fprintf(stderr, "tspec-cli: %s.\n", sentence);
    return exit_undelivered;
}

/* A script that collects standard error is not told: it cannot look there. */
static void point_to_console()
{
    if (isatty(STDERR_FILENO)) {
        fputs("Sent. What the daemon has to say appears on the console, /dev/console.\n", stderr);
    }
}

static int run(const tspec_tool_invocation_t *invocation)
{
    if (invocation->command->is_answered) {
        const tspec_tool_delivery_t delivery =
            tspec_tool_ping(&invocation->request, answer_timeout_ms);
        if (delivery == TSPEC_TOOL_DELIVERED) {
            puts(TSPEC_CLI_PING_REPLY);
        }
        return report_undelivered(delivery);
    }
    if (invocation->command->warning != nullptr) {
        fputs(invocation->command->warning, stderr);
    }
    const tspec_tool_delivery_t delivery = tspec_tool_send(&invocation->request, send_timeout_ms);
    if (delivery == TSPEC_TOOL_DELIVERED) {
        point_to_console();
    }
    return report_undelivered(delivery);
}

int main(int argc, char **argv)
{
    tspec_tool_invocation_t invocation;
    tspec_tool_parse(argc, argv, &invocation);
    switch (invocation.outcome) {
    case TSPEC_TOOL_RUN:
        return run(&invocation);
    case TSPEC_TOOL_HELP:
        tspec_tool_print_help(stdout, invocation.command);
        return exit_done;
    case TSPEC_TOOL_VERSION:
        tspec_tool_print_version(stdout);
        return exit_done;
    case TSPEC_TOOL_UNCONFIRMED:
        return report_unconfirmed(invocation.command);
    case TSPEC_TOOL_REJECTED:
        return report_rejected(&invocation);
    }
    return exit_usage;
}
