// The system log: reported always; where /dev/log belongs to the host, nothing
// else happens.
#include "sim/driver/channel.h"
#include "sim/driver/real.h"
#include "sim/driver/settings.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <syslog.h>
#include <unistd.h>

using namespace tspec::sim;
using namespace tspec::sim::driver;

namespace {

const char *log_ident;
int log_option;
int log_facility = LOG_USER;

void report_line(int priority, const char *format, va_list arguments)
{
    KeepErrno keep;
    char text[8192];
    int size = vsnprintf(text, sizeof text, format, arguments);
    size_t length = size < 0 ? 0 : static_cast<size_t>(size);
    length = length < sizeof text ? length : sizeof text - 1;
    control::Report &report = new_report(control::ReportType::system_log);
    report_name(report, log_ident ? log_ident : program_invocation_short_name);
    report.option = log_option;
    report.priority = priority & LOG_FACMASK ? priority : priority | log_facility;
    report.value = log_option & LOG_PID ? getpid() : 0;
    report_data(report, text, length);
    send_report(report);
}

void log_line(int priority, const char *format, va_list arguments)
{
    if (!channel_is_open()) {
        return TSPEC_REAL(vsyslog)(priority, format, arguments);
    }
    va_list again;
    va_copy(again, arguments);
    if (!settings().own_system_log) {
        TSPEC_REAL(vsyslog)(priority, format, arguments);
    }
    report_line(priority, format, again);
    va_end(again);
}

} // namespace

TSPEC_INTERPOSE void openlog(const char *ident, int option, int facility)
{
    log_ident = ident;
    log_option = option;
    log_facility = facility ? facility : log_facility;
    if (!channel_is_open() || !settings().own_system_log) {
        TSPEC_REAL(openlog)(ident, option, facility);
    }
}

TSPEC_INTERPOSE void closelog()
{
    log_ident = nullptr;
    log_option = 0;
    if (!channel_is_open() || !settings().own_system_log) {
        TSPEC_REAL(closelog)();
    }
}

TSPEC_INTERPOSE void vsyslog(int priority, const char *format, va_list arguments)
{
    log_line(priority, format, arguments);
}

TSPEC_INTERPOSE void syslog(int priority, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    log_line(priority, format, arguments);
    va_end(arguments);
}

// Their twins in a fortified build.
#ifdef __GLIBC__

TSPEC_INTERPOSE void __vsyslog_chk(int priority, int, const char *format, va_list arguments)
{
    log_line(priority, format, arguments);
}

TSPEC_INTERPOSE void __syslog_chk(int priority, int, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    log_line(priority, format, arguments);
    va_end(arguments);
}

#endif
