// Keys that describe a stream, shared by the steps of hostapd and mapd, and the
// traffic specification that they give.
#pragma once

#include "sim/lib/messages.h"
#include "sim/scenario/step_kind.h"

#include <vector>

namespace tspec::sim::scenario {

// TID, direction and user priority.
std::vector<Key> stream_keys();
// What the stream carries: sizes, rates, intervals.
std::vector<Key> traffic_keys();

TrafficSpec stream_of(const Args &args);
// stream_of and the traffic keys.
TrafficSpec traffic_of(const Args &args);

std::vector<Key> operator+(std::vector<Key> first, const std::vector<Key> &second);

} // namespace tspec::sim::scenario
