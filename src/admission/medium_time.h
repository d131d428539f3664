// Medium time that a stream needs, from its TSPEC and the airtime of one of its
// frames, which hostapd knows.
#pragma once

#include "tspec/message.h"

#include <cstdint>

// Stores in *out_medium_time the medium time of the TSPEC, in units of 32
// microseconds per second and 65535 at most: packets per second at the mean
// data rate, times the frame duration, times the surplus bandwidth allowance
// where that is 1 or more.
//
// Asks hostapd for the frame duration and stands still for up to 2 seconds
// until it answers. Returns 0; -1, with *out_medium_time untouched, for a null
// pointer or when hostapd gave no valid answer.
//
// A nominal MSDU size of 0 ends the process with SIGFPE.
int32_t tspec_ts_medium_time_calc(const tspec_ie_t *tspec, uint8_t radio_unit, uint8_t vap,
                                  const uint8_t *sta_mac, uint16_t *out_medium_time);

// A bidirectional stream takes its medium time once in each direction.
constexpr uint32_t tspec_medium_time_both_ways(uint16_t medium_time, uint8_t dir)
{
    return dir == TSPEC_DIR_BIDIRECTIONAL ? 2U * medium_time : medium_time;
}
