// Keeps an eye on the admitted medium time: whenever something has happened that
// may have changed it, the operator's "show" is asked, and neither the question
// nor its answer is part of the story.
#pragma once

#include "sim/lib/access_point.h"
#include "sim/scenario/load.h"

#include <optional>
#include <utility>

namespace tspec::sim::serve {

class LoadWatch {
  public:
    explicit LoadWatch(AccessPoint &access_point) : ap_(access_point) {}

    // Takes note of an event; true when it belongs to the question.
    bool takes(const Event &event);

    // What the last event taken has told: the load before and now.
    std::optional<std::pair<scenario::Load, scenario::Load>> change();

    // Asks where there is a reason to.
    void ask();

    // The next answer is where changes are counted from.
    void begin_anew();

  private:
    AccessPoint &ap_;
    std::optional<scenario::Load> before_ = scenario::Load{};
    std::optional<scenario::Load> now_;
    bool due_ = false;
    bool asked_ = false;
    bool answering_ = false;
};

} // namespace tspec::sim::serve
