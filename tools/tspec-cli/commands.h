/*
 * The commands of the tool, in one table: how they are typed, what the help
 * says of them, and how their datagram is built.
 */
#ifndef TSPEC_TOOL_COMMANDS_H
#define TSPEC_TOOL_COMMANDS_H

#include "tspec-cli/request.h"

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

/* As many levels as fit behind the code and the count of a debug command. */
#define TSPEC_TOOL_MAX_OPERANDS (TSPEC_CLI_BUF_SIZE - 2)

/* The arguments of a command, options taken out. */
typedef struct {
    const char *values[TSPEC_TOOL_MAX_OPERANDS];
    size_t count;
    bool option_given;
} tspec_tool_operands_t;

typedef struct {
    const char *name;
    const char *synopsis; /* what may follow the name; "" for nothing */
    const char *summary;  /* one line for the list of commands */
    const char *help;     /* what --help prints under the usage line */
    const char *option;   /* the one option that it takes, or null */
    const char *warning;  /* to be said before it is sent, or null; `option` is then the consent */
    uint8_t min_operands;
    uint8_t max_operands;
    bool is_answered; /* the daemon sends a datagram back */

    /* Fills `request` from `operands`, whose number has been checked. False
     * with `error` filled when one of them is not what the command takes. */
    bool (*build)(const tspec_tool_operands_t *operands, tspec_tool_request_t *request,
                  tspec_tool_error_t *error);
} tspec_tool_command_t;

/* The table and, through `count`, its length. */
const tspec_tool_command_t *tspec_tool_commands(size_t *count);

/* The command of that name, or null. */
const tspec_tool_command_t *tspec_tool_command_find(const char *name);

#endif
