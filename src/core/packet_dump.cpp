#include "core/packet_dump.h"

#include "core/control_block.h"
#include "core/names.h"
#include "core/text.h"
#include "core/trace.h"

#include <algorithm>
#include <cstring>

static char dump_text[TSPEC_DUMP_SIZE];

static constexpr uint32_t BYTES_PER_LINE = 16;
static constexpr uint32_t DUMP_LIMIT = TSPEC_DUMP_SIZE - 1; // bytes of a message

// What is appended stays inside the buffer and leaves room for the NUL.
static void put(char character, uint32_t &pos)
{
    if (pos < TSPEC_DUMP_SIZE - 1) {
        dump_text[pos++] = character;
    }
}

static void put(const char *text, uint32_t &pos)
{
    while (*text != '\0') {
        put(*text++, pos);
    }
}

void tspec_hex_dump(const uint8_t *bytes, uint32_t count, uint32_t &pos)
{
    static constexpr char DIGITS[] = "0123456789abcdef";
    for (uint32_t i = 0; i < count; i++) {
        if (i % BYTES_PER_LINE == 0 && i >= 1) {
            put('\n', pos);
        }
        put(DIGITS[bytes[i] >> 4], pos);
        put(DIGITS[bytes[i] & 0xf], pos);
        put(' ', pos);
    }
    put('\n', pos);
}

static void put_title(const char *name, const char *layout, uint32_t &pos)
{
    put(name, pos);
    put(" (", pos);
    put(layout, pos);
    put("):\n", pos);
}

static uint32_t clamped(uint32_t len)
{
    return std::min(len, DUMP_LIMIT);
}

// Traces of every step carry the name of the whole dump.
static constexpr const char *DUMP_NAME = "tspec_hex_ver_pkt_print";

static void dump_request(const uint8_t *msg, uint32_t len, uint32_t &pos)
{
    const tspec_cmd_info_t *const info = tspec_cmd_info(msg[1]);
    if (info != nullptr) {
        put_title(info->name, info->layout, pos);
        tspec_hex_dump(msg, info->size, pos);
        return;
    }
    TSPEC_TRACE_AS(DUMP_NAME, TSPEC_TRACE_INFO, "%s: Invalid cmd type: 0x%x (%d), len %d\n", msg[1],
                   msg[1], static_cast<int32_t>(len));
    put("UNKNOWN:\n", pos);
    tspec_hex_dump(msg, clamped(len), pos);
}

static void dump_direct(const uint8_t *msg, uint32_t len, uint32_t &pos)
{
    if (msg[1] == TSPEC_MAPD_DIRECT_AP_STATE_CMD) {
        put_title("TSPEC_MAPD_DIRECT_AP_STATE_CMD", "tspec_mapd_direct_msg_t", pos);
        tspec_hex_dump(msg, sizeof(tspec_mapd_direct_msg_t), pos);
        return;
    }
    TSPEC_TRACE_AS(DUMP_NAME, TSPEC_TRACE_INFO,
                   "%s: Invalid TSPEC_MAPD_DIRECT_MSG cmd type: 0x%x (%d), len %d\n", msg[1],
                   msg[1], static_cast<int32_t>(len));
    put("UNKNOWN:\n", pos);
    tspec_hex_dump(msg, clamped(len), pos);
}

// Messages without a structure of their own. The value shown is the second byte
// for all of them.
static void dump_plain(const uint8_t *msg, uint32_t len, uint32_t &pos)
{
    const int32_t shown_len = static_cast<int32_t>(len);
    switch (msg[0]) {
    case TSPEC_DMAN_CONFIG_MSG:
        TSPEC_TRACE_AS(DUMP_NAME, TSPEC_TRACE_INFO, "%s: DMAN config msg: 0x%x (%d), len %d\n",
                       msg[1], msg[1], shown_len);
        break;
    case TSPEC_DMAN_STATUS_REQ_MSG:
        TSPEC_TRACE_AS(DUMP_NAME, TSPEC_TRACE_INFO, "%s: DMAN status req msg: 0x%x (%d), len %d\n",
                       msg[1], msg[1], shown_len);
        break;
    default:
        TSPEC_TRACE_AS(DUMP_NAME, TSPEC_TRACE_INFO, "%s: UNKNOWN: 0x%x (%d), len %d\n", msg[1],
                       msg[1], shown_len);
        break;
    }
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
    dump_text[pos] = '\0';
    return tspec_map_print_debug_trace(TSPEC_TRACE_INFO, "%s", dump_text);
}
