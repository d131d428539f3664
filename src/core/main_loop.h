// The daemon's only thread of control: waits on the three sockets, handles one
// datagram of each at a time, and does the periodic work after every wake-up.
#pragma once

// Never returns. Call after tspec_daemon_init has succeeded.
[[noreturn]] void tspec_main_loop();
