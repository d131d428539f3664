// The wireless driver for measurements, preloaded into the daemon and into the
// floor alike: every client is associated, and the proc file of every radio is
// the one named in TSPEC_BENCH_PROC_FILE. As little work as an answer takes, so
// that what is measured is the daemon.
//
// Under callgrind every operator's command ends a section of the counts. It
// needs no symbols of the daemon for that.
#define _GNU_SOURCE
#include "tspec/message.h"

#include <fcntl.h>
#include <net/if.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#define END_SECTION() CALLGRIND_DUMP_STATS
#else
#define END_SECTION() (void)0
#endif

static const char proc_prefix[] = "/proc/net/ieee80211/";
static const char associated[] = "client_status=1\n";
static const char *proc_file = "/dev/null";

__attribute__((constructor)) static void set_up(void)
{
    const char *path = getenv("TSPEC_BENCH_PROC_FILE");
    if (path) {
        proc_file = path;
    }
}

static void *next_argument(va_list arguments)
{
    return va_arg(arguments, void *);
}

// By hand: a call into the C library would count as the daemon's.
static int is_proc_file(const char *path)
{
    for (size_t i = 0; i < sizeof proc_prefix - 1; i++) {
        if (path[i] != proc_prefix[i]) {
            return 0;
        }
    }
    return 1;
}

int ioctl(int fd, unsigned long code, ...)
{
    va_list arguments;
    va_start(arguments, code);
    void *argument = next_argument(arguments);
    va_end(arguments);
    if (code != TSPEC_DRIVER_IOCTL) {
        return (int)syscall(SYS_ioctl, fd, code, argument);
    }
    tspec_driver_req_t query;
    memcpy(&query, ((const struct ifreq *)argument)->ifr_data, sizeof query);
    memcpy(query.buffer, associated, sizeof associated);
    return 0;
}

int open(const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    mode_t mode = flags & O_CREAT ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    if (is_proc_file(path)) {
        path = proc_file;
    }
    return (int)syscall(SYS_openat, AT_FDCWD, path, flags, mode);
}

int open64(const char *path, int flags, ...) __attribute__((alias("open")));

// Only the operator's socket is read with recv.
ssize_t recv(int fd, void *buffer, size_t size, int flags)
{
    ssize_t got = syscall(SYS_recvfrom, fd, buffer, size, flags, NULL, NULL);
    END_SECTION();
    return got;
}
