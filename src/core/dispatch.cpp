#include "core/dispatch.h"

#include "core/packet_dump.h"
#include "core/trace.h"
#include "dman/config.h"
#include "dman/stats.h"
#include "hostapd/process.h"
#include "mapd/ap_state.h"
#include "mapd/response.h"
#include "store/ledger.h"

#include <array>

#define TSPEC_TRACE_NAME "tspec_process_msg"

namespace {
// How one type of message is traced and who handles it. The texts of a peer's
// messages may show the command byte.
struct route_t {
    uint32_t arrival_level;
    uint32_t failure_level;
    int32_t (*handler)(const uint8_t *msg, uint32_t len);
    const char *arrival;
    const char *failure;
};
} // namespace

static int32_t handle_status_request(const uint8_t *msg, uint32_t len)
{
    return tspec_process_dman_stats_msg(msg + 1, len);
}

// By type byte, from 1 on.
static constexpr std::array<route_t, TSPEC_MAPD_DIRECT_MSG> ROUTES = {{
    {TSPEC_TRACE_DMAN, TSPEC_TRACE_DMAN, tspec_ts_config_msg_process,
     "%s:TSPEC config message from dman module\r\n",
     "%s:Failed to process dman config message\r\n"},
    {TSPEC_TRACE_FUNC, TSPEC_TRACE_ERROR, handle_status_request,
     "%s:TSPEC status request from dman module\r\n",
     "%s:Failed to process dman status request message\r\n"},
    {TSPEC_TRACE_HOSTAPD, TSPEC_TRACE_HOSTAPD, tspec_hostapd_process,
     "%s:TSPEC message from hostapd module, cmd=%u\r\n",
     "%s:Failed to process hostapd message %u\r\n"},
    {TSPEC_TRACE_MAPD, TSPEC_TRACE_MAPD, tspec_mapd_process,
     "%s:TSPEC message from mapd module, cmd=%u\r\n",
     "%s:Failed to process mapd TSPEC message %u\r\n"},
    {TSPEC_TRACE_DMAN, TSPEC_TRACE_DMAN, tspec_ts_config_violation_interval_process,
     "%s:TSPEC violation interval config message from dman module\r\n",
     "%s:Failed to process dman violation interval config message\r\n"},
    {TSPEC_TRACE_MAPD, TSPEC_TRACE_MAPD, tspec_mapd_direct_process,
     "%s:TSPEC direct message from mapd module, cmd=%u\r\n",
     "%s:Failed to process mapd TSPEC direct message, cmd=%u\r\n"},
}};
static_assert(TSPEC_DMAN_CONFIG_MSG == 1 && TSPEC_DMAN_STATUS_REQ_MSG == 2 &&
              TSPEC_HOSTAPD_MSG == 3 && TSPEC_MAPD_MSG == 4 &&
              TSPEC_DMAN_VIOLATION_INTERVAL_MSG == 5 && TSPEC_MAPD_DIRECT_MSG == 6);

static const route_t *route_for(uint8_t type)
{
    return type >= 1 && type <= ROUTES.size() ? &ROUTES[type - 1U] : nullptr;
}

static int32_t follow(const route_t &route, const uint8_t *msg, uint32_t len)
{
    const uint32_t cmd = msg[1];
    TSPEC_TRACE_PLAIN(route.arrival_level, route.arrival, TSPEC_TRACE_NAME, cmd);
    if (route.handler(msg, len) == 0) {
        return 0;
    }
    TSPEC_TRACE_PLAIN(route.failure_level, route.failure, TSPEC_TRACE_NAME, cmd);
    return -1;
}

int32_t tspec_process_msg(const uint8_t *msg, uint32_t len)
{
    TSPEC_TRACE(TSPEC_TRACE_FUNC, "Entry\r\n");
    if (msg == nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Invalid input parameter\r\n");
        return -1;
    }
    int32_t rc = -1;
    const route_t *route = route_for(msg[0]);
    if (route != nullptr) {
        rc = follow(*route, msg, len);
    } else {
        TSPEC_TRACE(TSPEC_TRACE_INFO, "Unknown tspec msg type %d\n", msg[0]);
        tspec_hex_ver_pkt_print(msg, len);
    }
    tspec_ledger_check();
    TSPEC_TRACE(TSPEC_TRACE_FUNC, "Exit\r\n");
    return rc;
}
