#include "sim/driver/channel.h"

#include "sim/driver/clock.h"
#include "sim/driver/real.h"
#include "sim/driver/text.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

namespace tspec::sim::driver {

namespace {

int control_fd = -1;
control::Report report_buffer;

// Small, so that a daemon that reports faster than the simulator reads is
// halted before the peers' own sockets overflow.
constexpr int send_buffer = 48 * 1024;

} // namespace

KeepErrno::KeepErrno() : saved_(errno) {}

KeepErrno::~KeepErrno()
{
    errno = saved_;
}

void channel_open()
{
    const char *number = getenv(control::fd_variable);
    if (!number) {
        return;
    }
    control_fd = atoi(number);
    setsockopt(control_fd, SOL_SOCKET, SO_SNDBUF, &send_buffer, sizeof send_buffer);
}

bool channel_is_open()
{
    return control_fd >= 0;
}

int channel_fd()
{
    return control_fd;
}

control::Report &new_report(control::ReportType type)
{
    memset(&report_buffer, 0, offsetof(control::Report, data));
    report_buffer.type = type;
    report_buffer.wall = wall_clock();
    report_buffer.mono = monotonic_clock();
    return report_buffer;
}

void report_name(control::Report &report, const char *name)
{
    copy_text(report.name, name);
}

void report_data(control::Report &report, const void *data, size_t length)
{
    report.length = length < control::max_data ? static_cast<uint32_t>(length) : control::max_data;
    if (report.length > 0) {
        memcpy(report.data, data, report.length);
    }
}

void send_report(const control::Report &report)
{
    if (!channel_is_open()) {
        return;
    }
    ssize_t sent;
    do {
        sent = TSPEC_REAL(send)(control_fd, &report, control::size_of(report), MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
}

void receive_request(control::Request &request)
{
    for (;;) {
        ssize_t size = TSPEC_REAL(recv)(control_fd, &request, sizeof request, 0);
        if (size >= static_cast<ssize_t>(offsetof(control::Request, data))) {
            return;
        }
        if (size < 0 && errno == EINTR) {
            continue;
        }
        _exit(0);
    }
}

void answer(uint32_t id)
{
    control::Report &report = new_report(control::ReportType::done);
    report.id = id;
    send_report(report);
}

} // namespace tspec::sim::driver
