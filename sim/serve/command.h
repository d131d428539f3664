// The subcommands serve and apply.
#pragma once

#include <CLI/CLI.hpp>

namespace tspec::sim::serve {

// What was asked for is done while the command line is parsed; status is then
// the exit status.
void add_commands(CLI::App &app, int &status);

} // namespace tspec::sim::serve
