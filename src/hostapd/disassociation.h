// The end of all streams of a client that leaves a VAP.
#pragma once

#include "tspec/message.h"

#include <cstdint>

// Frees all streams of the client (sta_mac) on the VAP (peer_addr2), and on an
// access point that is not managed gives their medium time back. Its streams on
// another VAP stay. Always returns 0.
int32_t tspec_hostapd_process_sta_disassoc(const tspec_hostapd_msg_t &msg, uint32_t len);
