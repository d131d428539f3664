// A bash completion script for a program with subcommands, from its own list of
// them. The script needs bash alone, not the package of ready-made completions.
#pragma once

#include <cstddef>
#include <cstdio>

// Words are separated by blanks and hold no quotes; null where there is nothing
// to offer. This one stands for file names.
#define TSPEC_COMPLETION_FILES "<files>"

typedef struct {
    const char *name;
    bool wants_value;  // what follows it is its value
    const char *words; // that the value may be
} tspec_completion_option_t;

typedef struct {
    const char *name;
    const tspec_completion_option_t *options;
    size_t num_options;
    const char *const *operands; // words of each operand
    size_t num_operands;
    size_t max_operands; // when more are taken, they get the words of the last
} tspec_completion_command_t;

typedef struct {
    const char *name;
    const char *options;        // that may stand in place of a command
    const char *common_options; // that every command takes beside its own
    const tspec_completion_command_t *commands;
    size_t num_commands;
} tspec_completion_program_t;

void tspec_completion_print_bash(FILE *out, const tspec_completion_program_t *program);
