// What dman's reports hold, as expectations name it: figures of an access
// category ("num-active: 1") and streams.
#pragma once

#include "sim/scenario/args.h"
#include "sim/scenario/reader.h"

#include <string>
#include <vector>
#include <yaml-cpp/yaml.h>

namespace tspec::sim::scenario {

// Of the whole access point; of a radio or VAP.
const std::vector<std::string> &access_point_figures();
const std::vector<std::string> &radio_figures();

// The group of a figure in the reports' keys: "ts" or "tspec".
const char *figure_group(const std::string &figure);

std::vector<std::string> stream_key_words();

// Readers of the key types figures and streams: false after complaining.
bool read_figures(const YAML::Node &node, Reader &reader, Value &value);
bool read_streams(const YAML::Node &node, Reader &reader, Value &value);

} // namespace tspec::sim::scenario
