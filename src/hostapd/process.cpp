#include "hostapd/process.h"

#include "admission/forward.h"
#include "core/control_block.h"
#include "core/messages.h"
#include "core/packet_dump.h"
#include "core/text.h"
#include "core/trace.h"
#include "hostapd/addts.h"
#include "hostapd/fast_transition.h"
#include "hostapd/request.h"
#include "hostapd/teardown.h"
#include "mapd/response.h"
#include "store/stream.h"

#include <array>
#include <cstring>

#define TSPEC_TRACE_NAME "tspec_hostapd_process"

using branch_t = tspec_outcome_t (*)(tspec_hostapd_req_t &req);

static tspec_outcome_t fbt_addts(tspec_hostapd_req_t &req)
{
    TSPEC_TRACE(TSPEC_TRACE_HOSTAPD, "TS FBT ADDTS CMD for client %s on AC %u\r\n",
                tspec_mac_text(req.msg.sta_mac).text, req.ac_idx);
    tspec_fbt_addts_req_process(req.msg, req.ac_idx, req.len);
    return tspec_finish(0); // whatever came of it
}

static branch_t branch_for(uint8_t cmd)
{
    // Null: commands that hostapd does not send. A station disassociation is
    // handled before the TS Info is read, as it has none.
    static constexpr std::array<branch_t, 10> BRANCHES = {
        nullptr,
        tspec_hostapd_addts,
        nullptr,
        tspec_hostapd_delts,
        tspec_hostapd_ts_inactive,
        nullptr,
        tspec_hostapd_ts_exceed_time,
        tspec_hostapd_unauth_traffic,
        nullptr,
        fbt_addts,
    };
    static_assert(TSPEC_ADDTS_REQ_CMD == 1 && TSPEC_DELTS_REQ_CMD == 3 &&
                  TSPEC_TS_INACTIVE_CMD == 4 && TSPEC_TS_EXCEED_TIME_CMD == 6 &&
                  TSPEC_TS_UNAUTH_TRAFFIC_CMD == 7 && TSPEC_FBT_ADDTS_CMD == 9);
    return cmd < BRANCHES.size() ? BRANCHES[cmd] : nullptr;
}

static void decode_ts_info(tspec_hostapd_req_t &req)
{
    const uint8_t *const octets = req.msg.tspec.ts_info;
    req.ts_info = tspec_ts_info_decode(octets);
    req.ac_idx = wme_prio2ac[req.ts_info.user_priority];
    TSPEC_TRACE(TSPEC_TRACE_HOSTAPD,
                " Ext. AC=%u TID=%u Dir=%u,tsinfo[0]=%x,tsinfo[1]=%x,tsinfo[2] is %x\r\n",
                req.ac_idx, req.msg.tid, req.ts_info.dir, octets[0], octets[1], octets[2]);
    if (req.msg.tid != req.ts_info.tid) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, " hostapd msg TID %u differs from TSInfo TID %u\r\n",
                    req.msg.tid, req.ts_info.tid);
    }
}

static bool admission_mandatory(const tspec_hostapd_req_t &req)
{
    const tspec_radio_cfg_t &cfg = tspec_cb->radio_cfg[req.radio_idx];
    return cfg.tspec_enabled != 0 && cfg.acm[req.ac_idx] != 0;
}

// Whose request it is, for those that are forwarded as hostapd sent them.
static void copy_addresses(tspec_hostapd_req_t &req)
{
    tspec_copy_identity(req.out, req.msg);
    memcpy(req.out.sta_mac, req.msg.sta_mac, sizeof(req.out.sta_mac));
    req.out.ac_idx = req.ac_idx;
    req.out.result_code = 0;
}

// An inactive stream is reported with the addresses of its record instead.
static bool carries_request_addresses(uint8_t cmd)
{
    return cmd == TSPEC_ADDTS_REQ_CMD || cmd == TSPEC_DELTS_REQ_CMD ||
           cmd == TSPEC_TS_UNAUTH_TRAFFIC_CMD;
}

static int32_t send_out(tspec_hostapd_req_t &req, const tspec_outcome_t &outcome)
{
    const uint8_t cmd = req.msg.cmd;
    if (carries_request_addresses(cmd)) {
        copy_addresses(req);
    }
    if (tspec_msg_send_to_acu(req.out, req.ac_idx, cmd) != 0) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Failed to process TSPEC Request message");
        tspec_ts_rec_delete_tid(req.msg.sta_mac, req.ac_idx, req.msg.tid);
        return -1;
    }
    if (req.out.cmd == TSPEC_ADDTS_RESP_CMD) {
        // Our own unit has answered. What comes of its answer is no failure of the request.
        tspec_mapd_response(req.out, outcome.client);
    }
    return outcome.result;
}

static tspec_outcome_t handle_stream_request(tspec_hostapd_req_t &req)
{
    decode_ts_info(req);
    req.medium_time_needed = admission_mandatory(req);
    if (!req.medium_time_needed) {
        TSPEC_TRACE(TSPEC_TRACE_HOSTAPD, "Accept TSPEC for AC %u and set medium time to 0\r\n",
                    req.ac_idx);
    }
    req.out = tspec_new_msg<tspec_mapd_msg_t>(0);
    const branch_t branch = branch_for(req.msg.cmd);
    if (branch == nullptr) {
        return tspec_finish(-1);
    }
    const tspec_outcome_t outcome = branch(req);
    return outcome.next == tspec_next_t::SEND ? tspec_finish(send_out(req, outcome)) : outcome;
}

static tspec_outcome_t handle(const uint8_t *msg, uint32_t len)
{
    if (msg == nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Invalid Input parameter\r\n");
        return tspec_finish(-1);
    }
    tspec_hostapd_req_t req;
    memcpy(&req.msg, msg, sizeof(req.msg));
    req.len = len;
    if (req.msg.radio_unit < 1 || req.msg.radio_unit > TSPEC_NUM_RADIOS) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Error in message from hostapd, radio_unit=%u\r\n",
                    req.msg.radio_unit);
        return tspec_finish(-1);
    }
    req.radio_idx = req.msg.radio_unit - 1U;
    tspec_hex_ver_pkt_print(msg, len);
    if (req.msg.cmd == TSPEC_STA_DISASSOC_CMD) {
        return tspec_hostapd_sta_disassoc(req);
    }
    return handle_stream_request(req);
}

int32_t tspec_hostapd_process(const uint8_t *msg, uint32_t len)
{
    TSPEC_TRACE(TSPEC_TRACE_HOSTAPD, "Entry\r\n");
    const tspec_outcome_t outcome = handle(msg, len);
    if (outcome.next != tspec_next_t::LEAVE) {
        TSPEC_TRACE(TSPEC_TRACE_HOSTAPD, "Exit (rc=%d)\r\n", outcome.result);
    }
    return outcome.result;
}
