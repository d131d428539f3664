// The table of all steps.
#pragma once

#include "sim/scenario/step_kind.h"

#include <string>
#include <string_view>
#include <vector>

namespace tspec::sim::scenario {

struct StepSection {
    std::string title;
    const StepGroup *steps;
};

const std::vector<StepSection> &step_sections();
const StepKind *find_step(std::string_view name);
std::vector<std::string> step_names();

// The groups, each in its own file.
const StepGroup &story_steps();
const StepGroup &dman_steps();
const StepGroup &driver_steps();
const StepGroup &hostapd_steps();
const StepGroup &mapd_steps();
const StepGroup &operator_steps();
const StepGroup &surroundings_steps();
const StepGroup &message_expectations();
const StepGroup &text_expectations();
const StepGroup &state_expectations();

// Every step with its keys as Markdown.
std::string describe_steps();

} // namespace tspec::sim::scenario
