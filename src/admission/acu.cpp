#include "admission/acu.h"

#include "admission/channel_util.h"
#include "admission/medium_time.h"
#include "core/control_block.h"
#include "core/trace.h"
#include "core/ts_info.h"

#include <algorithm>
#include <cassert>

#define TSPEC_TRACE_NAME __func__

// A radio_unit is checked where it enters the daemon.
static int32_t radio_index(uint8_t radio_unit)
{
    assert(radio_unit >= 1 && radio_unit <= TSPEC_NUM_RADIOS);
    return radio_unit - 1;
}

static uint16_t medium_time_of_percent(uint16_t percent)
{
    return static_cast<uint16_t>(uint32_t{percent} * TSPEC_MEDIUM_TIME_PER_SECOND / 100);
}

uint16_t tspec_acu_acm_limit_percent_convert(uint16_t percent)
{
    return medium_time_of_percent(percent);
}

uint16_t tspec_acu_acm_fbt_limit_percent_convert(uint16_t, uint16_t fbt_percent)
{
    return medium_time_of_percent(fbt_percent);
}

// What ordinary streams may hold: the fast-transition reserve is withheld
// whether it is in use or not. Negative when the reserve exceeds the limit.
static int32_t ordinary_limit(const tspec_radio_cfg_t &cfg, uint8_t ac_idx)
{
    return tspec_acu_acm_limit_percent_convert(cfg.limit_percent[ac_idx]) -
           tspec_acu_acm_fbt_limit_percent_convert(cfg.limit_percent[ac_idx],
                                                   cfg.fbt_limit_percent[ac_idx]);
}

// A stream on which admission is mandatory must ask for time, unless the access
// point is the one that sends it.
static bool lacks_medium_time(const tspec_radio_cfg_t &cfg, uint8_t ac_idx, uint32_t medium_time,
                              uint8_t dir)
{
    return cfg.tspec_enabled != 0 && cfg.acm[ac_idx] != 0 && medium_time == 0 &&
           dir != TSPEC_DIR_DOWNLINK;
}

int32_t tspec_acu_admission_req_recv(const tspec_mapd_msg_t &msg, uint8_t ac_idx, uint8_t *result)
{
    if (ac_idx >= TSPEC_NUM_ACS) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Invalid input parameter\n");
        return -1;
    }
    const uint8_t dir = tspec_ts_info_decode(msg.tspec.ts_info).dir;
    const uint32_t medium_time = tspec_medium_time_both_ways(msg.tspec.medium_time, dir);
    const int32_t radio = radio_index(msg.radio_unit);
    TSPEC_TRACE(TSPEC_TRACE_INFO, "radio unit is %d\n", radio);
    const tspec_radio_cfg_t &cfg = tspec_cb->radio_cfg[radio];
    if (lacks_medium_time(cfg, ac_idx, medium_time, dir)) {
        *result = TSPEC_RESULT_INVALID_PARAMETERS;
        TSPEC_TRACE(TSPEC_TRACE_INFO, "Requested medium time is 0. Admit Result is %u\n", *result);
        return 0;
    }

    // What the client holds on another category is given back when that stream
    // is cleaned up.
    const bool ac_changed = msg.prev_medium_time != 0 && msg.prev_ac_index != ac_idx;
    const uint32_t prev = ac_changed ? 0 : msg.prev_medium_time;
    uint16_t &total = tspec_cb->acu[radio].admitted_med_time[ac_idx];
    const uint16_t fbt = tspec_cb->acu[radio].fbt_admitted_med_time[ac_idx];
    const int32_t delta = static_cast<int32_t>(medium_time - prev);
    const int32_t limit = ordinary_limit(cfg, ac_idx);
    const uint16_t admit_old = static_cast<uint16_t>(total - fbt);
    int32_t current = admit_old + delta;
    TSPEC_TRACE(TSPEC_TRACE_INFO,
                "radio_unit=%d,medium_time=%u,prev_medium_time=%u,limit=%d,current=%d,delta=%d,"
                "admit_old=%u,ac_index=%u,prev_ac_index=%u,ac_changed=%u\n",
                radio, medium_time, prev, limit, current, delta, admit_old, ac_idx,
                msg.prev_ac_index, ac_changed ? 1U : 0U);
    current = std::max(current, 0);
    if (limit < current) {
        *result = TSPEC_RESULT_REFUSED;
    } else {
        total = static_cast<uint16_t>(current + fbt);
        *result = TSPEC_RESULT_ACCEPTED;
    }
    TSPEC_TRACE(TSPEC_TRACE_INFO, "Admit Result is %u\n", *result);
    return 0;
}

int32_t tspec_acu_deletion_req_recv(const tspec_mapd_msg_t &msg, uint8_t ac_idx)
{
    if (ac_idx >= TSPEC_NUM_ACS) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Invalid input parameter\n");
        return -1;
    }
    const uint8_t dir = tspec_ts_info_decode(msg.tspec.ts_info).dir;
    const uint32_t medium_time = tspec_medium_time_both_ways(msg.tspec.medium_time, dir);
    const int32_t radio = radio_index(msg.radio_unit);
    TSPEC_TRACE(TSPEC_TRACE_INFO, "radio unit is %d\n", radio);
    uint16_t &total = tspec_cb->acu[radio].admitted_med_time[ac_idx];
    const int32_t current = static_cast<int32_t>(total - medium_time);
    TSPEC_TRACE(TSPEC_TRACE_INFO,
                "radio_unit=%d,medium_time=%u,prev_medium_time=%u,current=%d,admit_old=%u,"
                "ac_index=%u\n",
                radio, medium_time, msg.prev_medium_time, current, total, ac_idx);
    total = static_cast<uint16_t>(std::max(current, 0));
    return 0;
}

int32_t tspec_acu_ts_removal(uint8_t radio_unit, uint8_t ac_idx, uint16_t medium_time)
{
    TSPEC_TRACE(TSPEC_TRACE_INFO, "Entry\n");
    if (radio_unit > TSPEC_NUM_RADIOS || ac_idx >= TSPEC_NUM_ACS) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Invalid input parameter\n");
        return -1;
    }
    TSPEC_TRACE(TSPEC_TRACE_INFO, "radio_unit=%u,ac_index=%u,medium_time=%u\n", radio_unit, ac_idx,
                medium_time);
    // Direction 0: the medium time is not doubled once more.
    tspec_mapd_msg_t msg = {};
    msg.radio_unit = radio_unit;
    msg.tspec.medium_time = medium_time;
    return tspec_acu_deletion_req_recv(msg, ac_idx);
}

// Where the fast-transition time of a radio and access category is booked, or null:
// only VI and VO have such an account.
static uint16_t *fbt_account(const char *function, uint8_t radio_unit, uint8_t ac_idx,
                             uint16_t medium_time)
{
    TSPEC_TRACE_PLAIN(TSPEC_TRACE_INFO, "%s:Entry\n", function);
    if (radio_unit > TSPEC_NUM_RADIOS || (ac_idx != TSPEC_AC_VI && ac_idx != TSPEC_AC_VO)) {
        TSPEC_TRACE_PLAIN(TSPEC_TRACE_ERROR, "%s:Invalid input parameter\n", function);
        return nullptr;
    }
    TSPEC_TRACE_PLAIN(TSPEC_TRACE_INFO, "%s:radio_unit=%u,ac_index=%u,medium_time=%u\n", function,
                      radio_unit, ac_idx, medium_time);
    const int32_t radio = radio_index(radio_unit);
    TSPEC_TRACE_PLAIN(TSPEC_TRACE_INFO, "%s:radio unit is %d\n", function, radio);
    return &tspec_cb->acu[radio].fbt_admitted_med_time[ac_idx];
}

int32_t tspec_acu_fbt_ts_add(uint8_t radio_unit, uint8_t ac_idx, uint16_t medium_time)
{
    uint16_t *const fbt = fbt_account(__func__, radio_unit, ac_idx, medium_time);
    if (fbt == nullptr) {
        return -1;
    }
    const int32_t radio = radio_index(radio_unit);
    const int32_t current = *fbt + medium_time;
    TSPEC_TRACE(TSPEC_TRACE_INFO,
                "radio_unit=%d,medium_time=%u,current=%d,admit_old=%u,ac_index=%u\n", radio,
                medium_time, current, 0U, ac_idx);
    *fbt = static_cast<uint16_t>(current);
    uint16_t &total = tspec_cb->acu[radio].admitted_med_time[ac_idx];
    total = static_cast<uint16_t>(total + medium_time);
    return 0;
}

int32_t tspec_acu_fbt_ts_removal(uint8_t radio_unit, uint8_t ac_idx, uint16_t medium_time)
{
    uint16_t *const fbt = fbt_account(__func__, radio_unit, ac_idx, medium_time);
    if (fbt == nullptr) {
        return -1;
    }
    const int32_t current = *fbt - medium_time;
    TSPEC_TRACE(TSPEC_TRACE_INFO,
                "radio_unit=%d,medium_time=%u,current=%d,admit_old=%u,ac_index=%u\n",
                radio_index(radio_unit), medium_time, current, *fbt, ac_idx);
    *fbt = static_cast<uint16_t>(std::max(current, 0));
    return 0;
}

// Makes of the request the response that mapd would send.
static void answer_admission(tspec_mapd_msg_t &msg, uint8_t ac_idx)
{
    uint8_t result = TSPEC_RESULT_REFUSED;
    tspec_acu_admission_req_recv(msg, ac_idx, &result);
    if (result != TSPEC_RESULT_ACCEPTED) {
        msg.tspec.medium_time = 0;
    }
    msg.result_code = result;
    msg.msg_type = TSPEC_MAPD_MSG;
    msg.cmd = TSPEC_ADDTS_RESP_CMD;
}

int32_t tspec_acu_process(tspec_mapd_msg_t *msg, uint8_t ac_idx)
{
    TSPEC_TRACE(TSPEC_TRACE_INFO, "Entry\n");
    if (msg == nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Invalid input parameter\n");
        return -1;
    }
    const int32_t radio = radio_index(msg->radio_unit);
    TSPEC_TRACE(TSPEC_TRACE_INFO, "radio unit is %d\n", radio);
    msg->wlan_util = tspec_get_wlan_util(radio == 0 ? "wlan0" : "wlan1");
    TSPEC_TRACE(TSPEC_TRACE_INFO, "wlan_util is %d\n", static_cast<int32_t>(msg->wlan_util));
    switch (msg->cmd) {
    case TSPEC_ADDTS_REQ_CMD:
        answer_admission(*msg, ac_idx);
        break;
    case TSPEC_DELTS_REQ_CMD:
        tspec_acu_deletion_req_recv(*msg, ac_idx);
        break;
    default:
        break;
    }
    return 0;
}
