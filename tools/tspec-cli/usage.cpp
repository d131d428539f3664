#include "tspec-cli/usage.h"

static const char TOOL_HELP[] =
    "Speaks to the tspec-daemon of this access point.\n"
    "\n"
    "debug, disassociation-mode and show are answered on the access point's console,\n"
    "/dev/console; root sees the answer here, too, where the kernel turns the console.\n";

static const char TOOL_NOTES[] =
    "\n"
    "tspec-cli help COMMAND says more of a command.\n"
    "\n"
    "Exit status: 0 done, 1 no daemon or no answer, 2 wrong usage or configuration,\n"
    "3 dman has the port that statistics are sent to, 4 sent, not confirmed, 5 a warning,\n"
    "6 nothing there to remove.\n";

// A command that is longer than its column has its summary on the next line.
static void print_command_line(FILE *out, const tspec_tool_command_t *command)
{
    static const int COLUMN = 27;
    const int length = fprintf(out, "  %s %s", command->name, command->synopsis) - 2;
    if (length > COLUMN) {
        fprintf(out, "\n%*s", COLUMN + 2, "");
    } else {
        fprintf(out, "%*s", COLUMN - length, "");
    }
    fprintf(out, " %s\n", command->summary);
}

static void print_command_list(FILE *out)
{
    size_t count = 0;
    const tspec_tool_command_t *commands = tspec_tool_commands(&count);
    fputs("Usage: tspec-cli COMMAND [ARGUMENT...]\n"
          "       tspec-cli help [COMMAND]\n"
          "       tspec-cli --help | --version\n"
          "\n"
          "Commands:\n",
          out);
    for (size_t i = 0; i < count; i++) {
        print_command_line(out, &commands[i]);
    }
}

void tspec_tool_print_usage(FILE *out, const tspec_tool_command_t *command)
{
    if (command == nullptr) {
        print_command_list(out);
        return;
    }
    const char *gap = command->synopsis[0] != '\0' ? " " : "";
    fprintf(out, "Usage: tspec-cli %s%s%s\n", command->name, gap, command->synopsis);
}

void tspec_tool_print_help(FILE *out, const tspec_tool_command_t *command)
{
    tspec_tool_print_usage(out, command);
    if (command == nullptr) {
        fprintf(out, "\n%s%s", TOOL_HELP, TOOL_NOTES);
        return;
    }
    fprintf(out, "\n%s", command->help);
    if (command->warning != nullptr) {
        fprintf(out, "\n%sWithout %s nothing is sent.\n", command->warning,
                command->options[0].name);
    }
    if (command->run == nullptr) {
        fputs("\nThe daemon answers on the access point's console, which root sees here, too.\n",
              out);
    }
}

void tspec_tool_print_version(FILE *out)
{
    fputs("tspec-cli " TSPEC_VERSION "\n", out);
}
