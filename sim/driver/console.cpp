// The console device and standard error: streams whose writes are reported in
// order with everything else.
#include "sim/driver/console.h"

#include "sim/driver/channel.h"
#include "sim/driver/faults.h"
#include "sim/driver/real.h"
#include "sim/driver/settings.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace tspec::sim::driver {

namespace {

void report_bytes(control::ReportType type, const char *data, size_t size)
{
    while (size > 0) {
        size_t part = size < control::max_data ? size : control::max_data;
        control::Report &report = new_report(type);
        report_data(report, data, part);
        send_report(report);
        data += part;
        size -= part;
    }
}

int descriptor_of(void *cookie)
{
    return static_cast<int>(reinterpret_cast<intptr_t>(cookie));
}

ssize_t write_console(void *cookie, const char *data, size_t size)
{
    KeepErrno keep;
    if (settings().kernel_calls) {
        ssize_t written = TSPEC_REAL(write)(descriptor_of(cookie), data, size);
        (void)written;
    }
    report_bytes(control::ReportType::console, data, size);
    return static_cast<ssize_t>(size);
}

// The stream of a device occupies a descriptor; so does ours.
int close_console(void *cookie)
{
    return TSPEC_REAL(close)(descriptor_of(cookie));
}

void write_all(int fd, const char *data, size_t size)
{
    while (size > 0) {
        ssize_t written = TSPEC_REAL(write)(fd, data, size);
        if (written <= 0) {
            return;
        }
        data += written;
        size -= static_cast<size_t>(written);
    }
}

ssize_t write_standard_error(void *, const char *data, size_t size)
{
    KeepErrno keep;
    write_all(STDERR_FILENO, data, size);
    report_bytes(control::ReportType::standard_error, data, size);
    return static_cast<ssize_t>(size);
}

// Some C libraries let a program assign to stderr, others keep the pointer in
// memory that is read-only once they are loaded.
void replace_standard_error(FILE *stream)
{
    const auto place = reinterpret_cast<uintptr_t>(&stderr);
    const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    void *start = reinterpret_cast<void *>(place & ~(page - 1));
    if (mprotect(start, page, PROT_READ | PROT_WRITE) == 0) {
        memcpy(reinterpret_cast<void *>(place), &stream, sizeof stream);
    }
}

bool console_fails(const char *path)
{
    if (settings().console_error != 0) {
        errno = settings().console_error;
        return true;
    }
    return fault_fails({.call = control::FaultCall::open, .path = path});
}

} // namespace

bool is_console(const char *path)
{
    return strcmp(path, "/dev/console") == 0;
}

FILE *console_stream(const char *path, const char *mode)
{
    if (console_fails(path)) {
        return nullptr;
    }
    int fd = TSPEC_REAL(open)("/dev/null", O_WRONLY | O_APPEND);
    cookie_io_functions_t functions{};
    functions.write = write_console;
    functions.close = close_console;
    return fopencookie(reinterpret_cast<void *>(static_cast<intptr_t>(fd)), mode, functions);
}

int console_descriptor(const char *path, int flags)
{
    if (console_fails(path)) {
        return -1;
    }
    char stand_in[64];
    const char *number = getenv(control::console_variable);
    snprintf(stand_in, sizeof stand_in, "/proc/self/fd/%s", number ? number : "1");
    return TSPEC_REAL(open)(stand_in, flags & ~O_CREAT);
}

void console_setup()
{
    cookie_io_functions_t functions{};
    functions.write = write_standard_error;
    FILE *stream = fopencookie(nullptr, "a", functions);
    if (!stream) {
        return;
    }
    setvbuf(stream, nullptr, _IONBF, 0);
    replace_standard_error(stream);
}

} // namespace tspec::sim::driver

// In one piece, so that it is reported in one.
TSPEC_INTERPOSE void perror(const char *text)
{
    using namespace tspec::sim::driver;
    if (!channel_is_open()) {
        return TSPEC_REAL(perror)(text);
    }
    int error = errno;
    char line[1024];
    bool has_text = text && *text;
    int size = snprintf(line, sizeof line, "%s%s%s\n", has_text ? text : "", has_text ? ": " : "",
                        strerror(error));
    size_t length =
        static_cast<size_t>(size) < sizeof line ? static_cast<size_t>(size) : sizeof line - 1;
    write_standard_error(nullptr, line, length);
    errno = error;
}
