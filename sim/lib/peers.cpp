#include "sim/lib/peers.h"

#include "sim/lib/access_point.h"
#include "sim/lib/child_process.h"
#include "sim/lib/control_link.h"
#include "sim/lib/messages.h"
#include "sim/lib/private_world.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace tspec::sim {

namespace {

constexpr const char *log_path = "/dev/log";
constexpr const char *trap_path = SNMP_TRAP_TSPEC_FIFO_FILE;

[[noreturn]] void fail(const char *what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

} // namespace

UdpPeer::UdpPeer(AccessPoint &access_point, Peer who, uint16_t port)
    : access_point_(access_point), who_(who), port_(port)
{
}

void UdpPeer::turn_on()
{
    if (!is_on()) {
        socket_ = Socket::udp(port_);
    }
}

void UdpPeer::turn_off()
{
    socket_.close();
}

void UdpPeer::send(ByteView datagram)
{
    if (is_on()) {
        access_point_.send(Door::udp, socket_, who_, datagram);
    } else {
        access_point_.send(Door::udp, Socket::udp(0), who_, datagram);
    }
}

namespace frame_duration {

FrameDurationPolicy normal(uint32_t microseconds)
{
    return late(microseconds, Duration(0));
}

FrameDurationPolicy none()
{
    return [](const tspec_frame_dur_req_t &) { return std::nullopt; };
}

FrameDurationPolicy empty()
{
    return [](const tspec_frame_dur_req_t &) { return FrameDurationAnswer{}; };
}

FrameDurationPolicy wrong_marker(uint32_t microseconds)
{
    return [=](const tspec_frame_dur_req_t &) {
        Bytes datagram = frame_duration_answer(microseconds);
        datagram[0] = 0x23;
        return FrameDurationAnswer{.datagram = datagram};
    };
}

FrameDurationPolicy short_answer(size_t bytes)
{
    return [=](const tspec_frame_dur_req_t &) {
        Bytes datagram = frame_duration_answer(400);
        datagram.resize(std::min(bytes, datagram.size()));
        return FrameDurationAnswer{.datagram = datagram};
    };
}

FrameDurationPolicy late(uint32_t microseconds, Duration delay)
{
    return [=](const tspec_frame_dur_req_t &) {
        return FrameDurationAnswer{.datagram = frame_duration_answer(microseconds), .delay = delay};
    };
}

} // namespace frame_duration

Hostapd::Hostapd(AccessPoint &access_point)
    : UdpPeer(access_point, Peer::hostapd, TSPEC_HOSTAPD_PORT), policy_(frame_duration::normal(400))
{
}

Mapd::Mapd(AccessPoint &access_point) : UdpPeer(access_point, Peer::mapd, TSPEC_MAPD_PORT) {}

void Mapd::answer_requests(std::optional<uint8_t> result)
{
    if (!result) {
        react({});
        return;
    }
    react([this, result = *result](const Event &event) {
        if (event.data.size() != sizeof(tspec_mapd_msg_t) || event.data[0] != TSPEC_PEER_MSG ||
            event.data[1] != TSPEC_ADDTS_REQ_CMD) {
            return;
        }
        send(MapdMessage::response_to(wire_of<tspec_mapd_msg_t>(event.data), result));
    });
}

Dman::Dman(AccessPoint &access_point) : UdpPeer(access_point, Peer::dman, TSPEC_DMAN_REPLY_PORT) {}

void Dman::send(ByteView datagram)
{
    access_point_.send(Door::dman, Socket::local(), Peer::dman, datagram);
}

Operator::Operator(AccessPoint &access_point) : access_point_(access_point) {}

void Operator::turn_on()
{
    if (!is_on()) {
        socket_ = Socket::abstract(TSPEC_CLI_REPLY_NAME);
    }
}

void Operator::turn_off()
{
    socket_.close();
}

void Operator::send(ByteView command)
{
    if (is_on()) {
        access_point_.send(Door::cli, socket_, Peer::cli, command);
    } else {
        access_point_.send(Door::cli, Socket::local(), Peer::cli, command);
    }
}

void SystemLog::turn_on()
{
    if (!on_ && PrivateWorld::current().isolated()) {
        unlink(log_path);
        socket_ = Socket::local_at(log_path);
    }
    on_ = true;
}

void SystemLog::turn_off()
{
    if (socket_.is_open()) {
        socket_.close();
        unlink(log_path);
    }
    on_ = false;
}

TrapPipe::TrapPipe(AccessPoint &access_point) : access_point_(access_point) {}

TrapPipe::~TrapPipe()
{
    if (ours_) {
        remove();
    }
}

void TrapPipe::create()
{
    remove();
    if (mkfifo(trap_path, 0666) < 0) {
        fail(trap_path);
    }
    ours_ = true;
}

void TrapPipe::put_directory()
{
    remove();
    if (mkdir(trap_path, 0777) < 0) {
        fail(trap_path);
    }
    ours_ = true;
}

void TrapPipe::remove()
{
    close_reader();
    ::remove(trap_path);
    ours_ = false;
}

void TrapPipe::open_reader()
{
    if (access(trap_path, F_OK) != 0) {
        create();
    }
    reader_ = Socket(open(trap_path, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!reader_.is_open()) {
        fail(trap_path);
    }
}

void TrapPipe::close_reader()
{
    reader_.close();
    full_ = false;
}

void TrapPipe::leave_after_next_open()
{
    leave_after_next_open_ = true;
    access_point_.apply(make_request(control::RequestType::trap_rendezvous));
}

void TrapPipe::fill()
{
    Socket writer(open(trap_path, O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    if (!writer.is_open()) {
        fail(trap_path);
    }
    const Bytes page(4096, '#');
    for (size_t size : {page.size(), size_t{1}}) {
        while (write(writer.fd(), page.data(), size) > 0) {
        }
    }
    full_ = true;
}

void TrapPipe::drain()
{
    std::string thrown_away;
    tspec::sim::read_available(reader_, thrown_away);
    full_ = false;
}

void TrapPipe::read_available()
{
    if (!full_) {
        tspec::sim::read_available(reader_, received_);
    }
}

} // namespace tspec::sim
