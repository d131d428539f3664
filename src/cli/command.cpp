#include "cli/command.h"

#include "cli/show.h"
#include "core/control_block.h"
#include "core/text.h"
#include "core/trace.h"
#include "mapd/cleanup.h"
#include "store/client.h"
#include "store/stream.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>

static constexpr const char *CLI_NAME = "tspec_process_cli_cmd";
static constexpr uint32_t NUM_DEBUG_LEVELS = 7;

static void ping(int32_t sock, const uint8_t *)
{
    static constexpr char PONG[] = {'P', 'O', 'N', 'G'};
    sockaddr_un tool = {};
    tool.sun_family = AF_UNIX;
    memcpy(tool.sun_path + 1, TSPEC_CLI_REPLY_NAME, sizeof(TSPEC_CLI_REPLY_NAME));
    if (sendto(sock, PONG, sizeof(PONG), 0, reinterpret_cast<const sockaddr *>(&tool),
               sizeof(tool)) < 0) {
        tspec_console_printf(1, 1, "%s: sendto error\r\n", CLI_NAME);
    }
}

void tspec_cli_debug_level_set(uint32_t level)
{
    if (level == 0) {
        tspec_cb->trace_mask = 0;
    } else if (level <= NUM_DEBUG_LEVELS) {
        tspec_cb->trace_mask |= 1U << (level - 1);
    }
}

static void show_debug_levels()
{
    char levels[32] = "";
    char *end = levels;
    for (uint32_t level = 1; level <= NUM_DEBUG_LEVELS; level++) {
        if ((tspec_cb->trace_mask & (1U << (level - 1))) != 0) {
            end += snprintf(end, sizeof("1 "), "%u ", level);
        }
    }
    tspec_console_printf(1, 1, "tspec debug: %s\r\n", tspec_cb->trace_mask == 0 ? "off" : levels);
}

static void debug(int32_t, const uint8_t *cmd)
{
    const uint32_t count = cmd[1];
    if (count == 0) {
        show_debug_levels();
        return;
    }
    for (uint32_t i = 1; i <= count && 1 + i < TSPEC_CLI_BUF_SIZE; i++) {
        tspec_cli_debug_level_set(cmd[1 + i]);
    }
}

// Raw, as a tool of last resort: nobody is told and nothing is given back.
static void delete_client(int32_t, const uint8_t *cmd)
{
    const uint8_t *const mac = cmd + 1;
    tspec_console_printf(1, 1, "%s:%s\r\n", CLI_NAME, tspec_mac_text(mac).text);
    tspec_rec_delete(tspec_rec_get(mac));
}

static void delete_stream(int32_t, const uint8_t *cmd)
{
    static constexpr uint32_t ALL =
        TSPEC_CLEANUP_DELTS_HOSTAPD | TSPEC_CLEANUP_DELTS_TIME | TSPEC_CLEANUP_DELETE;
    // The lines of a failure show neither client nor TID, only this.
    static constexpr uint32_t SHOWN_TID = 0;
    const uint8_t *const mac = cmd + 1;
    const uint8_t tid = cmd[1 + TSPEC_MAC_LEN];
    tspec_console_printf(1, 1, "%s:%s,tid=%u\r\n", CLI_NAME, tspec_mac_text(mac).text, tid);
    tspec_ts_rec_t *const entry = tspec_ts_rec_find(mac, tid, nullptr);
    if (entry == nullptr) {
        tspec_map_print_debug_trace(TSPEC_TRACE_ALWAYS, "\r\nTID %u does not exist for client ",
                                    SHOWN_TID);
    } else if (tspec_old_ts_cleanup(entry, ALL) != 0) {
        tspec_map_print_debug_trace(TSPEC_TRACE_ALWAYS, "\r\nError deleting TID %u for client ",
                                    SHOWN_TID);
    }
}

static void disassoc_mode(int32_t, const uint8_t *cmd)
{
    const uint8_t mode = cmd[1];
    if (mode > 1) {
        tspec_map_print_debug_trace(TSPEC_TRACE_ALWAYS, "The disassociation mode is %u \r\n",
                                    tspec_cb->disassoc_mode);
        return;
    }
    tspec_cb->disassoc_mode = mode;
    tspec_map_print_debug_trace(TSPEC_TRACE_ALWAYS,
                                "The disassociation mode has been set to %u \r\n",
                                tspec_cb->disassoc_mode);
}

static void show(int32_t, const uint8_t *cmd)
{
    tspec_cli_show(cmd[1] != 0);
}

void tspec_process_cli_cmd(int32_t sock, const uint8_t *cmd)
{
    using command_t = void (*)(int32_t sock, const uint8_t *cmd);
    static constexpr std::array<command_t, 7> COMMANDS = {
        nullptr, ping, debug, delete_client, delete_stream, disassoc_mode, show,
    };
    static_assert(TSPEC_CLI_PING_CMD == 1 && TSPEC_CLI_DEBUG_CMD == 2 &&
                  TSPEC_CLI_DEL_CLIENT_CMD == 3 && TSPEC_CLI_DEL_TID_CMD == 4 &&
                  TSPEC_CLI_DISASSOC_MODE_CMD == 5 && TSPEC_CLI_SHOW_CMD == 6);
    if (cmd == nullptr || cmd[0] >= COMMANDS.size() || COMMANDS[cmd[0]] == nullptr) {
        return;
    }
    COMMANDS[cmd[0]](sock, cmd);
}
