#include "bench/load/peers.h"

#include "bench/load/process.h"
#include "sim/lib/messages.h"
#include "tspec/message.h"

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>

namespace tspec::bench {

namespace {

using namespace std::chrono_literals;

constexpr auto looking = 300us; // then the processor is given away between looks
constexpr auto patience = 10s;
constexpr uint32_t frame_duration = 32; // microseconds: 511 voice streams fit

sockaddr_in loopback(uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

void send_to_port(const sim::Socket &from, uint16_t port, ByteView bytes)
{
    const sockaddr_in to = loopback(port);
    if (sendto(from.fd(), bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr *>(&to),
               sizeof to) < 0) {
        throw std::system_error(errno, std::generic_category(), "sendto");
    }
}

// Offset 1 is the abstract namespace.
bool connect_local(const sim::Socket &socket, const std::string &name, size_t offset)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + offset, name.data(), name.size());
    return connect(socket.fd(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
}

} // namespace

Peers::Peers()
    : hostapd_(sim::Socket::udp(TSPEC_HOSTAPD_PORT)), mapd_(sim::Socket::udp(TSPEC_MAPD_PORT)),
      dman_(sim::Socket::local()), dman_reply_(sim::Socket::udp(TSPEC_DMAN_REPLY_PORT)),
      operator_(sim::Socket::abstract(TSPEC_CLI_REPLY_NAME))
{
}

void Peers::from_hostapd(ByteView message) const
{
    send_to_port(hostapd_, TSPEC_UDP_PORT, message);
}

void Peers::from_mapd(ByteView message) const
{
    send_to_port(mapd_, TSPEC_UDP_PORT, message);
}

void Peers::from_dman(ByteView message)
{
    if (!dman_connected_ && !connect_local(dman_, TSPEC_DMAN_SOCK_PATH, 0)) {
        throw std::system_error(errno, std::generic_category(), TSPEC_DMAN_SOCK_PATH);
    }
    dman_connected_ = true;
    // Blocks while the kernel's short queue of a local socket is full.
    if (send(dman_.fd(), message.data(), message.size(), 0) < 0) {
        throw std::system_error(errno, std::generic_category(), "send to the dman socket");
    }
}

bool Peers::try_ping()
{
    if (!operator_connected_ && !connect_local(operator_, TSPEC_CLI_SOCK_NAME, 1)) {
        return false;
    }
    operator_connected_ = true;
    ping();
    return true;
}

void Peers::ping_of_length(size_t length)
{
    static constexpr uint8_t command[TSPEC_CLI_BUF_SIZE] = {TSPEC_CLI_PING_CMD};
    if (::send(operator_.fd(), command, length, 0) < 0) {
        throw std::system_error(errno, std::generic_category(), "send to the operator's socket");
    }
    await("PONG", [this] { return !receive(operator_).empty(); });
    pings_++;
}

void Peers::ping()
{
    ping_of_length(TSPEC_CLI_BUF_SIZE);
}

ByteView Peers::receive(const sim::Socket &socket)
{
    const ssize_t size = recv(socket.fd(), buffer_.data(), buffer_.size(), MSG_DONTWAIT);
    return ByteView(buffer_).first(size > 0 ? static_cast<size_t>(size) : 0);
}

// Looks until ready() says so.
template <typename Ready>
void Peers::await(const char *what, Ready ready)
{
    if (ready()) {
        return;
    }
    const auto start = Clock::now();
    while (!ready()) {
        const auto waited = Clock::now() - start;
        if (waited > patience) {
            throw std::runtime_error(std::string("no ") + what + " came");
        }
        if (waited > looking) {
            pollfd all[] = {{hostapd_.fd(), POLLIN, 0},
                            {mapd_.fd(), POLLIN, 0},
                            {dman_reply_.fd(), POLLIN, 0},
                            {operator_.fd(), POLLIN, 0}};
            poll(all, std::size(all), 1);
        }
    }
}

// True for an ADDTS response.
bool Peers::take_hostapd()
{
    const ByteView datagram = receive(hostapd_);
    if (datagram.empty()) {
        return false;
    }
    if (datagram.size() == sizeof(tspec_hostapd_msg_t)) {
        return true;
    }
    static const Bytes answer = sim::frame_duration_answer(frame_duration);
    send_to_port(hostapd_, TSPEC_FRAME_DUR_REPLY_PORT, answer);
    return false;
}

// Admits what is asked for; status messages need no answer.
void Peers::take_mapd()
{
    const ByteView datagram = receive(mapd_);
    if (datagram.size() != sizeof(tspec_mapd_msg_t) || datagram[1] != TSPEC_ADDTS_REQ_CMD) {
        return;
    }
    const auto request = sim::wire_of<tspec_mapd_msg_t>(datagram);
    from_mapd(sim::MapdMessage::response_to(request, TSPEC_RESULT_ACCEPTED));
}

void Peers::await_addts_response(bool managed)
{
    await("ADDTS response", [this, managed] {
        if (managed) {
            take_mapd();
        }
        return take_hostapd();
    });
}

ByteView Peers::await_report()
{
    ByteView report;
    await("report", [&] {
        report = receive(dman_reply_);
        return !report.empty();
    });
    return report;
}

void Peers::drain()
{
    for (const sim::Socket *socket : {&hostapd_, &mapd_, &dman_reply_, &operator_}) {
        while (!receive(*socket).empty()) {
        }
    }
}

void Peers::forget_daemon()
{
    drain();
    dman_connected_ = false;
    operator_connected_ = false;
    pings_ = 0;
}

} // namespace tspec::bench
