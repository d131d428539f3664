// The UDP ports that the daemon and its peers expect each other on.
#pragma once

#include "tspec/message.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace tspec::sim {

inline constexpr std::array<uint16_t, 5> fixed_ports{TSPEC_UDP_PORT, TSPEC_HOSTAPD_PORT,
                                                     TSPEC_MAPD_PORT, TSPEC_DMAN_REPLY_PORT,
                                                     TSPEC_FRAME_DUR_REPLY_PORT};

constexpr bool is_fixed_port(uint16_t port)
{
    return std::find(fixed_ports.begin(), fixed_ports.end(), port) != fixed_ports.end();
}

} // namespace tspec::sim
