// Usage lines, help and version, all from the table of commands.
#pragma once

#include "tspec-cli/commands.h"

#include <cstdio>

// The usage line of `command`, or the list of all commands when it is null.
void tspec_tool_print_usage(FILE *out, const tspec_tool_command_t *command);

// What --help shows of `command`, or of the tool when it is null.
void tspec_tool_print_help(FILE *out, const tspec_tool_command_t *command);

void tspec_tool_print_version(FILE *out);
