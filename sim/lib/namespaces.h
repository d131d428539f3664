// Namespaces of the process's own: loopback, /tmp and /dev.
#pragma once

#include <string>

namespace tspec::sim {

// Tries the whole way in a child process, as a half-entered namespace cannot be
// left. Empty: it works; else the step that failed and its error.
std::string why_no_namespaces();

// Moves this process; throws std::system_error naming the step that failed.
// Returns a descriptor of the host's /tmp.
int enter_namespaces();

} // namespace tspec::sim
