// Opening and writing of files: the console, the proc files and the trap pipe
// are recognised by their paths, everything else passes.
#include "sim/driver/channel.h"
#include "sim/driver/console.h"
#include "sim/driver/endpoints.h"
#include "sim/driver/faults.h"
#include "sim/driver/proc_files.h"
#include "sim/driver/real.h"
#include "sim/driver/settings.h"
#include "sim/driver/wait.h"
#include "tspec/message.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

using namespace tspec::sim;
using namespace tspec::sim::driver;

namespace {

void report_trap(const void *data, size_t size, ssize_t result, int error)
{
    KeepErrno keep;
    control::Report &report = new_report(control::ReportType::trap);
    report.result = static_cast<int32_t>(result);
    report.error = result < 0 ? error : 0;
    report_data(report, data, size);
    send_report(report);
}

void meet_simulator()
{
    KeepErrno keep;
    settings().trap_rendezvous = false;
    send_report(new_report(control::ReportType::trap_opened));
    serve_until(control::RequestType::continue_trap);
}

int open_trap(const char *path, int flags)
{
    CallSite site{.call = control::FaultCall::open, .path = path};
    const control::FaultRule *rule = fault_for(site);
    int fd = -1;
    if (rule && rule->error != 0) {
        errno = rule->error;
    } else {
        fd = TSPEC_REAL(open)(path, flags);
    }
    if (fd < 0) {
        report_trap(nullptr, 0, -1, errno);
        return fd;
    }
    endpoint_trap(fd);
    if (settings().trap_rendezvous) {
        meet_simulator();
    }
    return fd;
}

template <typename Open>
int open_known(const char *path, int flags, Open real_open)
{
    if (!channel_is_open() || !path) {
        return real_open();
    }
    if (is_console(path)) {
        return console_descriptor(path, flags);
    }
    if (strcmp(path, SNMP_TRAP_TSPEC_FIFO_FILE) == 0) {
        return open_trap(path, flags);
    }
    if (is_proc_file(path)) {
        char stand_in[64];
        return proc_stand_in(path, stand_in) ? TSPEC_REAL(open)(stand_in, flags) : -1;
    }
    return real_open();
}

template <typename Open>
FILE *stream_known(const char *path, const char *mode, Open real_open)
{
    if (!channel_is_open() || !path) {
        return real_open();
    }
    if (is_console(path)) {
        return console_stream(path, mode);
    }
    if (is_proc_file(path)) {
        char stand_in[64];
        return proc_stand_in(path, stand_in) ? TSPEC_REAL(fopen)(stand_in, mode) : nullptr;
    }
    return real_open();
}

mode_t creation_mode(int flags, va_list arguments)
{
    if (!(flags & (O_CREAT | O_TMPFILE))) {
        return 0;
    }
    return static_cast<mode_t>(va_arg(arguments, unsigned));
}

} // namespace

#define TSPEC_CREATION_MODE(mode)                                                                  \
    va_list arguments;                                                                             \
    va_start(arguments, flags);                                                                    \
    mode_t mode = creation_mode(flags, arguments);                                                 \
    va_end(arguments)

TSPEC_INTERPOSE int open(const char *path, int flags, ...)
{
    TSPEC_CREATION_MODE(mode);
    return open_known(path, flags, [&] { return TSPEC_REAL(open)(path, flags, mode); });
}

TSPEC_INTERPOSE int openat(int directory, const char *path, int flags, ...)
{
    TSPEC_CREATION_MODE(mode);
    return open_known(path, flags,
                      [&] { return TSPEC_REAL(openat)(directory, path, flags, mode); });
}

TSPEC_INTERPOSE FILE *fopen(const char *__restrict path, const char *__restrict mode)
{
    return stream_known(path, mode, [&] { return TSPEC_REAL(fopen)(path, mode); });
}

TSPEC_INTERPOSE ssize_t write(int fd, const void *data, size_t size)
{
    if (!channel_is_open() || endpoint_of(fd).kind != EndpointKind::trap) {
        return TSPEC_REAL(write)(fd, data, size);
    }
    CallSite site{.call = control::FaultCall::write, .path = SNMP_TRAP_TSPEC_FIFO_FILE};
    const control::FaultRule *rule = fault_for(site);
    ssize_t result = -1;
    if (rule && rule->error != 0) {
        errno = rule->error;
    } else {
        result = TSPEC_REAL(write)(fd, data, size);
    }
    report_trap(data, size, result, errno);
    return rule && rule->error == 0 ? rule->result : result;
}

// The names of glibc for large files and for fortified calls.
#ifdef __GLIBC__

extern "C" {
int __open_2(const char *path, int flags);
int __open64_2(const char *path, int flags);
int __openat_2(int directory, const char *path, int flags);
int __openat64_2(int directory, const char *path, int flags);
}

TSPEC_INTERPOSE int open64(const char *path, int flags, ...)
{
    TSPEC_CREATION_MODE(mode);
    return open_known(path, flags, [&] { return TSPEC_REAL(open64)(path, flags, mode); });
}

TSPEC_INTERPOSE int openat64(int directory, const char *path, int flags, ...)
{
    TSPEC_CREATION_MODE(mode);
    return open_known(path, flags,
                      [&] { return TSPEC_REAL(openat64)(directory, path, flags, mode); });
}

TSPEC_INTERPOSE int __open_2(const char *path, int flags)
{
    return open_known(path, flags, [&] { return TSPEC_REAL(__open_2)(path, flags); });
}

TSPEC_INTERPOSE int __open64_2(const char *path, int flags)
{
    return open_known(path, flags, [&] { return TSPEC_REAL(__open64_2)(path, flags); });
}

TSPEC_INTERPOSE int __openat_2(int directory, const char *path, int flags)
{
    return open_known(path, flags, [&] { return TSPEC_REAL(__openat_2)(directory, path, flags); });
}

TSPEC_INTERPOSE int __openat64_2(int directory, const char *path, int flags)
{
    return open_known(path, flags,
                      [&] { return TSPEC_REAL(__openat64_2)(directory, path, flags); });
}

TSPEC_INTERPOSE FILE *fopen64(const char *__restrict path, const char *__restrict mode)
{
    return stream_known(path, mode, [&] { return TSPEC_REAL(fopen64)(path, mode); });
}

#endif
