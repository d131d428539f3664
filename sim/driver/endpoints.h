// What the daemon's descriptors are: sockets and the address that they are
// bound to, and the trap pipe.
#pragma once

#include <sys/socket.h>

namespace tspec::sim::driver {

enum class EndpointKind { none, socket, trap };

struct Endpoint {
    EndpointKind kind;
    int family;
    int port;       // 0: not bound to a UDP port
    char name[112]; // local sockets: path, or "@" and the abstract name
};

// Never null; descriptors that are not tracked give an entry of kind none.
const Endpoint &endpoint_of(int fd);

void endpoint_socket(int fd, int family);
void endpoint_bound(int fd, const sockaddr *address, socklen_t length);
void endpoint_trap(int fd);
void endpoint_closed(int fd);

// Port of an IPv4 address, or -1.
int port_of(const sockaddr *address, socklen_t length);
// Name of a local address as in Endpoint; place holds 112 bytes.
void name_of(const sockaddr *address, socklen_t length, char *place);

} // namespace tspec::sim::driver
