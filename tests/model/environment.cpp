#include "environment.h"

#include "layout.h"

namespace tspec::model {

DriverAnswer PlainEnvironment::driver_status(const std::string &, const Mac &)
{
    return driver;
}

std::optional<std::string> PlainEnvironment::proc_file(const std::string &)
{
    return proc;
}

FrameAnswer PlainEnvironment::frame_duration(const Bytes &)
{
    return frame;
}

int PlainEnvironment::send_error(uint16_t port)
{
    switch (port) {
    case hostapd_port:
        return hostapd_send_error;
    case mapd_port:
        return mapd_send_error;
    default:
        return dman_send_error;
    }
}

int PlainEnvironment::tool_error()
{
    return ping_error;
}

TrapReaction PlainEnvironment::trap_pipe()
{
    return trap;
}

bool PlainEnvironment::out_of_memory()
{
    return memory_exhausted;
}

Bytes PlainEnvironment::frame_answer_bytes(uint32_t microseconds)
{
    Bytes answer(frame_answer_at::size, 0);
    answer[frame_answer_at::marker] = '$';
    put_u32(answer, frame_answer_at::duration, microseconds);
    return answer;
}

} // namespace tspec::model
