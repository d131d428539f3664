#include "tspec-cli/completion.h"

#include "completion/bash.h"
#include "tspec-cli/commands.h"
#include "tspec-cli/run.h"

#include <cassert>

static const size_t MAX_COMMANDS = 32;

static size_t describe_options(const tspec_tool_option_t *options,
                               tspec_completion_option_t *described)
{
    size_t count = 0;
    for (; count < TSPEC_TOOL_MAX_OPTIONS && options[count].name != nullptr; count++) {
        const tspec_tool_option_t *const option = &options[count];
        described[count].name = option->name;
        described[count].wants_value = option->value != nullptr && !option->value_is_optional;
        described[count].words = option->words;
    }
    return count;
}

static size_t count_operands(const char *const *operands)
{
    size_t count = TSPEC_TOOL_MAX_COMPLETED;
    while (count > 0 && operands[count - 1] == nullptr) {
        count--;
    }
    return count;
}

void tspec_tool_print_completion(FILE *out)
{
    tspec_completion_option_t options[MAX_COMMANDS][TSPEC_TOOL_MAX_OPTIONS];
    tspec_completion_command_t described[MAX_COMMANDS];
    size_t count = 0;
    const tspec_tool_command_t *const commands = tspec_tool_commands(&count);
    assert(count <= MAX_COMMANDS);
    for (size_t i = 0; i < count; i++) {
        described[i].name = commands[i].name;
        described[i].options = options[i];
        described[i].num_options = describe_options(commands[i].options, options[i]);
        described[i].operands = commands[i].completed;
        described[i].num_operands = count_operands(commands[i].completed);
        described[i].max_operands = commands[i].max_operands;
    }
    const tspec_completion_program_t program = {"tspec-cli", "--help --version", "--help",
                                                described, count};
    tspec_completion_print_bash(out, &program);
}

tspec_tool_status_t tspec_tool_run_completion(const tspec_tool_job_t *)
{
    tspec_tool_print_completion(stdout);
    return TSPEC_TOOL_DONE;
}
