#include "tspec-cli/commands.h"

#include "tspec-cli/build.h"
#include "tspec-cli/holder.h"
#include "tspec-cli/run.h"

#include <cstring>

static const tspec_tool_command_t COMMANDS[] = {
    {
        .name = "ping",
        .synopsis = "",
        .summary = "ask whether the daemon is alive",
        .help = "Prints PONG when the daemon answers within two seconds. The daemon may be silent\n"
                "for up to two seconds while it waits for hostapd; try again before you take it\n"
                "for dead.\n",
        .options = {},
        .warning = nullptr,
        .min_operands = 0,
        .max_operands = 0,
        .completed = {},
        .build = tspec_tool_build_ping,
        .run = tspec_tool_run_ping,
    },
    {
        .name = "debug",
        .synopsis = "[LEVEL...]",
        .summary = "set the trace levels, or show them",
        .help = "The levels are applied in the order given, and each adds to those already on:\n"
                "  0  off      all levels off\n"
                "  1  info     general events, packet dumps\n"
                "  2  error    errors\n"
                "  3  hostapd  messages from and to hostapd\n"
                "  4  mapd     messages from and to mapd\n"
                "  5  dman     configuration from dman\n"
                "  6           taken, but nothing is traced at it\n"
                "  7  func     entry and exit of functions\n"
                "\"debug off error hostapd\" leaves exactly these two on. Without a level the\n"
                "daemon prints the levels that are on, by number.\n",
        .options = {},
        .warning = nullptr,
        .min_operands = 0,
        .max_operands = TSPEC_TOOL_MAX_OPERANDS,
        .completed = {"off info error hostapd mapd dman func"},
        .build = tspec_tool_build_debug,
        .run = nullptr,
    },
    {
        .name = "delete-client",
        .synopsis = "--force MAC",
        .summary = "drop a client's record, and nothing else",
        .help =
            "Takes the record of a client out of the daemon's memory. hostapd and mapd are not\n"
            "told. For ordinary removals use delete-stream, once for each stream. What is said\n"
            "of the outcome is seen as with delete-stream.\n",
        .options = {{"--force", nullptr, false, nullptr}},
        .warning = "delete-client removes the bare record: neither the medium time nor the stream "
                   "count\nof the client's streams comes back before the daemon is restarted. Use "
                   "delete-stream\nto remove streams in order.\n",
        .min_operands = 1,
        .max_operands = 1,
        .completed = {},
        .build = tspec_tool_build_delete_client,
        .run = tspec_tool_run_delete_client,
    },
    {
        .name = "delete-stream",
        .synopsis = "MAC TID",
        .summary = "tear one stream of a client down",
        .help = "Sends a DELTS to hostapd, gives the medium time back (through mapd while it\n"
                "manages the access point) and deletes the stream. TID is 0 to 15. The streams\n"
                "are listed before and after, as \"streams\" does, to say what was removed: that\n"
                "takes them from a walk of dman's that is under way, and needs its port. Where it\n"
                "cannot be seen (exit status 4), the console has the daemon's word.\n",
        .options = {},
        .warning = nullptr,
        .min_operands = 2,
        .max_operands = 2,
        .completed = {nullptr, "0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15"},
        .build = tspec_tool_build_delete_stream,
        .run = tspec_tool_run_delete_stream,
    },
    {
        .name = "disassociation-mode",
        .synopsis = "[0|1]",
        .summary = "set the disassociation mode, or show it",
        .help = "  0  streams of a client go when hostapd says that it has left (the default)\n"
                "  1  such messages of hostapd are ignored\n"
                "Without a mode the daemon prints the one in force.\n",
        .options = {},
        .warning = nullptr,
        .min_operands = 0,
        .max_operands = 1,
        .completed = {"0 1"},
        .build = tspec_tool_build_disassociation_mode,
        .run = nullptr,
    },
    {
        .name = "show",
        .synopsis = "[--all]",
        .summary = "list streams, totals and admitted medium time",
        .help = "Lists the streams in use, with --all also the free entries of every client, then\n"
                "the totals, then the medium time admitted and its limit for each radio and\n"
                "access category, in units of 32 microseconds per second.\n",
        .options = {{"--all", nullptr, false, nullptr}},
        .warning = nullptr,
        .min_operands = 0,
        .max_operands = 0,
        .completed = {},
        .build = tspec_tool_build_show,
        .run = nullptr,
    },
    {
        .name = "stats",
        .synopsis = "[--radio R | --vap R.V] [--ac AC] [--units] [--json] [--watch [SECONDS]]",
        .summary = "show streams, clients and airtime of each access category",
        .help = "Shows the access point and its two radios, or one radio (0 or 1), or one VAP of\n"
                "a radio (0.0 to 1.15): streams, clients, decisions, and the air: what is\n"
                "admitted, the limit as far as the figures tell it (~, whole per cent, what is\n"
                "set aside for fast transitions included), and how much of it is used. roaming\n"
                "counts the clients that roam, or the requests of such clients.\n"
                "  --ac       shows one access category: voice, video, best-effort, background\n"
                "  --units    shows medium time instead, as the daemon counts it: admitted and\n"
                "             free, in units of 32 microseconds per second\n"
                "  --json     prints one JSON object on one line, in units\n"
                "  --watch    shows it again every 2 seconds, or every SECONDS (1 to 3600), with\n"
                "             what has changed since the look before\n"
                "Colours only on a terminal, and not with NO_COLOR in the environment.\n",
        .options = {{"--json", nullptr, false, nullptr},
                    {"--watch", "SECONDS", true, nullptr},
                    {"--radio", "R", false, "0 1"},
                    {"--ac", "AC", false, "voice video best-effort background"},
                    {"--units", nullptr, false, nullptr},
                    {"--vap", "R.V", false,
                     "0.0 0.1 0.2 0.3 0.4 0.5 0.6 0.7 0.8 0.9 0.10 0.11 0.12 0.13 0.14 "
                     "0.15 1.0 1.1 1.2 1.3 1.4 1.5 1.6 1.7 1.8 1.9 1.10 1.11 1.12 1.13 "
                     "1.14 1.15"}},
        .warning = nullptr,
        .min_operands = 0,
        .max_operands = 0,
        .completed = {},
        .build = tspec_tool_build_stats,
        .run = tspec_tool_run_stats,
    },
    {
        .name = "streams",
        .synopsis = "[--sta MAC] [--radio R] [--ac AC] [--units] [--json] [--watch [SECONDS]]",
        .summary = "list the streams here, not on the console",
        .help = "Walks over the streams on TIDs 0 to 7, admitted and pending. Those on TIDs 8 to\n"
                "15 are in the list of \"show\" alone.\n"
                "  --sta, --radio, --ac\n"
                "             list the streams of one station, radio, access category\n"
                "  --units    shows medium time in units of 32 microseconds per second, not in\n"
                "             per cent of the air\n"
                "  --json     prints one JSON object on one line, in units\n"
                "  --watch    shows it again every 2 seconds, or every SECONDS (1 to 3600)\n",
        .options = {{"--json", nullptr, false, nullptr},
                    {"--watch", "SECONDS", true, nullptr},
                    {"--radio", "R", false, "0 1"},
                    {"--ac", "AC", false, "voice video best-effort background"},
                    {"--units", nullptr, false, nullptr},
                    {"--sta", "MAC", false, nullptr}},
        .warning = nullptr,
        .min_operands = 0,
        .max_operands = 0,
        .completed = {},
        .build = tspec_tool_build_streams,
        .run = tspec_tool_run_streams,
    },
    {
        .name = "metrics",
        .synopsis = "[--streams]",
        .summary = "print the figures of stats for Prometheus",
        .help =
            "Prints the Prometheus text format, for the textfile collector of the node\n"
            "exporter. Write it to a file that is then renamed, so that no half of it is read.\n"
            "  --streams  adds medium time and excess use of each stream\n",
        .options = {{"--streams", nullptr, false, nullptr}},
        .warning = nullptr,
        .min_operands = 0,
        .max_operands = 0,
        .completed = {},
        .build = tspec_tool_build_metrics,
        .run = tspec_tool_run_metrics,
    },
    {
        .name = "config",
        .synopsis = "apply|check FILE",
        .summary = TSPEC_TOOL_CONFIG_SUMMARY,
        .help = "Configures a daemon that has no dman. The file is checked whole first; \"check\"\n"
                "ends there. \"apply\" waits up to 5 seconds for the daemon, sends what the file\n"
                "says, and makes sure that the daemon has taken it. A dman that runs as well\n"
                "would be overruled, until it speaks again.\n",
        .options = {},
        .warning = nullptr,
        .min_operands = 2,
        .max_operands = 2,
        .completed = {"apply check", TSPEC_TOOL_FILES},
        .build = tspec_tool_build_config,
        .run = tspec_tool_run_config,
    },
    {
        .name = "health",
        .synopsis = "[--json] [FILE]",
        .summary = "whether the daemon can serve, and what is amiss",
        .help =
            "Looks at what can be seen without sending configuration, beside a living dman\n"
            "too: PONG on three tries, process, descriptors, the dman socket, who else has the\n"
            "daemon's ports and names. What FILE (/etc/tspec/tspec.conf) asks for is compared\n"
            "with the statistics where UDP 55265 is free. The stream count cannot be seen.\n"
            "Exit status: 0 healthy or not known, 1 nothing can be served any more and a\n"
            "restart helps, 5 a warning. Others' processes show themselves to root alone.\n"
            "  --json     prints one JSON object on one line\n",
        .options = {{"--json", nullptr, false, nullptr}},
        .warning = nullptr,
        .min_operands = 0,
        .max_operands = 1,
        .completed = {TSPEC_TOOL_FILES},
        .build = tspec_tool_build_health,
        .run = tspec_tool_run_health,
    },
    {
        .name = "make-way",
        .synopsis = "",
        .summary = "for service files: clear what keeps it from starting",
        .help = "Removes what is at " TSPEC_DMAN_SOCK_PATH " and ends whoever else holds the\n"
                "daemon's ports and name, and says whose it was. A living daemon of root's or of\n"
                "the user " TSPEC_TOOL_SERVICE_USER
                " is left alone, and the exit status is 1. For root.\n",
        .options = {},
        .warning = nullptr,
        .min_operands = 0,
        .max_operands = 0,
        .completed = {},
        .build = tspec_tool_build_nothing,
        .run = tspec_tool_run_make_way,
    },
    {
        .name = "grant",
        .synopsis = "",
        .summary = "for service files: let the service's user write",
        .help = "Opens /dev/console, and a trap pipe that root has made, to the "
                "group " TSPEC_TOOL_SERVICE_USER ".\n"
                "What belongs to other users is left as it is. For root.\n",
        .options = {},
        .warning = nullptr,
        .min_operands = 0,
        .max_operands = 0,
        .completed = {},
        .build = tspec_tool_build_nothing,
        .run = tspec_tool_run_grant,
    },
    {
        .name = "contained",
        .synopsis = "PROGRAM",
        .summary = "for service files: run it with the least rights",
        .help = "Becomes PROGRAM as the user " TSPEC_TOOL_SERVICE_USER
                ", with CAP_NET_ADMIN alone, no new privileges,\n"
                "1024 descriptors and no core dump; says what could not be set. systemd does the\n"
                "same and more by itself. For root.\n",
        .options = {},
        .warning = nullptr,
        .min_operands = 1,
        .max_operands = 1,
        .completed = {TSPEC_TOOL_FILES},
        .build = tspec_tool_build_program,
        .run = tspec_tool_run_contained,
    },
    {
        .name = "remove-stale",
        .synopsis = "",
        .summary = "for service files: remove a dead daemon's socket",
        .help = "Removes " TSPEC_DMAN_SOCK_PATH ", which an ended daemon leaves behind and which\n"
                "keeps the next one from starting. It goes only when connecting to it is refused,\n"
                "that is when no daemon is alive.\n",
        .options = {},
        .warning = nullptr,
        .min_operands = 0,
        .max_operands = 0,
        .completed = {},
        .build = tspec_tool_build_nothing,
        .run = tspec_tool_run_remove_stale,
    },
    {
        .name = "wait-loopback",
        .synopsis = "",
        .summary = "for service files: wait until lo is up",
        .help = "Waits up to 30 seconds for the interface over which the daemon talks to hostapd\n"
                "and mapd.\n",
        .options = {},
        .warning = nullptr,
        .min_operands = 0,
        .max_operands = 0,
        .completed = {},
        .build = tspec_tool_build_nothing,
        .run = tspec_tool_run_wait_loopback,
    },
    {
        .name = "completion",
        .synopsis = "bash",
        .summary = "print the completion of this command line",
        .help = "For the running shell: source <(tspec-cli completion bash)\n",
        .options = {},
        .warning = nullptr,
        .min_operands = 1,
        .max_operands = 1,
        .completed = {"bash"},
        .build = tspec_tool_build_completion,
        .run = tspec_tool_run_completion,
    },
};

const tspec_tool_command_t *tspec_tool_commands(size_t *count)
{
    *count = sizeof(COMMANDS) / sizeof(COMMANDS[0]);
    return COMMANDS;
}

const tspec_tool_command_t *tspec_tool_command_find(const char *name)
{
    for (const tspec_tool_command_t &command : COMMANDS) {
        if (strcmp(name, command.name) == 0) {
            return &command;
        }
    }
    return nullptr;
}
