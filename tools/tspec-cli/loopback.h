/*
 * The loopback interface, over which the daemon talks to hostapd and mapd.
 */
#ifndef TSPEC_TOOL_LOOPBACK_H
#define TSPEC_TOOL_LOOPBACK_H

#include <stdbool.h>

/* Waits up to `timeout_ms` milliseconds for the interface to be up. False when
 * it is not by then. */
bool tspec_tool_await_loopback(unsigned timeout_ms);

#endif
