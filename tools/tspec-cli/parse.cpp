#include "tspec-cli/parse.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

static bool is_help(const char *argument)
{
    return strcmp(argument, "--help") == 0 || strcmp(argument, "-h") == 0;
}

static bool is_version(const char *argument)
{
    return strcmp(argument, "--version") == 0 || strcmp(argument, "-V") == 0;
}

/* A dash before a digit is a number out of range, and is better told so by the
 * check of the number. */
static bool looks_like_option(const char *argument)
{
    return argument[0] == '-' && !(argument[1] >= '0' && argument[1] <= '9');
}

__attribute__((format(printf, 2, 3))) static void reject(tspec_tool_invocation_t *invocation,
                                                         const char *format, ...)
{
    invocation->outcome = TSPEC_TOOL_REJECTED;
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(invocation->error.text, sizeof(invocation->error.text), format, arguments);
    va_end(arguments);
}

static bool wants_help(int count, const char *const *arguments)
{
    for (int i = 0; i < count; i++) {
        if (is_help(arguments[i])) {
            return true;
        }
    }
    return false;
}

/* Splits what follows the command's name into its option and its operands. */
static bool collect_operands(int count, const char *const *arguments,
                             tspec_tool_invocation_t *invocation, tspec_tool_operands_t *operands)
{
    const tspec_tool_command_t *command = invocation->command;
    for (int i = 0; i < count; i++) {
        const char *argument = arguments[i];
        if (command->option != nullptr && strcmp(argument, command->option) == 0) {
            operands->option_given = true;
            continue;
        }
        if (looks_like_option(argument)) {
            reject(invocation, "%s has no option \"%s\"", command->name, argument);
            return false;
        }
        if (operands->count == command->max_operands) {
            reject(invocation, "\"%s\" is one argument too many for %s", argument, command->name);
            return false;
        }
        operands->values[operands->count++] = argument;
    }
    if (operands->count < command->min_operands) {
        reject(invocation, "%s wants %u argument%s and got %zu", command->name,
               command->min_operands, command->min_operands == 1 ? "" : "s", operands->count);
        return false;
    }
    return true;
}

static void parse_command(int count, const char *const *arguments,
                          tspec_tool_invocation_t *invocation)
{
    if (wants_help(count, arguments)) {
        invocation->outcome = TSPEC_TOOL_HELP;
        return;
    }
    tspec_tool_operands_t operands = {};
    if (!collect_operands(count, arguments, invocation, &operands)) {
        return;
    }
    const tspec_tool_command_t *command = invocation->command;
    if (!command->build(&operands, &invocation->request, &invocation->error)) {
        invocation->outcome = TSPEC_TOOL_REJECTED;
        return;
    }
    const bool has_consent = command->warning == nullptr || operands.option_given;
    invocation->outcome = has_consent ? TSPEC_TOOL_RUN : TSPEC_TOOL_UNCONFIRMED;
}

void tspec_tool_parse(int argc, const char *const *argv, tspec_tool_invocation_t *invocation)
{
    *invocation = {};
    if (argc < 2) {
        reject(invocation, "no command given");
        return;
    }
    const char *first = argv[1];
    if (is_help(first)) {
        invocation->outcome = TSPEC_TOOL_HELP;
        return;
    }
    if (is_version(first)) {
        invocation->outcome = TSPEC_TOOL_VERSION;
        return;
    }
    if (looks_like_option(first)) {
        reject(invocation, "there is no option \"%s\"", first);
        return;
    }
    invocation->command = tspec_tool_command_find(first);
    if (invocation->command == nullptr) {
        reject(invocation, "there is no command \"%s\"", first);
        return;
    }
    parse_command(argc - 2, argv + 2, invocation);
}
