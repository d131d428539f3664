// Requests that change what the library plays, and nothing else.
#pragma once

#include "sim/driver/control.h"

namespace tspec::sim::driver {

void apply_setting(const control::Request &request);

// Settings as they stand, for the room that each concerns.
struct Settings {
    bool kernel_calls;
    bool own_system_log;
    bool note_receivers;
    bool trap_rendezvous;
    int console_error;
};
Settings &settings();

// Stations (wireless.cpp) and proc files (proc_files.cpp).
void set_station(const control::Request &request);
void forget_station(const control::Request &request);
void set_default_station(const control::Request &request);
void set_proc_file(const control::Request &request);

// Takes over stderr, so that what is written there is reported in order.
void console_setup();

} // namespace tspec::sim::driver
