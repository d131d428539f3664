#include "core/descriptor.h"

#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

tspec_descriptor_t::~tspec_descriptor_t()
{
    if (valid()) {
        close(fd_);
    }
}

int32_t tspec_datagram_socket(int32_t domain)
{
    const int32_t sock = socket(domain, SOCK_DGRAM, 0);
    if (sock >= FD_SETSIZE) {
        close(sock);
        return -1;
    }
    return sock;
}

void tspec_reuse_address(int32_t sock)
{
    const int on = 1;
    setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
}
