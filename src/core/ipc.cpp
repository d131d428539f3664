#include "core/ipc.h"

#include "core/descriptor.h"
#include "core/errno_keeper.h"
#include "core/trace.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>

#define TSPEC_TRACE_NAME __func__

static constexpr time_t REPLY_TIMEOUT_SECONDS = 2;

static sockaddr_in inet_address(in_addr_t address, uint32_t port)
{
    sockaddr_in result = {};
    result.sin_family = AF_INET;
    result.sin_port = htons(static_cast<uint16_t>(port));
    result.sin_addr.s_addr = htonl(address);
    return result;
}

static ssize_t send_to_loopback(int32_t sock, uint32_t port, const void *buf, uint32_t len)
{
    const sockaddr_in peer = inet_address(INADDR_LOOPBACK, port);
    return sendto(sock, buf, len, 0, reinterpret_cast<const sockaddr *>(&peer), sizeof(peer));
}

int32_t send_msg_to_other_process(int32_t sockfd, uint32_t port, const void *buf, uint32_t len)
{
    if (send_to_loopback(sockfd, port, buf, len) >= 0) {
        return 0;
    }
    const tspec_errno_keeper_t keep_errno; // callers report the same failure once more
    perror("Error sending data to destination process.\n");
    return -1;
}

// 1 when the socket has a datagram; 0 after the time-out; negative on failure.
static int32_t wait_readable(int32_t sock)
{
    fd_set set;
    FD_ZERO(&set);
    FD_SET(sock, &set);
    timeval timeout = {REPLY_TIMEOUT_SECONDS, 0};
    const int32_t count = select(sock + 1, &set, nullptr, nullptr, &timeout);
    if (count < 0) {
        return count;
    }
    return FD_ISSET(sock, &set) ? 1 : 0;
}

int32_t tspec_send_receive_other_process(uint32_t dest_port, uint32_t local_port, const void *req,
                                         uint32_t req_len, void *reply, uint32_t reply_len)
{
    const tspec_descriptor_t sock(tspec_datagram_socket(AF_INET));
    if (!sock.valid()) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, " socket call failed\n");
        return -1;
    }
    tspec_reuse_address(sock.get());
    sockaddr_in address = inet_address(INADDR_ANY, local_port);
    socklen_t address_len = sizeof(address);
    sockaddr *const name = reinterpret_cast<sockaddr *>(&address);
    if (bind(sock.get(), name, address_len) < 0) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, " failed - %d\n", errno);
        return -1;
    }
    const ssize_t sent = send_to_loopback(sock.get(), dest_port, req, req_len);
    if (sent < 0) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, " Error sending data to process port %d.\n",
                    static_cast<int32_t>(dest_port));
        return static_cast<int32_t>(sent);
    }
    const int32_t readable = wait_readable(sock.get());
    if (readable < 0) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Rx error\n");
        return readable;
    }
    if (readable == 0) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Rx timeout\n");
        return -1;
    }
    const ssize_t received = recvfrom(sock.get(), reply, reply_len, 0, name, &address_len);
    if (received < 1) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, " Error receiving data from process port %d.\n",
                    static_cast<int32_t>(local_port));
    }
    return static_cast<int32_t>(received);
}
