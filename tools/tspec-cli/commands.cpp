#include "tspec-cli/commands.h"

#include "tspec-cli/args.h"

#include <stdio.h>
#include <string.h>

static const uint8_t max_tid = 15;

/* Any mode but 0 and 1 asks the daemon to show the mode in force. */
static const uint8_t show_disassoc_mode = 2;

static void put_byte(tspec_tool_request_t *request, uint8_t byte)
{
    request->bytes[request->length++] = byte;
}

static bool put_mac(tspec_tool_request_t *request, const char *text, tspec_tool_error_t *error)
{
    if (!tspec_tool_parse_mac(text, request->bytes + request->length)) {
        snprintf(error->text, sizeof(error->text),
                 "\"%s\" is not a MAC address; write six pairs of hex digits with colons between "
                 "them, for example 02:00:00:00:00:01",
                 text);
        return false;
    }
    request->length += TSPEC_MAC_LEN;
    return true;
}

static bool build_ping(const tspec_tool_operands_t *, tspec_tool_request_t *request,
                       tspec_tool_error_t *)
{
    put_byte(request, TSPEC_CLI_PING_CMD);
    return true;
}

static bool build_debug(const tspec_tool_operands_t *operands, tspec_tool_request_t *request,
                        tspec_tool_error_t *error)
{
    put_byte(request, TSPEC_CLI_DEBUG_CMD);
    put_byte(request, static_cast<uint8_t>(operands->count));
    for (size_t i = 0; i < operands->count; i++) {
        uint8_t level = 0;
        if (!tspec_tool_parse_level(operands->values[i], &level)) {
            snprintf(error->text, sizeof(error->text),
                     "\"%s\" is not a trace level; levels are 0 to 7, off, info, error, hostapd, "
                     "mapd, dman and func",
                     operands->values[i]);
            return false;
        }
        put_byte(request, level);
    }
    return true;
}

static bool build_delete_client(const tspec_tool_operands_t *operands,
                                tspec_tool_request_t *request, tspec_tool_error_t *error)
{
    put_byte(request, TSPEC_CLI_DEL_CLIENT_CMD);
    return put_mac(request, operands->values[0], error);
}

static bool build_delete_stream(const tspec_tool_operands_t *operands,
                                tspec_tool_request_t *request, tspec_tool_error_t *error)
{
    put_byte(request, TSPEC_CLI_DEL_TID_CMD);
    if (!put_mac(request, operands->values[0], error)) {
        return false;
    }
    uint8_t tid = 0;
    if (!tspec_tool_parse_number(operands->values[1], max_tid, &tid)) {
        snprintf(error->text, sizeof(error->text), "\"%s\" is not a TID; TIDs are 0 to 15",
                 operands->values[1]);
        return false;
    }
    put_byte(request, tid);
    return true;
}

static bool build_disassociation_mode(const tspec_tool_operands_t *operands,
                                      tspec_tool_request_t *request, tspec_tool_error_t *error)
{
    uint8_t mode = show_disassoc_mode;
    if (operands->count == 1 && !tspec_tool_parse_number(operands->values[0], 1, &mode)) {
        snprintf(error->text, sizeof(error->text),
                 "\"%s\" is not a disassociation mode; modes are 0 and 1", operands->values[0]);
        return false;
    }
    put_byte(request, TSPEC_CLI_DISASSOC_MODE_CMD);
    put_byte(request, mode);
    return true;
}

static bool build_show(const tspec_tool_operands_t *operands, tspec_tool_request_t *request,
                       tspec_tool_error_t *)
{
    put_byte(request, TSPEC_CLI_SHOW_CMD);
    put_byte(request, operands->option_given ? 1 : 0);
    return true;
}

static const tspec_tool_command_t commands[] = {
    {
        .name = "ping",
        .synopsis = "",
        .summary = "ask whether the daemon is alive",
        .help = "Prints PONG when the daemon answers within two seconds. The daemon may be silent\n"
                "for up to two seconds while it waits for hostapd; try again before you take it\n"
                "for dead.\n",
        .option = nullptr,
        .warning = nullptr,
        .min_operands = 0,
        .max_operands = 0,
        .is_answered = true,
        .build = build_ping,
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
        .option = nullptr,
        .warning = nullptr,
        .min_operands = 0,
        .max_operands = TSPEC_TOOL_MAX_OPERANDS,
        .is_answered = false,
        .build = build_debug,
    },
    {
        .name = "delete-client",
        .synopsis = "--force MAC",
        .summary = "drop a client's record, and nothing else",
        .help =
            "Takes the record of a client out of the daemon's memory. hostapd and mapd are not\n"
            "told. For ordinary removals use delete-stream, once for each stream.\n",
        .option = "--force",
        .warning = "delete-client removes the bare record: neither the medium time nor the stream "
                   "count\nof the client's streams comes back before the daemon is restarted. Use "
                   "delete-stream\nto remove streams in order.\n",
        .min_operands = 1,
        .max_operands = 1,
        .is_answered = false,
        .build = build_delete_client,
    },
    {
        .name = "delete-stream",
        .synopsis = "MAC TID",
        .summary = "tear one stream of a client down",
        .help = "Sends a DELTS to hostapd, gives the medium time back (through mapd while it\n"
                "manages the access point) and deletes the stream. TID is 0 to 15.\n",
        .option = nullptr,
        .warning = nullptr,
        .min_operands = 2,
        .max_operands = 2,
        .is_answered = false,
        .build = build_delete_stream,
    },
    {
        .name = "disassociation-mode",
        .synopsis = "[0|1]",
        .summary = "set the disassociation mode, or show it",
        .help = "  0  streams of a client go when hostapd says that it has left (the default)\n"
                "  1  such messages of hostapd are ignored\n"
                "Without a mode the daemon prints the one in force.\n",
        .option = nullptr,
        .warning = nullptr,
        .min_operands = 0,
        .max_operands = 1,
        .is_answered = false,
        .build = build_disassociation_mode,
    },
    {
        .name = "show",
        .synopsis = "[--all]",
        .summary = "list streams, totals and admitted medium time",
        .help = "Lists the streams in use, with --all also the free entries of every client, then\n"
                "the totals, then the medium time admitted and its limit for each radio and\n"
                "access category, in units of 32 microseconds per second.\n",
        .option = "--all",
        .warning = nullptr,
        .min_operands = 0,
        .max_operands = 0,
        .is_answered = false,
        .build = build_show,
    },
};

const tspec_tool_command_t *tspec_tool_commands(size_t *count)
{
    *count = sizeof(commands) / sizeof(commands[0]);
    return commands;
}

const tspec_tool_command_t *tspec_tool_command_find(const char *name)
{
    for (const tspec_tool_command_t &command : commands) {
        if (strcmp(name, command.name) == 0) {
            return &command;
        }
    }
    return nullptr;
}
