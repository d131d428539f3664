#include "sim/lib/control_link.h"

#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <stdexcept>
#include <sys/socket.h>
#include <system_error>

namespace tspec::sim {

control::Request make_request(control::RequestType type)
{
    control::Request request{};
    request.type = type;
    return request;
}

void put_name(control::Request &request, std::string_view name)
{
    if (name.size() >= sizeof request.name) {
        throw std::invalid_argument(fmt::format("interface name too long: {}", name));
    }
    name.copy(request.name, name.size());
}

void put_data(control::Request &request, std::string_view data)
{
    if (data.size() > sizeof request.data) {
        throw std::invalid_argument(
            fmt::format("text of {} bytes, at most {} fit", data.size(), sizeof request.data));
    }
    std::memcpy(request.data, data.data(), data.size());
    request.length = static_cast<uint32_t>(data.size());
}

control::Request station_request(const Mac &station, const std::string &interface,
                                 const StationAnswer &answer)
{
    control::Request request = make_request(control::RequestType::station);
    station.copy_to(request.mac);
    put_name(request, interface);
    put_data(request, answer.text);
    request.error = answer.error;
    return request;
}

control::Request fault_request(const Fault &fault)
{
    control::Request request = make_request(control::RequestType::fault);
    control::FaultRule &rule = request.fault;
    rule.call = static_cast<control::FaultCall>(fault.call);
    rule.error = fault.error;
    rule.result = fault.result;
    rule.after = fault.after;
    rule.times = fault.times;
    rule.port = fault.port ? static_cast<int>(*fault.port) : -1;
    rule.family = fault.family.value_or(-1);
    fault.path.copy(rule.path, sizeof rule.path - 1);
    return request;
}

ControlLink::ControlLink() : report_(std::make_unique<control::Report>())
{
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair) < 0) {
        throw std::system_error(errno, std::generic_category(), "control channel");
    }
    near_ = Socket(pair[0]);
    far_ = Socket(pair[1]);
}

bool ControlLink::send(control::Request &request)
{
    request.id = ++last_id_;
    return ::send(near_.fd(), &request, control::size_of(request), MSG_NOSIGNAL) >= 0;
}

ControlLink::Result ControlLink::receive()
{
    for (;;) {
        ssize_t size = recv(near_.fd(), report_.get(), sizeof *report_, MSG_DONTWAIT);
        if (size > 0) {
            return Result::report;
        }
        if (size == 0) {
            return Result::closed;
        }
        // A daemon that ended with requests unread resets the channel; its last
        // reports are still there behind that.
        if (errno != EINTR && errno != ECONNRESET) {
            return Result::nothing;
        }
    }
}

} // namespace tspec::sim
