// The leveled trace to the console, and the console writer below it.
//
// A console line is "Tspec(1,1): ", the text, and "\n\r". Trace texts name
// their function first and mostly end in "\r\n" themselves.
#pragma once

#include "core/control_block.h"

#include <cstdint>

// Bits of the trace mask. A trace prints when all bits of its level are set, so
// level 0 always does.
constexpr uint32_t TSPEC_TRACE_ALWAYS = 0; // answers to the operator
constexpr uint32_t TSPEC_TRACE_INFO = 1;
constexpr uint32_t TSPEC_TRACE_ERROR = 2;
constexpr uint32_t TSPEC_TRACE_HOSTAPD = 4;
constexpr uint32_t TSPEC_TRACE_MAPD = 8;
constexpr uint32_t TSPEC_TRACE_DMAN = 16;
constexpr uint32_t TSPEC_TRACE_FUNC = 64; // entry and exit of functions

// Writes one line to /dev/console, opened at the first call and kept; to
// standard error where it cannot be opened. The line is flushed, and errno is
// left as it was. Returns the result of the last write.
__attribute__((cold, format(printf, 3, 4))) int32_t
tspec_console_printf(int32_t first, int32_t second, const char *fmt, ...);

// Prints the text when the mask has the level; texts of 20480 bytes and more
// are cut. Returns the console writer's result, or level when it did not print.
__attribute__((cold, format(printf, 2, 3))) int32_t
tspec_map_print_debug_trace(uint32_t level, const char *fmt, ...);

inline bool tspec_trace_enabled(uint32_t level)
{
    return (tspec_cb->trace_mask & level) == level;
}

// A trace, whose arguments are only evaluated when it prints, so that a masked one
// costs one test.
#define TSPEC_TRACE_PLAIN(level, fmt, ...)                                                         \
    do {                                                                                           \
        if (tspec_trace_enabled(level)) {                                                          \
            tspec_map_print_debug_trace(level, fmt __VA_OPT__(, ) __VA_ARGS__);                    \
        }                                                                                          \
    } while (false)

// The same with the name of a function in front: the text is what is printed after
// the name and a colon. Each file says once in whose name it traces, by defining
// TSPEC_TRACE_NAME as a text, or as __func__ where each function speaks for itself.
#define TSPEC_TRACE(level, text, ...)                                                              \
    TSPEC_TRACE_PLAIN(level, "%s:" text, TSPEC_TRACE_NAME __VA_OPT__(, ) __VA_ARGS__)
