// How long one frame exchange keeps the air busy: a QoS data frame, a short
// pause (SIFS) and its acknowledgement, by the timing rules of the OFDM PHY on
// a 20 MHz channel in the 5 GHz band. This is what the TSPEC daemon asks hostapd
// with a frame-duration query.
//
// Sizes are in bytes, rates in bits per second, times in microseconds.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// What an MSDU gains on its way to the air. An MSDU as a TSPEC counts it holds
// everything above the MAC: LLC/SNAP, IP, UDP and RTP headers and the payload.
#define AIRTIME_MAC_HEADER 24
#define AIRTIME_QOS_CONTROL 2
#define AIRTIME_FCS 4
#define AIRTIME_CCMP 16 // header and integrity code, on an encrypted network

#define AIRTIME_ACK_FRAME 14
#define AIRTIME_SIFS 16

// The PHY's own rate for any other one: the highest that is not above it, and
// 6 Mbit/s for everything below that.
uint32_t airtime_ofdm_rate(uint32_t rate);

// The rate at which a frame of this rate is acknowledged: the highest of the
// mandatory 6, 12 and 24 Mbit/s that is not above it.
uint32_t airtime_ack_rate(uint32_t rate);

// One frame of so many bytes, MAC header and FCS included, from the first bit of
// its preamble to its end.
uint32_t airtime_of_frame(uint32_t frame_size, uint32_t rate);

// The whole exchange for one MSDU; security is 0 or AIRTIME_CCMP.
uint32_t airtime_of_exchange(uint32_t msdu_size, uint32_t rate, uint32_t security);

#ifdef __cplusplus
}
#endif
