/*
 * Bash completion of the tool, from its table of commands.
 */
#ifndef TSPEC_TOOL_COMPLETION_H
#define TSPEC_TOOL_COMPLETION_H

#include <stdio.h>

void tspec_tool_print_completion(FILE *out);

#endif
