/*
 * The UDP ports that the daemon and its peers expect each other on.
 */
#ifndef TSPEC_SIM_LIB_FIXED_PORTS_H
#define TSPEC_SIM_LIB_FIXED_PORTS_H

#include <algorithm>
#include <array>
#include <cstdint>

#include "tspec/message.h"

namespace tspec::sim {

inline constexpr std::array<std::uint16_t, 5> fixed_ports{TSPEC_UDP_PORT, TSPEC_HOSTAPD_PORT,
                                                          TSPEC_MAPD_PORT, TSPEC_DMAN_REPLY_PORT,
                                                          TSPEC_FRAME_DUR_REPLY_PORT};

constexpr bool is_fixed_port(std::uint16_t port)
{
    return std::find(fixed_ports.begin(), fixed_ports.end(), port) != fixed_ports.end();
}

} // namespace tspec::sim

#endif
