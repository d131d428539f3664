// What the linker puts in the place of the daemon's platform calls: the fake
// while the daemon runs, else the call itself.
#include "core/control_block.h"
#include "platform.h"

#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

using tspec::fuzz::Platform;

extern "C" {

int __real_socket(int domain, int type, int protocol);
int __real_setsockopt(int fd, int level, int option, const void *value, socklen_t size);
int __real_bind(int fd, const sockaddr *address, socklen_t size);
int __real_close(int fd);
int __real_select(int count, fd_set *readable, fd_set *writable, fd_set *except, timeval *timeout);
ssize_t __real_read(int fd, void *buffer, size_t size);
ssize_t __real_recv(int fd, void *buffer, size_t size, int flags);
ssize_t __real_recvfrom(int fd, void *buffer, size_t size, int flags, sockaddr *address,
                        socklen_t *address_size);
ssize_t __real_sendto(int fd, const void *data, size_t size, int flags, const sockaddr *address,
                      socklen_t address_size);
int __real_ioctl(int fd, unsigned long request, void *argument);
int __real_open(const char *path, int flags, mode_t mode);
ssize_t __real_write(int fd, const void *data, size_t size);
FILE *__real_fopen(const char *path, const char *mode);
time_t __real_time(time_t *place);
void __real_perror(const char *text);
int __real_raise(int signal_number);
sighandler_t __real_signal(int signal_number, sighandler_t handler);
int __real_sigprocmask(int how, const sigset_t *set, sigset_t *old_set);
void *__real_calloc(size_t count, size_t size);

int __wrap_socket(int domain, int type, int protocol)
{
    Platform *fake = Platform::current();
    return fake != nullptr ? fake->socket(domain, type, protocol)
                           : __real_socket(domain, type, protocol);
}

int __wrap_setsockopt(int fd, int level, int option, const void *value, socklen_t size)
{
    Platform *fake = Platform::current();
    if (fake == nullptr) {
        return __real_setsockopt(fd, level, option, value, size);
    }
    fake->check_setsockopt(fd, level, option, value, size);
    return 0;
}

int __wrap_bind(int fd, const sockaddr *address, socklen_t size)
{
    Platform *fake = Platform::current();
    return fake != nullptr ? fake->bind(fd, address, size) : __real_bind(fd, address, size);
}

int __wrap_close(int fd)
{
    Platform *fake = Platform::current();
    return fake != nullptr ? fake->close(fd) : __real_close(fd);
}

int __wrap_select(int count, fd_set *readable, fd_set *writable, fd_set *except, timeval *timeout)
{
    Platform *fake = Platform::current();
    if (fake == nullptr) {
        return __real_select(count, readable, writable, except, timeout);
    }
    if (writable != nullptr || except != nullptr) {
        fake->reject("select for more than reading");
    }
    return fake->select(count, readable, timeout);
}

ssize_t __wrap_read(int fd, void *buffer, size_t size)
{
    Platform *fake = Platform::current();
    return fake != nullptr ? fake->read(fd, buffer, size) : __real_read(fd, buffer, size);
}

ssize_t __wrap___read_chk(int fd, void *buffer, size_t size, size_t room)
{
    if (size > room) {
        std::abort();
    }
    return __wrap_read(fd, buffer, size);
}

ssize_t __wrap_recv(int fd, void *buffer, size_t size, int flags)
{
    Platform *fake = Platform::current();
    return fake != nullptr ? fake->receive(fd, buffer, size, flags)
                           : __real_recv(fd, buffer, size, flags);
}

ssize_t __wrap___recv_chk(int fd, void *buffer, size_t size, size_t room, int flags)
{
    if (size > room) {
        std::abort();
    }
    return __wrap_recv(fd, buffer, size, flags);
}

ssize_t __wrap_recvfrom(int fd, void *buffer, size_t size, int flags, sockaddr *address,
                        socklen_t *address_size)
{
    Platform *fake = Platform::current();
    return fake != nullptr ? fake->receive(fd, buffer, size, flags)
                           : __real_recvfrom(fd, buffer, size, flags, address, address_size);
}

ssize_t __wrap___recvfrom_chk(int fd, void *buffer, size_t size, size_t room, int flags,
                              sockaddr *address, socklen_t *address_size)
{
    if (size > room) {
        std::abort();
    }
    return __wrap_recvfrom(fd, buffer, size, flags, address, address_size);
}

ssize_t __wrap_sendto(int fd, const void *data, size_t size, int flags, const sockaddr *address,
                      socklen_t address_size)
{
    Platform *fake = Platform::current();
    return fake != nullptr ? fake->sendto(fd, data, size, flags, address, address_size)
                           : __real_sendto(fd, data, size, flags, address, address_size);
}

int __wrap_ioctl(int fd, unsigned long request, ...)
{
    va_list arguments;
    va_start(arguments, request);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    Platform *fake = Platform::current();
    return fake != nullptr ? fake->ioctl(fd, request, argument)
                           : __real_ioctl(fd, request, argument);
}

int __wrap_open(const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const auto mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : mode_t{0};
    va_end(arguments);
    Platform *fake = Platform::current();
    return fake != nullptr ? fake->open(path, flags) : __real_open(path, flags, mode);
}

int __wrap___open_2(const char *path, int flags)
{
    return __wrap_open(path, flags);
}

ssize_t __wrap_write(int fd, const void *data, size_t size)
{
    Platform *fake = Platform::current();
    return fake != nullptr ? fake->write(fd, data, size) : __real_write(fd, data, size);
}

FILE *__wrap_fopen(const char *path, const char *mode)
{
    Platform *fake = Platform::current();
    return fake != nullptr ? fake->open_console() : __real_fopen(path, mode);
}

time_t __wrap_time(time_t *place)
{
    Platform *fake = Platform::current();
    return fake != nullptr ? static_cast<time_t>(fake->time()) : __real_time(place);
}

void __wrap_openlog(const char *ident, int option, int facility)
{
    if (Platform *fake = Platform::current(); fake != nullptr) {
        fake->emit(tspec::model::LogOpened{ident, option, facility});
    }
}

static void log_line(int priority, const char *format, va_list arguments)
{
    char line[512];
    vsnprintf(line, sizeof(line), format, arguments);
    if (Platform *fake = Platform::current(); fake != nullptr) {
        fake->emit(tspec::model::LogLine{"tspec", priority, line});
    }
}

void __wrap_syslog(int priority, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    log_line(priority, format, arguments);
    va_end(arguments);
}

void __wrap___syslog_chk(int priority, int, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    log_line(priority, format, arguments);
    va_end(arguments);
}

void __wrap_closelog()
{
    if (Platform *fake = Platform::current(); fake != nullptr) {
        fake->emit(tspec::model::LogClosed{});
    }
}

void __wrap_perror(const char *text)
{
    if (Platform *fake = Platform::current(); fake != nullptr) {
        fake->perror(text);
    } else {
        __real_perror(text);
    }
}

// The one end that the daemon makes for itself.

int __wrap_raise(int signal_number)
{
    if (Platform *fake = Platform::current(); fake != nullptr) {
        fake->end_by_signal(signal_number);
    }
    return __real_raise(signal_number);
}

sighandler_t __wrap_signal(int signal_number, sighandler_t handler)
{
    return Platform::current() != nullptr ? SIG_DFL : __real_signal(signal_number, handler);
}

int __wrap_sigprocmask(int how, const sigset_t *set, sigset_t *old_set)
{
    return Platform::current() != nullptr ? 0 : __real_sigprocmask(how, set, old_set);
}

void *__wrap_calloc(size_t count, size_t size)
{
    Platform *fake = Platform::current();
    if (fake != nullptr && size == sizeof(tspec_rec_t) && fake->out_of_memory()) {
        return nullptr;
    }
    return __real_calloc(count, size);
}

} // extern "C"
