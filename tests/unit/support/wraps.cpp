// What the linker puts in the place of the platform calls: the fake while there
// is one, else the call itself. Descriptors that the fake does not know are real
// ones, of the test framework.
#include "support/console.h"
#include "support/platform.h"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

using tspec::test::Call;
using tspec::test::Console;
using tspec::test::Platform;

extern "C" {

int __real_socket(int domain, int type, int protocol);
int __real_setsockopt(int fd, int level, int option, const void *value, socklen_t size);
int __real_bind(int fd, const sockaddr *address, socklen_t size);
int __real_close(int fd);
int __real_select(int nfds, fd_set *readable, fd_set *writable, fd_set *except, timeval *timeout);
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
int __real_raise(int signal_number);
void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void __real_free(void *block);
void __real_perror(const char *text);

// ---- sockets

static Platform *fake_sockets()
{
    Platform *platform = Platform::active();
    return platform != nullptr && !platform->pass_through ? platform : nullptr;
}

int __wrap_socket(int domain, int type, int protocol)
{
    Platform *fake = fake_sockets();
    return fake != nullptr ? fake->socket(domain, type, protocol)
                           : __real_socket(domain, type, protocol);
}

int __wrap_setsockopt(int fd, int level, int option, const void *value, socklen_t size)
{
    Platform *fake = fake_sockets();
    return fake != nullptr ? fake->setsockopt(fd, level, option, value, size)
                           : __real_setsockopt(fd, level, option, value, size);
}

int __wrap_bind(int fd, const sockaddr *address, socklen_t size)
{
    Platform *fake = fake_sockets();
    return fake != nullptr ? fake->bind(fd, address, size) : __real_bind(fd, address, size);
}

int __wrap_close(int fd)
{
    Platform *platform = Platform::active();
    if (platform != nullptr && (platform->owns(fd) || Platform::is_reserved(fd))) {
        return platform->close(fd);
    }
    return __real_close(fd);
}

int __wrap_select(int nfds, fd_set *readable, fd_set *writable, fd_set *except, timeval *timeout)
{
    Platform *platform = Platform::active();
    if (platform == nullptr) {
        return __real_select(nfds, readable, writable, except, timeout);
    }
    platform->on_main_loop_select(readable);
    return platform->pass_through ? __real_select(nfds, readable, writable, except, timeout)
                                  : platform->select(nfds, readable, writable, except, timeout);
}

ssize_t __wrap_read(int fd, void *buffer, size_t size)
{
    Platform *platform = Platform::active();
    if (platform != nullptr && (platform->owns(fd) || Platform::is_reserved(fd))) {
        return platform->receive(Call::read, fd, buffer, size, 0, nullptr, nullptr);
    }
    return __real_read(fd, buffer, size);
}

ssize_t __wrap___read_chk(int fd, void *buffer, size_t size, size_t buffer_size)
{
    if (size > buffer_size) {
        std::abort();
    }
    return __wrap_read(fd, buffer, size);
}

ssize_t __wrap_recv(int fd, void *buffer, size_t size, int flags)
{
    Platform *fake = fake_sockets();
    return fake != nullptr ? fake->receive(Call::recv, fd, buffer, size, flags, nullptr, nullptr)
                           : __real_recv(fd, buffer, size, flags);
}

ssize_t __wrap___recv_chk(int fd, void *buffer, size_t size, size_t buffer_size, int flags)
{
    if (size > buffer_size) {
        std::abort();
    }
    return __wrap_recv(fd, buffer, size, flags);
}

ssize_t __wrap_recvfrom(int fd, void *buffer, size_t size, int flags, sockaddr *address,
                        socklen_t *address_size)
{
    Platform *fake = fake_sockets();
    return fake != nullptr
               ? fake->receive(Call::recvfrom, fd, buffer, size, flags, address, address_size)
               : __real_recvfrom(fd, buffer, size, flags, address, address_size);
}

ssize_t __wrap___recvfrom_chk(int fd, void *buffer, size_t size, size_t buffer_size, int flags,
                              sockaddr *address, socklen_t *address_size)
{
    if (size > buffer_size) {
        std::abort();
    }
    return __wrap_recvfrom(fd, buffer, size, flags, address, address_size);
}

ssize_t __wrap_sendto(int fd, const void *data, size_t size, int flags, const sockaddr *address,
                      socklen_t address_size)
{
    Platform *fake = fake_sockets();
    return fake != nullptr ? fake->sendto(fd, data, size, flags, address, address_size)
                           : __real_sendto(fd, data, size, flags, address, address_size);
}

// ---- driver, files

int __wrap_ioctl(int fd, unsigned long request, ...)
{
    va_list arguments;
    va_start(arguments, request);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    Platform *platform = Platform::active();
    if (platform != nullptr && (platform->owns(fd) || request == 0x89F0)) {
        return platform->ioctl(fd, request, argument);
    }
    return __real_ioctl(fd, request, argument);
}

// The test framework keeps captured output in a file of its own.
static Platform *fake_files(const char *path)
{
    return std::strstr(path, "gtest_captured") == nullptr ? Platform::active() : nullptr;
}

static int open_either(const char *path, int flags, mode_t mode)
{
    Platform *platform = fake_files(path);
    return platform != nullptr ? platform->open(path, flags) : __real_open(path, flags, mode);
}

int __wrap_open(const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const auto mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : mode_t{0};
    va_end(arguments);
    return open_either(path, flags, mode);
}

int __wrap_open64(const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const auto mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : mode_t{0};
    va_end(arguments);
    return open_either(path, flags, mode);
}

int __wrap___open_2(const char *path, int flags)
{
    return open_either(path, flags, 0);
}

int __wrap___open64_2(const char *path, int flags)
{
    return open_either(path, flags, 0);
}

ssize_t __wrap_write(int fd, const void *data, size_t size)
{
    Platform *platform = Platform::active();
    if (platform != nullptr && (platform->owns(fd) || Platform::is_reserved(fd))) {
        return platform->write(fd, data, size);
    }
    return __real_write(fd, data, size);
}

FILE *__wrap_fopen(const char *path, const char *mode)
{
    Platform *platform = fake_files(path);
    if (platform != nullptr) {
        return platform->fopen(path, mode);
    }
    return std::strcmp(path, "/dev/console") == 0 ? Console::instance().open(mode)
                                                  : __real_fopen(path, mode);
}

FILE *__wrap_fopen64(const char *path, const char *mode)
{
    return __wrap_fopen(path, mode);
}

// ---- clock, log, signals

time_t __wrap_time(time_t *place)
{
    Platform *platform = Platform::active();
    if (platform == nullptr) {
        return __real_time(place);
    }
    if (place != nullptr) {
        *place = platform->now;
    }
    return platform->now;
}

void __wrap_openlog(const char *ident, int option, int facility)
{
    if (Platform *platform = Platform::active(); platform != nullptr) {
        platform->journal.push_back("openlog(" + std::string(ident) + ", " +
                                    std::to_string(option) + ", " + std::to_string(facility) + ")");
    }
}

static void log_text(int priority, const char *format, va_list arguments)
{
    Platform *platform = Platform::active();
    if (platform == nullptr) {
        return;
    }
    char text[4096];
    std::vsnprintf(text, sizeof(text), format, arguments);
    platform->syslog_texts.emplace_back(text);
    platform->journal.push_back("syslog(" + std::to_string(priority) + ", " + text + ")");
    if (platform->on_syslog) {
        platform->on_syslog();
    }
}

__attribute__((format(printf, 2, 3))) void __wrap_syslog(int priority, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    log_text(priority, format, arguments);
    va_end(arguments);
}

__attribute__((format(printf, 3, 4))) void __wrap___syslog_chk(int priority, int,
                                                               const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    log_text(priority, format, arguments);
    va_end(arguments);
}

void __wrap_closelog()
{
    if (Platform *platform = Platform::active(); platform != nullptr) {
        platform->journal.emplace_back("closelog()");
    }
}

void __wrap_perror(const char *text)
{
    if (Platform *platform = Platform::active(); platform != nullptr) {
        platform->perror(text);
    } else {
        __real_perror(text);
    }
}

int __wrap_raise(int signal_number)
{
    if (Platform *platform = Platform::active(); platform != nullptr) {
        platform->raised.push_back(std::to_string(signal_number));
    }
    return __real_raise(signal_number);
}

// ---- memory

void *__wrap_malloc(size_t size)
{
    Platform *platform = Platform::active();
    return platform != nullptr ? platform->allocate(size, [=] { return __real_malloc(size); })
                               : __real_malloc(size);
}

void *__wrap_calloc(size_t count, size_t size)
{
    Platform *platform = Platform::active();
    return platform != nullptr
               ? platform->allocate(count * size, [=] { return __real_calloc(count, size); })
               : __real_calloc(count, size);
}

void __wrap_free(void *block)
{
    if (Platform *platform = Platform::active(); platform != nullptr) {
        platform->forget_block(block);
    }
    __real_free(block);
}

} // extern "C"

namespace tspec::test::real {

int socket(int domain, int type, int protocol)
{
    return __real_socket(domain, type, protocol);
}

int bind(int fd, const sockaddr *address, socklen_t size)
{
    return __real_bind(fd, address, size);
}

int close(int fd)
{
    return __real_close(fd);
}

int select(int nfds, fd_set *read_set, timeval *timeout)
{
    return __real_select(nfds, read_set, nullptr, nullptr, timeout);
}

ssize_t recvfrom(int fd, void *buffer, size_t size, int flags, sockaddr *address,
                 socklen_t *address_size)
{
    return __real_recvfrom(fd, buffer, size, flags, address, address_size);
}

ssize_t sendto(int fd, const void *data, size_t size, int flags, const sockaddr *address,
               socklen_t address_size)
{
    return __real_sendto(fd, data, size, flags, address, address_size);
}

int ioctl(int fd, unsigned long request, void *argument)
{
    return __real_ioctl(fd, request, argument);
}

time_t time(time_t *place)
{
    return __real_time(place);
}

} // namespace tspec::test::real
