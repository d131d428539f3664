// What the simulator saw of the daemon, in the model's terms, and how it is
// compared with what the model says.
#pragma once

#include "effects.h"
#include "sim/lib/event.h"

namespace tspec::lockstep {

model::Effects effects_of(const sim::Events &events);

// Without what the simulator does not report as such: what is checked by other
// means, or not visible.
model::Effects reported(const model::Effects &effects);

// An error number that nobody can know before is a number, whichever.
model::Effect without_unknown_errno(model::Effect actual, const model::Effect &expected);

// For people; the two differ.
std::string difference(const model::Effects &expected, const model::Effects &actual);

} // namespace tspec::lockstep
