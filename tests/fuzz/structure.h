// What holds of the daemon's state after every step, whatever came before.
#pragma once

#include <optional>
#include <string>

namespace tspec::fuzz {

// The client list as such: head and tail agree, no circle, no record without
// streams, no client twice; every entry's owner and access category are those
// of its place, a free entry is all zeros; dman's walk is at a record that
// exists. What does not hold, or nothing.
std::optional<std::string> broken_structure();

} // namespace tspec::fuzz
