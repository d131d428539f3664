// The word that somebody probably meant.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tspec::sim::scenario {

// The candidate nearest to the word, or empty when none is near.
std::string nearest(std::string_view word, const std::vector<std::string> &candidates);

// "; did you mean \"tid\"?", or empty.
std::string did_you_mean(std::string_view word, const std::vector<std::string> &candidates);

} // namespace tspec::sim::scenario
