#include "tspec-cli/parse.h"

#include "tspec-cli/suggest.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

static bool is_help(const char *argument)
{
    return strcmp(argument, "--help") == 0 || strcmp(argument, "-h") == 0;
}

static bool is_version(const char *argument)
{
    return strcmp(argument, "--version") == 0 || strcmp(argument, "-V") == 0;
}

static bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

// A dash before a digit is a number out of range, and is better told so by the
// check of the number.
static bool looks_like_option(const char *argument)
{
    return argument[0] == '-' && !is_digit(argument[1]);
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

static void reject_command(tspec_tool_invocation_t *invocation, const char *name)
{
    tspec_tool_suggestion_t suggestion = {};
    size_t count = 0;
    const tspec_tool_command_t *const commands = tspec_tool_commands(&count);
    for (size_t i = 0; i < count; i++) {
        tspec_tool_consider(&suggestion, name, commands[i].name);
    }
    char meant[64];
    reject(invocation, "there is no command \"%s\"%s", name,
           tspec_tool_did_you_mean(&suggestion, meant, sizeof(meant)));
}

static void reject_option(tspec_tool_invocation_t *invocation, const char *argument)
{
    const tspec_tool_command_t *const command = invocation->command;
    tspec_tool_suggestion_t suggestion = {};
    for (int i = 0; i < TSPEC_TOOL_MAX_OPTIONS && command->options[i].name != nullptr; i++) {
        tspec_tool_consider(&suggestion, argument, command->options[i].name);
    }
    char meant[64];
    reject(invocation, "%s has no option \"%s\"%s", command->name, argument,
           tspec_tool_did_you_mean(&suggestion, meant, sizeof(meant)));
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

// The option's place among those of the command, or -1.
static int find_option(const tspec_tool_command_t *command, const char *argument)
{
    for (int i = 0; i < TSPEC_TOOL_MAX_OPTIONS && command->options[i].name != nullptr; i++) {
        if (strcmp(argument, command->options[i].name) == 0) {
            return i;
        }
    }
    return -1;
}

static bool takes_as_value(const tspec_tool_option_t *option, const char *argument)
{
    if (option->value == nullptr || argument == nullptr) {
        return false;
    }
    return !option->value_is_optional || is_digit(argument[0]);
}

// Takes the option and its value; yields the number of arguments taken, 0 when
// the value is missing.
static int collect_option(int place, const char *next, tspec_tool_invocation_t *invocation,
                          tspec_tool_operands_t *operands)
{
    const tspec_tool_option_t *option = &invocation->command->options[place];
    operands->options[place].given = true;
    if (takes_as_value(option, next)) {
        operands->options[place].value = next;
        return 2;
    }
    if (option->value != nullptr && !option->value_is_optional) {
        reject(invocation, "%s wants a value, %s", option->name, option->value);
        return 0;
    }
    return 1;
}

static bool collect_operand(const char *argument, tspec_tool_invocation_t *invocation,
                            tspec_tool_operands_t *operands)
{
    const tspec_tool_command_t *command = invocation->command;
    if (looks_like_option(argument)) {
        reject_option(invocation, argument);
        return false;
    }
    if (operands->count == command->max_operands) {
        reject(invocation, "\"%s\" is one argument too many for %s", argument, command->name);
        return false;
    }
    operands->values[operands->count++] = argument;
    return true;
}

// Splits what follows the command's name into its options and its operands.
static bool collect_arguments(int count, const char *const *arguments,
                              tspec_tool_invocation_t *invocation, tspec_tool_operands_t *operands)
{
    const tspec_tool_command_t *command = invocation->command;
    for (int i = 0; i < count;) {
        const int place = find_option(command, arguments[i]);
        if (place < 0) {
            if (!collect_operand(arguments[i], invocation, operands)) {
                return false;
            }
            i++;
            continue;
        }
        const char *next = i + 1 < count ? arguments[i + 1] : nullptr;
        const int taken = collect_option(place, next, invocation, operands);
        if (taken == 0) {
            return false;
        }
        i += taken;
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
    if (!collect_arguments(count, arguments, invocation, &operands)) {
        return;
    }
    const tspec_tool_command_t *command = invocation->command;
    if (!command->build(&operands, &invocation->job, &invocation->error)) {
        invocation->outcome = TSPEC_TOOL_REJECTED;
        return;
    }
    const bool has_consent = command->warning == nullptr || operands.options[0].given;
    invocation->outcome = has_consent ? TSPEC_TOOL_RUN : TSPEC_TOOL_UNCONFIRMED;
}

// "help" and "help COMMAND", as --help.
static void parse_help(int count, const char *const *arguments, tspec_tool_invocation_t *invocation)
{
    if (count > 1) {
        reject(invocation, "\"%s\" is one argument too many for help", arguments[1]);
        return;
    }
    invocation->outcome = TSPEC_TOOL_HELP;
    if (count == 0) {
        return;
    }
    invocation->command = tspec_tool_command_find(arguments[0]);
    if (invocation->command == nullptr) {
        reject_command(invocation, arguments[0]);
    }
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
    if (strcmp(first, "help") == 0) {
        parse_help(argc - 2, argv + 2, invocation);
        return;
    }
    invocation->command = tspec_tool_command_find(first);
    if (invocation->command == nullptr) {
        reject_command(invocation, first);
        return;
    }
    parse_command(argc - 2, argv + 2, invocation);
}
