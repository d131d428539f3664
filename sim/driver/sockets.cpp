// The daemon's calls on its sockets: made for real, reported, failing where asked.
#include "sim/driver/channel.h"
#include "sim/driver/endpoints.h"
#include "sim/driver/faults.h"
#include "sim/driver/real.h"
#include "sim/driver/settings.h"
#include "sim/driver/wait.h"
#include "tspec/message.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

using namespace tspec::sim;
using namespace tspec::sim::driver;

namespace {

void report_received(int fd, const void *data, ssize_t size)
{
    if (size < 0) {
        return;
    }
    KeepErrno keep;
    const Endpoint &endpoint = endpoint_of(fd);
    control::Report &report = new_report(control::ReportType::received);
    report.fd = fd;
    report.port = static_cast<uint32_t>(endpoint.port);
    report.result = static_cast<int32_t>(size);
    report_name(report, endpoint.name);
    report_data(report, data, static_cast<size_t>(size));
    send_report(report);
}

bool is_bound_in(const char *table, int port)
{
    FILE *file = TSPEC_REAL(fopen)(table, "re");
    if (!file) {
        return false;
    }
    bool found = false;
    char line[256];
    while (!found && fgets(line, sizeof line, file)) {
        unsigned local = 0;
        found = sscanf(line, " %*u: %*[0-9A-F]:%4X", &local) == 1 && local == unsigned(port);
    }
    fclose(file);
    return found;
}

// To be asked before the datagram leaves: its receiver may end as soon as he has it.
bool has_receiver(int port)
{
    KeepErrno keep;
    return settings().note_receivers && port > 0 &&
           (is_bound_in("/proc/self/net/udp", port) || is_bound_in("/proc/self/net/udp6", port));
}

void report_sent(int fd, const sockaddr *to, socklen_t to_length, const void *data, size_t size,
                 ssize_t result, bool bound)
{
    KeepErrno keep;
    int error = result < 0 ? errno : 0;
    note_sent();
    control::Report &report = new_report(control::ReportType::sent);
    int port = port_of(to, to_length);
    report.fd = fd;
    report.option = endpoint_of(fd).port;
    report.port = static_cast<uint32_t>(port < 0 ? 0 : port);
    report.result = static_cast<int32_t>(result);
    report.error = error;
    report.flags = bound ? control::flag_bound : 0;
    name_of(to, to_length, report.name);
    report_data(report, data, size);
    send_report(report);
}

bool is_daemon_socket(int fd)
{
    return channel_is_open() && endpoint_of(fd).kind == EndpointKind::socket;
}

// One receiving call of the daemon. A failing one leaves the datagram queued, as
// an interrupted call does; one whose result is replaced takes it away.
template <typename Receive>
ssize_t receive(control::FaultCall call, int fd, void *buffer, Receive real_receive)
{
    if (!is_daemon_socket(fd)) {
        return real_receive();
    }
    const Endpoint &endpoint = endpoint_of(fd);
    CallSite site{
        .call = call, .port = endpoint.port, .family = endpoint.family, .path = endpoint.name};
    const control::FaultRule *rule = fault_for(site);
    if (!rule) {
        ssize_t size = real_receive();
        report_received(fd, buffer, size);
        return size;
    }
    if (rule->error == 0) {
        report_received(fd, buffer, real_receive());
    }
    control::Report &report = new_report(control::ReportType::fault);
    report.error = rule->error;
    report.fd = fd;
    report.port = static_cast<uint32_t>(endpoint.port);
    report_name(report, call == control::FaultCall::read   ? "read"
                        : call == control::FaultCall::recv ? "recv"
                                                           : "recvfrom");
    send_report(report);
    errno = rule->error;
    return rule->error == 0 ? rule->result : -1;
}

} // namespace

TSPEC_INTERPOSE int socket(int family, int type, int protocol) noexcept
{
    if (!channel_is_open()) {
        return TSPEC_REAL(socket)(family, type, protocol);
    }
    if (fault_fails({.call = control::FaultCall::socket, .family = family})) {
        return -1;
    }
    int fd = TSPEC_REAL(socket)(family, type, protocol);
    endpoint_socket(fd, family);
    return fd;
}

TSPEC_INTERPOSE int bind(int fd, const sockaddr *address, socklen_t length) noexcept
{
    if (!is_daemon_socket(fd)) {
        return TSPEC_REAL(bind)(fd, address, length);
    }
    char name[112];
    name_of(address, length, name);
    CallSite site{.call = control::FaultCall::bind,
                  .port = port_of(address, length),
                  .family = address ? address->sa_family : -1,
                  .path = name};
    if (fault_fails(site)) {
        return -1;
    }
    int result = TSPEC_REAL(bind)(fd, address, length);
    if (result == 0) {
        endpoint_bound(fd, address, length);
    }
    return result;
}

TSPEC_INTERPOSE int setsockopt(int fd, int level, int name, const void *value,
                               socklen_t length) noexcept
{
    if (is_daemon_socket(fd) &&
        fault_fails({.call = control::FaultCall::setsockopt, .family = endpoint_of(fd).family})) {
        return -1;
    }
    return TSPEC_REAL(setsockopt)(fd, level, name, value, length);
}

TSPEC_INTERPOSE int close(int fd)
{
    const Endpoint endpoint = endpoint_of(fd);
    endpoint_closed(fd);
    int result = TSPEC_REAL(close)(fd);
    if (!channel_is_open() || endpoint.kind == EndpointKind::none) {
        return result;
    }
    bool is_trap = endpoint.kind == EndpointKind::trap;
    CallSite site{.call = control::FaultCall::close,
                  .port = endpoint.port,
                  .family = endpoint.family,
                  .path = is_trap ? SNMP_TRAP_TSPEC_FIFO_FILE : endpoint.name};
    return fault_fails(site) ? -1 : result;
}

TSPEC_INTERPOSE ssize_t sendto(int fd, const void *data, size_t size, int flags, const sockaddr *to,
                               socklen_t to_length)
{
    if (!is_daemon_socket(fd)) {
        return TSPEC_REAL(sendto)(fd, data, size, flags, to, to_length);
    }
    char name[112];
    name_of(to, to_length, name);
    CallSite site{.call = control::FaultCall::sendto,
                  .port = port_of(to, to_length),
                  .family = to ? to->sa_family : -1,
                  .path = name};
    const control::FaultRule *rule = fault_for(site);
    bool bound = has_receiver(site.port);
    ssize_t result = -1;
    if (rule && rule->error != 0) {
        errno = rule->error;
    } else {
        result = TSPEC_REAL(sendto)(fd, data, size, flags, to, to_length);
    }
    report_sent(fd, to, to_length, data, size, result, bound);
    return rule && rule->error == 0 ? rule->result : result;
}

TSPEC_INTERPOSE ssize_t read(int fd, void *buffer, size_t size)
{
    return receive(control::FaultCall::read, fd, buffer,
                   [&] { return TSPEC_REAL(read)(fd, buffer, size); });
}

TSPEC_INTERPOSE ssize_t recv(int fd, void *buffer, size_t size, int flags)
{
    return receive(control::FaultCall::recv, fd, buffer,
                   [&] { return TSPEC_REAL(recv)(fd, buffer, size, flags); });
}

TSPEC_INTERPOSE ssize_t recvfrom(int fd, void *__restrict buffer, size_t size, int flags,
                                 sockaddr *__restrict from, socklen_t *__restrict from_length)
{
    return receive(control::FaultCall::recvfrom, fd, buffer, [&] {
        return TSPEC_REAL(recvfrom)(fd, buffer, size, flags, from, from_length);
    });
}

#ifdef __GLIBC__

// What a fortified build calls where the compiler cannot see the buffer fit.
extern "C" [[noreturn]] void __chk_fail();

TSPEC_INTERPOSE ssize_t __read_chk(int fd, void *buffer, size_t size, size_t room)
{
    if (size > room) {
        __chk_fail();
    }
    return read(fd, buffer, size);
}

TSPEC_INTERPOSE ssize_t __recv_chk(int fd, void *buffer, size_t size, size_t room, int flags)
{
    if (size > room) {
        __chk_fail();
    }
    return recv(fd, buffer, size, flags);
}

TSPEC_INTERPOSE ssize_t __recvfrom_chk(int fd, void *__restrict buffer, size_t size, size_t room,
                                       int flags, sockaddr *__restrict from,
                                       socklen_t *__restrict from_length)
{
    if (size > room) {
        __chk_fail();
    }
    return recvfrom(fd, buffer, size, flags, from, from_length);
}

#endif
