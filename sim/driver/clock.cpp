#include "sim/driver/clock.h"

#include "sim/driver/real.h"

#include <ctime>

namespace tspec::sim::driver {

namespace {

bool simulated;
int64_t simulated_monotonic;
int64_t wall_minus_monotonic;
int64_t ahead_of_real;

int64_t read_clock(clockid_t id)
{
    timespec now;
    clock_gettime(id, &now);
    return now.tv_sec * INT64_C(1000000) + now.tv_nsec / 1000;
}

} // namespace

bool clock_is_simulated()
{
    return simulated;
}

int64_t wall_clock()
{
    return simulated ? simulated_monotonic + wall_minus_monotonic
                     : read_clock(CLOCK_REALTIME) + ahead_of_real;
}

int64_t monotonic_clock()
{
    return simulated ? simulated_monotonic : read_clock(CLOCK_MONOTONIC);
}

void clock_simulate(int64_t wall)
{
    simulated_monotonic = monotonic_clock();
    wall_minus_monotonic = wall - simulated_monotonic;
    simulated = true;
}

void clock_be_real(int64_t ahead)
{
    simulated = false;
    ahead_of_real = ahead;
}

void clock_step_wall(int64_t difference)
{
    (simulated ? wall_minus_monotonic : ahead_of_real) += difference;
}

void clock_move_to(int64_t monotonic)
{
    simulated_monotonic = monotonic;
}

} // namespace tspec::sim::driver

TSPEC_INTERPOSE time_t time(time_t *place)
{
    using namespace tspec::sim::driver;
    if (!clock_is_simulated() && ahead_of_real == 0) {
        return TSPEC_REAL(time)(place);
    }
    time_t now = static_cast<time_t>(wall_clock() / 1000000);
    if (place) {
        *place = now;
    }
    return now;
}
