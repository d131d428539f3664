#include "dman/report.h"

#include "core/control_block.h"
#include "core/ipc.h"

void tspec_dman_report_t::put_line(const char *key, int32_t value)
{
    writer_.put(key).put('=').put_decimal(value).put('\n');
}

void tspec_dman_report_t::put_line(const char *key, const char *value)
{
    writer_.put(key).put('=').put(value).put('\n');
}

int32_t tspec_dman_report_t::send(bool with_nul) const
{
    const auto length = static_cast<uint32_t>(writer_.length() + (with_nul ? 1 : 0));
    return send_msg_to_other_process(tspec_cb->tspec_sock, TSPEC_DMAN_REPLY_PORT, buffer_.data(),
                                     length);
}
