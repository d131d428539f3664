// The daemon's clock: the machine's own, or a simulated one that stands still
// until the simulator moves it. All values in microseconds.
#pragma once

#include <cstdint>

namespace tspec::sim::driver {

bool clock_is_simulated();
int64_t wall_clock();
int64_t monotonic_clock();

// The simulated clock takes over at this wall time. The monotonic clock goes on
// without a jump when it starts; when it ends, it may jump.
void clock_simulate(int64_t wall);
void clock_be_real(int64_t ahead); // the wall clock, of the real one
void clock_step_wall(int64_t difference);
void clock_move_to(int64_t monotonic);

} // namespace tspec::sim::driver
