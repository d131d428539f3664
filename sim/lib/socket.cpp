#include "sim/lib/socket.h"

#include "sim/lib/fixed_ports.h"

#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

namespace tspec::sim {

namespace {

constexpr int receive_room = 1 << 20;

[[noreturn]] void fail(const std::string &what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

sockaddr_in loopback(uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

sockaddr_un local_address(const std::string &name, size_t offset)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (name.size() + offset >= sizeof address.sun_path) {
        throw std::invalid_argument("socket name too long: " + name);
    }
    std::memcpy(address.sun_path + offset, name.data(), name.size());
    return address;
}

Socket datagram_socket(int family)
{
    Socket socket(::socket(family, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!socket.is_open()) {
        fail("socket");
    }
    // As much as the host grants: bursts must not be lost.
    setsockopt(socket.fd(), SOL_SOCKET, SO_RCVBUF, &receive_room, sizeof receive_room);
    return socket;
}

template <typename Address>
void bind_to(const Socket &socket, const Address &address, const std::string &name)
{
    if (bind(socket.fd(), reinterpret_cast<const sockaddr *>(&address), sizeof address) < 0) {
        fail("cannot bind " + name);
    }
}

template <typename Address>
Sent send_to(const Socket &socket, const Address &address, ByteView bytes, const std::string &name)
{
    ssize_t sent = sendto(socket.fd(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
                          reinterpret_cast<const sockaddr *>(&address), sizeof address);
    if (sent >= 0) {
        return Sent::yes;
    }
    if (errno == EAGAIN || errno == ENOBUFS) {
        return Sent::queue_full;
    }
    if (errno == ENOENT || errno == ECONNREFUSED || errno == EPROTOTYPE) {
        return Sent::nobody;
    }
    fail("cannot send to " + name);
}

} // namespace

Socket &Socket::operator=(Socket &&other) noexcept
{
    if (this != &other) {
        close();
        fd_ = std::exchange(other.fd_, -1);
    }
    return *this;
}

void Socket::close()
{
    if (fd_ >= 0) {
        ::close(std::exchange(fd_, -1));
    }
}

Socket Socket::udp(uint16_t port)
{
    Socket socket = datagram_socket(AF_INET);
    bind_to(socket, loopback(port), fmt::format("UDP port {}", port));
    // The kernel knows nothing of the ports that are spoken for. What it offers
    // stays bound until a better one is found, so that no offer comes twice.
    bool spoken_for = port == 0 && is_fixed_port(local_port(socket));
    return spoken_for ? Socket::udp(0) : std::move(socket);
}

Socket Socket::local()
{
    return datagram_socket(AF_UNIX);
}

Socket Socket::local_at(const std::string &path)
{
    Socket socket = datagram_socket(AF_UNIX);
    bind_to(socket, local_address(path, 0), path);
    return socket;
}

Socket Socket::abstract(const std::string &name)
{
    Socket socket = datagram_socket(AF_UNIX);
    bind_to(socket, local_address(name, 1), "abstract name " + name);
    return socket;
}

std::optional<Received> receive_waiting(const Socket &socket)
{
    if (!socket.is_open()) {
        return std::nullopt;
    }
    Received received;
    received.data.resize(65536);
    sockaddr_storage from{};
    socklen_t from_length = sizeof from;
    ssize_t size = recvfrom(socket.fd(), received.data.data(), received.data.size(), MSG_DONTWAIT,
                            reinterpret_cast<sockaddr *>(&from), &from_length);
    if (size < 0) {
        return std::nullopt;
    }
    received.data.resize(static_cast<size_t>(size));
    if (from.ss_family == AF_INET) {
        sockaddr_in in;
        std::memcpy(&in, &from, sizeof in);
        received.source_port = ntohs(in.sin_port);
    }
    return received;
}

uint16_t local_port(const Socket &socket)
{
    sockaddr_in address{};
    socklen_t length = sizeof address;
    if (getsockname(socket.fd(), reinterpret_cast<sockaddr *>(&address), &length) < 0 ||
        address.sin_family != AF_INET) {
        return 0;
    }
    return ntohs(address.sin_port);
}

Sent send_udp(const Socket &socket, uint16_t port, ByteView bytes)
{
    return send_to(socket, loopback(port), bytes, fmt::format("UDP port {}", port));
}

Sent send_local(const Socket &socket, const std::string &path, ByteView bytes)
{
    return send_to(socket, local_address(path, 0), bytes, path);
}

Sent send_abstract(const Socket &socket, const std::string &name, ByteView bytes)
{
    return send_to(socket, local_address(name, 1), bytes, "abstract name " + name);
}

} // namespace tspec::sim
