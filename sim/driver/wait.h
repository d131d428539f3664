// select(), the heart of the library: the daemon's waits, where requests are
// served and simulated time passes.
#pragma once

#include "sim/driver/control.h"

namespace tspec::sim::driver {

// The daemon has sent something: an advance that must stop then, stops.
void note_sent();

// Serves requests until the simulator says go (at start-up) or lets a trap
// record continue (after its pipe was opened).
void serve_until(control::RequestType last);

} // namespace tspec::sim::driver
