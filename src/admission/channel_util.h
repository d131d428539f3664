// Channel utilisation of a radio, from the wireless driver's proc file.
#pragma once

#include <cstdint>

// The number in the "channel_util" line of the interface's file, or 0 when
// there is no such file or line.
uint32_t tspec_get_wlan_util(const char *ifname);
