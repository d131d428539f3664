// A text report to dman: lines of key=value in one datagram to its reply port.
#pragma once

#include <cstddef>
#include <cstdint>

struct tspec_dman_report_t {
    char text[1024]; // the longest report has 961 bytes
    size_t length;   // without the NUL
};

// Appends a formatted text; what does not fit is dropped.
__attribute__((format(printf, 2, 3))) void tspec_dman_report_put(tspec_dman_report_t &report,
                                                                 const char *fmt, ...);

// Sends the text, and its NUL if the reader is to see one. Returns 0, or -1
// when it could not be sent.
int32_t tspec_dman_report_send(const tspec_dman_report_t &report, bool with_nul);
