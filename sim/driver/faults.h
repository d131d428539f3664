// Calls that fail because the simulator wants them to.
#pragma once

#include "sim/driver/control.h"

namespace tspec::sim::driver {

// What is known of a call; unknown parts match rules that do not ask for them.
struct CallSite {
    control::FaultCall call;
    int port = -1;
    int family = -1;
    const char *path = "";
};

void fault_add(const control::FaultRule &rule);
void faults_clear();

// The rule that the call falls to, or null; counts the call.
const control::FaultRule *fault_for(const CallSite &site);

// For calls that show in no report of their own: reports the hit, sets errno
// when the rule has one, and says so.
bool fault_fails(const CallSite &site);

// A rule for a wait on this port is there and due; does not count the call.
bool fault_awaits_select(int port);

} // namespace tspec::sim::driver
