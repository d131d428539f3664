// A scenario as read from its file: a name and steps whose arguments have all
// been checked.
#pragma once

#include "sim/scenario/args.h"
#include "sim/scenario/step_kind.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tspec::sim::scenario {

struct Step {
    const StepKind *kind = nullptr;
    Args args;
    Place place;
    std::vector<std::vector<Step>> turns; // of a loop
};

struct Scenario {
    std::string file;
    std::string name;
    std::string about;
    std::vector<Step> steps;
};

// Both throw ScenarioError with everything that is wrong, and
// std::runtime_error when the file cannot be read.
Scenario read_scenario(const std::filesystem::path &file);
Scenario parse_scenario(const std::string &text, const std::string &file_name);

} // namespace tspec::sim::scenario
