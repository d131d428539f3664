// How far a run is: one line that renews itself on a terminal, a plain line now
// and then elsewhere.
#pragma once

#include "tally.h"

#include <chrono>
#include <cstdint>

namespace tspec::soak {

class Progress {
  public:
    // Simulated seconds to go through; bound on the real time, 0: none.
    Progress(uint64_t simulated, uint64_t seconds);

    bool time_is_up() const;
    // Shows where the run is when the last line is old enough.
    void show(const Tally &tally, size_t streams);
    void say(const std::string &line); // a line that stays
    void end();                        // no line of its own any more

    double real_seconds() const;

  private:
    using Clock = std::chrono::steady_clock;
    uint64_t seconds_left(const Tally &tally) const;

    uint64_t simulated_;
    uint64_t seconds_;
    bool terminal_;
    Clock::time_point begin_ = Clock::now();
    Clock::time_point next_;
};

} // namespace tspec::soak
