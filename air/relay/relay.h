// The relay's loop around radios, daemon, capture and the stories' commands.
#pragma once

#include <string>
#include <vector>

namespace tspec::air {

inline constexpr const char *relay_socket = "/run/tspec-air";

// Until it is ended; with the path of a capture, or without one. Throws
// std::runtime_error when it cannot begin.
int relay(const std::string &capture);

// Sends a command to the relay and prints its answer: 0, or 1 when it was refused.
int tell_relay(const std::vector<std::string> &words);

} // namespace tspec::air
