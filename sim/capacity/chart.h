// The result as a bar chart in SVG: a panel for each limit, a group of bars for
// each PHY rate, a bar for each codec. It stands by itself and follows the
// reader's choice of a light or dark page.
#pragma once

#include "sim/capacity/plan.h"

#include <string>
#include <vector>

namespace tspec::sim::capacity {

// The rows are those of the plan, in its order.
std::string chart_of(const Plan &plan, const std::vector<Row> &rows);

} // namespace tspec::sim::capacity
