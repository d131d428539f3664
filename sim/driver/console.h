/*
 * The console device as the daemon opens it.
 */
#ifndef TSPEC_SIM_DRIVER_CONSOLE_H
#define TSPEC_SIM_DRIVER_CONSOLE_H

#include <stdio.h>

namespace tspec::sim::driver {

bool is_console(const char *path);

/* As fopen and open of the device: null or -1 with errno where the simulator
 * wants the console to fail. */
FILE *console_stream(const char *path, const char *mode);
int console_descriptor(const char *path, int flags);

} // namespace tspec::sim::driver

#endif
