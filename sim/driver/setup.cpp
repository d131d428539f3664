// Start-up of the library and the settings that the simulator makes.
#include "sim/driver/channel.h"
#include "sim/driver/clock.h"
#include "sim/driver/faults.h"
#include "sim/driver/settings.h"
#include "sim/driver/wait.h"

#include <cstring>
#include <unistd.h>

namespace tspec::sim::driver {

Settings &settings()
{
    static Settings current;
    return current;
}

void apply_setting(const control::Request &request)
{
    using control::RequestType;
    switch (request.type) {
    case RequestType::station:
        return set_station(request);
    case RequestType::forget_station:
        return forget_station(request);
    case RequestType::default_station:
        return set_default_station(request);
    case RequestType::proc_file:
        return set_proc_file(request);
    case RequestType::fail_console:
        settings().console_error = request.error;
        return;
    case RequestType::fault:
        return fault_add(request.fault);
    case RequestType::clear_faults:
        return faults_clear();
    case RequestType::step_clock:
        return clock_step_wall(request.value);
    case RequestType::trap_rendezvous:
        settings().trap_rendezvous = true;
        return;
    case RequestType::kernel_calls:
        settings().kernel_calls = true;
        return;
    case RequestType::own_system_log:
        settings().own_system_log = true;
        return;
    case RequestType::note_receivers:
        settings().note_receivers = true;
        return;
    default:
        return;
    }
}

namespace {

__attribute__((constructor)) void set_up()
{
    channel_open();
    if (!channel_is_open()) {
        return;
    }
    control::Report &report = new_report(control::ReportType::hello);
    report.value = getpid();
    send_report(report);
    serve_until(control::RequestType::go);
    console_setup();
}

} // namespace

} // namespace tspec::sim::driver
