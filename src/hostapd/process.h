// Requests and events from hostapd: what all of them have in common, before and
// after the branch of each command.
#pragma once

#include "tspec/message.h"

#include <cstdint>

// Handles one datagram of type TSPEC_HOSTAPD_MSG; msg is a whole receive buffer
// of which len bytes came. Returns 0, or -1 for a request that failed or was
// ignored.
int32_t tspec_hostapd_process(const uint8_t *msg, uint32_t len);
