#include "tspec-cli/daemon_socket.h"

#include "tspec-cli/holder.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

// An abstract name is as long as the address length says, zeros included. Both
// ends use the full structure, so both names are 110 bytes with the family.
static_assert(sizeof(struct sockaddr_un) == 110, "full-length abstract address");

static struct sockaddr_un abstract_address(const char *name)
{
    struct sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    strncpy(address.sun_path + 1, name, sizeof(address.sun_path) - 2);
    return address;
}

static bool set_timeouts(int sock, unsigned timeout_ms)
{
    struct timeval limit = {};
    limit.tv_sec = static_cast<time_t>(timeout_ms / 1000);
    limit.tv_usec = static_cast<suseconds_t>(timeout_ms % 1000 * 1000);
    return setsockopt(sock, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit)) == 0 &&
           setsockopt(sock, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit)) == 0;
}

static tspec_tool_delivery_t send_failure()
{
    switch (errno) {
    case ECONNREFUSED:
    case ECONNRESET:
        return TSPEC_TOOL_NO_DAEMON;
    case EAGAIN:
        return TSPEC_TOOL_QUEUE_FULL;
    default:
        return TSPEC_TOOL_SYSTEM_FAILED;
    }
}

// Connected, the socket takes datagrams from the daemon only.
static tspec_tool_delivery_t connect_and_send(int sock, const tspec_tool_request_t *request)
{
    const struct sockaddr_un daemon = abstract_address(TSPEC_CLI_SOCK_NAME);
    if (connect(sock, reinterpret_cast<const struct sockaddr *>(&daemon), sizeof(daemon)) < 0) {
        return send_failure();
    }
    ssize_t sent = 0;
    do {
        sent = send(sock, request->bytes, request->length, MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    return sent < 0 ? send_failure() : TSPEC_TOOL_DELIVERED;
}

// Receives a datagram; `sender` stays unknown where the kernel does not tell.
static ssize_t receive_from(int sock, char *answer, size_t size, uid_t *sender)
{
    alignas(struct cmsghdr) char control[CMSG_SPACE(sizeof(struct ucred))];
    struct iovec part = {answer, size};
    struct msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof(control);
    const ssize_t received = recvmsg(sock, &message, MSG_CMSG_CLOEXEC);
    const struct cmsghdr *const head = received < 0 ? nullptr : CMSG_FIRSTHDR(&message);
    if (head != nullptr && head->cmsg_type == SCM_CREDENTIALS) {
        struct ucred credentials = {};
        memcpy(&credentials, CMSG_DATA(head), sizeof(credentials));
        *sender = credentials.uid;
    }
    return received;
}

// Whoever runs a daemon of his own may ask it.
static bool may_answer(uid_t sender)
{
    return sender == geteuid() || tspec_tool_is_trusted(sender);
}

static tspec_tool_delivery_t await_answer(int sock)
{
    static const char EXPECTED[] = TSPEC_CLI_PING_REPLY;
    char answer[TSPEC_CLI_BUF_SIZE];
    uid_t sender = TSPEC_TOOL_UNKNOWN_UID;
    ssize_t received = 0;
    do {
        received = receive_from(sock, answer, sizeof(answer), &sender);
    } while (received < 0 && errno == EINTR);
    if (received < 0) {
        const bool timed_out = errno == EAGAIN || errno == ECONNRESET;
        return timed_out ? TSPEC_TOOL_NO_ANSWER : TSPEC_TOOL_SYSTEM_FAILED;
    }
    if (!may_answer(sender)) {
        return TSPEC_TOOL_STRANGER;
    }
    const size_t length = strlen(EXPECTED);
    const bool is_expected =
        static_cast<size_t>(received) == length && memcmp(answer, EXPECTED, length) == 0;
    return is_expected ? TSPEC_TOOL_DELIVERED : TSPEC_TOOL_WRONG_ANSWER;
}

static tspec_tool_delivery_t bind_reply_name(int sock)
{
    static const int ON = 1;
    const struct sockaddr_un own = abstract_address(TSPEC_CLI_REPLY_NAME);
    if (setsockopt(sock, SOL_SOCKET, SO_PASSCRED, &ON, sizeof(ON)) != 0) {
        return TSPEC_TOOL_SYSTEM_FAILED;
    }
    if (bind(sock, reinterpret_cast<const struct sockaddr *>(&own), sizeof(own)) == 0) {
        return TSPEC_TOOL_DELIVERED;
    }
    return errno == EADDRINUSE ? TSPEC_TOOL_NAME_IN_USE : TSPEC_TOOL_SYSTEM_FAILED;
}

static tspec_tool_delivery_t exchange_ping(int sock, const tspec_tool_request_t *request)
{
    const tspec_tool_delivery_t bound = bind_reply_name(sock);
    if (bound != TSPEC_TOOL_DELIVERED) {
        return bound;
    }
    const tspec_tool_delivery_t sent = connect_and_send(sock, request);
    return sent == TSPEC_TOOL_DELIVERED ? await_answer(sock) : sent;
}

typedef tspec_tool_delivery_t exchange_t(int sock, const tspec_tool_request_t *request);

static tspec_tool_delivery_t with_socket(exchange_t *exchange, const tspec_tool_request_t *request,
                                         unsigned timeout_ms)
{
    const int sock = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (sock < 0) {
        return TSPEC_TOOL_SYSTEM_FAILED;
    }
    const tspec_tool_delivery_t result =
        set_timeouts(sock, timeout_ms) ? exchange(sock, request) : TSPEC_TOOL_SYSTEM_FAILED;
    const int cause = errno;
    close(sock);
    errno = cause;
    return result;
}

tspec_tool_delivery_t tspec_tool_send(const tspec_tool_request_t *request, unsigned timeout_ms)
{
    return with_socket(connect_and_send, request, timeout_ms);
}

tspec_tool_delivery_t tspec_tool_ping(const tspec_tool_request_t *request, unsigned timeout_ms)
{
    return with_socket(exchange_ping, request, timeout_ms);
}
