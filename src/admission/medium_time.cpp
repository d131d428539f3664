#include "admission/medium_time.h"

#include "core/ipc.h"
#include "core/messages.h"
#include "core/trace.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>

#define TSPEC_TRACE_NAME "tspec_ts_medium_time_calc"

static constexpr uint16_t NOMINAL_SIZE_MASK = 0x7fff; // without the fixed-size flag
static constexpr uint32_t SURPLUS_FRACTION_BITS = 13;
static constexpr uint32_t MEDIUM_TIME_UNIT_BITS = 5; // 32 microseconds

// Ends the process as a division by zero does where the processor traps it, on
// all processors and whatever the compiler makes of the division.
[[noreturn]] static void trap_division_by_zero()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGFPE);
    signal(SIGFPE, SIG_DFL);
    sigprocmask(SIG_UNBLOCK, &set, nullptr);
    raise(SIGFPE);
    abort();
}

// Packets of nominal size that the mean data rate (bits per second) makes in a
// second; parts of a byte or packet count as a whole one.
static uint32_t packets_per_second(uint32_t mean_data_rate, uint32_t nominal_size)
{
    if (nominal_size == 0) {
        trap_division_by_zero();
    }
    const uint32_t bytes_per_second = (mean_data_rate + 7) >> 3;
    return (bytes_per_second + nominal_size - 1) / nominal_size;
}

// Asks hostapd for the airtime of one frame exchange, in microseconds. Returns
// 0, or -1 without a valid answer.
static int32_t query_frame_duration(const tspec_ie_t &tspec, uint8_t radio_unit, uint8_t vap,
                                    const uint8_t *sta_mac, uint32_t &duration)
{
    tspec_frame_dur_req_t req = tspec_new_frame_dur_req();
    req.radio_unit = radio_unit;
    memcpy(req.sta_mac, sta_mac, sizeof(req.sta_mac));
    req.min_phy_rate = tspec.min_phy_rate;
    req.nominal_msdu_size = tspec.nominal_msdu_size;
    req.vap = vap;
    tspec_frame_dur_rsp_t rsp = {};
    if (tspec_send_receive_other_process(TSPEC_HOSTAPD_PORT, TSPEC_FRAME_DUR_REPLY_PORT, &req,
                                         sizeof(req), &rsp, sizeof(rsp)) < 0 ||
        rsp.marker != TSPEC_FRAME_DUR_MARKER) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, " Error receiving frame duration from port %d.\n",
                    TSPEC_FRAME_DUR_REPLY_PORT);
        return -1;
    }
    duration = rsp.duration;
    return 0;
}

// An allowance below 1.0 counts as 1.0.
static uint32_t with_surplus(uint32_t airtime, uint16_t allowance)
{
    const uint32_t whole = allowance >> SURPLUS_FRACTION_BITS;
    const uint32_t fraction = allowance & ((1U << SURPLUS_FRACTION_BITS) - 1);
    if (whole == 0) {
        return airtime;
    }
    return airtime * whole + ((airtime * fraction) >> SURPLUS_FRACTION_BITS);
}

int32_t tspec_ts_medium_time_calc(const tspec_ie_t *tspec, uint8_t radio_unit, uint8_t vap,
                                  const uint8_t *sta_mac, uint16_t *out_medium_time)
{
    if (tspec == nullptr || out_medium_time == nullptr) {
        return -1;
    }
    const uint32_t nominal_size = tspec->nominal_msdu_size & NOMINAL_SIZE_MASK;
    const uint32_t pps = packets_per_second(tspec->mean_data_rate, nominal_size);
    uint32_t duration;
    if (query_frame_duration(*tspec, radio_unit, vap, sta_mac, duration) < 0) {
        return -1;
    }
    const uint32_t airtime = with_surplus(duration * pps, tspec->surplus_bandwidth_allowance);
    const uint32_t medium_time = airtime >> MEDIUM_TIME_UNIT_BITS;
    *out_medium_time = static_cast<uint16_t>(std::min<uint32_t>(medium_time, UINT16_MAX));
    TSPEC_TRACE_PLAIN(TSPEC_TRACE_INFO,
                      "MED_CALC: nom_msdu=%u mean_dr=%u min_phy=%u pps=%u dur=%u "
                      "med_time=%u med_time_result=%u\r\n",
                      nominal_size, tspec->mean_data_rate, tspec->min_phy_rate, pps, duration,
                      medium_time, *out_medium_time);
    return 0;
}
