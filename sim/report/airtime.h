// How full the air is in the course of a run: medium time admitted and its
// limit, for each radio and access category.
//
// Two sources tell it. While the access point decides by itself, the daemon's
// account holds ("show"). While mapd manages it, that account stands still, and
// the status messages to mapd hold. The limit is always that of the account.
#pragma once

#include "sim/lib/event.h"
#include "sim/scenario/load.h"
#include "tspec/message.h"

#include <cstddef>
#include <vector>

namespace tspec::sim::report {

class Airtime {
  public:
    struct Point {
        size_t item = 0; // the thing told last when the figures changed
        Duration time{}; // since the start of the run
        scenario::Admitted figures;

        bool operator==(const Point &) const = default;
    };
    using Points = std::vector<Point>;

    // Any event; those that say nothing of airtime are passed over.
    void take(const Event &event, size_t item, Duration time);
    // The daemon's account as it is now.
    void take(const scenario::Load &account, size_t item, Duration time);

    // Changes only; empty when a category was never more than 0 of 0.
    const Points &points(size_t radio, size_t ac) const { return points_[radio][ac]; }

  private:
    void take_status(const tspec_mapd_status_msg_t &status);
    void note(size_t item, Duration time);

    bool managed_ = false;
    scenario::Load account_{};
    scenario::Load status_{}; // limits are not used
    Points points_[TSPEC_NUM_RADIOS][TSPEC_NUM_ACS];
};

} // namespace tspec::sim::report
