#include "core/trace.h"

#include "core/errno_keeper.h"

#include <cstdarg>
#include <cstdio>

static constexpr size_t TRACE_TEXT_SIZE = 20480;

// Decided once: a console that appears later would split the trace in two.
static FILE *console()
{
    static FILE *stream;
    if (stream == nullptr) {
        stream = fopen("/dev/console", "a");
    }
    if (stream == nullptr) {
        stream = stderr;
    }
    return stream;
}

int32_t tspec_console_printf(int32_t first, int32_t second, const char *fmt, ...)
{
    const tspec_errno_keeper_t keep_errno;
    FILE *const stream = console();
    fprintf(stream, "Tspec(%i,%i): ", first, second);
    va_list args;
    va_start(args, fmt);
    vfprintf(stream, fmt, args);
    va_end(args);
    const int32_t written = fprintf(stream, "\n\r");
    fflush(stream);
    return written;
}

int32_t tspec_map_print_debug_trace(uint32_t level, const char *fmt, ...)
{
    if (!tspec_trace_enabled(level)) {
        return static_cast<int32_t>(level);
    }
    char text[TRACE_TEXT_SIZE];
    va_list args;
    va_start(args, fmt);
    vsnprintf(text, sizeof(text), fmt, args);
    va_end(args);
    return tspec_console_printf(1, 1, "%s", text);
}
