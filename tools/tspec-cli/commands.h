// The commands of the tool, in one table: how they are typed and completed, what
// the help says of them, and what carries them out.
#pragma once

#include "completion/bash.h"
#include "tspec-cli/job.h"
#include "tspec-cli/status.h"

#include <cstddef>
#include <cstdint>

// As many levels as fit behind the code and the count of a debug command.
#define TSPEC_TOOL_MAX_OPERANDS (TSPEC_CLI_BUF_SIZE - 2)

#define TSPEC_TOOL_MAX_OPTIONS 6
#define TSPEC_TOOL_MAX_COMPLETED 2

// File names, where words are offered for completion.
#define TSPEC_TOOL_FILES TSPEC_COMPLETION_FILES

typedef struct {
    const char *name;       // null: no option, and none after it
    const char *value;      // what its value is called, or null when it takes none
    bool value_is_optional; // a value is taken when it begins with a digit
    const char *words;      // values that completion offers, or null
} tspec_tool_option_t;

// The arguments of a command, options taken out.
typedef struct {
    const char *values[TSPEC_TOOL_MAX_OPERANDS];
    size_t count;
    struct {
        bool given;
        const char *value;             // null when none was given
    } options[TSPEC_TOOL_MAX_OPTIONS]; // in the order of the command's options
} tspec_tool_operands_t;

typedef struct {
    const char *name;
    const char *synopsis; // what may follow the name; "" for nothing
    const char *summary;  // one line for the list of commands
    const char *help;     // what --help prints under the usage line
    tspec_tool_option_t options[TSPEC_TOOL_MAX_OPTIONS];
    const char *warning; // to be said before it is sent, or null; the first option consents
    uint8_t min_operands;
    uint8_t max_operands;

    // What completion offers for the operands, null for nothing; further ones
    // are offered what the last has.
    const char *completed[TSPEC_TOOL_MAX_COMPLETED];

    // Fills `job` from `operands`, whose number has been checked. False with
    // `error` filled when one of them is not what the command takes.
    bool (*build)(const tspec_tool_operands_t *operands, tspec_tool_job_t *job,
                  tspec_tool_error_t *error);

    // Carries the job out and says what went wrong; null for a command whose
    // request the daemon answers on its console.
    tspec_tool_status_t (*run)(const tspec_tool_job_t *job);
} tspec_tool_command_t;

// The table and, through `count`, its length.
const tspec_tool_command_t *tspec_tool_commands(size_t *count);

// The command of that name, or null.
const tspec_tool_command_t *tspec_tool_command_find(const char *name);
