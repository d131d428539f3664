// The console device as the daemon opens it.
#pragma once

#include <cstdio>

namespace tspec::sim::driver {

bool is_console(const char *path);

// As fopen and open of the device: null or -1 with errno where the simulator
// wants the console to fail.
FILE *console_stream(const char *path, const char *mode);
int console_descriptor(const char *path, int flags);

} // namespace tspec::sim::driver
