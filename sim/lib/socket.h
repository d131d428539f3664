// An owned file descriptor and the few kinds of sockets that the peers use.
// Everything throws std::system_error naming the address on failure.
#pragma once

#include "sim/lib/bytes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace tspec::sim {

class Socket {
  public:
    Socket() = default;
    explicit Socket(int fd) : fd_(fd) {}
    ~Socket() { close(); }
    Socket(Socket &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Socket &operator=(Socket &&other) noexcept;

    static Socket udp(uint16_t port); // bound to 127.0.0.1; 0: any free one but the fixed ones
    static Socket local();            // local datagram socket without a name
    static Socket local_at(const std::string &path);
    static Socket abstract(const std::string &name); // full-length address

    bool is_open() const { return fd_ >= 0; }
    int fd() const { return fd_; }
    void close();
    int release() { return std::exchange(fd_, -1); }

  private:
    int fd_ = -1;
};

struct Received {
    Bytes data;
    uint16_t source_port = 0; // 0 on local sockets
};

// The next datagram waiting, if there is one.
std::optional<Received> receive_waiting(const Socket &socket);

uint16_t local_port(const Socket &socket);

enum class Sent { yes, queue_full, nobody };

Sent send_udp(const Socket &socket, uint16_t port, ByteView bytes);
Sent send_local(const Socket &socket, const std::string &path, ByteView bytes);
Sent send_abstract(const Socket &socket, const std::string &name, ByteView bytes);

} // namespace tspec::sim
