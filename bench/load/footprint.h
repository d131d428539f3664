// What the daemon takes of the device besides time: file size, memory, and how
// long it is until it answers.
#pragma once

#include "bench/load/subject.h"

#include <cstdint>

namespace tspec::bench {

struct Footprint {
    uintmax_t executable = 0;      // bytes of the stripped file
    double idle_kb = 0;            // private memory, no streams
    double client_kb = 0;          // for each client more, up to 512
    double start_milliseconds = 0; // from fork to the first answered ping
};

Footprint measure_footprint(const Programs &programs, Peers &peers);

} // namespace tspec::bench
