#include "completion/bash.h"

// What follows the data, the same for every program. Names of files may hold
// blanks, so each is one line of compgen's.
static const char LOGIC[] = R"(
    if ((COMP_CWORD == 1)); then
        words=$first
    elif [[ $valued == *" $previous "* ]]; then
        words=${values[$previous]-}
    else
        for ((index = 2; index < COMP_CWORD; index++)); do
            if [[ $valued == *" ${COMP_WORDS[index]} "* ]]; then
                index+=1
            elif [[ ${COMP_WORDS[index]} != -* ]]; then
                place+=1
            fi
        done
        words=$options
        if ((place < most && ${#operands[@]} > 0)); then
            ((place < ${#operands[@]})) || place=${#operands[@]}-1
            words+=" ${operands[place]}"
        fi
    fi
    if [[ $words == *'<files>'* ]]; then
        words=${words//'<files>'/}
        mapfile -t files < <(compgen -f -- "$current")
        compopt -o filenames 2>/dev/null || true
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    COMPREPLY+=("${files[@]}")
}
)";

// A function's name had better hold no dash.
static void print_function_name(FILE *out, const char *program)
{
    putc('_', out);
    for (const char *p = program; *p != '\0'; p++) {
        putc(*p == '-' ? '_' : *p, out);
    }
}

static const char *or_nothing(const char *words)
{
    return words != nullptr ? words : "";
}

static void print_options(FILE *out, const tspec_completion_program_t *program,
                          const tspec_completion_command_t *command)
{
    fprintf(out, "        options='%s", program->common_options);
    for (size_t i = 0; i < command->num_options; i++) {
        fprintf(out, " %s", command->options[i].name);
    }
    fputs("'\n        valued=' ", out);
    for (size_t i = 0; i < command->num_options; i++) {
        if (command->options[i].wants_value) {
            fprintf(out, "%s ", command->options[i].name);
        }
    }
    fputs("'\n", out);
    for (size_t i = 0; i < command->num_options; i++) {
        if (command->options[i].words != nullptr) {
            fprintf(out, "        values[%s]='%s'\n", command->options[i].name,
                    command->options[i].words);
        }
    }
}

static void print_command(FILE *out, const tspec_completion_program_t *program,
                          const tspec_completion_command_t *command)
{
    fprintf(out, "    %s)\n", command->name);
    print_options(out, program, command);
    fputs("        operands=(", out);
    for (size_t i = 0; i < command->num_operands; i++) {
        fprintf(out, "%s'%s'", i == 0 ? "" : " ", or_nothing(command->operands[i]));
    }
    fprintf(out, ")\n        most=%zu\n        ;;\n", command->max_operands);
}

static void print_first_words(FILE *out, const tspec_completion_program_t *program)
{
    fputs("    local first='", out);
    for (size_t i = 0; i < program->num_commands; i++) {
        fprintf(out, "%s ", program->commands[i].name);
    }
    fprintf(out, "%s'\n", program->options);
}

void tspec_completion_print_bash(FILE *out, const tspec_completion_program_t *program)
{
    fprintf(out, "# shellcheck shell=bash\n# Completion for %s, printed by itself.\n",
            program->name);
    print_function_name(out, program->name);
    fputs("()\n{\n", out);
    print_first_words(out, program);
    fputs("    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}\n"
          "    local options='' valued=' ' words=''\n"
          "    local -A values=()\n"
          "    local -a operands=() files=()\n"
          "    local -i most=0 place=0 index\n"
          "    case ${COMP_WORDS[1]} in\n",
          out);
    for (size_t i = 0; i < program->num_commands; i++) {
        print_command(out, program, &program->commands[i]);
    }
    fputs("    esac\n", out);
    fputs(LOGIC, out);
    fputs("complete -F ", out);
    print_function_name(out, program->name);
    fprintf(out, " %s\n", program->name);
}
