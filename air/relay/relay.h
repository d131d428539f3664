// The relay's loop around radios, daemon, capture and the stories' commands.
#pragma once

#include <string>
#include <vector>

namespace tspec::air {

struct Options {
    unsigned radios = 12;
    std::string capture; // empty: none
};

inline constexpr const char *relay_socket = "/run/tspec-air";

// Until it is ended. Throws std::runtime_error when it cannot begin.
int relay(const Options &options);

// Sends a command to the relay and prints its answer: 0, or 1 when it was refused.
int tell_relay(const std::vector<std::string> &words);

} // namespace tspec::air
