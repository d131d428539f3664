// Start-up and tear-down of the control block and the three sockets, and the
// test of who manages the access point.
#pragma once

#include <cstdint>

// Allocates the control block, opens the UDP socket, dman's socket and the
// operator's socket, and sets the defaults: not managed, violation reports
// every 300 seconds, counted from now.
//
// Returns 0, or -1 when memory, the UDP socket or dman's socket cannot be had
// (the port is taken, or a file already stands at dman's path); what was opened
// is then closed again and the block freed. Without the operator's socket the
// daemon runs all the same. Prints nothing in any case.
int32_t tspec_daemon_init();

// Counterpart of tspec_daemon_init for tests: frees all client records and the
// control block and sets tspec_cb to null. Leaves the sockets open. Returns 0.
int32_t tspec_daemon_cleanup();

// Whether mapd manages the access point.
bool tspec_is_managed();
