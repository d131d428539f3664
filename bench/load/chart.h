// Cost of one request against the number of streams in the store, as SVG.
#pragma once

#include "bench/load/callgrind.h"
#include "bench/load/rounds.h"

#include <string>
#include <vector>

namespace tspec::bench {

// CPU time of daemon, floor and floor plus walks for a new stream without the
// frame-duration exchange; the daemon's instructions beside it where counted.
std::string cost_chart(const std::vector<Row> &rows, const std::vector<Count> &counts);

} // namespace tspec::bench
