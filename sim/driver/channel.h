// The library's end of the control channel.
#pragma once

#include "sim/driver/control.h"

namespace tspec::sim::driver {

// Takes the descriptor named in the environment. Without one the library stays
// out of the way: every call goes straight to libc.
void channel_open();

bool channel_is_open();
int channel_fd();

// A zeroed report stamped with both clocks; one buffer, valid until the next.
control::Report &new_report(control::ReportType type);
void report_name(control::Report &report, const char *name);
void report_data(control::Report &report, const void *data, size_t length); // cut to max_data
void send_report(const control::Report &report);

// Blocks for the next request; ends the process when the simulator is gone.
void receive_request(control::Request &request);

void answer(uint32_t id);

// Keeps errno across what the library does around a daemon's call.
class KeepErrno {
  public:
    KeepErrno();
    ~KeepErrno();
    KeepErrno(const KeepErrno &) = delete;
    KeepErrno &operator=(const KeepErrno &) = delete;

  private:
    int saved_;
};

} // namespace tspec::sim::driver
