// How an expectation finds what it speaks of among the things that happened.
#pragma once

#include "sim/scenario/comparison.h"
#include "sim/scenario/window.h"

#include <functional>
#include <string>
#include <vector>

namespace tspec::sim::scenario {

// Compares a happening with what is wanted.
using Compare = std::function<Rows(const Event &)>;

// Marks the first happening that holds in every row as found. Throws
// ExpectationFailed with the one that comes nearest otherwise; what says what
// was looked for, such as "hostapd got no such message".
void find_happening(const std::vector<Happening *> &open, const Compare &compare_event,
                    const std::string &what);

// "tid 6, result accepted".
std::string words_of(const WantedFields &wanted);

} // namespace tspec::sim::scenario
