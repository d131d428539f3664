// The control sockets of hostapd and wpa_supplicant: commands and events in text.
#pragma once

#include <string>

namespace tspec::air {

// Sends a command and prints the answer, or with an event (a regular expression) waits
// for it and prints that: 0; 1 when the answer is FAIL or the event does not come.
int ask(const std::string &socket, const std::string &command, const std::string &event,
        double seconds);

// Asks for an uplink voice stream and gives it back, so many times. Prints how many were
// admitted and, from the command to the client's event, median, 99th percentile and
// maximum in microseconds.
int latency(const std::string &socket, int count);

} // namespace tspec::air
