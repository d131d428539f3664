// Runs a test body in a child process with a network and a /tmp of its own, so
// that the daemon's fixed ports and paths are free.
#pragma once

#include <functional>

namespace tspec::test {

// Runs the body in such a child and passes its failures on to the calling test.
// Skips the calling test where the kernel grants no namespaces.
void in_private_network(const std::function<void()> &body);

// Ends a forked process without what the parent will do at its own end, but for
// the counters of a coverage build.
[[noreturn]] void end_child(int status);

} // namespace tspec::test
