// The subcommand capacity.
#pragma once

#include <CLI/CLI.hpp>

namespace tspec::sim::capacity {

// What was asked for is done while the command line is parsed; status is then
// the exit status: 0, or 3 when there was no access point or a file could not be
// written.
void add_command(CLI::App &app, int &status);

} // namespace tspec::sim::capacity
