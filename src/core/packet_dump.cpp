#include "core/packet_dump.h"

#include "core/control_block.h"
#include "core/names.h"
#include "core/trace.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#define TSPEC_TRACE_NAME "tspec_hex_ver_pkt_print"

static char dump_text[TSPEC_DUMP_SIZE];

static constexpr uint32_t BYTES_PER_LINE = 16;
static constexpr uint32_t DUMP_LIMIT = TSPEC_DUMP_SIZE - 1; // bytes of a message

// Appends a formatted text; what does not fit is dropped.
__attribute__((format(printf, 2, 3))) static void put(uint32_t &pos, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    vsnprintf(dump_text + pos, sizeof(dump_text) - pos, fmt, args);
    va_end(args);
    pos += static_cast<uint32_t>(strlen(dump_text + pos));
}

void tspec_hex_dump(const uint8_t *bytes, uint32_t count, uint32_t &pos)
{
    for (uint32_t i = 0; i < count; i++) {
        put(pos, "%s%02x ", i % BYTES_PER_LINE == 0 && i >= 1 ? "\n" : "", bytes[i]);
    }
    put(pos, "\n");
}

static uint32_t clamped(uint32_t len)
{
    return std::min(len, DUMP_LIMIT);
}

static void dump_request(const uint8_t *msg, uint32_t len, uint32_t &pos)
{
    const tspec_cmd_info_t *const info = tspec_cmd_info(msg[1]);
    if (info != nullptr) {
        put(pos, "%s (%s):\n", info->name, info->layout);
        tspec_hex_dump(msg, info->size, pos);
        return;
    }
    TSPEC_TRACE(TSPEC_TRACE_INFO, " Invalid cmd type: 0x%x (%d), len %d\n", msg[1], msg[1],
                static_cast<int32_t>(len));
    put(pos, "UNKNOWN:\n");
    tspec_hex_dump(msg, clamped(len), pos);
}

static void dump_direct(const uint8_t *msg, uint32_t len, uint32_t &pos)
{
    if (msg[1] == TSPEC_MAPD_DIRECT_AP_STATE_CMD) {
        put(pos, "TSPEC_MAPD_DIRECT_AP_STATE_CMD (tspec_mapd_direct_msg_t):\n");
        tspec_hex_dump(msg, sizeof(tspec_mapd_direct_msg_t), pos);
        return;
    }
    TSPEC_TRACE(TSPEC_TRACE_INFO, " Invalid TSPEC_MAPD_DIRECT_MSG cmd type: 0x%x (%d), len %d\n",
                msg[1], msg[1], static_cast<int32_t>(len));
    put(pos, "UNKNOWN:\n");
    tspec_hex_dump(msg, clamped(len), pos);
}

static const char *plain_kind(uint8_t type)
{
    switch (type) {
    case TSPEC_DMAN_CONFIG_MSG:
        return "DMAN config msg";
    case TSPEC_DMAN_STATUS_REQ_MSG:
        return "DMAN status req msg";
    default:
        return "UNKNOWN";
    }
}

// Messages without a structure of their own. The value shown is the second byte
// for all of them.
static void dump_plain(const uint8_t *msg, uint32_t len, uint32_t &pos)
{
    TSPEC_TRACE(TSPEC_TRACE_INFO, " %s: 0x%x (%d), len %d\n", plain_kind(msg[0]), msg[1], msg[1],
                static_cast<int32_t>(len));
    tspec_hex_dump(msg, clamped(len), pos);
}

int32_t tspec_hex_ver_pkt_print(const uint8_t *msg, uint32_t len)
{
    if (!tspec_trace_enabled(TSPEC_TRACE_INFO)) {
        return static_cast<int32_t>(TSPEC_TRACE_INFO);
    }
    uint32_t pos = 0;
    switch (msg[0]) {
    case TSPEC_HOSTAPD_MSG:
    case TSPEC_MAPD_MSG:
        dump_request(msg, len, pos);
        break;
    case TSPEC_MAPD_DIRECT_MSG:
        dump_direct(msg, len, pos);
        break;
    default:
        dump_plain(msg, len, pos);
        break;
    }
    return tspec_map_print_debug_trace(TSPEC_TRACE_INFO, "%s", dump_text);
}
