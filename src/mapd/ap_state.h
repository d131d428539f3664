// Who manages the access point, as mapd tells.
#pragma once

#include <cstdint>

// Handles one datagram of type TSPEC_MAPD_DIRECT_MSG, of exactly 3 bytes. Each
// change of state, also to the same one, starts a new violation report period.
// Returns 0, or -1 for a malformed message, which changes nothing.
int32_t tspec_mapd_direct_process(const uint8_t *msg, uint32_t len);
