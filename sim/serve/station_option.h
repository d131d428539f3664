// One entry of the driver's station table, as the command line gives it:
// "02:00:00:00:00:01", "02:00:00:00:00:01=associated,roaming", "...=none".
#pragma once

#include "sim/lib/bytes.h"

#include <cstdint>
#include <optional>
#include <string>

namespace tspec::sim::serve {

struct StationOption {
    Mac mac;
    uint32_t flags;
};

// None when the word has not that form.
std::optional<StationOption> station_option(const std::string &word);

// The words that may stand behind the equals sign.
std::string station_states();

} // namespace tspec::sim::serve
