#include "surroundings.h"

#include "layout.h"

namespace tspec::fuzz {

const DriverReply &Surroundings::driver_reply(const Mac &sta) const
{
    const auto found = std::find(STATIONS.begin(), STATIONS.end(), sta);
    if (found != STATIONS.end()) {
        const auto &reply = driver[static_cast<size_t>(found - STATIONS.begin())];
        if (reply) {
            return *reply;
        }
    }
    return driver_for_others;
}

model::TrapReaction Surroundings::trap_reaction() const
{
    switch (trap) {
    case TrapPipe::absent:
        return {ENOENT, 0};
    case TrapPipe::no_reader:
        return {ENXIO, 0};
    case TrapPipe::reader:
        return {0, 0};
    case TrapPipe::full:
        return {0, EAGAIN};
    case TrapPipe::directory:
        break;
    }
    return {EISDIR, 0};
}

int Failures::next(FailingCall call)
{
    for (CallsFail &rule : rules_) {
        if (rule.call != call || rule.times == 0) {
            continue;
        }
        if (rule.after > 0) {
            rule.after--;
            continue;
        }
        rule.times--;
        hits_++;
        return rule.error;
    }
    return 0;
}

FailingCall send_to_port(uint16_t port)
{
    switch (port) {
    case model::hostapd_port:
        return FailingCall::send_to_hostapd;
    case model::mapd_port:
        return FailingCall::send_to_mapd;
    default:
        return FailingCall::send_to_dman;
    }
}

model::DriverAnswer ModelSurroundings::driver_status(const std::string &, const Mac &sta_mac)
{
    using Kind = model::DriverAnswer::Kind;
    if (const int error = failures_.next(FailingCall::socket); error != 0) {
        return {Kind::no_socket, "", error};
    }
    const DriverReply &reply = around_.driver_reply(sta_mac);
    return {reply.error != 0 ? Kind::ioctl_error : Kind::text, reply.text, reply.error};
}

std::optional<std::string> ModelSurroundings::proc_file(const std::string &path)
{
    for (size_t radio = 0; radio < around_.proc_files.size(); radio++) {
        const std::string name = "wlan" + std::to_string(radio);
        if (path == "/proc/net/ieee80211/" + name + "/iface/" + name) {
            return around_.proc_files[radio];
        }
    }
    return std::nullopt;
}

model::FrameAnswer ModelSurroundings::frame_duration(const Bytes &)
{
    using Kind = model::FrameAnswer::Kind;
    if (const int error = failures_.next(FailingCall::socket); error != 0) {
        return {Kind::no_socket, error, {}, 0};
    }
    if (const int error = failures_.next(FailingCall::bind); error != 0) {
        return {Kind::bind_error, error, {}, 0};
    }
    if (const int error = failures_.next(FailingCall::send_to_hostapd); error != 0) {
        return {Kind::send_error, error, {}, 0};
    }
    if (const int error = failures_.next(FailingCall::exchange_wait); error != 0) {
        return {Kind::wait_error, error, {}, 0};
    }
    if (around_.silent) {
        return {Kind::silence, 0, {}, 0};
    }
    if (const int error = failures_.next(FailingCall::exchange_receive); error != 0) {
        return {Kind::receive_error, error, {}, around_.frame_answer_late};
    }
    return {Kind::answer, 0, around_.frame_answer, around_.frame_answer_late};
}

int ModelSurroundings::tool_error()
{
    return around_.tool_listens ? 0 : ECONNREFUSED;
}

} // namespace tspec::fuzz
