#include "mapd/ap_state.h"

#include "core/control_block.h"
#include "core/trace.h"

#include <cstring>
#include <ctime>

#define TSPEC_TRACE_NAME "tspec_mapd_direct_process"

static int32_t change_ap_state(uint8_t managed_mode)
{
    TSPEC_TRACE(TSPEC_TRACE_INFO, "AP State message\r\n");
    if (managed_mode > 1) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR,
                    "Error in AP State direct message from MAPD, managed_mode=%u\r\n",
                    managed_mode);
        return -1;
    }
    tspec_cb->ap_state = managed_mode == 0 ? TSPEC_AP_UNMANAGED : TSPEC_AP_MANAGED;
    TSPEC_TRACE(TSPEC_TRACE_INFO, "Changed TSPEC ap_state to %u\r\n", tspec_cb->ap_state);
    tspec_cb->violation_report_time = static_cast<uint32_t>(time(nullptr));
    return 0;
}

int32_t tspec_mapd_direct_process(const uint8_t *msg, uint32_t len)
{
    TSPEC_TRACE(TSPEC_TRACE_INFO, "Entry\r\n");
    if (msg == nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Invalid input parameter\r\n");
        return -1;
    }
    tspec_mapd_direct_msg_t direct;
    memcpy(&direct, msg, sizeof(direct));
    if (direct.msg_type != TSPEC_MAPD_DIRECT_MSG) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Invalid message type %u\r\n", direct.msg_type);
        return -1;
    }
    if (len != sizeof(direct)) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR,
                    "Error in TSPEC direct message from MAPD, length mismatch: exp=%d act=%d\r\n",
                    static_cast<int32_t>(sizeof(direct)), static_cast<int32_t>(len));
        return -1;
    }
    int32_t rc = -1;
    if (direct.cmd == TSPEC_MAPD_DIRECT_AP_STATE_CMD) {
        rc = change_ap_state(direct.managed_mode);
    } else {
        TSPEC_TRACE(TSPEC_TRACE_INFO, "Invalid command type %u\r\n", direct.cmd);
    }
    TSPEC_TRACE(TSPEC_TRACE_INFO, "Exit (rc=%d)\r\n", rc);
    return rc;
}
