// tspec-cli: reads the command line, carries out what it says, and tells in the
// exit status and in a sentence what became of it.
#include "tspec-cli/console.h"
#include "tspec-cli/parse.h"
#include "tspec-cli/usage.h"

#include <cstdio>
#include <cstring>

static tspec_tool_status_t report_rejected(const tspec_tool_invocation_t *invocation)
{
    const char *const text = invocation->error.text;
    const bool is_question = text[0] != '\0' && text[strlen(text) - 1] == '?';
    fprintf(stderr, "tspec-cli: %s%s\n", text, is_question ? "" : ".");
    tspec_tool_print_usage(stderr, invocation->command);
    return TSPEC_TOOL_WRONG_USE;
}

static tspec_tool_status_t report_unconfirmed(const tspec_tool_command_t *command)
{
    fprintf(stderr, "%sNothing was sent. Repeat the command with %s to send it all the same.\n",
            command->warning, command->options[0].name);
    return TSPEC_TOOL_WRONG_USE;
}

static tspec_tool_status_t carry_out(const tspec_tool_invocation_t *invocation)
{
    if (invocation->command->warning != nullptr) {
        fputs(invocation->command->warning, stderr);
    }
    return invocation->command->run != nullptr
               ? invocation->command->run(&invocation->job)
               : tspec_tool_send_to_console(&invocation->job.request);
}

// What was shown in vain, on a full disk for instance, was not shown.
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
