#include "dman/report.h"

#include "core/control_block.h"
#include "core/ipc.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

void tspec_dman_report_put(tspec_dman_report_t &report, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    vsnprintf(report.text + report.length, sizeof(report.text) - report.length, fmt, args);
    va_end(args);
    report.length += strlen(report.text + report.length);
}

int32_t tspec_dman_report_send(const tspec_dman_report_t &report, bool with_nul)
{
    const auto length = static_cast<uint32_t>(report.length + (with_nul ? 1 : 0));
    return send_msg_to_other_process(tspec_cb->tspec_sock, TSPEC_DMAN_REPLY_PORT, report.text,
                                     length);
}
