// Bash completion of the tool, from its table of commands.
#pragma once

#include <cstdio>

void tspec_tool_print_completion(FILE *out);
