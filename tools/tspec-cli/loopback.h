// The loopback interface, over which the daemon talks to hostapd and mapd.
#pragma once

// Waits up to `timeout_ms` milliseconds for the interface to be up. False when
// it is not by then.
bool tspec_tool_await_loopback(unsigned timeout_ms);
