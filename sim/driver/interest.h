// The descriptors that one select() of the daemon asks about.
#pragma once

#include <sys/select.h>

namespace tspec::sim::driver {

// Kept beside the daemon's own sets so that they can be asked again.
struct Interest {
    int count;
    fd_set read_set, write_set, except_set;
    fd_set *read_place, *write_place, *except_place;
};

Interest interest_of(int count, fd_set *read_set, fd_set *write_set, fd_set *except_set);

// Local UDP port that is waited on: that of the main socket if it is among
// them; 0 when there is none.
int port_waited_on(const Interest &interest);

// Are the daemon's own descriptors ready now? As select(); fills the daemon's
// sets when some are.
int ask_own(const Interest &interest);

void show_nothing_ready(const Interest &interest);

} // namespace tspec::sim::driver
