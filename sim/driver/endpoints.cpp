#include "sim/driver/endpoints.h"

#include <cstddef>
#include <cstring>
#include <netinet/in.h>
#include <sys/un.h>

namespace tspec::sim::driver {

namespace {

constexpr int max_fds = 4096;
Endpoint endpoints[max_fds];
const Endpoint unknown{};

Endpoint *slot_of(int fd)
{
    return fd >= 0 && fd < max_fds ? &endpoints[fd] : nullptr;
}

} // namespace

const Endpoint &endpoint_of(int fd)
{
    const Endpoint *slot = slot_of(fd);
    return slot ? *slot : unknown;
}

void endpoint_socket(int fd, int family)
{
    if (Endpoint *slot = slot_of(fd)) {
        *slot = Endpoint{};
        slot->kind = EndpointKind::socket;
        slot->family = family;
    }
}

void endpoint_bound(int fd, const sockaddr *address, socklen_t length)
{
    Endpoint *slot = slot_of(fd);
    if (!slot) {
        return;
    }
    int port = port_of(address, length);
    slot->port = port < 0 ? 0 : port;
    name_of(address, length, slot->name);
}

void endpoint_trap(int fd)
{
    if (Endpoint *slot = slot_of(fd)) {
        *slot = Endpoint{};
        slot->kind = EndpointKind::trap;
    }
}

void endpoint_closed(int fd)
{
    if (Endpoint *slot = slot_of(fd)) {
        *slot = Endpoint{};
    }
}

int port_of(const sockaddr *address, socklen_t length)
{
    if (!address || length < sizeof(sockaddr_in) || address->sa_family != AF_INET) {
        return -1;
    }
    sockaddr_in in;
    memcpy(&in, address, sizeof in);
    return ntohs(in.sin_port);
}

void name_of(const sockaddr *address, socklen_t length, char *place)
{
    place[0] = '\0';
    if (!address || length <= offsetof(sockaddr_un, sun_path) || address->sa_family != AF_UNIX) {
        return;
    }
    sockaddr_un un{};
    memcpy(&un, address, length < sizeof un ? length : sizeof un);
    bool is_abstract = un.sun_path[0] == '\0';
    const char *text = is_abstract ? un.sun_path + 1 : un.sun_path;
    size_t size = strnlen(text, sizeof un.sun_path - (is_abstract ? 1 : 0));
    size_t at = 0;
    if (is_abstract) {
        place[at++] = '@';
    }
    memcpy(place + at, text, size);
    place[at + size] = '\0';
}

} // namespace tspec::sim::driver
